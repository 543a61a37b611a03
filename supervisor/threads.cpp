// The seam's filling with threads of the system.
#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <cstdlib>
#include <mutex>
#include <system_error>
#include <thread>

#include "supervisor/seam.h"

namespace {

using std::chrono::microseconds;

// A host's own clock may run at another rate.
constexpr uint64_t HostWaitUs = 50 * UsPerMs;

// Workers may still wait when the process ends, so these are never destroyed.
union Forever {
    struct {
        std::mutex lock;
        std::condition_variable wake;
        std::condition_variable rouse;
    } shared;
    Forever() : shared() {}
    ~Forever() {}
};

Forever Kept;
uint64_t LongestUs; // of a wait without a look at the clock

double UnixSeconds()
{
    const auto now = std::chrono::system_clock::now().time_since_epoch();
    return std::chrono::duration<double>(now).count();
}

bool StartThread(void (*body)(int32_t argument), int32_t argument)
{
    try {
        std::thread(body, argument).detach();
    } catch (const std::system_error&) {
        return false;
    }
    return true;
}

void Lock()
{
    Kept.shared.lock.lock();
}

void Unlock()
{
    Kept.shared.lock.unlock();
}

void WaitFor(std::condition_variable* condition, uint64_t untilUs)
{
    const uint64_t now = ClockUs();
    if (untilUs <= now) return;
    const uint64_t left = std::min(untilUs - now, LongestUs);
    std::unique_lock<std::mutex> held(Kept.shared.lock, std::adopt_lock);
    condition->wait_for(held, microseconds(left));
    held.release();
}

void Wait(uint64_t untilUs)
{
    WaitFor(&Kept.shared.wake, untilUs);
}

void Signal()
{
    Kept.shared.wake.notify_all();
}

void Rest(uint64_t untilUs)
{
    WaitFor(&Kept.shared.rouse, untilUs);
}

void Rouse()
{
    Kept.shared.rouse.notify_all();
}

} // namespace

void UseThreads(double (*seconds)())
{
    SetClock(seconds);
    LongestUs = seconds == nullptr ? 60 * UsPerSecond : HostWaitUs;
    Seam = {ClockUs, UnixSeconds, StartThread, Lock,   Unlock, Wait,
            Signal,  Rest,        Rouse,       malloc, free,   true};
}
