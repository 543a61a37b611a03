// Cameras that share one binning in the library: whoever needs another one than those that read
// waits where a limit, an abort or a close ends it.
#include "emulator/emulator.h"
#include "emulator/usb_camera.h"
#include "supervisor/library.h"
#include "supervisor/shared.h"
#include "tests/supervisor/usb_layer.h"

namespace {

int32_t pulled; // the trigger

// Camera 0 reads with bins of 2 by 2 for as long as a test wants it.
class Sharing : public UsbLayerTest {
protected:
    UsbSetup second = TolmECamera;

    void SetUp() override
    {
        UsbLayerTest::SetUp();
        second.camera = 1;
        OpenCamera(TolmECamera);
        OpenCamera(second);
    }

    static void BeginRead()
    {
        HoldBinning(&Slots[0], 2, 2);
        NoteBinning(Slots[0], 2, 2);
    }

    static void EndRead() { LeaveBinning(&Slots[0]); }

    // The trigger of camera 1 comes while camera 0 reads.
    static void PullTriggerInRead()
    {
        Library.Trigger = [](int32_t, int32_t) { return pulled; };
        pulled = 0;
        QvnsExposure exposure = Light(0.01);
        exposure.Trigger = 1;
        ASSERT_EQ(qvns_start_exposure(1, &exposure, nullptr), 0);
        qvns_idle(1.0);
        ASSERT_EQ(StateOf(1).Frame, QVNS_FRAME_TRIGGER);
        BeginRead();
        pulled = 1;
    }
};

int32_t Nothing(int32_t, void*)
{
    return 7;
}

int32_t TellBinning(int32_t camera, void*)
{
    int32_t horizontal = 0, vertical = 0;
    QV_GetBinning(&horizontal, &vertical, camera);
    return 10 * horizontal + vertical;
}

} // namespace

TEST_F(Sharing, TriggeredFrameWaitsWithoutKeepingItsWorker)
{
    PullTriggerInRead();
    const int32_t readings = TemperatureOf(1).Readings;
    qvns_idle(5.0);
    EXPECT_EQ(StateOf(1).Frame, QVNS_FRAME_TRIGGER);
    EXPECT_GE(TemperatureOf(1).Readings, readings + 8);
    EndRead();
    ASSERT_EQ(qvns_wait(1, 0, 10.0), 0);
    QvnsMetadata about = {};
    const std::vector<uint16_t> wanted = Expected(Full(second, 1, 1), 0);
    std::vector<uint16_t> pixels(wanted.size());
    ASSERT_EQ(qvns_fetch(1, 0, pixels.data(), pixels.size(), &about), 0);
    EXPECT_EQ(pixels, wanted);
    EXPECT_EQ(about.Triggered, 1);
}

TEST_F(Sharing, TriggeredFrameThatWaitsIsBrokenOffAndItsCameraClosed)
{
    PullTriggerInRead();
    qvns_idle(1.0);
    EXPECT_EQ(qvns_abort(1, 1.0), 0);
    EXPECT_EQ(qvns_wait(1, 0, 1.0), QVNS_ERROR_ABORTED);
    EndRead();
    PullTriggerInRead();
    qvns_idle(1.0);
    EXPECT_EQ(qvns_close(1, 5.0), 0);
    EndRead();
}

TEST_F(Sharing, FunctionOfTheHostsWaitsInTheQueue)
{
    BeginRead();
    EXPECT_EQ(qvns_run(1, Nothing, nullptr, 0.0, 2.0), QVNS_ERROR_TIME);
    EndRead();
    EXPECT_EQ(qvns_run(1, Nothing, nullptr, 0.0, 2.0), 7);
}

