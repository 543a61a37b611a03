// What is seldom: no memory, clears and readouts that take long, numbers at their ends.
#include <cmath>
#include <limits>
#include <set>

#include "emulator/emulator.h"
#include "emulator/usb_camera.h"
#include "supervisor/library.h"
#include "supervisor/seam.h"
#include "tests/supervisor/usb_layer.h"

namespace {

using Edges = LayerTest;
using UsbEdges = UsbLayerTest;

constexpr double Infinity = std::numeric_limits<double>::infinity();
constexpr UsbSetup TarnUCamera = {29, 260};

int32_t closes; // calls of the library

void CountClose(int32_t camera)
{
    ++closes;
    QV_Close(camera);
}

void ClearSlowly(int32_t camera)
{
    QV_ClearCCD(camera);
    QV_Delay(700);
}

// The readout takes so long.
void ReadSlowly(int32_t shutter, double exposure, uint16_t* buffer, int32_t camera)
{
    QV_FGetCCD(shutter, exposure, buffer, camera);
    QV_Delay(5000);
}

int32_t FailToRead(int32_t)
{
    return -1;
}

double back; // seconds that the host's clock has gone back

double WrongSeconds()
{
    return 5000.0 + Now() - back;
}

double unixNow;

std::set<int32_t> seen; // states of the frame in the countdown
double finishAt;        // seconds left

void Look(int32_t camera, double left, void*)
{
    qvns_watch();
    if (left > 1.0) seen.insert(StateOf(camera).Frame);
    if (left < finishAt) qvns_finish(camera);
}

void OpenTarnU(double finish)
{
    seen.clear();
    finishAt = finish;
    QvnsOpen open;
    qvns_init_open(&open);
    open.Config.Platform = TarnUCamera.platform;
    open.Config.CCD = TarnUCamera.sensor;
    open.Countdown = Look;
    ASSERT_EQ(qvns_open(0, &open), 0);
}

} // namespace

TEST_F(Edges, WithoutMemoryForAFrameTheOneBeforeIsKept)
{
    OpenCamera();
    QvnsExposure window = Light(0.1);
    window.X = window.Y = 1;
    window.Width = 4;
    window.Height = 2;
    ASSERT_EQ(qvns_start_exposure(0, &window, nullptr), 0);
    ASSERT_EQ(qvns_wait(0, 0, 60.0), 0);
    void* (*const allocate)(size_t) = Seam.Allocate;
    Seam.Allocate = [](size_t) -> void* { return nullptr; };
    const QvnsExposure full = Light(0.1);
    EXPECT_EQ(qvns_start_exposure(0, &full, nullptr), QVNS_ERROR_NO_MEMORY);
    Seam.Allocate = allocate;
    std::vector<uint16_t> pixels(8);
    QvnsMetadata about = {};
    ASSERT_EQ(qvns_fetch(0, 1, pixels.data(), pixels.size(), &about), 0);
    EXPECT_EQ(about.Width, 4);
    EXPECT_EQ(pixels, Expected(Window(BriarCamera, ReadRule::Lines, 1, 1), 0));
}

TEST_F(Edges, ClearsThatTakeLongLeaveRoomForFrames)
{
    Library.ClearCCD = ClearSlowly;
    OpenCamera(BriarCamera, QV_OPTION_KEEP_CLEAN);
    const QvnsExposure exposure = Light(0.1);
    ASSERT_EQ(qvns_start_exposure(0, &exposure, nullptr), 0);
    EXPECT_EQ(qvns_wait(0, 0, 30.0), 0);
}

TEST_F(Edges, TriggerLimitBelowNothingIsRefused)
{
    OpenCamera();
    for (const double limit : {-1.0, -Infinity, std::nan("")}) {
        QvnsExposure exposure = Light(0.1);
        exposure.TriggerLimit = limit;
        EXPECT_EQ(qvns_start_exposure(0, &exposure, nullptr), QVNS_ERROR_ARGUMENT) << limit;
    }
}

