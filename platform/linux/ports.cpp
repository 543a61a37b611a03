#include "platform/linux/ports.h"

#if defined(__x86_64__) || defined(__i386__)

#include <atomic>

#include <pthread.h>
#include <sys/io.h>

namespace {

// The kernel keeps the rights of each thread apart, and an access without them
// ends the process. So a granted range goes into a list, and each thread asks
// for what was added to the list since it last looked.
struct PortRange {
    uint32_t first, end;
};

constexpr uint32_t RangeRoom = 32;
PortRange Ranges[RangeRoom]; // written under `RangesLock`, below `RangeCount` for good
std::atomic<uint32_t> RangeCount = 0;
pthread_mutex_t RangesLock = PTHREAD_MUTEX_INITIALIZER;

thread_local uint32_t GrantedCount = 0; // ranges that this thread has the right to

bool AskKernel(const PortRange& range)
{
    return ioperm(range.first, range.end - range.first, 1) == 0;
}

bool IsListed(const PortRange& wanted)
{
    const uint32_t count = RangeCount.load(std::memory_order_acquire);
    for (uint32_t i = 0; i < count; ++i) {
        if (wanted.first >= Ranges[i].first && wanted.end <= Ranges[i].end) return true;
    }
    return false;
}

bool AddRange(const PortRange& range)
{
    pthread_mutex_lock(&RangesLock);
    const uint32_t count = RangeCount.load(std::memory_order_relaxed);
    const bool room = count < RangeRoom;
    if (room) {
        Ranges[count] = range;
        RangeCount.store(count + 1, std::memory_order_release);
    }
    pthread_mutex_unlock(&RangesLock);
    return room;
}

bool Acquire(uint16_t port, uint16_t count)
{
    const PortRange range = {port, uint32_t{port} + count};
    if (count == 0 || range.end > 0x10000 || !AskKernel(range)) return false;
    return IsListed(range) || AddRange(range);
}

// True if this thread may touch `width` ports from `port` on.
bool MayTouch(uint32_t port, uint32_t width)
{
    if (!IsListed({port, port + width})) return false;
    const uint32_t count = RangeCount.load(std::memory_order_acquire);
    while (GrantedCount < count && AskKernel(Ranges[GrantedCount])) ++GrantedCount;
    return GrantedCount == count;
}

void Out8(uint16_t port, uint8_t value)
{
    if (MayTouch(port, 1)) outb(value, port);
}

void Out16(uint16_t port, uint16_t value)
{
    if (MayTouch(port, 2)) outw(value, port);
}

uint8_t In8(uint16_t port)
{
    return MayTouch(port, 1) ? inb(port) : 0xFF;
}

uint16_t In16(uint16_t port)
{
    return MayTouch(port, 2) ? inw(port) : 0xFFFF;
}

} // namespace

PortApi LinuxPorts()
{
    return {Acquire, Out8, Out16, In8, In16};
}

#else

#include "platform/absent.h"

PortApi LinuxPorts()
{
    return AbsentPorts();
}

#endif
