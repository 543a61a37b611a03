// Words of the camera's own memory, and the serial number among them.
#pragma once
#include <cstdint>

// A word; 65535 where the memory is empty, 65535 or 0 where the camera has none.
// Both hold the timer off.
uint16_t ReadEP(int32_t address, int32_t camera);

// Writes the low 16 bits of `value`; nothing on cameras whose memory is read only.
void WriteEP(int32_t address, int32_t value, int32_t camera);

// The serial number; -1 if one of its words was never written. Holds the timer off.
int32_t GetSerNum(int32_t camera);

// Stores it. `format` 0 splits it at 16 bits; any other is kept with it, and
// splits it by 100000 into the quotient and what is left without the quotient.
void SetSerNum(int32_t serial, int32_t format, int32_t camera);
