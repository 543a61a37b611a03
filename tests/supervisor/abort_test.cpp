// Breaking off in every state: the frame is over at once, and the camera takes the next one.
#include "emulator/bus_camera.h"
#include "emulator/emulator.h"
#include "tests/supervisor/layer.h"

namespace {

constexpr size_t Pixels = size_t{ImageColumns} * ImageRows;

class Aborts : public LayerTest {
protected:
    void SetUp() override
    {
        LayerTest::SetUp();
        OpenCamera(BriarCamera, QV_OPTION_KEEP_CLEAN);
    }

    // The camera is as good as before.
    void ExpectGoodFrame()
    {
        const QvnsExposure exposure = Light(0.1);
        ASSERT_EQ(qvns_start_exposure(0, &exposure, nullptr), 0);
        ASSERT_EQ(qvns_wait(0, 0, 60.0), 0);
        std::vector<uint16_t> pixels(Pixels);
        ASSERT_EQ(qvns_fetch(0, 0, pixels.data(), pixels.size(), nullptr), 0);
        EXPECT_EQ(pixels, Expected(Full(BriarCamera, ReadRule::Lines, 1, 1), 0));
        EXPECT_EQ(StateOf(0).Recoveries, 0);
    }

    // Aborts the exposure when its frame is in this state; seconds from start to idle.
    void AbortIn(int32_t state, const QvnsExposure& exposure, double* seconds)
    {
        ASSERT_EQ(qvns_start_exposure(0, &exposure, nullptr), 0);
        const double start = Now();
        WhenFrameIs(state, [] {
            EXPECT_EQ(qvns_abort(0, 0.0), 0);
            EXPECT_EQ(StateOf(0).Frame, QVNS_FRAME_ABORTED);
            EXPECT_EQ(StateOf(0).Left, 0.0);
        });
        EXPECT_EQ(qvns_wait(0, 0, 600.0), QVNS_ERROR_ABORTED);
        EXPECT_EQ(qvns_abort(0, 60.0), 0);
        *seconds = Now() - start;
        EXPECT_EQ(StateOf(0).Frame, QVNS_FRAME_ABORTED);
        EXPECT_EQ(StateOf(0).FrameResult, QVNS_ERROR_ABORTED);
        EXPECT_EQ(qvns_ready(0, 0), 0);
        EXPECT_EQ(qvns_fetch(0, 0, nullptr, 0, nullptr), QVNS_ERROR_NO_FRAME);
        ExpectGoodFrame();
    }

    static QvnsExposure Window(double seconds)
    {
        QvnsExposure exposure = Light(seconds);
        exposure.X = exposure.Y = 1;
        exposure.Width = 4;
        exposure.Height = 2;
        return exposure;
    }
};

int32_t reportsLeft; // until the abort

void AbortAtReport(int32_t camera)
{
    const int32_t now = reportsLeft--;
    if (now != 0) return;
    EXPECT_EQ(qvns_abort(camera, 0.0), 0);
}

int32_t Count(int32_t, void* context)
{
    ++*static_cast<int32_t*>(context);
    return 7;
}

} // namespace

TEST_F(Aborts, QueuedFrameIsNeverBegun)
{
    const QvnsExposure exposure = Light(50.0);
    ASSERT_EQ(qvns_start_exposure(0, &exposure, nullptr), 0);
    EXPECT_EQ(StateOf(0).Queued, 1);
    EXPECT_EQ(qvns_abort(0, 0.0), 0);
    EXPECT_EQ(StateOf(0).Frame, QVNS_FRAME_ABORTED);
    EXPECT_EQ(qvns_wait(0, 0, 600.0), QVNS_ERROR_ABORTED);
    const uint32_t exposures = EmuBusExposures(bus);
    qvns_idle(1.0);
    EXPECT_EQ(EmuBusExposures(bus), exposures);
    ExpectGoodFrame();
}

TEST_F(Aborts, InTheClear)
{
    double seconds = 0.0;
    const uint32_t exposures = EmuBusExposures(bus);
    AbortIn(QVNS_FRAME_CLEARING, Light(50.0), &seconds);
    EXPECT_LT(seconds, 1.0);
    EXPECT_EQ(EmuBusExposures(bus), exposures + 1); // that of the good frame
}

TEST_F(Aborts, InTheWaitForTheTrigger)
{
    QvnsExposure exposure = Light(50.0);
    exposure.Trigger = 1;
    double seconds = 0.0;
    AbortIn(QVNS_FRAME_TRIGGER, exposure, &seconds);
    EXPECT_LT(seconds, 1.0);
}

