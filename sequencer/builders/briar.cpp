// BRIAR, BRIAR-ISA and BRIAR-PCI (platforms 40, 41, 42): 8-bit words.
//
//   1 first sample   2 second sample   4 convert   128 reset
//   16, 8 horizontal clock and its complement (filled in)   32, 64 vertical clocks
#include "core/record.h"
#include "sequencer/builders/builders.h"
#include "sequencer/wave_engine.h"

void BuildWaveBriar(const char* path, uint32_t x, uint32_t /*y*/, uint32_t width, uint32_t hbin,
                    int32_t vbin, uint32_t /*waveOption*/, uint32_t extraCount, int32_t camera)
{
    const uint32_t P = PhaseTicks(camera);
    const bool kaf0260 = CameraTable[camera].CcdCode == 250;
    WaveProgram program = {
        .format = &OwnBytes,
        .fill8 = true,
        .mask = kaf0260 ? 0x78u : 0xF8u,
        .bins = BinRule::Position,
        .extraShifts = true,
        .idle = {{0}},
        .row = {{0}, {32, P}, {64, P}, {32, P}, {0, P}},
        .lineRepeat = {{32, P}, {64, P}, {32, P}, {0, P / 5}},
        .first = {{144}, {17}},
        .other = {{16}},
        .notLast = {{8}},
        .last = {{2}, {4}},
        .outside = {{144}, {8}},
        .lineEnd = {{0}},
        .pixel = {{8}, {16}, {144}, {8}},
    };
    if (kaf0260) {
        SetSteps(program.lineRepeat, {{32, P}, {64, P}, {32, P}, {0, 5 * P}});
        SetSteps(program.first, {{144}, {16}, {17}, {16}});
        SetSteps(program.last, {{2}, {0}, {4}});
    }
    WriteWave(program, {path, x, width, hbin, vbin, extraCount, camera});
}
