// Tarn_V: horizontal lines 256 and 512, exchanged for one sensor of each builder.
// No transform.
#include "tests/waves/line_table.h"

namespace {

class WaveTarn5 : public WaveLineTest {};
class WaveTarn5Ccd : public WaveLineTest {};
class WaveTarn5Ccd442 : public WaveLineTest {};

LineTable Rows(LineTable table, const std::string& repeat)
{
    table.repeat = repeat;
    return table;
}

// P 10.
const LineTable Kaf = {
    .start = "0 512",
    .repeat = "512 8704x10 4608x10 8704x10 512x10",
    .settle = "",
    .first = "264 257",
    .other = "256 256",
    .notLast = "512",
    .last = "518",
    .outside = "512 264 256",
    .end = "512",
};

// A third of 10 ticks.
const LineTable Kaf16800 = {
    .start = "0 256",
    .repeat = "256 4352x3 12544x3 8448x3",
    .settle = "",
    .first = "520 513",
    .other = "512 512",
    .notLast = "256",
    .last = "262",
    .outside = "256 520 512",
    .end = "256",
};

// Bins have their strobes on the first pixel; nothing follows a pixel.
const LineTable Ccd3011 = {
    .start = "0 264 776x10",
    .repeat = "2824x40 11016x10 8968x40 13064x10 4872x40 6920x10 2824x40 776x10",
    .settle = "256 384 128 640",
    .first = "512 768 264 256 256 385 128 640 512 512 514 516",
    .other = "512 768 256 384 128 640",
    .notLast = "",
    .last = "",
    .outside = "520 776 264 392 136 640",
    .end = "0",
};

const LineTable Ccd3011b = {
    .start = "0 520 776x10",
    .repeat = "2824x40 11016x10 8968x40 13064x10 4872x40 6920x10 2824x40 776x10",
    .settle = "512 640 128 384",
    .first = "256 768 520 512 512 641 128 384 256 256 258 260",
    .other = "256 768 512 640 128 384",
    .notLast = "",
    .last = "",
    .outside = "264 776 520 648 136 384",
    .end = "0",
};

const LineTable Ccd4710 = Rows(Ccd3011, "8x10 8968x40 13064x10 4872x40 6920x10 2824x40 776x10");

const LineTable Ccd442 = {
    .start = "0",
    .repeat = "0x10 4096x40 22528x10 18432x40 26624x10 8192x40 0x10",
    .settle = "0",
    .first = "256 456 961 704 514 2 4 4",
    .other = "256 448 960 704 514 2",
    .notLast = "",
    .last = "",
    .outside = "256 456 960 704 512 0",
    .end = "0",
};

} // namespace

TEST_F(WaveTarn5, SectionsReadAsTheTable)
{
    for (const int32_t sensor : {250, 285, 121, 300, 133, 2000, 9999}) {
        SCOPED_TRACE(sensor);
        FitWaveSensor({.platform = 28, .sensor = sensor});
        ExpectCountedLines(BuildWaveTarn5, Kaf, 1);
        ExpectCountedLines(BuildWaveTarn5, Kaf, 3);
        EXPECT_EQ(Idle(), "0");
        EXPECT_EQ(Row(), "512 8704x10 4608x10 8704x10 512x10");
        EXPECT_EQ(Pixel(), "264 512 264");
    }
}

TEST_F(WaveTarn5, Sensor290ExchangesTheLinesAndTakesThirdsOfThePeriod)
{
    FitWaveSensor({.platform = 28, .sensor = 290});
    ExpectCountedLines(BuildWaveTarn5, Kaf16800, 1);
    ExpectCountedLines(BuildWaveTarn5, Kaf16800, 3);
    EXPECT_EQ(Idle(), "0");
    EXPECT_EQ(Row(), "256 4352x3 12544x3 8448x3");
    EXPECT_EQ(Pixel(), "520 256 520");
}

TEST_F(WaveTarn5, TruncatesItsPeriod)
{
    FitWaveSensor({.platform = 28, .sensor = 255, .tick = 0.7}); // P 7
    ExpectCountedLines(BuildWaveTarn5, Rows(Kaf, "512 8704x7 4608x7 8704x7 512x7"), 2);
    EXPECT_EQ(Row(), "512 8704x7 4608x7 8704x7 512x7");
    FitWaveSensor({.platform = 28, .sensor = 290, .tick = 0.7}); // 7 / 3 is 2
    ExpectCountedLines(BuildWaveTarn5, Rows(Kaf16800, "256 4352x2 12544x2 8448x2"), 2);
    EXPECT_EQ(Row(), "256 4352x2 12544x2 8448x2");
}

TEST_F(WaveTarn5, APhaseIsATickAtLeastAndAThirdOfItNone)
{
    FitWaveSensor({.platform = 28, .sensor = 255, .tick = 6.0});
    ExpectCountedLines(BuildWaveTarn5, Rows(Kaf, "512 8704 4608 8704 512"), 2);
    FitWaveSensor({.platform = 28, .sensor = 290, .tick = 6.0});
    ExpectCountedLines(BuildWaveTarn5, Rows(Kaf16800, "256"), 2);
    EXPECT_EQ(Row(), "256");
}

TEST_F(WaveTarn5, OverflowsAt32767Words)
{
    // 124 pages for the line of 3 + 41 a row: 774 rows are 31737 of 31744 words.
    FitWaveSensor({.platform = 28, .sensor = 255});
    ExpectWriter(BuildWaveTarn5, "Building Wave....", 774);
}

