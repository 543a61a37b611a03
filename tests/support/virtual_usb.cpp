#include "tests/support/virtual_usb.h"

#include <algorithm>

#include "emulator/emulator.h"
#include "emulator/line_maps.h"
#include "emulator/usb.h"
#include "emulator/usb_camera.h"
#include "tests/support/demo_camera.h"

namespace {

constexpr int32_t ShortPhase = 3;
constexpr double Exposure = 0.01;
constexpr uint16_t Fill = 0xAAAA, Guard = 0xBEEF;
constexpr size_t GuardPixels = 8;
constexpr int32_t TallRows = 32; // 400 clocks whole bins of dummy lines
constexpr int32_t HeronVersion = 47;
// Of 61 the number is 00012345, the fields are 09, 10, 23; of 200 0001234, and 08, 09, 10.
const char Serial[] = "00012345678";
const char Description[] = "USB CAMERA    08091023";

int32_t Rows(int32_t platform)
{
    return platform == 400 ? TallRows : SensorRows;
}

int32_t Dummy(const UsbFrame& frame, int32_t above4)
{
    if (frame.isSeries) return 0;
    return frame.vbin <= 4 ? Dummies[frame.vbin - 1] : above4;
}

// A bin of the sensor; the pattern's strobe may convert only a column of it.
uint16_t Bin(const UsbFrame& frame, int32_t k, int32_t row)
{
    return StrobedBin(
        {frame.strobe, frame.hbin, frame.vbin, frame.x, frame.columns, Rows(frame.platform)}, k,
        row);
}

// The first row of the sensor in the stream.
int32_t FirstRow(const UsbFrame& frame)
{
    const int32_t y = frame.isWindow ? frame.y * frame.vbin : 0;
    switch (frame.platform) {
    case 29:
    case 300:
    case 450: return y;
    case 48: return std::max(Dummy(frame, 1) / 2 - 3 + y, 0);
    case 400: return (Dummy(frame, 1) + (frame.isWindow ? frame.y : 0)) * frame.vbin;
    case 200: return frame.isWindow ? y + Dummy(frame, 0) : 0;
    default: return frame.isWindow ? y + Dummy(frame, 0) / 2 : 0;
    }
}

// Word `n` of what the camera sends.
uint16_t Sent(const UsbFrame& frame, int32_t n)
{
    if (frame.shutter == 0 && frame.platform != 400) return 0;
    const int32_t width = frame.told != 0 ? frame.told : frame.columns;
    return Bin(frame, n % width, FirstRow(frame) + n / width * frame.vbin);
}

using Pixels = std::vector<uint16_t>;

// `count` words were sent, of which the first `from` are none of the image.
void CopyReply(const UsbFrame& frame, int32_t from, int32_t count, Pixels* pixels)
{
    for (int32_t i = 0; i < frame.columns * frame.rows; ++i) {
        (*pixels)[static_cast<size_t>(i)] =
            from + i < count ? Sent(frame, from + i) : static_cast<uint16_t>(0);
    }
}

// The copy of 8 / binning - 2 bytes more than the image is shorter above a binning of 4.
void CopyShortened(const UsbFrame& frame, Pixels* pixels)
{
    const uint16_t last = pixels->back();
    const int32_t binning = frame.skipBinning;
    CopyReply(frame, 4 / binning + 1, frame.columns * frame.rows, pixels);
    const int32_t missing = std::max(2 - 8 / binning, 0); // bytes
    if (missing == 1) {
        pixels->back() = static_cast<uint16_t>((pixels->back() & 0xFF) | (last & 0xFF00));
    }
    if (missing == 2) pixels->back() = last;
}

// Whole lines from `first` on; the second covers the last `skew` pixels of the first one.
// A series has no dummy lines: none comes behind those of the image.
void CopyLines(const UsbFrame& frame, int32_t first, int32_t skew, Pixels* pixels)
{
    const int32_t W = frame.columns;
    const int32_t end = frame.isSeries ? frame.rows : first + frame.rows;
    int32_t target = 0;
    for (int32_t line = first; line < end; ++line) {
        for (int32_t i = 0; i < W; ++i) {
            (*pixels)[static_cast<size_t>(target + i)] = Sent(frame, line * W + i);
        }
        target += line == first ? std::max(W - skew, 0) : W;
    }
}

bool HasVersion47(int32_t platform)
{
    return platform == 61 || platform == 200;
}

void Read(const UsbFrame& frame, uint16_t* pixels)
{
    if (frame.isWindow) {
        QV_GetWinCCD(frame.shutter, Exposure, frame.x, frame.y, frame.columns, frame.rows, pixels,
                     frame.camera);
    } else {
        QV_GetCCD(frame.shutter, Exposure, pixels, frame.camera);
    }
}

std::string Text(const UsbFrame& frame)
{
    return std::string(frame.shutter != 0 ? "" : "dark ") +
           (frame.isWindow ? "window " : "frame ") + std::to_string(frame.hbin) + " by " +
           std::to_string(frame.vbin);
}

} // namespace

bool IsOnAdaptor(int32_t platform)
{
    return platform == 205 || platform == 28;
}

void PrintTo(const UsbSetup& setup, std::ostream* out)
{
    *out << setup.platform << " with " << setup.sensor;
}

void VirtualUsbTest::SetUp()
{
    ResetLibrary();
    MakeDemoFolder();
}

