// qvn doctor: what its checks look at, and what they find.
#pragma once
#include <cstdint>
#include <string>
#include <vector>

#include "include/qvn_bench.h"
#include "platform/linux/pci.h"
#include "tools/config_check.h"
#include "tools/session.h"

enum class Verdict : uint8_t { Ok, Warning, Fault };

struct Finding {
    Verdict verdict;
    std::string text;
    std::string advice; // empty: nothing to do
};

// A FIFO chip of the kind that USB cameras have.
struct UsbChip {
    std::string port;   // "1-2", the kernel's name of the place
    std::string node;   // /dev/bus/usb/BUS/DEVICE
    std::string driver; // of the kernel's, that has one of its interfaces; empty: none
};

struct Patient {
    std::string root; // ahead of every path of the system; empty but in tests
    Session session;
    std::string configFile; // camera.cfg
    int32_t link = 0;       // InterfaceType
    ConfigReport definitions;
    int64_t frameBytes = 0; // of a DMA block that holds a frame; 0: not known
    std::vector<UsbChip> chips;
    std::vector<PciAddress> cards;
};

struct DoctorCheck {
    const char* name; // null ends a list
    Finding (*Look)(const Patient& patient);
};

extern const DoctorCheck FileChecks[];   // definitions, configuration, platform and sensor
extern const DoctorCheck UsbChecks[];    // chips, rights, drivers
extern const DoctorCheck CardChecks[];   // the interface card and how it is reached
extern const DoctorCheck RightsChecks[]; // what the system grants to this user

// The kinds of link. The simulated camera is on none.
bool IsOnUsb(const Patient& patient);
bool IsOnCard(const Patient& patient);
bool IsOnPort(const Patient& patient);

// The devices that are there.
void FindUsbChips(Patient* patient);
void FindCards(Patient* patient);

// Vendor and products of the chips, as in "0403:6001|6010|6014".
std::string UsbChipIds();

// --- the system's files ---

// The first line of a file, without its end; empty if it cannot be read.
std::string FirstLine(const std::string& path);
// What stands behind `key` in the line of a file that begins with it, ahead of the next blank.
std::string WordBehind(const std::string& path, const std::string& key);
// The last part of what a link points to; empty if there is none.
std::string LinkName(const std::string& path);
// The names in a folder, sorted.
std::vector<std::string> NamesIn(const std::string& folder);
// Empty if the file may be read and written, else why not.
std::string WhyNotUsable(const std::string& path);
// Whether the process has the capability of this number.
bool HasCapability(const Patient& patient, uint32_t number);
