// The pixels of the simulated camera: source image, gain and exposure, noise.
// A frame is a function of its inputs and the generator's state alone, however
// it is computed.
#pragma once
#include <cstdint>

// The library's own generator. One call steps the state and gives 0 to 32767.
inline uint32_t DemoRandom(uint32_t* state)
{
    *state = *state * 214013u + 2531011u;
    return *state >> 16 & 0x7FFF;
}

// The state after `draws` calls of DemoRandom.
uint32_t DemoJump(uint32_t state, uint64_t draws);

struct DemoFrame {
    const uint16_t* source; // columns by rows, row after row; null if there are none
    int32_t columns, rows;
    int32_t x, y; // origin of the window in the source
    int32_t horBinning, verBinning;
    double scale;    // exposure in seconds times the gain factor
    double variance; // of the noise; may be infinite, negative or not a number
    bool light;
};

// Computes `rowCount` rows of `width` pixels from output row `firstRow` on into
// `pixels`, and steps the generator as two draws a pixel do. `accumulator` has
// `columns` elements when verBinning is above 1. Light frames with horBinning
// below 1 leave the pixels as they are. May run on several threads at once.
void DemoRows(const DemoFrame& frame, int32_t firstRow, int32_t rowCount, int32_t width,
              uint16_t* pixels, uint32_t* state, float* accumulator);

// Which code computes the pixels. All give the same; the fastest that the
// processor can run is taken unless one is chosen here.
enum DemoPath : int32_t { DemoPathFastest, DemoPathPortable, DemoPathVector };

// False if the processor cannot run it.
bool DemoPathAvailable(DemoPath path);
// One that is available.
void DemoChoosePath(DemoPath path);
