#include "tests/support/virtual_camera.h"

#include <cstring>

#include "catalogue/catalogue.h"
#include "emulator/bus_camera.h"
#include "emulator/bus_links.h"
#include "emulator/emulator.h"
#include "emulator/line_maps.h"
#include "tests/support/demo_camera.h"

namespace {

// Patterns that bin by position have their bins at whole multiples: so has the image.
constexpr int32_t LeadingCells = 12;
constexpr int32_t RegisterCells = 38;
constexpr int32_t SensorRows = ImageRows + 4; // the image and what its dummy lines clock
constexpr uint16_t PortBase = 0x378;
constexpr uint16_t Version = 0x2A;
constexpr uint16_t Dummies[] = {3, 2, 1, 4};
constexpr uint16_t Fill = 0xAAAA;

uint32_t Scene(uint32_t column, uint32_t row)
{
    return 100 * (row + 1) + column + 1;
}

// The charge of a bin, nothing behind the sensor's edges.
uint16_t Bin(int32_t column, int32_t row, int32_t hbin, int32_t vbin)
{
    uint32_t sum = 0;
    for (int32_t i = column * hbin; i < (column + 1) * hbin; ++i) {
        for (int32_t j = row; j < row + vbin; ++j) {
            if (i < ImageColumns && j < SensorRows) {
                sum += Scene(static_cast<uint32_t>(i), static_cast<uint32_t>(j));
            }
        }
    }
    return static_cast<uint16_t>(sum);
}

// Word `n` of the stream.
uint16_t Streamed(const VirtualFrame& frame, int32_t n)
{
    return Bin(frame.x + n % frame.columns, frame.firstRow + n / frame.columns * frame.vbin,
               frame.hbin, frame.vbin);
}

std::string Definitions(const VirtualSetup& setup)
{
    const std::string sensor = CCDtoName(setup.sensor, 0);
    return std::string("rmk_camera_library:\n{\n  ccd_definitions:\n  {\n    ") + sensor +
           R"(:
    {
      Manufacturer = 20; Xpix = 24; Ypix = 16;
      XpixDim = 9.0; YpixDim = 9.0; Xarea = 0.2; Yarea = 0.1;
      Dummy = [ 3, 2, 1, 4 ]; HorDummyPix = 12; HorRegSize = 38;
      Antiblooming = 0; MultipleOutput = 0; Shutter = 1; FWC = 100000.0; CCF = 1.0;
    };
  };
  camera_platforms:
  {
    )" + PTFtoName(setup.platform, 0) +
           R"(:
    {
      ADbit = [ 16, 0 ]; TimeBase = 40.0; FpgaId = 42; ADclock = 0.5;
      NumberOfGains = 4; AntiBloomingTimer = 0;
      )" + sensor +
           R"(:
      {
        AmplifierDelay = 1.0; SamplingClock = [ 0.5, 0.5 ];
        VerticalPhasePeriod = 10; Gain = [ 1.0, 2.0, 4.0, 8.0 ];
      };
    };
  };
};
)";
}

int32_t DummyOf(int32_t vbin)
{
    return vbin <= 4 ? Dummies[vbin - 1] : 1;
}

} // namespace

std::vector<uint16_t> ExpectedPixels(ReadRule rule, const VirtualFrame& frame, bool isWindow,
                                     int32_t dummy, uint16_t fill)
{
    const int32_t W = frame.columns;
    const int32_t count = W * frame.rows;
    std::vector<uint16_t> pixels(static_cast<size_t>(count), fill);
    if (rule == ReadRule::WholeFrame) {
        const int32_t first = (isWindow ? 0 : dummy / 2 * W) + 4;
        for (int32_t i = 0; i < count; ++i) {
            const bool came = first + i < W * frame.lines;
            pixels[static_cast<size_t>(i)] = came ? Streamed(frame, first + i) : fill;
        }
        return pixels;
    }
    int32_t target = 0;
    const int32_t first = isWindow ? 0 : dummy / 2 + 1;
    for (int32_t line = first; line < first + frame.rows && line < frame.lines; ++line) {
        for (int32_t i = 0; i < W; ++i) {
            pixels[static_cast<size_t>(target + i)] = Streamed(frame, line * W + i);
        }
        target += rule == ReadRule::Lines && line == first ? (W > 6 ? W - 6 : 0) : W;
    }
    return pixels;
}

void VirtualCameraTest::SetUp()
{
    ResetLibrary();
    MakeDemoFolder();
}

void VirtualCameraTest::TearDown()
{
    for (int32_t camera = 0; camera < 8; ++camera) QV_Close(camera);
    EXPECT_EQ(EmuCardsOpen(), 0u);
    EXPECT_EQ(EmuDmaLocked(), 0u);
    ReleaseEverything();
    EXPECT_EQ(EmuLiveBlocks(), 0u);
    RemoveDemoFolder();
    ResetLibrary();
}

