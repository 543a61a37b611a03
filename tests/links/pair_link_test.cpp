// Pairs of register and value on a pipe that writes everything down.
#include "links/pair_link.h"

#include "core/record.h"
#include "emulator/emulator.h"
#include "tests/support/fake_usb.h"

namespace {

const char Ask1[] = "84 01 85 00 86 00 87 00";
const char Ask2[] = "84 02 85 00 86 00 87 00";

class PairLink : public FakeUsbTest {
protected:
    CameraRecord& record = CameraTable[UsbCamera];

    void SetUp() override
    {
        FakeUsbTest::SetUp();
        PrepareFakeUsb(29, 255, 0);
        OverlayOps(&record.Ops, PairLinkOps);
    }

    static std::string Request(const char* count, const char* reg)
    {
        return std::string(count) + " " + reg;
    }
};

TEST_F(PairLink, EveryByteHasItsRegister)
{
    WritePair(30, 0x1FF, UsbCamera);
    WritePair16(18, 0x12345, UsbCamera);
    WritePair32(24, 0x89ABCDEF, UsbCamera);
    EXPECT_EQ(TakeUsbLog(), "usb > 1E FF; usb > 12 45 13 23; usb > 18 EF 19 CD 1A AB 1B 89");
}

TEST_F(PairLink, WritesLeaveTheShadowAlone)
{
    record.Registers[18] = 7;
    WritePair16(18, 0x1234, UsbCamera);
    EXPECT_EQ(record.Registers[18], 7);
}

// 0x01020304 bytes from register 31 on.
TEST_F(PairLink, RequestIsNineBytes)
{
    PairBatch batch = {};
    AddPairRequest(31, 0x01020304, &batch);
    SendPairs(batch, UsbCamera);
    EXPECT_EQ(TakeUsbLog(), "usb > 84 04 85 03 86 02 87 01 1F");
}

TEST_F(PairLink, BatchTakesWhatHasRoom)
{
    PairBatch batch = {};
    for (int i = 0; i < 3000; ++i) AddPair(1, 2, &batch);
    EXPECT_EQ(batch.count, 4096u);
    AddPairRequest(31, 2, &batch);
    EXPECT_EQ(batch.count, 4096u);
}

TEST_F(PairLink, ByteIsAskedForByItsRegister)
{
    AnswerUsb(Request(Ask1, "24"), {0xA5});
    EXPECT_EQ(ReadPair(36, UsbCamera), 0xA5);
    EXPECT_EQ(TakeUsbLog(), "usb > 84 01 85 00 86 00 87 00 24; usb < 1 of 1");
}

// 37 or'ed with 64 is 65.
TEST_F(PairLink, WordIsAskedForWithAutoIncrement)
{
    AnswerUsb(Request(Ask2, "65"), {0x34, 0x12});
    uint16_t value = 0;
    EXPECT_TRUE(ReadPair16(37, &value, UsbCamera));
    EXPECT_EQ(value, 0x1234);
    EXPECT_EQ(TakeUsbLog(), "usb > 84 02 85 00 86 00 87 00 65; usb < 2 of 2");
}

TEST_F(PairLink, WhatDoesNotComeReadsAsZero)
{
    uint16_t value = 9;
    EXPECT_EQ(ReadPair(36, UsbCamera), 0);
    AnswerUsb(Request(Ask2, "65"), {0x34});
    EXPECT_FALSE(ReadPair16(37, &value, UsbCamera));
    EXPECT_EQ(value, 0);
    EXPECT_EQ(record.LastError, 0);
}

TEST_F(PairLink, ReplyIsAwaitedForHalfASecond)
{
    uint8_t byte = 0;
    const uint64_t start = EmuMicroseconds();
    EXPECT_FALSE(ReadWithin500ms(&byte, 1, UsbCamera));
    EXPECT_GE(EmuMicroseconds() - start, 500000u);
    EXPECT_LT(EmuMicroseconds() - start, 510000u);
    EXPECT_EQ(TakeUsbLog(), "usb < 0 of 1"); // read all the same
    Usb.queue = {0x77};
    Usb.emptyPolls = 100;
    Usb.polls = 0;
    EXPECT_TRUE(ReadWithin500ms(&byte, 1, UsbCamera));
    EXPECT_EQ(byte, 0x77);
    EXPECT_EQ(Usb.polls, 101u);
}

TEST_F(PairLink, RegistersAreReachedBySlots)
{
    AnswerUsb(Request(Ask1, "1E"), {0x2F});
    EXPECT_EQ(QV_RDReg(30, UsbCamera), 0x2F);
    QV_WRReg(5, 0x1234, UsbCamera);
    EXPECT_EQ(TakePairLog(), "ask 1 of 1E; 05 34");
}

TEST_F(PairLink, ShortImageResetsThePort)
{
    uint8_t image[4] = {};
    Usb.queue = {1, 2, 3, 4};
    EXPECT_EQ(ReceivePairImage(image, 4, UsbCamera), 0);
    EXPECT_EQ(TakeUsbLog(), "usb < 4 of 4");
    Usb.queue = {5, 6};
    EXPECT_EQ(ReceivePairImage(image, 4, UsbCamera), 2);
    EXPECT_EQ(TakeUsbLog(), "usb < 2 of 4; usb port reset");
    EXPECT_EQ(image[1], 6);
    EXPECT_EQ(image[2], 3);
}

// --- mailbox ---

TEST_F(PairLink, MailboxHandsOverWordByWord)
{
    Usb.queue = {1, 2, 3};
    AnswerUsb(Request(Ask1, "24"), {0xFE});
    AnswerUsb(Request(Ask2, "65"), {0xEF, 0xBE});
    const uint16_t words[] = {108, 0x0107};
    EXPECT_EQ(Mailbox(words, 2, UsbCamera), 0xBEEF);
    EXPECT_EQ(TakeUsbLog(),
              "usb < 3 of 3; usb > 12 6C 13 00; sleep 10; usb > 84 01 85 00 86 00 87 00 24; "
              "usb < 1 of 1; usb > 12 07 13 01; sleep 10; usb > 84 01 85 00 86 00 87 00 24; "
              "usb < 1 of 1; usb > 84 02 85 00 86 00 87 00 65; usb < 2 of 2");
}

TEST_F(PairLink, MailboxIsPolledEveryMillisecond)
{
    Usb.answers[Request(Ask1, "24")] = {{1}, {0xFF}, {0}};
    const uint16_t word = 255;
    Mailbox(&word, 1, UsbCamera);
    EXPECT_EQ(TakePairLog(), "12 FF 13 00; sleep 10; ask 1 of 24; sleep 1; ask 1 of 24; sleep 1; "
                             "ask 1 of 24; ask 2 of 65");
}

TEST_F(PairLink, MailboxThatStaysBusyAnswersAllTheSame)
{
    AnswerUsb(Request(Ask1, "24"), {1});
    AnswerUsb(Request(Ask2, "65"), {0x34, 0x12});
    const uint16_t word = 100;
    EXPECT_EQ(Mailbox(&word, 1, UsbCamera), 0x1234);
    // Rounds of a poll and a sleep, between the ten milliseconds and the answer.
    const std::string log = TakePairLog();
    size_t sleeps = 0;
    for (size_t at = log.find("sleep 1;"); at != std::string::npos;
         at = log.find("sleep 1;", at + 1))
        ++sleeps;
    EXPECT_EQ(sleeps, 1000u);
}

TEST_F(PairLink, MailboxWithoutAnAnswerIsZero)
{
    const uint16_t word = 100;
    EXPECT_EQ(Mailbox(&word, 1, UsbCamera), 0);
}

// --- orders ---

// Register 8 is 16: 18 with the enable, 1C with the strobe.
TEST_F(PairLink, WordsOfAnOrderGoOutWithTheirRequest)
{
    record.Registers[8] = 0x10;
    const uint16_t words[] = {2, 0xFFFD};
    PushWords(words, 2, 80, 40, UsbCamera);
    EXPECT_EQ(TakeUsbLog(), "usb > 08 18 06 02 07 00 08 1C 08 18 06 FD 07 FF 08 1C 08 18 08 10 "
                            "84 50 85 00 86 00 87 00 28");
}

} // namespace
