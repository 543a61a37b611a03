#include "devices/wheel/filter_wheel.h"

#include "core/errors.h"
#include "core/flags.h"
#include "core/open_close.h"
#include "core/record.h"
#include "core/status.h"
#include "core/timer_service.h"
#include "devices/wheel/wheel.h"

namespace {

constexpr uint32_t SettleMs = 100;
constexpr int32_t AnyKind = -1;
constexpr int32_t Tarn5 = 28;

enum Mechanism : uint8_t { PhaseStepper, LineStepper, Nibbles, Bytes, Firmware, UsbCommands };

// Who takes the route, and which calls set LastError to 0 behind it, whatever happened:
// required. Calls that do not leave it as it stood; steppers put 7 there for a sensor
// that was not found, firmware its answer.
enum RouteFlag : uint8_t {
    Moves = 1,      // SetFilter, CalibFW and OpenFW
    Sets = 2,       // SetFW
    GoToClears = 4, // SetFilter
    HomeClears = 8, // CalibFW, OpenFW
    SetClears = 16, // SetFW
    SetHomes = 32,  // SetFW finds the zero position too
};
constexpr uint8_t All = Moves | Sets;

struct WheelRoute {
    int32_t firstPlatform, lastPlatform;
    int32_t kind; // Config.FilterWheel
    Mechanism mechanism;
    uint8_t flags;
    const NibbleLines* nibbles = nullptr;
    const ByteLines* bytes = nullptr;
};

// The first row that fits holds.
// clang-format off
constexpr WheelRoute Routes[] = {
    { 22,  25, NibbleWheel, Nibbles,      All | GoToClears | HomeClears | SetClears | SetHomes, &TarnNibbles },
    { 29,  29, NibbleWheel, Nibbles,      All | GoToClears | HomeClears | SetClears | SetHomes, &TarnUNibbles },
    { 30,  30, NibbleWheel, Nibbles,      All | GoToClears | HomeClears | SetClears | SetHomes, &TarnNibbles },
    { 22,  25, ByteWheel,   Bytes,        All | GoToClears | HomeClears | SetClears | SetHomes, nullptr, &TarnBytes },
    { 29,  29, ByteWheel,   Bytes,        All | GoToClears | HomeClears | SetClears | SetHomes, nullptr, &TarnUBytes },
    { 30,  30, ByteWheel,   Bytes,        All | GoToClears | HomeClears | SetClears | SetHomes, nullptr, &TarnBytes },
    { 28,  28, ByteWheel,   Bytes,        All | SetClears | SetHomes,                           nullptr, &Tarn5Bytes },
    { 40,  42, NibbleWheel, Nibbles,      Sets | SetHomes,                                      &BriarR3Nibbles },
    { 40,  42, ByteWheel,   Bytes,        Sets | SetHomes,                                      nullptr, &BriarR3Bytes },
    { 40,  42, AnyKind,     PhaseStepper, Moves | GoToClears },
    { 44,  47, NibbleWheel, Nibbles,      All | GoToClears | SetHomes,                          &BriarR3Nibbles },
    { 44,  47, ByteWheel,   Bytes,        All | GoToClears | SetHomes,                          nullptr, &BriarR3Bytes },
    { 44,  47, AnyKind,     LineStepper,  Moves | GoToClears },
    { 48,  48, AnyKind,     Firmware,     All },
    { 60,  60, AnyKind,     Nibbles,      All | GoToClears | HomeClears,                        &HeronNibbles },
    { 61,  61, AnyKind,     Nibbles,      All | GoToClears | HomeClears,                        &UsbNibbles },
    {200, 200, AnyKind,     Nibbles,      All | GoToClears | HomeClears,                        &UsbNibbles },
    {300, 300, AnyKind,     UsbCommands,  All | GoToClears | HomeClears },
    {450, 450, AnyKind,     UsbCommands,  All | GoToClears | HomeClears },
};
constexpr WheelRoute PhaseRoute = {0, 0, AnyKind, PhaseStepper, Moves};
// clang-format on

const WheelRoute* FindRoute(RouteFlag use, const CameraRecord& record)
{
    for (const WheelRoute& route : Routes) {
        if (record.PlatformCode >= route.firstPlatform &&
            record.PlatformCode <= route.lastPlatform && (route.flags & use) != 0 &&
            (route.kind == AnyKind || route.kind == record.Config.FilterWheel)) {
            return &route;
        }
    }
    return nullptr;
}

void StoreError(int32_t error, int32_t camera)
{
    StoreFlag(&CameraTable[camera].LastError, error);
}

void Order(const WheelRoute& route, WheelOperation operation, int32_t value, int32_t camera)
{
    switch (route.mechanism) {
    case Nibbles: OrderByNibbles(*route.nibbles, operation, value, camera); break;
    case Bytes: OrderByBytes(*route.bytes, operation, value, camera); break;
    default: {
        const DriverExtras& extras = ExtrasOf(camera);
        if (extras.OrderWheel != nullptr) extras.OrderWheel(operation, value, camera);
    }
    }
}

void FindZero(const WheelRoute& route, int32_t camera)
{
    const DriverExtras& extras = ExtrasOf(camera);
    bool found = true;
    switch (route.mechanism) {
    case PhaseStepper: found = CalibratePhaseStepper(camera); break;
    case LineStepper: found = CalibrateLineStepper(camera); break;
    case Firmware:
        if (extras.ZeroWheel != nullptr) StoreError(extras.ZeroWheel(camera), camera);
        break;
    default: Order(route, WheelZero, 0, camera);
    }
    if (!found) StoreError(ErrorFilterWheelZero, camera);
}

// A second sensor that is not found goes unreported: required.
void GoTo(const WheelRoute& route, int32_t position, int32_t camera)
{
    const DriverExtras& extras = ExtrasOf(camera);
    switch (route.mechanism) {
    case PhaseStepper: MovePhaseStepper(position, camera); break;
    case LineStepper: MoveLineStepper(position, camera); break;
    case Firmware:
        if (extras.TurnWheel != nullptr) StoreError(extras.TurnWheel(position, camera), camera);
        break;
    case UsbCommands:
        Order(route, WheelGoTo, static_cast<int32_t>(static_cast<uint32_t>(position) - 1), camera);
        break;
    default: Order(route, WheelGoTo, position, camera);
    }
}

void HandOverSettings(const WheelRoute& route, bool homes, int32_t camera)
{
    const CameraRecord& record = CameraTable[camera];
    const DriverExtras& extras = ExtrasOf(camera);
    switch (route.mechanism) {
    case PhaseStepper:
    case LineStepper: FindZero(route, camera); return;
    case Firmware:
        if (extras.SetWheel != nullptr) {
            extras.SetWheel(record.FilterHold, record.FilterZeroOffset, camera);
        }
        return;
    default: break;
    }
    if (record.PlatformCode == Tarn5) StartTarn5Wheel(camera);
    if (homes) Order(route, WheelZero, 0, camera);
    Order(route, WheelSetting, record.FilterSetting, camera);
    Order(route, WheelHold, record.FilterHold, camera);
    Order(route, WheelZeroOffset, record.FilterZeroOffset, camera);
}

void StoreSettings(int32_t setting, int32_t hold, int32_t zeroOffset, int32_t camera)
{
    CameraRecord& record = CameraTable[camera];
    record.FilterSetting = static_cast<int16_t>(setting);
    record.FilterHold = static_cast<int16_t>(hold);
    record.FilterZeroOffset = static_cast<int16_t>(zeroOffset);
}

void HoldTimer(int32_t camera)
{
    StopNow(camera);
    Delay(SettleMs);
    Select(camera);
}

void EndCall(const WheelRoute* route, RouteFlag clears, int32_t camera)
{
    if (route != nullptr && (route->flags & clears) != 0) StoreError(ErrorNone, camera);
    StartNow(camera);
}

int32_t MoveBy(const WheelRoute* route, int32_t operation, int32_t position, int32_t camera)
{
    if (route == nullptr) return 0;
    if (operation == WheelZero) FindZero(*route, camera);
    if (operation == WheelGoTo) GoTo(*route, position, camera);
    return 0;
}

} // namespace

