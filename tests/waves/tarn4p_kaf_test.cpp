// 16-bit words. Every word without 16 gets 8: 0, 2, 32 and 64 become 8, 10, 40 and
// 72; 8, 136 and the words with 16 stay.
#include "tests/support/wave_text.h"

namespace {

class WaveTarn4pKaf : public WaveTest {
protected:
    void SetUp() override
    {
        WaveTest::SetUp();
        FitWaveSensor({.platform = 25});
    }
};

class WaveTarn4pKaf16800 : public WaveTest {
protected:
    void SetUp() override
    {
        WaveTest::SetUp();
        FitWaveSensor({.platform = 25, .sensor = 290});
    }
};

const std::string Outside = "144 8 ";
const std::string Single = "16 144 8 10 ";
const std::string Pair = "16 144 8 16 10 "; // no 8 ahead of the 10 of a bin
const std::string Three = "16 144 8 16 8 16 10 ";
const std::string Shift = "40x10 72x10 40x10 8x10 ";

const std::string Outside16800 = "136 8 16x2 ";
const std::string Single16800 = "136 8 18 16x2 ";
const std::string Pair16800 = "136 8 16x3 8x2 18 16x2 ";
const std::string Three16800 = "136 8 16x3 8x2 16x3 8x2 18 16x2 ";
const std::string Shift16800 = "80x10 112x10 48x10 16x40 ";

} // namespace

TEST_F(WaveTarn4pKaf, SectionsReadAsTheTable)
{
    ASSERT_EQ(Build(BuildWaveTarn4pKaf, {}), 0);
    EXPECT_EQ(Idle(), "8");
    EXPECT_EQ(Row(), "8 40x10 72x10 40x10 8x10");
    EXPECT_EQ(Pixel(), "8 16 144 8");
    EXPECT_EQ(Line(),
              Folded(Shift + Times(2, Outside) + Times(8, Single) + Times(2, Outside) + "8"));
    EXPECT_EQ(ReadWaveFile(path).byteWords, 0u);
    EXPECT_EQ(Padding(path, IdleSection), "0x255");
}

TEST_F(WaveTarn4pKaf, TruncatesItsTimes)
{
    FitWaveSensor({.platform = 25, .tick = 0.7, .registerSize = 0});
    ASSERT_EQ(Build(BuildWaveTarn4pKaf, {.vbin = 2}), 0);
    EXPECT_EQ(Row(), "8 40x7 72x7 40x7 8x7");
    EXPECT_EQ(Line(), "40x7 72x7 40x7 8x7 40x7 72x7 40x7 8x8");
}

TEST_F(WaveTarn4pKaf, HoldsAPhaseForATickAtLeast)
{
    FitWaveSensor({.platform = 25, .tick = 6.0, .registerSize = 0});
    ASSERT_EQ(Build(BuildWaveTarn4pKaf, {.vbin = 2}), 0);
    EXPECT_EQ(Row(), "8 40 72 40 8");
    EXPECT_EQ(Line(), "40 72 40 8 40 72 40 8x2");
}

TEST_F(WaveTarn4pKaf, OnlyUnbinnedPixelsSettleAheadOfTheStrobe)
{
    ASSERT_EQ(Build(BuildWaveTarn4pKaf, {.width = 4, .hbin = 2}), 0);
    EXPECT_EQ(Line(), Folded(Shift + Times(2, Outside) + Times(4, Pair) + Times(2, Outside) + "8"));
}

TEST_F(WaveTarn4pKaf, WindowBeginsAtBinnedColumns)
{
    ASSERT_EQ(Build(BuildWaveTarn4pKaf, {.x = 1, .width = 2, .hbin = 3, .vbin = 3}), 0);
    EXPECT_EQ(Line(), Folded(Times(3, Shift) + Times(5, Outside) + Three + Three + Outside + "8"));
}

TEST_F(WaveTarn4pKaf, BinCutOffByTheRegisterGetsNoStrobeWhateverTheExtraCount)
{
    ASSERT_EQ(Build(BuildWaveTarn4pKaf, {.x = 2, .width = 2, .hbin = 3, .extraCount = 6}), 0);
    EXPECT_EQ(Line(), Folded(Shift + Times(8, Outside) + Three + "16 144 8 8"));
}

