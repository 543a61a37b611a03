// BRIAR, BRIAR-ISA and BRIAR-PCI (platforms 40, 41, 42).
#pragma once
#include "core/binding.h"

extern const BindingRule BriarPortRules[]; // 40
extern const BindingRule BriarIsaRules[];  // 41
extern const BindingRule BriarPciRules[];  // 42

extern const DriverExtras BriarExtras;    // 40, 41
extern const DriverExtras BriarPciExtras; // 42
