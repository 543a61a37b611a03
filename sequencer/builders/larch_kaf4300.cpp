// Larch (platform 30) with the kaf4300, whose two vertical clocks overlap; else as
// the other two-phase sensors.
#include "sequencer/builders/builders.h"
#include "sequencer/builders/larch_kaf.h"
#include "sequencer/wave_engine.h"

void BuildWaveLarchKaf4300(const char* path, uint32_t x, uint32_t /*y*/, uint32_t width,
                           uint32_t hbin, int32_t vbin, uint32_t /*waveOption*/,
                           uint32_t extraCount, int32_t camera)
{
    const uint32_t P = PhaseTicks(camera);
    WaveProgram program = LarchKafProgram(camera);
    SetSteps(program.row, {{32, P}, {64, P}, {96, P}, {32, P}, {0, P / 5}});
    SetSteps(program.lineRepeat, {{32, P}, {96, P}, {64, P}, {96, P}, {32, P}, {0, P / 5}});
    WriteWave(program, {path, x, width, hbin, vbin, extraCount, camera});
}
