// R4-DSP by hand: pairs of register and value, read requests, letters, the readout order.
#include "emulator/traffic.h"
#include "tests/emulator/usb_told_wire.h"

namespace {

constexpr uint8_t Increment = 64;

class R4Dsp : public ToldWire {
protected:
    void SetUp() override
    {
        ToldWire::SetUp();
        setup.platform = 48;
        setup.sensor = 255;
    }

    // A word to the mailbox; the answer after 10 ms.
    uint16_t Letter(uint16_t word)
    {
        Send({18, static_cast<uint8_t>(word), 19, static_cast<uint8_t>(word >> 8)});
        System.clock.Sleep(10);
        const Bytes answer = Registers(2, 37 | Increment);
        return Joined(answer).at(0);
    }

    uint16_t Letter(uint16_t word, uint16_t argument)
    {
        Letter(word);
        return Letter(argument);
    }

    // Settling of 10 ms and an exposure of 100 ms, in units of 4 us.
    void Expose(uint8_t light)
    {
        Send({22, light});
        Send({23, 16, 24, 0xC4, 25, 0x09, 26, 0, 27, 0}); // 2500
        Send({23, 0, 24, 0xA8, 25, 0x61, 26, 0, 27, 0});  // 25000
        Send({23, 128});
    }

    // Ten words, with the run bit on, and the request of the frame.
    Words Order(const Words& words, uint32_t bytes, uint8_t control = 16)
    {
        Bytes out = {8, static_cast<uint8_t>(control | 8)};
        for (const uint16_t word : words) {
            const Bytes part = {6, static_cast<uint8_t>(word),         //
                                7, static_cast<uint8_t>(word >> 8),    //
                                8, static_cast<uint8_t>(control | 12), //
                                8, static_cast<uint8_t>(control | 8)};
            out.insert(out.end(), part.begin(), part.end());
        }
        const Bytes request = Request(bytes, 40);
        out.insert(out.end(), {8, control});
        out.insert(out.end(), request.begin(), request.end());
        Send(out);
        return ReadWords(bytes / 2);
    }
};

const Words AllRows = {101, 102, 103, 104, 105, 106, 201, 202, 203, 204, 205, 206,
                       301, 302, 303, 304, 305, 306, 401, 402, 403, 404, 405, 406};
const uint16_t Below = 0xFFFE; // -2

// 6 x 4 of the register of 10 with 2 cells ahead.
const Words WholeSensor = {2, 1, 4, 2, 2, Below, 1, 100, 1, 1};

} // namespace

TEST_F(R4Dsp, HearsOnlyInSynchronousMode)
{
    Plug(false);
    Send({20, 5});
    EXPECT_EQ(Registers(1, 20), Bytes());
    EXPECT_EQ(EmuUsbRegister(camera, 20), 0);
}

TEST_F(R4Dsp, RegistersReadBack)
{
    Plug(true);
    Send({24, 1, 25, 2, 26, 3});
    EXPECT_EQ(Registers(3, 24 | Increment), (Bytes{1, 2, 3}));
    EXPECT_EQ(Registers(3, 24), (Bytes{1, 1, 1})) << "without bit 6 from the same register";
    EXPECT_EQ(EmuUsbRegister(camera, 25), 2);
    EXPECT_EQ(EmuUsbLongRegister(camera, 24), 0x00030201u);
}

TEST_F(R4Dsp, TheVersionTakesASecond)
{
    setup.version = 0x0130;
    Plug(true);
    Send({9, 31});
    EXPECT_EQ(Registers(2, 98), (Bytes{0, 0}));
    System.clock.Sleep(1000);
    EXPECT_EQ(Registers(2, 98), (Bytes{0x30, 0x01}));
}

TEST_F(R4Dsp, TheMailboxIsBusyForAWhile)
{
    Plug(true);
    Send({18, 114, 19, 0});
    EXPECT_EQ(Registers(1, 36), (Bytes{1}));
    System.clock.Sleep(10);
    EXPECT_EQ(Registers(1, 36), (Bytes{0}));
    EXPECT_EQ(Registers(2, 37 | Increment), (Bytes{100, 0}));
}

