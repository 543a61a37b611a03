// Allocation with a count of live blocks, so that a leak fails a test.
#include <atomic>
#include <cstdlib>

#include "emulator/world.h"

namespace {

std::atomic<size_t> LiveBlocks;

void* Allocate(size_t bytes)
{
    if (EmuFails(EmuAllocate)) return nullptr;
    void* memory = malloc(bytes);
    if (memory != nullptr) ++LiveBlocks;
    return memory;
}

void Release(void* memory)
{
    if (memory == nullptr) return;
    --LiveBlocks;
    free(memory);
}

} // namespace

MemoryApi EmuMemory()
{
    return {Allocate, Release};
}

void EmuResetMemory()
{
    LiveBlocks = 0;
}

size_t EmuLiveBlocks()
{
    return LiveBlocks;
}
