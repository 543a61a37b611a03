// The window of a request, as the library's calls would have it.
#pragma once
#include <cstdint>

#include "include/qvn_bench.h"

// In binned pixels.
struct BenchWindow {
    uint32_t x, y, width, height;
};

// Whether the numbers of a request are in their ranges.
bool IsValid(const QvbWaveRequest& request);

// The window of a valid request, or the whole image; the width is even.
BenchWindow WindowOf(const QvbWaveRequest& request, const CcdDefinition& ccd);