void SetFilter(int32_t position, int32_t camera)
{
    HoldTimer(camera);
    const WheelRoute* route = FindRoute(Moves, CameraTable[camera]);
    if (route != nullptr) {
        GoTo(*route, position, camera);
        if (route->mechanism == PhaseStepper) {
            CameraTable[camera].FilterPositions[camera] = position;
        }
    }
    EndCall(route, GoToClears, camera);
}

void CalibFW(int32_t camera)
{
    HoldTimer(camera);
    const WheelRoute* route = FindRoute(Moves, CameraTable[camera]);
    if (route != nullptr) FindZero(*route, camera);
    EndCall(route, HomeClears, camera);
}

void OpenFW(int32_t setting, int32_t hold, int32_t zeroOffset, int32_t camera)
{
    StoreSettings(setting, hold, zeroOffset, camera);
    HoldTimer(camera);
    const WheelRoute* route = FindRoute(Moves, CameraTable[camera]);
    if (route != nullptr) HandOverSettings(*route, true, camera);
    EndCall(route, HomeClears, camera);
}

void SetFW(int32_t setting, int32_t hold, int32_t zeroOffset, int32_t camera)
{
    HoldTimer(camera);
    StoreSettings(setting, hold, zeroOffset, camera);
    const WheelRoute* route = FindRoute(Sets, CameraTable[camera]);
    if (route != nullptr) HandOverSettings(*route, (route->flags & SetHomes) != 0, camera);
    EndCall(route, SetClears, camera);
}

int32_t IsThereFW(int32_t camera)
{
    return CameraTable[camera].Config.FilterWheel;
}

int32_t MoveWheel(int32_t operation, int32_t position, int32_t camera)
{
    return MoveBy(FindRoute(Moves, CameraTable[camera]), operation, position, camera);
}

int32_t MovePhaseWheel(int32_t operation, int32_t position, int32_t camera)
{
    return MoveBy(&PhaseRoute, operation, position, camera);
}
