// A motorised objective on a port of eight lines: 0x01, 0x02 and 0x04 connect motors, 0x10 and
// 0x20 drive those that are connected one way or the other. A motor that is connected and not
// driven brakes. Each travels for 2.5 seconds from end to end.
#pragma once
#include <cstdint>
#include <vector>

inline constexpr int64_t EmuObjectiveTravelUs = 2'500'000;

struct EmuObjectiveRun {
    uint8_t lines;
    uint64_t us; // that they stood there
};

struct EmuObjective {
    bool fitted;
    uint8_t output;                    // lines that the port drives
    std::vector<EmuObjectiveRun> runs; // with a motor connected, those that are over
    // Of each motor, in microseconds of travel from the end that 0x20 drives to.
    int64_t places[3];

    uint8_t lines;
    uint64_t since;
};

void EmuObjectivePort(EmuObjective* objective, uint8_t output, uint8_t lines);
