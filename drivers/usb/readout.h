// Frames and windows of the USB cameras that play a pattern while the host takes the lines.
#pragma once
#include <cstdint>

#include "drivers/bus/bus_camera.h"

// The next `count` pixels of the stream. False: they did not come.
using PixelSource = bool (*)(uint16_t* pixels, uint32_t count, int32_t camera);

// What one of them does otherwise.
struct UsbReadout {
    SequencePlayer play;     // with wait 0, lines start at the end of the exposure
    int32_t triggerRegister; // its bit 0 leaves the start of the exposure to the trigger
    int32_t skipDivisor;     // of the dummy lines, for the rows ahead of a window
    void (*leaveStream)(int32_t camera);
    int32_t (*transfer)(const BusFrame& frame, int32_t camera); // 0 or 2
    void (*end)(int32_t camera);                                // of the stream
};

// Exposes and reads: 0, or 2 with what has come in the buffer. The skew of `frame` is the
// record's.
int32_t ReadUsbFrame(const UsbReadout& readout, int32_t shutter, BusFrame frame, int32_t camera);
int32_t ReadUsbWindow(const UsbReadout& readout, int32_t shutter, int32_t y, BusFrame frame,
                      int32_t camera);

// A transfer line by line: kept lines to the buffer, the others nowhere. 0 or 2.
int32_t ReceiveLines(PixelSource source, const BusFrame& frame, int32_t camera);
