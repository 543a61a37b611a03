// The builders whose bins do not add up: the node is emptied once more within a
// bin, so that a strobe converts one column of it, with its rows added.
#include "tests/frames/frames.h"

namespace {

// What stands in each bin, if only the column at `offset` of it does.
std::vector<uint16_t> Columns(const FrameWindow& window, uint32_t offset)
{
    std::vector<uint16_t> frame;
    for (uint32_t y = window.y; y < window.y + window.height; ++y) {
        for (uint32_t x = window.x; x < window.x + window.width; ++x) {
            const uint32_t column = x * window.hbin + offset;
            frame.push_back(static_cast<uint16_t>(
                SceneSum(column, column + 1, y * window.vbin, (y + 1) * window.vbin)));
        }
    }
    return frame;
}

class FrameOfFirstColumns : public FrameTest {};
class FrameOfLastColumns : public FrameTest {};

} // namespace

TEST_P(FrameOfFirstColumns, IsTheSceneBinnedVerticallyWithoutHorizontalBinning)
{
    for (uint32_t vbin = 1; vbin <= 4; ++vbin) {
        const FrameWindow frame = FullFrame(1, vbin);
        SCOPED_TRACE(Text(frame));
        Load(frame);
        EXPECT_EQ(ReadFull(frame), Binned(frame));
        Load(frame, 1.0, 1);
        EXPECT_EQ(ReadFull(frame), Binned(frame));
    }
}

// Tarn5Ccd and Tarn5Ccd442 give the whole sequence, reset and strobes, to the first
// pixel of a bin. OspreyPlusCcd55 strobes a bin at its first pixel, and resets at the
// last pixel of the bin before.
TEST_P(FrameOfFirstColumns, FullFrameHoldsTheFirstColumnOfEachBin)
{
    for (const FrameWindow& frame : FullFrames()) {
        SCOPED_TRACE(Text(frame));
        Load(frame);
        EXPECT_EQ(ReadFull(frame), Columns(frame, 0));
    }
}

TEST_P(FrameOfFirstColumns, WindowHoldsTheFirstColumnOfEachBin)
{
    for (const FrameWindow& window : Windows()) {
        SCOPED_TRACE(Text(window));
        Load(window);
        EXPECT_EQ(ReadWindow(window), Columns(window, 0));
    }
}

INSTANTIATE_TEST_SUITE_P(All, FrameOfFirstColumns,
                         testing::ValuesIn(CasesWith(Strobe::FirstColumn)), CaseName);

TEST_P(FrameOfLastColumns, IsTheSceneBinnedVerticallyWithoutHorizontalBinning)
{
    for (uint32_t vbin = 1; vbin <= 4; ++vbin) {
        const FrameWindow frame = FullFrame(1, vbin);
        SCOPED_TRACE(Text(frame));
        Load(frame);
        EXPECT_EQ(ReadFull(frame), Binned(frame));
        Load(frame, 1.0, 1);
        EXPECT_EQ(ReadFull(frame), Binned(frame));
    }
}

// Every pixel of a bin has the word 72, the reset with the first phase.
TEST_P(FrameOfLastColumns, FullFrameHoldsTheLastColumnOfEachBin)
{
    for (const FrameWindow& frame : FullFrames()) {
        SCOPED_TRACE(Text(frame));
        Load(frame);
        EXPECT_EQ(ReadFull(frame), Columns(frame, frame.hbin - 1));
    }
}

TEST_P(FrameOfLastColumns, WindowHoldsTheLastColumnOfEachBin)
{
    for (const FrameWindow& window : Windows()) {
        SCOPED_TRACE(Text(window));
        Load(window);
        EXPECT_EQ(ReadWindow(window), Columns(window, window.hbin - 1));
    }
}

INSTANTIATE_TEST_SUITE_P(All, FrameOfLastColumns, testing::ValuesIn(CasesWith(Strobe::LastColumn)),
                         CaseName);
