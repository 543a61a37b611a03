// Opening, closing and recovering a camera, by its worker. The lock is held, and given up
// during calls of the library.
#pragma once
#include "supervisor/slot.h"

int32_t RunOpen(Slot* slot, const Job& job);
int32_t RunClose(Slot* slot, const Job& job);
int32_t RunRecover(Slot* slot, const Job& job);

// Closes and opens with the same settings; the camera is open or in its fault afterwards.
int32_t Recover(Slot* slot);

// The call that did not return has done so, or the layer ends.
void CloseLost(Slot* slot);

// A status that is left over would keep the camera from loading patterns.
void ClearStatus(Slot* slot);
