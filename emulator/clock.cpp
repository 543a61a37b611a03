// Virtual time. It moves in EmuSpend and nowhere else; timers and scheduled
// actions that fall due on the way run there, in order of their times. In real time
// an action that has fallen due runs with the next call that a device gets.
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <mutex>

#include "emulator/traffic.h"
#include "emulator/world.h"

namespace {

constexpr uint64_t UsPerMs = 1000;
constexpr uint64_t UsPerSecond = 1'000'000;
constexpr uint64_t Never = UINT64_MAX;
constexpr uint64_t DefaultLimit = 30ull * 24 * 3600 * UsPerSecond;
constexpr uint32_t DefaultTickCost = 10;
constexpr int32_t DeepestEntry = 2; // a callback may be entered from itself once

struct VirtualTimer {
    bool running;
    uint64_t period, next; // microseconds
    PeriodicCallback callback;
    uint32_t userValue;
    int32_t entered;
};

struct Action {
    bool waiting;
    uint64_t at;
    void (*run)(int32_t argument);
    int32_t argument;
};

constexpr uint32_t TimerCount = 8;
constexpr uint32_t ActionCount = 64;

struct Clock {
    uint64_t now; // also read by other threads
    uint64_t limit;
    uint32_t tickCost;
    uint32_t timerPhase;
    uint32_t firstTickCount;
    int64_t wallSeconds;
    uint64_t sleeps, lastSleep;
    VirtualTimer timers[TimerCount];
    Action actions[ActionCount];
    uint32_t waiting;    // of the actions
    uint64_t quietUntil; // nothing falls due before
};
Clock Now;
bool RealTime;         // the operating system's clock runs; this one stands still
std::mutex ActionLock; // of the actions, in real time

struct NextEvent {
    uint64_t at;
    VirtualTimer* timer;
    Action* action;
};

NextEvent FindNext()
{
    NextEvent next = {Never, nullptr, nullptr};
    for (VirtualTimer& timer : Now.timers) {
        if (timer.running && timer.next < next.at) next = {timer.next, &timer, nullptr};
    }
    if (Now.waiting == 0) return next;
    for (Action& action : Now.actions) {
        if (action.waiting && action.at < next.at) next = {action.at, nullptr, &action};
    }
    return next;
}

Action Take(Action* action)
{
    const Action taken = *action;
    action->waiting = false;
    std::atomic_ref<uint32_t>(Now.waiting).fetch_sub(1, std::memory_order_relaxed);
    return taken;
}

bool TakeDueAction(Action* taken)
{
    const uint64_t now = EmuNow();
    const std::lock_guard<std::mutex> guard(ActionLock);
    Action* const next = FindNext().action;
    if (next == nullptr || next->at > now) return false;
    *taken = Take(next);
    return true;
}

// Every device call comes by here, and mostly nothing waits.
void RunDueActions()
{
    if (std::atomic_ref<uint32_t>(Now.waiting).load(std::memory_order_relaxed) == 0) return;
    Action action;
    while (TakeDueAction(&action)) action.run(action.argument);
}

void RunTimer(VirtualTimer* timer)
{
    timer->next += timer->period;
    if (timer->entered >= DeepestEntry) return; // dropped, never queued
    ++timer->entered;
    timer->callback(timer->userValue);
    --timer->entered;
    if (timer->entered == 0) {
        while (timer->next <= Now.now) timer->next += timer->period;
    }
}

// A host's other threads may ask for the time.
void MoveTo(uint64_t time)
{
    std::atomic_ref<uint64_t>(Now.now).store(time, std::memory_order_relaxed);
}

// It may bring about others, at any time.
void Run(const NextEvent& event)
{
    Now.quietUntil = 0;
    if (event.at > Now.now) MoveTo(event.at);
    if (event.timer != nullptr) {
        RunTimer(event.timer);
        return;
    }
    const Action action = Take(event.action);
    action.run(action.argument);
}

void AdvanceTo(uint64_t target)
{
    if (target > Now.limit) {
        fprintf(stderr, "virtual time limit of %llu s passed: a wait without end?\n",
                static_cast<unsigned long long>(Now.limit / UsPerSecond));
        abort();
    }
    while (target >= Now.quietUntil) {
        const NextEvent next = FindNext();
        Now.quietUntil = next.at;
        if (next.at <= target) Run(next);
    }
    if (target > Now.now) MoveTo(target);
}

uint32_t TickCount()
{
    EmuSpend(Now.tickCost);
    return Now.firstTickCount + static_cast<uint32_t>(Now.now / UsPerMs);
}

void Sleep(uint32_t milliseconds)
{
    EmuNote("sleep %u", milliseconds);
    ++Now.sleeps;
    Now.lastSleep = milliseconds;
    EmuSpend(milliseconds == 0 ? 1 : milliseconds * UsPerMs);
}

void SleepMicroseconds(uint32_t microseconds)
{
    EmuNoteAccess("delay %u", microseconds);
    EmuSpend(microseconds == 0 ? 1 : microseconds);
}

// Another thread's flag can only change at the next event. What polls a device without a timer
// may have to wait for less than for a hand at a switch.
void Relax()
{
    const NextEvent next = FindNext();
    uint64_t at = next.at;
    if (next.timer == nullptr && at > Now.now + UsPerMs) at = Now.now + UsPerMs;
    AdvanceTo(at > Now.now ? at : Now.now + 1);
}

int64_t WallSeconds()
{
    return Now.wallSeconds + static_cast<int64_t>(Now.now / UsPerSecond);
}

uint32_t FinestPeriod()
{
    return 1;
}

void NoPeriod(uint32_t) {}

uint32_t Start(uint32_t milliseconds, PeriodicCallback callback, uint32_t userValue)
{
    for (uint32_t i = 0; i < TimerCount && milliseconds != 0; ++i) {
        VirtualTimer& timer = Now.timers[i];
        if (timer.running || timer.entered != 0) continue;
        const uint64_t period = milliseconds * UsPerMs;
        Now.quietUntil = 0;
        timer = {true, period, Now.now + period - Now.timerPhase % period, callback, userValue, 0};
        return i + 1;
    }
    return 0;
}

void Stop(uint32_t timer)
{
    if (timer != 0 && timer <= TimerCount) Now.timers[timer - 1].running = false;
}

} // namespace

