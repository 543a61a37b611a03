// The analog front end of the bus cameras behind BRIAR: words of 15 bits, shifted in on
// three lines of register 11.
#include <iterator>

#include "core/record.h"
#include "drivers/bus/bus_camera.h"

namespace {

constexpr int32_t FrontEndRegister = 11;
enum FrontEndLine : uint16_t { FrontEndEnable = 0x10, FrontEndData = 0x20, FrontEndClock = 0x40 };

constexpr uint32_t AddressBits = 3;
constexpr uint32_t ValueBits = 12;

enum FrontEndWord : uint32_t { RangeWord = 0, GainWord = 2, OffsetWord = 5 };

constexpr int32_t UserGainIndex = 4;
constexpr uint8_t Gains[UserGainIndex] = {0, 38, 56, 63};

void SendBits(uint32_t value, uint32_t count, int32_t camera)
{
    for (uint32_t bit = count; bit > 0; --bit) {
        const bool high = (value >> (bit - 1) & 1) != 0;
        ModifyBusRegister(FrontEndRegister, FrontEndData, high ? 1 : 0, camera);
        PulseRegister(FrontEndRegister, FrontEndClock, camera);
    }
}

// Sign and magnitude: the sign is bit 8.
uint32_t OffsetOf(uint32_t userOffset)
{
    return userOffset >= 256 ? userOffset - 256 : 511 - userOffset;
}

} // namespace

void FrontEndWrite(uint32_t address, uint32_t value, int32_t camera)
{
    SetRegisterBits(FrontEndRegister, FrontEndEnable, camera);
    ClearRegisterBits(FrontEndRegister, FrontEndData, camera);
    PulseRegister(FrontEndRegister, FrontEndClock, camera);
    SendBits(address, AddressBits, camera);
    SendBits(value, ValueBits, camera);
    ClearRegisterBits(FrontEndRegister, FrontEndEnable, camera);
}

int32_t SetGainBy(FrontEndWriter write, uint16_t highRange, uint16_t lowRange, int32_t camera)
{
    CameraRecord& record = CameraTable[camera];
    const int32_t index = record.GainIndex;
    record.LoadedGain = index;
    if (index != UserGainIndex) {
        const bool listed = index >= 0 && index < static_cast<int32_t>(std::size(Gains));
        write(GainWord, Gains[listed ? index : 0], camera);
        return 0;
    }
    write(GainWord, record.UserGain, camera);
    write(OffsetWord, OffsetOf(record.UserOffset), camera);
    write(RangeWord, record.UserGainHigh != 0 ? highRange : lowRange, camera);
    return 0;
}

int32_t SetFrontEndGain(uint16_t highRange, uint16_t lowRange, int32_t camera)
{
    return SetGainBy(FrontEndWrite, highRange, lowRange, camera);
}
