// The wire of HERON_Plus and OSPREY: the number of a register with bit 7 set, then its
// value; nothing acknowledges. Register 0 takes commands, and the number of a register
// that is to be read.
#pragma once
#include <cstdint>

#include "core/ops.h"

// Pairs of number and value as they stand in `pairs`, whose numbers get their flag here, in
// one write.
void FlagSend(uint8_t* pairs, uint32_t bytes, int32_t camera);
void FlagWrite(int32_t reg, int32_t value, int32_t camera); // slot 18
// One write for each 64 pairs; the low bytes count.
void FlagWriteRegisters(const RegisterPair* pairs, uint32_t count, int32_t camera);

// Slot 17. What does not come in time reads 0x80, the first byte of the request: required.
uint16_t FlagRead(int32_t reg, int32_t camera);

// Pixels of the image, two bytes each. False: fewer came within the time-out.
bool FlagReceive(uint16_t* pixels, uint32_t count, int32_t camera);
