// The direct shutter calls and the trigger input.
#include "devices/shutter.h"

#include <climits>

#include "core/options.h"
#include "core/record.h"
#include "core/timer_service.h"
#include "devices/exposure.h"
#include "emulator/emulator.h"
#include "tests/support/fake_camera.h"

namespace {

class ShutterCalls : public FakeTest {
protected:
    CameraRecord& record = CameraTable[0];
};

using TriggerInput = ShutterCalls;

int32_t ScheduledTrigger;

void PullTrigger(int32_t)
{
    ScheduledTrigger = 1;
}

int32_t ReadScheduledTrigger(int32_t)
{
    return ScheduledTrigger;
}

} // namespace

TEST_F(ShutterCalls, ShutterGoesStraightToTheDriver)
{
    OpenFake(44, 0, 0);
    Shutter(1.5, 0);
    Shutter(-2.0, 0);
    EXPECT_EQ(FakeTexts(), (Texts{"SetShutter 1.5", "SetShutter -2"}));
    EXPECT_EQ(Fake.calls[0].stopCount, 0); // without holding the timer off
}

TEST_F(ShutterCalls, HoldAndReleaseOnPlatform25)
{
    OpenFake(25, 0, 0);
    record.Registers[6] = 0x8401;
    ShutterControl(1, 0);
    EXPECT_EQ(record.ShutterHeld, 1);
    EXPECT_EQ(record.Registers[6], 0x8701);
    ShutterControl(0, 0);
    EXPECT_EQ(record.ShutterHeld, 0);
    EXPECT_EQ(record.Registers[6], 0x8601);
    EXPECT_EQ(FakeTexts(), (Texts{"WriteRegister 6 0x8701", "WriteRegister 6 0x8601"}));
}

TEST_F(ShutterCalls, HoldAndReleaseOnPlatforms44And47)
{
    for (int32_t platform : {44, 47}) {
        OpenFake(platform, 0, 0);
        Fake.calls.clear();
        record.Registers[3] = 0x8101;
        ShutterControl(-1, 0);
        EXPECT_EQ(record.ShutterHeld, 1);
        ShutterControl(0, 0);
        EXPECT_EQ(record.ShutterHeld, 0);
        EXPECT_EQ(record.Registers[3], 0xC101);
        EXPECT_EQ(FakeTexts(), (Texts{"WriteRegister 3 0xC901", "WriteRegister 3 0xC101"}));
    }
}

TEST_F(ShutterCalls, HoldHoldsTheTimerOff)
{
    OpenFake(44, 0, 0);
    ShutterControl(1, 0);
    ASSERT_EQ(Fake.calls.size(), 1u);
    EXPECT_EQ(Fake.calls[0].stopCount, 1);
    EXPECT_EQ(StopCount[0], 0);
}

TEST_F(ShutterCalls, HoldDoesNothingOnOtherPlatforms)
{
    for (int32_t platform : {1, 22, 24, 28, 29, 30, 40, 42, 48, 60, 61, 70, 200, 300, 400, 450}) {
        OpenFake(platform, 0, 0);
        ShutterControl(1, 0);
        EXPECT_EQ(record.ShutterHeld, 0) << platform;
        ShutterControl(0, 0);
    }
    EXPECT_TRUE(Fake.calls.empty());
    EXPECT_EQ(StopCount[0], 0);
}

TEST_F(ShutterCalls, HeldOnPlatform25ADarkFrameLooksLikeALightOneToTheLine)
{
    OpenFake(25, 0, 0);
    ShutterControl(1, 0);
    Fake.calls.clear();
    for (double seconds : {0.1, 0.6}) {
        for (int32_t shutter : {0, 1}) {
            double exposure = seconds;
            ExposureControl("Exposure", &exposure, shutter, 0);
        }
    }
    EXPECT_TRUE(FakeTexts("WriteRegister").empty());
    EXPECT_EQ(record.Registers[6], 0x0300);
    EXPECT_EQ(FakeTexts("SetShutter").size(), 4u);
}

TEST_F(TriggerInput, WithoutWaitingIsPolledOnce)
{
    OpenFake(44, 0, 0);
    Fake.untriggeredPolls = 1;
    EXPECT_EQ(Trigger(0, 0), 0);
    EXPECT_EQ(Trigger(0, 0), 1);
    EXPECT_EQ(Fake.calls.size(), 2u);
    EXPECT_EQ(EmuMicroseconds(), 0u);
    Fake.triggerValue = 64;
    EXPECT_EQ(Trigger(0, 0), 1);
}

TEST_F(TriggerInput, WaitReturnsWhatWasGivenForWaiting)
{
    for (int32_t wait : {1, 7, -1, INT_MIN}) {
        OpenFake(44, 0, 0);
        Fake.calls.clear();
        Fake.untriggeredPolls = 5;
        Fake.triggerValue = 8;
        EXPECT_EQ(Trigger(wait, 0), wait);
        EXPECT_EQ(Fake.calls.size(), 6u);
    }
}

TEST_F(TriggerInput, WaitHasNoLimitAndEndsWithTheTrigger)
{
    OpenFake(44, 0, 0);
    ScheduledTrigger = 0;
    record.Ops.IsTriggered = ReadScheduledTrigger;
    EmuSchedule(20'000'000, PullTrigger, 0);
    EXPECT_EQ(Trigger(1, 0), 1);
    EXPECT_GE(EmuMicroseconds(), 20'000'000u);
}

TEST_F(TriggerInput, WaitDoesNotLookAtTheBreakFlag)
{
    OpenFake(44, 0, 0);
    record.BreakFlag = 1;
    Fake.untriggeredPolls = 100;
    EXPECT_EQ(Trigger(1, 0), 1);
    EXPECT_EQ(Fake.calls.size(), 101u);
    EXPECT_EQ(record.BreakFlag, 1);
}

TEST_F(TriggerInput, PollsDoNotHoldTheTimerOff)
{
    OpenFake(44, 0, 0);
    Trigger(1, 0);
    Trigger(0, 0);
    for (const FakeCall& call : Fake.calls) EXPECT_EQ(call.stopCount, 0);
}
