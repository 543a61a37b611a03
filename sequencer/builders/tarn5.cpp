// Tarn_V (platform 28) with two-phase sensors: 16-bit words.
//
//   1 first sample   2, 4 second sample and conversion   8 reset
//   256, 512 horizontal clocks, exchanged for the kaf16800   4096, 8192 vertical clocks
#include "core/record.h"
#include "sequencer/builders/builders.h"
#include "sequencer/wave_engine.h"

void BuildWaveTarn5(const char* path, uint32_t x, uint32_t /*y*/, uint32_t width, uint32_t hbin,
                    int32_t vbin, uint32_t /*waveOption*/, uint32_t extraCount, int32_t camera)
{
    const bool kaf16800 = CameraTable[camera].CcdCode == 290;
    const uint32_t P = PhaseTicks(camera);
    const uint32_t H = kaf16800 ? 256 : 512;
    const uint32_t L = kaf16800 ? 512 : 256;
    WaveProgram program = {
        .format = &SharedWords32768,
        .idle = {{0}},
        .row = {{512}, {8704, P}, {4608, P}, {8704, P}, {512, P}},
        .lineStart = {{0}, {H}},
        .lineRepeat = {{512}, {8704, P}, {4608, P}, {8704, P}, {512, P}},
        .first = {{L + 8}, {L + 1}},
        .other = {{L, 2}},
        .notLast = {{H}},
        .last = {{H + 6}},
        .outside = {{H}, {L + 8}, {L}},
        .lineEnd = {{H}},
        .pixel = {{L + 8}, {H}, {L + 8}},
    };
    if (kaf16800) {
        SetSteps(program.row, {{256}, {4352, P / 3}, {12544, P / 3}, {8448, P / 3}});
        SetSteps(program.lineRepeat, {{256}, {4352, P / 3}, {12544, P / 3}, {8448, P / 3}});
    }
    WriteWave(program, {path, x, width, hbin, vbin, extraCount, camera});
}
