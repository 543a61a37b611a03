// Accessories that are reached through the camera. Both hold the timer off.
#pragma once
#include <cstdint>

// Runs one of the three motors of an objective, on platforms 44 to 47.
void ObjectiveControl(int32_t operation, uint16_t milliseconds, int32_t camera);

// Hands four values to a plug-in device, on platforms 29, 300 and 450. 0.
int32_t Plug(int32_t what, const uint32_t* values, int32_t camera);
