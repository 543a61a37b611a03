#include "devices/camera_memory.h"

#include "core/record.h"

namespace {

constexpr int32_t Simulated = 1;
constexpr uint16_t Empty = 0xFFFF;

// A camera that was made in 2001 and was never written to.
uint16_t SimulatedWord(int32_t address)
{
    switch (address) {
    case 4:
    case 5: return 1;
    case 6: return 2001;
    case 7: return 9876;
    case 8: return 54321;
    default: return Empty;
    }
}

} // namespace

uint16_t ReadEP(int32_t address, int32_t camera)
{
    return CameraTable[camera].PlatformCode == Simulated ? SimulatedWord(address) : uint16_t{0};
}
