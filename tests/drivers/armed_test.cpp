// Frames in steps. The window is 8 by 4 with three dummy lines: the line pattern starts
// at page 4 and ends at 0x28; the stream's word n is n.
#include <numeric>

#include "acquisition/armed.h"
#include "core/flags.h"
#include "core/options.h"
#include "core/record.h"
#include "emulator/emulator.h"
#include "tests/support/fake_bus.h"

namespace {

constexpr uint16_t Untouched = 0xAAAA;
constexpr size_t Pixels = 32;

class ArmedFrame : public FakeBusTest {
protected:
    CameraRecord& record = CameraTable[0];
    std::vector<uint16_t> image = std::vector<uint16_t>(Pixels + 8, Untouched);

    void Open(int32_t platform, uint32_t options = 0, size_t words = 512)
    {
        OpenFakeBus(platform, 255, options, 2);
        PlugFakeCard(words);
        Bus.control = 0xFC;
        record.Ccd.Dummy[0] = 3;
        StoreFlag(&record.CameraOn, 1);
        record.WindowDimX = 8;
        record.WindowDimY = 4;
        record.Config.ShutterHisteresys = 7;
        std::iota(record.DmaBuffer, record.DmaBuffer + words, uint16_t{0});
        for (uint16_t& shadow : record.Registers) shadow = 0;
        TakeBusLog();
    }
};

std::string Lines(const std::string& repeat)
{
    return "reg 0 0x0020; reg 0 0x0000; reg 2 0x0004; reg 0 0x0080; address " + repeat +
           "; sleep 2; reg 0 0x0000; address 0x0028; sleep 2; reg 0 0x0100; reg 0 0x0000";
}

void Trigger(int32_t status)
{
    Bus.status7 = static_cast<uint16_t>(status);
}

} // namespace

TEST_F(ArmedFrame, ArmingLoadsBothTimersOf47)
{
    Open(47);
    ArmAcquisition(0.5, 0); // 50000; the settling time 70000 = 0x11170
    EXPECT_EQ(record.ExposureTime, 0.5);
    EXPECT_EQ(TakeBusLog(), "reg 5 0x0000; reg 3 0x0100; reg 3 0x1100; reg 5 0x1170; "
                            "reg 6 0x0001; reg 3 0x0100; reg 5 0xC350; reg 6 0x0000; "
                            "reg 12 0x2000; reg 11 0x0002; " +
                                Lines("0x0007") + // 4 + 3
                                "; dma 0x10000; count 20; start 0x80000100; address 0xFFE2");
    EXPECT_EQ(record.Registers[3], 0x0100);
    EXPECT_EQ(record.Registers[12], 0x2000);
    EXPECT_EQ(record.Registers[11], 0x0002);
}

TEST_F(ArmedFrame, ArmingStoresTheExposureAndNothingElseOnOthers)
{
    for (const int32_t platform : {24, 30, 40, 42, 44, 80}) {
        Open(platform);
        ArmAcquisition(0.25, 0);
        EXPECT_EQ(record.ExposureTime, 0.25);
        EXPECT_EQ(TakeBusLog(), "") << platform;
    }
}

TEST_F(ArmedFrame, StartOf47ChoosesItsSourceAndKeepsTheShadow)
{
    Open(47);
    StartAcquisition(1, 0);
    EXPECT_EQ(TakeBusLog(), "reg 0 0x0880; reg 0 0x001C; reset link");
    StartAcquisition(0, 0);
    EXPECT_EQ(TakeBusLog(), "reg 0 0x0880; reg 0 0x0010; reset link");
    EXPECT_EQ(record.Registers[0], 0);
}

