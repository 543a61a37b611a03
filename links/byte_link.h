// The PCI card with an 8-bit cable: each word goes as two bytes, whose lane
// CardChannelReg selects.
#pragma once
#include <cstdint>

#include "core/ops.h"

extern const CameraOps ByteLinkOps; // slots 4 to 7, 17 to 19, 25 to 29

// Read mode as the byte link sets it; also what a temperature burst uses on a
// 16-bit cable.
void ByteResetLink(int32_t camera);
