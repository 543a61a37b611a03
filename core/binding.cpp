#include "core/binding.h"

#include "core/record.h"

namespace {

bool Holds(const int32_t* sensors, int32_t sensor)
{
    for (; *sensors != 0; ++sensors) {
        if (*sensors == sensor) return true;
    }
    return false;
}

bool Applies(const BindingRule& rule, const CameraRecord& record, uint32_t options)
{
    if (rule.sensors != nullptr && !Holds(rule.sensors, record.CcdCode)) return false;
    if (rule.notSensors != nullptr && Holds(rule.notSensors, record.CcdCode)) return false;
    if (rule.link != AnyLink && rule.link != record.InterfaceType) return false;
    if (rule.notLink != AnyLink && rule.notLink == record.InterfaceType) return false;
    if ((options & rule.optionsSet) != rule.optionsSet) return false;
    return (options & rule.optionsClear) == 0;
}

void SetUnlessKept(int32_t* field, int32_t value)
{
    if (value != Keep) *field = value;
}

void BindBuilder(int32_t platform, CameraRecord* record)
{
    for (const BuilderRow* row = BuilderRows; row->platform != 0; ++row) {
        if (row->platform != platform) continue;
        if (row->sensors != nullptr && !Holds(row->sensors, record->CcdCode)) continue;
        if (row->link != AnyLink && row->link != record->InterfaceType) continue;
        record->Ops.BuildWave = row->build;
        SetUnlessKept(&record->WaveExtraCount, row->waveExtraCount);
        return;
    }
}

} // namespace

const PlatformBinding* FindPlatformBinding(int32_t platform)
{
    for (const PlatformBinding* binding = PlatformBindings; binding->platform != 0; ++binding) {
        if (binding->platform == platform) return binding;
    }
    return nullptr;
}

void BindOperations(int32_t platform, uint32_t options, int32_t camera)
{
    CameraRecord& record = CameraTable[camera];
    const PlatformBinding* binding = FindPlatformBinding(platform);
    if (binding == nullptr) return;

    SetUnlessKept(&record.InterfaceType, binding->interfaceType);
    SetUnlessKept(&record.WaveExtraCount, binding->waveExtraCount);
    SetUnlessKept(&record.TemperatureDecimals, binding->temperatureDecimals);
    SetUnlessKept(&EepromWiring, binding->eepromWiring);
    if (binding->alternatePolarity != Keep) {
        record.AlternatePolarity = static_cast<uint8_t>(binding->alternatePolarity);
    }
    for (const BindingRule* rule = binding->rules; rule->ops != nullptr; ++rule) {
        if (Applies(*rule, record, options)) OverlayOps(&record.Ops, *rule->ops);
    }
    BindBuilder(platform, &record);
}
