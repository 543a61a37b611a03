// What an open does to the camera behind the link, and how the families take their
// pattern. The calibration comes from a chip that decodes its lines.
#include "core/record.h"
#include "drivers/bus/bus_camera.h"
#include "emulator/bus_links.h"
#include "links/card.h"
#include "tests/support/fake_bus.h"

namespace {

class BusOpening : public FakeBusTest {
protected:
    // Everything from the reset (or the address) up to the version.
    static std::string OpenLog(int32_t attach, int32_t result = 0)
    {
        Bus.log.clear();
        EXPECT_EQ(CameraTable[0].Ops.OpenCamera(0x378, attach, 0), result);
        const std::string log = TakeBusLog();
        const size_t from = log.find(attach != 0 ? "address 0xFFF0" : "reg 31");
        const size_t to = log.find("status 15");
        if (from == std::string::npos || to == std::string::npos) return "no open: " + log;
        return log.substr(from, to - from);
    }

    // The writes of registers other than 11 and 12.
    static std::string OtherWrites()
    {
        std::string text;
        for (const std::string& line : Bus.log) {
            if (line.rfind("reg ", 0) != 0) continue;
            if (line.rfind("reg 11", 0) == 0 || line.rfind("reg 12", 0) == 0) continue;
            text += line + "; ";
        }
        return text;
    }
};

const char BriarWrites[] = "reg 3 0x0004; reg 4 0x0000; reg 13 0x0010; ";

} // namespace

// 10 MHz of 1 microsecond: 10 / 2 - 1.
TEST_F(BusOpening, BriarIsResetAndProgrammed)
{
    OpenFakeBus(40, 255, 0, 0);
    CameraTable[0].FilterPhase = 3;
    EXPECT_EQ(OpenLog(0), "reg 31 0x0000; address 0xFFF0; reg 0 0x0200; " +
                              std::string(BriarWrites) +
                              "reg 12 0x0400; reg 12 0x4C00; reg 11 0x0010; reg 16 0x003F; ");
    EXPECT_EQ(CameraTable[0].PortBase, 0x378);
    EXPECT_EQ(CameraTable[0].FilterPhase, 0);
    EXPECT_EQ(CameraTable[0].WordPeriodNs, 1000);
    EXPECT_EQ(CameraTable[0].Registers[0], 0x200);
    EXPECT_EQ(CameraTable[0].Registers[3], 4);
}

TEST_F(BusOpening, AttachedBriarKeepsItsCooler)
{
    OpenFakeBus(40, 255, 0, 0);
    EXPECT_EQ(OpenLog(1), "address 0xFFF0; reg 0 0x0200; " + std::string(BriarWrites) +
                              "reg 12 0x0420; reg 12 0x4C20; reg 11 0x0010; reg 16 0x003F; ");
}

TEST_F(BusOpening, DividerIsRoundedAndHeld)
{
    OpenFakeBus(40, 255, 0, 0);
    PlatformDefinition& platform = CameraTable[0].Platform;
    platform.TimeBase = 24.0;
    platform.SamplingClock[0] = 0.29; // 2.48
    EXPECT_EQ(BusPixelDivider(0), 2);
    platform.SamplingClock[0] = 0.3; // 2.6
    EXPECT_EQ(BusPixelDivider(0), 3);
    platform.SamplingClock[0] = 0.0; // -1
    EXPECT_EQ(BusPixelDivider(0), 0);
    platform.SamplingClock[0] = 1e300;
    EXPECT_EQ(BusPixelDivider(0), 65535);
}

TEST_F(BusOpening, OtherVersionOnAPortIsNoCamera)
{
    OpenFakeBus(40, 255, 0, 0);
    CameraTable[0].Platform.FpgaId = 0x17;
    OpenLog(0, 1);
    Bus.version = 0x9917; // the upper byte is something else
    OpenLog(0, 0);
}

TEST_F(BusOpening, OtherVersionOnACardOpensUncalibrated)
{
    OpenFakeBus(42, 255, 0, 2);
    CameraRecord& record = CameraTable[0];
    record.Platform.FpgaId = 0x17;
    Bus.chip.cells[1] = 30;
    BusSetup setup = {};
    setup.program = [](int32_t camera) { ProgramBusRegisters({}, camera); };
    setup.calibrate = CalibrateFromMemory;
    EXPECT_EQ(SetUpBusCamera(setup, 0, 0), 1);
    setup.otherVersionOpens = true;
    EXPECT_EQ(SetUpBusCamera(setup, 0, 0), 0);
    EXPECT_EQ(record.TemperatureSpan[0], 1.0);
    Bus.version = 0x17;
    EXPECT_EQ(SetUpBusCamera(setup, 0, 0), 0);
    EXPECT_EQ(record.TemperatureSpan[0], 3.0);
}

