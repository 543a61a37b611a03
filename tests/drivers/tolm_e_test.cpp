// TOLM_E and WREN: every byte to the camera, and what its replies become. The sensor is 8
// by 4, so an image is 64 bytes.
#include "drivers/tolm_e.h"

#include <algorithm>
#include <cstring>
#include <numeric>

#include "core/flags.h"
#include "core/options.h"
#include "core/record.h"
#include "emulator/emulator.h"
#include "sequencer/firmware_geometry.h"
#include "tests/support/fake_usb.h"

namespace {

constexpr uint8_t Ack = 0x06;
constexpr uint16_t Untouched = 0xAAAA;
constexpr int32_t Width = 8, Height = 4;
const char Settings[] = "usb list 1; usb open 3; usb latency 2; usb sizes 65536 65536; "
                        "usb timeouts 50000 1000; usb purge 3; sleep 20";

class TolmE : public FakeUsbTest {
protected:
    CameraRecord& record = CameraTable[UsbCamera];
    std::vector<uint16_t> frame = std::vector<uint16_t>(Width * Height + 8, Untouched);

    void SetUp() override
    {
        FakeUsbTest::SetUp();
        EmuSetCurrentDirectory(nullptr);
        AnswerUsb("44", {Ack});
        AnswerUsb("44 01", {47});
        Prepare(0);
        KeepFirmwareBinning(1, 1);
    }

    void Prepare(uint32_t options, int32_t sensor = 255)
    {
        PrepareFakeUsb(450, sensor, options);
        record.TemperatureSpan[UsbCamera] = 1.0;
        record.ExposureTime = 0.25;
        record.Config.ShutterHisteresys = 100;
    }

    // The stream of a camera: byte n is n.
    static UsbBytes Stream(size_t count)
    {
        UsbBytes bytes(count);
        std::iota(bytes.begin(), bytes.end(), uint8_t{0});
        return bytes;
    }

