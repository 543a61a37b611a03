// One open camera, from the arguments that choose it to its closing.
#include "tools/session.h"

#include <algorithm>
#include <exception>
#include <filesystem>
#include <memory>
#include <system_error>

#include "include/qvn_bench.h"
#include "tools/breaker.h"
#include "tools/catalogue_names.h"
#include "tools/progress.h"
#include "tools/report.h"
#include "tools/text.h"

namespace {

constexpr size_t LongestLibraryPath = 1022;
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
             FailureText(session, code) + OpenFailureDetail(session, code),
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

void OpenArray(const CameraRequest& request, const Session& session)
{
    uint16_t array[4] = {};
    for (const int32_t head : request.heads) array[1] |= static_cast<uint16_t>(1 << head);
    QV_OpenArray(array, session.platform, session.sensor, 0, request.options, session.camera,
                 ShowLibraryExposure, ShowLibraryProgress);
}

// By the program's own calls; the code of the library.
int32_t OpenByLibrary(const CameraRequest& request, CameraConfig config, const Session& session)
{
    const int32_t attach = request.attach ? 1 : 0;
    config.Activity =
        static_cast<int32_t>(static_cast<uint32_t>(config.Activity) | request.options);
    if (!request.configFile.empty()) {
        QV_OpenByConfig(&config, attach, ShowLibraryExposure, ShowLibraryProgress);
    } else {
        QV_InitOptions(&config, session.camera);
        if (request.isArray) {
            OpenArray(request, session);
        } else {
            QV_Open(session.platform, session.sensor, request.interfaceAddress,
                    InterfaceOf(request, session.platform), attach, session.camera, request.options,
                    ShowLibraryExposure, ShowLibraryProgress);
        }
    }
    ProgressEnd();
    return QV_Status(session.camera);
}

// In virtual time nothing goes on but within the calls of one thread.
int32_t StartLayer(const CameraRequest& request)
{
    QvnsStart start;
    qvns_init_start(&start);
    if (QVB_TimeIsVirtual() != 0) {
        start.Mode = QVNS_CALLER;
        start.Seconds = QVB_Seconds;
    }
    const int32_t code = qvns_start(&start);
    if (code != QV_ERROR_NONE || request.libraryPath.empty()) return code;
    return qvns_set_path(request.libraryPath.c_str());
}

// Also when the exposure of a frame that a signal broke has not begun yet.
void OnCountdown(int32_t camera, double secondsLeft, void* context)
{
    ShowCountdown(camera, secondsLeft, context);
    if (BreakRequested()) qvns_finish(camera);
}

QvnsOpen LayerOpen(const CameraRequest& request, const CameraConfig& config, const Session& session)
{
    QvnsOpen open;
    qvns_init_open(&open);
    const CameraConfig usual = open.Config;
    open.Config = config;
    open.Config.Platform = session.platform;
    open.Config.CCD = session.sensor;
    open.Config.Activity =
        static_cast<int32_t>(static_cast<uint32_t>(config.Activity) | request.options);
    if (request.configFile.empty()) {
        open.Config.Activity = static_cast<int32_t>(request.options);
        open.Config.InterfaceAddress = request.interfaceAddress;
        open.Config.ShutterHisteresys = usual.ShutterHisteresys;
    }
    open.Attach = request.attach ? 1 : 0;
    open.AutoRecover = request.comeBack > 0.0 ? 1 : 0;
    open.Progress = ShowProgress;
    open.Countdown = OnCountdown;
    return open;
}

int32_t OpenByLayer(const CameraRequest& request, const CameraConfig& config, Session* session)
{
    const QvnsOpen open = LayerOpen(request, config, *session);
    int32_t code = StartLayer(request);
    if (code == QV_ERROR_NONE) {
        code = request.serial >= 0 ? qvns_open_serial(request.serial, &open, &session->camera)
                                   : qvns_open(session->camera, &open);
    }
    ProgressEnd();
    session->options = static_cast<uint32_t>(open.Config.Activity);
    return code;
}

// Definitions and options as the camera has them.
int32_t ReadDefinitions(Session* session)
{
    struct Definitions {
        CcdDefinition ccd;
        PlatformDefinition electronics;
        uint32_t options;
    };
    const auto read = std::make_shared<Definitions>();
    const int32_t camera = session->camera;
    const int32_t code = RunAtCamera(*session, 1.0, [read, camera] {
        QV_GetCCDdata(&read->ccd, camera);
        QV_GetHPdata(&read->electronics, camera);
        read->options = QV_GetMode(camera);
        return QV_ERROR_NONE;
    });
    if (code != QV_ERROR_NONE) return code;
    session->ccd = read->ccd;
    session->electronics = read->electronics;
    session->options |= read->options;
    return code;
}

bool CallLeft; // has not come back

void CloseCamera(const Session& session)
{
    if (session.callsBy == CallsBy::Program) {
        QV_Close(session.camera);
    } else {
        qvns_close(session.camera, 0.0);
        constexpr double LongestEnd = 2.0; // seconds; whoever is not done by then never will be
        CallLeft = qvns_stop(LongestEnd) == QVNS_ERROR_LOST;
    }
    BreakerStop();
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

bool OpenSession(const CameraRequest& asked, CallsBy callsBy, Session* session)
{
    CameraConfig config{};
    CameraRequest request = asked;
    session->callsBy = callsBy;
    const bool chosen = ChooseFolder(request, session) && EnterVirtualWorld(request.world) &&
                        ChooseVirtualCamera(&request) && ChooseCodes(request, session, &config) &&
                        ServiceIsPossible(request, *session);
    if (!chosen) return false;
    if (request.filterWheel >= 0) config.FilterWheel = request.filterWheel;

    BreakerStart();
    int32_t code = callsBy == CallsBy::Layer ? OpenByLayer(request, config, session)
                                             : OpenByLibrary(request, config, *session);
    if (code == QV_ERROR_NONE) code = ReadDefinitions(session);
    if (code != QV_ERROR_NONE) ComplainAboutOpen(*session, code);
    if (code == QV_ERROR_NONE && DefinitionIsUsable(*session)) return true;
    CloseCamera(*session);
    return false;
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
    if (session.cooling && !keepCooling) {
        qvns_cooler_off(session.camera);
        QvnsState state;
        const bool hears =
            qvns_state(session.camera, &state) == QV_ERROR_NONE && state.Camera == QVNS_CAMERA_OPEN;
        if (!hears) {
            Complain("switching the cooler off", "the camera does not answer",
                     "switch the camera off");
        }
    }
    CloseCamera(session);
    ProgressEnd();
}

bool CallIsLeftBehind()
{
    return CallLeft;
}

int32_t RunAtCamera(const Session& session, double expectedSeconds, std::function<int32_t()> work)
{
    if (session.callsBy == CallsBy::Program) return work();
    struct Order {
        std::function<int32_t()> work;
        std::exception_ptr thrown;
    };
    auto order = std::make_unique<Order>(Order{std::move(work), nullptr});
    const auto run = [](int32_t, void* context) {
        auto* const mine = static_cast<Order*>(context);
        try {
            return mine->work();
        } catch (...) {
            mine->thrown = std::current_exception();
            return static_cast<int32_t>(QVNS_ERROR_ABORTED);
        }
    };
    constexpr double Longest = 86400.0;
    const double expected = std::clamp(expectedSeconds, 0.0, Longest);
    const int32_t code = qvns_run(session.camera, run, order.get(), expected, 0.0);
    if (code == QVNS_ERROR_LOST || code == QVNS_ERROR_TIME) {
        [[maybe_unused]] const Order* const running = order.release();
        return code;
    }
    if (order->thrown != nullptr) std::rethrow_exception(order->thrown);
    return code;
}

bool IdleOrBreak(double seconds)
{
    if (QVB_TimeIsVirtual() == 0) return WaitOrBreak(seconds);
    // What is shorter than the layer's microsecond is no time to it.
    constexpr double Shortest = 0.001, Longest = 1.0;
    const double end = SteadySeconds() + seconds;
    for (double left = seconds; left > 0.0 && !BreakRequested(); left = end - SteadySeconds()) {
        qvns_idle(std::clamp(left, Shortest, Longest));
    }
    return BreakRequested();
}

std::string FailureText(const Session& session, int32_t code)
{
    std::string text = LibraryText(code);
    QvnsState state;
    if (session.callsBy == CallsBy::Program || qvns_state(session.camera, &state) != 0) return text;
    if (state.Wait[0] != '\0') text += Text(", waiting for %s", state.Wait);
    return text;
}

bool CameraIsThere(const Session& session, double comeBackSeconds)
{
    const double start = SteadySeconds();
    QvnsState state = {};
    for (bool told = false;; told = true) {
        const int32_t code = qvns_state(session.camera, &state);
        if (code != QV_ERROR_NONE || state.Camera == QVNS_CAMERA_OPEN) return code == QV_ERROR_NONE;
        const double gone = SteadySeconds() - start;
        if (state.Camera == QVNS_CAMERA_LOST || gone >= comeBackSeconds) break;
        if (!told) {
            Complain(Text("camera %d, %s", session.camera, CameraText(session).c_str()),
                     FailureText(session, state.LastError),
                     Text("its plug; it is waited for, up to %g s", comeBackSeconds));
        }
        if (IdleOrBreak(0.1)) return false;
    }
    const int32_t code = state.Camera == QVNS_CAMERA_LOST ? QVNS_ERROR_LOST : state.LastError;
    Complain(Text("camera %d, %s", session.camera, CameraText(session).c_str()),
             FailureText(session, code), LibraryAdvice(code));
    return false;
}

std::string CameraText(const Session& session)
{
    return session.platformName + " with " + session.sensorName;
}
