// Tarn_IV_PLUS with three-phase sensors. No transform.
#include "tests/waves/line_table.h"

namespace {

class WaveTarn4pCcd4710 : public WaveLineTest {};
class WaveTarn4pCcd4720 : public WaveLineTest {};
class WaveTarn4pCcd4240 : public WaveLineTest {};

// P 10 in all three.
const LineTable Ccd4710 = {
    .start = "0",
    .repeat = "144 152x2 184x20 248x10 216x10 1240x10 1176x20 152",
    .settle = "16 256",
    .first = "8 24 144 272 256",
    .other = "8 24 16 272 256",
    .notLast = "264 8",
    .last = "264 10",
    .outside = "8 24 144 272 256",
    .end = "0",
};

const LineTable Ccd4720 = {
    .start = "0",
    .repeat = "136 152x2 184x20 248x10 216x10 1240x10 1176x20 152 136",
    .settle = "256",
    .first = "16 136 256 272",
    .other = "16 8 256 272",
    .notLast = "",
    .last = "18",
    .outside = "16 136 256",
    .end = "0",
};

const LineTable Ccd4240 = {
    .start = "0",
    .repeat = "144 152x2 1176x80 1208x10 184x20 248x10 216x20 1240x10 1176x20 152x6",
    .settle = "16 768",
    .first = "8 144 144 768",
    .other = "8 16 16 768",
    .notLast = "8",
    .last = "8 10",
    .outside = "8 144 768",
    .end = "0",
};

LineTable Rows(LineTable table, const std::string& repeat)
{
    table.repeat = repeat;
    return table;
}

} // namespace

TEST_F(WaveTarn4pCcd4710, SectionsReadAsTheTable)
{
    FitWaveSensor({.platform = 25, .sensor = 125});
    ExpectCountedLines(BuildWaveTarn4pCcd4710, Ccd4710, 1);
    ExpectCountedLines(BuildWaveTarn4pCcd4710, Ccd4710, 3);
    EXPECT_EQ(Idle(), "0");
    EXPECT_EQ(Row(), "144 152x2 184x20 248x10 216x10 1240x10 1176x20 152");
    EXPECT_EQ(Pixel(), "8 24 144 272 256 0");
}

TEST_F(WaveTarn4pCcd4710, TruncatesItsPeriodAndATenthOfIt)
{
    FitWaveSensor({.platform = 25, .sensor = 125, .tick = 0.7}); // P 7, P / 10 is 0
    const std::string row = "144 152x2 184x14 248x7 216x7 1240x7 1176x14";
    ExpectCountedLines(BuildWaveTarn4pCcd4710, Rows(Ccd4710, row), 2);
    EXPECT_EQ(Row(), row);
    FitWaveSensor({.platform = 25, .sensor = 125, .tick = 6.0}); // P 1
    ExpectCountedLines(BuildWaveTarn4pCcd4710, Rows(Ccd4710, "144 152x2 184x2 248 216 1240 1176x2"),
                       2);
    FitWaveSensor({.platform = 25, .sensor = 125, .tick = 0.25, .period = 9}); // P 36
    ASSERT_EQ(Build(BuildWaveTarn4pCcd4710, {}), 0);
    EXPECT_EQ(Row(), "144 152x2 184x72 248x36 216x36 1240x36 1176x72 152x3");
}

TEST_F(WaveTarn4pCcd4710, OverflowsAt65535Words)
{
    // 252 pages for the line of 4 + 74 a row: 871 rows are 64458 of 64512 words.
    FitWaveSensor({.platform = 25, .sensor = 125});
    ExpectWriter(BuildWaveTarn4pCcd4710, "Build Sequencer Data", 871);
}

TEST_F(WaveTarn4pCcd4720, SectionsReadAsTheTable)
{
    // 5 / 3 is 1, which is 2 ticks.
    FitWaveSensor({.platform = 25, .sensor = 128});
    ExpectCountedLines(BuildWaveTarn4pCcd4720, Ccd4720, 1);
    ExpectCountedLines(BuildWaveTarn4pCcd4720, Ccd4720, 3);
    EXPECT_EQ(Idle(), "0");
    EXPECT_EQ(Row(), "0 144 152x2 184x20 248x10 216x10 1240x10 1176x20 152 144 0");
    EXPECT_EQ(Pixel(), "16 136 256");
    EXPECT_EQ(Steps(path, ExtraA), "2080x200 6240x2 4160x10 13376x2 9216x10 11296x2");
    EXPECT_EQ(Steps(path, ExtraB), "2080x2 6240 4160x2 13376 9216x2");
}

TEST_F(WaveTarn4pCcd4720, TruncatesAThirdOfItsPeriodAheadOfTheTick)
{
    // 1 / 0.7 is 1.4, and half of it nothing; 7 / 4 is 1 and 7 / 10 is 0.
    FitWaveSensor({.platform = 25, .sensor = 128, .tick = 0.7});
    ExpectCountedLines(BuildWaveTarn4pCcd4720,
                       Rows(Ccd4720, "136 152 184x14 248x7 216x7 1240x7 1176x14 136"), 2);
    EXPECT_EQ(Row(), "0 144 152 184x14 248x7 216x7 1240x7 1176x14 144 0");
    EXPECT_EQ(Steps(path, ExtraA), "2080x140 6240 4160x7 13376 9216x7 11296");
    EXPECT_EQ(Steps(path, ExtraB), "2080 4160 9216");
    // 8 / 3 is 2, which is 8 ticks; a third of 32 ticks would be 10.
    FitWaveSensor({.platform = 25, .sensor = 128, .tick = 0.25, .period = 8});
    ASSERT_EQ(Build(BuildWaveTarn4pCcd4720, {}), 0);
    EXPECT_EQ(Row(), "0 144 152x8 184x64 248x32 216x32 1240x32 1176x64 152x3 144 0");
    EXPECT_EQ(Steps(path, ExtraA), "2080x640 6240x8 4160x32 13376x8 9216x32 11296x8");
    EXPECT_EQ(Steps(path, ExtraB), "2080x8 6240x4 4160x8 13376x4 9216x8");
}

