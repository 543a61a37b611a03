// The builders that write pattern files, by name.
#pragma once
#include <cstdint>

#include "core/ops.h"
#include "emulator/sensor.h"
#include "sequencer/wave_engine.h"

struct BenchBuilder {
    decltype(CameraOps::BuildWave) build;
    const char* name; // as the line maps have it
    const WaveFormat* format;
};

extern const BenchBuilder BenchBuilders[]; // ended by a row without a builder

// The builder of a sensor on a platform, or null if the binding has none for the pair or
// one that writes no file.
const BenchBuilder* FindBenchBuilder(int32_t platform, int32_t sensor, int32_t interfaceType);
