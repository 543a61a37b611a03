// What hangs on the serial lines of a bus camera, and its temperature.
#include "tests/emulator/bus_wire.h"

namespace {

// The lines of the camera memory in register 12, 13 on uNOD_II.
struct MemoryLines {
    uint16_t reg, select, clock, data;
    int32_t addressBits, dataBits;
};
constexpr MemoryLines Words = {12, 0x10, 0x04, 0x08, 6, 16};
constexpr MemoryLines Bytes = {12, 0x10, 0x04, 0x08, 7, 8};

class BusAnalog : public BusWire {
protected:
    uint16_t lines = 0;

    void Put(const MemoryLines& m, uint16_t bit, bool high)
    {
        lines = static_cast<uint16_t>(high ? lines | bit : lines & ~bit);
        Register(m.reg, lines);
    }

    void Pulse(const MemoryLines& m)
    {
        Put(m, m.clock, true);
        Put(m, m.clock, false);
    }

    void Command(const MemoryLines& m, uint32_t opcode, uint32_t address)
    {
        lines = 0;
        Register(m.reg, lines);
        Put(m, m.select, true);
        Put(m, m.clock, true);
        Put(m, m.data, true);
        Put(m, m.clock, false);
        const uint32_t bits = opcode << m.addressBits | address;
        for (int32_t bit = m.addressBits + 1; bit >= 0; --bit) {
            Put(m, m.clock, true);
            Put(m, m.data, (bits >> bit & 1u) != 0);
            Put(m, m.clock, false);
        }
        Pulse(m);
    }

    void Deselect(const MemoryLines& m)
    {
        Put(m, m.select, false);
        Pulse(m);
    }

    // Deselected, many clocks, selected again.
    void AwaitWrite(const MemoryLines& m)
    {
        Put(m, m.data, false);
        Put(m, m.select, false);
        for (int32_t i = 0; i < 10; ++i) Pulse(m);
        Put(m, m.select, true);
        Put(m, m.clock, true);
        Put(m, m.data, true);
        Put(m, m.clock, false);
        Put(m, m.data, false);
    }

    uint32_t ReadWord(const MemoryLines& m, uint32_t address)
    {
        Command(m, 2, address);
        uint32_t value = 0;
        for (int32_t i = 0; i < m.dataBits; ++i) {
            Pulse(m);
            value = value << 1 | (Status(7) & 1u);
        }
        Deselect(m);
        return value;
    }

    void WriteWord(const MemoryLines& m, uint32_t address, uint32_t value)
    {
        Command(m, 1, address);
        for (int32_t bit = m.dataBits - 1; bit >= 0; --bit) {
            Put(m, m.data, (value >> bit & 1u) != 0);
            Pulse(m);
        }
        AwaitWrite(m);
        Deselect(m);
    }

    void Erase(const MemoryLines& m, uint32_t address)
    {
        Command(m, 3, address);
        AwaitWrite(m);
        Deselect(m);
    }

    void Enable(const MemoryLines& m, uint32_t address)
    {
        Command(m, 0, address);
        Deselect(m);
    }

    // One reading of a burst: 0xFFEE, the start, one conversion.
    uint16_t Convert()
    {
        Address(0xFFEE);
        Register(11, 0x80);
        Register(11, 0);
        Register(0, 1);
        Register(0, 0);
        return EmuBusRead(camera);
    }

    void DriveCooler(uint16_t reg, uint32_t code, uint16_t kept)
    {
        Register(reg, kept | 2);
        ShiftOut(code, 12, kept | 2, 8, 4);
        Data(kept);
    }

