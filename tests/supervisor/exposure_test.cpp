// Exposures that return at once: their states in order, their frames, what is told of them.
#include <cmath>

#include "emulator/bus_camera.h"
#include "emulator/emulator.h"
#include "tests/supervisor/usb_layer.h"
#include "tests/support/demo_camera.h"

namespace {

constexpr size_t Pixels = size_t{ImageColumns} * ImageRows;
constexpr VirtualSetup TarnCamera = {22, 255, 2, "BuildWaveTarn3Kaf"};

int32_t BusIndex;
int32_t finished; // result of the last qvns_finish
QvnsState midway;

class Exposures : public LayerTest {
protected:
    std::vector<uint16_t> pixels = std::vector<uint16_t>(Pixels, 0xAAAA);
    QvnsMetadata about = {};

    int32_t Fetch(uint32_t frame = 0)
    {
        return qvns_fetch(0, frame, pixels.data(), pixels.size(), &about);
    }

    // A frame that must arrive.
    void Take(const QvnsExposure& exposure)
    {
        ASSERT_EQ(qvns_start_exposure(0, &exposure, nullptr), 0);
        ASSERT_EQ(qvns_wait(0, 0, 60.0), 0);
        ASSERT_EQ(Fetch(), 0);
    }
};

using UsbExposures = UsbLayerTest;

void PullTheTrigger(int32_t)
{
    EmuBusTrigger(BusIndex, true);
}

void Finish()
{
    EXPECT_EQ(qvns_finish(0), 0);
}

void TryToFinish(int32_t)
{
    finished = qvns_finish(0);
}

void LookMidway(int32_t)
{
    midway = StateOf(0);
}

} // namespace

TEST_F(Exposures, StartReturnsAtOnceAndTheFrameComes)
{
    OpenCamera();
    const QvnsExposure exposure = Light(2.0);
    uint32_t frame = 0;
    const double start = Now();
    ASSERT_EQ(qvns_start_exposure(0, &exposure, &frame), 0);
    EXPECT_EQ(Now(), start);
    EXPECT_EQ(frame, 1u);
    EXPECT_EQ(qvns_ready(0, frame), 0);
    EXPECT_EQ(Fetch(frame), QVNS_ERROR_NO_FRAME);
    EXPECT_EQ(qvns_start_exposure(0, &exposure, nullptr), QVNS_ERROR_BUSY);
    ASSERT_EQ(qvns_wait(0, frame, 60.0), 0);
    EXPECT_GE(Now() - start, 2.0);
    EXPECT_EQ(qvns_ready(0, frame), 1);
    ASSERT_EQ(Fetch(frame), 0);
    EXPECT_EQ(pixels, Expected(Full(BriarCamera, ReadRule::Lines, 1, 1), 0));
}

TEST_F(Exposures, WaitThatIsTooShortLeavesTheFrameGoingOn)
{
    OpenCamera();
    const QvnsExposure exposure = Light(0.0);
    EXPECT_EQ(qvns_wait(0, 0, 1.0), QVNS_ERROR_NO_FRAME);
    QvnsExposure triggered = exposure;
    triggered.Trigger = 1;
    BusIndex = bus;
    ASSERT_EQ(qvns_start_exposure(0, &triggered, nullptr), 0);
    EXPECT_EQ(qvns_wait(0, 0, 3.0), QVNS_ERROR_TIME);
    EXPECT_EQ(StateOf(0).Frame, QVNS_FRAME_TRIGGER);
    PullTheTrigger(0);
    EXPECT_EQ(qvns_wait(0, 1, 3.0), 0);
    EXPECT_EQ(qvns_wait(0, 2, 3.0), QVNS_ERROR_NO_FRAME);
}

