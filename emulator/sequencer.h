// The pattern generator of a camera: a memory of words, and the controller that
// plays sections of it.
#pragma once
#include <cstdint>
#include <vector>

#include "emulator/sensor.h"

inline constexpr uint32_t EmuPatternWords = 65536;

// One word a tick; 8-bit words stand in the low byte.
struct EmuPatternMemory {
    uint16_t words[EmuPatternWords];
};

// Where a section lies: its first address, and the index of the word played first,
// which is the last one stored.
struct EmuSection {
    uint16_t start, end;
};

// The table at the head of a pattern file.
struct EmuPattern {
    uint32_t wordCount;
    bool byteWords;
    EmuSection idle, row, pixel, line, extraA, extraB;
};

// Loads wave.bin at address 0 and on. Null, or what is wrong with the file; then
// memory and pattern are as they were.
const char* EmuLoadWave(const char* path, EmuPatternMemory* memory, EmuPattern* pattern);

// Plays a section `repeat` times against the sensor and appends what it sends to
// `pixels`. The controller takes the page, the upper 8 bits of the start, and
// counts from the end index down to the page's first word.
void EmuPlay(const EmuPatternMemory& memory, const EmuSection& section, uint32_t repeat,
             EmuSensor* sensor, std::vector<uint16_t>* pixels);
