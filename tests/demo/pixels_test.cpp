// The fast pixels against the plain ones: whole frames and the generator's state
// behind them.
#include <cmath>
#include <limits>
#include <thread>

#include "drivers/demo/demo_blocks.h"
#include "tests/demo/frame_run.h"

namespace {

constexpr double Infinity = std::numeric_limits<double>::infinity();
constexpr double NotANumber = std::numeric_limits<double>::quiet_NaN();

PlainDemoInputs Inputs(int32_t columns, int32_t rows, bool light)
{
    PlainDemoInputs inputs;
    inputs.image = RandomImage(columns, rows);
    inputs.xpix = columns;
    inputs.ypix = rows;
    inputs.light = light;
    inputs.exposure = 0.0009;
    inputs.gainFactor = 20.0;
    return inputs;
}

class DemoPixels : public FrameTest {};

TEST_F(DemoPixels, AreThePlainOnesOverExposuresGainsAndTemperatures)
{
    uint32_t state = 1;
    for (bool light : {false, true}) {
        PlainDemoInputs inputs = Inputs(37, 9, light);
        for (double exposure : {-1.0, 0.0, 1e-300, 1e-6, 0.0009, 0.05, 1.0, 30.0, 2000.0, 1e9}) {
            for (double factor : {1.0, 2.0, 5.0, 10.0, 20.0}) {
                for (double temperature :
                     {-60.0, 0.0, 19.875, 20.0, 25.9, 25.999999999, 26.0, 26.0000001, 30.0, 293.0,
                      Infinity, -Infinity, NotANumber}) {
                    inputs.exposure = exposure;
                    inputs.gainFactor = factor;
                    inputs.temperature = temperature;
                    ExpectPlainFrame(inputs, 37, 9, state);
                    state += 0x01234567;
                }
            }
        }
    }
}

TEST_F(DemoPixels, AreThePlainOnesOverBinnings)
{
    uint32_t state = 2;
    for (bool light : {false, true}) {
        PlainDemoInputs inputs = Inputs(67, 41, light);
        for (inputs.horBinning = 1; inputs.horBinning <= 4; ++inputs.horBinning) {
            for (inputs.verBinning = 1; inputs.verBinning <= 4; ++inputs.verBinning) {
                for (double exposure : {0.0, 0.0009, 0.01, 0.05, 0.3, 4.0}) {
                    for (double temperature : {-20.0, 20.0, 26.0, 30.0}) {
                        inputs.exposure = exposure;
                        inputs.temperature = temperature;
                        ExpectPlainFrame(inputs, 67 / inputs.horBinning, 41 / inputs.verBinning,
                                         state);
                        state += 0x01234567;
                    }
                }
            }
        }
    }
}

TEST_F(DemoPixels, AreThePlainOnesOverWindowsInsideAndOutsideTheSensor)
{
    uint32_t state = 3;
    PlainDemoInputs inputs = Inputs(53, 31, true);
    for (int32_t binning : {1, 2, 3}) {
        inputs.horBinning = binning;
        for (int32_t verBinning : {1, 2, 5}) {
            inputs.verBinning = verBinning;
            for (int32_t x : {-200, -7, 0, 1, 17, 40, 53, 400}) {
                for (int32_t y : {-40, -3, 0, 1, 11, 29, 31, 300}) {
                    inputs.originX = x;
                    inputs.originY = y;
                    ExpectPlainFrame(inputs, 24, 10, state);
                    state += 0x01234567;
                }
            }
        }
    }
}

TEST_F(DemoPixels, AreThePlainOnesInFramesWiderAndHigherThanTheSensor)
{
    PlainDemoInputs inputs = Inputs(21, 13, true);
    for (int32_t binning : {1, 2, 4}) {
        inputs.horBinning = binning;
        inputs.verBinning = binning;
        ExpectPlainFrame(inputs, 400, 40, 5);
    }
}

TEST_F(DemoPixels, AreThePlainOnesForEveryWidth)
{
    for (bool light : {false, true}) {
        PlainDemoInputs inputs = Inputs(300, 6, light);
        for (int32_t verBinning : {1, 2}) {
            inputs.verBinning = verBinning;
            for (int32_t width = 1; width <= 300; width += width < 40 ? 1 : 29) {
                ExpectPlainFrame(inputs, width, 3, static_cast<uint32_t>(width) * 77777);
            }
            for (int32_t width : {127, 128, 129, 255, 256, 257}) {
                ExpectPlainFrame(inputs, width, 3, static_cast<uint32_t>(width));
            }
        }
    }
}

// Every variance from next to nothing to where the formula takes over, so that
// the margin of the samples is tried at every size.
TEST_F(DemoPixels, AreThePlainOnesInLargeFramesOfAnyNoise)
{
    for (bool light : {false, true}) {
        PlainDemoInputs inputs = Inputs(512, 300, light);
        for (double exposure : {1e-7, 1e-4, 0.0009, 0.02, 0.9, 20.0, 240.0, 260.0}) {
            inputs.exposure = exposure;
            ExpectPlainFrame(inputs, 512, 300, static_cast<uint32_t>(exposure * 1e7));
        }
    }
}

TEST_F(DemoPixels, AreThePlainOnesAtBrightSignals)
{
    PlainDemoInputs inputs = Inputs(512, 200, true);
    inputs.gainFactor = 1.0;
    for (double exposure : {0.3, 0.99999, 1.0, 1.00001, 7.0}) {
        inputs.exposure = exposure;
        for (int32_t verBinning : {1, 2}) {
            inputs.verBinning = verBinning;
            ExpectPlainFrame(inputs, 512, 200 / verBinning, 99);
        }
    }
}

// Far past the last column: pixels that end in one value, slowly or at once, in
// two by turns (negative exposures above 26 degrees), or in none.
TEST_F(DemoPixels, AreThePlainOnesOverBinningsFarBeyondTheColumns)
{
    uint32_t state = 4;
    PlainDemoInputs inputs = Inputs(67, 9, true);
    inputs.gainFactor = 1.0;
    inputs.verBinning = 2;
    for (int32_t binning : {66, 67, 68, 135, 5000, 5001}) {
        inputs.horBinning = binning;
        for (double exposure :
             {-2.0, -1.0, -0.999, -0.5, 1e-6, 0.02, 0.5, 0.99, 0.9999, 1.0, 1.0001, 20.0, 2e4}) {
            for (double temperature : {-Infinity, 20.0, 25.99, 26.0, 30.0}) {
                inputs.exposure = exposure;
                inputs.temperature = temperature;
                ExpectPlainFrame(inputs, 5, 3, state);
                state += 0x01234567;
            }
        }
    }
}

TEST_F(DemoPixels, WithoutHorizontalBinningAreLeftAloneInLightFrames)
{
    PlainDemoInputs inputs = Inputs(20, 10, true);
    inputs.horBinning = 0;
    ExpectPlainFrame(inputs, 20, 10, 8);
    EXPECT_EQ(DriverFrame(inputs, 20, 10, 8).pixels, std::vector<uint16_t>(200, Untouched));
}

TEST_F(DemoPixels, OfASensorWithoutImageAreNoiseAlone)
{
    PlainDemoInputs inputs = Inputs(0, 0, true);
    for (int32_t verBinning : {1, 2}) {
        inputs.verBinning = verBinning;
        ExpectPlainFrame(inputs, 30, 20, 12);
    }
}

TEST_F(DemoPixels, AreReadInPlaceBothAtTheStartAndAtTheEndOfTheImage)
{
    PlainDemoInputs inputs = Inputs(160, 4, true);
    for (int32_t x : {0, 15, 16, 31, 32, 33}) {
        inputs.originX = x;
        ExpectPlainFrame(inputs, 128, 4, 21);
    }
}

TEST(DemoSamples, AreInErrorByLessThanTheirMargin)
{
    static NoiseTables tables;
    for (int32_t r = 0; r < DrawValues; ++r) {
        tables.amplitude[r] = static_cast<float>(std::sqrt(-2.0 * std::log(1.0 - r / 32767.1)));
        tables.direction[r] = static_cast<float>(std::cos(r * 0.00019175345 - 3.14));
    }
    for (const BlockKernels* kernels : {&PortableKernels, VectorKernels()}) {
        if (kernels == nullptr) continue;
        double worst = 0.0, largest = 0.0;
        uint32_t state = 1;
        for (int32_t block = 0; block < 20000; ++block) {
            float noise[BlockPixels];
            kernels->Draw(tables, state, 1.0f, BlockPixels, noise);
            for (float sample : noise) {
                const double a = std::sqrt(-2.0 * std::log(1.0 - DemoRandom(&state) / 32767.1));
                const double exact = a * std::cos(DemoRandom(&state) * 0.00019175345 - 3.14);
                worst = std::max(worst, std::fabs(sample - exact));
                largest = std::max(largest, std::fabs(exact));
            }
        }
        EXPECT_LT(worst, 1.0e-5); // of 1.5e-5
        EXPECT_GT(worst, 1.0e-7);
        EXPECT_LT(largest, 5.04);
    }
}

TEST(DemoPixelThreads, TwoFramesAtOnceAreWhatTheyAreAlone)
{
    std::vector<uint16_t> image = RandomImage(256, 64);
    DemoFrame frame = {};
    frame.source = image.data();
    frame.columns = 256;
    frame.rows = 64;
    frame.horBinning = 1;
    frame.verBinning = 1;
    frame.scale = 0.018;
    frame.light = true;
    std::vector<uint16_t> pixels[2];
    const auto run = [&](int32_t which) {
        DemoFrame own = frame;
        own.variance = which == 0 ? 3.6 : 400.0;
        uint32_t state = 5;
        pixels[which].resize(image.size());
        DemoRows(own, 0, 64, 256, pixels[which].data(), &state, nullptr);
    };
    std::thread other(run, 1);
    run(0);
    other.join();
    const std::vector<uint16_t> together[2] = {pixels[0], pixels[1]};
    run(0);
    run(1);
    EXPECT_EQ(pixels[0], together[0]);
    EXPECT_EQ(pixels[1], together[1]);
    EXPECT_NE(pixels[0], pixels[1]);
}

TEST(DemoGeneratorSteps, GiveTheKnownSequence)
{
    uint32_t state = 1;
    for (uint32_t expected : {41u, 18467u, 6334u, 26500u, 19169u, 15724u}) {
        EXPECT_EQ(DemoRandom(&state), expected);
    }
}

TEST(DemoGeneratorSteps, JumpAheadLandsWhereSingleStepsLead)
{
    uint32_t state = 0x80000123;
    for (uint64_t draws = 0; draws < 300; ++draws) {
        EXPECT_EQ(DemoJump(0x80000123, draws), state) << draws;
        DemoRandom(&state);
    }
    EXPECT_EQ(DemoJump(77, uint64_t{1} << 32), 77u); // its whole period
}

} // namespace
