// Series of windows on every family of cameras, through the exported functions.
#include <cstring>

#include "emulator/bus_camera.h"
#include "emulator/emulator.h"
#include "emulator/usb_camera.h"
#include "tests/cameras/read_rule.h"
#include "tests/support/families.h"
#include "tests/support/guarded_pixels.h"
#include "tests/support/pattern_file.h"
#include "tests/support/traffic_of.h"
#include "tests/support/virtual_camera.h"
#include "tests/support/virtual_usb.h"

namespace {

using Pixels = std::vector<uint16_t>;

constexpr uint32_t KeepClean = 0x8, Service = 0x1;
constexpr uint32_t Never = 0xFFFFFFFF;
constexpr int32_t X = 2, Y = 12, Width = 8, Height = 2;

struct Buffers {
    std::vector<GuardedPixels> frames;
    std::vector<uint16_t*> pointers;

    explicit Buffers(size_t count) : frames(count, GuardedPixels(size_t{Width} * Height))
    {
        for (GuardedPixels& frame : frames) pointers.push_back(frame.Data());
    }
    void ExpectGuards() const
    {
        for (const GuardedPixels& frame : frames) frame.ExpectGuards();
    }
};

void Read(Buffers* buffers, int32_t frames)
{
    QV_Kinetics(1, 0.01, frames, X, Y, Width, Height, buffers->pointers.data(), 0);
}

// What the sensor's definition says of dummy lines, as it stands in the file.
void ExpectDummiesBack()
{
    CcdDefinition ccd = {};
    QV_GetCCDdata(&ccd, 0);
    for (int i = 0; i < 4; ++i) EXPECT_EQ(ccd.Dummy[i], Dummies[i]) << i;
}

// --- the host's eye on the frames ---

int32_t Announced; // frames whose transfer was announced

bool IsAnnouncement(const char* text)
{
    return text != nullptr && strcmp(text, "Image downloading") == 0;
}

void StallThirdOnBus(const char* text, int32_t, int32_t)
{
    if (IsAnnouncement(text) && ++Announced == 3) EmuBusMute(0, 5);
}

// Half of what the next read asks for comes. 29 announces ahead of the exposure, where it
// still reads other things: there the frame stalls.
void CutThirdOnUsb(const char* text, int32_t, int32_t)
{
    if (IsAnnouncement(text) && ++Announced == 3) EmuFail(EmuUsbRead, 1, false);
}

void StallThirdOnUsb(const char* text, int32_t, int32_t)
{
    if (IsAnnouncement(text) && ++Announced == 3) EmuUsbStall(0, 5);
}

// Of five frames: two are whole, the fourth and fifth are as they were, all is put back.
void ExpectFailureOfTheThird(const Buffers& buffers, const std::vector<uint16_t>& whole)
{
    EXPECT_EQ(QV_Status(0), 2);
    EXPECT_EQ(Announced, 3);
    for (size_t i = 0; i < 2; ++i) EXPECT_EQ(buffers.frames[i].Pixels(), whole) << i;
    for (size_t i = 3; i < 5; ++i) EXPECT_TRUE(buffers.frames[i].IsUntouched()) << i;
    buffers.ExpectGuards();
    ExpectDummiesBack();
    EXPECT_EQ(QV_GetMode(0) & KeepClean, KeepClean);
}

class BusSeries : public VirtualCameraTest, public testing::WithParamInterface<VirtualSetup> {
protected:
    void SetUp() override
    {
        VirtualCameraTest::SetUp();
        Announced = 0;
    }
    ReadRule Rule() const { return RuleOf(GetParam()); }
    // The rows of a window are skipped by nobody: it begins with the sensor's first row. Only
    // cameras with counters of their own have been told the row.
    VirtualFrame SeriesWindow() const
    {
        VirtualFrame window = Window(GetParam(), Rule(), 1, 1);
        window.x = X;
        window.y = Rule() == ReadRule::Counted ? Y : 0;
        window.columns = Width;
        window.rows = Height;
        window.isSeries = true;
        return window;
    }
};

class UsbSeries : public VirtualUsbTest, public testing::WithParamInterface<UsbSetup> {
protected:
    void SetUp() override
    {
        VirtualUsbTest::SetUp();
        Announced = 0;
    }
    UsbFrame SeriesWindow() const
    {
        UsbFrame window = Window(GetParam(), 1, 1);
        window.x = X;
        window.y = 0;
        window.columns = Width;
        window.rows = Height;
        window.isSeries = true;
        return window;
    }
};

} // namespace

