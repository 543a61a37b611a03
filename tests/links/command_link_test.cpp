// 'D' commands on a pipe that writes everything down.
#include "links/command_link.h"

#include "core/flags.h"
#include "core/record.h"
#include "links/usb_link.h"
#include "tests/support/fake_usb.h"

namespace {

class CommandLink : public FakeUsbTest {
protected:
    CameraRecord& record = CameraTable[UsbCamera];

    void SetUp() override
    {
        FakeUsbTest::SetUp();
        PrepareFakeUsb(450, 5000, 0);
    }
};

TEST_F(CommandLink, CommandIsItsLetterAndItsNumber)
{
    AnswerUsb("44 11", {0x06});
    EXPECT_TRUE(SendPlainCommand(17, UsbCamera));
    EXPECT_EQ(TakeUsbLog(), "usb > 44 11; usb < 1 of 1");
}

TEST_F(CommandLink, ArgumentsHaveTheLowByteFirst)
{
    Command command = MakeCommand(7);
    AddByte(0x1FF, &command);
    AddWord(0x12345, &command);
    AddLong(0x89ABCDEF, &command);
    PutCommand(command, UsbCamera);
    EXPECT_EQ(TakeUsbLog(), "usb > 44 07 FF 45 23 EF CD AB 89");
}

TEST_F(CommandLink, ArgumentsWithoutRoomAreLeftOut)
{
    Command command = MakeCommand(1);
    for (uint32_t i = 0; i < 30; ++i) AddByte(i, &command);
    EXPECT_EQ(command.count, 24u);
    EXPECT_EQ(command.bytes[23], 21);
}

TEST_F(CommandLink, ValueOfTheAcknowledgeMeansNothing)
{
    for (const int value : {0x00, 0x15, 0xFF}) {
        AnswerUsb("44 04 01", {static_cast<uint8_t>(value)});
        EXPECT_TRUE(SendByteCommand(4, 1, UsbCamera));
        EXPECT_EQ(record.LastError, 0);
    }
}

TEST_F(CommandLink, MissingAcknowledgeIsError25)
{
    EXPECT_FALSE(SendByteCommand(4, 1, UsbCamera));
    EXPECT_EQ(record.LastError, 25);
    EXPECT_EQ(TakeUsbLog(), "usb > 44 04 01; usb < 0 of 1");
}

TEST_F(CommandLink, PipeThatFailsIsError25)
{
    AnswerUsb("44 06", {0x06});
    Usb.failing = {"<"};
    EXPECT_FALSE(SendPlainCommand(6, UsbCamera));
    EXPECT_EQ(record.LastError, 25);
}

// It is the next operation that takes the code away, not a later acknowledge.
TEST_F(CommandLink, AcknowledgeLeavesAnOldError)
{
    AnswerUsb("44 06", {0x06});
    StoreFlag(&record.LastError, 25);
    EXPECT_TRUE(SendPlainCommand(6, UsbCamera));
    EXPECT_EQ(record.LastError, 25);
}

TEST_F(CommandLink, WordHasTheLowByteFirst)
{
    AnswerUsb("44 0F", {0x34, 0x12});
    uint16_t word = 0;
    EXPECT_TRUE(AskWord(MakeCommand(15), &word, UsbCamera));
    EXPECT_EQ(word, 0x1234);
}

TEST_F(CommandLink, HalfAWordIsError25AndNoWord)
{
    AnswerUsb("44 0F", {0x34});
    uint16_t word = 7;
    EXPECT_FALSE(AskWord(MakeCommand(15), &word, UsbCamera));
    EXPECT_EQ(word, 7);
    EXPECT_EQ(record.LastError, 25);
}

TEST_F(CommandLink, MissingByteLeavesWhatTheCallerHad)
{
    uint8_t byte = 'D';
    EXPECT_FALSE(AskByte(MakeCommand(1), &byte, UsbCamera));
    EXPECT_EQ(byte, 'D');
    AnswerUsb("44 01", {0x2F});
    EXPECT_TRUE(AskByte(MakeCommand(1), &byte, UsbCamera));
    EXPECT_EQ(byte, 0x2F);
}

// --- the pipe itself ---

// 600 is 2 * 256 + 88: 88 first, then two times 256, which modulo 256 would be nothing.
TEST_F(CommandLink, DrainReadsWhatWaits)
{
    Usb.queue.assign(600, 0x55);
    DrainReceive(UsbCamera);
    EXPECT_EQ(TakeUsbLog(), "usb < 88 of 88; usb < 256 of 256; usb < 256 of 256");
    EXPECT_TRUE(Usb.queue.empty());
}

TEST_F(CommandLink, DrainOfAPipeThatCannotBeReadEnds)
{
    Usb.queue.assign(10, 0x55);
    Usb.failing = {"<"};
    DrainReceive(UsbCamera);
    EXPECT_EQ(TakeUsbLog(), "usb < 10 of 10 fails");
}

} // namespace
