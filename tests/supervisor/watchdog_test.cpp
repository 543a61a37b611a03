// The watchdog names the wait that is over time. In virtual time its looks are scheduled, as a
// thread of its own would make them, and what ends the wait is scheduled behind them.
#include <string>

#include "emulator/bus_camera.h"
#include "emulator/bus_links.h"
#include "emulator/emulator.h"
#include "emulator/usb_camera.h"
#include "tests/supervisor/usb_layer.h"

namespace {

constexpr uint64_t Second = 1'000'000;

int32_t busCamera;

class BusWatch : public LayerTest {
protected:
    // The card's registers read as all ones for a moment: to the library the decoder has
    // replied. The camera is on again, and addressed.
    void EndWaitIn(uint64_t seconds)
    {
        busCamera = bus;
        EmuSchedule(
            EmuMicroseconds() + seconds * Second,
            [](int32_t) {
                EmuBusPower(busCamera, true);
                EmuBusAddress(busCamera, 0xFFF0);
                EmuFail(EmuRegisterRead, 1, false);
            },
            0);
    }
};

using UsbWatch = UsbLayerTest;

constexpr VirtualSetup LarchSerial = {30, 255, 2, "BuildWaveLarchKaf", 100, 0xAAAA2, 1};

int32_t AskStatus(int32_t camera, void*)
{
    return static_cast<int32_t>(QV_GetStatus(7, camera));
}

// Of camera 0, as it is in the middle of the wait.
QvnsState midway;

void LookIn(uint64_t seconds)
{
    EmuSchedule(
        EmuMicroseconds() + seconds * Second, [](int32_t) { midway = StateOf(0); }, 0);
}

} // namespace

TEST_F(BusWatch, NothingIsOverTimeWhereAllGoesWell)
{
    OpenCamera(BriarCamera, QV_OPTION_KEEP_CLEAN);
    WatchAsAThread(60.0);
    const QvnsExposure exposure = Light(20.0);
    ASSERT_EQ(qvns_start_exposure(0, &exposure, nullptr), 0);
    ASSERT_EQ(qvns_wait(0, 0, 60.0), 0);
    qvns_idle(10.0);
    EXPECT_EQ(StateOf(0).OverTimes, 0);
    EXPECT_STREQ(StateOf(0).Wait, "");
}

TEST_F(BusWatch, SerialDecoderThatDoesNotReplyIsNamed)
{
    OpenCamera(LarchSerial);
    qvns_idle(1.0);
    WatchAsAThread(60.0);
    EmuBusPower(bus, false);
    LookIn(4);
    EndWaitIn(6);
    EXPECT_NE(qvns_run(0, AskStatus, nullptr, 0.0, 100.0), QVNS_ERROR_TIME);
    EXPECT_EQ(midway.OverTime, 1);
    EXPECT_EQ(midway.Work, QVNS_WORK_HOST);
    EXPECT_STREQ(midway.Wait, "the serial decoder's reply");
    EXPECT_EQ(midway.Camera, QVNS_CAMERA_OPEN);
}

TEST_F(BusWatch, CallThatComesBackTooLateLeavesAClosedCamera)
{
    OpenCamera(LarchSerial);
    qvns_idle(1.0);
    WatchAsAThread(100.0);
    EmuBusPower(bus, false);
    LookIn(20);
    EndWaitIn(25);
    EXPECT_EQ(qvns_run(0, AskStatus, nullptr, 0.0, 10.0), QVNS_ERROR_LOST);
    EXPECT_EQ(midway.Camera, QVNS_CAMERA_LOST);
    EXPECT_EQ(midway.OverTimes, 1);
    EXPECT_STREQ(midway.Wait, "the serial decoder's reply");
    qvns_idle(1.0);
    EXPECT_EQ(StateOf(0).Camera, QVNS_CAMERA_CLOSED);
    EXPECT_EQ(QV_IsOn(0), 0);
    const QvnsOpen open = Request(LarchSerial);
    ASSERT_EQ(qvns_open(0, &open), 0);
    const QvnsExposure exposure = Light(0.0);
    ASSERT_EQ(qvns_start_exposure(0, &exposure, nullptr), 0);
    EXPECT_EQ(qvns_wait(0, 0, 60.0), 0);
}

