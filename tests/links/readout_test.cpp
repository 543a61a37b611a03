// What ends a readout, by the kind of link.
#include "links/readout.h"

#include "tests/links/fake_bus.h"

namespace {

class ReadoutEndTest : public LinkTest {
protected:
    void SetUp() override
    {
        LinkTest::SetUp();
        Fake.control = 0xFFFF;
        Fake.status = [] { return 0u; };
    }

    std::string EndOf(int32_t interfaceType)
    {
        record.InterfaceType = interfaceType;
        ReadoutEnd(Camera);
        return Accesses();
    }
};

TEST_F(ReadoutEndTest, Card2LeavesTheStream)
{
    EXPECT_EQ(EndOf(2), "control? control=FFE7 data?");
}

TEST_F(ReadoutEndTest, Card2WithAnAcknowledgedSerialLinkGoesBackToReadCycles)
{
    Fake.control = 0xFFFD;
    record.SerialLink = 1;
    EXPECT_EQ(EndOf(2), "control? control=FFE5 data?") << "without the acknowledgement";
    Fake.control = 0xFFFD;
    record.SerialLinkAcknowledged = 1;
    EXPECT_EQ(EndOf(2), "control? control=FFC7 data?");
    Fake.control = 0xFFFD;
    record.SerialLink = 0;
    EXPECT_EQ(EndOf(2), "control? control=FFE5 data?") << "without the link";
}

TEST_F(ReadoutEndTest, Card4ClearsBit4Only)
{
    record.SerialLink = 1;
    record.SerialLinkAcknowledged = 1;
    EXPECT_EQ(EndOf(4), "control? control=FFEF data?");
}

TEST_F(ReadoutEndTest, PrinterPortDrivesItsLinesAgain)
{
    record.ControlPort = 0x37A;
    record.ControlShadow = 0xFA;
    EXPECT_EQ(EndOf(0), "out:37A=DF");
    EXPECT_EQ(record.ControlShadow, 0xDF);
}

TEST_F(ReadoutEndTest, OtherLinksNeedNothing)
{
    for (int32_t type : {1, 3, 6, 70, -1}) EXPECT_EQ(EndOf(type), "") << type;
}

} // namespace
