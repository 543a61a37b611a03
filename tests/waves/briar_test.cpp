// Every word without 16 gets 8, then 248 is exchanged:
//   table   0    2    4    8    16   17   32   64   144
//   file   240  242  244  240  232  233  208  176  104
// and for sensor 250 it is 120:
//   file   112  114  116  112  104  105   80   48  232
#include "tests/support/wave_text.h"

namespace {

class WaveBriar : public WaveTest {
protected:
    void SetUp() override
    {
        WaveTest::SetUp();
        FitWaveSensor({.platform = 40});
    }
};

const std::string Outside = "104 240 ";
const std::string Single = "104 233 242 244 ";
const std::string Open = "232 240 "; // a pixel that neither begins nor ends a bin
const std::string Pair = "104 233 240 232 242 244 ";
const std::string Three = "104 233 240 232 240 232 242 244 ";
const std::string Shift = "208x10 176x10 208x10 240x2 "; // 10 / 5

} // namespace

TEST_F(WaveBriar, SectionsReadAsTheTable)
{
    ASSERT_EQ(Build(BuildWaveBriar, {.extraCount = 6}), 0);
    EXPECT_EQ(Idle(), "240");
    EXPECT_EQ(Row(), "240 208x10 176x10 208x10 240x10");
    EXPECT_EQ(Pixel(), "240 232 104 240");
    EXPECT_EQ(Line(),
              Folded(Shift + Times(2, Outside) + Times(8, Single) + Times(8, Outside) + "240"));
    EXPECT_EQ(ReadWaveFile(path).byteWords, 1u);
}

TEST_F(WaveBriar, PaddingIsNotTransformed)
{
    ASSERT_EQ(Build(BuildWaveBriar, {}), 0);
    EXPECT_EQ(Padding(path, IdleSection), "0x255");
    EXPECT_EQ(Padding(path, PixelSection), "0x252");
}

TEST_F(WaveBriar, TruncatesItsTimes)
{
    FitWaveSensor({.platform = 40, .tick = 0.7, .registerSize = 0}); // 7, and 7 / 5 = 1
    ASSERT_EQ(Build(BuildWaveBriar, {.vbin = 2}), 0);
    EXPECT_EQ(Row(), "240 208x7 176x7 208x7 240x7");
    EXPECT_EQ(Line(), "208x7 176x7 208x7 240 208x7 176x7 208x7 240x2");
}

TEST_F(WaveBriar, HoldsAPhaseForATickAtLeast)
{
    FitWaveSensor({.platform = 40, .tick = 6.0, .registerSize = 0});
    ASSERT_EQ(Build(BuildWaveBriar, {.vbin = 2}), 0);
    EXPECT_EQ(Row(), "240 208 176 208 240");
    EXPECT_EQ(Line(), "208 176 208x2 176 208 240");
}

TEST_F(WaveBriar, Sensor250HasItsOwnPolarityAndTimes)
{
    FitWaveSensor({.platform = 40, .sensor = 250});
    ASSERT_EQ(Build(BuildWaveBriar, {.width = 4, .hbin = 2, .vbin = 2}), 0);
    EXPECT_EQ(Idle(), "112");
    EXPECT_EQ(Row(), "112 80x10 48x10 80x10 112x10");
    EXPECT_EQ(Pixel(), "112 104 232 112");
    // First 144, 16, 17, 16; last 2, 0, 4; the end of a shift is 5 x 10 ticks.
    EXPECT_EQ(Line(), Folded(Times(2, "80x10 48x10 80x10 112x50 ") + Times(2, "232 112 ") +
                             Times(4, "232 104 105 104 112 104 114 112 116 ") +
                             Times(2, "232 112 ") + "112"));
    FitWaveSensor({.platform = 40, .sensor = 250, .tick = 6.0, .registerSize = 0});
    ASSERT_EQ(Build(BuildWaveBriar, {}), 0);
    EXPECT_EQ(Line(), "80 48 80 112x6");
}

TEST_F(WaveBriar, WindowBeginsAtUnbinnedColumns)
{
    // 2 + 1 = 3, a multiple of 3, to 8.
    ASSERT_EQ(Build(BuildWaveBriar, {.x = 1, .width = 2, .hbin = 3, .vbin = 3}), 0);
    EXPECT_EQ(Line(), Folded(Times(3, Shift) + Times(3, Outside) + Three + Three +
                             Times(3, Outside) + "240"));
    // 2 + 4 = 6 to 9.
    ASSERT_EQ(Build(BuildWaveBriar, {.x = 4, .width = 2, .hbin = 2}), 0);
    EXPECT_EQ(Line(), Folded(Shift + Times(6, Outside) + Pair + Pair + Times(2, Outside) + "240"));
}

TEST_F(WaveBriar, BinsBeginAtMultiplesAndTheWindowsEndClosesThePartialOne)
{
    // 2 to 7: bins begin at 3 and 6, the second is closed behind two pixels.
    ASSERT_EQ(Build(BuildWaveBriar, {.x = 0, .width = 2, .hbin = 3}), 0);
    EXPECT_EQ(Line(),
              Folded(Shift + Times(2, Outside) + Open + Three + Pair + Times(4, Outside) + "240"));
    // 4 to 9: bins begin at 6 and 9, the second is one pixel.
    ASSERT_EQ(Build(BuildWaveBriar, {.x = 2, .width = 2, .hbin = 3}), 0);
    EXPECT_EQ(Line(), Folded(Shift + Times(4, Outside) + Times(2, Open) + Three + Single +
                             Times(2, Outside) + "240"));
}

TEST_F(WaveBriar, BinCutOffByTheRegisterGetsNoStrobe)
{
    // 2 + 7 = 9 to 14; the register ends behind 11, and with an extra shift behind 12.
    ASSERT_EQ(Build(BuildWaveBriar, {.x = 7, .width = 2, .hbin = 3}), 0);
    EXPECT_EQ(Line(), Folded(Shift + Times(9, Outside) + Three + "240"));
    ASSERT_EQ(Build(BuildWaveBriar, {.x = 7, .width = 2, .hbin = 3, .extraCount = 1}), 0);
    EXPECT_EQ(Line(), Folded(Shift + Times(9, Outside) + Three + "104 233 240 240"));
}

TEST_F(WaveBriar, OverflowsBeyond65536Words)
{
    // 64768 words are left for the line: rows of 3 x 10 + 2 words, and one word.
    FitWaveSensor({.platform = 40, .registerSize = 0});
    ASSERT_EQ(Build(BuildWaveBriar, {.vbin = 2023}), 0);
    EXPECT_EQ(LineLength(), 2023u * 32 + 1);
    EXPECT_EQ(Build(BuildWaveBriar, {.vbin = 2024}), 8);
    FitWaveSensor({.platform = 40, .sensor = 250, .registerSize = 0}); // 3 x 10 + 50
    ASSERT_EQ(Build(BuildWaveBriar, {.vbin = 809}), 0);
    EXPECT_EQ(LineLength(), 809u * 80 + 1);
    EXPECT_EQ(Build(BuildWaveBriar, {.vbin = 810}), 8);
}
