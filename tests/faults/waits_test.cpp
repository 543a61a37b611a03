// The waits that nothing but the camera ends, as docs/waits.md lists them: no time is enough
// for them without it.
#include <vector>

#include "emulator/bus_camera.h"
#include "emulator/usb_camera.h"
#include "tests/faults/session.h"

namespace {

constexpr uint64_t Second = 1'000'000;
const char Told[] = "virtual time limit";

class EndlessWaits : public Session {
protected:
    // Opened; the limit is 5 s from now.
    void Begin(const FaultyLink& which, int32_t interfaceLink = -1)
    {
        link = which;
        Renew();
        ASSERT_EQ(OpenCode(interfaceLink), 0);
        EmuSetTimeLimit(EmuMicroseconds() + 5 * Second);
    }
};

const FaultyLink Briar = {"", {42, 255, 2, "BuildWaveBriar"}};
const FaultyLink TarnIii = {"", {22, 255, 2, "BuildWaveTarn3Kaf"}};
const FaultyLink TarnIiiSerial = {"",
                                  {.platform = 22,
                                   .sensor = 255,
                                   .interfaceType = 1,
                                   .builder = "BuildWaveTarn3Kaf",
                                   .interfaceLink = 1}};
const FaultyLink LarchSerial = {"", {30, 255, 2, "BuildWaveLarchKaf", 100, 0xAAAA2}};

const FaultyLink R4Dsp = {"", {48, 255, UsbInterface, nullptr}};

void PullThePlug(int32_t camera)
{
    EmuUnplugUsbCamera(camera);
}

void SeeTrigger(int32_t camera)
{
    EmuBusTrigger(camera, true);
}

} // namespace

TEST_F(EndlessWaits, TriggerThatDoesNotComeHangsAsTold)
{
    Begin(Briar);
    EXPECT_DEATH(QV_Trigger(1, 0), Told);
    EmuSchedule(EmuMicroseconds() + Second, SeeTrigger, bus);
    EXPECT_EQ(QV_Trigger(1, 0), 1);
}

TEST_F(EndlessWaits, ExposureOfACutCableHangsAsToldOnTarnIii)
{
    Begin(TarnIii);
    EmuBusPower(bus, false);
    EXPECT_DEATH(QV_Shutter(0.1, 0), Told);
}

TEST_F(EndlessWaits, SilentDecoderHangsAsToldOnLarch)
{
    Begin(LarchSerial);
    EXPECT_EQ(QV_GetStatus(15, 0) & 0xFF, 0x2Au);
    EmuBusPower(bus, false);
    EXPECT_DEATH(QV_GetStatus(15, 0), Told);
}

TEST_F(EndlessWaits, SilentDecoderHangsAsToldOnThePortCard)
{
    Begin(TarnIiiSerial, 1);
    EXPECT_EQ(QV_ReadEP(1, 0), 10);
    QV_Poke(16, 1, 0);
    QV_Peek(16, 0);
    EmuBusPower(bus, false);
    EXPECT_DEATH(QV_Peek(16, 0), Told);
    EXPECT_DEATH(QV_ReadEP(1, 0), Told);
}

// What is not there any more is not waited for.
TEST_F(EndlessWaits, VersionOfASilentR4DspHangsAsToldWhileItIsPluggedIn)
{
    link = R4Dsp;
    Renew();
    EmuUsbMute(0, 0);
    EmuSetTimeLimit(5 * Second);
    EXPECT_DEATH(OpenCode(), Told);
    EmuSchedule(3 * Second, PullThePlug, 0);
    EXPECT_EQ(OpenCode(), 1);
}
