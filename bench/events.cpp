#include "bench/events.h"

#include <cmath>
#include <iterator>
#include <mutex>

#include "core/record.h"
#include "emulator/bus_camera.h"
#include "emulator/emulator.h"
#include "emulator/link.h"
#include "emulator/usb_camera.h"
#include "include/qvn_bench.h"

namespace {

constexpr uint32_t Unmuted = UINT32_MAX;
constexpr double UsPerSecond = 1e6;

EventTarget Targets[CameraCount];

struct EventRow {
    int32_t event;
    void (*onBus)(int32_t bus, const EventTarget& target);
    void (*onUsb)(int32_t camera);
};

// clang-format off
const EventRow Rows[] = {
    {QVB_EVENT_TRIGGER,
     [](int32_t bus, const EventTarget&) { EmuBusTrigger(bus, true); },
     [](int32_t camera) { EmuUsbTrigger(camera, true); }},
    {QVB_EVENT_TRIGGER_END,
     [](int32_t bus, const EventTarget&) { EmuBusTrigger(bus, false); },
     [](int32_t camera) { EmuUsbTrigger(camera, false); }},
    {QVB_EVENT_OFF,
     [](int32_t bus, const EventTarget&) { EmuBusPower(bus, false); },
     EmuUnplugUsbCamera},
    {QVB_EVENT_ON,
     [](int32_t bus, const EventTarget&) { EmuBusPower(bus, true); },
     EmuReplugUsbCamera},
    {QVB_EVENT_SILENT,
     [](int32_t bus, const EventTarget&) { EmuBusMute(bus, 0); },
     [](int32_t camera) { EmuUsbMute(camera, 0); }},
    {QVB_EVENT_ANSWERING,
     [](int32_t bus, const EventTarget& target) { EmuBusMute(bus, target.stall); },
     [](int32_t camera) { EmuUsbMute(camera, Unmuted); }},
};
// clang-format on

constexpr auto EventCount = static_cast<int32_t>(std::size(Rows));

// `what` is the camera's number and the row, so that it fits a scheduled action.
void Happen(int32_t what)
{
    const std::lock_guard<std::mutex> guard(EmuLinkLock());
    const int32_t camera = what / EventCount;
    const EventTarget& target = Targets[camera];
    const EventRow& row = Rows[what % EventCount];
    if (target.usb) row.onUsb(camera);
    for (int32_t i = 0; i < target.busCount; ++i) row.onBus(target.bus[i], target);
}

} // namespace

void ForgetEventTargets()
{
    for (EventTarget& target : Targets) target = {};
}

void SetEventTarget(int32_t camera, const EventTarget& target)
{
    Targets[camera] = target;
}

bool IsEvent(int32_t event)
{
    for (const EventRow& row : Rows) {
        if (row.event == event) return true;
    }
    return false;
}

bool ScheduleEvent(int32_t camera, int32_t event, double seconds)
{
    int32_t row = 0;
    while (Rows[row].event != event) ++row;
    const int32_t what = camera * EventCount + row;
    if (seconds > 0.0) {
        return EmuScheduleIn(static_cast<uint64_t>(std::llround(seconds * UsPerSecond)), Happen,
                             what);
    }
    Happen(what);
    return true;
}
