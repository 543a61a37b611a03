// Tarn_IV_PLUS (platform 25) with the ccd42-40: 16-bit words.
//
//   2 convert   8, 16, 768 horizontal clocks   128 reset   others vertical clocks
#include "sequencer/builders/builders.h"
#include "sequencer/wave_engine.h"

void BuildWaveTarn4pCcd4240(const char* path, uint32_t x, uint32_t /*y*/, uint32_t width,
                            uint32_t hbin, int32_t vbin, uint32_t /*waveOption*/,
                            uint32_t extraCount, int32_t camera)
{
    const uint32_t P = PhaseTicks(camera);
    const WaveProgram program = {
        .format = &OwnWords65535,
        .idle = {{0}},
        .row = {{144},
                {152, 2},
                {1176, 4 * P},
                {1208, P},
                {184, P},
                {248, P},
                {216, P},
                {1240, P},
                {1176, P},
                {128, 6}},
        .lineStart = {{0}},
        .lineRepeat = {{144},
                       {152, 2},
                       {1176, 8 * P},
                       {1208, P},
                       {184, 2 * P},
                       {248, P},
                       {216, 2 * P},
                       {1240, P},
                       {1176, 2 * P},
                       {152, 6}},
        .lineSettle = {{16}, {768}},
        .first = {{8}, {144, 2}, {768}},
        .other = {{8}, {16, 2}, {768}},
        .notLast = {{8}},
        .last = {{8}, {10}},
        .outside = {{8}, {144}, {768}},
        .lineEnd = {{0}},
        .pixel = {{8}, {144}, {768}, {0}},
    };
    WriteWave(program, {path, x, width, hbin, vbin, extraCount, camera});
}
