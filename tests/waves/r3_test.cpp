// No transform: the file holds the table's words. The phase is 10 ticks of 0.5
// microseconds.
#include "tests/support/wave_text.h"

namespace {

class WaveR3 : public WaveTest {};

const std::string Outside = "16 144 0 0 ";
const std::string Single = "144 16 0 2 ";         // a pixel that is a bin of its own
const std::string Pair = "144 16 0 0 16 16 0 2 "; // two pixels
const std::string Three = "144 16 0 0 16 16 0 0 16 16 0 2 ";
const std::string Shift = "32x10 64x10 32x10 0x2 "; // 10 / 5

} // namespace

TEST_F(WaveR3, SectionsReadAsTheTable)
{
    ASSERT_EQ(Build(BuildWaveR3, {.extraCount = 6}), 0);
    EXPECT_EQ(Idle(), "0");
    EXPECT_EQ(Row(), "0 32x10 64x10 32x10 0x10");
    EXPECT_EQ(Pixel(), "0 16 144 0x2");
    // Nothing stands ahead of the shifts. Dummies at 0 and 1, the window from 2 to
    // 9, two positions to the register's end and six behind it.
    EXPECT_EQ(Line(),
              Folded(Shift + Times(2, Outside) + Times(8, Single) + Times(8, Outside) + "0"));
    EXPECT_EQ(ReadWaveFile(path).byteWords, 1u);
    EXPECT_EQ(Padding(path, RowSection), "0x215");
}

TEST_F(WaveR3, TruncatesItsTimes)
{
    FitWaveSensor({.tick = 0.7, .registerSize = 0}); // 5 / 0.7 = 7.1, 7 / 5 = 1.4
    ASSERT_EQ(Build(BuildWaveR3, {.vbin = 2}), 0);
    EXPECT_EQ(Row(), "0 32x7 64x7 32x7 0x7");
    EXPECT_EQ(Line(), "32x7 64x7 32x7 0 32x7 64x7 32x7 0x2");
}

TEST_F(WaveR3, HoldsAPhaseForATickAtLeast)
{
    FitWaveSensor({.tick = 6.0, .registerSize = 0}); // 5 / 6 is 0, so 1; 1 / 5 writes nothing
    ASSERT_EQ(Build(BuildWaveR3, {.vbin = 2}), 0);
    EXPECT_EQ(Row(), "0 32 64 32 0");
    EXPECT_EQ(Line(), "32 64 32x2 64 32 0");
    ASSERT_EQ(Build(BuildWaveR3, {.vbin = 100}), 0); // 4 / 6
    EXPECT_EQ(Row(), "0 32 64 32 0");
}

TEST_F(WaveR3, PhaseIsFourMicrosecondsAbove99Rows)
{
    FitWaveSensor({.registerSize = 0});
    ASSERT_EQ(Build(BuildWaveR3, {.vbin = 99}), 0);
    EXPECT_EQ(Row(), "0 32x10 64x10 32x10 0x10");
    EXPECT_EQ(Line(), Folded(Times(99, Shift) + "0"));
    ASSERT_EQ(Build(BuildWaveR3, {.vbin = 100}), 0);
    EXPECT_EQ(Row(), "0 32x8 64x8 32x8 0x8");
    EXPECT_EQ(Line(), Folded(Times(100, "32x8 64x8 32x8 0") + " 0"));
}

TEST_F(WaveR3, VerticalLinesOfSensor279AreExchangedInAllSections)
{
    FitWaveSensor({.sensor = 279, .registerSize = 1});
    ASSERT_EQ(Build(BuildWaveR3, {.vbin = 2}), 0);
    EXPECT_EQ(Row(), "0 64x10 32x10 64x10 0x10");
    EXPECT_EQ(Line(), "64x10 32x10 64x10 0x2 64x10 32x10 64x10 0x2 16 144 0x3");
    EXPECT_EQ(Pixel(), "0 16 144 0x2"); // no vertical line
}

TEST_F(WaveR3, Sensor250ResetsLonger)
{
    FitWaveSensor({.sensor = 250});
    ASSERT_EQ(Build(BuildWaveR3, {.width = 4, .hbin = 2}), 0);
    EXPECT_EQ(Row(), "0 32x10 64x10 32x10 0x10");
    EXPECT_EQ(Line(), Folded(Shift + Times(2, Outside) + Times(4, "144x3 16 0 0 16 16 0 2 0 ") +
                             Times(2, Outside) + "0"));
}

TEST_F(WaveR3, WindowBeginsAtBinnedColumns)
{
    // 2 + 1 x 3 = 5 to 10.
    ASSERT_EQ(Build(BuildWaveR3, {.x = 1, .width = 2, .hbin = 3, .vbin = 3}), 0);
    EXPECT_EQ(Line(), Folded(Times(3, Shift) + Times(5, Outside) + Three + Three + Outside + "0"));
    ASSERT_EQ(Build(BuildWaveR3, {.x = 2, .width = 2, .hbin = 2}), 0);
    EXPECT_EQ(Line(), Folded(Shift + Times(6, Outside) + Pair + Pair + Times(2, Outside) + "0"));
}

TEST_F(WaveR3, BinCutOffByTheRegisterGetsNoStrobe)
{
    // 2 + 2 x 3 = 8 to 13; the register ends behind 11.
    ASSERT_EQ(Build(BuildWaveR3, {.x = 2, .width = 2, .hbin = 3}), 0);
    EXPECT_EQ(Line(), Folded(Shift + Times(8, Outside) + Three + "144 16 0 0 0"));
    // The extra shifts belong to the register: the same window is whole.
    ASSERT_EQ(Build(BuildWaveR3, {.x = 2, .width = 2, .hbin = 3, .extraCount = 6}), 0);
    EXPECT_EQ(Line(), Folded(Shift + Times(8, Outside) + Three + Three + Times(4, Outside) + "0"));
}

TEST_F(WaveR3, OverflowsBeyond65536Words)
{
    // Three pages for the other sections leave 253: 64768 words. Above 99 rows a
    // row takes 3 x 8 + 1 words, and the line ends with one more.
    FitWaveSensor({.registerSize = 0});
    ASSERT_EQ(Build(BuildWaveR3, {.vbin = 2590}), 0);
    EXPECT_EQ(LineLength(), 2590u * 25 + 1);
    EXPECT_EQ(FileSize(), 29u + 65536);
    EXPECT_EQ(Build(BuildWaveR3, {.vbin = 2591}), 8);
}
