// HERON_Plus on a pipe that writes everything down. The sensor is 8 by 4 with a dummy line;
// the stream's word n is n.
#include "drivers/heron_plus.h"

#include <algorithm>

#include "core/flags.h"
#include "core/options.h"
#include "core/record.h"
#include "emulator/emulator.h"
#include "include/qvn.h"
#include "tests/support/byte_camera.h"

namespace {

constexpr uint16_t Untouched = 0xAAAA;
constexpr int32_t Width = 8, Height = 4;

class HeronPlus : public FakeUsbTest {
protected:
    std::vector<uint16_t> frame = std::vector<uint16_t>(Width * Height + 8, Untouched);
    CameraRecord& record = CameraTable[UsbCamera];

    void SetUp() override
    {
        FakeUsbTest::SetUp();
        HeronPlusReadings = {};
        Prepare(255, 0);
        AnswerUsb("80 0F 40", {47});
    }

    void Prepare(int32_t sensor, uint32_t options)
    {
        PrepareFakeUsb(61, sensor, options);
        record.TemperatureSpan[UsbCamera] = 1.0;
    }

    static void Stream(size_t words)
    {
        for (size_t n = 0; n < words; ++n) {
            Usb.queue.push_back(static_cast<uint8_t>(n));
            Usb.queue.push_back(static_cast<uint8_t>(n >> 8));
        }
    }

    void ExpectPixels(std::vector<uint16_t> pixels)
    {
        pixels.resize(frame.size(), Untouched);
        EXPECT_EQ(frame, pixels);
    }

    int32_t ReadFrame(int32_t shutter)
    {
        return record.Ops.ReadFrame(shutter, Width, Height, frame.data(), UsbCamera);
    }

    double Temperature(uint16_t value)
    {
        AnswerUsb("80 01 40", {static_cast<uint8_t>(value)});
        // The upper four bits belong to something else.
        AnswerUsb("80 02 40", {static_cast<uint8_t>(0xF0 | value >> 8)});
        EXPECT_EQ(record.Ops.ReadTemperature(UsbCamera), 0);
        return record.CurrentTemperature;
    }
};

// Two counts of a section, 10 ms each. Numbers in decimal: 140 is 8C, 76 is 4C.
std::string Loaded(const char* page, const char* repeat, const char* end)
{
    return std::string("usb > 90 8C 8E ") + page + " 8C " + repeat +
           " 8D 00 91 00; sleep 10; usb > 8C " + end + " 8D 00 92 00; sleep 10; ";
}

const char Played[] = "usb > 90 BC 90 8C; sleep 1; ";
// The counter gets 0 units to settle and 1 of exposure: 10 microseconds.
const char NoExposure[] = "usb > 97 00 98 00 99 00 9A 00 82 01 83 00 84 00 85 00; "
                          "progress Image downloading 0; ";
const char ReadEnd[] = "usb > 90 0C; usb > 86 00; progress - 100";

std::string LinesRead(int count, int bytes)
{
    std::string text;
    const std::string number = std::to_string(bytes);
    while (count-- > 0) text += "usb < " + number + " of " + number + "; ";
    return text;
}

} // namespace

// --- opening ---

// 40 MHz of 1.5 microseconds / 2 - 1 is 29. 88, 64 and 256 in the front end. 1000 units of
// 10 microseconds both to settle and to expose.
TEST_F(HeronPlus, OpenProgramsTheCamera)
{
    EXPECT_EQ(OpenFakeUsb(), 0);
    EXPECT_EQ(TakeUsbLog(),
              "usb list 1; usb open 3; usb latency 2; usb sizes 65536 65536; "
              "usb timeouts 5000 1000; usb purge 3; sleep 20; usb > 80 0F 40; usb < 1 of 1; "
              "usb > 80 0F 40; usb < 1 of 1; usb > 86 00; usb > " +
                  Flagged(DrivePairs("1000000000000")) +
                  "; usb > 9B 00; usb > 8B 1D; sleep 10; usb > 9D FF; usb > 9E FF; usb > 95 C0; "
                  "usb > " +
                  Flagged(FrontEndPairs("000000001011000")) + "; usb > " +
                  Flagged(FrontEndPairs("001000001000000")) + "; usb > " +
                  Flagged(FrontEndPairs("101000100000000")) +
                  "; usb > 86 00; usb > 97 E8 98 03 99 00 9A 00 82 E8 83 03 84 00 85 00");
    EXPECT_EQ(record.WordPeriodNs, 1500);
    EXPECT_EQ(record.LineSkew, 3);
    EXPECT_EQ(record.FanLevel, 4095);
}

