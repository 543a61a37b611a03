#include "tests/supervisor/layer.h"

#include "emulator/emulator.h"
#include "tests/support/demo_camera.h"

namespace {

constexpr uint64_t LookEveryUs = 1000;

std::vector<int32_t> Seen;
uint64_t LooksEndUs;

void Look(int32_t)
{
    Seen.push_back(StateOf(0).Frame);
    const uint64_t next = EmuMicroseconds() + LookEveryUs;
    if (next < LooksEndUs) EmuSchedule(next, Look, 0);
}

} // namespace

double Now()
{
    return static_cast<double>(EmuMicroseconds()) / 1e6;
}

void LayerTest::SetUp()
{
    VirtualCameraTest::SetUp();
    StartLayer();
}

void LayerTest::TearDown()
{
    EXPECT_EQ(qvns_stop(600.0), 0);
    VirtualCameraTest::TearDown();
}

void LayerTest::StartLayer()
{
    QvnsStart start;
    qvns_init_start(&start);
    start.Mode = QVNS_CALLER;
    start.Seconds = Now;
    ASSERT_EQ(qvns_start(&start), 0);
    ASSERT_EQ(qvns_set_path(DemoFolder().c_str()), 0);
}

QvnsOpen LayerTest::Request(const VirtualSetup& setup, uint32_t options)
{
    QvnsOpen open;
    qvns_init_open(&open);
    open.Config.Platform = setup.platform;
    open.Config.CCD = setup.sensor;
    open.Config.InterfaceType = setup.interfaceType;
    open.Config.InterfaceAddress = 0x378;
    open.Config.InterfaceLink = setup.interfaceLink;
    open.Config.Activity = static_cast<int32_t>(options);
    return open;
}

void LayerTest::OpenCamera(const VirtualSetup& setup, uint32_t options)
{
    Plug(setup);
    const QvnsOpen open = Request(setup, options);
    ASSERT_EQ(qvns_open(0, &open), 0);
}

QvnsState StateOf(int32_t camera)
{
    QvnsState state = {};
    EXPECT_EQ(qvns_state(camera, &state), 0);
    return state;
}

QvnsTemperature TemperatureOf(int32_t camera)
{
    QvnsTemperature temperature = {};
    EXPECT_EQ(qvns_temperature(camera, &temperature), 0);
    return temperature;
}

QvnsExposure Light(double seconds)
{
    QvnsExposure exposure;
    qvns_init_exposure(&exposure);
    exposure.Seconds = seconds;
    return exposure;
}

std::vector<int32_t> Unrepeated(const std::vector<int32_t>& states)
{
    std::vector<int32_t> kept;
    for (const int32_t state : states) {
        if (kept.empty() || kept.back() != state) kept.push_back(state);
    }
    return kept;
}

void WatchStates(double seconds)
{
    Seen.clear();
    LooksEndUs = EmuMicroseconds() + static_cast<uint64_t>(seconds * 1e6);
    Look(0);
}

const std::vector<int32_t>& SeenStates()
{
    return Seen;
}
