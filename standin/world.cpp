#include "standin/world.h"

#include <cstdio>
#include <filesystem>
#include <string>

#include <dlfcn.h>

#include "include/qvn_bench.h"

namespace {

namespace fs = std::filesystem;

constexpr char CamerasName[] = "cameras.cfg";
constexpr char DefinitionsName[] = "qvn.cfg";

bool Fail(const std::string& text)
{
    fprintf(stderr, "qvn stand-in: %s\n", text.c_str());
    return false;
}

bool IsFile(const fs::path& path)
{
    std::error_code error;
    return fs::is_regular_file(path, error);
}

// This library as the host named it.
fs::path OwnPath()
{
    Dl_info info = {};
    const bool found = dladdr(reinterpret_cast<void*>(HaveStandIn), &info) != 0;
    return found && info.dli_fname != nullptr ? info.dli_fname : "";
}

// Beside the name that the host has loaded, or beside the file that a link there leads to.
fs::path FindCameras()
{
    std::error_code error;
    const fs::path named = OwnPath();
    const fs::path followed = fs::canonical(named, error);
    for (const fs::path& path : {named, followed}) {
        fs::path cameras = path.parent_path() / CamerasName;
        if (IsFile(cameras)) return cameras;
    }
    return named.parent_path() / CamerasName;
}

// The definitions are the host's where it keeps them in the usual folder; else a copy that
// stands beside the cameras.
void ChooseDefinitions(const fs::path& folder)
{
    std::error_code error;
    const fs::path usual = fs::is_directory("qvn", error) ? "qvn" : ".";
    if (!IsFile(usual / DefinitionsName) && IsFile(folder / DefinitionsName)) {
        QV_SetPathName(folder.c_str());
    }
}

bool CheckCamera(const QvbInstrument& camera)
{
    const std::string named = "camera " + std::to_string(camera.Camera) + ": ";
    if (camera.InterfaceType != QV_INTERFACE_USB) {
        return Fail(named + "platform " + std::to_string(camera.Platform) +
                    " is not on USB here; 28 needs link=6");
    }
    if (camera.SceneFile[0] != '\0') {
        return Fail(named + "scene: a stand-in reads no pictures; take stars, flat, ramp or dark");
    }
    return true;
}

bool CheckWorld()
{
    if (QVB_TimeIsVirtual() != 0) return Fail("time: the host's clock is the true one; take real");
    for (int32_t i = 0; i < QVB_InstrumentCount(); ++i) {
        QvbInstrument camera = {};
        QVB_Instrument(i, &camera);
        if (!CheckCamera(camera)) return false;
    }
    return true;
}

bool MakeWorld()
{
    const fs::path cameras = FindCameras();
    if (!IsFile(cameras)) return Fail(cameras.string() + ": there is no such file");
    ChooseDefinitions(cameras.parent_path());
    char error[512] = "";
    const int32_t code = QVB_Install(("@" + cameras.string()).c_str(), error, sizeof error);
    if (code != QV_ERROR_NONE) return Fail(error);
    if (CheckWorld()) return true;
    QVB_Uninstall();
    return false;
}

} // namespace

bool HaveStandIn()
{
    static const bool made = MakeWorld();
    return made;
}
