// What the sources of the virtual world share.
#pragma once
#include <cstddef>
#include <cstdint>

#include "emulator/emulator.h"
#include "platform/system.h"

// Lets `microseconds` pass: whatever falls due runs now, on the caller's thread.
void EmuSpend(uint64_t microseconds);

// Microseconds by which the instruments go: the virtual clock, or the true one where
// the world runs on it.
uint64_t EmuNow();

// The same for a delay that a caller asked for, which real time must not shorten.
void EmuWait(uint32_t microseconds);

// When a tick of the timer or a scheduled action falls due next; UINT64_MAX: never. In
// real time a millisecond from now, since other threads do as they like.
uint64_t EmuNextEvent();

// Counts a call that a plan may make fail; true if this one does.
bool EmuFails(EmuCall call);

// The same for a call to a device, which counts as EmuAnyCall too.
bool EmuDeviceFails(EmuCall call);

// The operating system's filling, whatever `System` points at.
const SystemTable& EmuNative();

ClockApi EmuClock();
TimerApi EmuTimers();
ProcessApi EmuProcess();
FileApi EmuFiles();
LibraryApi EmuLibraries();      // io
LibraryApi EmuAdaptorLibrary(); // kzbusb; other names go to EmuLibraries
DeviceApi EmuDevices();
RegisterApi EmuRegisters();
PortApi EmuPorts();
UsbApi EmuUsb();
MemoryApi EmuMemory();

// Stops virtual time for good, or lets it run again.
void EmuUseRealTime(bool real);

void EmuResetClock();
void EmuResetProcess();
void EmuResetMemory();
void EmuResetFaults();
void EmuResetBusCameras();
void EmuResetTraffic();
void EmuResetCards();
void EmuResetPorts();
void EmuResetUsb();
void EmuResetUsbCameras();
void EmuResetAdaptor();

// What instruments do on their own while time passes.
void EmuRunDma();
