// Tarn_V on the bus: plain register numbers, a coprocessor, sections that the exposure
// starts.
#include "tests/emulator/bus_wire.h"

namespace {

using Pixels = std::vector<uint16_t>;

class BusTarn5 : public BusWire {
protected:
    void SetUp() override
    {
        BusWire::SetUp();
        setup.platform = 28;
        setup.version = 61;
    }

    void Put(uint16_t reg, uint16_t value)
    {
        Address(reg);
        Data(value);
    }

    uint16_t Get(uint16_t number)
    {
        Put(0, 32 | number);
        return EmuBusRead(camera);
    }

    void Send(const std::vector<uint16_t>& letter)
    {
        for (size_t i = 0; i < letter.size(); ++i) {
            const uint16_t control = i + 1 == letter.size() ? 0x1300 : 0x0300;
            Put(14, letter[i]);
            Put(11, control);
            Put(11, control | 0x2000);
            EXPECT_EQ(Get(30) & 1, 0);
            Put(11, 0x0300);
        }
    }

    void LoadLine5(uint16_t page)
    {
        const uint16_t words[] = {0,      Row,  Gate,  Shift,  Strobe, Gate,  Shift,
                                  Strobe, Gate, Shift, Strobe, Gate,   Shift, Strobe};
        Put(11, 0x01C0);
        for (uint16_t i = 0; i < 14; ++i) {
            Put(9, static_cast<uint16_t>(page * 256 + 13 - i));
            Put(8, words[i]);
            Put(18, 0);
        }
        Put(11, 0x0300);
    }

    void Prepare5(uint16_t page, uint16_t repeat, uint16_t end)
    {
        Put(11, 0x8300);
        Put(10, page);
        Put(9, repeat);
        Put(20, 0);
        Put(9, end);
        Put(21, 0);
    }

    // Settling of 1 ms, then 2 ms.
    void Expose(bool light)
    {
        Put(3, light ? 4 : 0);
        Put(1, 100);
        Put(2, 0);
        Put(12, 200);
        Put(13, 0);
    }
};

const Pixels BothRows = {0, 101, 102, 103, 0, 201, 202, 203};

TEST_F(BusTarn5, ListensWithoutAnAddress)
{
    camera = EmuPlugBusCamera(setup);
    EXPECT_TRUE(EmuBusListens(camera));
    EXPECT_EQ(Get(31), 61);
}

TEST_F(BusTarn5, CoprocessorAnswersItsTest)
{
    Plug();
    Send({21845, 43690, 65535, 0, 65280, 255, 4369, 8738, 17476, 34952, 13});
    EXPECT_EQ(Get(19), 4369);
    Send({21845, 43690, 65535, 0, 65280, 255, 4369, 8738, 17476, 34953, 13});
    EXPECT_EQ(Get(19), 0);
}

TEST_F(BusTarn5, CoprocessorKeepsTheMemory)
{
    setup.memory[7] = 12;
    Plug();
    Send({7, 2});
    EXPECT_EQ(Get(19), 12);
    Send({7, 500, 1});
    EXPECT_EQ(EmuBusMemoryWord(camera, 7), 500);
}

// 293.15 * 7.85 / 0.6103515625 = 3770.3.
TEST_F(BusTarn5, CoprocessorHasThermometerAndConverters)
{
    Plug();
    Send({5});
    EXPECT_EQ(Get(19), 3770);
    Send({200, 3});
    Send({255, 4});
    EXPECT_EQ(EmuBusCoolerPower(camera), 200);
    EXPECT_EQ(EmuBusFan(camera), 255);
    Put(3, 0x80);
    EXPECT_TRUE(EmuBusCoolerOn(camera));
}

TEST_F(BusTarn5, MemoryIsWrittenOnlyInItsMode)
{
    Plug();
    Put(11, 0x0300);
    Put(9, 5);
    Put(8, 77);
    Put(18, 0);
    Put(11, 0x01C0);
    Put(9, 6);
    Put(8, 78);
    Put(18, 0);
    uint16_t words[2] = {};
    EmuBusPattern(camera, 5, 2, words);
    EXPECT_EQ(words[0], 0);
    EXPECT_EQ(words[1], 78);
}

TEST_F(BusTarn5, ArmedSectionStartsAtTheEndOfTheExposure)
{
    Plug();
    LoadLine5(2);
    Prepare5(2, 2, 13);
    Put(11, 0x4300);
    EmuBusStream(camera);
    EXPECT_FALSE(EmuBusPixelWaits(camera));
    Expose(true);
    System.clock.SleepMicroseconds(2999);
    EXPECT_FALSE(EmuBusPixelWaits(camera));
    System.clock.SleepMicroseconds(1);
    EXPECT_TRUE(EmuBusPixelWaits(camera));
    EXPECT_EQ(Drain(), BothRows);
}

TEST_F(BusTarn5, DarkExposureKeepsTheShutterShut)
{
    Plug();
    LoadLine5(2);
    Prepare5(2, 2, 13);
    Put(11, 0x4300);
    EmuBusStream(camera);
    Expose(false);
    EXPECT_EQ(Drain(), Pixels(8, 0));
}

TEST_F(BusTarn5, SectionByHandIsPlayedAtOnceOrStreamed)
{
    Plug();
    LoadLine5(2);
    Expose(true);
    Prepare5(2, 1, 13);
    Put(11, 0x8F00);
    Put(11, 0x8300);
    Prepare5(2, 1, 13);
    Put(11, 0x8F00);
    Put(11, 0xC300);
    EmuBusStream(camera);
    EXPECT_EQ(Drain(), (Pixels{0, 201, 202, 203}));
}

TEST_F(BusTarn5, LettersDuringTheExposureDoNotStopTheSection)
{
    Plug();
    LoadLine5(2);
    Prepare5(2, 2, 13);
    Put(11, 0x4300);
    EmuBusStream(camera);
    Expose(true);
    Send({5});
    EXPECT_EQ(Drain(), BothRows);
}

TEST_F(BusTarn5, CommandLeavesTheStream)
{
    Plug();
    LoadLine5(2);
    Prepare5(2, 2, 13);
    Put(11, 0x4300);
    EmuBusStream(camera);
    Put(0, 16);
    Expose(true);
    EXPECT_TRUE(Drain().empty());
}

// Address 5, three bits of nothing, value 256.
TEST_F(BusTarn5, FrontEndIsOnRegister0)
{
    Plug();
    Put(0, 0x100);
    ShiftOut(5 << 12 | 256, 15, 0x100, 0x40, 0x80);
    Data(0);
    EXPECT_EQ(EmuBusGainWord(camera, 5), 256u);
}

TEST_F(BusTarn5, TriggerIsBit13OfStatus7)
{
    Plug();
    EmuBusTrigger(camera, true);
    EXPECT_EQ(Get(7), 0x2000);
}

} // namespace
