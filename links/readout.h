// What stands round a transfer on any bus link.
#pragma once
#include <cstdint>

#include "core/status.h" // SetReadoutPriority

// Returns the link to idle after a read, by InterfaceType.
void ReadoutEnd(int32_t camera);
