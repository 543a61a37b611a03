// Tarn_IV_PLUS (platform 25) with the ccd47-10: 16-bit words.
//
//   2 convert   8, 16, 256 horizontal clocks   128 reset   others vertical clocks
#include "sequencer/builders/builders.h"
#include "sequencer/wave_engine.h"

void BuildWaveTarn4pCcd4710(const char* path, uint32_t x, uint32_t /*y*/, uint32_t width,
                            uint32_t hbin, int32_t vbin, uint32_t /*waveOption*/,
                            uint32_t extraCount, int32_t camera)
{
    const uint32_t P = PhaseTicks(camera);
    const WaveProgram program = {
        .format = &OwnWords65535,
        .idle = {{0}},
        .row = {{144},
                {152, 2},
                {184, 2 * P},
                {248, P},
                {216, P},
                {1240, P},
                {1176, 2 * P},
                {152, P / 10}},
        .lineStart = {{0}},
        .lineRepeat = {{144},
                       {152, 2},
                       {184, 2 * P},
                       {248, P},
                       {216, P},
                       {1240, P},
                       {1176, 2 * P},
                       {152, P / 10}},
        .lineSettle = {{16}, {256}},
        .first = {{8}, {24}, {144}, {272}, {256}},
        .other = {{8}, {24}, {16}, {272}, {256}},
        .notLast = {{264}, {8}},
        .last = {{264}, {10}},
        .outside = {{8}, {24}, {144}, {272}, {256}},
        .lineEnd = {{0}},
        .pixel = {{8}, {24}, {144}, {272}, {256}, {0}},
    };
    WriteWave(program, {path, x, width, hbin, vbin, extraCount, camera});
}
