// OSPREY on a pipe that writes everything down: where it differs from HERON_Plus. The sensor
// is 8 by 4, with as many dummy lines as rows in a bin; the stream's word n is n.
#include "drivers/osprey.h"

#include "core/options.h"
#include "core/record.h"
#include "emulator/emulator.h"
#include "include/qvn.h"
#include "tests/support/byte_camera.h"

namespace {

constexpr uint16_t Untouched = 0xAAAA;
constexpr int32_t Width = 8, Height = 4;

class Osprey : public FakeUsbTest {
protected:
    std::vector<uint16_t> frame = std::vector<uint16_t>(Width * Height + 8, Untouched);
    CameraRecord& record = CameraTable[UsbCamera];

    void SetUp() override
    {
        FakeUsbTest::SetUp();
        OspreyReadings = {};
        Prepare(255);
        AnswerUsb("80 0F 40", {47});
        AnswerUsb("80 0A 40", {0xFD});
    }

    void Prepare(int32_t sensor)
    {
        PrepareFakeUsb(200, sensor, 0);
        record.TemperatureSpan[UsbCamera] = 1.0;
    }

    static void Stream(size_t words)
    {
        for (size_t n = 0; n < words; ++n) {
            Usb.queue.push_back(static_cast<uint8_t>(n));
            Usb.queue.push_back(static_cast<uint8_t>(n >> 8));
        }
    }

    int32_t ReadFrame() { return record.Ops.ReadFrame(0, Width, Height, frame.data(), UsbCamera); }

    double Temperature(uint16_t value)
    {
        AnswerUsb("80 01 40", {static_cast<uint8_t>(value)});
        AnswerUsb("80 02 40", {static_cast<uint8_t>(value >> 8)});
        record.Ops.ReadTemperature(UsbCamera);
        return record.CurrentTemperature;
    }
};

// Two counts of a section, in registers 34 and 35.
std::string Loaded(const char* page, const char* repeat, const char* end)
{
    return std::string("usb > 90 8C 8E ") + page + " 8C " + repeat +
           " 8D 00 A2 00; sleep 10; usb > 8C " + end + " 8D 00 A3 00; sleep 10; ";
}

const char Played[] = "usb > 90 BC 90 8C; sleep 1; ";

} // namespace

// --- opening ---

// The device library keeps its times; the device is reset once in any case.
TEST_F(Osprey, OpenProgramsTheCamera)
{
    record.TemperatureOffset[UsbCamera] = 7.0;
    EXPECT_EQ(OpenFakeUsb(), 0);
    EXPECT_EQ(TakeUsbLog(),
              "usb list 1; usb open 3; usb sizes 65536 0; usb reset; sleep 20; "
              "usb > 80 0F 40; usb < 1 of 1; usb > 80 0F 40; usb < 1 of 1; usb > 86 00; usb > " +
                  Flagged(DrivePairs("1000000000000")) +
                  "; usb > 9B 00; usb > 8B 1D; sleep 10; usb > 80 0A 40; usb < 1 of 1; "
                  "usb > 9D A4; usb > 9E 96; usb > 95 C0; usb > " +
                  Flagged(FrontEndPairs("000000001011000")) + "; usb > " +
                  Flagged(FrontEndPairs("001000001000000")) + "; usb > " +
                  Flagged(FrontEndPairs("101000100000000")) +
                  "; usb > 86 00; usb > 97 E8 98 03 99 00 9A 00 82 E8 83 03 84 00 85 00; "
                  "usb > 89 01");
    EXPECT_EQ(record.CameraVariant, 0);
    EXPECT_EQ(record.LineSkew, 3);
    EXPECT_EQ(record.FanLevel, 4095);
    EXPECT_EQ(record.TemperatureSpan[UsbCamera], 1.0);
    EXPECT_EQ(record.TemperatureOffset[UsbCamera], 0.0);
}

TEST_F(Osprey, AttachIsResetOnceAllTheSame)
{
    AnswerUsb("80 0F 40", {48});
    record.Platform.FpgaId = 48;
    EXPECT_EQ(OpenFakeUsb(1), 0);
    const std::string log = TakeUsbLog();
    EXPECT_NE(log.find("65536 0; usb reset; sleep 20; usb > 80 0F 40; usb < 1 of 1; usb > 86 80"),
              std::string::npos)
        << log;
}

