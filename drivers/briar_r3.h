// BRIAR-R3 and R3-PLUS (platforms 44, 47).
#pragma once
#include "core/binding.h"

extern const BindingRule R3Rules[];
extern const DriverExtras R3Extras;
