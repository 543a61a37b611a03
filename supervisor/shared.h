// What all cameras share in the library: opening, closing and new geometries need one thread
// at a time, since there is one pattern file. The lock is held.
#pragma once
#include "supervisor/slot.h"

void TakeShared(Slot* slot);    // waits for it
void ReleaseShared(Slot* slot); // if the camera has it
