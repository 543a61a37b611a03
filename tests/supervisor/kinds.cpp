#include "tests/supervisor/kinds.h"

#include <algorithm>

#include "emulator/bus_camera.h"
#include "emulator/bus_links.h"
#include "emulator/emulator.h"
#include "emulator/usb.h"
#include "emulator/usb_camera.h"
#include "tests/support/demo_camera.h"
#include "tests/support/virtual_camera.h"
#include "tests/support/virtual_usb.h"

namespace {

constexpr uint32_t Everything = 0xFFFFFFFF;
constexpr uint32_t FewPixels = 5;
constexpr int32_t DefinedRows = ImageRows + Dummies[0]; // that a clear takes out

CameraKind Kind;     // that is plugged
int32_t BusIndex[2]; // at the ends of the cables

struct BusFrames : VirtualCameraTest {
    using VirtualCameraTest::ExpectedFrom;
    using VirtualCameraTest::Full;
    using VirtualCameraTest::PlugAt;
    using VirtualCameraTest::Window;
};

struct UsbFrames : VirtualUsbTest {
    using VirtualUsbTest::Expected;
    using VirtualUsbTest::Full;
    using VirtualUsbTest::Plug;
    using VirtualUsbTest::Window;
};

bool IsOnUsb()
{
    return Kind.interfaceType == UsbInterface;
}

VirtualSetup BusSetup(int32_t camera)
{
    VirtualSetup setup = {Kind.platform, Kind.sensor, Kind.interfaceType, Kind.builder,
                          Kind.revision};
    setup.camera = camera;
    setup.strobe = Kind.strobe;
    setup.sensorRows = DefinedRows;
    setup.wheel.kind = Kind.wheel;
    return setup;
}

UsbSetup SetupOnUsb(int32_t camera)
{
    UsbSetup setup = {Kind.platform, Kind.sensor, Kind.builder};
    setup.camera = camera;
    setup.wheel.kind = Kind.wheel;
    return setup;
}

bool IsWindow(const QvnsMetadata& about)
{
    return about.Width == WindowWidth && about.Height == WindowHeight;
}

bool HasLight(const QvnsMetadata& about)
{
    return about.Light != 0 && (about.Seconds > 0.0 || !Kind.zeroIsDark);
}

std::vector<uint16_t> TrueUsbFrame(const QvnsMetadata& about)
{
    const UsbSetup setup = SetupOnUsb(about.Camera);
    UsbFrame frame = IsWindow(about) ? UsbFrames::Window(setup, about.HorBinning, about.VerBinning)
                                     : UsbFrames::Full(setup, about.HorBinning, about.VerBinning);
    frame.shutter = HasLight(about) ? 1 : 0;
    return UsbFrames::Expected(frame, 0);
}

std::vector<uint16_t> TrueBusFrame(const QvnsMetadata& about)
{
    const VirtualSetup setup = BusSetup(about.Camera);
    const ReadRule rule = Kind.revision == 200 ? ReadRule::WholeFrame : ReadRule::Lines;
    VirtualFrame frame = IsWindow(about)
                             ? BusFrames::Window(setup, rule, about.HorBinning, about.VerBinning)
                             : BusFrames::Full(setup, rule, about.HorBinning, about.VerBinning);
    frame.shutter = HasLight(about) ? 1 : 0;
    std::vector<uint16_t> locked(size_t{ImageColumns} * (ImageRows + 2 * Dummies[0]));
    return BusFrames::ExpectedFrom(frame, 0, &locked);
}

void SetTrigger(int32_t camera, bool seen)
{
    if (IsOnUsb()) {
        EmuUsbTrigger(camera, seen);
    } else {
        EmuBusTrigger(BusIndex[camera], seen);
    }
}

} // namespace

void PrintTo(const CameraKind& kind, std::ostream* out)
{
    *out << kind.name;
}

void TwoCamerasTest::SetUp()
{
    ResetLibrary();
    MakeDemoFolder();
}

void TwoCamerasWithThreadsTest::SetUp()
{
    ResetLibraryInRealTime();
    MakeDemoFolder();
}

void TwoCamerasTest::TearDown()
{
    qvns_stop(600.0);
    EXPECT_EQ(EmuCardsOpen(), 0u);
    EXPECT_EQ(EmuDmaLocked(), 0u);
    EXPECT_EQ(EmuUsbOpenHandles(), 0u);
    EXPECT_EQ(EmuLiveBlocks(), 0u);
    RemoveDemoFolder();
    ResetLibrary();
}

