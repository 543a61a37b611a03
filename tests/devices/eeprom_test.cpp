// The camera's EEPROM, line by line, and against a chip that decodes the lines.
#include "devices/eeprom.h"

#include <memory>
#include <sstream>

#include "core/record.h"
#include "emulator/emulator.h"
#include "tests/support/eeprom_chip.h"
#include "tests/support/fake_camera.h"

namespace {

// What the camera was told, and the register as the camera would give it back.
struct Bus {
    std::unique_ptr<EepromChip> chip;
    uint16_t otherBits = 0; // of the register
    std::vector<uint16_t> written;
    std::vector<uint64_t> times; // of the writes, microseconds
    std::vector<std::string> asked;
    size_t writesLeft = SIZE_MAX; // then the power is gone
    int32_t pollsLeft = 0;        // of the port card's status, that answer 0
};

Bus Camera;

void WriteLines(int32_t reg, int32_t value, int32_t)
{
    EXPECT_EQ(reg, Camera.chip->wiring.reg);
    Camera.written.push_back(static_cast<uint16_t>(value));
    Camera.times.push_back(EmuMicroseconds());
    if (Camera.writesLeft == 0) return;
    --Camera.writesLeft;
    Camera.chip->Write(static_cast<uint16_t>(value));
}

uint16_t ReadLines(int32_t reg, int32_t)
{
    EXPECT_EQ(reg, Camera.chip->wiring.reg);
    Camera.asked.push_back("register");
    const ChipWiring& wiring = Camera.chip->wiring;
    const uint32_t held = Camera.chip->lines | Camera.otherBits;
    if (wiring.reg == SharedChip.reg) return static_cast<uint16_t>(held);
    // What the chip says takes the place of what was written to that bit.
    return static_cast<uint16_t>((held & ~wiring.output) |
                                 (Camera.chip->Output() ? wiring.output : 0u));
}

uint32_t ReadStatusLines(int32_t selector, int32_t)
{
    Camera.asked.push_back("status " + std::to_string(selector));
    return 0xABCD0002u | (Camera.chip->Output() ? 1u : 0u);
}

std::string Hex(const std::vector<uint16_t>& words)
{
    std::ostringstream text;
    text << std::hex << std::uppercase;
    for (size_t i = 0; i < words.size(); ++i) {
        text << (i == 0 ? "" : " ") << (words[i] < 16 ? "0" : "") << words[i];
    }
    return text.str();
}

class Eeprom : public FakeTest {
protected:
    void SetUp() override
    {
        FakeTest::SetUp();
        EepromWiring = 0;
        OpenChip(42, SharedChip);
    }

    void TearDown() override
    {
        EepromWiring = 0;
        Camera = Bus{};
        FakeTest::TearDown();
    }

    void OpenChip(int32_t platform, const ChipWiring& wiring) const
    {
        Camera = Bus{};
        Camera.chip = std::make_unique<EepromChip>(wiring);
        OpenFake(platform, 0, 0);
        record.InterfaceType = InterfaceCard2;
        record.Ops.WriteRegister = WriteLines;
        record.Ops.ReadRegister = ReadLines;
        record.Ops.ReadStatus = ReadStatusLines;
    }

    CameraRecord& record = CameraTable[0];
};

} // namespace

// Clock 4, data 8, select 16. Opcode 2 is 10, address 5 is 000101; then 16 clocks.
TEST_F(Eeprom, ReadMovesTheLinesOneAtATime)
{
    Camera.chip->cells[5] = 0xA5C3;
    EXPECT_EQ(EepromRead(5, 0), 0xA5C3);
    std::string expected = "00 10 14 1C 18 " // selected, start bit
                           "1C 1C 18 1C 14 10 "
                           "14 14 10 14 14 10 14 14 10 14 1C 18 1C 14 10 14 1C 18 "
                           "1C 18 "; // the extra clock
    for (int i = 0; i < 16; ++i) expected += "1C 18 ";
    expected += "08 0C 08";
    EXPECT_EQ(Hex(Camera.written), expected);
    std::vector<std::string> asked = {"register"};
    asked.insert(asked.end(), 16, "status 7");
    EXPECT_EQ(Camera.asked, asked);
}

