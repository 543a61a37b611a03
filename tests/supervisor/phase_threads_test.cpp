// What happens to a camera in each phase of a frame, with threads of the layer and of the host in
// the time of the system: the worker stands still where its frame is in that phase, until it has
// happened. The camera beside takes true frames all the while. The ordinary run takes some of the
// phases for each kind of camera; with QVN_ALL_PHASES=1 it takes all.
#include <atomic>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <string>
#include <thread>
#include <vector>

#include "include/qvn_supervisor.h"
#include "supervisor/library.h"
#include "tests/supervisor/kinds.h"
#include "tests/support/demo_camera.h"

namespace {

constexpr double Patient = 60.0; // seconds, on a slow machine

constexpr CameraKind Kinds[] = {TolmEOnUsb, HeronPlusOnUsb, BriarOnCard};

struct Phase {
    const char* name;
    int32_t state; // QVNS_FRAME_...
    double seconds;
    int32_t binning; // 1: that of the frame before
    bool triggered;
};

constexpr Phase PhaseTable[] = {
    {"clear", QVNS_FRAME_CLEARING, 0.01, 1, false},
    {"wait for the trigger", QVNS_FRAME_TRIGGER, 0.01, 1, true},
    {"load", QVNS_FRAME_LOADING, 0.01, 2, false},
    {"exposure", QVNS_FRAME_EXPOSING, 0.7, 1, false},
    {"readout", QVNS_FRAME_READING, 0.01, 1, false},
    {"download", QVNS_FRAME_DOWNLOADING, 0.01, 1, false},
};

void Pause(int32_t milliseconds)
{
    std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds));
}

// All six; or every so many of them, from another one for each kind.
std::vector<Phase> PhasesOf(const CameraKind& kind, int32_t every)
{
    if (getenv("QVN_ALL_PHASES") != nullptr) every = 1;
    std::vector<Phase> phases;
    int32_t number = 0;
    for (const Phase& phase : PhaseTable) {
        const bool taken = number++ % every == (kind.platform + 1) % every;
        if (taken && (kind.hasTrigger || !phase.triggered)) phases.push_back(phase);
    }
    return phases;
}

// --- where the worker stands still ---

std::atomic<int32_t> awaited; // QVNS_FRAME_...; none: nowhere
std::atomic<bool> stands, goesOn;

void Gate(int32_t camera)
{
    if (camera != Storm || awaited == QVNS_FRAME_NONE) return;
    if (StateAt(camera).Frame != awaited) return;
    awaited = QVNS_FRAME_NONE;
    stands = true;
    while (!goesOn) Pause(1);
    stands = false;
}

void ClearCCD(int32_t camera)
{
    Gate(camera);
    QV_ClearCCD(camera);
}

void SetBinning(int32_t horizontal, int32_t vertical, int32_t camera)
{
    Gate(camera);
    QV_SetBinning(horizontal, vertical, camera);
}

int32_t Trigger(int32_t wait, int32_t camera)
{
    Gate(camera);
    return QV_Trigger(wait, camera);
}

void NoteProgress(int32_t camera, const char*, int32_t, void*)
{
    Gate(camera);
}

void NoteTime(int32_t camera, double, void*)
{
    Gate(camera);
}

