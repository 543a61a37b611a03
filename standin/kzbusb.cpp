// The adaptor's library by its public names, with virtual cameras behind it: the entries
// that cameras need. 0: refused.
#include <cstdint>

#include "include/qvn.h"
#include "platform/system.h"
#include "standin/world.h"

namespace {

// An entry of the emulated library; null: this one has no cameras.
void* Find(const char* name)
{
    static void* const library = HaveStandIn() ? System.library.Load("./qvn/kzbusb.so") : nullptr;
    return library == nullptr ? nullptr : System.library.Symbol(library, name);
}

using DeviceEntry = uint32_t (*)(uint32_t device);
using NumberEntry = uint32_t (*)(uint32_t device, uint32_t number);
using WriteEntry = uint32_t (*)(uint32_t device, uint32_t address, uint8_t byte);
using ReadEntry = uint32_t (*)(uint32_t device, uint32_t address, uint8_t* byte);
using OutEntry = uint32_t (*)(uint32_t device, const void* items, uint32_t count);
using InEntry = uint32_t (*)(uint32_t device, void* items, uint32_t count);

} // namespace

extern "C" {

QVN_API uint32_t UsbInit(uint32_t device)
{
    static const auto entry = reinterpret_cast<DeviceEntry>(Find("UsbInit"));
    return entry == nullptr ? 0 : entry(device);
}

QVN_API uint32_t UsbOpen(uint32_t device)
{
    static const auto entry = reinterpret_cast<DeviceEntry>(Find("UsbOpen"));
    return entry == nullptr ? 0 : entry(device);
}

QVN_API uint32_t UsbClose(uint32_t device)
{
    static const auto entry = reinterpret_cast<DeviceEntry>(Find("UsbClose"));
    return entry == nullptr ? 0 : entry(device);
}

QVN_API uint32_t UsbParInit(uint32_t device, uint32_t mode)
{
    static const auto entry = reinterpret_cast<NumberEntry>(Find("UsbParInit"));
    return entry == nullptr ? 0 : entry(device, mode);
}

QVN_API uint32_t UsbSetTimeout(uint32_t device, uint32_t units)
{
    static const auto entry = reinterpret_cast<NumberEntry>(Find("UsbSetTimeout"));
    return entry == nullptr ? 0 : entry(device, units);
}

QVN_API uint32_t UsbEEpSetAddr(uint32_t device, uint32_t chip)
{
    static const auto entry = reinterpret_cast<NumberEntry>(Find("UsbEEpSetAddr"));
    return entry == nullptr ? 0 : entry(device, chip);
}

QVN_API uint32_t UsbEEpWriteByte(uint32_t device, uint32_t address, uint8_t byte)
{
    static const auto entry = reinterpret_cast<WriteEntry>(Find("UsbEEpWriteByte"));
    return entry == nullptr ? 0 : entry(device, address, byte);
}

QVN_API uint32_t UsbEEpReadByte(uint32_t device, uint32_t address, uint8_t* byte)
{
    static const auto entry = reinterpret_cast<ReadEntry>(Find("UsbEEpReadByte"));
    return entry == nullptr || byte == nullptr ? 0 : entry(device, address, byte);
}

QVN_API uint32_t UsbParOut(uint32_t device, const void* items, uint32_t count)
{
    static const auto entry = reinterpret_cast<OutEntry>(Find("UsbParOut"));
    return entry == nullptr || items == nullptr ? 0 : entry(device, items, count);
}

QVN_API uint32_t UsbParIn(uint32_t device, void* items, uint32_t count)
{
    static const auto entry = reinterpret_cast<InEntry>(Find("UsbParIn"));
    return entry == nullptr || items == nullptr ? 0 : entry(device, items, count);
}
}
