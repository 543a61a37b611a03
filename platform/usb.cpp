#include "platform/usb.h"

#include <atomic>
#include <mutex>

#include "platform/absent.h"
#include "platform/usb_vendor.h"

namespace {

UsbApi Absent;
UsbChoice Choice;
UsbApi Served;                     // set once, before `Chosen` points to it
std::atomic<const UsbApi*> Chosen; // null: nobody has asked for a list
bool IsListed;                     // the last list succeeded; guarded by `ListLock`
std::mutex ListLock;

const UsbApi& Choose()
{
    if (Chosen.load() == nullptr) {
        if (!LoadVendorUsb(Choice.vendorLibrary, &Served)) Served = Choice.otherwise;
        Chosen.store(&Served);
    }
    return Served;
}

const UsbApi& ServerOf(uint64_t handle)
{
    const UsbApi* chosen = Chosen.load();
    return handle == 0 || chosen == nullptr ? Absent : *chosen;
}

uint32_t ListDevices(uint32_t* count)
{
    const std::lock_guard<std::mutex> guard(ListLock);
    *count = 0;
    const uint32_t status = Choose().ListDevices(count);
    IsListed = status == UsbOk;
    return status;
}

// The vendor's library has been seen to crash in an open without a list, or after
// one that failed.
uint32_t Open(int32_t index, uint64_t* handle)
{
    const std::lock_guard<std::mutex> guard(ListLock);
    *handle = 0;
    return IsListed ? Choose().Open(index, handle) : uint32_t{UsbOtherError};
}

uint32_t Close(uint64_t handle)
{
    return ServerOf(handle).Close(handle);
}

uint32_t Read(uint64_t handle, void* buffer, uint32_t bytes, uint32_t* got)
{
    return ServerOf(handle).Read(handle, buffer, bytes, got);
}

uint32_t Write(uint64_t handle, const void* buffer, uint32_t bytes, uint32_t* put)
{
    return ServerOf(handle).Write(handle, buffer, bytes, put);
}

uint32_t ResetDevice(uint64_t handle)
{
    return ServerOf(handle).ResetDevice(handle);
}

uint32_t SetFlowControl(uint64_t handle, uint16_t flow, uint8_t xon, uint8_t xoff)
{
    return ServerOf(handle).SetFlowControl(handle, flow, xon, xoff);
}

uint32_t Purge(uint64_t handle, uint32_t mask)
{
    return ServerOf(handle).Purge(handle, mask);
}

uint32_t SetTimeouts(uint64_t handle, uint32_t readMs, uint32_t writeMs)
{
    return ServerOf(handle).SetTimeouts(handle, readMs, writeMs);
}

uint32_t GetQueueStatus(uint64_t handle, uint32_t* count)
{
    return ServerOf(handle).GetQueueStatus(handle, count);
}

uint32_t SetLatencyTimer(uint64_t handle, uint8_t milliseconds)
{
    return ServerOf(handle).SetLatencyTimer(handle, milliseconds);
}

uint32_t SetBitMode(uint64_t handle, uint8_t mask, uint8_t mode)
{
    return ServerOf(handle).SetBitMode(handle, mask, mode);
}

uint32_t SetTransferSizes(uint64_t handle, uint32_t in, uint32_t out)
{
    return ServerOf(handle).SetTransferSizes(handle, in, out);
}

uint32_t DeviceInfo(uint64_t handle, char* serial, char* description)
{
    return ServerOf(handle).DeviceInfo(handle, serial, description);
}

uint32_t ResetPort(uint64_t handle)
{
    return ServerOf(handle).ResetPort(handle);
}

} // namespace

UsbApi NativeUsb(const UsbChoice& choice)
{
    const std::lock_guard<std::mutex> guard(ListLock);
    Absent = AbsentUsb();
    Choice = choice;
    return {
        .ListDevices = ListDevices,
        .Open = Open,
        .Close = Close,
        .Read = Read,
        .Write = Write,
        .ResetDevice = ResetDevice,
        .SetFlowControl = SetFlowControl,
        .Purge = Purge,
        .SetTimeouts = SetTimeouts,
        .GetQueueStatus = GetQueueStatus,
        .SetLatencyTimer = SetLatencyTimer,
        .SetBitMode = SetBitMode,
        .SetTransferSizes = SetTransferSizes,
        .DeviceInfo = DeviceInfo,
        .ResetPort = ResetPort,
    };
}