TEST_F(BusWatch, StalledReadoutIsNamed)
{
    OpenCamera();
    WatchAsAThread(60.0);
    EmuBusMute(bus, 30);
    LookIn(2);
    const QvnsExposure exposure = Light(0.0);
    ASSERT_EQ(qvns_start_exposure(0, &exposure, nullptr), 0);
    EXPECT_EQ(qvns_wait(0, 0, 60.0), QV_ERROR_LINK_FAILURE);
    EXPECT_EQ(midway.OverTime, 1);
    EXPECT_EQ(midway.Work, QVNS_WORK_READ);
    EXPECT_STREQ(midway.Wait, "the pixels of the frame");
    EmuBusMute(bus, 0xFFFFFFFF);
}

TEST_F(BusWatch, CounterThatDoesNotRunDownIsNamed)
{
    OpenCamera({22, 255, 2, "BuildWaveTarn3Kaf"});
    qvns_idle(1.0);
    WatchAsAThread(60.0);
    const QvnsExposure exposure = Light(1.0);
    ASSERT_EQ(qvns_start_exposure(0, &exposure, nullptr), 0);
    EndWaitIn(8);
    WhenFrameIs(QVNS_FRAME_EXPOSING, [] {
        EmuBusPower(busCamera, false);
        LookIn(5);
    });
    EXPECT_NE(qvns_wait(0, 0, 60.0), 0);
    EXPECT_EQ(midway.OverTime, 1);
    EXPECT_EQ(midway.Work, QVNS_WORK_EXPOSE);
    EXPECT_STREQ(midway.Wait, "the camera's exposure counter to run down");
}

TEST_F(UsbWatch, FrameThatDoesNotComeIsNamed)
{
    OpenCamera(TolmECamera);
    WatchAsAThread(200.0);
    LookIn(10);
    EmuUsbStall(0, 3);
    const QvnsExposure exposure = Light(0.0);
    ASSERT_EQ(qvns_start_exposure(0, &exposure, nullptr), 0);
    EXPECT_EQ(qvns_wait(0, 0, 200.0), QV_ERROR_LINK_FAILURE);
    EXPECT_EQ(midway.OverTime, 1);
    EXPECT_STREQ(midway.Wait, "the bytes of the frame");
    EXPECT_EQ(midway.Camera, QVNS_CAMERA_OPEN); // 50 seconds are this link's own limit
}

TEST_F(UsbWatch, SilentCameraThatIsOpenedIsNamed)
{
    constexpr UsbSetup R4Dsp = {48, 255};
    Plug(R4Dsp);
    EmuUsbMute(0, 0);
    WatchAsAThread(100.0);
    LookIn(20);
    EmuSchedule(
        EmuMicroseconds() + 30 * Second, [](int32_t) { EmuUnplugUsbCamera(0); }, 0);
    const QvnsOpen open = Request(R4Dsp);
    EXPECT_EQ(qvns_open(0, &open), QV_ERROR_CAMERA_NOT_FOUND);
    EXPECT_EQ(midway.Camera, QVNS_CAMERA_OPENING);
    EXPECT_EQ(midway.OverTime, 1);
    EXPECT_STREQ(midway.Wait, "the camera to tell its version");
    EXPECT_EQ(StateOf(0).Camera, QVNS_CAMERA_CLOSED);
}

// Between two calls of a poll passes a moment, whatever else is going to happen: a reading of this
// camera polls its processor.
TEST_F(UsbWatch, WhatIsStillToHappenHoldsNoPollUp)
{
    OpenCamera({29, 260});
    for (uint64_t seconds = 5; seconds < 60; seconds += 5) {
        EmuSchedule(
            EmuMicroseconds() + seconds * Second, [](int32_t) {}, 0);
    }
    const int32_t readings = TemperatureOf(0).Readings;
    qvns_idle(60.0);
    EXPECT_GE(TemperatureOf(0).Readings, readings + 118); // two a second
    EXPECT_EQ(StateOf(0).OverTimes, 0);
}