void VirtualUsbTest::TearDown()
{
    for (int32_t camera = 0; camera < 8; ++camera) QV_Close(camera);
    EXPECT_EQ(EmuUsbOpenHandles(), 0u);
    EXPECT_EQ(EmuAdaptorOpen(), 0u);
    EXPECT_EQ(EmuLiveBlocks(), 0u);
    RemoveDemoFolder();
    ResetLibrary();
}

void VirtualUsbTest::Plug(const UsbSetup& setup, uint8_t badVersions)
{
    const int32_t version = HasVersion47(setup.platform) ? HeronVersion : SmallVersion;
    WriteDefinitions(SmallDefinitions({setup.platform, setup.sensor, ShortPhase, version,
                                       setup.clock, "Program = [ 287454020, 1432778632 ];"}));
    EmuUsbCamera camera = {};
    camera.platform = setup.platform;
    camera.sensor = setup.sensor;
    camera.version = static_cast<uint16_t>(version);
    camera.chip = {ImageColumns, static_cast<uint32_t>(Rows(setup.platform)), LeadingCells,
                   RegisterCells, SmallScene};
    camera.wordNs = 500;
    camera.memory[1] = 10;
    camera.variant = setup.variant;
    camera.serial = Serial;
    camera.description = Description;
    camera.badStatus = badVersions;
    camera.wheel = setup.wheel;
    camera.firmware = setup.firmware;
    if (setup.builder != nullptr) {
        const EmuWiring wiring = {setup.platform, setup.sensor, 0};
        ASSERT_TRUE(EmuFindLineMap(setup.builder, wiring, &camera.lines));
    }
    ASSERT_EQ(EmuPlugUsbCamera(camera), setup.camera);
}

void VirtualUsbTest::Open(const UsbSetup& setup, int32_t options, int32_t attach)
{
    if (setup.wheelKind != 0) {
        CameraConfig config = {};
        config.FilterWheel = setup.wheelKind;
        QV_InitOptions(&config, setup.camera);
    }
    QV_Open(setup.platform, setup.sensor, 0, UsbInterface, attach, setup.camera, options, nullptr,
            progress);
    ASSERT_EQ(QV_Status(setup.camera), 0);
    ASSERT_EQ(QV_IsOn(setup.camera), 1);
}

UsbFrame VirtualUsbTest::Full(const UsbSetup& setup, int32_t hbin, int32_t vbin)
{
    UsbFrame frame = {setup.platform,           setup.strobe,     hbin, vbin,
                      ImageColumns / hbin & ~1, ImageRows / vbin, 0,    hbin};
    frame.camera = setup.camera;
    return frame;
}

UsbFrame VirtualUsbTest::Window(const UsbSetup& setup, int32_t hbin, int32_t vbin)
{
    UsbFrame frame = Full(setup, hbin, vbin);
    frame.isWindow = true;
    frame.columns = 4;
    frame.rows = 2;
    frame.x = frame.y = 1;
    return frame;
}

std::vector<uint16_t> VirtualUsbTest::Expected(const UsbFrame& frame, uint16_t fill)
{
    const int32_t W = frame.columns;
    const int32_t count = W * frame.rows;
    const int32_t dummy = frame.isWindow ? 0 : Dummy(frame, 1);
    const int32_t firstLine = frame.isWindow ? 0 : dummy / 2 + 1;
    Pixels pixels(static_cast<size_t>(count), fill);
    switch (frame.platform) {
    case 300:
    case 450: CopyShortened(frame, &pixels); break;
    case 48: CopyReply(frame, 2 * W + 3, 2 * W + count, &pixels); break;
    case 29:
    case 400: CopyReply(frame, 0, count, &pixels); break;
    case 28: CopyLines(frame, firstLine, 0, &pixels); break;
    case 61: CopyLines(frame, firstLine, 3, &pixels); break;
    // Twice the dummy lines, none above a binning of 4.
    case 200: CopyLines(frame, frame.isWindow ? 0 : Dummy(frame, 0), 3, &pixels); break;
    case 205:
        if (frame.isWindow) {
            CopyLines(frame, 0, 4, &pixels);
        } else {
            CopyReply(frame, dummy / 2 * W + 4, W * (frame.rows + dummy), &pixels);
        }
    }
    return pixels;
}

void VirtualUsbTest::ExpectFrame(const UsbFrame& frame)
{
    SCOPED_TRACE(Text(frame));
    const Pixels wanted = Expected(frame, Fill);
    Pixels buffer(wanted.size() + 2 * GuardPixels, Guard);
    uint16_t* const pixels = buffer.data() + GuardPixels;
    std::fill_n(pixels, wanted.size(), Fill);
    Read(frame, pixels);
    EXPECT_EQ(QV_Status(frame.camera), 0);
    EXPECT_EQ(Pixels(pixels, pixels + wanted.size()), wanted);
    const Pixels untouched(GuardPixels, Guard);
    EXPECT_EQ(Pixels(buffer.data(), pixels), untouched);
    EXPECT_EQ(Pixels(pixels + wanted.size(), buffer.data() + buffer.size()), untouched);
}

void VirtualUsbTest::ExpectFrameAndWindow(const UsbSetup& setup, int32_t hbin, int32_t vbin)
{
    QV_SetBinning(hbin, vbin, setup.camera);
    ASSERT_EQ(QV_Status(setup.camera), 0);
    ExpectFrame(Full(setup, hbin, vbin));
    ExpectFrame(Window(setup, hbin, vbin));
}
