// The timing values of the sample definitions must build: the pattern of a full
// frame has to fit the pattern memory. The sizes are upper bounds, counted from
// the clock steps of each family of patterns.
#include <algorithm>
#include <cmath>

#include <gtest/gtest.h>

#include "tests/samples/expected.h"

namespace {

enum class Phase {
    Microseconds, // VerticalPhasePeriod by the length of a word, cut off
    Doubled,      // the same, twice
    Words,        // VerticalPhasePeriod as it is
};

struct Pattern {
    std::vector<const char*> platforms;
    std::vector<int> sensors;
    Phase phase;
    int leastPhase;     // below it a step of the pattern would vanish
    int perPixel;       // words of a pixel that is read, without binning
    int perOther;       // words of another position of the register
    int further;        // positions behind the register
    int frame;          // words of a line besides its rows and pixels
    int row, rowPhases; // words of one row: a number, and a number of phases
    int extraPhases;    // sections that are not part of a readout
    int limit;          // words, padding included
};

// clang-format off
const std::vector<Pattern> Patterns = {
    {{"BRIAR", "BRIAR-ISA", "BRIAR-PCI"}, {250, 255, 275}, Phase::Microseconds, 5, 7, 2, 6, 1, 0, 8, 0, 32767},
    {{"BRIAR-R3"}, {250, 255, 275, 279, 282, 283, 285}, Phase::Microseconds, 5, 7, 4, 6, 1, 0, 4, 0, 32767},
    {{"R3-PLUS"}, {250, 255, 275, 279, 282, 283, 285}, Phase::Doubled, 2, 7, 4, 6, 1, 1, 3, 0, 32767},
    {{"HERON"}, {250, 255, 275, 279}, Phase::Microseconds, 5, 5, 4, 6, 1, 0, 8, 0, 32767},
    {{"HERON_Plus"}, {250, 255, 275, 279}, Phase::Microseconds, 5, 4, 4, 0, 3, 0, 4, 0, 32767},
    {{"Tarn_III", "Tarn_IIIA"}, {250, 255, 260, 270, 275}, Phase::Microseconds, 2, 10, 2, 0, 1, 0, 4, 0, 32767},
    {{"Tarn_III", "Tarn_IIIA", "Tarn_IV"}, {300, 305, 310}, Phase::Words, 3, 10, 8, 0, 22, 2, 5, 0, 32767},
    {{"Tarn_IV"}, {120, 121, 125, 128}, Phase::Words, 2, 20, 10, 0, 22, 0, 31, 0, 32767},
    {{"Tarn_IV"}, {122}, Phase::Words, 2, 12, 4, 0, 22, 0, 31, 0, 32767},
    {{"Tarn_IV"}, {133}, Phase::Words, 2, 24, 4, 0, 22, 0, 31, 0, 32767},
    {{"Tarn_IV"}, {250, 255, 260, 270, 275}, Phase::Microseconds, 2, 11, 11, 0, 1, 0, 4, 0, 32767},
    {{"Tarn_IV"}, {2000}, Phase::Microseconds, 3, 15, 6, 0, 3, 1, 4, 0, 65535},
    {{"Tarn_IV_PLUS"}, {123}, Phase::Microseconds, 10, 6, 3, 0, 4, 9, 17, 0, 65535},
    {{"Tarn_IV_PLUS"}, {125}, Phase::Microseconds, 10, 7, 5, 0, 4, 3, 8, 0, 65535},
    {{"Tarn_IV_PLUS"}, {128}, Phase::Microseconds, 10, 5, 3, 0, 4, 2, 9, 30, 65535},
    {{"Tarn_IV_PLUS"}, {250, 255, 260, 270, 275, 279, 285}, Phase::Microseconds, 2, 4, 2, 0, 1, 0, 4, 0, 65535},
    {{"Tarn_IV_PLUS"}, {290}, Phase::Microseconds, 8, 5, 4, 0, 4, 0, 7, 0, 65535},
    {{"Tarn_V"}, {121, 122, 123, 124, 126, 127, 128, 129, 130, 131, 132, 195, 200, 210, 250, 255, 260, 265, 270,
                  275, 279, 280, 281, 282, 283, 285, 290, 295, 300, 305, 306, 310, 400, 405, 410, 500, 505, 506,
                  2001, 2005, 2006, 2007}, Phase::Microseconds, 3, 3, 3, 0, 3, 1, 4, 0, 32767},
    {{"Tarn_V"}, {120, 125, 133}, Phase::Microseconds, 2, 12, 6, 0, 60, 1, 21, 0, 65535},
    {{"Tarn_V"}, {2000}, Phase::Microseconds, 2, 8, 6, 0, 2, 0, 16, 0, 65535},
    {{"Larch"}, {123}, Phase::Words, 2, 12, 6, 0, 22, 0, 16, 0, 32767},
    {{"Larch"}, {250, 255, 260, 270, 275, 281}, Phase::Microseconds, 5, 5, 2, 6, 1, 0, 6, 0, 32767},
    {{"SEP"}, {2000, 2001, 2005}, Phase::Microseconds, 3, 7, 6, 0, 3, 1, 4, 0, 65535},
    {{"OSPREY"}, {250, 255, 260, 270, 275, 279, 280, 282, 283, 285, 133, 132, 3800, 3805, 3810, 3815, 3820, 3825,
                  3830, 3835, 3840}, Phase::Microseconds, 2, 5, 4, 0, 3, 3, 4, 0, 32767},
    {{"OSPREY", "OSPREY_Plus"}, {120}, Phase::Words, 2, 9, 3, 0, 2, 0, 6, 0, 65535},
    {{"OSPREY", "OSPREY_Plus"}, {125}, Phase::Microseconds, 2, 8, 6, 0, 100, 0, 16, 0, 65535},
    {{"OSPREY_Plus"}, {133}, Phase::Microseconds, 6, 8, 7, 0, 100, 0, 5, 0, 65535},
    {{"OSPREY_Plus"}, {134, 135}, Phase::Microseconds, 3, 15, 18, 0, 3, 0, 3, 0, 65535},
    {{"OSPREY_Plus"}, {255, 260, 275, 279, 281, 286, 287, 290}, Phase::Microseconds, 2, 4, 4, 0, 3, 3, 5, 0, 65535},
};
// clang-format on

int Padded(int words)
{
    return (words + 255) / 256 * 256;
}

int PhaseWords(const Pattern& pattern, const std::string& pair)
{
    const int period = IntAt(pair + ".VerticalPhasePeriod");
    const double tick = FloatsAt(pair + ".SamplingClock").at(0);
    if (pattern.phase == Phase::Words) return period;
    const int words = std::max(1, static_cast<int>(period / tick));
    return pattern.phase == Phase::Doubled ? 2 * words : words;
}

// All sections of a full frame's pattern together.
int FrameWords(const Pattern& pattern, const std::string& pair, const std::string& sensor,
               int verticalBinning)
{
    const int phase = PhaseWords(pattern, pair);
    const double tick = FloatsAt(pair + ".SamplingClock").at(0);
    const int columns = IntAt(SensorPath + sensor + ".Xpix");
    const int others = IntAt(SensorPath + sensor + ".HorRegSize") + pattern.further - columns;
    const int row = pattern.row + pattern.rowPhases * phase;
    const int line = pattern.frame + verticalBinning * row + pattern.perPixel * columns +
                     pattern.perOther * others;
    const int idle = static_cast<int>(10.0 / tick) + 10;
    // The row of a clear may have a few words more; the fixed one of 151 is the longest.
    const int clear = std::max(row + pattern.rowPhases + 8, 151);
    return Padded(idle) + Padded(clear) + Padded(line) + Padded(20) +
           (pattern.extraPhases > 0 ? Padded(pattern.extraPhases * phase) + 256 : 0);
}

const ExpectedPlatform& PlatformOf(const std::string& name)
{
    const auto found =
        std::find_if(ExpectedPlatforms.begin(), ExpectedPlatforms.end(),
                     [&](const ExpectedPlatform& platform) { return platform.name == name; });
    EXPECT_NE(found, ExpectedPlatforms.end()) << name;
    return *found;
}

double Clock(const char* platform, int sensor)
{
    return FloatsAt(PlatformPath + platform + "." + SensorNameOf(sensor) + ".SamplingClock").at(0);
}

} // namespace

