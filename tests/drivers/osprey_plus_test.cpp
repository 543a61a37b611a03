// OSPREY_Plus behind an adaptor that writes everything down. The sensor is 8 by 4, with as
// many dummy lines as rows in a bin; the stream's word n is n.
#include "drivers/osprey_plus.h"

#include "core/binding.h"
#include "core/flags.h"
#include "core/options.h"
#include "core/record.h"
#include "emulator/emulator.h"
#include "include/qvn.h"
#include "tests/support/byte_camera.h"
#include "tests/support/fake_adaptor.h"

namespace {

constexpr uint16_t Untouched = 0xAAAA;
constexpr int32_t Width = 8, Height = 4;

class OspreyPlus : public FakeAdaptorTest {
protected:
    std::vector<uint16_t> frame = std::vector<uint16_t>(Width * Height + 8, Untouched);
    CameraRecord& record = CameraTable[UsbCamera];

    void SetUp() override
    {
        FakeAdaptorTest::SetUp();
        OspreyPlusReadings = {};
        AnswerAdaptor("00 BF", {47});
        Open(255);
    }

    void TearDown() override
    {
        Close();
        FakeAdaptorTest::TearDown();
    }

    void Prepare(int32_t sensor)
    {
        PrepareFakeUsb(205, sensor, 0);
        record.TemperatureSpan[UsbCamera] = 1.0;
    }

    void Open(int32_t sensor)
    {
        Prepare(sensor);
        EXPECT_EQ(OpenFakeUsb(), 0);
        Usb.log.clear();
    }

    static void Close() { FindPlatformBinding(205)->closeUsb(UsbCamera); }

    static void Stream(size_t words)
    {
        Adaptor.queue.clear();
        for (size_t n = 0; n < words; ++n) {
            Adaptor.queue.push_back(n & 0xFF);
            Adaptor.queue.push_back(static_cast<uint16_t>(n >> 8));
        }
    }

    void ExpectPixels(std::vector<uint16_t> pixels)
    {
        pixels.resize(frame.size(), Untouched);
        EXPECT_EQ(frame, pixels);
    }

    int32_t ReadFrame(int32_t shutter = 0)
    {
        return record.Ops.ReadFrame(shutter, Width, Height, frame.data(), UsbCamera);
    }

    // What an open of the sensor sends between the pauses, up to the front end.
    std::string SensorSettings(int32_t sensor)
    {
        Close();
        Prepare(sensor);
        OpenFakeUsb();
        const std::string log = TakeUsbLog();
        const size_t begin = log.find("sleep 10; ") + 10;
        return log.substr(begin, log.find("; adaptor > 1C") - begin);
    }

    double Temperature(uint16_t value)
    {
        AnswerAdaptor("00 81", {static_cast<uint16_t>(value & 0xFF)});
        AnswerAdaptor("00 82", {static_cast<uint16_t>(value >> 8)});
        record.Ops.ReadTemperature(UsbCamera);
        return record.CurrentTemperature;
    }
};

// Two counts of a section, 2 ms each.
std::string Loaded(const char* page, const char* repeat, const char* end)
{
    return std::string("adaptor > 10 8C 0E ") + page + " 0C " + repeat +
           " 0D 00 22 00; sleep 2; adaptor > 0C " + end + " 0D 00 23 00; sleep 2; ";
}

const char Played[] = "adaptor > 10 BC 10 8C; sleep 1; ";
// The register: 30 x 28 words of 1.5 microseconds.
const char Flushed[] = "adaptor > 10 BC 10 8C; sleep 2; ";
const char NoExposure[] = "adaptor > 17 00 18 00 19 00 1A 00 02 01 03 00 04 00 05 00; "
                          "progress Image downloading 0; ";
const char ReadEnd[] = "adaptor > 10 0C; adaptor > 06 00; progress - 100";

std::vector<uint16_t> Ramp(uint16_t first, size_t count)
{
    std::vector<uint16_t> pixels;
    while (count-- > 0) pixels.push_back(first++);
    return pixels;
}

} // namespace

// --- opening ---

