// PCI devices as the kernel's files describe them. Nothing in those files is
// trusted: what cannot be read or makes no sense counts as absent.
#pragma once
#include <cstddef>
#include <cstdint>

struct PciAddress {
    uint32_t domain, bus, device, function;
};

struct PciIds { // inclusive
    uint32_t vendor, firstDevice, lastDevice;
};

struct PciBar {
    uint64_t address;
    uint64_t bytes; // 0: not used
    bool memory;    // false: ports
};

inline constexpr uint32_t PciBarCount = 6;

// The path below which the kernel's device tree stands: "/sys".
using SystemFolder = const char*;

// The devices with one of `ids` in the order of their addresses; at most `room`.
// Returns how many there are in `found`.
uint32_t FindPciDevices(SystemFolder sys, const PciIds& ids, PciAddress* found, uint32_t room);

// All bars are cleared if the device cannot be read.
void ReadPciBars(SystemFolder sys, const PciAddress& address, PciBar bars[PciBarCount]);

// Opens a file of the device; below 0: no.
int OpenPciFile(SystemFolder sys, const PciAddress& address, const char* name, int flags);

// "0000:01:02.3", the kernel's name of the device.
inline constexpr size_t PciNameRoom = 48;
void PrintPciName(const PciAddress& address, char name[PciNameRoom]);

// Whether a driver of the kernel has it.
bool HasDriver(SystemFolder sys, const PciAddress& address);

// Whether that is the one for devices in user programs.
bool IsPassedThrough(SystemFolder sys, const PciAddress& address);

// Hands a device that no driver has to that driver. False: no rights, no such
// driver, or another driver has the device.
bool PassThrough(SystemFolder sys, const PciAddress& address);

// The number of its group behind the translation of bus addresses; false: none.
bool ReadPciGroup(SystemFolder sys, const PciAddress& address, uint32_t* group);

// Whether its bus addresses are the machine's own: no translation, or one that
// changes nothing.
bool UsesPhysicalAddresses(SystemFolder sys, const PciAddress& address);