TEST_F(Osprey, VariantHasOtherLevels)
{
    AnswerUsb("80 0A 40", {2});
    EXPECT_EQ(OpenFakeUsb(), 0);
    EXPECT_NE(TakeUsbLog().find("usb > 9D F5; usb > 9E F4; "), std::string::npos);
    EXPECT_EQ(record.CameraVariant, 1);
}

TEST_F(Osprey, TwoSensorsHaveTheirOwnSettings)
{
    Prepare(279);
    OpenFakeUsb();
    EXPECT_NE(TakeUsbLog().find("usb > 9E 96; usb > 95 18; usb > 9C"), std::string::npos);
    Prepare(120);
    OpenFakeUsb();
    EXPECT_NE(TakeUsbLog().find("usb > 9E 96; usb > 95 18; usb > 96 01; usb > 9C"),
              std::string::npos);
}

TEST_F(Osprey, WrongVersionIsNotFound)
{
    record.Platform.FpgaId = 120;
    EXPECT_EQ(OpenFakeUsb(), 1);
    EXPECT_EQ(Usb.log.back(), "usb close");
}

// --- reads ---

// One dummy line on either side. Line 1 is the first.
TEST_F(Osprey, DummyLinesAreOnBothSides)
{
    record.LineSkew = 3;
    Stream(48);
    EXPECT_EQ(ReadFrame(), 0);
    const std::string log = TakeUsbLog();
    EXPECT_EQ(log.rfind("usb > 80 0C; " + Loaded("04", "06", "28") + "usb > 90 4C; ", 0), 0u)
        << log;
    EXPECT_EQ(frame[0], 8);
    EXPECT_EQ(frame[4], 12);
    EXPECT_EQ(frame[5], 16);
    EXPECT_EQ(frame[28], 39);
    EXPECT_EQ(frame[29], Untouched);
}

// Three and three for a binning of 3.
TEST_F(Osprey, DummyLinesAreThoseOfTheBinning)
{
    record.VerBinning = 3;
    record.LineSkew = 0;
    Stream(80);
    EXPECT_EQ(ReadFrame(), 0);
    EXPECT_NE(TakeUsbLog().find(Loaded("04", "0A", "28")), std::string::npos);
    EXPECT_EQ(frame[0], 24);
    EXPECT_EQ(frame[31], 55);
}

TEST_F(Osprey, LargeBinningHasNoDummyLine)
{
    record.VerBinning = 5;
    record.LineSkew = 0;
    Stream(32);
    EXPECT_EQ(ReadFrame(), 0);
    EXPECT_NE(TakeUsbLog().find(Loaded("04", "04", "28")), std::string::npos);
    EXPECT_EQ(frame[0], 0);
    EXPECT_EQ(frame[31], 31);
}

// 1 x 2 rows and the two dummy lines ahead of the image; none above a binning of 4.
TEST_F(Osprey, WindowSkipsTheDummyLinesAhead)
{
    record.VerBinning = 2;
    Stream(8);
    EXPECT_EQ(record.Ops.ReadWindow(0, 3, 1, 4, 2, frame.data(), UsbCamera), 0);
    std::string log = TakeUsbLog();
    EXPECT_NE(log.find(Loaded("02", "04", "14") + Played + Loaded("03", "1C", "1E") + Played +
                       Loaded("04", "02", "28") + "usb > 90 BC 90 CC; "),
              std::string::npos)
        << log;
    record.VerBinning = 5;
    Stream(8);
    EXPECT_EQ(record.Ops.ReadWindow(0, 3, 1, 4, 2, frame.data(), UsbCamera), 0);
    log = TakeUsbLog();
    EXPECT_NE(log.find(Loaded("02", "05", "14")), std::string::npos) << log;
}

TEST_F(Osprey, ShortLineLeavesThePortAlone)
{
    Stream(12);
    EXPECT_EQ(ReadFrame(), 2);
    const std::string log = TakeUsbLog();
    EXPECT_NE(log.find("usb < 8 of 16; usb > 90 0C; usb > 86 00; progress - 100"),
              std::string::npos)
        << log;
}

// --- temperature ---

// 3500 * 0.6103515625 / 7.85 is 272.1313. What lies below 31 is taken for the last that did
// not, at first for 0.
TEST_F(Osprey, SmallReadingsAreReplaced)
{
    EXPECT_NEAR(Temperature(30), -273.15, 0.0001);
    EXPECT_NEAR(Temperature(3500), -1.0187, 0.0001);
    EXPECT_NEAR(Temperature(30), -1.0187, 0.0001);
    EXPECT_NEAR(Temperature(0), -1.0187, 0.0001);
    // 31 * 0.6103515625 / 7.85 is 2.4103.
    EXPECT_NEAR(Temperature(31), -270.7397, 0.0001);
}

