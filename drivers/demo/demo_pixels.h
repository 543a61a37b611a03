// The pixels of the simulated camera: source image, gain and exposure, noise.
#pragma once
#include <cstdint>

// The library's own generator. One call steps the state and gives 0 to 32767.
inline uint32_t DemoRandom(uint32_t* state)
{
    *state = *state * 214013u + 2531011u;
    return *state >> 16 & 0x7FFF;
}

struct DemoFrame {
    const uint16_t* source; // rows by columns, row after row
    int32_t columns, rows;
    int32_t x, y; // origin of the window in the source
    int32_t horBinning, verBinning;
    double scale;    // exposure in seconds times the gain factor
    double variance; // of the noise; may be infinite, negative or not a number
    bool light;
};

// Room that a frame needs beside its pixels: the line accumulator and the noise
// amplitudes. Bytes.
uint32_t DemoScratchBytes(const DemoFrame& frame);

// Computes `rowCount` rows of `width` pixels from output row `firstRow` on into
// `pixels`, and steps the generator as two draws a pixel do.
void DemoRows(const DemoFrame& frame, int32_t firstRow, int32_t rowCount, int32_t width,
              uint16_t* pixels, uint32_t* state, void* scratch);
