// qvn wave show, and what it makes of files that are none.
#include "tests/wave_views/pattern_files.h"

TEST_F(WaveViews, ShowHasTheSectionsAndTheWordsAsTheyArePlayed)
{
    // 33 words in the line: 2 at its start, 6 for the row, 6 positions of 4, 1 at its end.
    const ProgramResult result = RunFor({"show", "wave.bin"});
    EXPECT_EQ(result.exitCode, 0) << result.err;
    EXPECT_EQ(
        result.out,
        "wave.bin: 1024 words of 8 bits with the padding, a tick is 500 ns\n"
        "\n"
        "section  start    end  length  duration\n"
        "idle         0      0       1  500 ns\n"
        "row        256      8       9  4.5 us\n"
        "pixel      768      3       4  2 us\n"
        "line       512     32      33  16.5 us\n"
        "\n"
        "idle: 0\n"
        "row: 8 72x2 136x2 72x2 8x2\n"
        "pixel: 32 8x2 32\n"
        "line: 0 8 72x2 136x2 72x2 32 0 8x2 32 1 8 14 32 1 8 14 32 1 8 14 32 1 8 14 32 0 8x3\n");
}

TEST_F(WaveViews, ShowOfWordsOf16BitsTakesTheLowByteFirst)
{
    // Idle is 258, then 1: the file has 1 ahead of 258, and the low byte of each first.
    std::string bytes(29 + 2 * 1024, '\0');
    Put16(&bytes, 0, 1024);
    for (size_t section = 0; section < 4; ++section) {
        Put16(&bytes, 5 + 4 * section, static_cast<uint32_t>(256 * section));
    }
    Put16(&bytes, 7, 1);
    bytes[29] = 1;
    bytes[31] = 2;
    bytes[32] = 1;
    WriteText(scratch, "wide.bin", bytes);
    const ProgramResult result = RunWave({"show", "wide.bin", "--section", "idle"});
    EXPECT_EQ(result.exitCode, 0) << result.err;
    EXPECT_EQ(result.out, "wide.bin: 1024 words of 16 bits with the padding\n"
                          "\n"
                          "section  start    end  length\n"
                          "idle         0      1       2\n"
                          "row        256      0       1\n"
                          "pixel      512      0       1\n"
                          "line       768      0       1\n"
                          "\n"
                          "idle: 258 1\n");
}

TEST_F(WaveViews, ShowHasTheExtraSectionsOfAFileThatHasThem)
{
    PatternText text = SmallPattern();
    text.byteWords = false;
    text.extraA = "2080x3 6240";
    text.extraB = "4160";
    Write("extra.bin", text);
    const ProgramResult result = RunWave({"show", "extra.bin", "--tick", "200"});
    EXPECT_TRUE(Contains(result.out, "\nextra-a    768      3       4  800 ns\n")) << result.out;
    EXPECT_TRUE(Contains(result.out, "\nextra-b   1024      0       1  200 ns\n"));
    EXPECT_TRUE(Contains(result.out, "\npixel     1280      3       4  800 ns\n"));
    EXPECT_TRUE(Contains(result.out, "\nextra-a: 2080x3 6240\nextra-b: 4160\n"));
}

TEST_F(WaveViews, EntriesOfExtraSectionsThatWereLeftOverAreNotShown)
{
    std::string bytes = PatternBytes(SmallPattern());
    Put16(&bytes, 21, 512); // a page of the line
    Put16(&bytes, 25, 11);  // no page at all
    WriteText(scratch, "left.bin", bytes);
    const ProgramResult result = RunWave({"show", "left.bin"});
    EXPECT_EQ(result.exitCode, 0) << result.err;
    EXPECT_FALSE(Contains(result.out, "extra"));
}

TEST_F(WaveViews, LongSectionsAreFoldedIntoLines)
{
    PatternText text = SmallPattern();
    text.line.clear();
    for (int i = 0; i < 40; ++i) text.line += "100 101 ";
    Write("long.bin", text);
    const ProgramResult result = RunWave({"show", "long.bin", "--section", "line"});
    // "line:" and 22 words of 4 letters are 93; the next line has a blank and 23 of them.
    std::string expected = "line:";
    for (int i = 0; i < 80; ++i) {
        if (i == 22 || i == 45 || i == 68) expected += "\n ";
        expected += i % 2 == 0 ? " 100" : " 101";
    }
    EXPECT_TRUE(Contains(result.out, "\n" + expected + "\n")) << result.out;
}

