// What the three-phase sensors of Tarn_IV share.
#pragma once
#include <cstdint>

#include "sequencer/wave_engine.h"

// All but the pixels of the line. A, B: the two exchangeable horizontal lines.
WaveProgram Tarn4CcdFrame(uint32_t A, uint32_t B, int32_t camera);

// The pixels of the ccd30-11b and the ccd42-10: ticks of the first sample, of its
// end, and of the settling ahead of the conversion.
void SetShortPixels(uint32_t A, uint32_t B, uint32_t sample, uint32_t rest, uint32_t settle,
                    WaveProgram* program);
