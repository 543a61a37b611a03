// OSPREY and OSPREY_Plus with three-phase sensors: horizontal lines 8, 16 and 32.
// No transform.
#include "tests/waves/line_table.h"

namespace {

class WaveOspreyCcd3011 : public WaveLineTest {};
class WaveOspreyCcd4710 : public WaveLineTest {};
class WaveOspreyPlusCcd4710 : public WaveLineTest {};
class WaveOspreyPlusCcd3011b : public WaveLineTest {};
class WaveOspreyPlusCcd55 : public WaveLineTest {};

const LineTable Ccd3011 = {
    .start = "0",
    .repeat = "64x5 832x5 960x5 448x5 192x5 0x5",
    .settle = "56",
    .first = "16 72 9 56 56",
    .other = "16 72 8 56 56",
    .notLast = "16",
    .last = "18 20",
    .outside = "80 72 120",
    .end = "0",
};

LineTable OnPlatform205(LineTable table)
{
    table.first = "16 72 8 9 56 56";
    table.last = "16 18 20";
    return table;
}

// P 10.
const LineTable Ccd4710 = {
    .start = "0 64x10",
    .repeat = "216x40 472x10 344x40 856x10 600x40",
    .settle = "24x10 48 32 40",
    .first = "80 16 17 32",
    .other = "16 16 16 32",
    .notLast = "8 8",
    .last = "8 14",
    .outside = "72 80 96 8 8 8",
    .end = "0",
};

LineTable Held(LineTable table)
{
    table.first = "80 16 16 17 32";
    table.last = "8 8 14";
    return table;
}

// Two timings of the ccd47-10: P 7 with Q 28, and P 1 with Q 4.
LineTable At7(LineTable table)
{
    table.start = "0 64x7";
    table.repeat = "216x28 472x7 344x28 856x7 600x28";
    table.settle = "24x7 48 32 40";
    return table;
}

LineTable At1(LineTable table)
{
    table.start = "0 64";
    table.repeat = "216x4 472 344x4 856 600x4";
    table.settle = "24 48 32 40";
    return table;
}

// Q 3.
const LineTable Ccd3011b = {
    .start = "0 64x3",
    .repeat = "72 88x3 600x6 728x3 216x3 472x3 344x3 856x3 600x6 88x3",
    .settle = "24x3 8 32 48",
    .first = "24 72 40 32 48",
    .other = "16 24 8 40 32 48",
    .notLast = "16",
    .last = "16 18 20",
    .outside = "80 88 72 104 96 112 80",
    .end = "0",
};

const LineTable Ccd5520 = {
    .start = "0",
    .repeat = "64x3 4696x3 7000x3 8152x3 3544x3 1240x3 88x3",
    .settle = "32 40",
    .first = "8 8 8 10 12 24",
    .other = "24",
    .notLast = "16 16 16 48 32 32 32 32 40",
    .last = "80 16 17 48 32 32 32 32 40",
    .outside = "72 72 72 72 72 88 80 80 80 80 80 112 96 96 96 96 96 40",
    .end = "0",
};

const LineTable Ccd3011d = {
    .start = "0",
    .repeat = "64x3 856x3 984x3 472x3 216x3 88x3",
    .settle = "32 48",
    .first = "16 16 16 18 20 24",
    .other = "24",
    .notLast = "8 8 8 40 32 32 32 32 48",
    .last = "72 8 9 40 32 32 32 32 48",
    .outside = "80 80 80 80 80 88 72 72 72 72 72 104 96 96 96 96 96 48",
    .end = "0",
};

} // namespace

TEST_F(WaveOspreyCcd3011, SectionsReadAsTheTable)
{
    // The period is a count: 5 ticks, not 10.
    FitWaveSensor({.platform = 200, .sensor = 120});
    ExpectCountedLines(BuildWaveOspreyCcd3011, Ccd3011, 1);
    ExpectCountedLines(BuildWaveOspreyCcd3011, Ccd3011, 3);
    EXPECT_EQ(Idle(), "0");
    EXPECT_EQ(Row(), "64x5 832x5 960x5 448x5 192x5 64x5");
    EXPECT_EQ(Pixel(), "0 80 72 120 0");
}

TEST_F(WaveOspreyCcd3011, Platform205HasAFurther8AndAFurther16InEachPixel)
{
    FitWaveSensor({.platform = 200, .sensor = 120});
    ASSERT_EQ(Build(BuildWaveOspreyCcd3011, {}), 0);
    const uint32_t older = LineLength();
    FitWaveSensor({.platform = 205, .sensor = 120});
    ExpectCountedLines(BuildWaveOspreyCcd3011, OnPlatform205(Ccd3011), 1);
    ASSERT_EQ(Build(BuildWaveOspreyCcd3011, {}), 0);
    EXPECT_EQ(LineLength(), older + 8 * 2);
    EXPECT_EQ(Row(), "64x5 832x5 960x5 448x5 192x5 64x5");
    EXPECT_EQ(Pixel(), "0 80 72 120 0");
}

