// The language of Tarn_U, R4-DSP and TOLM.
#include <algorithm>
#include <vector>

#include "emulator/usb_state.h"
#include "emulator/world.h"

namespace {

constexpr uint8_t Addresses = 64; // and above: bits that are no part of the address
constexpr uint8_t Increment = 64; // of a request: from register to register
constexpr uint8_t FirstCount = 0x84, LastCount = 0x87;
constexpr uint32_t MostBytes = 1u << 16; // of registers in one request
constexpr uint64_t AnswerUs = 20;

enum Expected : uint32_t { Address, Value, Start };

void Pair(EmuUsbState* camera, const EmuPairLink& link, uint8_t address, uint8_t value)
{
    camera->received = address == LastCount ? Start : Address;
    if (address < Addresses) {
        link.write(camera, address, value);
    } else if (address >= FirstCount && address <= LastCount) {
        const uint32_t shift = 8u * (address - FirstCount);
        camera->asked = (camera->asked & ~(0xFFu << shift)) | static_cast<uint32_t>(value) << shift;
    } else {
        EmuUsbStray(camera, address);
        EmuUsbStray(camera, value);
    }
}

void Request(EmuUsbState* camera, const EmuPairLink& link, uint8_t start)
{
    camera->received = Address;
    if (start >= Addresses + Increment) {
        EmuUsbStray(camera, start);
        return;
    }
    uint8_t address = start % Addresses;
    if (address == link.frameAddress) {
        link.frame(camera, camera->asked);
        return;
    }
    std::vector<uint8_t> bytes(std::min(camera->asked, MostBytes));
    for (uint8_t& byte : bytes) {
        byte = link.read(camera, address);
        if ((start & Increment) != 0) address = static_cast<uint8_t>((address + 1) % Addresses);
    }
    EmuUsbSend(camera, bytes.data(), static_cast<uint32_t>(bytes.size()), EmuNow() + AnswerUs, 0);
}

} // namespace

void EmuReceivePairs(EmuUsbState* camera, const EmuPairLink& link, const uint8_t* bytes,
                     uint32_t count)
{
    for (uint32_t i = 0; i < count; ++i) {
        switch (camera->received) {
        case Address:
            camera->sentence[0] = bytes[i];
            camera->received = Value;
            break;
        case Value: Pair(camera, link, camera->sentence[0], bytes[i]); break;
        default: Request(camera, link, bytes[i]); break;
        }
    }
}
