#include "platform/linux/pci.h"

#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include <dirent.h>
#include <fcntl.h>
#include <unistd.h>

namespace {

constexpr uint64_t MemoryFlag = 0x200; // of a line of the file `resource`
constexpr char UserDriver[] = "vfio-pci";
constexpr size_t ShortText = 64;

// False if the path does not fit.
bool DevicePath(SystemFolder sys, const PciAddress& address, const char* name, char path[PATH_MAX])
{
    char device[PciNameRoom];
    PrintPciName(address, device);
    const int length = snprintf(path, PATH_MAX, "%s/bus/pci/devices/%s/%s", sys, device, name);
    return length > 0 && length < PATH_MAX;
}

// The beginning of a file as text; empty if it cannot be read.
void ReadText(SystemFolder sys, const PciAddress& address, const char* name, char* text,
              size_t room)
{
    text[0] = '\0';
    const int file = OpenPciFile(sys, address, name, O_RDONLY);
    if (file < 0) return;
    const ssize_t length = read(file, text, room - 1);
    text[length < 0 ? 0 : length] = '\0';
    close(file);
}

// The last part of what a link of the device points to; empty if there is none.
void ReadLinkName(SystemFolder sys, const PciAddress& address, const char* name,
                  char text[PATH_MAX])
{
    char path[PATH_MAX];
    text[0] = '\0';
    if (!DevicePath(sys, address, name, path)) return;
    const ssize_t length = readlink(path, text, PATH_MAX - 1);
    text[length < 0 ? 0 : length] = '\0';
    const char* slash = strrchr(text, '/');
    if (slash != nullptr) memmove(text, slash + 1, strlen(slash));
}

bool ReadNumber(SystemFolder sys, const PciAddress& address, const char* name, uint32_t* value)
{
    char text[ShortText];
    ReadText(sys, address, name, text, sizeof text);
    char* end = text;
    const unsigned long read = strtoul(text, &end, 0);
    *value = static_cast<uint32_t>(read);
    return end != text && read <= UINT32_MAX;
}

// Only a name that is written as the kernel writes it.
bool ParsePciName(const char* name, PciAddress* address)
{
    char printed[PciNameRoom];
    const int fields = sscanf(name, "%8x:%2x:%2x.%1x", &address->domain, &address->bus,
                              &address->device, &address->function);
    if (fields != 4) return false;
    PrintPciName(*address, printed);
    return strcmp(printed, name) == 0;
}

uint64_t OrderOf(const PciAddress& address)
{
    return uint64_t{address.domain} << 24 | address.bus << 16 | address.device << 8 |
           address.function;
}

// The first one behind `after`, or any if that is null; the folder lists them in
// no order.
bool NextPciAddress(DIR* folder, const PciAddress* after, PciAddress* next)
{
    bool found = false;
    rewinddir(folder);
    for (const dirent* entry = readdir(folder); entry != nullptr; entry = readdir(folder)) {
        PciAddress address;
        if (!ParsePciName(entry->d_name, &address)) continue;
        if (after != nullptr && OrderOf(address) <= OrderOf(*after)) continue;
        if (found && OrderOf(address) >= OrderOf(*next)) continue;
        *next = address;
        found = true;
    }
    return found;
}

bool Matches(SystemFolder sys, const PciAddress& address, const PciIds& ids)
{
    uint32_t vendor = 0, device = 0;
    return ReadNumber(sys, address, "vendor", &vendor) && vendor == ids.vendor &&
           ReadNumber(sys, address, "device", &device) && device >= ids.firstDevice &&
           device <= ids.lastDevice;
}

bool WriteText(const char* path, const char* text)
{
    const int file = open(path, O_WRONLY | O_CLOEXEC);
    if (file < 0) return false;
    const ssize_t length = static_cast<ssize_t>(strlen(text));
    const bool written = write(file, text, strlen(text)) == length;
    close(file);
    return written;
}

} // namespace

void PrintPciName(const PciAddress& address, char name[PciNameRoom])
{
    snprintf(name, PciNameRoom, "%04x:%02x:%02x.%x", address.domain, address.bus, address.device,
             address.function);
}

uint32_t FindPciDevices(SystemFolder sys, const PciIds& ids, PciAddress* found, uint32_t room)
{
    char path[PATH_MAX];
    const int length = snprintf(path, sizeof path, "%s/bus/pci/devices", sys);
    DIR* folder = length > 0 && length < PATH_MAX ? opendir(path) : nullptr;
    if (folder == nullptr) return 0;
    uint32_t count = 0;
    PciAddress address;
    bool more = NextPciAddress(folder, nullptr, &address);
    while (more && count < room) {
        if (Matches(sys, address, ids)) found[count++] = address;
        const PciAddress last = address;
        more = NextPciAddress(folder, &last, &address);
    }
    closedir(folder);
    return count;
}

void ReadPciBars(SystemFolder sys, const PciAddress& address, PciBar bars[PciBarCount])
{
    char text[1024];
    ReadText(sys, address, "resource", text, sizeof text);
    const char* line = text;
    for (uint32_t i = 0; i < PciBarCount; ++i) {
        bars[i] = {};
        unsigned long long first = 0, last = 0, flags = 0;
        if (sscanf(line, "%llx %llx %llx", &first, &last, &flags) == 3 && last > first) {
            bars[i] = {first, last - first + 1, (flags & MemoryFlag) != 0};
        }
        const char* end = strchr(line, '\n');
        line = end == nullptr ? "" : end + 1;
    }
}

int OpenPciFile(SystemFolder sys, const PciAddress& address, const char* name, int flags)
{
    char path[PATH_MAX];
    return DevicePath(sys, address, name, path) ? open(path, flags | O_CLOEXEC) : -1;
}

bool HasDriver(SystemFolder sys, const PciAddress& address)
{
    char driver[PATH_MAX];
    ReadLinkName(sys, address, "driver", driver);
    return driver[0] != '\0';
}

bool IsPassedThrough(SystemFolder sys, const PciAddress& address)
{
    char driver[PATH_MAX];
    ReadLinkName(sys, address, "driver", driver);
    return strcmp(driver, UserDriver) == 0;
}

bool PassThrough(SystemFolder sys, const PciAddress& address)
{
    char choice[PATH_MAX], probe[PATH_MAX], device[PciNameRoom];
    const int length = snprintf(probe, sizeof probe, "%s/bus/pci/drivers_probe", sys);
    if (HasDriver(sys, address) || length < 0 || length >= PATH_MAX ||
        !DevicePath(sys, address, "driver_override", choice) || !WriteText(choice, UserDriver)) {
        return false;
    }
    PrintPciName(address, device);
    WriteText(probe, device);
    if (IsPassedThrough(sys, address)) return true;
    WriteText(choice, "\n");
    return false;
}

bool ReadPciGroup(SystemFolder sys, const PciAddress& address, uint32_t* group)
{
    char name[PATH_MAX];
    ReadLinkName(sys, address, "iommu_group", name);
    char* end = name;
    const unsigned long number = strtoul(name, &end, 10);
    *group = static_cast<uint32_t>(number);
    return end != name && *end == '\0' && number <= UINT32_MAX;
}

bool UsesPhysicalAddresses(SystemFolder sys, const PciAddress& address)
{
    uint32_t group = 0;
    if (!ReadPciGroup(sys, address, &group)) return true;
    char type[ShortText];
    ReadText(sys, address, "iommu_group/type", type, sizeof type);
    return strcmp(type, "identity\n") == 0;
}
