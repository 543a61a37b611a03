// Cards by VFIO. The kernel hands out groups of devices that it can keep apart
// from the rest of the machine; cards behind one bridge are one group, so the
// cards of this process may have to share it.
#include "platform/linux/card_backend.h"

#include <algorithm>
#include <cstdio>

#include <fcntl.h>
#include <linux/vfio.h>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <unistd.h>

namespace {

struct Group {
    uint32_t users; // cards; 0: free
    uint32_t number;
    int file;
    int container;
};

constexpr uint32_t GroupRoom = 16;
Group Groups[GroupRoom];

// Bus addresses are given out by us. Low ones, since the card has 32 bits for
// them and some devices fewer; the interrupt controller's are left out.
constexpr uint64_t FirstBusAddress = 0x01000000;
constexpr uint64_t EndBusAddress = 0xFEE00000;

struct BusRange {
    uint64_t first, end; // both 0: free
};

constexpr uint32_t RangeRoom = 32;
BusRange Ranges[RangeRoom];

void CloseFile(int* file)
{
    if (*file >= 0) close(*file);
    *file = -1;
}

int OpenContainer(const CardHost& host)
{
    char path[256];
    const int length = snprintf(path, sizeof path, "%s/vfio/vfio", host.dev);
    if (length < 0 || static_cast<size_t>(length) >= sizeof path) return -1;
    return open(path, O_RDWR | O_CLOEXEC);
}

// Somebody else who has the group makes this fail.
int OpenGroup(const CardHost& host, uint32_t number)
{
    char path[256];
    const int length = snprintf(path, sizeof path, "%s/vfio/%u", host.dev, number);
    if (length < 0 || static_cast<size_t>(length) >= sizeof path) return -1;
    return open(path, O_RDWR | O_CLOEXEC);
}

bool JoinContainer(Group* group)
{
    vfio_group_status status = {sizeof status, 0};
    return ioctl(group->container, VFIO_GET_API_VERSION) == VFIO_API_VERSION &&
           ioctl(group->file, VFIO_GROUP_GET_STATUS, &status) == 0 &&
           (status.flags & VFIO_GROUP_FLAGS_VIABLE) != 0 &&
           ioctl(group->file, VFIO_GROUP_SET_CONTAINER, &group->container) == 0 &&
           ioctl(group->container, VFIO_SET_IOMMU, VFIO_TYPE1v2_IOMMU) == 0;
}

Group* FindGroup(uint32_t number)
{
    Group* end = Groups + GroupRoom;
    Group* found = std::find_if(Groups, end, [number](const Group& group) {
        return group.users != 0 && group.number == number;
    });
    return found == end ? nullptr : found;
}

void LeaveGroup(Group* group)
{
    if (--group->users != 0) return;
    CloseFile(&group->file);
    CloseFile(&group->container);
}

Group* EnterGroup(const CardHost& host, uint32_t number)
{
    Group* group = FindGroup(number);
    if (group != nullptr) {
        ++group->users;
        return group;
    }
    Group* end = Groups + GroupRoom;
    group = std::find_if(Groups, end, [](const Group& candidate) { return candidate.users == 0; });
    if (group == end) return nullptr;
    *group = {1, number, OpenGroup(host, number), OpenContainer(host)};
    if (group->file >= 0 && group->container >= 0 && JoinContainer(group)) return group;
    LeaveGroup(group);
    return nullptr;
}

bool FindRegion(int device, uint32_t index, vfio_region_info* region)
{
    *region = {};
    region->argsz = sizeof *region;
    region->index = index;
    return ioctl(device, VFIO_DEVICE_GET_REGION_INFO, region) == 0 && region->size != 0;
}

// A window that cannot be mapped is reached through the device's file.
void OpenWindow(const CardHost& host, CardClaim* claim)
{
    PciBar bars[PciBarCount];
    vfio_region_info region;
    ReadPciBars(host.sys, claim->address, bars);
    const uint32_t bar = FirstMemoryBar(bars);
    if (bar == PciBarCount || !FindRegion(claim->device, bar, &region)) return;
    const bool mappable = (region.flags & VFIO_REGION_INFO_FLAG_MMAP) != 0 && host.mapsWindows;
    if (mappable && MapWindow(claim->device, region.offset, region.size, &claim->window)) return;
    claim->window = {};
    claim->window.bytes = std::min<uint64_t>(region.size, CardWindowRoom);
    claim->window.file = claim->device;
    claim->window.offset = region.offset;
}

bool OpenCard(const CardHost& host, Group* group, CardClaim* claim)
{
    char name[PciNameRoom];
    vfio_region_info config;
    PrintPciName(claim->address, name);
    claim->device = ioctl(group->file, VFIO_GROUP_GET_DEVICE_FD, name);
    if (claim->device < 0) return false;
    if (!FindRegion(claim->device, VFIO_PCI_CONFIG_REGION_INDEX, &config)) return false;
    claim->config = claim->device;
    claim->configOffset = config.offset;
    if (!SetPciCommand(*claim, PciMemorySpace, PciBusMaster)) return false;
    OpenWindow(host, claim);
    return true;
}

void Release(const CardHost&, CardClaim* claim)
{
    UnmapWindow(&claim->window);
    CloseFile(&claim->device);
    LeaveGroup(FindGroup(claim->group));
}

bool Claim(const CardHost& host, const PciAddress& address, CardClaim* claim)
{
    if (!ReadPciGroup(host.sys, address, &claim->group)) return false;
    Group* group = EnterGroup(host, claim->group);
    if (group == nullptr) return false;
    if (OpenCard(host, group, claim)) return true;
    Release(host, claim);
    return false;
}

// The lowest free place among the bus addresses; null: none.
BusRange* TakeRange(uint64_t bytes)
{
    const auto isFree = [](const BusRange& range) { return range.end == 0; };
    BusRange* end = Ranges + RangeRoom;
    BusRange* taken = std::find_if(Ranges, end, isFree);
    BusRange wanted = {FirstBusAddress, FirstBusAddress + bytes};
    const BusRange* inTheWay = Ranges;
    while (inTheWay != end) {
        inTheWay = std::find_if(Ranges, end, [&wanted](const BusRange& range) {
            return range.first < wanted.end && wanted.first < range.end;
        });
        if (inTheWay != end) wanted = {inTheWay->end, inTheWay->end + bytes};
    }
    if (taken == end || wanted.end > EndBusAddress) return nullptr;
    *taken = wanted;
    return taken;
}

// Whole pages: of our own, or those in which the caller's block lies.
bool FindPages(DmaBlock* block)
{
    const uintptr_t page = static_cast<uintptr_t>(sysconf(_SC_PAGESIZE));
    const uintptr_t lead = reinterpret_cast<uintptr_t>(block->memory) % page;
    block->mappingBytes = (lead + block->bytes + page - 1) / page * page;
    block->mapping = static_cast<uint8_t*>(block->memory) - lead;
    if (!block->own) return true;
    void* memory = mmap(nullptr, block->mappingBytes, PROT_READ | PROT_WRITE,
                        MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (memory == MAP_FAILED) return false;
    // The card keeps to these very pages; a child must not make copies of them.
    madvise(memory, block->mappingBytes, MADV_DONTFORK);
    block->mapping = static_cast<uint8_t*>(memory);
    block->memory = memory;
    return true;
}

void ReleasePages(DmaBlock* block)
{
    if (block->own) munmap(block->mapping, block->mappingBytes);
}

bool Lock(const CardHost&, const CardClaim& claim, DmaBlock* block)
{
    if (!FindPages(block)) return false;
    BusRange* range = TakeRange(block->mappingBytes);
    const Group* group = FindGroup(claim.group);
    vfio_iommu_type1_dma_map map = {};
    map.argsz = sizeof map;
    map.flags = VFIO_DMA_MAP_FLAG_READ | VFIO_DMA_MAP_FLAG_WRITE;
    map.vaddr = reinterpret_cast<uintptr_t>(block->mapping);
    map.iova = range == nullptr ? 0 : range->first;
    map.size = block->mappingBytes;
    if (range == nullptr || ioctl(group->container, VFIO_IOMMU_MAP_DMA, &map) != 0) {
        if (range != nullptr) *range = {};
        ReleasePages(block);
        return false;
    }
    const uint8_t* memory = static_cast<uint8_t*>(block->memory);
    block->busAddress =
        static_cast<uint32_t>(map.iova + static_cast<size_t>(memory - block->mapping));
    return true;
}

void Unlock(const CardClaim& claim, DmaBlock* block)
{
    const Group* group = FindGroup(claim.group);
    BusRange* range = std::find_if(Ranges, Ranges + RangeRoom, [block](const BusRange& taken) {
        return taken.first <= block->busAddress && block->busAddress < taken.end;
    });
    vfio_iommu_type1_dma_unmap unmap = {};
    unmap.argsz = sizeof unmap;
    unmap.iova = range->first;
    unmap.size = block->mappingBytes;
    ioctl(group->container, VFIO_IOMMU_UNMAP_DMA, &unmap);
    *range = {};
    ReleasePages(block);
}

} // namespace

const CardBackend VfioCards = {Claim, Lock, Unlock, Release};

bool IsVfioThere(const CardHost& host)
{
    int container = OpenContainer(host);
    const bool there = container >= 0;
    CloseFile(&container);
    return there;
}
