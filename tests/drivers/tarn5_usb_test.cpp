// Tarn_V behind an adaptor that writes everything down. The sensor is 8 by 4, with as many
// dummy lines as rows in a bin; the stream's word n is n.
#include <algorithm>
#include <cstdio>

#include "core/binding.h"
#include "core/flags.h"
#include "core/options.h"
#include "core/record.h"
#include "drivers/tarn5/tarn5.h"
#include "emulator/emulator.h"
#include "include/qvn.h"
#include "tests/support/byte_camera.h"
#include "tests/support/fake_adaptor.h"

namespace {

constexpr uint16_t Untouched = 0xAAAA;
constexpr int32_t Width = 8, Height = 4;

std::string Hex(unsigned word)
{
    char text[8];
    snprintf(text, sizeof text, "%04X", word);
    return text;
}

// An order to the coprocessor: each word with its strobe in one transfer, then a look at
// status 30 until it is taken. Of register 11 only `mode` stands, and 1000 with the last word.
std::string Order(const std::vector<unsigned>& words, unsigned mode = 0)
{
    std::string text;
    for (size_t i = 0; i < words.size(); ++i) {
        const unsigned marked = mode | (i + 1 == words.size() ? 0x1000 : 0);
        text += "adaptor > 000E " + Hex(words[i]) + " 000B " + Hex(marked) + " 000B " +
                Hex(marked | 0x2000) + " 0000 003E; sleep 2; adaptor < 1; adaptor > 000B " +
                Hex(mode) + "; ";
    }
    return text + "adaptor > 0000 0000";
}

// A word of the front end: strobe 0100, clock 0080, data 0040 of register 0.
std::string FrontEnd(const std::string& bits)
{
    std::string text = "adaptor >";
    for (const char bit : bits) {
        const unsigned lines = bit == '1' ? 0x140 : 0x100;
        text += " 0000 " + Hex(lines) + " 0000 " + Hex(lines | 0x80) + " 0000 " + Hex(lines);
    }
    return text + " 0000 0000";
}

std::string Loaded(const char* page, const char* repeat, const char* end)
{
    return std::string("adaptor > 000B 8300 000A ") + page + " 0009 " + repeat +
           " 0014 0000; sleep 2; adaptor > 0009 " + end + " 0015 0000; sleep 2; ";
}

const char Played[] = "adaptor > 000B 8F00 000B 8300; sleep 1; ";
// The register: 30 x 28 words of 1.5 microseconds.
const char Flushed[] = "adaptor > 000B 8F00 000B 8300; sleep 2; ";
const char NoExposure[] = "adaptor > 0001 0000 0002 0000 000C 0001 000D 0000; "
                          "progress Image downloading 0; ";
const char ReadEnd[] =
    "adaptor > 000B 0000; adaptor > 0000 0030; adaptor > 0003 0000; progress - 100";

class Tarn5Usb : public FakeAdaptorTest {
protected:
    std::vector<uint16_t> frame = std::vector<uint16_t>(Width * Height + 8, Untouched);
    CameraRecord& record = CameraTable[UsbCamera];

    void SetUp() override
    {
        FakeAdaptorTest::SetUp();
        Tarn5Temperatures = {};
        AnswerAdaptor("0000 003F", {47});
        AnswerAdaptor("0000 0033", {4369});
        Open(255);
    }

    void TearDown() override
    {
        Close();
        FakeAdaptorTest::TearDown();
    }

    void Open(int32_t sensor)
    {
        PrepareFakeUsb(28, sensor, 0);
        EXPECT_EQ(OpenFakeUsb(), 0);
        Usb.log.clear();
    }

    static void Close() { FindPlatformBinding(28)->closeUsb(UsbCamera); }

    static void Stream(uint16_t words)
    {
        Adaptor.queue.clear();
        for (uint16_t n = 0; n < words; ++n) Adaptor.queue.push_back(n);
    }

    int32_t ReadFrame(int32_t shutter)
    {
        return record.Ops.ReadFrame(shutter, Width, Height, frame.data(), UsbCamera);
    }

