// The USB device library that a host has, behind one table.
#pragma once
#include "platform/system.h"

// Statuses of that library, which are the seam's.
enum UsbStatus : uint32_t {
    UsbOk = 0,
    UsbInvalidHandle = 1,
    UsbDeviceNotFound = 2,
    UsbDeviceNotOpened = 3,
    UsbIoError = 4,
    UsbNoResources = 5,
    UsbOtherError = 18,
};

// What may serve USB on a system.
struct UsbChoice {
    const char* vendorLibrary; // its name; taken where it can be loaded
    UsbApi otherwise;
};

// Which of the two it is shows at the first ListDevices and stays. A list and an
// open exclude each other in all threads; a device is used by one thread at a time.
// Open fails with UsbOtherError unless the list before it succeeded, and so does
// every call with handle 0.
UsbApi NativeUsb(const UsbChoice& choice);