// Sorted: 100, 200, 300, 400, 501, 600, 700, 800: (400 + 501) / 2 is 450, cut. 450 *
// 0.6103515625 / 7.85 is 34.9883.
TEST_F(Osprey, FullRingGivesTheMiddleOfTheSortedReadings)
{
    const uint16_t readings[] = {800, 100, 700, 200, 600, 300, 501};
    for (const uint16_t reading : readings) {
        EXPECT_NEAR(Temperature(reading), reading * 0.6103515625 / 7.85 - 273.15, 0.0001);
    }
    EXPECT_NEAR(Temperature(400), 34.9883 - 273.15, 0.0001);
}

// --- pattern and memories ---

// Word n is 0xA0F0 + n; the last is 0xA1EF.
TEST_F(Osprey, PatternHasTwoBytesAWord)
{
    const std::string path = OnePagePattern(false, 0xA0F0);
    EXPECT_EQ(record.Ops.LoadSequencer(path.c_str(), UsbCamera), 1);
    remove(path.c_str());
    ASSERT_EQ(Usb.log.size(), 5u);
    EXPECT_EQ(Usb.log[0], "usb > 90 07");
    EXPECT_EQ(Usb.log[2].substr(0, 53), "usb > 8C 00 8D 00 93 F0 94 A0 8C 01 8D 00 93 F1 94 A0");
    EXPECT_EQ(Usb.log[2].size(), 5 + 8 * 256 * 3u);
    EXPECT_EQ(Usb.log[2].substr(5 + 8 * 255 * 3), " 8C FF 8D 00 93 EF 94 A1");
    EXPECT_EQ(Usb.log[4], "usb > 90 0C");
    EXPECT_EQ(EmuLiveBlocks(), 0u);
}

TEST_F(Osprey, PatternOf8BitWordsIsTaken)
{
    const std::string path = OnePagePattern(true, 0);
    EXPECT_EQ(record.Ops.LoadSequencer(path.c_str(), UsbCamera), 1);
    remove(path.c_str());
    EXPECT_EQ(Usb.log[2].substr(0, 53), "usb > 8C 00 8D 00 93 00 94 00 8C 01 8D 00 93 01 94 00");
}

TEST_F(Osprey, MemoryHasWords)
{
    QV_PokeW(0x1234, 0xABCD, UsbCamera);
    EXPECT_EQ(TakeUsbLog(), "usb > 90 07 8C 34 8D 12 93 CD 94 AB 90 0C");
    AnswerUsb("80 0D 40", {0x34});
    AnswerUsb("80 0E 40", {0x12});
    EXPECT_EQ(QV_Peek(0x102, UsbCamera), 0x1234);
    EXPECT_EQ(TakeUsbLog(), "usb > 90 0D 8C 02 8D 01; usb > 80 0D 40; usb < 1 of 1; "
                            "usb > 80 0E 40; usb < 1 of 1; usb > 90 0C");
}

TEST_F(Osprey, StringsHaveTheirOwnPlaces)
{
    Usb.description = "0123456789ABCD071523";
    EXPECT_EQ(QV_ReadEP(4, UsbCamera), 7);
    EXPECT_EQ(QV_ReadEP(5, UsbCamera), 15);
    EXPECT_EQ(QV_ReadEP(6, UsbCamera), 2023);
    Usb.serial = "12345678";
    EXPECT_EQ(QV_GetSerNum(UsbCamera), 1234567);
}

// 4096 in the slot's table, as HERON_Plus; 216 and 88 too.
TEST_F(Osprey, GainAndCoolerAreThoseOfHeronPlus)
{
    record.Ops.SetCoolerPower(1000, UsbCamera);
    EXPECT_EQ(TakeUsbWrites(), Flagged(DrivePairs("0111111111111")));
    QV_SetUsrGain(0, 1, 256, UsbCamera);
    EXPECT_EQ(TakeUsbWrites(), Flagged(FrontEndPairs("010000000000000")) + "; " +
                                   Flagged(FrontEndPairs("101000000000000")) + "; " +
                                   Flagged(FrontEndPairs("000000011011000")));
}
