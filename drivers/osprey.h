// OSPREY (platform 200).
#pragma once
#include "core/binding.h"
#include "drivers/usb/byte_camera.h"

extern const BindingRule OspreyRules[];
extern const DriverExtras OspreyExtras;

// The readings of all OSPREY of the process.
extern ByteReadings OspreyReadings;
