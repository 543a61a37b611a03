// Tarn_IV (platform 24) with two-phase sensors: 8-bit words.
//
//   1 first sample   2 second sample   4 convert   128 reset
//   16, 8 horizontal clock and its complement (filled in)   32, 64 vertical clocks
#include "sequencer/builders/builders.h"
#include "sequencer/wave_engine.h"

void BuildWaveTarn4Kaf(const char* path, uint32_t x, uint32_t /*y*/, uint32_t width, uint32_t hbin,
                       int32_t vbin, uint32_t /*waveOption*/, uint32_t extraCount, int32_t camera)
{
    const uint32_t P = PhaseTicks(camera);
    const WaveProgram program = {
        .format = &OwnBytes,
        .fill8 = true,
        .idle = {{0}, {4}, {0, IdleTicks(camera) + 8}},
        .row = {{8}, {40, P}, {72, P}, {40, P}, {8, P}},
        .lineRepeat = {{40, P}, {72, P}, {40, P}, {8, P}},
        .first = {{144}, {17, 4}},
        .other = {{16}},
        .notLast = {{8}},
        .last = {{8, 5}, {4}},
        .outside = {{144}, {16, 4}, {8, 6}},
        .lineEnd = {{0}},
        .pixel = {{8}, {16}, {144}, {8}},
    };
    WriteWave(program, {path, x, width, hbin, vbin, extraCount, camera});
}
