#include "tests/support/virtual_camera.h"

#include <algorithm>

#include "emulator/bus_camera.h"
#include "emulator/bus_links.h"
#include "emulator/emulator.h"
#include "emulator/line_maps.h"
#include "tests/support/demo_camera.h"

namespace {

constexpr uint16_t PortBase = 0x378;
constexpr uint16_t Fill = 0xAAAA, Guard = 0xBEEF;
constexpr size_t GuardPixels = 8;

int32_t DummyLines(const VirtualFrame& frame)
{
    if (frame.isWindow || frame.isSeries) return 0;
    return frame.vbin <= 4 ? Dummies[frame.vbin - 1] : 1;
}

// Of the sensor, in the first line that is sent. Ahead of a window go the dummy lines,
// by DMA half of them; above a binning of 4 none do.
int32_t FirstRow(const VirtualFrame& frame)
{
    if (!frame.isWindow) return 0;
    const int32_t dummy = frame.vbin <= 4 && !frame.isSeries ? Dummies[frame.vbin - 1] : 0;
    return frame.y * frame.vbin + (frame.rule == ReadRule::Pixels ? dummy : dummy / 2);
}

uint16_t BinOf(const VirtualFrame& frame, int32_t k, int32_t row)
{
    return StrobedBin(
        {frame.strobe, frame.hbin, frame.vbin, frame.x, frame.columns, frame.sensorRows}, k, row);
}

// Cameras that clock themselves expose dark frames too, and have no shutter.
bool IsDark(const VirtualFrame& frame)
{
    return frame.shutter == 0 && frame.rule != ReadRule::Plain && frame.rule != ReadRule::Counted;
}

// Word `n` of the stream.
uint16_t Streamed(const VirtualFrame& frame, int32_t n)
{
    if (IsDark(frame)) return 0;
    const int32_t line = n / frame.columns;
    const int32_t k = n % frame.columns;
    switch (frame.rule) {
    case ReadRule::Plain:
        return static_cast<uint16_t>(SmallScene(static_cast<uint32_t>(n % ImageColumns),
                                                static_cast<uint32_t>(n / ImageColumns)));
    case ReadRule::Counted:
        return SceneSum((frame.x + k) * frame.hbin, (frame.x + k + 1) * frame.hbin,
                        (frame.y + line) * frame.vbin, (frame.y + line + 1) * frame.vbin);
    default: return BinOf(frame, k, FirstRow(frame) + line * frame.vbin);
    }
}

// A frame without dummy lines lacks its last line: one line is dropped all the same.
void CopyLines(const VirtualFrame& frame, std::vector<uint16_t>* pixels)
{
    const int32_t W = frame.columns;
    const int32_t first = frame.isWindow ? 0 : DummyLines(frame) / 2 + 1;
    const int32_t end = std::min(first + frame.rows, frame.rows + DummyLines(frame));
    int32_t target = 0;
    for (int32_t line = first; line < end; ++line) {
        for (int32_t i = 0; i < W; ++i) {
            (*pixels)[static_cast<size_t>(target + i)] = Streamed(frame, line * W + i);
        }
        target += frame.rule == ReadRule::Lines && line == first ? std::max(W - 6, 0) : W;
    }
}

void PlugLink(const VirtualSetup& setup, int32_t bus)
{
    switch (setup.interfaceType) {
    case 0: EmuPlugPrinterPort(PortBase, bus); break;
    case 1: EmuPlugPortCard(PortBase, setup.interfaceLink != 0, bus); break;
    default: {
        EmuCard card;
        card.deviceId = static_cast<uint16_t>(2001 + setup.camera);
        card.revision = setup.revision;
        card.decoder = setup.decoder;
        EmuPlugCard(card, bus);
    }
    }
}

void Read(const VirtualFrame& frame, uint16_t* pixels)
{
    if (frame.isWindow) {
        QV_GetWinCCD(frame.shutter, 0.01, frame.x, frame.y, frame.columns, frame.rows, pixels,
                     frame.camera);
    } else {
        QV_GetCCD(frame.shutter, 0.01, pixels, frame.camera);
    }
}

std::string Text(const VirtualFrame& frame)
{
    return std::string(frame.shutter != 0 ? "" : "dark ") +
           (frame.isWindow ? "window " : "frame ") + std::to_string(frame.hbin) + " by " +
           std::to_string(frame.vbin);
}

} // namespace

void PrintTo(const VirtualSetup& setup, std::ostream* out)
{
    *out << setup.platform << " with " << setup.sensor;
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
    EXPECT_EQ(EmuLiveBlocks(), 0u);
    RemoveDemoFolder();
    ResetLibrary();
}

void VirtualCameraTest::Plug(const VirtualSetup& setup)
{
    PlugAt(setup, &bus);
}

void VirtualCameraTest::PlugAt(const VirtualSetup& setup, int32_t* bus)
{
    SmallPlatform definition = {setup.platform, setup.sensor, setup.phase};
    definition.columns = setup.columns;
    definition.rows = setup.rows;
    WriteDefinitions(SmallDefinitions(definition));
    EmuBusCamera camera = {};
    camera.platform = setup.platform;
    camera.sensor = setup.sensor;
    camera.version = SmallVersion;
    camera.chip = {ImageColumns, static_cast<uint32_t>(setup.sensorRows), LeadingCells,
                   RegisterCells, setup.scene};
    if (setup.platform == 70 || setup.platform == 71) camera.chip.rows = ImageRows;
    camera.wordNs = 500;
    camera.memory[1] = 10;
    camera.byteCable = setup.platform == 60 && setup.interfaceType > 1;
    camera.wheel = setup.wheel;
    camera.objective = setup.objective;
    if (setup.builder != nullptr) {
        const EmuWiring wiring = {setup.platform, setup.sensor, 0};
        ASSERT_TRUE(EmuFindLineMap(setup.builder, wiring, &camera.lines));
    }
    *bus = EmuPlugBusCamera(camera);
    PlugLink(setup, *bus);
}

