// Tarn_V on USB (platform 28) with the ccd442: 16-bit words. The full form of a
// pixel falls on the first pixel of each bin: required.
//
//   1 first sample   2 second sample   4 convert   8 reset
//   64, 128, 256, 512 horizontal clocks   2048 to 16384 vertical clocks
#include "sequencer/builders/builders.h"
#include "sequencer/wave_engine.h"

void BuildWaveTarn5Ccd442(const char* path, uint32_t x, uint32_t /*y*/, uint32_t width,
                          uint32_t hbin, int32_t vbin, uint32_t /*waveOption*/, uint32_t extraCount,
                          int32_t camera)
{
    const uint32_t P = PhaseTicks(camera);
    const uint32_t Q = 4 * P;
    const WaveProgram program = {
        .format = &SharedWords65536,
        .bins = BinRule::Leading,
        .idle = {{0}},
        .row = {{0, P}, {4096, Q}, {22528, P}, {18432, Q}, {26624, P}, {8192, Q}, {0, P}},
        .lineStart = {{0}},
        .lineRepeat = {{0, P}, {4096, Q}, {22528, P}, {18432, Q}, {26624, P}, {8192, Q}, {0, P}},
        .lineSettle = {{0}},
        .first = {{256}, {456}, {961}, {704}, {514}, {2}, {4, 2}},
        .other = {{256}, {448}, {960}, {704}, {514}, {2}},
        .outside = {{256}, {456}, {960}, {704}, {512}, {0}},
        .lineEnd = {{0}},
        .pixel = {{0}, {256}, {456}, {960}, {704}, {512}, {0}},
    };
    WriteWave(program, {path, x, width, hbin, vbin, extraCount, camera});
}
