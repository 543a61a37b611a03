// The parts of a line section as texts, written down from a builder's table, and
// the lines that they make up for windows and binnings.
#pragma once
#include <string>

#include "tests/support/wave_text.h"

struct LineTable {
    std::string start;
    std::string repeat; // once a row
    std::string settle; // once behind the rows
    std::string first, other;
    std::string notLast, last;
    std::string outside;
    std::string end;
};

// The pixels of a line, with a blank ahead.
std::string Out(const LineTable& table, uint32_t pixels);
std::string Bins(const LineTable& table, uint32_t count, uint32_t pixels);
std::string OpenBin(const LineTable& table, uint32_t pixels);    // without an ending
std::string LatePixels(const LineTable& table, uint32_t pixels); // without a beginning

// The whole line, folded.
std::string LineOf(const LineTable& table, int32_t rows, const std::string& pixels);

// Line sections of the small sensor: 2 dummy columns, a register of 12.
class WaveLineTest : public WaveTest {
protected:
    // Builds and compares one line.
    void ExpectLine(WaveBuilder* builder, const LineTable& table, const WaveWindow& window,
                    const std::string& pixels);

    // The builders whose bins are counted from the window's start, which is binned.
    void ExpectCountedLines(WaveBuilder* builder, const LineTable& table, int32_t rows);

    // The builders whose bins begin at multiples of the binning, in a window whose
    // start is not binned.
    void ExpectPlacedLines(WaveBuilder* builder, const LineTable& table, int32_t rows);

    // The caption of the builder's writer, words of 16 bits, and error 8 for one row
    // more than `rows` on a sensor without a register.
    void ExpectWriter(WaveBuilder* builder, const std::string& caption, int32_t rows);
};
