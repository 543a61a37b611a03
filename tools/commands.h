// The program's commands. Each returns the exit code of the program.
#pragma once
#include <cstdint>
#include <string>
#include <vector>

#include "tools/armed.h"
#include "tools/cooling.h"
#include "tools/outputs.h"
#include "tools/picture.h"
#include "tools/session.h"
#include "tools/watch.h"

struct InitRequest {
    std::string folder = "qvn";
    bool force = false;
};

struct ListRequest {
    VirtualRequest world;
    std::string platform; // code or name; empty: all
    bool json = false;
};

struct InfoRequest {
    CameraRequest camera;
    bool json = false;
};

struct ExposeRequest {
    CameraRequest camera;
    bool light = true;
    double seconds = 1.0;
    PictureRequest picture;
    int32_t frames = 1;
    bool trigger = false;      // waits for the external trigger
    double triggerLimit = 0.0; // seconds; 0: any time
    ArmedRequest armed;
    CoolingRequest cooling;
    FrameFiles files;
    bool keepBroken = false;
};

// A series: of windows, or, with shifts, of exposures side by side in one frame.
struct KineticsRequest {
    CameraRequest camera;
    bool light = true;
    double seconds = 0.1;
    int32_t frames = 10;
    PictureRequest picture;
    int32_t shifts = 0; // 0: a series of windows
    int32_t lines = 0;  // of a shift
    double interval = 0.0;
    CoolingRequest cooling;
    FrameFiles files;
};

struct ArrayRequest {
    CameraRequest camera;
    bool light = true;
    std::vector<double> seconds = {1.0}; // one for all heads, or one each
    bool oneFile = false;
    FrameFiles files;
};

struct WheelRequest {
    CameraRequest camera;
    bool calibrate = false;
    int32_t position = 0;     // 0: the wheel stays
    bool standsAtOne = false; // a stepper is not taken to its zero position ahead
    bool handOver = false;    // the next three
    int32_t setting = 0, hold = 0, zeroOffset = 0;
};

struct NumberAndValue {
    int32_t number = 0, value = 0;
};

// Nothing to write and nothing to read: an overview.
struct RegistersRequest {
    CameraRequest camera;
    std::vector<int32_t> reads, statusReads, memoryReads;
    std::vector<NumberAndValue> registerWrites, memoryWrites;
    bool writesSerial = false, serialIsDecimal = false;
    int32_t serial = 0;
    bool mayWrite = false;
};

struct ConfigCheckRequest {
    std::string file;
};

struct DoctorRequest {
    CameraRequest camera;
    std::string root; // ahead of the system's paths
    bool json = false;
};

int RunInit(const InitRequest& request);
int RunList(const ListRequest& request);
int RunInfo(const InfoRequest& request);
int RunExpose(const ExposeRequest& request);
int RunKinetics(const KineticsRequest& request);
int RunArray(const ArrayRequest& request);
int RunTemperature(const WatchRequest& request);
int RunMonitor(const WatchRequest& request);
int RunWheel(const WheelRequest& request);
int RunRegisters(const RegistersRequest& request);
int RunConfigCheck(const ConfigCheckRequest& request);
int RunDoctor(const DoctorRequest& request);
