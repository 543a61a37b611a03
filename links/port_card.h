// The port-mapped interface card, eight ports from PortBase (InterfaceType 1).
// SerialLink tells whether its cable is a serial one, as on the Tarn_III family it
// may be.
#pragma once
#include <cstdint>

#include "core/ops.h"

extern const CameraOps PortCardOps; // slots 4 to 7, 17 to 19, 25 to 29

// The same operations, for platforms whose cable may be serial.
inline constexpr const CameraOps& SerialPortCardOps = PortCardOps;

// Tests for the card and sets its modes. 0, 15 (no card), 19 (no io.dll), or 1 if
// the system refuses the ports. `serial` sets SerialLink.
int32_t OpenPortCard(uint16_t base, bool serial, int32_t camera);

// Waits until the card has taken a word: 1 if it never did.
int32_t PortReady(int32_t camera);
