// Temperature, registers and the small slots of the simulated camera.
#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstring>
#include <filesystem>
#include <limits>
#include <vector>

#include "core/binding.h"
#include "core/record.h"
#include "drivers/demo/demo.h"
#include "emulator/emulator.h"
#include "tests/support/demo_camera.h"

namespace {

class DemoSlots : public DemoTest {
protected:
    void SetUp() override
    {
        DemoTest::SetUp();
        OpenDemo(0, 0);
        ASSERT_EQ(QV_Status(0), 0);
    }

    double Step()
    {
        EXPECT_EQ(ops.ReadTemperature(0), 0);
        return record.CurrentTemperature;
    }

    // How many pixels of a frame stay as they are.
    static std::ptrdiff_t UntouchedByTimedRead()
    {
        std::vector<uint16_t> frame(24 * 16, 7);
        QV_TGetCCD(1, 0.01, frame.data(), 0);
        EXPECT_EQ(QV_Status(0), 0);
        return std::count(frame.begin(), frame.end(), 7);
    }

    CameraRecord& record = CameraTable[0];
    const CameraOps& ops = CameraTable[0].Ops;
};

TEST_F(DemoSlots, CooledSensorStepsDownToTheTargetAndStays)
{
    ops.SetCooler(1, 0);
    record.TargetTemperature = -5.0;
    record.CurrentTemperature = -4.75;
    EXPECT_DOUBLE_EQ(Step(), -4.85);
    EXPECT_DOUBLE_EQ(Step(), -4.95);
    EXPECT_EQ(Step(), -5.0);
    EXPECT_EQ(Step(), -5.0);
}

TEST_F(DemoSlots, CooledSensorStepsUpToTheTargetAndStays)
{
    ops.SetCooler(1, 0);
    record.TargetTemperature = 3.0;
    record.CurrentTemperature = 2.85;
    EXPECT_DOUBLE_EQ(Step(), 2.95);
    EXPECT_EQ(Step(), 3.0);
    EXPECT_EQ(Step(), 3.0);
}

TEST_F(DemoSlots, UncooledSensorWarmsPastTheAmbientByLessThanAStep)
{
    DemoAmbient[0] = 20.25;
    record.CurrentTemperature = 20.0;
    EXPECT_DOUBLE_EQ(Step(), 20.1);
    EXPECT_DOUBLE_EQ(Step(), 20.2);
    EXPECT_DOUBLE_EQ(Step(), 20.3);
    EXPECT_DOUBLE_EQ(Step(), 20.3);
}

TEST_F(DemoSlots, UncooledSensorDoesNotCoolToTheAmbient)
{
    DemoAmbient[0] = 20.0;
    record.CurrentTemperature = 25.0;
    EXPECT_EQ(Step(), 25.0);
}

TEST_F(DemoSlots, TargetThatIsNoNumberLeavesTheTemperature)
{
    ops.SetCooler(1, 0);
    record.TargetTemperature = std::numeric_limits<double>::quiet_NaN();
    record.CurrentTemperature = 10.0;
    EXPECT_EQ(Step(), 10.0);
}

TEST_F(DemoSlots, CoolerIsBitFifteenOfRegisterZero)
{
    record.Registers[0] = 0x1234;
    DemoCooler[0] = 0xFFFFFFFE;
    ops.SetCooler(5, 0);
    EXPECT_EQ(record.Registers[0], 0x9234);
    EXPECT_EQ(DemoCooler[0], 0xFFFFFFFFu);
    ops.SetCooler(0, 0);
    EXPECT_EQ(record.Registers[0], 0x1234);
    EXPECT_EQ(DemoCooler[0], 0xFFFFFFFEu);
}

TEST_F(DemoSlots, CoolerIsSetThroughTheWriteOfTheRecord)
{
    static int32_t written, value;
    written = 0;
    const auto write = [](int32_t reg, int32_t given, int32_t) {
        EXPECT_EQ(reg, 0);
        ++written;
        value = given;
    };
    record.Ops.WriteRegister = write;
    ops.SetCooler(1, 0);
    EXPECT_EQ(written, 1);
    EXPECT_EQ(value, 0x8000);
}

TEST_F(DemoSlots, CoolersOfTwoCamerasAreIndependent)
{
    OpenDemo(1, 0);
    ops.SetCooler(1, 0);
    EXPECT_EQ(DemoCooler[0] & 1, 1u);
    EXPECT_EQ(DemoCooler[1] & 1, 0u);
}

TEST_F(DemoSlots, RegistersAreTheRecords)
{
    ops.WriteRegister(31, 0x12345, 0);
    EXPECT_EQ(record.Registers[31], 0x2345);
    EXPECT_EQ(ops.ReadRegister(31, 0), 0x2345);
}

// -1 is 31, 32 is 0, 1000 is 31 * 32 + 8.
TEST_F(DemoSlots, RegisterNumbersAreTakenModuloThirtyTwo)
{
    ops.WriteRegister(-1, 11, 0);
    ops.WriteRegister(32, 12, 0);
    ops.WriteRegister(1000, 13, 0);
    EXPECT_EQ(record.Registers[31], 11);
    EXPECT_EQ(record.Registers[0], 12);
    EXPECT_EQ(record.Registers[8], 13);
    EXPECT_EQ(ops.ReadRegister(INT32_MAX, 0), 11);
    EXPECT_EQ(ops.ReadRegister(INT32_MIN, 0), 12);
}

TEST_F(DemoSlots, CoolerPowerIsStoredOnly)
{
    ops.SetCoolerPower(-7, 0);
    EXPECT_EQ(DemoPower[0], -7);
    EXPECT_EQ(record.CoolerPower, 0);
}

TEST_F(DemoSlots, ClearingTheSensorTakesAHundredAndEightyMilliseconds)
{
    const uint64_t before = EmuMicroseconds();
    ops.ClearSensor(0);
    EXPECT_EQ(EmuMicroseconds() - before, 180000u);
}

TEST_F(DemoSlots, NoPatternIsBuiltAndLoadingSucceeds)
{
    EXPECT_FALSE(std::filesystem::exists(DemoFolder() + "wave.bin"));
    const std::string path = DemoFolder() + "wave.bin";
    ops.BuildWave(path.c_str(), 0, 0, 24, 1, 1, 0, 0, 0);
    EXPECT_FALSE(std::filesystem::exists(path));
    EXPECT_EQ(ops.LoadSequencer(path.c_str(), 0), 1);
}

TEST_F(DemoSlots, SlotsWithoutHardwareDoNothing)
{
    const uint64_t before = EmuMicroseconds();
    ops.SetPortBits(1, 1, 0);
    ops.ModifyRegister(3, 0xFFFF, 1, 0);
    ops.Poke(1, 2, 0);
    ops.PokeW(1, 2, 0);
    EXPECT_EQ(ops.Peek(1, 0), 0u);
    EXPECT_EQ(ops.PeekW(1, 0), 0u);
    ops.SetShutter(100.0, 0);
    ops.Unused14(0);
    EXPECT_EQ(ops.WaitReady(0), 0);
    ops.Unused20(0);
    EXPECT_EQ(ops.IsTriggered(0), 0);
    ops.SensorIdle();
    ops.ClearOnce(0);
    EXPECT_EQ(ops.MoveFilter(1, 2, 0), 0);
    ops.WriteData(3, 0);
    ops.WriteAddress(3, 0);
    ops.ResetLink(0);
    EXPECT_EQ(ops.ReadData(0), 0);
    EXPECT_EQ(ops.ReadStatus(4, 0), 0u);
    EXPECT_EQ(ops.SetGain(0), 0);
    EXPECT_EQ(record.Registers[3], 0);
    EXPECT_EQ(EmuMicroseconds(), before);
}

TEST_F(DemoSlots, TimedAndArrayReadoutAreNotBound)
{
    EXPECT_EQ(ops.ReadTimed, UnboundOps.ReadTimed);
    EXPECT_EQ(ops.OpenArrayCamera, UnboundOps.OpenArrayCamera);
    EXPECT_EQ(ops.ReadArray, UnboundOps.ReadArray);
    EXPECT_EQ(ops.OpenArrayCamera(0), 12);
    EXPECT_EQ(UntouchedByTimedRead(), 24 * 16);
}

TEST_F(DemoSlots, TimedAndArrayReadoutOfBeforeTheOpenAreGone)
{
    const decltype(CameraOps::ReadTimed) read = [](int32_t, int32_t width, int32_t height,
                                                   uint16_t* buffer, int32_t) {
        std::fill(buffer, buffer + width * height, uint16_t{9});
        return 0;
    };
    const decltype(CameraOps::OpenArrayCamera) open = [](int32_t) { return 0; };
    QV_SetFunction(31, reinterpret_cast<void*>(read), 0);
    QV_SetFunction(32, reinterpret_cast<void*>(open), 0);
    QV_SetFunction(33, reinterpret_cast<void*>(read), 0);
    EXPECT_EQ(UntouchedByTimedRead(), 0);
    QV_Close(0);
    OpenDemo(0, 0);
    EXPECT_EQ(UntouchedByTimedRead(), 24 * 16);
    EXPECT_EQ(ops.OpenArrayCamera(0), 12);
    EXPECT_EQ(ops.ReadArray, UnboundOps.ReadArray);
}

TEST_F(DemoSlots, CameraMemoryIsAFixedTable)
{
    EXPECT_EQ(QV_ReadEP(4, 0), 1);
    EXPECT_EQ(QV_ReadEP(5, 0), 1);
    EXPECT_EQ(QV_ReadEP(6, 0), 2001);
    EXPECT_EQ(QV_ReadEP(7, 0), 9876);
    EXPECT_EQ(QV_ReadEP(8, 0), 54321);
    for (int32_t address : {-1, 0, 1, 3, 9, 10, 255, INT32_MAX}) {
        EXPECT_EQ(QV_ReadEP(address, 0), 65535) << address;
    }
}

TEST_F(DemoSlots, StatusLeftOverKeepsBinningAndImageSizeUntilAFrameClearsIt)
{
    int32_t horizontal = 0, vertical = 0;
    record.LastError = 2;
    QV_SetBinning(2, 4, 0);
    QV_GetBinning(&horizontal, &vertical, 0);
    EXPECT_EQ(horizontal, 1);
    EXPECT_EQ(vertical, 1);
    EXPECT_EQ(QV_GetDimX(0), 24);
    EXPECT_EQ(QV_GetDimY(0), 16);
    std::vector<uint16_t> frame(24 * 16);
    QV_GetCCD(0, 0.01, frame.data(), 0);
    QV_SetBinning(2, 4, 0);
    QV_GetBinning(&horizontal, &vertical, 0);
    EXPECT_EQ(horizontal, 2);
    EXPECT_EQ(vertical, 4);
    EXPECT_EQ(QV_GetDimX(0), 12);
    EXPECT_EQ(QV_GetDimY(0), 4);
}

TEST_F(DemoSlots, BindingSetsInterfaceAndDecimals)
{
    record.InterfaceType = 6;
    record.TemperatureDecimals = 3;
    BindOperations(1, 0, 0);
    EXPECT_EQ(record.InterfaceType, 0);
    EXPECT_EQ(record.TemperatureDecimals, 1);
}

TEST_F(DemoSlots, SecondBindingPassChangesNothing)
{
    const CameraOps before = record.Ops;
    BindOperations(1, 0, 0);
    EXPECT_EQ(memcmp(&before, &record.Ops, sizeof before), 0);
}

} // namespace
