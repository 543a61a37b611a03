#include "platform/linux/card_backend.h"

#include <algorithm>

#include <sys/mman.h>
#include <unistd.h>

uint32_t FirstMemoryBar(const PciBar bars[PciBarCount])
{
    const PciBar* first = std::find_if(
        bars, bars + PciBarCount, [](const PciBar& bar) { return bar.memory && bar.bytes != 0; });
    return static_cast<uint32_t>(first - bars);
}

bool MapWindow(int file, uint64_t offset, uint64_t bytes, CardWindow* window)
{
    const size_t mapped = std::min<uint64_t>(bytes, CardWindowRoom);
    const uint64_t page = static_cast<uint64_t>(sysconf(_SC_PAGESIZE));
    const uint64_t lead = offset % page;
    window->mappingBytes = mapped + lead;
    void* mapping = mmap(nullptr, window->mappingBytes, PROT_READ | PROT_WRITE, MAP_SHARED, file,
                         static_cast<off_t>(offset - lead));
    if (mapping == MAP_FAILED) return false;
    window->mapping = static_cast<uint8_t*>(mapping);
    window->base = window->mapping + lead;
    window->bytes = mapped;
    return true;
}

void UnmapWindow(CardWindow* window)
{
    if (window->mapping != nullptr) munmap(window->mapping, window->mappingBytes);
    *window = {};
}

bool SetPciCommand(const CardClaim& claim, uint16_t set, uint16_t cleared)
{
    constexpr uint64_t commandOffset = 4;
    const off_t at = static_cast<off_t>(claim.configOffset + commandOffset);
    uint16_t command = 0;
    if (claim.config < 0) return false;
    if (pread(claim.config, &command, sizeof command, at) != sizeof command) return false;
    command = static_cast<uint16_t>((command | set) & ~cleared);
    return pwrite(claim.config, &command, sizeof command, at) == sizeof command;
}
