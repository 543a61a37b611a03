// OSPREY_Plus (platform 205) with the ccd30-11b: 16-bit words.
//
//   1 first sample   2 second sample   4 convert   8, 16, 32 horizontal clocks
//   64 reset   128, 256, 512 vertical clocks
#include "sequencer/builders/builders.h"
#include "sequencer/wave_engine.h"

void BuildWaveOspreyPlusCcd3011b(const char* path, uint32_t x, uint32_t /*y*/, uint32_t width,
                                 uint32_t hbin, int32_t vbin, uint32_t /*waveOption*/,
                                 uint32_t extraCount, int32_t camera)
{
    const uint32_t third = TicksOf(PhaseWords(camera), camera) / 3;
    const uint32_t Q = third == 0 ? 1 : third;
    const uint32_t R = 2 * Q;
    const uint32_t S = Q / 2;
    const WaveProgram program = {
        .format = &SharedWords65536,
        .idle = {{0}},
        .row = {{72, S},
                {88, Q},
                {600, R},
                {728, Q},
                {216, Q},
                {472, Q},
                {344, Q},
                {856, Q},
                {600, R},
                {88, Q}},
        .lineStart = {{0}, {64, Q}},
        .lineRepeat = {{72, S},
                       {88, Q},
                       {600, R},
                       {728, Q},
                       {216, Q},
                       {472, Q},
                       {344, Q},
                       {856, Q},
                       {600, R},
                       {88, Q}},
        .lineSettle = {{24, Q}, {8}, {32}, {48}},
        .first = {{24}, {72}, {40}, {32}, {48}},
        .other = {{16}, {24}, {8}, {40}, {32}, {48}},
        .notLast = {{16}},
        .last = {{16}, {18}, {20}},
        .outside = {{80}, {88}, {72}, {104}, {96}, {112}, {80}},
        .lineEnd = {{0}},
        .pixel = {{80}, {88}, {72}, {104}, {96}, {112}},
    };
    WriteWave(program, {path, x, width, hbin, vbin, extraCount, camera});
}
