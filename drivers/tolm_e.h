// TOLM_E and WREN (platforms 450 and 300).
#pragma once
#include "core/binding.h"
#include "sequencer/builders/builders.h"

extern const BindingRule TolmERules[]; // 300, 450
extern const DriverExtras TolmEExtras;

void CloseTolmE(int32_t camera);

// Tells the camera its geometry, from which it makes its own clock patterns.
WaveBuilder BuildWaveCommand;
