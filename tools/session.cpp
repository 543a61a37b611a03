// One open camera, from the arguments that choose it to its closing.
#include "tools/session.h"

#include <algorithm>
#include <filesystem>
#include <system_error>

#include "tools/breaker.h"
#include "tools/catalogue_names.h"
#include "tools/progress.h"
#include "tools/report.h"
#include "tools/text.h"

namespace {

constexpr size_t LongestLibraryPath = 1023;
constexpr char DefaultPlatform[] = "1";
constexpr int32_t ServedArray = 1; // the number of an array whose background is served

bool IsFolder(const std::string& path)
{
    std::error_code ignored;
    return std::filesystem::is_directory(path, ignored);
}

bool ChooseFolder(const CameraRequest& request, Session* session)
{
    const std::string& path = request.libraryPath;
    if (path.empty()) {
        session->folder = IsFolder("qvn") ? "qvn" : ".";
        return true;
    }
    if (!IsFolder(path)) {
        Complain("looking for qvn.cfg", Text("--library-path %s: no such folder", path.c_str()),
                 Text("`qvn init %s` makes it, with sample files", path.c_str()));
        return false;
    }
    if (path.size() > LongestLibraryPath) {
        Complain("looking for qvn.cfg",
                 Text("--library-path has %zu characters, %zu is the most", path.size(),
                      LongestLibraryPath),
                 "a shorter path");
        return false;
    }
    session->folder = path;
    QV_SetPathName(path.c_str());
    return true;
}

// Where a code or a name of the catalogue was given.
struct Choice {
    std::string text; // empty: none
    std::string source;
};

bool ChoosePlatform(const Choice& choice, Session* session)
{
    const std::vector<CatalogueEntry> platforms = Platforms();
    CatalogueEntry entry;
    if (!FindEntry(platforms, choice.text, &entry)) {
        const std::string similar = SimilarNames(platforms, choice.text);
        Complain("choosing the camera", choice.source + ": no such platform",
                 similar.empty() ? "`qvn list` shows them all" : similar);
        return false;
    }
    session->platform = entry.code;
    session->platformName = entry.name;
    return true;
}

// A sensor that most platforms carry, else the first listed.
CatalogueEntry DefaultSensor(const std::vector<CatalogueEntry>& carried)
{
    CatalogueEntry entry{275, "kaf1600"};
    if (!carried.empty() && !FindEntry(carried, "275", &entry)) entry = carried[0];
    return entry;
}

bool ChooseSensor(const Choice& choice, Session* session)
{
    const std::vector<CatalogueEntry> carried = SensorsOf(session->platform);
    CatalogueEntry entry = DefaultSensor(carried);
    if (!choice.text.empty() && !FindEntry(carried, choice.text, &entry)) {
        const bool known = FindEntry(Sensors(), choice.text, &entry);
        const std::string similar = SimilarNames(carried, choice.text);
        Complain("choosing the camera",
                 choice.source +
                     (known ? Text(": %s does not carry this sensor", session->platformName.c_str())
                            : ": no such sensor"),
                 similar.empty()
                     ? Text("`qvn list --platform %d` shows its sensors", session->platform)
                     : similar);
        return false;
    }
    session->sensor = entry.code;
    session->sensorName = entry.name;
    return true;
}

bool ChooseByName(const CameraRequest& request, Session* session, CameraConfig* config)
{
    const std::string code = request.platform.empty() ? DefaultPlatform : request.platform;
    const Choice platform = {code, "--platform " + code};
    const Choice sensor = {request.sensor, "--sensor " + request.sensor};
    QV_InitCfg(config);
    if (!ChoosePlatform(platform, session) || !ChooseSensor(sensor, session)) return false;
    config->InterfaceType = InterfaceOf(request, session->platform);
    config->InterfaceLink = request.interfaceLink;
    return true;
}

bool LoadConfig(const CameraRequest& request, Session* session, CameraConfig* config)
{
    QV_InitCfg(config);
    const int32_t result = QV_LoadCameraConfig(request.configFile.c_str(), config);
    const std::string doing = Text("reading --config %s", request.configFile.c_str());
    if (result != QV_FILE_DONE) {
        const bool plain = request.configFile.find('/') == std::string::npos;
        Complain(doing,
                 result == QV_FILE_NOT_OPENED ? "the file cannot be opened"
                                              : "the file does not parse",
                 plain ? Text("a plain name is sought in %s; write ./%s for the current folder",
                              session->folder.c_str(), request.configFile.c_str())
                       : "`qvn init FOLDER` writes a sample camera.cfg");
        return false;
    }
    if (config->PciIndex < 0 || config->PciIndex >= QV_CAMERAS) {
        Complain(doing, Text("CameraConfig.PciIndex is %d", config->PciIndex),
                 "0 to 7; it is the camera's number");
        return false;
    }
    session->camera = config->PciIndex;
    const char* file = request.configFile.c_str();
    const Choice platform = {std::to_string(config->Platform),
                             Text("CameraConfig.Platform in %s, %d", file, config->Platform)};
    const Choice sensor = {std::to_string(config->CCD),
                           Text("CameraConfig.CCD in %s, %d", file, config->CCD)};
    return ChoosePlatform(platform, session) && ChooseSensor(sensor, session);
}

// Of platforms that are not reached by a PCI card first of all.
struct UsualLink {
    int32_t platform, interfaceType;
};
constexpr UsualLink UsualLinks[] = {
    {QV_PLATFORM_DEMO, QV_INTERFACE_PRINTER_PORT},
    {29, QV_INTERFACE_USB},
    {40, QV_INTERFACE_PRINTER_PORT},
    {41, QV_INTERFACE_PORT_CARD},
    {48, QV_INTERFACE_USB},
    {61, QV_INTERFACE_USB},
    {200, QV_INTERFACE_USB},
    {205, QV_INTERFACE_USB},
    {300, QV_INTERFACE_USB},
    {400, QV_INTERFACE_USB},
    {450, QV_INTERFACE_USB},
};

int32_t UsualInterface(int32_t platform)
{
    for (const UsualLink& link : UsualLinks) {
        if (link.platform == platform) return link.interfaceType;
    }
    return QV_INTERFACE_PCI_CARD;
}

void ComplainAboutOpen(const Session& session, int32_t code)
{
    const bool demo = code == QV_ERROR_CAMERA_NOT_FOUND && session.platform == QV_PLATFORM_DEMO;
    Complain(Text("opening camera %d, %s", session.camera, CameraText(session).c_str()),
             LibraryText(code) + OpenFailureDetail(session, code),
             demo ? "`qvn init FOLDER` writes it, then --library-path FOLDER"
                  : LibraryAdvice(code));
}

// A missing key reads as 0, and without these nothing can be read out.
bool DefinitionIsUsable(const Session& session)
{
    const char* missing = session.ccd.Xpix < 2 ? "Xpix" : session.ccd.Ypix < 1 ? "Ypix" : nullptr;
    if (missing == nullptr) return true;
    Complain(Text("reading %s/qvn.cfg", session.folder.c_str()),
             Text("rmk_camera_library.ccd_definitions.%s.%s is missing or too small",
                  session.sensorName.c_str(), missing),
             "`qvn init FOLDER` writes a complete qvn.cfg to compare with");
    return false;
}

void CallOpen(const CameraRequest& request, uint32_t options, CameraConfig* config,
              const Session& session)
{
    const int32_t attach = request.attach ? 1 : 0;
    if (request.filterWheel >= 0) config->FilterWheel = request.filterWheel;
    if (!request.configFile.empty()) {
        config->Activity = static_cast<int32_t>(static_cast<uint32_t>(config->Activity) | options |
                                                request.options);
        QV_OpenByConfig(config, attach, OnExposure, OnProgress);
        return;
    }
    QV_InitOptions(config, session.camera);
    if (request.isArray) {
        uint16_t array[4] = {};
        for (const int32_t head : request.heads) array[1] |= static_cast<uint16_t>(1 << head);
        QV_OpenArray(array, session.platform, session.sensor, 0, options | request.options,
                     session.camera, OnExposure, OnProgress);
        return;
    }
    QV_Open(session.platform, session.sensor, request.interfaceAddress,
            InterfaceOf(request, session.platform), attach, session.camera,
            options | request.options, OnExposure, OnProgress);
}

// With the background service the open of an array under another number never ends.
bool ServiceIsPossible(const CameraRequest& request, const Session& session)
{
    const bool served = (request.options & (QV_OPTION_SERVICE | QV_OPTION_REGULATION)) != 0;
    if (!request.isArray || !served || session.camera == ServedArray) return true;
    Complain("checking --options",
             Text("the background of an array is served as camera %d only", ServedArray),
             Text("--camera %d, or --options without its lowest two bits", ServedArray));
    return false;
}

// Camera number, platform, sensor, and how the camera is set up.
bool ChooseCodes(const CameraRequest& request, Session* session, CameraConfig* config)
{
    session->camera = request.camera >= 0 ? request.camera : request.isArray ? ServedArray : 0;
    session->heads = request.heads;
    return request.configFile.empty() ? ChooseByName(request, session, config)
                                      : LoadConfig(request, session, config);
}

} // namespace

