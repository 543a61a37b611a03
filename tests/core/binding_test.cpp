// How a platform code fills the slots.
#include <cstring>

#include "catalogue/catalogue.h"
#include "core/binding.h"
#include "core/options.h"
#include "core/record.h"
#include "drivers/demo/demo.h"
#include "platform/system.h"
#include "tests/support/demo_camera.h"
#include "tests/support/scripted_camera.h"

namespace {

class Binding : public ScriptedTest {};

TEST_F(Binding, PlatformWithoutARowChangesNothing)
{
    for (int32_t platform : {10, 20, 21, 43, 50, 90, 100, 0, -1, 2, 45, 46, INT32_MAX}) {
        EXPECT_EQ(FindPlatformBinding(platform), nullptr) << platform;
        CameraRecord& record = CameraTable[0];
        record.TemperatureDecimals = 9;
        record.WaveExtraCount = 8;
        record.InterfaceType = 7;
        record.AlternatePolarity = 6;
        EepromWiring = 5;
        const CameraRecord before = record;
        BindOperations(platform, 0xFFFF, 0);
        EXPECT_EQ(memcmp(&before, &record, sizeof before), 0) << platform;
        EXPECT_EQ(EepromWiring, 5);
    }
}

TEST_F(Binding, RecordKeepsItsSlotsForAPlatformWithoutARow)
{
    OpenDemo(0, 0);
    const CameraOps bound = CameraTable[0].Ops;
    QV_Close(0);
    QV_Open(DriverlessPlatform, SmallSensor, 0, 0, 0, 0, 0, RecordExposure, RecordProgress);
    EXPECT_EQ(memcmp(&bound, &CameraTable[0].Ops, sizeof bound), 0);
    EXPECT_EQ(CameraTable[0].PlatformCode, DriverlessPlatform);
    DemoClose(0); // the open ran through the slots that it found
}

TEST_F(Binding, EveryRowHasANameAndIsFoundOnce)
{
    for (const PlatformBinding* row = PlatformBindings; row->platform; ++row) {
        EXPECT_EQ(FindPlatformBinding(row->platform), row);
        EXPECT_STRNE(QV_PTFtoName(row->platform, 0), "Undefined") << row->platform;
    }
    ASSERT_NE(FindPlatformBinding(1), nullptr);
}

TEST_F(Binding, SecondPassGivesTheSameAsTheFirst)
{
    for (const PlatformBinding* row = PlatformBindings; row->platform; ++row) {
        for (uint32_t options : {0u, 0x0800u, 0x2000u}) {
            for (int32_t link : {0, 1, 2, 6}) {
                CameraRecord& record = CameraTable[0];
                record = CameraRecord{};
                record.Ops = UnboundOps;
                record.InterfaceType = link;
                record.CcdCode = SmallSensor;
                BindOperations(row->platform, options, 0);
                const CameraRecord once = record;
                BindOperations(row->platform, options, 0);
                EXPECT_EQ(memcmp(&once, &record, sizeof once), 0) << row->platform;
            }
        }
    }
}

TEST_F(Binding, NoRowLeavesANullSlot)
{
    for (const PlatformBinding* row = PlatformBindings; row->platform; ++row) {
        CameraTable[0].Ops = UnboundOps;
        CameraTable[0].CcdCode = SmallSensor;
        BindOperations(row->platform, 0, 0);
        OpsSlot slots[OpsSlots];
        memcpy(static_cast<void*>(slots), static_cast<const void*>(&CameraTable[0].Ops),
               sizeof slots);
        for (size_t slot = 0; slot <= 33; ++slot) {
            EXPECT_NE(slots[slot], nullptr) << row->platform << " slot " << slot;
        }
    }
}

TEST_F(Binding, UnusedSlotsAreNoOpsOnEveryBoundPlatform)
{
    for (const PlatformBinding* row = PlatformBindings; row->platform; ++row) {
        ScriptSlots(0);
        CameraTable[0].Ops.Unused14 = [](int32_t) { ADD_FAILURE(); };
        CameraTable[0].Ops.Unused20 = [](int32_t) { ADD_FAILURE(); };
        CameraTable[0].Ops.SensorIdle = [] { ADD_FAILURE(); };
        BindOperations(row->platform, 0, 0);
        CameraTable[0].Ops.Unused14(0);
        CameraTable[0].Ops.Unused20(0);
        CameraTable[0].Ops.SensorIdle();
    }
}

TEST_F(Binding, SimulatedCameraLeavesTimedAndArrayReadsUnbound)
{
    EepromWiring = 2;
    OpenDemo(0, 0);
    const CameraOps& ops = CameraTable[0].Ops;
    EXPECT_EQ(ops.ReadTimed, UnboundOps.ReadTimed);
    EXPECT_EQ(ops.OpenArrayCamera, UnboundOps.OpenArrayCamera);
    EXPECT_EQ(ops.ReadArray, UnboundOps.ReadArray);
    EXPECT_NE(ops.OpenCamera, UnboundOps.OpenCamera);
    EXPECT_NE(ops.ReadFrame, UnboundOps.ReadFrame);
    EXPECT_EQ(ops.LoadSequencer, LoadNothing);
    EXPECT_EQ(ops.BuildWave, BuildWaveNone);
    EXPECT_EQ(EepromWiring, 2);
}

// What the driver's open does to the slots is seen through an allocation, which
// is the only call that it makes to the world.

void* (*AllocateBefore)(size_t);
uint32_t SlotsSeen;

int32_t StrayFrame(int32_t, int32_t, int32_t, uint16_t*, int32_t)
{
    return 2;
}

void* DisturbSlots(size_t bytes)
{
    if (CameraTable[0].Ops.ReadFrame != UnboundOps.ReadFrame) ++SlotsSeen;
    QV_SetFunction(12, reinterpret_cast<void*>(StrayFrame), 0);
    CameraTable[0].TemperatureDecimals = 3;
    CameraTable[0].InterfaceType = 2;
    System.memory.Allocate = AllocateBefore;
    return AllocateBefore(bytes);
}

TEST_F(Binding, SlotsAreBoundBeforeAndAgainAfterTheDriversOpen)
{
    AllocateBefore = System.memory.Allocate;
    SlotsSeen = 0;
    System.memory.Allocate = DisturbSlots;
    OpenDemo(0, 0);
    ASSERT_EQ(QV_IsOn(0), 1);
    EXPECT_EQ(SlotsSeen, 1u);
    EXPECT_NE(CameraTable[0].Ops.ReadFrame, StrayFrame);
    EXPECT_EQ(CameraTable[0].TemperatureDecimals, 1);
    EXPECT_EQ(CameraTable[0].InterfaceType, 0);
}

TEST_F(Binding, ReplacedSlotLastsUntilTheNextOpen)
{
    OpenDemo(0, 0);
    const auto bound = CameraTable[0].Ops.ReadFrame;
    QV_SetFunction(12, reinterpret_cast<void*>(StrayFrame), 0);
    QV_Close(0);
    EXPECT_EQ(CameraTable[0].Ops.ReadFrame, StrayFrame);
    OpenDemo(0, 0);
    EXPECT_EQ(CameraTable[0].Ops.ReadFrame, bound);
}

TEST_F(Binding, ConditionsOfARuleAreTriedTogether)
{
    // Holds for every table row: a rule with both an option that must be set
    // and the same that must be clear could never apply.
    for (const PlatformBinding* row = PlatformBindings; row->platform; ++row) {
        for (const BindingRule* rule = row->rules; rule->ops; ++rule) {
            EXPECT_EQ(rule->optionsSet & rule->optionsClear, 0u) << row->platform;
            EXPECT_TRUE(rule->link == AnyLink || rule->notLink == AnyLink) << row->platform;
            EXPECT_TRUE(!rule->sensors || !rule->notSensors) << row->platform;
        }
    }
}

} // namespace
