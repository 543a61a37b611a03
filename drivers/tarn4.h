// Tarn_IV (platform 24).
#pragma once
#include "core/binding.h"

extern const BindingRule Tarn4Rules[];
extern const DriverExtras Tarn4Extras;
