// How a pattern gets across, for each way that a bus camera takes it.
#include "core/record.h"
#include "tests/traffic/conversation.h"

namespace {

struct Way {
    const char* name;
    VirtualSetup setup;
    bool bytes;
    bool cycles; // else accesses
    const char* file;
    uint32_t words = 256; // three, and 0 for the rest
};

constexpr Way Ways[] = {
    {"BriarOnThePrinterPort", {40, 255, 0, "BuildWaveBriar"}, true, false, "40_load.txt"},
    {"BriarIsaOnThePortCard", {41, 255, 1, "BuildWaveBriar"}, true, false, "41_load.txt"},
    {"BriarPci", {42, 255, 2, "BuildWaveBriar"}, true, false, "42_load.txt"},
    {"BriarR3", {44, 255, 2, "BuildWaveR3"}, true, true, "44_load.txt"},
    {"BriarR3Plus", {47, 255, 2, "BuildWaveR3Plus"}, true, true, "47_load.txt"},
    {"HeronOnTheByteCable", {60, 255, 2, "BuildWaveHeron"}, true, true, "60_load.txt"},
    {"TarnIiiOnThePortCard", {22, 255, 1, "BuildWaveTarn3Kaf"}, false, false, "22_port_load.txt"},
    {"TarnIii", {22, 255, 2, "BuildWaveTarn3Kaf"}, false, true, "22_load.txt"},
    {"TarnIv", {24, 255, 2, "BuildWaveTarn4Kaf"}, false, false, "24_load.txt"},
    {"TarnIvPlus", {25, 255, 2, "BuildWaveTarn4pKaf"}, false, true, "25_load.txt", 33024},
    {"TarnV", {28, 255, 2, "BuildWaveTarn5"}, false, true, "28_load.txt"},
    {"Larch", {30, 255, 2, "BuildWaveLarchKaf"}, false, true, "30_load.txt"},
    {"Sep", {80, 2000, 2, "BuildWaveSepCcd442"}, false, true, "80_load.txt"},
};

class TrafficOfLoad : public Conversation, public testing::WithParamInterface<Way> {};

std::string NameOf(const testing::TestParamInfo<Way>& info)
{
    return info.param.name;
}

INSTANTIATE_TEST_SUITE_P(Ways, TrafficOfLoad, testing::ValuesIn(Ways), NameOf);

} // namespace

// The pattern runs and is taken for unloaded.
TEST_P(TrafficOfLoad, IsAsDescribed)
{
    const Way& way = GetParam();
    Begin(way.setup);
    uint16_t& control = CameraTable[0].Registers[0];
    control = static_cast<uint16_t>((control & ~0x2) | 0x40);
    Record(way.cycles);
    LoadWords(way.bytes, way.words);
    ExpectFile(way.file);
}
