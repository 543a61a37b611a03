// qvn doctor: the interface card, and the two ways to it.
#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>

#include "platform/linux/card.h"
#include "tools/doctor.h"
#include "tools/text.h"

namespace {

constexpr char Setup[] = "docs/card.md, \"Setting up VFIO\"";
constexpr char Bridge[] = "pcieport";
constexpr uint32_t CardRoom = 16;

std::string Sys(const Patient& patient)
{
    return patient.root + "/sys";
}

std::string NameOf(const PciAddress& card)
{
    char name[PciNameRoom];
    PrintPciName(card, name);
    return name;
}

std::string FolderOf(const Patient& patient, const PciAddress& card)
{
    return Sys(patient) + "/bus/pci/devices/" + NameOf(card);
}

Verdict Serious(const Patient& patient)
{
    return IsOnCard(patient) ? Verdict::Fault : Verdict::Warning;
}

bool IsTranslated(const Patient& patient, const PciAddress& card)
{
    return !UsesPhysicalAddresses(Sys(patient).c_str(), card);
}

Finding CheckCards(const Patient& patient)
{
    std::string names;
    for (const PciAddress& card : patient.cards) {
        names += (names.empty() ? "" : ", ") + NameOf(card);
    }
    if (!names.empty()) return {Verdict::Ok, names, ""};
    if (!IsOnCard(patient)) return {Verdict::Ok, "none, and none is needed", ""};
    return {Verdict::Fault,
            Text("no interface card: no device %04x:%04x to %04x", LinuxCardHost.cards.vendor,
                 LinuxCardHost.cards.firstDevice, LinuxCardHost.cards.lastDevice),
            Text("seat the card anew; `lspci -d %04x:`", LinuxCardHost.cards.vendor)};
}

// A free card is bound by whoever opens it, or mapped as it is.
bool CanBeTaken(const Patient& patient, const PciAddress& card)
{
    const std::string folder = FolderOf(patient, card);
    if (access((folder + "/driver_override").c_str(), W_OK) == 0) return true;
    for (uint32_t bar = 0; bar < PciBarCount; ++bar) {
        if (WhyNotUsable(folder + Text("/resource%u", bar)).empty()) return true;
    }
    return false;
}

Finding CheckCardDriver(const Patient& patient)
{
    for (const PciAddress& card : patient.cards) {
        const std::string name = NameOf(card);
        if (IsPassedThrough(Sys(patient).c_str(), card)) continue;
        if (HasDriver(Sys(patient).c_str(), card)) {
            return {Serious(patient),
                    Text("%s is held by the driver %s", name.c_str(),
                         LinkName(FolderOf(patient, card) + "/driver").c_str()),
                    Text("take it away: echo %s > /sys/bus/pci/devices/%s/driver/unbind; then %s",
                         name.c_str(), name.c_str(), Setup)};
        }
        if (CanBeTaken(patient, card)) continue;
        return {
            Serious(patient),
            Text("%s has no driver, and this user may neither bind it nor map it", name.c_str()),
            Text("let root bind it to vfio-pci once: %s", Setup)};
    }
    if (patient.cards.empty()) return {Verdict::Ok, "no card", ""};
    return {Verdict::Ok, "vfio-pci or none", ""};
}

// Without a translation the card writes to one huge page.
Finding CheckHugePages(const Patient& patient, const PciAddress& card)
{
    const std::string pages = FirstLine(patient.root + "/proc/sys/vm/nr_hugepages");
    const std::string text =
        Text("the bus addresses of %s are not translated (no IOMMU)", NameOf(card).c_str());
    if (std::strtoul(pages.c_str(), nullptr, 10) == 0) {
        return {Serious(patient), text + ", and there are no huge pages",
                "IOMMU on, in the firmware and by intel_iommu=on; or, as root, echo 8 > "
                "/proc/sys/vm/nr_hugepages"};
    }
    return {Verdict::Warning, text + Text(": %s huge pages, a line at a time", pages.c_str()),
            "nothing as root; for whole frames and other users the IOMMU on, and VFIO"};
}

// The first device beside the card that a driver of the kernel has; empty: none.
std::string InTheWay(const Patient& patient, const PciAddress& card)
{
    const std::string group = FolderOf(patient, card) + "/iommu_group/devices";
    for (const std::string& name : NamesIn(group)) {
        const std::string driver = LinkName(Sys(patient) + "/bus/pci/devices/" + name + "/driver");
        const bool harmless = driver.empty() || driver == "vfio-pci" || driver == Bridge;
        if (!harmless && name != NameOf(card)) return name + " (" + driver + ")";
    }
    return "";
}

Finding CheckIommu(const Patient& patient)
{
    std::string groups;
    for (const PciAddress& card : patient.cards) {
        uint32_t group = 0;
        ReadPciGroup(Sys(patient).c_str(), card, &group);
        if (!IsTranslated(patient, card)) return CheckHugePages(patient, card);
        const std::string other = InTheWay(patient, card);
        if (!other.empty()) {
            return {Serious(patient),
                    Text("group %u of %s has another device with a driver: %s", group,
                         NameOf(card).c_str(), other.c_str()),
                    "unbind that device too, or put the card into another slot"};
        }
        groups += Text("%s%u", groups.empty() ? "group " : ", ", group);
    }
    return {Verdict::Ok, groups.empty() ? "no card" : groups, ""};
}

// As the library opens it: somebody else who has a group makes that fail.
std::string WhyNotOpened(const std::string& path)
{
    const int file = open(path.c_str(), O_RDWR | O_CLOEXEC);
    if (file < 0) return std::strerror(errno);
    close(file);
    return "";
}

Finding CheckVfio(const Patient& patient)
{
    for (const PciAddress& card : patient.cards) {
        uint32_t group = 0;
        const std::string container = "/dev/vfio/vfio";
        if (!ReadPciGroup(Sys(patient).c_str(), card, &group) || !IsTranslated(patient, card)) {
            continue;
        }
        std::string why = WhyNotOpened(patient.root + container);
        if (!why.empty()) {
            return {Serious(patient), Text("%s: %s", container.c_str(), why.c_str()),
                    Text("sudo modprobe vfio-pci; %s", Setup)};
        }
        // The group's file comes into being with the binding.
        if (!IsPassedThrough(Sys(patient).c_str(), card)) continue;
        const std::string node = Text("/dev/vfio/%u", group);
        why = WhyNotOpened(patient.root + node);
        if (why.empty()) continue;
        return {Serious(patient), Text("%s: %s", node.c_str(), why.c_str()),
                Text("sudo chown USER %s; a group that is busy belongs to another program",
                     node.c_str())};
    }
    return {Verdict::Ok, patient.cards.empty() ? "no card" : "this user may open the card", ""};
}

} // namespace

void FindCards(Patient* patient)
{
    PciAddress found[CardRoom];
    const uint32_t count =
        FindPciDevices(Sys(*patient).c_str(), LinuxCardHost.cards, found, CardRoom);
    patient->cards.assign(found, found + count);
}

const DoctorCheck CardChecks[] = {
    {"interface card", CheckCards},
    {"card driver", CheckCardDriver},
    {"IOMMU", CheckIommu},
    {"VFIO", CheckVfio},
    {},
};
