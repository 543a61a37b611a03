// No transform: the file holds the table's words. The phase of 10 ticks of 0.5
// microseconds is doubled.
#include "tests/support/wave_text.h"

namespace {

class WaveR3Plus : public WaveTest {
protected:
    void SetUp() override
    {
        WaveTest::SetUp();
        FitWaveSensor({.platform = 47});
    }
};

const std::string Outside = "16 144 0 0 ";
const std::string Single = "144 16 2 8 ";
const std::string Three = "144 16 0 16 0 16 2 8 ";
const std::string Shift = "32x20 64x20 32x20 0 ";

} // namespace

TEST_F(WaveR3Plus, SectionsReadAsTheTable)
{
    ASSERT_EQ(Build(BuildWaveR3Plus, {.extraCount = 6}), 0);
    EXPECT_EQ(Idle(), "0");
    EXPECT_EQ(Row(), "0 32x20 64x20 32x20 0x20");
    EXPECT_EQ(Pixel(), "0 16 144 0x2");
    EXPECT_EQ(Line(),
              Folded(Shift + Times(2, Outside) + Times(8, Single) + Times(8, Outside) + "0"));
    EXPECT_EQ(ReadWaveFile(path).byteWords, 1u);
}

TEST_F(WaveR3Plus, TruncatesAheadOfDoubling)
{
    FitWaveSensor({.platform = 47, .tick = 0.7, .registerSize = 0}); // 5 / 0.7 = 7.1
    ASSERT_EQ(Build(BuildWaveR3Plus, {.vbin = 2}), 0);
    EXPECT_EQ(Row(), "0 32x14 64x14 32x14 0x14");
    EXPECT_EQ(Line(), "32x14 64x14 32x14 0 32x14 64x14 32x14 0x2");
}

TEST_F(WaveR3Plus, HoldsAPhaseForTwoTicksAtLeast)
{
    FitWaveSensor({.platform = 47, .tick = 6.0, .registerSize = 0});
    ASSERT_EQ(Build(BuildWaveR3Plus, {}), 0);
    EXPECT_EQ(Row(), "0 32x2 64x2 32x2 0x2");
    EXPECT_EQ(Line(), "32x2 64x2 32x2 0x2");
    ASSERT_EQ(Build(BuildWaveR3Plus, {.vbin = 100}), 0);
    EXPECT_EQ(Row(), "0 32x2 64x2 32x2 0x2");
}

TEST_F(WaveR3Plus, PhaseIsTwiceFourMicrosecondsAbove99Rows)
{
    FitWaveSensor({.platform = 47, .registerSize = 0});
    ASSERT_EQ(Build(BuildWaveR3Plus, {.vbin = 99}), 0);
    EXPECT_EQ(Line(), Folded(Times(99, Shift) + "0"));
    ASSERT_EQ(Build(BuildWaveR3Plus, {.vbin = 100}), 0);
    EXPECT_EQ(Row(), "0 32x16 64x16 32x16 0x16");
    EXPECT_EQ(Line(), Folded(Times(100, "32x16 64x16 32x16 0") + " 0"));
}

TEST_F(WaveR3Plus, DoubleReadoutAddsThreeWordsToTheLastPixel)
{
    record.DnrMode = 1;
    ASSERT_EQ(Build(BuildWaveR3Plus, {.width = 2, .hbin = 3}), 0);
    EXPECT_EQ(Line(), Folded(Shift + Times(2, Outside) + Times(2, "144 16 0 16 0 16 2 0 0 0 8 ") +
                             Times(4, Outside) + "0"));
}

TEST_F(WaveR3Plus, VerticalLinesOfSensor279AreExchanged)
{
    FitWaveSensor({.platform = 47, .sensor = 279, .registerSize = 0});
    ASSERT_EQ(Build(BuildWaveR3Plus, {}), 0);
    EXPECT_EQ(Row(), "0 64x20 32x20 64x20 0x20");
    EXPECT_EQ(Line(), "64x20 32x20 64x20 0x2");
}

TEST_F(WaveR3Plus, Sensor250IsLikeTheOthers)
{
    FitWaveSensor({.platform = 47, .sensor = 250});
    ASSERT_EQ(Build(BuildWaveR3Plus, {}), 0);
    EXPECT_EQ(Line(),
              Folded(Shift + Times(2, Outside) + Times(8, Single) + Times(2, Outside) + "0"));
}

TEST_F(WaveR3Plus, WindowBeginsAtBinnedColumns)
{
    ASSERT_EQ(Build(BuildWaveR3Plus, {.x = 1, .width = 2, .hbin = 3, .vbin = 2}), 0);
    EXPECT_EQ(Line(), Folded(Times(2, Shift) + Times(5, Outside) + Three + Three + Outside + "0"));
}

TEST_F(WaveR3Plus, BinCutOffByTheRegisterGetsNoStrobe)
{
    ASSERT_EQ(Build(BuildWaveR3Plus, {.x = 2, .width = 2, .hbin = 3}), 0);
    EXPECT_EQ(Line(), Folded(Shift + Times(8, Outside) + Three + "144 16 0 0"));
}

TEST_F(WaveR3Plus, OverflowsBeyond65536Words)
{
    // 64768 words are left for the line: rows of 3 x 16 + 1 words, and one word.
    FitWaveSensor({.platform = 47, .registerSize = 0});
    ASSERT_EQ(Build(BuildWaveR3Plus, {.vbin = 1321}), 0);
    EXPECT_EQ(LineLength(), 1321u * 49 + 1);
    EXPECT_EQ(Build(BuildWaveR3Plus, {.vbin = 1322}), 8);
}
