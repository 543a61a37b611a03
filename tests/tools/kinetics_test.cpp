// qvn kinetics: cubes of windows, and series that are shifted in the sensor.
#include <algorithm>
#include <csignal>

#include "tests/tools/fixture.h"

namespace {

constexpr char R3[] = "platform=44,sensor=255,scene=ramp,time=virtual";

struct QvnKinetics : QvnVirtual {
    ProgramResult RunSeries(std::vector<std::string> arguments, const std::string& text = R3)
    {
        arguments.insert(arguments.begin(), "kinetics");
        return RunVirtual(arguments, text);
    }
};

struct QvnSeries : QvnWithCamera {};

uint16_t PlanePixel(const Picture& cube, int32_t plane, int32_t x, int32_t y)
{
    return PixelAt(cube, x, plane * cube.height + y);
}

} // namespace

// The windows begin with the sensor's first row, and two dark ones are ahead of the image. Of
// a window in one transfer the last four pixels do not come.
TEST_F(QvnKinetics, ASeriesIsACubeOfItsWindows)
{
    const ProgramResult result =
        RunSeries({"--frames", "3", "--seconds", "0.02", "--window", "2,0,8,6", "--gain", "1"});
    ASSERT_EQ(result.exitCode, 0) << result.err;
    EXPECT_EQ(result.out, "Wrote series.fits, 3 frames of 8 x 6 pixels\n");
    Picture cube = ReadFits(scratch, "series.fits");
    ASSERT_EQ(cube.width, 8);
    ASSERT_EQ(cube.height, 6);
    ASSERT_EQ(cube.planes, 3);
    for (int32_t i = 0; i < 3 * 48; ++i) {
        const int32_t place = i % 48, row = place / 8 - 2;
        const int32_t wanted = row >= 0 && place < 44 ? 2 + place % 8 + row : 0;
        ASSERT_EQ(PlanePixel(cube, i / 48, i % 8, i % 48 / 8), wanted) << i;
    }
    EXPECT_EQ(KeywordNumber(cube, "NAXIS3"), 3);
    EXPECT_EQ(KeywordNumber(cube, "EXPTIME"), 0.02);
    EXPECT_EQ(KeywordNumber(cube, "XORGSUBF"), 2);
    EXPECT_EQ(KeywordNumber(cube, "YORGSUBF"), 0);
    EXPECT_EQ(KeywordNumber(cube, "GAIN"), 1);
    EXPECT_NEAR(KeywordNumber(cube, "CCD-TEMP"), 20.0, 0.1);
    EXPECT_EQ(cube.keywords["IMAGETYP"], "Light Frame");
    EXPECT_EQ(cube.keywords["INSTRUME"], "BRIAR-R3 kaf400e");
    EXPECT_EQ(cube.keywords.count("FRAMEREQ"), 0U);
    EXPECT_GT(KeywordNumber(cube, "FRAMEPER"), 0.02);
    EXPECT_LT(KeywordNumber(cube, "FRAMEPER"), 0.2);
}

TEST_F(QvnKinetics, ASeriesMayBeBinned)
{
    const ProgramResult result = RunSeries({"--frames", "2", "--binning", "2,2", "--window",
                                            "1,0,4,3", "--output", "b.raw", "--dark"});
    ASSERT_EQ(result.exitCode, 0) << result.err;
    EXPECT_EQ(ReadRaw(scratch, "b.raw"), std::vector<uint16_t>(2 * 4 * 3, 0));
    ASSERT_EQ(RunSeries({"--frames", "2", "--binning", "2,2", "--window", "1,0,4,3"}).exitCode, 0);
    const Picture cube = ReadFits(scratch, "series.fits");
    EXPECT_EQ(cube.planes, 2);
    EXPECT_EQ(KeywordNumber(cube, "XBINNING"), 2);
    // The first line is that of the dark rows. The second has columns 2 + 2k and the next of
    // rows 0 and 1.
    for (int32_t x = 0; x < 4; ++x) {
        EXPECT_EQ(PlanePixel(cube, 1, x, 0), 0) << x;
        EXPECT_EQ(PlanePixel(cube, 1, x, 1), 4 * (2 + 2 * x) + 2 + 2) << x;
    }
}

TEST_F(QvnKinetics, RowsAreThoseOfTheWindowWhereTheCameraTakesThem)
{
    std::string definitions = ReadText(scratch, "qvn.cfg");
    definitions.replace(definitions.find("WREN:"), 4, "uNOD");
    WriteText(scratch, "qvn.cfg", definitions);
    const ProgramResult result = RunSeries({"--frames", "2", "--window", "4,6,8,3"},
                                           "platform=70,sensor=255,scene=ramp,time=virtual");
    ASSERT_EQ(result.exitCode, 0) << result.err;
    const Picture cube = ReadFits(scratch, "series.fits");
    ASSERT_EQ(cube.planes, 2);
    EXPECT_EQ(KeywordNumber(cube, "YORGSUBF"), 6);
    for (int32_t i = 0; i < 2 * 24; ++i) {
        const int32_t x = i % 8, y = i % 24 / 8;
        ASSERT_EQ(PlanePixel(cube, i / 24, x, y), 4 + x + 6 + y) << i;
    }
}

