// The seam's filling with the caller's own thread: whoever waits does the work that is due,
// and lets time pass through QV_Delay when there is none.
#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdlib>

#include "supervisor/library.h"
#include "supervisor/seam.h"

namespace {

double UnixAtZero; // of the host's clock
CallerStep Step;

// At the start the system's; from there by the host's clock.
double UnixSeconds()
{
    return UnixAtZero + ToSeconds(ClockUs());
}

bool StartNoThread(void (*)(int32_t), int32_t)
{
    return true;
}

void Nothing() {}

void Wait(uint64_t untilUs)
{
    constexpr uint64_t LongestUs = UsPerSecond;
    uint64_t due = Never;
    if (Step != nullptr && Step(&due)) return;
    const uint64_t now = ClockUs();
    const uint64_t end = std::min({due, untilUs, now + LongestUs});
    if (end <= now) return;
    const uint64_t ms = (end - now + UsPerMs - 1) / UsPerMs;
    Library.Delay(static_cast<uint32_t>(ms));
}

} // namespace

void SetCallerStep(CallerStep step)
{
    Step = step;
}

void UseCaller(double (*seconds)())
{
    SetClock(seconds);
    const auto unixNow = std::chrono::system_clock::now().time_since_epoch();
    UnixAtZero = std::chrono::duration<double>(unixNow).count() - ToSeconds(ClockUs());
    Seam = {ClockUs, UnixSeconds, StartNoThread, Nothing, Nothing, Wait,
            Nothing, Wait,        Nothing,       malloc,  free,    false};
}
