// The camera's memory where it is a serial EEPROM, driven bit by bit through the
// lines of a camera register. Neither notices a missing chip: it reads 0 or
// 65535. The caller holds the timer off.
#pragma once
#include <cstdint>

// A word of 16 bits; the chip has 64 of them, and HERON's, which is organised in
// bytes, takes a word as the bytes 2 * address and 2 * address + 1, low byte first.
uint16_t EepromRead(int32_t address, int32_t camera);

// Erases the word, then writes it. A loss of power in between leaves 65535.
void EepromWrite(int32_t address, uint16_t value, int32_t camera);
