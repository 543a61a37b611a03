// Two cameras of a kind under random steps in virtual time. One lives in a storm: it is asked
// for anything, in any order, is broken off at any moment, loses its plug, falls silent. The
// other one is left in peace: whatever happens beside it, it takes true frames and stays cold.
// A seed is a run. The ordinary one has fewer steps; the whole storm, or the run of a seed:
//     QVN_STEPS=10000 build/test_supervisor --gtest_filter='*RandomSteps*'
//     QVN_SEED=7 build/test_supervisor --gtest_filter='*RandomSteps*Card42_seed1'
#include <cstdio>
#include <cstdlib>
#include <random>
#include <tuple>

#include "drivers/heron_plus.h"
#include "emulator/emulator.h"
#include "include/qvn_supervisor.h"
#include "tests/supervisor/kinds.h"
#include "tests/support/demo_camera.h"

namespace {

constexpr int32_t UsualSteps = 600, StorySteps = 150;
constexpr uint32_t Seeds = 4;
constexpr uint16_t Fill = 0xAAAA, Guard = 0x6D6D;
constexpr size_t Guards = 32;
constexpr size_t Room = size_t{ImageColumns} * ImageRows;

// What a call of the layer may take beyond its limit where the caller's thread does the work:
// the library's longest call, a read that runs into its time-outs and a recovery behind it.
constexpr double LongestCall = 120.0;
constexpr double LongestWork = 1800.0; // with the usual limits

constexpr uint64_t TriggerUs = 300'000;

const CameraKind Kinds[] = {TolmEOnUsb, HeronPlusOnUsb, BriarOnCard, R3OnCard};

double Now()
{
    return static_cast<double>(EmuMicroseconds()) / 1e6;
}

void BreakOff(int32_t camera)
{
    qvns_abort(camera, 0.0);
}

void EndExposure(int32_t camera)
{
    qvns_finish(camera);
}

int32_t Nothing(int32_t, void* context)
{
    ++*static_cast<int32_t*>(context);
    return 0;
}

// A number of the environment, or the usual one.
uint32_t Asked(const char* name, uint32_t usual)
{
    const char* const text = getenv(name);
    return text != nullptr ? static_cast<uint32_t>(strtoul(text, nullptr, 10)) : usual;
}

class RandomSteps : public TwoCamerasTest,
                    public testing::WithParamInterface<std::tuple<CameraKind, uint32_t>> {
protected:
    std::mt19937 random;
    CameraKind kind = std::get<0>(GetParam());
    uint64_t story = 0;   // of the run: each code and the time of it
    uint64_t pending = 0; // until then something is going to happen
    int32_t good[2] = {};
    int32_t failed = 0, aborted = 0;
    int32_t ran = 0, triggered = 0;

    uint32_t Below(uint32_t bound) { return static_cast<uint32_t>(random() % bound); }
    double Seconds(double most) { return most * Below(1000) / 1000.0; }

    void Tell(uint64_t what)
    {
        story = (story ^ what) * 0x100000001B3u;
        story = (story ^ EmuMicroseconds()) * 0x100000001B3u;
    }

    // A call's code, and that it came in time.
    template <typename Call> int32_t Timed(double limit, Call call)
    {
        const double start = Now();
        const int32_t code = call();
        EXPECT_LE(Now() - start, (limit > 0.0 ? limit : LongestWork) + LongestCall);
        Tell(static_cast<uint32_t>(code));
        return code;
    }

    void Happen(uint64_t afterUs, void (*action)(int32_t), int32_t camera)
    {
        EmuSchedule(EmuMicroseconds() + 1 + afterUs, action, camera);
        pending = std::max(pending, EmuMicroseconds() + 1 + afterUs);
    }

    void Begin(uint32_t seed);
    int32_t OpenCamera(int32_t camera);
    QvnsExposure AnyExposure();
    QvnsExposure StormExposure();
    void LookAt(const QvnsMetadata& about, const std::vector<uint16_t>& pixels);
    void Fetch(int32_t camera);
    void AskPeace();
    void Step();
    void StepAtCamera(uint32_t which);
    void StepAtSettings(uint32_t which);
    void StepAtWorld(uint32_t which);
    void StepAtTrigger();
    void Run(uint32_t seed, int32_t steps);
    void EndWell();
};

void RandomSteps::Begin(uint32_t seed)
{
    random.seed(seed);
    story = pending = 0;
    HeronPlusReadings = {}; // the library keeps its list of temperatures
    PlugTwo(kind);
    QvnsStart start;
    qvns_init_start(&start);
    start.Mode = QVNS_CALLER;
    start.Seconds = Now;
    ASSERT_EQ(qvns_start(&start), 0);
    ASSERT_EQ(qvns_set_path(DemoFolder().c_str()), 0);
    for (const int32_t camera : {Storm, Peace}) ASSERT_EQ(OpenCamera(camera), 0);
    CoolPeace();
    ASSERT_EQ(qvns_wait_stable(Peace, 3600.0), 0);
}

int32_t RandomSteps::OpenCamera(int32_t camera)
{
    const QvnsOpen open = RequestOf(kind, QV_OPTION_SILENT);
    return Timed(0.0, [&] { return qvns_open(camera, &open); });
}

QvnsExposure RandomSteps::AnyExposure()
{
    QvnsExposure exposure;
    qvns_init_exposure(&exposure);
    constexpr double Times[] = {0.0, 0.01, 0.3, 0.6, 2.0};
    exposure.Seconds = Times[Below(5)];
    exposure.Light = Below(4) != 0;
    exposure.HorBinning = 1 + static_cast<int32_t>(Below(4));
    exposure.VerBinning = 1 + static_cast<int32_t>(Below(4));
    if (Below(3) != 0) return exposure;
    exposure.X = exposure.Y = 1;
    exposure.Width = WindowWidth;
    exposure.Height = WindowHeight;
    return exposure;
}

// Some wait for the trigger, which comes or does not.
QvnsExposure RandomSteps::StormExposure()
{
    QvnsExposure exposure = AnyExposure();
    if (Below(4) != 0 || !kind.hasTrigger) return exposure;
    exposure.Trigger = 1;
    exposure.TriggerLimit = Seconds(20.0);
    return exposure;
}

// A frame that is given out as good is what the sensor saw.
void RandomSteps::LookAt(const QvnsMetadata& about, const std::vector<uint16_t>& pixels)
{
    EXPECT_EQ(about.Result, 0);
    EXPECT_EQ(pixels, TrueFrame(about, pixels))
        << about.HorBinning << " by " << about.VerBinning << ", " << about.Width
        << " pixels a line, of camera " << about.Camera;
    ++good[about.Camera];
    triggered += about.Triggered;
}

void RandomSteps::Fetch(int32_t camera)
{
    std::vector<uint16_t> buffer(Room + 2 * Guards, Guard);
    std::fill_n(buffer.begin() + Guards, Room, Fill);
    QvnsMetadata about = {};
    const uint64_t room = Below(8) == 0 ? Below(Room) : Room;
    const int32_t code = qvns_fetch(camera, 0, buffer.data() + Guards, room, &about);
    Tell(static_cast<uint32_t>(code));
    for (size_t i = 0; i < Guards; ++i) {
        ASSERT_EQ(buffer[i], Guard);
        ASSERT_EQ(buffer[Guards + Room + i], Guard);
    }
    if (code == 0) {
        const auto first = buffer.begin() + Guards;
        LookAt(about, {first, first + about.Width * about.Height});
    } else {
        EXPECT_EQ(buffer[Guards], Fill);
    }
}

// The camera beside: it works, and is cold.
void RandomSteps::AskPeace()
{
    ExpectPeace();
    if (Below(20) != 0) return;
    const QvnsExposure exposure = AnyExposure();
    ASSERT_EQ(qvns_start_exposure(Peace, &exposure, nullptr), 0);
    ASSERT_EQ(Timed(600.0, [] { return qvns_wait(Peace, 0, 600.0); }), 0);
    Fetch(Peace);
}

void RandomSteps::StepAtCamera(uint32_t which)
{
    const double limit = Seconds(5.0);
    const QvnsExposure exposure = StormExposure();
    switch (which) {
    case 0:
    case 1:
    case 2: Tell(static_cast<uint32_t>(qvns_start_exposure(Storm, &exposure, nullptr))); break;
    case 3:
    case 4: {
        const int32_t code = Timed(limit, [=] { return qvns_wait(Storm, 0, limit); });
        failed += code > 0;
        aborted += code == QVNS_ERROR_ABORTED;
        break;
    }
    case 5:
    case 6: Fetch(Storm); break;
    case 7: Timed(limit, [=] { return qvns_abort(Storm, limit); }); break;
    case 8: Tell(static_cast<uint32_t>(qvns_finish(Storm))); break;
    case 9: Timed(limit, [=] { return qvns_clear(Storm, limit); }); break;
    case 10: Timed(limit, [=] { return qvns_recover(Storm, limit); }); break;
    default: Timed(limit, [=] { return qvns_close(Storm, limit); }); OpenCamera(Storm);
    }
}

void RandomSteps::StepAtSettings(uint32_t which)
{
    const double limit = Seconds(5.0);
    QvnsCooling cooling;
    qvns_init_cooling(&cooling);
    cooling.Target = -20.0 + Seconds(30.0);
    cooling.DegreesPerMinute = Seconds(10.0);
    QvnsTemperature temperature;
    QvnsDuration duration;
    const QvnsExposure exposure = AnyExposure();
    switch (which) {
    case 0: Timed(limit, [=] { return qvns_set_binning(Storm, 2, 1, limit); }); break;
    case 1: {
        const int32_t gain = static_cast<int32_t>(Below(6)) - 1;
        const int32_t code = Timed(limit, [=] { return qvns_set_gain(Storm, gain, limit); });
        if (gain < 0 || gain > 3) {
            EXPECT_EQ(code, QVNS_ERROR_ARGUMENT);
        }
        break;
    }
    case 2: Timed(limit, [=] { return qvns_set_fan(Storm, 50.0, limit); }); break;
    case 3: Tell(static_cast<uint32_t>(qvns_cool(Storm, &cooling))); break;
    case 4: Tell(static_cast<uint32_t>(qvns_warm_up(Storm, 15.0, 5.0))); break;
    case 5: Tell(static_cast<uint32_t>(qvns_cooler_off(Storm))); break;
    case 6: Timed(limit, [=] { return qvns_wait_stable(Storm, limit); }); break;
    case 7: Tell(static_cast<uint32_t>(qvns_temperature(Storm, &temperature))); break;
    case 8: Tell(static_cast<uint32_t>(qvns_expected(Storm, &exposure, &duration))); break;
    case 9: {
        const int32_t position = static_cast<int32_t>(Below(8));
        Timed(limit, [=] { return qvns_set_filter(Storm, position, limit); });
        break;
    }
    case 10: Timed(limit, [=] { return qvns_find_filters(Storm, limit); }); break;
    default: Timed(limit, [=, this] { return qvns_run(Storm, Nothing, &ran, 1.0, limit); });
    }
}

// What happens outside, now or in the midst of what comes next, and its end.
void RandomSteps::StepAtWorld(uint32_t which)
{
    if (EmuMicroseconds() < pending) return;
    const uint64_t begin = Below(2'000'000), lasts = Below(8'000'000);
    switch (which) {
    case 0:
        Happen(begin, PullPlug, Storm);
        Happen(begin + lasts, PutPlug, Storm);
        break;
    case 1:
        Happen(begin, Silence, Storm);
        Happen(begin + lasts, EndSilence, Storm);
        break;
    case 2:
        Happen(begin, LosePixels, Storm);
        Happen(begin + lasts, EndSilence, Storm);
        break;
    case 3: Happen(begin, EndExposure, Storm); break;
    default: Happen(begin, BreakOff, Storm);
    }
}

// The trigger comes to whoever waits for it; not always.
void RandomSteps::StepAtTrigger()
{
    if (StateAt(Storm).Frame != QVNS_FRAME_TRIGGER || EmuMicroseconds() < pending) return;
    const uint64_t begin = Below(1'000'000);
    Happen(begin, RaiseTrigger, Storm);
    Happen(begin + TriggerUs, DropTrigger, Storm);
}

void RandomSteps::Step()
{
    switch (Below(10)) {
    case 0:
    case 1: qvns_idle(Seconds(2.0)); break;
    case 2: StepAtWorld(Below(8)); break;
    case 3:
    case 4: StepAtSettings(Below(12)); break;
    case 5: StepAtTrigger(); break;
    default: StepAtCamera(Below(12));
    }
    AskPeace();
}

// Whatever has happened: when it is over, the camera is as good as new.
void RandomSteps::EndWell()
{
    qvns_idle(20.0); // all that was going to happen has happened
    qvns_abort(Storm, 60.0);
    if (StateAt(Storm).Camera == QVNS_CAMERA_CLOSED) {
        EXPECT_EQ(OpenCamera(Storm), 0);
    } else {
        EXPECT_EQ(qvns_recover(Storm, 120.0), 0);
    }
    for (const int32_t camera : {Storm, Peace}) {
        const int32_t before = good[camera];
        QvnsExposure exposure = AnyExposure();
        exposure.Light = 1;
        EXPECT_EQ(qvns_start_exposure(camera, &exposure, nullptr), 0);
        EXPECT_EQ(qvns_wait(camera, 0, 120.0), 0);
        while (good[camera] == before && !HasFailure()) Fetch(camera);
    }
    EXPECT_EQ(qvns_stop(120.0), 0);
}

void RandomSteps::Run(uint32_t seed, int32_t steps)
{
    Begin(seed);
    for (int32_t step = 0; step < steps && !HasFailure(); ++step) {
        SCOPED_TRACE("QVN_SEED=" + std::to_string(seed) + ", step " + std::to_string(step));
        Step();
    }
    if (!HasFailure()) EndWell();
    qvns_stop(120.0);
}

std::string StormName(const testing::TestParamInfo<std::tuple<CameraKind, uint32_t>>& info)
{
    return std::string(std::get<0>(info.param).name) + "_seed" +
           std::to_string(std::get<1>(info.param));
}

INSTANTIATE_TEST_SUITE_P(Pairs, RandomSteps,
                         testing::Combine(testing::ValuesIn(Kinds), testing::Range(1u, Seeds + 1)),
                         StormName);

class Twice : public RandomSteps {};
INSTANTIATE_TEST_SUITE_P(Pairs, Twice,
                         testing::Combine(testing::ValuesIn(Kinds), testing::Values(1u)),
                         StormName);

} // namespace

