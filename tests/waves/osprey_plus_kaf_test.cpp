// OSPREY_Plus with two-phase sensors, each with its own vertical sequence; four
// sensors swap the horizontal clocks 8 and 16. No transform.
#include "tests/waves/line_table.h"

namespace {

class WaveOspreyPlusKaf : public WaveLineTest {
protected:
    void Expect(int32_t sensor, const std::string& row, const LineTable& line, int32_t rows)
    {
        SCOPED_TRACE(testing::Message() << sensor << " with " << rows << " rows");
        ExpectCountedLines(BuildWaveOspreyPlusKaf, line, rows);
        EXPECT_EQ(Row(), row);
        EXPECT_EQ(Idle(), "0");
    }

    void Fit(int32_t sensor, double tick = 0.5)
    {
        FitWaveSensor({.platform = 205, .sensor = sensor, .tick = tick});
    }
};

const LineTable Normal = {
    .start = "0 8",
    .repeat = "",
    .settle = "",
    .first = "81 16",
    .other = "16 16",
    .notLast = "8 8",
    .last = "10 12",
    .outside = "8 80 80 16",
    .end = "8",
};

const LineTable Swapped = {
    .start = "0 8",
    .repeat = "",
    .settle = "",
    .first = "73 8",
    .other = "8 8",
    .notLast = "16 16",
    .last = "18 20",
    .outside = "16 72 72 8",
    .end = "8",
};

LineTable With(LineTable table, const std::string& repeat, const std::string& settle = "")
{
    table.repeat = repeat;
    table.settle = settle;
    return table;
}

// The word ahead of the rows and behind the pixels.
LineTable Between16(LineTable table)
{
    table.start = "0 16";
    table.end = "16";
    return table;
}

} // namespace

TEST_F(WaveOspreyPlusKaf, Sensor279HoldsThe16AndSwaps)
{
    Fit(279);
    const std::string row = "16 272x10 144x10 272x10 16x10";
    Expect(279, row, With(Swapped, row), 1);
    Expect(279, row, With(Swapped, row), 3);
    EXPECT_EQ(Pixel(), "72 16 72");
    Fit(279, 0.7);
    Expect(279, "16 272x7 144x7 272x7 16x7", With(Swapped, "16 272x7 144x7 272x7 16x7"), 2);
    Fit(279, 6.0);
    Expect(279, "16 272 144 272 16", With(Swapped, "16 272 144 272 16"), 2);
}

TEST_F(WaveOspreyPlusKaf, Sensor281OverlapsBothPhases)
{
    Fit(281);
    const std::string row = "8 136x10 392x10 264x10 392x10 136x10 8";
    Expect(281, row, With(Normal, row), 1);
    Expect(281, row, With(Normal, row), 3);
    EXPECT_EQ(Pixel(), "80 8 80");
    Fit(281, 0.7);
    Expect(281, "8 136x7 392x7 264x7 392x7 136x7 8",
           With(Normal, "8 136x7 392x7 264x7 392x7 136x7 8"), 2);
    Fit(281, 6.0);
    Expect(281, "8 136 392 264 392 136 8", With(Normal, "8 136 392 264 392 136 8"), 2);
}

TEST_F(WaveOspreyPlusKaf, Sensor286EndsItsRowWithHalfAPhaseAndSwaps)
{
    Fit(286);
    const std::string row = "8 136x10 264x10 8x5";
    Expect(286, row, With(Swapped, row), 1);
    Expect(286, row, With(Swapped, row), 3);
    EXPECT_EQ(Pixel(), "72 16 72");
    Fit(286, 0.7); // 7 / 2 is 3
    Expect(286, "8 136x7 264x7 8x3", With(Swapped, "8 136x7 264x7 8x3"), 2);
    Fit(286, 6.0); // half of a tick is none
    Expect(286, "8 136 264", With(Swapped, "8 136 264"), 2);
}

