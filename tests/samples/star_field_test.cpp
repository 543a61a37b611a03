#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include <unistd.h>

#include <gtest/gtest.h>

#include "emulator/star_field.h"

namespace {

struct Field {
    size_t columns, rows;
    std::vector<uint16_t> pixels;
    uint16_t At(size_t x, size_t y) const { return pixels[y * columns + x]; }
};

Field Make(uint32_t columns, uint32_t rows, uint32_t seed)
{
    Field field{columns, rows, std::vector<uint16_t>(size_t{columns} * rows)};
    MakeStarField(field.pixels.data(), columns, rows, seed);
    return field;
}

double Median(const Field& field, size_t left, size_t top, size_t width, size_t height)
{
    std::vector<uint16_t> values;
    for (size_t y = top; y < top + height; ++y) {
        for (size_t x = left; x < left + width; ++x) values.push_back(field.At(x, y));
    }
    std::nth_element(values.begin(), values.begin() + static_cast<long>(values.size() / 2),
                     values.end());
    return values[values.size() / 2];
}

// Pixels that stand above all their neighbours and `counts` above the one 12
// columns away.
int Peaks(const Field& field, int counts)
{
    int peaks = 0;
    for (size_t y = 1; y + 1 < field.rows; ++y) {
        for (size_t x = 12; x + 12 < field.columns; ++x) {
            const int centre = field.At(x, y);
            int highest = 0;
            for (size_t j = y - 1; j <= y + 1; ++j) {
                for (size_t i = x - 1; i <= x + 1; ++i) {
                    if (i != x || j != y) highest = std::max<int>(highest, field.At(i, j));
                }
            }
            if (centre > highest && centre - field.At(x - 12, y) > counts &&
                centre - field.At(x + 12, y) > counts) {
                ++peaks;
            }
        }
    }
    return peaks;
}

// Columns that outshine both neighbours in nearly all of the last `last` rows.
int HotColumns(const Field& field, size_t last)
{
    int columns = 0;
    for (size_t x = 1; x + 1 < field.columns; ++x) {
        size_t rows = 0;
        for (size_t y = field.rows - last; y < field.rows; ++y) {
            const int beside = std::max(field.At(x - 1, y), field.At(x + 1, y));
            if (field.At(x, y) - beside >= 20) ++rows;
        }
        if (rows * 10 > last * 9) ++columns;
    }
    return columns;
}

constexpr uint32_t Seed = 13;

} // namespace

TEST(StarField, SameArgumentsGiveTheSamePixels)
{
    EXPECT_EQ(Make(200, 150, 1).pixels, Make(200, 150, 1).pixels);
}

TEST(StarField, AnotherSeedGivesAnotherField)
{
    EXPECT_NE(Make(200, 150, 1).pixels, Make(200, 150, 2).pixels);
}

// A second program, written apart from this one, works out every pixel by itself.
// The sizes have a bright star with its spikes, and edges that no step divides.
TEST(StarField, AgreesWithItsDescriptionPixelByPixel)
{
    if (std::system("/usr/bin/python3 -c '' 2>/dev/null") != 0) {
        GTEST_SKIP() << "/usr/bin/python3 is missing: the second program cannot run";
    }
    constexpr uint32_t cases[][3] = {{160, 120, 22}, {61, 83, 7}, {1, 1, 1}, {640, 4, 9}};
    for (const auto& [columns, rows, seed] : cases) {
        const std::string output =
            testing::TempDir() + "qvn_star_field_" + std::to_string(getpid());
        const std::string command = "/usr/bin/python3 -B '" QVN_SOURCE_DIR
                                    "/tests/samples/star_field_reference.py' " +
                                    std::to_string(columns) + " " + std::to_string(rows) + " " +
                                    std::to_string(seed) + " '" + output + "'";
        ASSERT_EQ(std::system(command.c_str()), 0);
        std::ifstream stream(output, std::ios::binary);
        const std::vector<char> bytes{std::istreambuf_iterator<char>(stream), {}};
        const Field field = Make(columns, rows, seed);
        ASSERT_EQ(bytes.size(), field.pixels.size() * 2);
        size_t differing = 0;
        for (size_t i = 0; i < field.pixels.size(); ++i) {
            const int low = static_cast<unsigned char>(bytes[2 * i]);
            const int high = static_cast<unsigned char>(bytes[2 * i + 1]);
            if (field.pixels[i] != low + 256 * high) ++differing;
        }
        EXPECT_EQ(differing, 0u) << columns << " x " << rows << ", seed " << seed;
        std::remove(output.c_str());
    }
}