TEST_F(BusOpening, CalibrationIsReadFromTheCamera)
{
    OpenFakeBus(40, 255, 0, 0);
    CameraRecord& record = CameraTable[0];
    record.SubCamera = 2;
    Bus.chip.cells[0] = 0xFFE7; // -25
    Bus.chip.cells[1] = 12;
    Bus.chip.cells[9] = 0xFFFE;
    OpenLog(0);
    EXPECT_DOUBLE_EQ(record.TemperatureOffset[2], -2.5);
    EXPECT_DOUBLE_EQ(record.TemperatureSpan[2], 1.2);
    EXPECT_EQ(record.SenseResistorHigh[2], 1);
    Bus.chip.cells[9] = 1;
    OpenLog(0);
    EXPECT_EQ(record.SenseResistorHigh[2], 0);
}

TEST_F(BusOpening, SpanThatIsNotAboveZeroChangesNothing)
{
    OpenFakeBus(40, 255, 0, 0);
    CameraRecord& record = CameraTable[0];
    record.TemperatureOffsetWord = 7;
    Bus.chip.cells[0] = 100;
    for (uint16_t span : {uint16_t{0}, uint16_t{0xFFFF}, uint16_t{0x8000}}) {
        Bus.chip.cells[1] = span;
        OpenLog(0);
        EXPECT_DOUBLE_EQ(record.TemperatureOffset[0], 0.7) << span;
        EXPECT_DOUBLE_EQ(record.TemperatureSpan[0], 1.0) << span;
    }
}

// 1 / 0.3 - 1 is 2.3: 15 MHz, 533 ns. 88, 64 and 256 are 1011000, 1000000, 100000000.
TEST_F(BusOpening, R3HasAClockAndAFrontEndOfItsOwn)
{
    OpenFakeBus(44, 255, 0, 0);
    CameraTable[0].Platform.FpgaId = 1; // ends behind the version
    ASSERT_EQ(CameraTable[0].Ops.OpenCamera(0x378, 0, 0), 1);
    EXPECT_EQ(ClockedBits(11, 0x40, 0x20), "0000000001011000"
                                           "0001000001000000"
                                           "0101000100000000");
    EXPECT_EQ(OtherWrites(), "reg 31 0x0000; reg 0 0x0200; reg 15 0x0000; reg 3 0x00F9; "
                             "reg 4 0x2210; reg 18 0x0000; reg 13 0x3110; reg 16 0x003F; ");
    EXPECT_EQ(CameraTable[0].WordPeriodNs, 533);
}

// 2 / 0.3 - 1 is 5.7: 30 MHz, 266 ns.
TEST_F(BusOpening, R3PlusRunsAtTwiceTheClock)
{
    OpenFakeBus(47, 279, 0, 0);
    CameraTable[0].Platform.FpgaId = 1;
    ASSERT_EQ(CameraTable[0].Ops.OpenCamera(0x378, 0, 0), 1);
    EXPECT_EQ(OtherWrites(), "reg 31 0x0000; reg 0 0x0200; reg 15 0x0000; reg 3 0x00F9; "
                             "reg 4 0x2210; reg 18 0x0700; reg 13 0x7010; reg 16 0x00FF; ");
    EXPECT_EQ(CameraTable[0].WordPeriodNs, 266);
}

TEST_F(BusOpening, R3ModeDependsOnTheSensor)
{
    OpenFakeBus(44, 250, 0, 0);
    OpenLog(0);
    EXPECT_EQ(CameraTable[0].Registers[13], 0x3010);
}

TEST_F(BusOpening, R3AlwaysHasTheHighResistor)
{
    OpenFakeBus(44, 255, 0, 0);
    Bus.chip.cells[9] = 1;
    OpenLog(0);
    EXPECT_EQ(CameraTable[0].SenseResistorHigh[0], 1);
}

