// What happens to a virtual camera at a time: its trigger, its power, its silence.
#pragma once
#include <cstddef>
#include <cstdint>

constexpr size_t MostEvents = 64;   // that wait at a time
constexpr double LatestEvent = 1e7; // seconds from now

// Where a camera is. Of an array, all heads.
struct EventTarget {
    bool usb;
    int32_t busCount;
    int32_t bus[8];
    uint32_t stall; // of a camera that is not silent
};

void ForgetEventTargets();
void SetEventTarget(int32_t camera, const EventTarget& target);

bool IsEvent(int32_t event); // QVB_EVENT_...
// At once with 0 seconds. False when there is no room.
bool ScheduleEvent(int32_t camera, int32_t event, double seconds);
