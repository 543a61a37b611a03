// What single calls change in a camera, seen at the camera: registers, status words, pattern
// memory, corrections, the shutter's line, fast and pulsed frames.
#include "core/record.h"
#include "emulator/bus_camera.h"
#include "emulator/emulator.h"
#include "tests/support/virtual_camera.h"

namespace {

constexpr uint16_t Fill = 0xAAAA;
const VirtualSetup R3 = {44, 255, 2, "BuildWaveR3"};
const VirtualSetup R3Plus = {47, 255, 2, "BuildWaveR3Plus"};
const VirtualSetup Tarn4Plus = {25, 255, 2, "BuildWaveTarn4pKaf"};
const VirtualSetup Tarn5 = {28, 255, 2, "BuildWaveTarn5"};
const VirtualSetup Briar = {40, 255, 0, "BuildWaveBriar", 100, 0, 0, Strobe::Position};

class ServiceCalls : public VirtualCameraTest {
protected:
    std::vector<uint16_t> pixels = std::vector<uint16_t>(ImageColumns * ImageRows, Fill);

    void Begin(const VirtualSetup& setup)
    {
        Plug(setup);
        Open(setup);
    }
    uint16_t Register(int32_t reg) const { return EmuBusRegister(bus, reg); }
    static uint64_t MillisecondsOf(void (*call)(uint16_t* pixels), uint16_t* pixels)
    {
        const uint64_t start = EmuMicroseconds();
        call(pixels);
        return (EmuMicroseconds() - start) / 1000;
    }
};

} // namespace

TEST_F(ServiceCalls, StatusWordsAreTheCameras)
{
    Begin(R3);
    EXPECT_EQ(QV_GetStatus(15, 0) & 0xFF, SmallVersion);
    EXPECT_EQ(QV_GetStatus(7, 0) & 0x2000, 0u);
    EXPECT_EQ(QV_Trigger(0, 0), 0);
    EmuBusTrigger(bus, true);
    EXPECT_EQ(QV_GetStatus(7, 0) & 0x2000, 0x2000u);
    EXPECT_EQ(QV_Trigger(0, 0), 1);
}

TEST_F(ServiceCalls, RegisterIsWrittenWhereItsImageIsNot)
{
    Begin(R3);
    QV_WRReg(16, 0x55, 0);
    EXPECT_EQ(Register(16), 0x55);
    EXPECT_EQ(QV_RMReg(16, 0), 63); // as the open left it
    QV_WMReg(16, 0x77, 0);
    EXPECT_EQ(QV_RMReg(16, 0), 0x77);
    EXPECT_EQ(Register(16), 0x55);
}

// Over the printer port a word has a data cycle of its own.
TEST_F(ServiceCalls, PatternMemoryIsReadAndWritten)
{
    Begin(Briar);
    uint16_t words[4];
    EmuBusPattern(bus, 256, 4, words);
    for (int32_t i = 0; i < 4; ++i) EXPECT_EQ(QV_PeekW(256 + i, 0), words[i]) << i;
    QV_PokeW(257, 0x5A, 0);
    QV_Poke(258, 0xA5, 0);
    EmuBusPattern(bus, 256, 4, words);
    EXPECT_EQ(words[1], 0x5A);
    EXPECT_EQ(words[2], 0xA5);
    EXPECT_EQ(QV_Peek(258, 0), 0xA5);
}

// Mode 2 is 5 samples. Bit 15 of register 8 stands in the frame alone.
TEST_F(ServiceCalls, NoiseReductionOfTarn4PlusIsInTwoRegisters)
{
    Begin(Tarn4Plus);
    QV_SetDNR(2, 0);
    EXPECT_EQ(Register(18), 2 * 4 - 3);
    EXPECT_EQ(Register(8), 4 << 8);
    ExpectFrame(Full(Tarn4Plus, ReadRule::Lines, 1, 1));
    EXPECT_EQ(Register(8), 4 << 8);
    QV_SetBitDecimation(1, 0);
    EXPECT_EQ(Register(18), 1);
    EXPECT_EQ(Register(8), 0);
    EXPECT_EQ(QV_GetDNR(0), 0);
}