    // Whether the open of a sensor sends this.
    bool OpenSends(int32_t sensor, const std::string& text)
    {
        Close();
        PrepareFakeUsb(28, sensor, 0);
        Usb.log.clear();
        EXPECT_EQ(OpenFakeUsb(), 0);
        return TakeUsbLog().find(text) != std::string::npos;
    }
};

} // namespace

// --- opening ---

// 40 MHz of 1.5 microseconds / 2 - 1 is 29; 38564 and 13064; 216, 64 and 256.
TEST_F(Tarn5Usb, OpenTestsAndProgramsTheCamera)
{
    Close();
    PrepareFakeUsb(28, 255, 0);
    Usb.log.clear();
    EXPECT_EQ(OpenFakeUsb(), 0);
    EXPECT_EQ(
        TakeUsbLog(),
        "adaptor load; adaptor init; adaptor open; adaptor mode 9; adaptor timeout 65535; "
        "adaptor > 0000 003F; adaptor < 1; adaptor eeprom at 81; " +
            Order({21845, 43690, 65535, 0, 65280, 255, 4369, 8738, 17476, 34952, 13}) +
            "; adaptor > 0000 0033; adaptor < 1; adaptor > 0003 0000; " + Order({0, 4}) +
            "; adaptor > 000F 001D; sleep 10; adaptor > 0006 96A4; adaptor > 0007 3308; " +
            FrontEnd("000000011011000") + "; " + FrontEnd("001000001000000") + "; " +
            FrontEnd("101000100000000") +
            "; adaptor eeprom 0 ?; adaptor eeprom 1 ?; adaptor eeprom 2 ?; adaptor eeprom 3 ?");
    EXPECT_EQ(record.LineSkew, 0);
    EXPECT_EQ(record.FanLevel, 4095);
    EXPECT_EQ(record.WordPeriodNs, 1500);
}

// 4772 in register 6 for one sensor; 30968 and 16376 in register 7 for four.
TEST_F(Tarn5Usb, SensorsHaveTheirOwnSettings)
{
    EXPECT_TRUE(OpenSends(290, "adaptor > 0006 12A4; adaptor > 0007 3308; "));
    EXPECT_TRUE(OpenSends(2000, "adaptor > 0006 96A4; adaptor > 0007 78F8; "));
    for (const int32_t sensor : {120, 125, 133}) {
        EXPECT_TRUE(OpenSends(sensor, "adaptor > 0006 96A4; adaptor > 0007 3FF8; ")) << sensor;
    }
}

// The fan's converter ends at 255.
TEST_F(Tarn5Usb, AttachKeepsCoolerAndFan)
{
    Close();
    PrepareFakeUsb(28, 255, 0);
    Usb.log.clear();
    EXPECT_EQ(OpenFakeUsb(1), 0);
    EXPECT_NE(TakeUsbLog().find("adaptor > 0003 0080; " + Order({255, 4})), std::string::npos);
}

TEST_F(Tarn5Usb, OpenTellsWhatIsMissing)
{
    Close();
    Adaptor.libraryMissing = true;
    EXPECT_EQ(OpenFakeUsb(), 20);
    Adaptor.libraryMissing = false;
    Adaptor.initResult = 0;
    EXPECT_EQ(OpenFakeUsb(), 18);
    Adaptor.initResult = 1;
    record.Platform.FpgaId = 48;
    EXPECT_EQ(OpenFakeUsb(), 1);
    EXPECT_EQ(Usb.log.back(), "adaptor free");
    record.Platform.FpgaId = 47;
    AnswerAdaptor("0000 0033", {4368});
    EXPECT_EQ(OpenFakeUsb(), 24);
    EXPECT_EQ(Usb.log.back(), "adaptor free");
}

// The word is asked for over and over, without another selection.
TEST_F(Tarn5Usb, CoprocessorIsAwaitedWithPauses)
{
    AnswerAdaptor("0000 003E", AdaptorItems(20, 0x8001));
    Adaptor.answers["0000 003E"].front().push_back(0xFFFE);
    const uint64_t start = EmuMicroseconds();
    const uint16_t order = 5;
    OrderCoprocessor(&order, 1, UsbCamera);
    EXPECT_GE(EmuMicroseconds() - start, 20 * 100u);
    EXPECT_EQ(std::count(Usb.log.begin(), Usb.log.end(), "adaptor < 1"), 21);
    EXPECT_EQ(std::count(Usb.log.begin(), Usb.log.end(), "adaptor > 0000 003E"), 0);
}

