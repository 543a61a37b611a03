// Gain of the analog front end.
#pragma once
#include <cstdint>

int32_t SetGain(int32_t index, int32_t camera);
int32_t GetGain(int32_t camera);
