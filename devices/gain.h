// Gain of the analog front end.
#pragma once
#include <cstdint>

// Programs gain `index`, which is not tested: 0 to 4. What the driver returned.
// Holds the timer off.
int32_t SetGain(int32_t index, int32_t camera);

int32_t GetGain(int32_t camera);

// Programs the user's values, gain 4, each cut to its width. Holds the timer off.
void SetUsrGain(int32_t gain, int32_t high, int32_t offset, int32_t camera);