TEST_F(Tarn5Usb, SilentCoprocessorIsNotAwaited)
{
    Adaptor.answers.clear();
    const uint16_t order = 5;
    OrderCoprocessor(&order, 1, UsbCamera);
    EXPECT_EQ(TakeUsbLog(), Order({5}));
}

// -25 and 12 tenths, of the camera's own number.
TEST_F(Tarn5Usb, CalibrationStandsInTheAdaptorsMemory)
{
    EXPECT_EQ(record.TemperatureSpan[UsbCamera], 1.0);
    Close();
    Adaptor.memory = {{0, 0xE7}, {1, 0xFF}, {2, 12}, {3, 0}};
    Open(255);
    EXPECT_DOUBLE_EQ(record.TemperatureSpan[UsbCamera], 1.2);
    EXPECT_DOUBLE_EQ(record.TemperatureOffset[UsbCamera], -2.5);
}

// --- registers and memories ---

// What register 0 holds besides the number stays.
TEST_F(Tarn5Usb, RegistersGoOutAsPairs)
{
    record.Registers[0] = 0x0640;
    QV_WRReg(12, 0xABCD, UsbCamera);
    EXPECT_EQ(TakeUsbLog(), "adaptor > 000C ABCD");
    AnswerAdaptor("0000 0667", {0x1234});
    EXPECT_EQ(QV_RDReg(7, UsbCamera), 0x1234);
    EXPECT_EQ(TakeUsbLog(), "adaptor > 0000 0667; adaptor < 1");
}

TEST_F(Tarn5Usb, PatternMemoryHasWords)
{
    record.Registers[11] = 0xFFFF;
    QV_Poke(0x123, 0x6745, UsbCamera);
    EXPECT_EQ(TakeUsbLog(), "adaptor > 000B FDFF 0009 0123 0008 6745 0012 0000");
    AnswerAdaptor("0000 0031", {0x6745});
    EXPECT_EQ(QV_PeekW(0x123, UsbCamera), 0x6745);
    EXPECT_EQ(TakeUsbLog(), "adaptor > 000B FF7F 0009 0123; adaptor > 0000 0031; adaptor < 1");
}

TEST_F(Tarn5Usb, MemoryWordsAreTheAdaptors)
{
    QV_WriteEP(3, 0x1234, UsbCamera);
    EXPECT_EQ(QV_ReadEP(3, UsbCamera), 0x1234);
    EXPECT_EQ(TakeUsbLog(), "adaptor eeprom 6 = 34; adaptor eeprom 7 = 12; "
                            "adaptor eeprom 6 ?; adaptor eeprom 7 ?");
}

// Word n is 0xA0F0 + n. The mode that stays is that of a running sequencer.
TEST_F(Tarn5Usb, PatternGoesOutInOneTransfer)
{
    const std::string path = OnePagePattern(false, 0xA0F0);
    EXPECT_EQ(record.Ops.LoadSequencer(path.c_str(), UsbCamera), 1);
    remove(path.c_str());
    ASSERT_EQ(Usb.log.size(), 5u);
    EXPECT_EQ(Usb.log[0], "adaptor > 000B 01C0");
    EXPECT_EQ(Usb.log[2].substr(0, 54), "adaptor > 0009 0000 0008 A0F0 0012 0000 0009 0001 0008");
    EXPECT_EQ(Usb.log[2].size(), 9 + 6 * 256 * 5u);
    EXPECT_EQ(Usb.log[2].substr(9 + 6 * 255 * 5), " 0009 00FF 0008 A1EF 0012 0000");
    EXPECT_EQ(Usb.log[4], "adaptor > 000B 0300");
    EXPECT_EQ(record.Registers[11], 0x0300);
    EXPECT_EQ(EmuLiveBlocks(), 0u);
}

// --- analog ---

