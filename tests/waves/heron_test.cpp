// Every word without 16 gets 8, then 112 is exchanged:
//   table   0    2    4    8    16   17   32   64   144
//   file   120  122  124  120   96   97   88   56  224
#include "tests/support/wave_text.h"

namespace {

class WaveHeron : public WaveTest {
protected:
    void SetUp() override
    {
        WaveTest::SetUp();
        FitWaveSensor({.platform = 60});
    }
};

const std::string Outside = "224 96 120 120 ";
const std::string Single = "224 96 97 122 124 ";
const std::string Pair = "224 96 97 120x2 96x3 122 124 ";
const std::string Three = "224 96 97 120x2 96x3 120x2 96x3 122 124 ";

} // namespace

TEST_F(WaveHeron, SectionsReadAsTheTable)
{
    ASSERT_EQ(Build(BuildWaveHeron, {.extraCount = 6}), 0);
    EXPECT_EQ(Idle(), "120");
    EXPECT_EQ(Row(), "120 88x10 56x10 88x10 120x2"); // 10 / 5
    EXPECT_EQ(Pixel(), "120 224 120");
    EXPECT_EQ(Line(), Folded("88x10 56x10 88x10 120x2 " + Times(2, Outside) + Times(8, Single) +
                             Times(8, Outside) + "120"));
    EXPECT_EQ(ReadWaveFile(path).byteWords, 1u);
    EXPECT_EQ(Padding(path, IdleSection), "0x255");
}

TEST_F(WaveHeron, ShiftOfSeveralRowsEndsWithAWholePhase)
{
    FitWaveSensor({.platform = 60, .registerSize = 0});
    ASSERT_EQ(Build(BuildWaveHeron, {.vbin = 2}), 0);
    EXPECT_EQ(Row(), "120 88x10 56x10 88x10 120x2");
    EXPECT_EQ(Line(), "88x10 56x10 88x10 120x10 88x10 56x10 88x10 120x11");
}

TEST_F(WaveHeron, TruncatesItsTimes)
{
    FitWaveSensor({.platform = 60, .tick = 0.7, .registerSize = 0}); // 7, and 7 / 5 = 1
    ASSERT_EQ(Build(BuildWaveHeron, {}), 0);
    EXPECT_EQ(Row(), "120 88x7 56x7 88x7 120");
    EXPECT_EQ(Line(), "88x7 56x7 88x7 120x2");
    ASSERT_EQ(Build(BuildWaveHeron, {.vbin = 2}), 0);
    EXPECT_EQ(Line(), "88x7 56x7 88x7 120x7 88x7 56x7 88x7 120x8");
}

TEST_F(WaveHeron, HoldsAPhaseForATickAtLeast)
{
    FitWaveSensor({.platform = 60, .tick = 6.0, .registerSize = 0});
    ASSERT_EQ(Build(BuildWaveHeron, {}), 0);
    EXPECT_EQ(Row(), "120 88 56 88");
    EXPECT_EQ(Line(), "88 56 88 120");
    ASSERT_EQ(Build(BuildWaveHeron, {.vbin = 2}), 0);
    EXPECT_EQ(Line(), "88 56 88 120 88 56 88 120x2");
}

TEST_F(WaveHeron, Sensor250HasALongerRowAndTheSameLine)
{
    FitWaveSensor({.platform = 60, .sensor = 250, .registerSize = 0});
    ASSERT_EQ(Build(BuildWaveHeron, {}), 0);
    EXPECT_EQ(Row(), "120 88x10 56x10 88x10 120x50");
    EXPECT_EQ(Line(), "88x10 56x10 88x10 120x3");
}

TEST_F(WaveHeron, WindowBeginsAtBinnedColumns)
{
    ASSERT_EQ(Build(BuildWaveHeron, {.x = 1, .width = 2, .hbin = 3}), 0);
    EXPECT_EQ(Line(), Folded("88x10 56x10 88x10 120x2 " + Times(5, Outside) + Three + Three +
                             Outside + "120"));
    ASSERT_EQ(Build(BuildWaveHeron, {.x = 2, .width = 2, .hbin = 2, .vbin = 3}), 0);
    EXPECT_EQ(Line(), Folded(Times(3, "88x10 56x10 88x10 120x10 ") + Times(6, Outside) + Pair +
                             Pair + Times(2, Outside) + "120"));
}

TEST_F(WaveHeron, BinCutOffByTheRegisterGetsNoStrobe)
{
    ASSERT_EQ(Build(BuildWaveHeron, {.x = 2, .width = 2, .hbin = 3}), 0);
    EXPECT_EQ(Line(), Folded("88x10 56x10 88x10 120x2 " + Times(8, Outside) + Three +
                             "224 96 97 120x2 120"));
}

TEST_F(WaveHeron, OverflowsBeyond65536Words)
{
    // 64768 words are left for the line: rows of 4 x 10 words, and one word.
    FitWaveSensor({.platform = 60, .registerSize = 0});
    ASSERT_EQ(Build(BuildWaveHeron, {.vbin = 1619}), 0);
    EXPECT_EQ(LineLength(), 1619u * 40 + 1);
    EXPECT_EQ(Build(BuildWaveHeron, {.vbin = 1620}), 8);
}
