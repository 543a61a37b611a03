// The stop handshake and the rotation on real threads and the real clock. What
// these tests show above all they show under the thread sanitizer.
#include <atomic>
#include <chrono>
#include <cmath>
#include <functional>
#include <thread>
#include <vector>

#include "core/flags.h"
#include "core/record.h"
#include "core/timer_service.h"
#include "emulator/emulator.h"
#include "platform/system.h"
#include "tests/support/demo_camera.h"

namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

class RealThreads : public testing::Test {
protected:
    void SetUp() override
    {
        ResetLibraryInRealTime();
        MakeDemoFolder();
    }

    void TearDown() override
    {
        EXPECT_EQ(TimerRunning, 0);
        EXPECT_EQ(TimerUsers, 0);
        ReleaseEverything();
        EXPECT_EQ(EmuLiveBlocks(), 0u);
        RemoveDemoFolder();
        ResetLibrary();
    }
};

void OpenSilently(int32_t camera, uint32_t options)
{
    _QV_Open(DemoPlatform, SmallSensor, 0, 0, 0, camera, options | 0x0020);
    ASSERT_EQ(QV_IsOn(camera), 1);
}

// Reads all that a host may ask for at any time.
void Watch(const std::atomic<bool>& stop)
{
    std::vector<double> history(7200);
    char text[32];
    uint32_t options;
    while (!stop) {
        for (int32_t camera : {0, 1}) {
            QV_BrkFlg(camera);
            EXPECT_EQ(QV_Status(camera), 0);
            EXPECT_TRUE(std::isfinite(QV_GetTemp(nullptr, 1, camera)));
            QV_GetTempHistory(history.data(), camera);
            QV_CheckTempEquil(1, 100.0, camera);
            QV_BckGnd(camera);
            QV_BckBusy(camera);
            QV_GetPower(camera);
            QV_CoolerStatus(camera);
            QV_GetMode(camera);
            QV_RWData(2, 1, &options, camera);
            QV_IsOn(camera);
            text[0] = '#';
            text[1] = 0;
            QV_GetTemp(text, 1, camera);
        }
        std::this_thread::sleep_for(milliseconds(1));
    }
}

TEST_F(RealThreads, TwoCamerasAreExposedAndWatchedWhileTheTimerRuns)
{
    OpenSilently(0, 0x0002);
    OpenSilently(1, 0x0002);
    std::atomic<bool> stop{false};
    std::thread watcher([&stop] { Watch(stop); });

    std::vector<uint16_t> frame(24 * 16);
    const Clock::time_point end = Clock::now() + milliseconds(1000);
    uint32_t frames = 0;
    while (Clock::now() < end) {
        for (int32_t camera : {0, 1}) {
            QV_StopNow(camera);
            QV_SetTemp(-10.0 - frames, 1, camera);
            QV_GetCCD(static_cast<int32_t>(frames & 1), 0.002, frame.data(), camera);
            EXPECT_EQ(QV_Status(camera), 0);
            QV_StartNow(camera);
            uint32_t options = 0x0022;
            QV_RWData(2, 0, &options, camera);
            ++frames;
        }
    }
    stop = true;
    watcher.join();
    EXPECT_GT(frames, 4u);
    EXPECT_EQ(StopCount[0], 0);
    EXPECT_EQ(StopCount[1], 0);
    QV_Close(0);
    QV_Close(1);
}

TEST_F(RealThreads, OpenAndCloseAreWatched)
{
    std::atomic<bool> stop{false};
    std::thread watcher([&stop] { Watch(stop); });
    for (int32_t round = 0; round < 40; ++round) {
        OpenSilently(round % 2, 0);
        std::this_thread::sleep_for(milliseconds(2));
        QV_Close(round % 2);
        EXPECT_EQ(QV_IsOn(round % 2), 0);
    }
    stop = true;
    watcher.join();
}

TEST_F(RealThreads, PairsOfTwoThreadsLoseNoStop)
{
    System.clock.Sleep = [](uint32_t) {};
    StoreFlag(&CameraTable[0].Options, 0x0001u);
    StoreFlag(&TimerPaused[0], 1); // in place of a timer
    std::atomic<uint32_t> lost{0};
    const Clock::time_point end = Clock::now() + milliseconds(200);
    const auto pairs = [&lost, end](uint32_t width) {
        while (Clock::now() < end) {
            for (uint32_t i = 0; i < 1000; ++i) {
                QV_StopNow(0);
                for (uint32_t look = 0; look < width; ++look) lost += LoadFlag(StopCount[0]) < 1;
                QV_StartNow(0);
                for (uint32_t wait = i % 16; wait > 0; --wait) LoadFlag(StopCount[0]);
            }
        }
    };
    std::thread other(pairs, 8);
    pairs(1);
    other.join();
    EXPECT_EQ(lost, 0u);
    EXPECT_EQ(StopCount[0], 0);
    StoreFlag(&CameraTable[0].Options, 0u);
}

std::atomic<bool> HostInside;
std::atomic<uint32_t> Readings, Intrusions;

int32_t GuardedReading(int32_t camera)
{
    if (camera == 0) {
        Intrusions += HostInside;
        CameraTable[camera].ExposureTime += 1.0; // unguarded: the handshake is the guard
        std::this_thread::sleep_for(milliseconds(3));
        Intrusions += HostInside;
    }
    ++Readings;
    return 0;
}

