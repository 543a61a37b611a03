// 16-bit words. Every word without 16 gets 8, then 260 is exchanged:
//   table   0    2    4    8    16   17   32   64   96  144
//   file   268  270  264  268  276  277  300  332  364  404
// and for sensor 270 it is 508:
//   file   500  502  496  500  492  493  468  436  404  364
#include "tests/support/wave_text.h"

namespace {

class WaveLarchKaf : public WaveTest {
protected:
    void SetUp() override
    {
        WaveTest::SetUp();
        FitWaveSensor({.platform = 30});
    }
};

class WaveLarchKaf4300 : public WaveTest {
protected:
    void SetUp() override
    {
        WaveTest::SetUp();
        FitWaveSensor({.platform = 30, .sensor = 281});
    }
};

const std::string Outside = "404 268 ";
const std::string Open = "276 268 ";
const std::string Single = "404 277 268 270 264 ";
const std::string Pair = "404 277 268x2 276 270 264 ";
const std::string Three = "404 277 268x2 276 268 276 270 264 ";
const std::string Shift = "300x10 332x10 300x10 268x2 "; // 10 / 5
const std::string Shift4300 = "300x10 364x10 332x10 364x10 300x10 268x2 ";

} // namespace

TEST_F(WaveLarchKaf, SectionsReadAsTheTable)
{
    ASSERT_EQ(Build(BuildWaveLarchKaf, {.extraCount = 6}), 0);
    EXPECT_EQ(Idle(), "268x2");
    EXPECT_EQ(Row(), "268 300x10 332x10 300x10 268x10");
    EXPECT_EQ(Pixel(), "276 404 268x2");
    EXPECT_EQ(Line(),
              Folded(Shift + Times(2, Outside) + Times(8, Single) + Times(8, Outside) + "268"));
    EXPECT_EQ(ReadWaveFile(path).byteWords, 0u);
}

TEST_F(WaveLarchKaf, PaddingIs260ForAllSensors)
{
    ASSERT_EQ(Build(BuildWaveLarchKaf, {}), 0);
    EXPECT_EQ(Padding(path, IdleSection), "260x254");
    EXPECT_EQ(Padding(path, PixelSection), "260x252");
    FitWaveSensor({.platform = 30, .sensor = 270});
    ASSERT_EQ(Build(BuildWaveLarchKaf, {}), 0);
    EXPECT_EQ(Padding(path, IdleSection), "260x254");
}

TEST_F(WaveLarchKaf, Sensor270HasAnotherPolarity)
{
    FitWaveSensor({.platform = 30, .sensor = 270, .registerSize = 5});
    ASSERT_EQ(Build(BuildWaveLarchKaf, {.x = 1, .width = 1, .hbin = 2}), 0);
    EXPECT_EQ(Idle(), "500x2");
    EXPECT_EQ(Row(), "500 468x10 436x10 468x10 500x10");
    EXPECT_EQ(Pixel(), "492 364 500x2");
    // 3 to 4: position 4 begins a bin, which ends with the window.
    EXPECT_EQ(Line(), "468x10 436x10 468x10 500x2 364 500 364 500 364 500 492 500 364 493 500 "
                      "502 496 500");
}

TEST_F(WaveLarchKaf, TruncatesItsTimes)
{
    FitWaveSensor({.platform = 30, .tick = 0.7, .registerSize = 0}); // 7, and 7 / 5 = 1
    ASSERT_EQ(Build(BuildWaveLarchKaf, {.vbin = 2}), 0);
    EXPECT_EQ(Row(), "268 300x7 332x7 300x7 268x7");
    EXPECT_EQ(Line(), "300x7 332x7 300x7 268 300x7 332x7 300x7 268x2");
}

TEST_F(WaveLarchKaf, HoldsAPhaseForATickAtLeast)
{
    FitWaveSensor({.platform = 30, .tick = 6.0, .registerSize = 0});
    ASSERT_EQ(Build(BuildWaveLarchKaf, {.vbin = 2}), 0);
    EXPECT_EQ(Row(), "268 300 332 300 268");
    EXPECT_EQ(Line(), "300 332 300x2 332 300 268");
}

TEST_F(WaveLarchKaf, WindowBeginsAtUnbinnedColumns)
{
    ASSERT_EQ(Build(BuildWaveLarchKaf, {.x = 1, .width = 2, .hbin = 3, .vbin = 3}), 0);
    EXPECT_EQ(Line(), Folded(Times(3, Shift) + Times(3, Outside) + Three + Three +
                             Times(3, Outside) + "268"));
}

