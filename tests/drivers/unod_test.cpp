// uNOD and uNOD_II on a link that writes everything down.
#include "core/record.h"
#include "emulator/bus_links.h"
#include "links/card.h"
#include "tests/support/fake_bus.h"

namespace {

constexpr int32_t FrontEnd = 14, Inputs = 60, Cooler = 62;
constexpr uint16_t FrontEndData = 0x10, FrontEndClock = 0x8;

class Unod : public FakeBusTest {
protected:
    CameraRecord& record = CameraTable[0];

    // The words that a gain sends: three bits of address, eight of value.
    std::string GainBits(int32_t process, int32_t index)
    {
        OpenFakeBus(71, 255, 0, 70);
        record.Config.Process = process;
        record.GainIndex = index;
        record.UserGain = 200; // 11001000
        record.UserOffset = 301;
        record.UserGainHigh = 1;
        Bus.log.clear();
        EXPECT_EQ(record.Ops.SetGain(0), 0);
        EXPECT_EQ(record.LoadedGain, index);
        return ClockedBits(FrontEnd, FrontEndClock, FrontEndData);
    }
};

} // namespace

// Mode 8 is 1000, 10 is 1010. The level: (301 - 256) / 4 + 192 = 203 is 11001011. 27 is 11011.
TEST_F(Unod, GainIsModeLevelAndGain)
{
    EXPECT_EQ(GainBits(0, 2), "000"
                              "00001000"
                              "001"
                              "11001011"
                              "010"
                              "00011011");
    EXPECT_EQ(GainBits(0, 4), "000"
                              "00001010"
                              "001"
                              "11001011"
                              "010"
                              "11001000");
}

// 72 is 1001000, 16 is 10000, 301 / 2 = 150 is 10010110.
TEST_F(Unod, GainOfTheOtherConverterIsFourWords)
{
    EXPECT_EQ(GainBits(1, 2), "000"
                              "01001000"
                              "001"
                              "00010000"
                              "010"
                              "00011011"
                              "101"
                              "10010110");
    EXPECT_EQ(GainBits(1, 4), "000"
                              "01001000"
                              "001"
                              "00010000"
                              "010"
                              "11001000"
                              "101"
                              "10010110");
}

TEST_F(Unod, GainIndexOutsideTheTableSendsItsFirstEntry)
{
    for (const int32_t index : {5, -1, INT32_MAX, INT32_MIN}) {
        EXPECT_EQ(GainBits(1, index).substr(22, 11), "010"
                                                     "00000000")
            << index;
    }
}

TEST_F(Unod, OutputIsOneBitWhateverRegisterIsNamed)
{
    OpenFakeBus(70, 255, 0, 70);
    record.Ops.ModifyRegister(3, 0xFF, 5, 0);
    record.Ops.ModifyRegister(0, 0, 0, 0);
    EXPECT_EQ(TakeBusLog(), "reg 60 0x0008; reg 60 0x0000");
}

TEST_F(Unod, TriggerIsBitFourOfItsInputs)
{
    OpenFakeBus(70, 255, 0, 70);
    record.Registers[Inputs % 32] = 0xFFEF;
    EXPECT_EQ(record.Ops.IsTriggered(0), 0);
    record.Registers[Inputs % 32] = 0x0010;
    EXPECT_EQ(record.Ops.IsTriggered(0), 1);
}

TEST_F(Unod, AttachedCameraKeepsItsCooler)
{
    for (const int32_t attach : {0, 1}) {
        OpenFakeBus(70, 255, 0, 70);
        EmuPlugCard({}, -1);
        record.CardDeviceId = 2001;
        record.Platform.FpgaId = 7;
        record.Registers[22] = 7;
        ASSERT_EQ(record.Ops.OpenCamera(0, attach, 0), 0);
        EXPECT_EQ(record.ByteRegisters[Cooler] & 1, attach);
        ReleaseCard(0);
    }
}

// A line of 8 pixels has four words of its own ahead.
TEST_F(Unod, BufferThatCannotGrowIsAnErrorAndNothingIsMoved)
{
    OpenFakeBus(70, 255, 0, 70);
    PlugFakeCard(11);
    uint16_t pixels[8 * 4];
    EXPECT_EQ(record.Ops.ReadFrame(1, 8, 4, pixels, 0), 9);
    EXPECT_EQ(TakeBusLog(), "");
}
