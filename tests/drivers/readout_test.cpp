// Frames and windows in the three forms. The stream's word n is n; the sensor is 8 by
// 4 with three dummy lines: lines 2 to 5 of seven are the image, and a whole frame
// begins at word 12.
#include <numeric>

#include "core/flags.h"
#include "core/options.h"
#include "core/record.h"
#include "drivers/bus/bus_camera.h"
#include "emulator/emulator.h"
#include "tests/support/fake_bus.h"

namespace {

constexpr uint16_t Untouched = 0xAAAA;
constexpr int32_t Width = 8, Height = 4;

class BusReadout : public FakeBusTest {
protected:
    std::vector<uint16_t> frame = std::vector<uint16_t>(Width * Height + 8, Untouched);

    // With the words that come: `lead`, then 0, 1, 2 ...
    void Open(uint32_t options)
    {
        OpenFakeBus(42, 255, options, 2);
        CameraTable[0].Ccd.Dummy[0] = 3;
        PlugFakeCard(512);
        Bus.stream.resize(512);
        std::iota(Bus.stream.begin(), Bus.stream.end(), uint16_t{0});
        Bus.words = Bus.stream;
        Bus.words.insert(Bus.words.begin(), 999); // dropped
        Bus.control = 0xFC;
    }

    int32_t Read(int32_t height = Height)
    {
        return CameraTable[0].Ops.ReadFrame(0, Width, height, frame.data(), 0);
    }

    int32_t ReadWindow(int32_t y, int32_t width, int32_t height)
    {
        return CameraTable[0].Ops.ReadWindow(0, 0, y, width, height, frame.data(), 0);
    }

    // `count` pixels from `at` on are first, first + 1 ...
    void ExpectRun(size_t at, size_t count, uint16_t first)
    {
        for (size_t i = 0; i < count; ++i) EXPECT_EQ(frame[at + i], first + i) << at + i;
    }
    void ExpectUntouched(size_t from)
    {
        for (size_t i = from; i < frame.size(); ++i) EXPECT_EQ(frame[i], Untouched) << i;
    }
};

std::string Sequence(const char* page, const char* repeat, const char* end)
{
    return std::string("reg 0 0x0020; reg 0 0x0000; reg 2 ") + page + "; reg 0 0x0080; address " +
           repeat + "; sleep 2; reg 0 0x0000; address " + end +
           "; sleep 2; reg 0 0x0100; reg 0 0x0000";
}

const char StreamOn[] = "address 0xFFE2; reg 0 0x0800; reg 0 0x0040; ";

// Bit operations of a frame: which repeat counts went out.
std::vector<std::string> Repeats()
{
    std::vector<std::string> repeats;
    for (size_t i = 1; i < Bus.log.size(); ++i) {
        if (Bus.log[i - 1] == "reg 0 0x0080") repeats.push_back(Bus.log[i]);
    }
    return repeats;
}

} // namespace

TEST_F(BusReadout, WholeFrameComesInOneTransfer)
{
    Open(OptionCardDma);
    EXPECT_EQ(Read(), 0);
    ExpectRun(0, 32, 12);
    ExpectUntouched(32);
    EXPECT_EQ(TakeBusLog(), "progress Image downloading 0; " +
                                Sequence("0x0004", "0x0007", "0x0028") +
                                "; dma 0x10000; count 28; start 0x80000100; " + StreamOn +
                                "reset link; progress - 100; progress - 100; control 0x00E4; "
                                "reg 0 0x0000");
}

// 28 words by sevens: 25, 50, 75, 100 percent.
TEST_F(BusReadout, WholeFrameReportsWhatHasCome)
{
    Open(OptionCardDma);
    Bus.dmaStep = 7;
    EXPECT_EQ(Read(), 0);
    EXPECT_NE(TakeBusLog().find("reset link; progress - 25; progress - 50; progress - 75; "
                                "progress - 100; progress - 100; control"),
              std::string::npos);
}