// 32767 columns of 7 + 2 * 65535 rows are 2^32 + 32763 pixels.
TEST_F(BusOpening, FrameBeyondThirtyTwoBitsIsNoBuffer)
{
    OpenFakeBus(42, 255, 0x2000, 2);
    EmuPlugCard({}, -1);
    CameraRecord& record = CameraTable[0];
    record.CardDeviceId = 2001;
    record.Ccd.Xpix = 32767;
    record.Ccd.Ypix = 7;
    record.Ccd.Dummy[0] = 65535;
    EXPECT_EQ(record.Ops.OpenCamera(0, 0, 0), 9);
    EXPECT_EQ(record.DmaBytes, 0u);
    ReleaseCard(0);
}

TEST_F(BusOpening, WhatIsNoPortIsTheCard)
{
    EmuPlugCard({}, -1);
    CameraRecord& record = CameraTable[0];
    for (int32_t interfaceType : {2, 3, 4, 5, 6, 7, 70, -1, INT32_MAX}) {
        OpenFakeBus(42, 255, 0, interfaceType);
        record.CardMapped = 0;
        record.CardDeviceId = 2001;
        EXPECT_EQ(record.Ops.OpenCamera(0, 0, 0), 0) << interfaceType;
        EXPECT_EQ(record.CardMapped, 1) << interfaceType;
        ReleaseCard(0);
    }
    OpenFakeBus(42, 255, 0, 0);
    record.Ops.OpenCamera(0x278, 0, 0);
    EXPECT_EQ(record.ControlPort, 0x27A);
    OpenFakeBus(42, 255, 0, 1);
    EXPECT_EQ(record.Ops.OpenCamera(0x300, 0, 0), 15); // the ports answer 0xFF
    EXPECT_EQ(record.CardMapped, 0);
}

// Behind it the next open works, whatever the last one has left behind.
TEST_F(BusOpening, EachFailedOpenCanBeRepeated)
{
    OpenFakeBus(44, 255, 0, 2);
    CameraRecord& record = CameraTable[0];
    record.CardDeviceId = 2001;
    const auto open = [&record] { return record.Ops.OpenCamera(0, 0, 0); };
    EmuHaveCardDriver(false);
    EXPECT_EQ(open(), 13);
    EmuHaveCardDriver(true);
    EXPECT_EQ(open(), 15);
    EmuPlugCard({.lockedElsewhere = true}, -1);
    EXPECT_EQ(open(), 4);
    record.CardDeviceId = 2002;
    EmuPlugCard({.deviceId = 2002, .dmaLimit = 0}, -1);
    EXPECT_EQ(open(), 9);
    record.CardDeviceId = 2003;
    record.Config.InterfaceLink = 1;
    EmuPlugCard({.deviceId = 2003, .decoder = 0xAAAA2, .unlinked = true}, -1);
    EXPECT_EQ(open(), 10);
    EXPECT_EQ(EmuCardsOpen(), 0u);
    record.CardDeviceId = 2004;
    EmuPlugCard({.deviceId = 2004, .decoder = 0xAAAA2, .secondReply = 97}, -1);
    EXPECT_EQ(open(), 11);
    record.CardDeviceId = 2005;
    record.Config.InterfaceLink = 0;
    EmuPlugCard({.deviceId = 2005}, -1);
    record.Platform.FpgaId = 0x17;
    EXPECT_EQ(open(), 1);
    EXPECT_EQ(EmuDmaLocked(), 1u);
    Bus.version = 0x17;
    EXPECT_EQ(open(), 0);
    EXPECT_EQ(EmuCardsOpen(), 1u);
    EXPECT_EQ(EmuDmaLocked(), 1u);
    CloseCard(0);
    EXPECT_EQ(EmuCardsOpen(), 0u);
    EXPECT_EQ(EmuDmaLocked(), 0u);
}

TEST_F(BusOpening, UnodsVersionHasAllSixteenBits)
{
    OpenFakeBus(70, 255, 0, 70);
    EmuPlugCard({}, -1);
    CameraRecord& record = CameraTable[0];
    record.CardDeviceId = 2001;
    record.Platform.FpgaId = static_cast<int16_t>(0x8743);
    record.Registers[22] = 0x8743; // what the fake camera answers
    EXPECT_EQ(record.Ops.OpenCamera(0, 0, 0), 0);
    record.Registers[22] = 0x0743;
    EXPECT_EQ(record.Ops.OpenCamera(0, 0, 0), 1);
    ReleaseCard(0);
}

