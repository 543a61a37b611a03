// Tarn_V on its card, whole.
#include "drivers/tarn5/tarn5.h"
#include "emulator/bus_camera.h"
#include "emulator/bus_links.h"
#include "emulator/emulator.h"
#include "tests/support/virtual_camera.h"

namespace {

constexpr VirtualSetup Ccd3011 = {28, 120, 2, "BuildWaveTarn5Ccd"};
constexpr VirtualSetup Ccd4710 = {28, 125, 2, "BuildWaveTarn5Ccd", 200};

constexpr int32_t Regulation = 0x2;

class VirtualTarn5 : public VirtualCameraTest {
protected:
    void SetUp() override
    {
        VirtualCameraTest::SetUp();
        Tarn5Temperatures = {};
    }

    void ExpectFullFrame() { ExpectFrame(Full(Ccd3011, ReadRule::EvenLines, 1, 1)); }
};

} // namespace

TEST_F(VirtualTarn5, SensorIsCleanedAheadOfAFrame)
{
    Plug(Ccd3011);
    Open(Ccd3011, 0x8);
    ExpectFullFrame();
    EXPECT_EQ(QV_Status(0), 0);
}

// The coprocessor is asked for the temperature while the lines are armed.
TEST_F(VirtualTarn5, LongExposureIsRegulatedAndStillReads)
{
    Plug(Ccd3011);
    Open(Ccd3011, Regulation);
    QV_SetTemp(-10.0, 1, 0);
    std::vector<uint16_t> pixels(static_cast<size_t>(ImageColumns * ImageRows), 0xAAAA);
    const std::vector<uint16_t> wanted = Expected(Full(Ccd3011, ReadRule::EvenLines, 1, 1), 0xAAAA);
    QV_GetCCD(1, 4.0, pixels.data(), 0);
    EXPECT_EQ(QV_Status(0), 0);
    EXPECT_EQ(pixels, wanted);
    EXPECT_TRUE(EmuBusCoolerOn(bus));
}

TEST_F(VirtualTarn5, TriggerBeginsTheExposure)
{
    Plug(Ccd3011);
    Open(Ccd3011, 0x4);
    const uint64_t pulled = EmuMicroseconds() + 5000000;
    EmuSchedule(
        pulled, [](int32_t camera) { EmuBusTrigger(camera, true); }, bus);
    ExpectFullFrame();
    EXPECT_GE(EmuMicroseconds(), pulled);
    EXPECT_EQ(QV_Status(0), 0);
}

TEST_F(VirtualTarn5, CoolerAndFanRunOnWhileTheLibraryIsAway)
{
    Plug(Ccd3011);
    Open(Ccd3011);
    EXPECT_FALSE(EmuBusCoolerOn(bus));
    QV_SetFanSpeed(50.0, 0);
    EXPECT_EQ(EmuBusFan(bus), 127);
    QV_Cooler(1, 0);
    QV_SetPower(50.0, 0);
    EXPECT_TRUE(EmuBusCoolerOn(bus));
    EXPECT_EQ(EmuBusCoolerPower(bus), 128);
    EXPECT_EQ(EmuBusFan(bus), 127);
    QV_Close(0);
    Open(Ccd3011, 0, 1);
    EXPECT_TRUE(EmuBusCoolerOn(bus));
    EXPECT_EQ(EmuBusFan(bus), 255);
    QV_Close(0);
    Open(Ccd3011);
    EXPECT_FALSE(EmuBusCoolerOn(bus));
    EXPECT_EQ(EmuBusFan(bus), 0);
}

TEST_F(VirtualTarn5, TemperatureIsTheSensors)
{
    Plug(Ccd3011);
    Open(Ccd3011);
    for (int reading = 0; reading < 8; ++reading) {
        EmuBusSetTemperature(bus, -12.0);
        QV_ReadTemp(1, 0);
    }
    EmuBusSetTemperature(bus, -12.0);
    EXPECT_NEAR(QV_ReadTemp(1, 0), -12.0, 0.1);
}

