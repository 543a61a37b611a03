// The builders that write a pattern, as tests name them.
#pragma once
#include <cstddef>

#include "sequencer/builders/builders.h"
#include "tests/support/strobe.h"

struct NamedBuilder {
    const char* name;
    WaveBuilder* build;
    Strobe strobe;
};

inline constexpr size_t BuilderCount = 32;
extern const NamedBuilder NamedBuilders[BuilderCount];

// Null: it writes no pattern.
const NamedBuilder* FindNamedBuilder(WaveBuilder* build);