TEST_F(WaveTarn4pKaf, OverflowsBeyond65536Words)
{
    FitWaveSensor({.platform = 25, .registerSize = 0});
    ASSERT_EQ(Build(BuildWaveTarn4pKaf, {.vbin = 1619}), 0);
    EXPECT_EQ(LineLength(), 1619u * 40 + 1);
    EXPECT_EQ(Build(BuildWaveTarn4pKaf, {.vbin = 1620}), 8);
}

TEST_F(WaveTarn4pKaf16800, SectionsReadAsTheTable)
{
    ASSERT_EQ(Build(BuildWaveTarn4pKaf16800, {}), 0);
    EXPECT_EQ(Idle(), "8");
    EXPECT_EQ(Row(), "16x2 80x10 112x10 48x10 16x2"); // 10 / 8 and one more
    EXPECT_EQ(Pixel(), "16 136");
    EXPECT_EQ(Line(), Folded("16x2 " + Shift16800 + "16 " + Times(2, Outside16800) +
                             Times(8, Single16800) + Times(2, Outside16800) + "16"));
    EXPECT_EQ(ReadWaveFile(path).byteWords, 0u);
    EXPECT_EQ(Padding(path, PixelSection), "0x254");
}

TEST_F(WaveTarn4pKaf16800, TruncatesItsTimes)
{
    FitWaveSensor(
        {.platform = 25, .sensor = 290, .tick = 0.7, .registerSize = 0}); // 7; 7 / 8 is nothing
    ASSERT_EQ(Build(BuildWaveTarn4pKaf16800, {.vbin = 2}), 0);
    EXPECT_EQ(Row(), "16x2 80x7 112x7 48x7 16");
    EXPECT_EQ(Line(), "16x2 80x7 112x7 48x7 16x28 80x7 112x7 48x7 16x30");
}

TEST_F(WaveTarn4pKaf16800, HoldsAPhaseForATickAtLeast)
{
    FitWaveSensor({.platform = 25, .sensor = 290, .tick = 6.0, .registerSize = 0});
    ASSERT_EQ(Build(BuildWaveTarn4pKaf16800, {.vbin = 2}), 0);
    EXPECT_EQ(Row(), "16x2 80 112 48 16");
    EXPECT_EQ(Line(), "16x2 80 112 48 16x4 80 112 48 16x6");
}

TEST_F(WaveTarn4pKaf16800, WindowBeginsAtBinnedColumns)
{
    ASSERT_EQ(Build(BuildWaveTarn4pKaf16800, {.x = 1, .width = 2, .hbin = 3}), 0);
    EXPECT_EQ(Line(), Folded("16x2 " + Shift16800 + "16 " + Times(5, Outside16800) + Three16800 +
                             Three16800 + Outside16800 + "16"));
    ASSERT_EQ(Build(BuildWaveTarn4pKaf16800, {.x = 2, .width = 2, .hbin = 2, .vbin = 3}), 0);
    EXPECT_EQ(Line(), Folded("16x2 " + Times(3, Shift16800) + "16 " + Times(6, Outside16800) +
                             Pair16800 + Pair16800 + Times(2, Outside16800) + "16"));
}

TEST_F(WaveTarn4pKaf16800, BinCutOffByTheRegisterGetsNoStrobeWhateverTheExtraCount)
{
    ASSERT_EQ(Build(BuildWaveTarn4pKaf16800, {.x = 2, .width = 2, .hbin = 3, .extraCount = 6}), 0);
    EXPECT_EQ(Line(), Folded("16x2 " + Shift16800 + "16 " + Times(8, Outside16800) + Three16800 +
                             "136 8 16x3 16"));
}

TEST_F(WaveTarn4pKaf16800, OverflowsBeyond65536Words)
{
    // Rows of 3 x 10 + 40 words, and four words around them.
    FitWaveSensor({.platform = 25, .sensor = 290, .registerSize = 0});
    ASSERT_EQ(Build(BuildWaveTarn4pKaf16800, {.vbin = 925}), 0);
    EXPECT_EQ(LineLength(), 925u * 70 + 4);
    EXPECT_EQ(Build(BuildWaveTarn4pKaf16800, {.vbin = 926}), 8);
}
