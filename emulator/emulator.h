// The virtual world behind the system seam. Time moves only when the library
// calls, and every call costs something, so every poll loop ends and a run is a
// function of its inputs.
#pragma once
#include <cstddef>
#include <cstdint>

// An empty world at time 0: no instruments, no faults, default costs.
void EmuReset();

// Points `System` at the virtual world. Real time: the same world with clock and
// timer of the operating system, and instruments that keep pace with it.
void EmuInstall();
void EmuInstallRealTime();

// --- time ---
uint64_t EmuMicroseconds();                       // since reset; in real time that which has passed
void EmuSetTickCost(uint32_t microseconds);       // of one TickCount; 10 after reset
void EmuSetTimerPhase(uint32_t microseconds);     // the first tick comes this much early
void EmuSetFirstTickCount(uint32_t milliseconds); // TickCount at time 0
void EmuSetWallSeconds(int64_t seconds);          // wall clock at time 0

// The virtual time at which the run is taken for hung: it says so and ends the
// process. 30 days after reset.
void EmuSetTimeLimit(uint64_t microseconds);

// Runs `action` when the virtual clock reaches `microseconds`: another thread of
// the host, a hand on a switch. At most 64 are waiting at a time.
void EmuSchedule(uint64_t microseconds, void (*action)(int32_t argument), int32_t argument);
// The same, so long from now; false when 64 are waiting. In real time it runs with the first
// call of a device behind that, on the thread of this call, and any thread may schedule it.
bool EmuScheduleIn(uint64_t microseconds, void (*action)(int32_t argument), int32_t argument);

// --- what the library did ---
size_t EmuLiveBlocks(); // allocations not yet released
uint32_t EmuTimersRunning();
uint32_t EmuPriorityClass(); // last given to SetPriority
int32_t EmuThreadPriority();
uint64_t EmuSleepCount(); // calls of Sleep
uint64_t EmuLastSleep();  // milliseconds of the last one

// --- surroundings ---
void EmuSetCurrentDirectory(const char* path);   // null: it cannot be told
void EmuSetEnterableDirectory(const char* path); // the one that can be entered; null: none

// --- faults ---
enum EmuCall : int32_t {
    EmuAllocate,
    EmuBeginReplace,
    EmuCommitReplace,
    EmuDeviceOpen,    // the card's kernel driver cannot be opened
    EmuDeviceControl, // the driver does not answer: -1, the record as it was
    EmuDmaLock,       // the driver answers, but no buffer is locked
    EmuRegisterRead,  // all ones
    EmuRegisterWrite, // does not arrive
    EmuPortRead,      // all ones
    EmuPortWrite,     // does not arrive
    EmuLibraryLoad,   // not found
    EmuUsbList,       // devices cannot be listed
    EmuUsbOpen,       // the device cannot be opened
    EmuUsbRead,       // half of the bytes come, rounded down
    EmuUsbWrite,      // does not arrive
    EmuUsbSetting,    // any other call of the USB library: refused; a close closes still
    EmuAdaptorCall,   // of the adaptor's library: returns 0 and does nothing
    EmuAnyCall,       // each call of the kinds from EmuDeviceOpen on, as its kind fails
    EmuCallCount
};

// Makes the `at`-th call from now on fail (1: the next one), and with `lasts`
// every later one; 0 takes the fault away.
void EmuFail(EmuCall call, uint32_t at, bool lasts);
uint32_t EmuCallsMet(EmuCall call); // of the kind while the fault was set
