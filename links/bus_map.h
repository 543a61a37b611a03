// The bus addresses of a camera, the same on every link, and the access to its
// memory that all links share.
#pragma once
#include <cstdint>

// Memory lies below BusRegisters, register r at BusRegisters + r, status word n at
// BusStatus + n. The prefixes stand for a read of what the next address names.
inline constexpr uint32_t BusRegisters = 0x8000;
inline constexpr uint32_t BusStatus = 0xFFE0;
inline constexpr uint32_t BusMemoryPrefix = 0xFFE0;
inline constexpr uint32_t BusRegisterPrefix = 0xFFE1;

// Slots 4 and 6 of every link.
void BusPoke(uint32_t address, uint32_t value, int32_t camera);

// All of a Peek but the read itself; returns what WriteAddress returned.
uint32_t BeginBusPeek(uint32_t address, int32_t camera);
