// Tarn_IV_PLUS (platform 25) with the kaf16800, which idles at 16: 16-bit words.
//
//   2 second sample   8, 16 horizontal clocks   32, 64 vertical clocks   128 reset
#include "sequencer/builders/builders.h"
#include "sequencer/wave_engine.h"

void BuildWaveTarn4pKaf16800(const char* path, uint32_t x, uint32_t /*y*/, uint32_t width,
                             uint32_t hbin, int32_t vbin, uint32_t /*waveOption*/,
                             uint32_t extraCount, int32_t camera)
{
    const uint32_t P = PhaseTicks(camera);
    const WaveProgram program = {
        .format = &OwnWords,
        .fill8 = true,
        .idle = {{0}},
        .row = {{16}, {16}, {80, P}, {112, P}, {48, P}, {16, P / 8}, {16}},
        .lineStart = {{16}, {16}},
        .lineRepeat = {{80, P}, {112, P}, {48, P}, {16, 4 * P}},
        .lineSettle = {{16}},
        .first = {{136}, {8}},
        .other = {{8}, {8}},
        .notLast = {{16}, {16}, {16}},
        .last = {{18}, {16}, {16}},
        .outside = {{136}, {8}, {16}, {16}},
        .lineEnd = {{16}},
        .pixel = {{16}, {136}},
    };
    WriteWave(program, {path, x, width, hbin, vbin, extraCount, camera});
}