TEST_F(HeronPlus, AttachKeepsCoolerAndFanAndDoesNotReset)
{
    AnswerUsb("80 0F 40", {48});
    record.Platform.FpgaId = 48;
    EXPECT_EQ(OpenFakeUsb(1), 0);
    const std::string log = TakeUsbLog();
    EXPECT_NE(log.find("sleep 20; usb > 80 0F 40; usb < 1 of 1; usb > 86 80; usb > " +
                       Flagged(DrivePairs("1111111111111")) + "; usb > 9B 00"),
              std::string::npos)
        << log;
    EXPECT_NE(log.find("usb > 86 80; usb > 97 E8"), std::string::npos) << log;
}

TEST_F(HeronPlus, Sensor279HasItsOwnValueInRegister21)
{
    Prepare(279, 0);
    EXPECT_EQ(OpenFakeUsb(), 0);
    EXPECT_NE(TakeUsbLog().find("usb > 9E FF; usb > 95 C8; "), std::string::npos);
}

// 2 of 0.1 microseconds / 2 - 1 is below 0; 1.5 of 40 / 2 - 1 is 29; 30 of 40 / 2 - 1 is 599.
TEST_F(HeronPlus, DividerIsAByteOfAtLeast1)
{
    record.Platform.TimeBase = 2.0;
    record.Platform.SamplingClock[0] = 0.1;
    OpenFakeUsb();
    EXPECT_NE(TakeUsbLog().find("usb > 8B 02; "), std::string::npos);
    record.Platform.TimeBase = 4.0;
    record.Platform.SamplingClock[0] = 1.4; // 1.8, cut
    OpenFakeUsb();
    EXPECT_NE(TakeUsbLog().find("usb > 8B 01; "), std::string::npos);
    record.Platform.TimeBase = 40.0;
    record.Platform.SamplingClock[0] = 30.0;
    OpenFakeUsb();
    EXPECT_NE(TakeUsbLog().find("usb > 8B FF; "), std::string::npos);
}

TEST_F(HeronPlus, WrongStatusResetsTheDeviceAtMostTwice)
{
    const std::string reset = "usb > 80 0F 40; usb < 1 of 1; usb reset; sleep 20; ";
    const std::string look = "usb > 80 0F 40; usb < 1 of 1; ";
    Usb.answers["80 0F 40"] = {{1}, {47}};
    EXPECT_EQ(OpenFakeUsb(), 0);
    EXPECT_NE(TakeUsbLog().find("sleep 20; " + reset + look + look + "usb > 86 00"),
              std::string::npos);
    Usb.answers["80 0F 40"] = {{1}, {2}, {47}};
    EXPECT_EQ(OpenFakeUsb(), 0);
    EXPECT_NE(TakeUsbLog().find("sleep 20; " + reset + reset + look + "usb > 86 00"),
              std::string::npos);
}

// The device is asked for 47, the camera for the version of its definition.
TEST_F(HeronPlus, VersionIsThatOfTheDefinition)
{
    record.Platform.FpgaId = 61;
    EXPECT_EQ(OpenFakeUsb(), 1);
    EXPECT_EQ(Usb.log.back(), "usb close");
    EXPECT_EQ(record.UsbHandle, 0u);
    AnswerUsb("80 0F 40", {61});
    EXPECT_EQ(OpenFakeUsb(), 0);
}

TEST_F(HeronPlus, SilentDeviceIsNotFound)
{
    Usb.answers.clear();
    EXPECT_EQ(OpenFakeUsb(), 1);
    EXPECT_EQ(Usb.log.back(), "usb close");
}

