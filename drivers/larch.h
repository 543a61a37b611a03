// Larch (platform 30).
#pragma once
#include "core/binding.h"

extern const BindingRule LarchRules[];
extern const DriverExtras LarchExtras;
