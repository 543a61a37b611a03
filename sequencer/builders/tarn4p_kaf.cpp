// Tarn_IV_PLUS (platform 25) with two-phase sensors: 16-bit words.
//
//   1 first sample   2 second sample   4 convert   128 reset
//   16, 8 horizontal clock and its complement (filled in)   32, 64 vertical clocks
#include "sequencer/builders/builders.h"
#include "sequencer/wave_engine.h"

void BuildWaveTarn4pKaf(const char* path, uint32_t x, uint32_t /*y*/, uint32_t width, uint32_t hbin,
                        int32_t vbin, uint32_t /*waveOption*/, uint32_t extraCount, int32_t camera)
{
    const uint32_t P = PhaseTicks(camera);
    const WaveProgram program = {
        .format = &OwnWords,
        .fill8 = true,
        .idle = {{0}},
        .row = {{0}, {32, P}, {64, P}, {32, P}, {0, P}},
        .lineRepeat = {{32, P}, {64, P}, {32, P}, {0, P}},
        .first = {{16}, {144}},
        .other = {{16}},
        .notLast = {{8}},
        .last = {{8, hbin == 1 ? 1u : 0u}, {2}},
        .outside = {{144}, {8}},
        .lineEnd = {{0}},
        .pixel = {{8}, {16}, {144}, {8}},
    };
    WriteWave(program, {path, x, width, hbin, vbin, extraCount, camera});
}
