// What the sensors with 13 clock lines share on Tarn_IV and SEP.
#pragma once
#include <cstdint>

#include "sequencer/wave_engine.h"

// All but the pixels; `idle` is a single 0.
WaveProgram Ccd442Frame(int32_t camera);
