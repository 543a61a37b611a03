// What the lines of a pattern are called, and what they do.
#include <gtest/gtest.h>

#include <set>
#include <string>

#include "bench/builders.h"
#include "core/binding.h"
#include "include/qvn_bench.h"

namespace {

std::string Name(int32_t platform, int32_t sensor, int32_t line, int32_t interfaceType = 0)
{
    char buffer[32] = "";
    EXPECT_EQ(QVB_LineName(platform, sensor, interfaceType, line, buffer, sizeof buffer), 0);
    return buffer;
}

int32_t AnySensor(const BuilderRow& row)
{
    return row.sensors == nullptr ? 255 : row.sensors[0];
}

int32_t LinkOf(const BuilderRow& row)
{
    return row.link == AnyLink ? 0 : row.link;
}

} // namespace

// 32 and 64 move rows, 8 and 16 the register, 128 empties the node; 1 and 2 sample, 4 converts.
TEST(LineNames, BriarHasAllRolesOfEightLines)
{
    EXPECT_EQ(Name(42, 255, 0), "first sample");
    EXPECT_EQ(Name(42, 255, 1), "second sample");
    EXPECT_EQ(Name(42, 255, 2), "convert");
    EXPECT_EQ(Name(42, 255, 3), "horizontal shift");
    EXPECT_EQ(Name(42, 255, 4), "horizontal clock");
    EXPECT_EQ(Name(42, 255, 5), "vertical clock");
    EXPECT_EQ(Name(42, 255, 6), "row transfer");
    EXPECT_EQ(Name(42, 255, 7), "reset gate");
    EXPECT_EQ(Name(42, 255, 8), "line 8");
}

// Sensor 279 has its two vertical lines exchanged.
TEST(LineNames, FollowTheSensor)
{
    EXPECT_EQ(Name(44, 255, 5), "vertical clock");
    EXPECT_EQ(Name(44, 255, 6), "row transfer");
    EXPECT_EQ(Name(44, 279, 5), "row transfer");
    EXPECT_EQ(Name(44, 279, 6), "vertical clock");
}

// Va 16, Vb 32, V3 64, V4 2048; Hc 128, Ha 256, Hb 512, Hd 1024. V3 moves the row, Hd the cell.
TEST(LineNames, SeveralLinesOfARoleAreNumberedFromTheLowest)
{
    EXPECT_EQ(Name(22, 300, 4), "vertical clock 1");
    EXPECT_EQ(Name(22, 300, 5), "vertical clock 2");
    EXPECT_EQ(Name(22, 300, 6), "row transfer");
    EXPECT_EQ(Name(22, 300, 11), "vertical clock 3");
    EXPECT_EQ(Name(22, 300, 7), "horizontal clock 1");
    EXPECT_EQ(Name(22, 300, 8), "horizontal clock 2");
    EXPECT_EQ(Name(22, 300, 9), "horizontal clock 3");
    EXPECT_EQ(Name(22, 300, 10), "horizontal shift");
    EXPECT_EQ(Name(22, 300, 3), "reset gate");
    EXPECT_EQ(Name(22, 300, 2), "convert");
    EXPECT_EQ(Name(22, 300, 0), "sample");
    EXPECT_EQ(Name(22, 300, 1), "line 1");
    EXPECT_EQ(Name(22, 300, 15), "line 15");
}

// 256 and 512 go up together. No camera but this moves cells with two lines.
TEST(LineNames, TwoLinesMayShiftTogether)
{
    EXPECT_EQ(Name(25, 123, 8), "horizontal shift 1");
    EXPECT_EQ(Name(25, 123, 9), "horizontal shift 2");
}

TEST(LineNames, StoreAreaHasItsOwnClocks)
{
    EXPECT_EQ(Name(25, 128, 11), "store clock 1");
    EXPECT_EQ(Name(25, 128, 12), "store clock 2");
    EXPECT_EQ(Name(25, 128, 13), "store clock 3");
    EXPECT_EQ(Name(25, 128, 10), "row transfer");
    EXPECT_EQ(Name(25, 128, 1), "convert");
}

// Over USB the sensor 2000 of platform 28 has its own builder: 64 shifts. Else 512 does.
TEST(LineNames, FollowTheLink)
{
    EXPECT_EQ(Name(28, 2000, 6, QV_INTERFACE_USB), "horizontal shift");
    EXPECT_EQ(Name(28, 2000, 9, QV_INTERFACE_PCI_CARD), "horizontal shift");
    EXPECT_EQ(Name(28, 2000, 6, QV_INTERFACE_PCI_CARD), "line 6");
}

TEST(LineNames, NoTwoLinesOfABuilderShareOne)
{
    for (const BuilderRow* row = BuilderRows; row->platform != 0; ++row) {
        if (FindBenchBuilder(row->platform, AnySensor(*row), LinkOf(*row)) == nullptr) continue;
        std::set<std::string> names;
        for (int32_t line = 0; line < QVB_LINES; ++line) {
            names.insert(Name(row->platform, AnySensor(*row), line, LinkOf(*row)));
        }
        EXPECT_EQ(names.size(), size_t{QVB_LINES}) << row->platform << ", " << AnySensor(*row);
        for (const char* role : {"row transfer", "reset gate", "convert"}) {
            EXPECT_EQ(names.count(role), 1u) << role << ", " << row->platform;
        }
    }
}

