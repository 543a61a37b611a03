// Sensors 300, 305 and 310 on platforms 22, 23 and 24: 16-bit words.
//
//   1 sample    4 convert    8 reset
//   16, 32 Va, Vb    64 V3    2048 V4
//   128 Hc    256, 512 Ha, Hb    1024 Hd
#include "core/record.h"
#include "sequencer/builders/builders.h"
#include "sequencer/wave_engine.h"

namespace {

// The output amplifier picks the direction of the two exchanged pairs.
struct OutputLines {
    uint32_t va, vb, ha, hb;
};
constexpr OutputLines Outputs[4] = {
    {32, 16, 256, 512},
    {32, 16, 512, 256},
    {16, 32, 256, 512},
    {16, 32, 512, 256},
};

// Kept between builds: a CcdOutput outside 0 to 3 reuses the last choice.
OutputLines Lines = Outputs[0];

constexpr int32_t SlowRows = 55; // rows of a binning beyond are clocked three times as fast

} // namespace

void BuildWaveSite(const char* path, uint32_t x, uint32_t /*y*/, uint32_t width, uint32_t hbin,
                   int32_t vbin, uint32_t /*waveOption*/, uint32_t extraCount, int32_t camera)
{
    const CameraConfig& config = CameraTable[camera].Config;
    if (config.CcdOutput >= 0 && config.CcdOutput <= 3) Lines = Outputs[config.CcdOutput];
    const uint32_t Va = Lines.va, Vb = Lines.vb;
    const uint32_t Ha = config.CcdBackFront == 0 ? Lines.hb : Lines.ha;
    const uint32_t Hb = config.CcdBackFront == 0 ? Lines.ha : Lines.hb;
    const uint32_t P = vbin > SlowRows ? PhaseWords(camera) / 3 : PhaseWords(camera);
    // Every line is active low but Convert, Hc and, with CcdTechnology 0, Va and Vb.
    const uint32_t polarity = config.CcdTechnology == 0 ? 0xF49 : 0xF79;

    const WaveProgram program = {
        .format = &OwnWords32767,
        .mask = polarity,
        .padding = polarity,
        .idle = {{0}, {4}, {0, IdleTicks(camera) + 8}},
        .row = {{0}, {Vb, 25}, {Vb + 2112, 25}, {2112, 25}, {Va + 64, 25}, {Va, 25}, {0, 25}},
        .lineStart = {{0}},
        .lineRepeat = {{0}, {Vb, P}, {Vb + 2112, P}, {2112, P}, {Va + 64, P}, {Va, P}, {0}},
        .lineSettle = {{0, 20}},
        .first = {{Ha}, {Ha + 128}, {Hb + Ha + 1152}, {Hb + 1152}, {1032}, {1024}, {1025, 2}, {0}},
        .other = {{Ha}, {Ha + 128}, {Hb + Ha + 1152}, {Hb + 1152}, {Hb + 1024}, {1024}, {0}},
        .notLast = {{0}},
        .last = {{4}},
        // Hd is missing in the third word: required.
        .outside =
            {{Ha}, {Ha + 128}, {Hb + Ha + 128}, {Hb + 1152}, {Hb + 1024}, {1032}, {1025}, {0}},
        .lineEnd = {{0}},
        .pixel = {{0},
                  {Ha},
                  {Ha + 128},
                  {Hb + Ha + 1152},
                  {Hb + 1152},
                  {Hb + 1024},
                  {1032},
                  {1024, 4},
                  {0}},
    };
    WriteWave(program, {path, x, width, hbin, vbin, extraCount, camera});
}
