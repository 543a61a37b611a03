// Row and pixel sections, which clear the sensor and skip the rows of a window.
#include <set>

#include "tests/frames/frames.h"

namespace {

class FrameSections : public FrameTest {};

} // namespace

TEST_P(FrameSections, ClearingEmptiesTheSensor)
{
    const FrameWindow frame = FullFrame(1, 1);
    Load(frame);
    EmuExpose(&sensor);
    Clear();
    std::vector<uint16_t> pixels;
    EmuPlay(*memory, pattern.line, frame.height, &sensor, &pixels);
    EXPECT_EQ(pixels, std::vector<uint16_t>(FrameColumns * FrameRows, 0));
}

TEST_P(FrameSections, RowSectionMovesOneRow)
{
    Load(FullFrame(1, 1));
    EmuExpose(&sensor);
    std::vector<uint16_t> pixels;
    for (uint32_t row = 1; row <= FrameRows; ++row) {
        EmuPlay(*memory, pattern.row, 1, &sensor, &pixels);
        EXPECT_EQ(sensor.nextRow, row);
    }
    EXPECT_TRUE(pixels.empty());
}

INSTANTIATE_TEST_SUITE_P(All, FrameSections, testing::ValuesIn(FrameCases), CaseName);

TEST(FrameCasesTable, HoldsEveryBuilderThatWritesAFile)
{
    std::set<WaveBuilder*> builders;
    for (const FrameCase& c : FrameCases) builders.insert(c.build);
    EXPECT_EQ(builders.size(), 32u);
}
