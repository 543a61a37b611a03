// Frames that the host starts and picks up by itself, on the cameras that have them and on
// those that have not, through the exported functions.
#include "emulator/bus_camera.h"
#include "emulator/bus_links.h"
#include "emulator/emulator.h"
#include "tests/support/families.h"
#include "tests/support/guarded_pixels.h"
#include "tests/support/traffic_of.h"
#include "tests/support/virtual_camera.h"
#include "tests/support/virtual_usb.h"

namespace {

using Pixels = std::vector<uint16_t>;

constexpr int32_t W = ImageColumns, H = ImageRows;
constexpr int32_t AtOnce = 1, ByInput = 0;
constexpr uint32_t Service = 0x1, NoShutter = 0x10, KeepClean = 0x8;

// Pixels of an image begin behind half of the three dummy lines and four words.
constexpr int32_t FirstWord = Dummies[0] / 2 * W + 4;

// Word `n` of the stream.
uint16_t Sent(int32_t n)
{
    return static_cast<uint16_t>(
        SmallScene(static_cast<uint32_t>(n % W), static_cast<uint32_t>(n / W)));
}

// What is picked up of so many words of a stream, the rest of the lock being empty.
Pixels Image(int32_t words)
{
    Pixels image;
    for (int32_t n = FirstWord; n < FirstWord + W * H; ++n) {
        image.push_back(n < words ? Sent(n) : uint16_t{0});
    }
    return image;
}

void RaiseInput(int32_t camera)
{
    EmuBusTrigger(camera, true);
}

void LowerInput(int32_t camera)
{
    EmuBusTrigger(camera, false);
}

// A pulse of 5 ms on the external input, so many milliseconds from now.
void SchedulePulse(int32_t camera, uint64_t milliseconds)
{
    const uint64_t from = EmuMicroseconds() + milliseconds * 1000;
    EmuSchedule(from, RaiseInput, camera);
    EmuSchedule(from + 5000, LowerInput, camera);
}

template <typename Act> uint64_t MillisecondsOf(const Act& act)
{
    const uint64_t start = EmuMicroseconds();
    act();
    return (EmuMicroseconds() - start) / 1000;
}

std::string BusName(const testing::TestParamInfo<VirtualSetup>& info)
{
    return std::to_string(info.param.platform) + (info.param.decoder != 0 ? "Serial" : "Parallel") +
           std::to_string(info.param.interfaceType) + "_" + std::to_string(info.index);
}

class ArmedFrames : public VirtualCameraTest, public testing::WithParamInterface<VirtualSetup> {
protected:
    bool IsTimedByItself() const { return GetParam().platform == 47; }
    // Words of one transfer: lines of the image and the dummy lines, on 47 half of these.
    int32_t Transferred() const
    {
        return W * (H + (IsTimedByItself() ? Dummies[0] / 2 : Dummies[0]));
    }

    void OpenArmed(uint32_t options = 0)
    {
        Plug(GetParam());
        Open(GetParam(), static_cast<int32_t>(options));
    }
    static Pixels PickUp()
    {
        GuardedPixels image(size_t{W} * H);
        QV_GetImage(image.Data(), 0);
        image.ExpectGuards();
        return image.Pixels();
    }
};

class OlderCard : public ArmedFrames {};
class NotArmed : public VirtualCameraTest, public testing::WithParamInterface<VirtualSetup> {};
class NotArmedOnUsb : public VirtualUsbTest, public testing::WithParamInterface<UsbSetup> {};

const VirtualSetup R3 = OnBus({44, 2, 200});

} // namespace

TEST_P(ArmedFrames, AreStartedAndPickedUpLater)
{
    OpenArmed();
    QV_ArmAcquisition(0.3, 0);
    const uint64_t start = MillisecondsOf([&] { QV_StartAcquisition(AtOnce, 0); });
    // 47 exposes while the host does other things; the others keep it for 0.3 s and 10 ms.
    EXPECT_EQ(start >= 310, !IsTimedByItself());
    QV_Delay(1000);
    EXPECT_EQ(PickUp(), Image(Transferred()));
    EXPECT_EQ(EmuBusExposures(bus), 1u);
    EXPECT_EQ(QV_Status(0), 0);
}