TEST(SampleTiming, PatternsOfThisTestAreForListedPairs)
{
    for (const Pattern& pattern : Patterns) {
        for (const char* platform : pattern.platforms) {
            const std::vector<int>& listed = PlatformOf(platform).sensors;
            for (int sensor : pattern.sensors) {
                EXPECT_NE(std::find(listed.begin(), listed.end(), sensor), listed.end())
                    << platform << " " << sensor;
            }
        }
    }
}

TEST(SampleTiming, FullFrameFitsThePatternMemoryUpToVerticalBinningFour)
{
    for (const Pattern& pattern : Patterns) {
        for (const char* platform : pattern.platforms) {
            for (int code : pattern.sensors) {
                const std::string sensor = SensorNameOf(code);
                const std::string pair = PlatformPath + platform + "." + sensor;
                for (int binning : {1, 2, 3, 4}) {
                    EXPECT_LT(FrameWords(pattern, pair, sensor, binning), pattern.limit)
                        << pair << " vertical binning " << binning;
                }
            }
        }
    }
}

TEST(SampleTiming, NoClockStepVanishes)
{
    for (const Pattern& pattern : Patterns) {
        for (const char* platform : pattern.platforms) {
            for (int code : pattern.sensors) {
                const std::string pair = PlatformPath + platform + "." + SensorNameOf(code);
                EXPECT_GE(PhaseWords(pattern, pair), pattern.leastPhase) << pair;
            }
        }
    }
}

