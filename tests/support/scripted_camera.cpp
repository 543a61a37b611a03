#include "tests/support/scripted_camera.h"

#include <utility>

#include "core/record.h"
#include "emulator/emulator.h"

CameraScript Script;
std::vector<ScriptedCall> ScriptedCalls;

namespace {

void Note(int32_t slot, int32_t camera, std::vector<int64_t> arguments, const char* path = nullptr,
          uint16_t* buffer = nullptr)
{
    const ScriptedCall call{slot,   camera,           std::move(arguments), path ? path : "",
                            buffer, EmuMicroseconds()};
    ScriptedCalls.push_back(call);
    if (Script.duringCall) Script.duringCall(call);
}

int32_t ScriptedOpen(int32_t address, int32_t attach, int32_t camera)
{
    Note(0, camera, {address, attach});
    return Script.openResult;
}

void ScriptedPower(int32_t power, int32_t camera)
{
    Note(1, camera, {power});
}

int32_t ScriptedLoad(const char* path, int32_t camera)
{
    Note(8, camera, {}, path);
    return Script.loadResult;
}

void ScriptedBuild(const char* path, uint32_t x, uint32_t y, uint32_t width, uint32_t hbin,
                   int32_t vbin, uint32_t waveOption, uint32_t extraCount, int32_t camera)
{
    Note(9, camera, {x, y, width, hbin, vbin, waveOption, extraCount}, path);
    if (Script.buildError >= 0) CameraTable[camera].LastError = Script.buildError;
}

void ScriptedClear(int32_t camera)
{
    Note(10, camera, {});
    if (Script.clearMilliseconds) QV_Delay(Script.clearMilliseconds);
}

int32_t ScriptedTemperature(int32_t camera)
{
    Note(11, camera, {});
    if (Script.temperatureMilliseconds) QV_Delay(Script.temperatureMilliseconds);
    return Script.temperatureResult;
}

int32_t Read(int32_t slot, int32_t camera, std::vector<int64_t> arguments, uint16_t* buffer)
{
    Note(slot, camera, std::move(arguments), nullptr, buffer);
    if (Script.readMilliseconds) QV_Delay(Script.readMilliseconds);
    return Script.readResult;
}

int32_t ScriptedFrame(int32_t shutter, int32_t width, int32_t height, uint16_t* buffer,
                      int32_t camera)
{
    return Read(12, camera, {shutter, width, height}, buffer);
}

int32_t ScriptedWindow(int32_t shutter, int32_t x, int32_t y, int32_t width, int32_t height,
                       uint16_t* buffer, int32_t camera)
{
    return Read(15, camera, {shutter, x, y, width, height}, buffer);
}

int32_t ScriptedTimed(int32_t shutter, int32_t width, int32_t height, uint16_t* buffer,
                      int32_t camera)
{
    return Read(31, camera, {shutter, width, height}, buffer);
}

void ScriptedCooler(int32_t on, int32_t camera)
{
    Note(16, camera, {on});
}

template <typename Function> void SetSlot(int32_t slot, Function* function, int32_t camera)
{
    QV_SetFunction(slot, reinterpret_cast<void*>(function), camera);
}

} // namespace

void ScriptSlots(int32_t camera)
{
    SetSlot(0, ScriptedOpen, camera);
    SetSlot(1, ScriptedPower, camera);
    SetSlot(8, ScriptedLoad, camera);
    SetSlot(9, ScriptedBuild, camera);
    SetSlot(10, ScriptedClear, camera);
    SetSlot(11, ScriptedTemperature, camera);
    SetSlot(12, ScriptedFrame, camera);
    SetSlot(15, ScriptedWindow, camera);
    SetSlot(16, ScriptedCooler, camera);
    SetSlot(31, ScriptedTimed, camera);
}

void OpenScripted(int32_t camera, uint32_t options, int32_t sensor)
{
    ScriptSlots(camera);
    QV_Open(DriverlessPlatform, sensor, 0, 0, 0, camera, options, RecordExposure, RecordProgress);
}

std::vector<ScriptedCall> CallsOf(int32_t slot, int32_t camera)
{
    std::vector<ScriptedCall> found;
    for (const ScriptedCall& call : ScriptedCalls) {
        if (call.slot == slot && (camera < 0 || call.camera == camera)) found.push_back(call);
    }
    return found;
}

std::vector<int32_t> CalledSlots()
{
    std::vector<int32_t> slots;
    for (const ScriptedCall& call : ScriptedCalls) slots.push_back(call.slot);
    return slots;
}

void ScriptedTest::SetUp()
{
    DemoTest::SetUp();
    Script = CameraScript{};
    ScriptedCalls.clear();
}

void ScriptedTest::TearDown()
{
    Script = CameraScript{};
    DemoTest::TearDown();
}
