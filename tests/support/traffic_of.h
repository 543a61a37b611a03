// What a piece of a test sends to the virtual devices.
#pragma once
#include <string>

#include "emulator/traffic.h"

template <typename Act> std::string TrafficOf(const Act& act)
{
    const size_t before = EmuTraffic().size();
    EmuRecord(true);
    act();
    EmuRecord(false);
    return EmuTraffic().substr(before);
}
