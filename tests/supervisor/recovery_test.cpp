// Cameras that are pulled out and plugged in again, that stall and go on: their settings come
// back, and the others do not notice.
#include "emulator/bus_camera.h"
#include "emulator/emulator.h"
#include "emulator/usb.h"
#include "emulator/usb_camera.h"
#include "tests/supervisor/usb_layer.h"

namespace {

class UsbRecovery : public UsbLayerTest {
protected:
    // The frame of camera 0 in this state when its plug is pulled; then it fails.
    static void PullInFrame(int32_t state, double seconds)
    {
        const QvnsExposure exposure = Light(seconds);
        ASSERT_EQ(qvns_start_exposure(0, &exposure, nullptr), 0);
        WhenFrameIs(state, [] { EmuUnplugUsbCamera(0); });
        EXPECT_EQ(qvns_wait(0, 0, 3600.0), QV_ERROR_LINK_FAILURE);
        EXPECT_EQ(StateOf(0).Frame, QVNS_FRAME_FAILED);
        EXPECT_EQ(qvns_ready(0, 0), 0);
    }
};

using BusRecovery = LayerTest;

void PlugIn(int32_t camera)
{
    EmuReplugUsbCamera(camera);
}

} // namespace

TEST_F(UsbRecovery, PulledOutInTheExposureItComesBackByItself)
{
    OpenCamera(HeronPlusCamera);
    PullInFrame(QVNS_FRAME_EXPOSING, 2.0);
    qvns_idle(10.0);
    EXPECT_NE(StateOf(0).Camera, QVNS_CAMERA_OPEN);
    EXPECT_EQ(StateOf(0).Recoveries, 0);
    PlugIn(0);
    qvns_idle(5.0);
    EXPECT_EQ(StateOf(0).Camera, QVNS_CAMERA_OPEN);
    EXPECT_EQ(StateOf(0).Recoveries, 1);
    ExpectGoodFrame(HeronPlusCamera);
}

TEST_F(UsbRecovery, PulledOutInTheReadoutItComesBackByItself)
{
    OpenCamera(HeronPlusCamera);
    PullInFrame(QVNS_FRAME_READING, 0.1);
    PlugIn(0);
    qvns_idle(5.0);
    EXPECT_EQ(StateOf(0).Camera, QVNS_CAMERA_OPEN);
    ExpectGoodFrame(HeronPlusCamera);
}

TEST_F(UsbRecovery, PulledOutWhileIdleTheTemperaturesTell)
{
    OpenCamera(HeronPlusCamera);
    qvns_idle(3.0);
    const int32_t failures = TemperatureOf(0).ReadFailures;
    EXPECT_EQ(TemperatureOf(0).Fresh, 1);
    EmuUnplugUsbCamera(0);
    qvns_idle(20.0);
    EXPECT_GE(TemperatureOf(0).ReadFailures, failures + 3);
    EXPECT_EQ(TemperatureOf(0).Fresh, 0);
    EXPECT_NE(StateOf(0).Camera, QVNS_CAMERA_OPEN);
    EXPECT_NE(StateOf(0).LastError, 0);
    PlugIn(0);
    qvns_idle(5.0);
    EXPECT_EQ(StateOf(0).Camera, QVNS_CAMERA_OPEN);
    EXPECT_EQ(TemperatureOf(0).Fresh, 1);
}

TEST_F(UsbRecovery, EveryFamilyIsMissedWhileIdle)
{
    constexpr UsbSetup Families[] = {TolmECamera,
                                     HeronPlusCamera,
                                     {48, 255},
                                     {400, 3945},
                                     {29, 260},
                                     {200, 255, "BuildWaveOspreyKaf"},
                                     {205, 255, "BuildWaveOspreyPlusKaf"},
                                     {28, 255, "BuildWaveTarn5"}};
    int32_t port = 0;
    for (UsbSetup setup : Families) {
        SCOPED_TRACE(setup.platform);
        setup.camera = port++;
        OpenCamera(setup);
        if (HasFatalFailure()) return;
        EmuUnplugUsbCamera(setup.camera);
        qvns_idle(400.0);
        EXPECT_EQ(TemperatureOf(setup.camera).Fresh, 0);
        EXPECT_NE(StateOf(setup.camera).Camera, QVNS_CAMERA_OPEN);
        ASSERT_EQ(qvns_close(setup.camera, 0.0), 0);
    }
}

TEST_F(UsbRecovery, AnExposureThatIsStartedInAFaultWaitsForTheRecovery)
{
    OpenCamera(HeronPlusCamera);
    PullInFrame(QVNS_FRAME_READING, 0.1);
    EmuSchedule(EmuMicroseconds() + 30'000'000, PlugIn, 0);
    const double start = Now();
    ExpectGoodFrame(HeronPlusCamera);
    EXPECT_GE(Now() - start, 30.0);
}

