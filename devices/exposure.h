// The exposure: every read operation exposes through here.
#pragma once
#include <cstdint>

// Readies the shutter line, starts the camera's own counter, and keeps pace
// with it. `exposure` is in seconds; it is raised to what the camera can do and,
// after a break, gets the time really exposed. A negative one exposes nothing.
// `shutter` nonzero is a light frame. 1 when the exposure was broken off, else
// 0. `label` is not used. The caller holds the timer off.
int32_t ExposureControl(const char* label, double* exposure, int32_t shutter, int32_t camera);

// Its wait for a camera that runs the exposure on its own: from tick `start` on for `ms`
// milliseconds, which are `seconds`, with reports, temperature readings and clears as the
// camera has them. Ends early on a break. The milliseconds waited.
uint32_t AwaitExposure(double seconds, int32_t ms, uint32_t start, int32_t camera);

// ExposureControl for all heads of an array, each with its HeadExposure; 0, also after
// a break.
int32_t ArrayExposureControl(int32_t shutter, int32_t camera);