TEST_F(HeronPlus, DeviceThatCannotBeOpenedIsClosedAllTheSame)
{
    Usb.failing = {"open"};
    EXPECT_EQ(OpenFakeUsb(), 18);
    EXPECT_EQ(TakeUsbLog(), "usb list 1; usb open 3 fails; usb close 0");
    Usb.failing = {"list"};
    EXPECT_EQ(OpenFakeUsb(), 17);
}

// Without camera.cfg both are 1.0.
TEST_F(HeronPlus, CalibrationComesFromTheConfigurationFile)
{
    QV_SetPathName("/nowhere/");
    record.TemperatureSpan[UsbCamera] = 7.0;
    record.TemperatureOffset[UsbCamera] = 7.0;
    OpenFakeUsb();
    EXPECT_EQ(record.TemperatureSpan[UsbCamera], 1.0);
    EXPECT_EQ(record.TemperatureOffset[UsbCamera], 1.0);
}

TEST_F(HeronPlus, CloseClosesTheDevice)
{
    FindPlatformBinding(61)->closeUsb(UsbCamera);
    EXPECT_EQ(TakeUsbLog(), "usb close");
    EXPECT_EQ(record.UsbHandle, 0u);
}

// --- cooler, fan, gain ---

TEST_F(HeronPlus, CoolerDriveHasTwelveBits)
{
    for (const int32_t permille : {500, 1000, 0, 5000, -1}) {
        record.Ops.SetCoolerPower(permille, UsbCamera);
    }
    EXPECT_EQ(TakeUsbWrites(), Flagged(DrivePairs("0100000000000")) + "; " + // 2048
                                   Flagged(DrivePairs("0111111111111")) + "; " +
                                   Flagged(DrivePairs("0000000000000")) + "; " +
                                   Flagged(DrivePairs("0111111111111")) + "; " +
                                   Flagged(DrivePairs("0000000000000")));
}

TEST_F(HeronPlus, ConverterKeepsTheOtherBitsOfItsRegisters)
{
    record.Registers[7] = 0x03;
    record.Registers[28] = 0x50;
    record.Registers[1] = 0x20;
    record.Ops.SetCoolerPower(0, UsbCamera);
    EXPECT_EQ(TakeUsbWrites(),
              Flagged("07 13 " + SerialPairs("0000000000000", 0x50) + " 01 28 01 20 1C 50 07 03"));
}

TEST_F(HeronPlus, CoolerTakesTheFanAlong)
{
    record.FanLevel = 0x801;
    record.Ops.SetCooler(1, UsbCamera);
    EXPECT_EQ(TakeUsbWrites(), "86 80; " + Flagged(DrivePairs("1100000000001")));
    EXPECT_EQ(record.Registers[6], 0x80);
    record.Ops.SetCooler(0, UsbCamera);
    EXPECT_EQ(TakeUsbWrites(), "86 00; " + Flagged(DrivePairs("1000000000000")));
    EXPECT_EQ(record.FanLevel, 0x801);
}

// 40.95 for a percent: 2047.5 is cut. The converter ends at 4095.
TEST_F(HeronPlus, FanSpeedGoesToTheSecondChannel)
{
    QV_SetFanSpeed(50.0, UsbCamera);
    EXPECT_EQ(record.FanLevel, 2047);
    EXPECT_EQ(TakeUsbWrites(), Flagged(DrivePairs("1011111111111")));
    QV_SetFanSpeed(200.0, UsbCamera);
    EXPECT_EQ(record.FanLevel, 8190);
    EXPECT_EQ(TakeUsbWrites(), Flagged(DrivePairs("1111111111111")));
}

// Word 2, 38: the strobe (4) is on with every bit, bits 4 to 6 of the register stay.
TEST_F(HeronPlus, GainIsAWordOfTheFrontEnd)
{
    record.Registers[28] = 0xD8;
    EXPECT_EQ(QV_SetGain(1, UsbCamera), 0);
    EXPECT_EQ(TakeUsbWrites(), Flagged(FrontEndPairs("010000000100110", 0xD8)));
    EXPECT_EQ(record.LoadedGain, 1);
}

