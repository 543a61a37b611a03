#include "devices/exposure.h"

#include <cstdio>

#include "core/convert.h"
#include "core/flags.h"
#include "core/open_close.h"
#include "core/options.h"
#include "core/record.h"
#include "devices/shutter_line.h"
#include "devices/temperature.h"
#include "platform/system.h"

namespace {

constexpr int32_t LongestShortMs = 500;
constexpr uint32_t ReportMs = 300;
constexpr uint32_t TemperatureMs = 500;
constexpr int64_t QuietMs = 1000; // the camera is left alone before the end
constexpr uint32_t IdleMs = 500;  // platform 50

// Room for any double with one or two decimals.
constexpr size_t TimeTextRoom = 320;

bool HasOption(uint32_t bits, int32_t camera)
{
    return (LoadFlag(CameraTable[camera].Options) & bits) != 0;
}

bool IsBroken(int32_t camera)
{
    return LoadFlag(CameraTable[camera].BreakFlag) != 0;
}

void SleepMs(int32_t milliseconds)
{
    if (milliseconds > 0) System.clock.Sleep(static_cast<uint32_t>(milliseconds));
}

// 0.0001 and not 0.001 on platforms 70 and 71: required.
void RaiseToMinimum(const CameraRecord& record, double* exposure)
{
    const int32_t platform = record.PlatformCode;
    if ((platform == 70 || platform == 71) && *exposure < 0.001) *exposure = 0.0001;
    if (record.CcdCode == 506 && *exposure < 0.001) *exposure = 0.001;
}

void SettleShutter(int32_t camera)
{
    SleepMs(CameraTable[camera].Config.ShutterHisteresys);
}

void SetFanFor50(int32_t camera)
{
    CameraRecord& record = CameraTable[camera];
    uint16_t control = record.Registers[1] & 0xCF;
    if (HasOption(OptionFanAtExposure, camera)) {
        record.Ops.WriteRegister(7, 255 - record.FanSpeed, camera);
        control |= 0x10;
    }
    record.Registers[1] = control;
    record.Ops.WriteRegister(1, control, camera);
}

// No callback, no temperature, no break.
void WaitShort(int32_t ms, int32_t camera)
{
    switch (CameraTable[camera].PlatformCode) {
    case 400: break; // the read waits in its own way
    case 28:
    case 29:
    case 61:
    case 200:
    case 205:
    case 300:
    case 450: SleepMs(ms); break; // the camera itself adds the settling time
    case 48:
        SettleShutter(camera);
        SleepMs(ms);
        break;
    default:
        SleepMs(ms);
        SettleShutter(camera);
        break;
    }
}

bool ClearsWhileExposing(int32_t platform)
{
    return platform != 50 && platform != 450 && platform != 400 && platform != 29;
}

// On platform 50 the shutter tells when it has closed; all others are given time.
void AwaitClosedShutter(int32_t camera)
{
    const CameraRecord& record = CameraTable[camera];
    if (record.PlatformCode != 50) {
        SettleShutter(camera);
        return;
    }
    while ((record.Ops.ReadRegister(2, camera) & 0x80) != 0) System.clock.Relax();
}

int32_t LongestHeadMs(int32_t camera)
{
    int32_t longest = 0;
    for (int32_t head = 0; head < HeadCount; ++head) {
        const int32_t ms = ToInt32(CameraTable[camera].HeadExposure[head] * 1000.0);
        if (IsHeadFitted(head, camera) && ms > longest) longest = ms;
    }
    return longest;
}

void StartHeads(int32_t shutter, int32_t camera)
{
    const CameraRecord& record = CameraTable[camera];
    for (int32_t head = 0; head < HeadCount; ++head) {
        if (!IsHeadFitted(head, camera)) continue;
        SelectHead(head, camera);
        if (shutter != 0) record.Ops.SetShutter(record.HeadExposure[head], camera);
    }
}

void WaitForHeads(int32_t longest, uint32_t start, int32_t camera)
{
    const CameraRecord& record = CameraTable[camera];
    uint32_t lastReport = start;
    for (;;) {
        const uint32_t now = System.clock.TickCount();
        const uint32_t elapsed = now - start;
        if (now - lastReport >= ReportMs) {
            lastReport = now;
            char text[TimeTextRoom];
            snprintf(text, sizeof text, "%04.2lf s", longest / 1000.0 - elapsed / 1000.0);
            record.Ops.ExposureCallback(text, camera);
        }
        if (HasOption(OptionClearWhileExposing, camera)) record.Ops.ClearOnce(camera);
        if (int64_t{elapsed} >= longest || IsBroken(camera)) return;
    }
}

} // namespace

