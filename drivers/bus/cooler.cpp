// The cooler's converter: 12 bits on three lines of register 12.
#include <algorithm>

#include "core/record.h"
#include "drivers/bus/bus_camera.h"

namespace {

constexpr int32_t CoolerRegister = 12;
enum CoolerLine : uint16_t { CoolerSelect = 0x2, CoolerClock = 0x4, CoolerData = 0x8 };

constexpr int32_t LargestPermille = 1000;
constexpr uint32_t CodeBits = 12;
constexpr uint32_t LargestCode = 4095;

} // namespace

uint32_t CoolerCode(int32_t permille)
{
    const uint32_t drive = static_cast<uint32_t>(std::clamp(permille, 1, LargestPermille));
    return std::min((drive << CodeBits) / static_cast<uint32_t>(LargestPermille), LargestCode);
}

// The bits go out as data alone: the address stays on the register.
void SetBusCoolerPower(int32_t permille, int32_t camera)
{
    CameraRecord& record = CameraTable[camera];
    uint16_t& lines = record.Registers[CoolerRegister];
    const uint32_t code = CoolerCode(permille);
    SetRegisterBits(CoolerRegister, CoolerSelect, camera);
    for (uint32_t bit = CodeBits; bit > 0; --bit) {
        const bool high = (code >> (bit - 1) & 1) != 0;
        lines = static_cast<uint16_t>(high ? lines | CoolerData : lines & ~CoolerData);
        record.Ops.WriteData(lines, camera);
        record.Ops.WriteData(static_cast<uint32_t>(lines | CoolerClock), camera);
        record.Ops.WriteData(lines, camera);
    }
    lines = static_cast<uint16_t>(lines & ~CoolerSelect);
    record.Ops.WriteData(lines, camera);
}