// 3500 * 0.6103515625 / 7.85 is 272.1313; until the ring is full the reading is 0.
TEST_F(Tarn5Usb, TemperatureIsCalibratedByTheCamerasNumber)
{
    record.SubCamera = 1;
    record.TemperatureOffset[UsbCamera] = 1.0;
    record.TemperatureSpan[UsbCamera] = 2.0;
    AnswerAdaptor("0000 0033", {0xF000 | 3500});
    record.Ops.ReadTemperature(UsbCamera);
    EXPECT_EQ(TakeUsbLog(), Order({5}) + "; adaptor > 0000 0033; adaptor < 1");
    EXPECT_NEAR(record.CurrentTemperature, (-273.15 + 1.0) * 2.0, 0.0001);
    for (int reading = 1; reading < 8; ++reading) record.Ops.ReadTemperature(UsbCamera);
    EXPECT_NEAR(record.CurrentTemperature, (-1.0187 + 1.0) * 2.0, 0.0003);
}

TEST_F(Tarn5Usb, GainIsAWordInOneTransfer)
{
    QV_SetGain(1, UsbCamera);
    EXPECT_EQ(TakeUsbLog(), FrontEnd("010000000100110"));
}

// 70 ms are 7000 units, 1B58; 1.5 s are 000249F0.
TEST_F(Tarn5Usb, ExposureFollowsTheSettlingTime)
{
    record.Config.ShutterHisteresys = 70;
    record.Ops.SetShutter(1.5, UsbCamera);
    EXPECT_EQ(TakeUsbLog(), "adaptor > 0001 1B58 0002 0000 000C 49F0 000D 0002");
}

// --- reads ---

// Five lines are armed ahead of the exposure; the first is dropped.
TEST_F(Tarn5Usb, FrameComesLineByLine)
{
    Stream(40);
    EXPECT_EQ(ReadFrame(0), 0);
    EXPECT_EQ(TakeUsbLog(), "adaptor > 0000 0030; " + Loaded("0004", "0005", "0028") +
                                "adaptor > 000B 4300; adaptor > 0003 0000; " + NoExposure +
                                "adaptor < 8; adaptor < 8; adaptor < 8; adaptor < 8; "
                                "adaptor < 8; " +
                                ReadEnd);
    for (uint16_t n = 0; n < 32; ++n) EXPECT_EQ(frame[n], 8 + n);
    EXPECT_EQ(frame[32], Untouched);
}

TEST_F(Tarn5Usb, TriggerStartsTheExposureInTheCamera)
{
    StoreFlag(&record.Options, uint32_t{OptionExternalTrigger | OptionKeepClean});
    Stream(40);
    EXPECT_EQ(ReadFrame(1), 0);
    const std::string log = TakeUsbLog();
    const std::string flush = Loaded("0003", "001C", "001E") + Flushed;
    EXPECT_EQ(log.rfind("adaptor > 0000 0030; " + Loaded("0002", "0005", "0014") + Played + flush +
                            flush + Loaded("0004", "0005", "0028") +
                            "adaptor > 000B 4300; adaptor > 0003 0001; adaptor > 0003 0005; ",
                        0),
              0u)
        << log;
    EXPECT_NE(log.find(ReadEnd), std::string::npos) << log;
    EXPECT_EQ(record.Registers[3], 0);
}

// 1 x 2 rows and half of the two dummy lines.
TEST_F(Tarn5Usb, WindowIsStartedBehindTheExposure)
{
    record.VerBinning = 2;
    Stream(8);
    EXPECT_EQ(record.Ops.ReadWindow(0, 3, 1, 4, 2, frame.data(), UsbCamera), 0);
    EXPECT_EQ(TakeUsbLog(),
              std::string("adaptor > 0000 0030; adaptor > 0003 0000; ") + NoExposure +
                  Loaded("0002", "0003", "0014") + Played + Loaded("0003", "001C", "001E") +
                  Flushed + Loaded("0004", "0002", "0028") +
                  "adaptor > 000B 8F00 000B C300; adaptor < 4; adaptor < 4; " + ReadEnd);
    for (uint16_t n = 0; n < 8; ++n) EXPECT_EQ(frame[n], n);
    EXPECT_EQ(frame[8], Untouched);
}

TEST_F(Tarn5Usb, CloseFreesTheLibrary)
{
    Close();
    EXPECT_EQ(TakeUsbLog(), "adaptor close; adaptor free");
}