TEST_P(ArmedFrames, GiveTheCameraBackAsItWas)
{
    OpenArmed(KeepClean);
    for (const bool pickedUp : {true, false}) {
        SCOPED_TRACE(pickedUp);
        QV_ArmAcquisition(0.01, 0);
        QV_StartAcquisition(AtOnce, 0);
        QV_Delay(1000);
        if (pickedUp) {
            PickUp();
        } else {
            QV_FlushAcquisition(0);
        }
        GuardedPixels frame(size_t{W} * H);
        QV_GetCCD(1, 0.01, frame.Data(), 0);
        EXPECT_EQ(QV_Status(0), 0);
        EXPECT_EQ(frame.Pixels(), Image(W * (H + Dummies[0])));
    }
}

// The pulse comes after 200 ms; the others then expose 100 ms with the host waiting.
TEST_P(ArmedFrames, AreStartedByTheInput)
{
    OpenArmed();
    QV_ArmAcquisition(0.1, 0);
    SchedulePulse(bus, 200);
    const uint64_t start = MillisecondsOf([&] { QV_StartAcquisition(ByInput, 0); });
    if (IsTimedByItself()) {
        EXPECT_LT(start, 100u);
        QV_Delay(195);
        EXPECT_EQ(EmuBusExposures(bus), 0u);
        QV_Delay(10);
    } else {
        EXPECT_GE(start, 315u); // 200 ms, the pulse of 5, 100, and 10 for the shutter
        EXPECT_LT(start, 330u);
    }
    EXPECT_EQ(EmuBusExposures(bus), 1u);
    QV_Delay(1000);
    EXPECT_EQ(PickUp(), Image(Transferred()));
    EXPECT_EQ(EmuBusRegister(bus, 0) & 0x10, 0);
}

// Twice, of which the second is not the first again: the sensor was empty by then.
TEST_P(ArmedFrames, GoOneAfterTheOther)
{
    OpenArmed(KeepClean);
    for (int32_t frame = 1; frame <= 3; ++frame) {
        QV_ClearCCD(0);
        QV_ArmAcquisition(0.01, 0);
        QV_StartAcquisition(AtOnce, 0);
        QV_Delay(1000);
        EXPECT_EQ(PickUp(), Image(Transferred())) << frame;
        EXPECT_EQ(EmuBusExposures(bus), static_cast<uint32_t>(frame));
    }
}

// Light comes from elsewhere: the data path starts at once, and the sensor is empty. The timers
// of 47 take no notice of the option.
TEST_P(ArmedFrames, LeaveTheExposureToOthersIfTold)
{
    if (IsTimedByItself()) GTEST_SKIP() << "exposes by itself";
    OpenArmed(NoShutter);
    QV_ArmAcquisition(100.0, 0);
    const uint64_t start = MillisecondsOf([&] { QV_StartAcquisition(AtOnce, 0); });
    EXPECT_LT(start, 50u);
    QV_Delay(1000);
    EXPECT_EQ(EmuBusExposures(bus), 0u);
    EXPECT_EQ(PickUp(), Pixels(static_cast<size_t>(W * H), 0));
}