int32_t InterfaceOf(const CameraRequest& request, int32_t platform)
{
    return request.interfaceType >= 0 ? request.interfaceType : UsualInterface(platform);
}

std::string OpenFailureDetail(const Session& session, int32_t code)
{
    const std::string file = session.folder + "/qvn.cfg";
    if (code == QV_ERROR_PLATFORM_DEFINITION || code == QV_ERROR_CCD_DEFINITION) {
        const int64_t state = QV_LoadPlatform(session.platform, session.sensor, session.camera);
        return Text(", %s %s", file.c_str(),
                    state == QV_FILE_NOT_PARSED ? "does not parse" : "cannot be opened");
    }
    if (code == QV_ERROR_CAMERA_NOT_FOUND && session.platform == QV_PLATFORM_DEMO) {
        return Text(", the simulated camera needs the raw image that %s names as "
                    "rmk_camera_library.camera_platforms.DEMO.File, with its Xpix and Ypix",
                    file.c_str());
    }
    return "";
}

bool ChooseCamera(const CameraRequest& asked, Session* session, CameraConfig* config)
{
    return ChooseFolder(asked, session) && ChooseCodes(asked, session, config);
}

bool OpenSession(const CameraRequest& asked, uint32_t options, Session* session)
{
    CameraConfig config{};
    CameraRequest request = asked;
    const bool chosen = ChooseFolder(request, session) && EnterVirtualWorld(request.world) &&
                        ChooseVirtualCamera(&request) && ChooseCodes(request, session, &config) &&
                        ServiceIsPossible(request, *session);
    if (!chosen) return false;

    BreakerStart();
    CallOpen(request, options, &config, *session);
    ProgressEnd();
    const int32_t code = QV_Status(session->camera);
    bool usable = QV_IsOn(session->camera) != 0 && code == QV_ERROR_NONE;
    if (usable) {
        QV_GetCCDdata(&session->ccd, session->camera);
        QV_GetHPdata(&session->electronics, session->camera);
        session->regulated = (QV_GetMode(session->camera) & QV_OPTION_REGULATION) != 0;
        usable = DefinitionIsUsable(*session);
    } else {
        ComplainAboutOpen(*session, code);
    }
    if (!usable) {
        QV_Close(session->camera);
        BreakerStop();
    }
    return usable;
}

