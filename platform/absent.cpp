#include "platform/absent.h"

#include "platform/usb.h"

namespace {

constexpr uint32_t UsbFailure = UsbOtherError;

uint64_t NoDeviceOpen(const char*)
{
    return 0;
}
int32_t NoControl(uint64_t, uint32_t, void*, uint32_t)
{
    return -1;
}
void NoDeviceClose(uint64_t) {}
uint32_t NoRegisterRead(uint64_t)
{
    return 0xFFFFFFFF;
}
void NoRegisterWrite(uint64_t, uint32_t) {}
bool NoAcquire(uint16_t, uint16_t)
{
    return false;
}
void NoOut8(uint16_t, uint8_t) {}
void NoOut16(uint16_t, uint16_t) {}
uint8_t NoIn8(uint16_t)
{
    return 0xFF;
}
uint16_t NoIn16(uint16_t)
{
    return 0xFFFF;
}
uint32_t NoList(uint32_t* count)
{
    *count = 0;
    return UsbFailure;
}
uint32_t NoUsbOpen(int32_t, uint64_t* handle)
{
    *handle = 0;
    return UsbFailure;
}
uint32_t NoUsbCall(uint64_t)
{
    return UsbFailure;
}
uint32_t NoUsbRead(uint64_t, void*, uint32_t, uint32_t* got)
{
    *got = 0;
    return UsbFailure;
}
uint32_t NoUsbWrite(uint64_t, const void*, uint32_t, uint32_t* put)
{
    *put = 0;
    return UsbFailure;
}
uint32_t NoFlowControl(uint64_t, uint16_t, uint8_t, uint8_t)
{
    return UsbFailure;
}
uint32_t NoPurge(uint64_t, uint32_t)
{
    return UsbFailure;
}
uint32_t NoTwoWords(uint64_t, uint32_t, uint32_t)
{
    return UsbFailure;
}
uint32_t NoQueueStatus(uint64_t, uint32_t* count)
{
    *count = 0;
    return UsbFailure;
}
uint32_t NoLatency(uint64_t, uint8_t)
{
    return UsbFailure;
}
uint32_t NoBitMode(uint64_t, uint8_t, uint8_t)
{
    return UsbFailure;
}
uint32_t NoDeviceInfo(uint64_t, char* serial, char* description)
{
    serial[0] = '\0';
    description[0] = '\0';
    return UsbFailure;
}

} // namespace

DeviceApi AbsentDevice()
{
    return {NoDeviceOpen, NoControl, NoDeviceClose};
}

RegisterApi AbsentRegisters()
{
    return {NoRegisterRead, NoRegisterWrite};
}

PortApi AbsentPorts()
{
    return {NoAcquire, NoOut8, NoOut16, NoIn8, NoIn16};
}

UsbApi AbsentUsb()
{
    return {
        .ListDevices = NoList,
        .Open = NoUsbOpen,
        .Close = NoUsbCall,
        .Read = NoUsbRead,
        .Write = NoUsbWrite,
        .ResetDevice = NoUsbCall,
        .SetFlowControl = NoFlowControl,
        .Purge = NoPurge,
        .SetTimeouts = NoTwoWords,
        .GetQueueStatus = NoQueueStatus,
        .SetLatencyTimer = NoLatency,
        .SetBitMode = NoBitMode,
        .SetTransferSizes = NoTwoWords,
        .DeviceInfo = NoDeviceInfo,
        .ResetPort = NoUsbCall,
    };
}
