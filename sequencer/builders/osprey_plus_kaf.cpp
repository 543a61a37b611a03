// OSPREY_Plus (platform 205) with two-phase sensors: 16-bit words.
//
//   1 first sample   2 second sample   4 convert   64 reset
//   8, 16 horizontal clocks, exchanged for four sensors   128, 256 vertical clocks
#include "core/record.h"
#include "sequencer/builders/builders.h"
#include "sequencer/wave_engine.h"

namespace {

bool IsSwapped(int32_t sensor)
{
    return sensor == 279 || sensor == 286 || sensor == 287 || sensor == 290;
}

bool IdlesAt16(int32_t sensor)
{
    return sensor == 287 || sensor == 290;
}

void SetHorizontal(int32_t sensor, WaveProgram* program)
{
    if (!IsSwapped(sensor)) return;
    SetSteps(program->first, {{73}, {8}});
    SetSteps(program->other, {{8, 2}});
    SetSteps(program->notLast, {{16, 2}});
    SetSteps(program->last, {{18}, {20}});
    SetSteps(program->outside, {{16}, {72, 2}, {8}});
    SetSteps(program->pixel, {{72}, {16}, {72}});
}

void SetVertical(int32_t sensor, int32_t vbin, uint32_t P, WaveProgram* program)
{
    const uint32_t once = vbin == 1 ? 1 : 0;
    switch (sensor) {
    case 279:
        SetSteps(program->row, {{16}, {272, P}, {144, P}, {272, P}, {16, P}});
        SetSteps(program->lineRepeat, {{16}, {272, P}, {144, P}, {272, P}, {16, P}});
        break;
    case 281:
        SetSteps(program->row, {{8}, {136, P}, {392, P}, {264, P}, {392, P}, {136, P}, {8}});
        SetSteps(program->lineRepeat, {{8}, {136, P}, {392, P}, {264, P}, {392, P}, {136, P}, {8}});
        break;
    case 286:
        SetSteps(program->row, {{8}, {136, P}, {264, P}, {8, P / 2}});
        SetSteps(program->lineRepeat, {{8}, {136, P}, {264, P}, {8, P / 2}});
        break;
    case 287:
    case 290:
        SetSteps(program->row, {{8}, {136, P}, {392}, {264, P}, {8, P / 2}});
        SetSteps(program->lineRepeat, {{8}, {136, P}, {392}, {264, P}, {8, P / 2}});
        break;
    case 250:
    case 255:
    case 260:
    case 275:
        SetSteps(program->lineRepeat,
                 {{136, P - 1}, {392}, {264, P - 1}, {392}, {136, once * P}, {8, once * P}});
        break;
    default: break;
    }
    // What the repeats leave out comes once behind them, on these two alone.
    if ((sensor == 250 || sensor == 260) && vbin > 1) {
        SetSteps(program->lineSettle, {{136, P}, {8, P}});
    }
}

} // namespace

void BuildWaveOspreyPlusKaf(const char* path, uint32_t x, uint32_t /*y*/, uint32_t width,
                            uint32_t hbin, int32_t vbin, uint32_t /*waveOption*/,
                            uint32_t extraCount, int32_t camera)
{
    const int32_t sensor = CameraTable[camera].CcdCode;
    const uint32_t P = PhaseTicks(camera);
    const uint32_t idle = IdlesAt16(sensor) ? 16 : 8;
    WaveProgram program = {
        .format = &SharedWords65536,
        .idle = {{0}},
        .row = {{8}, {136, P}, {264, P}, {136, P}, {8, P}},
        .lineStart = {{0}, {idle}},
        .lineRepeat = {{8}, {136, P}, {264, P}, {136, P}, {8, P}},
        .first = {{81}, {16}},
        .other = {{16, 2}},
        .notLast = {{8, 2}},
        .last = {{10}, {12}},
        .outside = {{8}, {80, 2}, {16}},
        .lineEnd = {{idle}},
        .pixel = {{80}, {8}, {80}},
    };
    SetHorizontal(sensor, &program);
    SetVertical(sensor, vbin, P, &program);
    WriteWave(program, {path, x, width, hbin, vbin, extraCount, camera});
}
