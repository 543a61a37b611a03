// 28, 61, 200 and 205 take the middle of the last eight temperatures, and the library has one
// list of them a platform: two cameras of a kind would be regulated by each other's. Whoever
// did not read last fills the list with its own.
#pragma once
#include "supervisor/slot.h"

// False: another camera fills the list just now. With the lock held.
bool TakeReadings(Slot* slot);
// Fills the list if it has to be; by the worker, without the lock.
void FillReadings(const Slot& slot);
void LeaveReadings(Slot* slot);  // if the camera has it; with the lock held
void ForgetReadings(Slot* slot); // of a camera that is closed; with the lock held
