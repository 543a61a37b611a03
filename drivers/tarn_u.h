// Tarn_U (platform 29).
#pragma once
#include "core/binding.h"
#include "sequencer/builders/builders.h"

extern const BindingRule TarnURules[];
extern const DriverExtras TarnUExtras;

// Tells the camera its geometry, from which it makes its own clock patterns.
WaveBuilder BuildWaveTarnU;
