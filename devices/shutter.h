// The direct shutter calls and the trigger input.
#pragma once
#include <cstdint>

// Starts the camera's own exposure counter. Does not hold the timer off.
void Shutter(double seconds, int32_t camera);

// Holds the shutter open, or releases it, where the camera has such a line.
// Holds the timer off.
void ShutterControl(int32_t on, int32_t camera);

// With `wait` 0 one poll: 0 or 1. Else polls without limit and without regard
// to BreakFlag, and returns `wait`.
int32_t Trigger(int32_t wait, int32_t camera);
