// Front end, clock synthesiser, exposure counter, cooler and temperature.
#include "core/record.h"
#include "drivers/bus/bus_camera.h"
#include "tests/support/fake_bus.h"

namespace {

class BusAnalog : public FakeBusTest {};

constexpr int32_t FrontEndRegister = 11;
constexpr uint16_t FrontEndData = 0x20, FrontEndClock = 0x40;
constexpr int32_t SynthesiserRegister = 12;
constexpr uint16_t SynthesiserClock = 0x100, SynthesiserData = 0x200;

std::string FrontEndBits()
{
    return ClockedBits(FrontEndRegister, FrontEndClock, FrontEndData);
}

// A register that is converted 16 times at `first` and 64 times at `later`.
void Convert(uint16_t first, uint16_t later)
{
    Bus.words.assign(16, first);
    Bus.words.insert(Bus.words.end(), 64, later);
    Bus.nextWord = 0;
    CameraTable[0].Ops.ReadTemperature(0);
    Bus.log.clear();
}

} // namespace

// 5 is 101, 9 is 000000001001.
TEST_F(BusAnalog, FrontEndWordIsAnExtraClockThreeBitsAndTwelve)
{
    OpenFakeBus(44, 255, 0, 2);
    FrontEndWrite(5, 9, 0);
    EXPECT_EQ(FrontEndBits(), "0101000000001001");
    EXPECT_EQ(Bus.log.front(), "reg 11 0x0010");
    EXPECT_EQ(Bus.log[1], "reg 11 0x0010");
    EXPECT_EQ(Bus.log[2], "reg 11 0x0050");
    EXPECT_EQ(Bus.log.back(), "reg 11 0x0020"); // the last data bit stays
}

TEST_F(BusAnalog, TableGainIsOneFrontEndWord)
{
    OpenFakeBus(44, 255, 0, 2);
    CameraTable[0].GainIndex = 1; // 38 is 100110
    EXPECT_EQ(CameraTable[0].Ops.SetGain(0), 0);
    EXPECT_EQ(FrontEndBits(), "0010000000100110");
    EXPECT_EQ(CameraTable[0].LoadedGain, 1);
}

TEST_F(BusAnalog, UserGainIsGainOffsetAndRange)
{
    OpenFakeBus(47, 255, 0, 2);
    CameraRecord& record = CameraTable[0];
    record.GainIndex = 4;
    record.UserGain = 200;   // 11001000
    record.UserOffset = 300; // 44 is 101100
    record.UserGainHigh = 1; // 216 is 11011000
    record.Ops.SetGain(0);
    EXPECT_EQ(FrontEndBits(), "0010000011001000"
                              "0101000000101100"
                              "0000000011011000");
    Bus.log.clear();
    record.UserOffset = 255; // 511 - 255 = 256: the sign alone
    record.UserGainHigh = 0; // 88 is 01011000
    record.Ops.SetGain(0);
    EXPECT_EQ(FrontEndBits(), "0010000011001000"
                              "0101000100000000"
                              "0000000001011000");
}

TEST_F(BusAnalog, GainIndexOutsideTheTableSendsItsFirstEntry)
{
    OpenFakeBus(44, 255, 0, 2);
    for (int32_t index : {5, -1, INT32_MAX, INT32_MIN}) {
        CameraTable[0].GainIndex = index;
        CameraTable[0].Ops.SetGain(0);
        EXPECT_EQ(FrontEndBits(), "0010000000000000") << index;
        EXPECT_EQ(CameraTable[0].LoadedGain, index);
        Bus.log.clear();
    }
    OpenFakeBus(42, 255, 0, 2);
    for (const int32_t index : {7, -1}) {
        CameraTable[0].GainIndex = index;
        CameraTable[0].Ops.SetGain(0);
        EXPECT_EQ(FrontEndBits(), "0000000") << index;
        Bus.log.clear();
    }
}

// 145 is 10010001: its upper seven bits.
TEST_F(BusAnalog, BriarSendsSevenBitsOfItsGain)
{
    OpenFakeBus(42, 255, 0, 2);
    CameraTable[0].Registers[11] = 0x10;
    CameraTable[0].GainIndex = 2;
    EXPECT_EQ(CameraTable[0].Ops.SetGain(0), 0);
    EXPECT_EQ(FrontEndBits(), "1001000");
    EXPECT_EQ(Bus.log.front(), "reg 11 0x0000");
    EXPECT_EQ(Bus.log[1], "reg 11 0x0020");
    EXPECT_EQ(Bus.log[2], "reg 11 0x0060");
    EXPECT_EQ(Bus.log[3], "reg 11 0x0020");
    EXPECT_EQ(Bus.log.back(), "reg 11 0x0010");
}

