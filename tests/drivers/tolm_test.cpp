// TOLM: every pair to the camera, and what its replies become. The sensor is 8 by 4 with a
// dummy line, so an image is 64 bytes.
#include "drivers/tolm.h"

#include <numeric>

#include "core/flags.h"
#include "core/options.h"
#include "core/record.h"
#include "emulator/emulator.h"
#include "platform/system.h"
#include "sequencer/firmware_geometry.h"
#include "tests/support/fake_usb.h"

namespace {

constexpr uint16_t Untouched = 0xAAAA;
constexpr int32_t Width = 8, Height = 4;
const char Version[] = "84 01 85 00 86 00 87 00 1E";
const char Word[] = "84 02 85 00 86 00 87 00 41"; // 1 or'ed with 64
const char Cleared[] = "84 01 85 00 86 00 87 00 19";
const char Read[] = "0F 02";

std::vector<std::string> Reports;

// A word of the front end: select, byte and strobe for each half, select, none.
std::string FrontEnd(const std::string& high, const std::string& low)
{
    return "11 04; 12 " + high + "; 11 0C; 11 04; 12 " + low + "; 11 0C; 11 04; 11 00";
}

class Tolm : public FakeUsbTest {
protected:
    CameraRecord& record = CameraTable[UsbCamera];
    std::vector<uint16_t> frame = std::vector<uint16_t>(Width * Height + 8, Untouched);

    void SetUp() override
    {
        FakeUsbTest::SetUp();
        Reports.clear();
        AnswerUsb(Version, {47});
        AnswerUsb(Cleared, {0x40});
        Usb.answers[Word] = {{0x00, 0x00}, {0xFF, 0xFF}, {0x55, 0x55},
                             {0xAA, 0xAA}, {0x00, 0xFF}, {0xFF, 0x00}};
        UsbBytes stream(64);
        std::iota(stream.begin(), stream.end(), uint8_t{0});
        AnswerUsb(Read, stream);
        Prepare(0);
        KeepFirmwareBinning(1, 1);
    }

    void Prepare(uint32_t options, int32_t sensor = 3947)
    {
        PrepareFakeUsb(400, sensor, options);
        record.ExposureTime = 0.25;
        record.Ops.ExposureCallback = [](const char* text, int32_t) { Reports.emplace_back(text); };
    }

    int32_t ReadFrame() { return record.Ops.ReadFrame(1, Width, Height, frame.data(), UsbCamera); }

