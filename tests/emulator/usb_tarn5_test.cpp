// Tarn_V behind the adaptor: pairs of words, a selected status, a coprocessor.
#include "tests/emulator/adaptor_wire.h"

namespace {

using Words = std::vector<uint16_t>;

class UsbTarn5 : public AdaptorWire {
protected:
    void SetUp() override
    {
        AdaptorWire::SetUp();
        setup = SmallCamera(28, 0x8061);
    }

    void Put(const Words& pairs) const { ASSERT_EQ(Out(pairs), 1u); }

    uint16_t Status(uint16_t number) const
    {
        Put({0, static_cast<uint16_t>(32 | number)});
        return In<uint16_t>(1)[0];
    }

    void Send(const Words& letter) const
    {
        for (size_t i = 0; i < letter.size(); ++i) {
            const uint16_t control = i + 1 == letter.size() ? 0x1300 : 0x0300;
            Put({14, letter[i], 11, control, 11, static_cast<uint16_t>(control | 0x2000), 0, 62});
            EXPECT_EQ(In<uint16_t>(1)[0] & 1, 0);
            Put({11, 0x0300});
        }
        Put({0, 0});
    }

    // Words in the order in which they are played: stored last word first.
    void LoadLine(uint16_t page) const
    {
        const Bytes& words = LineWords();
        Put({11, 0x01C0});
        for (size_t i = 0; i < words.size(); ++i) {
            Put({9, static_cast<uint16_t>(page * 256 + words.size() - 1 - i), 8, words[i], 18, 0});
        }
        Put({11, 0x0300});
    }

    void Prepare(uint16_t page, uint16_t repeat, uint16_t end) const
    {
        Put({11, 0x8300, 10, page, 9, repeat, 20, 0});
        Put({9, end, 21, 0});
    }

