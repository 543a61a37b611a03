// The card with an 8-bit cable. The control register holds 0x1502 at first, and
// reads with 0x4000, "cycle done", besides.
#include "links/byte_link.h"

#include "core/ops.h"
#include "tests/links/fake_bus.h"

namespace {

class ByteLinkTest : public LinkTest {
protected:
    void SetUp() override
    {
        LinkTest::SetUp();
        OverlayOps(&record.Ops, ByteLinkOps);
    }
};

TEST_F(ByteLinkTest, WriteAddress)
{
    EXPECT_EQ(record.Ops.WriteAddress(0xFFE9, Camera), 0x5504u);
    EXPECT_EQ(Accesses(), "control? channel=0 data=FFE9 control=5504 us=10 control? "
                          "channel=1 data=FF control=5504 us=10 control?");
}

TEST_F(ByteLinkTest, WriteDataClearsBothKindsOfCycle)
{
    Fake.control = 0x1506;
    record.Ops.WriteData(0xABCD, Camera);
    EXPECT_EQ(Accesses(), "control? channel=0 data=ABCD data=ABCD control=5500 us=10 control? "
                          "channel=1 data=AB data=AB control=5500 us=10 control?");
}

TEST_F(ByteLinkTest, WriteRegister)
{
    record.Ops.WriteRegister(5, 0x1234, Camera);
    EXPECT_EQ(Accesses(), "control? channel=0 data=8005 control=5504 us=10 control? "
                          "channel=1 data=80 control=5504 us=10 control? "
                          "control? channel=0 data=1234 data=1234 control=5500 us=10 control? "
                          "channel=1 data=12 data=12 control=5500 us=10 control?");
}

TEST_F(ByteLinkTest, ReadRegisterTakesTheLowByteFirst)
{
    Fake.replies[CardDataReg] = {0xA34, 0xB12};
    EXPECT_EQ(record.Ops.ReadRegister(7, Camera), 0x1234);
    EXPECT_EQ(Accesses(), "control? channel=0 data=FFE1 control=5504 us=10 control? "
                          "channel=1 data=FF control=5504 us=10 control? "
                          "control? channel=0 data=8007 control=5504 us=10 control? "
                          "channel=1 data=80 control=5504 us=10 control? control=5502 "
                          "channel=0 channel=0 channel=0 channel=0 data? "
                          "channel=1 channel=1 channel=1 channel=1 data?");
}

TEST_F(ByteLinkTest, ReadStatusTakesTheHighByteFirst)
{
    Fake.replies[CardDataReg] = {0xA12, 0xB34};
    EXPECT_EQ(record.Ops.ReadStatus(15, Camera), 0x1234u) << "16 bits";
    EXPECT_EQ(Accesses(), "control? channel=0 data=FFEF control=5504 us=10 control? "
                          "channel=1 data=FF control=5504 us=10 control? control=5502 "
                          "channel=1 data? "
                          "channel=0 channel=0 channel=0 channel=0 data? channel=1");
}

TEST_F(ByteLinkTest, ReadData)
{
    Fake.replies[CardDataReg] = {0xA12, 0xB34};
    EXPECT_EQ(record.Ops.ReadData(Camera), 0x1234);
    EXPECT_EQ(Accesses(), "data? channel=0 channel=0 channel=0 channel=0 data? channel=1");
}

TEST_F(ByteLinkTest, WaitReadyPollsBit8OfTheData)
{
    Fake.replies[CardDataReg] = {0x100, 0x1FF, 0xFF};
    EXPECT_EQ(record.Ops.WaitReady(Camera), 0);
    EXPECT_EQ(Accesses(), "data? data? data?");
}

TEST_F(ByteLinkTest, WaitReadyGivesUpAfterTwoMillionPolls)
{
    Fake.isQuiet = true;
    Fake.values[CardDataReg] = 0x100;
    EXPECT_EQ(record.Ops.WaitReady(Camera), 1);
    EXPECT_EQ(Fake.counts["data?"], 2000000u);
}

TEST_F(ByteLinkTest, ResetLinkWritesTheReadCycleFourTimes)
{
    Fake.control = 0x1504;
    record.Ops.ResetLink(Camera);
    EXPECT_EQ(Accesses(), "control? control=5502 control=5502 control=5502 control=5502");
}

TEST_F(ByteLinkTest, ResetLinkOverASerialCableWritesItOnce)
{
    record.SerialLink = 1;
    ByteResetLink(Camera);
    EXPECT_EQ(Accesses(), "control? control=5502");
}

TEST_F(ByteLinkTest, PokeStopsTheSequencerAndWritesADataCycle)
{
    record.Registers[0] = 0x240;
    record.Ops.PokeW(0x123, 0x45, Camera);
    EXPECT_EQ(Accesses(), "control? channel=0 data=8000 control=5504 us=10 control? "
                          "channel=1 data=80 control=5504 us=10 control? "
                          "control? channel=0 data=200 data=200 control=5500 us=10 control? "
                          "channel=1 data=2 data=2 control=5500 us=10 control? "
                          "control? channel=0 data=123 control=5504 us=10 control? "
                          "channel=1 data=1 control=5504 us=10 control? "
                          "control? channel=0 data=45 data=45 control=5500 us=10 control? "
                          "channel=1 data=0 data=0 control=5500 us=10 control?");
    EXPECT_EQ(record.Registers[0], 0x200);
}

TEST_F(ByteLinkTest, PeekReadsAsARegisterDoes)
{
    Fake.replies[CardDataReg] = {0xA34, 0xB12};
    EXPECT_EQ(record.Ops.Peek(0x123, Camera), 0x1234u);
    EXPECT_EQ(Accesses(), "control? channel=0 data=8000 control=5504 us=10 control? "
                          "channel=1 data=80 control=5504 us=10 control? "
                          "control? channel=0 data=0 data=0 control=5500 us=10 control? "
                          "channel=1 data=0 data=0 control=5500 us=10 control? "
                          "control? channel=0 data=FFE0 control=5504 us=10 control? "
                          "channel=1 data=FF control=5504 us=10 control? "
                          "control? channel=0 data=123 control=5504 us=10 control? "
                          "channel=1 data=1 control=5504 us=10 control? control=5502 "
                          "channel=0 channel=0 channel=0 channel=0 data? "
                          "channel=1 channel=1 channel=1 channel=1 data?");
}

} // namespace
