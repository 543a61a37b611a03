#include "core/binding.h"

#include "core/flags.h"

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

const BuilderRow* FindRow(const BuilderRow* rows, int32_t platform, int32_t sensor, int32_t link)
{
    for (const BuilderRow* row = rows; row->platform != 0; ++row) {
        if (row->platform != platform) continue;
        if (row->sensors != nullptr && !Holds(row->sensors, sensor)) continue;
        if (row->link != AnyLink && row->link != link) continue;
        return row;
    }
    return nullptr;
}

void BindBuilder(const BuilderRow* rows, int32_t platform, CameraRecord* record)
{
    const BuilderRow* row = FindRow(rows, platform, record->CcdCode, record->InterfaceType);
    if (row == nullptr) return;
    record->Ops.BuildWave = row->build;
    SetUnlessKept(&record->WaveExtraCount, row->waveExtraCount);
}

} // namespace

const PlatformBinding* FindPlatformBinding(int32_t platform)
{
    for (const PlatformBinding* binding = PlatformBindings; binding->platform != 0; ++binding) {
        if (binding->platform == platform) return binding;
    }
    return nullptr;
}

bool IsBoundOpen(decltype(CameraOps::OpenCamera) open)
{
    for (const PlatformBinding* binding = PlatformBindings; binding->platform != 0; ++binding) {
        for (const BindingRule* rule = binding->rules; rule->ops != nullptr; ++rule) {
            if (rule->ops->OpenCamera == open) return true;
        }
    }
    return false;
}

void BindRow(const PlatformBinding& row, const BuilderRow* builders, uint32_t options,
             CameraRecord* record)
{
    SetUnlessKept(&record->InterfaceType, row.interfaceType);
    SetUnlessKept(&record->WaveExtraCount, row.waveExtraCount);
    if (row.temperatureDecimals != Keep) {
        StoreFlag(&record->TemperatureDecimals, row.temperatureDecimals);
    }
    SetUnlessKept(&EepromWiring, row.eepromWiring);
    if (row.alternatePolarity != Keep) {
        record->AlternatePolarity = static_cast<uint8_t>(row.alternatePolarity);
    }
    record->Extras = row.extras;
    for (const BindingRule* rule = row.rules; rule->ops != nullptr; ++rule) {
        if (!Applies(*rule, *record, options)) continue;
        OverlayOps(&record->Ops, *rule->ops);
        if (rule->extras != nullptr) record->Extras = rule->extras;
    }
    BindBuilder(builders, row.platform, record);
}

const BuilderRow* FindBuilder(int32_t platform, int32_t sensor, int32_t link)
{
    return FindRow(BuilderRows, platform, sensor, link);
}

void BindOperations(int32_t platform, uint32_t options, int32_t camera)
{
    const PlatformBinding* row = FindPlatformBinding(platform);
    if (row != nullptr) BindRow(*row, BuilderRows, options, &CameraTable[camera]);
}