// The storm has frames of all kinds, and the peace is no standstill.
TEST_P(RandomSteps, NothingHangsNoBadFrameIsGoodAndTheOtherCameraStaysCold)
{
    const uint32_t seed = Asked("QVN_SEED", std::get<1>(GetParam()));
    const auto steps = static_cast<int32_t>(Asked("QVN_STEPS", UsualSteps));
    Run(seed, steps);
    printf("seed %u: %d and %d good frames, %d by the trigger, %d failed, %d aborted\n", seed,
           good[Storm], good[Peace], triggered, failed, aborted);
    if (HasFailure()) return;
    EXPECT_GE(good[Storm], steps / 200);
    EXPECT_GE(good[Peace], steps / 100);
    // In so few steps not everything need have happened.
    if (steps < 2000) return;
    EXPECT_GT(failed, 0);
    EXPECT_GT(aborted, 0);
    EXPECT_EQ(triggered > 0, kind.hasTrigger);
    EXPECT_GT(ran, 0);
}

TEST_P(Twice, ASeedIsARun)
{
    const uint32_t seed = std::get<1>(GetParam());
    uint64_t stories[2];
    for (uint64_t& told : stories) {
        Run(seed, StorySteps);
        told = story;
        ResetLibrary();
    }
    EXPECT_EQ(stories[0], stories[1]);
}
