// Tarn_III and Tarn_IIIA (platforms 22, 23) with two-phase sensors: 8-bit words.
//
//   1 first sample   2 second sample   4 convert   128 reset
//   16, 8 horizontal clock and its complement (filled in)   32, 64 vertical clocks
#include "core/record.h"
#include "sequencer/builders/builders.h"
#include "sequencer/wave_engine.h"

namespace {

// The drive electronics of Tarn_IIIA turn most lines round once more.
uint32_t Polarity(const CameraRecord& record)
{
    uint32_t mask = 0xF9;
    if (record.AlternatePolarity != 0) mask ^= record.CcdCode == 250 ? 0x7A : 0xFA;
    if (record.CcdCode == 260) mask ^= 24;
    return mask;
}

} // namespace

void BuildWaveTarn3Kaf(const char* path, uint32_t x, uint32_t /*y*/, uint32_t width, uint32_t hbin,
                       int32_t vbin, uint32_t /*waveOption*/, uint32_t extraCount, int32_t camera)
{
    const uint32_t P = PhaseTicks(camera);
    const WaveProgram program = {
        .format = &OwnBytes,
        .fill8 = true,
        .mask = Polarity(CameraTable[camera]),
        .bins = BinRule::Position,
        .idle = {{0}, {4}, {0, IdleTicks(camera) + 8}},
        .row = {{0}, {32, P}, {64, P}, {32, P}, {0, P}},
        .lineRepeat = {{32, P}, {64, P}, {32, P}, {0, P}},
        .first = {{16}, {144}, {16}, {17, 4}},
        .other = {{16, 6}},
        .notLast = {{8}},
        .last = {{8}, {8}, {4}},
        .outside = {{144}, {8}},
        .lineEnd = {{0}},
        .pixel = {{8}, {16}, {144}, {8}},
    };
    WriteWave(program, {path, x, width, hbin, vbin, extraCount, camera});
}
