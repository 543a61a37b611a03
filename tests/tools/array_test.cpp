// qvn array: heads of BRIAR-PCI behind one card. They are read pixel by pixel, so that their
// frames are the scene and nothing else.
#include "tests/tools/fixture.h"

namespace {

constexpr char TwoHeads[] = "platform=42,sensor=255,heads=2,scene=ramp,scene=flat,time=virtual";

struct QvnArray : QvnVirtual {
    ProgramResult RunArray(std::vector<std::string> arguments, const std::string& text = TwoHeads)
    {
        arguments.insert(arguments.begin(), "array");
        return RunVirtual(arguments, text);
    }
};

uint16_t Ramp(int32_t x, int32_t y)
{
    return static_cast<uint16_t>(x + y);
}

uint16_t Flat(int32_t /*x*/, int32_t /*y*/)
{
    return 20000;
}

void ExpectFrame(const Picture& picture, uint16_t (*pixel)(int32_t x, int32_t y))
{
    ASSERT_EQ(picture.width, SmallColumns);
    ASSERT_EQ(picture.height, SmallRows);
    for (int32_t y = 0; y < SmallRows; ++y) {
        for (int32_t x = 0; x < SmallColumns; ++x) {
            ASSERT_EQ(PixelAt(picture, x, y), pixel(x, y)) << x << ", " << y;
        }
    }
}

} // namespace

TEST_F(QvnArray, EachHeadHasItsFile)
{
    const ProgramResult result = RunArray({"--seconds", "0.25,2"});
    ASSERT_EQ(result.exitCode, 0) << result.err;
    EXPECT_EQ(result.out, "Wrote head0.fits, 24 x 16 pixels\nWrote head1.fits, 24 x 16 pixels\n");
    Picture first = ReadFits(scratch, "head0.fits");
    const Picture second = ReadFits(scratch, "head1.fits");
    ExpectFrame(first, Ramp);
    ExpectFrame(second, Flat);
    EXPECT_EQ(KeywordNumber(first, "HEAD"), 0);
    EXPECT_EQ(KeywordNumber(second, "HEAD"), 1);
    EXPECT_EQ(KeywordNumber(first, "EXPTIME"), 0.25);
    EXPECT_EQ(KeywordNumber(second, "EXPTIME"), 2.0);
    EXPECT_EQ(KeywordNumber(first, "XBINNING"), 1);
    EXPECT_EQ(first.keywords["INSTRUME"], "BRIAR-PCI kaf400e");
    EXPECT_EQ(first.keywords.count("CCD-TEMP"), 0U);
}

TEST_F(QvnArray, OneFileHasAnExtensionForEachHead)
{
    const ProgramResult result =
        RunArray({"--seconds", "0.25", "--one-file", "--output", "all.fits"});
    ASSERT_EQ(result.exitCode, 0) << result.err;
    EXPECT_EQ(result.out, "Wrote all.fits, 2 heads of 24 x 16 pixels\n");
    ASSERT_EQ(FitsUnits(scratch, "all.fits"), 3);
    Picture first = ReadFits(scratch, "all.fits", 1);
    Picture second = ReadFits(scratch, "all.fits", 2);
    ExpectFrame(first, Ramp);
    ExpectFrame(second, Flat);
    EXPECT_EQ(first.keywords["EXTNAME"], "HEAD0");
    EXPECT_EQ(second.keywords["EXTNAME"], "HEAD1");
    EXPECT_EQ(KeywordNumber(second, "EXPTIME"), 0.25);
    EXPECT_EQ(KeywordNumber(ReadFits(scratch, "all.fits"), "NAXIS"), 0);
}

TEST_F(QvnArray, HeadsAreChosenAndPreviewed)
{
    const ProgramResult result = RunArray(
        {"--heads", "1", "--seconds", "0.1", "--output", "h%02d.png", "--preview", "look%d.png"});
    ASSERT_EQ(result.exitCode, 0) << result.err;
    ExpectFrame(ReadPng(scratch, "h01.png"), Flat);
    EXPECT_EQ(ReadPng(scratch, "look1.png").bits, 8);
    EXPECT_FALSE(FileExists(scratch, "h00.png"));
}

