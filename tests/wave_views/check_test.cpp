// qvn wave diff and lint.
#include "tests/wave_views/pattern_files.h"

TEST_F(WaveViews, DiffOfTwoThatArePlayedAlikeIsEmpty)
{
    std::string bytes = PatternBytes(SmallPattern());
    bytes[29 + 1] = 77;      // padding of the idle section
    Put16(&bytes, 21, 4711); // entries that no section has
    WriteText(scratch, "other.bin", bytes);
    const ProgramResult result = RunWave({"diff", "wave.bin", "other.bin"});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.out, "");
}

TEST_F(WaveViews, DiffHasTheTicksThatDiffer)
{
    PatternText text = SmallPattern();
    text.row = "8 72x2 128x2 72 8x3";
    Write("other.bin", text);
    const ProgramResult result = RunWave({"diff", "wave.bin", "other.bin"});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(result.err, "");
    EXPECT_EQ(result.out, "row: 9 words\n"
                          "  from tick 3\n"
                          "    < 136x2\n"
                          "    > 128x2\n"
                          "  from tick 6\n"
                          "    < 72\n"
                          "    > 8\n");
}

TEST_F(WaveViews, DiffOfSectionsOfOtherLengthsLeavesOutWhatTheyShare)
{
    PatternText text = SmallPattern();
    text.row = "8 72x2 136x5 72x2 8x2";
    text.pixel = "32 8 32";
    Write("other.bin", text);
    const ProgramResult result = RunWave({"diff", "wave.bin", "other.bin"});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(result.out, "row: 9 and 12 words\n"
                          "  from tick 5\n"
                          "    < nothing\n"
                          "    > 136x3\n"
                          "pixel: 4 and 3 words\n"
                          "  from tick 2\n"
                          "    < 8\n"
                          "    > nothing\n");
}

TEST_F(WaveViews, DiffTellsOfSectionsAndWidthsThatOnlyOneHas)
{
    PatternText text = SmallPattern();
    text.byteWords = false;
    text.extraA = "2048";
    Write("other.bin", text);
    const ProgramResult result = RunWave({"diff", "wave.bin", "other.bin"});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(result.out, "words of 8 and 16 bits\n"
                          "pixel: 4 words, starts at 768 and 1024\n"
                          "extra-a: only the second has it\n");
}

TEST_F(WaveViews, LintOfASoundPatternPasses)
{
    // A frame is three lines and two dummy rows of 33 words of 0.5 us.
    const ProgramResult result = RunFor({"lint", "wave.bin"});
    EXPECT_EQ(result.exitCode, 0) << result.err;
    EXPECT_EQ(
        result.out,
        "wave.bin: 1024 words of 8 bits\n"
        "  ok    width         HERON_Plus with kaf400e takes words of 8 bits\n"
        "  ok    sections      idle, row, pixel, line, each on pages of its own\n"
        "  ok    size          1024 of 32767 words, 31743 left before error 8\n"
        "  ok    length        the longest section has 33 words, 32767 is the most of 8 bits\n"
        "  ok    conversions   4 a line, as expected\n"
        "  ok    lines         all that have a role move\n"
        "        line time     33 words, 16.5 us\n"
        "        frame time    3 lines, 82.5 us\n");
}

TEST_F(WaveViews, LintCountsConversionsAgainstTheWindow)
{
    // Shifted away are 1 row and 2 dummy rows of 9 words and 6 columns of 4; read are 2
    // lines of 33: 27 + 24 + 66 = 117 words.
    const ProgramResult result = RunFor({"lint", "wave.bin", "--window", "1,1,2,2"});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_TRUE(Contains(result.out, "  FAIL  conversions   4 a line, 2 expected\n")) << result.out;
    EXPECT_TRUE(Contains(result.out, "frame time    2 lines, 58.5 us\n")) << result.out;
    EXPECT_TRUE(Contains(result.err, "1 of 6 checks fail")) << result.err;
}

TEST_F(WaveViews, LintCountsConversionsAgainstTheBinning)
{
    const ProgramResult result = RunFor({"lint", "wave.bin", "--binning", "2,1"});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_TRUE(Contains(result.out, "FAIL  conversions   4 a line, 2 expected\n")) << result.out;
    // Three rows binned by 5 are none, and one row is read besides.
    const ProgramResult high = RunFor({"lint", "wave.bin", "--binning", "1,5"});
    EXPECT_TRUE(Contains(high.out, "frame time    0 lines, 16.5 us\n")) << high.out;
}