// 511 - 200 is 311; 88 without high range.
TEST_F(HeronPlus, UserGainGoesToThreeWords)
{
    QV_SetUsrGain(63, 0, 200, UsbCamera);
    EXPECT_EQ(TakeUsbWrites(), Flagged(FrontEndPairs("010000000111111")) + "; " +
                                   Flagged(FrontEndPairs("101000100110111")) + "; " +
                                   Flagged(FrontEndPairs("000000001011000")));
    QV_SetUsrGain(0, 1, 256, UsbCamera);
    EXPECT_EQ(TakeUsbWrites(), Flagged(FrontEndPairs("010000000000000")) + "; " +
                                   Flagged(FrontEndPairs("101000000000000")) + "; " +
                                   Flagged(FrontEndPairs("000000011011000")));
}

// --- temperature ---

// 3500 * 0.6103515625 / 7.87 is 271.43970.
TEST_F(HeronPlus, TemperatureTakesAConversion)
{
    EXPECT_NEAR(Temperature(3500), -1.7103, 0.0001);
    EXPECT_EQ(TakeUsbLog(),
              "usb > 87 10 81 04 81 04 81 00 81 00 81 01 81 01 81 00 81 00; sleep 2; "
              "usb > 80 01 40; usb < 1 of 1; usb > 80 02 40; usb < 1 of 1; usb > 87 00; "
              "usb > 80 0C");
}

// The camera would leave the stream with the conversion, and is told to go on with it.
TEST_F(HeronPlus, TemperatureDuringAReadGoesBackToIt)
{
    record.ReadingFrame = 1;
    record.Registers[7] = 0x80;
    Temperature(3500);
    EXPECT_EQ(TakeUsbLog(),
              "usb > 90 0C 87 90 81 04 81 04 81 00 81 00 81 01 81 01 81 00 81 00; sleep 2; "
              "usb > 80 01 40; usb < 1 of 1; usb > 80 02 40; usb < 1 of 1; usb > 87 80; "
              "usb > 80 0C; usb > 90 4C");
}

// What comes back from eight readings on is the middle of the ring's places 3 and 4,
// whatever their size: (100 + 3001) / 2 is 1550, cut; 1550 * 0.6103515625 / 7.87 = 120.2090.
// Up to then it is the reading itself.
TEST_F(HeronPlus, FullRingGivesTheReadingsInItsMiddlePlaces)
{
    record.TemperatureOffset[UsbCamera] = 1.0;
    record.TemperatureSpan[UsbCamera] = 2.0;
    const uint16_t readings[] = {5, 4000, 6, 100, 3001, 7, 8};
    for (const uint16_t reading : readings) {
        const double kelvin = reading * 0.6103515625 / 7.87;
        EXPECT_NEAR(Temperature(reading), (kelvin - 273.15 + 1.0) * 2.0, 0.0001);
    }
    EXPECT_NEAR(Temperature(9), (120.2090 - 273.15 + 1.0) * 2.0, 0.0002);
    // Place 0 is next, and does not matter.
    EXPECT_NEAR(Temperature(4095), (120.2090 - 273.15 + 1.0) * 2.0, 0.0002);
}

// --- sequencer ---

// 20 * 1500 ns * 300 is 9 ms. 300 is 012C.
TEST_F(HeronPlus, ClearRunsRowsAndRegister)
{
    record.WordPeriodNs = 1500;
    record.Ccd.Ypix = 298;
    record.Ccd.Dummy[0] = 2;
    const std::string flush = Loaded("03", "1C", "1E") + "usb > 90 BC 90 8C; sleep 2";
    record.Ops.ClearSensor(UsbCamera);
    EXPECT_EQ(TakeUsbLog(), "usb > 90 8C 8E 02 8C 2C 8D 01 91 00; sleep 10; "
                            "usb > 8C 14 8D 00 92 00; sleep 10; usb > 90 BC 90 8C; sleep 10; " +
                                flush + "; " + flush);
}