TEST_F(RealThreads, TimerAndHostAreNeverInOneCameraTogether)
{
    HostInside = false;
    Readings = Intrusions = 0;
    OpenSilently(0, 0x0002);
    QV_StopNow(0);
    QV_SetFunction(11, reinterpret_cast<void*>(GuardedReading), 0);
    CameraTable[0].ExposureTime = 0.0;
    QV_StartNow(0);

    const Clock::time_point end = Clock::now() + milliseconds(10000);
    uint32_t brackets = 0;
    while (Readings < 2 && Clock::now() < end) {
        QV_StopNow(0);
        HostInside = true;
        CameraTable[0].ExposureTime += 1.0;
        QV_StopNow(0);
        std::this_thread::sleep_for(milliseconds(brackets % 4));
        QV_StartNow(0);
        HostInside = false;
        QV_StartNow(0);
        ++brackets;
        // Past the two ticks that have to find the camera free.
        std::this_thread::sleep_for(milliseconds(205));
    }
    QV_StopNow(0);
    EXPECT_EQ(Intrusions, 0u);
    EXPECT_GT(Readings, 1u);
    EXPECT_EQ(CameraTable[0].ExposureTime, brackets + Readings);
    QV_StartNow(0);
    QV_Close(0);
}

int32_t OpenAtOnce(int32_t, int32_t, int32_t)
{
    return 0;
}

std::atomic<bool> ReadingDone;

int32_t SlowReading(int32_t)
{
    std::this_thread::sleep_for(milliseconds(150));
    ReadingDone = true;
    return 0;
}

TEST_F(RealThreads, OpenWaitsForTheEndOfASlowFirstReading)
{
    ReadingDone = false;
    QV_SetFunction(0, reinterpret_cast<void*>(OpenAtOnce), 0);
    QV_SetFunction(11, reinterpret_cast<void*>(SlowReading), 0);
    _QV_Open(DriverlessPlatform, SmallSensor, 0, 0, 0, 0, 0x0002);
    EXPECT_TRUE(ReadingDone);
    EXPECT_GE(QV_BckGnd(0), 1u);
    QV_Close(0);
}

TEST_F(RealThreads, BreakFromAnotherThreadEndsALongExposure)
{
    OpenSilently(0, 0x0002);
    std::thread breaker([] {
        std::this_thread::sleep_for(milliseconds(700));
        QV_BrkFlg(0);
    });
    std::vector<uint16_t> frame(24 * 16);
    const Clock::time_point start = Clock::now();
    QV_GetCCD(1, 60.0, frame.data(), 0);
    EXPECT_LT(Clock::now() - start, milliseconds(20000));
    EXPECT_EQ(QV_Status(0), 0);
    breaker.join();
    QV_Close(0);
}

TEST_F(RealThreads, OpenHasTheFirstReadingAndCloseEndsTheTimer)
{
    for (int32_t round = 0; round < 1; ++round) {
        const Clock::time_point start = Clock::now();
        OpenSilently(0, 0x0002);
        EXPECT_GE(Clock::now() - start, milliseconds(450));
        EXPECT_GE(QV_BckGnd(0), 1u);
        std::vector<double> history(7200);
        EXPECT_GE(QV_GetTempHistory(history.data(), 0), 1);
        QV_Close(0);
        EXPECT_EQ(TimerRunning, 0);
        const uint32_t ticks = QV_BckGnd(0);
        std::this_thread::sleep_for(milliseconds(150));
        EXPECT_EQ(QV_BckGnd(0), ticks);
    }
}

// Leaving while others stay.

std::atomic<bool> TurnRuns;
int32_t TurnResult;

int32_t LongReading(int32_t camera)
{
    CameraTable[camera].ExposureTime += 1.0; // unguarded: nobody else is in the camera
    TurnRuns = true;
    std::this_thread::sleep_for(milliseconds(150));
    CameraTable[camera].ExposureTime += 1.0;
    TurnRuns = false;
    return TurnResult;
}

bool WaitFor(const std::function<bool()>& condition)
{
    const Clock::time_point end = Clock::now() + milliseconds(20000);
    while (!condition() && Clock::now() < end) std::this_thread::sleep_for(milliseconds(1));
    return condition();
}

// Closes camera 0 of two in the midst of a work turn that gives `result`.
void CloseInsideATurn(int32_t result)
{
    TurnRuns = false;
    TurnResult = result;
    OpenSilently(0, 0x0002);
    OpenSilently(1, 0x0002);
    QV_StopNow(0);
    QV_SetFunction(11, reinterpret_cast<void*>(LongReading), 0);
    QV_StartNow(0);
    ASSERT_TRUE(WaitFor([] { return TurnRuns.load(); }));
    QV_Close(0);
    EXPECT_FALSE(TurnRuns) << "the turn has ended";
    EXPECT_EQ(LoadFlag(StopCount[0]), 0);
    EXPECT_EQ(LoadFlag(TimerActive[0]), 0);
    CameraTable[0].ExposureTime = 0.0;

    const uint32_t ticks = QV_BckGnd(1);
    EXPECT_TRUE(WaitFor([ticks] { return QV_BckGnd(1) > ticks; })) << "the other camera goes on";
}

TEST_F(RealThreads, CloseOfOneCameraWaitsForItsRunningTurn)
{
    CloseInsideATurn(0);
    OpenSilently(0, 0x0002);
    EXPECT_GE(QV_BckGnd(0), 1u);
    EXPECT_EQ(QV_Status(0), 0);
    QV_Close(0);
    QV_Close(1);
}

TEST_F(RealThreads, TurnThatFailsDuringTheCloseDoesNotFreezeTheOthers)
{
    CloseInsideATurn(-1);
    EXPECT_EQ(QV_Status(0), 2);
    EXPECT_EQ(QV_Status(1), 0);
    QV_Close(1);
}

} // namespace