// Without any sleep, since ClearOnce gets its rate from here.
uint32_t AwaitExposure(double seconds, int32_t ms, uint32_t start, int32_t camera)
{
    const CameraRecord& record = CameraTable[camera];
    const int32_t platform = record.PlatformCode;
    uint32_t lastReport = start;
    uint32_t lastTemperature = System.clock.TickCount();
    bool idled = false;
    for (;;) {
        const uint32_t now = System.clock.TickCount();
        const uint32_t elapsed = now - start;
        const uint32_t sinceTemperature = System.clock.TickCount() - lastTemperature;
        // The read has stopped the timer, so the regulator is served from here.
        if (ms - int64_t{elapsed} >= QuietMs && sinceTemperature >= TemperatureMs) {
            if (HasOption(OptionRegulation, camera)) TemperatureHandle(camera);
            lastTemperature = System.clock.TickCount();
        }
        if (now - lastReport >= ReportMs) {
            lastReport = now;
            char text[TimeTextRoom];
            snprintf(text, sizeof text, "%6.1lf", seconds - elapsed / 1000.0);
            record.Ops.ExposureCallback(text, camera);
        }
        if (ClearsWhileExposing(platform) && HasOption(OptionClearWhileExposing, camera)) {
            record.Ops.ClearOnce(camera);
        }
        if (platform == 50 && !idled && elapsed <= IdleMs) {
            idled = true;
            record.Ops.SensorIdle();
        }
        if (int64_t{elapsed} >= ms || IsBroken(camera)) return elapsed;
    }
}

int32_t ExposureControl(const char*, double* exposure, int32_t shutter, int32_t camera)
{
    CameraRecord& record = CameraTable[camera];
    RaiseToMinimum(record, exposure);
    if (*exposure < 0.0) return 0;
    StoreFlag(&record.BreakFlag, int8_t{0});
    const uint32_t start = System.clock.TickCount();
    const int32_t ms = ToInt32(*exposure * 1000.0);
    const bool isLong = ms > LongestShortMs;
    if (record.PlatformCode == 50) SetFanFor50(camera);
    PrepareShutter(*exposure, shutter, isLong, camera);
    if (!isLong) {
        WaitShort(ms, camera);
        return 0;
    }
    if (HasOption(OptionExternalTrigger, camera)) return 0;

    const uint32_t waited = AwaitExposure(*exposure, ms, start, camera);
    const bool broken = IsBroken(camera);
    if (broken) {
        *exposure = waited / 1000.0;
        // The counter is reloaded with what has passed, not stopped: required.
        if (!HasOption(OptionExternalExposure, camera)) {
            record.Ops.SetShutter(*exposure, camera);
        }
    }
    AwaitClosedShutter(camera);
    return broken ? 1 : 0;
}

int32_t ArrayExposureControl(int32_t shutter, int32_t camera)
{
    StoreFlag(&CameraTable[camera].BreakFlag, int8_t{0});
    const uint32_t start = System.clock.TickCount();
    const int32_t longest = LongestHeadMs(camera);
    if (longest > LongestShortMs) {
        // Without a shutter no head is selected.
        if (shutter != 0) StartHeads(shutter, camera);
        WaitForHeads(longest, start, camera);
    } else {
        StartHeads(shutter, camera);
        SleepMs(longest);
    }
    SettleShutter(camera);
    return 0;
}
