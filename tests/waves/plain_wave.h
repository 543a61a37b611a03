// Patterns built as they are described: word by word in playing order, with a
// counter of the pixels left in a bin, each section turned round at its end. The
// measure for the engine, which plans instead.
#pragma once
#include <cstdint>
#include <vector>

#include "sequencer/wave_engine.h"
#include "tests/support/wave_text.h"

struct PlainResult {
    int32_t error;
    std::vector<uint8_t> file;
    uint16_t table[12]; // of the record, afterwards
    std::vector<WaveReport> reports;
};

PlainResult BuildPlainly(const WaveProgram& program, const WaveRequest& request);