TEST_F(R4Dsp, TemperatureAppliesTheSpanFirst)
{
    Plug(true);
    EXPECT_EQ(Letter(100), 60479); // 293.15 x 7870 / 38.146972 = 60478.99
    EmuUsbSetMemoryWord(camera, 0, 10);
    EmuUsbSetMemoryWord(camera, 1, 20);
    EXPECT_EQ(Letter(100), 58313); // 9.5 x 2.0 + 1.0 is 20: 282.65 K, 58312.77
}

TEST_F(R4Dsp, CoolerPowerFanAndSwitch)
{
    Plug(true);
    Letter(101, 4095);
    EXPECT_EQ(EmuUsbFan(camera), 4095);
    Letter(102, 500);
    EXPECT_EQ(EmuUsbCoolerPower(camera), 500);
    EXPECT_EQ(Letter(110), 0) << "it is off";
    Letter(103, 1);
    EXPECT_TRUE(EmuUsbCoolerOn(camera));
    EXPECT_EQ(Letter(110), 2047);
    System.clock.Sleep(600'000);
    EXPECT_NEAR(EmuUsbTemperature(camera), -10.0, 0.1);
    Letter(103, 0);
    EXPECT_FALSE(EmuUsbCoolerOn(camera));
}

TEST_F(R4Dsp, RegulatesToItsSetPoint)
{
    Plug(true);
    Letter(109, 54289); // 263.15 K
    System.clock.Sleep(600'000);
    EXPECT_NEAR(EmuUsbTemperature(camera), -10.0, 0.1);
    EXPECT_EQ(Letter(110), 2047);
}

TEST_F(R4Dsp, MemoryHasWords)
{
    setup.memory[8] = 54321;
    Plug(true);
    EXPECT_EQ(Letter(108, 8), 54321);
    Letter(107);
    Letter(7);
    Letter(0x1234);
    EXPECT_EQ(EmuUsbMemoryWord(camera, 7), 0x1234);
    EXPECT_EQ(Letter(108, 7), 0x1234);
    EXPECT_EQ(Letter(108, 64), 0xFFFF) << "behind its end";
}

TEST_F(R4Dsp, OtherLettersKeepTheirArgument)
{
    setup.firmware = 99;
    Plug(true);
    EXPECT_EQ(Letter(114), 99);
    EXPECT_EQ(Letter(105), 0);
    EXPECT_EQ(Letter(106, 3), 0);
    Letter(112, 15);
    Letter(113, 140);
    Letter(104, 0);
    EXPECT_EQ(EmuUsbRegister(camera, 106), 3);
    EXPECT_EQ(EmuUsbRegister(camera, 112), 15);
    EXPECT_EQ(EmuUsbRegister(camera, 113), 140);
    EXPECT_EQ(EmuUsbCommands(camera, 105), 1u);
    EXPECT_EQ(EmuUsbCommands(camera, 104), 1u);
}

TEST_F(R4Dsp, ResynchronisingEndsALetterThatWaits)
{
    Plug(true);
    Letter(107);
    for (int32_t i = 0; i < 3; ++i) Letter(255);
    EXPECT_EQ(Letter(114), 100);
}

TEST_F(R4Dsp, PatternWordsLieByAddress)
{
    Plug(true);
    Send({0, 0x23, 5, 0xA1, 4, 0xB2, 3, 0xC3, 2, 0xD4, 1, 0x11, 1, 0x21, 1, 0x11, 1, 0});
    uint8_t bytes[4] = {};
    EXPECT_EQ(EmuUsbPatternBytes(camera, 4 * 0x123, 4, bytes), 4u);
    EXPECT_EQ(Bytes(bytes, bytes + 4), (Bytes{0xD4, 0xC3, 0xB2, 0xA1}));
}

TEST_F(R4Dsp, AFrameHasTheLinesOfTheOrder)
{
    Plug(true);
    Expose(1);
    EXPECT_EQ(Order(WholeSensor, 48), AllRows);
    EXPECT_EQ(EmuUsbGeometry(camera, 1), 2);
    EXPECT_EQ(EmuUsbGeometry(camera, 8), 100);
    EXPECT_EQ(EmuUsbExposures(camera), 1u);
}

TEST_F(R4Dsp, BinsAreSums)
{
    Plug(true);
    Expose(1);
    EXPECT_EQ(Order({2, 1, 3, 2, 2, Below, 1, 100, 3, 2}, 12), (Words{912, 930, 2112, 2130, 0, 0}))
        << "a line behind the sensor";
}

TEST_F(R4Dsp, CellsAndRowsAheadAreSkipped)
{
    Plug(true);
    Expose(1);
    EXPECT_EQ(Order({2, 1, 2, 4, 4, 1, 9, 100, 1, 1}, 8), (Words{203, 204, 303, 304}));
}

TEST_F(R4Dsp, TheSensorsLeadingCellsAreEmpty)
{
    Plug(true);
    Expose(1);
    EXPECT_EQ(Order({2, 1, 1, 0, 6, Below, 1, 100, 1, 1}, 8), (Words{0, 0, 101, 102}));
}

TEST_F(R4Dsp, NoMoreComesThanWasOrderedOrAsked)
{
    Plug(true);
    Expose(1);
    EXPECT_EQ(Order(WholeSensor, 60).size(), 24u);
    Expose(1);
    EXPECT_EQ(Order(WholeSensor, 4), (Words{101, 102}));
    EXPECT_EQ(EmuUsbWaiting(camera), 0u);
}

TEST_F(R4Dsp, OrdersThatAreNoneBringNothing)
{
    Plug(true);
    Expose(1);
    EXPECT_EQ(Order(WholeSensor, 48, 0), Words()) << "it does not run";
    EXPECT_EQ(Order({3, 1, 4, 2, 2, Below, 1, 100, 1, 1}, 48), Words());
    EXPECT_EQ(Order({2, 1, 4}, 48), Words());
    EXPECT_EQ(Order({2, 1, 4, 2, 2, Below, 1, 100, 0, 0}, 48), Words()) << "no bins";
    EXPECT_EQ(Order({2, 1, 4, 9, 9, Below, 1, 100, 1, 1}, 48), Words()) << "no cells";
    EXPECT_EQ(Order(WholeSensor, 48), AllRows);
}

TEST_F(R4Dsp, LightNeedsTheLineAndATime)
{
    const Words dark(24, 0);
    Plug(true);
    Expose(0);
    EXPECT_EQ(Order(WholeSensor, 48), dark);
    Send({22, 1, 23, 0, 24, 0, 25, 0, 26, 0, 27, 0, 23, 128});
    EXPECT_EQ(Order(WholeSensor, 48), dark);
    EXPECT_EQ(EmuUsbExposures(camera), 0u);
    Expose(1);
    EXPECT_EQ(Order(WholeSensor, 48), AllRows);
    EXPECT_EQ(Order(WholeSensor, 48), dark) << "the charge is gone";
}

TEST_F(R4Dsp, TheFrameComesWhenTheShutterHasClosed)
{
    setup.wordNs = 2'000'000;
    Plug(true);
    Expose(1);
    const uint64_t started = EmuMicroseconds();
    EXPECT_EQ(Order({2, 1, 1, 2, 6, Below, 1, 100, 1, 1}, 4), (Words{101, 102}));
    EXPECT_EQ(EmuMicroseconds(), started + 10'000 + 100'000 + 3'000);
}

TEST_F(R4Dsp, StrayBytesAreCounted)
{
    Plug(true);
    Send({70, 1, 0x90, 2});
    EXPECT_EQ(EmuUsbStrayBytes(camera), 4u);
    EXPECT_EQ(Registers(1, 0xC1), Bytes()) << "no register has this number";
    EXPECT_EQ(EmuUsbStrayBytes(camera), 5u);
    Letter(200);
    EXPECT_EQ(EmuUsbStrayBytes(camera), 7u);
    Send({20, 5});
    EXPECT_EQ(EmuUsbRegister(camera, 20), 5) << "and it goes on";
}

TEST_F(R4Dsp, AHugeRequestOfRegistersIsCut)
{
    Plug(true);
    Send(Request(0xFFFFFFFF, 20));
    EXPECT_EQ(EmuUsbWaiting(camera), 65536u);
}
