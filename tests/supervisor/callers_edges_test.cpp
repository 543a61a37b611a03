// Callers that meet: what one thread asks for while another's work is under way.
#include <atomic>
#include <chrono>
#include <thread>
#include <vector>

#include "supervisor/slot.h"
#include "tests/supervisor/layer.h"
#include "tests/support/demo_camera.h"

namespace {

constexpr double Patient = 60.0; // seconds, on a slow machine

std::atomic<bool> held, holding;

int32_t Hold(int32_t, void*)
{
    holding = true;
    while (held) std::this_thread::sleep_for(std::chrono::milliseconds(1));
    holding = false;
    return 0;
}

void HoldCooler(int32_t on, int32_t camera)
{
    if (on == 0) Hold(camera, nullptr);
    QV_Cooler(on, camera);
}

class Callers : public testing::Test {
protected:
    std::vector<std::thread> hands;

    void SetUp() override
    {
        ResetLibraryInRealTime();
        MakeDemoFolder();
        held = true;
        ASSERT_EQ(qvns_start(nullptr), 0);
        ASSERT_EQ(qvns_set_path(DemoFolder().c_str()), 0);
    }

    void TearDown() override
    {
        Release();
        qvns_stop(Patient);
        RemoveDemoFolder();
        ResetLibrary();
    }

    static void Open(int32_t camera)
    {
        QvnsOpen open;
        qvns_init_open(&open);
        open.Config.Platform = DemoPlatform;
        open.Config.CCD = SmallSensor;
        ASSERT_EQ(qvns_open(camera, &open), 0);
    }

    // Keeps the worker of camera 0 until Release.
    void HoldWorker()
    {
        hands.emplace_back([] { qvns_run(0, Hold, nullptr, 600.0, Patient); });
        while (!holding) std::this_thread::yield();
    }

    template <typename Call> void Beside(int32_t queued, Call call)
    {
        hands.emplace_back(call);
        while (StateOf(0).Queued < queued) std::this_thread::yield();
    }

    void Release()
    {
        held = false;
        for (std::thread& hand : hands) hand.join();
        hands.clear();
    }
};

} // namespace

TEST_F(Callers, FrameBehindAChangeOfBinningHasRoomForItsPixels)
{
    Open(0);
    ASSERT_EQ(qvns_set_binning(0, 2, 2, Patient), 0);
    HoldWorker();
    Beside(1, [] { EXPECT_EQ(qvns_set_binning(0, 1, 1, Patient), 0); });
    const QvnsExposure exposure = Light(0.0);
    ASSERT_EQ(qvns_start_exposure(0, &exposure, nullptr), 0);
    Release();
    EXPECT_EQ(qvns_wait(0, 0, Patient), 0);
    EXPECT_GE(Slots[0].frame.room, uint64_t{DemoFileColumns} * DemoFileRows);
    QvnsMetadata about = {};
    ASSERT_EQ(qvns_fetch(0, 0, nullptr, 0, &about), 0);
    EXPECT_EQ(about.Width, DemoFileColumns);
    EXPECT_EQ(about.Height, DemoFileRows);
}

TEST_F(Callers, WindowThatABinningAheadOfItMovesOffTheSensorIsRefused)
{
    Open(0);
    HoldWorker();
    Beside(1, [] { EXPECT_EQ(qvns_set_binning(0, 2, 2, Patient), 0); });
    QvnsExposure exposure = Light(0.0);
    exposure.X = DemoFileColumns - 4;
    exposure.Width = 4;
    exposure.Height = 2;
    ASSERT_EQ(qvns_start_exposure(0, &exposure, nullptr), 0);
    Release();
    EXPECT_EQ(qvns_wait(0, 0, Patient), QVNS_ERROR_ARGUMENT);
    EXPECT_EQ(StateOf(0).Camera, QVNS_CAMERA_OPEN);
}

TEST_F(Callers, CloseIsNotTakenBackByAnAbort)
{
    Open(0);
    HoldWorker();
    Beside(1, [] { EXPECT_EQ(qvns_close(0, Patient), 0); });
    EXPECT_EQ(qvns_abort(0, 0.0), 0);
    Release();
    EXPECT_EQ(StateOf(0).Camera, QVNS_CAMERA_CLOSED);
}

TEST_F(Callers, CameraWithAFullQueueIsClosed)
{
    Open(0);
    HoldWorker();
    for (int32_t waiting = 1; waiting < JobRoom; ++waiting) {
        Beside(waiting, [] { EXPECT_EQ(qvns_clear(0, Patient), QVNS_ERROR_ABORTED); });
    }
    EXPECT_EQ(qvns_clear(0, Patient), QVNS_ERROR_BUSY);
    std::thread closing([] { EXPECT_EQ(qvns_close(0, Patient), 0); });
    while (StateOf(0).Queued > 1) std::this_thread::yield();
    Release();
    closing.join();
    EXPECT_EQ(StateOf(0).Camera, QVNS_CAMERA_CLOSED);
}

