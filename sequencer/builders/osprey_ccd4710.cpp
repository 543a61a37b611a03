// OSPREY (platform 200) with the ccd47-10: 16-bit words.
//
//   1 first sample   2, 4 second sample and conversion   8, 16, 32 horizontal clocks
//   64 reset   128, 256, 512 vertical clocks
#include "sequencer/builders/osprey_ccd4710.h"
#include "sequencer/builders/builders.h"
#include "sequencer/wave_engine.h"

WaveProgram OspreyCcd4710Program(uint32_t hold, int32_t camera)
{
    const uint32_t P = PhaseTicks(camera);
    const uint32_t Q = 4 * P;
    const WaveProgram program = {
        .format = &SharedWords65536,
        .idle = {{0}},
        .row = {{64, P}, {216, Q}, {472, P}, {344, Q}, {856, P}, {600, Q}, {88, P}},
        .lineStart = {{0}, {64, P}},
        .lineRepeat = {{216, Q}, {472, P}, {344, Q}, {856, P}, {600, Q}},
        .lineSettle = {{24, P}, {48}, {32}, {40}},
        .first = {{80}, {16, hold}, {17}, {32}},
        .other = {{16, 3}, {32}},
        .notLast = {{8, 2}},
        .last = {{8, hold}, {14}},
        .outside = {{72}, {80}, {96}, {8, 3}},
        .lineEnd = {{0}},
        .pixel = {{72}, {88}, {80}, {112}, {96}, {104}},
    };
    return program;
}

void BuildWaveOspreyCcd4710(const char* path, uint32_t x, uint32_t /*y*/, uint32_t width,
                            uint32_t hbin, int32_t vbin, uint32_t /*waveOption*/,
                            uint32_t extraCount, int32_t camera)
{
    WriteWave(OspreyCcd4710Program(1, camera), {path, x, width, hbin, vbin, extraCount, camera});
}