TEST_F(WaveViews, LintFindsALineThatNeverMoves)
{
    PatternText text = SmallPattern();
    text.line = "0 8 72x2 136x2 72x2 8 0 8 1 8 10";
    text.pixel = "8 0";
    Write("still.bin", text);
    const ProgramResult result = RunFor({"lint", "still.bin"});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_TRUE(Contains(result.out, "FAIL  lines         never moving: convert, reset gate\n"))
        << result.out;
    EXPECT_TRUE(Contains(result.out, "FAIL  conversions   0 a line, 4 expected\n"));
    // The camera not told, all lines count, and none is missed.
    const ProgramResult untold = RunWave({"lint", "still.bin"});
    EXPECT_EQ(untold.exitCode, 0);
    EXPECT_TRUE(Contains(untold.out, "note  lines         never moving: line 2, line 4, line 5\n"))
        << untold.out;
}

TEST_F(WaveViews, LintFindsTheOtherWidth)
{
    PatternText text = SmallPattern();
    text.byteWords = false;
    Write("wide.bin", text);
    const ProgramResult result = RunFor({"lint", "wide.bin"});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_TRUE(
        Contains(result.out, "FAIL  width         HERON_Plus with kaf400e takes words of 8 bits\n"))
        << result.out;
}

TEST_F(WaveViews, LintKnowsTheLimitOfTheCamera)
{
    PatternText text = SmallPattern();
    text.line = "0x32000 8"; // 126 pages, and 129 are 33024 words
    Write("large.bin", text);
    const ProgramResult result = RunFor({"lint", "large.bin"});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_TRUE(Contains(result.out, "FAIL  size          33024 words, 257 above the 32767 of "
                                     "error 8\n"))
        << result.out;
    // Of another camera the section starts alone are the limit.
    EXPECT_TRUE(Contains(RunWave({"lint", "large.bin"}).out,
                         "ok    size          33024 of 65536 words, 32512 left before error 8\n"));
}

TEST_F(WaveViews, LintFindsSectionsThatAreTooLongForBytes)
{
    PatternText text = SmallPattern();
    text.line = "0x32767 8";
    Write("long.bin", text);
    const ProgramResult result = RunWave({"lint", "long.bin"});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_TRUE(Contains(result.out, "FAIL  length        the longest section has 32768 words"))
        << result.out;
}

TEST_F(WaveViews, LintFindsSectionsThatLieWrong)
{
    std::string shared = PatternBytes(SmallPattern());
    Put16(&shared, 11, 256); // the row goes on in the page of the line
    WriteText(scratch, "shared.bin", shared);
    ProgramResult result = RunWave({"lint", "shared.bin"});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_TRUE(Contains(result.out, "FAIL  sections      row and line share a page\n"))
        << result.out;

    std::string off = PatternBytes(SmallPattern());
    Put16(&off, 9, 3);
    WriteText(scratch, "off.bin", off);
    result = RunWave({"lint", "off.bin"});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_TRUE(Contains(result.out, "FAIL  sections      row starts at word 3, which begins no "
                                     "page\n"))
        << result.out;
}

TEST_F(WaveViews, CameraWithoutAPatternIsRefused)
{
    const ProgramResult result =
        RunWave({"lint", "wave.bin", "--library-path", QVN_TEST_SKY, "--platform", "DEMO",
                 "--sensor", "kaf400e", "--tick", "100"});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_TRUE(Contains(result.err, "DEMO with kaf400e has no pattern")) << result.err;
}

TEST_F(WaveViews, TickOfNoLengthIsRefused)
{
    for (const char* tick : {"0.0", "-1.0", "1e300"}) {
        WriteText(scratch, "qvn.cfg",
                  std::string("rmk_camera_library: { ccd_definitions: { kaf400e: { Xpix = 4; Ypix "
                              "= 3; }; }; camera_platforms: { HERON_Plus: { kaf400e: { "
                              "SamplingClock = [ ") +
                      tick + ", 0.5 ]; }; }; }; };\n");
        const ProgramResult result = RunFor({"show", "wave.bin"});
        EXPECT_EQ(result.exitCode, 1) << tick;
        EXPECT_TRUE(Contains(result.err, "SamplingClock")) << result.err;
    }
    EXPECT_EQ(RunWave({"show", "wave.bin", "--tick", "0"}).exitCode, 2);
    EXPECT_EQ(RunWave({"show", "wave.bin", "--tick", "nan"}).exitCode, 2);
}
