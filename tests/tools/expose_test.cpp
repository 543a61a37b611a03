// Frames from the simulated camera to files.
#include <sys/stat.h>

#include <algorithm>
#include <cmath>
#include <csignal>
#include <cstdio>
#include <ctime>

#include "tests/tools/fixture.h"

namespace {

// The star field is 3072 x 2048; a sensor of 768 x 512 sees its middle.
constexpr int32_t FieldColumns = 3072;
constexpr int32_t FieldLeft = (3072 - 768) / 2;
constexpr int32_t FieldTop = (2048 - 512) / 2;

bool AllAre(const std::vector<uint16_t>& pixels, uint16_t value)
{
    return std::all_of(pixels.begin(), pixels.end(),
                       [value](uint16_t pixel) { return pixel == value; });
}

// How far a frame of 0.1 s is from a tenth of the field plus the bias of 100. At gain 1
// and 21 degrees the noise has a variance of 0.1 / ((26 - 21) / 6) x 200 = 24, and a
// sample lies within sqrt(-2 ln(0.1 / 32767.1)) = 5.04 deviations: 25 counts.
double LargestDifference(const Picture& picture, const std::vector<uint16_t>& field, int32_t left,
                         int32_t top)
{
    double largest = 0.0;
    for (int32_t y = 0; y < picture.height; ++y) {
        for (int32_t x = 0; x < picture.width; ++x) {
            const auto index = static_cast<size_t>(FieldTop + top + y) * FieldColumns +
                               static_cast<size_t>(FieldLeft + left + x);
            const double wanted = field[index] * 0.1 + 100.0;
            largest = std::max(largest, std::fabs(PixelAt(picture, x, y) - wanted));
        }
    }
    return largest;
}

constexpr double NoiseLimit = 27.0;

double SecondsAgo(const std::string& utc)
{
    tm parts = {};
    if (strptime(utc.c_str(), "%Y-%m-%dT%H:%M:%S", &parts) == nullptr) return 1e9;
    return std::difftime(time(nullptr), timegm(&parts));
}

} // namespace

TEST_F(QvnWithCamera, DarkFrameWithoutExposureIsTheBias)
{
    const ProgramResult result =
        RunCamera({"expose", "--dark", "--seconds", "0", "--output", "dark.fits"});
    EXPECT_EQ(result.exitCode, 0) << result.err;
    EXPECT_EQ(result.out, "Wrote dark.fits, 768 x 512 pixels\n");
    const Picture picture = ReadFits(scratch, "dark.fits");
    EXPECT_EQ(picture.width, 768);
    EXPECT_EQ(picture.height, 512);
    EXPECT_TRUE(AllAre(picture.pixels, 100));
    EXPECT_EQ(picture.keywords.at("IMAGETYP"), "Bias Frame");
}

TEST_F(QvnWithCamera, FitsCarriesTheKeywords)
{
    const ProgramResult result = RunCamera({"expose", "--dark", "--seconds", "0.125", "--gain", "2",
                                            "--binning", "2,4", "--output", "frame.fits"});
    ASSERT_EQ(result.exitCode, 0) << result.err;
    Picture picture = ReadFits(scratch, "frame.fits");
    EXPECT_EQ(picture.width, 384);
    EXPECT_EQ(picture.height, 128);
    EXPECT_EQ(KeywordNumber(picture, "BITPIX"), 16);
    EXPECT_EQ(KeywordNumber(picture, "BZERO"), 32768);
    EXPECT_EQ(KeywordNumber(picture, "BSCALE"), 1);
    EXPECT_EQ(KeywordNumber(picture, "EXPTIME"), 0.125);
    EXPECT_EQ(picture.keywords["IMAGETYP"], "Dark Frame");
    EXPECT_NEAR(KeywordNumber(picture, "CCD-TEMP"), 21.0, 0.13);
    EXPECT_EQ(picture.keywords.count("SET-TEMP"), 0U);
    EXPECT_EQ(KeywordNumber(picture, "XBINNING"), 2);
    EXPECT_EQ(KeywordNumber(picture, "YBINNING"), 4);
    EXPECT_EQ(KeywordNumber(picture, "XPIXSZ"), 18.0);
    EXPECT_EQ(KeywordNumber(picture, "YPIXSZ"), 36.0);
    EXPECT_EQ(KeywordNumber(picture, "XORGSUBF"), 0);
    EXPECT_EQ(KeywordNumber(picture, "YORGSUBF"), 0);
    EXPECT_EQ(KeywordNumber(picture, "GAIN"), 2);
    EXPECT_EQ(picture.keywords["INSTRUME"], "DEMO kaf400e");
    EXPECT_EQ(picture.keywords["DETECTOR"], "kaf400e");
    EXPECT_EQ(picture.keywords["SWCREATE"], "qvn 7.4.3");
    EXPECT_EQ(picture.keywords["ROWORDER"], "TOP-DOWN");
    const std::string start = picture.keywords["DATE-OBS"];
    ASSERT_EQ(start.size(), 23U) << start;
    EXPECT_EQ(start[19], '.');
    EXPECT_GE(SecondsAgo(start), 0.0);
    EXPECT_LT(SecondsAgo(start), 60.0);
}

