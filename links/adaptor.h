// The interface adaptor: a library of its maker's, loaded at run time, that drives a
// parallel bus. Registers go out as pairs of number and value; an item of the bus is a byte
// on OSPREY_Plus and a word of 16 bits on Tarn_V. The device is the camera's number.
//
// Without a loaded library, and in the place of an entry that it does not have, every call
// does nothing.
#pragma once
#include <cstdint>

#include "core/ops.h"

enum AdaptorMode : uint32_t { AdaptorBytes = 8, AdaptorWords = 9 };

// 0, 20 if there is no library, 18 if the device cannot be readied; then it is freed.
int32_t OpenAdaptor(AdaptorMode mode, int32_t camera);
// Closes the device and frees the library.
void CloseAdaptor(int32_t camera);

// Transfers of items. What does not come leaves its place as it was.
void AdaptorOut(const void* items, uint32_t count, int32_t camera);
void AdaptorSend(uint8_t* items, uint32_t count, int32_t camera); // the same of bytes
void AdaptorIn(void* items, uint32_t count, int32_t camera);

// Pairs of bytes, 64 in one transfer, and pairs of words, all in one.
void AdaptorWriteBytes(const RegisterPair* pairs, uint32_t count, int32_t camera);
void AdaptorWriteWords(const RegisterPair* pairs, uint32_t count, int32_t camera);

// Registers of a byte: slots 17 and 18 of OSPREY_Plus. What does not come reads 0.
uint16_t AdaptorReadByte(int32_t reg, int32_t camera);
void AdaptorWriteByte(int32_t reg, int32_t value, int32_t camera);

// The adaptor's own memory, which holds the camera's: words as two bytes, low byte first.
void SelectAdaptorMemory(int32_t camera); // ahead of all
uint16_t ReadAdaptorWord(int32_t address, int32_t camera);
void WriteAdaptorWord(int32_t address, uint16_t value, int32_t camera);