// Words 0 and 1 of the camera's memory: 2.5 degrees, 1.2.
TEST_F(VirtualTarn5, CalibrationStandsInItsMemory)
{
    Plug(Ccd3011);
    EmuBusSetMemoryWord(bus, 0, 25);
    EmuBusSetMemoryWord(bus, 1, 12);
    Open(Ccd3011);
    // Of the first readings the library takes 0.
    EXPECT_NEAR(QV_ReadTemp(1, 0), (-273.15 + 2.5) * 1.2, 1e-9);
}

TEST_F(VirtualTarn5, MemoryHoldsTheSerialNumber)
{
    Plug(Ccd3011);
    Open(Ccd3011);
    QV_SetSerNum(70000, 0, 0);
    EXPECT_EQ(EmuBusMemoryWord(bus, 7), 1);
    EXPECT_EQ(EmuBusMemoryWord(bus, 8), 4464);
    EXPECT_EQ(QV_GetSerNum(0), 70000);
    QV_WriteEP(63, 0xA5C3, 0);
    EXPECT_EQ(EmuBusMemoryWord(bus, 63), 0xA5C3);
    EXPECT_EQ(QV_ReadEP(63, 0), 0xA5C3);
}

// 38 in word 2; the user's offset 300 is 44 above.
TEST_F(VirtualTarn5, GainReachesTheFrontEnd)
{
    Plug(Ccd3011);
    Open(Ccd3011);
    EXPECT_EQ(EmuBusGainWord(bus, 0), 216u);
    EXPECT_EQ(EmuBusGainWord(bus, 1), 64u);
    EXPECT_EQ(EmuBusGainWord(bus, 5), 256u);
    QV_SetGain(1, 0);
    EXPECT_EQ(EmuBusGainWord(bus, 2), 38u);
    QV_SetUsrGain(17, 0, 300, 0);
    EXPECT_EQ(EmuBusGainWord(bus, 2), 17u);
    EXPECT_EQ(EmuBusGainWord(bus, 5), 44u);
    EXPECT_EQ(EmuBusGainWord(bus, 0), 88u);
}

TEST_F(VirtualTarn5, PixelClockAndSensorRegistersAreProgrammed)
{
    Plug(Ccd4710);
    Open(Ccd4710);
    EXPECT_EQ(EmuBusRegister(bus, 6), 38564);
    EXPECT_EQ(EmuBusRegister(bus, 7), 16376);
    EXPECT_EQ(EmuBusRegister(bus, 15), 9); // 40 MHz * 0.5 us / 2 - 1
}

TEST_F(VirtualTarn5, CameraWithoutPowerIsNotFound)
{
    Plug(Ccd3011);
    EmuBusPower(bus, false);
    QV_Open(28, 120, 0, 2, 0, 0, 0, nullptr, nullptr);
    EXPECT_EQ(QV_Status(0), 1);
    EmuBusPower(bus, true);
    Open(Ccd3011);
}

TEST_F(VirtualTarn5, MuteStreamIsALinkFailureAndTheNextFrameComes)
{
    Plug(Ccd3011);
    Open(Ccd3011);
    EmuBusMute(bus, 30);
    std::vector<uint16_t> pixels(static_cast<size_t>(ImageColumns * ImageRows));
    QV_GetCCD(1, 0.01, pixels.data(), 0);
    EXPECT_EQ(QV_Status(0), 2);
    EmuBusMute(bus, 0xFFFFFFFF);
    QV_ClearCCD(0);
    ExpectFullFrame();
}

// Its registers are all ones then, as busy as can be.
TEST_F(VirtualTarn5, CallsOnAClosedCameraComeBack)
{
    Plug(Ccd3011);
    Open(Ccd3011);
    QV_Close(0);
    QV_ReadTemp(1, 0);
    QV_SetFanSpeed(10.0, 0);
    QV_ReadEP(1, 0);
    QV_Cooler(1, 0);
}
