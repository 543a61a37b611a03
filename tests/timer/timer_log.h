// Writes down how the library uses the system's timer, and passes the calls on.
#pragma once
#include <cstdint>
#include <string>
#include <vector>

struct TimerLogLine {
    std::string call;
    uint32_t argument;  // period, or the timer stopped
    uint32_t userValue; // of a start
    uint32_t result;
    uint64_t microseconds;
};

extern std::vector<TimerLogLine> TimerLog;

// From now on, until the world is installed anew.
void LogTimerCalls();

// The calls' names in order, parted by blanks.
std::string TimerCalls();
