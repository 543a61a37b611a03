#include "supervisor/seam.h"

#include <chrono>

namespace {

constexpr double LongestSeconds = 3.2e9;

struct HostClock {
    double (*seconds)();
    uint64_t last; // that it told
    uint64_t now;  // what has passed of it
};
HostClock Host;

// Until the layer is started.
constexpr SeamTable Nothing = {
    [] { return uint64_t{0}; },
    [] { return 0.0; },
    [](void (*)(int32_t), int32_t) { return false; },
    [] {},
    [] {},
    [](uint64_t) {},
    [] {},
    [](uint64_t) {},
    [] {},
    [](size_t) -> void* { return nullptr; },
    [](void*) {},
    false,
};

} // namespace

SeamTable Seam = Nothing;

void SetClock(double (*seconds)())
{
    const uint64_t told = seconds != nullptr ? ToUs(seconds()) : 0;
    const uint64_t first = told != Never ? told : 0;
    Host = {seconds, first, first};
}

uint64_t ClockUs()
{
    if (Host.seconds == nullptr) {
        const auto now = std::chrono::steady_clock::now().time_since_epoch();
        return static_cast<uint64_t>(
            std::chrono::duration_cast<std::chrono::microseconds>(now).count());
    }
    const double seconds = Host.seconds();
    const uint64_t told = ToUs(seconds);
    if (told == Never || seconds != seconds) return Host.now;
    if (told > Host.last) Host.now += told - Host.last;
    Host.last = told;
    return Host.now;
}

uint64_t ToUs(double seconds)
{
    if (!(seconds > 0.0)) return 0;
    if (seconds > LongestSeconds) return Never;
    return static_cast<uint64_t>(seconds * static_cast<double>(UsPerSecond));
}

double ToSeconds(uint64_t us)
{
    return static_cast<double>(us) / static_cast<double>(UsPerSecond);
}

uint64_t UsFromNow(double seconds)
{
    const uint64_t us = ToUs(seconds);
    return us == Never ? Never : Seam.NowUs() + us;
}
