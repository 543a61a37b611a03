// The direct shutter calls and the trigger input.
#pragma once
#include <cstdint>

void Shutter(double seconds, int32_t camera);
void ShutterControl(int32_t on, int32_t camera);

// With `wait` 0 one poll: 0 or 1. Else polls without limit and returns `wait`.
int32_t Trigger(int32_t wait, int32_t camera);
