// Which line of a pattern word does what to a sensor, for every builder that
// writes a pattern file.
#pragma once
#include <cstdint>

#include "emulator/sensor.h"

// What the lines of a builder may depend on.
struct EmuWiring {
    int32_t platform;
    int32_t sensor;
    int32_t technology; // CcdTechnology of the camera
};

// False if the builder, "BuildWaveR3" for one, has no map.
bool EmuFindLineMap(const char* builder, const EmuWiring& wiring, EmuLineMap* map);
