#include "acquisition/single.h"

#include "acquisition/matrix.h"
#include "acquisition/window.h"
#include "core/convert.h"
#include "core/errors.h"
#include "core/flags.h"
#include "core/open_close.h"
#include "core/record.h"
#include "core/timer_service.h"

namespace {

// Whether the call itself holds the timer off, or its host has done so.
enum class Handshake { Own, Hosts };

using FrameOperation = decltype(CameraOps::ReadFrame) CameraOps::*;

// A failed read keeps the timer away from the broken link: required.
void EndRead(int32_t error, Handshake handshake, int32_t camera)
{
    StoreFlag(&CameraTable[camera].LastError, error);
    if (error == ErrorNone && handshake == Handshake::Own) StartNow(camera);
}

void ReadFull(FrameOperation operation, Handshake handshake, int32_t shutter, double exposure,
              uint16_t* buffer, int32_t camera)
{
    CameraRecord& record = CameraTable[camera];
    const int32_t width = EvenWidth(BinnedSize(record.Ccd.Xpix, record.HorBinning));
    const int32_t height = BinnedSize(record.Ccd.Ypix, record.VerBinning);
    uint16_t* target = FrameTarget(buffer, width, height, camera);
    if (target == nullptr) return;
    if (handshake == Handshake::Own) StopNow(camera);
    Select(camera);
    record.ExposureTime = exposure;
    RestoreFullFrame(camera);
    EndRead((record.Ops.*operation)(shutter, width, height, target, camera), handshake, camera);
}

void ReadWindowed(Handshake handshake, int32_t shutter, double exposure, const Window& window,
                  uint16_t* buffer, int32_t camera)
{
    CameraRecord& record = CameraTable[camera];
    const int32_t width = EvenWidth(window.width);
    uint16_t* target = FrameTarget(buffer, width, window.height, camera);
    if (target == nullptr) return;
    if (handshake == Handshake::Own) StopNow(camera);
    Select(camera);
    if (!IsWindowBuilt(window, record)) BuildWindow(window, window.y, camera);
    record.ExposureTime = exposure;
    EndRead(
        record.Ops.ReadWindow(shutter, window.x, window.y, width, window.height, target, camera),
        handshake, camera);
}

// The pulse is the time from the start of one exposure to the start of the next
// one: the settling time makes up what the exposure leaves of it.
int32_t PulseSettling(double exposureMs, double periodSeconds, int32_t settling)
{
    const double rest = periodSeconds * 1000.0 - exposureMs;
    return rest > 0.0 ? ToInt32(rest) : settling;
}

} // namespace

void GetCCD(int32_t shutter, double exposure, uint16_t* buffer, int32_t camera)
{
    ReadFull(&CameraOps::ReadFrame, Handshake::Own, shutter, exposure, buffer, camera);
}

void FGetCCD(int32_t shutter, double exposure, uint16_t* buffer, int32_t camera)
{
    ReadFull(&CameraOps::ReadFrame, Handshake::Hosts, shutter, exposure, buffer, camera);
}

void TGetCCD(int32_t shutter, double exposure, uint16_t* buffer, int32_t camera)
{
    ReadFull(&CameraOps::ReadTimed, Handshake::Own, shutter, exposure, buffer, camera);
}

void GetWinCCD(int32_t shutter, double exposure, int32_t x, int32_t y, int32_t width,
               int32_t height, uint16_t* buffer, int32_t camera)
{
    ReadWindowed(Handshake::Own, shutter, exposure, {x, y, width, height}, buffer, camera);
}

void FGetWinCCD(int32_t shutter, double exposure, int32_t x, int32_t y, int32_t width,
                int32_t height, uint16_t* buffer, int32_t camera)
{
    ReadWindowed(Handshake::Hosts, shutter, exposure, {x, y, width, height}, buffer, camera);
}

void GetCCDPulsed(int32_t shutter, int32_t fast, double exposureMs, double periodSeconds,
                  uint16_t* buffer, int32_t camera)
{
    int32_t& settling = CameraTable[camera].Config.ShutterHisteresys;
    const int32_t before = settling;
    settling = PulseSettling(exposureMs, periodSeconds, before);
    ReadFull(&CameraOps::ReadFrame, fast != 0 ? Handshake::Hosts : Handshake::Own, shutter,
             exposureMs / 1000.0, buffer, camera);
    settling = before;
}

void GetWinCCDPulsed(int32_t shutter, int32_t fast, double exposureMs, double periodSeconds,
                     int32_t x, int32_t y, int32_t width, int32_t height, uint16_t* buffer,
                     int32_t camera)
{
    int32_t& settling = CameraTable[camera].Config.ShutterHisteresys;
    const int32_t before = settling;
    settling = PulseSettling(exposureMs, periodSeconds, before);
    ReadWindowed(fast != 0 ? Handshake::Hosts : Handshake::Own, shutter, exposureMs / 1000.0,
                 {x, y, width, height}, buffer, camera);
    settling = before;
}