    void FrontEndWord(uint32_t address, uint32_t value)
    {
        Register(11, 0x10);
        Data(0x50); // the clock ahead of the address
        Data(0x10);
        ShiftOut(address << 12 | value, 15, 0x10, 0x20, 0x40);
        Data(0);
    }
};

TEST_F(BusAnalog, MemoryWordIsReadByItsLines)
{
    setup.memory[5] = 0xA53C;
    setup.memory[63] = 0x8001;
    Plug();
    EXPECT_EQ(ReadWord(Words, 5), 0xA53Cu);
    EXPECT_EQ(ReadWord(Words, 63), 0x8001u);
}

TEST_F(BusAnalog, MemoryTakesNothingBeforeItIsEnabled)
{
    setup.memory[5] = 0xA53C;
    Plug();
    Erase(Words, 5);
    WriteWord(Words, 5, 0x1234);
    EXPECT_EQ(EmuBusMemoryWord(camera, 5), 0xA53C);
    Enable(Words, 48);
    Erase(Words, 5);
    EXPECT_EQ(EmuBusMemoryWord(camera, 5), 0xFFFF);
    WriteWord(Words, 5, 0x1234);
    EXPECT_EQ(EmuBusMemoryWord(camera, 5), 0x1234);
    Enable(Words, 0);
    Erase(Words, 5);
    EXPECT_EQ(EmuBusMemoryWord(camera, 5), 0x1234);
}

TEST_F(BusAnalog, MemoryErasesAll)
{
    setup.memory[0] = 1;
    setup.memory[40] = 2;
    Plug();
    Enable(Words, 48);
    Command(Words, 0, 32);
    AwaitWrite(Words);
    Deselect(Words);
    EXPECT_EQ(EmuBusMemoryWord(camera, 0), 0xFFFF);
    EXPECT_EQ(EmuBusMemoryWord(camera, 40), 0xFFFF);
}

// Word 3 is bytes 6, its low one, and 7.
TEST_F(BusAnalog, HeronsMemoryHasBytes)
{
    setup.platform = 60;
    setup.memory[3] = 0x1122;
    Plug();
    EXPECT_EQ(ReadWord(Bytes, 6), 0x22u);
    EXPECT_EQ(ReadWord(Bytes, 7), 0x11u);
    Enable(Bytes, 96);
    Erase(Bytes, 6);
    WriteWord(Bytes, 6, 0xAB);
    EXPECT_EQ(EmuBusMemoryWord(camera, 3), 0x11AB);
}

TEST_F(BusAnalog, MemoryReadSendsOneZeroAheadOfTheWord)
{
    setup.memory[1] = 0xFFFF;
    Plug();
    Command(Words, 2, 1);
    EXPECT_EQ(Status(7) & 1, 0);
    Pulse(Words);
    EXPECT_EQ(Status(7) & 1, 1);
}

// 293.15 K: 293.15 microamperes through 15000 ohm are 4397250 microvolts, and
// 4397250 / 1220.703125 = 3602.2; through 4990 ohm 1462818.5, and 1198.3.
TEST_F(BusAnalog, BriarConvertsByTheResistorOfWord9)
{
    Plug();
    EXPECT_EQ(Convert(), 3602);
    EmuBusSetMemoryWord(camera, 9, 1);
    EXPECT_EQ(Convert(), 1198);
}

TEST_F(BusAnalog, R3AlwaysHasTheLargeResistor)
{
    setup.platform = 44;
    setup.memory[9] = 1;
    Plug();
    EXPECT_EQ(Convert(), 3602);
}

TEST_F(BusAnalog, NothingIsConvertedBeforeTheBurstIsStarted)
{
    Plug();
    Register(0, 1);
    Register(0, 0);
    EXPECT_EQ(EmuBusRead(camera), 0xFFFF);
    EXPECT_FALSE(EmuBusPixelWaits(camera));
}

TEST_F(BusAnalog, AConversionCanBeTakenLikeAPixel)
{
    Plug();
    Convert();
    EXPECT_TRUE(EmuBusPixelWaits(camera));
    EXPECT_EQ(EmuBusTakePixel(camera), 3602);
    EXPECT_FALSE(EmuBusPixelWaits(camera));
}

// 293.15 - 62.5 = 230.65 K: 1150943.5 microvolts, 30171.3 counts of 38.147; bit 15
// is inverted: 30171 + 32768.
TEST_F(BusAnalog, LaterPlatformsConvertWith16Bits)
{
    for (const int32_t platform : {25, 30, 80}) {
        setup.platform = platform;
        Plug();
        EXPECT_EQ(Convert(), 62939) << platform;
    }
}

// 293.15 * 4990 = 1462818.5 microvolts of 4.5 volts in 65536 steps: 21303.9; in 4096
// steps: 1331.49.
TEST_F(BusAnalog, Tarn3ConvertsInASection)
{
    setup.platform = 22;
    for (const uint8_t bits : {uint8_t{16}, uint8_t{12}}) {
        setup.bits = bits;
        Plug();
        Load(1, {0, Gate, Strobe});
        Address(0xFFEE);
        Stream(1, 3, 2);
        const uint16_t count = bits == 16 ? 21304 : 1331;
        EXPECT_EQ(Drain(), std::vector<uint16_t>(3, count));
        Stream(1, 1, 2);
        EXPECT_EQ(Drain(), std::vector<uint16_t>(1, 0));
    }
}

// ln R = 8.517 gives 0.0012891 + 0.00200669 + 0.00005824 = 1 / 298.15, so the thermistor
// has 4999 ohm at 25 degrees: 15 * 1070 / 6069 = 2.6446 volts, and
// (2.6446 - 0.3125) / 3.814697e-05 = 61134.
TEST_F(BusAnalog, ThermistorOfSensor500)
{
    setup.platform = 30;
    setup.sensor = 500;
    setup.ambient = 25;
    Plug();
    EXPECT_NEAR(Convert() ^ 0x8000, 61134, 20);
}

// (shown + 1.5) * 2 is 20 when 8.5 are shown: 281.65 * 15000 / 1220.703125 = 3460.9.
TEST_F(BusAnalog, TheCorrectionInTheMemoryLeadsToTheTruth)
{
    setup.memory[0] = 15;
    setup.memory[1] = 20;
    Plug();
    EXPECT_EQ(Convert(), 3461);
}

TEST_F(BusAnalog, CoolerDriveComesByTheSharedLines)
{
    Plug();
    DriveCooler(12, 0x9A5, 0x20);
    EXPECT_EQ(EmuBusCoolerPower(camera), 0x9A5);
    EXPECT_TRUE(EmuBusCoolerOn(camera));
}

TEST_F(BusAnalog, MemoryTrafficLeavesTheDriveAlone)
{
    Plug();
    DriveCooler(12, 0x123, 0);
    ReadWord(Words, 63);
    EXPECT_EQ(EmuBusCoolerPower(camera), 0x123);
}

// Full drive goes to 60 degrees below ambient; 63 percent of the way in a minute.
TEST_F(BusAnalog, SensorCoolsByTheClock)
{
    Plug();
    DriveCooler(12, 4095, 0);
    System.clock.Sleep(60000);
    EXPECT_DOUBLE_EQ(EmuBusTemperature(camera), 20.0);
    Register(12, 0x20);
    System.clock.Sleep(60000);
    EXPECT_NEAR(EmuBusTemperature(camera), 20 - 60 * 0.6321, 0.01);
    System.clock.Sleep(3600000);
    EXPECT_NEAR(EmuBusTemperature(camera), -40.0, 0.001);
}

TEST_F(BusAnalog, CoolerOfHeronIsInRegister0)
{
    setup.platform = 60;
    Plug();
    Register(0, 0x8000);
    EXPECT_TRUE(EmuBusCoolerOn(camera));
    Register(0, 0);
    EXPECT_FALSE(EmuBusCoolerOn(camera));
}

TEST_F(BusAnalog, FrontEndTakesWordsOfThreeAndTwelveBits)
{
    setup.platform = 44;
    Plug();
    FrontEndWord(2, 56);
    FrontEndWord(5, 0xABC);
    EXPECT_EQ(EmuBusGainWord(camera, 2), 56u);
    EXPECT_EQ(EmuBusGainWord(camera, 5), 0xABCu);
}

TEST_F(BusAnalog, FrontEndUnitsAreSelectedByRegister12)
{
    setup.platform = 80;
    Plug();
    Register(12, 0x80);
    FrontEndWord(2, 38);
    Register(12, 0);
    FrontEndWord(2, 56);
    Register(12, 0x8000);
    FrontEndWord(2, 63);
    EXPECT_EQ(EmuBusGainWord(camera, 2), 38u);
    EXPECT_EQ(EmuBusGainWord(camera, 10), 56u);
}

// 205 = 0xCD: its seven highest bits are 0x66.
TEST_F(BusAnalog, BriarTakesSevenBitsWhileItsSelectIsLow)
{
    Plug();
    Register(11, 0x10);
    Register(11, 0);
    ShiftOut(205 >> 1, 7, 0, 0x20, 0x40);
    Register(11, 0x10);
    EXPECT_EQ(EmuBusGainWord(camera, 0), 0x66u);
}

// Control byte 5, frame, word, control byte 4, frame; least significant bits first, a 0
// behind any three 1 of the word.
TEST_F(BusAnalog, ClockSynthesiserTakesItsWord)
{
    setup.platform = 44;
    Plug();
    const uint32_t word = 0x2E0F01;
    std::vector<bool> bits = {1, 0, 1, 0, 0, 0, 0, 0, 0, 1, 1, 1, 1, 0};
    int32_t ones = 0;
    for (int32_t i = 0; i < 22; ++i) {
        const bool bit = (word >> i & 1u) != 0;
        bits.push_back(bit);
        ones = bit ? ones + 1 : 0;
        if (ones != 3) continue;
        bits.push_back(false);
        ones = 0;
    }
    const std::vector<bool> tail = {0, 0, 1, 0, 0, 0, 0, 0, 0, 1, 1, 1, 1, 0};
    bits.insert(bits.end(), tail.begin(), tail.end());
    for (const bool bit : bits) {
        const uint16_t line = bit ? 0x200 : 0;
        Register(12, line);
        Register(12, line | 0x100);
        Register(12, line);
    }
    EXPECT_EQ(EmuBusClockWord(camera), word);
}

} // namespace
