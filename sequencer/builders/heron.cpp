// HERON (platform 60): 8-bit words.
//
//   1 first sample   2 second sample   4 convert   128 reset
//   16, 8 horizontal clock and its complement (filled in)   32, 64 vertical clocks
#include "core/record.h"
#include "sequencer/builders/builders.h"
#include "sequencer/wave_engine.h"

void BuildWaveHeron(const char* path, uint32_t x, uint32_t /*y*/, uint32_t width, uint32_t hbin,
                    int32_t vbin, uint32_t /*waveOption*/, uint32_t extraCount, int32_t camera)
{
    const uint32_t P = PhaseTicks(camera);
    const bool kaf0260 = CameraTable[camera].CcdCode == 250;
    const WaveProgram program = {
        .format = &OwnBytes,
        .fill8 = true,
        .mask = 0x70,
        .extraShifts = true,
        .idle = {{0}},
        .row = {{0}, {32, P}, {64, P}, {32, P}, {0, kaf0260 ? 5 * P : P / 5}},
        .lineRepeat = {{32, P}, {64, P}, {32, P}, {0, vbin == 1 ? P / 5 : P}},
        .first = {{144}, {16}, {17}},
        .other = {{16}, {16}, {16}},
        .notLast = {{8}, {8}},
        .last = {{2}, {4}},
        .outside = {{144}, {16}, {8}, {8}},
        .lineEnd = {{0}},
        .pixel = {{8}, {144}, {8}},
    };
    WriteWave(program, {path, x, width, hbin, vbin, extraCount, camera});
}
