// qvn wave plot and vcd.
#include <algorithm>
#include <map>
#include <sstream>

#include "tests/wave_views/pattern_files.h"

namespace {

// The wires of a dump: their levels at each step of `tick` units, a letter each, up to
// the first without a level.
std::map<std::string, std::string> ReadDump(const std::string& dump, size_t tick)
{
    std::map<std::string, std::string> names; // by code
    std::map<std::string, std::string> levels;
    std::istringstream lines(dump);
    for (std::string line; std::getline(lines, line);) {
        std::istringstream parts(line);
        std::string word, kind, bits, code, name;
        parts >> word >> kind >> bits >> code >> name;
        if (word == "$var") names[code] = name;
        if (line[0] == '#') {
            for (auto& [wire, text] : levels) {
                while (text.size() < std::stoul(line.substr(1)) / tick) text += text.back();
            }
        } else if (line[0] == '0' || line[0] == '1' || line[0] == 'x') {
            std::string& text = levels[names[line.substr(1)]];
            text += line[0];
        }
    }
    for (auto& [wire, text] : levels) text.resize(std::min(text.size(), text.find('x') + 1));
    return levels;
}

// How often a text stands in another.
size_t Count(const std::string& text, const std::string& part)
{
    size_t count = 0;
    for (size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) {
        ++count;
    }
    return count;
}

// A pattern whose line 0 changes in each of 3000 ticks.
PatternText FastPattern()
{
    PatternText text = SmallPattern();
    text.line.clear();
    for (int i = 0; i < 1500; ++i) text.line += "1 0 ";
    return text;
}

} // namespace

TEST_F(WaveViews, DumpHasTheLevelsInPlayingOrder)
{
    const ProgramResult result = RunFor({"vcd", "wave.bin", "-o", "w.vcd"});
    ASSERT_EQ(result.exitCode, 0) << result.err;
    const std::string dump = ReadText(scratch, "w.vcd");
    // A tick of 500 ns is 5 times 100 ns.
    EXPECT_TRUE(Contains(dump, "$timescale 100 ns $end\n"));
    std::map<std::string, std::string> wires = ReadDump(dump, 5);
    // 8 72x2 136x2 72x2 8x2: 64 is the vertical clock, 128 the row transfer.
    EXPECT_EQ(wires["row_vertical_clock"], "011001100x");
    EXPECT_EQ(wires["row_row_transfer"], "000110000x");
    EXPECT_EQ(wires["row_horizontal_shift"], "111111111x");
    // 32 8 8 32: 32 is the reset gate.
    EXPECT_EQ(wires["pixel_reset_gate"], "1001x");
    EXPECT_EQ(wires["idle_convert"], "0x");
    // Convert, 4, is in the 14 that ends each of the four pixels, at 15, 19, 23 and 27.
    EXPECT_EQ(wires["line_convert"], "000000000000000100010001000100000x");
}

TEST_F(WaveViews, DumpHasAScopeForEachSectionAndAWireForEachLine)
{
    ASSERT_EQ(RunWave({"vcd", "wave.bin", "-o", "w.vcd"}).exitCode, 0);
    const std::string dump = ReadText(scratch, "w.vcd");
    for (const char* scope : {"idle", "row", "pixel", "line"}) {
        EXPECT_EQ(Count(dump, std::string("$scope module ") + scope + " $end\n"), 1U) << scope;
    }
    EXPECT_EQ(Count(dump, "$upscope $end\n"), 4U);
    EXPECT_EQ(Count(dump, "$var wire 1 "), 32U);
    EXPECT_TRUE(Contains(dump, " row_line_7 $end\n"));
    // A tick that is not known is drawn as a nanosecond.
    EXPECT_TRUE(Contains(dump, "$timescale 1 ns $end\n"));
}

TEST_F(WaveViews, TimeScaleIsTheLargestThatDividesTheTick)
{
    const std::map<std::string, std::string> scales = {
        {"1", "1 ns"},     {"350", "10 ns"},   {"62.5", "100 ps"}, {"1000", "1 us"},
        {"0.001", "1 ps"}, {"20000", "10 us"}, {"1000000", "1 ms"}};
    for (const auto& [tick, scale] : scales) {
        ASSERT_EQ(
            RunWave({"vcd", "wave.bin", "-o", "w.vcd", "--overwrite", "--tick", tick}).exitCode, 0);
        EXPECT_TRUE(Contains(ReadText(scratch, "w.vcd"), "$timescale " + scale + " $end\n"))
            << tick;
    }
}

