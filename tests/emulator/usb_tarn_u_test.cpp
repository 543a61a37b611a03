// Tarn_U by hand: pairs of register and value, commands by strobe.
#include "tests/emulator/usb_told_wire.h"

namespace {

constexpr uint8_t Increment = 64;

class TarnU : public ToldWire {
protected:
    void SetUp() override
    {
        ToldWire::SetUp();
        setup.platform = 29;
        setup.sensor = 260;
    }

    void Command(uint8_t number)
    {
        Send({4, static_cast<uint8_t>(number | 128), 4, number});
        System.clock.Sleep(1);
    }

    void SetWord(uint8_t number, uint16_t word)
    {
        Send({0, static_cast<uint8_t>(word), 1, static_cast<uint8_t>(word >> 8)});
        Command(number);
    }

    uint16_t GetWord(uint8_t number)
    {
        Command(number);
        return Joined(Registers(2, 29 | Increment)).at(0);
    }

    // Register of 10, 2 cells ahead.
    void TellGeometry(uint16_t width, uint16_t height, uint16_t hbin, uint16_t vbin)
    {
        SetWord(6, 0);
        SetWord(7, 0);
        SetWord(8, width);
        SetWord(9, height);
        SetWord(10, 10);
        SetWord(11, 2);
        SetWord(12, hbin);
        SetWord(13, vbin);
    }

    void Expose(uint8_t command)
    {
        Command(command);
        Command(20);
    }

    Words Frame(uint32_t words)
    {
        Bytes bytes = {4, 17 | 128, 4, 17};
        const Bytes request = Request(2 * words, 31);
        bytes.insert(bytes.end(), request.begin(), request.end());
        Send(bytes);
        return ReadWords(words);
    }
};

} // namespace

TEST_F(TarnU, WordRegistersReadBack)
{
    Plug(true);
    Send({0, 0x55, 1, 0xAA});
    EXPECT_EQ(Registers(2, 0 | Increment), (Bytes{0x55, 0xAA}));
    Send({5, 32});
    EXPECT_EQ(EmuUsbRegister(camera, EmuTarnUByte + 5), 32);
}

TEST_F(TarnU, ACommandRunsAsItsStrobeFalls)
{
    Plug(true);
    Send({4, 21 | 128});
    EXPECT_EQ(EmuUsbCommands(camera, 21), 0u);
    Send({4, 21});
    EXPECT_EQ(EmuUsbCommands(camera, 21), 1u);
    EXPECT_EQ(Registers(1, 28), (Bytes{1})) << "busy";
    System.clock.Sleep(1);
    EXPECT_EQ(Registers(1, 28), (Bytes{0}));
}

TEST_F(TarnU, VersionsAreWords)
{
    setup.version = 0x0121;
    Plug(true);
    EXPECT_EQ(GetWord(1), 0x0121);
    EXPECT_EQ(GetWord(2), 4098);
}

TEST_F(TarnU, AnOldFirmwareSaysSo)
{
    setup.firmware = 4097;
    Plug(true);
    EXPECT_EQ(GetWord(2), 4097);
}

TEST_F(TarnU, TemperatureIsAWord)
{
    Plug(true);
    EXPECT_EQ(GetWord(3), 60479); // 293.15 x 7870 / 38.146972 = 60478.99
}