TEST_F(QvnKinetics, ThePreviewHasTheFramesSideBySide)
{
    ASSERT_EQ(RunSeries({"--frames", "4", "--window", "0,0,8,8", "--preview", "p.png"}).exitCode,
              0);
    const Picture picture = ReadPng(scratch, "p.png");
    EXPECT_EQ(picture.width, 16);
    EXPECT_EQ(picture.height, 16);
    EXPECT_EQ(PixelAt(picture, 0, 2), PixelAt(picture, 8, 10));
}

TEST_F(QvnKinetics, WhatTheCameraCannotReadIsRefused)
{
    const ProgramResult row = RunSeries({"--window", "0,2,8,4"});
    EXPECT_EQ(row.exitCode, 1);
    EXPECT_TRUE(Contains(row.err, "BRIAR-R3 reads the windows of a series from the sensor's first "
                                  "row on"))
        << row.err;
    const ProgramResult size = RunSeries({"--window", "0,0,8,17"});
    EXPECT_EQ(size.exitCode, 1);
    EXPECT_TRUE(Contains(size.err, "is not inside the picture of 24 x 16")) << size.err;
    EXPECT_EQ(FilesIn(scratch), (std::vector<std::string>{"qvn.cfg", "wave.bin"}));
}

TEST_F(QvnKinetics, FormatsThatHoldOneFrameAreRefused)
{
    const ProgramResult result = RunSeries({"--output", "a.png"});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_TRUE(Contains(result.err, "a series goes to FITS")) << result.err;
    WriteText(scratch, "series.fits", "mine");
    EXPECT_EQ(RunSeries({}).exitCode, 1);
    EXPECT_EQ(ReadText(scratch, "series.fits"), "mine");
}

// 99999 frames of 4096 x 4096: 3.4 TB.
TEST_F(QvnSeries, ASeriesThatMemoryDoesNotHoldIsRefused)
{
    const ProgramResult result = Run({"kinetics", "--library-path", "sky", "--sensor", "kaf16800",
                                      "--frames", "99999", "--seconds", "0"});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_TRUE(Contains(result.err, "GB of memory")) << result.err;
    EXPECT_TRUE(FilesIn(scratch).empty());
}

TEST_F(QvnKinetics, AFailureInTheThirdFrameKeepsTwo)
{
    scratch.spy = "third";
    const ProgramResult result = RunSeries({"--frames", "5", "--window", "0,0,8,4"});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_TRUE(Contains(result.err, "taking frame 3 of 5 with camera 0")) << result.err;
    EXPECT_TRUE(Contains(result.err, "(error 2)")) << result.err;
    const Picture cube = ReadFits(scratch, "series.fits");
    EXPECT_EQ(cube.planes, 2);
    EXPECT_EQ(KeywordNumber(cube, "FRAMEREQ"), 5);
    EXPECT_EQ(PlanePixel(cube, 1, 5, 2), 5); // column 5 of the image's row 0
}

TEST_F(QvnKinetics, ALinkThatFailsAtOnceLeavesNoFile)
{
    const ProgramResult result =
        RunSeries({"--frames", "5"}, "platform=40,sensor=255,state=stalls:100,time=virtual");
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_TRUE(Contains(result.err, "taking frame 1 of 5")) << result.err;
    EXPECT_EQ(FilesIn(scratch), (std::vector<std::string>{"qvn.cfg", "wave.bin"}));
}

TEST_F(QvnKinetics, ADiskThatFillsLeavesNoFile)
{
    scratch.largestFile = 20000; // the header alone has 5760
    const ProgramResult result = RunSeries({"--frames", "50"});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_TRUE(Contains(result.err, "writing the frame: series.fits")) << result.err;
    EXPECT_EQ(FilesIn(scratch), (std::vector<std::string>{"qvn.cfg", "wave.bin"}));
}

TEST_F(QvnSeries, CtrlCKeepsTheFramesThatAreWhole)
{
    const RunningProgram program =
        StartProgram(scratch, With({"kinetics", "--frames", "2000", "--seconds", "0.05", "--dark",
                                    "--window", "0,0,16,16"}));
    EXPECT_TRUE(WaitForText(program, "frame 1 of 2000"));
    usleep(300000);
    kill(program.process, SIGINT);
    const ProgramResult result = FinishProgram(program);
    EXPECT_EQ(result.exitCode, 130) << result.err;
    EXPECT_LT(result.seconds, 30.0);
    const Picture cube = ReadFits(scratch, "series.fits");
    EXPECT_GT(cube.planes, 0);
    EXPECT_LT(cube.planes, 2000);
    EXPECT_EQ(KeywordNumber(cube, "FRAMEREQ"), 2000);
    EXPECT_TRUE(Contains(result.err, "of 2000 frames are whole")) << result.err;
}

