// Tarn_U: every pair to the camera, and what its replies become. The sensor is 8 by 4, so an
// image is 64 bytes.
#include "drivers/tarn_u.h"

#include <numeric>

#include "core/flags.h"
#include "core/options.h"
#include "core/record.h"
#include "sequencer/firmware_geometry.h"
#include "tests/support/fake_usb.h"

namespace {

constexpr uint16_t Untouched = 0xAAAA;
constexpr int32_t Width = 8, Height = 4;
const char Busy[] = "84 01 85 00 86 00 87 00 1C";
const char Result[] = "84 02 85 00 86 00 87 00 5D"; // 29 or'ed with 64
const char Word[] = "84 02 85 00 86 00 87 00 40";
const char Read[] = "04 91"; // 17 or'ed with 128

// A command, the wait behind it, a word with its command.
std::string Order(const std::string& strobed, const std::string& command)
{
    return "04 " + strobed + "; 04 " + command + "; ask 1 of 1C";
}

std::string Set(const std::string& low, const std::string& high, const std::string& strobed,
                const std::string& command)
{
    return "00 " + low + " 01 " + high + "; ask 1 of 1C; 04 " + strobed + "; 04 " + command;
}

class TarnU : public FakeUsbTest {
protected:
    CameraRecord& record = CameraTable[UsbCamera];
    std::vector<uint16_t> frame = std::vector<uint16_t>(Width * Height + 8, Untouched);

    void SetUp() override
    {
        FakeUsbTest::SetUp();
        AnswerUsb(Busy, {0});
        Prepare(0);
    }

    void Prepare(uint32_t options, int32_t sensor = 255)
    {
        PrepareFakeUsb(29, sensor, options);
        record.TemperatureSpan[UsbCamera] = 1.0;
        record.ExposureTime = 0.25;
    }

    // A camera whose word holds what is written to it.
    static void PassRegisterTest()
    {
        std::deque<UsbBytes>& answers = Usb.answers[Word];
        answers.clear();
        for (int n = 0; n < 256; ++n) answers.push_back({static_cast<uint8_t>(n), 0});
    }

    // What it tells of itself, in the order in which it is asked.
    static void Tell(std::deque<UsbBytes> answers) { Usb.answers[Result] = std::move(answers); }

    int32_t Open(int32_t attach = 0)
    {
        PassRegisterTest();
        Tell({{47, 0}, {0x02, 0x10}});
        return OpenFakeUsb(attach);
    }

    static std::string Begin(const std::string& text, size_t length)
    {
        return text.substr(0, length);
    }

    static std::string Behind(const std::string& text, const std::string& start)
    {
        const size_t place = text.find(start);
        return place == std::string::npos ? "nothing behind " + start : text.substr(place);
    }

