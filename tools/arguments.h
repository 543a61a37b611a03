// The arguments that several commands share, and the checks of their values.
#pragma once
#include <CLI/CLI.hpp>

#include <cstdint>
#include <string>
#include <vector>

#include "tools/commands.h"
#include "tools/session.h"

// Ends the parsing: "TEXT" is not WANTED.
void Refuse(const char* argument, const std::string& text, const char* wanted);

// Exactly `count` integers with commas between; refuses anything else.
std::vector<int32_t> IntegersOf(const char* argument, const std::string& text, size_t count,
                                const char* wanted);

CLI::Validator NotEmpty();
CLI::Validator Between(double low, double high);

// The options that choose platform, sensor and link, for commands that open no camera.
struct DefinitionOptions {
    CLI::Option *platform, *sensor, *link;
};

DefinitionOptions AddDefinitionOptions(CLI::App* command, const char* platformHelp,
                                       CameraRequest* request);

// The same, and all others that choose a camera to open.
void AddCameraOptions(CLI::App* command, CameraRequest* request);

// --serial, for commands that need not be told the camera's number.
void AddFindOptions(CLI::App* command, CameraRequest* request);

// --come-back, for commands that run long.
void AddComeBack(CLI::App* command, CameraRequest* request);

// How the cooler goes about it; the options, of which some may need others.
std::vector<CLI::Option*> AddCourse(CLI::App* command, const char* group, CoolingCourse* course);

// --virtual and --trace.
void AddWorldOptions(CLI::App* command, VirtualRequest* request);

// Where --window and --binning go.
struct PictureOptions {
    const char* group;
    WindowRequest* window;
    int32_t *horBinning, *verBinning;
};

void AddPictureOptions(CLI::App* command, const char* windowHelp, const PictureOptions& options);

void AddGainOption(CLI::App* command, const char* group, int32_t* gain);

// How many seconds an exposure may have.
constexpr double LongestExposure = 1000000.0; // the library counts milliseconds
