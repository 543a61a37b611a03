// The parallel printer port (InterfaceType 0).
#pragma once
#include <cstdint>

#include "core/ops.h"

extern const CameraOps PrinterPortOps; // slots 4 to 7, 17 to 19, 25 to 29

// ReadData as HERON needs it with io.dll: low byte first.
extern const CameraOps PrinterPortLowFirstOps;

// Takes the ports from `base` on, loads io.dll under option 0x0800, readies the
// control register. 0, 19 (no io.dll), or 1 if the system refuses the ports.
int32_t OpenPrinterPort(uint16_t base, int32_t camera);

// Ends reading: the port drives its lines again.
void ReleasePrinterPort(int32_t camera);
