// Tarn_IV_PLUS (platform 25) with the frame-transfer sensor ccd47-20: 16-bit words.
// The extra sections clock its store area.
//
//   2 convert   8, 16, 256 horizontal clocks   128 reset
//   32, 64, 1024 image area   2048, 4096, 8192 store area
#include "sequencer/builders/builders.h"
#include "sequencer/wave_engine.h"

void BuildWaveTarn4pCcd4720(const char* path, uint32_t x, uint32_t /*y*/, uint32_t width,
                            uint32_t hbin, int32_t vbin, uint32_t /*waveOption*/,
                            uint32_t extraCount, int32_t camera)
{
    const uint32_t P = PhaseTicks(camera);
    const uint32_t third = PhaseWords(camera) / 3; // the remainder is dropped: required
    const uint32_t Q = FlooredTicks(third, camera);
    const WaveProgram program = {
        .format = &OwnWords65535,
        .idle = {{0}},
        .row = {{0},
                {144},
                {152, Q},
                {184, 2 * P},
                {248, P},
                {216, P},
                {1240, P},
                {1176, 2 * P},
                {152, P / 10},
                {144},
                {0}},
        .lineStart = {{0}},
        .lineRepeat = {{136},
                       {152, Q},
                       {184, 2 * P},
                       {248, P},
                       {216, P},
                       {1240, P},
                       {1176, 2 * P},
                       {152, P / 10},
                       {136}},
        .lineSettle = {{256}},
        .first = {{16}, {136}, {256}, {272}},
        .other = {{16}, {8}, {256}, {272}},
        .last = {{18}},
        .outside = {{16}, {136}, {256}},
        .lineEnd = {{0}},
        .extraA =
            {{2080, 20 * P}, {6240, P / 4}, {4160, P}, {13376, P / 4}, {9216, P}, {11296, P / 4}},
        .extraB = {{2080, Q}, {6240, Q / 2}, {4160, Q}, {13376, Q / 2}, {9216, Q}},
        .pixel = {{16}, {136}, {256}},
    };
    WriteWave(program, {path, x, width, hbin, vbin, extraCount, camera});
}
