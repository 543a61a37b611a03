// The frame of the simulated camera computed as it is described: pixel by
// pixel, with the mathematical functions called for each. Slow, and the measure
// for every faster way.
#pragma once
#include <cstdint>
#include <vector>

struct PlainDemoInputs {
    std::vector<uint16_t> image; // xpix by ypix, row after row
    int32_t xpix = 0, ypix = 0;
    int32_t originX = 0, originY = 0;
    int32_t horBinning = 1, verBinning = 1;
    double exposure = 0.0;     // seconds
    double gainFactor = 1.0;   // 1, 2, 5, 10 or 20
    double temperature = 20.0; // Celsius
    bool light = false;
};

// Fills width x height pixels and steps the generator's state.
void PlainDemoFrame(const PlainDemoInputs& inputs, int32_t width, int32_t height, uint16_t* buffer,
                    uint32_t* state);