TEST_F(WaveOspreyPlusKaf, Sensors287And290Idle16AroundTheLine)
{
    for (const int32_t sensor : {287, 290}) {
        Fit(sensor);
        const LineTable line = Between16(Swapped);
        const std::string row = "8 136x10 392 264x10 8x5";
        Expect(sensor, row, With(line, row), 1);
        Expect(sensor, row, With(line, row), 3);
        EXPECT_EQ(Pixel(), "72 16 72");
        Fit(sensor, 0.7);
        Expect(sensor, "8 136x7 392 264x7 8x3", With(line, "8 136x7 392 264x7 8x3"), 2);
        Fit(sensor, 6.0);
        Expect(sensor, "8 136 392 264", With(line, "8 136 392 264"), 2);
    }
}

TEST_F(WaveOspreyPlusKaf, Sensors250And260SettleOnceBehindTheRowsOfABin)
{
    for (const int32_t sensor : {250, 260}) {
        Fit(sensor);
        const std::string row = "8 136x10 264x10 136x10 8x10";
        Expect(sensor, row, With(Normal, "136x9 392 264x9 392 136x10 8x10"), 1);
        const LineTable binned = With(Normal, "136x9 392 264x9 392", "136x10 8x10");
        Expect(sensor, row, binned, 2);
        Expect(sensor, row, binned, 5);
        EXPECT_EQ(Pixel(), "80 8 80");
        Fit(sensor, 0.7);
        Expect(sensor, "8 136x7 264x7 136x7 8x7", With(Normal, "136x6 392 264x6 392", "136x7 8x7"),
               2);
        Fit(sensor, 6.0);
        Expect(sensor, "8 136 264 136 8", With(Normal, "392 392 136 8"), 1);
        Expect(sensor, "8 136 264 136 8", With(Normal, "392 392", "136 8"), 2);
    }
}

TEST_F(WaveOspreyPlusKaf, Sensors255And275DoNotSettleBehindTheRowsOfABin)
{
    for (const int32_t sensor : {255, 275}) {
        Fit(sensor);
        const std::string row = "8 136x10 264x10 136x10 8x10";
        Expect(sensor, row, With(Normal, "136x9 392 264x9 392 136x10 8x10"), 1);
        Expect(sensor, row, With(Normal, "136x9 392 264x9 392"), 2);
        Expect(sensor, row, With(Normal, "136x9 392 264x9 392"), 5);
        EXPECT_EQ(Pixel(), "80 8 80");
        Fit(sensor, 6.0);
        Expect(sensor, "8 136 264 136 8", With(Normal, "392 392"), 2);
    }
}

TEST_F(WaveOspreyPlusKaf, OtherSensorsRepeatTheirRow)
{
    for (const int32_t sensor : {270, 280, 285, 121, 9999}) {
        Fit(sensor);
        const std::string row = "8 136x10 264x10 136x10 8x10";
        Expect(sensor, row, With(Normal, row), 1);
        Expect(sensor, row, With(Normal, row), 3);
        EXPECT_EQ(Pixel(), "80 8 80");
        Fit(sensor, 0.7);
        Expect(sensor, "8 136x7 264x7 136x7 8x7", With(Normal, "8 136x7 264x7 136x7 8x7"), 2);
    }
}

TEST_F(WaveOspreyPlusKaf, TheVariantOfTheOlderPlatformChangesNothing)
{
    Fit(260);
    record.CameraVariant = 1;
    Expect(260, "8 136x10 264x10 136x10 8x10", With(Normal, "136x9 392 264x9 392 136x10 8x10"), 1);
}

TEST_F(WaveOspreyPlusKaf, OverflowsAt65535Words)
{
    // 252 pages for the line. Sensor 281: 52 words a row and 3 more, 1240 rows are
    // 64483 of 64512 words.
    Fit(281);
    ExpectWriter(BuildWaveOspreyPlusKaf, "Building Wave....", 1240);
    // Sensor 250: 20 words a row, 20 once and 3 more, 3224 rows are 64503.
    Fit(250);
    ExpectWriter(BuildWaveOspreyPlusKaf, "Building Wave....", 3224);
}
