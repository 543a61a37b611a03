// How a platform code fills the slots.
#include <cstddef>
#include <cstring>

#include "catalogue/catalogue.h"
#include "core/binding.h"
#include "core/options.h"
#include "core/record.h"
#include "emulator/emulator.h"
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
}

TEST_F(Binding, OpenLeftByAnotherPlatformIsNotCalled)
{
    OpenDemo(0, 0);
    QV_Close(0);
    for (int32_t platform : {10, 20, 21, 43, 50, 90, 100, 77, 0}) {
        QV_Open(platform, SmallSensor, 0, 0, 0, 0, 0x8003, nullptr, nullptr);
        EXPECT_EQ(QV_Status(0), 3) << platform;
        EXPECT_EQ(QV_IsOn(0), 0) << platform;
        EXPECT_EQ(EmuLiveBlocks(), 0u) << platform;
    }
    OpenDemo(0, 0);
    EXPECT_EQ(QV_Status(0), 0);
    EXPECT_EQ(QV_IsOn(0), 1);
}

TEST_F(Binding, OpenLeftByAnotherPlatformIsNotCalledByAnUnreadableFile)
{
    OpenDemo(0, 0);
    QV_Close(0);
    EXPECT_EQ(QV_OpenByFile("absent.cfg", 0, nullptr, nullptr), 0);
    EXPECT_EQ(QV_Status(0), 3);
    EXPECT_EQ(QV_IsOn(0), 0);
    EXPECT_EQ(EmuLiveBlocks(), 0u);
}