TEST_F(QvnWithCamera, LightFrameShowsTheSkyTheRightWayUp)
{
    ASSERT_EQ(RunCamera({"expose", "--seconds", "0.1", "--output", "sky.fits"}).exitCode, 0);
    ASSERT_EQ(RunCamera({"expose", "--seconds", "0.1", "--output", "sky.png"}).exitCode, 0);
    const std::vector<uint16_t> field = ReadRaw(scratch, "sky/starfield.raw");
    Picture fits = ReadFits(scratch, "sky.fits");
    EXPECT_EQ(fits.keywords["IMAGETYP"], "Light Frame");
    EXPECT_LT(LargestDifference(fits, field, 0, 0), NoiseLimit);
    const Picture png = ReadPng(scratch, "sky.png");
    EXPECT_EQ(png.bits, 16);
    EXPECT_EQ(png.width, 768);
    EXPECT_LT(LargestDifference(png, field, 0, 0), NoiseLimit);
}

TEST_F(QvnWithCamera, EveryFormatHoldsTheSamePixels)
{
    const std::vector<std::string> dark = {"expose", "--dark", "--seconds", "0", "--output"};
    for (const char* name : {"a.png", "a.tif", "a.raw", "a.fit"}) {
        std::vector<std::string> arguments = dark;
        arguments.push_back(name);
        const ProgramResult result = RunCamera(arguments);
        EXPECT_EQ(result.exitCode, 0) << name << ": " << result.err;
    }
    const Picture png = ReadPng(scratch, "a.png");
    EXPECT_EQ(png.width, 768);
    EXPECT_EQ(png.height, 512);
    EXPECT_EQ(png.bits, 16);
    EXPECT_TRUE(AllAre(png.pixels, 100));
    const Picture tiff = ReadTiff(scratch, "a.tif");
    EXPECT_EQ(tiff.width, 768);
    EXPECT_EQ(tiff.height, 512);
    EXPECT_EQ(tiff.bits, 16);
    EXPECT_TRUE(AllAre(tiff.pixels, 100));
    const std::vector<uint16_t> raw = ReadRaw(scratch, "a.raw");
    EXPECT_EQ(raw.size(), 768U * 512U);
    EXPECT_TRUE(AllAre(raw, 100));
    EXPECT_TRUE(AllAre(ReadFits(scratch, "a.fit").pixels, 100));
}

TEST_F(QvnWithCamera, FormatOfTheArgumentGoesBeforeTheEnding)
{
    ASSERT_EQ(RunCamera({"expose", "--dark", "--seconds", "0", "--output", "frame.dat", "--format",
                         "raw"})
                  .exitCode,
              0);
    EXPECT_EQ(ReadText(scratch, "frame.dat").size(), 768U * 512U * 2U);
}

TEST_F(QvnWithCamera, PreviewIsAPictureOfEightBits)
{
    const ProgramResult result =
        RunCamera({"expose", "--seconds", "0.1", "--output", "a.fits", "--preview", "look.png"});
    EXPECT_EQ(result.exitCode, 0) << result.err;
    const Picture picture = ReadPng(scratch, "look.png");
    EXPECT_EQ(picture.bits, 8);
    EXPECT_EQ(picture.width, 768);
    EXPECT_TRUE(std::find(picture.pixels.begin(), picture.pixels.end(), 0) != picture.pixels.end());
    EXPECT_TRUE(std::find(picture.pixels.begin(), picture.pixels.end(), 255) !=
                picture.pixels.end());
}

