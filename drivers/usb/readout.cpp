// Frames and windows of platforms 28 on USB, 61, 200 and 205.
#include "drivers/usb/readout.h"

#include <algorithm>

#include "core/errors.h"
#include "core/flags.h"
#include "core/options.h"
#include "core/record.h"
#include "core/status.h"

namespace {

constexpr uint16_t AwaitTrigger = 0x1; // of the trigger's register
constexpr uint32_t DroppedAtOnce = 8192;

bool DropLine(PixelSource source, uint32_t width, int32_t camera)
{
    uint16_t scratch[DroppedAtOnce];
    for (uint32_t left = width; left > 0;) {
        const uint32_t part = std::min(left, DroppedAtOnce);
        if (!source(scratch, part, camera)) return false;
        left -= part;
    }
    return true;
}

void EnableTrigger(const UsbReadout& readout, int32_t camera)
{
    if ((LoadFlag(CameraTable[camera].Options) & OptionExternalTrigger) == 0) return;
    SetRegisterBits(readout.triggerRegister, AwaitTrigger, camera);
}

void StartLines(const UsbReadout& readout, const BusFrame& frame, int32_t wait, int32_t camera)
{
    StoreFlag(&CameraTable[camera].ReadingFrame, uint8_t{1});
    readout.play(LineSection, static_cast<uint32_t>(frame.height + frame.dummy), wait, camera);
}

int32_t FetchLines(const UsbReadout& readout, const BusFrame& frame, int32_t camera)
{
    SetReadoutPriority(1, camera);
    const int32_t error = readout.transfer(frame, camera);
    SetReadoutPriority(0, camera);
    readout.end(camera);
    ClearRegisterBits(readout.triggerRegister, AwaitTrigger, camera);
    StoreFlag(&CameraTable[camera].ReadingFrame, uint8_t{0});
    ReportProgress(nullptr, 100, camera);
    return error;
}

} // namespace

int32_t ReadUsbFrame(const UsbReadout& readout, int32_t shutter, BusFrame frame, int32_t camera)
{
    frame.skew = CameraTable[camera].LineSkew;
    readout.leaveStream(camera);
    ClearForRead(camera);
    StartLines(readout, frame, 0, camera);
    EnableTrigger(readout, camera);
    ExposeAndAnnounce(shutter, camera);
    return FetchLines(readout, frame, camera);
}

// Rows can be skipped only when the exposure is over, so the lines are not armed.
int32_t ReadUsbWindow(const UsbReadout& readout, int32_t shutter, int32_t y, BusFrame frame,
                      int32_t camera)
{
    frame.skew = CameraTable[camera].LineSkew;
    ClearForRead(camera);
    readout.leaveStream(camera);
    EnableTrigger(readout, camera);
    ExposeAndAnnounce(shutter, camera);
    readout.play(RowSection, RowsToSkip(readout.skipDivisor, y, camera), 1, camera);
    FlushRegisterBy(readout.play, camera);
    StartLines(readout, frame, 2, camera);
    return FetchLines(readout, frame, camera);
}

int32_t ReceiveLines(PixelSource source, const BusFrame& frame, int32_t camera)
{
    const uint32_t width = static_cast<uint32_t>(frame.width);
    const int32_t lines = frame.height + frame.dummy;
    uint16_t* target = frame.buffer;
    for (int32_t line = 0; line < lines; ++line) {
        const bool kept = IsKept(frame, line);
        const bool came = kept ? source(target, width, camera) : DropLine(source, width, camera);
        if (!came) return ErrorLinkFailure;
        if (kept) target += LineAdvance(frame, line);
        ReportLine(frame, line, camera);
    }
    return ErrorNone;
}
