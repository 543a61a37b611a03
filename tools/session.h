// One open camera, from the arguments that choose it to its closing.
//
// A camera by itself is opened through the supervisor layer, whose calls come back whatever the
// camera does. It knows no arrays of heads, and for service the camera shall hear what it is
// told and nothing else: there the program calls the library itself.
#pragma once
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "include/qvn_supervisor.h"
#include "tools/virtual_world.h"

// The arguments that all commands with a camera share.
struct CameraRequest {
    std::string libraryPath; // empty: the library's own default
    std::string platform;    // code or name; empty: the virtual instrument's, else DEMO
    std::string sensor;      // code or name; empty: chosen for the platform
    std::string configFile;  // empty: none; else it names platform, sensor and link
    int32_t camera = -1;     // -1: the first virtual instrument's, else 0
    int32_t serial = -1;     // of the camera, whatever its number is; -1: any
    uint32_t options = 0;
    int32_t interfaceType = -1;    // -1: chosen for the platform
    int32_t interfaceAddress = -1; // -1: none
    int32_t interfaceLink = 0;     // decoder on the cable
    int32_t filterWheel = -1;      // kind; -1: as the camera is set up without it
    bool attach = false;           // a camera that runs is not reset
    double comeBack = 0.0;         // seconds that a camera whose link failed may stay away
    bool isArray = false;          // opened as an array of heads
    std::vector<int32_t> heads;    // its heads; empty: those of the virtual instrument
    VirtualRequest world;
};

enum class CallsBy { Layer, Program };

struct Session {
    CallsBy callsBy = CallsBy::Layer;
    int32_t camera = 0;
    int32_t platform = 0, sensor = 0;
    std::string platformName, sensorName;
    std::string folder; // where qvn.cfg was sought, for messages
    CcdDefinition ccd{};
    PlatformDefinition electronics{};
    uint32_t options = 0;       // those of the library, and those that the layer keeps
    bool cooling = false;       // this program switched the cooler on
    std::vector<int32_t> heads; // of an array
};

// Opens. On failure says why and returns false; nothing is open then. A signal is taken note
// of from here on.
bool OpenSession(const CameraRequest& request, CallsBy callsBy, Session* session);

// Finds folder, camera number, platform and sensor, and how the camera is set up: by the
// request's camera.cfg, else as QV_InitCfg has it, with the kind of link. Complains when it
// returns false.
bool ChooseCamera(const CameraRequest& request, Session* session, CameraConfig* config);

// What a status code of an open alone does not tell.
std::string OpenFailureDetail(const Session& session, int32_t code);

// The kind of link: the request's, else the usual one of the platform.
int32_t InterfaceOf(const CameraRequest& request, int32_t platform);

// Reads what qvn.cfg says of the platform and the sensor of the request, without a camera.
// On failure says why and returns false.
bool LoadDefinitions(const CameraRequest& request, Session* session);

// Closes. A cooler that this program switched on goes off, unless it shall keep its
// last drive.
void CloseSession(const Session& session, bool keepCooling);

// Closes at the end of its scope, also when an exception passes.
struct SessionCloser {
    const Session& session;
    bool keepCooling;

    ~SessionCloser() { CloseSession(session, keepCooling); }
};

// Whether a call of the library has not come back, for which the program must end without
// waiting.
bool CallIsLeftBehind();

// Does work that calls the library for the camera, where that is allowed: in the layer's worker.
// It should take so many seconds. Returns what the work does, or below 0 why it is not done; it
// may still run behind the caller's back then, so what it uses belongs to itself.
int32_t RunAtCamera(const Session& session, double expectedSeconds, std::function<int32_t()> work);

// Lets time pass, in which the layer reads the temperature; true as soon as a break is requested.
bool IdleOrBreak(double seconds);

// A code of a camera's work in words, with what was waited for when that took too long.
std::string FailureText(const Session& session, int32_t code);

// Whether the camera's link works; says why not. Waits for one that comes back as long as the
// request grants that.
bool CameraIsThere(const Session& session, double comeBackSeconds);

// "DEMO with kaf400e"
std::string CameraText(const Session& session);