TEST_F(BusAnalog, BriarSendsATableGainOnceAndTheUsersAlways)
{
    OpenFakeBus(42, 255, 0, 2);
    CameraRecord& record = CameraTable[0];
    record.GainIndex = 3;
    record.Ops.SetGain(0);
    Bus.log.clear();
    record.Ops.SetGain(0);
    EXPECT_TRUE(Bus.log.empty());
    record.GainIndex = 4;
    record.UserGain = 100;
    record.UserGainHigh = 1; // 100 + 100 + 1 = 201 is 11001001
    for (int32_t i = 0; i < 2; ++i) {
        record.Ops.SetGain(0);
        EXPECT_EQ(FrontEndBits(), "1100100");
        Bus.log.clear();
    }
}

// 5 MHz is 1220744 = 0x12A088, least significant digit first 8, 8, 0, A, 2, 1.
TEST_F(BusAnalog, SynthesiserTakesControlWordAndControls)
{
    OpenFakeBus(44, 255, 0, 2);
    EXPECT_EQ(ProgramClockSynthesiser(0, 0), 1600);
    EXPECT_EQ(ClockedBits(SynthesiserRegister, SynthesiserClock, SynthesiserData),
              "10100000"
              "011110"
              "0001000100000101010010"
              "00100000"
              "011110"
              "00000000"
              "011110");
    EXPECT_EQ(CameraTable[0].Registers[12], 0);
    // 15 ms ahead of the last control byte and frame: 14 bits of three writes.
    EXPECT_EQ(Bus.log[Bus.log.size() - 1 - 42], "sleep 15");
}

// 0x1C0007F & 22 bits: 1111111 0... 0, 0x380000 has its three upper bits set.
TEST_F(BusAnalog, SynthesiserWordHasAZeroBehindEachThreeOnes)
{
    OpenFakeBus(44, 255, 0, 2);
    SendSynthesiserWord(0x38007F, 0);
    EXPECT_EQ(ClockedBits(SynthesiserRegister, SynthesiserClock, SynthesiserData), "111"
                                                                                   "0"
                                                                                   "111"
                                                                                   "0"
                                                                                   "1"
                                                                                   "000000000000"
                                                                                   "111"
                                                                                   "0");
}

TEST_F(BusAnalog, PixelTimeIsEightPeriodsAndTheIndexIsClamped)
{
    OpenFakeBus(44, 255, 0, 2);
    const uint16_t wanted[] = {1600, 800, 533, 400, 320, 266, 228, 200, 177, 160};
    for (int32_t index = 0; index < 10; ++index) {
        EXPECT_EQ(ProgramClockSynthesiser(index, 0), wanted[index]) << index;
    }
    EXPECT_EQ(ProgramClockSynthesiser(-1, 0), 1600);
    EXPECT_EQ(ProgramClockSynthesiser(INT32_MAX, 0), 160);
}

TEST_F(BusAnalog, ExposureCounterHasTwoRanges)
{
    OpenFakeBus(42, 255, 0, 2);
    const auto written = [](double seconds) {
        CameraTable[0].Ops.SetShutter(seconds, 0);
        return TakeBusLog();
    };
    EXPECT_EQ(written(0.001), "reg 6 0x0005; reg 5 0x1387"); // 5000 less 1
    EXPECT_EQ(written(0.01), "reg 6 0x0005; reg 5 0xC34F");  // 50000 less 1
    EXPECT_EQ(written(0.5), "reg 6 0x0000; reg 5 0x0031");   // 50 less 1
    EXPECT_EQ(written(600.0), "reg 6 0x0000; reg 5 0xEA5F"); // 60000 less 1
    EXPECT_EQ(written(700.0), "reg 6 0x0002; reg 5 0x88B7"); // 70000 / 2 less 1
    EXPECT_EQ(written(1e9), "reg 6 0xFFFF; reg 5 0xFFFE");   // both at their ends
}

TEST_F(BusAnalog, ExposureOfZeroCountsToTheEnd)
{
    OpenFakeBus(42, 255, 0, 2);
    CameraTable[0].Ops.SetShutter(0.0, 0);
    EXPECT_EQ(TakeBusLog(), "reg 6 0x0005; reg 5 0xFFFF");
}