TEST_F(TarnU, TheCoolerRunsWithItsFan)
{
    Plug(true);
    SetWord(4, 2047);
    EXPECT_EQ(EmuUsbCoolerPower(camera), 2047);
    EXPECT_FALSE(EmuUsbCoolerOn(camera));
    SetWord(5, 4095);
    EXPECT_EQ(EmuUsbFan(camera), 4095);
    EXPECT_TRUE(EmuUsbCoolerOn(camera));
    System.clock.Sleep(600'000);
    EXPECT_NEAR(EmuUsbTemperature(camera), -10.0, 0.1);
    SetWord(5, 0);
    SetWord(4, 0);
    EXPECT_FALSE(EmuUsbCoolerOn(camera));
}

TEST_F(TarnU, MemoryIsAddressedByBytes)
{
    setup.memory[8] = 54321;
    Plug(true);
    SetWord(22, 16);
    EXPECT_EQ(GetWord(24), 54321);
    SetWord(22, 14);
    SetWord(23, 0x1234);
    EXPECT_EQ(EmuUsbMemoryWord(camera, 7), 0x1234);
    SetWord(22, 0xFFFF);
    GetWord(24);
    EXPECT_EQ(EmuUsbStrayBytes(camera), 0u);
}

TEST_F(TarnU, ParametersAreKept)
{
    Plug(true);
    SetWord(15, 260);
    SetWord(27, 10);
    EXPECT_EQ(EmuUsbRegister(camera, 15), 260);
    EXPECT_EQ(EmuUsbRegister(camera, 27), 10);
}

TEST_F(TarnU, TheWheelShowsInRegister7)
{
    setup.wheel.kind = EmuNibbleWheel;
    Plug(true);
    Send({7, 112});
    EXPECT_EQ(Registers(1, 7), (Bytes{112}));
    EmuUsbWheel(camera)->stuck = true;
    EXPECT_EQ(Registers(1, 7), (Bytes{114}));
}

TEST_F(TarnU, AFrameHasTheToldGeometry)
{
    Plug(true);
    TellGeometry(6, 2, 1, 1);
    Expose(19);
    EXPECT_EQ(Frame(12), (Words{101, 102, 103, 104, 105, 106, 201, 202, 203, 204, 205, 206}));
    EXPECT_EQ(EmuUsbExposures(camera), 1u);
}

TEST_F(TarnU, BinsAreSums)
{
    Plug(true);
    TellGeometry(2, 2, 3, 2);
    Expose(19);
    EXPECT_EQ(Frame(4), (Words{912, 930, 2112, 2130}));
}

TEST_F(TarnU, AWindowBeginsAtParameters6And7)
{
    Plug(true);
    TellGeometry(2, 2, 2, 1);
    SetWord(6, 1);
    SetWord(7, 2);
    Expose(19);
    EXPECT_EQ(Frame(4), (Words{607, 611, 807, 811}));
}

TEST_F(TarnU, AnotherFirstCellShiftsThePicture)
{
    Plug(true);
    TellGeometry(6, 1, 1, 1);
    SetWord(11, 3);
    Expose(19);
    EXPECT_EQ(Frame(6), (Words{102, 103, 104, 105, 106, 0}));
}

TEST_F(TarnU, LightIsTheLastShutterCommand)
{
    Plug(true);
    TellGeometry(2, 1, 1, 1);
    Expose(19);
    Expose(18);
    EXPECT_EQ(Frame(2), (Words{0, 0}));
    EXPECT_EQ(EmuUsbExposures(camera), 1u);
}

TEST_F(TarnU, NoMoreComesThanThereIs)
{
    Plug(true);
    TellGeometry(2, 1, 1, 1);
    Expose(19);
    EXPECT_EQ(Frame(5), (Words{101, 102}));
}

TEST_F(TarnU, WithoutItsCommandThereIsNoFrame)
{
    Plug(true);
    TellGeometry(2, 1, 1, 1);
    Expose(19);
    EXPECT_EQ(Registers(4, 31), Bytes());
}

TEST_F(TarnU, AnArmedFrameWaitsForTheTrigger)
{
    Plug(true);
    TellGeometry(2, 1, 1, 1);
    Command(19);
    SetWord(25, 1);
    Command(20);
    EXPECT_EQ(Frame(2), Words());
    EmuUsbTrigger(camera, true);
    EXPECT_EQ(ReadWords(2), (Words{101, 102}));
}

TEST_F(TarnU, PixelsHaveTheirPace)
{
    setup.wordNs = 2'000'000;
    Plug(true);
    TellGeometry(2, 1, 1, 1);
    Expose(19);
    const uint64_t before = EmuMicroseconds();
    EXPECT_EQ(Frame(2), (Words{101, 102}));
    EXPECT_EQ(EmuMicroseconds(), before + 125 + 3'000);
}