// Those that leave the patterns to the camera's firmware are none of them.
TEST(LineNames, AllBuildersOfFilesAreBoundAndFound)
{
    std::set<std::string> bound;
    for (const BuilderRow* row = BuilderRows; row->platform != 0; ++row) {
        const BenchBuilder* found = FindBenchBuilder(row->platform, AnySensor(*row), LinkOf(*row));
        if (found == nullptr) continue;
        EXPECT_EQ(found->build, row->build) << row->platform;
        bound.insert(found->name);
    }
    EXPECT_EQ(bound.size(), 32u);
}

TEST(LineNames, PairsWithoutPatternsHaveNumbersOnly)
{
    char buffer[32] = "";
    for (const int32_t platform : {1, 10, 0, -1, 99999}) {
        EXPECT_EQ(QVB_LineName(platform, 255, 0, 3, buffer, sizeof buffer), QVB_ERROR_NO_BUILDER);
        EXPECT_STREQ(buffer, "line 3") << platform;
    }
    EXPECT_EQ(QVB_LineName(24, 999, 0, 15, buffer, sizeof buffer), QVB_ERROR_NO_BUILDER);
    EXPECT_STREQ(buffer, "line 15");
    EXPECT_EQ(QVB_LineName(30, 500, 0, 0, buffer, sizeof buffer), QVB_ERROR_NO_BUILDER);
    EXPECT_STREQ(buffer, "line 0");
}

TEST(LineNames, StayInTheirBuffer)
{
    char buffer[8] = "xxxxxxx";
    EXPECT_EQ(QVB_LineName(42, 255, 0, 6, buffer, 5), 0);
    EXPECT_STREQ(buffer, "row ");
    EXPECT_EQ(buffer[5], 'x');
    EXPECT_EQ(QVB_LineName(42, 255, 0, 6, buffer, 1), 0);
    EXPECT_STREQ(buffer, "");
    buffer[0] = 'y';
    EXPECT_EQ(QVB_LineName(42, 255, 0, 6, buffer, 0), QVB_ERROR_ARGUMENT);
    EXPECT_EQ(QVB_LineName(42, 255, 0, 6, nullptr, 8), QVB_ERROR_ARGUMENT);
    EXPECT_EQ(QVB_LineName(42, 255, 0, -1, buffer, 8), QVB_ERROR_ARGUMENT);
    EXPECT_EQ(QVB_LineName(42, 255, 0, QVB_LINES, buffer, 8), QVB_ERROR_ARGUMENT);
    EXPECT_EQ(buffer[0], 'y');
}

TEST(WaveLines, TellWordAndWork)
{
    QvbWaveLines lines{};
    ASSERT_EQ(QVB_WaveLines(61, 255, 6, 1, &lines), 0);
    EXPECT_EQ(lines.WordBits, 8u);
    EXPECT_EQ(lines.WordLimit, 32767u);
    EXPECT_EQ(lines.Row, 128u);
    EXPECT_EQ(lines.Shift, 8u);
    EXPECT_EQ(lines.Reset, 32u);
    EXPECT_EQ(lines.Convert, 4u);
    EXPECT_EQ(lines.Inverted, 0u);
    ASSERT_EQ(QVB_WaveLines(205, 255, 6, 1, &lines), 0);
    EXPECT_EQ(lines.WordBits, 16u);
    EXPECT_EQ(lines.WordLimit, 65535u);
}

// Lines 16 and 32 are active high with technology 0.
TEST(WaveLines, FollowTheTechnology)
{
    QvbWaveLines one{}, other{};
    ASSERT_EQ(QVB_WaveLines(22, 300, 0, 1, &one), 0);
    ASSERT_EQ(QVB_WaveLines(22, 300, 0, 0, &other), 0);
    EXPECT_EQ(one.Inverted ^ other.Inverted, 16u | 32u);
}

TEST(WaveLines, RefuseWhatIsNone)
{
    QvbWaveLines lines{};
    lines.Row = 77;
    EXPECT_EQ(QVB_WaveLines(42, 255, 0, 1, nullptr), QVB_ERROR_ARGUMENT);
    EXPECT_EQ(QVB_WaveLines(1, 255, 0, 1, &lines), QVB_ERROR_NO_BUILDER);
    EXPECT_EQ(QVB_WaveLines(29, 255, 6, 1, &lines), QVB_ERROR_NO_BUILDER);
    EXPECT_EQ(lines.Row, 77u);
}

TEST(BenchErrors, HaveTexts)
{
    EXPECT_STREQ(QVB_ErrorMessage(QV_ERROR_NONE), "OK");
    EXPECT_STREQ(QVB_ErrorMessage(QV_ERROR_PATTERN_OVERFLOW),
                 "Memory overflow in pattern generator! Decrease vertical binning");
    EXPECT_STREQ(QVB_ErrorMessage(QVB_ERROR_NO_BUILDER),
                 "The platform has no clock patterns for this sensor");
    EXPECT_STREQ(QVB_ErrorMessage(29), "");
    EXPECT_STREQ(QVB_ErrorMessage(-1000), "");
}
