#include "devices/shutter_line.h"

#include "core/flags.h"
#include "core/options.h"
#include "core/record.h"

namespace {

constexpr int32_t Any = -1;
constexpr int32_t NoLine = -1;

// When SetShutter starts the camera's counter. "Outside" is option 0x0010: the
// exposure is handled from outside.
enum CounterRule : uint8_t {
    Always,
    Never,
    UnlessOutside,
    LightUnlessOutside, // a dark frame never opens the shutter
};

// When ShutterHeld keeps the line as it is.
enum HeldRule : uint8_t {
    Ignored,
    KeepsLine,
    KeepsShortDark, // on a short exposure, ahead of a dark frame
};

struct ShutterRow {
    int32_t platform;
    int32_t sensor;
    int32_t shutterMode;
    CounterRule counter;
    int32_t reg = NoLine;
    uint16_t keep = 0xFFFF; // the bits of the shadow that stay
    uint16_t light = 0;     // what is added for a light and a dark frame
    uint16_t dark = 0;
    bool stored = false; // the shadow takes the new value
    HeldRule held = Ignored;
};

// The first row that fits holds. 48, 300 and 450 have a line that is no register: it
// belongs to their drivers.
// clang-format off
constexpr ShutterRow ShutterRows[] = {
    // code sensor mode  counter             reg     keep    light dark    stored held
    {25,  Any, Any, UnlessOutside,      6,      0xF9FF, 0, 0x0600, true,  KeepsLine},
    {28,  Any, Any, Always,             3,      0xFFFF, 4, 0},
    {29,  Any, Any, Never},
    {48,  Any, Any, Always},
    {50,  Any, Any, Always},
    {60,  Any, 1,   UnlessOutside,      6,      0x000F, 0, 0x0040, true,  KeepsShortDark},
    {60,  Any, Any, LightUnlessOutside},
    {61,  Any, Any, Always,             6,      0xFFFF, 4, 0},
    {200, Any, Any, Always,             6,      0xFFFF, 4, 0},
    {205, Any, Any, Always,             6,      0xFFFF, 4, 0},
    {300, Any, Any, Always},
    {450, Any, Any, Always},
    {70,  Any, Any, Always},
    {71,  Any, Any, Always},
    {Any, 500, Any, Always},
    {Any, 506, Any, Always},
    {Any, Any, Any, LightUnlessOutside},
};
// clang-format on

bool Fits(int32_t wanted, int32_t value)
{
    return wanted == Any || wanted == value;
}

const ShutterRow& FindRow(const CameraRecord& record)
{
    const ShutterRow* row = ShutterRows;
    while (!Fits(row->platform, record.PlatformCode) || !Fits(row->sensor, record.CcdCode) ||
           !Fits(row->shutterMode, record.ShutterMode)) {
        ++row;
    }
    return *row;
}

void SetLine(const ShutterRow& row, bool isLight, bool isLong, int32_t camera)
{
    CameraRecord& record = CameraTable[camera];
    if (row.reg == NoLine) {
        const DriverExtras& extras = ExtrasOf(camera);
        if (extras.SetShutterLine != nullptr) {
            extras.SetShutterLine(isLight, camera);
        }
        return;
    }
    if (record.ShutterHeld != 0) {
        if (row.held == KeepsLine) return;
        if (row.held == KeepsShortDark && !isLight && !isLong) return;
    }
    uint16_t& shadow = record.Registers[row.reg];
    const uint16_t value =
        static_cast<uint16_t>((shadow & row.keep) | (isLight ? row.light : row.dark));
    if (row.stored) shadow = value;
    record.Ops.WriteRegister(row.reg, value, camera);
}

bool StartsCounter(CounterRule rule, bool isLight, bool isOutside)
{
    switch (rule) {
    case Always: return true;
    case UnlessOutside: return !isOutside;
    case LightUnlessOutside: return isLight && !isOutside;
    default: return false;
    }
}

} // namespace

void PrepareShutter(double seconds, int32_t shutter, bool isLong, int32_t camera)
{
    const CameraRecord& record = CameraTable[camera];
    const ShutterRow& row = FindRow(record);
    const bool isLight = shutter != 0;
    const bool isOutside = (LoadFlag(record.Options) & OptionExternalExposure) != 0;
    SetLine(row, isLight, isLong, camera);
    if (record.PlatformCode == 50 && !isLong) record.Ops.SensorIdle();
    if (StartsCounter(row.counter, isLight, isOutside)) record.Ops.SetShutter(seconds, camera);
}