// 18 of 28 words come: pixels up to word 35 of the stream.
TEST_F(BusReadout, StalledTransferGivesWhatHasComeAndEndsTheRead)
{
    Open(OptionCardDma);
    Bus.dmaStall = 10;
    const uint64_t start = EmuMicroseconds();
    EXPECT_EQ(Read(), 2);
    ExpectRun(0, 24, 12);
    for (size_t i = 24; i < 32; ++i) EXPECT_EQ(frame[i], 0);
    ExpectUntouched(32);
    EXPECT_GE(EmuMicroseconds() - start, 1000000u);
    EXPECT_LT(EmuMicroseconds() - start, 1100000u);
    const std::string log = TakeBusLog();
    EXPECT_NE(log.find("progress - 64; progress - 100; control 0x00E4; reg 0 0x0000"),
              std::string::npos);
}

// The line behind the first one covers its last six pixels.
TEST_F(BusReadout, LinesByDmaOverlapTheFirst)
{
    Open(0);
    EXPECT_EQ(Read(), 0);
    ExpectRun(0, 2, 16);
    ExpectRun(2, 8, 24);
    ExpectRun(10, 8, 32);
    ExpectRun(18, 8, 40);
    ExpectUntouched(26);
    std::string wanted = "progress Image downloading 0; " + Sequence("0x0004", "0x0007", "0x0028") +
                         "; dma 0x10000; count 4; start 0x80000100; " + StreamOn + "reset link";
    for (int32_t line = 1; line < 7; ++line) wanted += "; dma 0x10000; count 4; start 0x80000100";
    EXPECT_EQ(TakeBusLog(), wanted + "; progress - 100; control 0x00E4; reg 0 0x0000");
}

TEST_F(BusReadout, LineThatDoesNotComeEndsTheReadAfterTwoSeconds)
{
    Open(0);
    Bus.dmaStall = 1;
    const uint64_t start = EmuMicroseconds();
    EXPECT_EQ(Read(), 2);
    ExpectUntouched(0);
    EXPECT_GE(EmuMicroseconds() - start, 2000000u);
    EXPECT_LT(EmuMicroseconds() - start, 2500000u);
    const std::string log = TakeBusLog();
    EXPECT_EQ(log.substr(log.rfind("reset link")),
              "reset link; progress - 100; control 0x00E4; reg 0 0x0000");
}

TEST_F(BusReadout, PixelsAreReadOneByOneBehindADroppedWord)
{
    Open(OptionCardDma);
    EXPECT_EQ(CameraTable[0].Ops.ReadTimed(0, Width, Height, frame.data(), 0), 0);
    ExpectRun(0, 32, 16);
    ExpectUntouched(32);
    EXPECT_EQ(TakeBusLog(), "progress Image downloading 0; " +
                                Sequence("0x0004", "0x0007", "0x0028") + "; " + StreamOn +
                                "reset link; progress - 100; control 0x00E4; reg 0 0x0000");
}

// Line 3 has come by six pixels.
TEST_F(BusReadout, PixelThatDoesNotComeEndsTheFrame)
{
    Open(0);
    Bus.readyWords = 30;
    EXPECT_EQ(CameraTable[0].Ops.ReadTimed(0, Width, Height, frame.data(), 0), 2);
    ExpectRun(0, 14, 16);
    ExpectUntouched(14);
    const std::string log = TakeBusLog();
    EXPECT_EQ(log.substr(log.rfind("reset link")),
              "reset link; progress - 100; control 0x00E4; reg 0 0x0000");
}

// Lines up to and with number 0 are dropped, and no more than four come.
TEST_F(BusReadout, WithoutDummyLinesTheLineFormsLoseTheLastLine)
{
    Open(0);
    CameraTable[0].Ccd.Dummy[0] = 0;
    EXPECT_EQ(CameraTable[0].Ops.ReadTimed(0, Width, Height, frame.data(), 0), 0);
    ExpectRun(0, 24, 8);
    ExpectUntouched(24);
}

TEST_F(BusReadout, BinningChoosesTheDummyLines)
{
    Open(OptionCardDma);
    CameraTable[0].VerBinning = 4;
    EXPECT_EQ(Read(1), 0);
    ExpectRun(0, 8, 20); // two lines of 8 and 4 words
    EXPECT_EQ(Repeats(), std::vector<std::string>{"address 0x0005"});
    CameraTable[0].VerBinning = 5;
    Bus.log.clear();
    EXPECT_EQ(Read(1), 0);
    EXPECT_EQ(Repeats(), std::vector<std::string>{"address 0x0002"});
}

