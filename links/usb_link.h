// A camera on USB, as the device library hands it out: opening it with the settings of
// its kind, and the pipe. The device's index is the camera's number.
#pragma once
#include <cstdint>

// What a camera's open asks of the device library. Times in milliseconds.
struct UsbSetup {
    bool synchronous;      // bit mode reset, 10 ms, bit mode synchronous FIFO
    uint8_t latency;       // 0: the device's own
    uint32_t in, out;      // transfer sizes in bytes
    bool flowControl;      // RTS/CTS
    uint32_t readTimeout;  // 0: times stay the library's own
    uint32_t writeTimeout; // 0: without a limit
    bool purge;
    bool closesUnopened; // Close is called on the unset handle of a failed open: required
};

// 0, 17 if devices cannot be listed, or 18 if this one cannot be opened; then it is closed.
int32_t UsbOpenDevice(const UsbSetup& setup, int32_t camera);
void UsbCloseDevice(int32_t camera);

// One write; what became of it is not looked at.
void UsbSend(const uint8_t* bytes, uint32_t count, int32_t camera);
// One read, up to the read time-out. How many bytes came.
uint32_t UsbReceive(void* buffer, uint32_t bytes, int32_t camera);
// Bytes that wait.
uint32_t UsbWaiting(int32_t camera);
// Polls until bytes wait, without a limit. False if the device cannot be asked: it is gone.
bool UsbAwaitBytes(int32_t camera);
// Reads and drops what waits, until nothing does or nothing can be read.
void DrainReceive(int32_t camera);
void UsbPurge(int32_t camera); // both directions