// 40 MHz of 1.5 microseconds / 2 - 1 is 29; 216, 64 and 256 in the front end. The last
// exposure is the shortest there is.
TEST_F(OspreyPlus, OpenProgramsTheCamera)
{
    Close();
    Prepare(255);
    Usb.log.clear();
    EXPECT_EQ(OpenFakeUsb(), 0);
    EXPECT_EQ(TakeUsbLog(),
              "adaptor load; adaptor init; adaptor open; adaptor mode 8; adaptor timeout 65535; "
              "adaptor > 00 BF; adaptor < 1; adaptor eeprom at 81; adaptor > 06 00; adaptor > " +
                  DrivePairs("1000000000000") +
                  "; adaptor > 1B 00; adaptor > 0B 1D; adaptor > 0F 00; sleep 10; "
                  "adaptor > 1D 42; adaptor > 1E B2; adaptor > 15 58; adaptor > 11 01; adaptor > " +
                  FrontEndPairs("000000011011000") + "; adaptor > " +
                  FrontEndPairs("001000001000000") + "; adaptor > " +
                  FrontEndPairs("101000100000000") +
                  "; adaptor eeprom 0 ?; adaptor eeprom 1 ?; adaptor eeprom 2 ?; "
                  "adaptor eeprom 3 ?; "
                  "adaptor > 17 00 18 00 19 00 1A 00 02 01 03 00 04 00 05 00; sleep 20");
    EXPECT_EQ(record.LineSkew, 4);
    EXPECT_EQ(record.FanLevel, 4095);
    EXPECT_EQ(record.WordPeriodNs, 1500);
}

// 180 and 132 for two sensors, else 66 and 178.
TEST_F(OspreyPlus, SensorsHaveTheirOwnSettings)
{
    const std::string levels = "adaptor > 1D 42; adaptor > 1E B2; ";
    const std::string otherLevels = "adaptor > 1D B4; adaptor > 1E 84; ";
    for (const int32_t sensor : {279, 281, 287, 260, 255, 290}) {
        EXPECT_EQ(SensorSettings(sensor), levels + "adaptor > 15 58; adaptor > 11 01") << sensor;
    }
    EXPECT_EQ(SensorSettings(125), otherLevels + "adaptor > 15 58; adaptor > 11 01");
    EXPECT_EQ(SensorSettings(133), otherLevels + "adaptor > 15 58; adaptor > 11 01");
    EXPECT_EQ(SensorSettings(120), levels + "adaptor > 15 18; adaptor > 16 01; adaptor > 11 01");
    EXPECT_EQ(SensorSettings(134), levels + "adaptor > 15 00; adaptor > 16 09; adaptor > 11 01");
    EXPECT_EQ(SensorSettings(135), levels + "adaptor > 15 00; adaptor > 16 01; adaptor > 11 01");
}

TEST_F(OspreyPlus, AttachKeepsCoolerAndFan)
{
    Close();
    Prepare(255);
    Usb.log.clear();
    EXPECT_EQ(OpenFakeUsb(1), 0);
    EXPECT_NE(TakeUsbLog().find("eeprom at 81; adaptor > 06 80; adaptor > " +
                                DrivePairs("1111111111111")),
              std::string::npos);
}

TEST_F(OspreyPlus, WrongVersionIsNotFoundAndClosed)
{
    Close();
    Prepare(255);
    Usb.log.clear();
    record.Platform.FpgaId = 48;
    EXPECT_EQ(OpenFakeUsb(), 1);
    EXPECT_EQ(TakeUsbLog(), "adaptor load; adaptor init; adaptor open; adaptor mode 8; "
                            "adaptor timeout 65535; adaptor > 00 BF; adaptor < 1; "
                            "adaptor close; adaptor free");
}

TEST_F(OspreyPlus, MissingLibraryAndDeviceAreTold)
{
    Close();
    Adaptor.libraryMissing = true;
    EXPECT_EQ(OpenFakeUsb(), 20);
    Adaptor.libraryMissing = false;
    Adaptor.initResult = 0;
    EXPECT_EQ(OpenFakeUsb(), 18);
}

TEST_F(OspreyPlus, FrameBufferIsNeededToOpen)
{
    Close();
    Prepare(255);
    EmuFail(EmuAllocate, 1, false);
    EXPECT_EQ(OpenFakeUsb(), 9);
    EXPECT_EQ(Usb.log.back(), "adaptor free");
}

// -25 and 12 tenths.
TEST_F(OspreyPlus, CalibrationStandsInTheAdaptorsMemory)
{
    EXPECT_EQ(record.TemperatureSpan[UsbCamera], 1.0);
    EXPECT_EQ(record.TemperatureOffset[UsbCamera], 0.0);
    Close();
    Adaptor.memory = {{0, 0xE7}, {1, 0xFF}, {2, 12}, {3, 0}};
    Open(255);
    EXPECT_DOUBLE_EQ(record.TemperatureSpan[UsbCamera], 1.2);
    EXPECT_DOUBLE_EQ(record.TemperatureOffset[UsbCamera], -2.5);
    Close();
    Adaptor.memory = {{0, 0xE7}, {1, 0xFF}, {2, 0xFF}, {3, 0xFF}};
    Open(255);
    EXPECT_EQ(record.TemperatureSpan[UsbCamera], 1.0);
    EXPECT_EQ(record.TemperatureOffset[UsbCamera], 0.0);
}