TEST_F(ServiceCalls, NoiseReductionOfR3PlusIsInTwoRegisters)
{
    Begin(R3Plus);
    QV_SetDNR(2, 0);
    EXPECT_EQ(Register(12) & 0x1C00, 0x1000 | 1 << 10);
    EXPECT_EQ(Register(18), 0x780 | 4);
    QV_SetBitDecimation(4, 0);
    EXPECT_EQ(Register(12) & 0x1C00, 0x1000 | 3 << 10);
    EXPECT_EQ(Register(18), 0);
    QV_SetDNR(0, 0);
    EXPECT_EQ(Register(12) & 0x1C00, 0);
    EXPECT_EQ(Register(18), 0x700);
}

// The lower byte's field keeps its upper five bits; the upper byte goes.
TEST_F(ServiceCalls, DecimationOfTarn5LeavesItReading)
{
    Begin(Tarn5);
    QV_SetBitDecimation(3, 0);
    EXPECT_EQ(Register(11) & 0xFF07, 6);
    ExpectFrame(Full(Tarn5, ReadRule::EvenLines, 1, 1));
}

TEST_F(ServiceCalls, ShutterIsHeldAndReleased)
{
    Begin(R3);
    QV_ShutterControl(1, 0);
    EXPECT_EQ(Register(3) & 0x4800, 0x4800);
    QV_ShutterControl(0, 0);
    EXPECT_EQ(Register(3) & 0x4800, 0x4000);
}

TEST_F(ServiceCalls, FastFramesAreThoseOfOthers)
{
    Begin(R3);
    const VirtualFrame full = Full(R3, ReadRule::Lines, 1, 1);
    const VirtualFrame window = Window(R3, ReadRule::Lines, 1, 1);
    QV_FGetCCD(1, 0.01, pixels.data(), 0);
    EXPECT_EQ(QV_Status(0), 0);
    EXPECT_EQ(pixels, Expected(full, Fill));
    std::vector<uint16_t> small(8, Fill);
    QV_FGetWinCCD(1, 0.01, 1, 1, 4, 2, small.data(), 0);
    EXPECT_EQ(small, Expected(window, Fill));
}

// Without a pulse the shutter settles for 10 ms; a pulse of 2 s leaves 1500 ms behind an
// exposure of 500 ms.
TEST_F(ServiceCalls, PulsedFramesAreThoseOfOthersAndTakeThePeriod)
{
    Begin(R3);
    const VirtualFrame full = Full(R3, ReadRule::Lines, 1, 1);
    const VirtualFrame window = Window(R3, ReadRule::Lines, 1, 1);
    const uint64_t plain = MillisecondsOf(
        [](uint16_t* to) { QV_GetCCDPulsed(1, 0, 500.0, 0.1, to, 0); }, pixels.data());
    EXPECT_EQ(pixels, Expected(full, Fill));
    const uint64_t pulsed = MillisecondsOf(
        [](uint16_t* to) { QV_GetCCDPulsed(1, 0, 500.0, 2.0, to, 0); }, pixels.data());
    EXPECT_NEAR(static_cast<double>(pulsed - plain), 1490.0, 2.0);
    std::vector<uint16_t> small(8, Fill);
    QV_GetWinCCDPulsed(1, 0, 500.0, 2.0, 1, 1, 4, 2, small.data(), 0);
    EXPECT_EQ(small, Expected(window, Fill));
}

// QV_TempCalib sets the element of the camera's number, a reading takes that of the
// sub-camera.
TEST_F(ServiceCalls, SubCameraChoosesTheCalibration)
{
    VirtualSetup setup = Tarn4Plus;
    setup.camera = 1;
    Begin(setup);
    EmuBusSetTemperature(bus, -10.0);
    QV_TempCalib(2.5, 1.0, 1);
    EXPECT_NEAR(QV_ReadTemp(QV_CELSIUS, 1), -10.0, 0.3);
    QV_SubSelect(1, 1);
    EXPECT_NEAR(QV_ReadTemp(QV_CELSIUS, 1), -7.5, 0.3);
}

// Two looks at status 9, where a camera with power shows something.
TEST_F(ServiceCalls, PowerAndTransferAreAskedFor)
{
    Begin(R3);
    const uint64_t start = EmuMicroseconds();
    EXPECT_EQ(QV_QuerySts(1, 0), 1);
    EXPECT_GE(EmuMicroseconds() - start, 20000u);
    EXPECT_EQ(QV_QuerySts(2, 0), 0);
    QV_StartAcquisition(1, 0);
    EXPECT_EQ(QV_QuerySts(2, 0), 1);
    QV_FlushAcquisition(0);
    EXPECT_EQ(QV_QuerySts(2, 0), 0);
}