// The first reading falls due ahead of the first frame.
TEST_F(Edges, TemperaturesThatWereNeverReadAreNoNumbers)
{
    Library.TemperatureHandle = FailToRead;
    OpenCamera();
    const QvnsExposure exposure = Light(0.0);
    ASSERT_EQ(qvns_start_exposure(0, &exposure, nullptr), 0);
    ASSERT_EQ(qvns_wait(0, 0, 60.0), 0);
    QvnsMetadata about = {};
    ASSERT_EQ(qvns_fetch(0, 0, nullptr, 0, &about), 0);
    EXPECT_TRUE(std::isnan(about.TemperatureStart));
    EXPECT_TRUE(std::isnan(about.TemperatureEnd));
    EXPECT_TRUE(std::isnan(about.Power));
    EXPECT_TRUE(std::isnan(about.SetPoint));
    EXPECT_LT(TemperatureOf(0).Age, 0.0);
}

// The sensor has 24 columns and 16 rows.
TEST_F(Edges, BinningsWithoutAPixelAreRefused)
{
    OpenCamera();
    constexpr int32_t Refused[][2] = {{13, 1}, {1, 17}, {INT32_MAX, 1}, {1, INT32_MAX},
                                      {0, 1},  {1, -1}, {INT32_MIN, 1}};
    for (const auto& [horizontal, vertical] : Refused) {
        EXPECT_EQ(qvns_set_binning(0, horizontal, vertical, 0.0), QVNS_ERROR_ARGUMENT)
            << horizontal << ' ' << vertical;
    }
    EXPECT_EQ(qvns_set_binning(0, 12, 16, 0.0), 0);
}

// No file gives these, but QV_RWData does.
TEST_F(Edges, DefinitionsThatAreNonsenseGiveSensibleTimes)
{
    for (const double clock : {Infinity, -Infinity, std::nan(""), 1e300, -1e300}) {
        static double spoilt;
        spoilt = clock;
        Library.GetHPdata = [](PlatformDefinition* platform, int32_t camera) {
            QV_GetHPdata(platform, camera);
            platform->SamplingClock[0] = spoilt;
        };
        OpenCamera(BriarCamera, QV_OPTION_KEEP_CLEAN);
        const QvnsExposure exposure = Light(0.1);
        QvnsDuration duration = {};
        ASSERT_EQ(qvns_expected(0, &exposure, &duration), 0);
        EXPECT_GE(duration.Total, 0.1) << clock;
        EXPECT_LE(duration.Total, 3e5) << clock;
        ASSERT_EQ(qvns_start_exposure(0, &exposure, nullptr), 0);
        EXPECT_EQ(qvns_wait(0, 0, 0.0), 0) << clock;
        ASSERT_EQ(qvns_close(0, 0.0), 0);
    }
}

TEST_F(Edges, TemperatureThatIsNoNumberIsNoReading)
{
    Library.GetTemp = [](char*, int32_t, int32_t) { return std::nan(""); };
    OpenCamera();
    QvnsCooling cooling;
    qvns_init_cooling(&cooling);
    cooling.DegreesPerMinute = 1.0;
    ASSERT_EQ(qvns_cool(0, &cooling), 0);
    Library.SetTemp = [](double, int32_t, int32_t) { ADD_FAILURE() << "a target is sent"; };
    qvns_idle(5.0);
    EXPECT_EQ(TemperatureOf(0).Readings, 0);
    EXPECT_EQ(TemperatureOf(0).Fresh, 0);
    EXPECT_EQ(StateOf(0).Camera, QVNS_CAMERA_OPEN);
}

TEST_F(Edges, LimitsThatAreNonsenseAreTheUsualOnesOrNone)
{
    OpenCamera();
    for (const double limit : {std::nan(""), -Infinity, -1.0, 0.0, Infinity, 1e300}) {
        SCOPED_TRACE(limit);
        const QvnsExposure exposure = Light(0.1);
        ASSERT_EQ(qvns_start_exposure(0, &exposure, nullptr), 0);
        EXPECT_EQ(qvns_wait(0, 0, limit), 0);
        EXPECT_EQ(qvns_set_gain(0, 1, limit), 0);
        EXPECT_EQ(qvns_abort(0, limit), 0);
        EXPECT_EQ(qvns_wait_stable(0, limit), 0);
        EXPECT_EQ(qvns_recover(0, limit), 0);
        EXPECT_EQ(qvns_close(0, limit), 0);
        QvnsOpen open = Request(BriarCamera);
        open.Limit = limit;
        ASSERT_EQ(qvns_open(0, &open), 0);
    }
    qvns_idle(std::nan(""));
    qvns_idle(-Infinity);
}

