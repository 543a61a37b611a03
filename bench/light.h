// What the sensors of the virtual instruments see.
#pragma once
#include <cstdint>

#include "bench/virtual_spec.h"
#include "emulator/sensor.h"
#include "include/qvn_bench.h"

// An image area, with so many dark rows of the sensor ahead of it.
struct LightArea {
    uint32_t columns, rows;
    uint32_t darkAhead;
};

// Light for the sensor of a camera number, in place of what was there; a file's is dark. May
// throw std::bad_alloc.
void SetLight(int32_t camera, const LightArea& area, const VirtualInstrument& instrument);
// The same, a host's picture, which is copied.
void SetLight(int32_t camera, const QvbScene& scene);
void ForgetLights();

// The light of a camera number as a sensor asks for it.
EmuScene* LightOf(int32_t camera);