TEST_F(BusAnalog, PrescalerLeavesTheOtherBitsOfItsRegister)
{
    OpenFakeBus(42, 255, 0, 2);
    SetPrescaledCounter(700.0, 0x40, 0);
    EXPECT_EQ(TakeBusLog(), "reg 6 0x0042; reg 5 0x88B7");
}

// 1 s is 100000 = 0x186A0 of BRIAR-R3's counts.
TEST_F(BusAnalog, R3CountsInThirtyTwoBits)
{
    OpenFakeBus(44, 255, 0, 2);
    CameraTable[0].Ops.SetShutter(1.0, 0);
    EXPECT_EQ(TakeBusLog(), "reg 5 0x86A0; reg 6 0x0001");
}

// 500 permille is 2048 of 4096: a one and eleven zeros.
TEST_F(BusAnalog, CoolerDriveIsTwelveBitsOfData)
{
    OpenFakeBus(42, 255, 0, 2);
    CameraTable[0].Registers[12] = 0x4C20;
    CameraTable[0].Ops.SetCoolerPower(500, 0);
    std::string wanted = "reg 12 0x4C22; data 0x4C2A; data 0x4C2E; data 0x4C2A";
    for (int32_t bit = 0; bit < 11; ++bit) wanted += "; data 0x4C22; data 0x4C26; data 0x4C22";
    EXPECT_EQ(TakeBusLog(), wanted + "; data 0x4C20");
}

TEST_F(BusAnalog, CoolerDriveIsHeldBetweenItsEnds)
{
    OpenFakeBus(42, 255, 0, 2);
    const auto ones = [](int32_t permille) {
        CameraTable[0].Ops.SetCoolerPower(permille, 0);
        std::string bits;
        for (const std::string& line : Bus.log) {
            if (line == "data 0x000E") bits += '1';
            if (line == "data 0x0006") bits += '0';
        }
        Bus.log.clear();
        return bits;
    };
    EXPECT_EQ(ones(0), "000000000100"); // as 1: 4096 / 1000
    EXPECT_EQ(ones(1000), "111111111111");
    EXPECT_EQ(ones(INT32_MAX), "111111111111");
    EXPECT_EQ(ones(INT32_MIN), "000000000100");
}

TEST_F(BusAnalog, CoolerSwitchIsABitOfRegisterTwelve)
{
    OpenFakeBus(42, 255, 0, 2);
    CameraTable[0].Registers[12] = 0x4C00;
    CameraTable[0].Ops.SetCooler(1, 0);
    CameraTable[0].Ops.SetCooler(0, 0);
    EXPECT_EQ(TakeBusLog(), "reg 12 0x4C20; reg 12 0x4C00");
}

// 3600 counts are 4394531.25 microvolts: 292.96875 K across 15000 ohm.
TEST_F(BusAnalog, TemperatureIsTheMeanOfTheLaterConversions)
{
    OpenFakeBus(44, 255, 0, 2);
    CameraRecord& record = CameraTable[0];
    record.TemperatureSpan[0] = 1.0;
    record.SenseResistorHigh[0] = 1;
    Convert(0xFFFF, 0xF000 | 3600); // twelve bits count
    EXPECT_DOUBLE_EQ(record.CurrentTemperature, 292.96875 - 273.15);
}

TEST_F(BusAnalog, TemperatureTakesTheSubCamerasCalibration)
{
    OpenFakeBus(42, 255, 0, 2);
    CameraRecord& record = CameraTable[0];
    record.SubCamera = 11; // the fourth of eight
    record.TemperatureSpan[3] = 2.0;
    record.TemperatureOffset[3] = 1.5;
    record.SenseResistorHigh[3] = 1;
    Convert(0, 3600);
    EXPECT_DOUBLE_EQ(record.CurrentTemperature, (292.96875 - 273.15 + 1.5) * 2.0);
    record.SenseResistorHigh[3] = 0;
    Convert(0, 1200); // 1464843.75 microvolts
    EXPECT_DOUBLE_EQ(record.CurrentTemperature, (1464843.75 / 4990 - 273.15 + 1.5) * 2.0);
}

TEST_F(BusAnalog, ConversionsThatReadNothingAreAbsoluteZero)
{
    OpenFakeBus(42, 255, 0, 2);
    CameraTable[0].TemperatureSpan[0] = 1.0;
    CameraTable[0].TemperatureOffset[0] = 2.0;
    Convert(0, 0);
    EXPECT_DOUBLE_EQ(CameraTable[0].CurrentTemperature, -271.15);
}