TEST_F(Exposures, StatesComeInTheirOrder)
{
    OpenCamera(BriarCamera, QV_OPTION_KEEP_CLEAN);
    BusIndex = bus;
    EmuSchedule(EmuMicroseconds() + 1'000'000, PullTheTrigger, 0);
    QvnsExposure exposure = Light(0.7);
    exposure.Trigger = 1;
    exposure.X = exposure.Y = 1;
    exposure.Width = 4;
    exposure.Height = 2;
    ASSERT_EQ(qvns_start_exposure(0, &exposure, nullptr), 0);
    WatchStates(10.0);
    ASSERT_EQ(qvns_wait(0, 0, 60.0), 0);
    const States wanted = {QVNS_FRAME_QUEUED,     QVNS_FRAME_CLEARING, QVNS_FRAME_TRIGGER,
                           QVNS_FRAME_LOADING,    QVNS_FRAME_EXPOSING, QVNS_FRAME_READING,
                           QVNS_FRAME_DOWNLOADING};
    EXPECT_EQ(SeenStates(), wanted);
    EXPECT_EQ(StateOf(0).Frame, QVNS_FRAME_READY);
    ASSERT_EQ(Fetch(), 0);
    EXPECT_EQ(about.Triggered, 1);
}

TEST_F(Exposures, TheSameGeometryIsNotLoadedAgain)
{
    OpenCamera();
    WatchStates(10.0);
    Take(Light(0.1));
    const States wanted = {QVNS_FRAME_NONE, QVNS_FRAME_QUEUED, QVNS_FRAME_EXPOSING,
                           QVNS_FRAME_READING, QVNS_FRAME_DOWNLOADING};
    EXPECT_EQ(SeenStates(), wanted);
}

// 24 columns and 16 rows in bins of 3 by 2 are 8 by 8; a window of 5 gives 4.
TEST_F(Exposures, MetadataTellTheWindowAsDelivered)
{
    OpenCamera();
    QvnsExposure exposure = Light(0.25);
    exposure.HorBinning = 3;
    exposure.VerBinning = 2;
    Take(exposure);
    EXPECT_EQ(about.Width, 8);
    EXPECT_EQ(about.Height, 8);
    EXPECT_EQ(about.HorBinning, 3);
    EXPECT_EQ(about.VerBinning, 2);
    exposure.HorBinning = exposure.VerBinning = 0;
    exposure.X = 2;
    exposure.Y = 3;
    exposure.Width = 5;
    exposure.Height = 4;
    Take(exposure);
    EXPECT_EQ(about.X, 2);
    EXPECT_EQ(about.Y, 3);
    EXPECT_EQ(about.Width, 4);
    EXPECT_EQ(about.Height, 4);
    EXPECT_EQ(about.HorBinning, 3);
    EXPECT_EQ(about.Frame, 2u);
}

TEST_F(Exposures, MetadataAreThoseOfTheStart)
{
    Plug(BriarCamera);
    EmuBusSetMemoryWord(bus, 7, 0);
    EmuBusSetMemoryWord(bus, 8, 4711);
    const QvnsOpen open = Request(BriarCamera, QV_OPTION_KEEP_CLEAN | QV_OPTION_LIMIT_COOLER);
    ASSERT_EQ(qvns_open(0, &open), 0);
    ASSERT_EQ(qvns_set_gain(0, 1, 0.0), 0);
    QvnsExposure exposure = Light(1.5);
    exposure.Light = 0;
    Take(exposure);
    EXPECT_EQ(about.Camera, 0);
    EXPECT_EQ(about.Platform, 42);
    EXPECT_EQ(about.Sensor, 255);
    EXPECT_EQ(about.Serial, StateOf(0).Serial);
    EXPECT_EQ(about.Light, 0);
    EXPECT_EQ(about.Gain, 1);
    EXPECT_EQ(about.Seconds, 1.5);
    EXPECT_EQ(about.Exposed, 1.5);
    EXPECT_EQ(about.Options, QV_OPTION_KEEP_CLEAN | QV_OPTION_LIMIT_COOLER);
    EXPECT_EQ(about.CoolerOn, 0);
    EXPECT_NEAR(about.TemperatureStart, 20.0, 0.5);
    EXPECT_NEAR(about.TemperatureEnd, 20.0, 0.5);
    EXPECT_GE(about.EndUnix - about.StartUnix, 1.5);
    EXPECT_LT(about.EndUnix - about.StartUnix, 2.0);
    EXPECT_GT(about.Took, about.EndUnix - about.StartUnix);
}

