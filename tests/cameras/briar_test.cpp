// BRIAR-PCI, BRIAR-R3 and R3-PLUS on their card, whole.
#include "emulator/bus_camera.h"
#include "tests/support/demo_camera.h"
#include "tests/support/virtual_camera.h"

namespace {

constexpr VirtualSetup BriarPci = {42, 255, 2, "BuildWaveBriar", 100, 0, 0, Strobe::Position};
constexpr VirtualSetup BriarPciWhole = {42, 255, 2, "BuildWaveBriar", 200, 0, 0, Strobe::Position};
constexpr VirtualSetup R3 = {44, 255, 2, "BuildWaveR3"};
constexpr VirtualSetup R3Serial = {44, 250, 2, "BuildWaveR3", 200, 0xAAAA2};
constexpr VirtualSetup R3Plus = {47, 279, 2, "BuildWaveR3Plus", 200};

class VirtualBriar : public VirtualCameraTest {};

} // namespace

TEST_F(VirtualBriar, CardReadsLines)
{
    ReadEverything(BriarPci, ReadRule::Lines);
}

TEST_F(VirtualBriar, NewerCardReadsWholeFrames)
{
    ReadEverything(BriarPciWhole, ReadRule::WholeFrame);
}

TEST_F(VirtualBriar, NewerCardReadsLinesWhereFramesAreForbidden)
{
    ReadEverything(BriarPciWhole, ReadRule::Lines, 0x4000);
}

TEST_F(VirtualBriar, R3ReadsLines)
{
    ReadEverything(R3, ReadRule::Lines);
}

TEST_F(VirtualBriar, R3PlusReadsWholeFrames)
{
    ReadEverything(R3Plus, ReadRule::WholeFrame);
}

TEST_F(VirtualBriar, SerialCableReadsWholeFrames)
{
    ReadEverything(R3Serial, ReadRule::WholeFrame);
}

TEST_F(VirtualBriar, CoolerRunsOnWhileTheLibraryIsAway)
{
    Plug(BriarPci);
    Open(BriarPci);
    QV_Cooler(1, 0);
    QV_SetPower(50.0, 0);
    EXPECT_TRUE(EmuBusCoolerOn(bus));
    EXPECT_EQ(EmuBusCoolerPower(bus), 2048);
    QV_Close(0);
    Open(BriarPci, 0, 1);
    EXPECT_TRUE(EmuBusCoolerOn(bus));
    QV_Close(0);
    Open(BriarPci, 0, 0);
    EXPECT_FALSE(EmuBusCoolerOn(bus));
}

TEST_F(VirtualBriar, TemperatureIsTheSensors)
{
    for (const VirtualSetup& setup : {BriarPci, R3}) {
        QV_Close(0);
        ResetLibrary();
        MakeDemoFolder();
        Plug(setup);
        Open(setup);
        EmuBusSetTemperature(bus, -12.0);
        EXPECT_NEAR(QV_ReadTemp(1, 0), -12.0, 0.1) << setup.platform;
        QV_Close(0);
    }
}

// The seven bits of 145, and gain word 2.
TEST_F(VirtualBriar, GainReachesTheFrontEnd)
{
    Plug(BriarPci);
    Open(BriarPci);
    QV_SetGain(2, 0);
    EXPECT_EQ(EmuBusGainWord(bus, 0), 145u >> 1);
    QV_Close(0);
    ResetLibrary();
    MakeDemoFolder();
    Plug(R3);
    Open(R3);
    QV_SetGain(3, 0);
    EXPECT_EQ(EmuBusGainWord(bus, 2), 63u);
    EXPECT_EQ(EmuBusGainWord(bus, 0), 88u);
}
