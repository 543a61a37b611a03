// The roles of the lines. What moves charge stands in the emulator's line maps; the
// other lines are told here, as the electronics of each builder have them.
#include <bit>
#include <cstdio>
#include <cstring>

#include "bench/builders.h"
#include "emulator/line_maps.h"
#include "include/qvn_bench.h"

namespace {

// Masks of lines. Those that the line map names are taken out of their group.
struct LineGroups {
    const char* builder; // without BuildWave
    uint32_t vertical, horizontal;
    uint32_t store;       // clocks of the store area of a frame-transfer sensor
    uint32_t firstSample; // the reference level of a pixel
    uint32_t secondSample;
};

// clang-format off
const LineGroups Groups[] = {
    // builder            vertical                  horizontal           store  first second
    {"R3",                32 | 64,                  16,                  0,     0,    0},
    {"R3Plus",            32 | 64,                  16,                  0,     0,    0},
    {"Briar",             32 | 64,                  8 | 16,              0,     1,    2},
    {"Heron",             32 | 64,                  8 | 16,              0,     1,    2},
    {"HeronPlus",         64 | 128,                 8,                   0,     1,    2},
    {"Tarn3Kaf",          32 | 64,                  8 | 16,              0,     1,    0},
    {"Tarn4Kaf",          32 | 64,                  8 | 16,              0,     1,    0},
    {"LarchKaf",          32 | 64,                  8 | 16,              0,     1,    2},
    {"LarchKaf4300",      32 | 64,                  8 | 16,              0,     1,    2},
    {"Tarn4pKaf",         32 | 64,                  8 | 16,              0,     0,    0},
    {"Tarn4pKaf16800",    32 | 64,                  8 | 16,              0,     0,    0},
    {"OspreyKaf",         128 | 256,                8 | 16,              0,     1,    2},
    {"OspreyPlusKaf",     128 | 256,                8 | 16,              0,     1,    2},
    {"OspreyCcd3011",     128 | 256 | 512,          8 | 16 | 32,         0,     1,    2},
    {"OspreyCcd4710",     128 | 256 | 512,          8 | 16 | 32,         0,     1,    2},
    {"OspreyPlusCcd4710", 128 | 256 | 512,          8 | 16 | 32,         0,     1,    2},
    {"OspreyPlusCcd3011b", 128 | 256 | 512,         8 | 16 | 32,         0,     0,    2},
    {"OspreyPlusCcd55",   0x1F80,                   8 | 16 | 32,         0,     1,    2},
    {"Tarn4Ccd",          128 | 256 | 512,          8 | 16 | 32,         0,     1,    0},
    {"Tarn4Ccd3011b",     128 | 256 | 512,          8 | 16 | 32,         0,     1,    0},
    {"Tarn4Ccd4210",      128 | 256 | 512,          8 | 16 | 32,         0,     1,    0},
    {"Tarn4pCcd4710",     32 | 64 | 1024,           8 | 16 | 256,        0,     0,    0},
    {"Tarn4pCcd4720",     32 | 64 | 1024,           8 | 16 | 256,        0x3800, 0,   0},
    {"Tarn4pCcd4240",     32 | 64 | 1024,           8 | 16 | 256 | 512,  0,     0,    0},
    {"LarchCcd4240",      64 | 512 | 1024,          8 | 16 | 32,         0,     1,    2},
    {"Tarn5",             4096 | 8192,              256 | 512,           0,     1,    2},
    {"Tarn5Ccd",          2048 | 4096 | 8192,       128 | 256 | 512,     0,     1,    2},
    {"Tarn5Ccd442",       0x7800,                   64 | 128 | 256 | 512, 0,    1,    2},
    {"Tarn4Ccd442",       64 | 512 | 1024 | 2048,   8 | 16 | 32 | 4096,  0,     1,    0},
    {"SepCcd442",         64 | 512 | 1024 | 2048,   8 | 16 | 32 | 4096,  0,     1,    2},
    {"SepCcd485",         64 | 512 | 1024 | 2048,   8 | 16 | 32 | 4096,  0,     1,    2},
    {"Site",              16 | 32 | 64 | 2048,      128 | 256 | 512 | 1024, 0,  1,    0},
};
// clang-format on

struct Role {
    const char* name;
    uint32_t lines;
};

const LineGroups* FindGroups(const char* builder)
{
    for (const LineGroups& groups : Groups) {
        if (strcmp(groups.builder, builder + strlen("BuildWave")) == 0) return &groups;
    }
    return nullptr;
}

// Several lines of a role are numbered from the lowest on.
void PrintName(const Role& role, uint32_t line, char* buffer, uint32_t room)
{
    if (std::popcount(role.lines) == 1) {
        snprintf(buffer, room, "%s", role.name);
    } else {
        const int below = std::popcount(role.lines & (line - 1));
        snprintf(buffer, room, "%s %d", role.name, below + 1);
    }
}

// False for a line without a role.
bool PrintRole(const EmuLineMap& map, const LineGroups& groups, uint32_t line, char* buffer,
               uint32_t room)
{
    const uint32_t moving = map.row | map.shift | map.reset | map.convert;
    const bool bothSamples = groups.firstSample != 0 && groups.secondSample != 0;
    const Role roles[] = {
        {"row transfer", map.row},
        {"horizontal shift", map.shift},
        {"reset gate", map.reset},
        {"convert", map.convert},
        {"vertical clock", groups.vertical & ~moving},
        {"horizontal clock", groups.horizontal & ~moving},
        {"store clock", groups.store},
        {bothSamples ? "first sample" : "sample", groups.firstSample},
        {bothSamples ? "second sample" : "sample", groups.secondSample},
    };
    for (const Role& role : roles) {
        if ((role.lines & line) == 0) continue;
        PrintName(role, line, buffer, room);
        return true;
    }
    return false;
}

bool PrintRoleOf(const BenchBuilder& builder, const EmuWiring& wiring, uint32_t line, char* buffer,
                 uint32_t room)
{
    EmuLineMap map{};
    const LineGroups* groups = FindGroups(builder.name);
    if (groups == nullptr || !EmuFindLineMap(builder.name, wiring, &map)) return false;
    return PrintRole(map, *groups, line, buffer, room);
}

} // namespace