// All that may be called from a callback.
void AskForEverything(int32_t camera)
{
    QvnsState state;
    QvnsTemperature temperature;
    QvnsExposure exposure;
    QvnsDuration duration;
    QvnsCooling cooling;
    QvnsStart start;
    QvnsOpen open;
    qvns_init_exposure(&exposure);
    qvns_init_cooling(&cooling);
    qvns_init_start(&start);
    qvns_init_open(&open);
    EXPECT_EQ(qvns_state(camera, &state), 0);
    EXPECT_STRNE(qvns_error_text(QVNS_ERROR_LOST), "");
    qvns_temperature(camera, &temperature);
    qvns_expected(camera, &exposure, &duration);
    qvns_ready(camera, 0);
    qvns_watch();
    if (state.Frame == QVNS_FRAME_EXPOSING && state.Elapsed > 0.7) qvns_finish(camera);
}

std::atomic<int32_t> called;

TEST_F(Callers, CallbacksCallAllThatTheyMay)
{
    QvnsOpen open;
    qvns_init_open(&open);
    open.Config.Platform = DemoPlatform;
    open.Config.CCD = SmallSensor;
    open.Progress = [](int32_t camera, const char*, int32_t, void*) {
        AskForEverything(camera);
        ++called;
    };
    open.Countdown = [](int32_t camera, double, void*) {
        AskForEverything(camera);
        ++called;
    };
    called = 0;
    ASSERT_EQ(qvns_open(0, &open), 0);
    QvnsExposure exposure = Light(100.0);
    ASSERT_EQ(qvns_start_exposure(0, &exposure, nullptr), 0);
    EXPECT_EQ(qvns_wait(0, 0, Patient), 0);
    EXPECT_EQ(qvns_run(
                  0,
                  [](int32_t camera, void*) {
                      AskForEverything(camera);
                      return qvns_abort(camera, 0.0);
                  },
                  nullptr, 1.0, Patient),
              0);
    EXPECT_GT(called, 3);
}

TEST_F(Callers, EightCamerasAtOnce)
{
    for (int32_t camera = 0; camera < 8; ++camera) {
        hands.emplace_back([camera] {
            Open(camera);
            for (int32_t frame = 0; frame < 3; ++frame) {
                QvnsExposure exposure = Light(frame == 1 ? 0.6 : 0.0);
                exposure.HorBinning = exposure.VerBinning = 1 + frame;
                ASSERT_EQ(qvns_start_exposure(camera, &exposure, nullptr), 0);
                EXPECT_EQ(qvns_set_gain(camera, frame, Patient), 0);
                EXPECT_EQ(qvns_wait(camera, 0, Patient), 0);
                QvnsMetadata about = {};
                EXPECT_EQ(qvns_fetch(camera, 0, nullptr, 0, &about), 0);
                EXPECT_EQ(about.Camera, camera);
                EXPECT_EQ(about.Width, DemoFileColumns / (1 + frame) & ~1);
            }
            EXPECT_EQ(qvns_close(camera, Patient), 0);
        });
    }
    Release();
    for (int32_t camera = 0; camera < 8; ++camera) {
        EXPECT_EQ(StateOf(camera).Camera, QVNS_CAMERA_CLOSED);
    }
}

TEST_F(Callers, WaitForTheCoolerToBeOffWaitsForTheCall)
{
    Library.Cooler = HoldCooler;
    Open(0);
    QvnsCooling cooling;
    qvns_init_cooling(&cooling);
    ASSERT_EQ(qvns_cool(0, &cooling), 0);
    while (TemperatureOf(0).Power == 0.0) std::this_thread::yield();
    ASSERT_EQ(qvns_cooler_off(0), 0);
    while (!holding) std::this_thread::yield();
    EXPECT_EQ(qvns_wait_stable(0, 0.1), QVNS_ERROR_TIME);
    Release();
    EXPECT_EQ(qvns_wait_stable(0, Patient), 0);
}

// The camera that keeps its worker is closed when it lets it go.
TEST_F(Callers, StopClosesTheOthersBesideOneThatDoesNotComeBack)
{
    Open(0);
    Open(1);
    hands.emplace_back([] { qvns_run(0, Hold, nullptr, 600.0, 0.1); });
    while (!holding) std::this_thread::yield();
    hands.back().join();
    hands.clear();
    EXPECT_EQ(qvns_stop(0.5), QVNS_ERROR_LOST);
    EXPECT_EQ(QV_IsOn(1), 0);
    Release();
    while (qvns_start(nullptr) == QVNS_ERROR_BUSY) std::this_thread::yield();
    EXPECT_EQ(QV_IsOn(0), 0);
}