// FNV-1a of the file's bytes: 64 bits, begun with 14695981039346656037, times 1099511628211.
TEST_F(Exposures, HashIsThatOfThePatternAsLoaded)
{
    OpenCamera();
    Take(Light(0.0));
    const uint64_t full = about.PatternHash;
    QvnsExposure exposure = Light(0.0);
    exposure.Width = 4;
    exposure.Height = 2;
    Take(exposure);
    EXPECT_NE(about.PatternHash, full);
    FILE* file = fopen((DemoFolder() + "wave.bin").c_str(), "rb");
    ASSERT_NE(file, nullptr);
    uint64_t hash = 14695981039346656037ull;
    for (int byte = fgetc(file); byte != EOF; byte = fgetc(file)) {
        hash = (hash ^ static_cast<uint64_t>(byte)) * 1099511628211ull;
    }
    fclose(file);
    EXPECT_EQ(about.PatternHash, hash);
    Take(Light(0.0));
    EXPECT_EQ(about.PatternHash, full);
}

TEST_F(Exposures, FinishReadsTheFrameAndTellsTheTime)
{
    OpenCamera();
    const QvnsExposure exposure = Light(100.0);
    ASSERT_EQ(qvns_start_exposure(0, &exposure, nullptr), 0);
    EXPECT_EQ(qvns_finish(0), QVNS_ERROR_NO_FRAME);
    EmuSchedule(
        EmuMicroseconds() + 3'000'000, [](int32_t) { Finish(); }, 0);
    const double start = Now();
    ASSERT_EQ(qvns_wait(0, 0, 200.0), 0);
    EXPECT_LT(Now() - start, 4.0);
    ASSERT_EQ(Fetch(), 0);
    EXPECT_NEAR(about.Exposed, 3.0, 0.1);
    EXPECT_EQ(about.Seconds, 100.0);
}

// Its counter runs down whatever is asked, and would be started once more.
TEST_F(Exposures, LightOfTarnIsNotFinishedEarly)
{
    OpenCamera(TarnCamera);
    const uint32_t before = EmuBusExposures(bus);
    const QvnsExposure exposure = Light(10.0);
    ASSERT_EQ(qvns_start_exposure(0, &exposure, nullptr), 0);
    EmuSchedule(EmuMicroseconds() + 3'000'000, TryToFinish, 0);
    ASSERT_EQ(qvns_wait(0, 0, 60.0), 0);
    EXPECT_EQ(finished, QVNS_ERROR_NO_FRAME);
    EXPECT_EQ(EmuBusExposures(bus), before + 1);
    ASSERT_EQ(Fetch(), 0);
    EXPECT_EQ(about.Exposed, 10.0);
    EXPECT_NEAR(about.EndUnix - about.StartUnix, 10.0, 0.5);
}

TEST_F(Exposures, DarkOfTarnIsFinishedEarly)
{
    OpenCamera(TarnCamera);
    QvnsExposure exposure = Light(10.0);
    exposure.Light = 0;
    ASSERT_EQ(qvns_start_exposure(0, &exposure, nullptr), 0);
    EmuSchedule(EmuMicroseconds() + 3'000'000, TryToFinish, 0);
    ASSERT_EQ(qvns_wait(0, 0, 60.0), 0);
    EXPECT_EQ(finished, 0);
    ASSERT_EQ(Fetch(), 0);
    EXPECT_NEAR(about.Exposed, 3.0, 0.1);
}

TEST_F(Exposures, LightOfTarnThatIsBrokenOffCountsDownOnce)
{
    OpenCamera(TarnCamera);
    const double start = Now();
    const QvnsExposure exposure = Light(10.0);
    ASSERT_EQ(qvns_start_exposure(0, &exposure, nullptr), 0);
    WatchAsAThread(60.0);
    EmuSchedule(
        EmuMicroseconds() + 3'000'000, [](int32_t) { qvns_abort(0, 0.0); }, 0);
    EXPECT_EQ(qvns_wait(0, 0, 60.0), QVNS_ERROR_ABORTED);
    EXPECT_EQ(qvns_abort(0, 60.0), 0);
    EXPECT_NEAR(Now() - start, 10.0, 1.0);
}