TEST_F(Eeprom, EveryWordIsReadWithItsHighestBitFirst)
{
    for (uint32_t i = 0; i < 64; ++i) {
        Camera.chip->cells[i] = static_cast<uint16_t>(0x8001 + 517 * i);
    }
    for (int32_t i = 0; i < 64; ++i) {
        EXPECT_EQ(EepromRead(i, 0), static_cast<uint16_t>(0x8001 + 517 * i)) << i;
    }
}

TEST_F(Eeprom, OnlySixBitsOfAnAddressReachTheChip)
{
    Camera.chip->cells[63] = 1234;
    Camera.chip->cells[0] = 4321;
    EXPECT_EQ(EepromRead(-1, 0), 1234);
    EXPECT_EQ(EepromRead(64, 0), 4321);
    EXPECT_EQ(EepromRead(INT32_MIN, 0), 4321);
}

// A command is 31 writes, Deselect 3, the wait 2 + 1000 + 5, a word 48:
// 34 + (31 + 1007 + 3) + (31 + 48 + 1007 + 3) + 34.
TEST_F(Eeprom, WriteEnablesErasesWritesAndDisables)
{
    Camera.chip->cells[8] = 0x0F0F;
    EepromWrite(8, 0xD431, 0);
    EXPECT_EQ(Camera.chip->cells[8], 0xD431);
    EXPECT_FALSE(Camera.chip->enabled);
    EXPECT_EQ(Camera.written.size(), 2198u);
    EXPECT_EQ(EepromRead(8, 0), 0xD431);
    for (const int32_t other : {0, 7, 9, 48, 63}) EXPECT_EQ(Camera.chip->cells[other], 0xFFFF);
}

// Opcode 0, address 48 is 110000: the low four address bits and the extra clock,
// then Deselect; opcode 3 and address 8, 001000.
TEST_F(Eeprom, WriteBeginsWithTheEnableCommandAndTheErase)
{
    EepromWrite(8, 0, 0);
    const std::vector<uint16_t> begin(Camera.written.begin(), Camera.written.begin() + 34 + 31 + 9);
    EXPECT_EQ(Hex(begin), "00 10 14 1C 18 1C 14 10 14 14 10 "
                          "14 1C 18 1C 1C 18 1C 14 10 14 14 10 14 14 10 14 14 10 "
                          "14 10 00 04 00 "
                          "00 10 14 1C 18 1C 1C 18 1C 1C 18 "
                          "1C 14 10 14 14 10 14 1C 18 1C 14 10 14 14 10 14 14 10 "
                          "14 10 "
                          "10 00 04 00 04 00 04 00 04"); // the wait: data, select, clocks
}

// Behind the 1000 clock writes: select, clock, data, then clock and data again off.
TEST_F(Eeprom, WaitForAnEraseIsAThousandClockWrites)
{
    EepromWrite(8, 0, 0);
    const auto wait = Camera.written.begin() + 34 + 31;
    for (int i = 0; i < 1000; ++i) EXPECT_EQ(wait[2 + i], i % 2 == 0 ? 4 : 0) << i;
    EXPECT_EQ(Hex({wait + 1002, wait + 1007 + 3}), "10 14 1C 18 10 00 04 00");
}

// 0x8001: the data line is set ahead of the first and the last clock only.
TEST_F(Eeprom, DataGoesOutWithItsHighestBitFirst)
{
    EepromWrite(8, 0x8001, 0);
    const auto word = Camera.written.begin() + 34 + 1041 + 31;
    std::string expected = "18 1C 18";
    for (int i = 0; i < 14; ++i) expected += " 10 14 10";
    expected += " 18 1C 18";
    EXPECT_EQ(Hex({word, word + 48}), expected);
}

