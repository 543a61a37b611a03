// Registers and sequencer of the bus cameras.
#include "core/record.h"
#include "drivers/bus/bus_camera.h"
#include "tests/support/fake_bus.h"

namespace {

class BusSequencer : public FakeBusTest {};

} // namespace

TEST_F(BusSequencer, RepeatOfZeroLeavesTheCameraAlone)
{
    OpenFakeBus(42, 255, 0, 2);
    CameraTable[0].Registers[0] = 0x42;
    RunSequence(LineSection, 0, 1, 0);
    EXPECT_EQ(TakeBusLog(), "");
    EXPECT_EQ(CameraTable[0].Registers[0], 0x42);
}

// 20 words of 1500 ns, 200 times: 6 ms, and one more.
TEST_F(BusSequencer, PlaysASectionAndSleepsAsLongAsItLasts)
{
    OpenFakeBus(42, 255, 0, 2);
    CameraTable[0].Registers[0] = 0x42; // the run bit is taken back
    CameraTable[0].WordPeriodNs = 1500;
    RunSequence(RowSection, 200, 1, 0);
    EXPECT_EQ(TakeBusLog(), "reg 0 0x0022; reg 0 0x0002; reg 2 0x0002; reg 0 0x0082; "
                            "address 0x00C8; sleep 2; reg 0 0x0002; address 0x0014; sleep 2; "
                            "reg 0 0x0102; reg 0 0x0002; reg 0 0x0042; sleep 7");
    EXPECT_EQ(CameraTable[0].Registers[0], 0x02);
    EXPECT_EQ(CameraTable[0].Registers[2], 2);
}

TEST_F(BusSequencer, WithoutWaitSomethingElseStartsTheSection)
{
    OpenFakeBus(42, 255, 0, 2);
    RunSequence(LineSection, 5, 0, 0);
    EXPECT_EQ(TakeBusLog(), "reg 0 0x0020; reg 0 0x0000; reg 2 0x0004; reg 0 0x0080; "
                            "address 0x0005; sleep 2; reg 0 0x0000; address 0x0028; sleep 2; "
                            "reg 0 0x0100; reg 0 0x0000");
}

TEST_F(BusSequencer, OnThePrinterPortAStartedSectionIsStreamed)
{
    OpenFakeBus(40, 255, 0, 0);
    RunSequence(PixelSection, 1, 1, 0);
    const std::string log = TakeBusLog();
    const std::string end = "reg 0 0x0040; address 0xFFE2; sleep 1";
    ASSERT_GT(log.size(), end.size());
    EXPECT_EQ(log.substr(log.size() - end.size()), end);
}

// 40 x 65535 x 2000 is 5242800000, less 2^32 is 947832704: 947 ms and one more.
TEST_F(BusSequencer, TheTimeOfASectionWrapsAtThirtyTwoBits)
{
    OpenFakeBus(42, 255, 0, 2);
    CameraTable[0].WordPeriodNs = 65535;
    RunSequence(LineSection, 2000, 1, 0);
    EXPECT_NE(TakeBusLog().find("reg 0 0x0040; sleep 948"), std::string::npos);
}

TEST_F(BusSequencer, ClearShiftsAllRowsAndFlushesTheRegisterTwice)
{
    OpenFakeBus(42, 255, 0, 2);
    CameraTable[0].Ops.ClearSensor(0);
    std::vector<std::string> addresses;
    for (const std::string& line : Bus.log) {
        if (line.rfind("address", 0) == 0 || line.rfind("reg 2", 0) == 0) addresses.push_back(line);
    }
    // 4 rows and the dummy one; 28 cells.
    const std::vector<std::string> wanted = {"reg 2 0x0002", "address 0x0005", "address 0x0014",
                                             "reg 2 0x0003", "address 0x001C", "address 0x001E",
                                             "reg 2 0x0003", "address 0x001C", "address 0x001E"};
    EXPECT_EQ(addresses, wanted);
}

TEST_F(BusSequencer, FlushWhileExposingIsTheRegisterOnce)
{
    OpenFakeBus(42, 255, 0, 2);
    CameraTable[0].WordPeriodNs = 1500; // 30 words of it 28 times: 1.26 ms
    CameraTable[0].Ops.ClearOnce(0);
    EXPECT_EQ(TakeBusLog(), "reg 0 0x0020; reg 0 0x0000; reg 2 0x0003; reg 0 0x0080; "
                            "address 0x001C; sleep 2; reg 0 0x0000; address 0x001E; sleep 2; "
                            "reg 0 0x0100; reg 0 0x0000; reg 0 0x0040; sleep 2");
}

TEST_F(BusSequencer, DummyLinesAreOneAboveFourfoldBinning)
{
    OpenFakeBus(42, 255, 0, 2);
    const int32_t wanted[] = {1, 1, 2, 3, 4, 1, 1};
    for (int32_t binning = 0; binning <= 6; ++binning) {
        CameraTable[0].VerBinning = binning;
        EXPECT_EQ(DummyLines(CameraTable[0]), wanted[binning]) << binning;
    }
}

TEST_F(BusSequencer, RegisterNumbersOfAHostStayInsideTheShadows)
{
    OpenFakeBus(42, 255, 0, 2);
    CameraTable[0].Ops.ModifyRegister(33, 0x10, 1, 0);
    CameraTable[0].Ops.ModifyRegister(-31, 0x03, 1, 0);
    CameraTable[0].Ops.ModifyRegister(1, 0x11, 0, 0);
    EXPECT_EQ(TakeBusLog(), "reg 1 0x0010; reg 1 0x0013; reg 1 0x0002");
}

TEST_F(BusSequencer, PortBitsAreFourPlacesUpInRegisterEleven)
{
    OpenFakeBus(42, 255, 0, 2);
    SetBusPortBits(0x21, 1, 0);
    SetBusPortBits(0x01, 0, 0);
    EXPECT_EQ(TakeBusLog(), "reg 11 0x0210; reg 11 0x0200");
}

TEST_F(BusSequencer, TheTriggerIsBitThirteenOfStatusSeven)
{
    OpenFakeBus(42, 255, 0, 2);
    EXPECT_EQ(CameraTable[0].Ops.IsTriggered(0), 0);
    Bus.status7 = 0x2000;
    EXPECT_EQ(CameraTable[0].Ops.IsTriggered(0), 1);
}

TEST_F(BusSequencer, TheTriggerOfHeronIsBitThreeOfStatusFive)
{
    OpenFakeBus(60, 255, 0, 2);
    CameraTable[0].Ops.ReadStatus = [](int32_t selector, int32_t) -> uint32_t {
        return selector == 5 ? 0x8 : 0;
    };
    EXPECT_EQ(CameraTable[0].Ops.IsTriggered(0), 1);
    CameraTable[0].Ops.ReadStatus = [](int32_t selector, int32_t) -> uint32_t {
        return selector == 5 ? 0xF7 : 0xFF;
    };
    EXPECT_EQ(CameraTable[0].Ops.IsTriggered(0), 0);
}