TEST_F(Binding, OpenSetByTheHostIsCalledAlsoOnARecordBoundBefore)
{
    OpenDemo(0, 0);
    QV_Close(0);
    OpenScripted(0, 0);
    EXPECT_EQ(CallsOf(0).size(), 1u);
    EXPECT_EQ(QV_Status(0), 0);
    EXPECT_EQ(QV_IsOn(0), 1);
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

// A sensor that a platform does not carry leaves the builder's slot.
TEST_F(Binding, EveryRowFillsTheSlotsOfASingleCamera)
{
    for (const PlatformBinding* row = PlatformBindings; row->platform; ++row) {
        CameraTable[0].Ops = CameraOps{};
        CameraTable[0].CcdCode = SmallSensor;
        BindOperations(row->platform, 0, 0);
        OpsSlot slots[OpsSlots];
        memcpy(static_cast<void*>(slots), static_cast<const void*>(&CameraTable[0].Ops),
               sizeof slots);
        const bool carried = FindBuilder(row->platform, SmallSensor, 0) != nullptr;
        for (size_t slot = 0; slot <= 30; ++slot) {
            if (slot == offsetof(CameraOps, BuildWave) / sizeof(OpsSlot) && !carried) continue;
            EXPECT_NE(slots[slot], nullptr) << row->platform << " slot " << slot;
        }
        CameraTable[0].Ops = UnboundOps;
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

TEST_F(Binding, ArrayOperationsEndWithThePlatformsThatHaveThem)
{
    for (const PlatformBinding* row = PlatformBindings; row->platform; ++row) {
        if (row->platform == 1) continue; // leaves them as they are
        CameraRecord& record = CameraTable[0];
        record.Ops = UnboundOps;
        BindOperations(42, 0, 0);
        const auto open = record.Ops.OpenArrayCamera;
        const auto read = record.Ops.ReadArray;
        BindOperations(row->platform, 0, 0);
        const bool hasArrays = row->platform == 42 || row->platform == 44 || row->platform == 47;
        EXPECT_EQ(record.Ops.OpenArrayCamera == UnboundOps.OpenArrayCamera, !hasArrays)
            << row->platform;
        EXPECT_EQ(record.Ops.ReadArray == UnboundOps.ReadArray, !hasArrays) << row->platform;
        EXPECT_NE(open, UnboundOps.OpenArrayCamera);
        EXPECT_NE(read, UnboundOps.ReadArray);
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

TEST_F(Binding, NoRuleContradictsItself)
{
    // A rule with both an option that must be set and the same that must be
    // clear could never apply.
    for (const PlatformBinding* row = PlatformBindings; row->platform; ++row) {
        for (const BindingRule* rule = row->rules; rule->ops; ++rule) {
            EXPECT_EQ(rule->optionsSet & rule->optionsClear, 0u) << row->platform;
            EXPECT_TRUE(rule->link == AnyLink || rule->notLink == AnyLink) << row->platform;
            EXPECT_TRUE(!rule->sensors || !rule->notSensors) << row->platform;
        }
    }
}

// Rules and rows of the test's own.

int32_t GeneralOpen(int32_t, int32_t, int32_t)
{
    return 101;
}
int32_t SpecialOpen(int32_t, int32_t, int32_t)
{
    return 102;
}
int32_t ThirdOpen(int32_t, int32_t, int32_t)
{
    return 103;
}

const CameraOps GeneralSet = {.OpenCamera = GeneralOpen, .ReadFrame = StrayFrame};
const CameraOps SpecialSet = {.OpenCamera = SpecialOpen};
const CameraOps ThirdSet = {.OpenCamera = ThirdOpen};

const int32_t TwoSensors[] = {500, 506, 0};
const int32_t OneSensor[] = {2000, 0};
const BuilderRow NoBuilders[] = {{}};
const BindingRule NoRules[] = {{}};

template <int32_t Code>
void Builder(const char*, uint32_t, uint32_t, uint32_t, uint32_t, int32_t, uint32_t, uint32_t,
             int32_t camera)
{
    CameraTable[camera].LastError = Code;
}

PlatformBinding RowOf(const BindingRule* rules)
{
    return {80, Keep, Keep, Keep, Keep, Keep, rules, nullptr};
}

class OwnRows : public ScriptedTest {
protected:
    // Whether the rule lays its set over a general one, in this situation.
    bool Applies(const BindingRule& rule, int32_t sensor, int32_t link, uint32_t options)
    {
        const BindingRule rules[] = {{.ops = &GeneralSet}, rule, {}};
        record.Ops = UnboundOps;
        record.CcdCode = sensor;
        record.InterfaceType = link;
        BindRow(RowOf(rules), NoBuilders, options, &record);
        EXPECT_EQ(record.Ops.ReadFrame, StrayFrame) << "null members leave their slots alone";
        return record.Ops.OpenCamera == SpecialOpen;
    }

    CameraRecord& record = CameraTable[0];
};

TEST_F(OwnRows, RuleWithoutConditionsAppliesAlways)
{
    const BindingRule rule = {.ops = &SpecialSet};
    EXPECT_TRUE(Applies(rule, 0, 0, 0));
    EXPECT_TRUE(Applies(rule, 2000, 6, 0xFFFF));
}

TEST_F(OwnRows, RuleForSensorsAppliesToEachOfThem)
{
    const BindingRule rule = {.ops = &SpecialSet, .sensors = TwoSensors};
    EXPECT_TRUE(Applies(rule, 500, 0, 0));
    EXPECT_TRUE(Applies(rule, 506, 0, 0));
    EXPECT_FALSE(Applies(rule, 501, 0, 0));
    EXPECT_FALSE(Applies(rule, 0, 0, 0)) << "the list's end is no sensor";
}

TEST_F(OwnRows, RuleForOtherSensorsAppliesToNoneOfThem)
{
    const BindingRule rule = {.ops = &SpecialSet, .notSensors = TwoSensors};
    EXPECT_FALSE(Applies(rule, 500, 0, 0));
    EXPECT_FALSE(Applies(rule, 506, 0, 0));
    EXPECT_TRUE(Applies(rule, 501, 0, 0));
    EXPECT_TRUE(Applies(rule, 0, 0, 0));
}

TEST_F(OwnRows, RuleForALinkAppliesToThatLink)
{
    const BindingRule port = {.ops = &SpecialSet, .link = InterfacePort0};
    EXPECT_TRUE(Applies(port, 255, 0, 0));
    EXPECT_FALSE(Applies(port, 255, 2, 0));
    const BindingRule usb = {.ops = &SpecialSet, .link = InterfaceUsb};
    EXPECT_TRUE(Applies(usb, 255, 6, 0));
    EXPECT_FALSE(Applies(usb, 255, 0, 0));
}

TEST_F(OwnRows, RuleForOtherLinksAppliesToAllButThatLink)
{
    const BindingRule rule = {.ops = &SpecialSet, .notLink = InterfacePort1};
    EXPECT_FALSE(Applies(rule, 255, 1, 0));
    for (int32_t link : {0, 2, 4, 6, 70}) EXPECT_TRUE(Applies(rule, 255, link, 0)) << link;
}

TEST_F(OwnRows, RuleForSetOptionsNeedsAllOfThem)
{
    const BindingRule rule = {.ops = &SpecialSet, .optionsSet = OptionCardDma | OptionPriority};
    EXPECT_TRUE(Applies(rule, 255, 2, 0x3000));
    EXPECT_TRUE(Applies(rule, 255, 2, 0xFFFF));
    EXPECT_FALSE(Applies(rule, 255, 2, 0x2000));
    EXPECT_FALSE(Applies(rule, 255, 2, 0x1000));
    EXPECT_FALSE(Applies(rule, 255, 2, 0));
}

TEST_F(OwnRows, RuleForClearOptionsNeedsAllOfThemClear)
{
    const BindingRule rule = {.ops = &SpecialSet, .optionsClear = OptionCardDma | OptionPriority};
    EXPECT_TRUE(Applies(rule, 255, 2, 0));
    EXPECT_TRUE(Applies(rule, 255, 2, 0xCFFF));
    EXPECT_FALSE(Applies(rule, 255, 2, 0x2000));
    EXPECT_FALSE(Applies(rule, 255, 2, 0x1000));
}

TEST_F(OwnRows, ConditionsOfARuleMustAllHold)
{
    const BindingRule rule = {.ops = &SpecialSet,
                              .sensors = TwoSensors,
                              .notLink = InterfaceUsb,
                              .optionsSet = OptionCardDma,
                              .optionsClear = OptionSilent};
    EXPECT_TRUE(Applies(rule, 500, 2, 0x2000));
    EXPECT_FALSE(Applies(rule, 501, 2, 0x2000));
    EXPECT_FALSE(Applies(rule, 500, 6, 0x2000));
    EXPECT_FALSE(Applies(rule, 500, 2, 0));
    EXPECT_FALSE(Applies(rule, 500, 2, 0x2020));
}

TEST_F(OwnRows, LaterRuleWinsAndTheEndOfTheRulesEndsThem)
{
    const BindingRule rules[] = {
        {.ops = &GeneralSet}, {.ops = &SpecialSet}, {}, {.ops = &ThirdSet}, {}};
    BindRow(RowOf(rules), NoBuilders, 0, &record);
    EXPECT_EQ(record.Ops.OpenCamera, SpecialOpen);
}

TEST_F(OwnRows, RowSetsItsFields)
{
    const PlatformBinding row = {23, 6, 2, 1, 4, 1, NoRules, nullptr};
    BindRow(row, NoBuilders, 0, &record);
    EXPECT_EQ(record.WaveExtraCount, 6);
    EXPECT_EQ(record.TemperatureDecimals, 2);
    EXPECT_EQ(EepromWiring, 1);
    EXPECT_EQ(record.InterfaceType, 4);
    EXPECT_EQ(record.AlternatePolarity, 1);
    BindRow({22, 0, 3, 0, 0, 0, NoRules, nullptr}, NoBuilders, 0, &record);
    EXPECT_EQ(record.WaveExtraCount, 0);
    EXPECT_EQ(record.TemperatureDecimals, 3);
    EXPECT_EQ(EepromWiring, 0);
    EXPECT_EQ(record.InterfaceType, 0);
    EXPECT_EQ(record.AlternatePolarity, 0);
}

TEST_F(OwnRows, RowKeepsTheFieldsThatItDoesNotTouch)
{
    BindRow({23, 6, 2, 1, 4, 1, NoRules, nullptr}, NoBuilders, 0, &record);
    BindRow(RowOf(NoRules), NoBuilders, 0, &record);
    EXPECT_EQ(record.WaveExtraCount, 6);
    EXPECT_EQ(record.TemperatureDecimals, 2);
    EXPECT_EQ(EepromWiring, 1);
    EXPECT_EQ(record.InterfaceType, 4);
    EXPECT_EQ(record.AlternatePolarity, 1);
}

TEST_F(OwnRows, RulesLookAtTheLinkThatTheRowForces)
{
    const BindingRule rules[] = {{.ops = &SpecialSet, .link = InterfaceUsb}, {}};
    record.InterfaceType = InterfacePort0;
    BindRow({80, Keep, Keep, Keep, InterfaceUsb, Keep, rules, nullptr}, NoBuilders, 0, &record);
    EXPECT_EQ(record.Ops.OpenCamera, SpecialOpen);
}

// Builders.

const BuilderRow Builders[] = {
    {79, nullptr, Builder<1>},             // another platform's
    {80, TwoSensors, Builder<2>, AnyLink}, // leaves the extra count alone
    {80, OneSensor, Builder<3>, InterfaceUsb, 0},
    {80, OneSensor, Builder<4>, AnyLink, 6},
    {81, nullptr, Builder<5>},
    {81, OneSensor, Builder<6>},
    {},
    {82, nullptr, Builder<7>},
};

class OwnBuilders : public ScriptedTest {
protected:
    // Which builder a platform's row gives, starting from none and an extra count of 9.
    decltype(CameraOps::BuildWave) Bound(int32_t platform, int32_t sensor, int32_t link)
    {
        record.Ops.BuildWave = BuildWaveNone;
        record.WaveExtraCount = 9;
        record.CcdCode = sensor;
        record.InterfaceType = link;
        BindRow({platform, Keep, Keep, Keep, Keep, Keep, NoRules, nullptr}, Builders, 0, &record);
        return record.Ops.BuildWave;
    }

    CameraRecord& record = CameraTable[0];
};

TEST_F(OwnBuilders, SensorOfTheListGetsItsBuilder)
{
    EXPECT_EQ(Bound(80, 500, 2), Builder<2>);
    EXPECT_EQ(record.WaveExtraCount, 9) << "kept";
    EXPECT_EQ(Bound(80, 506, 2), Builder<2>);
}

TEST_F(OwnBuilders, LinkPartsTwoRowsOfASensor)
{
    EXPECT_EQ(Bound(80, 2000, 6), Builder<3>);
    EXPECT_EQ(record.WaveExtraCount, 0);
    EXPECT_EQ(Bound(80, 2000, 2), Builder<4>);
    EXPECT_EQ(record.WaveExtraCount, 6);
}

TEST_F(OwnBuilders, SensorThatNoRowListsLeavesTheSlotAlone)
{
    EXPECT_EQ(Bound(80, 255, 2), BuildWaveNone);
    EXPECT_EQ(record.WaveExtraCount, 9);
}

TEST_F(OwnBuilders, RowWithoutAListIsForAllSensorsAndTheFirstRowWins)
{
    EXPECT_EQ(Bound(81, 255, 2), Builder<5>);
    EXPECT_EQ(Bound(81, 2000, 2), Builder<5>);
}

TEST_F(OwnBuilders, EndOfTheTableEndsTheSearch)
{
    EXPECT_EQ(Bound(82, 255, 2), BuildWaveNone);
}

TEST_F(OwnBuilders, BuilderOfTheTableWinsOverTheRules)
{
    const CameraOps set = {.BuildWave = Builder<8>};
    const BindingRule rules[] = {{.ops = &set}, {}};
    record.CcdCode = 500;
    BindRow(RowOf(rules), Builders, 0, &record);
    EXPECT_EQ(record.Ops.BuildWave, Builder<2>);
    record.CcdCode = 255;
    BindRow(RowOf(rules), Builders, 0, &record);
    EXPECT_EQ(record.Ops.BuildWave, Builder<8>);
}

} // namespace
