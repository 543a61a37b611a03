// What a frame is expected to take on every platform and kind of link, against what it takes of
// the virtual clock: sensors of half a million pixels, whose time counts, and small ones, where
// all that is beside the pixels does.
#include "emulator/bus_camera.h"
#include "emulator/bus_links.h"
#include "emulator/emulator.h"
#include "emulator/line_maps.h"
#include "emulator/usb_camera.h"
#include "tests/supervisor/usb_layer.h"
#include "tests/support/demo_camera.h"
#include "tests/support/families.h"

namespace {

constexpr uint16_t PortBase = 0x378;
constexpr uint32_t WordNs = 500;

struct Size {
    const char* name;
    int32_t columns, rows;
};

constexpr Size Sizes[] = {{"Small", ImageColumns, ImageRows}, {"Large", 1024, 512}};

constexpr VirtualSetup BusWalk[] = {
    {22, 255, 1, "BuildWaveTarn3Kaf"},
    {22, 255, 2, "BuildWaveTarn3Kaf"},
    {23, 255, 2, "BuildWaveTarn3Kaf"},
    {24, 255, 2, "BuildWaveTarn4Kaf"},
    {24, 255, 2, "BuildWaveTarn4Kaf", 200},
    {24, 255, 2, "BuildWaveTarn4Kaf", 100, 0xAAAA2, 1},
    {25, 255, 2, "BuildWaveTarn4pKaf"},
    {25, 255, 2, "BuildWaveTarn4pKaf", 200, 3, 3},
    {28, 255, 2, "BuildWaveTarn5"},
    {30, 255, 2, "BuildWaveLarchKaf"},
    {30, 255, 2, "BuildWaveLarchKaf", 200, 0xAAAA2, 1},
    {40, 255, 0, "BuildWaveBriar"},
    {41, 255, 1, "BuildWaveBriar"},
    {42, 255, 2, "BuildWaveBriar"},
    {42, 255, 2, "BuildWaveBriar", 200},
    {42, 255, 4, "BuildWaveBriar"},
    {44, 255, 2, "BuildWaveR3", 200},
    {47, 255, 2, "BuildWaveR3Plus", 200},
    {60, 255, 0, "BuildWaveHeron"},
    {60, 255, 2, "BuildWaveHeron"},
    {70, 255, 2, nullptr},
    {70, 255, 70, nullptr},
    {71, 255, 70, nullptr, 200},
    {80, 2000, 2, "BuildWaveSepCcd442"},
};

template <typename Camera>
void Describe(Camera* camera, int32_t platform, int32_t sensor, const char* builder,
              const Size& size)
{
    const bool isLong = platform == 61 || platform == 200; // its version counts up
    SmallPlatform definition = {platform, sensor, 3, isLong ? 47 : SmallVersion};
    definition.columns = size.columns;
    definition.rows = size.rows;
    definition.program = "Program = [ 287454020 ];";
    WriteDefinitions(SmallDefinitions(definition));
    *camera = {};
    camera->platform = platform;
    camera->sensor = sensor;
    camera->version = static_cast<uint16_t>(definition.version);
    camera->chip = {static_cast<uint32_t>(size.columns), static_cast<uint32_t>(size.rows) + 8,
                    LeadingCells, static_cast<uint32_t>(size.columns) + 14, SmallScene};
    camera->wordNs = WordNs;
    camera->memory[1] = 10;
    if (builder == nullptr) return;
    const EmuWiring wiring = {platform, sensor, 0};
    ASSERT_TRUE(EmuFindLineMap(builder, wiring, &camera->lines));
}

// Within a quarter of it and of a second, or, where the pattern is not loaded yet and another one
// is gone by, within twice of it.
constexpr double Known = 0.25, Reckoned = 1.0;

void ExpectAsTold(const QvnsExposure& exposure, double part, const char* what)
{
    QvnsDuration expected = {};
    qvns_idle(0.05); // a temperature falls due twice a second
    ASSERT_EQ(qvns_expected(0, &exposure, &expected), 0);
    const double start = Now();
    ASSERT_EQ(qvns_start_exposure(0, &exposure, nullptr), 0);
    ASSERT_EQ(qvns_wait(0, 0, 600.0), 0);
    const double took = Now() - start;
    EXPECT_LE(expected.Total, took * (1.0 + part) + 0.25)
        << what << ": clear " << expected.Clear << ", load " << expected.Load << ", exposure "
        << expected.Exposure << ", readout " << expected.Readout << "; took " << took;
    EXPECT_GE(expected.Total, took / (1.0 + part) - 0.25) << what << "; took " << took;
    EXPECT_EQ(StateOf(0).OverTimes, 0);
}

// Each twice where its pattern is loaded at the first time.
void ExpectWalkAsTold()
{
    ExpectAsTold(Light(0.0), Known, "frame");
    QvnsExposure exposure = Light(0.0);
    exposure.HorBinning = exposure.VerBinning = 2;
    ExpectAsTold(exposure, Reckoned, "binned frame, loaded");
    ExpectAsTold(exposure, Known, "binned frame");
    exposure.HorBinning = exposure.VerBinning = 1;
    exposure.X = exposure.Y = 1;
    exposure.Width = 16;
    exposure.Height = 8;
    ExpectAsTold(exposure, Reckoned, "window, loaded");
    ExpectAsTold(exposure, Known, "window");
    exposure.Seconds = 2.0;
    ExpectAsTold(exposure, Known, "window, 2 s");
}

class BusDurations : public LayerTest,
                     public testing::WithParamInterface<std::tuple<VirtualSetup, Size>> {};
class UsbDurations : public UsbLayerTest,
                     public testing::WithParamInterface<std::tuple<UsbSetup, Size>> {};

std::string BusName(const testing::TestParamInfo<std::tuple<VirtualSetup, Size>>& info)
{
    const auto& [setup, size] = info.param;
    return std::to_string(setup.platform) + "_" + std::to_string(setup.interfaceType) + "_" +
           std::to_string(setup.revision) + "_" + std::to_string(setup.interfaceLink) + size.name;
}

std::string UsbName(const testing::TestParamInfo<std::tuple<UsbSetup, Size>>& info)
{
    return std::to_string(std::get<0>(info.param).platform) + std::get<1>(info.param).name;
}

INSTANTIATE_TEST_SUITE_P(Walk, BusDurations,
                         testing::Combine(testing::ValuesIn(BusWalk), testing::ValuesIn(Sizes)),
                         BusName);
INSTANTIATE_TEST_SUITE_P(Walk, UsbDurations,
                         testing::Combine(testing::ValuesIn(UsbFamilies), testing::ValuesIn(Sizes)),
                         UsbName);

} // namespace

