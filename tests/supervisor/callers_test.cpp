// The layer with threads: on the simulated camera, and over a library whose calls stand still
// when a test wants them to.
#include <atomic>
#include <chrono>
#include <cstring>
#include <string>
#include <thread>
#include <vector>

#include "supervisor/library.h"
#include "tests/supervisor/layer.h"
#include "tests/support/demo_camera.h"

namespace {

constexpr size_t Pixels = size_t{DemoFileColumns} * DemoFileRows;

std::atomic<bool> standing;   // calls of camera 0 that stand still do so
std::atomic<int32_t> stuck{}; // calls that stand still now

void StandStill(int32_t camera)
{
    if (camera != 0) return;
    ++stuck;
    while (standing) std::this_thread::sleep_for(std::chrono::milliseconds(1));
    --stuck;
}

void SetFilter(int32_t position, int32_t camera)
{
    StandStill(camera);
    QV_SetFilter(position, camera);
}

void SetBinning(int32_t horizontal, int32_t vertical, int32_t camera)
{
    StandStill(camera);
    QV_SetBinning(horizontal, vertical, camera);
}

void* Find(const char* name, void*)
{
    if (strcmp(name, "QV_SetFilter") == 0) return reinterpret_cast<void*>(SetFilter);
    if (strcmp(name, "QV_SetBinning") == 0) return reinterpret_cast<void*>(SetBinning);
#define QVNS_NAMED(function)                                                                       \
    if (strcmp(name, "QV_" #function) == 0) return reinterpret_cast<void*>(QV_##function);
    QVNS_LIBRARY(QVNS_NAMED)
#undef QVNS_NAMED
    return nullptr;
}

double SteadySeconds()
{
    const auto now = std::chrono::steady_clock::now().time_since_epoch();
    return std::chrono::duration<double>(now).count();
}

// Fifty times as fast: a limit of a minute passes in a second, and a busy machine is no hang.
double FastSeconds()
{
    return 50.0 * SteadySeconds();
}

class Threads : public testing::Test {
protected:
    void SetUp() override
    {
        ResetLibraryInRealTime();
        MakeDemoFolder();
        standing = false;
    }

    void TearDown() override
    {
        standing = false;
        while (stuck != 0) std::this_thread::yield();
        qvns_stop(0.0);
        RemoveDemoFolder();
        ResetLibrary();
    }

    static void Start(double (*seconds)() = nullptr)
    {
        QvnsStart start;
        qvns_init_start(&start);
        start.Find = Find;
        start.Seconds = seconds;
        ASSERT_EQ(qvns_start(&start), 0);
        ASSERT_EQ(qvns_set_path(DemoFolder().c_str()), 0);
    }

    static void Open(int32_t camera)
    {
        QvnsOpen open;
        qvns_init_open(&open);
        open.Config.Platform = DemoPlatform;
        open.Config.CCD = SmallSensor;
        open.Config.FilterWheel = 4;
        ASSERT_EQ(qvns_open(camera, &open), 0);
    }

    static void TakeFrame(int32_t camera, double seconds)
    {
        const QvnsExposure exposure = Light(seconds);
        uint32_t frame = 0;
        ASSERT_EQ(qvns_start_exposure(camera, &exposure, &frame), 0);
        ASSERT_EQ(qvns_wait(camera, frame, 0.0), 0);
        std::vector<uint16_t> pixels(Pixels);
        QvnsMetadata about = {};
        ASSERT_EQ(qvns_fetch(camera, frame, pixels.data(), pixels.size(), &about), 0);
        EXPECT_EQ(about.Frame, frame);
        EXPECT_EQ(about.Width, DemoFileColumns);
    }

    static void AwaitCamera(int32_t camera, int32_t state)
    {
        while (StateOf(camera).Camera != state) std::this_thread::yield();
    }
};

} // namespace

TEST_F(Threads, TwoCamerasExposeAtTheSameTime)
{
    Start();
    Open(0);
    Open(1);
    const QvnsExposure exposure = Light(0.8);
    const double start = SteadySeconds();
    ASSERT_EQ(qvns_start_exposure(0, &exposure, nullptr), 0);
    ASSERT_EQ(qvns_start_exposure(1, &exposure, nullptr), 0);
    EXPECT_LT(SteadySeconds() - start, 0.5);
    EXPECT_EQ(qvns_wait(0, 0, 60.0), 0);
    EXPECT_EQ(qvns_wait(1, 0, 60.0), 0);
    EXPECT_LT(SteadySeconds() - start, 1.5); // one behind the other would be 1.6
    TakeFrame(0, 0.0);
    TakeFrame(1, 0.0);
}

TEST_F(Threads, AbortFromAnotherThreadEndsALongExposure)
{
    Start();
    Open(0);
    const QvnsExposure exposure = Light(300.0);
    ASSERT_EQ(qvns_start_exposure(0, &exposure, nullptr), 0);
    std::thread other([] {
        while (StateOf(0).Frame != QVNS_FRAME_EXPOSING) std::this_thread::yield();
        EXPECT_EQ(qvns_abort(0, 30.0), 0);
    });
    EXPECT_EQ(qvns_wait(0, 0, 60.0), QVNS_ERROR_ABORTED);
    other.join();
    TakeFrame(0, 0.0);
}

TEST_F(Threads, FinishFromAnotherThreadGivesTheFrame)
{
    Start();
    Open(0);
    const QvnsExposure exposure = Light(300.0);
    ASSERT_EQ(qvns_start_exposure(0, &exposure, nullptr), 0);
    std::thread other([] {
        while (qvns_finish(0) != 0) std::this_thread::yield();
    });
    EXPECT_EQ(qvns_wait(0, 0, 60.0), 0);
    other.join();
    EXPECT_EQ(qvns_ready(0, 1), 1);
}

TEST_F(Threads, ManyCallersOfOneCameraAreServedInTurn)
{
    Start();
    Open(0);
    std::atomic<int32_t> good{};
    std::vector<std::thread> callers;
    for (int32_t i = 0; i < 6; ++i) {
        callers.emplace_back([&good, i] {
            for (int32_t n = 0; n < 20; ++n) {
                if (qvns_set_gain(0, (i + n) % 4, 30.0) == 0) ++good;
                StateOf(0);
                TemperatureOf(0);
            }
        });
    }
    for (std::thread& caller : callers) caller.join();
    EXPECT_EQ(good, 120);
}

TEST_F(Threads, CallThatDoesNotReturnCostsItsCameraAndNoOther)
{
    Start(FastSeconds);
    Open(0);
    Open(1);
    standing = true;
    EXPECT_EQ(qvns_set_filter(0, 1, 0.0), QVNS_ERROR_LOST);
    EXPECT_EQ(StateOf(0).Camera, QVNS_CAMERA_LOST);
    EXPECT_STREQ(StateOf(0).Wait, "the filter wheel to take a byte");
    EXPECT_EQ(qvns_set_gain(0, 1, 0.0), QVNS_ERROR_LOST);
    EXPECT_EQ(qvns_close(0, 0.0), QVNS_ERROR_LOST);
    const QvnsExposure exposure = Light(0.0);
    EXPECT_EQ(qvns_start_exposure(0, &exposure, nullptr), QVNS_ERROR_LOST);
    QvnsOpen open;
    qvns_init_open(&open);
    EXPECT_EQ(qvns_open(0, &open), QVNS_ERROR_LOST);
    EXPECT_EQ(qvns_set_gain(1, 2, 0.0), 0);
    EXPECT_EQ(StateOf(1).Camera, QVNS_CAMERA_OPEN);
    standing = false;
    AwaitCamera(0, QVNS_CAMERA_CLOSED);
    Open(0);
    EXPECT_EQ(qvns_set_gain(0, 1, 0.0), 0);
}

// It keeps what all cameras share for building patterns.
TEST_F(Threads, LostCameraGivesThePatternFileUp)
{
    Start(FastSeconds);
    Open(0);
    Open(1);
    standing = true;
    EXPECT_EQ(qvns_set_binning(0, 2, 2, 0.0), QVNS_ERROR_LOST);
    EXPECT_EQ(qvns_set_binning(1, 2, 2, 0.0), 0);
    EXPECT_EQ(qvns_close(1, 0.0), 0);
    Open(1);
    standing = false;
    AwaitCamera(0, QVNS_CAMERA_CLOSED);
}

TEST_F(Threads, LimitOfACallerIsKeptWhateverTheCameraDoes)
{
    Start();
    Open(0);
    standing = true;
    const double start = SteadySeconds();
    EXPECT_EQ(qvns_set_filter(0, 1, 0.2), QVNS_ERROR_TIME);
    EXPECT_EQ(qvns_set_gain(0, 1, 0.2), QVNS_ERROR_TIME);
    EXPECT_EQ(qvns_abort(0, 0.2), QVNS_ERROR_TIME);
    EXPECT_EQ(qvns_close(0, 0.2), QVNS_ERROR_TIME);
    EXPECT_LT(SteadySeconds() - start, 10.0);
    standing = false;
    EXPECT_EQ(qvns_set_gain(0, 1, 30.0), 0);
    EXPECT_EQ(qvns_close(0, 30.0), 0);
}

TEST_F(Threads, QueueThatIsFullSaysSo)
{
    Start();
    Open(0);
    standing = true;
    std::vector<std::thread> callers;
    std::atomic<int32_t> busy{}, done{};
    for (int32_t i = 0; i < 9; ++i) {
        callers.emplace_back([&busy, &done] {
            const int32_t code = qvns_set_filter(0, 1, 60.0);
            if (code == QVNS_ERROR_BUSY) ++busy;
            if (code == 0) ++done;
        });
    }
    while (busy == 0) std::this_thread::yield();
    standing = false;
    for (std::thread& caller : callers) caller.join();
    EXPECT_EQ(busy, 1);
    EXPECT_EQ(done, 8);
}

TEST_F(Threads, StopWithALostCameraComesBack)
{
    Start(FastSeconds);
    Open(0);
    Open(1);
    standing = true;
    EXPECT_EQ(qvns_set_filter(0, 1, 0.0), QVNS_ERROR_LOST);
    EXPECT_EQ(qvns_stop(50.0), QVNS_ERROR_LOST);
    EXPECT_EQ(QV_IsOn(1), 0);
    EXPECT_EQ(qvns_start(nullptr), QVNS_ERROR_BUSY);
    standing = false;
    while (QV_IsOn(0) != 0) std::this_thread::yield();
    while (qvns_start(nullptr) != 0) std::this_thread::yield();
    EXPECT_EQ(StateOf(0).Camera, QVNS_CAMERA_CLOSED);
}

TEST_F(Threads, CoolsInTheBackground)
{
    Start();
    Open(0);
    QvnsCooling cooling;
    qvns_init_cooling(&cooling);
    cooling.Target = 10.0;
    ASSERT_EQ(qvns_cool(0, &cooling), 0);
    while (TemperatureOf(0).Power < 30.0) std::this_thread::yield();
    const int32_t readings = TemperatureOf(0).Readings;
    TakeFrame(0, 2.2);
    EXPECT_GE(TemperatureOf(0).Readings, readings + 1);
    EXPECT_EQ(TemperatureOf(0).ReadFailures, 0);
}