TEST_F(WaveViews, SectionThatTheFileHasNotIsRefused)
{
    const ProgramResult result = RunWave({"show", "wave.bin", "--section", "extra-a"});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_TRUE(Contains(result.err, "extra-a: the file has none")) << result.err;
    EXPECT_EQ(RunWave({"show", "wave.bin", "--section", "lines"}).exitCode, 2);
}

namespace {

struct Broken {
    const char* name;
    std::string bytes;
    const char* complaint;
};

std::string With(size_t at, uint32_t value)
{
    std::string bytes = PatternBytes(SmallPattern());
    Put16(&bytes, at, value);
    return bytes;
}

std::vector<Broken> BrokenFiles()
{
    const std::string good = PatternBytes(SmallPattern());
    std::string width = good;
    width[4] = 2;
    std::string wide = good;
    wide[4] = 0;
    return {
        {"empty", "", "it has 0 bytes, the table alone has 29"},
        {"short table", good.substr(0, 28), "it has 28 bytes, the table alone has 29"},
        {"table only", good.substr(0, 29), "it has 29 bytes, where 1024 words of 8 bits take 1053"},
        {"cut", good.substr(0, good.size() - 1), "it has 1052 bytes"},
        {"longer", good + "x", "it has 1054 bytes"},
        {"of the other width", wide, "where 1024 words of 16 bits take 2077"},
        {"foreign", std::string(2000, 'q'), "byte 4 is 113"},
        {"of no width", width, "byte 4 is 2"},
        {"never finished", std::string(29, '\0') + good.substr(29), "its table has no words"},
        {"of half a page", With(0, 1023), "its table has 1023 words"},
        {"too many", With(2, 0xFFFF), "words, where a pattern has whole pages of 256"},
        {"off its page", With(9, 257), "the row section starts at word 257, which begins no page"},
        {"behind the end", With(13, 1024), "the pixel section ends at word 1027"},
        {"past the end", With(19, 512),
         "the line section ends at word 1024, and the file has 1024"},
        {"far away", With(17, 0xFF00), "the line section ends at word 65312"},
    };
}

} // namespace

TEST_F(WaveViews, BrokenFilesAreRefusedByName)
{
    for (const Broken& broken : BrokenFiles()) {
        WriteText(scratch, "bad.bin", broken.bytes);
        const std::vector<std::vector<std::string>> commands = {
            {"show", "bad.bin"},
            {"plot", "bad.bin", "-o", "a.svg"},
            {"vcd", "bad.bin", "-o", "a.vcd"},
            {"diff", "wave.bin", "bad.bin"},
        };
        for (const std::vector<std::string>& command : commands) {
            const ProgramResult result = RunWave(command);
            EXPECT_EQ(result.exitCode, 1) << broken.name;
            EXPECT_EQ(result.out, "") << broken.name;
            EXPECT_TRUE(Contains(result.err, broken.complaint))
                << broken.name << ": " << result.err;
            EXPECT_TRUE(Contains(result.err, "bad.bin")) << broken.name;
        }
        EXPECT_EQ(RunWave({"lint", "bad.bin"}).exitCode, 1) << broken.name;
        EXPECT_FALSE(FileExists(scratch, "a.svg"));
        EXPECT_FALSE(FileExists(scratch, "a.vcd"));
    }
}

TEST_F(WaveViews, WhatIsNoFileIsRefused)
{
    for (const char* path : {"none.bin", ".", "/dev/null", "/dev/zero"}) {
        const ProgramResult result = RunWave({"show", path});
        EXPECT_EQ(result.exitCode, 1) << path;
        EXPECT_TRUE(Contains(result.err, path)) << result.err;
    }
}

TEST_F(WaveViews, LargestPatternOfEachWidthIsRead)
{
    for (const bool byteWords : {true, false}) {
        PatternText text = SmallPattern();
        text.byteWords = byteWords;
        text.line = "8x64768"; // 253 pages, with one for each of the others 65536 words
        Write("large.bin", text);
        const ProgramResult result = RunWave({"show", "large.bin"});
        EXPECT_EQ(result.exitCode, 0) << result.err;
        EXPECT_TRUE(Contains(result.out, "65536 words")) << result.out;
        EXPECT_TRUE(Contains(result.out, "\nline: 8x64768\n"));
    }
}
