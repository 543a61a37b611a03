// WREN and TOLM_E by hand: 'D', command, arguments.
#include "emulator/traffic.h"
#include "tests/emulator/usb_told_wire.h"

namespace {

constexpr uint8_t D = 0x44;
const Bytes Done = {1};

class TolmE : public ToldWire {
protected:
    void SetUp() override
    {
        ToldWire::SetUp();
        setup.platform = 450;
        setup.sensor = 3945;
    }

    // Width, register of 10, 2 cells ahead, 4 rows, 3 dummy lines, binning.
    void TellGeometry(uint8_t width, uint8_t hbin, uint8_t vbin)
    {
        EXPECT_EQ(Ask({D, 9, 0, 0, 0,    0, width, 0, 10, 0, 2,  0,
                       4, 0, 3, 0, hbin, 0, vbin,  0, 10, 0, 25, 0},
                      1),
                  Done);
    }

    void OpenShutter() { EXPECT_EQ(Ask({D, 19, 1}, 1), Done); }

    Words Frame(uint8_t width, uint8_t height)
    {
        Send({D, 10, 1, width, 0, height, 0});
        return ReadWords(uint32_t{width} * height);
    }
};

} // namespace

TEST_F(TolmE, VersionIsTheHardwares)
{
    Plug(false);
    EXPECT_EQ(Ask({D, 1}, 1), (Bytes{0x2A}));
}

TEST_F(TolmE, TemperatureIsTwoBytes)
{
    Plug(false);
    // 293.15 K x 7.87 mV / 0.6103515625 mV = 3779.95
    EXPECT_EQ(Ask({D, 3}, 2), (Bytes{0xC4, 0x0E}));
    EmuUsbSetTemperature(camera, -20.0); // 253.15 K: 3264.21, and a little drift
    EXPECT_EQ(Ask({D, 3}, 2), (Bytes{0xC0, 0x0C}));
}

