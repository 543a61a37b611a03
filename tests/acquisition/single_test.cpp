// One picture: geometry, rebuilds, results, and the hold on the timer.
#include <cmath>
#include <limits>
#include <vector>

#include "core/record.h"
#include "core/timer_service.h"
#include "emulator/emulator.h"
#include "tests/support/scripted_camera.h"

namespace {

using Numbers = std::vector<int64_t>;

uint16_t Target[64 * 64];

class SingleExposure : public ScriptedTest {
protected:
    // An open camera whose calls up to now are forgotten.
    void Open(int32_t camera, uint32_t options, int32_t sensor = SmallSensor)
    {
        OpenScripted(camera, options, sensor);
        ASSERT_EQ(QV_IsOn(camera), 1);
        ScriptedCalls.clear();
    }
};

void SetBinningDirectly(int32_t horizontal, int32_t vertical, int32_t camera)
{
    CameraTable[camera].HorBinning = horizontal;
    CameraTable[camera].VerBinning = vertical;
}

TEST_F(SingleExposure, FullFrameIsReadIntoTheCallersBuffer)
{
    Open(2, 0);
    Script.duringCall = [](const ScriptedCall&) {
        EXPECT_EQ(CameraTable[2].ExposureTime, 0.125);
        EXPECT_EQ(StopCount[2], 1);
    };
    QV_GetCCD(1, 0.125, Target, 2);
    ASSERT_EQ(CalledSlots(), std::vector<int32_t>{12});
    EXPECT_EQ(ScriptedCalls[0].arguments, (Numbers{1, 24, 16}));
    EXPECT_EQ(ScriptedCalls[0].buffer, Target);
    EXPECT_EQ(ScriptedCalls[0].camera, 2);
    EXPECT_EQ(QV_Status(2), 0);
    EXPECT_EQ(StopCount[2], 0);
}

TEST_F(SingleExposure, ShutterArgumentGoesThroughAsItStands)
{
    Open(0, 0);
    for (int32_t shutter : {0, 1, 5, -1}) {
        QV_GetCCD(shutter, 0.0, Target, 0);
        EXPECT_EQ(ScriptedCalls.back().arguments[0], shutter);
        QV_GetWinCCD(shutter, 0.0, 0, 0, 4, 4, Target, 0);
        EXPECT_EQ(ScriptedCalls.back().arguments[0], shutter);
    }
}

struct Geometry {
    int32_t horizontal, vertical;
    int64_t width, height;
};

TEST_F(SingleExposure, FrameSizeIsTheBinnedSensorWithEvenWidth)
{
    Open(0, 0, OddSensor); // 21 by 13
    const Geometry rows[] = {
        {1, 1, 20, 13}, {2, 1, 10, 13}, {3, 1, 6, 13},  {4, 2, 4, 6},
        {7, 3, 2, 4},   {11, 13, 0, 1}, {21, 14, 0, 0}, {1, 5, 20, 2},
    };
    for (const Geometry& row : rows) {
        SetBinningDirectly(row.horizontal, row.vertical, 0);
        for (auto call : {QV_GetCCD, QV_FGetCCD, QV_TGetCCD}) {
            call(1, 0.0, Target, 0);
            EXPECT_EQ(ScriptedCalls.back().arguments, (Numbers{1, row.width, row.height}))
                << row.horizontal << " by " << row.vertical;
        }
    }
    EXPECT_TRUE(CallsOf(9).empty());
}

TEST_F(SingleExposure, EachFormCallsItsOwnOperation)
{
    Open(0, 0);
    QV_GetCCD(1, 0.0, Target, 0);
    QV_FGetCCD(1, 0.0, Target, 0);
    QV_TGetCCD(1, 0.0, Target, 0);
    QV_GetWinCCD(1, 0.0, 0, 0, 4, 4, Target, 0);
    QV_FGetWinCCD(1, 0.0, 0, 0, 4, 4, Target, 0);
    std::vector<int32_t> slots = CalledSlots();
    std::erase_if(slots, [](int32_t slot) { return slot == 8 || slot == 9; });
    EXPECT_EQ(slots, (std::vector<int32_t>{12, 12, 31, 15, 15}));
}

TEST_F(SingleExposure, FastFormsLeaveTheHandshakeToTheHost)
{
    Open(0, 0);
    Script.duringCall = [](const ScriptedCall&) { EXPECT_EQ(StopCount[0], 0); };
    QV_FGetCCD(1, 0.5, Target, 0);
    EXPECT_EQ(CameraTable[0].ExposureTime, 0.5);
    QV_FGetWinCCD(1, 0.25, 2, 3, 6, 4, Target, 0);
    EXPECT_EQ(CameraTable[0].ExposureTime, 0.25);
    EXPECT_EQ(StopCount[0], 0);
    Script.readResult = 2;
    QV_FGetCCD(1, 0.5, Target, 0);
    EXPECT_EQ(QV_Status(0), 2);
    EXPECT_EQ(StopCount[0], 0);
    QV_FGetWinCCD(1, 0.5, 2, 3, 6, 4, Target, 0);
    EXPECT_EQ(StopCount[0], 0);
}

// Windows.

TEST_F(SingleExposure, WindowBuildsItsPatternOnce)
{
    Open(0, 0);
    CameraTable[0].WaveOption = 3;
    CameraTable[0].WaveExtraCount = 6;
    Script.duringCall = [](const ScriptedCall& call) {
        if (call.slot == 9) CameraTable[0].Ops.ProgressCallback("Building", 0, 0);
    };
    QV_GetWinCCD(1, 0.1, 4, 5, 8, 6, Target, 0);
    EXPECT_EQ(ProgressReports.size(), 1u) << "the builder's own";
    EXPECT_EQ(CalledSlots(), (std::vector<int32_t>{9, 8, 15}));
    EXPECT_EQ(CallsOf(9)[0].arguments, (Numbers{4, 5, 8, 1, 1, 3, 6}));
    EXPECT_EQ(CallsOf(9)[0].path, DemoFolder() + "wave.bin");
    EXPECT_EQ(CallsOf(8)[0].path, DemoFolder() + "wave.bin");
    EXPECT_EQ(CallsOf(15)[0].arguments, (Numbers{1, 4, 5, 8, 6}));
    EXPECT_EQ(CallsOf(15)[0].buffer, Target);
    EXPECT_EQ(CameraTable[0].WindowBuilt, 1);
    EXPECT_EQ(CameraTable[0].WindowDimX, 8);
    EXPECT_EQ(CameraTable[0].WindowDimY, 6);
    EXPECT_EQ(CameraTable[0].BuiltHorBinning, 1);
    EXPECT_EQ(CameraTable[0].BuiltVerBinning, 1);
    ScriptedCalls.clear();
    ProgressReports.clear();
    QV_GetWinCCD(0, 0.2, 4, 5, 8, 6, Target, 0);
    EXPECT_EQ(CalledSlots(), std::vector<int32_t>{15});
    EXPECT_EQ(CameraTable[0].ExposureTime, 0.2);
    QV_FGetWinCCD(0, 0.2, 4, 5, 8, 6, Target, 0);
    EXPECT_TRUE(CallsOf(9).empty()) << "the fast form reuses it as well";
    EXPECT_TRUE(ProgressReports.empty());
}

TEST_F(SingleExposure, EachOfTheSixValuesRebuildsTheWindow)
{
    Open(0, 0);
    struct Window {
        int32_t x, y, width, height, horizontal, vertical;
    };
    const Window windows[] = {
        {4, 5, 8, 6, 1, 1},  {5, 5, 8, 6, 1, 1},  {5, 4, 8, 6, 1, 1},  {5, 4, 10, 6, 1, 1},
        {5, 4, 10, 7, 1, 1}, {5, 4, 10, 7, 2, 1}, {5, 4, 10, 7, 2, 3}, {5, 4, 11, 7, 2, 3},
    };
    for (const Window& w : windows) {
        ScriptedCalls.clear();
        SetBinningDirectly(w.horizontal, w.vertical, 0);
        QV_GetWinCCD(1, 0.0, w.x, w.y, w.width, w.height, Target, 0);
        ASSERT_EQ(CallsOf(9).size(), 1u);
        EXPECT_EQ(CallsOf(9)[0].arguments,
                  (Numbers{w.x, w.y, w.width & ~1, w.horizontal, w.vertical, 0, 0}));
        EXPECT_EQ(CameraTable[0].BuiltHorBinning, w.horizontal);
        EXPECT_EQ(CameraTable[0].BuiltVerBinning, w.vertical);
        QV_GetWinCCD(1, 0.0, w.x, w.y, w.width, w.height, Target, 0);
        EXPECT_EQ(CallsOf(9).size(), 1u);
    }
}

TEST_F(SingleExposure, WindowIsStoredBeforeItsPatternIsBuilt)
{
    Open(0, 0);
    SetBinningDirectly(3, 2, 0);
    CameraTable[0].ExposureTime = 9.0;
    Script.duringCall = [](const ScriptedCall& call) {
        if (call.slot != 9) return;
        const CameraRecord& record = CameraTable[0];
        EXPECT_EQ(StopCount[0], 1);
        EXPECT_EQ(record.WindowBuilt, 1);
        EXPECT_EQ(record.BuiltWindowX, 4);
        EXPECT_EQ(record.BuiltWindowY, 5);
        EXPECT_EQ(record.BuiltWindowWidth, 9);
        EXPECT_EQ(record.BuiltWindowHeight, 6);
        EXPECT_EQ(record.WindowDimX, 9);
        EXPECT_EQ(record.WindowDimY, 6);
        EXPECT_EQ(record.BuiltHorBinning, 0) << "stored after the build";
        EXPECT_EQ(record.BuiltVerBinning, 0);
        EXPECT_EQ(record.ExposureTime, 9.0) << "stored after the build";
    };
    QV_GetWinCCD(1, 0.1, 4, 5, 9, 6, Target, 0);
    EXPECT_EQ(CallsOf(9).size(), 1u);
    EXPECT_EQ(CameraTable[0].BuiltHorBinning, 3);
    EXPECT_EQ(CameraTable[0].BuiltVerBinning, 2);
}

TEST_F(SingleExposure, WindowIsForgottenBeforeTheFullFramesPatternIsBuilt)
{
    Open(0, 0);
    QV_GetWinCCD(1, 9.0, 4, 5, 8, 6, Target, 0);
    Script.duringCall = [](const ScriptedCall& call) {
        if (call.slot != 9) return;
        EXPECT_EQ(StopCount[0], 1);
        EXPECT_EQ(CameraTable[0].WindowBuilt, 0);
        EXPECT_EQ(CameraTable[0].ExposureTime, 0.1) << "stored before the build";
    };
    ScriptedCalls.clear();
    QV_GetCCD(1, 0.1, Target, 0);
    EXPECT_EQ(CallsOf(9).size(), 1u);
}

TEST_F(SingleExposure, FailedBuildOfAFullFrameForgetsTheWindowAllTheSame)
{
    Open(0, 0);
    QV_GetWinCCD(1, 0.0, 4, 5, 8, 6, Target, 0);
    Script.buildError = 22;
    QV_GetCCD(1, 0.0, Target, 0);
    EXPECT_EQ(CameraTable[0].WindowBuilt, 0);
    QV_GetCCD(1, 0.0, Target, 0);
    EXPECT_EQ(CallsOf(9).size(), 2u) << "no second attempt";
}

TEST_F(SingleExposure, EveryFormSelectsTheHeadInArrayMode)
{
    Open(2, 0);
    CameraRecord& record = CameraTable[2];
    record.ArrayMode = 1;
    record.CurrentArrayCamera = 5;
    void (*const calls[])() = {
        [] { QV_GetCCD(1, 0.0, Target, 2); },
        [] { QV_FGetCCD(1, 0.0, Target, 2); },
        [] { QV_TGetCCD(1, 0.0, Target, 2); },
        [] { QV_GetWinCCD(1, 0.0, 0, 0, 4, 4, Target, 2); },
        [] { QV_FGetWinCCD(1, 0.0, 0, 0, 4, 4, Target, 2); },
    };
    Script.duringCall = [](const ScriptedCall&) {
        EXPECT_EQ(CameraTable[2].SubPower[5], 123);
        EXPECT_EQ(CameraTable[2].CoolerPower, 456) << "of the head that is read";
    };
    for (auto call : calls) {
        record.CoolerPower = 123;
        record.SubPower[5] = 0;
        record.SubPower[2] = 456;
        ScriptedCalls.clear();
        call();
        EXPECT_FALSE(ScriptedCalls.empty());
    }
    record.ArrayMode = 0;
}

TEST_F(SingleExposure, OddWindowIsStoredOddAndReadEven)
{
    Open(0, 0);
    QV_GetWinCCD(1, 0.0, 1, 1, 11, 5, Target, 0);
    EXPECT_EQ(CameraTable[0].BuiltWindowWidth, 11);
    EXPECT_EQ(CameraTable[0].WindowDimX, 11);
    EXPECT_EQ(CallsOf(9)[0].arguments[2], 10);
    EXPECT_EQ(CallsOf(15)[0].arguments, (Numbers{1, 1, 1, 10, 5}));
    QV_GetWinCCD(1, 0.0, 1, 1, 11, 5, Target, 0);
    EXPECT_EQ(CallsOf(9).size(), 1u);
    QV_GetWinCCD(1, 0.0, 1, 1, 10, 5, Target, 0);
    EXPECT_EQ(CallsOf(9).size(), 2u) << "the even width is another window";
}

TEST_F(SingleExposure, FullFrameAfterAWindowRebuildsOnce)
{
    Open(0, 0, OddSensor);
    for (auto call : {QV_GetCCD, QV_FGetCCD, QV_TGetCCD}) {
        QV_GetWinCCD(1, 0.0, 2, 3, 6, 4, Target, 0);
        ScriptedCalls.clear();
        call(1, 0.0, Target, 0);
        ASSERT_EQ(CallsOf(9).size(), 1u);
        EXPECT_EQ(CallsOf(9)[0].arguments, (Numbers{0, 0, 20, 1, 1, 0, 0}));
        EXPECT_EQ(CallsOf(8).size(), 1u);
        EXPECT_EQ(CameraTable[0].WindowBuilt, 0);
        EXPECT_EQ(CameraTable[0].WindowDimX, 6) << "keeps the last window's size";
        EXPECT_EQ(CameraTable[0].WindowDimY, 4);
        call(1, 0.0, Target, 0);
        EXPECT_EQ(CallsOf(9).size(), 1u);
        QV_GetWinCCD(1, 0.0, 2, 3, 6, 4, Target, 0);
        EXPECT_EQ(CallsOf(9).size(), 2u) << "the window's pattern is gone";
    }
}

TEST_F(SingleExposure, FullFrameRebuildGivesTheUnbinnedWidth)
{
    Open(0, 0);
    SetBinningDirectly(3, 2, 0);
    QV_GetWinCCD(1, 0.0, 0, 0, 4, 4, Target, 0);
    QV_GetCCD(1, 0.0, Target, 0);
    EXPECT_EQ(CallsOf(9)[1].arguments, (Numbers{0, 0, 24, 3, 2, 0, 0}));
    EXPECT_EQ(CallsOf(12)[0].arguments, (Numbers{1, 8, 8}));
}

TEST_F(SingleExposure, WindowAfterANewBinningRebuilds)
{
    Open(0, 0);
    QV_GetWinCCD(1, 0.0, 2, 2, 4, 4, Target, 0);
    QV_SetBinning(2, 2, 0);
    EXPECT_EQ(CameraTable[0].WindowBuilt, 0);
    ScriptedCalls.clear();
    QV_GetWinCCD(1, 0.0, 2, 2, 4, 4, Target, 0);
    ASSERT_EQ(CallsOf(9).size(), 1u);
    EXPECT_EQ(CallsOf(9)[0].arguments, (Numbers{2, 2, 4, 2, 2, 0, 0}));
}

TEST_F(SingleExposure, RebuildStoresTheBinningAndLoadsOnlyAfterAGoodBuild)
{
    Open(0, 0);
    QV_SetBinning(2, 4, 0);
    EXPECT_EQ(CalledSlots(), (std::vector<int32_t>{9, 8}));
    EXPECT_EQ(CallsOf(9)[0].arguments, (Numbers{0, 0, 12, 2, 4, 0, 0}));
    EXPECT_EQ(CameraTable[0].HorBinning, 2);
    EXPECT_EQ(CameraTable[0].VerBinning, 4);

    ScriptedCalls.clear();
    Script.buildError = 8;
    QV_SetBinning(3, 3, 0);
    EXPECT_EQ(CalledSlots(), std::vector<int32_t>{9});
    EXPECT_EQ(QV_Status(0), 8);
    EXPECT_EQ(CameraTable[0].HorBinning, 2);
    EXPECT_EQ(CameraTable[0].VerBinning, 4);
    EXPECT_EQ(CameraTable[0].WindowDimX, 12);
    EXPECT_EQ(CameraTable[0].WindowDimY, 4);
}

TEST_F(SingleExposure, FailedLoadGoesUnnoticed)
{
    Open(0, 0);
    Script.loadResult = 0;
    QV_GetWinCCD(1, 0.0, 2, 2, 4, 4, Target, 0);
    EXPECT_EQ(QV_Status(0), 0);
    EXPECT_EQ(CallsOf(15).size(), 1u);
    QV_SetBinning(2, 2, 0);
    EXPECT_EQ(CameraTable[0].HorBinning, 2);
}

TEST_F(SingleExposure, FailedBuildOfAWindowIsTakenForLoadedAfterwards)
{
    Open(0, 0);
    Script.buildError = 22;
    QV_GetWinCCD(1, 0.0, 2, 3, 4, 5, Target, 0);
    EXPECT_EQ(CallsOf(9).size(), 1u);
    EXPECT_TRUE(CallsOf(8).empty());
    EXPECT_EQ(CallsOf(15).size(), 1u) << "the read goes on with the old pattern";
    EXPECT_EQ(CameraTable[0].WindowBuilt, 1);
    EXPECT_EQ(CameraTable[0].BuiltWindowX, 2);
    EXPECT_EQ(CameraTable[0].BuiltWindowHeight, 5);
    EXPECT_EQ(CameraTable[0].BuiltHorBinning, 1);
    Script.buildError = -1;
    QV_GetWinCCD(1, 0.0, 2, 3, 4, 5, Target, 0);
    EXPECT_EQ(CallsOf(9).size(), 1u) << "no second attempt";
}

TEST_F(SingleExposure, ErrorLeftFromBeforeKeepsThePatternFromBeingLoaded)
{
    Open(0, 0);
    CameraTable[0].LastError = 2;
    QV_GetWinCCD(1, 0.0, 2, 3, 4, 5, Target, 0);
    EXPECT_EQ(CallsOf(9).size(), 1u);
    EXPECT_TRUE(CallsOf(8).empty()) << "required: the build's own result is not told apart";
    EXPECT_EQ(QV_Status(0), 0) << "the read's result";
}

TEST_F(SingleExposure, ReopenForgetsTheWindow)
{
    Open(0, 0);
    QV_GetWinCCD(1, 0.0, 2, 3, 4, 5, Target, 0);
    QV_Close(0);
    Open(0, 0);
    EXPECT_EQ(CameraTable[0].WindowBuilt, 0);
    QV_GetWinCCD(1, 0.0, 2, 3, 4, 5, Target, 0);
    EXPECT_EQ(CallsOf(9).size(), 1u);
}

TEST_F(SingleExposure, CamerasKeepTheirOwnWindows)
{
    Open(0, 0);
    Open(1, 0);
    QV_GetWinCCD(1, 0.0, 2, 3, 4, 5, Target, 0);
    QV_GetWinCCD(1, 0.0, 2, 3, 4, 5, Target, 1);
    EXPECT_EQ(CallsOf(9, 0).size(), 1u);
    EXPECT_EQ(CallsOf(9, 1).size(), 1u);
}

TEST_F(SingleExposure, AbsurdWindowsAreHandedOnWithoutHarm)
{
    Open(0, 0x8000);
    const int32_t values[] = {0, -1, -7, INT32_MIN, INT32_MAX, 70000};
    for (int32_t value : values) {
        QV_GetWinCCD(1, 0.0, value, value, 4, 4, Target, 0);
        EXPECT_EQ(CallsOf(15).back().arguments, (Numbers{1, value, value, 4, 4}));
    }
    for (int32_t value : {0, -1, -7, INT32_MIN}) {
        QV_GetWinCCD(1, 0.0, 0, 0, value, 4, nullptr, 0);
        EXPECT_EQ(CallsOf(15).back().arguments, (Numbers{1, 0, 0, value & ~1, 4}));
        EXPECT_EQ(CameraTable[0].BuiltWindowWidth, value);
        QV_GetWinCCD(1, 0.0, 0, 0, 4, value, nullptr, 0);
        EXPECT_EQ(CallsOf(15).back().arguments, (Numbers{1, 0, 0, 4, value}));
        EXPECT_EQ(CameraTable[0].BuiltWindowHeight, value);
        EXPECT_EQ(CallsOf(15).back().buffer, QV_MatrixPointer(0, 0));
        EXPECT_EQ(CameraTable[0].MatrixBytes[0], 24u * 16u * 2u) << "nothing to grow for";
    }
}

TEST_F(SingleExposure, ExposureIsStoredWhateverItIs)
{
    Open(0, 0);
    for (double exposure : {-1.0, 1e300, -1e300, std::numeric_limits<double>::infinity()}) {
        QV_GetCCD(1, exposure, Target, 0);
        EXPECT_EQ(CameraTable[0].ExposureTime, exposure);
        EXPECT_EQ(QV_Status(0), 0);
    }
    QV_GetCCD(1, std::nan(""), Target, 0);
    EXPECT_TRUE(std::isnan(CameraTable[0].ExposureTime));
}

// Failures and the timer.

TEST_F(SingleExposure, LinkFailureKeepsTheTimerOff)
{
    Open(0, 0);
    Script.readResult = 2;
    int32_t count = 0;
    for (auto call : {QV_GetCCD, QV_TGetCCD}) {
        call(1, 0.0, Target, 0);
        EXPECT_EQ(QV_Status(0), 2);
        EXPECT_EQ(StopCount[0], ++count);
    }
    QV_GetWinCCD(1, 0.0, 0, 0, 4, 4, Target, 0);
    EXPECT_EQ(QV_Status(0), 2);
    EXPECT_EQ(StopCount[0], 3);
}

TEST_F(SingleExposure, SuccessAfterAFailureLeavesTheCountRaised)
{
    Open(0, 0x0001);
    Script.readResult = 2;
    QV_GetCCD(1, 0.0, Target, 0);
    EXPECT_EQ(StopCount[0], 1);
    Script.readResult = 0;
    QV_GetCCD(1, 0.0, Target, 0);
    EXPECT_EQ(QV_Status(0), 0);
    EXPECT_EQ(StopCount[0], 1);
    const uint32_t ticks = QV_BckGnd(0);
    QV_Delay(5000);
    EXPECT_EQ(QV_BckGnd(0), ticks) << "the background service remains off";
    QV_StartNow(0);
    QV_Delay(1000);
    EXPECT_EQ(QV_BckGnd(0), ticks + 2);
    QV_Close(0);
}

TEST_F(SingleExposure, TimerIsOutOfTheCameraWhileItReads)
{
    static bool reading;
    reading = false;
    Script.readMilliseconds = 2345;
    Script.duringCall = [](const ScriptedCall& call) {
        if (call.slot == 11) {
            EXPECT_FALSE(reading);
        }
        if (call.slot == 12 || call.slot == 15) reading = true;
    };
    OpenScripted(0, 0x0002);
    for (uint32_t round = 0; round < 4; ++round) {
        QV_GetCCD(1, 0.0, Target, 0);
        reading = false;
        QV_Delay(730);
        QV_GetWinCCD(1, 0.0, 0, 0, 4, 4, Target, 0);
        reading = false;
        QV_Delay(510);
    }
    EXPECT_GT(CallsOf(11).size(), 5u);
    QV_Close(0);
}

// Pulsed exposures.

struct Pulse {
    double exposureMs, periodSeconds;
    int32_t settling; // milliseconds in force during the read
};

const Pulse Pulses[] = {
    {500.0, 2.0, 1500}, {0.5, 1.0, 999}, // truncated
    {1000.0, 1.0, 10},                   // equal: left as it is
    {1500.0, 1.0, 10},                   // longer than the period
    {-5.0, 0.0, 5},     {0.0, 0.0, 10},  {0.0, 1e300, INT32_MAX},
};

TEST_F(SingleExposure, PulsedFrameMakesUpThePeriodWithSettlingTime)
{
    Open(0, 0);
    int32_t seen = 0;
    Script.duringCall = [&seen](const ScriptedCall& call) {
        if (call.slot == 12 || call.slot == 15) seen = CameraTable[0].Config.ShutterHisteresys;
    };
    for (const Pulse& pulse : Pulses) {
        for (int32_t fast : {0, 1}) {
            QV_GetCCDPulsed(1, fast, pulse.exposureMs, pulse.periodSeconds, Target, 0);
            EXPECT_EQ(seen, pulse.settling) << pulse.exposureMs;
            EXPECT_EQ(CameraTable[0].Config.ShutterHisteresys, 10);
            EXPECT_EQ(CameraTable[0].ExposureTime, pulse.exposureMs / 1000.0);
            CameraTable[0].ExposureTime = -1.0;
            QV_GetWinCCDPulsed(1, fast, pulse.exposureMs, pulse.periodSeconds, 1, 2, 6, 4, Target,
                               0);
            EXPECT_EQ(seen, pulse.settling);
            EXPECT_EQ(CameraTable[0].ExposureTime, pulse.exposureMs / 1000.0);
            EXPECT_EQ(CameraTable[0].Config.ShutterHisteresys, 10);
        }
    }
    EXPECT_EQ(CallsOf(12).back().arguments, (Numbers{1, 24, 16}));
    EXPECT_EQ(CallsOf(15).back().arguments, (Numbers{1, 1, 2, 6, 4}));
}

TEST_F(SingleExposure, PulsedFrameRestoresTheSettlingTimeAfterAReadError)
{
    Open(0, 0);
    CameraTable[0].Config.ShutterHisteresys = 321;
    Script.readResult = 2;
    QV_GetCCDPulsed(1, 0, 500.0, 2.0, Target, 0);
    EXPECT_EQ(QV_Status(0), 2);
    EXPECT_EQ(StopCount[0], 1);
    EXPECT_EQ(CameraTable[0].Config.ShutterHisteresys, 321);
    QV_GetWinCCDPulsed(1, 0, 500.0, 2.0, 0, 0, 4, 4, Target, 0);
    EXPECT_EQ(CameraTable[0].Config.ShutterHisteresys, 321);
    QV_GetCCDPulsed(1, 1, 500.0, 2.0, nullptr, 0);
    EXPECT_EQ(QV_Status(0), 16);
    EXPECT_EQ(CameraTable[0].Config.ShutterHisteresys, 321);
}

TEST_F(SingleExposure, FastPulsedFrameLeavesTheHandshakeToTheHost)
{
    Open(0, 0);
    int32_t count = -1;
    Script.duringCall = [&count](const ScriptedCall&) { count = StopCount[0]; };
    QV_GetCCDPulsed(1, 7, 1.0, 0.0, Target, 0);
    EXPECT_EQ(count, 0);
    QV_GetWinCCDPulsed(1, -1, 1.0, 0.0, 0, 0, 4, 4, Target, 0);
    EXPECT_EQ(count, 0);
    QV_GetCCDPulsed(1, 0, 1.0, 0.0, Target, 0);
    EXPECT_EQ(count, 1);
    QV_GetWinCCDPulsed(1, 0, 1.0, 0.0, 0, 0, 4, 4, Target, 0);
    EXPECT_EQ(count, 1);
    EXPECT_EQ(StopCount[0], 0);
}

TEST_F(SingleExposure, PulsedFrameWithoutNumbersKeepsTheSettlingTime)
{
    Open(0, 0);
    int32_t seen = 0;
    Script.duringCall = [&seen](const ScriptedCall&) {
        seen = CameraTable[0].Config.ShutterHisteresys;
    };
    QV_GetCCDPulsed(1, 0, 1.0, std::nan(""), Target, 0);
    EXPECT_EQ(seen, 10);
    QV_GetCCDPulsed(1, 0, std::nan(""), 1.0, Target, 0);
    EXPECT_EQ(seen, 10);
    EXPECT_EQ(CameraTable[0].Config.ShutterHisteresys, 10);
}

// The simulated camera behind the same calls.

std::vector<uint16_t> ColdFrame(int32_t camera, double exposure, int32_t width, int32_t height)
{
    // So cold that no noise is left: a pixel is the source times exposure, plus 100.
    CameraTable[camera].CurrentTemperature = -1e300;
    std::vector<uint16_t> frame(static_cast<size_t>(width) * static_cast<size_t>(height), 7);
    QV_GetCCD(1, exposure, frame.data(), camera);
    return frame;
}

TEST_F(SingleExposure, SimulatedCameraDeliversItsImage)
{
    OpenDemo(0, 0);
    const std::vector<uint16_t> frame = ColdFrame(0, 0.5, 24, 16);
    EXPECT_EQ(QV_Status(0), 0);
    for (int32_t row = 0; row < 16; ++row) {
        for (int32_t column = 0; column < 24; ++column) {
            const size_t at = static_cast<size_t>(row * 24 + column);
            EXPECT_EQ(frame[at], (DemoFilePixel(column, row) + 200) / 2) << column << " " << row;
        }
    }
}

TEST_F(SingleExposure, SimulatedWindowStartsAtItsOrigin)
{
    OpenDemo(0, 0);
    CameraTable[0].CurrentTemperature = -1e300;
    std::vector<uint16_t> frame(6 * 4 + 1, 7);
    QV_GetWinCCD(1, 0.5, 5, 3, 7, 4, frame.data(), 0);
    for (int32_t row = 0; row < 4; ++row) {
        for (int32_t column = 0; column < 6; ++column) {
            const size_t at = static_cast<size_t>(row * 6 + column);
            EXPECT_EQ(frame[at], (DemoFilePixel(5 + column, 3 + row) + 200) / 2);
        }
    }
    EXPECT_EQ(frame[24], 7) << "nothing behind the even window";
}

TEST_F(SingleExposure, TimedReadOfTheSimulatedCameraTouchesNoPixel)
{
    OpenDemo(0, 0);
    std::vector<uint16_t> frame(24 * 16, 7);
    QV_TGetCCD(1, 0.1, frame.data(), 0);
    EXPECT_EQ(QV_Status(0), 0);
    EXPECT_EQ(frame, std::vector<uint16_t>(24 * 16, 7));
    EXPECT_EQ(StopCount[0], 0);
}

TEST_F(SingleExposure, ReadoutReportsItsProgress)
{
    OpenDemo(0, 0, TallSensor); // 200 rows: reports at rows 64, 128 and 192
    std::vector<uint16_t> frame(8 * 200);
    QV_GetCCD(0, 0.0, frame.data(), 0);
    ASSERT_EQ(ProgressReports.size(), 5u);
    EXPECT_EQ(ProgressReports[0].text, "Image downloading");
    EXPECT_EQ(ProgressReports[0].percent, 0);
    const int32_t percents[] = {0, 32, 64, 96, 100};
    for (size_t i = 1; i < 5; ++i) {
        EXPECT_FALSE(ProgressReports[i].hasText);
        EXPECT_EQ(ProgressReports[i].percent, percents[i]);
    }
    ProgressReports.clear();
    QV_SetMode(0x0020, 1, 0);
    QV_GetCCD(0, 0.0, frame.data(), 0);
    EXPECT_TRUE(ProgressReports.empty());
}

TEST_F(SingleExposure, LongExposureCountsDown)
{
    OpenDemo(3, 0x0020);
    std::vector<uint16_t> frame(24 * 16);
    const uint64_t before = EmuMicroseconds();
    QV_GetCCD(1, 2.0, frame.data(), 3);
    const uint64_t length = EmuMicroseconds() - before;
    EXPECT_GE(length, 2010000u) << "with the settling time";
    EXPECT_LT(length, 2020000u);
    ASSERT_EQ(ExposureReports.size(), 6u) << "every 300 milliseconds";
    EXPECT_EQ(ExposureReports[0].text, "   1.7");
    EXPECT_EQ(ExposureReports[5].text, "   0.2");
    EXPECT_EQ(ExposureReports[0].camera, 3);
}

TEST_F(SingleExposure, BreakEndsTheExposureAndTheFrameIsRead)
{
    OpenDemo(0, 0);
    EmuSchedule(
        EmuMicroseconds() + 5000000, [](int32_t camera) { QV_BrkFlg(camera); }, 0);
    std::vector<uint16_t> frame(24 * 16, 7);
    QV_GetCCD(0, 600.0, frame.data(), 0);
    EXPECT_LT(EmuMicroseconds(), 5100000u);
    EXPECT_EQ(QV_Status(0), 0);
    EXPECT_NE(frame[0], 7);
    EXPECT_EQ(StopCount[0], 0);
}

} // namespace