// They would count for a frame that was started ahead of them.
TEST_F(Sharing, SettingsWaitBehindAFrameThatWaits)
{
    BeginRead();
    const QvnsExposure exposure = Light(0.01);
    ASSERT_EQ(qvns_start_exposure(1, &exposure, nullptr), 0);
    EXPECT_EQ(qvns_set_gain(1, 1, 2.0), QVNS_ERROR_TIME);
    EXPECT_EQ(QV_GetGain(1), 0);
    EXPECT_EQ(StateOf(1).Frame, QVNS_FRAME_QUEUED);
    EXPECT_EQ(qvns_set_binning(1, 2, 2, 2.0), QVNS_ERROR_TIME);
    EndRead();
    EXPECT_EQ(qvns_set_gain(1, 1, 0.0), 0);
    QvnsMetadata about = {};
    ASSERT_EQ(qvns_fetch(1, 0, nullptr, 0, &about), 0);
    EXPECT_EQ(about.Gain, 0);
    EXPECT_EQ(about.HorBinning, 1);
    EXPECT_EQ(QV_GetGain(1), 1);
}

TEST_F(Sharing, OpenWaitsInTheQueue)
{
    ASSERT_EQ(qvns_close(1, 0.0), 0);
    BeginRead();
    QvnsOpen open = Request(second);
    open.Limit = 3.0;
    const double start = Now();
    EXPECT_EQ(qvns_open(1, &open), QVNS_ERROR_TIME);
    EXPECT_NEAR(Now() - start, 3.0, 0.5);
    EXPECT_EQ(StateOf(1).Camera, QVNS_CAMERA_CLOSED);
    EndRead();
    EXPECT_EQ(qvns_open(1, &open), 0);
}

// It would wait inside of the exposure for the exposure's end.
TEST_F(Sharing, RecoveryWaitsForALongExposureOfAnother)
{
    EmuUnplugUsbCamera(1);
    qvns_idle(20.0);
    ASSERT_NE(StateOf(1).Camera, QVNS_CAMERA_OPEN);
    EmuSchedule(
        EmuMicroseconds() + 2'000'000, [](int32_t) { EmuReplugUsbCamera(1); }, 0);
    QvnsExposure exposure = Light(10.0);
    exposure.HorBinning = exposure.VerBinning = 2;
    ASSERT_EQ(qvns_start_exposure(0, &exposure, nullptr), 0);
    ASSERT_EQ(qvns_wait(0, 0, 60.0), 0);
    qvns_idle(5.0);
    EXPECT_EQ(StateOf(1).Camera, QVNS_CAMERA_OPEN);
    ExpectGoodFrame(TolmECamera, 2, 2);
    ExpectGoodFrame(second);
}

// Camera 0 reads unbinned meanwhile, and with bins of 2 by 2 later: the library has been told
// these then, but camera 1 has not.
TEST_F(Sharing, BinningThatARecoveryCouldNotRestoreIsThereForTheHost)
{
    ASSERT_EQ(qvns_set_binning(1, 2, 2, 0.0), 0);
    HoldBinning(&Slots[0], 1, 1);
    NoteBinning(Slots[0], 1, 1);
    ASSERT_EQ(qvns_recover(1, 0.0), 0);
    EndRead();
    BeginRead();
    EndRead();
    EXPECT_EQ(qvns_run(1, TellBinning, nullptr, 0.0, 0.0), 22);
    ExpectGoodFrame(second, 2, 2);
}

TEST_F(Sharing, FrameOfTheHostsHasItsOwnBinning)
{
    ASSERT_EQ(qvns_set_binning(0, 2, 2, 0.0), 0);
    static std::vector<uint16_t> pixels;
    const std::vector<uint16_t> wanted = Expected(Full(second, 1, 1), 0);
    pixels.assign(wanted.size(), 0);
    const auto take = [](int32_t camera, void*) {
        QV_FGetCCD(1, 0.01, pixels.data(), camera);
        return QV_Status(camera);
    };
    EXPECT_EQ(qvns_run(1, take, nullptr, 10.0, 0.0), 0);
    EXPECT_EQ(pixels, wanted);
}
