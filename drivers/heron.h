// HERON (platform 60).
#pragma once
#include "core/binding.h"

extern const BindingRule HeronRules[];
