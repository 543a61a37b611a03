#include "links/flag_link.h"

#include "links/register_bytes.h"
#include "links/usb_link.h"

namespace {

constexpr uint8_t RegisterFlag = 0x80;
constexpr uint8_t Fetch = 0x40; // sends the register whose number stands in register 0

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
    SendRegisterBytes(pairs, count, FlagSend, camera);
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
