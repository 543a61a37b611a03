// camera.cfg: how one installed camera is set up.
#pragma once
#include <cstdint>

#include "include/qvn.h"

// FileStatus values. A name without a separator is put behind LibraryPath.
int32_t LoadCameraConfig(const char* name, CameraConfig* config);
int32_t SaveCameraConfig(const char* name, CameraConfig* config);

// One calibration value of camera.cfg. 1.0 without a file and 2.0 with a broken
// one: required, cameras without a file run with these.
double ReadTemperatureOffset();
double ReadTemperatureSpan();
