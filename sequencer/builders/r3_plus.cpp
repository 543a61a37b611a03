// R3-PLUS (platform 47): 8-bit words, one horizontal clock, phases doubled.
//
//   2 convert   8 end of conversion   16 horizontal clock   128 reset
//   32, 64 vertical clocks, exchanged for the kaf3200
#include "core/record.h"
#include "sequencer/builders/builders.h"
#include "sequencer/wave_engine.h"

namespace {

constexpr int32_t FastRows = 99; // beyond this binning a phase is 4 microseconds
constexpr double FastPhase = 4.0;

} // namespace

void BuildWaveR3Plus(const char* path, uint32_t x, uint32_t /*y*/, uint32_t width, uint32_t hbin,
                     int32_t vbin, uint32_t /*waveOption*/, uint32_t extraCount, int32_t camera)
{
    const CameraRecord& record = CameraTable[camera];
    const uint32_t A = record.CcdCode == 279 ? 64 : 32;
    const uint32_t B = record.CcdCode == 279 ? 32 : 64;
    const uint32_t P = 2 * (vbin > FastRows ? FlooredTicks(FastPhase, camera) : PhaseTicks(camera));
    const WaveProgram program = {
        .format = &OwnBytes,
        .extraShifts = true,
        .idle = {{0}},
        .row = {{0}, {A, P}, {B, P}, {A, P}, {0, P}},
        .lineRepeat = {{A, P}, {B, P}, {A, P}, {0}},
        .first = {{144}, {16}},
        .other = {{16}},
        .notLast = {{0}},
        .last = {{2}, {0, record.DnrMode != 0 ? 3u : 0u}, {8}},
        .outside = {{16}, {144}, {0}, {0}},
        .lineEnd = {{0}},
        .pixel = {{0}, {16}, {144}, {0}, {0}},
    };
    WriteWave(program, {path, x, width, hbin, vbin, extraCount, camera});
}
