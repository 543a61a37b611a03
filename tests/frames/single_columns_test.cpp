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

// Tarn5Ccd and Tarn5Ccd442 give the whole sequence, reset and strobes, to the first pixel of
// a bin; OspreyPlusCcd55 strobes a bin at its first pixel, and resets at the last pixel of
// the bin before. Of the others every pixel of a bin has the word 72, the reset with the
// first phase.
class FrameOfSingleColumns : public FrameTest {
protected:
    static uint32_t Offset(const FrameWindow& window)
    {
        return FindNamedBuilder(GetParam().build)->strobe == Strobe::FirstColumn ? 0
                                                                                 : window.hbin - 1;
    }
};

} // namespace

TEST_P(FrameOfSingleColumns, IsTheSceneBinnedVerticallyWithoutHorizontalBinning)
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

TEST_P(FrameOfSingleColumns, FullFrameHoldsOneColumnOfEachBin)
{
    for (const FrameWindow& frame : FullFrames()) {
        SCOPED_TRACE(Text(frame));
        Load(frame);
        EXPECT_EQ(ReadFull(frame), Columns(frame, Offset(frame)));
    }
}

TEST_P(FrameOfSingleColumns, WindowHoldsOneColumnOfEachBin)
{
    for (const FrameWindow& window : Windows()) {
        SCOPED_TRACE(Text(window));
        Load(window);
        EXPECT_EQ(ReadWindow(window), Columns(window, Offset(window)));
    }
}

INSTANTIATE_TEST_SUITE_P(First, FrameOfSingleColumns,
                         testing::ValuesIn(CasesWith(Strobe::FirstColumn)), CaseName);
INSTANTIATE_TEST_SUITE_P(Last, FrameOfSingleColumns,
                         testing::ValuesIn(CasesWith(Strobe::LastColumn)), CaseName);
