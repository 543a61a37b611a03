#include "platform/usb_vendor.h"

#include <bit>
#include <cstddef>
#include <cstring>

#include "platform/usb.h"

// Its functions clear the stack themselves on Windows with 32 bits; elsewhere there
// is one calling convention.
#if defined(_WIN32) && !defined(_WIN64)
#define VENDOR_CALL __stdcall
#else
#define VENDOR_CALL
#endif

namespace {

using Device = void*;
using StatusOf = uint32_t(VENDOR_CALL*)(Device);

struct VendorFunctions {
    uint32_t(VENDOR_CALL* listDevices)(void* count, void*, uint32_t flags);
    uint32_t(VENDOR_CALL* open)(int index, Device* device);
    StatusOf close;
    uint32_t(VENDOR_CALL* read)(Device, void* buffer, uint32_t bytes, uint32_t* got);
    uint32_t(VENDOR_CALL* write)(Device, void* buffer, uint32_t bytes, uint32_t* put);
    StatusOf resetDevice;
    uint32_t(VENDOR_CALL* setFlowControl)(Device, uint16_t flow, uint8_t xon, uint8_t xoff);
    uint32_t(VENDOR_CALL* purge)(Device, uint32_t mask);
    uint32_t(VENDOR_CALL* setTimeouts)(Device, uint32_t readMs, uint32_t writeMs);
    uint32_t(VENDOR_CALL* getQueueStatus)(Device, uint32_t* count);
    uint32_t(VENDOR_CALL* setLatencyTimer)(Device, uint8_t milliseconds);
    uint32_t(VENDOR_CALL* setBitMode)(Device, uint8_t mask, uint8_t mode);
    uint32_t(VENDOR_CALL* setUsbParameters)(Device, uint32_t in, uint32_t out);
    uint32_t(VENDOR_CALL* getDeviceInfo)(Device, uint32_t* type, uint32_t* id, char* serial,
                                         char* description, void*);
    StatusOf resetPort;
};

VendorFunctions Vendor;

struct VendorEntry {
    const char* names[3]; // the first that the library has
    size_t place;
};

// Not every edition has both resets of a port.
const VendorEntry VendorEntries[] = {
    {{"FT_ListDevices"}, offsetof(VendorFunctions, listDevices)},
    {{"FT_Open"}, offsetof(VendorFunctions, open)},
    {{"FT_Close"}, offsetof(VendorFunctions, close)},
    {{"FT_Read"}, offsetof(VendorFunctions, read)},
    {{"FT_Write"}, offsetof(VendorFunctions, write)},
    {{"FT_ResetDevice"}, offsetof(VendorFunctions, resetDevice)},
    {{"FT_SetFlowControl"}, offsetof(VendorFunctions, setFlowControl)},
    {{"FT_Purge"}, offsetof(VendorFunctions, purge)},
    {{"FT_SetTimeouts"}, offsetof(VendorFunctions, setTimeouts)},
    {{"FT_GetQueueStatus"}, offsetof(VendorFunctions, getQueueStatus)},
    {{"FT_SetLatencyTimer"}, offsetof(VendorFunctions, setLatencyTimer)},
    {{"FT_SetBitMode"}, offsetof(VendorFunctions, setBitMode)},
    {{"FT_SetUSBParameters"}, offsetof(VendorFunctions, setUsbParameters)},
    {{"FT_GetDeviceInfo"}, offsetof(VendorFunctions, getDeviceInfo)},
    {{"FT_ResetPort", "FT_CyclePort", "FT_ResetDevice"}, offsetof(VendorFunctions, resetPort)},
};

void* FindEntry(void* library, const VendorEntry& entry)
{
    for (const char* name : entry.names) {
        void* symbol = name == nullptr ? nullptr : System.library.Symbol(library, name);
        if (symbol != nullptr) return symbol;
    }
    return nullptr;
}

bool FindEntries(void* library, VendorFunctions* functions)
{
    for (const VendorEntry& entry : VendorEntries) {
        const void* symbol = FindEntry(library, entry);
        if (symbol == nullptr) return false;
        memcpy(reinterpret_cast<char*>(functions) + entry.place, &symbol, sizeof symbol);
    }
    return true;
}

Device ToDevice(uint64_t handle)
{
    return std::bit_cast<Device>(static_cast<uintptr_t>(handle));
}

constexpr uint32_t ListNumberOnly = 0x80000000;

uint32_t ListDevices(uint32_t* count)
{
    return Vendor.listDevices(count, nullptr, ListNumberOnly);
}

uint32_t Open(int32_t index, uint64_t* handle)
{
    Device device = nullptr;
    const uint32_t status = Vendor.open(index, &device);
    *handle = status == UsbOk ? reinterpret_cast<uintptr_t>(device) : 0;
    return status;
}

uint32_t Close(uint64_t handle)
{
    return Vendor.close(ToDevice(handle));
}

uint32_t Read(uint64_t handle, void* buffer, uint32_t bytes, uint32_t* got)
{
    *got = 0;
    const uint32_t status = Vendor.read(ToDevice(handle), buffer, bytes, got);
    if (*got > bytes) *got = bytes;
    return status;
}

// The bytes are only read, whatever the type says.
uint32_t Write(uint64_t handle, const void* buffer, uint32_t bytes, uint32_t* put)
{
    *put = 0;
    return Vendor.write(ToDevice(handle), const_cast<void*>(buffer), bytes, put);
}

uint32_t ResetDevice(uint64_t handle)
{
    return Vendor.resetDevice(ToDevice(handle));
}

uint32_t SetFlowControl(uint64_t handle, uint16_t flow, uint8_t xon, uint8_t xoff)
{
    return Vendor.setFlowControl(ToDevice(handle), flow, xon, xoff);
}

uint32_t Purge(uint64_t handle, uint32_t mask)
{
    return Vendor.purge(ToDevice(handle), mask);
}

uint32_t SetTimeouts(uint64_t handle, uint32_t readMs, uint32_t writeMs)
{
    return Vendor.setTimeouts(ToDevice(handle), readMs, writeMs);
}

uint32_t GetQueueStatus(uint64_t handle, uint32_t* count)
{
    *count = 0;
    return Vendor.getQueueStatus(ToDevice(handle), count);
}

uint32_t SetLatencyTimer(uint64_t handle, uint8_t milliseconds)
{
    return Vendor.setLatencyTimer(ToDevice(handle), milliseconds);
}

uint32_t SetBitMode(uint64_t handle, uint8_t mask, uint8_t mode)
{
    return Vendor.setBitMode(ToDevice(handle), mask, mode);
}

uint32_t SetTransferSizes(uint64_t handle, uint32_t in, uint32_t out)
{
    return Vendor.setUsbParameters(ToDevice(handle), in, out);
}

// The strings come from the device; how much room the library takes for granted is
// its secret.
uint32_t DeviceInfo(uint64_t handle, char* serial, char* description)
{
    uint32_t type = 0, id = 0;
    char number[256] = "", name[256] = "";
    const uint32_t status =
        Vendor.getDeviceInfo(ToDevice(handle), &type, &id, number, name, nullptr);
    number[UsbSerialRoom - 1] = '\0';
    name[UsbDescriptionRoom - 1] = '\0';
    strcpy(serial, status == UsbOk ? number : "");
    strcpy(description, status == UsbOk ? name : "");
    return status;
}

uint32_t ResetPort(uint64_t handle)
{
    return Vendor.resetPort(ToDevice(handle));
}

} // namespace

bool LoadVendorUsb(const char* name, UsbApi* api)
{
    void* library = System.library.Load(name);
    VendorFunctions found = {};
    if (library == nullptr || !FindEntries(library, &found)) {
        System.library.Free(library);
        return false;
    }
    Vendor = found;
    *api = {
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
    return true;
}