    // Settling of 1 ms, then 2 ms.
    void Expose(bool light) const
    {
        Put({3, static_cast<uint16_t>(light ? 4 : 0)});
        Put({1, 100, 2, 0, 12, 200, 13, 0});
    }
};

TEST_F(UsbTarn5, HasItsVersionInStatus31)
{
    Plug(9);
    EXPECT_EQ(Status(31), 0x8061);
}

TEST_F(UsbTarn5, SelectedStatusIsThereAsOftenAsTheHostLooks)
{
    Plug(9);
    Put({0, 32 | 31});
    EXPECT_EQ(In<uint16_t>(1)[0], 0x8061);
    EXPECT_EQ(In<uint16_t>(1)[0], 0x8061);
}

TEST_F(UsbTarn5, CoprocessorKnowsItsTestLetter)
{
    Plug(9);
    Send({21845, 43690, 65535, 0, 65280, 255, 4369, 8738, 17476, 34952, 13});
    EXPECT_EQ(Status(19), 4369);
    Send({21845, 43690, 65535, 0, 65280, 255, 4369, 8738, 17476, 34951, 13});
    EXPECT_NE(Status(19), 4369);
}

TEST_F(UsbTarn5, CoprocessorHasMemoryConvertersAndThermometer)
{
    Plug(9);
    Send({5});
    // 293.15 K x 7.85 mV / 0.6103515625 mV = 3770.33
    EXPECT_EQ(Status(19) & 0xFFF, 3770);
    Send({200, 3});
    Send({150, 4});
    Put({3, 0x80});
    EXPECT_EQ(EmuUsbCoolerPower(camera), 200);
    EXPECT_EQ(EmuUsbFan(camera), 150);
    EXPECT_TRUE(EmuUsbCoolerOn(camera));
    Send({9, 0x1234, 1});
    EXPECT_EQ(EmuUsbMemoryWord(camera, 9), 0x1234);
    Send({9, 2});
    EXPECT_EQ(Status(19), 0x1234);
}

// Position 2 is 25 steps up.
TEST_F(UsbTarn5, WheelIsReadyAgainOnceItIsThere)
{
    setup.wheel = {.kind = EmuByteWheel, .moveMs = 50};
    Plug(9);
    Put({5, 255, 8, 2, 9, 0, 6, 0x21, 9, 2, 9, 0, 10, 0});
    EXPECT_EQ(EmuUsbWheel(camera)->steps, 25);
    EXPECT_EQ(Status(19) & 1, 0);
    System.clock.Sleep(50);
    EXPECT_EQ(Status(19) & 1, 1);
}

TEST_F(UsbTarn5, AnswerOfALetterStandsInThePlaceOfTheWheels)
{
    setup.wheel.kind = EmuByteWheel;
    setup.memory[3] = 0x4000;
    Plug(9);
    Put({10, 0});
    EXPECT_EQ(Status(19), 1);
    Send({3, 2});
    EXPECT_EQ(Status(19), 0x4000);
}

TEST_F(UsbTarn5, WheelHearsNothingThroughAnInput)
{
    setup.wheel.kind = EmuByteWheel;
    Plug(9);
    Put({8, 2, 9, 0, 6, 0x21, 9, 2, 9, 0});
    EXPECT_EQ(EmuUsbWheel(camera)->steps, 0);
    EXPECT_TRUE(EmuUsbWheel(camera)->commands.empty());
}

TEST_F(UsbTarn5, MemoryChipHasTheSameWords)
{
    setup.memory[7] = 0x4321;
    Plug(9);
    Call("UsbEEpSetAddr", 81);
    uint8_t byte = 0;
    EXPECT_EQ(ReadChip(14, &byte), 1u);
    EXPECT_EQ(byte, 0x21);
}

TEST_F(UsbTarn5, FrontEndHasWordsOfNineBits)
{
    Plug(9);
    const uint32_t bits = 5 << 12 | 256;
    for (int32_t i = 14; i >= 0; --i) {
        const auto data = static_cast<uint16_t>(0x100 | (bits >> i & 1) << 6);
        Put({0, data, 0, static_cast<uint16_t>(data | 0x80), 0, data});
    }
    Put({0, 0});
    EXPECT_EQ(EmuUsbGainWord(camera, 5), 256u);
}

TEST_F(UsbTarn5, PatternMemoryIsReadBack)
{
    Plug(9);
    Put({11, 0x01C0, 9, 0xFFFF, 8, 0xBEEF, 18, 0});
    Put({11, 0x0340, 9, 0xFFFF});
    EXPECT_EQ(Status(17), 0xBEEF);
}

TEST_F(UsbTarn5, SendsAFrameBehindItsExposure)
{
    Plug(9);
    LoadLine(4);
    Put({0, 16});
    Prepare(4, 2, 13);
    Put({11, 0x4300});
    const uint64_t before = EmuMicroseconds();
    Expose(true);
    EXPECT_EQ(In<uint16_t>(4), FirstRow);
    EXPECT_EQ(In<uint16_t>(4), SecondRow);
    EXPECT_GE(EmuMicroseconds() - before, 3000u);
    EXPECT_EQ(EmuUsbExposures(camera), 1u);
}

TEST_F(UsbTarn5, TemperatureIsReadDuringAnExposure)
{
    Plug(9);
    LoadLine(4);
    Prepare(4, 2, 13);
    Put({11, 0x4300});
    Expose(true);
    Send({5});
    EXPECT_EQ(Status(19), 3770);
    EXPECT_EQ(In<uint16_t>(8), BothRows);
}

TEST_F(UsbTarn5, RowsGoByHandAheadOfAWindow)
{
    Plug(9);
    LoadLine(4);
    Expose(true);
    Prepare(4, 1, 13);
    Put({11, 0x8F00, 11, 0x8300});
    Prepare(4, 1, 13);
    Put({11, 0x8F00, 11, 0xC300});
    EXPECT_EQ(In<uint16_t>(4), SecondRow);
}

TEST_F(UsbTarn5, SelectionOf16LeavesTheStream)
{
    Plug(9);
    LoadLine(4);
    Prepare(4, 2, 13);
    Put({11, 0x4300});
    Expose(true);
    Put({0, 16});
    Call("UsbSetTimeout", 100);
    EXPECT_EQ(In<uint16_t>(1), Words({0xEEEE}));
}

// As a question that nobody waits to have answered.
TEST_F(UsbTarn5, SelectionOf16StandsInNobodysWay)
{
    Plug(9);
    LoadLine(4);
    Put({0, 32 | 16});
    Prepare(4, 1, 13);
    Put({11, 0x4300});
    Expose(true);
    EXPECT_EQ(In<uint16_t>(4), FirstRow);
}

TEST_F(UsbTarn5, CounterWaitsForTheTrigger)
{
    Plug(9);
    LoadLine(4);
    Prepare(4, 2, 13);
    Put({11, 0x4300, 3, 5, 12, 100, 13, 0});
    EXPECT_EQ(Status(7), 0);
    EmuSchedule(
        EmuMicroseconds() + 40000, [](int32_t index) { EmuUsbTrigger(index, true); }, camera);
    Put({0, 0});
    EXPECT_EQ(In<uint16_t>(8), BothRows);
    EXPECT_EQ(EmuUsbExposures(camera), 1u);
    EXPECT_EQ(Status(7), 0x2000);
}

TEST_F(UsbTarn5, RegisterNumbersAbove63AreStray)
{
    Plug(9);
    Put({64, 1, 0xFFFF, 1});
    EXPECT_EQ(EmuUsbStrayBytes(camera), 2u);
}

TEST_F(UsbTarn5, LettersMayBeTooLong)
{
    Plug(9);
    Send(Words(40, 7));
    Send({5});
    EXPECT_EQ(Status(19), 3770);
}

} // namespace