TEST_F(WaveViews, PlotHasATraceForEachLineWithARole)
{
    // Ticks 14, 15 and 16 of the line are 8, 14 and 32. The longest of the seven names,
    // "horizontal shift", takes 16 letters of 12 pixels and 40 more, so the traces go
    // from 232 to 1170, 938 / 3 pixels a tick. Convert is the sixth line from above:
    // its band begins at 60 + 5 x 46 = 290, its levels are 290 + 37 = 327 and 28 less.
    const ProgramResult result =
        RunFor({"plot", "wave.bin", "-o", "p.svg", "--from", "14", "--to", "17"});
    ASSERT_EQ(result.exitCode, 0) << result.err;
    const std::string plot = ReadText(scratch, "p.svg");
    EXPECT_TRUE(Contains(plot, "\"232.0,327.0 544.7,327.0 544.7,299.0 857.3,299.0 857.3,327.0 "
                               "1170.0,327.0\""))
        << plot;
    for (const char* name : {"row transfer", "vertical clock", "reset gate", "horizontal shift",
                             "first sample", "second sample", "convert"}) {
        EXPECT_TRUE(Contains(plot, std::string(">") + name + "<")) << name;
    }
    EXPECT_FALSE(Contains(plot, ">line 4<")); // no word has it, and the camera neither
    EXPECT_TRUE(Contains(plot, "line section, ticks 14 to 17 of 33<"));
    // 14 ticks are 7 microseconds, 17 are 8.5; marks stand 0.2 apart.
    EXPECT_TRUE(Contains(plot, ">7.0<") && Contains(plot, ">8.4<"));
}

TEST_F(WaveViews, PlotAsPngIsBlackOnWhite)
{
    ASSERT_EQ(RunFor({"plot", "wave.bin", "-o", "p.png", "--from", "14", "--to", "17"}).exitCode,
              0);
    const Picture picture = ReadPng(scratch, "p.png");
    ASSERT_EQ(picture.width, 1200);
    ASSERT_EQ(picture.height, 60 + 7 * 46 + 58 + 18);
    ASSERT_EQ(picture.channels, 3);
    const auto red = [&picture](size_t x, size_t y) {
        return picture.pixels[3 * (y * static_cast<size_t>(picture.width) + x)];
    };
    // Convert, as above: low at 300, high at 700.
    EXPECT_EQ(red(300, 327), 0);
    EXPECT_EQ(red(300, 299), 255);
    EXPECT_EQ(red(700, 327), 255);
    EXPECT_EQ(red(700, 299), 0);
}

TEST_F(WaveViews, EdgesThatRunTogetherAreHatched)
{
    Write("fast.bin", FastPattern());
    // 3000 edges on some thousand pixels, then 20 on as many.
    ASSERT_EQ(RunWave({"plot", "fast.bin", "-o", "far.svg"}).exitCode, 0);
    ASSERT_EQ(RunWave({"plot", "fast.bin", "-o", "near.svg", "--to", "20"}).exitCode, 0);
    EXPECT_TRUE(Contains(ReadText(scratch, "far.svg"), "stroke=\"#6e6e6e\""));
    EXPECT_FALSE(Contains(ReadText(scratch, "near.svg"), "stroke=\"#6e6e6e\""));
}

TEST_F(WaveViews, PlotRefusesTicksOutsideTheSection)
{
    const std::vector<std::vector<std::string>> ranges = {
        {"--from", "33"}, {"--to", "34"}, {"--from", "5", "--to", "5"}, {"--to", "0"}};
    for (const std::vector<std::string>& range : ranges) {
        std::vector<std::string> arguments = {"plot", "wave.bin", "-o", "p.svg"};
        arguments.insert(arguments.end(), range.begin(), range.end());
        const ProgramResult result = RunWave(arguments);
        EXPECT_EQ(result.exitCode, 1) << range[0];
        EXPECT_TRUE(Contains(result.err, "the section has 33 ticks")) << result.err;
    }
    EXPECT_FALSE(FileExists(scratch, "p.svg"));
}

TEST_F(WaveViews, PicturesAndDumpsReplaceFilesOnlyWhenTold)
{
    for (const char* command : {"plot", "vcd"}) {
        WriteText(scratch, "mine.svg", "mine");
        EXPECT_EQ(RunWave({command, "wave.bin", "-o", "mine.svg"}).exitCode, 1);
        EXPECT_EQ(ReadText(scratch, "mine.svg"), "mine");
        EXPECT_EQ(RunWave({command, "wave.bin", "-o", "mine.svg", "--overwrite"}).exitCode, 0);
        EXPECT_NE(ReadText(scratch, "mine.svg"), "mine");
    }
    EXPECT_EQ(RunWave({"plot", "wave.bin", "-o", "p.gif"}).exitCode, 1);
}
