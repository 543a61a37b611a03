// A word that comes bit by bit on a data and a clock line, most significant first.
#pragma once
#include <cstdint>

struct EmuShiftWord {
    uint32_t bits;
    uint32_t count;
};

inline void EmuShiftIn(EmuShiftWord* word, bool bit)
{
    word->bits = word->bits << 1 | (bit ? 1u : 0u);
    ++word->count;
}

// A clock synthesiser's line: control bytes and words as one train of bits, told
// apart by a frame of 0, 1, 1, 1, 1, 0 that no word can hold, since a 0 is stuffed
// after any three 1 of a word.
struct EmuClockTrain {
    uint32_t last; // the bits that came last
    bool inWord;
    uint32_t ones; // 1 in a row, of the word
    EmuShiftWord arriving;
    uint32_t word; // the last that was complete
};

void EmuClockBit(EmuClockTrain* train, bool bit);