TEST_F(WaveTarn4pCcd4720, PhasesAreATickAtLeastAndTheirPartsNone)
{
    FitWaveSensor({.platform = 25, .sensor = 128, .tick = 6.0});
    ExpectCountedLines(BuildWaveTarn4pCcd4720,
                       Rows(Ccd4720, "136 152 184x2 248 216 1240 1176x2 136"), 2);
    EXPECT_EQ(Steps(path, ExtraA), "2080x20 4160 9216");
    EXPECT_EQ(Steps(path, ExtraB), "2080 4160 9216");
    // A third of 2 is 0, at any tick.
    FitWaveSensor({.platform = 25, .sensor = 128, .tick = 0.1, .period = 2});
    ASSERT_EQ(Build(BuildWaveTarn4pCcd4720, {}), 0);
    EXPECT_EQ(Steps(path, ExtraB), "2080 4160 9216");
}

TEST_F(WaveTarn4pCcd4720, ExtraSectionsStandBetweenLineAndPixelWithTheLastPairCrossed)
{
    FitWaveSensor({.platform = 25, .sensor = 128});
    ASSERT_EQ(Build(BuildWaveTarn4pCcd4720, {}), 0);
    // Row 2 + 2 + 20 + 30 + 20 + 3; line 1 + 75 + 1 + 4 x 3 + 8 x 5 + 1; A 226; B 8.
    const uint16_t wanted[12] = {0, 0, 256, 76, 1280, 2, 512, 129, 768, 225, 7, 1024};
    for (int i = 0; i < 12; ++i) EXPECT_EQ(record.SequenceTable[i], wanted[i]) << i;
    const std::vector<uint8_t> bytes = FileBytes(path);
    ASSERT_EQ(bytes.size(), 29u + 2 * 1536);
    EXPECT_EQ(bytes[21] | bytes[22] << 8, 768);
    EXPECT_EQ(bytes[23] | bytes[24] << 8, 225);
    EXPECT_EQ(bytes[25] | bytes[26] << 8, 1024);
    EXPECT_EQ(bytes[27] | bytes[28] << 8, 7);
}

TEST_F(WaveTarn4pCcd4720, TheOtherBuildersLeaveTheExtraEntriesAsTheyWere)
{
    FitWaveSensor({.platform = 25, .sensor = 128});
    ASSERT_EQ(Build(BuildWaveTarn4pCcd4720, {}), 0);
    ASSERT_EQ(Build(BuildWaveTarn4pCcd4710, {}), 0);
    EXPECT_EQ(record.SequenceTable[8], 768);
    EXPECT_EQ(record.SequenceTable[9], 225);
    EXPECT_EQ(record.SequenceTable[10], 7);
    EXPECT_EQ(record.SequenceTable[11], 1024);
    const std::vector<uint8_t> bytes = FileBytes(path);
    EXPECT_EQ(bytes[25] | bytes[26] << 8, 1024);
    EXPECT_EQ(bytes[27] | bytes[28] << 8, 7);
}

TEST_F(WaveTarn4pCcd4720, OverflowsAt65535Words)
{
    // Five other pages leave 250 for the line of 3 + 75 a row: 853 rows are 63978 of
    // 64000 words.
    FitWaveSensor({.platform = 25, .sensor = 128});
    ExpectWriter(BuildWaveTarn4pCcd4720, "Build Sequencer Data", 853);
}

TEST_F(WaveTarn4pCcd4240, SectionsReadAsTheTable)
{
    FitWaveSensor({.platform = 25, .sensor = 123});
    ExpectCountedLines(BuildWaveTarn4pCcd4240, Ccd4240, 1);
    ExpectCountedLines(BuildWaveTarn4pCcd4240, Ccd4240, 3);
    EXPECT_EQ(Idle(), "0");
    EXPECT_EQ(Row(), "144 152x2 1176x40 1208x10 184x10 248x10 216x10 1240x10 1176x10 128x6");
    EXPECT_EQ(Pixel(), "8 144 768 0");
}

TEST_F(WaveTarn4pCcd4240, TruncatesItsPeriodToOneTickAtLeast)
{
    FitWaveSensor({.platform = 25, .sensor = 123, .tick = 0.7});
    ExpectCountedLines(
        BuildWaveTarn4pCcd4240,
        Rows(Ccd4240, "144 152x2 1176x56 1208x7 184x14 248x7 216x14 1240x7 1176x14 152x6"), 2);
    EXPECT_EQ(Row(), "144 152x2 1176x28 1208x7 184x7 248x7 216x7 1240x7 1176x7 128x6");
    FitWaveSensor({.platform = 25, .sensor = 123, .tick = 6.0});
    ExpectCountedLines(BuildWaveTarn4pCcd4240,
                       Rows(Ccd4240, "144 152x2 1176x8 1208 184x2 248 216x2 1240 1176x2 152x6"), 2);
    EXPECT_EQ(Row(), "144 152x2 1176x4 1208 184 248 216 1240 1176 128x6");
}

TEST_F(WaveTarn4pCcd4240, OverflowsAt65535Words)
{
    // 4 + 179 a row: 360 rows are 64444 of 64512 words.
    FitWaveSensor({.platform = 25, .sensor = 123});
    ExpectWriter(BuildWaveTarn4pCcd4240, "Build Sequencer Data", 360);
}
