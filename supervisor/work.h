// Calls of the library stand between BeginWork and EndWork, so that the watchdog knows of
// them and the lock is free meanwhile.
#pragma once
#include "supervisor/slot.h"

// With the lock held, which is given up.
void BeginWork(Slot* slot, int32_t kind, double expectedSeconds);

// Takes the lock again. False if the camera has been given up meanwhile.
bool EndWork(Slot* slot);

// With the lock held, inside of such a pair: the work goes over into another.
void ChangeWork(Slot* slot, int32_t kind, double expectedSeconds);

// Seconds that work other than a frame's should take, and that a link may keep a caller on
// top before its own time-outs end the call.
double UsualSeconds(int32_t work);
double Patience(const Slot& slot, int32_t work);

// What the watchdog allows until the camera is taken for lost, both included.
double LongestSeconds(const Slot& slot, int32_t work, double expectedSeconds);

// Where the library may wait in this work, in words.
const char* WaitName(const Slot& slot, int32_t work);
// The same is kept for the host.
void NoteWait(Slot* slot, int32_t work);

// A look at all cameras; with the lock held.
void WatchAll();

// The thread that looks twenty times a second.
void WatchThread(int32_t);
