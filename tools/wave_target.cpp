// The camera and the picture that a pattern is made for.
#include "tools/wave_target.h"

#include "tools/catalogue_names.h"
#include "tools/report.h"
#include "tools/text.h"

namespace {

constexpr int32_t TallestWindow = 65535;

bool WindowIsPossible(const WindowRequest& window)
{
    if (!window.set || (window.x >= 0 && window.y >= 0 && window.width >= 2 && window.height >= 1 &&
                        window.height <= TallestWindow)) {
        return true;
    }
    Complain(Text("--window %d,%d,%d,%d", window.x, window.y, window.width, window.height),
             Text("X and Y begin at 0, WIDTH at 2, HEIGHT is 1 to %d", TallestWindow),
             "another window, in binned pixels");
    return false;
}

// The platform's sensors that have a pattern: "250 kaf0260, 255 kaf400e".
std::string SensorsWithPatterns(const QvbWaveRequest& request)
{
    std::string text;
    QvbWaveLines lines;
    for (const CatalogueEntry& sensor : SensorsOf(request.Platform)) {
        if (QVB_WaveLines(request.Platform, sensor.code, request.InterfaceType, 1, &lines) != 0) {
            continue;
        }
        text += Text("%s%d %s", text.empty() ? "" : ", ", sensor.code, sensor.name.c_str());
    }
    return text;
}

void ComplainAboutBuilder(const std::string& doing, const Session& session,
                          const QvbWaveRequest& request)
{
    const std::string sensors = SensorsWithPatterns(request);
    if (sensors.empty()) {
        Complain(doing, Text("%s has no clock patterns", session.platformName.c_str()),
                 "another --platform (`qvn list` shows them all), such as 44");
    } else {
        Complain(doing,
                 Text("%s has no clock patterns for %s", session.platformName.c_str(),
                      session.sensorName.c_str()),
                 "--sensor with one of " + sensors);
    }
}

// The first of the keys that a pattern cannot do without and qvn.cfg has not, or has wrong.
std::string WrongKey(const Session& session)
{
    CcdDefinition ccd{};
    PlatformDefinition platform{};
    QV_OpenPar(session.platform, session.sensor, session.camera);
    QV_GetCCDdata(&ccd, session.camera);
    QV_GetHPdata(&platform, session.camera);
    const std::string sensor = "rmk_camera_library.ccd_definitions." + session.sensorName;
    if (ccd.Xpix < 1) return sensor + ".Xpix";
    if (ccd.Ypix < 1) return sensor + ".Ypix";
    if (ccd.HorRegSize < 1) return sensor + ".HorRegSize";
    return Text("rmk_camera_library.camera_platforms.%s.%s.SamplingClock",
                session.platformName.c_str(), session.sensorName.c_str());
}

} // namespace

bool FindWaveTarget(const WaveTarget& target, Session* session, QvbWaveRequest* request)
{
    CameraConfig config{};
    if (!WindowIsPossible(target.window)) return false;
    if (!ChooseCamera(target.camera, session, &config)) return false;
    QVB_InitWaveRequest(request);
    request->Platform = session->platform;
    request->Sensor = session->sensor;
    request->InterfaceType = config.InterfaceType;
    request->X = target.window.x;
    request->Y = target.window.y;
    request->Width = target.window.width;
    request->Height = target.window.height;
    request->HorBinning = target.horBinning;
    request->VerBinning = target.verBinning;
    request->CcdOutput = config.CcdOutput;
    request->CcdTechnology = config.CcdTechnology;
    request->CcdBackFront = config.CcdBackFront;
    request->Camera = session->camera;
    return true;
}

void ComplainAboutWave(const std::string& doing, int32_t code, const Session& session,
                       const QvbWaveRequest& request)
{
    switch (code) {
    case QVB_ERROR_NO_BUILDER: ComplainAboutBuilder(doing, session, request); return;
    case QVB_ERROR_DEFINITION:
        Complain(doing,
                 Text("%s in %s/qvn.cfg is missing or not above 0", WrongKey(session).c_str(),
                      session.folder.c_str()),
                 "`qvn init FOLDER` writes a complete qvn.cfg to compare with");
        return;
    case QVB_ERROR_WAVE_FILE:
        Complain(doing, Text("%s, %s", QVB_ErrorMessage(code), CameraText(session).c_str()),
                 "the --platform and --sensor that it was built for, or `qvn wave lint FILE`");
        return;
    case QV_ERROR_PATTERN_FILE:
        Complain(doing, LibraryText(code), "another --output, on a disk with free space");
        return;
    case QV_ERROR_PATTERN_OVERFLOW:
        Complain(doing, LibraryText(code), "a lower vertical --binning");
        return;
    default:
        if (code > 0) {
            Complain(doing, LibraryText(code) + OpenFailureDetail(session, code),
                     LibraryAdvice(code));
        } else {
            Complain(doing, QVB_ErrorMessage(code), "a smaller --window");
        }
    }
}
