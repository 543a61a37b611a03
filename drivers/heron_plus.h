// HERON_Plus (platform 61).
#pragma once
#include "core/binding.h"
#include "drivers/reading_ring.h"

extern const BindingRule HeronPlusRules[];
extern const DriverExtras HeronPlusExtras;

// The readings of all HERON_Plus of the process.
extern ReadingRing HeronPlusReadings;
