// The USB chips by libftdi1 and libusb, which distributions have.
#pragma once
#include "platform/system.h"

// Fails with every call where the library was built without libftdi1. A list and an
// open exclude each other; a device is used by one thread at a time.
UsbApi FtdiUsb();