void VirtualCameraTest::Plug(const VirtualSetup& setup)
{
    WriteDefinitions(Definitions(setup));
    EmuBusCamera camera = {};
    camera.platform = setup.platform;
    camera.sensor = setup.sensor;
    camera.version = Version;
    camera.chip = {ImageColumns, SensorRows, LeadingCells, RegisterCells, Scene};
    camera.wordNs = 500;
    camera.memory[1] = 10;
    camera.byteCable = setup.platform == 60 && setup.interfaceType > 1;
    if (setup.builder != nullptr) {
        ASSERT_TRUE(
            EmuFindLineMap(setup.builder, {setup.platform, setup.sensor, 0}, &camera.lines));
    }
    bus = EmuPlugBusCamera(camera);
    switch (setup.interfaceType) {
    case 0: EmuPlugPrinterPort(PortBase, bus); break;
    case 1: EmuPlugPortCard(PortBase, false, bus); break;
    default: {
        EmuCard card;
        card.revision = setup.revision;
        card.decoder = setup.decoder;
        EmuPlugCard(card, bus);
    }
    }
}

void VirtualCameraTest::Open(const VirtualSetup& setup, int32_t options, int32_t attach)
{
    CameraConfig config = {};
    config.InterfaceLink = setup.decoder != 0 ? 1 : 0;
    QV_InitOptions(&config, 0);
    QV_Open(setup.platform, setup.sensor, PortBase, setup.interfaceType, attach, 0, options,
            nullptr, nullptr);
    ASSERT_EQ(QV_Status(0), 0);
}

void VirtualCameraTest::ExpectFrame(ReadRule rule, int32_t hbin, int32_t vbin)
{
    SCOPED_TRACE(std::to_string(hbin) + " by " + std::to_string(vbin));
    QV_SetBinning(hbin, vbin, 0);
    ASSERT_EQ(QV_Status(0), 0);
    const VirtualFrame frame = {
        ImageColumns / hbin, ImageRows / vbin, hbin, vbin, 0, 0, ImageRows / vbin + DummyOf(vbin)};
    std::vector<uint16_t> pixels(static_cast<size_t>(frame.columns * frame.rows), Fill);
    QV_GetCCD(1, 0.01, pixels.data(), 0);
    EXPECT_EQ(QV_Status(0), 0);
    EXPECT_EQ(pixels, ExpectedPixels(rule, frame, false, DummyOf(vbin), Fill));
}

// From row 1 on. The rows ahead are those of the window and of the dummy lines.
void VirtualCameraTest::ExpectWindow(ReadRule rule, int32_t x, int32_t hbin, int32_t vbin)
{
    SCOPED_TRACE("window " + std::to_string(hbin) + " by " + std::to_string(vbin));
    QV_SetBinning(hbin, vbin, 0);
    const int32_t dummy = vbin <= 4 ? DummyOf(vbin) : 0;
    const int32_t skipped = vbin + (rule == ReadRule::Pixels ? dummy : dummy / 2);
    const VirtualFrame frame = {4, 2, hbin, vbin, x, skipped, 2};
    std::vector<uint16_t> pixels(8, Fill);
    QV_GetWinCCD(1, 0.01, x, 1, 4, 2, pixels.data(), 0);
    EXPECT_EQ(QV_Status(0), 0);
    std::vector<uint16_t> wanted = ExpectedPixels(rule, frame, true, dummy, Fill);
    if (rule == ReadRule::WholeFrame) {
        // Words that are not part of the transfer: whatever the buffer held.
        pixels.resize(4);
        wanted.resize(4);
    }
    EXPECT_EQ(pixels, wanted);
}

void VirtualCameraTest::ReadEverything(const VirtualSetup& setup, ReadRule rule, int32_t options)
{
    Plug(setup);
    Open(setup, options);
    if (HasFatalFailure()) return;
    for (int32_t hbin = 1; hbin <= 4; ++hbin) {
        for (int32_t vbin = 1; vbin <= 4; ++vbin) {
            ExpectFrame(rule, hbin, vbin);
            ExpectWindow(rule, setup.windowX, hbin, vbin);
        }
    }
    QV_SetBinning(1, 1, 0);
    std::vector<uint16_t> dark(ImageColumns * ImageRows, Fill);
    QV_ClearCCD(0);
    QV_GetCCD(0, 0.01, dark.data(), 0);
    EXPECT_EQ(QV_Status(0), 0);
    EXPECT_EQ(dark[ImageColumns], 0);
    QV_Close(0);
}