TEST_F(Aborts, InTheLoadOfAPattern)
{
    double seconds = 0.0;
    WatchAsAThread(60.0);
    AbortIn(QVNS_FRAME_LOADING, Window(50.0), &seconds);
    EXPECT_LT(seconds, 2.0);
}

TEST_F(Aborts, InTheExposure)
{
    double seconds = 0.0;
    AbortIn(QVNS_FRAME_EXPOSING, Light(50.0), &seconds);
    EXPECT_LT(seconds, 1.0);
}

// A short exposure is not broken off, and what it brings is dropped.
TEST_F(Aborts, InAShortExposure)
{
    double seconds = 0.0;
    AbortIn(QVNS_FRAME_EXPOSING, Light(0.4), &seconds);
    EXPECT_GE(seconds, 0.4);
    EXPECT_LT(seconds, 1.0);
}

TEST_F(Aborts, InTheReadout)
{
    double seconds = 0.0;
    AbortIn(QVNS_FRAME_READING, Light(0.6), &seconds);
    EXPECT_LT(seconds, 2.0);
}

TEST_F(Aborts, InTheDownload)
{
    ASSERT_EQ(qvns_close(0, 0.0), 0);
    QvnsOpen open = Request(BriarCamera);
    open.Progress = [](int32_t camera, const char*, int32_t percent, void*) {
        if (StateOf(camera).Frame != QVNS_FRAME_DOWNLOADING) return;
        EXPECT_EQ(percent, 100);
        EXPECT_EQ(qvns_abort(camera, 0.0), 0);
    };
    ASSERT_EQ(qvns_open(0, &open), 0);
    const QvnsExposure exposure = Light(0.1);
    ASSERT_EQ(qvns_start_exposure(0, &exposure, nullptr), 0);
    EXPECT_EQ(qvns_wait(0, 0, 60.0), QVNS_ERROR_ABORTED);
    EXPECT_EQ(qvns_abort(0, 60.0), 0);
    EXPECT_EQ(qvns_ready(0, 0), 0);
}

// An abort at any report of a frame, of its pattern's load as well.
TEST_F(Aborts, AtAnyReportOfARead)
{
    ASSERT_EQ(qvns_close(0, 0.0), 0);
    QvnsOpen open = Request(BriarCamera, QV_OPTION_KEEP_CLEAN);
    open.Progress = [](int32_t camera, const char*, int32_t, void*) { AbortAtReport(camera); };
    open.Countdown = [](int32_t camera, double, void*) { AbortAtReport(camera); };
    reportsLeft = -1;
    ASSERT_EQ(qvns_open(0, &open), 0);
    WatchAsAThread(1000.0);
    bool aborted = true;
    for (int32_t at = 0; aborted; ++at) {
        ASSERT_LT(at, 1000);
        reportsLeft = at;
        const QvnsExposure exposure = Window(1.0);
        ASSERT_EQ(qvns_start_exposure(0, &exposure, nullptr), 0);
        const int32_t code = qvns_wait(0, 0, 60.0);
        aborted = reportsLeft < 0;
        EXPECT_EQ(code, aborted ? QVNS_ERROR_ABORTED : 0) << at;
        EXPECT_EQ(qvns_abort(0, 60.0), 0);
        reportsLeft = -1;
        ExpectGoodFrame();
    }
}

// Behind the frame its time is over before it begins.
TEST_F(Aborts, WorkThatHasNotBegunIsTakenBack)
{
    const QvnsExposure exposure = Light(5.0);
    ASSERT_EQ(qvns_start_exposure(0, &exposure, nullptr), 0);
    int32_t calls = 0;
    EXPECT_EQ(qvns_run(0, Count, &calls, 0.0, 1.0), QVNS_ERROR_TIME);
    EXPECT_EQ(StateOf(0).Frame, QVNS_FRAME_READY);
    EXPECT_EQ(calls, 0);
    EXPECT_EQ(StateOf(0).Queued, 0);
    EXPECT_EQ(qvns_run(0, Count, &calls, 0.0, 1.0), 7);
    EXPECT_EQ(calls, 1);
}

TEST_F(Aborts, OfAnIdleCameraDoesNothing)
{
    EXPECT_EQ(qvns_abort(0, 0.0), 0);
    EXPECT_EQ(StateOf(0).Frame, QVNS_FRAME_NONE);
    ExpectGoodFrame();
    EXPECT_EQ(qvns_abort(0, 1.0), 0);
    EXPECT_EQ(qvns_ready(0, 0), 1);
}
