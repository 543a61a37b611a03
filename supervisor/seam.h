// The one seam between the layer and the system: clock, threads, one lock, two conditions,
// memory. Two fillings: threads of the system, and the caller's own thread, in which the
// workers' steps are done one after the other.
#pragma once
#include <cstddef>
#include <cstdint>

#include "include/qvn_supervisor.h"

struct SeamTable {
    uint64_t (*NowUs)();     // with the lock held; never goes back
    double (*UnixSeconds)(); // UTC
    // Runs body(argument) in a thread of its own; false: there is none. Where there are no
    // threads, true: the steps are done elsewhere.
    bool (*StartThread)(void (*body)(int32_t argument), int32_t argument);
    // The lock of everything that the layer keeps. Not held over calls of the library.
    void (*Lock)();
    void (*Unlock)();
    // With the lock held, which is given up meanwhile: returns when something was signalled,
    // at `untilUs`, or earlier.
    void (*Wait)(uint64_t untilUs);
    void (*Signal)();
    // As Wait, for who only looks at the clock: woken by Rouse, and not with every signal.
    void (*Rest)(uint64_t untilUs);
    void (*Rouse)();
    void* (*Allocate)(size_t bytes);
    void (*Release)(void* memory);
    bool threads; // the system's
};

extern SeamTable Seam;

void UseThreads(double (*seconds)());
void UseCaller(double (*seconds)());

// What the caller's thread does where there are no threads: one piece of work that is due,
// and true; else false, and when the next one falls due.
using CallerStep = bool (*)(uint64_t* dueUs);
void SetCallerStep(CallerStep step);

// The clock of both fillings: the host's, or null for the system's. What the host's goes back is
// left out, as is a time that is no number.
void SetClock(double (*seconds)());
uint64_t ClockUs();

inline constexpr uint64_t UsPerSecond = 1'000'000;
inline constexpr uint64_t UsPerMs = 1000;
inline constexpr uint64_t Never = UINT64_MAX;

// Microseconds of a time in seconds; what is beyond a century is Never, below 0 it is 0.
uint64_t ToUs(double seconds);
double ToSeconds(uint64_t us);
uint64_t UsFromNow(double seconds);