// A window of 8 by 2 is loaded: 8 + 3 lines are sent of which, by the size of the window, 40
// words are taken (on 47 8 more than the window has); what is picked up is the whole sensor.
TEST_P(ArmedFrames, OfAWindowArePickedUpInTheSizeOfTheSensor)
{
    OpenArmed();
    Pixels window(8 * 2);
    QV_GetWinCCD(1, 0.01, 0, 0, 8, 2, window.data(), 0);
    ASSERT_EQ(QV_Status(0), 0);
    QV_ClearCCD(0);
    QV_ArmAcquisition(0.01, 0);
    QV_StartAcquisition(AtOnce, 0);
    QV_Delay(1000);
    const Pixels image = PickUp();
    // The offset is that of the sensor's lines: word 28 is column 4 of row 3 of the window.
    const bool arrived = !IsTimedByItself();
    for (int32_t n = FirstWord; n < W * H; ++n) {
        const bool taken = arrived && n < 40;
        const uint32_t sent =
            SmallScene(static_cast<uint32_t>(n % 8), static_cast<uint32_t>(n / 8));
        ASSERT_EQ(image[static_cast<size_t>(n - FirstWord)], taken ? sent : 0) << n;
    }
}

TEST_P(ArmedFrames, GivenUpLeaveCountAndRegisterAtRest)
{
    OpenArmed();
    for (const bool started : {false, true}) {
        QV_ArmAcquisition(0.01, 0);
        if (started) QV_StartAcquisition(AtOnce, 0);
        const std::string traffic = TrafficOf([] { QV_FlushAcquisition(0); });
        EXPECT_NE(traffic.find("count > 00000000"), std::string::npos) << traffic;
        EXPECT_EQ(EmuBusRegister(bus, 0), QV_RMReg(0, 0));
        QV_Delay(1000);
        EXPECT_EQ(PickUp(), Pixels(static_cast<size_t>(W * H), 0)) << started;
    }
}

// In any order nothing but the buffer that is given is written, and frames go on afterwards.
TEST_P(ArmedFrames, InAnyOrderTouchNoOthersMemory)
{
    OpenArmed(KeepClean);
    PickUp();
    QV_FlushAcquisition(0);
    QV_FlushAcquisition(0);
    PickUp();
    QV_ArmAcquisition(0.01, 0);
    PickUp();
    QV_StartAcquisition(AtOnce, 0);
    QV_StartAcquisition(AtOnce, 0);
    PickUp();
    PickUp();
    QV_ArmAcquisition(0.01, 0);
    QV_ArmAcquisition(0.02, 0);
    QV_Delay(1000);
    QV_FlushAcquisition(0);
    QV_StartAcquisition(AtOnce, 0);
    QV_GetImage(nullptr, 0);
    QV_Delay(1000);
    QV_FlushAcquisition(0);
    GuardedPixels frame(size_t{W} * H);
    QV_GetCCD(1, 0.01, frame.Data(), 0);
    EXPECT_EQ(QV_Status(0), 0);
    EXPECT_EQ(frame.Pixels(), Image(W * (H + Dummies[0])));
}

// Nothing says whether a frame has come: what the buffer holds by then is handed over.
TEST_P(ArmedFrames, ThatStallAreHandedOverAsTheyAre)
{
    OpenArmed();
    EmuBusMute(bus, 101);
    QV_ArmAcquisition(0.01, 0);
    QV_StartAcquisition(AtOnce, 0);
    QV_Delay(1000);
    EXPECT_EQ(PickUp(), Image(100)); // two pixels a word
    EXPECT_EQ(QV_Status(0), 0);
}

TEST_P(ArmedFrames, OfAClosedCameraDoNothing)
{
    OpenArmed();
    QV_Close(0);
    GuardedPixels image(size_t{W} * H);
    const std::string traffic = TrafficOf([&] {
        QV_ArmAcquisition(0.01, 0);
        QV_StartAcquisition(AtOnce, 0);
        QV_StartAcquisition(ByInput, 0);
        QV_GetImage(image.Data(), 0);
        QV_FlushAcquisition(0);
    });
    EXPECT_EQ(traffic.find("card"), std::string::npos) << traffic; // but time passes
    EXPECT_TRUE(image.IsUntouched());
}

