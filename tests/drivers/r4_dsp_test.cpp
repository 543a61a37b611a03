// R4-DSP: every pair to the camera, and what its replies become. The sensor is 8 by 4 with
// a dummy line, so an image is 64 bytes, and 96 with the two lines ahead of it.
#include "drivers/r4_dsp.h"

#include <array>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <numeric>

#include "core/flags.h"
#include "core/options.h"
#include "core/record.h"
#include "emulator/emulator.h"
#include "sequencer/firmware_geometry.h"
#include "tests/support/fake_usb.h"
#include "tests/support/temp_folder.h"

namespace {

constexpr uint16_t Untouched = 0xAAAA;
constexpr int32_t Width = 8, Height = 4;
const char Version[] = "84 02 85 00 86 00 87 00 62"; // 34 or'ed with 64
const char Busy[] = "84 01 85 00 86 00 87 00 24";
const char Answer[] = "84 02 85 00 86 00 87 00 65"; // 37 or'ed with 64
const char Read[] = "08 08 06 02";                  // the order's first word is 2

std::string Byte(uint32_t value)
{
    return HexBytes({static_cast<uint8_t>(value & 0xFF)});
}

// Words that go through the mailbox one by one.
std::string Mail(const std::vector<uint32_t>& words)
{
    std::string text;
    for (const uint32_t word : words) {
        text += "12 " + Byte(word) + " 13 " + Byte(word >> 8) + "; sleep 10; ask 1 of 24; ";
    }
    return text + "ask 2 of 65; ";
}

// Words of an order, behind register 8 with its enable, and the request.
std::string Pushed(const std::vector<uint32_t>& words, const std::string& request)
{
    std::string text = "08 08";
    for (const uint32_t word : words) {
        text += " 06 " + Byte(word) + " 07 " + Byte(word >> 8) + " 08 0C 08 08";
    }
    return text + " 08 00 " + request;
}

const char Reset[] = "08 20; 08 60; 08 60; 08 60; 08 20; 08 00; ";

class R4Dsp : public FakeUsbTest {
protected:
    CameraRecord& record = CameraTable[UsbCamera];
    std::vector<uint16_t> frame = std::vector<uint16_t>(Width * Height + 8, Untouched);

    void SetUp() override
    {
        FakeUsbTest::SetUp();
        LibraryPath[0] = '\0';
        AnswerUsb(Version, {47, 0});
        AnswerUsb(Busy, {0});
        UsbBytes stream(96);
        std::iota(stream.begin(), stream.end(), uint8_t{0});
        AnswerUsb(Read, stream);
        Prepare(0);
        KeepFirmwareBinning(1, 1);
        QV_SetFanSpeed(100.0, UsbCamera);
        Usb.log.clear();
    }

    void TearDown() override
    {
        LibraryPath[0] = '\0';
        FakeUsbTest::TearDown();
    }

    void Prepare(uint32_t options, int32_t sensor = 255)
    {
        PrepareFakeUsb(48, sensor, options);
        record.TemperatureSpan[UsbCamera] = 1.0;
        record.ExposureTime = 0.25;
        record.Config.ShutterHisteresys = 100;
    }

    // The answers of the mailbox, in turn; the last one stays.
    static void Tell(const std::vector<uint32_t>& words)
    {
        Usb.answers[Answer].clear();
        for (const uint32_t word : words) {
            Usb.answers[Answer].push_back(
                {static_cast<uint8_t>(word & 0xFF), static_cast<uint8_t>(word >> 8 & 0xFF)});
        }
    }

    int32_t ReadFrame() { return record.Ops.ReadFrame(1, Width, Height, frame.data(), UsbCamera); }

    // The log behind `start`, with "; " at its end as behind every part of it.
    static std::string LogFrom(const std::string& start)
    {
        const std::string log = TakePairLog() + "; ";
        const size_t place = log.find(start);
        return place == std::string::npos ? "nothing from " + start : log.substr(place);
    }

