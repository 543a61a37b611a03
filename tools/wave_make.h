// The commands of `qvn wave` that make things: a pattern, and the picture of one. Each
// returns the exit code of the program.
#pragma once
#include <cstdint>
#include <string>

#include "tools/commands.h"

// Which pattern: the camera, without opening one, and the picture.
struct WaveTarget {
    CameraRequest camera;
    WindowRequest window;
    int32_t horBinning = 1, verBinning = 1;
};

struct WaveBuildRequest {
    WaveTarget target;
    std::string output = "wave.bin";
    bool overwrite = false;
};

struct WavePlayRequest {
    WaveTarget target;
    std::string file;
    std::string scene; // empty: a star field
    std::string output = "frame.png";
    bool overwrite = false;
};

int RunWaveBuild(const WaveBuildRequest& request);
int RunWavePlay(const WavePlayRequest& request);

// The arguments of these commands.
struct WaveMakeRequests {
    WaveBuildRequest build;
    WavePlayRequest play;
};

namespace CLI {
class App;
}

void AddWaveMakers(CLI::App* wave, WaveMakeRequests* requests);