// No buffer can be locked: the open fails, and nothing is ever transferred.
TEST_P(ArmedFrames, WithoutALockThereAreNone)
{
    Plug(GetParam());
    EmuFail(EmuDmaLock, 1, true);
    QV_Open(GetParam().platform, GetParam().sensor, 0, GetParam().interfaceType, 0, 0, 0, nullptr,
            nullptr);
    GuardedPixels image(size_t{W} * H);
    QV_ArmAcquisition(0.01, 0);
    QV_StartAcquisition(AtOnce, 0);
    QV_Delay(1000);
    QV_GetImage(image.Data(), 0);
    QV_FlushAcquisition(0);
    EXPECT_TRUE(image.IsUntouched());
    EmuReset(); // a failed open keeps the kernel driver's handle
    EmuInstall();
}

INSTANTIATE_TEST_SUITE_P(Cards, ArmedFrames,
                         testing::Values(OnBus({24, 2, 200}), OnBus({24, 2, 200, 0xAAAA1}),
                                         OnBus({24, 4, 200, 3, 3}), OnBus({30, 2, 200}),
                                         OnBus({30, 2, 200, 0xAAAA2, 1}), OnBus({42, 2, 200}),
                                         OnBus({44, 2, 200}), OnBus({44, 2, 200, 0xAAAA2}),
                                         OnBus({44, 2, 200, 3, 3}), OnBus({47, 2, 200}),
                                         OnBus({47, 2, 200, 0xAAAA2}), OnBus({47, 2, 200, 3, 3})),
                         BusName);

// Over an older card the lock holds a line and 512 bytes, 280 words: the card stops there, and
// no more of them is handed over than there are behind the first 28.
TEST_P(OlderCard, StopsAtTheEndOfItsLock)
{
    OpenArmed();
    QV_ArmAcquisition(0.01, 0);
    QV_StartAcquisition(AtOnce, 0);
    QV_Delay(1000);
    const Pixels image = PickUp();
    constexpr int32_t inside = W + 256;
    for (int32_t i = 0; i < W * H; ++i) {
        const int32_t n = FirstWord + i;
        ASSERT_EQ(image[static_cast<size_t>(i)], n < inside ? Sent(n) : UntouchedPixel) << i;
    }
}

INSTANTIATE_TEST_SUITE_P(Cards, OlderCard, testing::ValuesIn(OnTheirLinks({24, 30, 42, 44, 47})),
                         BusName);

// --- cameras that have none ---

namespace {

void ExpectNothingHappens()
{
    GuardedPixels image(size_t{W} * H);
    const std::string traffic = TrafficOf([&] {
        QV_ArmAcquisition(5.0, 0);
        QV_StartAcquisition(AtOnce, 0);
        QV_StartAcquisition(ByInput, 0);
        QV_GetImage(image.Data(), 0);
        QV_FlushAcquisition(0);
    });
    EXPECT_EQ(traffic, "");
    EXPECT_TRUE(image.IsUntouched());
    EXPECT_EQ(QV_Status(0), 0);
}

} // namespace

TEST_P(NotArmed, NothingHappens)
{
    Plug(GetParam());
    Open(GetParam());
    ExpectNothingHappens();
}

INSTANTIATE_TEST_SUITE_P(Cards, NotArmed,
                         testing::ValuesIn(OnTheirLinks({22, 23, 25, 28, 40, 41, 60, 70, 71, 80},
                                                        200)),
                         BusName);

TEST_P(NotArmedOnUsb, NothingHappens)
{
    Plug(GetParam());
    Open(GetParam());
    ExpectNothingHappens();
}

INSTANTIATE_TEST_SUITE_P(Families, NotArmedOnUsb, testing::ValuesIn(UsbFamilies),
                         FamilyName<UsbSetup>);

// --- arming, timers and the service ---

class ArmedCamera : public VirtualCameraTest {};

// Only 47 is told anything ahead of the start.
TEST_F(ArmedCamera, ArmingKeepsTheExposureAndTellsTheCameraNothing)
{
    const VirtualSetup setups[] = {OnBus({24, 2, 200}), OnBus({30, 2, 200}), OnBus({42, 2, 200}),
                                   R3};
    for (const VirtualSetup& setup : setups) {
        Plug(setup);
        Open(setup);
        EXPECT_EQ(TrafficOf([] { QV_ArmAcquisition(0.7, 0); }), "") << setup.platform;
        EXPECT_GE(MillisecondsOf([] { QV_StartAcquisition(AtOnce, 0); }), 700u) << setup.platform;
        QV_Close(0);
        EmuReset();
        EmuInstall();
    }
}

