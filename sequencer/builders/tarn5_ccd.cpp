// Tarn_V (platform 28) with the ccd30-11 and ccd47-10, on USB also the ccd30-11b:
// 16-bit words. The full form of a pixel, strobes and all, falls on the first pixel
// of each bin: required.
//
//   1 first sample   2 second sample   4 convert   8 reset
//   128 and 256, 512 horizontal clocks, the pair exchanged for the ccd30-11b
//   2048, 4096, 8192 vertical clocks
#include "core/record.h"
#include "sequencer/builders/builders.h"
#include "sequencer/wave_engine.h"

void BuildWaveTarn5Ccd(const char* path, uint32_t x, uint32_t /*y*/, uint32_t width, uint32_t hbin,
                       int32_t vbin, uint32_t /*waveOption*/, uint32_t extraCount, int32_t camera)
{
    const int32_t sensor = CameraTable[camera].CcdCode;
    const uint32_t P = PhaseTicks(camera);
    const uint32_t Q = 4 * P;
    const uint32_t H = sensor == 133 ? 256 : 512;
    const uint32_t L = sensor == 133 ? 512 : 256;
    const uint32_t S = H + L;
    WaveProgram program = {
        .format = &SharedWords65536,
        .bins = BinRule::Leading,
        .idle = {{0}},
        .row = {{8, P},
                {S + 8200, Q},
                {S + 12296, P},
                {S + 4104, Q},
                {S + 6152, P},
                {S + 2056, Q},
                {S + 8, P}},
        .lineStart = {{0}, {L + 8}, {S + 8, P}},
        .lineRepeat = {{8, P},
                       {S + 8200, Q},
                       {S + 12296, P},
                       {S + 4104, Q},
                       {S + 6152, P},
                       {S + 2056, Q},
                       {S + 8, P}},
        .lineSettle = {{L}, {L + 128}, {128}, {H + 128}},
        .first = {{H}, {S}, {L + 8}, {L, 2}, {L + 129}, {128}, {H + 128}, {H, 2}, {H + 2}, {H + 4}},
        .other = {{H}, {S}, {L}, {L + 128}, {128}, {H + 128}},
        .outside = {{H + 8}, {S + 8}, {L + 8}, {L + 136}, {136}, {H + 128}},
        .lineEnd = {{0}},
        .pixel = {{0}, {H + 8}, {S + 8}, {L + 8}, {L + 136}, {136}, {H + 136}, {0}},
    };
    if (sensor == 120 || sensor == 133) {
        SetSteps(program.row, {{L + 8},
                               {S + 8, P},
                               {S + 2056, Q},
                               {S + 10248, P},
                               {S + 8200, Q},
                               {S + 12296, P},
                               {S + 4104, Q},
                               {S + 6152, P},
                               {S + 2056, Q},
                               {S + 8, P}});
        SetSteps(program.lineRepeat, {{S + 2056, Q},
                                      {S + 10248, P},
                                      {S + 8200, Q},
                                      {S + 12296, P},
                                      {S + 4104, Q},
                                      {S + 6152, P},
                                      {S + 2056, Q},
                                      {S + 8, P}});
    }
    WriteWave(program, {path, x, width, hbin, vbin, extraCount, camera});
}
