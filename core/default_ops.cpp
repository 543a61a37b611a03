// The operations that are the same whatever the camera.
#include <cstring>

#include "core/errors.h"
#include "core/ops.h"
#include "core/port_library.h"
#include "platform/system.h"

PortLibraryCalls PortLibrary;

void NoPortBits(int32_t, int32_t, int32_t) {}
void NoModifyRegister(int32_t, int32_t, int32_t, int32_t) {}
void NoPoke(uint32_t, uint32_t, int32_t) {}
uint32_t NoPeek(uint32_t, int32_t)
{
    return 0;
}
int32_t LoadNothing(const char*, int32_t)
{
    return 1;
}
void BuildWaveNone(const char*, uint32_t, uint32_t, uint32_t, uint32_t, int32_t, uint32_t, uint32_t,
                   int32_t)
{
}
void NoOperation(int32_t) {}
void NoSensorIdle() {}
int32_t NoResult(int32_t)
{
    return 0;
}
int32_t NoMoveFilter(int32_t, int32_t, int32_t)
{
    return 0;
}
void NoWriteData(uint32_t, int32_t) {}
uint32_t NoWriteAddress(uint32_t, int32_t)
{
    return 0;
}
uint16_t NoReadData(int32_t)
{
    return 0;
}
uint32_t NoReadStatus(int32_t, int32_t)
{
    return 0;
}
int32_t NoReadFrame(int32_t, int32_t, int32_t, uint16_t*, int32_t)
{
    return 0;
}
int32_t RefuseOpenArray(int32_t)
{
    return ErrorArrayPlatform;
}

namespace {

int32_t RefuseOpen(int32_t, int32_t, int32_t)
{
    return ErrorUnsupportedPlatform;
}
void NoCoolerPower(int32_t, int32_t) {}
int32_t NoLoad(const char*, int32_t)
{
    return 0;
}
void NoSetShutter(double, int32_t) {}
int32_t NoReadWindow(int32_t, int32_t, int32_t, int32_t, int32_t, uint16_t*, int32_t)
{
    return 0;
}
void NoSetCooler(int32_t, int32_t) {}
uint16_t NoReadRegister(int32_t, int32_t)
{
    return 0;
}
void NoWriteRegister(int32_t, int32_t, int32_t) {}
void NoReserved() {}
void NoProgress(const char*, int32_t, int32_t) {}
void NoExposure(const char*, int32_t) {}

void DirectPortOut(uint16_t port, uint8_t value)
{
    System.port.Out8(port, value);
}
void DirectPortWordOut(uint16_t port, uint16_t value)
{
    System.port.Out16(port, value);
}
uint8_t DirectPortIn(uint16_t port)
{
    return System.port.In8(port);
}
uint16_t DirectPortWordIn(uint16_t port)
{
    return System.port.In16(port);
}

void LibraryPortOut(uint16_t port, uint8_t value)
{
    if (PortLibrary.PortOut != nullptr) PortLibrary.PortOut(port, value);
}
void LibraryPortWordOut(uint16_t port, uint16_t value)
{
    if (PortLibrary.PortWordOut != nullptr) PortLibrary.PortWordOut(port, value);
}
uint8_t LibraryPortIn(uint16_t port)
{
    return PortLibrary.PortIn == nullptr ? uint8_t{0} : PortLibrary.PortIn(port);
}
uint16_t LibraryPortWordIn(uint16_t port)
{
    return PortLibrary.PortWordIn == nullptr ? uint16_t{0} : PortLibrary.PortWordIn(port);
}

} // namespace

// clang-format off
const CameraOps UnboundOps = {
    .OpenCamera = RefuseOpen,
    .SetCoolerPower = NoCoolerPower,
    .SetPortBits = NoPortBits,
    .ModifyRegister = NoModifyRegister,
    .Poke = NoPoke,
    .Peek = NoPeek,
    .PokeW = NoPoke,
    .PeekW = NoPeek,
    .LoadSequencer = NoLoad,
    .BuildWave = BuildWaveNone,
    .ClearSensor = NoOperation,
    .ReadTemperature = NoResult,
    .ReadFrame = NoReadFrame,
    .SetShutter = NoSetShutter,
    .Unused14 = NoOperation,
    .ReadWindow = NoReadWindow,
    .SetCooler = NoSetCooler,
    .ReadRegister = NoReadRegister,
    .WriteRegister = NoWriteRegister,
    .WaitReady = NoResult,
    .Unused20 = NoOperation,
    .IsTriggered = NoResult,
    .SensorIdle = NoSensorIdle,
    .ClearOnce = NoOperation,
    .MoveFilter = NoMoveFilter,
    .WriteData = NoWriteData,
    .WriteAddress = NoWriteAddress,
    .ResetLink = NoOperation,
    .ReadData = NoReadData,
    .ReadStatus = NoReadStatus,
    .SetGain = NoResult,
    .ReadTimed = NoReadFrame,
    .OpenArrayCamera = RefuseOpenArray,
    .ReadArray = NoReadFrame,
    .Reserved = {NoReserved, NoReserved, NoReserved, NoReserved, NoReserved, NoReserved,
                 NoReserved, NoReserved, NoReserved, NoReserved, NoReserved, NoReserved,
                 NoReserved, NoReserved, NoReserved, NoReserved, NoReserved, NoReserved,
                 NoReserved, NoReserved, NoReserved, NoReserved, NoReserved, NoReserved,
                 NoReserved, NoReserved, NoReserved, NoReserved, NoReserved, NoReserved},
    .ProgressCallback = NoProgress,
    .ExposureCallback = NoExposure,
    .PortOut = DirectPortOut,
    .PortWordOut = DirectPortWordOut,
    .PortIn = DirectPortIn,
    .PortWordIn = DirectPortWordIn,
};
// clang-format on

const CameraOps CommonOps = {
    .Unused14 = NoOperation,
    .Unused20 = NoOperation,
    .SensorIdle = NoSensorIdle,
};

const CameraOps DirectPortOps = {
    .PortOut = DirectPortOut,
    .PortWordOut = DirectPortWordOut,
    .PortIn = DirectPortIn,
    .PortWordIn = DirectPortWordIn,
};

const CameraOps LibraryPortOps = {
    .PortOut = LibraryPortOut,
    .PortWordOut = LibraryPortWordOut,
    .PortIn = LibraryPortIn,
    .PortWordIn = LibraryPortWordIn,
};

void OverlayOps(CameraOps* target, const CameraOps& source)
{
    OpsSlot from[OpsSlots];
    OpsSlot to[OpsSlots];
    memcpy(from, &source, sizeof from);
    memcpy(to, target, sizeof to);
    for (size_t slot = 0; slot < OpsSlots; ++slot) {
        if (from[slot] != nullptr) to[slot] = from[slot];
    }
    memcpy(target, to, sizeof to);
}

void SetOpsSlot(CameraOps* ops, int32_t slot, void* function)
{
    if (slot < 0 || slot >= static_cast<int32_t>(OpsSlots)) return;
    const size_t offset = static_cast<size_t>(slot) * sizeof(OpsSlot);
    char* target = reinterpret_cast<char*>(ops) + offset;
    const char* unbound = reinterpret_cast<const char*>(&UnboundOps) + offset;
    if (function == nullptr) {
        memcpy(target, unbound, sizeof(OpsSlot));
    } else {
        memcpy(target, &function, sizeof(OpsSlot));
    }
}
