// The turns of the rotation and what a work turn does.
#include <set>

#include "core/flags.h"
#include "core/record.h"
#include "core/timer_service.h"
#include "emulator/emulator.h"
#include "platform/system.h"
#include "tests/support/scripted_camera.h"

namespace {

class TimerTurns : public ScriptedTest {};

std::vector<uint64_t> TimesOf(int32_t slot, int32_t camera)
{
    std::vector<uint64_t> times;
    for (const ScriptedCall& call : CallsOf(slot, camera)) {
        times.push_back(call.microseconds / 1000);
    }
    return times;
}

TEST_F(TimerTurns, EveryFifthTurnWorks)
{
    OpenScripted(0, 0x0002);
    QV_Delay(1990 - static_cast<uint32_t>(EmuMicroseconds() / 1000));
    EXPECT_EQ(TimesOf(11, 0), (std::vector<uint64_t>{500, 1000, 1500}));
    EXPECT_EQ(QV_BckGnd(0), 3u);
    QV_Close(0);
}

TEST_F(TimerTurns, DividerCountsTheTurns)
{
    OpenScripted(0, 0x0001);
    EXPECT_EQ(TimerDivider[0], 0);
    QV_Delay(150);
    EXPECT_EQ(TimerDivider[0], 1);
    QV_Delay(300);
    EXPECT_EQ(TimerDivider[0], 4);
    EXPECT_EQ(QV_BckGnd(0), 1u);
    QV_Delay(100);
    EXPECT_EQ(TimerDivider[0], 0);
    EXPECT_EQ(QV_BckGnd(0), 2u);
    QV_Close(0);
}

TEST_F(TimerTurns, RegulationOptionReadsTheTemperature)
{
    OpenScripted(0, 0x0002);
    QV_Delay(2600);
    EXPECT_EQ(CallsOf(11).size(), 6u);
    EXPECT_TRUE(CallsOf(10).empty());
    QV_Close(0);
}

TEST_F(TimerTurns, ServiceOptionAloneTouchesNothing)
{
    OpenScripted(0, 0x0001);
    QV_Delay(2600);
    EXPECT_EQ(QV_BckGnd(0), 6u);
    EXPECT_TRUE(CallsOf(11).empty());
    EXPECT_TRUE(CallsOf(10).empty());
    EXPECT_EQ(QV_BckBusy(0), 0u);
    QV_Close(0);
}

TEST_F(TimerTurns, CleaningOptionClearsTheSensorAfterTheReading)
{
    OpenScripted(0, 0x000A);
    ScriptedCalls.clear();
    QV_Delay(1000);
    EXPECT_EQ(CalledSlots(), (std::vector<int32_t>{11, 10, 11, 10}));
    QV_Close(0);
    OpenScripted(0, 0x0009);
    ScriptedCalls.clear();
    QV_Delay(1000);
    EXPECT_EQ(CalledSlots(), (std::vector<int32_t>{10, 10}));
    QV_Close(0);
}

TEST_F(TimerTurns, OptionsAreReadAnewAtEachTurn)
{
    OpenScripted(0, 0x0001);
    QV_SetMode(0x0008, 1, 0);
    QV_Delay(500);
    EXPECT_EQ(CallsOf(10).size(), 1u);
    QV_SetMode(0x0008, 0, 0);
    QV_Delay(500);
    EXPECT_EQ(CallsOf(10).size(), 1u);
    EXPECT_EQ(QV_BckGnd(0), 3u);
    QV_Close(0);
}

TEST_F(TimerTurns, CleaningAloneIsNotServedBesideAnothersTimer)
{
    OpenScripted(0, 0x0001);
    OpenScripted(1, 0x0008);
    QV_Delay(3000);
    EXPECT_EQ(QV_BckGnd(1), 0u);
    EXPECT_TRUE(CallsOf(10).empty());
    EXPECT_EQ(QV_BckGnd(0), 7u) << "camera 0 keeps all turns";
    QV_Close(0);
}

TEST_F(TimerTurns, LengthOfTheWorkTurnIsKept)
{
    Script.temperatureMilliseconds = 30;
    Script.clearMilliseconds = 12;
    OpenScripted(0, 0x000A);
    EXPECT_EQ(QV_BckBusy(0), 42u);
    Script.clearMilliseconds = 0;
    Script.temperatureMilliseconds = 0;
    QV_Delay(500);
    EXPECT_EQ(QV_BckBusy(0), 0u);
    QV_Close(0);
}

TEST_F(TimerTurns, LengthIsRightWhenTheTickCountWraps)
{
    EmuSetFirstTickCount(0xFFFFFFFFu - 510);
    Script.temperatureMilliseconds = 40;
    OpenScripted(0, 0x0002);
    EXPECT_GE(QV_BckBusy(0), 40u);
    EXPECT_LE(QV_BckBusy(0), 41u);
    Script.temperatureMilliseconds = 0;
    QV_Close(0);
}

TEST_F(TimerTurns, TicksThatOvertakeALongTurnAreDropped)
{
    // The clearing takes 180 ms: the tick at 600 returns at once, the divider
    // goes on at 700 and the next work turn is at 1100.
    OpenDemo(0, 0x0009);
    EXPECT_EQ(EmuMicroseconds() / 1000, 680u);
    EXPECT_EQ(QV_BckBusy(0), 180u);
    QV_Delay(345);
    EXPECT_EQ(TimerDivider[0], 4) << "at 1025";
    EXPECT_EQ(QV_BckGnd(0), 1u);
    QV_Delay(90);
    EXPECT_EQ(QV_BckGnd(0), 2u) << "past 1100";
    QV_Close(0);
}

TEST_F(TimerTurns, TurnNeverRunsInsideAnother)
{
    static int32_t depth;
    depth = 0;
    Script.temperatureMilliseconds = 730;
    Script.duringCall = [](const ScriptedCall& call) {
        if (call.slot == 11) {
            EXPECT_EQ(LoadFlag(TimerBusy[0]), 1);
            EXPECT_EQ(++depth, 1);
        }
        if (call.slot == 10) --depth;
    };
    OpenScripted(0, 0x000A);
    QV_Delay(5000);
    EXPECT_EQ(depth, 0);
    EXPECT_GE(QV_BckGnd(0), 4u);
    Script.temperatureMilliseconds = 0;
    QV_Close(0);
}

TEST_F(TimerTurns, EnteredGuardKeepsATickOut)
{
    OpenScripted(0, 0x0001);
    StoreFlag(&TimerEntered, 1);
    QV_Delay(2000);
    EXPECT_EQ(QV_BckGnd(0), 1u);
    EXPECT_EQ(TimerDivider[0], 0);
    StoreFlag(&TimerEntered, 0);
    QV_Delay(500);
    EXPECT_EQ(QV_BckGnd(0), 2u);
    QV_Close(0);
}

TEST_F(TimerTurns, BusyCameraKeepsTheTickOutWithoutAnAcknowledgement)
{
    OpenScripted(0, 0x0001);
    StoreFlag(&TimerBusy[0], 1);
    StoreFlag(&TimerPaused[0], 0);
    QV_Delay(1000);
    EXPECT_EQ(QV_BckGnd(0), 1u);
    EXPECT_EQ(LoadFlag(TimerPaused[0]), 0);
    StoreFlag(&StopCount[0], 1);
    QV_Delay(100);
    EXPECT_EQ(LoadFlag(TimerPaused[0]), 1);
    StoreFlag(&StopCount[0], 0);
    StoreFlag(&TimerBusy[0], 0);
    QV_Close(0);
}

// Rotation.

TEST_F(TimerTurns, TwoCamerasAreReadEverySecond)
{
    OpenScripted(0, 0x0002);
    OpenScripted(1, 0x0002);
    ScriptedCalls.clear();
    QV_Delay(10000);
    EXPECT_EQ(CallsOf(11, 0).size(), 10u);
    EXPECT_EQ(CallsOf(11, 1).size(), 10u);
    const std::vector<uint64_t> times = TimesOf(11, 1);
    for (size_t i = 1; i < times.size(); ++i) EXPECT_EQ(times[i] - times[i - 1], 1000u);
    QV_Close(0);
    QV_Close(1);
}

TEST_F(TimerTurns, OneCameraIsReadTwiceASecond)
{
    OpenScripted(0, 0x0002);
    ScriptedCalls.clear();
    QV_Delay(10000);
    EXPECT_EQ(CallsOf(11, 0).size(), 20u);
    QV_Close(0);
}

TEST_F(TimerTurns, EightCamerasShareTheTurnsEvenly)
{
    for (int32_t camera = 0; camera < 8; ++camera) OpenScripted(camera, 0x0002);
    ScriptedCalls.clear();
    QV_Delay(40000);
    for (int32_t camera = 0; camera < 8; ++camera) {
        EXPECT_EQ(CallsOf(11, camera).size(), 10u) << camera;
    }
    for (int32_t camera = 0; camera < 8; ++camera) QV_Close(camera);
    EXPECT_EQ(EmuTimersRunning(), 0u);
}

TEST_F(TimerTurns, CursorGoesUpwardsAndAroundPastTheGaps)
{
    for (int32_t camera : {2, 5, 6}) OpenScripted(camera, 0x0001);
    std::vector<int32_t> visits;
    for (int32_t i = 0; i < 6; ++i) {
        visits.push_back(LoadFlag(TimerCursor));
        QV_Delay(100);
    }
    std::set<int32_t> seen(visits.begin(), visits.end());
    EXPECT_EQ(seen, (std::set<int32_t>{2, 5, 6}));
    for (size_t i = 1; i < visits.size(); ++i) {
        EXPECT_EQ(visits[i], visits[i - 1] == 2 ? 5 : visits[i - 1] == 5 ? 6 : 2);
    }
    for (int32_t camera : {5, 2, 6}) QV_Close(camera);
}

TEST_F(TimerTurns, HeldCameraStopsTheRotationForAll)
{
    OpenScripted(0, 0x0001);
    OpenScripted(1, 0x0001);
    QV_StopNow(0);
    const uint32_t before = QV_BckGnd(1);
    QV_Delay(10000);
    EXPECT_EQ(QV_BckGnd(1), before);
    EXPECT_EQ(LoadFlag(TimerCursor), 0);
    QV_StartNow(0);
    QV_Delay(2000);
    EXPECT_EQ(QV_BckGnd(1), before + 2);
    QV_Close(0);
    QV_Close(1);
}

// A failed reading.

TEST_F(TimerTurns, FailedReadingEndsTheCamerasWorkAndFreezesTheRotation)
{
    OpenScripted(0, 0x000A);
    OpenScripted(1, 0x000A);
    const uint32_t other = QV_BckGnd(1);
    CameraTable[0].TickDuration = 77;
    static int32_t turns;
    Script.duringCall = [](const ScriptedCall& call) {
        const bool fails = call.slot == 11 && call.camera == 0;
        Script.temperatureResult = fails ? -1 : 0;
        if (fails) turns = LoadFlag(TimerDivider[1]);
    };
    const uint32_t before = QV_BckGnd(0);
    ScriptedCalls.clear();
    QV_Delay(30000);
    EXPECT_EQ(QV_Status(0), 2);
    EXPECT_EQ(QV_Status(1), 0);
    EXPECT_EQ(QV_BckGnd(0), before + 1);
    EXPECT_LE(QV_BckGnd(1), other + 1);
    EXPECT_EQ(CallsOf(11, 0).size(), 1u);
    EXPECT_TRUE(CallsOf(10, 0).empty()) << "no clearing after a failed reading";
    EXPECT_EQ(QV_BckBusy(0), 77u) << "the turn's length is not taken";
    EXPECT_EQ(StopCount[0], 1);
    EXPECT_EQ(TimerPaused[0], 1);
    EXPECT_EQ(TimerBusy[0], 0);
    EXPECT_EQ(TimerCursor, 0);
    EXPECT_EQ(TimerDivider[1], turns) << "not one turn more for the other camera";
    EXPECT_EQ(QV_IsOn(0), 1);

    QV_Close(0);
    const uint32_t frozen = QV_BckGnd(1);
    QV_Delay(2000);
    EXPECT_GE(QV_BckGnd(1), frozen + 3) << "the rotation goes on without the failed camera";
    QV_Close(1);
    EXPECT_EQ(EmuTimersRunning(), 0u);
}

TEST_F(TimerTurns, FailedReadingDoesNotForgetAStopThatCameDuringTheTurn)
{
    OpenScripted(0, 0x0002);
    Script.temperatureResult = -1;
    Script.duringCall = [](const ScriptedCall& call) {
        if (call.slot == 11) StepFlag(&StopCount[0], 1); // another thread's StopNow
    };
    QV_Delay(600);
    Script.duringCall = nullptr;
    EXPECT_EQ(StopCount[0], 2);
    QV_StartNow(0);
    EXPECT_EQ(StopCount[0], 1) << "that thread's pair has ended, the failure's stop stands";
    QV_Delay(2000);
    EXPECT_EQ(CallsOf(11).size(), 2u);
    QV_Close(0);
}

TEST_F(TimerTurns, FailedCameraIsStoppedWithoutAWaitAndFreedByTheHost)
{
    OpenScripted(0, 0x0002);
    Script.temperatureResult = -1;
    QV_Delay(600);
    ASSERT_EQ(StopCount[0], 1);
    const uint64_t before = EmuSleepCount();
    QV_StopNow(0);
    EXPECT_EQ(EmuSleepCount(), before);
    EXPECT_EQ(StopCount[0], 2);
    QV_StartNow(0);
    EXPECT_EQ(StopCount[0], 1);
    QV_StartNow(0);
    EXPECT_EQ(StopCount[0], 0);
    Script.temperatureResult = 0;
    const uint32_t ticks = QV_BckGnd(0);
    QV_Delay(1000);
    EXPECT_EQ(QV_BckGnd(0), ticks + 2);
    QV_Close(0);
}

TEST_F(TimerTurns, SimulatedCameraIsReadInTheBackground)
{
    OpenDemo(0, 0x0002);
    OpenDemo(1, 0x0002);
    std::vector<double> history(7200);
    const int32_t before = QV_GetTempHistory(history.data(), 0);
    QV_Delay(60000);
    EXPECT_EQ(QV_GetTempHistory(history.data(), 0), before + 60)
        << "a reading a second with two cameras";
    QV_Close(0);
    QV_Close(1);
}

TEST_F(TimerTurns, HistoryOfTwoCamerasHoldsTwoHours)
{
    OpenDemo(0, 0x0002);
    OpenDemo(1, 0x0002);
    const int32_t taken = QV_GetTempHistory(nullptr, 0);
    const uint32_t missing = 7200 - static_cast<uint32_t>(taken);
    const uint64_t before = EmuMicroseconds();
    QV_Delay((missing - 1) * 1000);
    EXPECT_EQ(CameraTable[0].TemperatureHistoryFull[0], 0);
    EXPECT_EQ(QV_GetTempHistory(nullptr, 0), 7199);
    QV_Delay(1000);
    EXPECT_EQ(CameraTable[0].TemperatureHistoryFull[0], 1) << "the 7200th";
    const uint64_t seconds = (EmuMicroseconds() - before) / 1000000;
    EXPECT_EQ(seconds, missing);
    EXPECT_LE(taken, 3) << "all but the readings of the opens";
    QV_Close(0);
    QV_Close(1);
}

} // namespace
