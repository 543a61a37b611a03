// Every word without 16 gets 8: 0 becomes 8 and 4 becomes 12, the others have it.
#include "tests/support/wave_text.h"

namespace {

class WaveTarn4Kaf : public WaveTest {
protected:
    void SetUp() override
    {
        WaveTest::SetUp();
        FitWaveSensor({.platform = 24});
    }
};

const std::string Outside = "144 16x4 8x6 ";
const std::string Single = "144 17x4 8x5 12 ";
const std::string Pair = "144 17x4 8 16 8x5 12 ";
const std::string Three = "144 17x4 8 16 8 16 8x5 12 ";
const std::string Shift = "40x10 72x10 40x10 8x10 ";

} // namespace

TEST_F(WaveTarn4Kaf, SectionsReadAsTheTable)
{
    ASSERT_EQ(Build(BuildWaveTarn4Kaf, {}), 0);
    EXPECT_EQ(Idle(), "8 12 8x28"); // 10 / 0.5 + 8
    EXPECT_EQ(Row(), "8 40x10 72x10 40x10 8x10");
    EXPECT_EQ(Pixel(), "8 16 144 8");
    EXPECT_EQ(Line(),
              Folded(Shift + Times(2, Outside) + Times(8, Single) + Times(2, Outside) + "8"));
    EXPECT_EQ(ReadWaveFile(path).byteWords, 1u);
    EXPECT_EQ(Padding(path, PixelSection), "0x252");
}

TEST_F(WaveTarn4Kaf, TruncatesItsTimes)
{
    FitWaveSensor({.platform = 24, .tick = 0.7, .registerSize = 0});
    ASSERT_EQ(Build(BuildWaveTarn4Kaf, {.vbin = 2}), 0);
    EXPECT_EQ(Idle(), "8 12 8x22");
    EXPECT_EQ(Row(), "8 40x7 72x7 40x7 8x7");
    EXPECT_EQ(Line(), "40x7 72x7 40x7 8x7 40x7 72x7 40x7 8x8");
}

TEST_F(WaveTarn4Kaf, HoldsAPhaseForATickAtLeastAndTheIdleStateForEight)
{
    FitWaveSensor({.platform = 24, .tick = 12.0, .registerSize = 0});
    ASSERT_EQ(Build(BuildWaveTarn4Kaf, {}), 0);
    EXPECT_EQ(Idle(), "8 12 8x8");
    EXPECT_EQ(Row(), "8 40 72 40 8");
    EXPECT_EQ(Line(), "40 72 40 8x2");
}

TEST_F(WaveTarn4Kaf, AllSensorsAreAlike)
{
    ASSERT_EQ(Build(BuildWaveTarn4Kaf, {.width = 4, .hbin = 2}), 0);
    const std::vector<uint8_t> common = FileBytes(path);
    for (int32_t sensor : {250, 260, 270, 275}) {
        FitWaveSensor({.platform = 24, .sensor = sensor});
        ASSERT_EQ(Build(BuildWaveTarn4Kaf, {.width = 4, .hbin = 2}), 0);
        EXPECT_EQ(FileBytes(path), common) << sensor;
    }
}

TEST_F(WaveTarn4Kaf, WindowBeginsAtBinnedColumns)
{
    ASSERT_EQ(Build(BuildWaveTarn4Kaf, {.x = 1, .width = 2, .hbin = 3}), 0);
    EXPECT_EQ(Line(), Folded(Shift + Times(5, Outside) + Three + Three + Outside + "8"));
    ASSERT_EQ(Build(BuildWaveTarn4Kaf, {.x = 2, .width = 2, .hbin = 2, .vbin = 3}), 0);
    EXPECT_EQ(Line(),
              Folded(Times(3, Shift) + Times(6, Outside) + Pair + Pair + Times(2, Outside) + "8"));
}

TEST_F(WaveTarn4Kaf, BinCutOffByTheRegisterGetsNoStrobeWhateverTheExtraCount)
{
    ASSERT_EQ(Build(BuildWaveTarn4Kaf, {.x = 2, .width = 2, .hbin = 3, .extraCount = 6}), 0);
    EXPECT_EQ(Line(), Folded(Shift + Times(8, Outside) + Three + "144 17x4 8 8"));
}

TEST_F(WaveTarn4Kaf, OverflowsBeyond65536Words)
{
    FitWaveSensor({.platform = 24, .registerSize = 0});
    ASSERT_EQ(Build(BuildWaveTarn4Kaf, {.vbin = 1619}), 0);
    EXPECT_EQ(LineLength(), 1619u * 40 + 1);
    EXPECT_EQ(Build(BuildWaveTarn4Kaf, {.vbin = 1620}), 8);
}