TEST_P(BusSeries, FillsItsBuffersAndPutsTheDummyLinesBack)
{
    Plug(GetParam());
    Open(GetParam());
    Buffers buffers(3);
    Read(&buffers, 3);
    EXPECT_EQ(QV_Status(0), 0);
    for (const GuardedPixels& frame : buffers.frames) {
        EXPECT_EQ(frame.Pixels(), Expected(SeriesWindow(), UntouchedPixel));
    }
    buffers.ExpectGuards();
    ExpectDummiesBack();
    ExpectFrame(Full(GetParam(), Rule(), 1, 1));
}

// The third of five frames stalls behind its fifth pixel.
TEST_P(BusSeries, ErrorInTheThirdFrameLeavesLaterBuffersAndPutsAllBack)
{
    if (Rule() == ReadRule::Plain) GTEST_SKIP() << "has no windows";
    progress = StallThirdOnBus;
    Plug(GetParam());
    Open(GetParam(), KeepClean);
    Buffers buffers(5);
    Read(&buffers, 5);
    ExpectFailureOfTheThird(buffers, Expected(SeriesWindow(), UntouchedPixel));
    EmuBusMute(bus, Never);
    QV_StartNow(0);
    if (Rule() == ReadRule::WholeFrame) return; // the words left of the broken transfer vary
    ExpectFrame(Full(GetParam(), Rule(), 1, 1));
}

TEST_P(BusSeries, OfNoFramesReadsNothing)
{
    Plug(GetParam());
    Open(GetParam(), KeepClean);
    Buffers buffers(1);
    for (const int32_t frames : {0, -1, INT32_MIN}) Read(&buffers, frames);
    EXPECT_EQ(QV_Status(0), 0);
    EXPECT_TRUE(buffers.frames[0].IsUntouched());
    EXPECT_EQ(EmuBusExposures(bus), 0u);
    ExpectDummiesBack();
    EXPECT_EQ(QV_GetMode(0) & KeepClean, KeepClean);
}

