// uNOD and uNOD_II: byte registers, and frames that go by counters.
#include "tests/emulator/bus_wire.h"

namespace {

using Pixels = std::vector<uint16_t>;

// Column and row as digits: 10 * row + column, both from 1.
uint32_t DigitScene(uint32_t column, uint32_t row)
{
    return 10 * (row + 1) + column + 1;
}

class BusUnod : public BusWire {
protected:
    void SetUp() override
    {
        BusWire::SetUp();
        setup.platform = 71;
        setup.version = 0x1234;
        setup.chip = {4, 4, 2, 8, DigitScene};
    }

    void Byte(uint16_t reg, uint16_t value)
    {
        Address(reg);
        Data(value);
    }

    uint16_t ReadByte(uint16_t reg)
    {
        Address(reg);
        return EmuBusRead(camera);
    }

    void Counter(uint16_t reg, int32_t value)
    {
        Byte(reg, static_cast<uint16_t>(value & 0xFF));
        Byte(reg + 1, static_cast<uint16_t>(value >> 8));
    }

    void Expose(uint16_t units)
    {
        Counter(23, units);
        Counter(25, 0);
        Byte(13, 0x20);
        Byte(13, 0);
    }

    Pixels Frame()
    {
        Address(0xFFE2);
        EmuBusStream(camera);
        return Drain();
    }

    // Four dark rows, of which two are ahead of the image; eight cells, two of them
    // ahead of four columns.
    void FullFrame(uint16_t hbin, uint16_t vbin)
    {
        Counter(0, 4 + 4 * hbin);
        Counter(2, 4 + vbin);
        Byte(4, static_cast<uint16_t>(hbin << 4 | vbin));
        Counter(5, 2);
        Counter(7, 2);
        Counter(9, 2);
        Counter(11, 2);
        Counter(27, 4 / hbin + 4);
        Counter(29, 4 / vbin);
    }
};

TEST_F(BusUnod, RegistersAreBytesInAFlatMap)
{
    Plug();
    Byte(40, 0x1AB);
    EXPECT_EQ(ReadByte(40), 0xAB);
    EXPECT_EQ(ReadByte(22), 0x1234);
}

TEST_F(BusUnod, FullFrameHasFourWordsAheadOfEachLine)
{
    Plug();
    FullFrame(1, 1);
    Expose(1);
    EXPECT_EQ(Frame(), (Pixels{0, 0, 0, 0, 11, 12, 13, 14, 0, 0, 0, 0, 21, 22, 23, 24,
                               0, 0, 0, 0, 31, 32, 33, 34, 0, 0, 0, 0, 41, 42, 43, 44}));
}

// 11 + 12 + 21 + 22 = 66, 13 + 14 + 23 + 24 = 74, and 40 more each in the rows below.
TEST_F(BusUnod, BinsTwoByTwo)
{
    Plug();
    FullFrame(2, 2);
    Expose(1);
    EXPECT_EQ(Frame(), (Pixels{0, 0, 0, 0, 66, 74, 0, 0, 0, 0, 146, 154}));
}

// Two columns from the second, two rows from the third: a line of nothing, then those.
TEST_F(BusUnod, WindowSendsTheLineAheadOfItsRows)
{
    Plug();
    Counter(0, 2 + 4);
    Counter(2, 2 + 1);
    Byte(4, 0x11);
    Counter(5, 2 + 1);
    Counter(7, 8 - 2 - 3);
    Counter(9, 2 + 2);
    Counter(11, 0 + 2);
    Counter(27, 2 + 4);
    Counter(29, 2 + 1);
    Expose(1);
    EXPECT_EQ(Frame(), (Pixels{0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 32, 33, 0, 0, 0, 0, 42, 43}));
}

TEST_F(BusUnod, SecondFrameOfOneExposureIsDark)
{
    Plug();
    FullFrame(2, 2);
    Expose(1);
    Frame();
    EXPECT_EQ(Frame(), Pixels(12, 0));
    Expose(0);
    EXPECT_EQ(EmuBusExposures(camera), 1u);
}

TEST_F(BusUnod, StreamNeedsItsPrefix)
{
    Plug();
    FullFrame(1, 1);
    Expose(1);
    EmuBusStream(camera);
    EXPECT_TRUE(Drain().empty());
}

// 230.65 K behind the amplifier: 30171 with bit 15 inverted is 0xF5DB.
TEST_F(BusUnod, TemperatureIsInTwoRegisters)
{
    Plug();
    EXPECT_EQ(ReadByte(64), 0xDB);
    EXPECT_EQ(ReadByte(65), 0xF5);
}

TEST_F(BusUnod, TriggerIsBit4OfRegister60)
{
    Plug();
    EXPECT_EQ(ReadByte(60) & 0x10, 0);
    EmuBusTrigger(camera, true);
    EXPECT_EQ(ReadByte(60) & 0x10, 0x10);
}

TEST_F(BusUnod, CoolerAndItsDriveAreInRegister62)
{
    Plug();
    Byte(62, 1);
    Byte(62, 3);
    ShiftOut(0x800, 12, 3, 8, 4);
    Data(1);
    EXPECT_EQ(EmuBusCoolerPower(camera), 0x800);
    EXPECT_TRUE(EmuBusCoolerOn(camera));
}

TEST_F(BusUnod, FrontEndTakesWordsOfThreeAndEightBits)
{
    Plug();
    Byte(14, 0);
    ShiftOut(2 << 8 | 27, 11, 0, 0x10, 0x08);
    Data(0x04);
    Data(0);
    EXPECT_EQ(EmuBusGainWord(camera, 2), 27u);
}

// Select 0x10, clock 2, data 1, answer 0x40, all of register 13; word 1 is read.
TEST_F(BusUnod, MemoryIsOnRegister13)
{
    setup.memory[1] = 0x8003;
    Plug();
    Byte(13, 0x10);
    ShiftOut(0b110'000001, 9, 0x10, 1, 2);
    EXPECT_EQ(ReadByte(13) & 0x40, 0);
    Address(13);
    uint32_t value = 0;
    for (int32_t i = 0; i < 16; ++i) {
        Data(0x12);
        Data(0x10);
        value = value << 1 | (EmuBusRead(camera) >> 6 & 1u);
    }
    EXPECT_EQ(value, 0x8003u);
}

} // namespace
