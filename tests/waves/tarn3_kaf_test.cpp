// Every word without 16 gets 8, then the sensor's polarity is exchanged:
//   table                         0, 8    4   16   17   32   64  144
//   platform 22             249    241  245  233  232  209  177  105
//   platform 23               3     11   15   19   18   43   75  147
//   platform 23, sensor 250 131    139  143  147  146  171  203   19
//   platform 22, sensor 260 225    233  237  241  240  201  169  113
//   platform 23, sensor 260  27     19   23   11   10   51   83  139
#include "tests/support/wave_text.h"

namespace {

class WaveTarn3Kaf : public WaveTest {
protected:
    void SetUp() override
    {
        WaveTest::SetUp();
        FitWaveSensor({.platform = 22});
    }
};

const std::string Outside = "105 241 ";
const std::string Open = "233x6 241 ";
const std::string Single = "233 105 233 232x4 241x2 245 ";
const std::string Pair = "233 105 233 232x4 241 233x6 241x2 245 ";
const std::string Three = "233 105 233 232x4 241 233x6 241 233x6 241x2 245 ";
const std::string Shift = "209x10 177x10 209x10 241x10 ";

} // namespace

TEST_F(WaveTarn3Kaf, SectionsReadAsTheTable)
{
    ASSERT_EQ(Build(BuildWaveTarn3Kaf, {}), 0);
    EXPECT_EQ(Idle(), "241 245 241x28"); // 10 / 0.5 + 8
    EXPECT_EQ(Row(), "241 209x10 177x10 209x10 241x10");
    EXPECT_EQ(Pixel(), "241 233 105 241");
    EXPECT_EQ(Line(),
              Folded(Shift + Times(2, Outside) + Times(8, Single) + Times(2, Outside) + "241"));
    EXPECT_EQ(ReadWaveFile(path).byteWords, 1u);
    EXPECT_EQ(Padding(path, IdleSection), "0x226");
}

TEST_F(WaveTarn3Kaf, TruncatesItsTimes)
{
    FitWaveSensor({.platform = 22, .tick = 0.7, .registerSize = 0}); // 7; 10 / 0.7 = 14.3
    ASSERT_EQ(Build(BuildWaveTarn3Kaf, {.vbin = 2}), 0);
    EXPECT_EQ(Idle(), "241 245 241x22");
    EXPECT_EQ(Row(), "241 209x7 177x7 209x7 241x7");
    EXPECT_EQ(Line(), "209x7 177x7 209x7 241x7 209x7 177x7 209x7 241x8");
}

TEST_F(WaveTarn3Kaf, HoldsAPhaseForATickAtLeastAndTheIdleStateForEight)
{
    FitWaveSensor({.platform = 22, .tick = 12.0, .registerSize = 0});
    ASSERT_EQ(Build(BuildWaveTarn3Kaf, {}), 0);
    EXPECT_EQ(Idle(), "241 245 241x8");
    EXPECT_EQ(Row(), "241 209 177 209 241");
    EXPECT_EQ(Line(), "209 177 209 241x2");
}

TEST_F(WaveTarn3Kaf, AmplifierDelayChangesNothing)
{
    ASSERT_EQ(Build(BuildWaveTarn3Kaf, {}), 0);
    const std::vector<uint8_t> without = FileBytes(path);
    record.Platform.AmplifierDelay = 3.5;
    ASSERT_EQ(Build(BuildWaveTarn3Kaf, {}), 0);
    EXPECT_EQ(FileBytes(path), without);
}

TEST_F(WaveTarn3Kaf, Platform23TurnsMostLinesRound)
{
    FitWaveSensor({.platform = 23, .registerSize = 4, .alternatePolarity = 1});
    ASSERT_EQ(Build(BuildWaveTarn3Kaf, {.width = 1}), 0);
    EXPECT_EQ(Idle(), "11 15 11x28");
    EXPECT_EQ(Row(), "11 43x10 75x10 43x10 11x10");
    EXPECT_EQ(Pixel(), "11 19 147 11");
    EXPECT_EQ(Line(), "43x10 75x10 43x10 11x10 147 11 147 11 19 147 19 18x4 11x2 15 147 11x2");
}

