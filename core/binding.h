// The platform binding: which operations a platform code stands for. Three
// tables hold all of it; binding_table.cpp has the first and the last.
#pragma once
#include <cstdint>

#include "core/ops.h"
#include "core/record.h"

inline constexpr int32_t Keep = INT32_MIN;    // the field is not touched
inline constexpr int32_t AnyLink = INT32_MIN; // any InterfaceType

// Lays `ops` over the record when every condition holds. Rules are applied in
// order, so a later rule wins; null members leave their slots alone.
struct BindingRule {
    const CameraOps* ops = nullptr;
    const int32_t* sensors = nullptr;    // only these, ended by 0
    const int32_t* notSensors = nullptr; // all but these, ended by 0
    int32_t link = AnyLink;
    int32_t notLink = AnyLink;
    uint32_t optionsSet = 0;
    uint32_t optionsClear = 0;
    const DriverExtras* extras = nullptr; // in place of the row's
};

// One row of the platform table.
struct PlatformBinding {
    int32_t platform;
    int32_t waveExtraCount;
    int32_t temperatureDecimals;
    int32_t eepromWiring;
    int32_t interfaceType;
    int32_t alternatePolarity;
    const BindingRule* rules;         // ended by a rule without ops
    void (*closeUsb)(int32_t camera); // what CloseLink calls on InterfaceType 6
    const DriverExtras* extras = nullptr;
};

// One row of the builder table. The first row that fits wins.
struct BuilderRow {
    int32_t platform;
    const int32_t* sensors; // ended by 0; null: all others
    decltype(CameraOps::BuildWave) build;
    int32_t link = AnyLink;
    int32_t waveExtraCount = Keep;
};

extern const PlatformBinding PlatformBindings[]; // ended by platform 0
extern const BuilderRow BuilderRows[];           // ended by platform 0

// Fills the camera's slots and the fields of its row. A platform without a row
// leaves everything as it is. Runs twice in an open; the second pass gives the
// same for all that has not changed.
void BindOperations(int32_t platform, uint32_t options, int32_t camera);

// The same from one row and a builder table, which ends with platform 0.
void BindRow(const PlatformBinding& row, const BuilderRow* builders, uint32_t options,
             CameraRecord* record);

// The row of a platform, or null.
const PlatformBinding* FindPlatformBinding(int32_t platform);

// Whether some rule of the platform table puts `open` into slot 0.
bool IsBoundOpen(decltype(CameraOps::OpenCamera) open);

// The builder row of a sensor on a platform reached over `link` (InterfaceType),
// or null: then the binding leaves BuildWave and WaveExtraCount as they are.
const BuilderRow* FindBuilder(int32_t platform, int32_t sensor, int32_t link);
