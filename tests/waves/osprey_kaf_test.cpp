// OSPREY with two-phase sensors: vertical 128 and 256 with 8 held, reset 80, first
// strobe 1, second 2, conversion 4. No transform.
#include "tests/waves/line_table.h"

namespace {

class WaveOspreyKaf : public WaveLineTest {
protected:
    void SetUp() override
    {
        WaveLineTest::SetUp();
        FitWaveSensor({.platform = 200, .sensor = 255});
    }
};

// P 10.
const LineTable Plain = {
    .start = "0 8",
    .repeat = "136x9 392 264x9 392 136x10 8x10",
    .settle = "",
    .first = "80 17",
    .other = "16 16",
    .notLast = "8 8 8",
    .last = "10 12",
    .outside = "8 8 80 16",
    .end = "8",
};

LineTable With(LineTable table, const std::string& last)
{
    table.last = last;
    return table;
}

// Sensors 250 and 260 with more than one row.
LineTable SettledOnce(LineTable table)
{
    table.repeat = "136x9 392 264x9 392";
    table.settle = "136x10 8x10";
    return table;
}

} // namespace

TEST_F(WaveOspreyKaf, SectionsReadAsTheTable)
{
    for (const int32_t sensor : {255, 270, 275, 279, 280, 282, 283, 285, 132, 133, 3800, 3840}) {
        SCOPED_TRACE(sensor);
        FitWaveSensor({.platform = 200, .sensor = sensor});
        ExpectCountedLines(BuildWaveOspreyKaf, Plain, 1);
        ExpectCountedLines(BuildWaveOspreyKaf, Plain, 3);
        EXPECT_EQ(Idle(), "0");
        EXPECT_EQ(Row(), "8 136x9 392 264x9 392 136x10 8x10");
        EXPECT_EQ(Pixel(), "80 8x2 80");
    }
}

TEST_F(WaveOspreyKaf, Sensor250SettlesOnceBehindTheRowsOfABin)
{
    FitWaveSensor({.platform = 200, .sensor = 250});
    ExpectCountedLines(BuildWaveOspreyKaf, Plain, 1);
    ExpectCountedLines(BuildWaveOspreyKaf, SettledOnce(Plain), 2);
    EXPECT_EQ(Line().substr(0, 58), "0 8 136x9 392 264x9 392 136x9 392 264x9 392 136x10 8x12 80");
    ExpectCountedLines(BuildWaveOspreyKaf, SettledOnce(Plain), 5);
    EXPECT_EQ(Row(), "8 136x9 392 264x9 392 136x10 8x10");
}

TEST_F(WaveOspreyKaf, Sensor260WaitsATickMoreAheadOfTheConversion)
{
    FitWaveSensor({.platform = 200, .sensor = 260});
    ExpectCountedLines(BuildWaveOspreyKaf, With(Plain, "8 10 12"), 1);
    ExpectCountedLines(BuildWaveOspreyKaf, With(SettledOnce(Plain), "8 10 12"), 4);
}

TEST_F(WaveOspreyKaf, TheVariantConvertsInOneTick)
{
    for (const int32_t sensor : {250, 255, 260}) {
        SCOPED_TRACE(sensor);
        FitWaveSensor({.platform = 200, .sensor = sensor});
        record.CameraVariant = 1;
        ExpectCountedLines(BuildWaveOspreyKaf, With(Plain, "14"), 1);
        EXPECT_EQ(Row(), "8 136x9 392 264x9 392 136x10 8x10");
        EXPECT_EQ(Pixel(), "80 8x2 80");
    }
}

TEST_F(WaveOspreyKaf, TruncatesItsPeriod)
{
    FitWaveSensor({.platform = 200, .sensor = 255, .tick = 0.7}); // P 7
    LineTable table = Plain;
    table.repeat = "136x6 392 264x6 392 136x7 8x7";
    ExpectCountedLines(BuildWaveOspreyKaf, table, 2);
    EXPECT_EQ(Row(), "8 136x6 392 264x6 392 136x7 8x7");
    EXPECT_EQ(Pixel(), "80 8x2 80");
}

TEST_F(WaveOspreyKaf, AtOneTickThePhasesBehindTheOverlapsVanish)
{
    FitWaveSensor({.platform = 200, .sensor = 250, .tick = 6.0}); // P 1, P - 1 is 0
    LineTable table = Plain;
    table.repeat = "392 392 136 8";
    ExpectCountedLines(BuildWaveOspreyKaf, table, 1);
    EXPECT_EQ(Row(), "8 392x2 136 8");
    table.repeat = "392 392";
    table.settle = "136 8";
    ExpectCountedLines(BuildWaveOspreyKaf, table, 3);
}

TEST_F(WaveOspreyKaf, OverflowsAt32767Words)
{
    // 124 pages for the line of 3 + 40 a row: 793 rows are 31723 of 31744 words.
    ExpectWriter(BuildWaveOspreyKaf, "Building Wave....", 793);
}
