// HERON_Plus (platform 61).
#pragma once
#include "core/binding.h"
#include "drivers/reading_ring.h"

extern const BindingRule HeronPlusRules[];
extern const DriverExtras HeronPlusExtras;
void CloseHeronPlus(int32_t camera);

// The readings of all HERON_Plus of the process.
extern ReadingRing HeronPlusReadings;
