// One open camera, from the arguments that choose it to its closing.
#pragma once
#include <cstdint>
#include <string>
#include <vector>

#include "include/qvn.h"
#include "tools/virtual_world.h"

// The arguments that all commands with a camera share.
struct CameraRequest {
    std::string libraryPath; // empty: the library's own default
    std::string platform;    // code or name; empty: the virtual instrument's, else DEMO
    std::string sensor;      // code or name; empty: chosen for the platform
    std::string configFile;  // empty: none; else it names platform, sensor and link
    int32_t camera = -1;     // -1: the first virtual instrument's, else 0
    uint32_t options = 0;
    int32_t interfaceType = -1;    // -1: chosen for the platform
    int32_t interfaceAddress = -1; // -1: none
    int32_t interfaceLink = 0;     // decoder on the cable
    int32_t filterWheel = -1;      // kind; -1: as the camera is set up without it
    bool attach = false;           // a camera that runs is not reset
    bool isArray = false;          // opened as an array of heads
    std::vector<int32_t> heads;    // its heads; empty: those of the virtual instrument
    VirtualRequest world;
};

struct Session {
    int32_t camera = 0;
    int32_t platform = 0, sensor = 0;
    std::string platformName, sensorName;
    std::string folder; // where qvn.cfg was sought, for messages
    CcdDefinition ccd{};
    PlatformDefinition electronics{};
    bool regulated = false;     // the library reads the temperature by itself
    bool cooling = false;       // this program switched the cooler on
    std::vector<int32_t> heads; // of an array
};

// Opens with `options` added to those of the request. On failure says why and
// returns false; nothing is open then. A signal is taken note of from here on.
bool OpenSession(const CameraRequest& request, uint32_t options, Session* session);

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

// Celsius, of a fresh reading or the background's last one. 0, or the status if it cannot be
// read.
int32_t ReadCelsius(const Session& session, double* celsius);

// "DEMO with kaf400e"
std::string CameraText(const Session& session);
