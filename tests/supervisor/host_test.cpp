// Functions that the host has run by the worker: what they have set, exposed and loaded counts.
#include <cmath>
#include <cstdio>

#include "emulator/bus_camera.h"
#include "emulator/emulator.h"
#include "supervisor/library.h"
#include "tests/supervisor/usb_layer.h"
#include "tests/support/demo_camera.h"

namespace {

constexpr size_t Pixels = size_t{ImageColumns} * ImageRows;

std::vector<uint16_t> taken;   // a frame of the host's
std::vector<double> countdown; // told while it is exposed
double exposure;               // of it
std::vector<double> targets;   // that the layer has sent
int32_t clears;                // that the layer has asked for

class Host : public LayerTest {
protected:
    QvnsMetadata about = {};

    void SetUp() override
    {
        LayerTest::SetUp();
        taken.assign(Pixels, 0);
        countdown.clear();
        targets.clear();
        exposure = 0.0;
        clears = 0;
    }

    static int32_t Run(int32_t (*function)(int32_t camera, void* context))
    {
        return qvns_run(0, function, nullptr, 60.0, 0.0);
    }

    void Take(const QvnsExposure& request)
    {
        ASSERT_EQ(qvns_start_exposure(0, &request, nullptr), 0);
        ASSERT_EQ(qvns_wait(0, 0, 60.0), 0);
        ASSERT_EQ(qvns_fetch(0, 0, nullptr, 0, &about), 0);
    }

    static QvnsExposure Window()
    {
        QvnsExposure window = Light(0.1);
        window.X = window.Y = 1;
        window.Width = 4;
        window.Height = 2;
        return window;
    }
};

int32_t TakeFrame(int32_t camera, void*)
{
    QV_FGetCCD(1, exposure, taken.data(), camera);
    return QV_Status(camera);
}

// Its pattern must not be built: other cameras may be about to load theirs.
int32_t TakeFrameWithoutAFile(int32_t camera, void*)
{
    remove((DemoFolder() + "wave.bin").c_str());
    QV_FGetCCD(1, exposure, taken.data(), camera);
    FILE* const file = fopen((DemoFolder() + "wave.bin").c_str(), "rb");
    if (file != nullptr) fclose(file);
    return file != nullptr ? -1 : QV_Status(camera);
}

void NoteCountdown(int32_t, double left, void*)
{
    countdown.push_back(left);
}

void NoteTarget(double celsius, int32_t units, int32_t camera)
{
    targets.push_back(celsius);
    QV_SetTemp(celsius, units, camera);
}

void CountClear(int32_t camera)
{
    ++clears;
    QV_ClearCCD(camera);
}

int32_t SetColdTarget(int32_t camera, void*)
{
    QV_SetTemp(-30.0, QV_CELSIUS, camera);
    return 0;
}

} // namespace

TEST_F(Host, GainThatItSetsIsToldAndRestored)
{
    OpenCamera();
    ASSERT_EQ(Run([](int32_t camera, void*) { return QV_SetGain(2, camera); }), 0);
    Take(Light(0.1));
    EXPECT_EQ(about.Gain, 2);
    ASSERT_EQ(qvns_recover(0, 0.0), 0);
    EXPECT_EQ(QV_GetGain(0), 2);
    Take(Light(0.1));
    EXPECT_EQ(about.Gain, 2);
}

TEST_F(Host, GainOutsideOfTheTableHasNoFactor)
{
    OpenCamera();
    for (const int32_t gain : {-1, INT32_MIN, 4, INT32_MAX}) {
        ASSERT_EQ(qvns_run(
                      0,
                      [](int32_t camera, void* context) {
                          QV_SetGain(*static_cast<const int32_t*>(context), camera);
                          return 0;
                      },
                      const_cast<int32_t*>(&gain), 1.0, 0.0),
                  0);
        Take(Light(0.0));
        EXPECT_EQ(about.Gain, gain);
        EXPECT_EQ(about.GainFactor, 0.0) << gain;
    }
}