TEST_F(Eeprom, WriteSleepsTwoMillisecondsAheadOfTheDisableCommand)
{
    EepromWrite(8, 1, 0);
    ASSERT_EQ(Camera.times.size(), 2198u);
    EXPECT_EQ(Camera.times[2198 - 34 - 1], 0u);
    EXPECT_EQ(Camera.times[2198 - 34], 2000u);
}

TEST_F(Eeprom, LossOfPowerBehindTheEraseLeavesTheWordErased)
{
    Camera.chip->cells[8] = 0x1234;
    Camera.writesLeft = 34 + 1041;
    EepromWrite(8, 0x5678, 0);
    EXPECT_EQ(Camera.chip->cells[8], 0xFFFF);
}

TEST_F(Eeprom, OtherBitsOfTheRegisterStay)
{
    Camera.otherBits = 0xA5C3;
    record.Registers[12] = 0x5A3C;
    EepromWrite(3, 77, 0);
    for (const uint16_t lines : Camera.written) EXPECT_EQ(lines & ~0x1C, 0xA5C3 & ~0x1C);
    EXPECT_EQ(Camera.chip->cells[3], 77);
    EXPECT_EQ(record.Registers[12], 0x5A3C); // the shadow is left alone
}

TEST_F(Eeprom, Tarn4PlusStartsFromItsShadow)
{
    OpenChip(25, SharedChip);
    record.Registers[12] = 0x8460;
    Camera.chip->cells[1] = 42;
    EXPECT_EQ(EepromRead(1, 0), 42);
    EXPECT_EQ(Camera.asked, std::vector<std::string>(16, "status 7"));
    EXPECT_EQ(Camera.written[0], 0x8460);
    EXPECT_EQ(Camera.written[1], 0x8470);
    EXPECT_EQ(record.Registers[12], 0x8460);
}

TEST_F(Eeprom, MissingChipReadsAsItsLineStands)
{
    record.Ops.ReadStatus = [](int32_t, int32_t) { return uint32_t{0}; };
    EXPECT_EQ(EepromRead(1, 0), 0);
    record.Ops.ReadStatus = [](int32_t, int32_t) { return 0xFFFFFFFFu; };
    EXPECT_EQ(EepromRead(1, 0), 0xFFFF);
    EepromWrite(1, 5, 0);
    EXPECT_EQ(record.LastError, 0);
}

// Clock 2, data 1, select 16, all on register 13.
TEST_F(Eeprom, SecondWiringUsesRegister13AndReadsItBack)
{
    EepromWiring = 2;
    OpenChip(71, UnodChip);
    Camera.chip->cells[5] = 0x9009;
    EXPECT_EQ(EepromRead(5, 0), 0x9009);
    EXPECT_EQ(Camera.asked, std::vector<std::string>(17, "register"));
    const std::vector<uint16_t> begin(Camera.written.begin(), Camera.written.begin() + 11);
    // The register is taken as it stands, with the chip's own line, 64, high.
    EXPECT_EQ(Hex(begin), "40 50 52 53 51 53 53 51 53 52 50");
    EepromWrite(6, 0x4321, 0);
    EXPECT_EQ(Camera.chip->cells[6], 0x4321);
}

TEST_F(Eeprom, WiringIsThatOfTheLastBindingWhateverTheCamera)
{
    EepromWiring = 2;
    OpenChip(42, UnodChip);
    EepromWrite(2, 7, 0);
    EXPECT_EQ(Camera.chip->cells[2], 7);
}

// Seven address bits: 31 + 3 writes of a command; a byte is read by 8 clocks.
TEST_F(Eeprom, HeronKeepsAWordInTwoBytesLowByteFirst)
{
    EepromWiring = 2; // not looked at
    OpenChip(60, ByteChip);
    Camera.chip->cells[0x0E] = 0x34;
    Camera.chip->cells[0x0F] = 0x12;
    EXPECT_EQ(EepromRead(7, 0), 0x1234);
    EXPECT_EQ(Camera.written.size(), 2u * (34 + 16 + 3));
    EepromWrite(63, 0xBEEF, 0);
    EXPECT_EQ(Camera.chip->cells[126], 0xEF);
    EXPECT_EQ(Camera.chip->cells[127], 0xBE);
    EXPECT_FALSE(Camera.chip->enabled);
}

