// The one seam between the library and the world. Every clock, timer, vendor
// library, device call, mapped register, I/O port, allocation and file
// replacement goes through `System`. platform/ fills it at load; emulator/
// replaces it. A member that a system cannot provide is a function that fails,
// never a null pointer.
#pragma once
#include <cstddef>
#include <cstdint>
#include <cstdio>

using PeriodicCallback = void (*)(uint32_t userValue);

struct ClockApi {
    // Milliseconds since some start; wraps at 2^32. May be called from any thread.
    uint32_t (*TickCount)();
    // Sleeps the calling thread for at least this long; 0 yields.
    void (*Sleep)(uint32_t milliseconds);
    // Sleeps or spins the calling thread for at least this long.
    void (*SleepMicroseconds)(uint32_t microseconds);
    // The body of a loop that spins until another thread has changed a flag.
    void (*Relax)();
    // Seconds since 1970, UTC.
    int64_t (*WallSeconds)();
};

// One periodic timer whose callback runs on a thread other than the caller's.
// A callback that overruns its period is followed by the next whole period:
// missed ticks are dropped, never queued. The callback may be entered from a
// call of the same callback (the emulator does), which must return at once.
struct TimerApi {
    uint32_t (*FinestPeriod)(); // milliseconds
    void (*BeginPeriod)(uint32_t milliseconds);
    void (*EndPeriod)(uint32_t milliseconds);
    // Returns a timer other than 0, or 0 if none can be had.
    uint32_t (*Start)(uint32_t milliseconds, PeriodicCallback callback, uint32_t userValue);
    // Returns when no callback of this timer runs any more. Not from the callback.
    void (*Stop)(uint32_t timer);
};

struct ProcessApi {
    // Windows' numbers: class 32 normal, 256 real-time; thread 0 normal, 15
    // time-critical. A refusal of the system is passed over in silence.
    void (*SetPriority)(uint32_t processClass, int32_t threadPriority);
    // The current directory without a trailing separator; false if it does not fit.
    bool (*CurrentDirectory)(char* path, uint32_t room);
    // True if `path` is a directory that this process could change into.
    bool (*CanEnterDirectory)(const char* path);
    // What separates the parts of a path: '/' or '\'.
    char separator;
};

// A new version of a file that is being written beside the old one.
struct FileReplacement {
    FILE* stream;         // binary, write only
    char target[4352];    // the file itself, links followed
    char temporary[4384]; // where the new version grows
};

struct FileApi {
    // Opens a new file in the folder of `path` with the mode of the file there.
    // False, and nothing is left behind, if that cannot be done.
    bool (*BeginReplace)(const char* path, FileReplacement* file);
    // Flushes to the disk, closes, and puts the new version in place of the
    // old in one step. False: something failed, the old file is as it was.
    bool (*CommitReplace)(FileReplacement* file);
    // Closes and deletes the new version; the old file is as it was.
    void (*CancelReplace)(FileReplacement* file);
};

struct LibraryApi { // io.dll, kzbusb.dll: loaded at run time
    // A name without a dot or a separator is completed as the system does it.
    void* (*Load)(const char* name);
    void* (*Symbol)(void* library, const char* name);
    void (*Free)(void* library);
};

struct DeviceApi {                      // the kernel driver of the interface card
    uint64_t (*Open)(const char* name); // 0: failed
    // -1 unless the driver answered. `record` is read and written in place.
    int32_t (*Control)(uint64_t device, uint32_t code, void* record, uint32_t bytes);
    void (*Close)(uint64_t device);
};

struct RegisterApi { // the card's register window, mapped by the kernel driver
    uint32_t (*Read)(uint64_t address);
    void (*Write)(uint64_t address, uint32_t value);
};

struct PortApi { // direct port instructions
    // Asks for `count` ports from `port` on, for every thread of the process and
    // for good; false: refused. A port that was not granted drops what is written
    // and reads as all ones.
    bool (*Acquire)(uint16_t port, uint16_t count);
    void (*Out8)(uint16_t port, uint8_t value);
    void (*Out16)(uint16_t port, uint16_t value);
    uint8_t (*In8)(uint16_t port);
    uint16_t (*In16)(uint16_t port);
};

// What DeviceInfo fills has at least so many bytes each, the ends included.
inline constexpr uint32_t UsbSerialRoom = 16;
inline constexpr uint32_t UsbDescriptionRoom = 64;

struct UsbApi { // the USB device library; 0 or its status
    uint32_t (*ListDevices)(uint32_t* count);
    uint32_t (*Open)(int32_t index, uint64_t* handle);
    uint32_t (*Close)(uint64_t handle);
    uint32_t (*Read)(uint64_t handle, void* buffer, uint32_t bytes, uint32_t* got);
    uint32_t (*Write)(uint64_t handle, const void* buffer, uint32_t bytes, uint32_t* put);
    uint32_t (*ResetDevice)(uint64_t handle);
    uint32_t (*SetFlowControl)(uint64_t handle, uint16_t flow, uint8_t xon, uint8_t xoff);
    uint32_t (*Purge)(uint64_t handle, uint32_t mask);
    uint32_t (*SetTimeouts)(uint64_t handle, uint32_t readMs, uint32_t writeMs);
    uint32_t (*GetQueueStatus)(uint64_t handle, uint32_t* count);
    uint32_t (*SetLatencyTimer)(uint64_t handle, uint8_t milliseconds);
    uint32_t (*SetBitMode)(uint64_t handle, uint8_t mask, uint8_t mode);
    uint32_t (*SetTransferSizes)(uint64_t handle, uint32_t in, uint32_t out);
    uint32_t (*DeviceInfo)(uint64_t handle, char* serial, char* description);
    uint32_t (*ResetPort)(uint64_t handle); // ordinal 69
};

struct MemoryApi {                   // frame, pattern and DMA buffers; nothing else is allocated
    void* (*Allocate)(size_t bytes); // null: failed; errors 9, 16 and 22
    void (*Release)(void* memory);   // null is allowed
};

struct SystemTable {
    ClockApi clock;
    TimerApi timer;
    ProcessApi process;
    FileApi file;
    LibraryApi library;
    DeviceApi device;
    RegisterApi registers;
    PortApi port;
    UsbApi usb;
    MemoryApi memory;
};

extern SystemTable System;

// Points `System` at the operating system. Runs when the library is loaded.
void UseNativeSystem();
