// The filter wheels of virtual instruments.
#pragma once
#include <cstdint>
#include <string>

#include "emulator/wheel.h"

struct BenchWheel {
    int32_t first, last; // platforms
    const char* name;    // as the text has it
    EmuWheelSetup setup;
    int32_t kind; // CameraConfig.FilterWheel
};

bool IsWheelName(const std::string& name);
// Null: the platform cannot have it, or the name is "none".
const BenchWheel* FindBenchWheel(int32_t platform, const std::string& name);
std::string BenchWheelsOf(int32_t platform); // their names