TEST_F(UsbRecovery, SettingsComeBack)
{
    OpenCamera(HeronPlusCamera);
    ASSERT_EQ(qvns_set_binning(0, 2, 2, 0.0), 0);
    ASSERT_EQ(qvns_set_gain(0, 2, 0.0), 0);
    ASSERT_EQ(qvns_set_fan(0, 40.0, 0.0), 0);
    QvnsCooling cooling;
    qvns_init_cooling(&cooling);
    cooling.Target = -10.0;
    ASSERT_EQ(qvns_cool(0, &cooling), 0);
    qvns_idle(60.0);
    const double power = TemperatureOf(0).Power;
    ASSERT_GT(power, 20.0);
    const uint16_t fan = EmuUsbFan(0);
    const uint32_t gain = EmuUsbGainWord(0, 1);
    EmuUnplugUsbCamera(0);
    qvns_idle(20.0);
    PlugIn(0); // in the state of power-up
    EXPECT_EQ(EmuUsbCoolerOn(0), false);
    qvns_idle(5.0);
    ASSERT_EQ(StateOf(0).Recoveries, 1);
    EXPECT_EQ(EmuUsbCoolerOn(0), true);
    EXPECT_NEAR(QV_GetPower(0), power, 3.0);
    EXPECT_EQ(EmuUsbFan(0), fan);
    EXPECT_EQ(EmuUsbGainWord(0, 1), gain);
    EXPECT_EQ(TemperatureOf(0).SetPoint, -10.0);
    ExpectGoodFrame(HeronPlusCamera, 2, 2);
}

TEST_F(UsbRecovery, WithoutAutoRecoverTheHostAsks)
{
    Plug(HeronPlusCamera);
    QvnsOpen open = Request(HeronPlusCamera);
    open.AutoRecover = 0;
    ASSERT_EQ(qvns_open(0, &open), 0);
    PullInFrame(QVNS_FRAME_READING, 0.1);
    PlugIn(0);
    qvns_idle(20.0);
    EXPECT_EQ(StateOf(0).Camera, QVNS_CAMERA_FAULT);
    const QvnsExposure exposure = Light(0.1);
    EXPECT_EQ(qvns_start_exposure(0, &exposure, nullptr), QVNS_ERROR_FAULT);
    EXPECT_EQ(qvns_set_gain(0, 1, 0.0), QVNS_ERROR_FAULT);
    EXPECT_EQ(qvns_wait_stable(0, 0.0), QVNS_ERROR_FAULT);
    EmuUnplugUsbCamera(0);
    EXPECT_NE(qvns_recover(0, 0.0), 0);
    EXPECT_EQ(StateOf(0).Camera, QVNS_CAMERA_FAULT);
    PlugIn(0);
    EXPECT_EQ(qvns_recover(0, 0.0), 0);
    ExpectGoodFrame(HeronPlusCamera);
}

TEST_F(UsbRecovery, ExposureThatIsStartedInTheFaultWaitsForTheRecovery)
{
    OpenCamera(HeronPlusCamera);
    PullInFrame(QVNS_FRAME_EXPOSING, 1.0);
    qvns_idle(20.0);
    ASSERT_NE(StateOf(0).Camera, QVNS_CAMERA_OPEN);
    QvnsExposure window = Light(0.1);
    window.X = window.Y = 1;
    window.Width = 4;
    window.Height = 2;
    EXPECT_EQ(qvns_start_exposure(0, &window, nullptr), 0);
    qvns_idle(10.0);
    EXPECT_EQ(StateOf(0).Frame, QVNS_FRAME_QUEUED);
    PlugIn(0);
    EXPECT_EQ(qvns_wait(0, 0, 600.0), 0);
}

TEST_F(UsbRecovery, GainOfTheHostsComesBack)
{
    OpenCamera(HeronPlusCamera);
    ASSERT_EQ(qvns_run(
                  0,
                  [](int32_t camera, void*) {
                      QV_SetUsrGain(77, 1, 50, camera);
                      return 0;
                  },
                  nullptr, 1.0, 0.0),
              0);
    ExpectGoodFrame(HeronPlusCamera);
    const uint32_t gain = EmuUsbGainWord(0, 1);
    const uint32_t zero = EmuUsbGainWord(0, 0);
    EmuUnplugUsbCamera(0);
    qvns_idle(20.0);
    PlugIn(0);
    qvns_idle(5.0);
    EXPECT_EQ(StateOf(0).Recoveries, 1);
    EXPECT_EQ(EmuUsbGainWord(0, 1), gain);
    EXPECT_EQ(EmuUsbGainWord(0, 0), zero);
    EXPECT_NE(gain, 0u);
}