TEST_F(BusOpening, RegistersVaryAsTheFamilySays)
{
    OpenFakeBus(42, 255, 0, 2);
    ProgramBusRegisters({.lineMode = 92, .mode = 28, .extra12 = 0x200}, 0);
    EXPECT_EQ(TakeBusLog(), "reg 3 0x0004; reg 4 0x005C; reg 13 0x001C; reg 12 0x0400; "
                            "reg 12 0x4C00; reg 12 0x4E00; reg 11 0x0010; reg 16 0x003F");
}

TEST_F(BusOpening, UnitIsSwitchedWithItsShadows)
{
    OpenFakeBus(42, 255, 0, 2);
    PlugFakeCard(16);
    CameraRecord& record = CameraTable[0];
    record.Registers[12] = 0x1111;
    record.HeadRegisters[2][12] = 0x2222;
    record.HeadSequenceTable[2][6] = 0x0700;
    record.FilterPosition = 4;
    SelectUnit(2, 0);
    EXPECT_EQ(TakeBusLog(), "reg 30 0x0000; channel 0xFFFB; sleep 1; address 0xFFF2; sleep 1");
    EXPECT_EQ(record.Registers[12], 0x2222);
    EXPECT_EQ(record.SequenceTable[6], 0x0700);
    EXPECT_EQ(record.HeadFilterPosition[0], 4);
    SelectUnit(0, 0);
    EXPECT_EQ(record.Registers[12], 0x1111);
    EXPECT_EQ(record.SequenceTable[6], 0x0400);
    EXPECT_EQ(record.FilterPosition, 4);
}

// --- patterns ---

TEST_F(BusOpening, BytePatternStopsAndEnablesTheSequencer)
{
    OpenFakeBus(40, 255, 0, 0);
    CameraTable[0].Registers[0] = 0x240;
    const uint16_t words[] = {0x11, 0x22};
    BytePatternSink.begin(2, 0);
    BytePatternSink.put(0x100, words, 2, 0);
    BytePatternSink.end(0);
    EXPECT_TRUE(BytePatternSink.bytesOnly);
    EXPECT_EQ(TakeBusLog(), "reg 0 0x0200; address 0x0100; data 0x0011; address 0x0101; "
                            "data 0x0022; reg 0 0x0202");
}

TEST_F(BusOpening, PatternWordsTurnThePortCardToData)
{
    OpenFakeBus(41, 255, 0, 1);
    CameraTable[0].PortBase = 0x300;
    const uint16_t words[] = {0xBEEF};
    PortPatternSink.put(3, words, 1, 0);
    EXPECT_FALSE(PortPatternSink.bytesOnly);
    EXPECT_EQ(TakeBusLog(), "address 0x0003; port 0x0305 0x0064; data 0xBEEF");
}

TEST_F(BusOpening, PatternWordsTurnTheCardToData)
{
    OpenFakeBus(42, 255, 0, 2);
    PlugFakeCard(16);
    const uint16_t words[] = {0x11};
    BytePatternSink.put(3, words, 1, 0);
    EXPECT_EQ(TakeBusLog(), "address 0x0003; control 0x00E0; data 0x0011");
}

TEST_F(BusOpening, CardPatternWordsGoTwiceToTheOperand)
{
    OpenFakeBus(42, 255, 0, 2);
    PlugFakeCard(16);
    CameraTable[0].SerialLink = 1; // no wait for the cycle
    CameraTable[0].Registers[0] = 0x40;
    const uint16_t words[] = {0x1234};
    CardPatternSink.begin(1, 0);
    CardPatternSink.put(7, words, 1, 0);
    CardPatternSink.end(0);
    EXPECT_EQ(TakeBusLog(), "reg 0 0x0002; address 0x0007; operand 0x1234; operand 0x1234; "
                            "control 0x00E0");
}

TEST_F(BusOpening, UpperHalfOfALargePatternIsAPageOfRegisterTwelve)
{
    OpenFakeBus(42, 255, 0, 2);
    CameraTable[0].Registers[12] = 0x4C00;
    const uint16_t words[] = {1};
    Tarn4PlusPatternSink.begin(1, 0);
    Tarn4PlusPatternSink.put(31744, words, 1, 0);
    Tarn4PlusPatternSink.put(32768, words, 1, 0);
    Tarn4PlusPatternSink.put(33792, words, 1, 0);
    Tarn4PlusPatternSink.end(0);
    EXPECT_EQ(TakeBusLog(), "reg 0 0x0002; address 0x7C00; reg 12 0xCC00; address 0x0000; "
                            "address 0x0400; reg 12 0x4C00");
}
