// Larch (platform 30) with the ccd42-40: 16-bit words. The phase period is a count
// of ticks.
//
//   1 first sample   2 second sample   4 convert   8, 16, 32 horizontal clocks
//   2048 reset, active low   64, 512, 1024 vertical clocks
#include "sequencer/builders/builders.h"
#include "sequencer/wave_engine.h"

void BuildWaveLarchCcd4240(const char* path, uint32_t x, uint32_t /*y*/, uint32_t width,
                           uint32_t hbin, int32_t vbin, uint32_t /*waveOption*/,
                           uint32_t extraCount, int32_t camera)
{
    const uint32_t P = PhaseWords(camera);
    const WaveProgram program = {
        .format = &OwnWords32767,
        .mask = 4,
        .idle = {{0}},
        .row = {{0, 2 * P},
                {1024, 2 * P},
                {1536, 2 * P},
                {1600, 2 * P},
                {576, 2 * P},
                {64, 4 * P},
                {0, 2 * P}},
        .lineStart = {{0}},
        .lineRepeat = {{0, 2 * P},
                       {1024, 2 * P},
                       {1536, 2 * P},
                       {1600, 2 * P},
                       {576, 2 * P},
                       {64, 4 * P},
                       {0, 2 * P}},
        .lineSettle = {{2056, 10}, {2104, 10}},
        .first = {{2064}, {2048}, {8}, {2056}, {2057}, {2088}, {2104}},
        .other = {{2064}, {2048}, {2056}, {2088}, {2104}},
        .notLast = {{2064}},
        .last = {{2096}, {2064}, {2066}, {2064}, {2068}},
        .outside = {{2064}, {2048}, {8}, {2088}, {2104}, {2096}},
        .lineEnd = {{0}},
        .pixel = {{24}, {16, 5}, {8, 5}, {56, 5}, {24, 4}},
    };
    WriteWave(program, {path, x, width, hbin, vbin, extraCount, camera});
}
