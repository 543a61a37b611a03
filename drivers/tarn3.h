// Tarn_III and Tarn_IIIA (platforms 22 and 23).
#pragma once
#include "core/binding.h"

extern const BindingRule Tarn3Rules[];