    static UsbBytes Stream(size_t count)
    {
        UsbBytes bytes(count);
        std::iota(bytes.begin(), bytes.end(), uint8_t{0});
        return bytes;
    }
};

// --- open and close ---

TEST_F(TarnU, OpensInSynchronousMode)
{
    EXPECT_EQ(Open(), 0);
    const std::string settings = "usb list 1; usb open 3; usb mode 255 0; sleep 10; "
                                 "usb mode 255 64; usb latency 2; usb sizes 65536 65536; "
                                 "usb flow 256; usb timeouts 8000 0; usb purge 3; ";
    EXPECT_EQ(Begin(TakeUsbLog(), settings.size()), settings);
    EXPECT_EQ(record.WordPeriodNs, 1500);
    EXPECT_EQ(record.TemperatureSpan[UsbCamera], 1.0);
    EXPECT_EQ(record.TemperatureOffset[UsbCamera], 0.0);
}

// Words 0 to 255, written and read back; version; firmware 4098; fan off, drive 0.
TEST_F(TarnU, OpenTestsTheCameraAndProgramsIt)
{
    EXPECT_EQ(Open(), 0);
    const std::string log = TakePairLog();
    const std::string first = "00 00 01 00; ask 2 of 40; 00 01 01 00; ask 2 of 40; ";
    EXPECT_EQ(Begin(Behind(log, "00 00 01 00"), first.size()), first);
    EXPECT_EQ(Behind(log, "00 FF 01 00"),
              "00 FF 01 00; ask 2 of 40; " + Order("81", "01") + "; ask 2 of 5D; " +
                  Order("82", "02") + "; ask 2 of 5D; " + Set("00", "00", "85", "05") + "; " +
                  Set("00", "00", "84", "04") + "; 05 20; 06 1F; 07 70; 0B 01; 0B 03; 08 03");
}

TEST_F(TarnU, AttachKeepsTheFanRunning)
{
    EXPECT_EQ(Open(1), 0);
    EXPECT_EQ(Behind(TakePairLog(), "00 FF 01 0F"),
              Set("FF", "0F", "85", "05") + "; 05 20; 06 1F; 07 70; 0B 01; 0B 03; 08 03");
}

TEST_F(TarnU, SomeSensorsAreMirrored)
{
    for (const int32_t sensor : {250, 255, 260, 275, 281, 285, 120, 279, 290}) {
        Prepare(0, sensor);
        EXPECT_EQ(Open(), 0);
        const bool mirrored = sensor != 120 && sensor != 279 && sensor != 290;
        EXPECT_EQ(Behind(TakePairLog(), "0B 03"), mirrored ? "0B 03; 08 03" : "0B 03; 08 00");
    }
}

TEST_F(TarnU, DeviceThatCannotBeOpenedIsError18AndIsNotClosed)
{
    Usb.failing = {"open"};
    EXPECT_EQ(Open(), 18);
    EXPECT_EQ(TakeUsbLog(), "usb list 1; usb open 3 fails");
}

TEST_F(TarnU, ModeThatIsRefusedIsError18AndCloses)
{
    for (const char* mode : {"mode 255 0", "mode 255 64"}) {
        Usb.failing = {mode};
        EXPECT_EQ(Open(), 18);
        EXPECT_EQ(Usb.log.back(), "usb close");
    }
}

TEST_F(TarnU, RegisterThatLosesABitIsError26)
{
    PassRegisterTest();
    Usb.answers[Word][200] = {201, 0};
    EXPECT_EQ(OpenFakeUsb(), 26);
    EXPECT_EQ(Usb.log.back(), "usb close");
    EXPECT_EQ(record.UsbHandle, 0u);
}

TEST_F(TarnU, SilentCameraIsError26)
{
    Usb.answers.clear();
    EXPECT_EQ(OpenFakeUsb(), 26);
}

TEST_F(TarnU, OtherVersionIsError1)
{
    PassRegisterTest();
    Tell({{46, 0}});
    EXPECT_EQ(OpenFakeUsb(), 1);
    EXPECT_EQ(Usb.log.back(), "usb close");
    PassRegisterTest();
    Tell({{47, 1}});
    EXPECT_EQ(OpenFakeUsb(), 1);
}

TEST_F(TarnU, VersionThatIsNotToldIsError1)
{
    PassRegisterTest();
    Tell({});
    EXPECT_EQ(OpenFakeUsb(), 1);
    EXPECT_EQ(Usb.log.back(), "usb close");
}

// 4097 in place of 4098.
TEST_F(TarnU, OtherFirmwareIsError28)
{
    PassRegisterTest();
    Tell({{47, 0}, {0x01, 0x10}});
    EXPECT_EQ(OpenFakeUsb(), 28);
    EXPECT_EQ(Usb.log.back(), "usb close");
}

TEST_F(TarnU, CloseIsTheDevices)
{
    FindPlatformBinding(29)->closeUsb(UsbCamera);
    EXPECT_EQ(TakeUsbLog(), "usb close");
    EXPECT_EQ(record.UsbHandle, 0u);
}

// --- words ---

// The processor is awaited ahead of a word's command, and behind a plain command.
TEST_F(TarnU, ProcessorIsAwaitedForAsLongAsItIsBusy)
{
    Usb.answers[Busy] = std::deque<UsbBytes>(2000, {0x81});
    Usb.answers[Busy].push_back({0x80});
    record.Ops.ClearSensor(UsbCamera);
    EXPECT_EQ(Usb.answers[Busy].size(), 1u);
    EXPECT_EQ(Begin(TakePairLog(), 30), Begin(Order("95", "15") + "; ask 1 of 1C", 30));
}

// It reads as 0.
TEST_F(TarnU, CameraThatIsGoneIsNotAwaited)
{
    Usb.failing = {">", "<"};
    record.Ops.ClearSensor(UsbCamera);
}

TEST_F(TarnU, CoolerDriveHasTwelveBits)
{
    for (const int32_t permille : {0, 500, 1000, -1}) {
        record.Ops.SetCoolerPower(permille, UsbCamera);
    }
    EXPECT_EQ(TakePairLog(), Set("00", "00", "84", "04") + "; " + Set("00", "08", "84", "04") +
                                 "; " + Set("FF", "0F", "84", "04") + "; " +
                                 Set("00", "00", "84", "04"));
}

// 50 percent of 4095 is 2047.
TEST_F(TarnU, FanIsWord5)
{
    QV_SetFanSpeed(50.0, UsbCamera);
    EXPECT_EQ(record.FanLevel, 2047);
    EXPECT_EQ(TakePairLog(), Set("FF", "07", "85", "05"));
}

// 7870 / 38.146972 is 206.307, so 56000 counts are 271.440: -1.710. Span comes first.
TEST_F(TarnU, TemperatureIsWord3)
{
    Tell({{0xC0, 0xDA}}); // 56000
    EXPECT_EQ(record.Ops.ReadTemperature(UsbCamera), 0);
    EXPECT_NEAR(record.CurrentTemperature, -1.710, 0.001);
    EXPECT_EQ(TakePairLog(), Order("83", "03") + "; ask 2 of 5D");
    record.TemperatureSpan[UsbCamera] = 2.0;
    record.TemperatureOffset[UsbCamera] = 0.5;
    record.Ops.ReadTemperature(UsbCamera);
    EXPECT_NEAR(record.CurrentTemperature, -1.710 * 2.0 + 0.5, 0.002);
}

TEST_F(TarnU, MissingTemperatureLeavesTheOldOne)
{
    record.CurrentTemperature = -7.5;
    Tell({{0xC0}});
    EXPECT_EQ(record.Ops.ReadTemperature(UsbCamera), 0);
    EXPECT_EQ(record.CurrentTemperature, -7.5);
}

// Word 8 is at 16.
TEST_F(TarnU, MemoryIsAddressedByBytes)
{
    Tell({{0x34, 0x12}});
    EXPECT_EQ(QV_ReadEP(8, UsbCamera), 0x1234);
    EXPECT_EQ(TakePairLog(),
              "00 10 01 00; " + Order("96", "16") + "; " + Order("98", "18") + "; ask 2 of 5D");
    QV_WriteEP(8, 0xBEEF, UsbCamera);
    EXPECT_EQ(TakePairLog(), "00 10 01 00; " + Order("96", "16") + "; 00 EF 01 BE; " +
                                 Order("97", "17") + "; sleep 10");
}

// The low byte of the first value is the command, the low word of the second its word.
TEST_F(TarnU, PlugIsAWordOfItsOwn)
{
    uint32_t values[] = {0xFFFFFF30, 0xABCD1234, 0x55, 0x66};
    EXPECT_EQ(QV_Plug(0, values, UsbCamera), 0);
    EXPECT_EQ(TakePairLog(), "sleep 100; " + Set("34", "12", "B0", "30") + "; ask 2 of 5D");
    EXPECT_EQ(record.LastError, 0);
}

// A wheel of four-bit orders on register 11, busy by bit 1 of register 7. Position 3.
TEST_F(TarnU, WheelIsOnItsRegisters)
{
    record.Config.FilterWheel = 3;
    AnswerUsb("84 01 85 00 86 00 87 00 07", {0});
    QV_SetFilter(3, UsbCamera);
    EXPECT_EQ(TakePairLog(), "sleep 100; 0B 03; sleep 50; ask 1 of 07; 0B 00");
}

TEST_F(TarnU, NothingIsLoadedAndTheShutterIsItsOwn)
{
    EXPECT_EQ(record.Ops.LoadSequencer("absent", UsbCamera), 1);
    record.Ops.SetShutter(1.0, UsbCamera);
    EXPECT_EQ(record.Ops.SetGain(UsbCamera), 0);
    EXPECT_EQ(record.Ops.IsTriggered(UsbCamera), 0);
    EXPECT_EQ(TakeUsbLog(), "");
}

// --- geometry ---

// x 2, y 1, width 4, 4 rows / 2, register 28, lead 4, dummy 1, binning 3 and 2, sensor 255,
// phase 6. 1.5 microseconds are rate 4.
TEST_F(TarnU, GeometryIsTwelveWords)
{
    StoreFlag(&record.LastError, 25);
    KeepFirmwareBinning(7, 7);
    record.Ops.BuildWave("", 2, 1, 4, 3, 2, 0, 0, UsbCamera);
    EXPECT_EQ(TakePairLog(),
              Set("02", "00", "86", "06") + "; " + Set("01", "00", "87", "07") + "; " +
                  Set("04", "00", "88", "08") + "; " + Set("02", "00", "89", "09") + "; " +
                  Set("1C", "00", "8A", "0A") + "; " + Set("04", "00", "8B", "0B") + "; " +
                  Set("01", "00", "8E", "0E") + "; " + Set("03", "00", "8C", "0C") + "; " +
                  Set("02", "00", "8D", "0D") + "; " + Set("FF", "00", "8F", "0F") + "; " +
                  Set("06", "00", "90", "10") + "; " + Set("04", "00", "9B", "1B"));
    EXPECT_EQ(record.LastError, 0);
    EXPECT_EQ(FirmwareHorBinning, 7); // that of other cameras
}

TEST_F(TarnU, PixelRateThatTheCameraHasNotIsLeftOut)
{
    record.Platform.SamplingClock[0] = 1.4;
    record.Ops.BuildWave("", 0, 0, 8, 1, 1, 0, 0, UsbCamera);
    EXPECT_EQ(TakePairLog().find("04 9B"), std::string::npos);
    record.Platform.SamplingClock[0] = 0.26;
    record.Ops.BuildWave("", 0, 0, 8, 1, 1, 0, 0, UsbCamera);
    EXPECT_EQ(Behind(TakePairLog(), "00 0A"), Set("0A", "00", "9B", "1B"));
}

// --- frames ---

std::string Window(const char* x, const char* y, const char* width, const char* height)
{
    return Set(x, "00", "86", "06") + "; " + Set(y, "00", "87", "07") + "; " +
           Set(width, "00", "88", "08") + "; " + Set(height, "00", "89", "09") + "; 0A 01; 0A 00; ";
}

// The announcement is ahead of the exposure here. 64 bytes are 40.
TEST_F(TarnU, FrameIsOneWriteAndOneRead)
{
    AnswerUsb(Read, Stream(64));
    EXPECT_EQ(record.Ops.ReadFrame(1, Width, Height, frame.data(), UsbCamera), 0);
    EXPECT_EQ(TakePairLog(), Window("00", "00", "08", "04") + Order("93", "13") +
                                 "; progress Image downloading 0; sleep 250; " + Order("94", "14") +
                                 "; 04 91 04 11 ask 64 of 1F; progress - 100");
    for (size_t i = 0; i < 32; ++i) EXPECT_EQ(frame[i], (2 * i + 1) << 8 | 2 * i) << i;
    EXPECT_EQ(frame[32], Untouched);
}

TEST_F(TarnU, DarkFrameHasACommandOfItsOwn)
{
    AnswerUsb(Read, Stream(64));
    record.Ops.ReadFrame(0, Width, Height, frame.data(), UsbCamera);
    const std::string log = TakePairLog();
    EXPECT_NE(log.find("04 92; 04 12; "), std::string::npos);
    EXPECT_EQ(log.find("04 93"), std::string::npos);
}

TEST_F(TarnU, OptionsClearTheSensorAndAwaitTheTrigger)
{
    Prepare(OptionKeepClean | OptionExternalTrigger | OptionSilent);
    AnswerUsb(Read, Stream(64));
    EXPECT_EQ(record.Ops.ReadFrame(1, Width, Height, frame.data(), UsbCamera), 0);
    EXPECT_EQ(TakePairLog(), Window("00", "00", "08", "04") + Order("95", "15") + "; " +
                                 Order("93", "13") + "; " + Set("01", "00", "99", "19") +
                                 "; sleep 250; " + Order("94", "14") +
                                 "; 04 91 04 11 ask 64 of 1F");
}

TEST_F(TarnU, StaleBytesAreDrainedAheadOfTheImage)
{
    AnswerUsb("04 14", UsbBytes(5, 0x55));
    AnswerUsb(Read, Stream(64));
    EXPECT_EQ(record.Ops.ReadFrame(1, Width, Height, frame.data(), UsbCamera), 0);
    EXPECT_EQ(frame[0], 0x0100);
}

TEST_F(TarnU, WindowHasItsPlace)
{
    AnswerUsb(Read, Stream(16));
    EXPECT_EQ(record.Ops.ReadWindow(1, 3, 1, 4, 2, frame.data(), UsbCamera), 0);
    const std::string window = Window("03", "01", "04", "02");
    const std::string log = TakePairLog();
    EXPECT_EQ(Begin(log, window.size()), window);
    EXPECT_NE(log.find("; 04 91 04 11 ask 16 of 1F; "), std::string::npos);
    EXPECT_EQ(frame[7], 0x0F0E);
    EXPECT_EQ(frame[8], Untouched);
}

TEST_F(TarnU, ShortFrameIsError2AndResetsThePort)
{
    AnswerUsb(Read, Stream(20));
    EXPECT_EQ(record.Ops.ReadFrame(1, Width, Height, frame.data(), UsbCamera), 2);
    EXPECT_EQ(frame[9], 0x1312);
    EXPECT_EQ(frame[10], Untouched);
    const std::string end = "usb < 20 of 64; usb port reset; progress - 100";
    const std::string log = TakeUsbLog();
    EXPECT_EQ(log.substr(log.size() - end.size()), end);
}

TEST_F(TarnU, RowOfTheBindingIsItsOwn)
{
    EXPECT_EQ(record.WaveExtraCount, 0);
    EXPECT_EQ(record.TemperatureDecimals, 3);
}

} // namespace