// --- exposure ---

// 70 ms are 7000 units: 1B58; 1.5 s are 150000: 000249F0.
TEST_F(HeronPlus, ExposureFollowsTheSettlingTime)
{
    record.Config.ShutterHisteresys = 70;
    record.Ops.SetShutter(1.5, UsbCamera);
    EXPECT_EQ(TakeUsbLog(), "usb > 97 58 98 1B 99 00 9A 00 82 F0 83 49 84 02 85 00");
    record.Ops.SetShutter(0.0, UsbCamera);
    EXPECT_EQ(TakeUsbLog(), "usb > 97 58 98 1B 99 00 9A 00 82 01 83 00 84 00 85 00");
}

// --- reads ---

// Five lines are armed ahead of the exposure. The first is dropped; the second kept one
// covers the last three pixels of the first.
TEST_F(HeronPlus, FrameIsArmedAheadOfTheExposure)
{
    record.LineSkew = 3;
    Stream(40);
    EXPECT_EQ(ReadFrame(0), 0);
    EXPECT_EQ(TakeUsbLog(), "usb > 80 0C; " + Loaded("04", "05", "28") +
                                "usb > 90 4C; usb > 86 00; " + NoExposure + LinesRead(5, 16) +
                                ReadEnd);
    ExpectPixels({8,  9,  10, 11, 12, 16, 17, 18, 19, 20, 21, 22, 23, 24, 25,
                  26, 27, 28, 29, 30, 31, 32, 33, 34, 35, 36, 37, 38, 39});
}

TEST_F(HeronPlus, LightFrameRaisesTheShutterLineUntilTheEnd)
{
    record.Registers[6] = 0x80;
    Stream(40);
    EXPECT_EQ(ReadFrame(1), 0);
    const std::string log = TakeUsbLog();
    EXPECT_NE(log.find("usb > 90 4C; usb > 86 84; usb > 97 "), std::string::npos) << log;
    EXPECT_NE(log.find("usb > 90 0C; usb > 86 80; progress - 100"), std::string::npos) << log;
    EXPECT_EQ(record.Registers[6], 0x80);
}

// Vertical binning 3: three dummy lines, of which lines 0 and 1 come ahead: 1 < line <= 5.
TEST_F(HeronPlus, DummyLinesAreThoseOfTheBinning)
{
    record.VerBinning = 3;
    Stream(56);
    EXPECT_EQ(ReadFrame(0), 0);
    EXPECT_NE(TakeUsbLog().find(Loaded("04", "07", "28")), std::string::npos);
    EXPECT_EQ(frame[0], 16);
    EXPECT_EQ(frame[31], 47);
}

// Above a binning of 4 it is one.
TEST_F(HeronPlus, LargeBinningHasOneDummyLine)
{
    record.VerBinning = 5;
    record.LineSkew = 0;
    Stream(40);
    EXPECT_EQ(ReadFrame(0), 0);
    EXPECT_NE(TakeUsbLog().find(Loaded("04", "05", "28")), std::string::npos);
    EXPECT_EQ(frame[0], 8);
    EXPECT_EQ(frame[31], 39);
}

TEST_F(HeronPlus, TriggerStartsTheExposureInTheCamera)
{
    StoreFlag(&record.Options, uint32_t{OptionExternalTrigger | OptionKeepClean});
    Stream(40);
    EXPECT_EQ(ReadFrame(1), 0);
    const std::string log = TakeUsbLog();
    const std::string flush = Loaded("03", "1C", "1E") + Played;
    EXPECT_EQ(log.rfind("usb > 80 0C; " + Loaded("02", "05", "14") + Played + flush + flush +
                            Loaded("04", "05", "28") + "usb > 90 4C; usb > 86 01; usb > 86 05; ",
                        0),
              0u)
        << log;
    EXPECT_NE(log.find(ReadEnd), std::string::npos) << log;
    EXPECT_EQ(record.Registers[6], 0);
}

