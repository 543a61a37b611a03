// Cameras on USB beyond a single good run: pulled out in mid-frame, two in one process,
// opened with the power kept, calibrated by their memory, and frames behind windows.
#include "emulator/emulator.h"
#include "emulator/usb.h"
#include "emulator/usb_camera.h"
#include "tests/support/demo_camera.h"
#include "tests/support/virtual_usb.h"

namespace {

const UsbSetup TolmE = {450, 3945};
const UsbSetup Wren = {300, 255};
const UsbSetup R4Dsp = {48, 255};
const UsbSetup Tolm = {400, 3945};
const UsbSetup TarnU = {29, 260};
const UsbSetup HeronPlus = {61, 255, "BuildWaveHeronPlus"};
const UsbSetup Osprey = {200, 255, "BuildWaveOspreyKaf"};
const UsbSetup OspreyPlus = {205, 255, "BuildWaveOspreyPlusKaf"};
const UsbSetup TarnV = {28, 255, "BuildWaveTarn5"};

class UsbLife : public VirtualUsbTest {
protected:
    // A light frame, whatever comes of it; its time in microseconds.
    static uint64_t ReadFrame(int32_t camera = 0)
    {
        std::vector<uint16_t> pixels(ImageColumns * ImageRows);
        const uint64_t start = EmuMicroseconds();
        QV_GetCCD(1, 0.01, pixels.data(), camera);
        return EmuMicroseconds() - start;
    }
};

class UsbFamilyLife : public UsbLife, public testing::WithParamInterface<UsbSetup> {};

std::string PlatformName(const testing::TestParamInfo<UsbSetup>& info)
{
    return std::to_string(info.param.platform);
}

INSTANTIATE_TEST_SUITE_P(Families, UsbFamilyLife,
                         testing::Values(TolmE, Wren, R4Dsp, Tolm, TarnU, HeronPlus, Osprey,
                                         OspreyPlus, TarnV),
                         PlatformName);

void Unplug(int32_t camera)
{
    EmuUnplugUsbCamera(camera);
}

} // namespace

// A read that asks for more than the camera sends ends with its time-out only: 5 s and
// more. The small sensor has sent all within a second.
TEST_P(UsbFamilyLife, NoReadOfAFrameRunsIntoItsTimeOut)
{
    Plug(GetParam());
    Open(GetParam());
    for (int32_t i = 0; i < 3; ++i) EXPECT_LT(ReadFrame(), 1'000'000u) << i;
}

// Behind the adaptor a transfer has no status: the frame ends all the same.
TEST_P(UsbFamilyLife, PulledOutInMidFrameItOpensAgainOncePluggedIn)
{
    const UsbSetup& setup = GetParam();
    Plug(setup);
    for (const uint64_t part : {10, 12, 15}) { // sixteenths of a frame
        SCOPED_TRACE(part);
        Open(setup);
        const uint64_t whole = ReadFrame();
        ASSERT_EQ(QV_Status(0), 0);
        EmuSchedule(EmuMicroseconds() + whole * part / 16, Unplug, 0);
        ReadFrame();
        EXPECT_EQ(QV_Status(0), IsOnAdaptor(setup.platform) ? 0 : 2);
        QV_Close(0);
        EXPECT_EQ(QV_IsOn(0), 0);
        EXPECT_EQ(EmuUsbOpenHandles(), 0u);
        EmuReplugUsbCamera(0);
    }
    Open(setup);
    QV_ClearCCD(0);
    ExpectFrame(Full(setup, 1, 1));
}

// A device that is not there gives 18, a version that differs 1; behind the adaptor there
// is nothing to open either.
TEST_P(UsbFamilyLife, PulledOutItCannotBeOpened)
{
    const UsbSetup& setup = GetParam();
    Plug(setup);
    EmuUnplugUsbCamera(0);
    QV_Open(setup.platform, setup.sensor, 0, UsbInterface, 0, 0, 0, nullptr, nullptr);
    EXPECT_EQ(QV_Status(0), 18);
    EXPECT_EQ(QV_IsOn(0), 0);
    EXPECT_EQ(EmuUsbOpenHandles(), 0u);
    EXPECT_EQ(EmuAdaptorOpen(), 0u);
}

TEST_P(UsbFamilyLife, AttachKeepsTheCoolerOn)
{
    const UsbSetup& setup = GetParam();
    if (setup.platform == 400) GTEST_SKIP() << "has no cooler";
    Plug(setup);
    Open(setup);
    QV_Cooler(1, 0);
    EXPECT_TRUE(EmuUsbCoolerOn(0));
    QV_Close(0);
    EXPECT_TRUE(EmuUsbCoolerOn(0));
    Open(setup, 0, 1);
    EXPECT_TRUE(EmuUsbCoolerOn(0));
    EXPECT_NE(EmuUsbFan(0), 0);
    QV_Close(0);
    Open(setup);
    EXPECT_FALSE(EmuUsbCoolerOn(0));
    EXPECT_EQ(EmuUsbFan(0), 0);
}