void VirtualCameraTest::Open(const VirtualSetup& setup, int32_t options, int32_t attach)
{
    CameraConfig config = {};
    config.InterfaceLink = setup.interfaceLink;
    config.FilterWheel = setup.wheelKind;
    if (setup.decoder != 0 && setup.interfaceLink == 0) config.InterfaceLink = 1;
    QV_InitOptions(&config, setup.camera);
    QV_Open(setup.platform, setup.sensor, PortBase, setup.interfaceType, attach, setup.camera,
            options, nullptr, progress);
    ASSERT_EQ(QV_Status(setup.camera), 0);
    locked.assign(size_t{ImageColumns} * (ImageRows + 2 * Dummies[0]), 0);
}

VirtualFrame VirtualCameraTest::Full(const VirtualSetup& setup, ReadRule rule, int32_t hbin,
                                     int32_t vbin)
{
    VirtualFrame frame = {rule, setup.strobe, hbin, vbin, ImageColumns / hbin, ImageRows / vbin};
    frame.camera = setup.camera;
    frame.sensorRows = setup.sensorRows;
    return frame;
}

VirtualFrame VirtualCameraTest::Window(const VirtualSetup& setup, ReadRule rule, int32_t hbin,
                                       int32_t vbin)
{
    VirtualFrame frame = {rule, setup.strobe, hbin, vbin, 4, 2, true, 1, 1};
    frame.camera = setup.camera;
    frame.sensorRows = setup.sensorRows;
    return frame;
}

std::vector<uint16_t> VirtualCameraTest::Expected(const VirtualFrame& frame, uint16_t fill)
{
    return ExpectedFrom(frame, fill, &locked);
}

// A whole frame begins four words into what was sent; the last four words of a window
// are those of an earlier frame.
std::vector<uint16_t> VirtualCameraTest::ExpectedFrom(const VirtualFrame& frame, uint16_t fill,
                                                      std::vector<uint16_t>* locked)
{
    const int32_t W = frame.columns;
    const int32_t count = W * frame.rows;
    std::vector<uint16_t> pixels(static_cast<size_t>(count), fill);
    switch (frame.rule) {
    case ReadRule::WholeFrame: {
        const int32_t sent = W * (frame.rows + DummyLines(frame));
        for (int32_t n = 0; n < sent; ++n) (*locked)[static_cast<size_t>(n)] = Streamed(frame, n);
        const int32_t first = DummyLines(frame) / 2 * W + 4;
        std::copy_n(locked->begin() + first, count, pixels.begin());
        break;
    }
    case ReadRule::Lines:
    case ReadRule::EvenLines:
    case ReadRule::Pixels: CopyLines(frame, &pixels); break;
    case ReadRule::Plain:
        if (frame.isWindow) break;
        [[fallthrough]];
    case ReadRule::Counted:
        for (int32_t n = 0; n < count; ++n) pixels[static_cast<size_t>(n)] = Streamed(frame, n);
    }
    return pixels;
}

void VirtualCameraTest::ExpectFrame(const VirtualFrame& frame)
{
    SCOPED_TRACE(Text(frame));
    const std::vector<uint16_t> wanted = Expected(frame, Fill);
    std::vector<uint16_t> buffer(wanted.size() + 2 * GuardPixels, Guard);
    uint16_t* const pixels = buffer.data() + GuardPixels;
    std::fill_n(pixels, wanted.size(), Fill);
    Read(frame, pixels);
    EXPECT_EQ(QV_Status(frame.camera), 0);
    EXPECT_EQ(std::vector<uint16_t>(pixels, pixels + wanted.size()), wanted);
    const std::vector<uint16_t> untouched(GuardPixels, Guard);
    EXPECT_EQ(std::vector<uint16_t>(buffer.data(), pixels), untouched);
    EXPECT_EQ(std::vector<uint16_t>(pixels + wanted.size(), buffer.data() + buffer.size()),
              untouched);
}

void VirtualCameraTest::ExpectFrameAndWindow(const VirtualSetup& setup, ReadRule rule, int32_t hbin,
                                             int32_t vbin)
{
    QV_SetBinning(hbin, vbin, 0);
    ASSERT_EQ(QV_Status(0), 0);
    ExpectFrame(Full(setup, rule, hbin, vbin));
    ExpectFrame(Window(setup, rule, hbin, vbin));
}

void VirtualCameraTest::ExpectDarkFrame(const VirtualSetup& setup, ReadRule rule)
{
    QV_SetBinning(1, 1, 0);
    QV_ClearCCD(0);
    VirtualFrame dark = Full(setup, rule, 1, 1);
    dark.shutter = 0;
    ExpectFrame(dark);
}

void VirtualCameraTest::ExpectAllFrames(const VirtualSetup& setup, ReadRule rule)
{
    for (int32_t hbin = 1; hbin <= 4; ++hbin) {
        for (int32_t vbin = 1; vbin <= 4 && !HasFailure(); ++vbin) {
            ExpectFrameAndWindow(setup, rule, hbin, vbin);
        }
    }
    ExpectDarkFrame(setup, rule);
}

void VirtualCameraTest::ReadEverything(const VirtualSetup& setup, ReadRule rule, int32_t options)
{
    Plug(setup);
    Open(setup, options);
    if (HasFatalFailure()) return;
    ExpectAllFrames(setup, rule);
    QV_Close(0);
}
