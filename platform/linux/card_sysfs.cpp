// Cards by the files that the kernel has for each device. The card's bus
// addresses are the machine's own, so a block that it reaches as one piece is one
// huge page at most.
#include "platform/linux/card_backend.h"

#include <cstdio>
#include <cstring>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/mman.h>
#include <unistd.h>

namespace {

constexpr size_t HugePage = 2 << 20;
constexpr int HugePageFlags =
    MAP_PRIVATE | MAP_ANONYMOUS | MAP_HUGETLB | MAP_POPULATE | (21 << MAP_HUGE_SHIFT); // 2^21 bytes
// Most huge pages of a large machine lie too high for the card.
constexpr uint32_t HugePageTries = 16;

int OpenResource(const CardHost& host, const PciAddress& address, const PciBar bars[PciBarCount])
{
    char name[32];
    const uint32_t bar = FirstMemoryBar(bars);
    if (bar == PciBarCount) return -1;
    snprintf(name, sizeof name, "resource%u", bar);
    return OpenPciFile(host.sys, address, name, O_RDWR);
}

// Without rights to the file the device has to be enabled already.
void Enable(const CardHost& host, const PciAddress& address, const char* text)
{
    const int file = OpenPciFile(host.sys, address, "enable", O_WRONLY);
    if (file < 0) return;
    [[maybe_unused]] const ssize_t written = write(file, text, strlen(text));
    close(file);
}

// A window that is smaller than a page stands somewhere in the page that is
// mapped.
bool OpenWindow(const PciBar& bar, CardClaim* claim)
{
    const uint64_t page = static_cast<uint64_t>(sysconf(_SC_PAGESIZE));
    return MapWindow(claim->device, bar.address % page, bar.bytes, &claim->window);
}

void Release(const CardHost& host, CardClaim* claim)
{
    UnmapWindow(&claim->window);
    if (claim->config >= 0) close(claim->config);
    close(claim->device);
    Enable(host, claim->address, "0");
}

// A driver of the kernel's would not know of us. The lock on the window's file
// keeps other programs of this library off.
bool Claim(const CardHost& host, const PciAddress& address, CardClaim* claim)
{
    PciBar bars[PciBarCount];
    if (HasDriver(host.sys, address)) return false;
    ReadPciBars(host.sys, address, bars);
    claim->device = OpenResource(host, address, bars);
    if (claim->device < 0) return false;
    if (flock(claim->device, LOCK_EX | LOCK_NB) != 0) {
        close(claim->device);
        return false;
    }
    claim->config = OpenPciFile(host.sys, address, "config", O_RDWR);
    Enable(host, address, "1");
    SetPciCommand(*claim, PciMemorySpace, PciBusMaster);
    if (OpenWindow(bars[FirstMemoryBar(bars)], claim)) return true;
    Release(host, claim);
    return false;
}

// Where a page lies in the machine; 0: it cannot be told.
uint64_t PhysicalAddress(const void* memory)
{
    constexpr uint64_t present = uint64_t{1} << 63;
    constexpr uint64_t frameMask = (uint64_t{1} << 55) - 1;
    const uintptr_t page = static_cast<uintptr_t>(sysconf(_SC_PAGESIZE));
    const uintptr_t index = reinterpret_cast<uintptr_t>(memory) / page;
    const int file = open("/proc/self/pagemap", O_RDONLY | O_CLOEXEC);
    if (file < 0) return 0;
    uint64_t entry = 0;
    const ssize_t length =
        pread(file, &entry, sizeof entry, static_cast<off_t>(index * sizeof entry));
    close(file);
    const bool known = length == sizeof entry && (entry & present) != 0;
    return known ? (entry & frameMask) * page : 0;
}

bool IsReachable(uint64_t physical)
{
    return physical != 0 && physical + HugePage <= uint64_t{1} << 32;
}

// A huge page below 4 GiB; those above are held until one is found, or the
// kernel would hand them out again.
void* FindHugePage(uint32_t* busAddress)
{
    void* pages[HugePageTries];
    void* found = nullptr;
    uint32_t count = 0;
    while (count < HugePageTries && found == nullptr) {
        void* page = mmap(nullptr, HugePage, PROT_READ | PROT_WRITE, HugePageFlags, -1, 0);
        if (page == MAP_FAILED) break;
        const uint64_t physical = PhysicalAddress(page);
        if (IsReachable(physical)) {
            *busAddress = static_cast<uint32_t>(physical);
            found = page;
        } else {
            pages[count++] = page;
        }
    }
    for (uint32_t i = 0; i < count; ++i) munmap(pages[i], HugePage);
    return found;
}

bool Lock(const CardHost& host, const CardClaim& claim, DmaBlock* block)
{
    if (!block->own || block->bytes > HugePage) return false;
    if (!UsesPhysicalAddresses(host.sys, claim.address)) return false;
    block->memory = FindHugePage(&block->busAddress);
    // The card keeps to this very page; a child must not make a copy of it.
    if (block->memory != nullptr) madvise(block->memory, HugePage, MADV_DONTFORK);
    return block->memory != nullptr;
}

void Unlock(const CardClaim&, DmaBlock* block)
{
    munmap(block->memory, HugePage);
}

} // namespace

const CardBackend SysfsCards = {Claim, Lock, Unlock, Release};

bool MayMapCard(const CardHost& host, const PciAddress& address)
{
    PciBar bars[PciBarCount];
    ReadPciBars(host.sys, address, bars);
    const int file = OpenResource(host, address, bars);
    if (file < 0) return false;
    close(file);
    return true;
}
