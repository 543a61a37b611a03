// OSPREY (platform 200) with two-phase sensors: 16-bit words.
//
//   1 first sample   2 second sample   4 convert   64 reset
//   8, 16 horizontal clocks   128, 256 vertical clocks, with 8 held
#include "core/record.h"
#include "sequencer/builders/builders.h"
#include "sequencer/wave_engine.h"

void BuildWaveOspreyKaf(const char* path, uint32_t x, uint32_t /*y*/, uint32_t width, uint32_t hbin,
                        int32_t vbin, uint32_t /*waveOption*/, uint32_t extraCount, int32_t camera)
{
    const CameraRecord& record = CameraTable[camera];
    const uint32_t P = PhaseTicks(camera);
    const uint32_t Q = P - 1;
    WaveProgram program = {
        .format = &SharedWords32768,
        .idle = {{0}},
        .row = {{8}, {136, Q}, {392}, {264, Q}, {392}, {136, P}, {8, P}},
        .lineStart = {{0}, {8}},
        .lineRepeat = {{136, Q}, {392}, {264, Q}, {392}, {136, P}, {8, P}},
        .first = {{80}, {17}},
        .other = {{16}, {16}},
        .notLast = {{8, 3}},
        .last = {{8, record.CcdCode == 260 ? 1u : 0u}, {10}, {12}},
        .outside = {{8}, {8}, {80}, {16}},
        .lineEnd = {{8}},
        .pixel = {{80}, {8}, {8}, {80}},
    };
    // The last two steps come once, behind all rows of a bin.
    if ((record.CcdCode == 250 || record.CcdCode == 260) && vbin > 1) {
        SetSteps(program.lineRepeat, {{136, Q}, {392}, {264, Q}, {392}});
        SetSteps(program.lineSettle, {{136, P}, {8, P}});
    }
    if (record.CameraVariant != 0) SetSteps(program.last, {{14}});
    WriteWave(program, {path, x, width, hbin, vbin, extraCount, camera});
}
