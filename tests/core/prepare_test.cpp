// What an open resets in a record, and what it leaves.
#include <cstring>

#include "core/open_close.h"
#include "core/record.h"
#include "emulator/emulator.h"
#include "tests/support/demo_camera.h"
#include "tests/support/scripted_camera.h"

namespace {

constexpr int32_t Garbage = 0x5A5A5A5A;

// Every byte of the record but the slots and the buffers' pointers.
void FillWithGarbage(int32_t camera)
{
    CameraRecord& record = CameraTable[camera];
    const CameraOps ops = record.Ops;
    memset(static_cast<void*>(&record), 0x5A, sizeof record);
    record.Ops = ops;
    record.CameraOn = 0;
    for (uint16_t*& buffer : record.Matrix) buffer = nullptr;
    record.MatrixIndex = 4;
}

double GarbageDouble()
{
    double value;
    memset(&value, 0x5A, sizeof value);
    return value;
}

class ResetAtOpen : public ScriptedTest {};

TEST_F(ResetAtOpen, ListedFieldsGetTheirValues)
{
    FillWithGarbage(3);
    OpenScripted(3, 0x0020);
    ASSERT_EQ(QV_IsOn(3), 1);
    const CameraRecord& record = CameraTable[3];
    EXPECT_EQ(record.TemperatureHistoryCount[3], 0);
    EXPECT_EQ(record.TemperatureHistoryFull[3], 0);
    EXPECT_EQ(record.Options, 0x0020u);
    EXPECT_EQ(record.BreakFlag, 0);
    EXPECT_EQ(record.CurrentArrayCamera, 0);
    EXPECT_EQ(record.BackgroundTicks, 0);
    EXPECT_EQ(record.DnrMode, 0);
    EXPECT_EQ(record.LastError, 0);
    EXPECT_EQ(record.WaveExtraCount, 0);
    EXPECT_EQ(record.WaveOption, 0);
    EXPECT_EQ(record.WindowBuilt, 0);
    EXPECT_EQ(record.CardMapped, 0);
    EXPECT_EQ(record.SerialLink, 0);
    EXPECT_EQ(record.SerialLinkAcknowledged, 0);
    EXPECT_EQ(record.CardDeviceId, 2004);
    EXPECT_EQ(record.CameraBusAddress, 0xFFF0);
    EXPECT_EQ(record.LoadedGain, -1);
    EXPECT_EQ(record.FilterStepDelay, 2);
    EXPECT_EQ(record.FilterPosition, 1);
    EXPECT_EQ(record.TargetTemperature, 0.0);
    EXPECT_EQ(record.CurrentTemperature, 20.0);
    EXPECT_EQ(record.RegulationCountdown, 1);
    EXPECT_EQ(record.CoolerPower, 0);
    EXPECT_EQ(record.CoolerStatus, 0);
    EXPECT_EQ(record.AtTemperature, 0);
    EXPECT_EQ(record.RegulationOn, 0);
    EXPECT_EQ(record.RegulationActive, 0);
    EXPECT_EQ(record.HorBinning, 1);
    EXPECT_EQ(record.VerBinning, 1);
    EXPECT_EQ(record.GainIndex, 0);
    EXPECT_EQ(record.Config.ShutterHisteresys, 10);
    EXPECT_EQ(record.FanSpeed, 80);
    EXPECT_EQ(record.InterfaceType, 0);
    for (uint16_t value : record.Registers) EXPECT_EQ(value, 0);
    EXPECT_EQ(record.TemperatureSpanWord, 10);
    EXPECT_EQ(record.TemperatureOffsetWord, 0);
    EXPECT_EQ(record.WindowDimX, 24);
    EXPECT_EQ(record.WindowDimY, 16);
    EXPECT_EQ(record.FirstTemperature, 1);
    EXPECT_EQ(record.ShutterHeld, 0);
    EXPECT_EQ(record.ArrayMode, 0);
    EXPECT_EQ(record.SubCamera, Garbage) << "from the configuration, whatever it holds";
    EXPECT_STREQ(record.PlatformShortCode, "tn1");
    EXPECT_EQ(record.CcdFamily, 20);
    EXPECT_EQ(record.Platform.TimeBase, 20.0);
    EXPECT_EQ(record.Ccd.FWC, 100000.0);
}

TEST_F(ResetAtOpen, OtherFieldsKeepWhatTheyHeld)
{
    FillWithGarbage(3);
    OpenScripted(3, 0x0020);
    ASSERT_EQ(QV_IsOn(3), 1);
    const CameraRecord& record = CameraTable[3];
    CameraConfig config;
    memset(&config, 0x5A, sizeof config);
    config.ShutterHisteresys = 10;
    EXPECT_EQ(memcmp(&record.Config, &config, sizeof config), 0);
    EXPECT_EQ(record.ExposureTime, GarbageDouble());
    EXPECT_EQ(record.ShutterMode, Garbage);
    EXPECT_EQ(record.UsbHandle, 0x5A5A5A5A5A5A5A5Au);
    EXPECT_EQ(record.WdHandle, 0x5A5A5A5A5A5A5A5Au);
    EXPECT_EQ(record.BuiltWindowX, Garbage);
    EXPECT_EQ(record.BuiltWindowY, Garbage);
    EXPECT_EQ(record.BuiltWindowWidth, Garbage);
    EXPECT_EQ(record.BuiltWindowHeight, Garbage);
    EXPECT_EQ(record.BuiltHorBinning, Garbage);
    EXPECT_EQ(record.BuiltVerBinning, Garbage);
    EXPECT_EQ(record.AlternatePolarity, 0x5A);
    EXPECT_EQ(record.TickDuration, Garbage);
    EXPECT_EQ(record.RoundedTemperature, GarbageDouble());
    EXPECT_EQ(record.PreviousTemperature, GarbageDouble());
    EXPECT_EQ(record.TemperatureDecimals, Garbage) << "no row of the platform sets it";
    EXPECT_EQ(record.TemperatureHistory[3][0], GarbageDouble());
    EXPECT_EQ(record.TemperatureHistoryCount[0], Garbage) << "another head's";
    EXPECT_EQ(record.TemperatureHistoryFull[0], 0x5A);
    EXPECT_EQ(record.ArrayPower[2], Garbage);
    EXPECT_EQ(record.SubPower[1], Garbage);
    EXPECT_EQ(record.ArrayGain[7], Garbage);
    EXPECT_EQ(record.MatrixIndex, 4);
    EXPECT_EQ(record.ArrayConfig.words[1], 0x5A5A);
    EXPECT_EQ(record.Platform.Spare, 0x5A5A) << "never read from the file";
}

TEST_F(ResetAtOpen, SimulatedCameraForcesItsLinkAndDecimals)
{
    FillWithGarbage(0);
    QV_Open(DemoPlatform, SmallSensor, 0, 6, 0, 0, 0, nullptr, nullptr);
    ASSERT_EQ(QV_IsOn(0), 1);
    EXPECT_EQ(CameraTable[0].InterfaceType, 0);
    EXPECT_EQ(CameraTable[0].TemperatureDecimals, 1);
    EXPECT_EQ(CameraTable[0].WaveExtraCount, 0);
    EXPECT_EQ(CameraTable[0].AlternatePolarity, 0x5A);
}

TEST_F(ResetAtOpen, LinkArgumentIsStoredWhereThePlatformDoesNotForceOne)
{
    ScriptSlots(0);
    QV_Open(DriverlessPlatform, SmallSensor, 0, 1, 0, 0, 0, nullptr, nullptr);
    EXPECT_EQ(CameraTable[0].InterfaceType, 1);
}

TEST_F(ResetAtOpen, FailureOfTheDefinitionsEndsThePreparation)
{
    RemoveDefinitions();
    FillWithGarbage(2);
    EXPECT_EQ(PrepareCamera(DemoPlatform, SmallSensor, 0, 2, 0x0800, nullptr, nullptr), 1);
    const CameraRecord& record = CameraTable[2];
    EXPECT_EQ(record.LastError, 5);
    EXPECT_EQ(record.FanSpeed, 80) << "set ahead of the definitions";
    EXPECT_EQ(record.TemperatureSpanWord, 0x5A5A) << "set behind them";
    EXPECT_EQ(record.WindowDimX, 0x5A5A);
    EXPECT_EQ(record.Ops.PortOut, DirectPortOps.PortOut);
}

TEST_F(ResetAtOpen, PreparationTakesTheCameraOutOfItsOpenState)
{
    OpenScripted(0, 0);
    EXPECT_EQ(PrepareCamera(DriverlessPlatform, SmallSensor, 0, 0, 0, nullptr, nullptr), 0);
    EXPECT_EQ(QV_IsOn(0), 0);
    EXPECT_EQ(CameraTable[0].CardDeviceId, 2001);
}

TEST_F(ResetAtOpen, OtherCamerasAreNotTouched)
{
    FillWithGarbage(1);
    const CameraRecord before = CameraTable[1];
    OpenScripted(0, 0x8000);
    EXPECT_EQ(memcmp(&before, &CameraTable[1], sizeof before), 0);
    CameraTable[1].CameraOn = 0;
}

TEST_F(ResetAtOpen, PortSlotsFollowTheOption)
{
    OpenScripted(0, 0x0800);
    EXPECT_EQ(CameraTable[0].Ops.PortOut, LibraryPortOps.PortOut);
    EXPECT_EQ(CameraTable[0].Ops.PortWordOut, LibraryPortOps.PortWordOut);
    EXPECT_EQ(CameraTable[0].Ops.PortIn, LibraryPortOps.PortIn);
    EXPECT_EQ(CameraTable[0].Ops.PortWordIn, LibraryPortOps.PortWordIn);
    QV_Close(0);
    OpenScripted(0, 0);
    EXPECT_EQ(CameraTable[0].Ops.PortOut, DirectPortOps.PortOut);
    EXPECT_EQ(CameraTable[0].Ops.PortWordOut, DirectPortOps.PortWordOut);
    EXPECT_EQ(CameraTable[0].Ops.PortIn, DirectPortOps.PortIn);
    EXPECT_EQ(CameraTable[0].Ops.PortWordIn, DirectPortOps.PortWordIn);
}

} // namespace
