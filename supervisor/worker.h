// A camera's worker: one step after the other, by a thread of its own or by the caller's.
#pragma once
#include "supervisor/slot.h"

// With the lock held, which is given up during calls of the library. False: nothing was due;
// then `dueUs` is when something will be, if that is earlier than what it held.
bool Step(Slot* slot, uint64_t* dueUs);

// The same for all cameras and the watchdog: what a caller's thread does.
bool StepAnyCamera(uint64_t* dueUs);

// Temperatures of all cameras but one, whose exposure keeps the caller's thread.
void ServeOthers(const Slot* busy);

// The slot's thread; false if there is none.
bool EnsureWorker(Slot* slot);

// A thread of the layer is about to end; with the lock held.
void ThreadEnds();
bool StartWatchThread();
int32_t ThreadsRunning();