TEST_P(BusDurations, AreWhatWasTold)
{
    const auto& [setup, size] = GetParam();
    EmuBusCamera camera;
    Describe(&camera, setup.platform, setup.sensor, setup.builder, size);
    if (setup.builder == nullptr) camera.chip.rows = static_cast<uint32_t>(size.rows);
    camera.byteCable = setup.platform == 60 && setup.interfaceType != 0;
    bus = EmuPlugBusCamera(camera);
    if (setup.interfaceType == 0) {
        EmuPlugPrinterPort(PortBase, bus);
    } else if (setup.interfaceType == 1) {
        EmuPlugPortCard(PortBase, false, bus);
    } else {
        EmuCard card;
        card.revision = setup.revision;
        card.decoder = setup.decoder;
        EmuPlugCard(card, bus);
    }
    const QvnsOpen open = Request(setup);
    ASSERT_EQ(qvns_open(0, &open), 0);
    ExpectWalkAsTold();
}

TEST_P(UsbDurations, AreWhatWasTold)
{
    const auto& [setup, size] = GetParam();
    EmuUsbCamera camera;
    Describe(&camera, setup.platform, setup.sensor, setup.builder, size);
    camera.serial = "00012345678";
    camera.description = "USB CAMERA    08091023";
    ASSERT_EQ(EmuPlugUsbCamera(camera), 0);
    const QvnsOpen open = Request(setup);
    ASSERT_EQ(qvns_open(0, &open), 0);
    ExpectWalkAsTold();
}
