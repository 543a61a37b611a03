#include "links/usb_link.h"

#include "core/errors.h"
#include "core/record.h"
#include "platform/system.h"

namespace {

constexpr uint8_t AllPins = 255;
constexpr uint8_t ResetMode = 0, SynchronousFifo = 64;
constexpr uint32_t ModePause = 10; // milliseconds
constexpr uint16_t RtsCts = 256;
constexpr uint32_t BothDirections = 3;
constexpr uint32_t DrainAtOnce = 256;

bool EnterSynchronousMode(uint64_t handle)
{
    if (System.usb.SetBitMode(handle, AllPins, ResetMode) != 0) return false;
    System.clock.Sleep(ModePause);
    return System.usb.SetBitMode(handle, AllPins, SynchronousFifo) == 0;
}

void ApplySettings(const UsbSetup& setup, uint64_t handle)
{
    if (setup.latency != 0) System.usb.SetLatencyTimer(handle, setup.latency);
    System.usb.SetTransferSizes(handle, setup.in, setup.out);
    if (setup.flowControl) System.usb.SetFlowControl(handle, RtsCts, 0, 0);
    if (setup.readTimeout != 0) {
        System.usb.SetTimeouts(handle, setup.readTimeout, setup.writeTimeout);
    }
    if (setup.purge) System.usb.Purge(handle, BothDirections);
}

} // namespace

int32_t UsbOpenDevice(const UsbSetup& setup, int32_t camera)
{
    CameraRecord& record = CameraTable[camera];
    uint32_t count = 0;
    record.UsbHandle = 0;
    if (System.usb.ListDevices(&count) != 0) return ErrorNoUsbDevice;
    if (System.usb.Open(camera, &record.UsbHandle) != 0) {
        record.UsbHandle = 0;
        if (setup.closesUnopened) System.usb.Close(0);
        return ErrorUsbOpen;
    }
    if (setup.synchronous && !EnterSynchronousMode(record.UsbHandle)) {
        UsbCloseDevice(camera);
        return ErrorUsbOpen;
    }
    ApplySettings(setup, record.UsbHandle);
    return ErrorNone;
}

void UsbCloseDevice(int32_t camera)
{
    CameraRecord& record = CameraTable[camera];
    System.usb.Close(record.UsbHandle);
    record.UsbHandle = 0;
}

void UsbSend(const uint8_t* bytes, uint32_t count, int32_t camera)
{
    uint32_t put = 0;
    System.usb.Write(CameraTable[camera].UsbHandle, bytes, count, &put);
}

uint32_t UsbReceive(void* buffer, uint32_t bytes, int32_t camera)
{
    uint32_t got = 0;
    const uint32_t status = System.usb.Read(CameraTable[camera].UsbHandle, buffer, bytes, &got);
    if (status != 0) return 0;
    return got < bytes ? got : bytes;
}

uint32_t UsbWaiting(int32_t camera)
{
    uint32_t count = 0;
    const uint32_t status = System.usb.GetQueueStatus(CameraTable[camera].UsbHandle, &count);
    return status == 0 ? count : 0;
}

bool UsbAwaitBytes(int32_t camera)
{
    uint32_t count = 0;
    while (true) {
        const uint64_t handle = CameraTable[camera].UsbHandle;
        if (System.usb.GetQueueStatus(handle, &count) != 0) return false;
        if (count != 0) return true;
        System.clock.Relax();
    }
}

void DrainReceive(int32_t camera)
{
    uint8_t scratch[DrainAtOnce];
    for (uint32_t count = UsbWaiting(camera); count != 0; count = UsbWaiting(camera)) {
        // A multiple of 256 would ask for nothing, and for ever.
        const uint32_t part = count % DrainAtOnce;
        if (UsbReceive(scratch, part != 0 ? part : DrainAtOnce, camera) == 0) return;
    }
}

void UsbPurge(int32_t camera)
{
    System.usb.Purge(CameraTable[camera].UsbHandle, BothDirections);
}
