#include "tests/timer/timer_log.h"

#include "emulator/emulator.h"
#include "platform/system.h"

std::vector<TimerLogLine> TimerLog;

namespace {

TimerApi Real;

uint32_t Finest()
{
    const uint32_t period = Real.FinestPeriod();
    TimerLog.push_back({"finest", 0, 0, period, EmuMicroseconds()});
    return period;
}

void Begin(uint32_t milliseconds)
{
    TimerLog.push_back({"begin", milliseconds, 0, 0, EmuMicroseconds()});
    Real.BeginPeriod(milliseconds);
}

void End(uint32_t milliseconds)
{
    TimerLog.push_back({"end", milliseconds, 0, 0, EmuMicroseconds()});
    Real.EndPeriod(milliseconds);
}

uint32_t Start(uint32_t milliseconds, PeriodicCallback callback, uint32_t userValue)
{
    const uint64_t now = EmuMicroseconds();
    const uint32_t timer = Real.Start(milliseconds, callback, userValue);
    TimerLog.push_back({"start", milliseconds, userValue, timer, now});
    return timer;
}

void Stop(uint32_t timer)
{
    TimerLog.push_back({"stop", timer, 0, 0, EmuMicroseconds()});
    Real.Stop(timer);
}

} // namespace

void LogTimerCalls()
{
    TimerLog.clear();
    Real = System.timer;
    System.timer = {Finest, Begin, End, Start, Stop};
}

std::string TimerCalls()
{
    std::string calls;
    for (const TimerLogLine& line : TimerLog) calls += (calls.empty() ? "" : " ") + line.call;
    return calls;
}
