// SEP (platform 80) with the ccd485: the frame of the ccd442 with other pixels.
#include "sequencer/builders/builders.h"
#include "sequencer/builders/ccd442.h"
#include "sequencer/wave_engine.h"

void BuildWaveSepCcd485(const char* path, uint32_t x, uint32_t /*y*/, uint32_t width, uint32_t hbin,
                        int32_t vbin, uint32_t /*waveOption*/, uint32_t extraCount, int32_t camera)
{
    WaveProgram program = Ccd442Frame(camera);
    SetSteps(program.first, {{4232}, {4137}, {4152}, {50}, {18}, {0}});
    SetSteps(program.other, {{4104}, {4136}, {4152}, {50}, {18}, {0}});
    SetSteps(program.outside, {{4232}, {4136}, {4152}, {48}, {16}, {0}});
    SetSteps(program.pixel, {{0}, {4232}, {4136}, {4152}, {48}, {16}});
    WriteWave(program, {path, x, width, hbin, vbin, extraCount, camera});
}
