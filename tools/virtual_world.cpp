#include "tools/virtual_world.h"

#include <numeric>

#include "include/qvn_bench.h"
#include "tools/report.h"
#include "tools/safe_file.h"
#include "tools/scene_file.h"
#include "tools/session.h"
#include "tools/text.h"

namespace {

constexpr char Doing[] = "making the --virtual instruments";
constexpr uint32_t ErrorRoom = 2048;

bool ShowScene(int32_t camera, int32_t head, const char* file)
{
    if (file[0] == '\0') return true;
    Scene scene;
    std::string error;
    if (!ReadScene(file, &scene, &error)) {
        Complain(Doing, Text("scene %s: %s", file, error.c_str()),
                 "a PNG or a FITS picture, or stars, flat, ramp or dark");
        return false;
    }
    const QvbScene light = {scene.pixels.data(), scene.width, scene.height};
    const int32_t code = QVB_SetHeadScene(camera, head, &light);
    if (code == QV_ERROR_NONE) return true;
    Complain(Doing, Text("scene %s: %s", file, QVB_ErrorMessage(code)), "a smaller picture");
    return false;
}

bool ShowScenes()
{
    for (int32_t index = 0; index < QVB_InstrumentCount(); ++index) {
        QvbInstrument instrument;
        QVB_Instrument(index, &instrument);
        char file[sizeof instrument.SceneFile];
        int32_t head = 0;
        while (QVB_HeadSceneFile(index, head, file, sizeof file) == QV_ERROR_NONE) {
            if (!ShowScene(instrument.Camera, head, file)) return false;
            ++head;
        }
    }
    return true;
}

bool BeginTrace(const std::string& path)
{
    if (path.empty()) return true;
    std::string error;
    std::string advice;
    if (!OutputIsPossible(path, false, &error, &advice)) {
        Complain("checking --trace", error, "another name");
        return false;
    }
    if (QVB_Trace(path.c_str()) == QV_ERROR_NONE) return true;
    Complain("writing --trace", Text("%s cannot be made", path.c_str()), "another name");
    return false;
}

} // namespace

bool EnterVirtualWorld(const VirtualRequest& request)
{
    if (request.text.empty()) return true;
    char error[ErrorRoom];
    // A camera of the world is set up as the library is when the world is made.
    CameraConfig config{};
    QV_InitCfg(&config);
    for (int32_t camera = 0; camera < QV_CAMERAS; ++camera) QV_InitOptions(&config, camera);
    const int32_t code = QVB_Install(request.text.c_str(), error, sizeof error);
    if (code != QV_ERROR_NONE) {
        const bool definitions = code > 0 || code == QVB_ERROR_DEFINITION;
        Complain(Doing, error,
                 definitions ? "--library-path FOLDER with a folder that holds a complete qvn.cfg; "
                               "`qvn init FOLDER` makes one"
                             : "--virtual platform=42,sensor=255; docs/program.md tells all keys");
        return false;
    }
    return ShowScenes() && BeginTrace(request.trace);
}

bool ChooseVirtualCamera(CameraRequest* request)
{
    if (request->world.text.empty()) return true;
    QvbInstrument instrument;
    int32_t index = 0;
    while (QVB_Instrument(index, &instrument) == QV_ERROR_NONE) {
        if (request->camera < 0 || request->camera == instrument.Camera) break;
        ++index;
    }
    if (index == QVB_InstrumentCount()) {
        Complain("choosing the camera",
                 Text("--camera %d: no --virtual instrument has this number", request->camera),
                 "`qvn list` with the same --virtual shows them");
        return false;
    }
    if (request->isArray != (instrument.Heads > 0)) {
        Complain("choosing the camera",
                 request->isArray ? "the --virtual instrument is no array"
                                  : "the --virtual instrument is an array of heads",
                 request->isArray ? "heads=2 behind its platform, which is 42 or 44"
                                  : "`qvn array`, or a --virtual without heads=");
        return false;
    }
    request->camera = instrument.Camera;
    if (request->heads.empty()) {
        request->heads.resize(static_cast<size_t>(instrument.Heads));
        std::iota(request->heads.begin(), request->heads.end(), 0);
    }
    if (request->platform.empty()) {
        request->platform = std::to_string(instrument.Platform);
        if (request->sensor.empty()) request->sensor = std::to_string(instrument.Sensor);
    }
    if (request->interfaceType < 0) {
        request->interfaceType = instrument.InterfaceType;
        request->interfaceAddress = instrument.InterfaceAddress;
    }
    request->interfaceLink = instrument.InterfaceLink;
    const bool fitted = instrument.FilterWheel != 0;
    if (request->filterWheel < 0 && fitted) request->filterWheel = instrument.FilterWheel;
    return true;
}

int LeaveVirtualWorld(int exitCode)
{
    // Nothing is taken away from under a call that does not come back; its lines end here.
    const int32_t code = CallIsLeftBehind() ? QVB_Trace(nullptr) : QVB_Uninstall();
    if (code != QVB_ERROR_TRACE_FILE) return exitCode;
    Complain("writing --trace", "not all of it arrived", "a disk with free space");
    return exitCode == ExitDone ? ExitFailed : exitCode;
}
