// The commands of `qvn wave` that look at a pattern file. Each returns the exit code of
// the program.
#pragma once
#include <cstdint>
#include <string>

#include "tools/commands.h"
#include "tools/wave_camera.h"

struct WaveShowRequest {
    std::string file;
    std::string section; // empty: all
    WaveCameraRequest camera;
};

struct WavePlotRequest {
    std::string file;
    std::string output;
    std::string section = "line";
    int32_t from = 0; // ticks
    int32_t to = -1;  // behind the last tick; -1: the section's end
    bool overwrite = false;
    WaveCameraRequest camera;
};

struct WaveVcdRequest {
    std::string file;
    std::string output;
    bool overwrite = false;
    WaveCameraRequest camera;
};

struct WaveDiffRequest {
    std::string first, second;
};

struct WaveLintRequest {
    std::string file;
    WindowRequest window;
    int32_t horBinning = 1, verBinning = 1;
    WaveCameraRequest camera;
};

int RunWaveShow(const WaveShowRequest& request);
int RunWavePlot(const WavePlotRequest& request);
int RunWaveVcd(const WaveVcdRequest& request);

// ExitFailed also if the two differ.
int RunWaveDiff(const WaveDiffRequest& request);

// ExitFailed also if a check fails.
int RunWaveLint(const WaveLintRequest& request);

// The arguments of these commands.
struct WaveViewRequests {
    WaveShowRequest show;
    WavePlotRequest plot;
    WaveVcdRequest vcd;
    WaveDiffRequest diff;
    WaveLintRequest lint;
};

namespace CLI {
class App;
}

void AddWaveViews(CLI::App* wave, WaveViewRequests* requests);

// Runs the one of them that was given.
int RunWaveView(const CLI::App& wave, const WaveViewRequests& requests);
