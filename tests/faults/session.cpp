#include "tests/faults/session.h"

#include <algorithm>
#include <fstream>
#include <iterator>

#include "core/record.h"
#include "emulator/line_maps.h"
#include "emulator/usb.h"
#include "emulator/usb_camera.h"
#include "tests/support/demo_camera.h"

namespace {

constexpr uint16_t PortBase = 0x378;
constexpr uint16_t Fill = 0xAAAA, Guard = 0x6D6D;
constexpr size_t Guards = 64;
constexpr size_t Pixels = size_t{ImageColumns} * ImageRows;
constexpr double Exposure = 0.01;
constexpr int32_t HeronVersion = 47; // of the hardware of 61 and 200

bool IsUsb(const VirtualSetup& setup)
{
    return setup.interfaceType == UsbInterface;
}

void PlugUsb(const VirtualSetup& setup)
{
    SmallPlatform definition = {setup.platform, setup.sensor, setup.phase};
    if (setup.platform == 61 || setup.platform == 200) definition.version = HeronVersion;
    definition.program = "Program = [ 287454020, 1432778632 ];";
    definition.columns = setup.columns;
    definition.rows = setup.rows;
    WriteDefinitions(SmallDefinitions(definition));
    EmuUsbCamera camera = {};
    camera.platform = setup.platform;
    camera.sensor = setup.sensor;
    camera.version = static_cast<uint16_t>(definition.version);
    camera.chip = {ImageColumns, 2 * SensorRows, LeadingCells, RegisterCells, SmallScene};
    camera.wordNs = 500;
    camera.memory[1] = 10;
    if (setup.builder != nullptr) {
        const EmuWiring wiring = {setup.platform, setup.sensor, 0};
        ASSERT_TRUE(EmuFindLineMap(setup.builder, wiring, &camera.lines));
    }
    ASSERT_EQ(EmuPlugUsbCamera(camera), 0);
}

} // namespace

void Session::Use(const FaultyLink& which)
{
    link = which;
    Renew();
    ASSERT_EQ(OpenCode(), 0);
    ASSERT_EQ(FrameCode(&wanted), 0);
    QV_Close(0);
}

void Session::Renew()
{
    EmuReset();
    EmuInstall();
    if (IsUsb(link.setup)) {
        PlugUsb(link.setup);
    } else {
        Plug(link.setup);
    }
}

int32_t Session::OpenCode(int32_t interfaceLink)
{
    CameraConfig config = {};
    config.InterfaceLink = link.setup.decoder != 0 ? 1 : link.setup.interfaceLink;
    if (interfaceLink >= 0) config.InterfaceLink = interfaceLink;
    QV_InitOptions(&config, 0);
    QV_Open(link.setup.platform, link.setup.sensor, PortBase, link.setup.interfaceType, 0, 0,
            link.options, nullptr, nullptr);
    return QV_Status(0);
}

int32_t Session::FrameCode(std::vector<uint16_t>* pixels)
{
    std::vector<uint16_t> buffer(Pixels + 2 * Guards, Guard);
    std::fill_n(buffer.begin() + Guards, Pixels, Fill);
    QV_GetCCD(1, Exposure, buffer.data() + Guards, 0);
    for (size_t i = 0; i < Guards; ++i) {
        EXPECT_EQ(buffer[i], Guard) << i;
        EXPECT_EQ(buffer[Guards + Pixels + i], Guard) << i;
    }
    if (pixels != nullptr) pixels->assign(buffer.begin() + Guards, buffer.end() - Guards);
    return QV_Status(0);
}

// The first page of the pattern that the open has built, with sections of a word.
int32_t Session::LoadCode()
{
    constexpr size_t Sections = 24, Header = 4 + 1 + Sections, Page = 256;
    std::ifstream file(DemoFolder() + "wave.bin", std::ios::binary);
    std::string pattern(std::istreambuf_iterator<char>(file), {});
    if (pattern.size() < Header + 2 * Page) return 1; // a camera without one
    pattern.resize(Header + Page * (pattern[4] != 0 ? 1 : 2));
    pattern.replace(0, 4, std::string{0, 1, 0, 0});
    pattern.replace(5, Sections, std::string(Sections, '\0'));
    WriteDemoFile("page.bin", pattern);
    return CameraTable[0].Ops.LoadSequencer((DemoFolder() + "page.bin").c_str(), 0);
}

void Session::ExpectNothingLeft()
{
    QV_Close(0);
    EXPECT_EQ(EmuCardsOpen(), 0u);
    EXPECT_EQ(EmuDmaLocked(), 0u);
    EXPECT_EQ(EmuUsbOpenHandles(), 0u);
    EXPECT_EQ(EmuAdaptorOpen(), 0u);
    EXPECT_EQ(EmuLiveBlocks(), 0u);
}

void Session::ExpectRecovery()
{
    std::vector<uint16_t> pixels;
    EXPECT_EQ(OpenCode(), 0);
    EXPECT_EQ(FrameCode(&pixels), 0);
    EXPECT_EQ(pixels, wanted);
    ExpectNothingLeft();
}
