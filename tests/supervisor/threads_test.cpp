// The layer with threads of its own, in the time of the system: hands that start, break off,
// ask and set at once, and one that pulls the plug. The camera beside takes true frames.
#include <atomic>
#include <chrono>
#include <mutex>
#include <random>
#include <thread>

#include "emulator/link.h"
#include "emulator/usb_camera.h"
#include "include/qvn_supervisor.h"
#include "tests/support/demo_camera.h"
#include "tests/support/virtual_usb.h"

namespace {

constexpr int32_t Storm = 0, Peace = 1;
constexpr double Patient = 60.0; // seconds, on a slow machine
constexpr int32_t Pulls = 4;
constexpr size_t Room = size_t{ImageColumns} * ImageRows;

const UsbSetup Kinds[] = {{450, 3945}, {61, 255, "BuildWaveHeronPlus"}};

struct Dice {
    std::minstd_rand source;

    uint32_t Below(uint32_t bound) { return static_cast<uint32_t>(source() % bound); }
};

void Pause(uint32_t milliseconds)
{
    std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds));
}

// While the library calls no device.
template <typename Action> void AtThePlug(Action action)
{
    const std::lock_guard<std::mutex> guard(EmuLinkLock());
    action();
}

class SupervisedThreads : public VirtualUsbTest, public testing::WithParamInterface<UsbSetup> {
protected:
    std::atomic<bool> over = false;
    std::atomic<int32_t> good[2] = {};

    void SetUp() override
    {
        ResetLibraryInRealTime();
        MakeDemoFolder();
    }

    static QvnsOpen Request()
    {
        QvnsOpen open;
        qvns_init_open(&open);
        open.Config.Platform = GetParam().platform;
        open.Config.CCD = GetParam().sensor;
        open.Config.InterfaceType = UsbInterface;
        open.Config.Activity = QV_OPTION_SILENT;
        open.RecoverEvery = 0.2;
        return open;
    }

    void Start()
    {
        for (const int32_t camera : {Storm, Peace}) {
            UsbSetup plugged = GetParam();
            plugged.camera = camera;
            Plug(plugged);
        }
        ASSERT_EQ(qvns_start(nullptr), 0);
        ASSERT_EQ(qvns_set_path(DemoFolder().c_str()), 0);
        const QvnsOpen open = Request();
        for (const int32_t camera : {Storm, Peace}) ASSERT_EQ(qvns_open(camera, &open), 0);
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
        exposure.Width = 4;
        exposure.Height = 2;
        return exposure;
    }

    // A frame that is given out as good is what the sensor saw.
    void Fetch(int32_t camera)
    {
        std::vector<uint16_t> pixels(Room);
        QvnsMetadata about;
        if (qvns_fetch(camera, 0, pixels.data(), Room, &about) != 0) return;
        const bool isWindow = about.Width == 4 && about.Height == 2;
        const UsbFrame frame = isWindow ? Window(GetParam(), about.HorBinning, about.VerBinning)
                                        : Full(GetParam(), about.HorBinning, about.VerBinning);
        pixels.resize(static_cast<size_t>(about.Width * about.Height));
        EXPECT_EQ(pixels, Expected(frame, 0)) << camera;
        ++good[camera];
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
            const QvnsExposure exposure = AnyExposure(&dice, dice.Below(4) == 0 ? 0.7 : 0.01);
            qvns_start_exposure(Storm, &exposure, nullptr);
            qvns_wait(Storm, 0, 0.2 + 0.1 * dice.Below(10));
            Fetch(Storm);
        }
    }

    void DisturbOnce(Dice* dice)
    {
        QvnsState state;
        QvnsTemperature temperature;
        QvnsCooling cooling;
        switch (dice->Below(8)) {
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
        AtThePlug([] { EmuUnplugUsbCamera(Storm); });
        Pause(dice->Below(300));
        AtThePlug([] { EmuReplugUsbCamera(Storm); });
    }
};

std::string PlatformName(const testing::TestParamInfo<UsbSetup>& info)
{
    return std::to_string(info.param.platform);
}

INSTANTIATE_TEST_SUITE_P(Usb, SupervisedThreads, testing::ValuesIn(Kinds), PlatformName);

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
    QvnsState state;
    EXPECT_EQ(qvns_state(Peace, &state), 0);
    EXPECT_EQ(state.Failures, 0);
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
