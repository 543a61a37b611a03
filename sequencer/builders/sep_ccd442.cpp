// SEP (platform 80) with the ccd442 and ccd447: 16-bit words, 13 clock lines, a phase
// of three overlapped words.
//
//   1 first sample   2 second sample   4 convert
//   64, 512, 1024, 2048 vertical clocks   the others horizontal clocks and reset
#include "core/record.h"
#include "sequencer/builders/builders.h"
#include "sequencer/builders/ccd442.h"
#include "sequencer/wave_engine.h"

WaveProgram Ccd442Frame(int32_t camera)
{
    const uint32_t ticks = PhaseTicks(camera);
    const uint32_t P = ticks < 2 ? 2 : ticks;
    const WaveProgram program = {
        .format = &OwnWords65535,
        .mask = (CameraTable[camera].CcdCode == 2000 ? 28u : 36u) ^ 0x1FF8u,
        .padding = 28,
        .bins = BinRule::Position,
        .idle = {{0}},
        .row = {{0}, {512, P - 1}, {3584}, {3072, P - 2}, {3136}, {64, P - 1}, {0}},
        .lineStart = {{0}},
        .lineRepeat = {{0}, {512, P - 1}, {3584}, {3072, P - 2}, {3136}, {64, P - 1}},
        .lineSettle = {{0, P / 2}},
        .notLast = {{0}},
        .last = {{4}},
        .lineEnd = {{0}},
    };
    return program;
}

void BuildWaveSepCcd442(const char* path, uint32_t x, uint32_t /*y*/, uint32_t width, uint32_t hbin,
                        int32_t vbin, uint32_t /*waveOption*/, uint32_t extraCount, int32_t camera)
{
    WaveProgram program = Ccd442Frame(camera);
    SetSteps(program.first, {{16}, {4272}, {4153}, {4136}, {10}, {2}});
    SetSteps(program.other, {{16}, {4144}, {4152}, {4136}, {10}, {2}});
    SetSteps(program.outside, {{16}, {4272}, {4152}, {4136}, {8}, {0}});
    SetSteps(program.pixel, {{0}, {16}, {4272}, {4152}, {4136}, {8}});
    WriteWave(program, {path, x, width, hbin, vbin, extraCount, camera});
}
