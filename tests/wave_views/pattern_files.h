// Pattern files written from the text of their sections, and a small camera that they
// are for.
#pragma once
#include <cstdint>
#include <string>
#include <vector>

#include "tests/tools/fixture.h"

struct PatternText {
    bool byteWords = true;
    // In playing order: "8 72x2 136". The file has them in this order, each back to
    // front and padded to a page with the word 99.
    std::string idle, row, line;
    std::string extraA, extraB; // empty: none, their entries are 0
    std::string pixel;
};

// A line of four pixels out of a register of six, one column ahead of the image.
PatternText SmallPattern();

std::string PatternBytes(const PatternText& text);

// Replaces the 16 bits at `at`.
void Put16(std::string* bytes, size_t at, uint32_t value);

// Has wave.bin with the small pattern and a qvn.cfg for HERON_Plus with kaf400e: 4 x 3
// pixels, a register of 6, two dummy rows, ticks of 500 ns.
struct WaveViews : QvnProgram {
    void SetUp() override
    {
        QvnProgram::SetUp();
        Write("wave.bin", SmallPattern());
        WriteDefinitions();
    }

    void Write(const std::string& name, const PatternText& text)
    {
        WriteText(scratch, name, PatternBytes(text));
    }
    void WriteDefinitions();

    // qvn wave COMMAND wave.bin and so on, with the camera.
    ProgramResult RunFor(const std::vector<std::string>& arguments);
    ProgramResult RunWave(const std::vector<std::string>& arguments);
};