TEST_F(OspreyPlus, CloseFreesLibraryAndFrame)
{
    EXPECT_EQ(EmuLiveBlocks(), 1u);
    Close();
    EXPECT_EQ(TakeUsbLog(), "adaptor close; adaptor free");
    EXPECT_EQ(EmuLiveBlocks(), 0u);
}

TEST_F(OspreyPlus, FrameOfAClosedCameraTakesNoMemory)
{
    Close();
    EXPECT_EQ(ReadFrame(), 9);
    EXPECT_EQ(EmuLiveBlocks(), 0u);
}

// --- reads ---

// Five lines in one transfer, of which four words and four lines are the image.
TEST_F(OspreyPlus, FrameComesInOneTransfer)
{
    Stream(40);
    EXPECT_EQ(ReadFrame(), 0);
    EXPECT_EQ(TakeUsbLog(), "adaptor > 00 26; " + Loaded("04", "05", "28") +
                                "adaptor > 10 4C; adaptor > 06 00; " + NoExposure +
                                "adaptor < 80; " + ReadEnd);
    ExpectPixels(Ramp(4, 32));
}

// Three dummy lines for a binning of 3, one of them ahead.
TEST_F(OspreyPlus, DummyLinesAreThoseOfTheBinning)
{
    record.VerBinning = 3;
    Stream(56);
    EXPECT_EQ(ReadFrame(), 0);
    const std::string log = TakeUsbLog();
    EXPECT_NE(log.find(Loaded("04", "07", "28")), std::string::npos) << log;
    EXPECT_NE(log.find("adaptor < 112; "), std::string::npos) << log;
    ExpectPixels(Ramp(12, 32));
}

// The open has room for 8 x (4 + 2) words; a binning of 4 has 8 x (4 + 4).
TEST_F(OspreyPlus, FrameBufferGrowsWithTheBinning)
{
    record.VerBinning = 4;
    Stream(64);
    EmuFail(EmuAllocate, 1, false);
    EXPECT_EQ(ReadFrame(), 9);
    EXPECT_EQ(TakeUsbLog(), "");
    EXPECT_EQ(ReadFrame(), 0);
    EXPECT_EQ(EmuLiveBlocks(), 1u);
    ExpectPixels(Ramp(20, 32));
    record.VerBinning = 1;
    EmuFail(EmuAllocate, 1, false);
    Stream(40);
    EXPECT_EQ(ReadFrame(), 0);
    EmuFail(EmuAllocate, 0, false);
}

TEST_F(OspreyPlus, FrameThatDoesNotComeIsNotNoticed)
{
    Adaptor.queue.clear();
    EXPECT_EQ(ReadFrame(), 0);
    ExpectPixels(std::vector<uint16_t>(32, 0));
}

TEST_F(OspreyPlus, ImpossibleFrameIsRefused)
{
    EXPECT_EQ(record.Ops.ReadFrame(0, INT32_MAX, 30000, frame.data(), UsbCamera), 9);
    EXPECT_EQ(TakeUsbLog(), "");
}

TEST_F(OspreyPlus, TriggerStartsTheExposureInTheCamera)
{
    StoreFlag(&record.Options, uint32_t{OptionExternalTrigger | OptionKeepClean});
    Stream(40);
    EXPECT_EQ(ReadFrame(1), 0);
    const std::string log = TakeUsbLog();
    const std::string flush = Loaded("03", "1C", "1E") + Flushed;
    EXPECT_EQ(log.rfind("adaptor > 00 26; " + Loaded("02", "05", "14") + Played + flush + flush +
                            Loaded("04", "05", "28") +
                            "adaptor > 10 4C; adaptor > 06 01; adaptor > 06 05; ",
                        0),
              0u)
        << log;
    EXPECT_NE(log.find(ReadEnd), std::string::npos) << log;
}

