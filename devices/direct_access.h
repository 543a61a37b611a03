// Registers, status words and memory of the camera as they are, for service
// tools. But for GetAD none of these holds the timer off; but for GetAD and QuerySts
// none selects a head.
#pragma once
#include <cstdint>

void WRReg(int32_t reg, int32_t value, int32_t camera);
uint16_t RDReg(int32_t reg, int32_t camera);

// The library's image of a register; the camera is not touched. The number is
// taken modulo the registers there are: 32, or 256 bytes on platforms 70 and 71.
uint16_t RMReg(int32_t reg, int32_t camera);
void WMReg(int32_t reg, int32_t value, int32_t camera);

uint32_t GetStatus(int32_t number, int32_t camera);

void Poke(int32_t address, int32_t value, int32_t camera);
int32_t Peek(int32_t address, int32_t camera);
void PokeW(int32_t address, int32_t value, int32_t camera);
int32_t PeekW(int32_t address, int32_t camera);

// Platforms 44 and 47, 1 for yes: `which` 1 asks whether the power status is other than
// 0, for 20 ms; 2 whether the card is transferring. 0 to any other question, and on others.
int32_t QuerySts(int32_t which, int32_t camera);

// Platform 205: the mean of 64 conversions, those of 0 left out; 0 if all are.
// 0 on any other. Holds the timer off.
int32_t GetAD(int32_t channel, int32_t camera);