// As many lines as a line has pixels, and three; (8 x 4 + 8 x 3) / 2 words.
TEST_F(ArmedFrame, SoftwareStartLeavesTheExposureToOthersWhereToldTo)
{
    for (const int32_t platform : {24, 42, 44}) {
        Open(platform, OptionExternalExposure);
        record.ExposureTime = 0.2;
        StartAcquisition(1, 0);
        EXPECT_EQ(TakeBusLog(), Lines("0x000B") +
                                    "; dma 0x10000; count 28; start 0x80000100; "
                                    "address 0xFFE2; reg 0 0x0800; reg 0 0x0040; reset link")
            << platform;
    }
}

TEST_F(ArmedFrame, SoftwareStartExposesFirst)
{
    Open(44);
    record.ExposureTime = 0.02; // 2000 counts
    StartAcquisition(1, 0);
    const std::string log = TakeBusLog();
    EXPECT_EQ(log.find("reg 5 0x07D0; reg 6 0x0000; sleep 20; sleep 7; reg 0 0x0020"), 0u) << log;
}

TEST_F(ArmedFrame, ExternalStartWaitsForBothEdgesOfThePulse)
{
    Open(42);
    record.ExposureTime = 0.02;
    EmuSchedule(EmuMicroseconds() + 5000, Trigger, 0x1000);
    EmuSchedule(EmuMicroseconds() + 8000, Trigger, 0);
    const uint64_t start = EmuMicroseconds();
    StartAcquisition(0, 0);
    EXPECT_GE(EmuMicroseconds() - start, 8000u + 27000u);
    const std::string log = TakeBusLog();
    EXPECT_EQ(log.find("reg 0 0x0010; sleep 20; sleep 7; reg 0 0x0030; reg 0 0x0010; reg 2"), 0u)
        << log;
    EXPECT_EQ(record.Registers[0], 0x10);
}

// One line of dummies above, and four words.
TEST_F(ArmedFrame, ImageIsTheWholeSensorWhateverTheWindow)
{
    Open(42);
    record.WindowDimX = 2;
    record.WindowDimY = 2;
    record.Registers[0] = 0x1FF;
    GetImage(image.data(), 0);
    for (size_t i = 0; i < Pixels; ++i) EXPECT_EQ(image[i], 12 + i);
    EXPECT_EQ(image[Pixels], Untouched);
    EXPECT_EQ(record.Registers[0], 0xEF);
    EXPECT_EQ(TakeBusLog(), "control 0x00E4; reg 0 0x00EF");
}

TEST_F(ArmedFrame, ImageOf47PutsItsLinesBack)
{
    Open(47);
    record.Registers[12] = 0x2400;
    record.Registers[11] = 0x0016;
    GetImage(image.data(), 0);
    EXPECT_EQ(image[0], 12);
    EXPECT_EQ(TakeBusLog(), "control 0x00E4; reg 0 0x0000; reg 12 0x0400; reg 11 0x0014");
}

TEST_F(ArmedFrame, ImageEndsWhereTheLockedBufferDoes)
{
    Open(42, 0, 20);
    GetImage(image.data(), 0);
    for (size_t i = 0; i < 8; ++i) EXPECT_EQ(image[i], 12 + i);
    EXPECT_EQ(image[8], Untouched);
}

TEST_F(ArmedFrame, ImageWithoutABufferOnlyEndsTheFrame)
{
    Open(42);
    GetImage(nullptr, 0);
    EXPECT_EQ(TakeBusLog(), "control 0x00E4; reg 0 0x0000");
}

TEST_F(ArmedFrame, FlushStopsTheCard)
{
    Open(30);
    record.Registers[0] = 0x0004;
    FlushAcquisition(0);
    EXPECT_EQ(TakeBusLog(), "count 0; control 0x00E4; reg 0 0x0004");
}

TEST_F(ArmedFrame, OtherPlatformsDoNothing)
{
    for (const int32_t platform : {22, 25, 28, 40, 71, 80}) {
        Open(platform);
        StartAcquisition(1, 0);
        StartAcquisition(0, 0);
        GetImage(image.data(), 0);
        FlushAcquisition(0);
        EXPECT_EQ(TakeBusLog(), "") << platform;
        EXPECT_EQ(image[0], Untouched);
    }
}
