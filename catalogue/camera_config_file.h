// camera.cfg: how one installed camera is set up.
#pragma once
#include <cstdint>

#include "core/record.h"

// Each returns a FileStatus: FileNotOpened also without a name or a record. A
// name without a separator is put behind LibraryPath.
//
// A key that is missing or of another type reads as 0 or as empty; of a longer
// DefectiveList the first 79 characters are taken. A save needs every key to be
// there, and empties DefectiveList in the file and in `config`. Unless the result
// is FileDone, a load leaves `config` and a save leaves both alone.
int32_t LoadCameraConfig(const char* name, CameraConfig* config);
int32_t SaveCameraConfig(const char* name, CameraConfig* config);

// One calibration value of camera.cfg in LibraryPath; 0.0 if the key is missing.
// 1.0 without a file and 2.0 with a broken one: required, cameras without a file
// run with these.
double ReadTemperatureOffset();
double ReadTemperatureSpan();
