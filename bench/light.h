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

// One sensor: a camera number, and the head of an array.
struct Eye {
    int32_t camera, head;
};

// Light for a sensor, in place of what was there; a file's is dark. May throw std::bad_alloc.
void SetLight(const Eye& eye, const LightArea& area, const VirtualInstrument& instrument);
// The same, a host's picture, which is copied.
void SetLight(const Eye& eye, const QvbScene& scene);
void ForgetLights();

// The light as the sensor asks for it.
EmuScene* LightOf(const Eye& eye);
