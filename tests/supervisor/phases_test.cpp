// A table of what can happen to a camera, in each phase that a frame goes through. Whatever it is,
// the wait ends in its time, no frame is given out as good that is not, the camera is as good as
// new afterwards, and the one beside it has stayed cold and works.
#include <algorithm>
#include <string>
#include <tuple>

#include "drivers/heron_plus.h"
#include "emulator/emulator.h"
#include "include/qvn_supervisor.h"
#include "tests/supervisor/kinds.h"
#include "tests/support/demo_camera.h"

namespace {

constexpr uint64_t LookEveryUs = 10, WatchEveryUs = 50'000;
constexpr uint64_t TriggerAfterUs = 20'000'000, TriggerUs = 1'000'000;
constexpr double TriggerLimit = 60.0;
constexpr double LongerSeconds = 1.0; // than a frame may take, until its wait gives up
constexpr double OverSeconds = 60.0;  // until all that happens is over
constexpr double LongExposure = 3.0;

struct Phase {
    const char* name;
    int32_t state; // QVNS_FRAME_...
    double seconds;
    int32_t binning; // 1: that of the frame before
    bool isWindow;   // so that a pattern is loaded within the read
    bool triggered;
};

constexpr Phase PhaseTable[] = {
    {"Clear", QVNS_FRAME_CLEARING, 0.1, 1, false, false},
    {"TriggerWait", QVNS_FRAME_TRIGGER, 0.1, 1, false, true},
    {"Load", QVNS_FRAME_LOADING, 0.1, 2, false, false},
    {"LoadOfAWindow", QVNS_FRAME_LOADING, 0.1, 1, true, false},
    {"Exposure", QVNS_FRAME_EXPOSING, LongExposure, 1, false, false},
    {"Readout", QVNS_FRAME_READING, 0.1, 1, false, false},
    {"Download", QVNS_FRAME_DOWNLOADING, 0.1, 1, false, false},
};

enum Outcome : int32_t {
    Good,      // the frame comes, and is true
    Aborted,   // it does not, as was asked for
    Fails,     // the camera is another one behind it
    Whichever, // what comes is true
};

struct Event {
    const char* name;
    void (*begin)(int32_t camera);
    void (*end)(int32_t camera); // null: it has no length
    uint64_t lastsUs;
    Outcome outcome;
};

void AbortIt(int32_t camera)
{
    EXPECT_EQ(qvns_abort(camera, 0.0), 0);
    EXPECT_EQ(StateAt(camera).Frame, QVNS_FRAME_ABORTED);
}

// Only an exposure can be finished.
void FinishIt(int32_t camera)
{
    const QvnsState state = StateAt(camera);
    const bool isLong = state.Frame == QVNS_FRAME_EXPOSING && state.Expected > LongExposure;
    EXPECT_EQ(qvns_finish(camera), isLong ? 0 : QVNS_ERROR_NO_FRAME);
}

constexpr Event EventTable[] = {
    {"AbortedInThe", AbortIt, nullptr, 0, Aborted},
    {"FinishedInThe", FinishIt, nullptr, 0, Good},
    {"PulledOutForAWhileInThe", PullPlug, PutPlug, 5'000'000, Fails},
    {"PulledOutAndPutBackInThe", PullPlug, PutPlug, 1, Fails},
    {"SilentForAWhileInThe", Silence, EndSilence, 5'000'000, Whichever},
};

constexpr CameraKind Kinds[] = {TolmEOnUsb, HeronPlusOnUsb, BriarOnCard};

const Phase* Awaited;
const Event* Coming;
bool Happened, Looking;

double Now()
{
    return static_cast<double>(EmuMicroseconds()) / 1e6;
}

void LookForPhase()
{
    if (Happened || StateAt(Storm).Frame != Awaited->state) return;
    Happened = true;
    Coming->begin(Storm);
    if (Coming->end != nullptr) {
        EmuSchedule(EmuMicroseconds() + Coming->lastsUs, Coming->end, Storm);
    }
}

void Look(int32_t)
{
    LookForPhase();
    if (!Happened) EmuSchedule(EmuMicroseconds() + LookEveryUs, Look, 0);
}

void NoteProgress(int32_t camera, const char*, int32_t, void*)
{
    if (camera == Storm && Awaited != nullptr) LookForPhase();
}

// As a thread would.
void Watch(int32_t)
{
    qvns_watch();
    if (Looking) EmuSchedule(EmuMicroseconds() + WatchEveryUs, Watch, 0);
}

using Case = std::tuple<CameraKind, Phase, Event>;

class Phases : public TwoCamerasTest, public testing::WithParamInterface<Case> {
protected:
    const CameraKind& kind = std::get<0>(GetParam());
    const Phase& phase = std::get<1>(GetParam());
    const Event& event = std::get<2>(GetParam());

