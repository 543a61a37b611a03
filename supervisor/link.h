// Whether a camera still answers as the one that was opened: temperatures and frames alone do not
// tell. A camera that has lost its power does not listen until it is opened again.
#pragma once
#include "supervisor/slot.h"

// Without the lock, within work of the camera.
uint32_t ReadMark(const Slot& slot);          // what the camera is known by, 8 bits; 0: nothing
inline constexpr uint32_t NobodyThere = 0xFF; // a bus that nobody drives reads as all ones
bool LinkAnswers(const Slot& slot);
