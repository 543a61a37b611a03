// What a system does not provide: calls that fail at once and change nothing but
// the results that they are asked for.
#pragma once
#include "platform/system.h"

DeviceApi AbsentDevice();
RegisterApi AbsentRegisters(); // every register reads as all ones
PortApi AbsentPorts();         // none is granted; every port reads as all ones
UsbApi AbsentUsb();            // no device, and status 18, "other error"
