// The virtual instruments that can be made, and how one is plugged in.
#pragma once
#include <cstdint>
#include <string>
#include <vector>

#include "bench/virtual_spec.h"
#include "core/record.h"
#include "emulator/sensor.h"

// An instrument whose definitions are read.
struct PlannedInstrument {
    VirtualInstrument what; // nothing left open
    CcdDefinition ccd;
    PlatformDefinition electronics;
    EmuLineMap lines; // none where the camera has no pattern
};

// Completes what the text left open and reads the definitions. 0, or the code with `error`.
int32_t PlanInstruments(const std::vector<VirtualInstrument>& wanted,
                        std::vector<PlannedInstrument>* planned, std::string* error);

// Sets its light and plugs it into the world. May throw std::bad_alloc.
void PlugInstrument(const PlannedInstrument& instrument);
