#include "tests/supervisor/layer.h"

#include "emulator/emulator.h"
#include "tests/support/demo_camera.h"

namespace {

constexpr uint64_t LookEveryUs = 100;
constexpr uint64_t WatchEveryUs = 50'000;

States Seen;
uint64_t LooksEndUs, WatchEndUs;
int32_t WantedState;
void (*WantedAction)();

void NoteState()
{
    const int32_t state = StateOf(0).Frame;
    if (Seen.empty() || Seen.back() != state) Seen.push_back(state);
}

void NoteProgress(int32_t, const char*, int32_t, void*)
{
    NoteState();
}

void Look(int32_t)
{
    NoteState();
    const uint64_t next = EmuMicroseconds() + LookEveryUs;
    if (next < LooksEndUs) EmuSchedule(next, Look, 0);
}

void Watch(int32_t)
{
    qvns_watch();
    const uint64_t next = EmuMicroseconds() + WatchEveryUs;
    if (next < WatchEndUs) EmuSchedule(next, Watch, 0);
}

void LookForState(int32_t)
{
    if (StateOf(0).Frame == WantedState) {
        WantedAction();
    } else {
        EmuSchedule(EmuMicroseconds() + LookEveryUs, LookForState, 0);
    }
}

uint64_t UsFromNow(double seconds)
{
    return EmuMicroseconds() + static_cast<uint64_t>(seconds * 1e6);
}

} // namespace

double Now()
{
    return static_cast<double>(EmuMicroseconds()) / 1e6;
}

void LayerTest::SetUp()
{
    VirtualCameraTest::SetUp();
    StartInVirtualTime();
}

void LayerTest::TearDown()
{
    EXPECT_EQ(qvns_stop(600.0), 0);
    VirtualCameraTest::TearDown();
}

void StartInVirtualTime()
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
    open.Progress = NoteProgress;
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

void WatchStates(double seconds)
{
    Seen.clear();
    LooksEndUs = UsFromNow(seconds);
    Look(0);
}

States SeenStates()
{
    return Seen;
}

void WatchAsAThread(double seconds)
{
    WatchEndUs = UsFromNow(seconds);
    Watch(0);
}

void WhenFrameIs(int32_t state, void (*action)())
{
    WantedState = state;
    WantedAction = action;
    LookForState(0);
}
