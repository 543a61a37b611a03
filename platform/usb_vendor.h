// The vendor's own library of the USB chips, where the host has it installed.
#pragma once
#include "platform/system.h"

// Loads it by name and fills `api`, which stays valid for good. False: there is no
// such library, or it lacks a function; `api` is as it was. One at a time.
bool LoadVendorUsb(const char* name, UsbApi* api);