// Only 40 to 47 shift: on the others the intervals pass, three of 200 ms. The exposure of 0.0
// that follows is one of some microseconds but on 25, whose counter then does not start.
TEST_P(BusSeries, InTheSensorIsAFrameBehindItsIntervals)
{
    if (GetParam().platform >= 40 && GetParam().platform <= 47) GTEST_SKIP() << "shifts";
    Plug(GetParam());
    Open(GetParam(), KeepClean);
    GuardedPixels frame(size_t{ImageColumns} * ImageRows);
    const uint64_t start = EmuMicroseconds();
    QV_KineticsCCD(1, 0.2, 3, 4, frame.Data(), 0);
    EXPECT_GE(EmuMicroseconds() - start, 600'000u);
    EXPECT_EQ(QV_Status(0), 0);
    VirtualFrame wanted = Full(GetParam(), Rule(), 1, 1);
    wanted.isSeries = true;
    wanted.shutter = GetParam().platform != 25 ? 1 : 0;
    EXPECT_EQ(frame.Pixels(), Expected(wanted, UntouchedPixel));
    frame.ExpectGuards();
    ExpectDummiesBack();
    EXPECT_EQ(QV_GetMode(0) & KeepClean, KeepClean);
}

INSTANTIATE_TEST_SUITE_P(Families, BusSeries,
                         testing::Values(OnBus({22}), OnBus({22, 1, 100, 0, 1}), OnBus({23}),
                                         OnBus({24, 2, 200, 0xAAAA1}), OnBus({25, 2, 100, 3, 3}),
                                         OnBus({28}), OnBus({30}), OnBus({30, 2, 100, 0, 0, 500}),
                                         OnBus({40, 0}), OnBus({41, 1}), OnBus({42}),
                                         OnBus({42, 2, 200}), OnBus({44, 2, 100, 0xAAAA2}),
                                         OnBus({47, 2, 200}), OnBus({60, 0}), OnBus({60}),
                                         OnBus({70, 70}), OnBus({71, 70, 200}), OnBus({80})),
                         FamilyName<VirtualSetup>);

TEST_P(UsbSeries, FillsItsBuffersAndPutsTheDummyLinesBack)
{
    Plug(GetParam());
    Open(GetParam());
    Buffers buffers(3);
    Read(&buffers, 3);
    EXPECT_EQ(QV_Status(0), 0);
    for (const GuardedPixels& frame : buffers.frames) {
        EXPECT_EQ(frame.Pixels(), Expected(SeriesWindow(), UntouchedPixel));
    }
    buffers.ExpectGuards();
    ExpectDummiesBack();
    ExpectFrame(Full(GetParam(), 1, 1));
}

// Behind the adaptor a transfer has no status.
TEST_P(UsbSeries, ErrorInTheThirdFrameLeavesLaterBuffersAndPutsAllBack)
{
    if (IsOnAdaptor(GetParam().platform)) GTEST_SKIP() << "tells no failures";
    progress = GetParam().platform == 29 ? StallThirdOnUsb : CutThirdOnUsb;
    Plug(GetParam());
    Open(GetParam(), KeepClean);
    Buffers buffers(5);
    Read(&buffers, 5);
    ExpectFailureOfTheThird(buffers, Expected(SeriesWindow(), UntouchedPixel));
    EmuUsbStall(0, Never);
    QV_StartNow(0);
    ExpectFrame(Full(GetParam(), 1, 1));
}

TEST_P(UsbSeries, OfNoFramesReadsNothing)
{
    Plug(GetParam());
    Open(GetParam(), KeepClean);
    Buffers buffers(1);
    for (const int32_t frames : {0, -1, INT32_MIN}) Read(&buffers, frames);
    EXPECT_EQ(QV_Status(0), 0);
    EXPECT_TRUE(buffers.frames[0].IsUntouched());
    ExpectDummiesBack();
    EXPECT_EQ(QV_GetMode(0) & KeepClean, KeepClean);
}

// An exposure of 0.0 is none at all on 48: its counter does not start.
TEST_P(UsbSeries, InTheSensorIsAFrameBehindItsIntervals)
{
    Plug(GetParam());
    Open(GetParam(), KeepClean);
    GuardedPixels frame(size_t{ImageColumns} * ImageRows);
    const uint64_t start = EmuMicroseconds();
    QV_KineticsCCD(1, 0.2, 3, 4, frame.Data(), 0);
    EXPECT_GE(EmuMicroseconds() - start, 600'000u);
    EXPECT_EQ(QV_Status(0), 0);
    UsbFrame wanted = Full(GetParam(), 1, 1);
    wanted.isSeries = true;
    wanted.shutter = GetParam().platform != 48 ? 1 : 0;
    EXPECT_EQ(frame.Pixels(), Expected(wanted, UntouchedPixel));
    frame.ExpectGuards();
    ExpectDummiesBack();
    EXPECT_EQ(QV_GetMode(0) & KeepClean, KeepClean);
}

INSTANTIATE_TEST_SUITE_P(Families, UsbSeries, testing::ValuesIn(UsbFamilies), FamilyName<UsbSetup>);

// --- series on one camera ---

class Series : public VirtualCameraTest {
protected:
    const VirtualSetup r3 = {44, 255, 2, "BuildWaveR3", 200};

    void SetUp() override
    {
        VirtualCameraTest::SetUp();
        Announced = 0;
    }
    template <typename Act> static size_t SectionsPlayed(const Act& act)
    {
        EmuRecordCycles(true);
        const std::string traffic = TrafficOf(act);
        size_t count = 0;
        for (size_t at = traffic.find("  play "); at != std::string::npos;
             at = traffic.find("  play ", at + 1)) {
            ++count;
        }
        return count;
    }
};

TEST_F(Series, OfTheSameWindowsBuildsOnePattern)
{
    Plug(r3);
    Open(r3);
    Buffers buffers(2);
    const auto read = [&] { Read(&buffers, 2); };
    EXPECT_TRUE(BuildsAPattern(read));
    EXPECT_FALSE(BuildsAPattern(read));
    QV_SetBinning(1, 2, 0);
    EXPECT_TRUE(BuildsAPattern(read));
}

// Ahead of a frame stand the flush of the register and its lines, ahead of the series once a
// clear of three sections. No row is skipped, which would be a section too.
TEST_F(Series, IsClearedOnceIfFramesAre)
{
    Plug(r3);
    Open(r3);
    Buffers buffers(4);
    const auto read = [&] { Read(&buffers, 4); };
    read();
    EXPECT_EQ(SectionsPlayed(read), 8u);
    QV_SetMode(KeepClean, 1, 0);
    EXPECT_EQ(SectionsPlayed(read), 11u);
    EXPECT_EQ(QV_GetMode(0) & KeepClean, KeepClean);
}

// The geometry that is told has the row as counted from the end of the last area: 16 - 12,
// then 2 - 1, and 2 - 12 once more; X, row and width are words behind the 9.
TEST(SeriesGeometry, IsCountedFromTheEndOfTheLastArea)
{
    class Camera : public VirtualUsbTest {
        void TestBody() override {}

    public:
        using VirtualUsbTest::Open;
        using VirtualUsbTest::Plug;
        using VirtualUsbTest::SetUp;
        using VirtualUsbTest::TearDown;
    } camera;
    camera.SetUp();
    camera.Plug({450, 3945});
    camera.Open({450, 3945});
    Buffers buffers(1);
    const struct {
        int32_t row;
        const char* told;
    } windows[] = {{12, "44 09 02 00 04 00 08 00"},
                   {12, nullptr},
                   {1, "44 09 02 00 01 00 08 00"},
                   {12, "44 09 02 00 F6 FF 08 00"}};
    for (const auto& window : windows) {
        const std::string traffic = TrafficOf([&] {
            QV_Kinetics(1, 0.01, 1, X, window.row, Width, Height, buffers.pointers.data(), 0);
        });
        const char* const told = window.told != nullptr ? window.told : "44 09";
        EXPECT_EQ(traffic.find(told) != std::string::npos, window.told != nullptr) << traffic;
    }
    camera.TearDown();
}

// In virtual time the service runs inside of the calls: two turns a second.
TEST_F(Series, FailureLeavesTheServiceOff)
{
    progress = StallThirdOnBus;
    Plug(r3);
    Open(r3, Service);
    Buffers buffers(5);
    Read(&buffers, 5);
    EXPECT_EQ(QV_Status(0), 2);
    const uint32_t turns = QV_BckGnd(0);
    QV_Delay(5000);
    EXPECT_EQ(QV_BckGnd(0), turns);
    QV_StartNow(0);
    QV_Delay(5000);
    EXPECT_GE(QV_BckGnd(0), turns + 9);
}

TEST_F(Series, SuccessGivesTheCameraBackToTheService)
{
    Plug(r3);
    Open(r3, Service);
    Buffers buffers(2);
    Read(&buffers, 2);
    EXPECT_EQ(QV_Status(0), 0);
    const uint32_t turns = QV_BckGnd(0);
    QV_Delay(5000);
    EXPECT_GE(QV_BckGnd(0), turns + 9);
}

// Bins of 2 by 2 from the first row on: columns 5 and 6 of the image, counted from 1, are the
// first (x is 2 bins), rows 1 and 2. As a whole frame the four first words are dropped.
TEST_F(Series, BinnedBeginsWithTheFirstRowToo)
{
    Plug(r3);
    Open(r3);
    QV_SetBinning(2, 2, 0);
    Buffers buffers(2);
    Read(&buffers, 2);
    EXPECT_EQ(QV_Status(0), 0);
    const uint16_t fifth = 2 * (113 + 114) + 200; // columns 13 and 14 of rows 1 and 2
    for (const GuardedPixels& frame : buffers.frames) EXPECT_EQ(frame.Pixels()[0], fifth);
    QV_SetBinning(2, 2, 0); // a binned frame right behind a window is sheared
    ExpectFrame(Full(r3, ReadRule::WholeFrame, 2, 2));
}

// Above a binning of 4 the word behind the dummy lines is the one that is changed and put
// back.
TEST_F(Series, HighBinningsPutTheSensorsWordsBack)
{
    Plug(r3);
    Open(r3);
    for (const int32_t binning : {5, 6, 7, 8}) {
        CcdDefinition before = {}, after = {};
        QV_SetBinning(1, binning, 0);
        QV_GetCCDdata(&before, 0);
        Buffers buffers(2);
        Read(&buffers, 2);
        EXPECT_EQ(QV_Status(0), 0);
        buffers.ExpectGuards();
        QV_GetCCDdata(&after, 0);
        EXPECT_EQ(memcmp(&before, &after, sizeof after), 0) << binning;
    }
    QV_SetBinning(1, 1, 0);
    QV_ClearCCD(0);
    ExpectFrame(Full(r3, ReadRule::WholeFrame, 1, 1));
}

TEST_F(Series, WithoutABufferIsError16)
{
    Plug(r3);
    Open(r3);
    Buffers buffers(3);
    buffers.pointers[1] = nullptr;
    Read(&buffers, 3);
    EXPECT_EQ(QV_Status(0), 16);
    EXPECT_TRUE(buffers.frames[2].IsUntouched());
    ExpectDummiesBack();
    QV_Kinetics(1, 0.01, 2, X, Y, Width, Height, nullptr, 0);
    EXPECT_EQ(QV_Status(0), 16);
}
