// The card's kernel driver on Linux: there is none, so its calls are answered in
// this process, by means that the kernel has for every PCI device.
#pragma once
#include "platform/linux/pci.h"
#include "platform/system.h"

// Where cards are looked for, and which devices are cards.
struct CardHost {
    SystemFolder sys; // "/sys"
    const char* dev;  // "/dev"
    PciIds cards;
    bool mapsWindows; // false: every register access is a call, for tests
};

inline constexpr CardHost LinuxCardHost = {"/sys", "/dev", {0x11E3, 2000, 2007}, true};

// For the devices that are opened from now on. The strings are kept.
void SetCardHost(const CardHost& host);

DeviceApi LinuxCard();
RegisterApi LinuxCardRegisters();
