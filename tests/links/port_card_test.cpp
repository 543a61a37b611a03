// The port card at 0x300: data 300, modes 304 and 306, link control 305, status 307.
#include "links/port_card.h"

#include "core/ops.h"
#include "tests/links/fake_bus.h"

namespace {

class PortCardTest : public LinkTest {
protected:
    void SetUp() override
    {
        LinkTest::SetUp();
        OverlayOps(&record.Ops, PortCardOps);
        record.WdHandle = 0;
        record.CardMapped = 0;
        Fake.openHandles = 0;
        record.PortBase = 0x300;
        Fake.portValues[0x305] = 0x4A;
        Fake.portValues[0x307] = 0x44; // a card, and a word taken
    }

    // A serial cable on which words are taken and replies are there at once.
    void UseSerialCable()
    {
        OverlayOps(&record.Ops, SerialPortCardOps);
        record.SerialLink = 1;
        Fake.portValues[0x307] = 0x03;
    }
};

TEST_F(PortCardTest, OpenTestsForTheCardAndSetsItsModes)
{
    record.PortBase = 0;
    EXPECT_EQ(OpenPortCard(0x300, false, Camera), 0);
    EXPECT_EQ(Accesses(), "in:307 out:304=0B out:306=09 out:307=02 win:300");
    EXPECT_EQ(Fake.acquired, "300.8");
    EXPECT_EQ(record.PortBase, 0x300);
    EXPECT_EQ(record.SerialLink, 0);
}

TEST_F(PortCardTest, OpenWithASerialCable)
{
    EXPECT_EQ(OpenPortCard(0x300, true, Camera), 0);
    EXPECT_EQ(Accesses(), "in:307 out:304=0B out:306=80 out:307=02 win:300");
    EXPECT_EQ(record.SerialLink, 1);
}

TEST_F(PortCardTest, AbsentCardIs15)
{
    // Of bits 5 and 6 only bit 6 may be set.
    for (int status : {0x00, 0x20, 0x60, 0xFF, 0x9F}) {
        Fake.portValues[0x307] = static_cast<uint16_t>(status);
        EXPECT_EQ(OpenPortCard(0x300, false, Camera), 15) << status;
        EXPECT_EQ(Accesses(), "in:307");
    }
    for (int status : {0x40, 0xDF}) {
        Fake.portValues[0x307] = static_cast<uint16_t>(status);
        EXPECT_EQ(OpenPortCard(0x300, false, Camera), 0) << status;
    }
}

TEST_F(PortCardTest, RefusedPortsAreOneAndNotTouched)
{
    Fake.portsGranted = false;
    EXPECT_EQ(OpenPortCard(0x300, false, Camera), 1);
    EXPECT_EQ(Accesses(), "");
}

TEST_F(PortCardTest, PortReadyPollsBit2)
{
    Fake.portReplies[0x307] = {0x42, 0x43, 0x44};
    EXPECT_EQ(PortReady(Camera), 0);
    EXPECT_EQ(Accesses(), "in:307 in:307 in:307");
}

TEST_F(PortCardTest, PortReadyPollsBit1OnASerialLink)
{
    UseSerialCable();
    Fake.portReplies[0x307] = {0x44, 0x42};
    EXPECT_EQ(PortReady(Camera), 0);
    EXPECT_EQ(Accesses(), "in:307 in:307");
}

TEST_F(PortCardTest, PortReadyGivesUpAfter1001Polls)
{
    Fake.portValues[0x307] = 0x40;
    EXPECT_EQ(PortReady(Camera), 1);
    EXPECT_EQ(Fake.counts["in:307"], 1001u);
}

TEST_F(PortCardTest, WriteAddress)
{
    // 4A & BF = 0A, | 80 = 8A.
    EXPECT_EQ(record.Ops.WriteAddress(0xFFF0, Camera), 0x8Au);
    EXPECT_EQ(Accesses(), "in:305 out:305=8A in:307 wout:300=FFF0 in:307");
}

TEST_F(PortCardTest, WriteData)
{
    record.Ops.WriteData(0xABCD, Camera);
    EXPECT_EQ(Accesses(), "wout:300=ABCD in:307");
}

TEST_F(PortCardTest, WriteRegister)
{
    record.Ops.WriteRegister(5, 0x1234, Camera);
    EXPECT_EQ(Accesses(), "in:305 out:305=8A in:307 wout:300=8005 in:307 "
                          "out:305=0A in:307 wout:300=1234 in:307");
}

TEST_F(PortCardTest, CardThatTakesNoWordHoldsNothingUp)
{
    Fake.portValues[0x307] = 0x40;
    Fake.isQuiet = true;
    record.Ops.WriteRegister(5, 0x1234, Camera);
    EXPECT_EQ(Fake.counts["in:307"], 4u * 1001);
    EXPECT_EQ(Fake.counts["wout:300=1234"], 1u);
}

TEST_F(PortCardTest, ReadRegister)
{
    Fake.portValues[0x300] = 0x4321;
    EXPECT_EQ(record.Ops.ReadRegister(7, Camera), 0x4321);
    EXPECT_EQ(Accesses(), "in:305 out:305=8A in:307 wout:300=FFE1 in:307 "
                          "in:305 out:305=8A in:307 wout:300=8007 in:307 out:305=4A win:300");
}

TEST_F(PortCardTest, ReadStatusGivesThe16BitWord)
{
    Fake.portValues[0x300] = 0xE02F;
    EXPECT_EQ(record.Ops.ReadStatus(15, Camera), 0xE02Fu);
    EXPECT_EQ(Accesses(), "in:305 out:305=8A in:307 wout:300=FFEF in:307 out:305=4A win:300");
}

TEST_F(PortCardTest, ReadData)
{
    Fake.portValues[0x300] = 0x4321;
    EXPECT_EQ(record.Ops.ReadData(Camera), 0x4321);
    EXPECT_EQ(Accesses(), "in:307 win:300");
}

TEST_F(PortCardTest, WaitReadyPollsBit4)
{
    Fake.portReplies[0x307] = {0x10, 0xFF, 0xEF};
    EXPECT_EQ(record.Ops.WaitReady(Camera), 0);
    EXPECT_EQ(Accesses(), "in:307 in:307 in:307");
}

TEST_F(PortCardTest, WaitReadyGivesUpAfterAMillionPolls)
{
    Fake.isQuiet = true;
    Fake.portValues[0x307] = 0x10;
    EXPECT_EQ(record.Ops.WaitReady(Camera), 1);
    EXPECT_EQ(Fake.counts["in:307"], 1000000u);
}

TEST_F(PortCardTest, ResetLinkDropsAWord)
{
    Fake.portValues[0x305] = 0x8A;
    record.Ops.ResetLink(Camera);
    EXPECT_EQ(Accesses(), "in:305 out:305=4A win:300");
}

TEST_F(PortCardTest, PokeAndPeek)
{
    record.Registers[0] = 0x240;
    record.Ops.Poke(0x123, 0x4567, Camera);
    EXPECT_EQ(Accesses(), "in:305 out:305=8A in:307 wout:300=8000 in:307 "
                          "out:305=0A in:307 wout:300=200 in:307 "
                          "in:305 out:305=8A in:307 wout:300=123 in:307 wout:300=4567 in:307");
    EXPECT_EQ(record.Registers[0], 0x200);
    Fake.portValues[0x300] = 0x1234;
    EXPECT_EQ(record.Ops.Peek(0x123, Camera), 0x1234u);
    EXPECT_EQ(Accesses(), "in:305 out:305=8A in:307 wout:300=8000 in:307 "
                          "out:305=0A in:307 wout:300=200 in:307 "
                          "in:305 out:305=8A in:307 wout:300=FFE0 in:307 "
                          "in:305 out:305=8A in:307 wout:300=123 in:307 out:305=4A win:300");
}

// --- over a serial cable ---

TEST_F(PortCardTest, SerialReadAsksWithAZeroWordAndWaits)
{
    UseSerialCable();
    Fake.portValues[0x300] = 0x4321;
    EXPECT_EQ(record.Ops.ReadStatus(7, Camera), 0x4321u);
    EXPECT_EQ(Accesses(), "in:305 out:305=8A in:307 wout:300=FFE7 in:307 "
                          "out:305=4A wout:300=0 in:307 in:307 win:300");
    EXPECT_EQ(record.Ops.ReadRegister(7, Camera), 0x4321u);
    EXPECT_EQ(Accesses(), "in:305 out:305=8A in:307 wout:300=FFE1 in:307 "
                          "in:305 out:305=8A in:307 wout:300=8007 in:307 "
                          "out:305=4A wout:300=0 in:307 in:307 win:300");
}

TEST_F(PortCardTest, SerialReadGivesUpAfter50001Polls)
{
    UseSerialCable();
    Fake.isQuiet = true;
    Fake.portValues[0x307] = 0x02; // words are taken, no reply
    record.Ops.ReadStatus(7, Camera);
    EXPECT_EQ(Fake.counts["in:307"], 3u + 50001) << "three words, then the reply";
    EXPECT_EQ(Fake.counts["win:300"], 1u);
}

TEST_F(PortCardTest, SerialPeekWaitsWithoutABoundAndPauses)
{
    UseSerialCable();
    // Register 0 and its value, the prefix and the address: a poll after each mode
    // and after each word; one more after the zero word. Then 60000 without a reply.
    Fake.portReplies[0x307].assign(4 * 2 + 1 + 60000, 0x02);
    Fake.portReplies[0x307].push_back(0x03);
    Fake.portValues[0x300] = 0x4321;
    Fake.isQuiet = true;
    EXPECT_EQ(record.Ops.PeekW(0x123, Camera), 0x4321u);
    EXPECT_TRUE(Fake.portReplies[0x307].empty());
    EXPECT_EQ(Fake.counts["pause=10"], 60000u);
}

TEST_F(PortCardTest, SerialWaitReadyPollsBit0)
{
    UseSerialCable();
    Fake.portReplies[0x307] = {0x10, 0x00, 0x11};
    EXPECT_EQ(record.Ops.WaitReady(Camera), 0);
    EXPECT_EQ(Accesses(), "in:307 in:307 in:307");
    Fake.isQuiet = true;
    Fake.counts.clear();
    Fake.portValues[0x307] = 0x02;
    EXPECT_EQ(record.Ops.WaitReady(Camera), 1);
    EXPECT_EQ(Fake.counts["in:307"], 1000000u);
}

TEST_F(PortCardTest, SerialReadDataAndResetLinkAreTheSame)
{
    UseSerialCable();
    record.Ops.ReadData(Camera);
    record.Ops.ResetLink(Camera);
    EXPECT_EQ(Accesses(), "in:307 win:300 in:305 out:305=4A win:300");
}

} // namespace