bool LoadDefinitions(const CameraRequest& request, Session* session)
{
    CameraConfig config{};
    if (!ChooseCamera(request, session, &config)) return false;
    if (QV_OpenPar(session->platform, session->sensor, session->camera) != 0) {
        const int32_t code = QV_Status(session->camera);
        Complain(Text("reading the definitions of %s", CameraText(*session).c_str()),
                 LibraryText(code) + OpenFailureDetail(*session, code), LibraryAdvice(code));
        return false;
    }
    QV_GetCCDdata(&session->ccd, session->camera);
    QV_GetHPdata(&session->electronics, session->camera);
    return DefinitionIsUsable(*session);
}

void CloseSession(const Session& session, bool keepCooling)
{
    BreakerArm(-1);
    // Nobody regulates any more, so a cooler that stays on is the user's decision.
    if (session.cooling && !keepCooling) QV_Cooler(0, session.camera);
    QV_Close(session.camera);
    BreakerStop();
    ProgressEnd();
}

int32_t ReadCelsius(const Session& session, double* celsius)
{
    if (session.regulated) {
        *celsius = QV_GetTemp(nullptr, QV_CELSIUS, session.camera);
    } else {
        // The reading talks to the camera beside the timer unless that is held off.
        QV_StopNow(session.camera);
        *celsius = QV_ReadTemp(QV_CELSIUS, session.camera);
        QV_StartNow(session.camera);
    }
    return QV_Status(session.camera) == QV_ERROR_LINK_FAILURE ? QV_ERROR_LINK_FAILURE
                                                              : QV_ERROR_NONE;
}

std::string CameraText(const Session& session)
{
    return session.platformName + " with " + session.sensorName;
}