TEST_F(BusAnalog, ConversionIsStartedOnceAndPulsedEightyTimes)
{
    OpenFakeBus(40, 255, 0, 1); // the port card has no lines of its own to set back
    CameraTable[0].Registers[0] = 0x202;
    CameraTable[0].Registers[11] = 0x10;
    Bus.words = {0};
    CameraTable[0].Ops.ReadTemperature(0);
    std::string wanted = "address 0xFFEE; reg 11 0x0090; reg 11 0x0090; reg 11 0x0010; "
                         "reg 11 0x0010";
    for (int32_t round = 0; round < 80; ++round) {
        wanted += "; reg 0 0x0203; reg 0 0x0203; reg 0 0x0202; reg 0 0x0202; reset link";
    }
    EXPECT_EQ(TakeBusLog(), wanted + "; reg 0 0x0202");
}

TEST_F(BusAnalog, FlippedConversionsCountFromTheMiddle)
{
    OpenFakeBus(40, 255, 0, 1);
    Bus.words = {0x8003};
    EXPECT_EQ(ConvertTemperature(0xFFFF, 0x8000, 0), 3u);
}

TEST_F(BusAnalog, ConversionsByThePatternComeFromItsIdleSection)
{
    OpenFakeBus(40, 255, 0, 1);
    Bus.words.assign(16, 60000);
    Bus.words.push_back(12345);
    uint32_t mean = 0;
    EXPECT_TRUE(ConvertByPattern(&mean, 0));
    EXPECT_EQ(mean, 12345u);
    EXPECT_EQ(TakeBusLog(), "address 0xFFEE; reg 0 0x0020; reg 0 0x0000; reg 2 0x0001; "
                            "reg 0 0x0080; address 0x0050; sleep 2; reg 0 0x0000; "
                            "address 0x000A; sleep 2; reg 0 0x0100; reg 0 0x0000; "
                            "address 0xFFE2; reg 0 0x0040; reset link; reg 0 0x0000");
    Bus.readyWords = 79;
    EXPECT_FALSE(ConvertByPattern(&mean, 0));
}

// 4.5 V over 65536 counts and 4990 ohm: a thousandth of a degree is 0.073 counts, and 20000
// counts are 2.06 degrees, 21000 15.8, 19500 -4.8, 18300 -21.3, 14000 -80.5, 13000 -94.3.
TEST_F(BusAnalog, Tarn4PassesOverReadingsThatCannotBe)
{
    OpenFakeBus(24, 255, 0, 2);
    CameraRecord& record = CameraTable[0];
    record.MaxValue = 65535;
    record.TemperatureSpan[0] = 1.0;
    const auto celsius = [](int32_t counts) { return counts * 4.5e6 / 65536 / 4990 - 273.15; };
    const auto read = [](uint16_t counts) {
        Convert(0, counts);
        return CameraTable[0].CurrentTemperature;
    };
    record.FirstTemperature = 1;
    EXPECT_DOUBLE_EQ(read(20000), celsius(20000)) << "the first is taken as it is";
    EXPECT_EQ(record.FirstTemperature, 0);
    EXPECT_DOUBLE_EQ(read(21000), celsius(20000)) << "13.8 degrees farther from 0";
    EXPECT_DOUBLE_EQ(read(19500), celsius(19500));
    EXPECT_DOUBLE_EQ(read(18300), celsius(19500)) << "16.5 degrees farther from 0";
    record.CurrentTemperature = -30.0;
    EXPECT_DOUBLE_EQ(read(20000), celsius(20000)) << "toward 0 from as far as it likes";
    record.CurrentTemperature = -75.0;
    EXPECT_DOUBLE_EQ(read(14000), -75.0) << "colder than -80";
    record.FirstTemperature = 1;
    EXPECT_DOUBLE_EQ(read(13000), celsius(13000)) << "the first even then";
}

TEST_F(BusAnalog, ConversionsByThePatternThatStallLeaveTheOldReading)
{
    for (const int32_t platform : {22, 24}) {
        OpenFakeBus(platform, 255, 0, 2);
        CameraTable[0].CurrentTemperature = 12.5;
        CameraTable[0].FirstTemperature = 1;
        Bus.words = {20000};
        Bus.readyWords = 79;
        EXPECT_EQ(CameraTable[0].Ops.ReadTemperature(0), -1) << platform;
        EXPECT_EQ(CameraTable[0].CurrentTemperature, 12.5) << platform;
        EXPECT_EQ(CameraTable[0].FirstTemperature, 1) << platform;
    }
}
