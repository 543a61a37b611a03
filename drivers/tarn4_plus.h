// Tarn_IV_PLUS (platform 25).
#pragma once
#include "core/binding.h"

extern const BindingRule Tarn4PlusRules[];
extern const DriverExtras Tarn4PlusExtras;