TEST_F(WaveTarn5Ccd, Sensor120ReadsAsTheTable)
{
    FitWaveSensor({.platform = 28, .sensor = 120});
    ExpectCountedLines(BuildWaveTarn5Ccd, Ccd3011, 1);
    ExpectCountedLines(BuildWaveTarn5Ccd, Ccd3011, 3);
    EXPECT_EQ(Idle(), "0");
    EXPECT_EQ(Row(), "264 776x10 2824x40 11016x10 8968x40 13064x10 4872x40 6920x10 2824x40 776x10");
    EXPECT_EQ(Pixel(), "0 520 776 264 392 136 648 0");
}

TEST_F(WaveTarn5Ccd, Sensor133ExchangesTheLines)
{
    FitWaveSensor({.platform = 28, .sensor = 133});
    ExpectCountedLines(BuildWaveTarn5Ccd, Ccd3011b, 1);
    ExpectCountedLines(BuildWaveTarn5Ccd, Ccd3011b, 3);
    EXPECT_EQ(Row(), "520 776x10 2824x40 11016x10 8968x40 13064x10 4872x40 6920x10 2824x40 776x10");
    EXPECT_EQ(Pixel(), "0 264 776 520 648 136 392 0");
}

TEST_F(WaveTarn5Ccd, Sensor125HasAShorterRow)
{
    FitWaveSensor({.platform = 28, .sensor = 125});
    ExpectCountedLines(BuildWaveTarn5Ccd, Ccd4710, 1);
    ExpectCountedLines(BuildWaveTarn5Ccd, Ccd4710, 3);
    EXPECT_EQ(Row(), "8x10 8968x40 13064x10 4872x40 6920x10 2824x40 776x10");
    EXPECT_EQ(Pixel(), "0 520 776 264 392 136 648 0");
}

TEST_F(WaveTarn5Ccd, TruncatesItsPeriodAheadOfTheFactorFour)
{
    FitWaveSensor({.platform = 28, .sensor = 120, .tick = 0.7}); // P 7, Q 28
    LineTable table = Rows(Ccd3011, "2824x28 11016x7 8968x28 13064x7 4872x28 6920x7 2824x28 776x7");
    table.start = "0 264 776x7";
    ExpectCountedLines(BuildWaveTarn5Ccd, table, 2);
    EXPECT_EQ(Row(), "264 776x7 2824x28 11016x7 8968x28 13064x7 4872x28 6920x7 2824x28 776x7");
    FitWaveSensor({.platform = 28, .sensor = 125, .tick = 6.0}); // P 1, Q 4
    table = Rows(Ccd4710, "8 8968x4 13064 4872x4 6920 2824x4 776");
    table.start = "0 264 776";
    ExpectCountedLines(BuildWaveTarn5Ccd, table, 2);
    EXPECT_EQ(Row(), "8 8968x4 13064 4872x4 6920 2824x4 776");
}

TEST_F(WaveTarn5Ccd, HasTheStrobesOnTheFirstPixelOfTheWindowAndEachHbinThBehindIt)
{
    FitWaveSensor({.platform = 28, .sensor = 120});
    // From 2 + 1 x 4 = 6 to 13, beyond the register's end behind 11: bins begin at 6
    // and 10.
    const std::string full = " 512 768 264 256x2 385 128 640 512x2 514 516";
    const std::string plain = " 512 768 256 384 128 640";
    ExpectLine(BuildWaveTarn5Ccd, Ccd3011, {.x = 1, .width = 2, .hbin = 4},
               Out(Ccd3011, 6) + full + plain + plain + plain + full + plain);
}

TEST_F(WaveTarn5Ccd, OverflowsAt65535Words)
{
    // 252 pages for the line of 17 + 200 a row: 322 rows are 64417 of 64512 words.
    FitWaveSensor({.platform = 28, .sensor = 120});
    ExpectWriter(BuildWaveTarn5Ccd, "Building Wave....", 322);
}

TEST_F(WaveTarn5Ccd442, SectionsReadAsTheTable)
{
    FitWaveSensor({.platform = 28, .sensor = 2000});
    ExpectCountedLines(BuildWaveTarn5Ccd442, Ccd442, 1);
    ExpectCountedLines(BuildWaveTarn5Ccd442, Ccd442, 3);
    EXPECT_EQ(Idle(), "0");
    EXPECT_EQ(Row(), "0x10 4096x40 22528x10 18432x40 26624x10 8192x40 0x10");
    EXPECT_EQ(Pixel(), "0 256 456 960 704 512 0");
}

TEST_F(WaveTarn5Ccd442, TruncatesItsPeriodAheadOfTheFactorFour)
{
    FitWaveSensor({.platform = 28, .sensor = 2000, .tick = 0.7});
    const std::string row = "0x7 4096x28 22528x7 18432x28 26624x7 8192x28 0x7";
    ExpectCountedLines(BuildWaveTarn5Ccd442, Rows(Ccd442, row), 2);
    EXPECT_EQ(Row(), row);
    FitWaveSensor({.platform = 28, .sensor = 2000, .tick = 6.0});
    ExpectCountedLines(BuildWaveTarn5Ccd442, Rows(Ccd442, "0 4096x4 22528 18432x4 26624 8192x4 0"),
                       2);
}

TEST_F(WaveTarn5Ccd442, OverflowsAt65535Words)
{
    // 3 + 160 a row: 403 rows are 64483 of 64512 words.
    FitWaveSensor({.platform = 28, .sensor = 2000});
    ExpectWriter(BuildWaveTarn5Ccd442, "Building Wave....", 403);
}
