// The printer port at 0x378: data 378, status 379, control 37A.
#include "links/printer_port.h"

#include "core/ops.h"
#include "core/options.h"
#include "links/readout.h"
#include "tests/links/fake_bus.h"

namespace {

class PrinterPortTest : public LinkTest {
protected:
    void SetUp() override
    {
        LinkTest::SetUp();
        OverlayOps(&record.Ops, PrinterPortOps);
        record.CardMapped = 0;
        Fake.portValues[0x37A] = 0xFF;
        ASSERT_EQ(OpenPrinterPort(0x378, Camera), 0);
        Opening = Accesses();
        record.ControlShadow = 0xC5; // bits 6 and 7 have no meaning, and stay
    }

    std::string Opening;
};

TEST_F(PrinterPortTest, OpenReadiesTheControlRegister)
{
    // FF & D6 = D6, | 5 = D7.
    EXPECT_EQ(Opening, "in:37A out:37A=D7");
    EXPECT_EQ(Fake.acquired, "378.3");
    EXPECT_EQ(record.PortBase, 0x378);
    EXPECT_EQ(record.DataPort, 0x378);
    EXPECT_EQ(record.StatusPort, 0x379);
    EXPECT_EQ(record.ControlPort, 0x37A);
}

TEST_F(PrinterPortTest, OpenKeepsTheShadowOfWhatItWrote)
{
    Fake.portValues[0x37A] = 0x2A; // & D6 = 02, | 5 = 07
    EXPECT_EQ(OpenPrinterPort(0x378, Camera), 0);
    EXPECT_EQ(Accesses(), "in:37A out:37A=07");
    EXPECT_EQ(record.ControlShadow, 0x07);
}

TEST_F(PrinterPortTest, RefusedPortsAreOneAndNotTouched)
{
    Fake.portsGranted = false;
    EXPECT_EQ(OpenPrinterPort(0x378, Camera), 1);
    EXPECT_EQ(Accesses(), "");
}

TEST_F(PrinterPortTest, PortNumbersAtTheEndOfTheRangeWrap)
{
    EXPECT_EQ(OpenPrinterPort(0xFFFF, Camera), 0);
    EXPECT_EQ(record.StatusPort, 0);
    EXPECT_EQ(record.ControlPort, 1);
}

TEST_F(PrinterPortTest, WriteAddress)
{
    record.ControlShadow = 0xC0;
    record.Ops.WriteAddress(0x8005, Camera);
    EXPECT_EQ(Accesses(), "out:37A=C7 out:378=05 out:37A=C5 out:378=80");
    EXPECT_EQ(record.ControlShadow, 0xC5);
}

TEST_F(PrinterPortTest, WriteData)
{
    record.Ops.WriteData(0xABCD, Camera);
    EXPECT_EQ(Accesses(), "out:37A=C3 out:378=CD out:37A=C1 out:378=AB out:37A=C5");
    EXPECT_EQ(record.ControlShadow, 0xC5);
}

TEST_F(PrinterPortTest, WriteRegister)
{
    record.Ops.WriteRegister(5, 0x1234, Camera);
    EXPECT_EQ(Accesses(), "out:37A=C7 out:378=05 out:37A=C5 out:378=80 "
                          "out:37A=C3 out:378=34 out:37A=C1 out:378=12 out:37A=C5");
}

TEST_F(PrinterPortTest, ReadRegister)
{
    Fake.portReplies[0x378] = {0x34, 0x12};
    EXPECT_EQ(record.Ops.ReadRegister(7, Camera), 0x1234);
    // C5 & FA = C0, | 20 | 2 = E2; bit 1 clear E0; & DF | 5 = C5.
    EXPECT_EQ(Accesses(), "out:37A=C7 out:378=E1 out:37A=C5 out:378=FF "
                          "out:37A=C7 out:378=07 out:37A=C5 out:378=80 "
                          "out:37A=E2 in:378 out:37A=E0 in:378 out:37A=C5");
    EXPECT_EQ(record.ControlShadow, 0xC5);
}

TEST_F(PrinterPortTest, ReadStatusTurnsThePortRoundFirst)
{
    Fake.portReplies[0x378] = {0x34, 0x12};
    EXPECT_EQ(record.Ops.ReadStatus(15, Camera), 0x1234u);
    EXPECT_EQ(Accesses(), "out:37A=C7 out:378=EF out:37A=C5 out:378=FF "
                          "out:37A=E0 out:37A=E2 in:378 out:37A=E0 in:378 out:37A=C5");
}

TEST_F(PrinterPortTest, ReadDataTakesTheHighByteFirst)
{
    record.WordPeriodNs = 999;
    Fake.portReplies[0x378] = {0x12, 0x34};
    EXPECT_EQ(record.Ops.ReadData(Camera), 0x1234);
    EXPECT_EQ(Accesses(), "in:378 out:37A=C7 in:378 out:37A=C5");
}

TEST_F(PrinterPortTest, ReadDataOfASlowCameraRepeatsTheStrobe)
{
    record.WordPeriodNs = 1000;
    record.Ops.ReadData(Camera);
    EXPECT_EQ(Accesses(), "in:378 out:37A=C7 out:37A=C7 in:378 out:37A=C5");
}

TEST_F(PrinterPortTest, ReadDataLowFirst)
{
    OverlayOps(&record.Ops, PrinterPortLowFirstOps);
    record.ControlShadow = 0xE7;
    Fake.portReplies[0x378] = {0x34, 0x12};
    EXPECT_EQ(record.Ops.ReadData(Camera), 0x1234);
    EXPECT_EQ(Accesses(), "out:37A=E7 in:378 out:37A=E5 in:378");
    EXPECT_EQ(record.ControlShadow, 0xE5);
}

TEST_F(PrinterPortTest, WaitReadyPollsBit6OfTheStatus)
{
    Fake.portReplies[0x379] = {0x40, 0xFF, 0xBF};
    EXPECT_EQ(record.Ops.WaitReady(Camera), 0);
    EXPECT_EQ(Accesses(), "in:379 in:379 in:379");
}

TEST_F(PrinterPortTest, WaitReadyGivesUpAfterTwoMillionPolls)
{
    Fake.isQuiet = true;
    Fake.portValues[0x379] = 0x40;
    EXPECT_EQ(record.Ops.WaitReady(Camera), 1);
    EXPECT_EQ(Fake.counts["in:379"], 2000000u);
}

TEST_F(PrinterPortTest, ResetLinkTurnsThePortRound)
{
    record.Ops.ResetLink(Camera);
    EXPECT_EQ(Accesses(), "out:37A=E0");
    EXPECT_EQ(record.ControlShadow, 0xE0);
    record.InterfaceType = 0;
    ReadoutEnd(Camera);
    EXPECT_EQ(Accesses(), "out:37A=C5");
}

TEST_F(PrinterPortTest, PokeAndPeek)
{
    record.Registers[0] = 0x240;
    record.Ops.Poke(0x123, 0x4567, Camera);
    EXPECT_EQ(Accesses(), "out:37A=C7 out:378=00 out:37A=C5 out:378=80 "
                          "out:37A=C3 out:378=00 out:37A=C1 out:378=02 out:37A=C5 "
                          "out:37A=C7 out:378=23 out:37A=C5 out:378=01 "
                          "out:37A=C3 out:378=67 out:37A=C1 out:378=45 out:37A=C5");
    EXPECT_EQ(record.Registers[0], 0x200);
    Fake.portReplies[0x378] = {0x34, 0x12};
    EXPECT_EQ(record.Ops.Peek(0x123, Camera), 0x1234u);
    EXPECT_EQ(Accesses(), "out:37A=C7 out:378=00 out:37A=C5 out:378=80 "
                          "out:37A=C3 out:378=00 out:37A=C1 out:378=02 out:37A=C5 "
                          "out:37A=C7 out:378=E0 out:37A=C5 out:378=FF "
                          "out:37A=C7 out:378=23 out:37A=C5 out:378=01 "
                          "out:37A=E2 in:378 out:37A=E0 in:378 out:37A=C5");
}

} // namespace
