// A bus camera as a link meets it: cycles by hand.
#include "emulator/traffic.h"
#include "tests/emulator/bus_wire.h"

namespace {

using Pixels = std::vector<uint16_t>;

class BusCamera : public BusWire {};

const Pixels BothRows = {0, 101, 102, 103, 0, 201, 202, 203};

TEST_F(BusCamera, IsSelectedByItsAddress)
{
    camera = EmuPlugBusCamera(setup);
    EXPECT_FALSE(EmuBusListens(camera));
    EXPECT_EQ(Status(15), 0xFFFF);
    Address(0xFFF0);
    EXPECT_TRUE(EmuBusListens(camera));
    EXPECT_EQ(Status(15), 0x2A);
    Address(0xFFF1);
    EXPECT_FALSE(EmuBusListens(camera));
}

TEST_F(BusCamera, OfAnArrayAnswersToItsUnit)
{
    setup.unit = 3;
    camera = EmuPlugBusCamera(setup);
    Address(0xFFF0);
    EXPECT_FALSE(EmuBusListens(camera));
    Address(0xFFF3);
    EXPECT_TRUE(EmuBusListens(camera));
}

TEST_F(BusCamera, AddressesBelow8000AreMemory)
{
    Plug();
    Address(0x1234);
    Data(0xBEEF);
    uint16_t word = 0;
    EmuBusPattern(camera, 0x1234, 1, &word);
    EXPECT_EQ(word, 0xBEEF);
    EXPECT_EQ(ReadMemory(0x1234), 0xBEEF);
}

TEST_F(BusCamera, DataWithoutANewAddressGoesToTheSamePlace)
{
    Plug();
    Register(16, 1);
    Data(63);
    EXPECT_EQ(EmuBusRegister(camera, 16), 63);
    EXPECT_EQ(ReadRegister(16), 63);
}

TEST_F(BusCamera, TwoAddressesInARowStoreNothing)
{
    Plug();
    Address(0x0010);
    Data(5);
    Address(0x0010);
    Address(7);
    EXPECT_EQ(ReadMemory(0x0010), 5);
}

TEST_F(BusCamera, MemoryIsShutWhileTheSequencerRuns)
{
    Plug();
    Address(0x0010);
    Data(5);
    Register(0, 0x40);
    Address(0x0010);
    Data(6);
    Register(0, 0);
    EXPECT_EQ(ReadMemory(0x0010), 5);
}

TEST_F(BusCamera, UpperHalfOfTheMemoryIsBehindRegister12On25)
{
    setup.platform = 25;
    Plug();
    Address(0x0003);
    Data(1);
    Register(12, 0x8000);
    Address(0x0003);
    Data(2);
    uint16_t low = 0;
    uint16_t high = 0;
    EmuBusPattern(camera, 0x0003, 1, &low);
    EmuBusPattern(camera, 0x8003, 1, &high);
    EXPECT_EQ(low, 1);
    EXPECT_EQ(high, 2);
}

TEST_F(BusCamera, StreamsTheLinesOfALightFrame)
{
    Plug();
    LoadLine(3);
    ExposeOneSecond();
    Stream(3, 2, 13);
    EXPECT_EQ(Drain(), BothRows);
}

TEST_F(BusCamera, DarkFrameIsEmpty)
{
    Plug();
    LoadLine(3);
    Stream(3, 2, 13);
    EXPECT_EQ(Drain(), Pixels(8, 0));
}

TEST_F(BusCamera, AWrongPageGivesAnotherPicture)
{
    Plug();
    LoadLine(3);
    ExposeOneSecond();
    Stream(2, 2, 13);
    EXPECT_TRUE(Drain().empty());
}

// The row that the first run skips is in the register, and the second one adds to it.
TEST_F(BusCamera, ASectionWithoutALinkIsPlayedAtOnce)
{
    Plug();
    LoadLine(3);
    Load(4, {0, Row});
    ExposeOneSecond();
    Run(4, 1, 1);
    Stream(3, 1, 13);
    EXPECT_EQ(Drain(), (Pixels{0, 302, 304, 306}));
}

TEST_F(BusCamera, AClearedSensorIsEmpty)
{
    Plug();
    LoadLine(3);
    ExposeOneSecond();
    Run(3, 2, 13);
    Stream(3, 2, 13);
    EXPECT_EQ(Drain(), Pixels(8, 0));
}

TEST_F(BusCamera, RepeatMayBeAnyAddress)
{
    Plug();
    Load(3, {0, Gate, Strobe});
    Stream(3, 0x8005, 2);
    EXPECT_EQ(Drain().size(), 0x8005u);
    EXPECT_EQ(EmuBusRegister(camera, 5), 0);
}

TEST_F(BusCamera, RepeatOfZeroSendsNothing)
{
    Plug();
    LoadLine(3);
    Stream(3, 0, 13);
    EXPECT_TRUE(Drain().empty());
}

// The first conversion is word 5 of the line, the second word 8: 3 microseconds.
TEST_F(BusCamera, FirstPixelWaitsAtOnceTheOthersByTheClock)
{
    Plug();
    LoadLine(3);
    ExposeOneSecond();
    Stream(3, 2, 13);
    EXPECT_TRUE(EmuBusPixelWaits(camera));
    EXPECT_EQ(EmuBusTakePixel(camera), 0);
    EXPECT_FALSE(EmuBusPixelWaits(camera));
    EXPECT_EQ(EmuBusTakePixel(camera), 0xFFFF);
    System.clock.SleepMicroseconds(2);
    EXPECT_FALSE(EmuBusPixelWaits(camera));
    System.clock.SleepMicroseconds(1);
    EXPECT_EQ(EmuBusTakePixel(camera), 101);
}

TEST_F(BusCamera, ReadingAStatusWordDoesNotStartTheStream)
{
    Plug();
    LoadLine(3);
    ExposeOneSecond();
    Run(3, 1, 13);
    Status(7);
    EmuBusStream(camera);
    EXPECT_TRUE(Drain().empty());
    Stream(3, 1, 13);
    EXPECT_EQ(Drain(), (Pixels{0, 201, 202, 203}));
}

TEST_F(BusCamera, StreamEndsAsTheRunBitFalls)
{
    Plug();
    LoadLine(3);
    ExposeOneSecond();
    Stream(3, 2, 13);
    EXPECT_EQ(EmuBusTakePixel(camera), 0);
    Register(0, 0);
    EXPECT_TRUE(Drain().empty());
}

TEST_F(BusCamera, MutedStreamStallsBehindThatPixel)
{
    Plug();
    LoadLine(3);
    EmuBusMute(camera, 3);
    ExposeOneSecond();
    Stream(3, 2, 13);
    EXPECT_EQ(Drain(), (Pixels{0, 101, 102}));
    EmuBusMute(camera, 0xFFFFFFFF);
    EXPECT_EQ(Drain(), (Pixels{103, 0, 201, 202, 203}));
}

TEST_F(BusCamera, WithoutPowerAnswersNothingAndForgetsItsSelection)
{
    Plug();
    Register(16, 63);
    EmuBusPower(camera, false);
    EXPECT_EQ(Status(15), 0xFFFF);
    Register(16, 5);
    EmuBusPower(camera, true);
    EXPECT_FALSE(EmuBusListens(camera));
    Address(0xFFF0);
    EXPECT_EQ(EmuBusRegister(camera, 16), 0);
    EXPECT_EQ(Status(15), 0x2A);
}

TEST_F(BusCamera, Register31ResetsAndDeselects)
{
    Plug();
    Register(12, 0x20);
    EXPECT_TRUE(EmuBusCoolerOn(camera));
    Register(31, 0);
    EXPECT_FALSE(EmuBusCoolerOn(camera));
    EXPECT_FALSE(EmuBusListens(camera));
}

TEST_F(BusCamera, Status7HasTheTrigger)
{
    Plug();
    EmuBusTrigger(camera, true);
    EXPECT_EQ(Status(7) & 0x2006, 0x2000);
    EmuBusTrigger(camera, false);
    EXPECT_EQ(Status(7) & 0x2006, 0);
}

TEST_F(BusCamera, HeronShowsTheTriggerInStatus5)
{
    setup.platform = 60;
    Plug();
    EmuBusTrigger(camera, true);
    EXPECT_EQ(Status(5), 8);
}

// 100 times 10 ms; and 5000 steps of 200 ns.
TEST_F(BusCamera, ExposureRunsInStatus7AsLongAsTheCounter)
{
    setup.platform = 24;
    Plug();
    ExposeOneSecond();
    System.clock.Sleep(999);
    EXPECT_EQ(Status(7) & 0x1000, 0x1000);
    System.clock.Sleep(1);
    EXPECT_EQ(Status(7) & 0x1000, 0);
    Register(6, 5);
    Register(5, 4999);
    EXPECT_EQ(Status(7) & 0x1000, 0x1000);
    System.clock.SleepMicroseconds(1001);
    EXPECT_EQ(Status(7) & 0x1000, 0);
}

TEST_F(BusCamera, NoLightWithACounterOfZeroOn44)
{
    setup.platform = 44;
    Plug();
    Register(5, 0);
    Register(6, 0);
    EXPECT_EQ(EmuBusExposures(camera), 0u);
    Register(5, 1);
    Register(6, 0);
    EXPECT_EQ(EmuBusExposures(camera), 1u);
}

TEST_F(BusCamera, ShutterLinesKeepTheLightOut)
{
    setup.platform = 25;
    Plug();
    Register(6, 0x600);
    Register(4, 1);
    Register(5, 0);
    EXPECT_EQ(EmuBusExposures(camera), 0u);
    Register(6, 0);
    Register(4, 1);
    Register(5, 0);
    EXPECT_EQ(EmuBusExposures(camera), 1u);
}

TEST_F(BusCamera, DarkLineOfHeronSharesTheRegisterWithThePrescaler)
{
    setup.platform = 60;
    Plug();
    Register(6, 0x40);
    Register(5, 99);
    EXPECT_EQ(EmuBusExposures(camera), 0u);
    Register(6, 0);
    Register(5, 99);
    EXPECT_EQ(EmuBusExposures(camera), 1u);
}

TEST_F(BusCamera, ChipWithoutAPatternSendsItsRows)
{
    setup.platform = 30;
    setup.sensor = 500;
    Plug();
    Register(5, 1);
    Register(6, 0);
    Address(0xFFE2);
    Register(0, 0x800);
    Register(0, 0x40);
    EmuBusStream(camera);
    EXPECT_EQ(Drain(), (Pixels{101, 102, 103, 201, 202, 203}));
}

// Two seconds as the rows stand, one of them shifted away, three seconds more: what is left
// of the first exposure is a row nearer to the register.
TEST_F(BusCamera, ShutterHeldOpenExposesTheRowsWhereTheyStand)
{
    setup.platform = 44;
    Plug();
    LoadLine(3);
    Load(4, {0, Row});
    Load(5, {0, Gate, Gate | Shift, Gate, Gate | Shift, Gate, Gate | Shift, Gate, Gate | Shift});
    Register(3, 0x800);
    System.clock.Sleep(2000);
    Run(4, 1, 1);
    Run(5, 1, 8);
    System.clock.Sleep(3000);
    Register(3, 0);
    System.clock.Sleep(1000);
    Stream(3, 3, 13);
    EXPECT_EQ(Drain(), (Pixels{0, 2 * 201 + 3 * 101, 2 * 202 + 3 * 102, 2 * 203 + 3 * 103, //
                               0, 3 * 201, 3 * 202, 3 * 203,                               //
                               0, 0, 0, 0}));
    EXPECT_EQ(EmuBusExposures(camera), 1u);
}

TEST_F(BusCamera, CounterAddsNoLightToAShutterHeldOpen)
{
    setup.platform = 25;
    Plug();
    LoadLine(3);
    Register(6, 0x300);
    System.clock.Sleep(1000);
    Register(4, 100);
    Register(5, 0);
    System.clock.Sleep(1000);
    Register(6, 0x200);
    System.clock.Sleep(1000);
    Stream(3, 2, 13);
    EXPECT_EQ(Drain(), (Pixels{0, 202, 204, 206, 0, 402, 404, 406}));
}

TEST_F(BusCamera, OnlySomeCamerasHoldTheirShutterOpen)
{
    for (const int32_t platform : {24, 30, 42, 60}) {
        setup.platform = platform;
        Plug();
        Register(3, 0x800);
        Register(6, 0x300);
        System.clock.Sleep(1000);
        Register(3, 0);
        EXPECT_EQ(EmuBusExposures(camera), 0u) << platform;
    }
}

// 10 ms in units of 100 ns and 1 ms in units of 10 microseconds: loading them starts nothing.
class ArmedBusCamera : public BusWire {
protected:
    void Arm()
    {
        setup.platform = 47;
        Plug();
        LoadLine(3);
        Register(5, 0);
        Register(3, 0x100);
        Register(3, 0x1100);
        Register(5, 100000 & 0xFFFF);
        Register(6, 100000 >> 16);
        Register(3, 0x100);
        Register(5, 100);
        Register(6, 0);
        Prepare(3, 2, 13);
        Address(0xFFE2);
    }
};

TEST_F(ArmedBusCamera, ExposesAndSendsBehindTheTrigger)
{
    Arm();
    EXPECT_EQ(EmuBusExposures(camera), 0u);
    EXPECT_EQ(Status(7) & 0x1000, 0);
    Register(0, 0x10);
    EmuBusStream(camera);
    EXPECT_TRUE(Drain().empty());
    EmuBusTrigger(camera, true);
    EXPECT_EQ(EmuBusExposures(camera), 1u);
    System.clock.SleepMicroseconds(10999);
    EXPECT_FALSE(EmuBusPixelWaits(camera));
    System.clock.SleepMicroseconds(1);
    EXPECT_TRUE(EmuBusPixelWaits(camera));
    EXPECT_EQ(Drain(), BothRows);
}

TEST_F(ArmedBusCamera, StartsAtOnceIfToldSo)
{
    Arm();
    Register(0, 0x1C);
    EmuBusStream(camera);
    System.clock.SleepMicroseconds(10999);
    EXPECT_FALSE(EmuBusPixelWaits(camera));
    EXPECT_EQ(Drain(), BothRows);
}

TEST_F(ArmedBusCamera, ThatIsGivenUpHearsNoTrigger)
{
    Arm();
    Register(0, 0x10);
    EmuBusStream(camera);
    Register(0, 0);
    EmuBusTrigger(camera, true);
    EXPECT_TRUE(Drain().empty());
    EXPECT_EQ(EmuBusExposures(camera), 0u);
    Register(5, 100);
    Register(6, 0); // an exposure as any
    EXPECT_EQ(EmuBusExposures(camera), 1u);
}

TEST_F(BusCamera, TrafficTellsTheSectionsPlayed)
{
    Plug();
    LoadLine(3);
    EmuRecord(true);
    Run(3, 5, 13);
    EXPECT_EQ(EmuTraffic(), "  play page 3, 14 words, 5 times\n");
}

TEST_F(BusCamera, ThereAreSixteen)
{
    for (int32_t i = 0; i < 16; ++i) EXPECT_EQ(EmuPlugBusCamera(setup), i);
    EXPECT_EQ(EmuPlugBusCamera(setup), -1);
    EmuReset();
    EXPECT_EQ(EmuPlugBusCamera(setup), 0);
}

TEST_F(BusCamera, ThatIsNotThereReadsAllOnes)
{
    EmuBusAddress(9, 1);
    EmuBusData(-1, 1);
    EmuBusStream(8);
    EXPECT_EQ(EmuBusRead(0), 0xFFFF);
    EXPECT_EQ(EmuBusTakePixel(-1), 0xFFFF);
    EXPECT_FALSE(EmuBusListens(7));
}

} // namespace
