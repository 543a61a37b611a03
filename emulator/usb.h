// The USB ports of the virtual world and the device library in front of them: queues,
// time-outs, transfer sizes, bit modes. What hangs on a port decodes bytes.
//
// A transfer costs 125 microseconds and its bytes; what a device sends arrives at its
// own pace. A read ends with all it asked for, or with what has come when its time is
// over: then its status is 0 all the same, and the caller has to count. On a device
// that was pulled out every call fails at once.
#pragma once
#include <cstdint>

struct EmuUsbDevice {
    const char* serial;
    const char* description;
    // It understands nothing until it is in synchronous FIFO mode (bit mode 64, from 0).
    bool synchronous;
    int32_t unit;                                                        // handed to the functions
    void (*receive)(int32_t unit, const uint8_t* bytes, uint32_t count); // one write
    void (*reset)(int32_t unit);                                         // of the device
};

// The port, which is the index that Open takes; -1 when all eight are in use.
int32_t EmuPlugUsb(const EmuUsbDevice& device);
void EmuUnplugUsb(int32_t port); // it keeps its index, and is counted no more
void EmuReplugUsb(int32_t port); // in the state of power-up; handles from before stay dead

// What the device sends: it can be read from `at` microseconds on, or from `at` the
// first byte and then one each `byteNs`.
void EmuUsbReply(int32_t port, const uint8_t* bytes, uint32_t count, uint64_t at, uint32_t byteNs);
void EmuUsbDropReplies(int32_t port); // what has not been read

// What a test asks.
uint32_t EmuUsbWaiting(int32_t port); // bytes sent and not read, whether arrived or not
uint32_t EmuUsbOpenHandles();
uint32_t EmuUsbPortResets(int32_t port);
void EmuHaveUsbLibrary(bool present); // false: ListDevices fails; true after reset