TEST_F(TolmE, CoolerNeedsPowerAndSwitch)
{
    Plug(false);
    EXPECT_EQ(Ask({D, 8, 0, 0xFF, 0x07}, 1), Done);
    EXPECT_EQ(EmuUsbCoolerPower(camera), 2047);
    System.clock.Sleep(600'000);
    EXPECT_NEAR(EmuUsbTemperature(camera), 20.0, 0.01);
    EXPECT_EQ(Ask({D, 4, 1}, 1), Done);
    EXPECT_TRUE(EmuUsbCoolerOn(camera));
    System.clock.Sleep(600'000);
    EXPECT_NEAR(EmuUsbTemperature(camera), -10.0, 0.1) << "half of 60 degrees";
    EXPECT_EQ(Ask({D, 4, 0}, 1), Done);
    EXPECT_FALSE(EmuUsbCoolerOn(camera));
}

TEST_F(TolmE, FanIsTheSecondChannel)
{
    Plug(false);
    EXPECT_EQ(Ask({D, 8, 1, 0x85, 0x41}, 1), Done);
    EXPECT_EQ(EmuUsbFan(camera), 16773);
    EXPECT_EQ(EmuUsbCoolerPower(camera), 0);
}

TEST_F(TolmE, EveryOtherSettingIsAcknowledgedAndKept)
{
    Plug(false);
    EXPECT_EQ(Ask({D, 6}, 1), Done);
    EXPECT_EQ(EmuUsbCommands(camera, 6), 1u);
    EXPECT_EQ(Ask({D, 7, 0x40, 0x42, 0x0F, 0, 25, 0, 0, 0}, 1), Done);
    EXPECT_EQ(EmuUsbLongRegister(camera, EmuTolmEExposure), 1000000u);
    EXPECT_EQ(EmuUsbLongRegister(camera, EmuTolmEDelay), 25u);
    EXPECT_EQ(Ask({D, 12, 38, 0, 1, 0, 0, 1, 1, 0}, 1), Done);
    EXPECT_EQ(EmuUsbGainWord(camera, 0), 38u);
    EXPECT_EQ(EmuUsbGainWord(camera, 1), 1u);
    EXPECT_EQ(EmuUsbGainWord(camera, 2), 256u);
    EXPECT_EQ(EmuUsbGainWord(camera, 3), 1u);
    EXPECT_EQ(Ask({D, 13, 1, 5}, 1), Done);
    EXPECT_EQ(EmuUsbRegister(camera, EmuTolmEWheel + 1), 5);
    EXPECT_EQ(Ask({D, 16, 3}, 1), Done);
    EXPECT_EQ(EmuUsbRegister(camera, 16), 3);
    EXPECT_EQ(Ask({D, 18, 0x69, 0x0F}, 1), Done);
    EXPECT_EQ(EmuUsbRegister(camera, 18), 3945);
    EXPECT_EQ(Ask({D, 20, 0x5A}, 1), Done);
    EXPECT_EQ(EmuUsbRegister(camera, 20), 0x5A);
    EXPECT_EQ(Ask({D, 17}, 1), Done);
    EXPECT_EQ(EmuUsbCommands(camera, 17), 1u);
    EXPECT_EQ(EmuUsbStrayBytes(camera), 0u);
    EXPECT_EQ(EmuUsbWaiting(camera), 0u);
}

TEST_F(TolmE, PlugAnswersWithTwoBytes)
{
    Plug(false);
    EXPECT_EQ(Ask({D, 23, 1, 0, 0, 0, 2, 0, 0, 0, 3, 0, 0, 0, 4, 5}, 3).size(), 2u);
    EXPECT_EQ(EmuUsbGeometry(camera, 16), 1);
    EXPECT_EQ(EmuUsbGeometry(camera, 18), 2);
    EXPECT_EQ(EmuUsbGeometry(camera, 20), 3);
    EXPECT_EQ(EmuUsbGeometry(camera, 22), 0x0504);
}

TEST_F(TolmE, MemoryHasWords)
{
    setup.memory[8] = 54321;
    Plug(false);
    EXPECT_EQ(Ask({D, 15, 8, 0}, 2), (Bytes{0x31, 0xD4}));
    EXPECT_EQ(Ask({D, 14, 7, 0, 0x34, 0x12}, 1), Done);
    EXPECT_EQ(EmuUsbMemoryWord(camera, 7), 0x1234);
    EXPECT_EQ(Ask({D, 15, 7, 0}, 2), (Bytes{0x34, 0x12}));
    EXPECT_EQ(Ask({D, 15, 64, 0}, 2), (Bytes{0xFF, 0xFF})) << "behind its end";
    EXPECT_EQ(Ask({D, 14, 0xFF, 0xFF, 1, 0}, 1), Done);
}

TEST_F(TolmE, TheTriggerIsAsked)
{
    Plug(false);
    EXPECT_EQ(Ask({D, 21}, 1), (Bytes{0}));
    EmuUsbTrigger(camera, true);
    EXPECT_EQ(Ask({D, 21}, 1), (Bytes{1}));
}

TEST_F(TolmE, AFrameHasTheLinesOfTheGeometry)
{
    Plug(false);
    TellGeometry(6, 1, 1);
    EXPECT_EQ(EmuUsbGeometry(camera, 2), 6);
    EXPECT_EQ(EmuUsbGeometry(camera, 10), 25);
    OpenShutter();
    EXPECT_EQ(Frame(6, 2), (Words{101, 102, 103, 104, 105, 106, 201, 202, 203, 204, 205, 206}));
    EXPECT_EQ(EmuUsbExposures(camera), 1u);
}

TEST_F(TolmE, BinsAreSums)
{
    Plug(false);
    TellGeometry(2, 3, 2);
    OpenShutter();
    // (101 + 102 + 103) + (201 + 202 + 203) and so on.
    EXPECT_EQ(Frame(2, 2), (Words{912, 930, 2112, 2130}));
}

TEST_F(TolmE, AnotherWidthThanToldShearsThePicture)
{
    Plug(false);
    TellGeometry(6, 1, 1);
    OpenShutter();
    EXPECT_EQ(Frame(4, 2), (Words{101, 102, 103, 104, 105, 106, 201, 202}));
}

TEST_F(TolmE, AnotherFirstCellShiftsThePicture)
{
    Plug(false);
    EXPECT_EQ(Ask({D, 9, 0, 0, 0, 0, 6, 0, 10, 0, 1, 0, 4, 0, 3, 0, 1, 0, 1, 0, 10, 0, 25, 0}, 1),
              Done);
    OpenShutter();
    EXPECT_EQ(Frame(6, 1), (Words{0, 101, 102, 103, 104, 105}));
}

TEST_F(TolmE, BehindTheToldRegisterAndRowsThereIsNothing)
{
    Plug(false);
    EXPECT_EQ(Ask({D, 9, 0, 0, 0, 0, 6, 0, 6, 0, 2, 0, 2, 0, 3, 0, 1, 0, 1, 0, 10, 0, 25, 0}, 1),
              Done);
    OpenShutter();
    EXPECT_EQ(Frame(6, 3),
              (Words{101, 102, 103, 104, 0, 0, 201, 202, 203, 204, 0, 0, 0, 0, 0, 0, 0, 0}));
}

TEST_F(TolmE, WithoutGeometryAFrameIsEmpty)
{
    Plug(false);
    OpenShutter();
    EXPECT_EQ(Frame(2, 1), (Words{0, 0}));
}

TEST_F(TolmE, AWindowHasItsOwnLines)
{
    Plug(false);
    TellGeometry(3, 2, 1);
    OpenShutter();
    Send({D, 11, 1, 1, 0, 2, 0, 2, 0, 2, 0}); // from bin 1, row 2: 2 x 2
    EXPECT_EQ(ReadWords(4), (Words{607, 611, 807, 811}));
}

TEST_F(TolmE, LightNeedsShutterLineAndFrameByte)
{
    Plug(false);
    TellGeometry(6, 1, 1);
    EXPECT_EQ(Frame(2, 1), (Words{0, 0})) << "the line was never up";
    OpenShutter();
    Send({D, 10, 0, 2, 0, 1, 0});
    EXPECT_EQ(ReadWords(2), (Words{0, 0}));
    EXPECT_EQ(Ask({D, 19, 0}, 1), Done);
    EXPECT_EQ(Frame(2, 1), (Words{0, 0}));
    EXPECT_EQ(EmuUsbExposures(camera), 0u);
}

TEST_F(TolmE, TheFrameComesAfterTheExposureAtThePixelsPace)
{
    setup.wordNs = 2000000; // 2 ms a pixel
    Plug(false);
    TellGeometry(6, 1, 1);
    OpenShutter();
    const uint64_t asked = EmuMicroseconds() + 125;
    EXPECT_EQ(Ask({D, 7, 0xA0, 0x86, 0x01, 0, 5, 0, 0, 0}, 1), Done); // 100 ms and 5 ms
    Send({D, 10, 1, 3, 0, 1, 0});
    EXPECT_EQ(Read(5), (Bytes{101, 0, 102, 0, 103}));
    EXPECT_EQ(EmuMicroseconds(), asked + 105'000 + 4'000);
}

TEST_F(TolmE, AnArmedFrameWaitsForTheTrigger)
{
    Plug(false);
    TellGeometry(6, 1, 1);
    OpenShutter();
    EXPECT_EQ(Ask({D, 22}, 1), Done);
    Send({D, 10, 1, 2, 0, 1, 0});
    EXPECT_EQ(Read(4), Bytes());
    EmuUsbTrigger(camera, true);
    EXPECT_EQ(ReadWords(2), (Words{101, 102}));
    EXPECT_EQ(Frame(1, 1), (Words{101})) << "armed once";
}

TEST_F(TolmE, TwoFieldsLie256LinesApart)
{
    setup.platform = 300;
    setup.sensor = 5000;
    setup.chip = {1, 512, 0, 1, WideScene};
    Plug(false);
    EXPECT_EQ(Ask({D, 9, 0, 0, 0, 0, 1, 0, 1, 0, 0, 0, 0, 2, 0, 0, 1, 0, 1, 0, 10, 0, 25, 0}, 1),
              Done);
    OpenShutter();
    Send({D, 10, 1, 1, 0, 0, 2}); // 1 x 512
    const Words words = ReadWords(512);
    ASSERT_EQ(words.size(), 512u);
    EXPECT_EQ(words[2], 0);
    EXPECT_EQ(words[3], 101);
    EXPECT_EQ(words[4], 301);
    EXPECT_EQ(words[259], 201);
    EXPECT_EQ(words[260], 401);
}

TEST_F(TolmE, AShortFrameIsOneThatStops)
{
    Plug(false);
    TellGeometry(6, 1, 1);
    OpenShutter();
    EmuUsbMute(camera, 3);
    Send({D, 10, 1, 6, 0, 1, 0});
    EXPECT_EQ(Read(12), (Bytes{101, 0, 102}));
    EXPECT_EQ(Ask({D, 1}, 1), Bytes());
}

TEST_F(TolmE, EachFrameStallsBehindAPixel)
{
    Plug(false);
    TellGeometry(6, 1, 1);
    OpenShutter();
    EmuUsbStall(camera, 2);
    EXPECT_EQ(Frame(6, 1), (Words{101, 102}));
    EXPECT_EQ(Ask({D, 1}, 1), (Bytes{0x2A}));
    EXPECT_EQ(Frame(6, 1), (Words{101, 102}));
}

TEST_F(TolmE, ALagIsThereAheadAndMissingBehind)
{
    setup.lagCells = 4;
    setup.lagWords = 1;
    Plug(false);
    TellGeometry(6, 1, 1);
    OpenShutter();
    EXPECT_EQ(Frame(6, 1), (Words{0, 0, 0, 0, 0, 101}));
    TellGeometry(3, 2, 1);
    EXPECT_EQ(Frame(3, 2), (Words{0, 0, 0, 203, 207, 211})) << "4 / 2 + 1";
}

TEST_F(TolmE, ACommandMayComeInPieces)
{
    Plug(false);
    Send({D});
    Send({15, 8});
    EXPECT_EQ(Ask({0}, 3).size(), 2u);
    EXPECT_EQ(EmuUsbStrayBytes(camera), 0u);
}

TEST_F(TolmE, StrayBytesAreCountedAndNoted)
{
    Plug(false);
    EmuRecord(true);
    Send({0x55, D, 99, D, 1});
    EXPECT_EQ(Read(4), (Bytes{0x2A}));
    EXPECT_EQ(EmuUsbStrayBytes(camera), 3u);
    EXPECT_EQ(EmuTraffic(), "usb > 55 44 63 44 01\nstray byte 55\nstray byte 44\nstray byte 63\n"
                            "usb < 1 of 4\n");
}

TEST_F(TolmE, AHugeFrameIsNotMade)
{
    Plug(false);
    TellGeometry(6, 1, 1);
    Send({D, 10, 1, 0xFF, 0xFF, 0xFF, 0xFF});
    EXPECT_LE(EmuUsbWaiting(camera), 128u << 20);
}

TEST_F(TolmE, PluggedInAgainItIsAsAtPowerUp)
{
    Plug(false);
    TellGeometry(6, 1, 1);
    EXPECT_EQ(Ask({D, 4, 1}, 1), Done);
    EXPECT_EQ(Ask({D, 14, 7, 0, 0x34, 0x12}, 1), Done);
    EmuUnplugUsbCamera(camera);
    EXPECT_EQ(Ask({D, 1}, 1), Bytes());
    EmuReplugUsbCamera(camera);
    EXPECT_FALSE(EmuUsbCoolerOn(camera));
    EXPECT_EQ(EmuUsbGeometry(camera, 2), 0);
    EXPECT_EQ(EmuUsbMemoryWord(camera, 7), 0x1234) << "memory stays";
    ASSERT_EQ(System.usb.Open(camera, &handle), 0u);
    System.usb.SetTimeouts(handle, 500, 0);
    EXPECT_EQ(Ask({D, 1}, 1), (Bytes{0x2A}));
}

TEST_F(TolmE, NamesItself)
{
    Plug(false);
    char serial[64], description[256];
    System.usb.DeviceInfo(handle, serial, description);
    EXPECT_STREQ(serial, "00000001");
    EXPECT_STREQ(description, "TOLM_E000000000000000000");
}
