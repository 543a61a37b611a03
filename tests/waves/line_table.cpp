#include "tests/waves/line_table.h"

namespace {

std::string Joined(std::initializer_list<std::string> parts)
{
    std::string text;
    for (const std::string& part : parts) text += ' ' + part;
    return text;
}

} // namespace

std::string Out(const LineTable& table, uint32_t pixels)
{
    return ' ' + Times(pixels, table.outside);
}

std::string Bins(const LineTable& table, uint32_t count, uint32_t pixels)
{
    std::string bin = table.first;
    for (uint32_t i = 1; i < pixels; ++i) bin += Joined({table.notLast, table.other});
    return ' ' + Times(count, bin + ' ' + table.last);
}

std::string LatePixels(const LineTable& table, uint32_t pixels)
{
    return ' ' + Times(pixels, table.other + ' ' + table.notLast);
}

std::string OpenBin(const LineTable& table, uint32_t pixels)
{
    return Joined({table.first, table.notLast}) + LatePixels(table, pixels - 1);
}

std::string LineOf(const LineTable& table, int32_t rows, const std::string& pixels)
{
    return Folded(
        Joined({table.start, Times(static_cast<uint32_t>(rows), table.repeat), table.settle}) +
        pixels + ' ' + table.end);
}

void WaveLineTest::ExpectLine(WaveBuilder* builder, const LineTable& table,
                              const WaveWindow& window, const std::string& pixels)
{
    ASSERT_EQ(Build(builder, window), 0);
    EXPECT_EQ(Line(), LineOf(table, window.vbin, pixels))
        << "window " << window.x << " " << window.width << ", binning " << window.hbin << " "
        << window.vbin;
}

void WaveLineTest::ExpectCountedLines(WaveBuilder* builder, const LineTable& table, int32_t rows)
{
    // The whole sensor, and with further shifts of the register that are not made.
    const std::string whole = Out(table, 2) + Bins(table, 8, 1) + Out(table, 2);
    ExpectLine(builder, table, {.vbin = rows}, whole);
    ExpectLine(builder, table, {.vbin = rows, .extraCount = 6}, whole);
    ExpectLine(builder, table, {.width = 4, .hbin = 2, .vbin = rows},
               Out(table, 2) + Bins(table, 4, 2) + Out(table, 2));
    // A window from 2 + 1 x 3 = 5 to 10.
    ExpectLine(builder, table, {.x = 1, .width = 2, .hbin = 3, .vbin = rows},
               Out(table, 5) + Bins(table, 2, 3) + Out(table, 1));
    // One bin of three, from 2 to 4.
    ExpectLine(builder, table, {.width = 1, .hbin = 3, .vbin = rows},
               Out(table, 2) + Bins(table, 1, 3) + Out(table, 7));
    // From 2 + 2 x 3 = 8: the second bin has one pixel left before the register ends.
    ExpectLine(builder, table, {.x = 2, .width = 2, .hbin = 3, .vbin = rows},
               Out(table, 8) + Bins(table, 1, 3) + OpenBin(table, 1));
    // From 2 + 1 x 7 = 9 with bins of seven, three of whose pixels exist.
    ExpectLine(builder, table, {.x = 1, .width = 2, .hbin = 7, .vbin = rows},
               Out(table, 9) + OpenBin(table, 3));
    // Behind the register, and no window at all.
    ExpectLine(builder, table, {.x = 100, .width = 2, .vbin = rows}, Out(table, 12));
    ExpectLine(builder, table, {.width = 0, .vbin = rows}, Out(table, 12));
}

void WaveLineTest::ExpectPlacedLines(WaveBuilder* builder, const LineTable& table, int32_t rows)
{
    const std::string whole = Out(table, 2) + Bins(table, 8, 1) + Out(table, 2);
    ExpectLine(builder, table, {.vbin = rows}, whole);
    ExpectLine(builder, table, {.vbin = rows, .extraCount = 6}, whole);
    ExpectLine(builder, table, {.width = 4, .hbin = 2, .vbin = rows},
               Out(table, 2) + Bins(table, 4, 2) + Out(table, 2));
    // From 2 + 1 = 3 to 8: bins begin at 3 and 6.
    ExpectLine(builder, table, {.x = 1, .width = 2, .hbin = 3, .vbin = rows},
               Out(table, 3) + Bins(table, 2, 3) + Out(table, 3));
    // From 3 to 10: bins begin at 4 and 8, the second one ends with the window.
    ExpectLine(builder, table, {.x = 1, .width = 2, .hbin = 4, .vbin = rows},
               Out(table, 3) + LatePixels(table, 1) + Bins(table, 1, 4) + Bins(table, 1, 3) +
                   Out(table, 1));
    // From 2 to 4, one bin that begins at 3.
    ExpectLine(builder, table, {.width = 1, .hbin = 3, .vbin = rows},
               Out(table, 2) + LatePixels(table, 1) + Bins(table, 1, 2) + Out(table, 7));
    // From 8 to 13, beyond the register: 9 to 11 are a bin.
    ExpectLine(builder, table, {.x = 6, .width = 2, .hbin = 3, .vbin = rows},
               Out(table, 8) + LatePixels(table, 1) + Bins(table, 1, 3));
    // From 6 to 15: the bin at 10 has two pixels before the register ends.
    ExpectLine(builder, table, {.x = 4, .width = 2, .hbin = 5, .vbin = rows},
               Out(table, 6) + LatePixels(table, 4) + OpenBin(table, 2));
    // From 10 to 13: the bin would begin at 12.
    ExpectLine(builder, table, {.x = 8, .width = 1, .hbin = 4, .vbin = rows},
               Out(table, 10) + LatePixels(table, 2));
    ExpectLine(builder, table, {.x = 100, .width = 2, .vbin = rows}, Out(table, 12));
    ExpectLine(builder, table, {.width = 0, .vbin = rows}, Out(table, 12));
}

void WaveLineTest::ExpectWriter(WaveBuilder* builder, const std::string& caption, int32_t rows)
{
    record.Ccd.HorRegSize = 0;
    ASSERT_EQ(Build(builder, {.vbin = rows}), 0);
    const WaveContents wave = ReadWaveFile(path);
    EXPECT_EQ(wave.problem, "");
    EXPECT_EQ(wave.byteWords, 0u);
    ASSERT_FALSE(WaveReports.empty());
    EXPECT_EQ(WaveReports.front().text, caption);
    EXPECT_EQ(WaveReports.front().percent, 0);
    EXPECT_EQ(WaveReports.back().percent, 100);
    EXPECT_EQ(Build(builder, {.vbin = rows + 1}), 8);
}
