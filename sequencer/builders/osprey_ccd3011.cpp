// OSPREY and OSPREY_Plus (platforms 200, 205) with the ccd30-11: 16-bit words. The
// phase period is a count of ticks.
//
//   1 first sample   2 second sample   4 convert   8, 16, 32 horizontal clocks
//   64 reset   128, 256, 512 vertical clocks
#include "core/record.h"
#include "sequencer/builders/builders.h"
#include "sequencer/wave_engine.h"

void BuildWaveOspreyCcd3011(const char* path, uint32_t x, uint32_t /*y*/, uint32_t width,
                            uint32_t hbin, int32_t vbin, uint32_t /*waveOption*/,
                            uint32_t extraCount, int32_t camera)
{
    const uint32_t P = PhaseWords(camera);
    const uint32_t plus = CameraTable[camera].PlatformCode == 205 ? 1 : 0;
    const WaveProgram program = {
        .format = &OwnWords65535,
        .idle = {{0}},
        .row = {{64, P}, {832, P}, {960, P}, {448, P}, {192, P}, {64, P}},
        .lineStart = {{0}},
        .lineRepeat = {{64, P}, {832, P}, {960, P}, {448, P}, {192, P}, {0, P}},
        .lineSettle = {{56}},
        .first = {{16}, {72}, {8, plus}, {9}, {56, 2}},
        .other = {{16}, {72}, {8}, {56, 2}},
        .notLast = {{16}},
        .last = {{16, plus}, {18}, {20}},
        .outside = {{80}, {72}, {120}},
        .lineEnd = {{0}},
        .pixel = {{0}, {80}, {72}, {120}, {0}},
    };
    WriteWave(program, {path, x, width, hbin, vbin, extraCount, camera});
}