void* Find(const char* name, void*)
{
    if (strcmp(name, "QV_ClearCCD") == 0) return reinterpret_cast<void*>(ClearCCD);
    if (strcmp(name, "QV_SetBinning") == 0) return reinterpret_cast<void*>(SetBinning);
    if (strcmp(name, "QV_Trigger") == 0) return reinterpret_cast<void*>(Trigger);
#define QVNS_NAMED(function)                                                                       \
    if (strcmp(name, "QV_" #function) == 0) return reinterpret_cast<void*>(QV_##function);
    QVNS_LIBRARY(QVNS_NAMED)
#undef QVNS_NAMED
    return nullptr;
}

class PhaseThreads : public TwoCamerasWithThreadsTest,
                     public testing::WithParamInterface<CameraKind> {
protected:
    std::atomic<bool> over = false;
    std::atomic<int32_t> goodBeside = 0;
    std::thread beside;

    void SetUp() override
    {
        TwoCamerasWithThreadsTest::SetUp();
        awaited = QVNS_FRAME_NONE;
        stands = false;
        PlugTwo(GetParam());
        Start();
    }

    void TearDown() override
    {
        goesOn = true;
        EndBeside();
        TwoCamerasWithThreadsTest::TearDown();
    }

    static void OpenStorm()
    {
        QvnsOpen open = RequestOf(GetParam(), QV_OPTION_KEEP_CLEAN);
        open.Progress = NoteProgress;
        open.Countdown = NoteTime;
        open.RecoverEvery = 0.1;
        ASSERT_EQ(qvns_open(Storm, &open), 0);
    }

    void Start()
    {
        QvnsStart start;
        qvns_init_start(&start);
        start.Find = Find;
        ASSERT_EQ(qvns_start(&start), 0);
        ASSERT_EQ(qvns_set_path(DemoFolder().c_str()), 0);
        const QvnsOpen open = RequestOf(GetParam(), 0);
        ASSERT_EQ(qvns_open(Peace, &open), 0);
        CoolPeace();
        OpenStorm();
        over = false;
        beside = std::thread([this] { TakeFramesBeside(); });
    }

    void EndBeside()
    {
        over = true;
        if (beside.joinable()) beside.join();
    }

    static QvnsExposure Request(const Phase& phase)
    {
        QvnsExposure exposure;
        qvns_init_exposure(&exposure);
        exposure.Seconds = phase.seconds;
        exposure.HorBinning = exposure.VerBinning = phase.binning;
        exposure.Trigger = phase.triggered ? 1 : 0;
        return exposure;
    }

    static void TakeTrueFrame(int32_t camera)
    {
        const QvnsExposure exposure = Request({"", QVNS_FRAME_NONE, 0.01, 1, false});
        EXPECT_EQ(qvns_start_exposure(camera, &exposure, nullptr), 0);
        EXPECT_EQ(qvns_wait(camera, 0, Patient), 0);
        QvnsMetadata about = {};
        EXPECT_TRUE(FetchTrueFrame(camera, &about));
    }

    void TakeFramesBeside()
    {
        while (!over && !HasFailure()) {
            TakeTrueFrame(Peace);
            ++goodBeside;
        }
    }

    // The worker stands still in the phase; false: it did not come to that.
    static bool ReachPhase(const Phase& phase)
    {
        goesOn = false;
        awaited = phase.state;
        const QvnsExposure exposure = Request(phase);
        EXPECT_EQ(qvns_start_exposure(Storm, &exposure, nullptr), 0);
        while (!stands && StateAt(Storm).Frame < QVNS_FRAME_READY) Pause(1);
        EXPECT_TRUE(stands);
        return stands;
    }

    // The frame's code. One that waits for the trigger gets it.
    static int32_t EndFrame()
    {
        AtThePlug(RaiseTrigger);
        const int32_t code = qvns_wait(Storm, 0, Patient);
        AtThePlug(DropTrigger);
        EXPECT_NE(code, QVNS_ERROR_TIME);
        QvnsMetadata about = {};
        EXPECT_EQ(FetchTrueFrame(Storm, &about), code == 0);
        return code;
    }

    // In each phase in its turn; the frame's code goes to `expect`.
    template <typename Happen, typename Expect>
    void InEachPhase(bool recovers, Happen happen, Expect expect)
    {
        // A link that has lost its camera keeps the worker for seconds.
        for (const Phase& phase : PhasesOf(GetParam(), recovers ? 6 : 3)) {
            SCOPED_TRACE(phase.name);
            if (!ReachPhase(phase)) return;
            happen(phase);
            goesOn = true;
            expect(EndFrame());
            EXPECT_EQ(qvns_abort(Storm, Patient), 0);
            if (recovers) {
                EXPECT_EQ(qvns_recover(Storm, Patient), 0);
            }
            TakeTrueFrame(Storm);
        }
        EndBeside();
        EXPECT_GT(goodBeside, 0);
        ExpectPeace();
    }

    // A call that waits for the worker, which goes on when the call waits.
    template <typename Call> static void CallMeanwhile(Call call)
    {
        std::thread caller(call);
        Pause(20);
        goesOn = true;
        caller.join();
    }
};

std::string KindName(const testing::TestParamInfo<CameraKind>& info)
{
    return info.param.name;
}

INSTANTIATE_TEST_SUITE_P(Pairs, PhaseThreads, testing::ValuesIn(Kinds), KindName);

} // namespace

TEST_P(PhaseThreads, AbortInEachPhaseEndsTheFrame)
{
    InEachPhase(
        false, [](const Phase&) { EXPECT_EQ(qvns_abort(Storm, 0.0), 0); },
        [](int32_t code) { EXPECT_EQ(code, QVNS_ERROR_ABORTED); });
}

TEST_P(PhaseThreads, FinishEndsAnExposureAndNothingElse)
{
    InEachPhase(
        false,
        [](const Phase& phase) {
            const bool isLong = phase.state == QVNS_FRAME_EXPOSING;
            EXPECT_EQ(qvns_finish(Storm), isLong ? 0 : QVNS_ERROR_NO_FRAME);
        },
        [](int32_t code) { EXPECT_EQ(code, 0); });
}

TEST_P(PhaseThreads, PlugPulledInEachPhaseGivesNoFrame)
{
    InEachPhase(
        true,
        [](const Phase&) {
            AtThePlug(PullPlug);
            goesOn = true;
            Pause(50);
            AtThePlug(PutPlug);
        },
        [](int32_t code) { EXPECT_NE(code, 0); });
}

// The silence would last as long as the link waits.
TEST_P(PhaseThreads, SilenceInEachPhaseEndsWithThePlug)
{
    InEachPhase(
        true,
        [](const Phase&) {
            AtThePlug(Silence);
            goesOn = true;
            Pause(50);
            AtThePlug(PullPlug);
            AtThePlug(EndSilence);
            AtThePlug(PutPlug);
        },
        [](int32_t) {});
}

TEST_P(PhaseThreads, CameraIsClosedInEachPhase)
{
    for (const Phase& phase : PhasesOf(GetParam(), 3)) {
        SCOPED_TRACE(phase.name);
        if (!ReachPhase(phase)) return;
        CallMeanwhile([] { EXPECT_EQ(qvns_close(Storm, Patient), 0); });
        EXPECT_EQ(StateAt(Storm).Camera, QVNS_CAMERA_CLOSED);
        EXPECT_EQ(qvns_wait(Storm, 0, Patient), QVNS_ERROR_NOT_OPEN);
        OpenStorm();
        TakeTrueFrame(Storm);
    }
    EndBeside();
    EXPECT_GT(goodBeside, 0);
    ExpectPeace();
}

TEST_P(PhaseThreads, LayerIsStoppedInEachPhase)
{
    for (const Phase& phase : PhasesOf(GetParam(), 3)) {
        SCOPED_TRACE(phase.name);
        EndBeside(); // cameras that share a binning wait for the one that stands still
        if (!ReachPhase(phase)) return;
        CallMeanwhile([] { EXPECT_EQ(qvns_stop(Patient), 0); });
        EXPECT_EQ(QV_IsOn(Storm), 0);
        EXPECT_EQ(QV_IsOn(Peace), 0);
        Start();
        TakeTrueFrame(Storm);
    }
}
