#include "links/flag_link.h"

#include "links/usb_link.h"

namespace {

constexpr uint8_t RegisterFlag = 0x80;
constexpr uint8_t Fetch = 0x40; // sends the register whose number stands in register 0
constexpr uint32_t PairsAtOnce = 64;

} // namespace

void FlagSend(uint8_t* pairs, uint32_t bytes, int32_t camera)
{
    for (uint32_t i = 0; i < bytes; i += 2) pairs[i] |= RegisterFlag;
    UsbSend(pairs, bytes, camera);
}

void FlagWrite(int32_t reg, int32_t value, int32_t camera)
{
    uint8_t pair[] = {static_cast<uint8_t>(reg), static_cast<uint8_t>(value)};
    FlagSend(pair, sizeof pair, camera);
}

void FlagWriteRegisters(const RegisterPair* pairs, uint32_t count, int32_t camera)
{
    uint8_t bytes[2 * PairsAtOnce];
    uint32_t filled = 0;
    for (uint32_t i = 0; i < count; ++i) {
        bytes[filled++] = static_cast<uint8_t>(pairs[i].reg);
        bytes[filled++] = static_cast<uint8_t>(pairs[i].value);
        if (filled < sizeof bytes && i + 1 < count) continue;
        FlagSend(bytes, filled, camera);
        filled = 0;
    }
}

uint16_t FlagRead(int32_t reg, int32_t camera)
{
    uint8_t bytes[] = {RegisterFlag, static_cast<uint8_t>(reg), Fetch};
    UsbSend(bytes, sizeof bytes, camera);
    UsbReceive(bytes, 1, camera);
    return bytes[0];
}

bool FlagReceive(uint16_t* pixels, uint32_t count, int32_t camera)
{
    const uint32_t bytes = count * static_cast<uint32_t>(sizeof *pixels);
    return UsbReceive(pixels, bytes, camera) == bytes;
}
