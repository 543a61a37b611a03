// The layer with threads of its own, in the time of the system: hands that start, break off,
// ask and set at once, and one that pulls the plug. The camera beside takes true frames.
#include <atomic>
#include <chrono>
#include <random>
#include <thread>
#include <vector>

#include "include/qvn_supervisor.h"
#include "tests/supervisor/kinds.h"
#include "tests/support/demo_camera.h"

namespace {

constexpr double Patient = 60.0; // seconds, on a slow machine
constexpr int32_t Pulls = 4;

constexpr CameraKind Kinds[] = {TolmEOnUsb, HeronPlusOnUsb, BriarOnCard};

struct Dice {
    std::minstd_rand source;

    uint32_t Below(uint32_t bound) { return static_cast<uint32_t>(source() % bound); }
};

void Pause(uint32_t milliseconds)
{
    std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds));
}

class SupervisedThreads : public TwoCamerasWithThreadsTest,
                          public testing::WithParamInterface<CameraKind> {
protected:
    std::atomic<bool> over = false;
    std::atomic<int32_t> good[2] = {};

    void Start()
    {
        PlugTwo(GetParam());
        ASSERT_EQ(qvns_start(nullptr), 0);
        ASSERT_EQ(qvns_set_path(DemoFolder().c_str()), 0);
        QvnsOpen open = RequestOf(GetParam(), QV_OPTION_SILENT);
        open.RecoverEvery = 0.2;
        for (const int32_t camera : {Storm, Peace}) ASSERT_EQ(qvns_open(camera, &open), 0);
        CoolPeace();
    }

    static QvnsExposure AnyExposure(Dice* dice, double seconds)
    {
        QvnsExposure exposure;
        qvns_init_exposure(&exposure);
        exposure.Seconds = seconds;
        exposure.HorBinning = 1 + static_cast<int32_t>(dice->Below(2));
        exposure.VerBinning = 1 + static_cast<int32_t>(dice->Below(2));
        if (dice->Below(3) != 0) return exposure;
        exposure.X = exposure.Y = 1;
        exposure.Width = WindowWidth;
        exposure.Height = WindowHeight;
        return exposure;
    }

    // A frame that is given out as good is what the sensor saw.
    void Fetch(int32_t camera)
    {
        QvnsMetadata about;
        if (FetchTrueFrame(camera, &about)) ++good[camera];
    }

    void TakeTrueFrames()
    {
        Dice dice = {std::minstd_rand(1)};
        while (!over && !HasFailure()) {
            const QvnsExposure exposure = AnyExposure(&dice, 0.01);
            EXPECT_EQ(qvns_start_exposure(Peace, &exposure, nullptr), 0);
            EXPECT_EQ(qvns_wait(Peace, 0, Patient), 0);
            Fetch(Peace);
        }
    }

    void TakeWhatComes()
    {
        Dice dice = {std::minstd_rand(2)};
        while (!over) {
            QvnsExposure exposure = AnyExposure(&dice, dice.Below(4) == 0 ? 0.7 : 0.01);
            exposure.Trigger = GetParam().hasTrigger && dice.Below(4) == 0 ? 1 : 0;
            exposure.TriggerLimit = 1.0;
            qvns_start_exposure(Storm, &exposure, nullptr);
            qvns_wait(Storm, 0, 0.2 + 0.1 * dice.Below(10));
            Fetch(Storm);
        }
    }

    // It stays as it is for as long as it is kept, whatever others ask for.
    void Borrow(uint32_t milliseconds)
    {
        const uint16_t* pixels = nullptr;
        QvnsMetadata about;
        if (qvns_borrow(Storm, 0, &pixels, &about) != 0) return;
        const auto count = static_cast<size_t>(about.Width) * static_cast<size_t>(about.Height);
        const std::vector<uint16_t> before(pixels, pixels + count);
        EXPECT_EQ(before, TrueFrame(about, before));
        Pause(milliseconds);
        EXPECT_EQ(std::vector<uint16_t>(pixels, pixels + count), before);
        EXPECT_EQ(qvns_return(Storm), 0);
    }

    void DisturbOnce(Dice* dice)
    {
        QvnsState state;
        QvnsTemperature temperature;
        QvnsCooling cooling;
        switch (dice->Below(12)) {
        case 0: qvns_abort(Storm, 0.05); break;
        case 1: qvns_finish(Storm); break;
        case 2: qvns_set_gain(Storm, static_cast<int32_t>(dice->Below(4)), 0.3); break;
        case 3: qvns_clear(Storm, 0.3); break;
        case 4:
            qvns_init_cooling(&cooling);
            cooling.Target = -5.0;
            qvns_cool(Storm, &cooling);
            break;
        case 5: qvns_state(Storm, &state); break;
        case 6: qvns_temperature(Storm, &temperature); break;
        case 7: AtThePlug(RaiseTrigger); break;
        case 8: AtThePlug(DropTrigger); break;
        case 9: qvns_set_binning(Storm, 1, 2, 0.3); break;
        case 10: Borrow(dice->Below(50)); break;
        default: Fetch(Storm);
        }
    }

    void Disturb(uint32_t seed)
    {
        Dice dice = {std::minstd_rand(seed)};
        while (!over) {
            DisturbOnce(&dice);
            Pause(1 + dice.Below(30));
        }
    }

    static void PullAndPut(Dice* dice)
    {
        Pause(200 + dice->Below(400));
        AtThePlug(PullPlug);
        Pause(dice->Below(300));
        AtThePlug(PutPlug);
    }
};

std::string KindName(const testing::TestParamInfo<CameraKind>& info)
{
    return info.param.name;
}

INSTANTIATE_TEST_SUITE_P(Pairs, SupervisedThreads, testing::ValuesIn(Kinds), KindName);

} // namespace

TEST_P(SupervisedThreads, ManyHandsAndAPulledPlugLeaveTheOtherCameraAlone)
{
    Start();
    if (HasFatalFailure()) return;
    std::thread hands[] = {
        std::thread([this] { TakeTrueFrames(); }), std::thread([this] { TakeWhatComes(); }),
        std::thread([this] { Disturb(3); }), std::thread([this] { Disturb(4); })};
    Dice dice = {std::minstd_rand(5)};
    for (int32_t pull = 0; pull < Pulls; ++pull) PullAndPut(&dice);
    over = true;
    for (std::thread& hand : hands) hand.join();
    EXPECT_GT(good[Peace], 3);
    ExpectPeace();
    EXPECT_EQ(qvns_abort(Storm, Patient), 0);
    EXPECT_EQ(qvns_recover(Storm, Patient), 0);
    const QvnsExposure exposure = AnyExposure(&dice, 0.01);
    EXPECT_EQ(qvns_start_exposure(Storm, &exposure, nullptr), 0);
    EXPECT_EQ(qvns_wait(Storm, 0, Patient), 0);
    const int32_t before = good[Storm];
    Fetch(Storm);
    EXPECT_EQ(good[Storm], before + 1);
    EXPECT_EQ(qvns_stop(Patient), 0);
}
