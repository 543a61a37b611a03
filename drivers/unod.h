// uNOD and uNOD_II (platforms 70 and 71).
#pragma once
#include "core/binding.h"

extern const BindingRule UnodRules[];
extern const BindingRule Unod2Rules[];