// 1 x 2 rows and half of the two dummy lines; twelve bytes a line. The second covers the last
// four pixels of the first.
TEST_F(OspreyPlus, WindowComesLineByLine)
{
    record.VerBinning = 2;
    Stream(18);
    EXPECT_EQ(record.Ops.ReadWindow(0, 3, 1, 6, 3, frame.data(), UsbCamera), 0);
    EXPECT_EQ(TakeUsbLog(), std::string("adaptor > 00 26; adaptor > 06 00; ") + NoExposure +
                                Loaded("02", "03", "14") + Played + Loaded("03", "1C", "1E") +
                                Flushed + Loaded("04", "03", "28") + "adaptor > 10 BC 10 CC; " +
                                "adaptor < 12; adaptor < 12; adaptor < 12; " + ReadEnd);
    ExpectPixels({0, 1, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16, 17});
}

// --- temperature, cooler, memories ---

// 3500 * 0.6103515625 / 7.85 is 272.1313.
TEST_F(OspreyPlus, TemperatureTakesAConversion)
{
    EXPECT_NEAR(Temperature(3500), -1.0187, 0.0001);
    EXPECT_EQ(TakeUsbLog(),
              "adaptor > 07 10 01 04 01 04 01 00 01 00 01 01 01 01 01 00 01 00; sleep 2; "
              "adaptor > 00 81; adaptor < 1; adaptor > 00 82; adaptor < 1; adaptor > 07 00; "
              "adaptor > 00 0C");
    EXPECT_NEAR(Temperature(30), -1.0187, 0.0001);
}

TEST_F(OspreyPlus, DriveGoesOutInOneTransfer)
{
    record.Ops.SetCoolerPower(500, UsbCamera);
    EXPECT_EQ(TakeUsbLog(), "adaptor > " + DrivePairs("0100000000000"));
    QV_SetFanSpeed(100.0, UsbCamera);
    EXPECT_EQ(TakeUsbLog(), "adaptor > " + DrivePairs("1111111111111"));
}

// Word n is 0xA0F0 + n: address, word, and a write of register 33 that stores it.
TEST_F(OspreyPlus, PatternGoesOutInOneTransfer)
{
    const std::string path = OnePagePattern(false, 0xA0F0);
    EXPECT_EQ(record.Ops.LoadSequencer(path.c_str(), UsbCamera), 1);
    remove(path.c_str());
    ASSERT_EQ(Usb.log.size(), 5u);
    EXPECT_EQ(Usb.log[0], "adaptor > 10 07");
    EXPECT_EQ(Usb.log[2].substr(0, 57),
              "adaptor > 0C 00 0D 00 13 F0 14 A0 21 00 0C 01 0D 00 13 F1");
    EXPECT_EQ(Usb.log[2].size(), 9 + 10 * 256 * 3u);
    EXPECT_EQ(Usb.log[2].substr(9 + 10 * 255 * 3), " 0C FF 0D 00 13 EF 14 A1 21 00");
    EXPECT_EQ(Usb.log[4], "adaptor > 10 0C");
    EXPECT_EQ(EmuLiveBlocks(), 1u);
}

TEST_F(OspreyPlus, PatternMemoryHasWords)
{
    QV_PokeW(0x1234, 0xABCD, UsbCamera);
    EXPECT_EQ(TakeUsbLog(), "adaptor > 10 07 0C 34 0D 12 13 CD 14 AB 21 00 10 0C");
    AnswerAdaptor("00 8D", {0x34});
    AnswerAdaptor("00 8E", {0x12});
    EXPECT_EQ(QV_Peek(0x102, UsbCamera), 0x1234);
    EXPECT_EQ(TakeUsbLog(), "adaptor > 10 0D 0C 02 0D 01; adaptor > 00 8D; adaptor < 1; "
                            "adaptor > 00 8E; adaptor < 1; adaptor > 10 0C");
}

TEST_F(OspreyPlus, MemoryWordsAndSerialAreTheAdaptors)
{
    QV_WriteEP(8, 0x1234, UsbCamera);
    EXPECT_EQ(TakeUsbLog(), "adaptor eeprom 16 = 34; adaptor eeprom 17 = 12");
    EXPECT_EQ(QV_ReadEP(8, UsbCamera), 0x1234);
    Adaptor.memory[14] = 1;
    EXPECT_EQ(QV_GetSerNum(UsbCamera), 0x11234);
}

// The mean of the samples of one channel, which are 0x234 each.
TEST_F(OspreyPlus, AnalogInputsAreRead)
{
    AnswerAdaptor("00 A4", {0x34});
    AnswerAdaptor("00 A5", {0xF2});
    EXPECT_EQ(QV_GetAD(3, UsbCamera), 0x234);
    EXPECT_EQ(Usb.log[0], "adaptor > 1B 0C");
}
