// Noise reduction and bit decimation, as the camera sees them.
#include "emulator/bus_camera.h"
#include "emulator/emulator.h"
#include "emulator/usb_camera.h"
#include "tests/support/families.h"
#include "tests/support/traffic_of.h"
#include "tests/support/virtual_camera.h"
#include "tests/support/virtual_usb.h"

namespace {

const VirtualSetup Tarn4Plus = {25, 255, 2, "BuildWaveTarn4pKaf", 200};
const VirtualSetup Tarn4PlusByLines = {25, 255, 2, "BuildWaveTarn4pKaf"};
const VirtualSetup R3Plus = {47, 255, 2, "BuildWaveR3Plus", 200};
const VirtualSetup Tarn5 = {28, 255, 2, "BuildWaveTarn5", 200};

// Modes 1 to 4 stand for 3, 5, 7 and 9 samples; the register has one less.
constexpr int32_t LastSample[] = {0, 2, 4, 6, 8};

class Correction : public VirtualCameraTest {
protected:
    int32_t Register(int32_t reg) const { return EmuBusRegister(bus, reg); }

    template <typename Act> static std::string CyclesOf(const Act& act)
    {
        EmuRecordCycles(true);
        return TrafficOf(act);
    }
    // Words of the longest section that is played: a line.
    template <typename Act> static int32_t LineWords(const Act& act)
    {
        const std::string cycles = CyclesOf(act);
        int32_t longest = 0;
        for (size_t at = cycles.find("play page "); at != std::string::npos;
             at = cycles.find("play page ", at + 1)) {
            int32_t page = 0, words = 0;
            if (sscanf(cycles.c_str() + at, "play page %d, %d words", &page, &words) == 2) {
                longest = std::max(longest, words);
            }
        }
        return longest;
    }
};

class CorrectionOnUsb : public VirtualUsbTest, public testing::WithParamInterface<UsbSetup> {};
class NoCorrection : public VirtualCameraTest, public testing::WithParamInterface<VirtualSetup> {};

} // namespace

TEST_F(Correction, OfTarn4PlusIsAModeAndItsSamples)
{
    Plug(Tarn4Plus);
    Open(Tarn4Plus);
    for (int32_t mode = 1; mode <= 4; ++mode) {
        QV_SetDNR(mode, 0);
        EXPECT_EQ(QV_GetDNR(0), mode);
        EXPECT_EQ(Register(18), mode * 4 - 3);
        EXPECT_EQ(Register(8), LastSample[mode] << 8);
    }
    QV_SetDNR(0, 0); // bit 0 alone goes
    EXPECT_EQ(QV_GetDNR(0), 0);
    EXPECT_EQ(Register(18), 12);
    EXPECT_EQ(Register(8), 0);
}

// Register 8 has its highest bit while a frame is started, with noise reduction alone.
TEST_F(Correction, OfTarn4PlusIsSwitchedOnForEachFrame)
{
    for (const VirtualSetup& setup : {Tarn4Plus, Tarn4PlusByLines}) {
        Plug(setup);
        Open(setup);
        const ReadRule rule = setup.revision == 200 ? ReadRule::WholeFrame : ReadRule::Lines;
        const auto frame = [&] { ExpectFrame(Full(setup, rule, 1, 1)); };
        const auto window = [&] { ExpectFrame(Window(setup, rule, 1, 1)); };
        EXPECT_EQ(CyclesOf(frame).find("address 8008"), std::string::npos);
        QV_SetDNR(2, 0);
        for (const std::string& cycles : {CyclesOf(frame), CyclesOf(window)}) {
            const size_t on = cycles.find("address 8008\ndata 8400\n");
            const size_t play = cycles.rfind("play page");
            const size_t off = cycles.find("address 8008\ndata 0400\n");
            EXPECT_LT(on, play);
            EXPECT_LT(play, off);
            EXPECT_NE(off, std::string::npos);
        }
        EXPECT_EQ(Register(8), 0x0400);
        QV_SetDNR(0, 0);
        EXPECT_EQ(CyclesOf(frame).find("address 8008"), std::string::npos);
        QV_Close(0);
        EmuReset();
        EmuInstall();
    }
}

