#include "supervisor/seam.h"

namespace {

constexpr double LongestSeconds = 3.2e9;

// Until the layer is started.
constexpr SeamTable Nothing = {
    [] { return uint64_t{0}; },
    [] { return 0.0; },
    [](void (*)(int32_t), int32_t) { return false; },
    [] {},
    [] {},
    [](uint64_t) {},
    [] {},
    [](size_t) -> void* { return nullptr; },
    [](void*) {},
    false,
};

} // namespace

SeamTable Seam = Nothing;

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