TEST_F(BusReadout, SerialLinkIsToldTheLineAndSwitchedToTheStream)
{
    Open(OptionCardDma);
    CameraTable[0].SerialLink = 1;
    CameraTable[0].SerialLinkAcknowledged = 1;
    Bus.control = 0x20664;
    EXPECT_EQ(Read(), 0);
    EXPECT_NE(TakeBusLog().find(std::string(StreamOn) +
                                "control 0x20672; sleep 2; operand 0x0023; control 0x20668; "
                                "progress - 100; progress - 100; control 0x20642"),
              std::string::npos);
}

TEST_F(BusReadout, SerialLinkIsToldEachLine)
{
    Open(0);
    CameraTable[0].SerialLink = 1;
    CameraTable[0].SerialLinkAcknowledged = 1;
    Bus.control = 0x20664;
    EXPECT_EQ(Read(), 0);
    std::string wanted = "control 0x20668";
    for (int32_t line = 1; line < 7; ++line) {
        wanted += "; dma 0x10000; count 4; start 0x80000100; operand 0x0023; control 0x20668";
    }
    EXPECT_NE(TakeBusLog().find("sleep 2; operand 0x0023; " + wanted + "; progress - 100"),
              std::string::npos);
}

// The transfer begins four words ahead of what is copied: the last four pixels are
// not part of it.
TEST_F(BusReadout, WindowByDmaSkipsHalfTheDummyLines)
{
    Open(OptionCardDma);
    CameraTable[0].VerBinning = 3; // three dummy lines
    EXPECT_EQ(ReadWindow(5, Width, 2), 0);
    ExpectRun(0, 12, 4);
    for (size_t i = 12; i < 16; ++i) EXPECT_EQ(frame[i], 0);
    ExpectUntouched(16);
    const std::vector<std::string> wanted = {"address 0x0010", "address 0x001C", "address 0x0002"};
    EXPECT_EQ(Repeats(), wanted);
}

TEST_F(BusReadout, WindowByLinesKeepsThemAll)
{
    Open(0);
    EXPECT_EQ(ReadWindow(0, Width, 3), 0);
    ExpectRun(0, 2, 0);
    ExpectRun(2, 8, 8);
    ExpectRun(10, 8, 16);
    ExpectUntouched(18);
}

TEST_F(BusReadout, WindowByPixelsSkipsAllDummyLines)
{
    Open(0);
    CameraTable[0].VerBinning = 3;
    EXPECT_EQ(ReadBusWindow(PixelForm, 0, 5, Width, 2, frame.data(), 0), 0);
    ExpectRun(0, 16, 0);
    ExpectUntouched(16);
    const std::vector<std::string> wanted = {"address 0x0012", "address 0x001C", "address 0x0002"};
    EXPECT_EQ(Repeats(), wanted);
}

TEST_F(BusReadout, WindowAboveFourfoldBinningSkipsNoDummyLine)
{
    Open(OptionCardDma);
    CameraTable[0].VerBinning = 5;
    EXPECT_EQ(ReadWindow(3, Width, 1), 0);
    const std::vector<std::string> wanted = {"address 0x000F", "address 0x001C", "address 0x0001"};
    EXPECT_EQ(Repeats(), wanted);
}

TEST_F(BusReadout, NarrowLinesNeverMoveBackwards)
{
    Open(0);
    EXPECT_EQ(ReadWindow(0, 4, 3), 0);
    ExpectRun(0, 4, 4); // the second line over the first
    ExpectRun(4, 4, 8);
    ExpectUntouched(8);
}

TEST_F(BusReadout, OddPixelOfATransferStaysBehind)
{
    Open(OptionCardDma);
    EXPECT_EQ(ReadWindow(0, 3, 3), 0);
    EXPECT_NE(TakeBusLog().find("count 4;"), std::string::npos);
    ExpectRun(0, 4, 4); // words 0 to 7 came
    for (size_t i = 4; i < 9; ++i) EXPECT_EQ(frame[i], 0);
}

TEST_F(BusReadout, SilentCameraReportsNothing)
{
    Open(OptionCardDma | OptionSilent);
    EXPECT_EQ(Read(), 0);
    EXPECT_EQ(TakeBusLog().find("progress"), std::string::npos);
}

