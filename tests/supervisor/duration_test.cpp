// What a frame is expected to take, against what it takes of the virtual clock.
#include <cmath>

#include "emulator/emulator.h"
#include "tests/supervisor/layer.h"

namespace {

struct Case {
    const char* name;
    VirtualSetup setup;
};

class Durations : public LayerTest, public testing::WithParamInterface<Case> {
protected:
    // Within a fifth of the whole and a tenth of a second.
    void ExpectAsTold(const QvnsExposure& exposure)
    {
        QvnsDuration expected = {};
        ASSERT_EQ(qvns_expected(0, &exposure, &expected), 0);
        EXPECT_DOUBLE_EQ(expected.Total,
                         expected.Clear + expected.Load + expected.Exposure + expected.Readout);
        const double start = Now();
        ASSERT_EQ(qvns_start_exposure(0, &exposure, nullptr), 0);
        EXPECT_DOUBLE_EQ(StateOf(0).Expected, expected.Total);
        ASSERT_EQ(qvns_wait(0, 0, 600.0), 0);
        const double took = Now() - start;
        EXPECT_LE(std::fabs(took - expected.Total), 0.1 + 0.2 * took)
            << "clear " << expected.Clear << ", load " << expected.Load << ", exposure "
            << expected.Exposure << ", readout " << expected.Readout << "; took " << took;
        EXPECT_EQ(StateOf(0).OverTimes, 0);
    }
};

constexpr Case Cases[] = {
    {"LinesByDma", BriarCamera},
    {"WholeFrames", {42, 255, 2, "BuildWaveBriar", 200}},
    {"PrinterPort", {40, 255, 0, "BuildWaveBriar"}},
    {"PortCard", {22, 255, 1, "BuildWaveTarn3Kaf"}},
    {"PixelsOfTheCard", {24, 255, 2, "BuildWaveTarn4Kaf"}},
};

std::string NameOf(const testing::TestParamInfo<Case>& info)
{
    return info.param.name;
}

INSTANTIATE_TEST_SUITE_P(Links, Durations, testing::ValuesIn(Cases), NameOf);

} // namespace

TEST_P(Durations, FullFrame)
{
    OpenCamera(GetParam().setup);
    ExpectAsTold(Light(0.0));
    ExpectAsTold(Light(0.3));
    ExpectAsTold(Light(3.0));
}

TEST_P(Durations, BinnedFrameAndItsLoad)
{
    OpenCamera(GetParam().setup);
    QvnsExposure exposure = Light(0.1);
    exposure.HorBinning = exposure.VerBinning = 2;
    ExpectAsTold(exposure);
    ExpectAsTold(exposure);
}

TEST_P(Durations, WindowAndItsLoad)
{
    OpenCamera(GetParam().setup, QV_OPTION_KEEP_CLEAN);
    QvnsExposure exposure = Light(1.0);
    exposure.X = exposure.Y = 1;
    exposure.Width = 4;
    exposure.Height = 2;
    ExpectAsTold(exposure);
    ExpectAsTold(exposure);
}

TEST_F(LayerTest, LeftFallsToNothing)
{
    OpenCamera();
    const QvnsExposure exposure = Light(10.0);
    ASSERT_EQ(qvns_start_exposure(0, &exposure, nullptr), 0);
    const double whole = StateOf(0).Left;
    EXPECT_NEAR(whole, 10.0, 0.2);
    static double left, elapsed;
    EmuSchedule(
        EmuMicroseconds() + 4'000'000,
        [](int32_t) {
            left = StateOf(0).Left;
            elapsed = StateOf(0).Elapsed;
        },
        0);
    ASSERT_EQ(qvns_wait(0, 0, 60.0), 0);
    EXPECT_NEAR(left, 6.0, 0.2);
    EXPECT_NEAR(elapsed, 4.0, 0.2);
    EXPECT_EQ(StateOf(0).Left, 0.0);
}

TEST_F(LayerTest, ExpectedRefusesNonsense)
{
    OpenCamera();
    QvnsDuration duration = {};
    const QvnsExposure exposure = Light(1.0);
    const QvnsExposure negative = Light(-1.0);
    EXPECT_EQ(qvns_expected(0, nullptr, &duration), QVNS_ERROR_ARGUMENT);
    EXPECT_EQ(qvns_expected(0, &exposure, nullptr), QVNS_ERROR_ARGUMENT);
    EXPECT_EQ(qvns_expected(0, &negative, &duration), QVNS_ERROR_ARGUMENT);
    EXPECT_EQ(qvns_expected(8, &exposure, &duration), QVNS_ERROR_ARGUMENT);
    EXPECT_EQ(qvns_expected(1, &exposure, &duration), QVNS_ERROR_NOT_OPEN);
}
