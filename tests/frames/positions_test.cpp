// The builders that go by position: a bin begins where the register position is a
// multiple of hbin, whatever the window, and a window begins x unbinned columns
// behind the leading cells.
#include "tests/frames/frames.h"

namespace {

class FrameByPosition : public FrameTest {};

// The columns ahead of the first multiple are shifted onto the node without a
// strobe and go with the next reset. The last bin is cut by the end of the window,
// by as many columns as were lost at its begin.
std::vector<uint16_t> ByPosition(const FrameWindow& window)
{
    const uint32_t begin = FrameLeading + window.x;
    const uint32_t end = begin + window.width * window.hbin;
    const uint32_t first = (begin + window.hbin - 1) / window.hbin * window.hbin;
    std::vector<uint16_t> frame;
    for (uint32_t y = window.y; y < window.y + window.height; ++y) {
        for (uint32_t bin = first; bin < end; bin += window.hbin) {
            const uint32_t behind = std::min(bin + window.hbin, end);
            frame.push_back(static_cast<uint16_t>(
                SceneSum(int64_t{bin} - FrameLeading, int64_t{behind} - FrameLeading,
                         y * window.vbin, (y + 1) * window.vbin)));
        }
    }
    return frame;
}

} // namespace

TEST_P(FrameByPosition, FullFrameIsTheSceneBinnedIfTheLeadingCellsAreWholeBins)
{
    for (const FrameWindow& frame : FullFrames()) {
        if (FrameLeading % frame.hbin != 0) continue;
        SCOPED_TRACE(Text(frame));
        Load(frame);
        EXPECT_EQ(ReadFull(frame), Binned(frame));
        Load(frame, 1.0, 1);
        EXPECT_EQ(ReadFull(frame), Binned(frame));
    }
}

// Four leading cells and bins of three: the bins begin at positions 6, 9, 12 and 15,
// which are columns 2, 5, 8 and 11.
TEST_P(FrameByPosition, FullFrameElseBeginsAtTheNextMultipleAndEndsInAPartialBin)
{
    const FrameWindow frame = FullFrame(3, 1);
    Load(frame);
    const std::vector<uint16_t> pixels = ReadFull(frame);
    ASSERT_EQ(pixels.size(), 4 * FrameRows);
    for (uint32_t y = 0; y < FrameRows; ++y) {
        EXPECT_EQ(pixels[4 * y], SceneSum(2, 5, y, y + 1));
        EXPECT_EQ(pixels[4 * y + 1], SceneSum(5, 8, y, y + 1));
        EXPECT_EQ(pixels[4 * y + 2], SceneSum(8, 11, y, y + 1));
        EXPECT_EQ(pixels[4 * y + 3], SceneSum(11, 12, y, y + 1));
    }
}

TEST_P(FrameByPosition, FullFrameHoldsBinsThatBeginAtMultiplesOfTheBinning)
{
    for (const FrameWindow& frame : FullFrames()) {
        SCOPED_TRACE(Text(frame));
        Load(frame);
        EXPECT_EQ(ReadFull(frame), ByPosition(frame));
    }
}

TEST_P(FrameByPosition, WindowWithoutHorizontalBinningIsThatPartOfTheScene)
{
    for (const FrameWindow& window : Windows()) {
        if (window.hbin != 1) continue;
        SCOPED_TRACE(Text(window));
        Load(window);
        EXPECT_EQ(ReadWindow(window), Binned(window));
    }
}

// The window from 1 on with bins of two: from position 5, so that the bins are the
// positions 6 and 7, 8 and 9, ... and the last one holds a single column.
TEST_P(FrameByPosition, WindowBeginsXUnbinnedColumnsIn)
{
    FrameWindow window = FullFrame(2, 1);
    window.x = 1;
    window.width = 3;
    Load(window);
    const std::vector<uint16_t> pixels = ReadWindow(window);
    ASSERT_EQ(pixels.size(), 3 * FrameRows);
    for (uint32_t y = 0; y < FrameRows; ++y) {
        EXPECT_EQ(pixels[3 * y], SceneSum(2, 4, y, y + 1));
        EXPECT_EQ(pixels[3 * y + 1], SceneSum(4, 6, y, y + 1));
        EXPECT_EQ(pixels[3 * y + 2], SceneSum(6, 7, y, y + 1));
    }
}

TEST_P(FrameByPosition, WindowHoldsAsManyBinsAsItIsWideFromTheNextMultipleOn)
{
    for (const FrameWindow& window : Windows()) {
        SCOPED_TRACE(Text(window));
        Load(window);
        const std::vector<uint16_t> pixels = ReadWindow(window);
        EXPECT_EQ(pixels.size(), window.width * window.height);
        EXPECT_EQ(pixels, ByPosition(window));
    }
}

INSTANTIATE_TEST_SUITE_P(All, FrameByPosition, testing::ValuesIn(CasesWith(Strobe::Position)),
                         CaseName);