TEST(StarField, SkyIsDarkAndStarsDoNotSaturate)
{
    const Field field = Make(1536, 1024, Seed);
    const double sky = Median(field, 0, 0, field.columns, field.rows);
    EXPECT_GE(sky, 300.0);
    EXPECT_LE(sky, 600.0);
    const auto [darkest, brightest] = std::minmax_element(field.pixels.begin(), field.pixels.end());
    EXPECT_GE(*darkest, 300);
    EXPECT_GE(*brightest, 20000);
    EXPECT_LE(*brightest, 45000);
}

// 360 counts in the first corner, 60 more in the last column, 40 in the last row.
TEST(StarField, SkyHasAGradient)
{
    const Field field = Make(1536, 1024, Seed);
    EXPECT_NEAR(Median(field, 0, 0, 64, 64), 362.0, 4.0);
    EXPECT_NEAR(Median(field, 1472, 0, 64, 64), 420.0, 4.0);
    EXPECT_NEAR(Median(field, 0, 960, 64, 64), 400.0, 4.0);
    EXPECT_NEAR(Median(field, 1472, 960, 64, 64), 457.0, 4.0);
}

TEST(StarField, NebulaShinesInTheMiddleAndNotInTheCorners)
{
    const Field field = Make(1536, 1024, Seed);
    EXPECT_GT(Median(field, 640, 384, 256, 256), 500.0);
}

// One star to 500 pixels, of which 30 in `counts` are brighter than `counts`:
// 3145 stars, so 94 above 1000 and 9 above 10000. Four deviations are allowed.
TEST(StarField, StarsFollowAPowerLaw)
{
    const Field field = Make(1536, 1024, Seed);
    EXPECT_NEAR(Peaks(field, 1000), 94, 40);
    EXPECT_NEAR(Peaks(field, 10000), 9, 12);
    EXPECT_GE(Peaks(field, 10000), 1);
}

// One, and one more for each 512 columns; one that begins low may be missed.
TEST(StarField, HasAFewHotColumns)
{
    const Field field = Make(1536, 1024, Seed);
    const int hot = HotColumns(field, 100);
    EXPECT_GE(hot, 2);
    EXPECT_LE(hot, 4);
}

TEST(StarField, StaysInsideTheBuffer)
{
    constexpr uint32_t sizes[][2] = {{1, 1}, {1, 300}, {300, 1}, {2, 3}, {5, 7}, {33, 64}};
    for (const auto& [columns, rows] : sizes) {
        std::vector<uint16_t> pixels(size_t{columns} * rows + 2, 0xABCD);
        MakeStarField(pixels.data() + 1, columns, rows, Seed);
        EXPECT_EQ(pixels.front(), 0xABCD);
        EXPECT_EQ(pixels.back(), 0xABCD);
        EXPECT_EQ(std::count(pixels.begin() + 1, pixels.end() - 1, 0xABCD), 0);
    }
}

TEST(StarField, NoSizeLeavesTheBufferAlone)
{
    uint16_t pixel = 7;
    MakeStarField(&pixel, 0, 10, Seed);
    MakeStarField(&pixel, 10, 0, Seed);
    EXPECT_EQ(pixel, 7);
}