int32_t QVB_LineName(int32_t platform, int32_t sensor, int32_t interfaceType, int32_t line,
                     char* buffer, uint32_t room)
{
    if (line < 0 || line >= QVB_LINES || buffer == nullptr || room == 0) return QVB_ERROR_ARGUMENT;
    const BenchBuilder* builder = FindBenchBuilder(platform, sensor, interfaceType);
    const EmuWiring wiring{platform, sensor, 1}; // the technology does not matter to the names
    if (builder == nullptr || !PrintRoleOf(*builder, wiring, 1u << line, buffer, room)) {
        snprintf(buffer, room, "line %d", static_cast<int>(line));
    }
    return builder == nullptr ? QVB_ERROR_NO_BUILDER : QV_ERROR_NONE;
}

int32_t QVB_WaveLines(int32_t platform, int32_t sensor, int32_t interfaceType, int32_t technology,
                      QvbWaveLines* lines)
{
    if (lines == nullptr) return QVB_ERROR_ARGUMENT;
    const BenchBuilder* builder = FindBenchBuilder(platform, sensor, interfaceType);
    if (builder == nullptr) return QVB_ERROR_NO_BUILDER;
    EmuLineMap map{};
    EmuFindLineMap(builder->name, {platform, sensor, technology}, &map);
    lines->WordBits = builder->format->wide ? 16 : 8;
    lines->WordLimit = builder->format->limit;
    lines->Inverted = map.inverted;
    lines->Row = map.row;
    lines->Shift = map.shift;
    lines->Reset = map.reset;
    lines->Convert = map.convert;
    return QV_ERROR_NONE;
}