// The readout stands still for two seconds.
TEST_F(Exposures, ElapsedStaysWhereTheExposureWasEnded)
{
    OpenCamera();
    EmuBusMute(bus, 30);
    const QvnsExposure exposure = Light(100.0);
    ASSERT_EQ(qvns_start_exposure(0, &exposure, nullptr), 0);
    EmuSchedule(EmuMicroseconds() + 3'000'000, TryToFinish, 0);
    EmuSchedule(EmuMicroseconds() + 4'500'000, LookMidway, 0);
    EXPECT_EQ(qvns_wait(0, 0, 60.0), QV_ERROR_LINK_FAILURE);
    EXPECT_EQ(midway.Work, QVNS_WORK_READ);
    EXPECT_NEAR(midway.Elapsed, 3.0, 0.1);
    EXPECT_LT(midway.Left, 1.0);
    EmuBusMute(bus, 0xFFFFFFFF);
}

TEST_F(Exposures, NumbersAreNotUsedAgainBehindAnotherOpen)
{
    OpenCamera();
    Take(Light(0.0));
    EXPECT_EQ(about.Frame, 1u);
    ASSERT_EQ(qvns_close(0, 0.0), 0);
    const QvnsOpen open = Request(BriarCamera);
    ASSERT_EQ(qvns_open(0, &open), 0);
    EXPECT_EQ(StateOf(0).FrameNumber, 0u);
    EXPECT_EQ(qvns_wait(0, 1, 1.0), QVNS_ERROR_NO_FRAME);
    Take(Light(0.0));
    EXPECT_EQ(about.Frame, 2u);
    EXPECT_EQ(qvns_fetch(0, 1, nullptr, 0, &about), QVNS_ERROR_NO_FRAME);
}

TEST_F(Exposures, TooSmallABufferIsToldAndLeftAlone)
{
    OpenCamera();
    Take(Light(0.0));
    std::vector<uint16_t> small(Pixels - 1, 0xAAAA);
    about = {};
    EXPECT_EQ(qvns_fetch(0, 0, small.data(), small.size(), &about), QVNS_ERROR_ROOM);
    EXPECT_EQ(small, std::vector<uint16_t>(Pixels - 1, 0xAAAA));
    EXPECT_EQ(about.Width, ImageColumns);
    EXPECT_EQ(qvns_fetch(0, 0, nullptr, 0, &about), 0);
}

TEST_F(Exposures, WindowsBesideTheSensorAreRefused)
{
    OpenCamera();
    struct Refused {
        int32_t x, y, width, height, bins;
    };
    constexpr Refused Windows[] = {
        {0, 0, 25, 1, 1}, {0, 0, 2, 17, 1}, {23, 0, 2, 1, 1},        {0, 16, 2, 1, 1},
        {-1, 0, 2, 1, 1}, {0, -1, 2, 1, 1}, {0, 0, 1, 1, 1},         {0, 0, 2, 0, 1},
        {0, 0, 2, -1, 1}, {0, 0, 13, 1, 2}, {INT32_MAX, 0, 2, 1, 1}, {0, INT32_MAX, 2, 2, 1},
        {5, 0, 0, 0, 1},  {0, 0, 0, 0, -1}, {0, 0, INT32_MAX, 1, 1}, {0, 0, 0, 0, INT32_MAX},
    };
    for (const Refused& window : Windows) {
        QvnsExposure exposure = Light(0.0);
        exposure.X = window.x;
        exposure.Y = window.y;
        exposure.Width = window.width;
        exposure.Height = window.height;
        exposure.HorBinning = exposure.VerBinning = window.bins;
        EXPECT_EQ(qvns_start_exposure(0, &exposure, nullptr), QVNS_ERROR_ARGUMENT)
            << window.x << ' ' << window.y << ' ' << window.width << ' ' << window.height;
    }
    for (const double seconds : {-0.1, std::nan(""), HUGE_VAL, 1e300}) {
        const QvnsExposure exposure = Light(seconds);
        EXPECT_EQ(qvns_start_exposure(0, &exposure, nullptr), QVNS_ERROR_ARGUMENT) << seconds;
    }
    EXPECT_EQ(StateOf(0).Frame, QVNS_FRAME_NONE);
}