    // The image as bytes: what it begins with, and how many bytes are not zero.
    uint8_t* Bytes() { return reinterpret_cast<uint8_t*>(frame.data()); }
};

// --- open and close ---

// Version, sensor 255, cooler off, fan 0.
TEST_F(TolmE, OpensInOrder)
{
    EXPECT_EQ(OpenFakeUsb(), 0);
    EXPECT_EQ(TakeUsbLog(), std::string(Settings) +
                                "; usb > 44 01; usb < 1 of 1; usb > 44 12 FF 00; usb < 1 of 1; "
                                "usb > 44 04 00; usb < 1 of 1; usb > 44 08 01 00 00; usb < 1 of 1");
    EXPECT_EQ(record.LineSkew, 3);
    EXPECT_EQ(record.FanLevel, 4095);
    EXPECT_EQ(record.UserOffset, 256);
    EXPECT_EQ(record.WordPeriodNs, 1500);
}

// Sensor 5000 is 1388; 4095 * 4096 / 1000 is 16773, 4185.
TEST_F(TolmE, AttachKeepsCoolerAndFanRunning)
{
    Prepare(0, 5000);
    EXPECT_EQ(OpenFakeUsb(1), 0);
    EXPECT_EQ(TakeUsbWrites(), "44 01; 44 12 88 13; 44 04 01; 44 08 01 85 41");
}

// Without camera.cfg both are 1.0: (-273.15 + 1) * 1.
TEST_F(TolmE, CalibrationIsThatOfTheConfigurationFile)
{
    EXPECT_EQ(OpenFakeUsb(), 0);
    EXPECT_EQ(record.TemperatureSpan[UsbCamera], 1.0);
    EXPECT_EQ(record.TemperatureOffset[UsbCamera], 1.0);
    AnswerUsb("44 03", {0, 0});
    record.Ops.ReadTemperature(UsbCamera);
    EXPECT_DOUBLE_EQ(record.CurrentTemperature, -272.15);
}

TEST_F(TolmE, DevicesThatCannotBeListedAreError17)
{
    Usb.failing = {"list"};
    EXPECT_EQ(OpenFakeUsb(), 17);
    EXPECT_EQ(TakeUsbLog(), "usb list 1 fails");
}

// The handle that was never set is closed too.
TEST_F(TolmE, DeviceThatCannotBeOpenedIsError18)
{
    Usb.devices = 0;
    Usb.failing = {"open"};
    EXPECT_EQ(OpenFakeUsb(), 18);
    EXPECT_EQ(TakeUsbLog(), "usb list 0; usb open 3 fails; usb close 0");
}

TEST_F(TolmE, OtherVersionIsError1)
{
    AnswerUsb("44 01", {46});
    EXPECT_EQ(OpenFakeUsb(), 1);
    EXPECT_EQ(TakeUsbLog(), std::string(Settings) + "; usb > 44 01; usb < 1 of 1; usb close");
    EXPECT_EQ(record.UsbHandle, 0u);
}

// Its version is then taken to be 68, the letter D.
TEST_F(TolmE, SilentCameraIsError1)
{
    Usb.answers.clear();
    EXPECT_EQ(OpenFakeUsb(), 1);
    record.Platform.FpgaId = 68;
    EXPECT_EQ(OpenFakeUsb(), 0);
}

TEST_F(TolmE, VersionHasEightBits)
{
    record.Platform.FpgaId = 256 + 47;
    EXPECT_EQ(OpenFakeUsb(), 1);
}

TEST_F(TolmE, CloseTellsTheCamera)
{
    CloseTolmE(UsbCamera);
    EXPECT_EQ(TakeUsbLog(), "usb > 44 11; usb < 1 of 1; usb close");
    EXPECT_EQ(record.UsbHandle, 0u);
}

TEST_F(TolmE, CloseOfACameraThatIsGoneIsComplete)
{
    Usb.failing = {">", "<"};
    CloseTolmE(UsbCamera);
    EXPECT_EQ(TakeUsbLog(), "usb > 44 11 fails; usb < 0 of 1 fails; usb close");
}

// --- cooler, fan, temperature ---

// permille * 4096 / 1000: 500 is 2048, 999 is 4091.9, 1000 would be 4096.
TEST_F(TolmE, CoolerDriveHasTwelveBits)
{
    for (const int32_t permille : {0, 500, 999, 1000, 5000, -1}) {
        record.Ops.SetCoolerPower(permille, UsbCamera);
    }
    EXPECT_EQ(TakeUsbWrites(), "44 08 00 00 00; 44 08 00 00 08; 44 08 00 FB 0F; "
                               "44 08 00 FF 0F; 44 08 00 FF 0F; 44 08 00 00 00");
}

TEST_F(TolmE, FanIsSetOnlyBehindAnAcknowledgedCooler)
{
    record.FanLevel = 1000; // 4096
    record.Ops.SetCooler(1, UsbCamera);
    EXPECT_EQ(TakeUsbWrites(), "44 04 01; 44 08 01 00 10");
    record.Ops.SetCooler(0, UsbCamera);
    EXPECT_EQ(TakeUsbWrites(), "44 04 00; 44 08 01 00 00");
    EXPECT_EQ(record.LastError, 0);
    AnswerUsb("44 04", {});
    record.Ops.SetCooler(1, UsbCamera);
    EXPECT_EQ(TakeUsbWrites(), "44 04 01");
    EXPECT_EQ(record.LastError, 25);
}

// What is not 0 is on, and goes out as it is: the low byte of 3, and of 0x105.
TEST_F(TolmE, CoolerStateGoesOutAsTheHostGivesIt)
{
    record.FanLevel = 1000; // 4096
    record.Ops.SetCooler(3, UsbCamera);
    EXPECT_EQ(TakeUsbWrites(), "44 04 03; 44 08 01 00 10");
    record.Ops.SetCooler(0x105, UsbCamera);
    EXPECT_EQ(TakeUsbWrites(), "44 04 05; 44 08 01 00 10");
}

// 100 percent is 4095, and that times 4096 / 1000 is 16773 (4185): not limited. 50 percent
// is 2047, 8384 (20C0). 1600 percent is 65520, 268369, of which 16 bits go out: 1851.
TEST_F(TolmE, FanIsScaledTwice)
{
    QV_SetFanSpeed(100.0, UsbCamera);
    EXPECT_EQ(record.FanLevel, 4095);
    QV_SetFanSpeed(50.0, UsbCamera);
    EXPECT_EQ(record.FanLevel, 2047);
    QV_SetFanSpeed(-1.0, UsbCamera);
    EXPECT_EQ(record.FanLevel, 0);
    QV_SetFanSpeed(1600.0, UsbCamera);
    EXPECT_EQ(record.FanLevel, 65520);
    EXPECT_EQ(TakeUsbWrites(), "44 08 01 85 41; 44 08 01 C0 20; 44 08 01 00 00; 44 08 01 51 18");
}

// 3500 * 0.6103515625 is 2136.23046875; / 7.87 is 271.4397; - 273.15 is -1.7103.
TEST_F(TolmE, TemperatureIsOneReading)
{
    AnswerUsb("44 03", {0xAC, 0x0D}); // 3500
    EXPECT_EQ(record.Ops.ReadTemperature(UsbCamera), 0);
    EXPECT_NEAR(record.CurrentTemperature, -1.7103, 0.0001);
    EXPECT_EQ(TakeUsbLog(), "usb > 44 03; usb < 2 of 2");
}

TEST_F(TolmE, TemperatureIsCalibratedByTheCamerasNumber)
{
    record.SubCamera = 1;
    record.TemperatureOffset[UsbCamera] = 0.5;
    record.TemperatureSpan[UsbCamera] = 2.0;
    AnswerUsb("44 03", {0xAC, 0x0D});
    record.Ops.ReadTemperature(UsbCamera);
    EXPECT_NEAR(record.CurrentTemperature, (-1.7103 + 0.5) * 2.0, 0.0002);
}

TEST_F(TolmE, StaleBytesAreDrainedAheadOfATemperature)
{
    Usb.queue.assign(10, 0x0D);
    AnswerUsb("44 03", {0xAC, 0x0D});
    record.Ops.ReadTemperature(UsbCamera);
    EXPECT_NEAR(record.CurrentTemperature, -1.7103, 0.0001);
    EXPECT_EQ(TakeUsbLog(), "usb < 10 of 10; usb > 44 03; usb < 2 of 2");
}

TEST_F(TolmE, MissingTemperatureLeavesTheOldOne)
{
    record.CurrentTemperature = -7.5;
    AnswerUsb("44 03", {0xAC});
    EXPECT_EQ(record.Ops.ReadTemperature(UsbCamera), 0);
    EXPECT_EQ(record.CurrentTemperature, -7.5);
    EXPECT_EQ(record.LastError, 25);
}

// --- gain, shutter, trigger, registers, memory ---

// Gain, index, offset, high range.
TEST_F(TolmE, GainIsFourWords)
{
    record.UserOffset = 256;
    for (const int32_t index : {0, 1, 2, 3}) {
        record.GainIndex = index;
        EXPECT_EQ(record.Ops.SetGain(UsbCamera), 0);
        EXPECT_EQ(record.LoadedGain, index);
    }
    EXPECT_EQ(TakeUsbWrites(), "44 0C 00 00 00 00 00 01 00 00; 44 0C 26 00 01 00 00 01 00 00; "
                               "44 0C 38 00 02 00 00 01 00 00; 44 0C 3F 00 03 00 00 01 00 00");
    QV_SetUsrGain(45, 1, 300, UsbCamera);
    EXPECT_EQ(TakeUsbWrites(), "44 0C 2D 00 04 00 2C 01 01 00");
}

TEST_F(TolmE, GainOutsideTheTableIsTheFirst)
{
    for (const int32_t index : {-1, 5}) {
        record.GainIndex = index;
        record.Ops.SetGain(UsbCamera);
    }
    EXPECT_EQ(TakeUsbWrites(), "44 0C 00 00 FF FF 00 00 00 00; 44 0C 00 00 05 00 00 00 00 00");
}

// 1.5 s is 1500000 (0016E360); 100 ms.
TEST_F(TolmE, ShutterIsTimedInMicroseconds)
{
    record.Ops.SetShutter(1.5, UsbCamera);
    record.Ops.SetShutter(0.0, UsbCamera);
    record.Ops.SetShutter(-1.0, UsbCamera);
    record.Ops.SetShutter(5000.0, UsbCamera);
    EXPECT_EQ(TakeUsbWrites(), "44 07 60 E3 16 00 64 00 00 00; 44 07 00 00 00 00 64 00 00 00; "
                               "44 07 00 00 00 00 64 00 00 00; 44 07 FF FF FF FF 64 00 00 00");
    Usb.answers.clear();
    record.Ops.SetShutter(0.0, UsbCamera);
    EXPECT_EQ(record.LastError, 25);
}

TEST_F(TolmE, TriggerIsAskedFor)
{
    AnswerUsb("44 15", {0x80});
    EXPECT_EQ(record.Ops.IsTriggered(UsbCamera), 1);
    AnswerUsb("44 15", {0});
    EXPECT_EQ(record.Ops.IsTriggered(UsbCamera), 0);
    EXPECT_EQ(record.LastError, 0);
    AnswerUsb("44 15", {});
    EXPECT_EQ(record.Ops.IsTriggered(UsbCamera), 0);
    EXPECT_EQ(record.LastError, 25);
}

TEST_F(TolmE, ModifiedRegisterSendsItsLowByte)
{
    record.Registers[6] = 0x1240;
    record.Ops.ModifyRegister(6, 0x03, 1, UsbCamera);
    EXPECT_EQ(record.Registers[6], 0x1243);
    record.Ops.ModifyRegister(6, 0x41, 0, UsbCamera);
    EXPECT_EQ(record.Registers[6], 0x1202);
    EXPECT_EQ(TakeUsbWrites(), "44 14 43; 44 14 02");
}

TEST_F(TolmE, RegistersAreShadowsAlone)
{
    QV_WRReg(5, 0x1234, UsbCamera);
    EXPECT_EQ(QV_RDReg(5, UsbCamera), 0x1234);
    QV_WRReg(33, 7, UsbCamera);
    EXPECT_EQ(QV_RDReg(1, UsbCamera), 7);
    EXPECT_EQ(TakeUsbLog(), "");
}

TEST_F(TolmE, MemoryIsReachedByTwoCommands)
{
    AnswerUsb("44 0F", {0x34, 0x12});
    EXPECT_EQ(QV_ReadEP(8, UsbCamera), 0x1234);
    QV_WriteEP(0x0107, 0xBEEF, UsbCamera);
    EXPECT_EQ(TakeUsbWrites(), "44 0F 08 00; 44 0E 07 01 EF BE");
    AnswerUsb("44 0F", {0x34});
    EXPECT_EQ(QV_ReadEP(8, UsbCamera), 0);
    EXPECT_EQ(record.LastError, 25);
}

TEST_F(TolmE, DecimationIsACommand)
{
    QV_SetBitDecimation(3, UsbCamera);
    EXPECT_EQ(TakeUsbLog(), "usb > 44 10 03; usb < 1 of 1");
}

// The command ends in the middle of the fourth value. Its two bytes of reply mean nothing, as
// long as one comes.
TEST_F(TolmE, PlugGetsSixteenBytesInAll)
{
    uint32_t values[] = {0x04030201, 0x08070605, 0x0C0B0A09, 0x100F0E0D};
    AnswerUsb("44 17", {0x15});
    EXPECT_EQ(QV_Plug(7, values, UsbCamera), 0);
    EXPECT_EQ(TakeUsbLog(), "sleep 100; usb > 44 17 01 02 03 04 05 06 07 08 09 0A 0B 0C 0D 0E; "
                            "usb < 1 of 2");
    EXPECT_EQ(record.LastError, 0);
    AnswerUsb("44 17", {});
    EXPECT_EQ(QV_Plug(7, values, UsbCamera), 0);
    EXPECT_EQ(record.LastError, 25);
}

TEST_F(TolmE, NothingIsLoaded)
{
    EXPECT_EQ(record.Ops.LoadSequencer("absent", UsbCamera), 1);
    record.Ops.ClearOnce(UsbCamera);
    EXPECT_EQ(record.Ops.ReadTimed(1, Width, Height, frame.data(), UsbCamera), 0);
    EXPECT_EQ(record.Ops.Peek(0, UsbCamera), 0u);
    EXPECT_EQ(record.Ops.ReadStatus(7, UsbCamera), 0u);
    EXPECT_EQ(TakeUsbLog(), "");
}

// --- geometry ---

// x 2, y 1, width 4, register 28, lead 4, rows 4, dummy 1, binning 3 and 2, phase 6, 1.5
// microseconds.
TEST_F(TolmE, GeometryIsElevenWords)
{
    StoreFlag(&record.LastError, 25);
    record.Ops.BuildWave("", 2, 1, 4, 3, 2, 0, 6, UsbCamera);
    EXPECT_EQ(TakeUsbLog(), "usb > 44 09 02 00 01 00 04 00 1C 00 04 00 04 00 01 00 03 00 02 00 "
                            "06 00 01 00; usb < 1 of 1");
    EXPECT_EQ(record.LastError, 0);
    EXPECT_EQ(FirmwareHorBinning, 3);
    EXPECT_EQ(FirmwareVerBinning, 2);
}

TEST_F(TolmE, GeometryWithoutAnAnswerIsError25)
{
    AnswerUsb("44 09", {});
    record.Ops.BuildWave("", 0, 0, 8, 2, 1, 0, 6, UsbCamera);
    EXPECT_EQ(record.LastError, 25);
    EXPECT_EQ(FirmwareHorBinning, 2);
}

// --- frames ---

// Shutter line, exposure of 250000 (0003D090) microseconds, frame of 8 by 4.
TEST_F(TolmE, FrameIsOneCommandAndOneRead)
{
    AnswerUsb("44 0A", Stream(64));
    EXPECT_EQ(record.Ops.ReadFrame(1, Width, Height, frame.data(), UsbCamera), 0);
    EXPECT_EQ(TakeUsbLog(),
              "usb > 44 13 01; usb < 1 of 1; usb > 44 07 90 D0 03 00 64 00 00 00; usb < 1 of 1; "
              "sleep 250; progress Image downloading 0; usb > 44 0A 01 08 00 04 00; "
              "usb < 64 of 64; progress - 100");
}

TEST_F(TolmE, OptionsClearTheSensorAndArmTheTrigger)
{
    Prepare(OptionKeepClean | OptionExternalTrigger | OptionSilent);
    AnswerUsb("44 0A", Stream(64));
    EXPECT_EQ(record.Ops.ReadFrame(0, Width, Height, frame.data(), UsbCamera), 0);
    EXPECT_EQ(TakeUsbLog(),
              "usb > 44 06; usb < 1 of 1; usb > 44 16; usb < 1 of 1; usb > 44 13 00; "
              "usb < 1 of 1; usb > 44 07 90 D0 03 00 64 00 00 00; usb < 1 of 1; sleep 250; "
              "usb > 44 0A 00 08 00 04 00; usb < 64 of 64");
}

TEST_F(TolmE, BreakThatIsPendingLeavesTheTriggerAlone)
{
    Prepare(OptionExternalTrigger);
    StoreFlag(&record.BreakFlag, int8_t{1});
    record.Ops.ReadFrame(0, Width, Height, frame.data(), UsbCamera);
    EXPECT_EQ(TakeUsbWrites().find("44 16"), std::string::npos);
    EXPECT_EQ(record.BreakFlag, 0);
}

// The image begins at byte 2 * (4 / binning) + 2 of the stream, whose end is followed by
// zeros; taken are 64 + 8 / binning - 2 bytes, at most the image's 64.
TEST_F(TolmE, ImageBeginsBehindTheLeadOfTheBinning)
{
    struct Case {
        uint32_t binning;
        int first, taken;
    };
    AnswerUsb("44 0A", Stream(64));
    for (const Case& test : {Case{1, 10, 64}, Case{2, 6, 64}, Case{3, 4, 64}, Case{4, 4, 64},
                             Case{5, 2, 63}, Case{8, 2, 63}, Case{9, 2, 62}}) {
        KeepFirmwareBinning(test.binning, 1);
        std::fill(frame.begin(), frame.end(), Untouched);
        EXPECT_EQ(record.Ops.ReadFrame(1, Width, Height, frame.data(), UsbCamera), 0);
        for (int i = 0; i < test.taken; ++i) {
            const int place = test.first + i;
            ASSERT_EQ(Bytes()[i], place < 64 ? place : 0) << test.binning << " " << i;
        }
        for (int i = test.taken; i < 72; ++i) ASSERT_EQ(Bytes()[i], 0xAA) << test.binning;
    }
}

// The camera's own binning is 1, and that of another one was told last.
TEST_F(TolmE, BinningOfAnotherCameraMovesTheImage)
{
    CameraTable[UsbCamera + 1].UsbHandle = record.UsbHandle;
    BuildWaveCommand("", 0, 0, 4, 2, 1, 0, 6, UsbCamera + 1);
    AnswerUsb("44 0A", Stream(64));
    record.Ops.ReadFrame(1, Width, Height, frame.data(), UsbCamera);
    EXPECT_EQ(Bytes()[0], 6);
}

TEST_F(TolmE, BinningThatWasNeverToldCountsAsOne)
{
    KeepFirmwareBinning(0, 0);
    AnswerUsb("44 0A", Stream(64));
    record.Ops.ReadFrame(1, Width, Height, frame.data(), UsbCamera);
    EXPECT_EQ(Bytes()[0], 10);
}

TEST_F(TolmE, ShortFrameIsError2WithWhatHasCome)
{
    AnswerUsb("44 0A", Stream(20));
    EXPECT_EQ(record.Ops.ReadFrame(1, Width, Height, frame.data(), UsbCamera), 2);
    for (int i = 0; i < 64; ++i) EXPECT_EQ(Bytes()[i], i < 10 ? i + 10 : 0) << i;
    EXPECT_EQ(frame[32], Untouched);
    EXPECT_EQ(Usb.log.back(), "progress - 100");
}

TEST_F(TolmE, FrameOfADeviceThatIsGoneIsError2)
{
    Usb.failing = {">", "<"};
    EXPECT_EQ(record.Ops.ReadFrame(1, Width, Height, frame.data(), UsbCamera), 2);
}

// The read's own result stands, whatever was not acknowledged on the way.
TEST_F(TolmE, ResultOfTheReadWins)
{
    Usb.answers.clear();
    AnswerUsb("44 0A", Stream(64));
    EXPECT_EQ(record.Ops.ReadFrame(1, Width, Height, frame.data(), UsbCamera), 0);
    EXPECT_EQ(record.LastError, 25);
}

TEST_F(TolmE, FrameWithoutMemoryIsError16)
{
    EmuFail(EmuAllocate, 1, false);
    EXPECT_EQ(record.Ops.ReadFrame(1, Width, Height, frame.data(), UsbCamera), 16);
    EXPECT_EQ(TakeUsbLog(), "");
}

TEST_F(TolmE, FrameOfNothingTouchesNothing)
{
    for (const int32_t side : {0, -5}) {
        EXPECT_EQ(record.Ops.ReadFrame(1, side, Height, frame.data(), UsbCamera), 0);
        EXPECT_EQ(frame[0], Untouched);
    }
}

TEST_F(TolmE, WindowHasACommandOfItsOwn)
{
    AnswerUsb("44 0B", Stream(16));
    EXPECT_EQ(record.Ops.ReadWindow(5, 3, 1, 4, 2, frame.data(), UsbCamera), 0);
    EXPECT_NE(TakeUsbLog().find("; usb > 44 0B 01 03 00 01 00 04 00 02 00; usb < 16 of 16; "),
              std::string::npos);
    for (int i = 0; i < 16; ++i) EXPECT_EQ(Bytes()[i], i + 10 < 16 ? i + 10 : 0) << i;
    EXPECT_EQ(frame[8], Untouched);
}

TEST_F(TolmE, DarkWindowTellsSo)
{
    AnswerUsb("44 0B", Stream(16));
    EXPECT_EQ(record.Ops.ReadWindow(0, 3, 1, 4, 2, frame.data(), UsbCamera), 0);
    EXPECT_NE(TakeUsbLog().find("; usb > 44 0B 00 03 00 01 00 04 00 02 00; usb < 16 of 16; "),
              std::string::npos);
}

// --- sensor 5000 ---

// Line n of the stream is n; lines of 2 pixels. 524 lines: i runs up to 258, its lines are
// i + 3 and, as long as they lie within 524, i + 259.
TEST_F(TolmE, FieldsOfSensor5000AreWoven)
{
    constexpr int32_t Lines = 524;
    Prepare(0, 5000);
    UsbBytes stream;
    for (int line = 0; line < Lines; ++line) {
        for (int column = 0; column < 2; ++column) {
            stream.push_back(static_cast<uint8_t>(line & 0xFF));
            stream.push_back(static_cast<uint8_t>(line >> 8));
        }
    }
    AnswerUsb("44 0A", stream);
    std::vector<uint16_t> image(2 * Lines + 8, Untouched);
    EXPECT_EQ(record.Ops.ReadFrame(1, 2, Lines, image.data(), UsbCamera), 0);
    for (int i = 0; i < 259; ++i) {
        EXPECT_EQ(image[static_cast<size_t>(4 * i)], i + 3) << i;
        EXPECT_EQ(image[static_cast<size_t>(4 * i + 1)], i + 3) << i;
        EXPECT_EQ(image[static_cast<size_t>(4 * i + 2)], i + 259) << i;
    }
    for (size_t i = 2 * 518; i < 2 * Lines; ++i) EXPECT_EQ(image[i], 0) << i;
    EXPECT_EQ(image[2 * Lines], Untouched);
}

// 20 lines: i up to 6; lines 3 to 9 are there, 259 and on are not.
TEST_F(TolmE, FieldsBeyondTheStreamStayDark)
{
    Prepare(0, 5000);
    AnswerUsb("44 0A", UsbBytes(40, 0x11));
    std::vector<uint16_t> image(20 + 2, Untouched);
    EXPECT_EQ(record.Ops.ReadFrame(1, 1, 20, image.data(), UsbCamera), 0);
    for (size_t i = 0; i < 20; ++i) EXPECT_EQ(image[i], i < 14 && i % 2 == 0 ? 0x1111 : 0) << i;
    EXPECT_EQ(image[20], Untouched);
}

// 640 pixels of a line are taken, 1280 bytes.
TEST_F(TolmE, FieldsHave640Pixels)
{
    Prepare(0, 5000);
    AnswerUsb("44 0A", UsbBytes(size_t{2} * 700 * 8, 0x11));
    std::vector<uint16_t> image(700 * 8, Untouched);
    EXPECT_EQ(record.Ops.ReadFrame(1, 700, 8, image.data(), UsbCamera), 0);
    EXPECT_EQ(std::count(image.begin(), image.end(), 0x1111), 640);
    EXPECT_EQ(image[639], 0x1111);
    EXPECT_EQ(image[640], 0);
}

TEST_F(TolmE, WindowOfSensor5000IsPlain)
{
    Prepare(0, 5000);
    AnswerUsb("44 0B", Stream(64));
    EXPECT_EQ(record.Ops.ReadWindow(1, 0, 0, Width, Height, frame.data(), UsbCamera), 0);
    EXPECT_EQ(Bytes()[0], 10);
}

// --- binding ---

TEST_F(TolmE, WrenIsTheSameCamera)
{
    const CameraOps before = record.Ops;
    PrepareFakeUsb(300, 255, 0);
    EXPECT_EQ(memcmp(&before, &record.Ops, sizeof before), 0);
    EXPECT_EQ(record.WaveExtraCount, 6);
    EXPECT_EQ(record.TemperatureDecimals, 1);
}

} // namespace