TEST_F(Host, OptionsThatItSetsAreToldAndRestored)
{
    OpenCamera(BriarCamera, QV_OPTION_KEEP_CLEAN | QV_OPTION_LIMIT_COOLER);
    ASSERT_EQ(Run([](int32_t camera, void*) {
                  QV_SetMode(QV_OPTION_CLEAR_WHILE_EXPOSING, 1, camera);
                  QV_SetMode(QV_OPTION_LIMIT_COOLER, 0, camera);
                  return 0;
              }),
              0);
    constexpr uint32_t Wanted = QV_OPTION_KEEP_CLEAN | QV_OPTION_CLEAR_WHILE_EXPOSING;
    Take(Light(0.1));
    EXPECT_EQ(about.Options, Wanted);
    ASSERT_EQ(qvns_recover(0, 0.0), 0);
    Take(Light(0.1));
    EXPECT_EQ(about.Options, Wanted);
    EXPECT_EQ(QV_GetMode(0), QV_OPTION_CLEAR_WHILE_EXPOSING);
}

// With the service in it, the next call of the library would wait for a timer that is not there.
TEST_F(Host, OptionsThatTheLayerKeepsAreTakenBack)
{
    OpenCamera();
    ASSERT_EQ(Run([](int32_t camera, void*) {
                  QV_SetMode(QV_OPTION_SERVICE | QV_OPTION_EXTERNAL_TRIGGER | QV_OPTION_SILENT, 1,
                             camera);
                  return 0;
              }),
              0);
    EXPECT_EQ(QV_GetMode(0), 0u);
    Take(Light(0.1));
    EXPECT_EQ(about.Options, 0u);
    EXPECT_EQ(StateOf(0).Percent, 100);
}

TEST_F(Host, CoolerThatItSwitchesOnIsToldAndCanBeSwitchedOff)
{
    OpenCamera();
    ASSERT_EQ(Run(SetColdTarget), 0);
    qvns_idle(5.0);
    Take(Light(0.1));
    EXPECT_EQ(about.CoolerOn, 1);
    EXPECT_TRUE(std::isnan(about.SetPoint));
    EXPECT_EQ(TemperatureOf(0).Mode, QVNS_COOLING_OFF);
    EXPECT_EQ(EmuBusCoolerOn(bus), true);
    ASSERT_EQ(qvns_cooler_off(0), 0);
    ASSERT_EQ(qvns_wait_stable(0, 10.0), 0);
    EXPECT_EQ(EmuBusCoolerOn(bus), false);
    Take(Light(0.1));
    EXPECT_EQ(about.CoolerOn, 0);
}

TEST_F(Host, SetPointOfTheLayerIsSentAgainBehindIt)
{
    Library.SetTemp = NoteTarget;
    OpenCamera();
    QvnsCooling cooling;
    qvns_init_cooling(&cooling);
    cooling.Target = 5.0;
    ASSERT_EQ(qvns_cool(0, &cooling), 0);
    qvns_idle(2.0);
    ASSERT_EQ(targets, std::vector<double>{5.0});
    ASSERT_EQ(Run(SetColdTarget), 0);
    qvns_idle(2.0);
    EXPECT_EQ(targets, (std::vector<double>{5.0, 5.0}));
    qvns_idle(10.0);
    EXPECT_EQ(targets.size(), 2u);
}

// Whoever takes back an off that has not come about yet wants the cooler on: its set point is not
// taken for one that the camera has.
TEST_F(Host, SetPointBehindAnOffIsSent)
{
    Library.SetTemp = NoteTarget;
    OpenCamera();
    qvns_idle(2.0);
    QvnsCooling cooling;
    qvns_init_cooling(&cooling);
    ASSERT_EQ(qvns_cooler_off(0), 0);
    ASSERT_EQ(qvns_cool(0, &cooling), 0);
    qvns_idle(2.0);
    EXPECT_EQ(targets, std::vector<double>{0.0});
    EXPECT_EQ(EmuBusCoolerOn(bus), true);
    ASSERT_EQ(qvns_cooler_off(0), 0);
    ASSERT_EQ(qvns_wait_stable(0, 10.0), 0);
    ASSERT_EQ(Run(SetColdTarget), 0);
    ASSERT_EQ(qvns_cooler_off(0), 0);
    ASSERT_EQ(qvns_cool(0, &cooling), 0);
    qvns_idle(10.0);
    EXPECT_EQ(targets, (std::vector<double>{0.0, 0.0}));
    EXPECT_EQ(EmuBusCoolerOn(bus), true);
}

