// The sensors with 13 clock lines on Tarn_IV and SEP. The file's words are the
// table's with XOR 0x1FE4 for sensor 2000 and 0x1FDC for the others:
//
//   0: 8164 / 8156    512: 7652 / 7644    3584: 4580 / 4572    3072: 5092 / 5084
//   3136: 5028 / 5020    64: 8100 / 8092    4: 8160 / 8152    16: 8180 / 8140
//   4272: 3924 / 3948    4153: 4061 / 4069    4152: 4060 / 4068    4136: 4044 / 4084
//   4144: 4052 / 4076    8: 8172 / 8148    10: 8174 / 8150    2: 8166 / 8158
//   4137: 4045 / 4085    4104: - / 4052    4232: - / 3924    50: - / 8174
//   48: - / 8172    18: - / 8142
#include "tests/waves/line_table.h"

namespace {

class WaveTarn4Ccd442 : public WaveLineTest {};
class WaveSepCcd442 : public WaveLineTest {};
class WaveSepCcd485 : public WaveLineTest {};

// P 10.
const LineTable Tarn4 = {
    .start = "8164",
    .repeat = "8164 7652x9 4580 5092x8 5028 8100x9",
    .settle = "8164x5",
    .first = "8180 3924 4061x8 4045x2 8172x2",
    .other = "8180 4052 4060x2 4044x3 8172x3",
    .notLast = "8164",
    .last = "8160",
    .outside = "8180 3924 4060 4044 8172 8164",
    .end = "8164",
};

LineTable SepOf2000()
{
    LineTable table = Tarn4;
    table.first = "8180 3924 4061 4044 8174 8166";
    table.other = "8180 4052 4060 4044 8174 8166";
    return table;
}

const LineTable SepOf2001 = {
    .start = "8156",
    .repeat = "8156 7644x9 4572 5084x8 5020 8092x9",
    .settle = "8156x5",
    .first = "8140 3948 4069 4084 8150 8158",
    .other = "8140 4076 4068 4084 8150 8158",
    .notLast = "8156",
    .last = "8152",
    .outside = "8140 3948 4068 4084 8148 8156",
    .end = "8156",
};

LineTable SepOf2005()
{
    LineTable table = SepOf2001;
    table.first = "3924 4085 4068 8174 8142 8156";
    table.other = "4052 4084 4068 8174 8142 8156";
    table.outside = "3924 4084 4068 8172 8140 8156";
    return table;
}

LineTable Rows(LineTable table, const std::string& repeat, const std::string& settle)
{
    table.repeat = repeat;
    table.settle = settle;
    return table;
}

} // namespace

TEST_F(WaveTarn4Ccd442, SectionsReadAsTheTable)
{
    FitWaveSensor({.platform = 24, .sensor = 2000});
    ExpectPlacedLines(BuildWaveTarn4Ccd442, Tarn4, 1);
    ExpectPlacedLines(BuildWaveTarn4Ccd442, Tarn4, 3);
    EXPECT_EQ(Idle(), "8164 8160 8164x28");
    EXPECT_EQ(Row(), "8164 7652x9 4580 5092x8 5028 8100x9 8164");
    EXPECT_EQ(Pixel(), "8164 8180 3924 4060 4044 8172");
}

TEST_F(WaveTarn4Ccd442, OtherSensorsHaveAnotherPolarity)
{
    FitWaveSensor({.platform = 24, .sensor = 2001});
    LineTable table = SepOf2001;
    table.first = "8140 3948 4069x8 4085x2 8148x2";
    table.other = "8140 4076 4068x2 4084x3 8148x3";
    ExpectPlacedLines(BuildWaveTarn4Ccd442, table, 2);
    EXPECT_EQ(Idle(), "8156 8152 8156x28");
    EXPECT_EQ(Row(), "8156 7644x9 4572 5084x8 5020 8092x9 8156");
    EXPECT_EQ(Pixel(), "8156 8140 3948 4068 4084 8148");
}

TEST_F(WaveTarn4Ccd442, PadsWith28WhichIsNotItsIdleLevel)
{
    FitWaveSensor({.platform = 24, .sensor = 2000});
    ASSERT_EQ(Build(BuildWaveTarn4Ccd442, {}), 0);
    EXPECT_EQ(Padding(path, IdleSection), "28x226");
    EXPECT_EQ(Padding(path, RowSection), "28x226"); // 1 + 9 + 1 + 8 + 1 + 9 + 1
    EXPECT_EQ(Padding(path, PixelSection), "28x250");
    FitWaveSensor({.platform = 24, .sensor = 2001});
    ASSERT_EQ(Build(BuildWaveTarn4Ccd442, {}), 0);
    EXPECT_EQ(Padding(path, PixelSection), "28x250");
}

TEST_F(WaveTarn4Ccd442, TruncatesItsTimesToTwoTicksAtLeast)
{
    FitWaveSensor({.platform = 24, .sensor = 2000, .tick = 0.7}); // P 7
    ExpectPlacedLines(BuildWaveTarn4Ccd442,
                      Rows(Tarn4, "8164 7652x6 4580 5092x5 5028 8100x6", "8164x3"), 2);
    EXPECT_EQ(Idle(), "8164 8160 8164x22");
    EXPECT_EQ(Row(), "8164 7652x6 4580 5092x5 5028 8100x6 8164");
    for (const double tick : {2.5, 4.0, 6.0}) { // 2, 1 and 0 ticks
        FitWaveSensor({.platform = 24, .sensor = 2000, .tick = tick});
        ExpectPlacedLines(BuildWaveTarn4Ccd442, Rows(Tarn4, "8164 7652 4580 5028 8100", "8164"), 2);
        EXPECT_EQ(Row(), "8164 7652 4580 5028 8100 8164");
    }
}