// Rows ahead: 1 x 2 and half of the two dummy lines. All lines are the image; the second
// covers the last three pixels of the first.
TEST_F(HeronPlus, WindowIsStartedBehindTheExposure)
{
    record.VerBinning = 2;
    record.LineSkew = 3;
    Stream(12);
    EXPECT_EQ(record.Ops.ReadWindow(0, 3, 1, 4, 3, frame.data(), UsbCamera), 0);
    EXPECT_EQ(TakeUsbLog(), std::string("usb > 80 0C; usb > 86 00; ") + NoExposure +
                                Loaded("02", "03", "14") + Played + Loaded("03", "1C", "1E") +
                                Played + Loaded("04", "03", "28") + "usb > 90 BC 90 CC; " +
                                LinesRead(3, 8) + ReadEnd);
    ExpectPixels({0, 4, 5, 6, 7, 8, 9, 10, 11});
}

TEST_F(HeronPlus, NarrowWindowStaysInItsBuffer)
{
    record.LineSkew = 3;
    Stream(6);
    EXPECT_EQ(record.Ops.ReadWindow(0, 0, 0, 2, 3, frame.data() + 4, UsbCamera), 0);
    ExpectPixels({Untouched, Untouched, Untouched, Untouched, 2, 3, 4, 5});
}

TEST_F(HeronPlus, ShortLineIsALinkFailureAndResetsThePort)
{
    record.LineSkew = 0;
    Stream(20);
    EXPECT_EQ(ReadFrame(0), 2);
    const std::string log = TakeUsbLog();
    EXPECT_NE(log.find("usb < 16 of 16; usb < 16 of 16; usb < 8 of 16; usb port reset; "
                       "usb > 90 0C; usb > 86 00; progress - 100"),
              std::string::npos)
        << log;
    ExpectPixels({8, 9, 10, 11, 12, 13, 14, 15, 16, 17, 18, 19});
    EXPECT_EQ(record.ReadingFrame, 0);
}

TEST_F(HeronPlus, LongReadsReportEvery64thLine)
{
    std::vector<uint16_t> tall(2 * 130);
    Stream(2 * 131);
    EXPECT_EQ(record.Ops.ReadFrame(0, 2, 130, tall.data(), UsbCamera), 0);
    const std::string log = TakeUsbLog();
    // 6400 / 130 and 12800 / 130.
    EXPECT_NE(log.find("progress - 49; "), std::string::npos) << log;
    EXPECT_NE(log.find("progress - 98; "), std::string::npos) << log;
    EXPECT_NE(log.find("usb > 86 00; progress - 100"), std::string::npos) << log;
}

// A temperature turn inside of a long exposure must not end the armed read.
TEST_F(HeronPlus, LongExposureRegulatesInsideOfTheRead)
{
    StoreFlag(&record.Options, uint32_t{OptionRegulation});
    record.ExposureTime = 1.6;
    AnswerUsb("80 01 40", {1});
    AnswerUsb("80 02 40", {1});
    ReadFrame(0);
    const std::string log = TakeUsbLog();
    EXPECT_NE(log.find("usb > 90 0C 87 10 "), std::string::npos) << log;
    EXPECT_NE(log.find("usb > 80 0C; usb > 90 4C; progress Image"), std::string::npos) << log;
}

// --- pattern and memories ---

// Word n is 0x10 + n: an address, then the word, in one write between the modes.
TEST_F(HeronPlus, PatternGoesOutInOneWrite)
{
    const std::string path = OnePagePattern(true, 0x10);
    EXPECT_EQ(record.Ops.LoadSequencer(path.c_str(), UsbCamera), 1);
    remove(path.c_str());
    ASSERT_EQ(Usb.log.size(), 5u);
    EXPECT_EQ(Usb.log[0], "usb > 90 07");
    EXPECT_EQ(Usb.log[1], "progress Loading Sequencer 0");
    EXPECT_EQ(Usb.log[2].substr(0, 42), "usb > 8C 00 8D 00 93 10 8C 01 8D 00 93 11 ");
    EXPECT_EQ(Usb.log[2].size(), 5 + 6 * 256 * 3u);
    EXPECT_EQ(Usb.log[2].substr(5 + 6 * 255 * 3), " 8C FF 8D 00 93 0F");
    EXPECT_EQ(Usb.log[3], "progress - 100");
    EXPECT_EQ(Usb.log[4], "usb > 90 0C");
    EXPECT_EQ(EmuLiveBlocks(), 0u);
}