// 0.5 s of exposure and 10 ms for the shutter are timed by the camera, not the host.
TEST_F(ArmedCamera, TimesItsExposureByItself)
{
    const VirtualSetup plus = OnBus({47, 2, 200});
    Plug(plus);
    Open(plus);
    GuardedPixels image(size_t{W} * H);
    QV_ArmAcquisition(0.5, 0);
    EXPECT_EQ(EmuBusExposures(bus), 0u);
    EXPECT_NE(EmuBusRegister(bus, 12) & 0x2000, 0);
    EXPECT_EQ(EmuBusRegister(bus, 11) & 3, 2);
    QV_StartAcquisition(AtOnce, 0);
    EXPECT_EQ(EmuBusExposures(bus), 1u);
    QV_Delay(505);
    QV_GetImage(image.Data(), 0);
    EXPECT_EQ(image.Pixels(), Pixels(static_cast<size_t>(W * H), 0)) << "nothing has come";
    EXPECT_EQ(EmuBusRegister(bus, 12) & 0x2000, 0);
    EXPECT_EQ(EmuBusRegister(bus, 11) & 3, 0);
    QV_ArmAcquisition(0.5, 0);
    QV_StartAcquisition(AtOnce, 0);
    QV_Delay(530);
    QV_GetImage(image.Data(), 0);
    EXPECT_EQ(image.Pixels(), Image(W * (H + Dummies[0] / 2)));
}

// The host keeps the service out by itself.
TEST_F(ArmedCamera, IsHeldOffTheServiceByTheHost)
{
    Plug(R3);
    Open(R3, Service);
    GuardedPixels image(size_t{W} * H);
    QV_StopNow(0);
    QV_ArmAcquisition(0.01, 0);
    QV_StartAcquisition(AtOnce, 0);
    QV_Delay(1000);
    QV_GetImage(image.Data(), 0);
    QV_StartNow(0);
    EXPECT_EQ(image.Pixels(), Image(W * (H + Dummies[0])));
    const uint32_t turns = QV_BckGnd(0);
    QV_Delay(3000);
    EXPECT_GE(QV_BckGnd(0), turns + 5);
}

TEST_F(ArmedCamera, IsOpenedWithoutATimerIfTold)
{
    Plug(R3);
    QV_ArmTimerHandle(0, 0);
    Open(R3, Service);
    EXPECT_EQ(EmuTimersRunning(), 0u);
    QV_Delay(3000);
    EXPECT_EQ(QV_BckGnd(0), 0u);
    QV_ArmTimerHandle(2, 0);
    EXPECT_EQ(EmuTimersRunning(), 1u);
    QV_Delay(3000);
    EXPECT_GE(QV_BckGnd(0), 5u);
    QV_ArmTimerHandle(3, 0);
    EXPECT_EQ(EmuTimersRunning(), 0u);
    const uint32_t turns = QV_BckGnd(0);
    QV_Delay(3000);
    EXPECT_EQ(QV_BckGnd(0), turns);
    QV_Close(0);
    QV_ArmTimerHandle(1, 0);
    Open(R3, Service);
    EXPECT_EQ(EmuTimersRunning(), 1u);
}

TEST_F(ArmedCamera, OtherTimerActionsDoNothing)
{
    Plug(R3);
    Open(R3);
    for (const int32_t action : {-1, 4, INT32_MAX, INT32_MIN}) {
        QV_ArmTimerHandle(action, 0);
        EXPECT_EQ(EmuTimersRunning(), 0u);
    }
    QV_Close(0);
    Open(R3, Service);
    EXPECT_EQ(EmuTimersRunning(), 1u);
}