// A time that is not nothing is a limit.
TEST_F(Edges, ShortestLimitsAreLimits)
{
    OpenCamera();
    QvnsExposure exposure = Light(0.1);
    exposure.Trigger = 1;
    exposure.TriggerLimit = 1e-9;
    ASSERT_EQ(qvns_start_exposure(0, &exposure, nullptr), 0);
    EXPECT_EQ(qvns_wait(0, 0, 1e-9), QVNS_ERROR_TIME);
    EXPECT_EQ(qvns_wait(0, 0, 10.0), QVNS_ERROR_OVER_TIME);
    EXPECT_EQ(qvns_set_gain(0, 1, 1e-9), QVNS_ERROR_TIME);
}

TEST_F(Edges, EachTemperatureThatFailsCounts)
{
    OpenCamera();
    qvns_idle(1.0);
    Library.TemperatureHandle = FailToRead;
    qvns_idle(0.5);
    Library.TemperatureHandle = QV_TemperatureHandle;
    qvns_idle(2.0);
    EXPECT_EQ(TemperatureOf(0).ReadFailures, 1);
    EXPECT_EQ(StateOf(0).Failures, 1);
    EXPECT_EQ(StateOf(0).LastError, QV_ERROR_LINK_FAILURE);
    EXPECT_EQ(StateOf(0).Camera, QVNS_CAMERA_OPEN);
}

TEST_F(Edges, ThreeTemperaturesThatFailAreThree)
{
    Plug(BriarCamera);
    QvnsOpen open = Request(BriarCamera);
    open.AutoRecover = 0;
    ASSERT_EQ(qvns_open(0, &open), 0);
    Library.TemperatureHandle = FailToRead;
    qvns_idle(5.0);
    EXPECT_EQ(StateOf(0).Camera, QVNS_CAMERA_FAULT);
    EXPECT_EQ(TemperatureOf(0).ReadFailures, 3);
    EXPECT_EQ(StateOf(0).Failures, 3);
}

// Set back by an hour within a wait of three seconds, which it would make an hour longer.
TEST_F(Edges, HostClockThatGoesBackStretchesNothing)
{
    ASSERT_EQ(qvns_stop(1.0), 0);
    back = 0.0;
    QvnsStart start;
    qvns_init_start(&start);
    start.Mode = QVNS_CALLER;
    start.Seconds = WrongSeconds;
    ASSERT_EQ(qvns_start(&start), 0);
    OpenCamera();
    EmuSchedule(
        EmuMicroseconds() + 1'000'000, [](int32_t) { back = 3600.0; }, 0);
    QvnsExposure exposure = Light(0.5);
    exposure.Trigger = 1;
    ASSERT_EQ(qvns_start_exposure(0, &exposure, nullptr), 0);
    const double from = Now();
    EXPECT_EQ(qvns_wait(0, 0, 3.0), QVNS_ERROR_TIME);
    EXPECT_NEAR(Now() - from, 3.0, 0.1);
    EXPECT_NEAR(StateOf(0).WorkSeconds, 3.0, 0.1);
    EXPECT_EQ(TemperatureOf(0).Fresh, 1);
}

TEST_F(Edges, HostClockThatIsNoNumberStandsStill)
{
    static double told;
    told = 2.0;
    SetClock([] { return told; });
    EXPECT_EQ(ClockUs(), 2'000'000u);
    for (const double strange : {std::nan(""), Infinity, 1.0, -1.0}) {
        told = strange;
        EXPECT_EQ(ClockUs(), 2'000'000u) << strange;
    }
    told = 1.0; // a second after what counts as 0
    EXPECT_EQ(ClockUs(), 3'000'000u);
    SetClock(Now);
}

