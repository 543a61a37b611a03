// What Tarn_V is on either of its links: registers by plain number, a coprocessor that
// has converters, thermometer and memory, a front end, a pattern memory.
#pragma once
#include <cstdint>

#include "emulator/sequencer.h"
#include "emulator/shift_lines.h"
#include "emulator/thermal.h"
#include "emulator/wheel.h"

// Words to the coprocessor, up to the one that says what to do with them.
struct EmuLetter {
    uint16_t words[16];
    uint32_t count;
    uint16_t answer;
};

// The parts of a camera, wherever it has them.
struct EmuTarn5 {
    uint16_t* registers;
    EmuPatternMemory* pattern;
    uint16_t* memory; // 64 words
    EmuLetter* letter;
    EmuShiftWord* gain;
    uint32_t* gainWords; // 8
    EmuThermal* thermal;
    uint32_t* driveCode;
    bool* coolerOn;
    uint16_t* fan;
    uint16_t *repeat, *end;
    EmuWheel* wheel;
};

enum EmuTarn5Register : uint32_t {
    EmuTarn5Select = 0,
    EmuTarn5SettleLow = 1, // and high
    EmuTarn5Shutter = 3,
    EmuTarn5Page = 10,
    EmuTarn5Control = 11,
    EmuTarn5TimeLow = 12, // and high
    EmuTarn5TimeHigh = 13,
};
inline constexpr uint32_t EmuTarn5Registers = 64;
inline constexpr uint16_t EmuTarn5LeaveStream = 16; // the number that a selection names

// Lines of the control register.
inline constexpr uint16_t EmuTarn5ByHand = 0x8000;
inline constexpr uint16_t EmuTarn5Starts = 0x0C00;
inline constexpr uint16_t EmuTarn5Sends = 0x4000;

// A register is written: everything but the sections and the exposure follows.
void EmuTarn5Write(const EmuTarn5& camera, uint32_t reg, uint16_t value);
uint16_t EmuTarn5Read(const EmuTarn5& camera, uint32_t number, bool trigger, uint16_t version);
// Microseconds of settling and exposure, by the counter registers; 0: no exposure.
uint64_t EmuTarn5Time(const EmuTarn5& camera);
