// The seam's filling with threads of the system.
#include <chrono>
#include <condition_variable>
#include <cstdlib>
#include <mutex>
#include <system_error>
#include <thread>

#include "supervisor/seam.h"

namespace {

using std::chrono::microseconds;
using std::chrono::steady_clock;

// A host's own clock may run at another rate.
constexpr uint64_t LongestWaitUs = 50 * UsPerMs;

// Workers may still wait when the process ends, so these are never destroyed.
union Forever {
    struct {
        std::mutex lock;
        std::condition_variable_any wake;
    } shared;
    Forever() : shared() {}
    ~Forever() {}
};

Forever Kept;
double (*HostSeconds)();

uint64_t NowUs()
{
    if (HostSeconds != nullptr) return ToUs(HostSeconds());
    const auto now = steady_clock::now().time_since_epoch();
    return static_cast<uint64_t>(std::chrono::duration_cast<microseconds>(now).count());
}

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

void Wait(uint64_t untilUs)
{
    const uint64_t now = NowUs();
    if (untilUs <= now) return;
    const uint64_t left = untilUs - now;
    const uint64_t longest = HostSeconds == nullptr ? 60 * UsPerSecond : LongestWaitUs;
    Kept.shared.wake.wait_for(Kept.shared.lock, microseconds(left < longest ? left : longest));
}

void Signal()
{
    Kept.shared.wake.notify_all();
}

} // namespace

void UseThreads(double (*seconds)())
{
    HostSeconds = seconds;
    Seam = {NowUs, UnixSeconds, StartThread, Lock, Unlock, Wait, Signal, malloc, free, true};
}
