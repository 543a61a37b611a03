// Tarn_IV with three-phase sensors: the period is a count of ticks. No transform.
#include "tests/waves/line_table.h"

namespace {

class WaveTarn4Ccd : public WaveLineTest {};
class WaveTarn4Ccd3011b : public WaveLineTest {};
class WaveTarn4Ccd4210 : public WaveLineTest {};

const std::string RowAt5 = "0x10 512x35 640x10 128x10 384x25 256x10 768x10 512x35 0x10";
const std::string RowAt3 = "0x6 512x21 640x6 128x6 384x15 256x6 768x6 512x21 0x6";

// A 8, B 16.
const LineTable Ccd = {
    .start = "0",
    .repeat = RowAt5,
    .settle = "72x10 120x10",
    .first = "80 80 64 72 8 73 73 73 73 73 73 104 120 120",
    .other = "80 80 64 72 72 104 120 120",
    .notLast = "80",
    .last = "112 80 80 80 80 84",
    .outside = "80 80 64 72 72 8 104 120 120 112",
    .end = "0",
};
const char Pixel8[] = "24 16x5 8x5 56x5 24x4";

// A 16, B 8.
const LineTable Exchanged = {
    .start = "0",
    .repeat = RowAt5,
    .settle = "80x10 120x10",
    .first = "72 72 64 80 16 81 81 81 81 81 81 112 120 120",
    .other = "72 72 64 80 80 112 120 120",
    .notLast = "72",
    .last = "104 72 72 72 72 76",
    .outside = "72 72 64 80 80 16 112 120 120 104",
    .end = "0",
};
const char Pixel16[] = "24 8x5 16x5 56x5 24x4";

const LineTable Ccd3011b = {
    .start = "0",
    .repeat = RowAt5,
    .settle = "80x10 120x10",
    .first = "72 16 81x12 120",
    .other = "72 80 120",
    .notLast = "72",
    .last = "72x8 76",
    .outside = "72 16 120 120",
    .end = "0",
};

const LineTable Ccd4210 = {
    .start = "0",
    .repeat = RowAt5,
    .settle = "72x10 120x10",
    .first = "80 8 73x4 120x3",
    .other = "80 72 120",
    .notLast = "80",
    .last = "80 80 84",
    .outside = "80 8 120 120",
    .end = "0",
};

LineTable Rows(LineTable table, const std::string& repeat)
{
    table.repeat = repeat;
    return table;
}

} // namespace

TEST_F(WaveTarn4Ccd, SectionsReadAsTheTable)
{
    for (const int32_t sensor : {120, 121, 125, 128}) {
        SCOPED_TRACE(sensor);
        FitWaveSensor({.platform = 24, .sensor = sensor});
        ExpectCountedLines(BuildWaveTarn4Ccd, Ccd, 1);
        ExpectCountedLines(BuildWaveTarn4Ccd, Ccd, 3);
        EXPECT_EQ(Idle(), "0 4 0x28");
        EXPECT_EQ(Row(), RowAt5);
        EXPECT_EQ(Pixel(), Pixel8);
    }
}

TEST_F(WaveTarn4Ccd, Sensor133ExchangesTheHorizontalLines)
{
    FitWaveSensor({.platform = 24, .sensor = 133});
    ExpectCountedLines(BuildWaveTarn4Ccd, Exchanged, 1);
    ExpectCountedLines(BuildWaveTarn4Ccd, Exchanged, 3);
    EXPECT_EQ(Row(), RowAt5);
    EXPECT_EQ(Pixel(), Pixel16);
}

TEST_F(WaveTarn4Ccd, TruncatesItsIdleTimeAndNotItsPeriod)
{
    FitWaveSensor({.platform = 24, .sensor = 120, .tick = 0.7, .period = 3});
    ExpectCountedLines(BuildWaveTarn4Ccd, Rows(Ccd, RowAt3), 2);
    EXPECT_EQ(Idle(), "0 4 0x22");
    EXPECT_EQ(Row(), RowAt3);
    FitWaveSensor({.platform = 24, .sensor = 120, .tick = 40.0, .period = 1});
    const std::string shortest = "0x2 512x7 640x2 128x2 384x5 256x2 768x2 512x7 0x2";
    ExpectCountedLines(BuildWaveTarn4Ccd, Rows(Ccd, shortest), 2);
    EXPECT_EQ(Idle(), "0 4 0x8");
    EXPECT_EQ(Row(), shortest);
}

TEST_F(WaveTarn4Ccd, APeriodOf0LeavesNoRow)
{
    FitWaveSensor({.platform = 24, .sensor = 120, .period = 0});
    ExpectCountedLines(BuildWaveTarn4Ccd, Rows(Ccd, ""), 2);
}

TEST_F(WaveTarn4Ccd, OverflowsAt32767Words)
{
    // 124 pages for the line of 22 + 155 a row: 204 rows are 31642 of 31744 words.
    FitWaveSensor({.platform = 24, .sensor = 120});
    ExpectWriter(BuildWaveTarn4Ccd, "Build Sequencer Data", 204);
}

TEST_F(WaveTarn4Ccd3011b, SectionsReadAsTheTable)
{
    FitWaveSensor({.platform = 24, .sensor = 133});
    ExpectCountedLines(BuildWaveTarn4Ccd3011b, Ccd3011b, 1);
    ExpectCountedLines(BuildWaveTarn4Ccd3011b, Ccd3011b, 3);
    EXPECT_EQ(Idle(), "0 4 0x28");
    EXPECT_EQ(Row(), RowAt5);
    EXPECT_EQ(Pixel(), Pixel16);
}

TEST_F(WaveTarn4Ccd3011b, TruncatesItsIdleTimeAndNotItsPeriod)
{
    FitWaveSensor({.platform = 24, .sensor = 133, .tick = 0.7, .period = 3});
    ExpectCountedLines(BuildWaveTarn4Ccd3011b, Rows(Ccd3011b, RowAt3), 2);
    EXPECT_EQ(Idle(), "0 4 0x22");
    EXPECT_EQ(Row(), RowAt3);
}

TEST_F(WaveTarn4Ccd3011b, OverflowsAt32767Words)
{
    FitWaveSensor({.platform = 24, .sensor = 133});
    ExpectWriter(BuildWaveTarn4Ccd3011b, "Build Sequencer Data", 204);
}

TEST_F(WaveTarn4Ccd4210, SectionsReadAsTheTable)
{
    FitWaveSensor({.platform = 24, .sensor = 122});
    ExpectCountedLines(BuildWaveTarn4Ccd4210, Ccd4210, 1);
    ExpectCountedLines(BuildWaveTarn4Ccd4210, Ccd4210, 3);
    EXPECT_EQ(Idle(), "0 4 0x28");
    EXPECT_EQ(Row(), RowAt5);
    EXPECT_EQ(Pixel(), Pixel8);
}

TEST_F(WaveTarn4Ccd4210, TruncatesItsIdleTimeAndNotItsPeriod)
{
    FitWaveSensor({.platform = 24, .sensor = 122, .tick = 0.7, .period = 3});
    ExpectCountedLines(BuildWaveTarn4Ccd4210, Rows(Ccd4210, RowAt3), 2);
    EXPECT_EQ(Idle(), "0 4 0x22");
    EXPECT_EQ(Row(), RowAt3);
}

TEST_F(WaveTarn4Ccd4210, OverflowsAt32767Words)
{
    FitWaveSensor({.platform = 24, .sensor = 122});
    ExpectWriter(BuildWaveTarn4Ccd4210, "Build Sequencer Data", 204);
}