TEST_F(Host, FrameBehindAWindowNeedsNoPattern)
{
    OpenCamera();
    Take(Window());
    EXPECT_EQ(Run(TakeFrameWithoutAFile), 0);
    EXPECT_EQ(taken, Expected(Full(BriarCamera, ReadRule::Lines, 1, 1), 0));
    Take(Window());
    EXPECT_EQ(about.Width, 4);
    Take(Light(0.1));
    EXPECT_EQ(about.Width, ImageColumns);
}

// 24 columns in bins of 2; the library by itself would shear it.
TEST_F(Host, FrameBehindABinnedWindowIsNotSheared)
{
    OpenCamera();
    QvnsExposure window = Window();
    window.HorBinning = window.VerBinning = 2;
    Take(window);
    EXPECT_EQ(Run(TakeFrame), 0);
    const std::vector<uint16_t> wanted = Expected(Full(BriarCamera, ReadRule::Lines, 2, 2), 0);
    taken.resize(wanted.size());
    EXPECT_EQ(taken, wanted);
}

TEST_F(Host, WithoutThePatternItIsNotRun)
{
    OpenCamera();
    Take(Window());
    ASSERT_EQ(qvns_set_path("/nowhere/at/all"), 0);
    EXPECT_EQ(Run(TakeFrame), QV_ERROR_PATTERN_FILE);
    EXPECT_EQ(taken, std::vector<uint16_t>(Pixels, 0));
}

TEST_F(Host, ChargeOfAFrameThatFailedIsClearedAway)
{
    OpenCamera();
    Take(Light(0.1));
    EmuBusMute(bus, 30);
    EXPECT_EQ(Run(TakeFrame), QV_ERROR_LINK_FAILURE);
    EmuBusMute(bus, 0xFFFFFFFF);
    Library.ClearCCD = CountClear;
    Take(Light(0.1));
    EXPECT_EQ(clears, 1);
    Take(Light(0.1));
    EXPECT_EQ(clears, 1);
}

// A report comes each 300 ms: of 3 seconds at most ten. The layer's own frame was of 50.
TEST_F(Host, CountdownTellsOfItsExposure)
{
    Plug(BriarCamera);
    QvnsOpen open = Request(BriarCamera);
    open.Countdown = NoteCountdown;
    ASSERT_EQ(qvns_open(0, &open), 0);
    Take(Light(50.0));
    countdown.clear();
    exposure = 3.0;
    const int32_t readings = TemperatureOf(0).Readings;
    EXPECT_EQ(Run(TakeFrame), 0);
    ASSERT_GE(countdown.size(), 7u);
    EXPECT_LE(countdown.size(), 10u);
    for (size_t i = 0; i < countdown.size(); ++i) {
        EXPECT_NEAR(countdown[i], 3.0 - 0.3 * static_cast<double>(i + 1), 0.15) << i;
    }
    // Ahead of its last second.
    const int32_t more = TemperatureOf(0).Readings - readings;
    EXPECT_GE(more, 3);
    EXPECT_LE(more, 5);
}

TEST_F(Host, TemperaturesAreLeftAloneInAShortExposure)
{
    OpenCamera();
    qvns_idle(1.0);
    exposure = 0.9;
    const int32_t readings = TemperatureOf(0).Readings;
    EXPECT_EQ(Run(TakeFrame), 0);
    EXPECT_LE(TemperatureOf(0).Readings, readings + 1); // one may be due ahead of it
}
