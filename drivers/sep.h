// SEP (platform 80).
#pragma once
#include "core/binding.h"

extern const BindingRule SepRules[];