// TimeBase x SamplingClock / 2 - 1 goes into a register of eight bits; a clock
// that it does not hit would not be the one that the pattern was made for.
TEST(SampleTiming, ClockDividersAreWholeNumbersOfEightBits)
{
    for (const ExpectedPlatform& platform : ExpectedPlatforms) {
        const double base = FloatAt(PlatformPath + platform.name + ".TimeBase");
        for (int code : platform.sensors) {
            const double divider = base * Clock(platform.name, code) / 2.0 - 1.0;
            EXPECT_EQ(divider, std::round(divider)) << platform.name << " " << code;
            EXPECT_TRUE(divider >= 1.0 && divider <= 255.0) << platform.name << " " << divider;
        }
    }
}

TEST(SampleTiming, TarnUHasOneOfItsTenPixelRates)
{
    const std::vector<double> rates = {3.7, 2.8, 2.2, 1.8, 1.5, 1.3, 1.1, 0.95, 0.88, 0.8};
    for (int code : PlatformOf("Tarn_U").sensors) {
        EXPECT_NE(std::find(rates.begin(), rates.end(), Clock("Tarn_U", code)), rates.end());
    }
}

TEST(SampleTiming, CommandCamerasHaveWholeMicroseconds)
{
    for (const char* platform : {"WREN", "TOLM_E"}) {
        for (int code : PlatformOf(platform).sensors) {
            const double tick = Clock(platform, code);
            EXPECT_EQ(tick, std::trunc(tick)) << platform << " " << code;
            EXPECT_GE(tick, 1.0) << platform << " " << code;
        }
    }
}

// The synthesiser's frequency comes from a table of ten, by clock / 0.3 - 1.
TEST(SampleTiming, SynthesiserClocksHitTheirTable)
{
    for (int code : PlatformOf("BRIAR-R3").sensors) {
        const double index = Clock("BRIAR-R3", code) / 0.3 - 1;
        EXPECT_TRUE(index == std::trunc(index) && index >= 0 && index <= 9) << code;
    }
    for (int code : PlatformOf("R3-PLUS").sensors) {
        const double index = Clock("R3-PLUS", code) * 2 / 0.3 - 1;
        EXPECT_TRUE(index == std::trunc(index) && index >= 0 && index <= 9) << code;
    }
}

TEST(SampleTiming, TolmPixelTimeFitsItsRegister)
{
    for (int code : PlatformOf("TOLM").sensors) {
        EXPECT_LE(std::ceil(12.5 / Clock("TOLM", code)) + 1, 255.0) << code;
    }
}
