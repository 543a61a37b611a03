// The program's commands. Each returns the exit code of the program.
#pragma once
#include <cstdint>
#include <string>

#include "tools/cooling.h"
#include "tools/image_files.h"
#include "tools/session.h"

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

struct WindowRequest {
    bool set = false;
    int32_t x = 0, y = 0, width = 0, height = 0; // binned pixels
};

struct ExposeRequest {
    CameraRequest camera;
    bool light = true;
    double seconds = 1.0;
    WindowRequest window;
    int32_t horBinning = 1, verBinning = 1;
    int32_t gain = 0;
    int32_t frames = 1;
    bool cool = false;
    CoolingRequest cooling;
    bool keepCooling = false;
    std::string output = "frame.fits";
    ImageFormat format = ImageFormat::Unknown; // Unknown: by the name's ending
    std::string preview;                       // empty: none
    bool overwrite = false;
    bool keepBroken = false;
};

struct TemperatureRequest {
    CameraRequest camera;
    double target = 0.0;
    double seconds = 60.0;
    double interval = 1.0;
    std::string log;  // empty: none
    std::string plot; // empty: none
    bool overwrite = false;
    bool keepCooling = false;
};

struct ConfigCheckRequest {
    std::string file;
};

int RunInit(const InitRequest& request);
int RunList(const ListRequest& request);
int RunInfo(const InfoRequest& request);
int RunExpose(const ExposeRequest& request);
int RunTemperature(const TemperatureRequest& request);
int RunConfigCheck(const ConfigCheckRequest& request);
