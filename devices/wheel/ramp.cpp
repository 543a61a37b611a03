// What both steppers share.
#include <cstdlib>

#include "core/record.h"
#include "devices/wheel/wheel.h"

namespace {

constexpr int32_t SlowestMs = 20;
constexpr int32_t RampSteps = 20;

} // namespace

WheelWay ShortWay(int32_t from, int32_t to, int32_t positions)
{
    const int64_t distance = int64_t{to} - from;
    const int32_t direction = distance < 0 ? 0 : 1;
    const int64_t way = std::abs(distance);
    if (way > positions / 2) return {positions - way, 1 - direction};
    return {way, direction};
}

void RunWheel(WheelStep step, int32_t steps, int32_t direction, int32_t floor, int32_t camera)
{
    int32_t& delay = CameraTable[camera].FilterStepDelay;
    delay = SlowestMs;
    for (int32_t i = 0; i < steps; ++i) {
        if (i < RampSteps && delay > floor) --delay;
        step(direction, camera);
        if (steps - i <= RampSteps) ++delay;
    }
}