TEST_F(QvnWithCamera, WindowIsDeliveredWithAnEvenWidth)
{
    const ProgramResult result = RunCamera(
        {"expose", "--seconds", "0.1", "--window", "100,50,201,80", "--output", "part.fits"});
    EXPECT_EQ(result.exitCode, 0) << result.err;
    EXPECT_TRUE(Contains(result.err, "200 pixels wide")) << result.err;
    const Picture picture = ReadFits(scratch, "part.fits");
    EXPECT_EQ(picture.width, 200);
    EXPECT_EQ(picture.height, 80);
    EXPECT_EQ(KeywordNumber(picture, "XORGSUBF"), 100);
    EXPECT_EQ(KeywordNumber(picture, "YORGSUBF"), 50);
    EXPECT_LT(LargestDifference(picture, ReadRaw(scratch, "sky/starfield.raw"), 100, 50),
              NoiseLimit);
}

TEST_F(QvnWithCamera, BinnedWindowCountsBinnedPixels)
{
    const ProgramResult result =
        RunCamera({"expose", "--dark", "--seconds", "0", "--binning", "3,2", "--window",
                   "56,156,200,100", "--output", "a.fits"});
    EXPECT_EQ(result.exitCode, 0) << result.err;
    const Picture picture = ReadFits(scratch, "a.fits");
    EXPECT_EQ(picture.width, 200);
    EXPECT_EQ(picture.height, 100);
    // The simulated camera took 56 and 156 as unbinned: 56 / 3 and 156 / 2.
    EXPECT_EQ(KeywordNumber(picture, "XORGSUBF"), 18);
    EXPECT_EQ(KeywordNumber(picture, "YORGSUBF"), 78);
    EXPECT_EQ(KeywordNumber(picture, "XPIXSZ"), 27.0);
}

TEST_F(QvnWithCamera, WindowOutsideTheBinnedPictureIsRefused)
{
    for (const char* window : {"57,0,200,100", "0,157,200,100", "-1,0,200,100", "0,0,1,1",
                               "0,0,200,0", "2147483647,0,200,100", "0,0,2147483647,1"}) {
        const ProgramResult result =
            RunCamera({"expose", "--seconds", "0", "--binning", "3,2", "--window", window});
        EXPECT_EQ(result.exitCode, 1) << window;
        EXPECT_TRUE(Contains(result.err, "256 x 256 binned pixels")) << result.err;
        EXPECT_TRUE(Contains(result.err, std::string("--window ") + window)) << result.err;
    }
}

TEST_F(QvnWithCamera, BinningLargerThanTheSensorIsRefused)
{
    for (const char* binning : {"385,1", "1,513", "2147483647,2147483647"}) {
        const ProgramResult result = RunCamera({"expose", "--binning", binning});
        EXPECT_EQ(result.exitCode, 1) << binning;
        EXPECT_TRUE(Contains(result.err, "--binning")) << result.err;
    }
}

TEST_F(QvnWithCamera, SeriesIsNumbered)
{
    const std::vector<std::string> common = {"expose", "--dark", "--seconds", "0", "--frames", "3"};
    std::vector<std::string> plain = common;
    plain.insert(plain.end(), {"--output", "dark.raw"});
    EXPECT_EQ(RunCamera(plain).exitCode, 0);
    std::vector<std::string> counted = common;
    counted.insert(counted.end(), {"--output", "n%02d_dark.raw"});
    EXPECT_EQ(RunCamera(counted).exitCode, 0);
    const std::vector<std::string> wanted = {"dark_0001.raw", "dark_0002.raw", "dark_0003.raw",
                                             "n01_dark.raw",  "n02_dark.raw",  "n03_dark.raw"};
    EXPECT_EQ(FilesIn(scratch), wanted);
}

TEST_F(QvnWithCamera, OutputWithTwoCountersIsRefused)
{
    const ProgramResult result = RunCamera({"expose", "--output", "%d_%s.fits"});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_TRUE(Contains(result.err, "--output")) << result.err;
}

TEST_F(QvnWithCamera, PercentSignInAFoldersNameIsNoCounter)
{
    ASSERT_EQ(mkdir((scratch.path + "/100%").c_str(), 0700), 0);
    ASSERT_EQ(mkdir((scratch.path + "/%d").c_str(), 0700), 0);
    for (const char* output : {"100%/a.raw", "%d/%02d.raw"}) {
        const ProgramResult result =
            RunCamera({"expose", "--dark", "--seconds", "0", "--output", output});
        EXPECT_EQ(result.exitCode, 0) << result.err;
    }
    EXPECT_TRUE(FileExists(scratch, "100%/a.raw"));
    EXPECT_TRUE(FileExists(scratch, "%d/01.raw"));
}

