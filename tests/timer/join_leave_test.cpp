// How cameras join the timer at open and leave it at close.
#include "core/flags.h"
#include "core/record.h"
#include "core/timer_service.h"
#include "emulator/emulator.h"
#include "platform/system.h"
#include "tests/support/scripted_camera.h"
#include "tests/timer/timer_log.h"

namespace {

// Milliseconds since the timer was last started.
uint64_t SinceStart()
{
    for (size_t i = TimerLog.size(); i > 0; --i) {
        if (TimerLog[i - 1].call == "start") {
            return (EmuMicroseconds() - TimerLog[i - 1].microseconds) / 1000;
        }
    }
    return UINT64_MAX;
}

class TimerJoining : public ScriptedTest {
protected:
    void SetUp() override
    {
        ScriptedTest::SetUp();
        LogTimerCalls();
    }
};

TEST_F(TimerJoining, OpenReturnsAfterTheFirstWorkTurn)
{
    for (uint32_t options : {0x0001u, 0x0002u, 0x0003u, 0x000Bu}) {
        OpenScripted(0, options);
        EXPECT_EQ(SinceStart(), 500u) << options;
        EXPECT_EQ(QV_BckGnd(0), 1u);
        EXPECT_EQ(TimerBusy[0], 0) << "the turn has ended";
        QV_Close(0);
        TimerCursor = 0;
    }
}

TEST_F(TimerJoining, FirstReadingIsThereWhenOpenReturns)
{
    OpenDemo(0, 0x0002);
    EXPECT_EQ(SinceStart(), 500u);
    EXPECT_EQ(QV_BckGnd(0), 1u);
    std::vector<double> history(7200);
    EXPECT_EQ(QV_GetTempHistory(history.data(), 0), 1);
    EXPECT_EQ(history[0], CameraTable[0].CurrentTemperature);
    QV_Close(0);
}

TEST_F(TimerJoining, OpenWaitsForTheEndOfALongFirstTurn)
{
    Script.temperatureMilliseconds = 250;
    Script.duringCall = [](const ScriptedCall& call) {
        if (call.slot == 11) {
            EXPECT_EQ(LoadFlag(CameraTable[0].BackgroundTicks), 1);
        }
    };
    OpenScripted(0, 0x0002);
    EXPECT_GE(SinceStart(), 750u);
    EXPECT_LT(SinceStart(), 800u);
    EXPECT_EQ(QV_BckGnd(0), 1u);
    EXPECT_EQ(QV_BckBusy(0), 250u);
    Script.temperatureMilliseconds = 0;
    QV_Close(0);
}

TEST_F(TimerJoining, OpenReturnsAlsoWhenTheFirstReadingFails)
{
    Script.temperatureResult = -1;
    OpenScripted(0, 0x0002);
    EXPECT_EQ(SinceStart(), 500u);
    EXPECT_EQ(QV_IsOn(0), 1);
    EXPECT_EQ(QV_Status(0), 2);
    EXPECT_EQ(QV_BckGnd(0), 1u);
    EXPECT_EQ(StopCount[0], 1);
    QV_Close(0);
}

TEST_F(TimerJoining, FirstUserCreatesTheTimer)
{
    OpenScripted(2, 0x0001);
    EXPECT_EQ(TimerCalls(), "finest begin start");
    EXPECT_EQ(TimerLog[1].argument, TimerLog[0].result);
    EXPECT_EQ(TimerLog[2].argument, 100u);
    EXPECT_EQ(TimerLog[2].userValue, 2u);
    EXPECT_EQ(TimerPeriod, TimerLog[0].result);
    EXPECT_EQ(TimerId, TimerLog[2].result);
    EXPECT_EQ(TimerUsers, 1);
    EXPECT_EQ(TimerRunning, 1);
    EXPECT_EQ(TimerAutoStart, 0);
    EXPECT_EQ(TimerActive[2], 1);
    EXPECT_EQ(EmuTimersRunning(), 1u);
    QV_Close(2);
}

TEST_F(TimerJoining, FurtherUsersShareTheTimer)
{
    OpenScripted(0, 0x0001);
    OpenScripted(1, 0x0002);
    EXPECT_EQ(TimerCalls(), "finest begin start");
    EXPECT_EQ(TimerUsers, 2);
    EXPECT_EQ(TimerActive[0], 1);
    EXPECT_EQ(TimerActive[1], 1);
    EXPECT_EQ(EmuTimersRunning(), 1u);
    QV_Close(0);
    QV_Close(1);
}

TEST_F(TimerJoining, JoinClearsDividerAndStopCount)
{
    TimerDivider[0] = 4;
    StopCount[0] = 3;
    OpenScripted(0, 0x0001);
    EXPECT_EQ(SinceStart(), 500u);
    EXPECT_EQ(StopCount[0], 0);
    QV_Close(0);
}

TEST_F(TimerJoining, CameraOtherThanTheFirstWaitsOneTurnMore)
{
    // The cursor stands on camera 0, which is not active: one turn of its
    // counter, and the rotation goes on to camera 3.
    OpenScripted(3, 0x0001);
    EXPECT_EQ(SinceStart(), 600u);
    EXPECT_EQ(QV_BckGnd(3), 1u);
    EXPECT_EQ(QV_BckGnd(0), 0u);
    EXPECT_EQ(TimerDivider[0], 1);
    EXPECT_EQ(TimerCursor, 3);
    QV_Close(3);
}

TEST_F(TimerJoining, LastCameraWaitsNoLongerThanTheRotationNeeds)
{
    // Turns of 100 ms: camera 0 at 600, then both in turn, camera 1 at 700,
    // 900, 1100, 1300 and 1500, its fifth.
    OpenScripted(0, 0x0001);
    OpenScripted(1, 0x0001);
    EXPECT_EQ(SinceStart(), 1500u);
    EXPECT_EQ(QV_BckGnd(1), 1u);
    EXPECT_EQ(QV_BckGnd(0), 2u);
    QV_Close(0);
    QV_Close(1);
}

TEST_F(TimerJoining, OptionsWithoutServiceDoNotJoin)
{
    for (uint32_t options : {0x0000u, 0x0004u, 0x0008u, 0x00F8u}) {
        const uint64_t before = EmuMicroseconds();
        OpenScripted(0, options);
        EXPECT_EQ(TimerUsers, 0) << options;
        EXPECT_EQ(TimerActive[0], 0);
        EXPECT_LT(EmuMicroseconds() - before, 1000u);
        QV_Close(0);
    }
    EXPECT_EQ(TimerCalls(), "");
}

TEST_F(TimerJoining, JoinWaitsWithoutLimitForATimerThatNeverTicks)
{
    System.timer.Start = [](uint32_t, PeriodicCallback, uint32_t) -> uint32_t { return 0; };
    constexpr uint64_t hour = 3600u * 1000000ull;
    EmuSchedule(
        hour,
        [](int32_t camera) {
            StoreFlag(&CameraTable[camera].BackgroundTicks, 1);
            StoreFlag(&TimerPaused[camera], 1);
        },
        0);
    OpenScripted(0, 0x0001);
    EXPECT_GE(EmuMicroseconds(), hour);
    EXPECT_EQ(TimerRunning, 1);
    QV_Close(0);
    EXPECT_EQ(TimerRunning, 0);
}

// Leaving.

TEST_F(TimerJoining, LastUserEndsTheTimer)
{
    OpenScripted(0, 0x0001);
    const uint32_t timer = TimerId;
    const uint64_t before = EmuMicroseconds();
    QV_Close(0);
    EXPECT_EQ(TimerCalls(), "finest begin start stop end");
    EXPECT_EQ(TimerLog[3].argument, timer);
    EXPECT_EQ(TimerLog[4].argument, TimerLog[1].argument);
    EXPECT_EQ(EmuMicroseconds() / 1000 - before / 1000, 100u) << "until the timer acknowledged";
    EXPECT_EQ(TimerUsers, 0);
    EXPECT_EQ(TimerRunning, 0);
    EXPECT_EQ(TimerAutoStart, 1);
    EXPECT_EQ(StopCount[0], 0);
    EXPECT_EQ(TimerActive[0], 0);
    EXPECT_EQ(EmuTimersRunning(), 0u);
}

TEST_F(TimerJoining, EarlierUsersLeaveTheTimerRunning)
{
    OpenScripted(0, 0x0001);
    OpenScripted(1, 0x0001);
    const uint64_t before = EmuMicroseconds();
    QV_Close(0);
    EXPECT_EQ(EmuMicroseconds() / 1000, before / 1000) << "no wait";
    EXPECT_EQ(EmuTimersRunning(), 1u);
    EXPECT_EQ(TimerRunning, 1);
    EXPECT_EQ(TimerUsers, 1);
    EXPECT_EQ(TimerActive[0], 0);
    const uint32_t ticks = QV_BckGnd(1);
    QV_Delay(2000);
    EXPECT_EQ(QV_BckGnd(0), 2u) << "served no more";
    EXPECT_GE(QV_BckGnd(1), ticks + 3);
    QV_Close(1);
    EXPECT_EQ(EmuTimersRunning(), 0u);
}

TEST_F(TimerJoining, LeavingForgetsStopsThatWereNotGivenBack)
{
    OpenScripted(0, 0x0001);
    QV_StopNow(0);
    QV_StopNow(0);
    QV_Close(0);
    EXPECT_EQ(StopCount[0], 0);
    EXPECT_EQ(EmuTimersRunning(), 0u);
}

TEST_F(TimerJoining, TimerStartsAnewForTheNextUser)
{
    OpenScripted(0, 0x0001);
    QV_Close(0);
    OpenScripted(0, 0x0001);
    EXPECT_EQ(TimerCalls(), "finest begin start stop end finest begin start");
    EXPECT_EQ(SinceStart(), 500u);
    QV_Close(0);
}

TEST_F(TimerJoining, CursorStaysWhereTheLastUserLeftIt)
{
    OpenScripted(3, 0x0001);
    QV_Close(3);
    EXPECT_EQ(TimerCursor, 3);
    TimerDivider[3] = 0;
    OpenScripted(1, 0x0001);
    EXPECT_EQ(SinceStart(), 600u) << "one turn of camera 3's counter first";
    EXPECT_EQ(TimerDivider[3], 1);
    QV_Close(1);
}

TEST_F(TimerJoining, InactiveCameraUnderTheCursorGetsTheTurnThatIsDue)
{
    OpenScripted(3, 0x0001);
    QV_Close(3);
    TimerDivider[3] = 4;
    OpenScripted(1, 0x0001);
    EXPECT_EQ(QV_BckGnd(3), 2u) << "required: the turn does not ask who is active";
    EXPECT_EQ(TimerCursor, 1);
    QV_Close(1);
}

TEST_F(TimerJoining, CloseOfACameraThatNeverJoinedLeavesTheTimerAlone)
{
    OpenScripted(1, 0x0001);
    OpenScripted(0, 0);
    QV_SetMode(0x0001, 1, 0);
    const uint64_t before = EmuMicroseconds();
    QV_Close(0);
    EXPECT_EQ(EmuMicroseconds(), before) << "no wait";
    EXPECT_EQ(TimerUsers, 1);
    EXPECT_EQ(EmuTimersRunning(), 1u);
    const uint32_t ticks = QV_BckGnd(1);
    QV_Delay(1000);
    EXPECT_EQ(QV_BckGnd(1), ticks + 2);
    QV_Close(1);
    EXPECT_EQ(EmuTimersRunning(), 0u);
}

TEST_F(TimerJoining, CloseAfterAFailedInternalBufferLeavesTheTimerAlone)
{
    Script.duringCall = [](const ScriptedCall& call) {
        if (call.slot == 8 && call.camera == 0) EmuFail(EmuAllocate, 1, false);
    };
    OpenScripted(1, 0x0001);
    OpenScripted(0, 0x8003);
    ASSERT_EQ(QV_Status(0), 16);
    ASSERT_EQ(QV_IsOn(0), 1);
    QV_Close(0);
    EXPECT_EQ(TimerUsers, 1);
    const uint32_t ticks = QV_BckGnd(1);
    QV_Delay(1000);
    EXPECT_EQ(QV_BckGnd(1), ticks + 2);
    QV_Close(1);
    EXPECT_EQ(TimerUsers, 0);
    EXPECT_EQ(EmuTimersRunning(), 0u);
}

TEST_F(TimerJoining, HeldCameraOutsideTheRotationDoesNotKeepAnotherFromJoining)
{
    // The cursor stands on camera 0, which is held and was never served.
    OpenScripted(0, 0);
    QV_StopNow(0);
    OpenScripted(1, 0x0001);
    EXPECT_EQ(SinceStart(), 600u) << "one tick to pass camera 0, five turns";
    EXPECT_EQ(QV_BckGnd(1), 1u);
    EXPECT_EQ(QV_BckGnd(0), 0u);
    EXPECT_EQ(StopCount[0], 1);
    EXPECT_EQ(TimerPaused[0], 1);
    QV_StartNow(0);
    QV_Close(1);
}

TEST_F(TimerJoining, FailedFrameOfACameraWithoutServiceDoesNotStopTheOthers)
{
    Script.readResult = 2;
    OpenScripted(0, 0);
    uint16_t frame[24 * 16];
    QV_GetCCD(1, 0.0, frame, 0);
    ASSERT_EQ(StopCount[0], 1);
    QV_Close(0);
    EXPECT_EQ(StopCount[0], 1) << "closed without the service, and so not given back";
    OpenScripted(1, 0x0001);
    EXPECT_EQ(QV_BckGnd(1), 1u);
    QV_Close(1);
}

TEST_F(TimerJoining, CloseOfAnArrayCameraDoesNotEndItsTimer)
{
    // An array has a timer of its own and was never counted.
    OpenScripted(1, 0);
    CameraTable[1].ArrayMode = 1;
    CameraTable[1].Options = 0x0001;
    QV_ArmTimerHandle(2, 1);
    QV_Close(1);
    EXPECT_EQ(TimerUsers, -1);
    EXPECT_EQ(EmuTimersRunning(), 1u);
}

} // namespace