TEST_F(WaveTarn4Ccd442, OverflowsAt65535Words)
{
    // 252 pages for the line of 7 + 29 a row: 2224 rows are 64503 of 64512 words.
    FitWaveSensor({.platform = 24, .sensor = 2000});
    ExpectWriter(BuildWaveTarn4Ccd442, "Build Sequencer Data", 2224);
}

TEST_F(WaveSepCcd442, Sensor2000ReadsAsTheTable)
{
    FitWaveSensor({.platform = 80, .sensor = 2000});
    ExpectPlacedLines(BuildWaveSepCcd442, SepOf2000(), 1);
    ExpectPlacedLines(BuildWaveSepCcd442, SepOf2000(), 3);
    EXPECT_EQ(Idle(), "8164");
    EXPECT_EQ(Row(), "8164 7652x9 4580 5092x8 5028 8100x9 8164");
    EXPECT_EQ(Pixel(), "8164 8180 3924 4060 4044 8172");
    EXPECT_EQ(Padding(path, IdleSection), "28x255");
}

TEST_F(WaveSepCcd442, Sensor2001HasAnotherPolarity)
{
    FitWaveSensor({.platform = 80, .sensor = 2001});
    ExpectPlacedLines(BuildWaveSepCcd442, SepOf2001, 1);
    ExpectPlacedLines(BuildWaveSepCcd442, SepOf2001, 3);
    EXPECT_EQ(Idle(), "8156");
    EXPECT_EQ(Row(), "8156 7644x9 4572 5084x8 5020 8092x9 8156");
    EXPECT_EQ(Pixel(), "8156 8140 3948 4068 4084 8148");
    EXPECT_EQ(Padding(path, IdleSection), "28x255");
}

TEST_F(WaveSepCcd442, TruncatesItsTimesToTwoTicksAtLeast)
{
    FitWaveSensor({.platform = 80, .sensor = 2001, .tick = 0.7});
    ExpectPlacedLines(BuildWaveSepCcd442,
                      Rows(SepOf2001, "8156 7644x6 4572 5084x5 5020 8092x6", "8156x3"), 2);
    EXPECT_EQ(Row(), "8156 7644x6 4572 5084x5 5020 8092x6 8156");
    FitWaveSensor({.platform = 80, .sensor = 2001, .tick = 6.0});
    ExpectPlacedLines(BuildWaveSepCcd442, Rows(SepOf2001, "8156 7644 4572 5020 8092", "8156"), 2);
    EXPECT_EQ(Row(), "8156 7644 4572 5020 8092 8156");
}

TEST_F(WaveSepCcd442, AWindowOfUnalignedBinsConvertsOnceForEachOfItsPixels)
{
    FitWaveSensor({.platform = 80, .sensor = 2000, .dummyColumns = 5, .registerSize = 64});
    for (uint32_t x = 0; x < 8; ++x) {
        ASSERT_EQ(Build(BuildWaveSepCcd442, {.x = x, .width = 10, .hbin = 4}), 0);
        const std::string line = ' ' + Line() + ' ';
        int strobes = 0;
        for (size_t at = line.find(" 8160 "); at != std::string::npos;
             at = line.find(" 8160 ", at + 1)) {
            ++strobes;
        }
        EXPECT_EQ(strobes, 10) << x;
    }
}

TEST_F(WaveSepCcd442, OverflowsAt65535Words)
{
    FitWaveSensor({.platform = 80, .sensor = 2001});
    ExpectWriter(BuildWaveSepCcd442, "Build Sequencer Data", 2224);
}

TEST_F(WaveSepCcd485, SectionsReadAsTheTable)
{
    FitWaveSensor({.platform = 80, .sensor = 2005});
    ExpectPlacedLines(BuildWaveSepCcd485, SepOf2005(), 1);
    ExpectPlacedLines(BuildWaveSepCcd485, SepOf2005(), 3);
    EXPECT_EQ(Idle(), "8156");
    EXPECT_EQ(Row(), "8156 7644x9 4572 5084x8 5020 8092x9 8156");
    EXPECT_EQ(Pixel(), "8156 3924 4084 4068 8172 8140");
    EXPECT_EQ(Padding(path, IdleSection), "28x255");
}

TEST_F(WaveSepCcd485, TruncatesItsTimesToTwoTicksAtLeast)
{
    FitWaveSensor({.platform = 80, .sensor = 2005, .tick = 0.7});
    ExpectPlacedLines(BuildWaveSepCcd485,
                      Rows(SepOf2005(), "8156 7644x6 4572 5084x5 5020 8092x6", "8156x3"), 2);
    FitWaveSensor({.platform = 80, .sensor = 2005, .tick = 6.0});
    ExpectPlacedLines(BuildWaveSepCcd485, Rows(SepOf2005(), "8156 7644 4572 5020 8092", "8156"), 2);
    EXPECT_EQ(Row(), "8156 7644 4572 5020 8092 8156");
}

TEST_F(WaveSepCcd485, OverflowsAt65535Words)
{
    FitWaveSensor({.platform = 80, .sensor = 2005});
    ExpectWriter(BuildWaveSepCcd485, "Build Sequencer Data", 2224);
}
