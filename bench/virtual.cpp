// The library in a virtual world: making it, taking it away, its light, its trace.
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <new>

#include "bench/events.h"
#include "bench/instruments.h"
#include "bench/light.h"
#include "bench/wheels.h"
#include "core/flags.h"
#include "emulator/bus_links.h"
#include "emulator/emulator.h"
#include "emulator/traffic.h"
#include "emulator/usb.h"
#include "emulator/usb_camera.h"
#include "include/qvn_bench.h"
#include "platform/system.h"

namespace {

constexpr uint64_t LongestRun = 366ull * 24 * 3600 * 1'000'000; // microseconds
constexpr uint32_t LongestSide = 65535;                         // of a scene

struct World {
    bool installed, virtualTime;
    std::vector<PlannedInstrument> instruments;
};
World Installed;

struct TraceFile {
    FILE* file;
    bool failed;
};
TraceFile Trace;

void WriteTrace(const char* line)
{
    if (fputs(line, Trace.file) < 0 || fputc('\n', Trace.file) < 0) Trace.failed = true;
}

// The world's record forgets where it goes when the world is made anew.
void ResumeTrace()
{
    if (Trace.file != nullptr) EmuRecordTo(WriteTrace);
}

bool AnyCameraOpen()
{
    for (const CameraRecord& record : CameraTable) {
        if (LoadFlag(record.CameraOn) != 0) return true;
    }
    return false;
}

// A camera by itself counts as one head.
bool HasHead(const VirtualInstrument& what, int32_t head)
{
    return head >= 0 && head < std::max(what.heads, 1);
}

int32_t Tell(int32_t code, const std::string& text, char* error, uint32_t room)
{
    if (error != nullptr && room != 0) snprintf(error, room, "%s", text.c_str());
    return code;
}

void SetConditions(const VirtualSpec& spec)
{
    EmuHaveCardDriver(!spec.noDriver);
    EmuHavePortLibrary(!spec.noPortLibrary);
    EmuRefusePorts(spec.refusePorts);
    EmuHaveUsbLibrary(!spec.noUsbLibrary);
    EmuHaveAdaptorLibrary(!spec.noAdaptorLibrary);
    for (const VirtualFault& fault : spec.faults) EmuFail(fault.call, fault.at, fault.lasts);
}

void Forget()
{
    EmuRecordTo(nullptr); // the last line is told, too
    EmuReset();
    ForgetLights();
    ForgetEventTargets();
    Installed = {};
}

// Ahead of this the process is as it was.
void Install(const VirtualSpec& spec, const std::vector<PlannedInstrument>& instruments)
{
    Forget();
    EmuSetTimeLimit(LongestRun);
    if (spec.virtualTime) {
        EmuInstall();
    } else {
        EmuInstallRealTime();
    }
    Installed = {true, spec.virtualTime, instruments};
    for (const PlannedInstrument& instrument : instruments) PlugInstrument(instrument);
    SetConditions(spec);
    for (const VirtualEvent& event : spec.events) {
        ScheduleEvent(instruments[event.instrument].what.camera, event.event, event.seconds);
    }
    ResumeTrace();
}

int32_t ReadAndInstall(const char* text, std::string* error)
{
    VirtualSpec spec;
    std::vector<PlannedInstrument> instruments;
    if (!ReadVirtualSpec(text, &spec, error)) return QVB_ERROR_SPEC;
    const int32_t code = PlanInstruments(spec.instruments, &instruments, error);
    if (code == QV_ERROR_NONE) Install(spec, instruments);
    return code;
}

} // namespace

int32_t QVB_Install(const char* spec, char* error, uint32_t room)
{
    if (spec == nullptr) return Tell(QVB_ERROR_ARGUMENT, "no text", error, room);
    if (AnyCameraOpen()) return Tell(QVB_ERROR_CAMERA_OPEN, "a camera is open", error, room);
    std::string text;
    try {
        return Tell(ReadAndInstall(spec, &text), text, error, room);
    } catch (const std::bad_alloc&) {
        QVB_Uninstall();
        return Tell(QVB_ERROR_NO_MEMORY, "no memory for the instruments", error, room);
    }
}