// A full frame behind a binned window is built for the sensor's whole width, unbinned: the
// lines of 300 and 450 are as long, a pattern goes on to the register's end. What is read is
// the binned width all the same.
TEST_P(UsbFamilyLife, FullFrameBehindABinnedWindow)
{
    const UsbSetup& setup = GetParam();
    Plug(setup);
    Open(setup);
    QV_SetBinning(2, 2, 0);
    ExpectFrame(Window(setup, 2, 2));
    UsbFrame frame = Full(setup, 2, 2);
    if (setup.platform == 300 || setup.platform == 450) frame.told = ImageColumns;
    if (setup.builder != nullptr) frame.told = (RegisterCells - LeadingCells) / 2;
    ExpectFrame(frame);
    ExpectFrame(frame);
}

// No light with an exposure that the counter never sees; a negative one waits not at all.
TEST_P(UsbFamilyLife, EveryFrameIsExposedOnce)
{
    const UsbSetup& setup = GetParam();
    Plug(setup);
    Open(setup);
    for (uint32_t frames = 1; frames <= 3; ++frames) {
        ReadFrame();
        EXPECT_EQ(QV_Status(0), 0);
        EXPECT_EQ(EmuUsbExposures(0), frames);
    }
}

class UsbCalibrated : public UsbLife, public testing::WithParamInterface<UsbSetup> {};

INSTANTIATE_TEST_SUITE_P(Families, UsbCalibrated, testing::Values(R4Dsp, OspreyPlus, TarnV),
                         PlatformName);

// An offset of 2.5 degrees and a span of 1.1, by which 48 multiplies ahead of the offset and
// the others behind it: the camera reads so far off.
TEST_P(UsbCalibrated, MemoryHoldsOffsetAndSpan)
{
    Plug(GetParam());
    EmuUsbSetMemoryWord(0, 0, 25);
    EmuUsbSetMemoryWord(0, 1, 11);
    Open(GetParam());
    EmuUsbSetTemperature(0, -30.0);
    for (int reading = 0; reading < 16; ++reading) QV_ReadTemp(QV_CELSIUS, 0);
    EXPECT_NEAR(QV_ReadTemp(QV_CELSIUS, 0), EmuUsbTemperature(0), 0.15);
}

TEST_P(UsbCalibrated, SpanOfZeroLeavesTheTemperatureAsItIs)
{
    Plug(GetParam());
    EmuUsbSetMemoryWord(0, 0, 25);
    EmuUsbSetMemoryWord(0, 1, 0);
    Open(GetParam());
    EmuUsbSetTemperature(0, 0.0);
    for (int reading = 0; reading < 16; ++reading) QV_ReadTemp(QV_CELSIUS, 0);
    EXPECT_NEAR(QV_ReadTemp(QV_CELSIUS, 0), EmuUsbTemperature(0), 0.15);
}

// The binning last told to any camera of the kind counts the words ahead of the image.
TEST_F(UsbLife, TwoCamerasShareTheBinningOfTheLastBuild)
{
    UsbSetup second = Wren;
    second.camera = 1;
    Plug(TolmE);
    Open(TolmE);
    Plug(second);
    Open(second);
    QV_SetBinning(1, 1, 0);
    QV_SetBinning(2, 2, 1);
    UsbFrame first = Full(TolmE, 1, 1);
    first.skipBinning = 2;
    ExpectFrame(first);
    ExpectFrame(Full(second, 2, 2));
    QV_SetBinning(1, 1, 0);
    ExpectFrame(Full(TolmE, 1, 1));
    UsbFrame other = Full(second, 2, 2);
    other.skipBinning = 1;
    ExpectFrame(other);
}

// Each plays a pattern of its own.
TEST_F(UsbLife, TwoCamerasWithPatternsHaveTheirOwnBinning)
{
    UsbSetup second = OspreyPlus;
    second.camera = 1;
    Plug(HeronPlus);
    Open(HeronPlus);
    Plug(second);
    Open(second);
    QV_SetBinning(1, 1, 0);
    QV_SetBinning(3, 2, 1);
    for (int turn = 0; turn < 2; ++turn) {
        ExpectFrame(Full(HeronPlus, 1, 1));
        ExpectFrame(Full(second, 3, 2));
    }
}

// Sensor 5000 sends one field behind the other, 256 lines apart, and three lines ahead of
// each: the picture has 512 lines, what is left of it stays black.
TEST_F(UsbLife, FieldsOfTheInterlacedSensorBecomeOnePicture)
{
    constexpr int32_t W = 640, H = 518;
    SmallPlatform platform = {300, 5000};
    platform.columns = W;
    platform.rows = H;
    WriteDefinitions(SmallDefinitions(platform));
    EmuUsbCamera camera = {};
    camera.platform = 300;
    camera.sensor = 5000;
    camera.version = SmallVersion;
    camera.chip = {W, H, LeadingCells, W + 14, SmallScene};
    ASSERT_EQ(EmuPlugUsbCamera(camera), 0);
    Open({300, 5000});
    if (HasFatalFailure()) return;
    std::vector<uint16_t> pixels(size_t{W} * H, 0xAAAA);
    QV_GetCCD(1, 0.01, pixels.data(), 0);
    EXPECT_EQ(QV_Status(0), 0);
    for (uint32_t row = 0; row < H; ++row) {
        for (uint32_t column = 0; column < W; ++column) {
            const uint32_t wanted = row < 512 ? SmallScene(column, row) : 0;
            ASSERT_EQ(pixels[row * W + column], wanted) << row << ", " << column;
        }
    }
    // A window is a plain one.
    UsbFrame window = Window({300, 5000}, 1, 1);
    ExpectFrame(window);
}
