// A frame, by the worker. The lock is held, and given up during calls of the library.
#pragma once
#include "supervisor/slot.h"

// Whether a frame that is queued can be begun now.
bool IsFrameDue(const Slot& slot);
void BeginFrame(Slot* slot);

bool WantsTrigger(const Slot& slot, const QvnsExposure& exposure);
// Where it cannot be read a frame would wait for good.
bool HasTriggerInput(const Slot& slot);

// A look at the external trigger. False: not yet due.
bool TriggerStep(Slot* slot, uint64_t* dueUs);

// The frame moves on, inside of the call that reads it.
void BeginExposing(Slot* slot);
void BeginReading(Slot* slot);

// A report tells when the exposure is over; else the clock does.
bool TellsReadout(const Slot& slot);
void NotePercent(Slot* slot, int32_t percent);

// The library looks at breaks in it.
bool CanBreak(const Slot& slot);

double ExposureElapsed(const Slot& slot);
double ExposureLeft(const Slot& slot);

// Ahead of READY.
bool IsUnderWay(const Frame& frame);
