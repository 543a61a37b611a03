// The wire language of R4-DSP, TOLM and Tarn_U: pairs of a register and its value, without
// an acknowledge. To be read, a register is asked for with a count of bytes; bit 6 of its
// number makes the camera go on with the registers behind it.
#pragma once
#include <cstdint>

#include "core/ops.h"

inline constexpr int32_t PairAutoIncrement = 0x40;

// Pairs that go out in one write. What has no room is left out.
struct PairBatch {
    uint8_t bytes[4096];
    uint32_t count;
};
void AddPair(int32_t reg, uint32_t value, PairBatch* batch);
// `count` bytes from the register on.
void AddPairRequest(int32_t reg, uint32_t count, PairBatch* batch);
void SendPairs(const PairBatch& batch, int32_t camera);

// Each in a write of its own; a wider value goes to the registers from `reg` on, the low
// byte first. No shadow is touched.
void WritePair(int32_t reg, uint32_t value, int32_t camera);
void WritePair16(int32_t reg, uint32_t value, int32_t camera);
void WritePair32(int32_t reg, uint32_t value, int32_t camera);

// Waits half a second for the first byte, then reads. False if fewer bytes came than were
// asked for; the buffer has what came.
bool ReadWithin500ms(void* buffer, uint32_t bytes, int32_t camera);

// What does not come reads as 0; two of them tell whether it came.
uint8_t ReadPair(int32_t reg, int32_t camera);
bool ReadPair8(int32_t reg, uint8_t* value, int32_t camera);
bool ReadPair16(int32_t reg, uint16_t* value, int32_t camera);

// The image that has been asked for: 0, or 2 if it came short. Then the port is reset,
// whatever still comes belongs to nothing.
int32_t ReceivePairImage(void* buffer, uint32_t bytes, int32_t camera);

// Slots 17 and 18.
extern const CameraOps PairLinkOps;

// --- R4-DSP's coprocessor ---

// Hands over words, one by one, and returns the last answer; 0 if there is none. A word
// that is not taken within a second is passed over, and what stands there is the answer.
uint16_t Mailbox(const uint16_t* words, uint32_t count, int32_t camera);

// An order of up to 500 words and the request for what it brings, in one write: the
// camera starts to send as soon as it has the last word.
void PushWords(const uint16_t* words, uint32_t count, uint32_t expectBytes, int32_t reg,
               int32_t camera);
