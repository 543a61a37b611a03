// Tarn_IV (platform 24) with the ccd442: the frame of SEP with longer pixels.
#include "sequencer/builders/builders.h"
#include "sequencer/builders/ccd442.h"
#include "sequencer/wave_engine.h"

void BuildWaveTarn4Ccd442(const char* path, uint32_t x, uint32_t /*y*/, uint32_t width,
                          uint32_t hbin, int32_t vbin, uint32_t /*waveOption*/, uint32_t extraCount,
                          int32_t camera)
{
    WaveProgram program = Ccd442Frame(camera);
    SetSteps(program.idle, {{0}, {4}, {0, IdleTicks(camera) + 8}});
    SetSteps(program.first, {{16}, {4272}, {4153, 8}, {4137, 2}, {8, 2}});
    SetSteps(program.other, {{16}, {4144}, {4152, 2}, {4136, 3}, {8, 3}});
    SetSteps(program.outside, {{16}, {4272}, {4152}, {4136}, {8}, {0}});
    SetSteps(program.pixel, {{0}, {16}, {4272}, {4152}, {4136}, {8}});
    WriteWave(program, {path, x, width, hbin, vbin, extraCount, camera});
}
