// What stands round a transfer on any bus link.
#pragma once
#include <cstdint>

// Returns the link to idle after a read, by InterfaceType.
void ReadoutEnd(int32_t camera);

// Raises or lowers process and thread under options 0x1000 and 0x0800.
void SetReadoutPriority(int32_t on, int32_t camera);
