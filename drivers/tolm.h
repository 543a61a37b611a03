// TOLM (platform 400).
#pragma once
#include "core/binding.h"

extern const BindingRule TolmRules[];

void CloseTolm(int32_t camera);