TEST_F(WaveLarchKaf, BinsBeginAtMultiplesAndTheWindowsEndClosesThePartialOne)
{
    ASSERT_EQ(Build(BuildWaveLarchKaf, {.x = 0, .width = 2, .hbin = 3}), 0);
    EXPECT_EQ(Line(),
              Folded(Shift + Times(2, Outside) + Open + Three + Pair + Times(4, Outside) + "268"));
    ASSERT_EQ(Build(BuildWaveLarchKaf, {.x = 2, .width = 2, .hbin = 3}), 0);
    EXPECT_EQ(Line(), Folded(Shift + Times(4, Outside) + Times(2, Open) + Three + Single +
                             Times(2, Outside) + "268"));
}

TEST_F(WaveLarchKaf, BinCutOffByTheRegisterGetsNoStrobe)
{
    ASSERT_EQ(Build(BuildWaveLarchKaf, {.x = 7, .width = 2, .hbin = 3, .extraCount = 1}), 0);
    EXPECT_EQ(Line(), Folded(Shift + Times(9, Outside) + Three + "404 277 268x2 268"));
}

TEST_F(WaveLarchKaf, OverflowsBeyond65536Words)
{
    // 64768 words are left for the line: rows of 3 x 10 + 2 words, and one word.
    FitWaveSensor({.platform = 30, .registerSize = 0});
    ASSERT_EQ(Build(BuildWaveLarchKaf, {.vbin = 2023}), 0);
    EXPECT_EQ(LineLength(), 2023u * 32 + 1);
    EXPECT_EQ(FileSize(), 29u + 2 * 65536);
    EXPECT_EQ(Build(BuildWaveLarchKaf, {.vbin = 2024}), 8);
}

TEST_F(WaveLarchKaf4300, SectionsReadAsTheTable)
{
    ASSERT_EQ(Build(BuildWaveLarchKaf4300, {.extraCount = 6}), 0);
    EXPECT_EQ(Idle(), "268x2");
    EXPECT_EQ(Row(), "300x10 332x10 364x10 300x10 268x2"); // nothing stands ahead
    EXPECT_EQ(Pixel(), "276 404 268x2");
    EXPECT_EQ(Line(),
              Folded(Shift4300 + Times(2, Outside) + Times(8, Single) + Times(8, Outside) + "268"));
    EXPECT_EQ(ReadWaveFile(path).byteWords, 0u);
    EXPECT_EQ(Padding(path, IdleSection), "260x254");
}

TEST_F(WaveLarchKaf4300, TruncatesItsTimes)
{
    FitWaveSensor({.platform = 30, .sensor = 281, .tick = 0.7, .registerSize = 0});
    ASSERT_EQ(Build(BuildWaveLarchKaf4300, {.vbin = 2}), 0);
    EXPECT_EQ(Row(), "300x7 332x7 364x7 300x7 268");
    EXPECT_EQ(Line(), "300x7 364x7 332x7 364x7 300x7 268 300x7 364x7 332x7 364x7 300x7 268x2");
}

TEST_F(WaveLarchKaf4300, HoldsAPhaseForATickAtLeast)
{
    FitWaveSensor({.platform = 30, .sensor = 281, .tick = 6.0, .registerSize = 0});
    ASSERT_EQ(Build(BuildWaveLarchKaf4300, {.vbin = 2}), 0);
    EXPECT_EQ(Row(), "300 332 364 300");
    EXPECT_EQ(Line(), "300 364 332 364 300x2 364 332 364 300 268");
}

TEST_F(WaveLarchKaf4300, BinsAsTheOtherSensorsOfThePlatform)
{
    ASSERT_EQ(Build(BuildWaveLarchKaf4300, {.x = 0, .width = 2, .hbin = 3}), 0);
    EXPECT_EQ(Line(), Folded(Shift4300 + Times(2, Outside) + Open + Three + Pair +
                             Times(4, Outside) + "268"));
    ASSERT_EQ(Build(BuildWaveLarchKaf4300, {.x = 7, .width = 2, .hbin = 3, .extraCount = 1}), 0);
    EXPECT_EQ(Line(), Folded(Shift4300 + Times(9, Outside) + Three + "404 277 268x3"));
}

TEST_F(WaveLarchKaf4300, OverflowsBeyond65536Words)
{
    // Rows of 5 x 10 + 2 words, and one word.
    FitWaveSensor({.platform = 30, .sensor = 281, .registerSize = 0});
    ASSERT_EQ(Build(BuildWaveLarchKaf4300, {.vbin = 1245}), 0);
    EXPECT_EQ(LineLength(), 1245u * 52 + 1);
    EXPECT_EQ(Build(BuildWaveLarchKaf4300, {.vbin = 1246}), 8);
}
