// The ccd47-10 on OSPREY and OSPREY_Plus: two holds differ.
#pragma once
#include <cstdint>

#include "sequencer/wave_engine.h"

// `hold`: ticks of the reset level ahead of the first sample, and of the settling
// ahead of the conversion.
WaveProgram OspreyCcd4710Program(uint32_t hold, int32_t camera);
