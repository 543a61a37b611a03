// Bus cycles over the card. The control register holds 0x1502 at first, and reads
// with 0x4000, "cycle done", besides.
#include "links/card_link.h"

#include "core/ops.h"
#include "links/bus_map.h"
#include "tests/links/fake_bus.h"

namespace {

class CardLinkTest : public LinkTest {
protected:
    void SetUp() override
    {
        LinkTest::SetUp();
        OverlayOps(&record.Ops, CardLinkOps);
    }

    // A serial cable whose decoder replies at once.
    void UseSerialCable()
    {
        record.SerialLink = 1;
        Fake.status = [] { return 0x80000u; };
    }
};

TEST_F(CardLinkTest, WriteAddress)
{
    EXPECT_EQ(record.Ops.WriteAddress(0xFFF0, Camera), 0x5504u) << "what it wrote";
    EXPECT_EQ(Accesses(), "control? data=FFF0 control=5504 us=10 control?");
}

TEST_F(CardLinkTest, AddressesHave16Bits)
{
    record.Ops.WriteAddress(0x12345, Camera);
    EXPECT_EQ(Accesses(), "control? data=2345 control=5504 us=10 control?");
}

TEST_F(CardLinkTest, WriteDataSaysTheWordTwiceAndLeavesTheControlWord)
{
    record.Ops.WriteData(0xABCD, Camera);
    EXPECT_EQ(Accesses(), "control? data=ABCD data=ABCD control=5502 us=10 control?");
}

TEST_F(CardLinkTest, WriteDataRepeatsThePreviousKindOfCycle)
{
    const uint32_t c = record.Ops.WriteAddress(5, Camera);
    Accesses();
    record.Ops.WriteData(1, Camera);
    record.Ops.WriteData(2, Camera);
    EXPECT_EQ(Accesses(), "control? data=1 data=1 control=5504 us=10 control? "
                          "control? data=2 data=2 control=5504 us=10 control?");
    SendCardWord(c, 3, Camera);
    record.Ops.WriteData(4, Camera);
    EXPECT_EQ(Accesses(), "data=3 data=3 control=5500 us=10 control? "
                          "control? data=4 data=4 control=5500 us=10 control?");
}

TEST_F(CardLinkTest, WriteRegister)
{
    record.Ops.WriteRegister(5, 0x1234, Camera);
    EXPECT_EQ(Accesses(), "control? data=8005 control=5504 us=10 control? "
                          "data=1234 data=1234 control=5500 us=10 control?");
}

TEST_F(CardLinkTest, WriteRegisterKeeps16BitsOfAValue)
{
    record.Ops.WriteRegister(31, -2, Camera);
    EXPECT_EQ(Accesses(), "control? data=801F control=5504 us=10 control? "
                          "data=FFFE data=FFFE control=5500 us=10 control?");
}

TEST_F(CardLinkTest, ReadRegister)
{
    Fake.values[CardDataReg] = 0xABC1234;
    EXPECT_EQ(record.Ops.ReadRegister(7, Camera), 0x1234);
    EXPECT_EQ(Accesses(), "control? data=FFE1 control=5504 us=10 control? "
                          "control? data=8007 control=5504 us=10 control? control=5502 data?");
}

TEST_F(CardLinkTest, ReadRegisterOverASerialCable)
{
    UseSerialCable();
    Fake.values[CardDataReg] = 0x4321;
    EXPECT_EQ(record.Ops.ReadRegister(7, Camera), 0x4321);
    EXPECT_EQ(Accesses(), "control? data=FFE1 control=81504 us=10 "
                          "control? data=8007 control=81504 us=10 "
                          "control=81502 us=10 control? control=81502 us=10 control? data?");
}

TEST_F(CardLinkTest, ReadStatusGivesAll32Bits)
{
    Fake.values[CardDataReg] = 0xABC1234;
    EXPECT_EQ(record.Ops.ReadStatus(15, Camera), 0xABC1234u);
    EXPECT_EQ(Accesses(), "control? data=FFEF control=5504 us=10 control? control=5502 data?");
}

TEST_F(CardLinkTest, ReadStatusOverASerialCable)
{
    UseSerialCable();
    record.Ops.ReadStatus(7, Camera);
    EXPECT_EQ(Accesses(), "control? data=FFE7 control=81504 us=10 "
                          "control=81502 us=10 control? control=81502 us=10 control? data?");
}

TEST_F(CardLinkTest, ReadData)
{
    Fake.values[CardDataReg] = 0x54321;
    EXPECT_EQ(record.Ops.ReadData(Camera), 0x4321);
    EXPECT_EQ(Accesses(), "control? data?");
}

TEST_F(CardLinkTest, ReadDataOverASerialCable)
{
    UseSerialCable();
    record.Ops.ReadData(Camera);
    EXPECT_EQ(Accesses(), "control? us=10 control? control=81502 us=10 control? data?");
}

TEST_F(CardLinkTest, ResetLink)
{
    Fake.control = 0x1504;
    record.Ops.ResetLink(Camera);
    EXPECT_EQ(Accesses(), "control? control=45512 us=10 control=551A");
}

TEST_F(CardLinkTest, PokeStopsTheSequencerAndLeavesItsValueToTheAddressCycle)
{
    record.Registers[0] = 0x342;
    record.Ops.Poke(0x123, 0x45, Camera);
    EXPECT_EQ(Accesses(), "control? data=8000 control=5504 us=10 control? "
                          "data=302 data=302 control=5500 us=10 control? "
                          "control? data=123 control=5504 us=10 control? "
                          "control? data=45 data=45 control=5504 us=10 control?");
    EXPECT_EQ(record.Registers[0], 0x302);
    EXPECT_EQ(record.Ops.Poke, record.Ops.PokeW);
}

TEST_F(CardLinkTest, Peek)
{
    record.Registers[0] = 0x40;
    Fake.values[CardDataReg] = 0x9ABCD;
    EXPECT_EQ(record.Ops.Peek(0x123, Camera), 0xABCDu) << "16 bits in the byte form too";
    EXPECT_EQ(Accesses(), "control? data=8000 control=5504 us=10 control? "
                          "data=0 data=0 control=5500 us=10 control? "
                          "control? data=FFE0 control=5504 us=10 control? "
                          "control? data=123 control=5504 us=10 control? control=5502 data?");
    EXPECT_EQ(record.Registers[0], 0);
    EXPECT_EQ(record.Ops.PeekW(0x123, Camera), 0xABCDu);
}

TEST_F(CardLinkTest, PeekOverASerialCableWaitsWithoutAReadCycle)
{
    UseSerialCable();
    record.Ops.Peek(0x123, Camera);
    EXPECT_EQ(Accesses(), "control? data=8000 control=81504 us=10 "
                          "data=0 data=0 control=81500 us=10 "
                          "control? data=FFE0 control=81504 us=10 "
                          "control? data=123 control=81504 us=10 us=10 control? data?");
}

// --- waits ---

TEST_F(CardLinkTest, WaitCyclePollsWithoutADelay)
{
    int32_t polls = 0;
    Fake.status = [&polls] { return ++polls < 4 ? 0u : 0x4000u; };
    EXPECT_TRUE(WaitCycle(Camera));
    EXPECT_EQ(Accesses(), "us=10 control? control? control? control?");
}

TEST_F(CardLinkTest, WaitCycleFailsAfter100000Polls)
{
    Fake.isQuiet = true;
    Fake.status = [] { return 0xFFFFBFFFu; }; // all but bit 14
    Fake.control = 0;
    EXPECT_FALSE(WaitCycle(Camera));
    EXPECT_EQ(Fake.counts["control?"], 100000u);
    EXPECT_EQ(Fake.counts["us=10"], 1u);
}

TEST_F(CardLinkTest, WaitCycleOnASerialLinkOnlyDelays)
{
    UseSerialCable();
    EXPECT_TRUE(WaitCycle(Camera));
    EXPECT_EQ(Accesses(), "us=10");
}

TEST_F(CardLinkTest, LostCyclesPassInSilence)
{
    Fake.isQuiet = true;
    Fake.status = [] { return 0u; };
    EXPECT_EQ(record.Ops.WriteAddress(1, Camera), 0x1504u);
    EXPECT_EQ(Fake.counts["control?"], 100001u);
}

TEST_F(CardLinkTest, WaitSerialReplyEndsWithTheReply)
{
    int32_t rounds = 0;
    Fake.status = [&rounds] { return ++rounds < 3 ? 0u : 0x80000u; };
    WaitSerialReply(Camera);
    EXPECT_EQ(Accesses(), "us=10 control? us=10 control? us=10 control?");
}

TEST_F(CardLinkTest, WaitSerialReplyGivesUpAfter101Rounds)
{
    WaitSerialReply(Camera);
    EXPECT_EQ(Accesses(), Text("101{us=10 control?}"));
}

TEST_F(CardLinkTest, WaitReadyTestsAfterTheDelay)
{
    int32_t polls = 0;
    Fake.status = [&polls] { return ++polls < 3 ? 0x10000u : 0u; };
    EXPECT_EQ(record.Ops.WaitReady(Camera), 0);
    EXPECT_EQ(Accesses(), "us=10 control? us=10 control? us=10 control?");
    EXPECT_EQ(record.Ops.WaitReady(Camera), 0);
    EXPECT_EQ(Accesses(), "us=10 control?") << "one delay always passes";
}

TEST_F(CardLinkTest, WaitReadyOfABusyCameraIsOneAfter100000Delays)
{
    Fake.isQuiet = true;
    Fake.status = [] { return 0x10000u; };
    EXPECT_EQ(record.Ops.WaitReady(Camera), 1);
    EXPECT_EQ(Fake.counts["us=10"], 100000u);
    EXPECT_EQ(Fake.counts["control?"], 100000u);
}

TEST_F(CardLinkTest, CardThatWasNeverMappedIsNeverReadyAndHoldsNothingUp)
{
    record.CardMapped = 0;
    Fake.isQuiet = true;
    EXPECT_EQ(record.Ops.ReadStatus(15, Camera), 0xFFFFFFFFu);
    EXPECT_EQ(record.Ops.ReadRegister(1, Camera), 0xFFFF);
    EXPECT_TRUE(WaitCycle(Camera));
    AwaitSerialReply(Camera);
    EXPECT_EQ(record.Ops.WaitReady(Camera), 1);
    EXPECT_EQ(Fake.counts["control?"] + Fake.counts["data?"], 0u);
}

// --- SEP and Larch ---

class PatientReadTest : public CardLinkTest {
protected:
    void SetUp() override
    {
        CardLinkTest::SetUp();
        OverlayOps(&record.Ops, PatientReadOps);
    }
};

TEST_F(PatientReadTest, ParallelReadsSayTheControlWordThreeTimesMore)
{
    Fake.values[CardDataReg] = 0x9ABCD;
    EXPECT_EQ(record.Ops.ReadRegister(7, Camera), 0xABCD);
    EXPECT_EQ(Accesses(), "control? data=FFE1 control=5504 us=10 control? "
                          "control? data=8007 control=5504 us=10 control? "
                          "control=5502 control=5502 control=5502 control=5502 data?");
    EXPECT_EQ(record.Ops.ReadStatus(15, Camera), 0x9ABCDu);
    EXPECT_EQ(Accesses(), "control? data=FFEF control=5504 us=10 control? "
                          "control=5502 control=5502 control=5502 control=5502 data?");
}

TEST_F(PatientReadTest, PeekHas8BitsAndPeekW16)
{
    Fake.values[CardDataReg] = 0x9ABCD;
    EXPECT_EQ(record.Ops.Peek(0x123, Camera), 0xCDu);
    EXPECT_EQ(Accesses(), "control? data=8000 control=5504 us=10 control? "
                          "data=0 data=0 control=5500 us=10 control? "
                          "control? data=FFE0 control=5504 us=10 control? "
                          "control? data=123 control=5504 us=10 control? "
                          "control=5502 control=5502 control=5502 control=5502 data?");
    EXPECT_EQ(record.Ops.PeekW(0x123, Camera), 0xABCDu);
}

TEST_F(PatientReadTest, SerialReadsWaitWithoutABoundTwice)
{
    UseSerialCable();
    // The first read of the control register belongs to the address; 300 rounds
    // then bring the first reply, one more the second.
    int32_t reads = 0;
    Fake.status = [&reads] { return ++reads > 300 ? 0x80000u : 0u; };
    record.Ops.ReadStatus(9, Camera);
    EXPECT_EQ(Accesses(), "control? data=FFE9 control=1504 us=10 control=1502 " +
                              Text("300{us=10 control?} control=1502 us=10 control? data?"));
}

TEST_F(PatientReadTest, SerialPeekReadsAsARegisterDoes)
{
    UseSerialCable();
    record.Ops.PeekW(0x123, Camera);
    EXPECT_EQ(Accesses(), "control? data=8000 control=81504 us=10 "
                          "data=0 data=0 control=81500 us=10 "
                          "control? data=FFE0 control=81504 us=10 "
                          "control? data=123 control=81504 us=10 "
                          "control=81502 us=10 control? control=81502 us=10 control? data?");
}

// --- Tarn_IV_PLUS ---

TEST_F(CardLinkTest, StatusReadFormReadsAStatusWordForARegister)
{
    OverlayOps(&record.Ops, StatusReadOps);
    Fake.values[CardDataReg] = 0x54321;
    EXPECT_EQ(record.Ops.ReadRegister(7, Camera), 0x4321);
    EXPECT_EQ(Accesses(), "control? data=FFE7 control=5504 us=10 control? control=5502 data?");
}

TEST_F(CardLinkTest, StatusReadFormWaitsWithoutABoundOnASerialCable)
{
    OverlayOps(&record.Ops, StatusReadOps);
    UseSerialCable();
    int32_t reads = 0;
    Fake.status = [&reads] { return ++reads > 200 ? 0x80000u : 0u; };
    record.Ops.ReadRegister(7, Camera);
    EXPECT_EQ(Accesses(), "control? data=FFE7 control=1504 us=10 control=1502 " +
                              Text("200{us=10 control?} control=1502 us=10 control? data?"));
}

} // namespace
