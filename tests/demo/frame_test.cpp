// What a frame of the simulated camera is, by hand, and what its reading does.
#include <cmath>
#include <limits>

#include "core/options.h"
#include "core/record.h"
#include "drivers/demo/demo.h"
#include "emulator/emulator.h"
#include "platform/system.h"
#include "tests/demo/frame_run.h"
#include "tests/support/demo_camera.h"

namespace {

constexpr double Infinity = std::numeric_limits<double>::infinity();
using Pixels = std::vector<uint16_t>;

class DemoFormula : public FrameTest {};

TEST_F(DemoFormula, ExposureZeroGivesTheBiasInLightFrames)
{
    PlainDemoInputs inputs;
    inputs.image = RandomImage(16, 8);
    inputs.xpix = 16;
    inputs.ypix = 8;
    inputs.light = true;
    EXPECT_EQ(DriverFrame(inputs, 16, 8, 1).pixels, Pixels(128, 100));
}

TEST_F(DemoFormula, ExposureZeroGivesTheBiasInDarkFrames)
{
    EXPECT_EQ(DriverFrame(PlainDemoInputs(), 16, 8, 1).pixels, Pixels(128, 100));
}

TEST_F(DemoFormula, ExposureZeroStepsTheGeneratorAllTheSame)
{
    uint32_t state = 1;
    for (int32_t draw = 0; draw < 12; ++draw) DemoRandom(&state);
    EXPECT_EQ(DriverFrame(PlainDemoInputs(), 3, 2, 1).state, state);
}

// The draws after state 1 are 41, 18467, 6334, 26500, 19169, 15724, 11478, 29358.
// With V = 1e6 the samples are 146.07, -137.43, 1415.94 and -638.13.
TEST_F(DemoFormula, DarkPixelsAreTruncatedAndNegativeOnesWrap)
{
    PlainDemoInputs inputs;
    inputs.exposure = 250.0;
    inputs.gainFactor = 20.0;
    inputs.temperature = 20.0; // V = 250 x 20 / 1 x 200
    EXPECT_EQ(DriverFrame(inputs, 2, 2, 1).pixels, Pixels({146, 65536 - 137, 1415, 65536 - 638}));
}

// With V = 3.6 the samples are 100.09, 99.55, 102.50 and 98.60.
TEST_F(DemoFormula, NoiseGrowsWithExposureGainAndTemperature)
{
    PlainDemoInputs inputs;
    inputs.exposure = 0.0009;
    inputs.gainFactor = 20.0;
    EXPECT_EQ(DriverFrame(inputs, 2, 2, 1).pixels, Pixels({100, 99, 102, 98}));
    inputs.exposure = 0.0018;
    inputs.gainFactor = 10.0;
    EXPECT_EQ(DriverFrame(inputs, 2, 2, 1).pixels, Pixels({100, 99, 102, 98}));
    inputs.gainFactor = 20.0;
    inputs.temperature = 14.0; // twice as far from 26
    EXPECT_EQ(DriverFrame(inputs, 2, 2, 1).pixels, Pixels({100, 99, 102, 98}));
}

TEST_F(DemoFormula, AtTwentySixDegreesNoiseIsInfinite)
{
    PlainDemoInputs inputs;
    inputs.exposure = 1.0;
    inputs.temperature = 26.0;
    EXPECT_EQ(DriverFrame(inputs, 2, 2, 1).pixels, Pixels({0, 0, 0, 0}));
    // The cosines of the draws are positive, negative, positive, negative.
    inputs.light = true;
    EXPECT_EQ(DriverFrame(inputs, 2, 2, 1).pixels, Pixels({65535, 0, 65535, 0}));
}

TEST_F(DemoFormula, AboveTwentySixDegreesNoiseIsNoNumber)
{
    PlainDemoInputs inputs;
    inputs.exposure = 1.0;
    inputs.temperature = 30.0;
    for (bool light : {false, true}) {
        inputs.light = light;
        EXPECT_EQ(DriverFrame(inputs, 2, 2, 1).pixels, Pixels({0, 0, 0, 0}));
    }
}

TEST_F(DemoFormula, LightPixelsAreTheSourceTimesExposureAndGainAboveTheBias)
{
    PlainDemoInputs inputs = NoiselessInputs({0, 1, 7, 65535, 1000, 3}, 3, 2, 0.25);
    inputs.gainFactor = 2.0;
    EXPECT_EQ(DriverFrame(inputs, 3, 2, 1).pixels, Pixels({100, 100, 103, 32867, 600, 101}));
}

TEST_F(DemoFormula, SaturatedPixelsAreWhite)
{
    PlainDemoInputs inputs = NoiselessInputs({65435, 65434, 65436, 3277}, 4, 1, 1.0);
    EXPECT_EQ(DriverFrame(inputs, 4, 1, 1).pixels, Pixels({65535, 65534, 65535, 3377}));
    inputs.gainFactor = 20.0;
    EXPECT_EQ(DriverFrame(inputs, 4, 1, 1).pixels, Pixels({65535, 65535, 65535, 65535}));
}

TEST_F(DemoFormula, PixelsAreSinglePrecision)
{
    // 40000.9999 lies nearer to 40001 than to the float below, 40000.996.
    PlainDemoInputs inputs = NoiselessInputs({1}, 1, 1, 39900.9999);
    EXPECT_EQ(DriverFrame(inputs, 1, 1, 1).pixels, Pixels({40001}));
}

// 32699.998046 is rounded to 32700 - 1/512, a float, before 100 is added; the sum
// 32800 - 1/512 is half-way between 32800 and the float below, 32800 - 1/256, and
// goes to the even one. Unrounded the sum would lie below the middle: 32799.
TEST_F(DemoFormula, PixelsAreRoundedBeforeTheNoiseIsAddedAndAfter)
{
    const double signal = 32700.0 - 1.0 / 512.0 - 1e-6;
    PlainDemoInputs inputs = NoiselessInputs({1}, 1, 1, signal);
    EXPECT_EQ(DriverFrame(inputs, 1, 1, 1).pixels, Pixels({32800}));
    EXPECT_EQ(PlainFrame(inputs, 1, 1, 1).pixels, Pixels({32800}));
    inputs = NoiselessInputs({4}, 1, 1, signal / 4.0);
    EXPECT_EQ(DriverFrame(inputs, 1, 1, 1).pixels, Pixels({32800}));
}

TEST_F(DemoFormula, VerticalBinningSumsTheLines)
{
    const Pixels image = {1, 2, 3, 10, 20, 30, 100, 200, 300, 1000, 2000, 3000};
    PlainDemoInputs inputs = NoiselessInputs(image, 3, 4, 1.0);
    inputs.verBinning = 2;
    EXPECT_EQ(DriverFrame(inputs, 3, 2, 1).pixels, Pixels({111, 122, 133, 1200, 2300, 3400}));
    inputs.verBinning = 3; // the second row runs out of lines
    EXPECT_EQ(DriverFrame(inputs, 3, 2, 1).pixels, Pixels({211, 322, 433, 1100, 2100, 3100}));
}

TEST_F(DemoFormula, VerticalBinningOfTwoHasTwiceTheSignal)
{
    PlainDemoInputs inputs = NoiselessInputs(Pixels(64, 500), 8, 8, 1.0);
    EXPECT_EQ(DriverFrame(inputs, 8, 8, 1).pixels, Pixels(64, 100 + 500));
    inputs.verBinning = 2;
    EXPECT_EQ(DriverFrame(inputs, 8, 4, 1).pixels, Pixels(32, 100 + 2 * 500));
}

// The cursor advances within the loop over i, so output column k looks at 2k
// and then at 2k + 2, of which the last one stays.
TEST_F(DemoFormula, HorizontalBinningAloneShowsTheLastColumnLookedAt)
{
    const Pixels image = {10, 11, 12, 13, 14, 15, 16, 17, 20, 21, 22, 23, 24, 25, 26, 27};
    PlainDemoInputs inputs = NoiselessInputs(image, 8, 2, 1.0);
    inputs.horBinning = 2;
    EXPECT_EQ(DriverFrame(inputs, 4, 2, 1).pixels,
              Pixels({112, 114, 116, 120, 122, 124, 126, 100}));
    inputs.horBinning = 3; // 3k, 3k + 2, 3k + 4
    EXPECT_EQ(DriverFrame(inputs, 2, 2, 1).pixels, Pixels({114, 117, 124, 127}));
}

// Each step scales the sum so far and adds the noise again: the first column's
// pixel is (10 x 2 + 100 + 14) x 2 + 100.
TEST_F(DemoFormula, BinningBothWaysScalesAndAddsNoiseAtEachStep)
{
    const Pixels image = {1, 2, 3, 4, 9, 8, 11, 6};
    PlainDemoInputs inputs = NoiselessInputs(image, 4, 2, 2.0);
    inputs.horBinning = 2;
    inputs.verBinning = 2; // line sums 10, 10, 14, 10
    EXPECT_EQ(DriverFrame(inputs, 2, 1, 1).pixels, Pixels({368, (14 * 2 + 100 + 0) * 2 + 100}));
}

TEST_F(DemoFormula, StepsOfABinnedPixelSaturateOneByOne)
{
    // The first step's 70100 is cut to 65535 before it is halved: 35000 x 2 in
    // the first line sum, nothing in the second.
    const Pixels image = {35000, 0, 0, 0, 35000, 0, 0, 0};
    PlainDemoInputs inputs = NoiselessInputs(image, 4, 2, 1.0);
    inputs.horBinning = 2;
    inputs.verBinning = 2;
    EXPECT_EQ(DriverFrame(inputs, 1, 1, 1).pixels, Pixels({65535}));
    inputs.exposure = 0.95; // (min(66500 + 100, 65535)) x 0.95 + 100 = 62358.25
    EXPECT_EQ(DriverFrame(inputs, 1, 1, 1).pixels, Pixels({62358}));
}

TEST_F(DemoFormula, WindowStartsAtTheBuiltOrigin)
{
    Pixels image;
    for (uint16_t i = 0; i < 40; ++i) image.push_back(i);
    PlainDemoInputs inputs = NoiselessInputs(image, 8, 5, 1.0);
    inputs.originX = 3;
    inputs.originY = 2;
    EXPECT_EQ(DriverFrame(inputs, 2, 2, 1).pixels, Pixels({119, 120, 127, 128}));
    inputs.verBinning = 2;
    EXPECT_EQ(DriverFrame(inputs, 2, 1, 1).pixels, Pixels({100 + 19 + 27, 100 + 20 + 28}));
}

TEST_F(DemoFormula, DarkFramesDoNotLookAtTheSource)
{
    PlainDemoInputs inputs;
    inputs.exposure = 0.0009;
    inputs.gainFactor = 20.0;
    const Pixels without = DriverFrame(inputs, 20, 10, 3).pixels;
    inputs.image = RandomImage(20, 10);
    inputs.xpix = 20;
    inputs.ypix = 10;
    EXPECT_EQ(DriverFrame(inputs, 20, 10, 3).pixels, without);
}

TEST_F(DemoFormula, DarkFramesDrawOneSampleAPixelWhateverTheBinning)
{
    PlainDemoInputs inputs;
    inputs.exposure = 0.0009;
    inputs.gainFactor = 20.0;
    const FrameResult unbinned = DriverFrame(inputs, 20, 10, 3);
    inputs.horBinning = 3;
    inputs.verBinning = 2;
    const FrameResult binned = DriverFrame(inputs, 20, 10, 3);
    EXPECT_EQ(binned.pixels, unbinned.pixels);
    EXPECT_EQ(binned.state, unbinned.state);
}

TEST_F(DemoFormula, GainOutsideTheTableAmplifiesNothing)
{
    PlainDemoInputs inputs = NoiselessInputs({50}, 1, 1, 1.0);
    Pixels image = inputs.image;
    CameraRecord& record = CameraTable[0];
    record.CurrentTemperature = -Infinity;
    record.ExposureTime = 1.0;
    record.HorBinning = 1;
    for (int32_t index : {-1, 5, INT32_MAX, INT32_MIN}) {
        DemoImage[0] = {image.data(), 1, 1};
        record.GainIndex = index;
        uint16_t pixel = 0;
        EXPECT_EQ(record.Ops.ReadFrame(1, 1, 1, &pixel, 0), 0);
        EXPECT_EQ(pixel, 150);
        DemoImage[0] = {};
    }
}

TEST_F(DemoFormula, FramesOfNoSizeReadNothing)
{
    PlainDemoInputs inputs = NoiselessInputs({50}, 1, 1, 1.0);
    DriverFrame(inputs, 1, 1, 1);
    uint16_t pixel = Untouched;
    const uint32_t state = DemoGenerator;
    const CameraOps& ops = CameraTable[0].Ops;
    EXPECT_EQ(ops.ReadFrame(1, 0, 1, &pixel, 0), 0);
    EXPECT_EQ(ops.ReadFrame(1, 1, 0, &pixel, 0), 0);
    EXPECT_EQ(ops.ReadFrame(1, -5, 3, &pixel, 0), 0);
    EXPECT_EQ(ops.ReadFrame(1, 3, INT32_MIN, &pixel, 0), 0);
    EXPECT_EQ(ops.ReadFrame(1, 3, 3, nullptr, 0), 0);
    EXPECT_EQ(pixel, Untouched);
    EXPECT_EQ(DemoGenerator, state);
}

TEST_F(DemoFormula, WindowsAndBinningsOfAnySizeStayInsideTheImage)
{
    PlainDemoInputs inputs = NoiselessInputs(RandomImage(9, 7), 9, 7, 1.0);
    for (int32_t x : {INT32_MIN, -1, 8, INT32_MAX}) {
        for (int32_t y : {INT32_MIN, -1, 6, INT32_MAX}) {
            for (int32_t binning : {1, 7, 1000}) {
                inputs.originX = x;
                inputs.originY = y;
                inputs.horBinning = binning;
                inputs.verBinning = 1;
                DriverFrame(inputs, 20, 9, 1);
                inputs.verBinning = binning == 1000 ? INT32_MAX : binning;
                DriverFrame(inputs, 20, 9, 1);
            }
        }
    }
}

// Each of the two thousand million steps halves the pixel and adds the bias.
TEST_F(DemoFormula, LargestHorizontalBinningEndsPromptly)
{
    PlainDemoInputs inputs = NoiselessInputs(RandomImage(9, 8), 9, 8, 0.5);
    inputs.horBinning = INT32_MAX;
    inputs.verBinning = 2;
    EXPECT_EQ(DriverFrame(inputs, 200, 4, 1).pixels, Pixels(800, 200));
}

// A negative exposure takes a pixel to and fro between 0 and the bias. The steps
// of the first column are 0 while they look at pixels, 0, 2, 4, 6 and 8, and 100
// at first behind them; the other columns begin with 100.
TEST_F(DemoFormula, LargestHorizontalBinningEndsPromptlyByTurns)
{
    PlainDemoInputs inputs = NoiselessInputs(Pixels(72, 65535), 9, 8, -1.0);
    inputs.temperature = Infinity;
    inputs.verBinning = 2;
    inputs.horBinning = INT32_MAX;
    EXPECT_EQ(DriverFrame(inputs, 3, 1, 1).pixels, Pixels({0, 100, 100}));
    inputs.horBinning = INT32_MAX - 1;
    EXPECT_EQ(DriverFrame(inputs, 3, 1, 1).pixels, Pixels({100, 0, 0}));
}

TEST_F(DemoFormula, LargestHorizontalBinningEndsPromptlyWithoutANumber)
{
    PlainDemoInputs inputs = NoiselessInputs(RandomImage(9, 8), 9, 8, 0.5);
    inputs.temperature = 30.0;
    inputs.horBinning = INT32_MAX;
    inputs.verBinning = 2;
    EXPECT_EQ(DriverFrame(inputs, 3, 4, 1).pixels, Pixels(12, 0));
}

class DemoReading : public DemoTest {
protected:
    uint16_t frame[24 * 16] = {};
};

TEST_F(DemoReading, ExposureTakesRealTime)
{
    OpenDemo(0, 0);
    EmuSetTickCost(0);
    uint64_t before = EmuMicroseconds();
    QV_GetCCD(1, 0.25, frame, 0);
    EXPECT_EQ(EmuMicroseconds() - before, 260000u); // and 10 milliseconds of settling
    EmuSetTickCost(10);
    before = EmuMicroseconds();
    QV_GetCCD(0, 2.0, frame, 0);
    EXPECT_NEAR(static_cast<double>(EmuMicroseconds() - before), 2010000.0, 200.0);
}

TEST_F(DemoReading, ProgressIsReportedEverySixtyFourRows)
{
    OpenDemo(0, 0, TallSensor); // 8 by 200
    std::vector<uint16_t> tall(8 * 200);
    QV_GetCCD(1, 0.01, tall.data(), 0);
    ASSERT_EQ(QV_Status(0), 0);
    ASSERT_EQ(ProgressReports.size(), 5u);
    EXPECT_EQ(ProgressReports[0].text, "Image downloading");
    EXPECT_EQ(ProgressReports[0].percent, 0);
    const int32_t percents[] = {0, 32, 64, 96, 100}; // rows 64, 128 and 192 of 200
    for (size_t i = 1; i < 5; ++i) {
        EXPECT_FALSE(ProgressReports[i].hasText);
        EXPECT_EQ(ProgressReports[i].percent, percents[i]);
        EXPECT_EQ(ProgressReports[i].camera, 0);
    }
}

TEST_F(DemoReading, ProgressCountsRowsFromZero)
{
    OpenDemo(0, 0);
    std::vector<uint16_t> pixels(129);
    const auto reportsOf = [&](int32_t height) {
        ProgressReports.clear();
        CameraTable[0].Ops.ReadFrame(0, 1, height, pixels.data(), 0);
        std::vector<int32_t> percents;
        for (const ProgressReport& report : ProgressReports) percents.push_back(report.percent);
        return percents;
    };
    EXPECT_EQ(reportsOf(64), (std::vector<int32_t>{0, 100}));
    EXPECT_EQ(reportsOf(65), (std::vector<int32_t>{0, 98, 100}));
    EXPECT_EQ(reportsOf(128), (std::vector<int32_t>{0, 50, 100}));
    EXPECT_EQ(reportsOf(129), (std::vector<int32_t>{0, 49, 99, 100}));
}

TEST_F(DemoReading, TallFramesReportZeroPercentTwice)
{
    OpenDemo(0, 0);
    std::vector<uint16_t> pixels(6500);
    CameraTable[0].Ops.ReadFrame(0, 1, 6500, pixels.data(), 0);
    ASSERT_EQ(ProgressReports.size(), 103u);  // rows 64 to 6464
    EXPECT_EQ(ProgressReports[1].percent, 0); // 6400 / 6500
    EXPECT_EQ(ProgressReports[2].percent, 1);
    EXPECT_EQ(ProgressReports[101].percent, 99);
}

TEST_F(DemoReading, RowsReportedBeforeAreInTheBuffer)
{
    static std::vector<uint16_t> pixels;
    static std::vector<uint16_t> seen;
    OpenDemo(0, 0);
    pixels.assign(130, Untouched);
    seen.clear();
    const auto look = [](const char* text, int32_t percent, int32_t) {
        if (!text && percent < 100) seen = pixels;
    };
    QV_SetFunction(64, reinterpret_cast<void*>(static_cast<QvProgressCallback>(look)), 0);
    CameraTable[0].Ops.ReadFrame(0, 1, 129, pixels.data(), 0);
    ASSERT_EQ(seen.size(), 130u);
    EXPECT_NE(seen[128], Untouched);
    EXPECT_EQ(seen[129], Untouched);
}

TEST_F(DemoReading, SilentCamerasReportNothing)
{
    OpenDemo(0, OptionSilent, TallSensor);
    std::vector<uint16_t> tall(8 * 200);
    QV_GetCCD(1, 0.01, tall.data(), 0);
    EXPECT_EQ(QV_Status(0), 0);
    EXPECT_TRUE(ProgressReports.empty());
}

TEST_F(DemoReading, NeitherClearsTheSensorNorWaitsForATrigger)
{
    OpenDemo(0, OptionKeepClean | OptionExternalTrigger);
    EmuSetTickCost(0);
    const uint64_t before = EmuMicroseconds();
    QV_GetCCD(1, 0.0, frame, 0);
    EXPECT_EQ(QV_Status(0), 0);
    EXPECT_EQ(EmuMicroseconds() - before, 10000u);
}

TEST_F(DemoReading, BrokenExposureIsReadAsIfItHadBeenWhole)
{
    OpenDemo(0, 0);
    EmuSchedule(
        EmuMicroseconds() + 1'000'000, [](int32_t camera) { QV_BrkFlg(camera); }, 0);
    PlainDemoInputs inputs;
    inputs.exposure = 20.0;
    inputs.temperature = CameraTable[0].CurrentTemperature;
    const uint32_t state = DemoGenerator;
    const uint64_t before = EmuMicroseconds();
    QV_GetCCD(0, 20.0, frame, 0);
    EXPECT_NEAR(static_cast<double>(EmuMicroseconds() - before), 1'010'000.0, 200.0);
    EXPECT_EQ(Pixels(frame, frame + 24 * 16), PlainFrame(inputs, 24, 16, state).pixels);
}

TEST_F(DemoReading, WindowOfTheHostIsTheOneThatIsRead)
{
    OpenDemo(0, 0);
    CameraTable[0].CurrentTemperature = -Infinity;
    uint16_t window[4] = {};
    QV_GetWinCCD(1, 1.0, 5, 3, 2, 2, window, 0);
    EXPECT_EQ(QV_Status(0), 0);
    EXPECT_EQ(window[0], 100 + DemoFilePixel(5, 3));
    EXPECT_EQ(window[1], 100 + DemoFilePixel(6, 3));
    EXPECT_EQ(window[2], 100 + DemoFilePixel(5, 4));
    EXPECT_EQ(window[3], 100 + DemoFilePixel(6, 4));
}

TEST_F(DemoReading, ReadWindowIgnoresItsOriginForTheOneThatWasBuilt)
{
    OpenDemo(0, 0);
    CameraRecord& record = CameraTable[0];
    record.CurrentTemperature = -Infinity;
    record.ExposureTime = 1.0;
    uint16_t pixel = 0;
    EXPECT_EQ(record.Ops.ReadWindow(1, 9, 9, 1, 1, &pixel, 0), 0);
    EXPECT_EQ(pixel, 100 + DemoFilePixel(0, 0));
    record.WindowBuilt = 1;
    record.BuiltWindowX = 2;
    record.BuiltWindowY = 4;
    EXPECT_EQ(record.Ops.ReadWindow(1, 9, 9, 1, 1, &pixel, 0), 0);
    EXPECT_EQ(pixel, 100 + DemoFilePixel(2, 4));
}

TEST_F(DemoReading, LargestBinningOfTheHostEndsPromptly)
{
    OpenDemo(0, 0);
    CameraTable[0].CurrentTemperature = -Infinity;
    QV_SetBinning(INT32_MAX, 2, 0);
    QV_GetWinCCD(1, 0.5, 0, 0, 24, 8, frame, 0);
    EXPECT_EQ(QV_Status(0), 0);
    EXPECT_EQ(Pixels(frame, frame + 24 * 8), Pixels(24 * 8, 200));
}

TEST_F(DemoReading, AccumulatorIsReleasedAfterTheFrame)
{
    OpenDemo(0, 0);
    const size_t blocks = EmuLiveBlocks();
    QV_SetBinning(2, 2, 0);
    QV_GetCCD(1, 0.01, frame, 0);
    EXPECT_EQ(QV_Status(0), 0);
    EXPECT_EQ(EmuLiveBlocks(), blocks);
}

std::vector<float> LentMemory;

// Memory as a system hands it out that gives back what others have left.
void* LendUsedMemory(size_t bytes)
{
    LentMemory.assign(bytes / sizeof(float), std::numeric_limits<float>::quiet_NaN());
    return LentMemory.data();
}

TEST_F(DemoReading, AccumulatorStartsAtZeroAlsoWhereNoPixelLooks)
{
    OpenDemo(0, 0);
    QV_SetBinning(2, 2, 0);
    const MemoryApi memory = System.memory;
    System.memory = {LendUsedMemory, [](void*) {}};
    QV_GetWinCCD(1, 0.01, 0, 0, 2, 2, frame, 0); // columns 0, 2 and 4 of 24
    System.memory = memory;
    EXPECT_EQ(QV_Status(0), 0);
    ASSERT_EQ(LentMemory.size(), 24u);
    for (float sum : LentMemory) EXPECT_FALSE(std::isnan(sum));
    EXPECT_EQ(LentMemory[23], 0.0f);
}

TEST_F(DemoReading, WithoutMemoryForTheAccumulatorTheFrameFails)
{
    OpenDemo(0, 0);
    QV_SetBinning(1, 2, 0);
    frame[0] = Untouched;
    EmuFail(EmuAllocate, 1, false);
    QV_GetCCD(1, 0.01, frame, 0);
    EXPECT_EQ(QV_Status(0), 16);
    EXPECT_EQ(frame[0], Untouched);
}

TEST_F(DemoReading, PriorityIsRaisedWhileRowsAreRead)
{
    static uint32_t during, behind;
    OpenDemo(0, OptionPriority | OptionPortLibrary, TallSensor);
    const auto look = [](const char* text, int32_t percent, int32_t) {
        if (!text) (percent < 100 ? during : behind) = EmuPriorityClass();
    };
    QV_SetFunction(64, reinterpret_cast<void*>(static_cast<QvProgressCallback>(look)), 0);
    std::vector<uint16_t> tall(8 * 200);
    QV_GetCCD(1, 0.01, tall.data(), 0);
    EXPECT_EQ(during, 256u);
    EXPECT_EQ(behind, 32u);
}

TEST_F(DemoReading, ClosedCameraHasNoSource)
{
    OpenDemo(0, 0);
    CameraTable[0].CurrentTemperature = -Infinity;
    CameraTable[0].ExposureTime = 1.0;
    QV_Close(0);
    for (int32_t binning : {1, 2}) {
        CameraTable[0].VerBinning = binning;
        CameraTable[0].HorBinning = binning;
        uint16_t pixels[4] = {};
        EXPECT_EQ(CameraTable[0].Ops.ReadFrame(1, 2, 2, pixels, 0), 0);
        EXPECT_EQ(Pixels(pixels, pixels + 4), Pixels(4, binning == 1 ? 100 : 200));
    }
}

TEST_F(DemoReading, SensorThatChangesItsSizeKeepsTheImageOfItsOpen)
{
    OpenDemo(0, 0);
    CameraTable[0].CurrentTemperature = -Infinity;
    CameraTable[0].Ccd.Xpix = 30000;
    CameraTable[0].Ccd.Ypix = 30000;
    std::vector<uint16_t> pixels(100 * 40);
    CameraTable[0].ExposureTime = 1.0;
    EXPECT_EQ(CameraTable[0].Ops.ReadFrame(1, 100, 40, pixels.data(), 0), 0);
    EXPECT_EQ(pixels[0], 100 + DemoFilePixel(0, 0));
    EXPECT_EQ(pixels[24], 100 + DemoFilePixel(0, 1));
    EXPECT_EQ(pixels[39 * 100], 100);
}

} // namespace