// A minute each: the first exposure is cut, and no frame is whole.
TEST_F(QvnSeries, CtrlCInTheFirstExposureLeavesNoFile)
{
    const RunningProgram program =
        StartProgram(scratch, With({"kinetics", "--frames", "20", "--seconds", "60"}));
    EXPECT_TRUE(WaitForText(program, "frame 1 of 20"));
    kill(program.process, SIGINT);
    const ProgramResult result = FinishProgram(program);
    EXPECT_EQ(result.exitCode, 130) << result.err;
    EXPECT_LT(result.seconds, 30.0);
    EXPECT_TRUE(Contains(result.err, "0 of 20 frames are whole")) << result.err;
    EXPECT_TRUE(FilesIn(scratch).empty());
}

// Light falls on the last four rows alone, 1000 a second: rows 14 to 17 of the sensor with its
// two dark ones. After three shifts by four rows, two seconds ahead of each, it lies in rows 2
// to 5, 6 to 9 and 10 to 13.
TEST_F(QvnKinetics, ShiftedExposuresLieSideBySide)
{
    std::vector<uint16_t> slit(SmallColumns * SmallRows, 0);
    std::fill(slit.end() - 4 * SmallColumns, slit.end(), uint16_t{1000});
    WriteFits(scratch, "slit.fits", SmallColumns, SmallRows, slit);
    const ProgramResult result =
        RunSeries({"--shifts", "3", "--lines", "4", "--interval", "2", "--output", "s.fits"},
                  "platform=44,sensor=255,scene=slit.fits,time=virtual");
    ASSERT_EQ(result.exitCode, 0) << result.err;
    const Picture frame = ReadFits(scratch, "s.fits");
    ASSERT_EQ(frame.width, SmallColumns);
    ASSERT_EQ(frame.height, SmallRows);
    EXPECT_EQ(frame.planes, 0);
    EXPECT_EQ(KeywordNumber(frame, "SHIFTS"), 3);
    EXPECT_EQ(KeywordNumber(frame, "SHIFTLIN"), 4);
    EXPECT_EQ(KeywordNumber(frame, "INTERVAL"), 2);
    for (const int32_t row : {3, 7, 11}) EXPECT_NEAR(PixelAt(frame, 10, row), 2000, 200) << row;
    EXPECT_EQ(PixelAt(frame, 10, 0), 0);
    EXPECT_LT(PixelAt(frame, 10, 15), 100); // while the shutter closes
}

TEST_F(QvnKinetics, WhatTheSensorCannotHoldIsRefused)
{
    const ProgramResult rows =
        RunSeries({"--shifts", "5", "--lines", "4", "--interval", "0.1", "--output", "s.fits"});
    EXPECT_EQ(rows.exitCode, 1);
    EXPECT_TRUE(Contains(rows.err, "5 shifts by 4 lines are 20 rows, and kaf400e has 16"))
        << rows.err;
    const ProgramResult most = RunSeries({"--shifts", "4", "--lines", "4", "--interval", "0.1"});
    EXPECT_EQ(most.exitCode, 0) << most.err;
    const ProgramResult other =
        RunSeries({"--shifts", "2", "--lines", "4", "--interval", "0.1", "--output", "s.fits"},
                  "platform=25,sensor=255,time=virtual");
    EXPECT_EQ(other.exitCode, 1);
    EXPECT_TRUE(Contains(other.err, "Tarn_IV_PLUS does not shift charge")) << other.err;
    EXPECT_FALSE(FileExists(scratch, "s.fits"));
}

TEST_F(QvnKinetics, ShuttersThatAreNotHeldAreTold)
{
    const ProgramResult result = RunSeries({"--shifts", "2", "--lines", "4", "--interval", "0.1"},
                                           "platform=42,sensor=255,time=virtual");
    EXPECT_EQ(result.exitCode, 0) << result.err;
    EXPECT_TRUE(Contains(result.err, "does not hold its shutter open")) << result.err;
}

TEST_F(QvnKinetics, ArgumentsThatDoNotGoTogetherAreRefused)
{
    for (const std::vector<std::string>& arguments :
         {std::vector<std::string>{"--frames", "0"},
          {"--shifts", "2"},
          {"--shifts", "2", "--lines", "2"},
          {"--lines", "2"},
          {"--shifts", "2", "--lines", "2", "--interval", "1", "--frames", "3"},
          {"--shifts", "2", "--lines", "2", "--interval", "1", "--window", "0,0,2,2"}}) {
        EXPECT_EQ(RunSeries(arguments).exitCode, 2) << arguments[0];
    }
}
