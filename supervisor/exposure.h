// Breaking a camera's work off. The lock is held.
#pragma once
#include "supervisor/slot.h"

// The frame, whatever it is at, and what waits in the queue.
void BreakOff(Slot* slot);

// Nothing runs and nothing waits.
bool IsIdle(const Slot& slot);