TEST_F(QvnWithCamera, FitsTakesNamesThatItsLibraryReadsAsOrders)
{
    for (const char* output : {"!a.fits", " a.fits", "a[1].fits", "mem:a.fits"}) {
        const ProgramResult result =
            RunCamera({"expose", "--dark", "--seconds", "0", "--output", output});
        EXPECT_EQ(result.exitCode, 0) << result.err;
        EXPECT_TRUE(FileExists(scratch, output)) << output;
    }
    EXPECT_EQ(FilesIn(scratch).size(), 4U);
}

TEST_F(QvnWithCamera, PreviewInTheOutputsPlaceIsRefused)
{
    const std::vector<std::vector<std::string>> pairs = {
        {"a.png", "a.png", "1"},        {"a.png", "./a.png", "1"},
        {"a.png", "sky/../a.png", "1"}, {"a%d.png", "a1.png", "1"},
        {"a.png", "a_%04d.png", "3"},   {scratch.path + "/a.png", "a.png", "1"},
    };
    for (const std::vector<std::string>& pair : pairs) {
        const ProgramResult result =
            RunCamera({"expose", "--seconds", "30", "--output", pair[0], "--preview", pair[1],
                       "--frames", pair[2], "--overwrite"});
        EXPECT_EQ(result.exitCode, 1) << pair[1];
        EXPECT_TRUE(Contains(result.err, "is a file of --output too")) << result.err;
        EXPECT_TRUE(FilesIn(scratch).empty());
    }
    ASSERT_EQ(mkdir((scratch.path + "/other").c_str(), 0700), 0);
    EXPECT_EQ(
        RunCamera({"expose", "--seconds", "0", "--output", "a.png", "--preview", "other/a.png"})
            .exitCode,
        0);
}

TEST_F(QvnWithCamera, PartOfAnotherProgramIsInTheWayUnlessOverwritten)
{
    WriteText(scratch, "a.fits.part", "half");
    const std::vector<std::string> arguments = {"expose", "--dark",   "--seconds",
                                                "0",      "--output", "a.fits"};
    const ProgramResult refused = RunCamera(arguments);
    EXPECT_EQ(refused.exitCode, 1);
    EXPECT_TRUE(Contains(refused.err, "a.fits.part exists already")) << refused.err;
    EXPECT_EQ(ReadText(scratch, "a.fits.part"), "half");

    std::vector<std::string> again = arguments;
    again.push_back("--overwrite");
    EXPECT_EQ(RunCamera(again).exitCode, 0);
    EXPECT_EQ(FilesIn(scratch), std::vector<std::string>{"a.fits"});
}

// 768 x 512 pixels are 786432 bytes, which end in the 274th block of 2880; 30 cards are one.
TEST_F(QvnWithCamera, FitsFileIsWholeBlocksOfCardsAndPixels)
{
    ASSERT_EQ(RunCamera({"expose", "--seconds", "0", "--output", "a.fits"}).exitCode, 0);
    const std::string file = ReadText(scratch, "a.fits");
    ASSERT_EQ(file.size(), 275U * 2880U);
    const std::string blanks(80, ' ');
    const auto card = [&](size_t number) { return file.substr(80 * number, 80); };
    EXPECT_EQ(card(0).substr(0, 33), "SIMPLE  =                    T / ");
    EXPECT_EQ(card(1).substr(0, 33), "BITPIX  =                   16 / ");
    EXPECT_EQ(card(3), "NAXIS1  =                  768" + std::string(50, ' '));
    EXPECT_EQ(card(10).substr(0, 33), "EXPTIME =                   0. / ");
    EXPECT_EQ(card(11), "IMAGETYP= 'Light Frame'       " + std::string(50, ' '));
    EXPECT_EQ(card(29), "END" + std::string(77, ' '));
    for (size_t number = 30; number < 36; ++number) EXPECT_EQ(card(number), blanks);
    EXPECT_EQ(file.substr(2880 + 786432), std::string(2688, '\0'));
}

