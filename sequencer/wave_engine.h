// Waveform builders describe their pattern as a WaveProgram, a record of step
// tables that mirrors the builder's timing table, and hand it to WriteWave,
// which plays it into wave.bin.
#pragma once
#include <cstddef>
#include <cstdint>
#include <initializer_list>

inline constexpr uint32_t NoWord = 0xFFFFFFFF;
inline constexpr int MaxWaveSteps = 20;

// One step: the levels of all lines, and the ticks they are held. A word alone
// is one tick; a step of 0 ticks writes nothing. NoWord ends a table early.
struct WaveStep {
    uint32_t word = NoWord;
    uint32_t ticks = 1;
};

using WaveSteps = WaveStep[MaxWaveSteps];

// A writer family: word width, limit, what an overflow does.
struct WaveFormat {
    bool wide;           // 16-bit words, else 8-bit
    uint32_t limit;      // the most words of a pattern, padding included
    bool stopOnOverflow; // the build ends at the section that overflows
    const char* caption; // first progress text
};

// The section starts are 16 bits, which bounds the formats without a limit of
// their own.
inline constexpr uint32_t LargestPattern = 65536;

inline constexpr WaveFormat SharedBytes32768 = {false, 32767, true, "Building Wave...."};
inline constexpr WaveFormat SharedWords32768 = {true, 32767, true, "Building Wave...."};
inline constexpr WaveFormat SharedWords65536 = {true, 65535, true, "Building Wave...."};
inline constexpr WaveFormat OwnBytes = {false, LargestPattern, false, "Build Sequencer Data"};
inline constexpr WaveFormat OwnWords = {true, LargestPattern, false, "Build Sequencer Data"};
inline constexpr WaveFormat OwnWords32767 = {true, 32767, false, "Build Sequencer Data"};
inline constexpr WaveFormat OwnWords65535 = {true, 65535, false, "Build Sequencer Data"};

// How the pixels of one bin are told apart.
enum class BinRule {
    Counter,  // the counter is loaded on the first pixel of a bin
    Position, // first pixel: position modulo hbin; the window starts at unbinned x
    Leading,  // the counter starts at 1 and is decreased before the test
};

struct WaveProgram {
    const WaveFormat* format;
    bool fill8 = false;   // a word without bit 16 gets bit 8
    uint32_t mask = 0;    // XOR on every emitted word, behind the 8-fill
    uint32_t padding = 0; // padding words in the file
    BinRule bins = BinRule::Counter;
    bool extraShifts = false; // the register runs to HorRegSize + extraCount

    WaveSteps idle = {};
    WaveSteps row = {};
    WaveSteps lineStart = {};
    WaveSteps lineRepeat = {}; // vbin times
    WaveSteps lineSettle = {}; // once, behind the repeats
    WaveSteps first = {};      // first pixel of a bin
    WaveSteps other = {};      // any other pixel of a bin
    WaveSteps notLast = {};    // behind a pixel that is not its bin's last
    WaveSteps last = {};       // behind the last pixel of a bin
    WaveSteps outside = {};    // a pixel outside the window
    WaveSteps lineEnd = {};
    WaveSteps extraA = {};
    WaveSteps extraB = {};
    WaveSteps pixel = {}; // PixelSection
};

struct WaveRequest {
    const char* path;
    uint32_t x, width, hbin; // binned pixels
    int32_t vbin;
    uint32_t extraCount;
    int32_t camera;
};

// Builds the pattern and writes it to request.path. LastError tells the result:
// 0, 8 (does not fit), 22 (no memory), 23 (no file). The record's SequenceTable
// changes only when it is 0; after 8 the file has a header that no loader takes.
void WriteWave(const WaveProgram& program, const WaveRequest& request);

// Plays the pattern into memory instead, as the file holds its words. `words` is
// aligned for 16 bits and has `room` bytes. Returns the number of words, padding
// included; 0, and nothing is written, if it does not fit its limit or the room.
uint32_t PlayWave(const WaveProgram& program, const WaveRequest& request, uint8_t* words,
                  size_t room);

// Fills one table of a program: the form for parts that depend on the sensor.
void SetSteps(WaveSteps& table, std::initializer_list<WaveStep> steps);

// Times in ticks, truncated.
uint32_t TicksOf(double microseconds, int32_t camera);
uint32_t FlooredTicks(double microseconds, int32_t camera); // at least 1
uint32_t PhaseTicks(int32_t camera); // VerticalPhasePeriod in ticks, at least 1
uint32_t PhaseWords(int32_t camera); // VerticalPhasePeriod as a count of words
uint32_t IdleTicks(int32_t camera);  // 10 microseconds
