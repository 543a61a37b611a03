// The cooler's converter: 12 bits on three lines of register 12.
#include <algorithm>

#include "core/record.h"
#include "drivers/bus/bus_camera.h"

namespace {

constexpr int32_t CoolerRegister = 12;
enum CoolerLine : uint16_t { CoolerSelect = 0x2, CoolerClock = 0x4, CoolerData = 0x8 };

constexpr int32_t LargestPermille = 1000;
constexpr int32_t LargestCode = 4095;

} // namespace

// The bits go out as data alone: the address stays on the register.
void SetBusCoolerPower(int32_t permille, int32_t camera)
{
    CameraRecord& record = CameraTable[camera];
    uint16_t& lines = record.Registers[CoolerRegister];
    const int32_t drive = std::clamp(permille, 1, LargestPermille);
    const int32_t code = std::min((drive << 12) / LargestPermille, LargestCode);
    SetRegisterBits(CoolerRegister, CoolerSelect, camera);
    for (int32_t bit = 11; bit >= 0; --bit) {
        const bool high = (code >> bit & 1) != 0;
        lines = static_cast<uint16_t>(high ? lines | CoolerData : lines & ~CoolerData);
        record.Ops.WriteData(lines, camera);
        record.Ops.WriteData(static_cast<uint32_t>(lines | CoolerClock), camera);
        record.Ops.WriteData(lines, camera);
    }
    lines = static_cast<uint16_t>(lines & ~CoolerSelect);
    record.Ops.WriteData(lines, camera);
}