TEST_F(QvnWithCamera, FrameWhoseNameWasTakenMeanwhileIsKept)
{
    const RunningProgram program =
        StartProgram(scratch, With({"expose", "--seconds", "1", "--output", "a.raw"}));
    EXPECT_TRUE(WaitForText(program, "Exposing"));
    WriteText(scratch, "a.raw", "mine");
    const ProgramResult result = FinishProgram(program);
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_TRUE(Contains(result.err, "a.raw exists already; what was written is in a.raw.part"))
        << result.err;
    EXPECT_EQ(ReadText(scratch, "a.raw"), "mine");
    EXPECT_EQ(ReadText(scratch, "a.raw.part").size(), 768U * 512U * 2U);
}

TEST_F(QvnWithCamera, NamesThatAreTooLongAreRefusedAheadOfTheExposure)
{
    // 255 characters are the most, and the file grows under a name of 5 more.
    const std::string longest = std::string(246, 'a') + ".raw";
    EXPECT_EQ(RunCamera({"expose", "--seconds", "0", "--output", longest}).exitCode, 0);
    std::string deep;
    while (deep.size() < 1000) deep += "./";
    for (const std::string& output :
         {std::string(247, 'a') + ".raw", std::string(300, 'a') + ".raw", deep + "a.fits"}) {
        const ProgramResult result =
            RunCamera({"expose", "--seconds", "30", "--output", output, "--overwrite"});
        EXPECT_EQ(result.exitCode, 1);
        EXPECT_TRUE(Contains(result.err, "checking --output")) << result.err;
        EXPECT_LT(result.seconds, 10.0);
    }
    EXPECT_EQ(RunCamera({"expose", "--seconds", "0", "--output", deep + "a.raw"}).exitCode, 0);
}

TEST_F(QvnWithCamera, BufferHasRoomForThreePixelsMore)
{
    scratch.spy = "none";
    ASSERT_EQ(RunCamera({"expose", "--seconds", "0", "--window", "0,0,12,1", "--output", "a.raw"})
                  .exitCode,
              0);
    int32_t room = 0;
    ASSERT_EQ(sscanf(SpyNotes(scratch).c_str(), "room for %d pixels", &room), 1);
    EXPECT_GE(room, 12 + 3);
    EXPECT_EQ(ReadText(scratch, "a.raw").size(), 24U);
}

TEST_F(QvnWithCamera, HeaderLeavesOutWhatIsNoNumber)
{
    const std::string text = ReadText(scratch, "sky/qvn.cfg");
    const size_t sensor = text.find("kaf400e");
    const size_t key = text.find("XpixDim = 9.0", sensor);
    ASSERT_NE(key, std::string::npos);
    WriteText(scratch, "sky/qvn.cfg", std::string(text).replace(key, 13, "XpixDim = 1e400"));
    const ProgramResult result = RunCamera({"expose", "--dark", "--seconds", "0"});
    EXPECT_EQ(result.exitCode, 0) << result.err;
    const Picture picture = ReadFits(scratch, "frame.fits");
    EXPECT_EQ(picture.keywords.count("XPIXSZ"), 0U);
    EXPECT_EQ(KeywordNumber(picture, "YPIXSZ"), 9.0);
}

TEST_F(QvnWithCamera, FilesThatWereWrittenAreToldAtOnce)
{
    const RunningProgram program = StartProgram(
        scratch, With({"expose", "--seconds", "0.6", "--frames", "1000", "--output", "a.raw"}));
    EXPECT_TRUE(WaitForText(program, "Wrote a_0001.raw"));
    kill(program.process, SIGINT);
    EXPECT_EQ(FinishProgram(program).exitCode, 130);
}

TEST_F(QvnWithCamera, ExistingOutputIsKeptUnlessOverwritten)
{
    WriteText(scratch, "dark_0002.raw", "mine");
    const std::vector<std::string> arguments = {"expose",   "--dark", "--seconds", "0",
                                                "--frames", "2",      "--output",  "dark.raw"};
    const ProgramResult refused = RunCamera(arguments);
    EXPECT_EQ(refused.exitCode, 1);
    EXPECT_TRUE(Contains(refused.err, "dark_0002.raw exists already")) << refused.err;
    EXPECT_TRUE(Contains(refused.err, "--overwrite")) << refused.err;
    EXPECT_EQ(FilesIn(scratch), std::vector<std::string>{"dark_0002.raw"});
    EXPECT_EQ(ReadText(scratch, "dark_0002.raw"), "mine");

    std::vector<std::string> again = arguments;
    again.push_back("--overwrite");
    EXPECT_EQ(RunCamera(again).exitCode, 0);
    EXPECT_EQ(ReadText(scratch, "dark_0002.raw").size(), 768U * 512U * 2U);
}

