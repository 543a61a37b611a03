// The camera that a pattern was made for.
#include "tools/wave_camera.h"

#include <cctype>

#include "include/qvn_bench.h"
#include "tools/report.h"
#include "tools/safe_file.h"
#include "tools/text.h"

namespace {

const TimeUnit Units[] = {{1e9, "s"}, {1e6, "ms"}, {1e3, "us"}, {1.0, "ns"}};

} // namespace

bool FindWaveCamera(const WaveCameraRequest& request, WaveCamera* camera)
{
    camera->told = !request.camera.platform.empty();
    camera->tickNs = request.tickNs;
    if (!camera->told) return true;
    if (!LoadDefinitions(request.camera, &camera->session)) return false;
    camera->interfaceType = InterfaceOf(request.camera, camera->session.platform);
    if (camera->tickNs > 0.0) return true;
    camera->tickNs = camera->session.electronics.SamplingClock[0] * 1000.0;
    if (camera->tickNs > 0.0 && camera->tickNs <= LongestTick) return true;
    Complain(Text("reading %s/qvn.cfg", camera->session.folder.c_str()),
             Text("SamplingClock of %s is not above 0 and at most 1000",
                  CameraText(camera->session).c_str()),
             "correct it, or --tick NS");
    return false;
}

std::string LineName(const WaveCamera& camera, uint32_t line)
{
    char name[64] = "";
    const Session& session = camera.session;
    if (camera.told && QVB_LineName(session.platform, session.sensor, camera.interfaceType,
                                    static_cast<int32_t>(line), name, sizeof name) == 0) {
        return name;
    }
    return Text("line %u", line);
}

bool LineHasRole(const WaveCamera& camera, uint32_t line)
{
    return LineName(camera, line) != Text("line %u", line);
}

std::string LineWord(const WaveCamera& camera, uint32_t line)
{
    std::string word = LineName(camera, line);
    for (char& letter : word) {
        if (std::isalnum(static_cast<unsigned char>(letter)) == 0) letter = '_';
    }
    return word;
}

TimeUnit UnitOf(double nanoseconds)
{
    for (const TimeUnit& unit : Units) {
        if (nanoseconds >= unit.nanoseconds) return unit;
    }
    return {1.0, "ns"};
}

std::string DurationText(const WaveCamera& camera, uint64_t ticks)
{
    if (camera.tickNs <= 0.0) {
        return Text("%llu tick%s", static_cast<unsigned long long>(ticks), ticks == 1 ? "" : "s");
    }
    const double time = camera.tickNs * static_cast<double>(ticks);
    const TimeUnit unit = UnitOf(time);
    return Text("%.6g %s", time / unit.nanoseconds, unit.name);
}

bool WaveOutputIsFine(const std::string& path, bool overwrite)
{
    std::string error;
    std::string advice;
    if (OutputIsPossible(path, overwrite, &error, &advice)) return true;
    Complain("checking --output", error, advice);
    return false;
}