void EmuSpend(uint64_t microseconds)
{
    if (RealTime) return RunDueActions();
    AdvanceTo(Now.now + microseconds);
    EmuRunDma();
}

void EmuWait(uint32_t microseconds)
{
    if (RealTime) {
        EmuNative().clock.SleepMicroseconds(microseconds);
        RunDueActions();
    } else {
        EmuSpend(microseconds);
    }
}

uint64_t EmuNextEvent()
{
    return RealTime ? EmuNow() + UsPerMs : FindNext().at;
}

ClockApi EmuClock()
{
    return {TickCount, Sleep, SleepMicroseconds, Relax, WallSeconds};
}

TimerApi EmuTimers()
{
    return {FinestPeriod, NoPeriod, NoPeriod, Start, Stop};
}

void EmuUseRealTime(bool real)
{
    RealTime = real;
}

void EmuResetClock()
{
    Now = {};
    Now.limit = DefaultLimit;
    Now.tickCost = DefaultTickCost;
}

uint64_t EmuMicroseconds()
{
    return std::atomic_ref<uint64_t>(Now.now).load(std::memory_order_relaxed);
}

uint64_t EmuNow()
{
    return RealTime ? System.clock.TickCount() * UsPerMs : Now.now;
}

void EmuSetTimeLimit(uint64_t microseconds)
{
    Now.limit = microseconds;
}

void EmuSetTickCost(uint32_t microseconds)
{
    Now.tickCost = microseconds;
}

void EmuSetTimerPhase(uint32_t microseconds)
{
    Now.timerPhase = microseconds;
}

void EmuSetFirstTickCount(uint32_t milliseconds)
{
    Now.firstTickCount = milliseconds;
}

void EmuSetWallSeconds(int64_t seconds)
{
    Now.wallSeconds = seconds;
}

bool EmuScheduleIn(uint64_t microseconds, void (*action)(int32_t argument), int32_t argument)
{
    const uint64_t at = EmuNow() + microseconds;
    const std::lock_guard<std::mutex> guard(ActionLock);
    for (Action& slot : Now.actions) {
        if (slot.waiting) continue;
        slot = {true, at, action, argument};
        Now.quietUntil = 0;
        std::atomic_ref<uint32_t>(Now.waiting).fetch_add(1, std::memory_order_relaxed);
        return true;
    }
    return false;
}

void EmuSchedule(uint64_t microseconds, void (*action)(int32_t argument), int32_t argument)
{
    const uint64_t now = EmuNow();
    if (EmuScheduleIn(microseconds > now ? microseconds - now : 0, action, argument)) return;
    fprintf(stderr, "more than %u scheduled actions\n", ActionCount);
    abort();
}

uint32_t EmuTimersRunning()
{
    uint32_t count = 0;
    for (const VirtualTimer& timer : Now.timers) count += timer.running ? 1 : 0;
    return count;
}

uint64_t EmuSleepCount()
{
    return Now.sleeps;
}

uint64_t EmuLastSleep()
{
    return Now.lastSleep;
}
