#include "devices/shutter.h"

#include "core/record.h"
#include "core/timer_service.h"
#include "platform/system.h"

namespace {

// Which bits of which register hold the shutter open, and which of them stay
// when it is released.
struct HoldRow {
    int32_t platform;
    int32_t reg;
    uint16_t open;
    uint16_t released;
};

constexpr HoldRow HoldRows[] = {
    {25, 6, 0x0300, 0x0200},
    {44, 3, 0x4800, 0x4000},
    {47, 3, 0x4800, 0x4000},
};

} // namespace

void Shutter(double seconds, int32_t camera)
{
    CameraTable[camera].Ops.SetShutter(seconds, camera);
}

void ShutterControl(int32_t on, int32_t camera)
{
    CameraRecord& record = CameraTable[camera];
    StopNow(camera);
    for (const HoldRow& row : HoldRows) {
        if (row.platform != record.PlatformCode) continue;
        uint16_t& shadow = record.Registers[row.reg];
        const uint16_t bits = on != 0 ? row.open : row.released;
        shadow = static_cast<uint16_t>((shadow & ~row.open) | bits);
        record.ShutterHeld = on != 0 ? 1 : 0;
        record.Ops.WriteRegister(row.reg, shadow, camera);
    }
    StartNow(camera);
}

int32_t Trigger(int32_t wait, int32_t camera)
{
    const CameraRecord& record = CameraTable[camera];
    if (wait == 0) return record.Ops.IsTriggered(camera) != 0 ? 1 : 0;
    while (record.Ops.IsTriggered(camera) == 0) System.clock.Relax();
    return wait;
}
