// Loads io.dll into PortLibrary, once for the process.
#pragma once
#include <cstdint>

// 0, or 19. An entry that the library lacks stays null.
int32_t LoadPortLibrary();

// What an open does ahead of the first access: under option 0x0800 loads io.dll,
// else asks the system for `count` ports from `base` on. 0, 19, or 1 if the system
// refuses the ports.
int32_t AcquirePorts(uint16_t base, uint16_t count, int32_t camera);