TEST_F(WaveOspreyCcd3011, TakesItsPeriodAsACountAtAnyTick)
{
    for (const double tick : {0.7, 6.0, 0.0, -1.0}) {
        FitWaveSensor({.platform = 200, .sensor = 120, .tick = tick, .period = 3});
        LineTable table = Ccd3011;
        table.repeat = "64x3 832x3 960x3 448x3 192x3 0x3";
        ExpectCountedLines(BuildWaveOspreyCcd3011, table, 2);
        EXPECT_EQ(Row(), "64x3 832x3 960x3 448x3 192x3 64x3");
    }
}

TEST_F(WaveOspreyCcd3011, APeriodOf0LeavesNoRow)
{
    FitWaveSensor({.platform = 200, .sensor = 120, .period = 0});
    LineTable table = Ccd3011;
    table.repeat = "";
    ExpectCountedLines(BuildWaveOspreyCcd3011, table, 2);
}

TEST_F(WaveOspreyCcd3011, OverflowsAt65535Words)
{
    // 252 pages for the line of 3 + 30 a row: 2150 rows are 64503 of 64512 words.
    FitWaveSensor({.platform = 200, .sensor = 120});
    ExpectWriter(BuildWaveOspreyCcd3011, "Build Sequencer Data", 2150);
}

TEST_F(WaveOspreyCcd4710, SectionsReadAsTheTable)
{
    FitWaveSensor({.platform = 200, .sensor = 125});
    ExpectCountedLines(BuildWaveOspreyCcd4710, Ccd4710, 1);
    ExpectCountedLines(BuildWaveOspreyCcd4710, Ccd4710, 3);
    EXPECT_EQ(Idle(), "0");
    EXPECT_EQ(Row(), "64x10 216x40 472x10 344x40 856x10 600x40 88x10");
    EXPECT_EQ(Pixel(), "72 88 80 112 96 104");
}

TEST_F(WaveOspreyCcd4710, TruncatesItsPeriodAheadOfTheFactorFour)
{
    FitWaveSensor({.platform = 200, .sensor = 125, .tick = 0.7});
    ExpectCountedLines(BuildWaveOspreyCcd4710, At7(Ccd4710), 2);
    EXPECT_EQ(Row(), "64x7 216x28 472x7 344x28 856x7 600x28 88x7");
    FitWaveSensor({.platform = 200, .sensor = 125, .tick = 6.0});
    ExpectCountedLines(BuildWaveOspreyCcd4710, At1(Ccd4710), 2);
    EXPECT_EQ(Row(), "64 216x4 472 344x4 856 600x4 88");
}

TEST_F(WaveOspreyCcd4710, OverflowsAt65535Words)
{
    // 25 + 140 a row: 460 rows are 64425 of 64512 words.
    FitWaveSensor({.platform = 200, .sensor = 125});
    ExpectWriter(BuildWaveOspreyCcd4710, "Building Wave....", 460);
}

TEST_F(WaveOspreyPlusCcd4710, HoldsTheResetAndTheLastEndingForTwoTicks)
{
    FitWaveSensor({.platform = 205, .sensor = 125});
    ExpectCountedLines(BuildWaveOspreyPlusCcd4710, Held(Ccd4710), 1);
    ExpectCountedLines(BuildWaveOspreyPlusCcd4710, Held(Ccd4710), 3);
    EXPECT_EQ(Idle(), "0");
    EXPECT_EQ(Row(), "64x10 216x40 472x10 344x40 856x10 600x40 88x10");
    EXPECT_EQ(Pixel(), "72 88 80 112 96 104");
}

TEST_F(WaveOspreyPlusCcd4710, TruncatesItsPeriodAheadOfTheFactorFour)
{
    FitWaveSensor({.platform = 205, .sensor = 125, .tick = 0.7});
    ExpectCountedLines(BuildWaveOspreyPlusCcd4710, At7(Held(Ccd4710)), 2);
    FitWaveSensor({.platform = 205, .sensor = 125, .tick = 6.0});
    ExpectCountedLines(BuildWaveOspreyPlusCcd4710, At1(Held(Ccd4710)), 2);
}

TEST_F(WaveOspreyPlusCcd4710, OverflowsAt65535Words)
{
    FitWaveSensor({.platform = 205, .sensor = 125});
    ExpectWriter(BuildWaveOspreyPlusCcd4710, "Building Wave....", 460);
}

TEST_F(WaveOspreyPlusCcd3011b, SectionsReadAsTheTable)
{
    // 10 ticks / 3 is 3, twice that 6, half of it 1.
    FitWaveSensor({.platform = 205, .sensor = 133});
    ExpectCountedLines(BuildWaveOspreyPlusCcd3011b, Ccd3011b, 1);
    ExpectCountedLines(BuildWaveOspreyPlusCcd3011b, Ccd3011b, 3);
    EXPECT_EQ(Idle(), "0");
    EXPECT_EQ(Row(), "72 88x3 600x6 728x3 216x3 472x3 344x3 856x3 600x6 88x3");
    EXPECT_EQ(Pixel(), "80 88 72 104 96 112");
}

