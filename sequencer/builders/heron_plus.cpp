// HERON_Plus (platform 61): two-phase sensors, 8-bit words.
//
//   1 first sample   2, 4 second sample and conversion   8 horizontal clock
//   32 reset         64, 128 vertical clocks
#include "sequencer/builders/builders.h"
#include "sequencer/wave_engine.h"

void BuildWaveHeronPlus(const char* path, uint32_t x, uint32_t /*y*/, uint32_t width, uint32_t hbin,
                        int32_t vbin, uint32_t /*waveOption*/, uint32_t extraCount, int32_t camera)
{
    const uint32_t P = PhaseTicks(camera);
    const WaveProgram program = {
        .format = &SharedBytes32768,
        .idle = {{0}},
        .row = {{8}, {72, P}, {136, P}, {72, P}, {8, P}},
        .lineStart = {{0}, {8}},
        .lineRepeat = {{72, P}, {136, P}, {72, P}, {8, P / 5}},
        .first = {{32}, {1}},
        .other = {{0}, {0}},
        .notLast = {{8}, {8}},
        .last = {{8}, {14}},
        .outside = {{32}, {0}, {8}, {8}},
        .lineEnd = {{8}},
        .pixel = {{32}, {8}, {8}, {32}},
    };
    WriteWave(program, {path, x, width, hbin, vbin, extraCount, camera});
}
