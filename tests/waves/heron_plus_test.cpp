// Reset 32, first strobe 1, horizontal clock 8, conversion 14, vertical 64 and 128
// with 8 held. No transform: the file holds the table's words.
#include "tests/support/wave_text.h"

namespace {

class WaveHeronPlus : public WaveTest {};

const std::string Outside = "32 0 8 8 ";
const std::string Single = "32 1 8 14 ";       // a pixel that is a bin of its own
const std::string Pair = "32 1 8 8 0 0 8 14 "; // two pixels
const std::string Three = "32 1 8 8 0 0 8 8 0 0 8 14 ";

} // namespace

TEST_F(WaveHeronPlus, SectionsReadAsTheTable)
{
    ASSERT_EQ(Build(BuildWaveHeronPlus, {}), 0);
    EXPECT_EQ(Idle(), "0");
    EXPECT_EQ(Row(), "8 72x10 136x10 72x10 8x10");
    EXPECT_EQ(Pixel(), "32 8x2 32");
    // 10 / 5 is 2; dummies at 0 and 1, the window from 2 to 9.
    EXPECT_EQ(Line(), Folded("0 8 72x10 136x10 72x10 8x2 " + Times(2, Outside) + " " +
                             Times(8, Single) + " " + Times(2, Outside) + " 8"));
}

TEST_F(WaveHeronPlus, TruncatesItsTimes)
{
    FitWaveSensor({.tick = 0.7, .registerSize = 0}); // P 7, P/5 1
    ASSERT_EQ(Build(BuildWaveHeronPlus, {.vbin = 2}), 0);
    EXPECT_EQ(Row(), "8 72x7 136x7 72x7 8x7");
    EXPECT_EQ(Line(), "0 8 72x7 136x7 72x7 8 72x7 136x7 72x7 8x2");
}

TEST_F(WaveHeronPlus, HoldsAPhaseForATickAtLeast)
{
    FitWaveSensor({.tick = 6.0, .registerSize = 0}); // P 0, so 1; P/5 writes nothing
    ASSERT_EQ(Build(BuildWaveHeronPlus, {.vbin = 2}), 0);
    EXPECT_EQ(Row(), "8 72 136 72 8");
    EXPECT_EQ(Line(), "0 8 72 136 72x2 136 72 8");
}

TEST_F(WaveHeronPlus, WholeSensorUnbinnedTakesFourWordsAPixelEndingIn14)
{
    FitWaveSensor({.dummyColumns = 0, .registerSize = 8});
    ASSERT_EQ(Build(BuildWaveHeronPlus, {}), 0);
    EXPECT_EQ(Line(), Folded("0 8 72x10 136x10 72x10 8x2 " + Times(8, Single) + " 8"));
    EXPECT_EQ(LineLength(), 2u + 32 + 8 * 4 + 1);
}

TEST_F(WaveHeronPlus, AddsThePixelsOfABin)
{
    ASSERT_EQ(Build(BuildWaveHeronPlus, {.x = 1, .width = 2, .hbin = 3, .vbin = 1}), 0);
    // The window begins at 2 + 1 x 3.
    EXPECT_EQ(Line(), Folded("0 8 72x10 136x10 72x10 8x2 " + Times(5, Outside) + " " + Three +
                             Three + Outside + "8"));
    ASSERT_EQ(Build(BuildWaveHeronPlus, {.x = 0, .width = 4, .hbin = 2, .vbin = 3}), 0);
    EXPECT_EQ(Line(), Folded("0 8 " + Times(3, "72x10 136x10 72x10 8x2") + " " + Times(2, Outside) +
                             " " + Times(4, Pair) + " " + Times(2, Outside) + " 8"));
}

TEST_F(WaveHeronPlus, DropsABinThatTheRegisterCutsOff)
{
    // 2 + 2 x 3 = 8 to 13; the register ends behind 11.
    ASSERT_EQ(Build(BuildWaveHeronPlus, {.x = 2, .width = 2, .hbin = 3}), 0);
    EXPECT_EQ(Line(), Folded("0 8 72x10 136x10 72x10 8x2 " + Times(8, Outside) + " " + Three +
                             "32 1 8 8 8"));
}

TEST_F(WaveHeronPlus, DoesNotShiftBeyondTheRegister)
{
    ASSERT_EQ(Build(BuildWaveHeronPlus, {.extraCount = 6}), 0);
    EXPECT_EQ(LineLength(), 2u + 32 + 12 * 4 + 1);
}

TEST_F(WaveHeronPlus, OverflowsBeyond32767Words)
{
    // Idle, Row and Pixel take a page each; the line has 3 + 32 x vbin + 48 words,
    // and 124 pages are left below 32767: 31744 words, 991 rows and no more.
    FitWaveSensor({.registerSize = 0});
    ASSERT_EQ(Build(BuildWaveHeronPlus, {.vbin = 991}), 0);
    EXPECT_EQ(LineLength(), 3u + 32 * 991);
    EXPECT_EQ(FileSize(), 29u + 127 * 256);
    EXPECT_EQ(Build(BuildWaveHeronPlus, {.vbin = 992}), 8);
}
