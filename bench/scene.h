// Light that is stretched over the image area of a sensor.
#pragma once
#include <cstdint>

#include "include/qvn_bench.h"

// The pixel of the scene that falls on a pixel of a sensor of `columns` x `rows`.
inline uint16_t StretchedPixel(const QvbScene& scene, uint32_t columns, uint32_t rows,
                               uint32_t column, uint32_t row)
{
    const uint64_t x = uint64_t{column} * scene.Width / columns;
    const uint64_t y = uint64_t{row} * scene.Height / rows;
    return scene.Pixels[y * scene.Width + x];
}