TEST_F(HeronPlus, PatternWithoutMemoryIsRefused)
{
    const std::string path = OnePagePattern(true, 0);
    record.SequenceTable[0] = 0x1234;
    EmuFail(EmuAllocate, 2, false);
    EXPECT_EQ(record.Ops.LoadSequencer(path.c_str(), UsbCamera), 0);
    remove(path.c_str());
    EXPECT_EQ(TakeUsbLog(), "");
    EXPECT_EQ(record.SequenceTable[0], 0x1234);
    EXPECT_EQ(EmuLiveBlocks(), 0u);
}

TEST_F(HeronPlus, PatternOf16BitWordsIsRefused)
{
    const std::string path = OnePagePattern(false, 0);
    EXPECT_EQ(record.Ops.LoadSequencer(path.c_str(), UsbCamera), 0);
    remove(path.c_str());
    EXPECT_EQ(TakeUsbLog(), "");
}

TEST_F(HeronPlus, MemoryHasBytes)
{
    QV_Poke(0x1234, 0x5A, UsbCamera);
    EXPECT_EQ(TakeUsbLog(), "usb > 90 07 8C 34 8D 12 93 5A");
    AnswerUsb("80 0D 40", {0x5B});
    EXPECT_EQ(QV_PeekW(0x1234, UsbCamera), 0x5B);
    EXPECT_EQ(TakeUsbLog(), "usb > 90 0D 8C 34 8D 12; usb > 80 0D 40; usb < 1 of 1");
}

TEST_F(HeronPlus, MemoryWordsStandInTheDescription)
{
    Usb.description = "0123456789ABCDEF071523";
    EXPECT_EQ(QV_ReadEP(4, UsbCamera), 7);
    EXPECT_EQ(QV_ReadEP(5, UsbCamera), 15);
    EXPECT_EQ(QV_ReadEP(6, UsbCamera), 2023);
    EXPECT_EQ(QV_ReadEP(0, UsbCamera), 0);
    EXPECT_EQ(QV_ReadEP(7, UsbCamera), 0);
    EXPECT_EQ(QV_ReadEP(-1, UsbCamera), 0);
    EXPECT_EQ(QV_ReadEP(INT32_MAX, UsbCamera), 0);
    Usb.description = "HERON";
    EXPECT_EQ(QV_ReadEP(4, UsbCamera), 0);
    EXPECT_EQ(QV_ReadEP(6, UsbCamera), 2000);
    TakeUsbLog();
    QV_WriteEP(4, 9, UsbCamera);
    EXPECT_EQ(TakeUsbLog(), "");
}

TEST_F(HeronPlus, DescriptionThatCannotBeReadIsEmpty)
{
    Usb.description = "0123456789ABCDEF071523";
    Usb.serial = "12345678";
    Usb.failing = {"info"};
    EXPECT_EQ(QV_ReadEP(4, UsbCamera), 0);
    EXPECT_EQ(QV_ReadEP(6, UsbCamera), 2000);
    EXPECT_EQ(QV_GetSerNum(UsbCamera), 0);
}

TEST_F(HeronPlus, SerialNumberHasEightDigits)
{
    Usb.serial = "123456789";
    EXPECT_EQ(QV_GetSerNum(UsbCamera), 12345678);
    Usb.serial = "42";
    EXPECT_EQ(QV_GetSerNum(UsbCamera), 42);
    Usb.serial = "";
    EXPECT_EQ(QV_GetSerNum(UsbCamera), 0);
    Usb.serial = "HP123";
    EXPECT_EQ(QV_GetSerNum(UsbCamera), 0);
}
