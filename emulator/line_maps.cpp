// Rows are found from the top: the first that fits the builder and the wiring.
//
// Row is a vertical line that rises once in a row's sequence. Shift is the edge at
// which a cell's charge falls on the node: behind the reset and the first sampling
// strobe of a pixel, ahead of its conversion. `inverted` undoes the polarity that
// the builder gives the word, and turns the lines that act as they fall.
//
// The lead is 1 where the start of a line already puts a cell under the last phase
// of the register, and -1 where the first position finds the shifting line up.
#include "emulator/line_maps.h"

#include <cstring>

namespace {

constexpr int32_t Any = -1;

struct LineMapRow {
    const char* builder;
    int32_t platform, sensor, technology; // Any: all that no row above takes
    EmuLineMap map;                       // row, shift, reset, convert, inverted, lead
};

// clang-format off
const LineMapRow Rows[] = {
    {"BuildWaveR3",                 Any, 279,  Any, {32,   16,   128,  2, 16,           0}},
    {"BuildWaveR3",                 Any, Any,  Any, {64,   16,   128,  2, 16,           0}},
    {"BuildWaveR3Plus",             Any, 279,  Any, {32,   16,   128,  2, 16,           0}},
    {"BuildWaveR3Plus",             Any, Any,  Any, {64,   16,   128,  2, 16,           0}},
    {"BuildWaveBriar",              Any, 250,  Any, {64,   8,    128,  4, 0x78,         0}},
    {"BuildWaveBriar",              Any, Any,  Any, {64,   8,    128,  4, 0xF8,         0}},
    {"BuildWaveHeron",              Any, Any,  Any, {64,   8,    128,  4, 0x70,         0}},
    {"BuildWaveHeronPlus",          Any, Any,  Any, {128,  8,    32,   4, 0,            0}},
    // 0xF9, on platform 23 with 0x7A or 0xFA; and 24 for sensor 260.
    {"BuildWaveTarn3Kaf",           23,  250,  Any, {64,   8,    128,  4, 0x83,         0}},
    {"BuildWaveTarn3Kaf",           23,  260,  Any, {64,   8,    128,  4, 0x1B,         0}},
    {"BuildWaveTarn3Kaf",           23,  Any,  Any, {64,   8,    128,  4, 0x03,         0}},
    {"BuildWaveTarn3Kaf",           Any, 260,  Any, {64,   8,    128,  4, 0xE1,         0}},
    {"BuildWaveTarn3Kaf",           Any, Any,  Any, {64,   8,    128,  4, 0xF9,         0}},
    {"BuildWaveTarn4Kaf",           Any, Any,  Any, {64,   8,    128,  4, 0,            0}},
    {"BuildWaveLarchKaf",           Any, 270,  Any, {64,   8,    128,  4, 0x1FC,        0}},
    {"BuildWaveLarchKaf",           Any, Any,  Any, {64,   8,    128,  4, 0x104,        0}},
    {"BuildWaveLarchKaf4300",       Any, Any,  Any, {64,   8,    128,  4, 0x104,        0}},
    // These two convert with the strobe of value 2.
    {"BuildWaveTarn4pKaf",          Any, Any,  Any, {64,   8,    128,  2, 0,            0}},
    {"BuildWaveTarn4pKaf16800",     Any, Any,  Any, {32,   16,   128,  2, 0,            0}},
    // 8 is up through the vertical part, except for sensors 286, 287 and 290, which
    // shift with 16 and have it down.
    {"BuildWaveOspreyKaf",          Any, Any,  Any, {256,  8,    64,   4, 0,           -1}},
    {"BuildWaveOspreyPlusKaf",      Any, 279,  Any, {128,  16,   64,   4, 0,           -1}},
    {"BuildWaveOspreyPlusKaf",      Any, 286,  Any, {256,  16,   64,   4, 0,            0}},
    {"BuildWaveOspreyPlusKaf",      Any, 287,  Any, {256,  16,   64,   4, 0,            0}},
    {"BuildWaveOspreyPlusKaf",      Any, 290,  Any, {256,  16,   64,   4, 0,            0}},
    {"BuildWaveOspreyPlusKaf",      Any, Any,  Any, {256,  8,    64,   4, 0,           -1}},
    {"BuildWaveTarn5",              Any, 290,  Any, {8192, 256,  8,    4, 0,           -1}},
    {"BuildWaveTarn5",              Any, Any,  Any, {4096, 512,  8,    4, 0,           -1}},
    // Three phases; the last one before the node is 32, or 8 in the 4710's order.
    {"BuildWaveOspreyCcd3011",      Any, Any,  Any, {128,  32,   64,   4, 0,            1}},
    {"BuildWaveOspreyCcd4710",      Any, Any,  Any, {512,  8,    64,   4, 0,            1}},
    {"BuildWaveOspreyPlusCcd4710",  Any, Any,  Any, {512,  8,    64,   4, 0,            1}},
    {"BuildWaveOspreyPlusCcd3011b", Any, Any,  Any, {256,  32,   64,   4, 0,            1}},
    // The cell of the line's start falls at the first position, as 32 goes down: the
    // strobes at the start of a bin find the column that the bin begins with.
    {"BuildWaveOspreyPlusCcd55",    Any, Any,  Any, {128,  32,   64,   4, 32,           0}},
    // The reset gate is active low.
    {"BuildWaveTarn4Ccd",           Any, Any,  Any, {256,  32,   64,   4, 64,           1}},
    {"BuildWaveTarn4Ccd3011b",      Any, Any,  Any, {256,  32,   64,   4, 64,           1}},
    {"BuildWaveTarn4Ccd4210",       Any, Any,  Any, {256,  32,   64,   4, 64,           1}},
    {"BuildWaveLarchCcd4240",       Any, Any,  Any, {64,   32,   2048, 4, 2048 | 4,     1}},
    {"BuildWaveTarn4pCcd4240",      Any, Any,  Any, {64,   768,  128,  2, 0,            1}},
    {"BuildWaveTarn4pCcd4710",      Any, Any,  Any, {1024, 256,  128,  2, 0,            1}},
    {"BuildWaveTarn4pCcd4720",      Any, Any,  Any, {1024, 256,  128,  2, 0,            1}},
    {"BuildWaveTarn5Ccd",           Any, Any,  Any, {8192, 128,  8,    4, 128,          1}},
    {"BuildWaveTarn5Ccd442",        Any, Any,  Any, {8192, 64,   8,    4, 64,           0}},
    // 0x1FF8, with 28 for sensor 2000 and 36 for the others.
    {"BuildWaveTarn4Ccd442",        Any, Any,  Any, {64,   32,   128,  4, 0x1FE4 ^ 32,  0}},
    {"BuildWaveSepCcd442",          Any, 2000, Any, {64,   32,   128,  4, 0x1FE4 ^ 32,  0}},
    {"BuildWaveSepCcd442",          Any, Any,  Any, {64,   32,   128,  4, 0x1FDC ^ 32,  0}},
    {"BuildWaveSepCcd485",          Any, Any,  Any, {64,   8,    128,  4, 0x1FDC ^ 8,   0}},
    {"BuildWaveSite",               Any, Any,  0,   {64,   1024, 8,    4, 0xF49 ^ 1024, 0}},
    {"BuildWaveSite",               Any, Any,  Any, {64,   1024, 8,    4, 0xF79 ^ 1024, 0}},
};
// clang-format on

bool Fits(int32_t wanted, int32_t value)
{
    return wanted == Any || wanted == value;
}

} // namespace

bool EmuFindLineMap(const char* builder, const EmuWiring& wiring, EmuLineMap* map)
{
    for (const LineMapRow& row : Rows) {
        if (strcmp(row.builder, builder) != 0 || !Fits(row.platform, wiring.platform) ||
            !Fits(row.sensor, wiring.sensor) || !Fits(row.technology, wiring.technology)) {
            continue;
        }
        *map = row.map;
        return true;
    }
    return false;
}