TEST_F(Correction, DecimationOfTarn4PlusEndsNoiseReduction)
{
    Plug(Tarn4Plus);
    Open(Tarn4Plus);
    QV_SetDNR(3, 0);
    QV_SetBitDecimation(2, 0);
    EXPECT_EQ(QV_GetDNR(0), 0);
    EXPECT_EQ(Register(18), 5);
    EXPECT_EQ(Register(8), 0);
    QV_SetDNR(3, 0);
    QV_SetBitDecimation(0, 0);
    EXPECT_EQ(QV_GetDNR(0), 0);
    EXPECT_EQ(Register(18) & 1, 0);
    EXPECT_EQ(Register(8), 0);
    ExpectFrame(Full(Tarn4Plus, ReadRule::WholeFrame, 1, 1));
}

TEST_F(Correction, OfR3PlusIsAModeAndItsSamples)
{
    Plug(R3Plus);
    Open(R3Plus);
    const int32_t others = QV_RMReg(12, 0) & ~0x1C00; // the memory left its data line up
    EXPECT_EQ(Register(18), 0x700);
    for (int32_t mode = 1; mode <= 4; ++mode) {
        QV_SetDNR(mode, 0);
        EXPECT_EQ(QV_GetDNR(0), mode);
        EXPECT_EQ(Register(12), others | 0x1000 | (mode - 1) << 10);
        EXPECT_EQ(Register(18), 0x780 | LastSample[mode]);
    }
    QV_SetDNR(0, 0);
    EXPECT_EQ(Register(12), others);
    EXPECT_EQ(Register(18), 0x700);
}

TEST_F(Correction, DecimationOfR3PlusLeavesTheSamplesAloneWithoutNoiseReduction)
{
    Plug(R3Plus);
    Open(R3Plus);
    const int32_t others = QV_RMReg(12, 0) & ~0x1C00; // the memory left its data line up
    for (int32_t mode = 1; mode <= 4; ++mode) {
        QV_SetBitDecimation(mode, 0);
        EXPECT_EQ(Register(12), others | 0x1000 | (mode - 1) << 10);
        EXPECT_EQ(Register(18), 0x700);
    }
    QV_SetBitDecimation(0, 0);
    EXPECT_EQ(Register(12), others);
    EXPECT_EQ(Register(18), 0x700);
    QV_SetDNR(1, 0);
    QV_SetBitDecimation(4, 0);
    EXPECT_EQ(QV_GetDNR(0), 0);
    EXPECT_EQ(Register(12), others | 0x1000 | 3 << 10);
    EXPECT_EQ(Register(18), 0);
}

// The next pattern leaves room for the samples: its lines are longer, the picture is the same.
TEST_F(Correction, OfR3PlusMakesTheLinesLonger)
{
    Plug(R3Plus);
    Open(R3Plus);
    const auto frame = [&] { ExpectFrame(Full(R3Plus, ReadRule::WholeFrame, 1, 1)); };
    const int32_t words = LineWords(frame);
    EXPECT_GT(words, ImageColumns);
    QV_SetDNR(2, 0);
    EXPECT_EQ(LineWords(frame), words) << "the pattern that is loaded stays";
    QV_SetBinning(1, 1, 0);
    EXPECT_GT(LineWords(frame), words);
    QV_SetDNR(0, 0);
    QV_SetBinning(1, 1, 0);
    EXPECT_EQ(LineWords(frame), words);
}