    // Definitions with a program for the pair of R4-DSP and kaf400e.
    static void WriteProgram(const std::string& words)
    {
        const std::string folder = TempFolder() + "r4_dsp/";
        std::filesystem::create_directories(folder);
        std::ofstream(folder + "qvn.cfg")
            << "rmk_camera_library: { camera_platforms: { R4-DSP: { kaf400e: { Program = " << words
            << "; }; }; }; };\n";
        strcpy(LibraryPath, folder.c_str());
    }
};

// --- open and close ---

// A pixel is 1.5 * 14, 21 clocks: 21 / 2 - 1 is 9.
std::string Clocks(const char* length, const char* divider)
{
    std::string text = std::string("0C 01; 0D ") + length + "; 0E 00; 0F " + divider +
                       "; 0B 02 0B 08 0B 09 0B 08 0B 04";
    for (int i = 0; i < 81; ++i) text += " 0B 05 0B 04";
    return text + " 0B 00 0B 20 0B 00 0B 40; 01 40; sleep 100; ";
}

TEST_F(R4Dsp, OpensInOrder)
{
    Tell({0});
    EXPECT_EQ(OpenFakeUsb(), 0);
    EXPECT_EQ(TakePairLog() + "; ",
              "usb list 1; usb open 3; usb mode 255 0; sleep 10; usb mode 255 64; usb latency 2; "
              "usb sizes 512 512; usb flow 256; usb timeouts 8000 0; usb purge 3; 09 1F; "
              "sleep 1000; ask 2 of 62; " +
                  std::string(Reset) + Mail({255}) + Mail({255}) + Mail({255}) + Mail({101, 0}) +
                  Mail({102, 0}) + Mail({103, 0}) + Clocks("09", "01") + "1C 05; 17 00; " + Reset +
                  "01 40; 08 10; " + Mail({112, 20}) + Mail({114}) + Mail({108, 0}) +
                  Mail({108, 1}));
    EXPECT_EQ(record.Registers[8], 0x10);
    EXPECT_EQ(record.WordPeriodNs, 1500);
}

TEST_F(R4Dsp, AttachKeepsTheCoolerRunning)
{
    EXPECT_EQ(OpenFakeUsb(1), 0);
    const std::string start = Mail({101, 4095}) + Mail({103, 1}) + "0C 01; ";
    EXPECT_EQ(LogFrom("12 65 13 00").substr(0, start.size()), start);
}

// 3 * 14 is 42, more than 40: 42 / 2 - 1 is 20.
TEST_F(R4Dsp, SlowPixelsAreDivided)
{
    record.Platform.SamplingClock[0] = 3.0;
    EXPECT_EQ(OpenFakeUsb(), 0);
    const std::string clocks = Clocks("14", "03");
    EXPECT_EQ(LogFrom("0C 01").substr(0, clocks.size()), clocks);
}

TEST_F(R4Dsp, VersionIsWaitedForWithoutALimit)
{
    Usb.emptyPolls = 100000;
    const uint64_t start = EmuMicroseconds();
    EXPECT_EQ(OpenFakeUsb(), 0);
    EXPECT_EQ(Usb.emptyPolls, 0u);
    EXPECT_GE(EmuMicroseconds() - start, 2000000u);
}

TEST_F(R4Dsp, VersionOfADeviceThatIsGoneIsError1)
{
    Usb.failing = {"<", ">", "queue"};
    EXPECT_EQ(OpenFakeUsb(), 1);
}

// The reset comes first.
TEST_F(R4Dsp, OtherVersionIsError1)
{
    AnswerUsb(Version, {47, 1});
    EXPECT_EQ(OpenFakeUsb(), 1);
    EXPECT_EQ(LogFrom("ask 2 of 62"), std::string("ask 2 of 62; ") + Reset + "usb close; ");
    EXPECT_EQ(record.UsbHandle, 0u);
}

TEST_F(R4Dsp, DeviceThatCannotBeOpenedIsError18AndIsNotClosed)
{
    Usb.failing = {"open"};
    EXPECT_EQ(OpenFakeUsb(), 18);
    EXPECT_EQ(TakeUsbLog(), "usb list 1; usb open 3 fails");
}

TEST_F(R4Dsp, MemoryCalibrates)
{
    Tell({0, 0, 0, 0, 0, 0, 0, 0, 0xFFFB, 12}); // -0.5, 1.2
    EXPECT_EQ(OpenFakeUsb(), 0);
    EXPECT_EQ(record.TemperatureOffset[UsbCamera], -0.5);
    EXPECT_EQ(record.TemperatureSpan[UsbCamera], 1.2);
    for (const uint32_t span : {0u, 0xFFFFu}) {
        Tell({0, 0, 0, 0, 0, 0, 0, 0, 5, span});
        EXPECT_EQ(OpenFakeUsb(), 0);
        EXPECT_EQ(record.TemperatureOffset[UsbCamera], 0.0);
        EXPECT_EQ(record.TemperatureSpan[UsbCamera], 1.0);
    }
}

TEST_F(R4Dsp, CloseIsAnOrder)
{
    CloseR4Dsp(UsbCamera);
    EXPECT_EQ(TakePairLog() + "; ", Mail({104, 0}) + "usb close; ");
    EXPECT_EQ(record.UsbHandle, 0u);
}

// --- the sensor's program ---

// Address; the word from its high byte on; the strobes.
TEST_F(R4Dsp, ProgramIsLoadedWordByWord)
{
    WriteProgram("[ 0x01020304, -1, 7 ]");
    EXPECT_EQ(OpenFakeUsb(), 0);
    const std::string program = "00 00 05 01 04 02 03 03 02 04 01 10 01 20 01 10 01 00; "
                                "00 01 05 FF 04 FF 03 FF 02 FF 01 10 01 20 01 10 01 00; "
                                "00 02 05 00 04 00 03 00 02 07 01 10 01 20 01 10 01 00; 0C 01; ";
    EXPECT_EQ(LogFrom("00 00 05").substr(0, program.size()), program);
}

TEST_F(R4Dsp, ProgramHasAddressesAbove255)
{
    std::string words = "[ 0";
    for (int i = 1; i < 258; ++i) words += ", " + std::to_string(i);
    WriteProgram(words + " ]");
    EXPECT_EQ(OpenFakeUsb(), 0);
    const std::string last = "00 01 05 00 04 00 03 01 02 01 01 11 01 21 01 11 01 00; 0C 01; ";
    EXPECT_EQ(LogFrom("00 01 05 00 04 00 03 01").substr(0, last.size()), last);
}

TEST_F(R4Dsp, ProgramEndsWithTheMemory)
{
    std::string words = "[ 0";
    for (int i = 1; i < 5000; ++i) words += ", 0";
    WriteProgram(words + " ]");
    EXPECT_EQ(OpenFakeUsb(), 0);
    const std::string last = "00 FF 05 00 04 00 03 00 02 00 01 1F 01 2F 01 1F 01 00; 0C 01; ";
    EXPECT_EQ(LogFrom("00 FF 05 00 04 00 03 00 02 00 01 1F").substr(0, last.size()), last);
}

TEST_F(R4Dsp, SensorWithoutAProgramLoadsNone)
{
    WriteProgram("[ 1, 2 ]");
    Prepare(0, 290);
    EXPECT_EQ(OpenFakeUsb(), 0);
    EXPECT_EQ(TakePairLog().find("00 00 05"), std::string::npos);
}

TEST_F(R4Dsp, ProgramThatIsNoArrayOfIntegersHarmsNothing)
{
    for (const char* words : {"5", "\"x\"", "{ a = 1; }", "[ ]"}) {
        WriteProgram(words);
        EXPECT_EQ(OpenFakeUsb(), 0);
        EXPECT_EQ(TakePairLog().find("00 00 05"), std::string::npos) << words;
    }
    WriteProgram("[ 1.5, 2.5 ]");
    EXPECT_EQ(OpenFakeUsb(), 0);
    EXPECT_NE(TakePairLog().find("00 01 05 00 04 00 03 00 02 00"), std::string::npos);
}

TEST_F(R4Dsp, ProgramWithoutMemoryIsError22)
{
    EmuFail(EmuAllocate, 1, false);
    EXPECT_EQ(OpenFakeUsb(), 22);
    EXPECT_EQ(Usb.log.back(), "usb close");
}

// --- cooler, fan, temperature ---

TEST_F(R4Dsp, CoolerIsThreeOrders)
{
    record.Ops.SetCooler(1, UsbCamera);
    EXPECT_EQ(TakePairLog() + "; ", Mail({101, 4095}) + Mail({103, 1}));
    record.Ops.SetCooler(2, UsbCamera); // the camera is told the number as it is
    EXPECT_EQ(TakePairLog() + "; ", Mail({101, 4095}) + Mail({103, 2}));
    record.Ops.SetCooler(0, UsbCamera);
    EXPECT_EQ(TakePairLog() + "; ", Mail({101, 0}) + Mail({102, 0}) + Mail({103, 0}));
    record.Ops.SetCoolerPower(345, UsbCamera);
    EXPECT_EQ(TakePairLog() + "; ", Mail({102, 345}));
}

// 50 percent of 4095 is 2047; it is one level for all cameras.
TEST_F(R4Dsp, FanLevelIsKeptForTheCooler)
{
    QV_SetFanSpeed(50.0, UsbCamera);
    EXPECT_EQ(TakePairLog() + "; ", Mail({101, 2047}));
    record.Ops.SetCooler(1, UsbCamera);
    EXPECT_EQ(TakePairLog() + "; ", Mail({101, 2047}) + Mail({103, 1}));
}

// 293.15 / 38.146972 * 7870 is 60478.2. The host does not regulate.
TEST_F(R4Dsp, TargetIsTheCameras)
{
    QV_SetFanSpeed(0.0, UsbCamera);
    Usb.log.clear();
    QV_SetTemp(20.0, 1, UsbCamera);
    EXPECT_EQ(TakePairLog() + "; ", Mail({101, 4095}) + Mail({109, 60478}));
    EXPECT_EQ(record.RegulationOn, 0);
    record.Ops.SetCooler(1, UsbCamera);
    EXPECT_EQ(TakePairLog() + "; ", Mail({101, 4095}) + Mail({103, 1}));
}

// 56000 * 38.146972 / 7870 is 271.440. 2048 * 1000 / 4095 is 500.1.
TEST_F(R4Dsp, TemperatureComesWithTheDrive)
{
    record.TemperatureSpan[UsbCamera] = 2.0;
    record.TemperatureOffset[UsbCamera] = 0.5;
    Tell({56000, 2048});
    EXPECT_EQ(record.Ops.ReadTemperature(UsbCamera), 0);
    EXPECT_NEAR(record.CurrentTemperature, -1.710 * 2.0 + 0.5, 0.002);
    EXPECT_EQ(record.CoolerPower, 500);
    EXPECT_EQ(TakePairLog() + "; ", Mail({100}) + Mail({110}));
}

TEST_F(R4Dsp, ReadingOfZeroIsNone)
{
    record.CurrentTemperature = -7.5;
    Tell({0, 4095});
    EXPECT_EQ(record.Ops.ReadTemperature(UsbCamera), 0);
    EXPECT_EQ(record.CurrentTemperature, -7.5);
    EXPECT_EQ(record.CoolerPower, 1000);
}

TEST_F(R4Dsp, MemoryIsTheCoprocessors)
{
    Tell({0xBEEF});
    EXPECT_EQ(QV_ReadEP(8, UsbCamera), 0xBEEF);
    EXPECT_EQ(TakePairLog() + "; ", Mail({108, 8}));
    QV_WriteEP(8, 0x1234, UsbCamera);
    EXPECT_EQ(TakePairLog() + "; ", Mail({107, 8, 0x1234}) + "sleep 10; ");
}

// --- filter wheel ---

TEST_F(R4Dsp, WheelAnswersWithAnError)
{
    Tell({7});
    QV_SetFilter(3, UsbCamera);
    EXPECT_EQ(TakePairLog() + "; ", "sleep 100; " + Mail({106, 2}));
    EXPECT_EQ(record.LastError, 7);
    Tell({0});
    QV_CalibFW(UsbCamera);
    EXPECT_EQ(TakePairLog() + "; ", "sleep 100; " + Mail({105}));
    EXPECT_EQ(record.LastError, 0);
}

// Index 2 of 20, 15, 13, 12, 11, 10. All cameras have one period, which the next open sends.
TEST_F(R4Dsp, HoldOfTheWheelIsAPeriod)
{
    QV_SetFW(0, 2, 5, UsbCamera);
    EXPECT_EQ(TakePairLog() + "; ", "sleep 100; " + Mail({112, 13}));
    for (const int32_t hold : {-1, 6}) {
        QV_OpenFW(0, hold, 5, UsbCamera);
        EXPECT_EQ(TakePairLog(), "sleep 100");
    }
    EXPECT_EQ(OpenFakeUsb(), 0);
    EXPECT_NE(TakePairLog().find(Mail({112, 13})), std::string::npos);
    QV_SetFW(0, 0, 5, UsbCamera);
}

// From firmware 100 on; -3 goes out as 131.
TEST_F(R4Dsp, OffsetOfTheWheelGoesToNewFirmware)
{
    for (const auto& [firmware, offset, sent] : std::vector<std::array<int32_t, 3>>{
             {99, 5, -1}, {100, 5, 5}, {100, -3, 131}, {60622, 5, -1}}) {
        Tell({0, 0, 0, 0, 0, 0, 0, static_cast<uint32_t>(firmware), 0});
        EXPECT_EQ(OpenFakeUsb(), 0);
        QV_SetFW(0, -1, offset, UsbCamera);
        Usb.log.clear();
        QV_CalibFW(UsbCamera);
        const std::string order = sent < 0 ? "" : Mail({113, static_cast<uint32_t>(sent)});
        EXPECT_EQ(TakePairLog() + "; ", "sleep 100; " + Mail({105}) + order) << firmware;
    }
}

// --- shutter ---

// 100 ms are 25000 (61A8) units of 4 microseconds, 0.25 s are 62500 (F424).
const char Shutter[] = "17 10; 18 A8 19 61 1A 00 1B 00; sleep 1; 17 00; 18 24 19 F4 1A 00 1B 00; "
                       "17 80; ";

TEST_F(R4Dsp, ShutterHasItsSettlingTimeFirst)
{
    record.Ops.SetShutter(0.25, UsbCamera);
    EXPECT_EQ(TakePairLog() + "; ", Shutter);
    record.Registers[23] = 0x01;
    record.Ops.SetShutter(0.25, UsbCamera);
    const std::string log = TakePairLog();
    EXPECT_EQ(log.substr(0, 5), "17 11");
    EXPECT_EQ(log.substr(log.size() - 5), "17 81");
}

TEST_F(R4Dsp, ExposureOfNothingStartsNoShutter)
{
    record.Ops.SetShutter(0.0, UsbCamera);
    record.Ops.SetShutter(-1.0, UsbCamera);
    EXPECT_EQ(TakeUsbLog(), "");
}

// --- frames ---

// Skipped: 4 cells ahead, 28 - 4 - 8 behind, 1 / 2 - 3 rows above, 1 / 2 below; a phase of 6
// microseconds is 6 * 21 clocks. 4 lines and 2 of header.
const std::vector<uint32_t> Frame = {2, 1, 6, 4, 16, 0xFFFD, 0, 126, 1, 1};

TEST_F(R4Dsp, FrameIsOneOrder)
{
    EXPECT_EQ(ReadFrame(), 0);
    EXPECT_EQ(TakePairLog(), "16 01; " + std::string(Shutter) +
                                 "sleep 100; sleep 250; progress Image downloading 0; " +
                                 Pushed(Frame, "ask 96 of 28") + "; progress - 100");
}

TEST_F(R4Dsp, DarkFrameLeavesTheShutterClosed)
{
    record.Ops.ReadFrame(0, Width, Height, frame.data(), UsbCamera);
    const std::string log = TakePairLog();
    EXPECT_EQ(log.substr(0, 6), "16 00;");
    EXPECT_NE(log.find("08 08 06 02 07 00 08 0C 08 08 06 00 07 00 "), std::string::npos);
}

// Byte 32 of the stream is the image's; 6 bytes further it is taken, up to byte 95.
TEST_F(R4Dsp, ImageLiesBehindItsHeader)
{
    EXPECT_EQ(ReadFrame(), 0);
    const uint8_t* bytes = reinterpret_cast<const uint8_t*>(frame.data());
    for (int i = 0; i < 64; ++i) EXPECT_EQ(bytes[i], i < 58 ? i + 38 : 0) << i;
    EXPECT_EQ(frame[32], Untouched);
}

TEST_F(R4Dsp, StaleBytesAreDrainedAheadOfTheImage)
{
    AnswerUsb("17 80", UsbBytes(5, 0x55));
    EXPECT_EQ(ReadFrame(), 0);
    EXPECT_EQ(frame[0], 39 << 8 | 38);
}

// Column 3, row 1, 4 by 2: 4 + 3 ahead, 28 - 4 - 7 behind, 1 more above, 4 - 1 - 2 below.
TEST_F(R4Dsp, WindowIsSkippedTo)
{
    EXPECT_EQ(record.Ops.ReadWindow(1, 3, 1, 4, 2, frame.data(), UsbCamera), 0);
    EXPECT_NE(TakePairLog().find(Pushed({2, 1, 4, 7, 17, 0xFFFE, 1, 126, 1, 1}, "ask 32 of 28")),
              std::string::npos);
    EXPECT_EQ(frame[8], Untouched);
}

// Bins of 2 by 2, 2 dummy lines: 4 + 2 ahead, 28 - 4 - 6 behind, 1 - 3 + 2 above, 1 below.
TEST_F(R4Dsp, BinnedWindowIsSkippedToInPixels)
{
    record.Ops.BuildWave("", 1, 1, 2, 2, 2, 0, 0, UsbCamera);
    record.HorBinning = record.VerBinning = 2;
    record.Ops.ReadWindow(1, 1, 1, 2, 1, frame.data(), UsbCamera);
    EXPECT_NE(TakePairLog().find(Pushed({2, 1, 3, 6, 18, 0, 1, 126, 2, 2}, "ask 12 of 28")),
              std::string::npos);
}

TEST_F(R4Dsp, BinningIsThatOfTheLastBuildOfAnyCamera)
{
    record.Ops.BuildWave("", 0, 0, 4, 2, 3, 0, 0, UsbCamera + 1);
    ReadFrame();
    EXPECT_NE(TakePairLog().find(Pushed({2, 1, 6, 4, 8, 0xFFFD, 0, 126, 2, 3}, "ask")),
              std::string::npos);
}

TEST_F(R4Dsp, NumbersOfAnAbsurdWindowAreCut)
{
    const int32_t most = INT32_MAX;
    // 4 + 7FFFFFFF; 24 - 80000003; -3 + 7FFFFFFF; nothing below.
    record.Ops.ReadWindow(1, most, most, 4, 2, frame.data(), UsbCamera);
    EXPECT_NE(TakePairLog().find(Pushed({2, 1, 4, 3, 0x15, 0xFFFC, 0, 126, 1, 1}, "ask 32 of 28")),
              std::string::npos);
}

TEST_F(R4Dsp, ShortFrameIsError2AndResetsThePort)
{
    AnswerUsb(Read, UsbBytes(40, 0x11));
    EXPECT_EQ(ReadFrame(), 2);
    EXPECT_EQ(frame[0], 0x1111);
    EXPECT_EQ(frame[1], 0);
    const std::string end = "usb < 40 of 96; usb port reset; progress - 100";
    const std::string log = TakeUsbLog();
    EXPECT_EQ(log.substr(log.size() - end.size()), end);
}

TEST_F(R4Dsp, FrameWithoutMemoryIsError16)
{
    EmuFail(EmuAllocate, 1, false);
    EXPECT_EQ(ReadFrame(), 16);
    EXPECT_EQ(TakeUsbLog(), "");
}

TEST_F(R4Dsp, NothingIsLoadedClearedOrAmplified)
{
    EXPECT_EQ(record.Ops.LoadSequencer("absent", UsbCamera), 1);
    record.Ops.ClearSensor(UsbCamera);
    EXPECT_EQ(record.Ops.SetGain(UsbCamera), 0);
    EXPECT_EQ(record.Ops.IsTriggered(UsbCamera), 0);
    EXPECT_EQ(TakeUsbLog(), "");
}

TEST_F(R4Dsp, RowOfTheBindingIsItsOwn)
{
    EXPECT_EQ(record.WaveExtraCount, 0);
    EXPECT_EQ(record.TemperatureDecimals, 3);
}

} // namespace
