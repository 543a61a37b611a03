// The USB ports of the virtual world and the device library in front of them: queues,
// time-outs, latency, bit modes. What hangs on a port decodes bytes.
//
// A call costs 125 microseconds, a transfer its bytes as well, and what a device sends
// arrives at its own pace, in packets of 510 bytes; a packet that does not fill waits for
// the latency timer, 16 ms unless the caller set it. A read ends with all it asked for, or
// with what has come when its time is over: then its status is 0 all the same, and the
// caller has to count. Without a time-out it waits for ever, which is the end of the
// virtual run. On a device that was pulled out every call but Close fails at once.
//
// The library may be called from several threads. The functions here may not, nor while a
// call of the library runs, but for EmuUsbReply and EmuUsbDropReplies inside of `receive`,
// `reset` and `look`.
#pragma once
#include <cstdint>

struct EmuUsbDevice {
    const char* serial;
    const char* description;
    // It understands nothing until it is in synchronous FIFO mode (bit mode 64, from 0).
    bool synchronous;
    int32_t unit;                                                        // handed to the functions
    void (*receive)(int32_t unit, const uint8_t* bytes, uint32_t count); // one write
    void (*reset)(int32_t unit); // ResetDevice, or the device is plugged in again
    // The host looks for bytes and may wait for them; null: that makes no difference.
    void (*look)(int32_t unit) = nullptr;
};

// The port, which is the index that Open takes; -1 when all eight are in use.
int32_t EmuPlugUsb(const EmuUsbDevice& device);
void EmuUnplugUsb(int32_t port); // it keeps its index, and is counted no more
void EmuReplugUsb(int32_t port); // in the state of power-up; handles from before stay dead

// What the device sends: the first byte arrives at `at` microseconds, then one each
// `byteNs`. A synchronous device sends nothing outside of its mode.
void EmuUsbReply(int32_t port, const uint8_t* bytes, uint32_t count, uint64_t at, uint32_t byteNs);
void EmuUsbDropReplies(int32_t port); // what has not been read

// What a test asks.
uint32_t EmuUsbWaiting(int32_t port); // bytes sent and not read, whether arrived or not
uint32_t EmuUsbOpenHandles();
uint32_t EmuUsbPortResets(int32_t port);
void EmuHaveUsbLibrary(bool present); // false: ListDevices fails; true after reset
