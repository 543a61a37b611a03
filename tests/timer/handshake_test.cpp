// StopNow and StartNow against the timer.
#include "core/flags.h"
#include "core/record.h"
#include "core/timer_service.h"
#include "emulator/emulator.h"
#include "platform/system.h"
#include "tests/support/scripted_camera.h"
#include "tests/timer/timer_log.h"

namespace {

constexpr uint64_t Hour = 3600u * 1000000ull;

class StopHandshake : public ScriptedTest {};

TEST_F(StopHandshake, WithoutServiceTheCountIsPlainArithmetic)
{
    OpenScripted(0, 0x0008);
    const uint64_t sleeps = EmuSleepCount();
    QV_StopNow(0);
    EXPECT_EQ(StopCount[0], 1);
    QV_StopNow(0);
    EXPECT_EQ(StopCount[0], 2);
    QV_StartNow(0);
    EXPECT_EQ(StopCount[0], 1);
    QV_StartNow(0);
    EXPECT_EQ(StopCount[0], 0);
    QV_StartNow(0);
    EXPECT_EQ(StopCount[0], -1) << "not repaired";
    QV_StartNow(0);
    EXPECT_EQ(StopCount[0], -2);
    QV_StopNow(0);
    EXPECT_EQ(StopCount[0], -1);
    EXPECT_EQ(EmuSleepCount(), sleeps) << "never waits";
}

TEST_F(StopHandshake, StopsNest)
{
    OpenScripted(0, 0x0001);
    QV_StopNow(0);
    QV_StopNow(0);
    QV_StartNow(0);
    EXPECT_EQ(StopCount[0], 1);
    const uint32_t ticks = QV_BckGnd(0);
    QV_Delay(3000);
    EXPECT_EQ(QV_BckGnd(0), ticks) << "still held";
    QV_StartNow(0);
    EXPECT_EQ(StopCount[0], 0);
    QV_Delay(1000);
    EXPECT_EQ(QV_BckGnd(0), ticks + 2);
    QV_Close(0);
}

TEST_F(StopHandshake, TwoNestedPairsCostOneWait)
{
    OpenScripted(0, 0x0001);
    QV_StopNow(0);
    const uint64_t sleeps = EmuSleepCount();
    const uint64_t now = EmuMicroseconds();
    QV_StopNow(0);
    QV_StartNow(0);
    QV_StartNow(0);
    EXPECT_EQ(EmuSleepCount(), sleeps);
    EXPECT_EQ(EmuMicroseconds(), now);
    QV_Close(0);
}

TEST_F(StopHandshake, StopPollsEveryFiveMillisecondsUntilTheNextTick)
{
    OpenScripted(0, 0x0001); // the next tick is at 600 ms
    const uint64_t sleeps = EmuSleepCount();
    EXPECT_EQ(TimerPaused[0], 0);
    QV_StopNow(0);
    EXPECT_EQ(TimerPaused[0], 1);
    EXPECT_EQ(EmuLastSleep(), 5u);
    EXPECT_GE(EmuSleepCount() - sleeps, 19u);
    EXPECT_LE(EmuSleepCount() - sleeps, 21u);
    EXPECT_GE(EmuMicroseconds(), 600000u);
    EXPECT_LT(EmuMicroseconds(), 606000u);
    QV_StartNow(0);
    QV_Close(0);
}

TEST_F(StopHandshake, AcknowledgementOfAnEarlierStopCostsOneSleep)
{
    OpenScripted(0, 0x0001);
    QV_StopNow(0);
    QV_StartNow(0);
    EXPECT_EQ(TimerPaused[0], 1) << "left set until a turn runs";
    const uint64_t sleeps = EmuSleepCount();
    QV_StopNow(0);
    EXPECT_EQ(EmuSleepCount(), sleeps + 1);
    QV_StartNow(0);
    QV_Delay(100);
    EXPECT_EQ(TimerPaused[0], 0);
    QV_Close(0);
}

TEST_F(StopHandshake, StartRepairsACountBelowZeroWithService)
{
    for (uint32_t options : {0x0001u, 0x0002u}) {
        OpenScripted(0, options);
        QV_StartNow(0);
        EXPECT_EQ(StopCount[0], 0) << options;
        StopCount[0] = -7;
        QV_StartNow(0);
        EXPECT_EQ(StopCount[0], 0);
        QV_Close(0);
    }
}

TEST_F(StopHandshake, StopWithoutATimerWaitsUntilSomebodyAcknowledges)
{
    OpenScripted(0, 0);
    QV_SetMode(0x0001, 1, 0);
    EmuSchedule(
        Hour, [](int32_t camera) { StoreFlag(&TimerPaused[camera], 1); }, 0);
    QV_StopNow(0);
    EXPECT_GE(EmuMicroseconds(), Hour);
    EXPECT_LT(EmuMicroseconds(), Hour + 6000);
    QV_SetMode(0x0001, 0, 0);
    QV_StartNow(0);
}

TEST_F(StopHandshake, StopOfASecondCameraWaitsForTheFirstToBeGivenBack)
{
    OpenScripted(0, 0x0001);
    OpenScripted(1, 0x0001);
    QV_StopNow(0);
    EmuSchedule(
        Hour, [](int32_t camera) { QV_StartNow(camera); }, 0);
    QV_StopNow(1);
    EXPECT_GE(EmuMicroseconds(), Hour);
    EXPECT_LT(EmuMicroseconds(), Hour + 300000);
    QV_StartNow(1);
    QV_Close(0);
    QV_Close(1);
}

TEST_F(StopHandshake, StopWaitsForTheRotationToReachTheCamera)
{
    OpenScripted(0, 0x0001);
    OpenScripted(1, 0x0001);
    for (int32_t camera : {0, 1, 1, 0}) {
        QV_Delay(210);
        const uint64_t before = EmuMicroseconds();
        QV_StopNow(camera);
        EXPECT_LE(EmuMicroseconds() - before, 206000u);
        EXPECT_EQ(TimerPaused[camera], 1);
        QV_StartNow(camera);
    }
    QV_Close(0);
    QV_Close(1);
}

// The timer's phase, walked across the calls of the library.

bool CallerInside;
uint32_t Intrusions;

void RunBrackets(int32_t camera, int32_t other)
{
    for (uint32_t round = 0; round < 10; ++round) {
        const uint64_t before = EmuMicroseconds();
        QV_StopNow(camera);
        EXPECT_LE(EmuMicroseconds() - before, 300000u);
        CallerInside = true;
        QV_Delay(3 + 17 * round);
        QV_StopNow(camera);
        QV_Delay(1);
        QV_StartNow(camera);
        QV_Delay(130);
        CallerInside = false;
        QV_StartNow(camera);
        QV_Delay(11 * round);
    }
    EXPECT_EQ(StopCount[camera], 0);
    EXPECT_EQ(StopCount[other], 0);
}

void WalkPhases(uint32_t step, bool two)
{
    for (uint32_t phase = 0; phase < 100; ++phase) {
        ResetLibrary();
        QV_SetPathName(DemoFolder().c_str());
        EmuSetTimerPhase(phase * step);
        CallerInside = false;
        Intrusions = 0;
        ScriptedCalls.clear();
        Script.temperatureMilliseconds = 37;
        Script.duringCall = [](const ScriptedCall& call) {
            if (call.slot == 11 && call.camera == 0) Intrusions += CallerInside;
        };
        OpenScripted(0, 0x0002);
        if (two) OpenScripted(1, 0x0002);
        const uint32_t ticks = QV_BckGnd(0);
        RunBrackets(0, 1);
        QV_Delay(1500);
        EXPECT_EQ(Intrusions, 0u) << phase;
        EXPECT_GT(QV_BckGnd(0), ticks);
        QV_Close(0);
        if (two) QV_Close(1);
        EXPECT_EQ(EmuTimersRunning(), 0u);
    }
}

TEST_F(StopHandshake, TimerStaysOutAtEveryPhase)
{
    WalkPhases(1000, false);
}

TEST_F(StopHandshake, TimerStaysOutAtEveryFinePhase)
{
    WalkPhases(53, false);
}

TEST_F(StopHandshake, TimerStaysOutAtEveryPhaseWithTwoCameras)
{
    WalkPhases(1000, true);
}

TEST_F(StopHandshake, OpenEndsAfterTheFifthTickAtEveryPhase)
{
    for (uint32_t phase = 0; phase < 100; ++phase) {
        ResetLibrary();
        QV_SetPathName(DemoFolder().c_str());
        EmuSetTimerPhase(phase * 1000);
        OpenScripted(0, 0x0002);
        EXPECT_EQ(EmuMicroseconds() / 1000, 500 - phase);
        EXPECT_EQ(QV_BckGnd(0), 1u);
        QV_Close(0);
    }
}

// Direct control of the timer.

class DirectTimer : public ScriptedTest {
protected:
    void SetUp() override
    {
        ScriptedTest::SetUp();
        LogTimerCalls();
    }
};

TEST_F(DirectTimer, NothingTicksAfterDisarmingUntilTheHostStartsIt)
{
    QV_ArmTimerHandle(0, 0);
    EXPECT_EQ(TimerAutoStart, 0);
    OpenScripted(0, 0x0002);
    EXPECT_LT(EmuMicroseconds(), 1000u) << "no wait";
    EXPECT_EQ(TimerUsers, 1);
    EXPECT_EQ(TimerActive[0], 1);
    EXPECT_EQ(TimerRunning, 0);
    QV_Delay(5000);
    EXPECT_EQ(QV_BckGnd(0), 0u);
    EXPECT_EQ(TimerCalls(), "");

    EXPECT_EQ(QV_TemperatureHandle(0), 0);
    EXPECT_EQ(CallsOf(11).size(), 1u) << "the host's own reading";

    QV_ArmTimerHandle(2, 0);
    EXPECT_EQ(TimerCalls(), "finest begin start");
    EXPECT_EQ(TimerRunning, 0) << "not changed";
    QV_Delay(1050);
    EXPECT_EQ(QV_BckGnd(0), 2u);
    QV_ArmTimerHandle(3, 0);
    EXPECT_EQ(EmuTimersRunning(), 0u);
    QV_Close(0);
    EXPECT_EQ(TimerAutoStart, 1);
}

TEST_F(DirectTimer, RearmingLetsTheNextOpenCreateTheTimer)
{
    QV_ArmTimerHandle(0, 5);
    QV_ArmTimerHandle(1, 5);
    EXPECT_EQ(TimerAutoStart, 1);
    OpenScripted(0, 0x0001);
    EXPECT_EQ(QV_BckGnd(0), 1u);
    EXPECT_EQ(TimerRunning, 1);
    QV_Close(0);
}

TEST_F(DirectTimer, CreatedTimerIsTheSamePeriodicOneWithTheCamerasNumber)
{
    QV_ArmTimerHandle(2, 6);
    EXPECT_EQ(TimerCalls(), "finest begin start");
    EXPECT_EQ(TimerLog[1].argument, TimerLog[0].result);
    EXPECT_EQ(TimerLog[2].argument, 100u);
    EXPECT_EQ(TimerLog[2].userValue, 6u);
    EXPECT_EQ(TimerId, TimerLog[2].result);
    EXPECT_EQ(TimerUsers, 0);
    EXPECT_EQ(TimerAutoStart, 1);
    EXPECT_EQ(EmuTimersRunning(), 1u);
}

TEST_F(DirectTimer, EndingWaitsForTheAcknowledgementAndFreesTheCamera)
{
    OpenScripted(0, 0x0001);
    const uint32_t timer = TimerId;
    TimerLog.clear();
    const uint64_t before = EmuMicroseconds();
    QV_ArmTimerHandle(3, 0);
    EXPECT_EQ(TimerCalls(), "stop end");
    EXPECT_EQ(TimerLog[0].argument, timer);
    EXPECT_EQ(TimerLog[1].argument, TimerPeriod);
    EXPECT_EQ(EmuMicroseconds() / 1000 - before / 1000, 100u);
    EXPECT_EQ(StopCount[0], 0);
    EXPECT_EQ(TimerRunning, 1) << "not changed";
    EXPECT_EQ(TimerUsers, 1);
    const uint32_t ticks = QV_BckGnd(0);
    QV_Delay(2000);
    EXPECT_EQ(QV_BckGnd(0), ticks);
    QV_ArmTimerHandle(2, 0);
    QV_Close(0);
}

TEST_F(DirectTimer, EndingWithoutATimerWaitsWithoutLimit)
{
    OpenScripted(0, 0);
    EmuSchedule(
        Hour, [](int32_t camera) { StoreFlag(&TimerPaused[camera], 1); }, 0);
    QV_ArmTimerHandle(3, 0);
    EXPECT_GE(EmuMicroseconds(), Hour);
    EXPECT_EQ(StopCount[0], 0);
}

TEST_F(DirectTimer, AnyOtherActionDoesNothing)
{
    for (int32_t action : {-1, 4, 5, INT32_MAX, INT32_MIN}) {
        QV_ArmTimerHandle(action, 0);
        EXPECT_EQ(TimerAutoStart, 1) << action;
        EXPECT_EQ(TimerCalls(), "");
        EXPECT_EQ(StopCount[0], 0);
    }
}

TEST_F(DirectTimer, SecondCameraDoesNotWaitWhenTheTimerWasNotStartedByAnOpen)
{
    QV_ArmTimerHandle(0, 0);
    QV_ArmTimerHandle(2, 0);
    const uint64_t before = EmuMicroseconds();
    OpenScripted(0, 0x0001);
    OpenScripted(1, 0x0001);
    EXPECT_LT(EmuMicroseconds() - before, 1000u);
    QV_Delay(2500);
    EXPECT_GE(QV_BckGnd(0), 1u);
    EXPECT_GE(QV_BckGnd(1), 1u);
    QV_Close(0);
    QV_Close(1);
    EXPECT_EQ(EmuTimersRunning(), 1u) << "left to the host";
}

} // namespace