void PlugTwo(const CameraKind& kind)
{
    Kind = kind;
    for (const int32_t camera : {Storm, Peace}) {
        if (IsOnUsb()) {
            UsbFrames::Plug(SetupOnUsb(camera));
        } else {
            BusFrames::PlugAt(BusSetup(camera), &BusIndex[camera]);
        }
    }
}

QvnsOpen RequestOf(const CameraKind& kind, uint32_t options)
{
    QvnsOpen open;
    qvns_init_open(&open);
    open.Config.Platform = kind.platform;
    open.Config.CCD = kind.sensor;
    open.Config.InterfaceType = kind.interfaceType;
    open.Config.FilterWheel = kind.wheelKind;
    open.Config.Activity = static_cast<int32_t>(options);
    return open;
}

QvnsState StateAt(int32_t camera)
{
    QvnsState state = {};
    EXPECT_EQ(qvns_state(camera, &state), 0);
    return state;
}

void PullPlug(int32_t camera)
{
    if (IsOnUsb()) {
        EmuUnplugUsbCamera(camera);
    } else {
        EmuBusPower(BusIndex[camera], false);
    }
}

void PutPlug(int32_t camera)
{
    if (IsOnUsb()) {
        EmuReplugUsbCamera(camera);
    } else {
        EmuBusPower(BusIndex[camera], true);
    }
}

void Silence(int32_t camera)
{
    if (IsOnUsb()) {
        EmuUsbMute(camera, 0);
    } else {
        EmuBusMute(BusIndex[camera], 0);
    }
}

void LosePixels(int32_t camera)
{
    if (IsOnUsb()) {
        EmuUsbStall(camera, FewPixels);
    } else {
        EmuBusMute(BusIndex[camera], FewPixels);
    }
}

void EndSilence(int32_t camera)
{
    if (IsOnUsb()) {
        EmuUsbMute(camera, Everything);
        EmuUsbStall(camera, Everything);
    } else {
        EmuBusMute(BusIndex[camera], Everything);
    }
}

void RaiseTrigger(int32_t camera)
{
    SetTrigger(camera, true);
}

void DropTrigger(int32_t camera)
{
    SetTrigger(camera, false);
}

double SensorTemperature(int32_t camera)
{
    const std::lock_guard<std::mutex> guard(EmuLinkLock());
    return IsOnUsb() ? EmuUsbTemperature(camera) : EmuBusTemperature(BusIndex[camera]);
}

void CoolPeace()
{
    {
        const std::lock_guard<std::mutex> guard(EmuLinkLock());
        if (IsOnUsb()) {
            EmuUsbSetTemperature(Peace, PeaceTarget);
        } else {
            EmuBusSetTemperature(BusIndex[Peace], PeaceTarget);
        }
    }
    QvnsCooling cooling;
    qvns_init_cooling(&cooling);
    cooling.Target = PeaceTarget;
    cooling.Tolerance = 1.0;
    cooling.StableSeconds = 2.0;
    EXPECT_EQ(qvns_cool(Peace, &cooling), 0);
}

void ExpectPeace()
{
    EXPECT_NEAR(SensorTemperature(Peace), PeaceTarget, StillCold);
    const QvnsState state = StateAt(Peace);
    EXPECT_EQ(state.Camera, QVNS_CAMERA_OPEN);
    EXPECT_EQ(state.Failures, 0);
    EXPECT_EQ(state.Recoveries, 0);
}

std::vector<uint16_t> TrueFrame(const QvnsMetadata& about, const std::vector<uint16_t>& pixels)
{
    std::vector<uint16_t> frame = IsOnUsb() ? TrueUsbFrame(about) : TrueBusFrame(about);
    const size_t others = IsWindow(about) ? static_cast<size_t>(Kind.windowOthers) : 0;
    if (frame.size() != pixels.size() || others > frame.size()) return frame;
    const auto count = static_cast<std::ptrdiff_t>(others);
    std::copy(pixels.end() - count, pixels.end(), frame.end() - count);
    return frame;
}

bool FetchTrueFrame(int32_t camera, QvnsMetadata* about)
{
    std::vector<uint16_t> pixels(size_t{ImageColumns} * ImageRows);
    if (qvns_fetch(camera, 0, pixels.data(), pixels.size(), about) != 0) return false;
    pixels.resize(static_cast<size_t>(about->Width * about->Height));
    EXPECT_EQ(about->Result, 0);
    EXPECT_EQ(pixels, TrueFrame(*about, pixels))
        << about->HorBinning << " by " << about->VerBinning << ", " << about->Width
        << " pixels a line, camera " << camera;
    return true;
}
