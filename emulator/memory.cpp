// Allocation with a count of live blocks, so that a leak fails a test. A block
// that the world did not hand out since its reset is released but not counted.
#include <cstdlib>
#include <mutex>
#include <set>

#include "emulator/world.h"

namespace {

std::mutex Lock;
std::set<void*> LiveBlocks;

void* Allocate(size_t bytes)
{
    if (EmuFails(EmuAllocate)) return nullptr;
    void* memory = malloc(bytes);
    if (memory == nullptr) return nullptr;
    const std::lock_guard<std::mutex> guard(Lock);
    LiveBlocks.insert(memory);
    return memory;
}

void Release(void* memory)
{
    if (memory == nullptr) return;
    {
        const std::lock_guard<std::mutex> guard(Lock);
        LiveBlocks.erase(memory);
    }
    free(memory);
}

} // namespace

MemoryApi EmuMemory()
{
    return {Allocate, Release};
}

void EmuResetMemory()
{
    const std::lock_guard<std::mutex> guard(Lock);
    LiveBlocks.clear();
}

size_t EmuLiveBlocks()
{
    const std::lock_guard<std::mutex> guard(Lock);
    return LiveBlocks.size();
}
