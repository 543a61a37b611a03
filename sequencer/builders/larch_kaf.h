// The two-phase sensors of Larch share all but their vertical clocks.
#pragma once
#include <cstdint>

#include "sequencer/wave_engine.h"

WaveProgram LarchKafProgram(int32_t camera);
