// Larch with the ccd42-40. The file's words are the table's with XOR 4:
//
//   0: 4    1024: 1028    1536: 1540    1600: 1604    576: 580    64: 68
//   2056: 2060    2104: 2108    2064: 2068    2048: 2052    8: 12    2057: 2061
//   2088: 2092    2096: 2100    2066: 2070    2068: 2064    24: 28    16: 20    56: 60
#include "tests/waves/line_table.h"

namespace {

class WaveLarchCcd4240 : public WaveLineTest {
protected:
    void Fit(double tick, uint16_t period)
    {
        FitWaveSensor({.platform = 30, .sensor = 123, .tick = tick, .period = period});
    }
};

LineTable Rows(const std::string& repeat)
{
    return {
        .start = "4",
        .repeat = repeat,
        .settle = "2060x10 2108x10",
        .first = "2068 2052 12 2060 2061 2092 2108",
        .other = "2068 2052 2060 2092 2108",
        .notLast = "2068",
        .last = "2100 2068 2070 2068 2064",
        .outside = "2068 2052 12 2092 2108 2100",
        .end = "4",
    };
}

} // namespace

TEST_F(WaveLarchCcd4240, SectionsReadAsTheTable)
{
    // The period is a count: 5 ticks, not 10.
    Fit(0.5, 5);
    const std::string row = "4x10 1028x10 1540x10 1604x10 580x10 68x20 4x10";
    ExpectCountedLines(BuildWaveLarchCcd4240, Rows(row), 1);
    ExpectCountedLines(BuildWaveLarchCcd4240, Rows(row), 3);
    EXPECT_EQ(Idle(), "4");
    EXPECT_EQ(Row(), row);
    EXPECT_EQ(Pixel(), "28 20x5 12x5 60x5 28x4");
}

TEST_F(WaveLarchCcd4240, TakesItsPeriodAsACountAtAnyTick)
{
    for (const double tick : {0.7, 6.0, 0.0, -1.0}) {
        Fit(tick, 3);
        const std::string row = "4x6 1028x6 1540x6 1604x6 580x6 68x12 4x6";
        ExpectCountedLines(BuildWaveLarchCcd4240, Rows(row), 2);
        EXPECT_EQ(Row(), row);
    }
}

TEST_F(WaveLarchCcd4240, APeriodOf0LeavesNoRow)
{
    Fit(0.5, 0);
    ExpectCountedLines(BuildWaveLarchCcd4240, Rows(""), 2);
}

TEST_F(WaveLarchCcd4240, PadsWith0WhichIsNotItsIdleLevel)
{
    Fit(0.5, 5);
    ASSERT_EQ(Build(BuildWaveLarchCcd4240, {}), 0);
    EXPECT_EQ(Padding(path, IdleSection), "0x255");
    EXPECT_EQ(Padding(path, PixelSection), "0x236");
}

TEST_F(WaveLarchCcd4240, OverflowsAt32767Words)
{
    // 124 pages for the line of 22 + 80 a row: 396 rows are 31702 of 31744 words.
    Fit(0.5, 5);
    ExpectWriter(BuildWaveLarchCcd4240, "Build Sequencer Data", 396);
}
