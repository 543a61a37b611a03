// What happens to the shutter when an exposure begins, by platform and sensor.
#pragma once
#include <cstdint>

// Sets the shutter line, then starts the camera's exposure counter, each where
// the camera wants it. `shutter` nonzero is a light frame. `isLong`: the
// exposure is waited for by the long form.
void PrepareShutter(double seconds, int32_t shutter, bool isLong, int32_t camera);