TEST_F(BusReadout, LinesAreReportedAtEverySixtyFourth)
{
    Open(OptionPriority);
    frame.assign(2 * 130, 0);
    CameraTable[0].Ops.ReadTimed(0, 2, 130, frame.data(), 0);
    const std::string log = TakeBusLog();
    EXPECT_NE(log.find("reset link; progress - 49; progress - 98; progress - 100"),
              std::string::npos);
}

TEST_F(BusReadout, KeptCleanSensorIsClearedAheadOfTheExposure)
{
    Open(OptionCardDma | OptionKeepClean);
    EXPECT_EQ(Read(), 0);
    const std::vector<std::string> wanted = {"address 0x0007", "address 0x001C", "address 0x001C",
                                             "address 0x0007"};
    EXPECT_EQ(Repeats(), wanted);
}

TEST_F(BusReadout, BreakFromBeforePassesOverTheTrigger)
{
    Open(OptionCardDma | OptionExternalTrigger);
    StoreFlag(&CameraTable[0].BreakFlag, int8_t{1});
    EXPECT_EQ(Read(), 0); // without the break it would wait for good
    Bus.status7 = 0x2000;
    EXPECT_EQ(Read(), 0);
}

TEST_F(BusReadout, LightFrameStartsTheExposureCounter)
{
    Open(OptionCardDma);
    CameraTable[0].ExposureTime = 0.1;
    CameraTable[0].Ops.ReadFrame(1, Width, Height, frame.data(), 0);
    EXPECT_EQ(TakeBusLog().rfind("reg 6 0x0000; reg 5 0x0009; sleep 100; progress Image", 0), 0u);
}

TEST_F(BusReadout, CameraOfAnArrayIsOnlyRead)
{
    Open(OptionKeepClean | OptionExternalTrigger);
    EXPECT_EQ(CameraTable[0].Ops.ReadArray(1, Width, Height, frame.data(), 0), 0);
    ExpectRun(0, 32, 16);
    EXPECT_EQ(TakeBusLog(), "progress Image downloading 0; " +
                                Sequence("0x0004", "0x0007", "0x0028") + "; " + StreamOn +
                                "reset link; progress - 100; control 0x00E4; reg 0 0x0000");
}

TEST_F(BusReadout, FamilysOwnStepsStandAroundTheLines)
{
    Open(OptionCardDma);
    DriverExtras extras;
    extras.BeforeLines = [](int32_t camera) { WriteRegisterWith(8, 0x8000, camera); };
    extras.AfterRead = [](int32_t camera) { WriteShadow(8, camera); };
    CameraTable[0].Extras = &extras;
    EXPECT_EQ(ReadBusFrame(WholeFrameForm, 0, Width, Height, frame.data(), 0), 0);
    const std::string log = TakeBusLog();
    EXPECT_NE(log.find("downloading 0; reg 8 0x8000; reg 0 0x0020"), std::string::npos);
    EXPECT_EQ(log.substr(log.size() - 26), "reg 0 0x0000; reg 8 0x0000");
    CameraTable[0].Extras = nullptr;
}

TEST_F(BusReadout, BufferThatCannotGrowIsAnErrorAndNothingIsMoved)
{
    Open(OptionCardDma);
    PlugFakeCard(16);
    EXPECT_EQ(Read(), 9);
    ExpectUntouched(0);
    EXPECT_EQ(TakeBusLog(), "");
}

TEST_F(BusReadout, BufferThatCannotGrowForAWindowIsAnErrorToo)
{
    Open(OptionCardDma);
    PlugFakeCard(4);
    EXPECT_EQ(ReadWindow(1, 6, 2), 9);
    ExpectUntouched(0);
    EXPECT_EQ(TakeBusLog(), "");
}

TEST_F(BusReadout, SizesBelowZeroReadNothing)
{
    for (uint32_t options : {0u, uint32_t{OptionCardDma}}) {
        Open(options);
        EXPECT_EQ(ReadWindow(-5, -8, -1), 0);
        EXPECT_EQ(CameraTable[0].Ops.ReadFrame(0, -8, -4, frame.data(), 0), 0);
        EXPECT_EQ(CameraTable[0].Ops.ReadTimed(0, 8, INT32_MIN, frame.data(), 0), 0);
        ExpectUntouched(0);
    }
}
