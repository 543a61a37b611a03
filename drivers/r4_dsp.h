// R4-DSP (platform 48).
#pragma once
#include "core/binding.h"

extern const BindingRule R4DspRules[];
extern const DriverExtras R4DspExtras;

void CloseR4Dsp(int32_t camera);