// It has no port card: whatever the host says, its line is in the status.
TEST_F(Eeprom, HeronIsNotReadByPorts)
{
    OpenChip(60, ByteChip);
    record.InterfaceType = InterfacePort1;
    record.Ops.PortOut = [](uint16_t, uint8_t) { ADD_FAILURE(); };
    Camera.chip->cells[0x0E] = 0x34;
    Camera.chip->cells[0x0F] = 0x12;
    EXPECT_EQ(EepromRead(7, 0), 0x1234);
}

// Opcode 0 and the address 96, 1100000.
TEST_F(Eeprom, HeronEnablesWritingWithSevenBits)
{
    OpenChip(60, ByteChip);
    EepromWrite(0, 0, 0);
    const std::vector<uint16_t> begin(Camera.written.begin(), Camera.written.begin() + 37);
    EXPECT_EQ(Hex(begin), "00 10 14 1C 18 1C 14 10 14 14 10 "
                          "14 1C 18 1C 1C 18 1C 14 10 14 14 10 14 14 10 14 14 10 14 14 10 "
                          "14 10 00 04 00");
}

class PortCardEeprom : public Eeprom {
protected:
    void SetUp() override
    {
        Eeprom::SetUp();
        OpenChip(22, SharedChip);
        record.InterfaceType = InterfacePort1;
        record.PortBase = 0x300;
        record.Ops.WriteAddress = [](uint32_t address, int32_t) {
            Note("address", address);
            return 0x93u;
        };
        record.Ops.WriteData = [](uint32_t value, int32_t) { Note("data", value); };
        record.Ops.PortOut = [](uint16_t port, uint8_t value) { Note("out " + Text(port), value); };
        record.Ops.PortWordIn = [](uint16_t port) {
            Note("word in", port);
            return static_cast<uint16_t>(Camera.chip->Output() ? 0xFF01 : 0xFF00);
        };
        record.Ops.PortIn = [](uint16_t port) {
            Note("in", port);
            return static_cast<uint8_t>(Camera.pollsLeft-- > 0 ? 0xFE : 0x01);
        };
    }

    static std::string Text(uint32_t number) { return Hex({static_cast<uint16_t>(number)}); }
    static void Note(const std::string& what, uint32_t number)
    {
        Camera.asked.push_back(what + " " + Text(number));
    }
};

// 0x93 or'ed with 0x40 is 0xD3, without bit 7 0x53.
TEST_F(PortCardEeprom, BitComesOverTheDataPort)
{
    Camera.chip->cells[4] = 0x7531;
    EXPECT_EQ(EepromRead(4, 0), 0x7531);
    std::vector<std::string> asked = {"register"};
    for (int i = 0; i < 16; ++i) {
        for (const char* one : {"address FFE7", "out 305 53", "word in 300"}) asked.push_back(one);
    }
    EXPECT_EQ(Camera.asked, asked);
}

TEST_F(PortCardEeprom, SerialLinkSendsAZeroAndWaitsForTheReply)
{
    record.SerialLink = 1;
    Camera.pollsLeft = 2;
    Camera.chip->cells[4] = 0x8000;
    EXPECT_EQ(EepromRead(4, 0), 0x8000);
    const std::vector<std::string> first(Camera.asked.begin() + 1, Camera.asked.begin() + 8);
    EXPECT_EQ(first, (std::vector<std::string>{"address FFE7", "out 305 53", "data 00", "in 307",
                                               "in 307", "in 307", "word in 300"}));
    EXPECT_EQ(EmuMicroseconds(), 20u); // a pause in each round of the wait
}

TEST_F(PortCardEeprom, ReplyOfASerialLinkIsWaitedForWithoutLimit)
{
    record.SerialLink = 1;
    Camera.pollsLeft = 200000;
    Camera.chip->cells[4] = 0x0110;
    EXPECT_EQ(EepromRead(4, 0), 0x0110);
}
