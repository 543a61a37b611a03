// Closing, selection, and the slots as a host sees them.
#include <cstring>

#include "core/ops.h"
#include "core/record.h"
#include "core/timer_service.h"
#include "drivers/demo/demo.h"
#include "emulator/emulator.h"
#include "tests/support/demo_camera.h"
#include "tests/support/scripted_camera.h"

namespace {

class CloseCamera : public ScriptedTest {};

TEST_F(CloseCamera, ClosedCameraIsLeftAlone)
{
    CameraTable[0].Options = 0x8003;
    CameraTable[0].LastError = 7;
    TimerUsers = 1;
    QV_Close(0);
    EXPECT_EQ(TimerUsers, 1);
    EXPECT_EQ(QV_Status(0), 7);
}

TEST_F(CloseCamera, OperationsCallbacksAndErrorSurvive)
{
    OpenDemo(0, 0x0020);
    CameraTable[0].LastError = 2;
    const CameraOps before = CameraTable[0].Ops;
    QV_Close(0);
    EXPECT_EQ(QV_IsOn(0), 0);
    EXPECT_EQ(QV_Status(0), 2);
    EXPECT_EQ(QV_GetMode(0), 0x0020u);
    EXPECT_EQ(memcmp(&before, &CameraTable[0].Ops, sizeof before), 0);
    EXPECT_EQ(CameraTable[0].Ccd.Xpix, 24);
}

TEST_F(CloseCamera, SimulatedImageIsReleased)
{
    OpenDemo(0, 0);
    EXPECT_GT(EmuLiveBlocks(), 0u);
    QV_Close(0);
    EXPECT_EQ(EmuLiveBlocks(), 0u);
    QV_Close(0);
    EXPECT_EQ(EmuLiveBlocks(), 0u);
}

TEST_F(CloseCamera, LinkIsClosedWhateverDefinitionsWereLoadedMeanwhile)
{
    OpenDemo(0, 0);
    ASSERT_EQ(QV_OpenPar(DriverlessPlatform, SmallSensor, 0), 0);
    ASSERT_EQ(CameraTable[0].PlatformCode, DriverlessPlatform);
    QV_Close(0);
    EXPECT_EQ(EmuLiveBlocks(), 0u);
}

TEST_F(CloseCamera, LinkOfAnotherPlatformIsNotClosedAsTheSimulatedOne)
{
    OpenScripted(0, 0);
    ASSERT_EQ(QV_OpenPar(DemoPlatform, SmallSensor, 0), 0);
    const int32_t opened = DemoOpenCount;
    QV_Close(0);
    EXPECT_EQ(DemoOpenCount, opened);
}

TEST_F(CloseCamera, OnlyTheCurrentInternalBufferIsFreed)
{
    OpenScripted(0, 0x8000);
    QV_Matrix(0, 0);
    QV_Matrix(0, 0);
    QV_MatrixSet(1, 0);
    EXPECT_EQ(EmuLiveBlocks(), 3u);
    QV_Close(0);
    EXPECT_EQ(EmuLiveBlocks(), 2u);
    EXPECT_NE(QV_MatrixPointer(0, 0), nullptr);
    EXPECT_EQ(QV_MatrixPointer(1, 0), nullptr);
    EXPECT_NE(QV_MatrixPointer(2, 0), nullptr);
    for (int32_t index : {0, 2}) {
        QV_MatrixSet(index, 0);
        QV_Matrix(2, 0);
    }
    EXPECT_EQ(EmuLiveBlocks(), 0u);
}

TEST_F(CloseCamera, InternalBufferStaysWhenTheOptionWasTakenAway)
{
    OpenScripted(0, 0x8000);
    QV_SetMode(0x8000, 0, 0);
    QV_Close(0);
    EXPECT_NE(QV_MatrixPointer(0, 0), nullptr);
}

TEST_F(CloseCamera, AnotherCamerasBuffersAreKept)
{
    OpenScripted(0, 0x8000);
    OpenScripted(1, 0x8000);
    const uint16_t* buffer = QV_MatrixPointer(0, 1);
    QV_Close(0);
    EXPECT_EQ(QV_MatrixPointer(0, 1), buffer);
    OpenScripted(0, 0x8000);
    EXPECT_EQ(QV_MatrixPointer(0, 1), buffer);
}

TEST_F(CloseCamera, ClosedRecordOpensAgainWithAnotherSensorAndPlatform)
{
    OpenDemo(0, 0);
    QV_Close(0);
    OpenDemo(0, 0, OddSensor);
    EXPECT_EQ(QV_IsOn(0), 1);
    EXPECT_EQ(CameraTable[0].Ccd.Xpix, 21);
    QV_Close(0);
    OpenScripted(0, 0);
    EXPECT_EQ(QV_IsOn(0), 1);
    EXPECT_EQ(QV_MaxNumbers(0), 4095);
}

TEST_F(CloseCamera, UsbPlatformWithoutACloseRoutineClosesQuietly)
{
    for (const int32_t platform : {DriverlessPlatform, 44}) {
        ScriptSlots(0);
        QV_Open(DriverlessPlatform, SmallSensor, 0, 6, 0, 0, 0, nullptr, nullptr);
        ASSERT_EQ(QV_IsOn(0), 1);
        CameraTable[0].LinkPlatform = platform;
        QV_Close(0);
        EXPECT_EQ(QV_IsOn(0), 0);
    }
}

// Slots.

class SlotTable : public ScriptedTest {};

OpsSlot SlotOf(int32_t slot, int32_t camera)
{
    OpsSlot found;
    memcpy(&found,
           reinterpret_cast<const char*>(&CameraTable[camera].Ops) +
               static_cast<size_t>(slot) * sizeof found,
           sizeof found);
    return found;
}

void Marker() {}

TEST_F(SlotTable, EverySlotFromZeroToSixtyNineIsStored)
{
    for (int32_t slot = 0; slot < 70; ++slot) {
        const CameraOps other = CameraTable[1].Ops;
        QV_SetFunction(slot, reinterpret_cast<void*>(Marker), 0);
        EXPECT_EQ(SlotOf(slot, 0), Marker) << slot;
        EXPECT_EQ(memcmp(&other, &CameraTable[1].Ops, sizeof other), 0);
    }
}

TEST_F(SlotTable, SlotsOutsideTheTableAreIgnored)
{
    const CameraRecord before = CameraTable[0];
    for (int32_t slot : {-1, -2, 70, 71, 1000, INT32_MAX, INT32_MIN}) {
        QV_SetFunction(slot, reinterpret_cast<void*>(Marker), 0);
        EXPECT_EQ(memcmp(&before, &CameraTable[0], sizeof before), 0) << slot;
    }
}

TEST_F(SlotTable, NullCallbackIsTheDoNothingOne)
{
    OpenDemo(0, 0);
    QV_SetFunction(64, nullptr, 0);
    QV_SetFunction(65, nullptr, 0);
    ASSERT_NE(CameraTable[0].Ops.ProgressCallback, nullptr);
    ASSERT_NE(CameraTable[0].Ops.ExposureCallback, nullptr);
    std::vector<uint16_t> frame(24 * 16);
    QV_GetCCD(0, 0.6, frame.data(), 0);
    EXPECT_EQ(QV_Status(0), 0);
    EXPECT_TRUE(ProgressReports.empty());
    EXPECT_TRUE(ExposureReports.empty());
}

TEST_F(SlotTable, NullOperationIsWhatTheSlotHeldAtTheLoad)
{
    OpenScripted(0, 0);
    for (int32_t slot = 0; slot < 70; ++slot) QV_SetFunction(slot, nullptr, 0);
    EXPECT_EQ(CameraTable[0].Ops.OpenCamera(0, 0, 0), 3);
    EXPECT_EQ(CameraTable[0].Ops.ReadFrame, UnboundOps.ReadFrame);
    EXPECT_EQ(CameraTable[0].Ops.PortOut, DirectPortOps.PortOut);
}

uint32_t OtherReports;

void CountExposure(const char*, int32_t)
{
    ++OtherReports;
}

TEST_F(SlotTable, ExposureCallbackIsReplacedAtOnce)
{
    OtherReports = 0;
    OpenDemo(0, 0x0020);
    std::vector<uint16_t> frame(24 * 16);
    QV_GetCCD(0, 1.0, frame.data(), 0);
    const size_t first = ExposureReports.size();
    EXPECT_EQ(first, 3u) << "after 0.3, 0.6 and 0.9 seconds";
    QV_SetFunction(65, reinterpret_cast<void*>(CountExposure), 0);
    QV_GetCCD(0, 1.0, frame.data(), 0);
    EXPECT_EQ(ExposureReports.size(), first);
    EXPECT_EQ(OtherReports, 3u);
}

TEST_F(SlotTable, OverlayCopiesOnlyFilledSlots)
{
    CameraOps target = UnboundOps;
    CameraOps part;
    part.ClearSensor = NoOperation;
    OverlayOps(&target, part);
    EXPECT_EQ(target.ClearSensor, NoOperation);
    EXPECT_EQ(target.OpenCamera, UnboundOps.OpenCamera);
    EXPECT_EQ(target.PortWordIn, UnboundOps.PortWordIn);
    OverlayOps(&target, CameraOps{});
    EXPECT_EQ(target.ClearSensor, NoOperation);
}

// Selection.

class Selection : public ScriptedTest {};

TEST_F(Selection, SubCameraNeedsBothNumbersInRange)
{
    for (int32_t sub = 0; sub < 4; ++sub) {
        QV_SubSelect(7, sub);
        EXPECT_EQ(CameraTable[7].SubCamera, sub);
    }
    for (int32_t sub : {-1, 4, INT32_MAX, INT32_MIN}) {
        QV_SubSelect(7, sub);
        EXPECT_EQ(CameraTable[7].SubCamera, 3) << sub;
    }
    QV_SubSelect(8, 1);
    QV_SubSelect(-1, 1);
    EXPECT_EQ(CameraTable[7].SubCamera, 3);
    EXPECT_EQ(CameraTable[0].SubCamera, 0);
}

TEST_F(Selection, SelectDoesNothingOutsideArrayMode)
{
    OpenScripted(2, 0);
    CameraTable[2].CoolerPower = 123;
    CameraTable[2].SubPower[2] = 456;
    const CameraRecord before = CameraTable[2];
    QV_Select(2);
    EXPECT_EQ(memcmp(&before, &CameraTable[2], sizeof before), 0);
}

TEST_F(Selection, SelectSwapsTheRegulatorInArrayMode)
{
    OpenScripted(2, 0);
    CameraRecord& record = CameraTable[2];
    record.ArrayMode = 1;
    record.CurrentArrayCamera = 5;
    record.CoolerPower = 123;
    record.TargetTemperature = -10.0;
    record.RoundedTemperature = -9.5;
    record.PreviousTemperature = -9.0;
    record.RegulationCountdown = 4;
    record.RegulationOn = 1;
    record.RegulationActive = 1;
    record.SubPower[2] = 456;
    record.SubTargetTemperature[2] = -20.0;
    record.SubRoundedTemperature[2] = -19.5;
    record.SubPreviousTemperature[2] = -19.0;
    record.SubCountdown[2] = 7;
    record.SubRegulationOn[2] = 0;
    record.SubRegulationActive[2] = 0;
    QV_Select(2);
    EXPECT_EQ(record.SubPower[5], 123);
    EXPECT_EQ(record.SubTargetTemperature[5], -10.0);
    EXPECT_EQ(record.SubRoundedTemperature[5], -9.5);
    EXPECT_EQ(record.SubPreviousTemperature[5], -9.0);
    EXPECT_EQ(record.SubCountdown[5], 4);
    EXPECT_EQ(record.SubRegulationOn[5], 1);
    EXPECT_EQ(record.SubRegulationActive[5], 1);
    EXPECT_EQ(record.CoolerPower, 456);
    EXPECT_EQ(record.TargetTemperature, -20.0);
    EXPECT_EQ(record.RoundedTemperature, -19.5);
    EXPECT_EQ(record.PreviousTemperature, -19.0);
    EXPECT_EQ(record.RegulationCountdown, 7);
    EXPECT_EQ(record.RegulationOn, 0);
    EXPECT_EQ(record.RegulationActive, 0);
    record.ArrayMode = 0;
}

TEST_F(Selection, ClearingTheSensorSelectsTheHead)
{
    OpenScripted(1, 0);
    CameraTable[1].ArrayMode = 1;
    CameraTable[1].SubPower[1] = 456;
    Script.duringCall = [](const ScriptedCall&) { EXPECT_EQ(CameraTable[1].CoolerPower, 456); };
    ScriptedCalls.clear();
    QV_ClearCCD(1);
    EXPECT_EQ(CalledSlots(), std::vector<int32_t>{10});
    CameraTable[1].ArrayMode = 0;
}

TEST_F(Selection, ClearingTheSensorIsBracketed)
{
    OpenScripted(1, 0);
    ScriptedCalls.clear();
    Script.duringCall = [](const ScriptedCall&) { EXPECT_EQ(StopCount[1], 1); };
    QV_ClearCCD(1);
    EXPECT_EQ(CalledSlots(), std::vector<int32_t>{10});
    EXPECT_EQ(ScriptedCalls[0].camera, 1);
    EXPECT_EQ(StopCount[1], 0);
}

} // namespace
