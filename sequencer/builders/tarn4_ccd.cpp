// Tarn_IV (platform 24) with three-phase sensors: 16-bit words. The phase period is
// a count of ticks.
//
//   1 first sample   4 convert   8, 16 and 32 horizontal clocks   64 reset, active low
//   128, 256, 512 vertical clocks
#include "sequencer/builders/tarn4_ccd.h"
#include "core/record.h"
#include "sequencer/builders/builders.h"
#include "sequencer/wave_engine.h"

WaveProgram Tarn4CcdFrame(uint32_t A, uint32_t B, int32_t camera)
{
    const uint32_t P = PhaseWords(camera);
    const WaveProgram program = {
        .format = &OwnWords32767,
        .idle = {{0}, {4}, {0, IdleTicks(camera) + 8}},
        .row = {{0, 2 * P},
                {512, 7 * P},
                {640, 2 * P},
                {128, 2 * P},
                {384, 5 * P},
                {256, 2 * P},
                {768, 2 * P},
                {512, 7 * P},
                {0, 2 * P}},
        .lineStart = {{0}},
        .lineRepeat = {{0, 2 * P},
                       {512, 7 * P},
                       {640, 2 * P},
                       {128, 2 * P},
                       {384, 5 * P},
                       {256, 2 * P},
                       {768, 2 * P},
                       {512, 7 * P},
                       {0, 2 * P}},
        .lineSettle = {{A + 64, 10}, {A + B + 96, 10}},
        .lineEnd = {{0}},
        .pixel = {{A + B}, {B, 5}, {A, 5}, {A + B + 32, 5}, {A + B, 4}},
    };
    return program;
}

void SetShortPixels(uint32_t A, uint32_t B, uint32_t sample, uint32_t rest, uint32_t settle,
                    WaveProgram* program)
{
    SetSteps(program->first, {{B + 64}, {A}, {A + 65, sample}, {A + B + 96, rest}});
    SetSteps(program->other, {{B + 64}, {A + 64}, {A + B + 96}});
    SetSteps(program->notLast, {{B + 64}});
    SetSteps(program->last, {{B + 64, settle}, {B + 68}});
    SetSteps(program->outside, {{B + 64}, {A}, {A + B + 96, 2}});
}

void BuildWaveTarn4Ccd(const char* path, uint32_t x, uint32_t /*y*/, uint32_t width, uint32_t hbin,
                       int32_t vbin, uint32_t /*waveOption*/, uint32_t extraCount, int32_t camera)
{
    const uint32_t A = CameraTable[camera].CcdCode == 133 ? 16 : 8;
    const uint32_t B = CameraTable[camera].CcdCode == 133 ? 8 : 16;
    WaveProgram program = Tarn4CcdFrame(A, B, camera);
    SetSteps(program.first,
             {{B + 64, 2}, {64}, {A + 64}, {A}, {A + 65, 6}, {A + 96}, {A + B + 96, 2}});
    SetSteps(program.other, {{B + 64, 2}, {64}, {A + 64, 2}, {A + 96}, {A + B + 96, 2}});
    SetSteps(program.notLast, {{B + 64}});
    SetSteps(program.last, {{B + 96}, {B + 64, 4}, {B + 68}});
    SetSteps(program.outside,
             {{B + 64, 2}, {64}, {A + 64, 2}, {A}, {A + 96}, {A + B + 96, 2}, {B + 96}});
    WriteWave(program, {path, x, width, hbin, vbin, extraCount, camera});
}
