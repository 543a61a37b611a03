// Frames out of pattern files: a builder writes its file for a small sensor, the
// controller plays it against the model of the sensor, and the pixels that come
// out are compared with the scene.
//
// The sensor has 12 columns behind 4 leading cells in a register of 24, and 8 rows.
// A pixel of the scene holds 100 x (row + 1) + column + 1, so that no two are alike
// and none is empty.
#pragma once
#include <memory>
#include <string>
#include <vector>

#include "emulator/line_maps.h"
#include "emulator/sequencer.h"
#include "tests/support/named_builders.h"
#include "tests/support/wave_text.h"

inline constexpr uint32_t FrameColumns = 12;
inline constexpr uint32_t FrameRows = 8;
inline constexpr uint32_t FrameLeading = 4;
inline constexpr uint32_t FrameRegister = 24;

struct FrameCase {
    WaveBuilder* build;
    int32_t platform, sensor;
    const char* variant = "";
    void (*set)(CameraRecord* record) = nullptr;
};

extern const std::vector<FrameCase> FrameCases;

std::vector<FrameCase> CasesWith(Strobe strobe);
std::string CaseName(const testing::TestParamInfo<FrameCase>& info);
void PrintTo(const FrameCase& c, std::ostream* out);

// Columns and rows are binned.
struct FrameWindow {
    uint32_t x = 0, y = 0;
    uint32_t width = FrameColumns, height = FrameRows;
    uint32_t hbin = 1, vbin = 1;
};

std::string Text(const FrameWindow& window);

// The whole image area in bins.
FrameWindow FullFrame(uint32_t hbin, uint32_t vbin);
// Every binning of 1 to 4 by 1 to 4 with the whole image area.
std::vector<FrameWindow> FullFrames();
// The same binnings, with windows at the left, in the middle and at the right.
std::vector<FrameWindow> Windows();

// Sum of the scene over columns and rows, `last` excluded; outside of the image
// there is nothing.
uint32_t SceneSum(int64_t column, int64_t lastColumn, uint32_t row, uint32_t lastRow);

// The scene in bins, as a window of it: what a camera is wanted for.
std::vector<uint16_t> Binned(const FrameWindow& window);

class FrameTest : public WaveTest, public testing::WithParamInterface<FrameCase> {
protected:
    // Builds the pattern, loads it, and makes a dark sensor that has played the
    // idle section. The tick is in microseconds, as is the period.
    void Load(const FrameWindow& window, double tick = 0.5, uint16_t period = 5);

    // Row and pixel sections that empty the sensor ahead of an exposure.
    void Clear();
    // The lines of a full frame and of a window: cleared, exposed and read.
    std::vector<uint16_t> ReadFull(const FrameWindow& window);
    std::vector<uint16_t> ReadWindow(const FrameWindow& window);

    std::unique_ptr<EmuPatternMemory> memory = std::make_unique<EmuPatternMemory>();
    EmuPattern pattern{};
    EmuSensor sensor{};
};