TEST_F(WaveOspreyPlusCcd3011b, TruncatesTwice)
{
    // 7 ticks / 3 is 2.
    FitWaveSensor({.platform = 205, .sensor = 133, .tick = 0.7});
    LineTable table = Ccd3011b;
    table.start = "0 64x2";
    table.repeat = "72 88x2 600x4 728x2 216x2 472x2 344x2 856x2 600x4 88x2";
    table.settle = "24x2 8 32 48";
    ExpectCountedLines(BuildWaveOspreyPlusCcd3011b, table, 2);
    EXPECT_EQ(Row(), "72 88x2 600x4 728x2 216x2 472x2 344x2 856x2 600x4 88x2");
}

TEST_F(WaveOspreyPlusCcd3011b, AtOneTickTheHalfPhaseVanishes)
{
    // 5 / 2 is 2, and a third of it 0.
    FitWaveSensor({.platform = 205, .sensor = 133, .tick = 2.0});
    LineTable table = Ccd3011b;
    table.start = "0 64";
    table.repeat = "88 600x2 728 216 472 344 856 600x2 88";
    table.settle = "24 8 32 48";
    ExpectCountedLines(BuildWaveOspreyPlusCcd3011b, table, 2);
    EXPECT_EQ(Row(), "88 600x2 728 216 472 344 856 600x2 88");
}

TEST_F(WaveOspreyPlusCcd3011b, OverflowsAt65535Words)
{
    // 11 + 34 a row: 1897 rows are 64509 of 64512 words.
    FitWaveSensor({.platform = 205, .sensor = 133});
    ExpectWriter(BuildWaveOspreyPlusCcd3011b, "Building Wave....", 1897);
}

TEST_F(WaveOspreyPlusCcd55, Sensor134ReadsAsTheTable)
{
    FitWaveSensor({.platform = 205, .sensor = 134}); // 10 / 3 is 3
    ExpectCountedLines(BuildWaveOspreyPlusCcd55, Ccd5520, 1);
    ExpectCountedLines(BuildWaveOspreyPlusCcd55, Ccd5520, 3);
    EXPECT_EQ(Idle(), "0");
    EXPECT_EQ(Row(), "64x3 4696x3 7000x3 8152x3 3544x3 1240x3 88x3");
    EXPECT_EQ(Pixel(), "0 72 88 80 112 96 104 0");
}

TEST_F(WaveOspreyPlusCcd55, Sensor135ExchangesTheLinesAndHasAnotherRow)
{
    FitWaveSensor({.platform = 205, .sensor = 135});
    ExpectCountedLines(BuildWaveOspreyPlusCcd55, Ccd3011d, 1);
    ExpectCountedLines(BuildWaveOspreyPlusCcd55, Ccd3011d, 3);
    EXPECT_EQ(Idle(), "0");
    EXPECT_EQ(Row(), "64x3 856x3 984x3 472x3 216x3 88x3");
    EXPECT_EQ(Pixel(), "0 80 88 72 104 96 112 0");
}

TEST_F(WaveOspreyPlusCcd55, TruncatesAThirdOfItsPeriodToOneAtLeast)
{
    // 5 / 0.7 / 3 is 2.4.
    FitWaveSensor({.platform = 205, .sensor = 134, .tick = 0.7});
    LineTable table = Ccd5520;
    table.repeat = "64x2 4696x2 7000x2 8152x2 3544x2 1240x2 88x2";
    ExpectCountedLines(BuildWaveOspreyPlusCcd55, table, 2);
    EXPECT_EQ(Row(), "64x2 4696x2 7000x2 8152x2 3544x2 1240x2 88x2");
    // 5 / 2 / 3 is 0.8.
    FitWaveSensor({.platform = 205, .sensor = 135, .tick = 2.0});
    table = Ccd3011d;
    table.repeat = "64 856 984 472 216 88";
    ExpectCountedLines(BuildWaveOspreyPlusCcd55, table, 2);
    EXPECT_EQ(Row(), "64 856 984 472 216 88");
}

TEST_F(WaveOspreyPlusCcd55, DividesByTheTickAheadOfTheThree)
{
    // 51 / 0.17 is 300, and a third of it 100; 17 / 0.17 would come out below.
    FitWaveSensor({.platform = 205, .sensor = 135, .tick = 0.17, .period = 51});
    ASSERT_EQ(Build(BuildWaveOspreyPlusCcd55, {}), 0);
    EXPECT_EQ(Row(), "64x100 856x100 984x100 472x100 216x100 88x100");
}

TEST_F(WaveOspreyPlusCcd55, OverflowsAt65535Words)
{
    // 4 + 21 a row: 3071 rows are 64495 of 64512 words.
    FitWaveSensor({.platform = 205, .sensor = 134});
    ExpectWriter(BuildWaveOspreyPlusCcd55, "Building Wave....", 3071);
}