// Such a frame would be read with the pattern before, and its status would tell nothing.
TEST_F(Exposures, PatternThatCannotBeBuiltFailsTheFrame)
{
    OpenCamera();
    Take(Light(0.0));
    ASSERT_EQ(qvns_set_path("/nowhere/at/all"), 0);
    QvnsExposure exposure = Light(0.1);
    exposure.Width = 4;
    exposure.Height = 2;
    ASSERT_EQ(qvns_start_exposure(0, &exposure, nullptr), 0);
    EXPECT_EQ(qvns_wait(0, 0, 60.0), QV_ERROR_PATTERN_FILE);
    EXPECT_EQ(StateOf(0).Frame, QVNS_FRAME_FAILED);
    EXPECT_EQ(StateOf(0).Camera, QVNS_CAMERA_OPEN);
    EXPECT_EQ(Fetch(), QVNS_ERROR_NO_FRAME);
    ASSERT_EQ(qvns_set_path(DemoFolder().c_str()), 0);
    Take(exposure);
    EXPECT_EQ(about.Width, 4);
    Take(Light(0.0));
    EXPECT_EQ(pixels, Expected(Full(BriarCamera, ReadRule::Lines, 1, 1), 0));
}

TEST_F(Exposures, TriggerThatDoesNotComeEndsWithItsLimitAndIsNamed)
{
    OpenCamera();
    QvnsExposure exposure = Light(0.1);
    exposure.Trigger = 1;
    exposure.TriggerLimit = 5.0;
    const double start = Now();
    ASSERT_EQ(qvns_start_exposure(0, &exposure, nullptr), 0);
    EXPECT_EQ(qvns_wait(0, 0, 0.0), QVNS_ERROR_OVER_TIME);
    EXPECT_NEAR(Now() - start, 5.0, 0.1);
    EXPECT_STREQ(StateOf(0).Wait, "the external trigger");
    EXPECT_EQ(StateOf(0).OverTimes, 1);
    EXPECT_EQ(StateOf(0).Camera, QVNS_CAMERA_OPEN);
    Take(Light(0.1));
}

// The camera starts by itself when it comes, and says nothing.
TEST_F(UsbExposures, TriggerThatCannotBePolledIsRefused)
{
    OpenCamera(HeronPlusCamera, QV_OPTION_EXTERNAL_TRIGGER);
    UsbSetup other = TolmECamera;
    other.camera = 1;
    OpenCamera(other);
    QvnsExposure exposure = Light(0.1);
    EXPECT_EQ(qvns_start_exposure(0, &exposure, nullptr), QVNS_ERROR_ARGUMENT);
    exposure.Trigger = 1;
    EXPECT_EQ(qvns_start_exposure(0, &exposure, nullptr), QVNS_ERROR_ARGUMENT);
    EXPECT_EQ(qvns_start_exposure(1, &exposure, nullptr), 0);
}

// A break starts the exposure counter anew, and with it the shutter.
TEST_F(Exposures, DarkFrameThatIsFinishedSeesNoLight)
{
    OpenCamera();
    QvnsExposure exposure = Light(10.0);
    exposure.Light = 0;
    EmuSchedule(
        EmuMicroseconds() + 3'000'000, [](int32_t) { Finish(); }, 0);
    const uint32_t exposures = EmuBusExposures(bus);
    Take(exposure);
    EXPECT_LT(about.Exposed, 4.0);
    EXPECT_EQ(EmuBusExposures(bus), exposures);
    EXPECT_EQ(pixels, std::vector<uint16_t>(Pixels, 0));
}

// With lines of three rows 18 of the 20 are read: 5 lines of the image and 1 ahead of it.
TEST_F(Exposures, RowsThatABinningLeavesBehindAreNotInTheNextFrame)
{
    OpenCamera({44, 255, 2, "BuildWaveR3", 200});
    QvnsExposure exposure = Light(0.1);
    exposure.HorBinning = exposure.VerBinning = 3;
    Take(exposure);
    EXPECT_GT(pixels[0], 0);
    exposure.HorBinning = exposure.VerBinning = 1;
    exposure.Light = 0;
    Take(exposure);
    EXPECT_EQ(pixels, std::vector<uint16_t>(Pixels, 0));
}
