// OSPREY_Plus (platform 205).
#pragma once
#include "core/binding.h"
#include "drivers/usb/byte_camera.h"

extern const BindingRule OspreyPlusRules[];
extern const DriverExtras OspreyPlusExtras;
void CloseOspreyPlus(int32_t camera);

// The readings of all OSPREY_Plus of the process.
extern ByteReadings OspreyPlusReadings;