TEST_F(UsbRecovery, TheOtherCameraDoesNotNotice)
{
    UsbSetup second = HeronPlusCamera;
    second.camera = 1;
    OpenCamera(HeronPlusCamera);
    OpenCamera(second);
    PullInFrame(QVNS_FRAME_EXPOSING, 1.0);
    const int32_t readings = TemperatureOf(1).Readings;
    ExpectGoodFrame(second);
    qvns_idle(60.0);
    EXPECT_GE(TemperatureOf(1).Readings, readings + 60);
    EXPECT_EQ(TemperatureOf(1).ReadFailures, 0);
    EXPECT_EQ(StateOf(1).Failures, 0);
    PlugIn(0);
    qvns_idle(5.0);
    ExpectGoodFrame(HeronPlusCamera);
    ExpectGoodFrame(second);
}

// These cameras share one binning in the library.
TEST_F(UsbRecovery, CamerasThatShareABinningKeepTheirOwn)
{
    UsbSetup second = TolmECamera;
    second.camera = 1;
    OpenCamera(TolmECamera);
    OpenCamera(second);
    ASSERT_EQ(qvns_set_binning(1, 2, 2, 0.0), 0);
    ExpectGoodFrame(TolmECamera);
    ExpectGoodFrame(second, 2, 2);
    ExpectGoodFrame(TolmECamera);
}

TEST_F(BusRecovery, StreamThatStallsFailsItsFrameAndNoMore)
{
    OpenCamera();
    EmuBusMute(bus, 30);
    QvnsExposure exposure = Light(0.1);
    ASSERT_EQ(qvns_start_exposure(0, &exposure, nullptr), 0);
    EXPECT_EQ(qvns_wait(0, 0, 600.0), QV_ERROR_LINK_FAILURE);
    EXPECT_EQ(StateOf(0).Failures, 1);
    EXPECT_EQ(StateOf(0).LastError, QV_ERROR_LINK_FAILURE);
    EmuBusMute(bus, 0xFFFFFFFF);
    ASSERT_EQ(qvns_start_exposure(0, &exposure, nullptr), 0);
    EXPECT_EQ(qvns_wait(0, 0, 600.0), 0);
    std::vector<uint16_t> pixels(size_t{ImageColumns} * ImageRows);
    ASSERT_EQ(qvns_fetch(0, 0, pixels.data(), pixels.size(), nullptr), 0);
    EXPECT_EQ(pixels, Expected(Full(BriarCamera, ReadRule::Lines, 1, 1), 0));
    EXPECT_EQ(StateOf(0).Recoveries, 1);
}

// Its pattern is gone then, and what it sends is no picture.
TEST_F(BusRecovery, CameraThatLosesItsPowerInAFrameGivesNone)
{
    OpenCamera();
    static int32_t camera;
    camera = bus;
    for (const int32_t state : {QVNS_FRAME_EXPOSING, QVNS_FRAME_READING}) {
        const QvnsExposure exposure = Light(1.0);
        ASSERT_EQ(qvns_start_exposure(0, &exposure, nullptr), 0);
        WhenFrameIs(state, [] {
            EmuBusPower(camera, false);
            EmuBusPower(camera, true);
        });
        EXPECT_EQ(qvns_wait(0, 0, 600.0), QV_ERROR_LINK_FAILURE) << state;
        qvns_idle(5.0);
        EXPECT_EQ(StateOf(0).Camera, QVNS_CAMERA_OPEN);
        ASSERT_EQ(qvns_start_exposure(0, &exposure, nullptr), 0);
        EXPECT_EQ(qvns_wait(0, 0, 600.0), 0);
    }
}

TEST_F(BusRecovery, CameraThatIsSwitchedOffWhileIdleIsNoticed)
{
    OpenCamera();
    EmuBusPower(bus, false);
    qvns_idle(10.0);
    EXPECT_EQ(TemperatureOf(0).Fresh, 0);
    EXPECT_NE(StateOf(0).Camera, QVNS_CAMERA_OPEN);
    EmuBusPower(bus, true);
    qvns_idle(5.0);
    EXPECT_EQ(StateOf(0).Camera, QVNS_CAMERA_OPEN);
    EXPECT_EQ(TemperatureOf(0).Fresh, 1);
}

TEST_F(BusRecovery, CameraWithAnotherSerialNumberIsNotTaken)
{
    Plug(BriarCamera);
    EmuBusSetMemoryWord(bus, 8, 1001);
    const QvnsOpen open = Request(BriarCamera);
    ASSERT_EQ(qvns_open(0, &open), 0);
    const int32_t serial = StateOf(0).Serial;
    EmuBusSetMemoryWord(bus, 8, 1002);
    EXPECT_EQ(qvns_recover(0, 0.0), QVNS_ERROR_SERIAL);
    EXPECT_EQ(StateOf(0).Camera, QVNS_CAMERA_FAULT);
    EXPECT_EQ(QV_IsOn(0), 0);
    EmuBusSetMemoryWord(bus, 8, 1001);
    qvns_idle(5.0);
    EXPECT_EQ(StateOf(0).Camera, QVNS_CAMERA_OPEN);
    EXPECT_EQ(StateOf(0).Serial, serial);
}
