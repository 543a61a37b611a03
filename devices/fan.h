// The camera's fan.
#pragma once
#include <cstdint>

// Sets the fan where the driver has one. `percent` is not tested. Holds the timer off.
void SetFanSpeed(double percent, int32_t camera);
