// Wheels whose controller takes commands of four bits, which stand in a register for a
// moment. A controller that stays busy for a second counts as done.
#include "core/record.h"
#include "core/status.h"
#include "devices/wheel/wheel.h"
#include "platform/system.h"

namespace {

enum Nibble : int32_t {
    Home = 7,
    Up = 8,
    Down = 9,
    MotorMode = 10, // of wheels with motor orders; for others the end of a homing
    OffsetStep = 11,
    Hold = 13,
};

constexpr uint32_t HoldMs = 50;
constexpr int32_t BusyPolls = 1000;
constexpr int32_t MiddleSetting = 3;
constexpr int32_t NibbleMask = 15;

bool StatusBit(int32_t selector, uint32_t bit, int32_t camera)
{
    return (CameraTable[camera].Ops.ReadStatus(selector, camera) & bit) != 0;
}

bool RegisterBit(int32_t reg, uint32_t bit, int32_t camera)
{
    return (CameraTable[camera].Ops.ReadRegister(reg, camera) & bit) != 0;
}

bool IsTarnBusy(int32_t camera)
{
    return StatusBit(7, 0x2, camera);
}

bool IsTarnUBusy(int32_t camera)
{
    return RegisterBit(7, 0x2, camera);
}

bool IsBriarR3Busy(int32_t camera)
{
    return RegisterBit(7, 0x1, camera);
}

bool IsHeronBusy(int32_t camera)
{
    return StatusBit(5, 0x8, camera);
}

bool IsUsbBusy(int32_t camera)
{
    return RegisterBit(10, 0x80, camera);
}

// The shadow stays without the command.
void Send(const NibbleLines& lines, int32_t nibble, int32_t camera)
{
    const CameraRecord& record = CameraTable[camera];
    const uint16_t shadow = record.Registers[lines.reg];
    record.Ops.WriteRegister(lines.reg, shadow | (nibble & NibbleMask), camera);
    System.clock.Sleep(HoldMs);
    for (int32_t polls = BusyPolls; polls > 0 && lines.busy(camera); --polls) {
        System.clock.Sleep(1);
    }
    record.Ops.WriteRegister(lines.reg, shadow, camera);
    if (lines.settleMs != 0) System.clock.Sleep(lines.settleMs);
}

void SendTimes(const NibbleLines& lines, int32_t nibble, int32_t times, int32_t camera)
{
    for (int32_t i = 0; i < times; ++i) Send(lines, nibble, camera);
}

} // namespace

const NibbleLines TarnNibbles = {11, IsTarnBusy, false, 0};
const NibbleLines TarnUNibbles = {11, IsTarnUBusy, false, 0};
const NibbleLines BriarR3Nibbles = {11, IsBriarR3Busy, false, 0};
const NibbleLines HeronNibbles = {1, IsHeronBusy, true, 50};
const NibbleLines UsbNibbles = {7, IsUsbBusy, true, 0};

void OrderByNibbles(const NibbleLines& lines, WheelOperation operation, int32_t value,
                    int32_t camera)
{
    switch (operation) {
    case WheelZero:
        Send(lines, Home, camera);
        if (!lines.hasMotorOrders) Send(lines, MotorMode, camera);
        break;
    case WheelGoTo: Send(lines, value, camera); break;
    case WheelZeroOffset: SendTimes(lines, OffsetStep, value - 1, camera); break;
    case WheelSetting:
        if (lines.hasMotorOrders) Send(lines, MotorMode, camera);
        SendTimes(lines, Down, value <= MiddleSetting ? MiddleSetting - value : 0, camera);
        SendTimes(lines, Up, value - MiddleSetting, camera);
        break;
    case WheelHold:
        if (lines.hasMotorOrders) Send(lines, MotorMode, camera);
        Send(lines, Hold, camera);
        SendTimes(lines, Hold, value, camera);
        break;
    }
}