int32_t QVB_Uninstall()
{
    if (AnyCameraOpen()) return QVB_ERROR_CAMERA_OPEN;
    if (!Installed.installed) return QV_ERROR_NONE;
    Forget();
    UseNativeSystem();
    return QVB_Trace(nullptr);
}

int32_t QVB_InstrumentCount()
{
    return static_cast<int32_t>(Installed.instruments.size());
}

int32_t QVB_Instrument(int32_t index, QvbInstrument* instrument)
{
    if (instrument == nullptr || index < 0 || index >= QVB_InstrumentCount()) {
        return QVB_ERROR_ARGUMENT;
    }
    const VirtualInstrument& what = Installed.instruments[static_cast<size_t>(index)].what;
    *instrument = {};
    instrument->Camera = what.camera;
    instrument->Platform = what.platform;
    instrument->Sensor = what.sensor;
    instrument->InterfaceType = what.link;
    instrument->InterfaceAddress = what.address;
    instrument->InterfaceLink = what.decoder;
    instrument->Heads = what.heads;
    const BenchWheel* const wheel = FindBenchWheel(what.platform, what.wheel);
    instrument->FilterWheel = wheel != nullptr ? wheel->kind : 0;
    const std::string file = SceneOf(what, 0).file;
    snprintf(instrument->SceneFile, sizeof instrument->SceneFile, "%s", file.c_str());
    return QV_ERROR_NONE;
}

int32_t QVB_HeadSceneFile(int32_t index, int32_t head, char* file, uint32_t room)
{
    if (file == nullptr || room == 0 || index < 0 || index >= QVB_InstrumentCount()) {
        return QVB_ERROR_ARGUMENT;
    }
    const VirtualInstrument& what = Installed.instruments[static_cast<size_t>(index)].what;
    if (!HasHead(what, head)) return QVB_ERROR_ARGUMENT;
    snprintf(file, room, "%s", SceneOf(what, head).file.c_str());
    return QV_ERROR_NONE;
}

int32_t QVB_SetScene(int32_t camera, const QvbScene* scene)
{
    return QVB_SetHeadScene(camera, 0, scene);
}

int32_t QVB_SetHeadScene(int32_t camera, int32_t head, const QvbScene* scene)
{
    const bool valid = scene != nullptr && scene->Pixels != nullptr && scene->Width != 0 &&
                       scene->Height != 0 && scene->Width <= LongestSide &&
                       scene->Height <= LongestSide;
    if (!valid) return QVB_ERROR_ARGUMENT;
    for (const PlannedInstrument& instrument : Installed.instruments) {
        if (instrument.what.camera != camera || !HasHead(instrument.what, head)) continue;
        try {
            SetLight({camera, head}, *scene);
            return QV_ERROR_NONE;
        } catch (const std::bad_alloc&) {
            return QVB_ERROR_NO_MEMORY;
        }
    }
    return QVB_ERROR_ARGUMENT;
}

int32_t QVB_Schedule(int32_t camera, int32_t event, double seconds)
{
    const bool valid = IsEvent(event) && seconds >= 0.0 && seconds <= LatestEvent;
    if (!valid) return QVB_ERROR_ARGUMENT;
    for (const PlannedInstrument& instrument : Installed.instruments) {
        if (instrument.what.camera != camera) continue;
        return ScheduleEvent(camera, event, seconds) ? QV_ERROR_NONE : QVB_ERROR_NO_MEMORY;
    }
    return QVB_ERROR_ARGUMENT;
}

int32_t QVB_Trace(const char* path)
{
    bool failed = false;
    if (Trace.file != nullptr) {
        EmuRecordTo(nullptr);
        const bool closed = fclose(Trace.file) == 0;
        failed = Trace.failed || !closed;
        Trace = {};
    }
    if (path != nullptr) {
        Trace.file = fopen(path, "w");
        failed = failed || Trace.file == nullptr;
        ResumeTrace();
    }
    return failed ? QVB_ERROR_TRACE_FILE : QV_ERROR_NONE;
}

int32_t QVB_TimeIsVirtual()
{
    return Installed.virtualTime ? 1 : 0;
}

double QVB_Seconds()
{
    if (Installed.virtualTime) return static_cast<double>(EmuMicroseconds()) / 1e6;
    const auto now = std::chrono::steady_clock::now().time_since_epoch();
    return std::chrono::duration<double>(now).count();
}