TEST_F(QvnWithCamera, ImpossibleOutputsAreRefusedAheadOfTheExposure)
{
    ASSERT_EQ(mkdir((scratch.path + "/folder.fits").c_str(), 0700), 0);
    WriteText(scratch, "file", "");
    for (const char* output : {"nowhere/a.fits", "file/a.fits", "folder.fits", "a.jpg", "a"}) {
        const ProgramResult result =
            RunCamera({"expose", "--seconds", "30", "--output", output, "--overwrite"});
        EXPECT_EQ(result.exitCode, 1) << output;
        EXPECT_TRUE(Contains(result.err, output)) << result.err;
        EXPECT_TRUE(Contains(result.err, "Try: ")) << result.err;
        EXPECT_LT(result.seconds, 10.0);
    }
    EXPECT_EQ(FilesIn(scratch), std::vector<std::string>{"file"});
}

TEST_F(QvnWithCamera, DiskThatFillsUpLeavesTheOldFile)
{
    // A frame has 786432 bytes; a noisy one does not get this small by compression.
    scratch.largestFile = 100000;
    for (const char* output : {"a.fits", "a.png", "a.tif", "a.raw"}) {
        WriteText(scratch, output, "mine");
        const ProgramResult result =
            RunCamera({"expose", "--seconds", "0.1", "--output", output, "--overwrite"});
        EXPECT_EQ(result.exitCode, 1) << output;
        EXPECT_TRUE(Contains(result.err, std::string("writing the frame: ") + output))
            << result.err;
        EXPECT_EQ(ReadText(scratch, output), "mine");
    }
    const std::vector<std::string> wanted = {"a.fits", "a.png", "a.raw", "a.tif"};
    EXPECT_EQ(FilesIn(scratch), wanted);
}

TEST_F(QvnWithCamera, InternalBuffersOfTheLibraryServeAsWell)
{
    const ProgramResult result = RunCamera(
        {"expose", "--dark", "--seconds", "0", "--options", "0x8000", "--output", "a.raw"});
    EXPECT_EQ(result.exitCode, 0) << result.err;
    EXPECT_TRUE(AllAre(ReadRaw(scratch, "a.raw"), 100));
}

TEST_F(QvnWithCamera, AnotherCameraNumberWorks)
{
    EXPECT_EQ(RunCamera({"expose", "--dark", "--seconds", "0", "--camera", "7", "--options", "1"})
                  .exitCode,
              0);
    EXPECT_TRUE(FileExists(scratch, "frame.fits"));
}

TEST_F(QvnWithCamera, ConfigurationFileTakesAFrame)
{
    const ProgramResult result = Run({"expose", "--library-path", "sky", "--config", "camera.cfg",
                                      "--dark", "--seconds", "0", "--output", "a.raw"});
    EXPECT_EQ(result.exitCode, 0) << result.err;
    // A kaf1600 has 1536 x 1024 pixels.
    EXPECT_EQ(ReadText(scratch, "a.raw").size(), 1536U * 1024U * 2U);
}

TEST_F(QvnWithCamera, ProgressIsPlainLinesOffATerminal)
{
    const ProgramResult result = RunCamera({"expose", "--seconds", "0.6"});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_TRUE(Contains(result.err, "frame 1 of 1: Exposing, 0.6 s\n")) << result.err;
    EXPECT_TRUE(Contains(result.err, "frame 1 of 1: Image downloading\n")) << result.err;
    EXPECT_FALSE(Contains(result.err, "\r"));
    EXPECT_FALSE(Contains(result.err, "#"));
}

TEST_F(QvnWithCamera, ProgressIsABarOnATerminal)
{
    const std::string shown = RunOnTerminal(scratch, With({"expose", "--seconds", "0.7"}));
    EXPECT_TRUE(Contains(shown, "\r")) << shown;
    EXPECT_TRUE(Contains(shown, "Exposing")) << shown;
    EXPECT_TRUE(Contains(shown, "s left")) << shown;
    EXPECT_TRUE(Contains(shown, "####################] 100 %")) << shown;
    EXPECT_TRUE(Contains(shown, "Wrote frame.fits")) << shown;
}