    void SetUp() override
    {
        TwoCamerasTest::SetUp();
        HeronPlusReadings = {};
        Awaited = nullptr;
        Happened = Looking = false;
        PlugTwo(kind);
        QvnsStart start;
        qvns_init_start(&start);
        start.Mode = QVNS_CALLER;
        start.Seconds = Now;
        ASSERT_EQ(qvns_start(&start), 0);
        ASSERT_EQ(qvns_set_path(DemoFolder().c_str()), 0);
        QvnsOpen open = RequestOf(kind, 0);
        ASSERT_EQ(qvns_open(Peace, &open), 0);
        open.Config.Activity = QV_OPTION_KEEP_CLEAN;
        open.Progress = NoteProgress;
        ASSERT_EQ(qvns_open(Storm, &open), 0);
        CoolPeace();
        ASSERT_EQ(qvns_wait_stable(Peace, 3600.0), 0);
    }

    QvnsExposure Request() const
    {
        QvnsExposure exposure;
        qvns_init_exposure(&exposure);
        exposure.Seconds = phase.seconds;
        exposure.HorBinning = exposure.VerBinning = phase.binning;
        exposure.Trigger = phase.triggered ? 1 : 0;
        exposure.TriggerLimit = phase.triggered ? TriggerLimit : 0.0;
        if (!phase.isWindow) return exposure;
        exposure.X = exposure.Y = 1;
        exposure.Width = WindowWidth;
        exposure.Height = WindowHeight;
        return exposure;
    }

    // A frame to which it happens: its code.
    int32_t TakeFrame()
    {
        Awaited = &phase;
        Coming = &event;
        Looking = true;
        Look(0);
        Watch(0);
        const QvnsExposure exposure = Request();
        QvnsDuration duration = {};
        EXPECT_EQ(qvns_expected(Storm, &exposure, &duration), 0);
        const double start = Now();
        if (phase.triggered) {
            const uint64_t at = EmuMicroseconds() + TriggerAfterUs;
            EmuSchedule(at, RaiseTrigger, Storm);
            EmuSchedule(at + TriggerUs, DropTrigger, Storm);
        }
        EXPECT_EQ(qvns_start_exposure(Storm, &exposure, nullptr), 0);
        const int32_t code = qvns_wait(Storm, 0, 0.0);
        const double usual = duration.Total + duration.Patience + exposure.TriggerLimit;
        EXPECT_LE(Now() - start, usual + LongerSeconds);
        EXPECT_TRUE(Happened) << "the frame did not go through this phase";
        Looking = false;
        return code;
    }

    void ExpectOutcome(int32_t code) const
    {
        QvnsMetadata about = {};
        EXPECT_EQ(qvns_ready(Storm, 0), code == 0 ? 1 : 0);
        EXPECT_EQ(FetchTrueFrame(Storm, &about), code == 0);
        switch (event.outcome) {
        case Good: EXPECT_EQ(code, 0); break;
        case Aborted: EXPECT_EQ(code, QVNS_ERROR_ABORTED); break;
        case Fails: EXPECT_NE(code, 0); break;
        default: EXPECT_NE(code, QVNS_ERROR_TIME);
        }
    }

    static void ExpectTrueFrame(int32_t camera)
    {
        QvnsExposure exposure;
        qvns_init_exposure(&exposure);
        exposure.Seconds = 0.1;
        exposure.HorBinning = exposure.VerBinning = 1;
        ASSERT_EQ(qvns_start_exposure(camera, &exposure, nullptr), 0);
        ASSERT_EQ(qvns_wait(camera, 0, 0.0), 0);
        QvnsMetadata about = {};
        EXPECT_TRUE(FetchTrueFrame(camera, &about));
    }
};

std::string CaseName(const testing::TestParamInfo<Case>& info)
{
    return std::string(std::get<0>(info.param).name) + std::get<2>(info.param).name +
           std::get<1>(info.param).name;
}

std::vector<Case> AllCases()
{
    std::vector<Case> cases;
    for (const CameraKind& kind : Kinds) {
        for (const Phase& phase : PhaseTable) {
            // Without a pattern a window takes no time to load.
            if (phase.isWindow && kind.builder == nullptr) continue;
            if (phase.triggered && !kind.hasTrigger) continue;
            for (const Event& event : EventTable) cases.emplace_back(kind, phase, event);
        }
    }
    return cases;
}

INSTANTIATE_TEST_SUITE_P(Frame, Phases, testing::ValuesIn(AllCases()), CaseName);

} // namespace

TEST_P(Phases, NoFrameIsFalselyGoodAndBothCamerasGoOn)
{
    ExpectOutcome(TakeFrame());
    qvns_idle(OverSeconds);
    EXPECT_EQ(StateAt(Storm).Camera, QVNS_CAMERA_OPEN);
    ExpectTrueFrame(Storm);
    ExpectPeace();
    ExpectTrueFrame(Peace);
}
