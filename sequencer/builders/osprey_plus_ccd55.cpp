// OSPREY_Plus (platform 205) with the ccd55-20 and the ccd30-11d: 16-bit words. The
// strobes of a bin come at the start of the next.
//
//   1 first sample   2 second sample   4 convert   64 reset
//   8, 16 horizontal clocks, exchanged for the ccd30-11d   32 horizontal clock
//   128 and up vertical clocks
#include "core/record.h"
#include "sequencer/builders/builders.h"
#include "sequencer/wave_engine.h"

void BuildWaveOspreyPlusCcd55(const char* path, uint32_t x, uint32_t /*y*/, uint32_t width,
                              uint32_t hbin, int32_t vbin, uint32_t /*waveOption*/,
                              uint32_t extraCount, int32_t camera)
{
    const int32_t sensor = CameraTable[camera].CcdCode;
    // By the tick first: the other way round some periods lose a tick.
    const uint32_t third = TicksOf(PhaseWords(camera), camera) / 3;
    const uint32_t Q = third == 0 ? 1 : third;
    const uint32_t A = sensor == 135 ? 16 : 8;
    const uint32_t B = sensor == 135 ? 8 : 16;
    const uint32_t S = A + B;
    WaveProgram program = {
        .format = &SharedWords65536,
        .idle = {{0}},
        .row = {{64, Q},
                {S + 4672, Q},
                {S + 6976, Q},
                {S + 8128, Q},
                {S + 3520, Q},
                {S + 1216, Q},
                {S + 64, Q}},
        .lineStart = {{0}},
        .lineRepeat = {{64, Q},
                       {S + 4672, Q},
                       {S + 6976, Q},
                       {S + 8128, Q},
                       {S + 3520, Q},
                       {S + 1216, Q},
                       {S + 64, Q}},
        .lineSettle = {{32}, {A + 32}},
        .first = {{A, 3}, {A + 2}, {A + 4}, {S}},
        .other = {{S}},
        .notLast = {{B, 3}, {B + 32}, {32, 4}, {A + 32}},
        .last = {{B + 64}, {B}, {B + 1}, {B + 32}, {32, 4}, {A + 32}},
        .outside = {{A + 64, 5}, {S + 64}, {B + 64, 5}, {B + 96}, {96, 5}, {A + 32}},
        .lineEnd = {{0}},
        .pixel = {{0}, {A + 64}, {S + 64}, {B + 64}, {B + 96}, {96}, {A + 96}, {0}},
    };
    if (sensor == 135) {
        SetSteps(program.row,
                 {{64, Q}, {S + 832, Q}, {S + 960, Q}, {S + 448, Q}, {S + 192, Q}, {S + 64, Q}});
        SetSteps(program.lineRepeat,
                 {{64, Q}, {S + 832, Q}, {S + 960, Q}, {S + 448, Q}, {S + 192, Q}, {S + 64, Q}});
    }
    WriteWave(program, {path, x, width, hbin, vbin, extraCount, camera});
}
