// Wheels whose controller takes commands of a byte. It says when it has done one; until
// then everything waits, without limit.
#include "core/record.h"
#include "core/status.h"
#include "devices/wheel/wheel.h"
#include "platform/system.h"

namespace {

constexpr int32_t NoStart = -1;
constexpr int32_t ValueMask = 31;
enum ByteCommand : uint8_t { Home = 0x00, GoTo = 0x20, ZeroOffset = 0x60, Setting = 0xA0 };
constexpr int32_t Holds = 4;
constexpr uint32_t TakeMs = 2;

uint16_t* Shadow(int32_t reg, int32_t camera)
{
    return &CameraTable[camera].Registers[reg];
}

void Store(int32_t reg, int32_t value, int32_t camera)
{
    *Shadow(reg, camera) = static_cast<uint16_t>(value);
    CameraTable[camera].Ops.WriteRegister(reg, *Shadow(reg, camera), camera);
}

// The upper byte of register 11 goes with the strobe: required.
void SendTarn(uint8_t byte, int32_t camera)
{
    Store(13, (*Shadow(13, camera) & 0xFF00) | byte, camera);
    CameraTable[camera].Ops.WriteRegister(11, *Shadow(11, camera) | 2, camera);
    System.clock.Sleep(TakeMs);
    Store(11, *Shadow(11, camera) & 0xFD, camera);
}

void SendTarnBus(uint8_t byte, int32_t camera)
{
    SendTarn(byte, camera);
    while ((CameraTable[camera].Ops.ReadStatus(7, camera) & 2) == 0) System.clock.Relax();
}

void SendTarnU(uint8_t byte, int32_t camera)
{
    SendTarn(byte, camera);
    while ((CameraTable[camera].Ops.ReadRegister(7, camera) & 2) == 0) System.clock.Relax();
}

void SendBriarR3(uint8_t byte, int32_t camera)
{
    const CameraOps& ops = CameraTable[camera].Ops;
    Store(7, byte, camera);
    ops.WriteRegister(11, *Shadow(11, camera) | 1, camera);
    ops.WriteRegister(11, *Shadow(11, camera), camera);
    while ((ops.ReadStatus(9, camera) & 1) == 0) System.clock.Relax();
}

void SendTarn5(uint8_t byte, int32_t camera)
{
    const CameraOps& ops = CameraTable[camera].Ops;
    ops.WriteRegister(6, byte, camera);
    ops.WriteRegister(9, 2, camera);
    System.clock.Sleep(TakeMs);
    ops.WriteRegister(9, 0, camera);
    do {
        System.clock.Relax();
        ops.WriteRegister(10, 0, camera);
    } while ((ops.ReadRegister(19, camera) & 1) == 0);
}

void SendCommand(const ByteLines& lines, int32_t byte, int32_t camera)
{
    if (lines.startRegister != NoStart) {
        CameraTable[camera].Ops.WriteRegister(lines.startRegister, lines.startValue, camera);
        lines.send(lines.startByte, camera);
    }
    lines.send(static_cast<uint8_t>(byte), camera);
}

} // namespace

const ByteLines TarnBytes = {14, 0xFFFF, 0x9F, SendTarnBus, {128, 72, 80, 96}};
const ByteLines TarnUBytes = {14, 0xFFFF, 0x9F, SendTarnU, {128, 72, 80, 96}};
const ByteLines BriarR3Bytes = {8, 255, 0x8F, SendBriarR3, {128, 71, 79, 95}};
const ByteLines Tarn5Bytes = {NoStart, 0, 0, SendTarn5, {128, 72, 80, 96}};

void OrderByBytes(const ByteLines& lines, WheelOperation operation, int32_t value, int32_t camera)
{
    switch (operation) {
    case WheelZero: SendCommand(lines, Home, camera); break;
    case WheelGoTo:
        SendCommand(lines,
                    static_cast<int32_t>((static_cast<uint32_t>(value) - 1) & ValueMask) | GoTo,
                    camera);
        break;
    case WheelZeroOffset: SendCommand(lines, (value & ValueMask) | ZeroOffset, camera); break;
    case WheelSetting: SendCommand(lines, (value & ValueMask) | Setting, camera); break;
    case WheelHold:
        if (value >= 0 && value < Holds) SendCommand(lines, lines.holds[value], camera);
        break;
    }
}

void StartTarn5Wheel(int32_t camera)
{
    const CameraOps& ops = CameraTable[camera].Ops;
    ops.WriteRegister(5, 255, camera);
    ops.WriteRegister(8, 2, camera);
    ops.WriteRegister(9, 0, camera);
    SendTarn5(0, camera);
}
