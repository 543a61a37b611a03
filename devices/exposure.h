// The exposure: every read operation exposes through here.
#pragma once
#include <cstdint>

// Readies the shutter line, starts the camera's own counter, and keeps pace
// with it. `exposure` is in seconds and gets the time really exposed. 1 when
// the exposure was broken off, else 0.
int32_t ExposureControl(const char* label, double* exposure, int32_t shutter, int32_t camera);

// The same for all heads of an array; 0.
int32_t ArrayExposureControl(int32_t shutter, int32_t camera);
