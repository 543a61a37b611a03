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

// Counts a call that a plan may make fail; true if this one does.
bool EmuFails(EmuCall call);

// The operating system's filling, whatever `System` points at.
const SystemTable& EmuNative();

ClockApi EmuClock();
TimerApi EmuTimers();
ProcessApi EmuProcess();
FileApi EmuFiles();
MemoryApi EmuMemory();

// Stops virtual time for good, or lets it run again.
void EmuUseRealTime(bool real);

void EmuResetClock();
void EmuResetProcess();
void EmuResetMemory();
void EmuResetFaults();
void EmuResetBusCameras();
