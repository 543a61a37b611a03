// Larch (platform 30) with two-phase sensors: 16-bit words.
//
//   1 first sample   2 second sample   4 convert   128 reset
//   16, 8 horizontal clock and its complement (filled in)   32, 64 vertical clocks
#include "sequencer/builders/larch_kaf.h"
#include "core/record.h"
#include "sequencer/builders/builders.h"
#include "sequencer/wave_engine.h"

WaveProgram LarchKafProgram(int32_t camera)
{
    const uint32_t P = PhaseTicks(camera);
    const WaveProgram program = {
        .format = &OwnWords,
        .fill8 = true,
        .mask = CameraTable[camera].CcdCode == 270 ? 0x1FCu : 0x104u,
        .padding = 260,
        .bins = BinRule::Position,
        .extraShifts = true,
        .idle = {{0}, {0}},
        .row = {{0}, {32, P}, {64, P}, {32, P}, {0, P}},
        .lineRepeat = {{32, P}, {64, P}, {32, P}, {0, P / 5}},
        .first = {{144}, {17}, {8}},
        .other = {{16}},
        .notLast = {{8}},
        .last = {{2}, {4}},
        .outside = {{144}, {8}},
        .lineEnd = {{0}},
        .pixel = {{16}, {144}, {8}, {8}},
    };
    return program;
}

void BuildWaveLarchKaf(const char* path, uint32_t x, uint32_t /*y*/, uint32_t width, uint32_t hbin,
                       int32_t vbin, uint32_t /*waveOption*/, uint32_t extraCount, int32_t camera)
{
    WriteWave(LarchKafProgram(camera), {path, x, width, hbin, vbin, extraCount, camera});
}