// The upper byte goes as well; frames are read all the same.
TEST_F(Correction, DecimationOfTarn5IsAModeOfTheSequencersRegister)
{
    Plug(Tarn5);
    Open(Tarn5);
    const auto kept = static_cast<uint16_t>(QV_RMReg(11, 0) & 0xF8);
    for (int32_t mode = 0; mode <= 4; ++mode) {
        QV_SetBitDecimation(mode, 0);
        const uint16_t wanted = static_cast<uint16_t>(kept | (mode != 0 ? mode + 3 : 0));
        EXPECT_EQ(QV_RMReg(11, 0), wanted) << mode;
        EXPECT_EQ(Register(11), wanted) << mode;
        QV_ClearCCD(0);
        ExpectFrame(Full(Tarn5, ReadRule::WholeFrame, 1, 1));
    }
}

TEST_F(Correction, ModesThatThereAreNotChangeNothing)
{
    for (const VirtualSetup& setup : {Tarn4Plus, R3Plus, Tarn5}) {
        Plug(setup);
        Open(setup);
        QV_SetDNR(2, 0);
        const std::string traffic = TrafficOf([] {
            for (const int32_t mode : {5, -1, INT32_MAX, INT32_MIN}) {
                QV_SetDNR(mode, 0);
                QV_SetBitDecimation(mode, 0);
            }
        });
        EXPECT_EQ(traffic, "") << setup.platform;
        EXPECT_EQ(QV_GetDNR(0), 2);
        QV_Close(0);
        Open(setup);
        EXPECT_EQ(QV_GetDNR(0), 0) << "a new open forgets it";
        QV_Close(0);
        EmuReset();
        EmuInstall();
    }
}

TEST_P(NoCorrection, KeepsTheModeAndTellsTheCameraNothing)
{
    Plug(GetParam());
    Open(GetParam());
    const std::string traffic = TrafficOf([] {
        QV_SetDNR(2, 0);
        QV_SetBitDecimation(3, 0);
    });
    EXPECT_EQ(traffic, "");
    EXPECT_EQ(QV_GetDNR(0), 2);
}

INSTANTIATE_TEST_SUITE_P(Cameras, NoCorrection,
                         testing::ValuesIn(OnTheirLinks({22, 23, 24, 30, 40, 41, 42, 44, 60, 70, 71,
                                                         80})),
                         FamilyName<VirtualSetup>);

// A command with the mode and a byte of answer; none is error 25. The mode of noise reduction
// is none of theirs.
TEST_P(CorrectionOnUsb, IsWhatThePlatformHas)
{
    Plug(GetParam());
    Open(GetParam());
    const int32_t platform = GetParam().platform;
    EXPECT_EQ(TrafficOf([] { QV_SetDNR(2, 0); }), "");
    EXPECT_EQ(QV_GetDNR(0), 2);
    const std::string traffic = TrafficOf([] { QV_SetBitDecimation(3, 0); });
    EXPECT_EQ(QV_Status(0), 0);
    const bool told = platform == 300 || platform == 450;
    EXPECT_EQ(traffic == "usb > 44 10 03\nusb < 1 of 1\n", told) << traffic;
    const bool byRegister = platform == 61 || platform == 200 || platform == 205;
    const bool endsIt = byRegister || platform == 28;
    EXPECT_EQ(QV_GetDNR(0), endsIt ? 0 : 2);
    EXPECT_EQ(traffic.empty(), !told && !endsIt) << traffic;
    for (int32_t mode = 1; byRegister && mode <= 4; ++mode) {
        QV_SetBitDecimation(mode, 0);
        EXPECT_EQ(EmuUsbRegister(0, 28) >> 4 & 7, mode * 2 - 1);
    }
    if (!told) return;
    EmuFail(EmuUsbRead, 1, false);
    QV_SetBitDecimation(1, 0);
    EXPECT_EQ(QV_Status(0), 25);
}

INSTANTIATE_TEST_SUITE_P(Cameras, CorrectionOnUsb, testing::ValuesIn(UsbFamilies),
                         FamilyName<UsbSetup>);
