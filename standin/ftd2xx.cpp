// The USB device library by its public names, with virtual cameras behind it. In front
// of a device it is strict about nothing; a host that passes null pointers is refused.
#include <bit>
#include <cstdint>

#include "include/qvn.h"
#include "platform/system.h"
#include "standin/world.h"

namespace {

using Device = void*;

constexpr uint32_t InvalidParameter = 6, OtherError = 18;
constexpr uint32_t ListNumberOnly = 0x80000000;
constexpr uint32_t TwoChannels = 6;      // of high speed
constexpr uint32_t Numbers = 0x04036010; // of its vendor and product

uint64_t HandleOf(Device device)
{
    return std::bit_cast<uintptr_t>(device);
}

} // namespace

extern "C" {

QVN_API uint32_t FT_ListDevices(void* count, void*, uint32_t flags)
{
    if (count == nullptr || flags != ListNumberOnly) return InvalidParameter;
    if (!HaveStandIn()) return OtherError;
    return System.usb.ListDevices(static_cast<uint32_t*>(count));
}

QVN_API uint32_t FT_Open(int index, Device* device)
{
    if (device == nullptr) return InvalidParameter;
    if (!HaveStandIn()) return OtherError;
    uint64_t handle = 0;
    const uint32_t status = System.usb.Open(index, &handle);
    *device = std::bit_cast<Device>(static_cast<uintptr_t>(handle));
    return status;
}

QVN_API uint32_t FT_Close(Device device)
{
    return HaveStandIn() ? System.usb.Close(HandleOf(device)) : OtherError;
}

QVN_API uint32_t FT_Read(Device device, void* buffer, uint32_t bytes, uint32_t* got)
{
    if (buffer == nullptr || got == nullptr) return InvalidParameter;
    return HaveStandIn() ? System.usb.Read(HandleOf(device), buffer, bytes, got) : OtherError;
}

QVN_API uint32_t FT_Write(Device device, void* buffer, uint32_t bytes, uint32_t* put)
{
    if (buffer == nullptr || put == nullptr) return InvalidParameter;
    return HaveStandIn() ? System.usb.Write(HandleOf(device), buffer, bytes, put) : OtherError;
}

QVN_API uint32_t FT_ResetDevice(Device device)
{
    return HaveStandIn() ? System.usb.ResetDevice(HandleOf(device)) : OtherError;
}

QVN_API uint32_t FT_SetFlowControl(Device device, uint16_t flow, uint8_t xon, uint8_t xoff)
{
    if (!HaveStandIn()) return OtherError;
    return System.usb.SetFlowControl(HandleOf(device), flow, xon, xoff);
}

QVN_API uint32_t FT_Purge(Device device, uint32_t mask)
{
    return HaveStandIn() ? System.usb.Purge(HandleOf(device), mask) : OtherError;
}

QVN_API uint32_t FT_SetTimeouts(Device device, uint32_t readMs, uint32_t writeMs)
{
    if (!HaveStandIn()) return OtherError;
    return System.usb.SetTimeouts(HandleOf(device), readMs, writeMs);
}

QVN_API uint32_t FT_GetQueueStatus(Device device, uint32_t* count)
{
    if (count == nullptr) return InvalidParameter;
    return HaveStandIn() ? System.usb.GetQueueStatus(HandleOf(device), count) : OtherError;
}

QVN_API uint32_t FT_SetLatencyTimer(Device device, uint8_t milliseconds)
{
    return HaveStandIn() ? System.usb.SetLatencyTimer(HandleOf(device), milliseconds) : OtherError;
}

QVN_API uint32_t FT_SetBitMode(Device device, uint8_t mask, uint8_t mode)
{
    return HaveStandIn() ? System.usb.SetBitMode(HandleOf(device), mask, mode) : OtherError;
}

QVN_API uint32_t FT_SetUSBParameters(Device device, uint32_t in, uint32_t out)
{
    return HaveStandIn() ? System.usb.SetTransferSizes(HandleOf(device), in, out) : OtherError;
}

QVN_API uint32_t FT_GetDeviceInfo(Device device, uint32_t* type, uint32_t* id, char* serial,
                                  char* description, void*)
{
    if (serial == nullptr || description == nullptr) return InvalidParameter;
    if (!HaveStandIn()) return OtherError;
    if (type != nullptr) *type = TwoChannels;
    if (id != nullptr) *id = Numbers;
    return System.usb.DeviceInfo(HandleOf(device), serial, description);
}

QVN_API uint32_t FT_ResetPort(Device device)
{
    return HaveStandIn() ? System.usb.ResetPort(HandleOf(device)) : OtherError;
}

QVN_API uint32_t FT_CyclePort(Device device)
{
    return FT_ResetPort(device);
}
}