    // What went to the camera ahead of `end`.
    static std::string LogUpTo(const std::string& end)
    {
        const std::string log = TakePairLog();
        return log.substr(0, log.find(end));
    }
};

// 0.25 s are 250000 (0003D090) microseconds. The register is 28 long and has 4 leading
// cells; a frame of 4 lines has a dummy line at each end.
const char Exposure[] = "14 90 15 D0 16 03 17 00; ";
const char Window[] = "01 04 02 00; 03 0C 04 00; 05 1C 06 00; 07 00; 08 01 09 00; 0A 05 0B 00; "
                      "0C 06 0D 00; 0E 00; 0F 01; sleep 10; 0F 00; 0F 00; 13 00; ";
const char Fetch[] = "0F 02 ask 64 of 1F; ";
const char End[] = "progress Image downloading 0; progress - 100; 0F 08; 0F 08; 0F 00";

// --- open and close ---

// 12.5 / 1.5 is 8.3: 9 and 1. Front end 0 is 216 (00D8), 1 is 64 (1040).
TEST_F(Tolm, OpensInOrder)
{
    EXPECT_EQ(OpenFakeUsb(), 0);
    EXPECT_EQ(TakePairLog(),
              "usb list 1; usb open 3; usb mode 255 0; sleep 10; usb mode 255 64; usb latency 2; "
              "usb sizes 65536 65536; usb flow 256; usb timeouts 2500 0; usb purge 3; ask 1 of 1E; "
              "01 00 02 00; ask 2 of 41; 01 FF 02 FF; ask 2 of 41; 01 55 02 55; ask 2 of 41; "
              "01 AA 02 AA; ask 2 of 41; 01 00 02 FF; ask 2 of 41; 01 FF 02 00; ask 2 of 41; "
              "00 0A; 10 07; sleep 100; " +
                  FrontEnd("00", "D8") + "; " + FrontEnd("10", "40"));
    EXPECT_EQ(record.WordPeriodNs, 1500);
}

TEST_F(Tolm, ReadTimeOutIsTheSensors)
{
    const std::vector<std::pair<int32_t, std::string>> timeouts = {
        {3945, "1500"},  {3946, "1500"},  {3947, "2500"},  {3948, "2500"},
        {3960, "2500"},  {3962, "4500"},  {3964, "4500"},  {3968, "9000"},
        {3980, "17000"}, {3985, "17000"}, {3990, "32000"}, {255, "17000"}};
    for (const auto& [sensor, timeout] : timeouts) {
        Prepare(0, sensor);
        OpenFakeUsb();
        EXPECT_NE(TakeUsbLog().find("usb timeouts " + timeout + " 0;"), std::string::npos)
            << sensor;
    }
}

TEST_F(Tolm, OtherVersionIsError1)
{
    AnswerUsb(Version, {46});
    EXPECT_EQ(OpenFakeUsb(), 1);
    const std::string log = TakePairLog();
    EXPECT_EQ(log.substr(log.find("ask")), "ask 1 of 1E; 10 00; usb close");
    EXPECT_EQ(record.UsbHandle, 0u);
}

TEST_F(Tolm, RegisterThatLosesABitIsError26)
{
    Usb.answers[Word] = {{0x00, 0x00}, {0xFF, 0xFE}};
    EXPECT_EQ(OpenFakeUsb(), 26);
    const std::string log = TakePairLog();
    EXPECT_EQ(log.substr(log.find("01 FF")), "01 FF 02 FF; ask 2 of 41; 10 00; usb close");
}

TEST_F(Tolm, RegisterThatIsNotAnsweredIsError26)
{
    Usb.answers[Word] = {{0x00}};
    EXPECT_EQ(OpenFakeUsb(), 26);
}

TEST_F(Tolm, PixelDividerFitsItsRegister)
{
    for (const auto& [microseconds, divider] : std::vector<std::pair<double, std::string>>{
             {12.5, "00 02; 10 07"}, {0.0, "00 FF; 10 07"}, {1e-9, "00 FF; 10 07"}}) {
        SetUp();
        record.Platform.SamplingClock[0] = microseconds;
        EXPECT_EQ(OpenFakeUsb(), 0);
        EXPECT_NE(TakePairLog().find("; " + divider), std::string::npos) << microseconds;
    }
}

TEST_F(Tolm, CloseTakesThePower)
{
    CloseTolm(UsbCamera);
    EXPECT_EQ(TakeUsbLog(), "usb > 10 00; usb close");
}

// --- small things ---

TEST_F(Tolm, EveryByteThatIsWrittenStaysInTheShadow)
{
    QV_WRReg(18, 0x1234, UsbCamera);
    EXPECT_EQ(record.Registers[18], 0x34);
    record.Ops.SetShutter(1.5, UsbCamera);
    EXPECT_EQ(record.Registers[20], 0x60);
    EXPECT_EQ(record.Registers[22], 0x16);
    EXPECT_EQ(record.Registers[19], 0);
    QV_WRReg(33, 0x77, UsbCamera);
    EXPECT_EQ(record.Registers[1], 0x77);
}

// 1500000 is 0016E360; at least a microsecond.
TEST_F(Tolm, ShutterIsStartedByAPulse)
{
    record.Registers[19] = 0x20;
    record.Ops.SetShutter(1.5, UsbCamera);
    EXPECT_EQ(TakePairLog(), "14 60 15 E3 16 16 17 00; 13 60; 13 60; 13 20");
    record.Ops.SetShutter(0.0, UsbCamera);
    EXPECT_EQ(TakePairLog(), "14 01 15 00 16 00 17 00; 13 60; 13 60; 13 20");
}

// 38 is 2026; the user's 45 is 202D, 300 - 256 is 502C, high range 216 is 00D8.
TEST_F(Tolm, GainGoesToTheFrontEnd)
{
    record.GainIndex = 1;
    EXPECT_EQ(record.Ops.SetGain(UsbCamera), 0);
    EXPECT_EQ(TakePairLog(), FrontEnd("10", "40") + "; " + FrontEnd("20", "26"));
    QV_SetUsrGain(45, 1, 300, UsbCamera);
    EXPECT_EQ(TakePairLog(), FrontEnd("10", "40") + "; " + FrontEnd("20", "2D") + "; " +
                                 FrontEnd("50", "2C") + "; " + FrontEnd("00", "D8"));
}

TEST_F(Tolm, ThereIsNeitherCoolerNorThermometer)
{
    record.CurrentTemperature = -30.0;
    record.Ops.SetCooler(1, UsbCamera);
    record.Ops.SetCoolerPower(500, UsbCamera);
    QV_SetFanSpeed(50.0, UsbCamera);
    EXPECT_EQ(record.Ops.ReadTemperature(UsbCamera), 0);
    EXPECT_EQ(record.CurrentTemperature, 20.0);
    QV_WriteEP(8, 1, UsbCamera);
    EXPECT_EQ(QV_ReadEP(8, UsbCamera), 0);
    EXPECT_EQ(TakeUsbLog(), "");
}

// 5 lines from line 1 on, of 6; bit 6 of register 25 tells the end.
TEST_F(Tolm, SensorIsClearedAndWaitedFor)
{
    Usb.answers[Cleared] = {{0x00}, {0xBF}, {0x40}};
    record.Ops.ClearSensor(UsbCamera);
    EXPECT_EQ(TakePairLog(), "08 01 09 00; 0A 05 0B 00; 0C 06 0D 00; 0E 00; 0F 01; 0F 00; 11 10; "
                             "0F 44; ask 1 of 19; ask 1 of 19; ask 1 of 19; 11 00; 0F 00");
}

TEST_F(Tolm, ClearOfAClosedCameraComesBack)
{
    record.UsbHandle = 0; // the device library refuses it
    System.usb.Write = [](uint64_t, const void*, uint32_t, uint32_t*) { return 1u; };
    System.usb.Read = [](uint64_t, void*, uint32_t, uint32_t*) { return 1u; };
    System.usb.GetQueueStatus = [](uint64_t, uint32_t*) { return 1u; };
    record.Ops.ClearSensor(UsbCamera);
    EXPECT_EQ(record.Registers[15], 0);
}

TEST_F(Tolm, CameraThatDoesNotAnswerIsNotAwaited)
{
    Usb.answers[Cleared] = {{0x00}, {}};
    record.Ops.ClearSensor(UsbCamera);
    EXPECT_EQ(Usb.log.back(), "usb > 0F 00");
}

// --- frames ---

TEST_F(Tolm, FrameIsAskedForAheadOfItsExposure)
{
    EXPECT_EQ(ReadFrame(), 0);
    EXPECT_EQ(TakePairLog(),
              std::string(Exposure) + "usb purge 3; " + Window + Fetch + "sleep 251; " + End);
    for (size_t i = 0; i < 32; ++i) EXPECT_EQ(frame[i], (2 * i + 1) << 8 | 2 * i) << i;
    EXPECT_EQ(frame[32], Untouched);
}

TEST_F(Tolm, OptionClearsTheSensorAheadOfIt)
{
    Prepare(OptionKeepClean | OptionSilent);
    EXPECT_EQ(ReadFrame(), 0);
    EXPECT_EQ(TakePairLog(), std::string(Exposure) +
                                 "08 01 09 00; 0A 05 0B 00; 0C 06 0D 00; 0E 00; 0F 01; "
                                 "0F 00; 11 10; 0F 44; ask 1 of 19; 11 00; 0F 00; "
                                 "usb purge 3; " +
                                 Window + Fetch + "sleep 251; 0F 08; 0F 08; 0F 00");
}

// Columns 4 + 3 to 4 + 3 + 4, lines 1 + 1 to 1 + 1 + 2, of 2 + 4.
TEST_F(Tolm, WindowHasItsPlaceInTheFrame)
{
    EXPECT_EQ(record.Ops.ReadWindow(1, 3, 1, 4, 2, frame.data(), UsbCamera), 0);
    const std::string log = TakePairLog();
    EXPECT_NE(log.find("01 07 02 00; 03 0B 04 00; 05 1C 06 00; 07 00; 08 02 09 00; 0A 04 0B 00; "
                       "0C 06 0D 00; 0E 00; "),
              std::string::npos);
    EXPECT_NE(log.find("; 0F 02 ask 16 of 1F; "), std::string::npos);
    EXPECT_EQ(frame[7], 0x0F0E);
    EXPECT_EQ(frame[8], Untouched);
}

// With lines of two there are two dummy lines, and two lines in the frame.
TEST_F(Tolm, BinnedWindowCountsBinnedLines)
{
    record.Ops.BuildWave("", 0, 0, 4, 2, 2, 0, 0, UsbCamera);
    record.HorBinning = record.VerBinning = 2;
    record.Ops.ReadWindow(1, 1, 1, 2, 1, frame.data(), UsbCamera);
    EXPECT_NE(TakePairLog().find("01 05 02 00; 03 07 04 00; 05 1C 06 00; 07 01; 08 03 09 00; "
                                 "0A 04 0B 00; 0C 06 0D 00; 0E 01; "),
              std::string::npos);
}

TEST_F(Tolm, BinningIsThatOfTheLastBuildOfAnyCamera)
{
    record.Ops.BuildWave("", 0, 0, 2, 3, 2, 0, 0, UsbCamera + 1);
    EXPECT_EQ(ReadFrame(), 0);
    const std::string log = TakePairLog();
    EXPECT_NE(log.find("; 07 02; 08 01 09 00"), std::string::npos);
    EXPECT_NE(log.find("; 0E 01; "), std::string::npos);
}

// Bit 5 of register 15 goes to register 19.
TEST_F(Tolm, BitOfRegister15IsCarriedOver)
{
    record.Registers[15] = 0x20;
    record.Registers[19] = 0x01;
    AnswerUsb("0F 22", UsbBytes(64));
    EXPECT_EQ(ReadFrame(), 0);
    EXPECT_NE(TakePairLog().find("0F 21; sleep 10; 0F 20; 0F 20; 13 21; 0F 22 ask"),
              std::string::npos);
}

TEST_F(Tolm, ShortFrameIsError2AndResetsThePort)
{
    AnswerUsb(Read, UsbBytes(20, 0x11));
    EXPECT_EQ(ReadFrame(), 2);
    EXPECT_EQ(frame[9], 0x1111);
    EXPECT_EQ(frame[10], Untouched);
    const std::string end = "usb < 20 of 64; usb port reset; progress - 100";
    const std::string log = TakeUsbLog();
    EXPECT_EQ(log.substr(log.size() - end.size()), end);
}

TEST_F(Tolm, NumbersOfAnAbsurdWindowAreCut)
{
    const int32_t most = INT32_MAX;
    record.Ops.ReadWindow(1, most, most, 4, 2, frame.data(), UsbCamera);
    // 4 + 7FFFFFFF and 1 + 7FFFFFFF.
    EXPECT_NE(TakePairLog().find("01 03 02 00; 03 07 04 00; "), std::string::npos);
}

// --- exposure ---

TEST_F(Tolm, ShortExposureIsSleptThrough)
{
    record.ExposureTime = 0.4995;
    ReadFrame();
    EXPECT_NE(TakePairLog().find("; sleep 500; "), std::string::npos);
    record.ExposureTime = 0.0;
    ReadFrame();
    EXPECT_NE(TakePairLog().find("; sleep 1; "), std::string::npos);
}

TEST_F(Tolm, LongExposureIsPolledAndReported)
{
    record.ExposureTime = 1.0;
    record.Config.ShutterHisteresys = 700;
    const uint64_t start = EmuMicroseconds();
    EXPECT_EQ(ReadFrame(), 0);
    const uint64_t waited = EmuMicroseconds() - start;
    EXPECT_GE(waited, 1000000u);
    EXPECT_LT(waited, 1100000u); // no time for a shutter
    EXPECT_EQ(Reports, (std::vector<std::string>{"   0.7", "   0.4", "   0.1"}));
    EXPECT_NE(TakePairLog().find(std::string(Fetch) + End), std::string::npos);
}

TEST_F(Tolm, HalfASecondIsPolled)
{
    record.ExposureTime = 0.5;
    ReadFrame();
    EXPECT_EQ(Reports.size(), 1u);
}

// The camera is read as usual, and nothing is sent to its shutter.
TEST_F(Tolm, BreakEndsTheWaitAlone)
{
    record.ExposureTime = 60.0;
    EmuSchedule(
        EmuMicroseconds() + 2000000, [](int32_t camera) { QV_BrkFlg(camera); }, UsbCamera);
    const uint64_t start = EmuMicroseconds();
    EXPECT_EQ(ReadFrame(), 0);
    EXPECT_LT(EmuMicroseconds() - start, 3000000u);
    EXPECT_NE(TakePairLog().find(std::string(Fetch) + End), std::string::npos);
}

TEST_F(Tolm, BreakFromBeforeIsForgotten)
{
    record.ExposureTime = 1.0;
    StoreFlag(&record.BreakFlag, int8_t{1});
    const uint64_t start = EmuMicroseconds();
    EXPECT_EQ(ReadFrame(), 0);
    EXPECT_GE(EmuMicroseconds() - start, 1000000u);
}

TEST_F(Tolm, ExternalTimingIsNotWaitedFor)
{
    Prepare(OptionExternalTrigger);
    record.ExposureTime = 60.0;
    const uint64_t start = EmuMicroseconds();
    EXPECT_EQ(ReadFrame(), 0);
    EXPECT_LT(EmuMicroseconds() - start, 1000000u);
}

TEST_F(Tolm, NegativeExposureIsAMicrosecondAndNoWait)
{
    record.ExposureTime = -1.0;
    EXPECT_EQ(ReadFrame(), 0);
    EXPECT_EQ(TakePairLog(),
              std::string("14 01 15 00 16 00 17 00; usb purge 3; ") + Window + Fetch + End);
}

TEST_F(Tolm, RowOfTheBindingIsItsOwn)
{
    EXPECT_EQ(record.WaveExtraCount, 0);
    EXPECT_EQ(record.TemperatureDecimals, 3);
    EXPECT_EQ(record.Extras, nullptr);
}

} // namespace