TEST_F(QvnArray, ADarkFrameOfBothIsDark)
{
    ASSERT_EQ(RunArray({"--dark", "--seconds", "3"}).exitCode, 0);
    ExpectFrame(ReadFits(scratch, "head0.fits"), [](int32_t, int32_t) { return uint16_t{0}; });
    EXPECT_EQ(ReadFits(scratch, "head1.fits").keywords["IMAGETYP"], "Dark Frame");
}

TEST_F(QvnArray, AHeadThatDoesNotAnswerIsToldAndTheOthersAreWritten)
{
    const ProgramResult result = RunArray({"--heads", "0,3"});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_TRUE(Contains(result.err, "reading HEAD3 of camera 1")) << result.err;
    EXPECT_EQ(result.out, "Wrote head0.fits, 24 x 16 pixels\n");
    ExpectFrame(ReadFits(scratch, "head0.fits"), Ramp);
    EXPECT_FALSE(FileExists(scratch, "head3.fits"));
}

TEST_F(QvnArray, AFrameThatStallsIsNotWritten)
{
    const ProgramResult result =
        RunArray({"--seconds", "0.1"},
                 "platform=42,sensor=255,heads=2,scene=ramp,state=stalls:100,time=virtual");
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_TRUE(Contains(result.err, "reading HEAD1 of camera 1, BRIAR-PCI with kaf400e: its "
                                     "frame did not arrive"))
        << result.err;
    EXPECT_FALSE(FileExists(scratch, "head0.fits"));
}

TEST_F(QvnArray, WhatIsNoArrayIsRefused)
{
    const ProgramResult single = RunArray({}, "platform=42,sensor=255,time=virtual");
    EXPECT_EQ(single.exitCode, 1);
    EXPECT_TRUE(Contains(single.err, "the --virtual instrument is no array")) << single.err;
    const ProgramResult array = RunVirtual({"info"}, TwoHeads);
    EXPECT_EQ(array.exitCode, 1);
    EXPECT_TRUE(Contains(array.err, "Try: `qvn array`")) << array.err;
    const ProgramResult demo = Run({"array", "--heads", "0"});
    EXPECT_EQ(demo.exitCode, 1);
    EXPECT_TRUE(Contains(demo.err, "(error 12)")) << demo.err;
    const ProgramResult unknown = Run({"array", "--platform", "42"});
    EXPECT_EQ(unknown.exitCode, 1);
    EXPECT_TRUE(Contains(unknown.err, "--heads 0,1")) << unknown.err;
}

TEST_F(QvnArray, ArgumentsThatDoNotFitAreRefused)
{
    const ProgramResult count = RunArray({"--seconds", "1,2,3"});
    EXPECT_EQ(count.exitCode, 1);
    EXPECT_TRUE(Contains(count.err, "3 exposures for 2 heads")) << count.err;
    const ProgramResult kind = RunArray({"--one-file", "--output", "a.png"});
    EXPECT_EQ(kind.exitCode, 1);
    EXPECT_TRUE(Contains(kind.err, "--one-file is for FITS")) << kind.err;
    for (const std::vector<std::string>& arguments : {std::vector<std::string>{"--heads", "8"},
                                                      {"--heads", "a"},
                                                      {"--seconds", "-1"},
                                                      {"--seconds", "1,x"}}) {
        EXPECT_EQ(RunArray(arguments).exitCode, 2) << arguments[1];
    }
    WriteText(scratch, "head1.fits", "mine");
    const ProgramResult there = RunArray({});
    EXPECT_EQ(there.exitCode, 1);
    EXPECT_TRUE(Contains(there.err, "head1.fits exists already")) << there.err;
    EXPECT_FALSE(FileExists(scratch, "head0.fits"));
    EXPECT_EQ(ReadText(scratch, "head1.fits"), "mine");
}

// Under another number the open would never end.
TEST_F(QvnArray, TheBackgroundIsServedAsCameraOneOnly)
{
    const ProgramResult result =
        RunArray({"--options", "2"}, "platform=42,sensor=255,heads=2,camera=3,time=virtual");
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_TRUE(Contains(result.err, "as camera 1 only")) << result.err;
}