TEST_F(Edges, HostClockThatBeginsWithNoNumberBeginsAt0)
{
    static double told;
    for (const double strange : {std::nan(""), Infinity, 1e300, -Infinity}) {
        told = strange;
        SetClock([] { return told; });
        EXPECT_EQ(ClockUs(), 0u) << strange;
        told = 3.0;
        EXPECT_EQ(ClockUs(), 3'000'000u) << strange;
    }
    SetClock(Now);
}

TEST_F(Edges, SystemClockThatIsSetBackDoesNotEndAFrameAheadOfItsStart)
{
    OpenCamera();
    unixNow = 1000.0;
    Seam.UnixSeconds = [] { return unixNow; };
    EmuSchedule(
        EmuMicroseconds() + 1'000'000, [](int32_t) { unixNow = 10.0; }, 0);
    const QvnsExposure exposure = Light(2.0);
    ASSERT_EQ(qvns_start_exposure(0, &exposure, nullptr), 0);
    ASSERT_EQ(qvns_wait(0, 0, 60.0), 0);
    QvnsMetadata about = {};
    ASSERT_EQ(qvns_fetch(0, 0, nullptr, 0, &about), 0);
    EXPECT_EQ(about.StartUnix, 1000.0);
    EXPECT_NEAR(about.EndUnix, 1002.0, 0.3);
}

// One attempt at once, and, with the usual two seconds, no more than thirty in a minute.
TEST_F(UsbEdges, RecoveriesAreNotTriedWithoutAPause)
{
    Library.Close = CountClose;
    Plug(TolmECamera);
    for (const double every : {Infinity, 0.0, -1.0, std::nan("")}) {
        SCOPED_TRACE(every);
        QvnsOpen open = Request(TolmECamera);
        open.RecoverEvery = every;
        ASSERT_EQ(qvns_open(0, &open), 0);
        EmuUnplugUsbCamera(0);
        const QvnsExposure exposure = Light(0.1);
        ASSERT_EQ(qvns_start_exposure(0, &exposure, nullptr), 0);
        EXPECT_NE(qvns_wait(0, 0, 60.0), 0);
        closes = 0;
        qvns_idle(60.0);
        EXPECT_GE(closes, 1);
        EXPECT_LE(closes, every == Infinity ? 2 : 62); // a failed open closes as well
        EXPECT_EQ(qvns_close(0, 0.0), 0);
        EmuReplugUsbCamera(0);
    }
}

// It tells of the download ahead of the exposure.
TEST_F(UsbEdges, LongExposureOfTarnUIsNoReadout)
{
    Plug(TarnUCamera);
    OpenTarnU(-1.0);
    const QvnsExposure exposure = Light(120.0);
    ASSERT_EQ(qvns_start_exposure(0, &exposure, nullptr), 0);
    EXPECT_EQ(qvns_wait(0, 0, 200.0), 0);
    EXPECT_EQ(seen, std::set<int32_t>{QVNS_FRAME_EXPOSING});
    EXPECT_EQ(StateOf(0).OverTimes, 0);
}

TEST_F(UsbEdges, TarnUIsFinishedEarly)
{
    Plug(TarnUCamera);
    OpenTarnU(117.0);
    const QvnsExposure exposure = Light(120.0);
    ASSERT_EQ(qvns_start_exposure(0, &exposure, nullptr), 0);
    ASSERT_EQ(qvns_wait(0, 0, 200.0), 0);
    QvnsMetadata about = {};
    ASSERT_EQ(qvns_fetch(0, 0, nullptr, 0, &about), 0);
    EXPECT_NEAR(about.Exposed, 3.5, 0.5); // it is asked three times a second
}

// These do not tell when their readout begins.
TEST_F(UsbEdges, ReadoutThatTakesLongIsNoExposureOverTime)
{
    int32_t port = 0;
    Library.FGetCCD = ReadSlowly;
    for (UsbSetup setup : {TolmECamera, HeronPlusCamera}) {
        SCOPED_TRACE(setup.platform);
        setup.camera = port++;
        OpenCamera(setup);
        WatchAsAThread(20.0);
        ExpectGoodFrame(setup);
        EXPECT_STREQ(StateOf(setup.camera).Wait, "the bytes of the frame");
    }
}
