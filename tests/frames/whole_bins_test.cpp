// The builders that count: each strobe of a line converts the sum of its bin.
#include "tests/frames/frames.h"

namespace {

class FrameOfWholeBins : public FrameTest {};

// With vertical binning these leave out the settling between the rows.
bool LeavesOutSettling(const FrameCase& c)
{
    if (c.build == BuildWaveOspreyKaf) return c.sensor == 250 || c.sensor == 260;
    return c.build == BuildWaveOspreyPlusKaf &&
           (c.sensor == 250 || c.sensor == 255 || c.sensor == 260 || c.sensor == 275);
}

std::vector<FrameCase> WithoutSettling()
{
    std::vector<FrameCase> cases;
    for (const FrameCase& c : FrameCases) {
        if (LeavesOutSettling(c)) cases.push_back(c);
    }
    return cases;
}

bool IsTarn5Sensor290(const FrameCase& c)
{
    return c.build == BuildWaveTarn5 && c.sensor == 290;
}

// Those that lose no row at a phase of one tick.
std::vector<FrameCase> Steady()
{
    std::vector<FrameCase> cases;
    for (const FrameCase& c : CasesWith(Strobe::Bin)) {
        if (!LeavesOutSettling(c) && !IsTarn5Sensor290(c)) cases.push_back(c);
    }
    return cases;
}

class FrameOfSteadyRows : public FrameTest {};

class FrameOfOneTickPhases : public FrameTest {};
class FrameOfTarn5Sensor290 : public FrameTest {};

} // namespace

TEST_P(FrameOfWholeBins, FullFrameIsTheSceneBinned)
{
    for (const FrameWindow& frame : FullFrames()) {
        SCOPED_TRACE(Text(frame));
        Load(frame);
        EXPECT_EQ(ReadFull(frame), Binned(frame));
    }
}

TEST_P(FrameOfWholeBins, WindowIsThatPartOfTheSceneBinned)
{
    for (const FrameWindow& window : Windows()) {
        SCOPED_TRACE(Text(window));
        Load(window);
        EXPECT_EQ(ReadWindow(window), Binned(window));
    }
}

// A full frame is asked for by the unbinned width: the window then reaches the end
// of the register, and the bins behind the image are empty.
TEST_P(FrameOfWholeBins, UnbinnedWidthReadsOnToTheEndOfTheRegister)
{
    FrameWindow frame = FullFrame(2, 1);
    frame.width = FrameColumns;
    Load(frame);
    const std::vector<uint16_t> pixels = ReadFull(frame);
    const size_t strobes = pixels.size() / FrameRows;
    ASSERT_EQ(pixels.size() % FrameRows, 0u);
    ASSERT_GE(strobes, (FrameRegister - FrameLeading) / 2);
    for (uint32_t y = 0; y < FrameRows; ++y) {
        for (uint32_t k = 0; k < strobes; ++k) {
            EXPECT_EQ(pixels[y * strobes + k], SceneSum(2 * k, 2 * k + 2, y, y + 1)) << k;
        }
    }
}

INSTANTIATE_TEST_SUITE_P(All, FrameOfWholeBins, testing::ValuesIn(CasesWith(Strobe::Bin)),
                         CaseName);

// A phase of one tick, with the fractions of it gone.
TEST_P(FrameOfSteadyRows, FullFrameAtPhasesOfOneTickIsTheSceneBinned)
{
    for (const FrameWindow& frame : FullFrames()) {
        SCOPED_TRACE(Text(frame));
        Load(frame, 1.0, 1);
        EXPECT_EQ(ReadFull(frame), Binned(frame));
    }
}

INSTANTIATE_TEST_SUITE_P(All, FrameOfSteadyRows, testing::ValuesIn(Steady()), CaseName);

// The transfer line stays up from the first row to the last one.
TEST_P(FrameOfOneTickPhases, ALineTakesOneRowHoweverManyItBins)
{
    for (const FrameWindow& frame : FullFrames()) {
        SCOPED_TRACE(Text(frame));
        Load(frame, 1.0, 1);
        FrameWindow rows = frame;
        rows.vbin = 1;
        EXPECT_EQ(ReadFull(frame), Binned(rows));
    }
}

INSTANTIATE_TEST_SUITE_P(All, FrameOfOneTickPhases, testing::ValuesIn(WithoutSettling()), CaseName);

// Its vertical steps last a third of the phase, which is no tick below three.
TEST_P(FrameOfTarn5Sensor290, StaysDarkAtPhasesBelowThreeTicks)
{
    const FrameWindow frame = FullFrame(1, 1);
    Load(frame, 1.0, 2);
    EXPECT_EQ(ReadFull(frame), std::vector<uint16_t>(FrameColumns * FrameRows, 0));
    Load(frame, 1.0, 3);
    EXPECT_EQ(ReadFull(frame), Binned(frame));
}

INSTANTIATE_TEST_SUITE_P(All, FrameOfTarn5Sensor290,
                         testing::Values(FrameCase{BuildWaveTarn5, 28, 290}), CaseName);