TEST_F(WaveTarn3Kaf, Sensor250IsTurnedDifferentlyOnPlatform23Only)
{
    FitWaveSensor({.platform = 22, .sensor = 250});
    ASSERT_EQ(Build(BuildWaveTarn3Kaf, {}), 0);
    EXPECT_EQ(Row(), "241 209x10 177x10 209x10 241x10");
    EXPECT_EQ(Pixel(), "241 233 105 241");
    FitWaveSensor({.platform = 23, .sensor = 250, .registerSize = 3, .alternatePolarity = 1});
    ASSERT_EQ(Build(BuildWaveTarn3Kaf, {.width = 1}), 0);
    EXPECT_EQ(Idle(), "139 143 139x28");
    EXPECT_EQ(Row(), "139 171x10 203x10 171x10 139x10");
    EXPECT_EQ(Pixel(), "139 147 19 139");
    EXPECT_EQ(Line(), "171x10 203x10 171x10 139x10 19 139 19 139 147 19 147 146x4 139x2 143 139");
}

TEST_F(WaveTarn3Kaf, Sensor260IsTurnedFurtherOnBothPlatforms)
{
    FitWaveSensor({.platform = 22, .sensor = 260, .registerSize = 3});
    ASSERT_EQ(Build(BuildWaveTarn3Kaf, {.width = 1}), 0);
    EXPECT_EQ(Idle(), "233 237 233x28");
    EXPECT_EQ(Row(), "233 201x10 169x10 201x10 233x10");
    EXPECT_EQ(Pixel(), "233 241 113 233");
    EXPECT_EQ(Line(),
              "201x10 169x10 201x10 233x10 113 233 113 233 241 113 241 240x4 233x2 237 233");
    FitWaveSensor({.platform = 23, .sensor = 260, .registerSize = 3, .alternatePolarity = 1});
    ASSERT_EQ(Build(BuildWaveTarn3Kaf, {.width = 1}), 0);
    EXPECT_EQ(Idle(), "19 23 19x28");
    EXPECT_EQ(Row(), "19 51x10 83x10 51x10 19x10");
    EXPECT_EQ(Pixel(), "19 11 139 19");
    EXPECT_EQ(Line(), "51x10 83x10 51x10 19x10 139 19 139 19 11 139 11 10x4 19x2 23 19");
}

TEST_F(WaveTarn3Kaf, WindowBeginsAtUnbinnedColumns)
{
    ASSERT_EQ(Build(BuildWaveTarn3Kaf, {.x = 1, .width = 2, .hbin = 3, .vbin = 3}), 0);
    EXPECT_EQ(Line(), Folded(Times(3, Shift) + Times(3, Outside) + Three + Three +
                             Times(3, Outside) + "241"));
}

TEST_F(WaveTarn3Kaf, BinsBeginAtMultiplesAndTheWindowsEndClosesThePartialOne)
{
    ASSERT_EQ(Build(BuildWaveTarn3Kaf, {.x = 0, .width = 2, .hbin = 3}), 0);
    EXPECT_EQ(Line(),
              Folded(Shift + Times(2, Outside) + Open + Three + Pair + Times(4, Outside) + "241"));
    ASSERT_EQ(Build(BuildWaveTarn3Kaf, {.x = 2, .width = 2, .hbin = 3}), 0);
    EXPECT_EQ(Line(), Folded(Shift + Times(4, Outside) + Times(2, Open) + Three + Single +
                             Times(2, Outside) + "241"));
}

TEST_F(WaveTarn3Kaf, DoesNotShiftBeyondTheRegister)
{
    // 2 + 8 = 10 to 13: the bin from 10 to 11 is whole, the next one is not reached.
    ASSERT_EQ(Build(BuildWaveTarn3Kaf, {.x = 8, .width = 2, .hbin = 2, .extraCount = 6}), 0);
    EXPECT_EQ(Line(), Folded(Shift + Times(10, Outside) + Pair + "241"));
    // 2 + 7 = 9 to 12: 9 ends no bin that began, 10 and 11 are one.
    ASSERT_EQ(Build(BuildWaveTarn3Kaf, {.x = 7, .width = 2, .hbin = 2}), 0);
    EXPECT_EQ(Line(), Folded(Shift + Times(9, Outside) + Open + Pair + "241"));
}

TEST_F(WaveTarn3Kaf, OverflowsBeyond65536Words)
{
    // 64768 words are left for the line: rows of 4 x 10 words, and one word.
    FitWaveSensor({.platform = 22, .registerSize = 0});
    ASSERT_EQ(Build(BuildWaveTarn3Kaf, {.vbin = 1619}), 0);
    EXPECT_EQ(LineLength(), 1619u * 40 + 1);
    EXPECT_EQ(Build(BuildWaveTarn3Kaf, {.vbin = 1620}), 8);
}
