#include "emulator/shift_lines.h"

namespace {

// The control byte 5, least significant bit first, and the frame.
constexpr uint32_t WordFollows = 0b10100000'011110;
constexpr uint32_t HeadBits = 14;
constexpr uint32_t WordBits = 22;
constexpr uint32_t StuffAfter = 3;

} // namespace

void EmuClockBit(EmuClockTrain* train, bool bit)
{
    if (!train->inWord) {
        train->last = train->last << 1 | (bit ? 1u : 0u);
        train->inWord = (train->last & ((1u << HeadBits) - 1)) == WordFollows;
        train->ones = 0;
        train->arriving = {};
        return;
    }
    if (train->ones == StuffAfter) {
        train->ones = 0;
        return;
    }
    train->ones = bit ? train->ones + 1 : 0;
    train->arriving.bits |= (bit ? 1u : 0u) << train->arriving.count;
    if (++train->arriving.count < WordBits) return;
    train->word = train->arriving.bits;
    train->inWord = false;
    train->last = 0;
}
