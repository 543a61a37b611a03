// qvn doctor: USB cameras, and who may open them.
#include <cstdlib>
#include <fstream>

#include "tools/doctor.h"
#include "tools/embedded.h"
#include "tools/text.h"

namespace {

constexpr char RuleName[] = "70-qvn.rules";
constexpr char SerialDriver[] = "ftdi_sio";

// Ahead of one another: the first that has a file of a name hides the others.
constexpr const char* RuleFolders[] = {"/etc/udev/rules.d", "/run/udev/rules.d",
                                       "/usr/local/lib/udev/rules.d", "/usr/lib/udev/rules.d",
                                       "/lib/udev/rules.d"};

// ATTR{name}=="value" of the rule that comes with the program.
std::string RuleValue(const std::string& name)
{
    const std::string rule(reinterpret_cast<const char*>(UdevRuleFile.bytes), UdevRuleFile.size);
    const std::string key = "ATTR{" + name + "}==\"";
    const size_t at = rule.find(key);
    if (at == std::string::npos) return "";
    const size_t begin = at + key.size();
    return rule.substr(begin, rule.find('"', begin) - begin);
}

bool IsListed(const std::string& word, const std::string& list)
{
    return !word.empty() && ("|" + list + "|").find("|" + word + "|") != std::string::npos;
}

std::string NodeOf(const std::string& device)
{
    const auto number = [](const std::string& path) {
        return static_cast<int>(std::strtol(FirstLine(path).c_str(), nullptr, 10));
    };
    return Text("/dev/bus/usb/%03d/%03d", number(device + "/busnum"), number(device + "/devnum"));
}

// "1-2:1.0" is an interface of "1-2".
std::string DriverOf(const std::string& devices, const std::string& port)
{
    for (const std::string& name : NamesIn(devices)) {
        if (name.rfind(port + ":", 0) != 0) continue;
        const std::string driver = LinkName(devices + "/" + name + "/driver");
        if (driver == SerialDriver) return driver;
    }
    return "";
}

std::string ListOf(const std::vector<std::string>& words)
{
    std::string text;
    for (const std::string& word : words) text += (text.empty() ? "" : ", ") + word;
    return text;
}

Finding CheckChips(const Patient& patient)
{
    const std::string ids = UsbChipIds();
    std::vector<std::string> ports;
    for (const UsbChip& chip : patient.chips) ports.push_back(chip.port);
    if (!ports.empty()) return {Verdict::Ok, "at " + ListOf(ports), ""};
    if (!IsOnUsb(patient)) return {Verdict::Ok, "none, and none is needed", ""};
    return {Verdict::Fault, Text("no device %s is plugged in", ids.c_str()),
            "plug the camera in and switch it on; `lsusb -d 0403:`; a container needs /dev/bus/usb "
            "and /sys handed to it"};
}

Finding CheckChipRights(const Patient& patient)
{
    for (const UsbChip& chip : patient.chips) {
        const std::string why = WhyNotUsable(patient.root + chip.node);
        if (why.empty()) continue;
        return {IsOnUsb(patient) ? Verdict::Fault : Verdict::Warning,
                Text("%s at %s: %s", chip.node.c_str(), chip.port.c_str(), why.c_str()),
                Text("install %s and plug the camera in again; a service needs a rule with GROUP "
                     "(docs/usb.md)",
                     RuleName)};
    }
    const bool any = !patient.chips.empty();
    return {Verdict::Ok, any ? "this user may open them" : "no device", ""};
}

Finding CheckSerialDriver(const Patient& patient)
{
    for (const UsbChip& chip : patient.chips) {
        if (chip.driver.empty()) continue;
        return {Verdict::Warning, Text("%s has %s", SerialDriver, chip.port.c_str()),
                Text("nothing with libftdi1, which puts the driver aside; with the vendor's "
                     "library: sudo rmmod %s",
                     SerialDriver)};
    }
    return {Verdict::Ok, Text("%s has none of them", SerialDriver), ""};
}

// A rule of the user's own counts as well, if it gives the chips to somebody.
bool GivesTheChips(const std::string& path)
{
    std::ifstream file(path);
    std::string line;
    while (std::getline(file, line)) {
        if (line[0] == '#' || line.find('"' + RuleValue("idVendor") + '"') == std::string::npos) {
            continue;
        }
        for (const char* grant : {"uaccess", "MODE=", "GROUP="}) {
            if (line.find(grant) != std::string::npos) return true;
        }
    }
    return false;
}

Finding CheckRule(const Patient& patient)
{
    for (const char* folder : RuleFolders) {
        for (const std::string& name : NamesIn(patient.root + folder)) {
            const bool rule = name.size() > 6 && name.rfind(".rules") == name.size() - 6;
            if (!rule || !GivesTheChips(patient.root + folder + "/" + name)) continue;
            return {Verdict::Ok, Text("%s/%s", folder, name.c_str()), ""};
        }
    }
    if (!IsOnUsb(patient) && patient.chips.empty()) {
        return {Verdict::Ok, "none, and none is needed", ""};
    }
    return {Verdict::Warning, "no udev rule gives the chips to a user",
            Text("sudo cp share/udev/%s /etc/udev/rules.d/ && sudo udevadm control --reload, and "
                 "plug the camera in again",
                 RuleName)};
}

} // namespace

std::string UsbChipIds()
{
    return RuleValue("idVendor") + ":" + RuleValue("idProduct");
}

void FindUsbChips(Patient* patient)
{
    const std::string devices = patient->root + "/sys/bus/usb/devices";
    for (const std::string& port : NamesIn(devices)) {
        const std::string device = devices + "/" + port;
        const bool chip = FirstLine(device + "/idVendor") == RuleValue("idVendor") &&
                          IsListed(FirstLine(device + "/idProduct"), RuleValue("idProduct"));
        if (chip) patient->chips.push_back({port, NodeOf(device), DriverOf(devices, port)});
    }
}

const DoctorCheck UsbChecks[] = {
    {"USB cameras", CheckChips},
    {"USB rights", CheckChipRights},
    {"serial driver", CheckSerialDriver},
    {"udev rule", CheckRule},
    {},
};
