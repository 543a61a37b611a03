// BRIAR-R3 and R3-PLUS (platforms 44, 47).
#pragma once
#include "core/binding.h"

extern const BindingRule R3Rules[];
extern const DriverExtras R3Extras;     // 44
extern const DriverExtras R3PlusExtras; // 47: it times an armed exposure itself
