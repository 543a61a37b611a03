// The camera that a pattern was made for, as far as the arguments tell: its tick and
// what its clock lines do.
#pragma once
#include <cstdint>
#include <string>
#include <vector>

#include "tools/session.h"
#include "tools/wave_reading.h"

inline constexpr double LongestTick = 1e6; // nanoseconds

inline CameraRequest NoCamera()
{
    CameraRequest request;
    request.platform.clear();
    return request;
}

struct WaveCameraRequest {
    CameraRequest camera = NoCamera();
    double tickNs = 0.0; // 0: the camera's
};

struct WaveCamera {
    bool told = false;
    Session session;           // definitions of a camera that is told
    int32_t interfaceType = 0; // the same
    double tickNs = 0.0;       // 0: not known
};

// Complains when it returns false.
bool FindWaveCamera(const WaveCameraRequest& request, WaveCamera* camera);

// What a line does, such as "reset"; "line 7" if that is not known.
std::string LineName(const WaveCamera& camera, uint32_t line);

bool LineHasRole(const WaveCamera& camera, uint32_t line);

// The name as one word for programs that take no blanks in names.
std::string LineWord(const WaveCamera& camera, uint32_t line);

struct TimeUnit {
    double nanoseconds;
    const char* name;
};

// The largest unit of which a duration has one.
TimeUnit UnitOf(double nanoseconds);

// "20.5 us"; "41 ticks" without a tick.
std::string DurationText(const WaveCamera& camera, uint64_t ticks);

// Whether a file of this name can be written. Complains if not.
bool WaveOutputIsFine(const std::string& path, bool overwrite);
