// The file's words are the table's with XOR 0xF79, or 0xF49 with CcdTechnology 0:
//
//   without / with technology 0    0: 3961 / 3913    4: 3965 / 3917
//   16: 3945 / 3929    32: 3929 / 3945    2128: 1833 / 1817    2144: 1817 / 1833
//   2112: 1849 / 1801    96: 3865 / 3881    80: 3881 / 3865
//   256: 3705 / 3657    384: 3833 / 3785    512: 3449 / 3401    640: 3577 / 3529
//   1920: 2297 / 2249    1664: 2553 / 2505    1408: 2809 / 2761    896: 3321 / 3273
//   1536: 2425 / 2377    1280: 2681 / 2633
//   1032: 2929 / 2881    1024: 2937 / 2889    1025: 2936 / 2888
#include "tests/waves/line_table.h"

namespace {

struct Camera {
    int32_t output, backFront, technology;
};

class WaveSite : public WaveLineTest {
protected:
    void SetUp() override
    {
        WaveLineTest::SetUp();
        Fit({.platform = 24, .sensor = 300}, {0, 1, 1});
    }

    void Fit(const WaveSensor& sensor, const Camera& camera)
    {
        FitWaveSensor(sensor);
        Set(camera);
    }

    void Set(const Camera& camera)
    {
        record.Config.CcdOutput = camera.output;
        record.Config.CcdBackFront = camera.backFront;
        record.Config.CcdTechnology = camera.technology;
    }
};

// Of a phase of `p` ticks.
struct Vertical {
    const char* row;
    std::string (*repeat)(const std::string& p);
};

std::string Rows(const std::string& p, const std::string& zero, const std::string (&words)[5])
{
    std::string text = zero;
    for (const std::string& word : words) text += ' ' + word + 'x' + p;
    return text + ' ' + zero;
}

// Va 32, Vb 16: the walk is 16, 2128, 2112, 96, 32.
const Vertical Va32 = {"3961 3945x25 1833x25 1849x25 3865x25 3929x25 3961x25",
                       [](const std::string& p) {
                           return Rows(p, "3961", {"3945", "1833", "1849", "3865", "3929"});
                       }};
const Vertical Va32Technology0 = {
    "3913 3929x25 1817x25 1801x25 3881x25 3945x25 3913x25", [](const std::string& p) {
        return Rows(p, "3913", {"3929", "1817", "1801", "3881", "3945"});
    }};
// Va 16, Vb 32: the walk is 32, 2144, 2112, 80, 16.
const Vertical Va16 = {"3961 3929x25 1817x25 1849x25 3881x25 3945x25 3961x25",
                       [](const std::string& p) {
                           return Rows(p, "3961", {"3929", "1817", "1849", "3881", "3945"});
                       }};
const Vertical Va16Technology0 = {
    "3913 3945x25 1833x25 1801x25 3865x25 3929x25 3913x25", [](const std::string& p) {
        return Rows(p, "3913", {"3945", "1833", "1801", "3865", "3929"});
    }};

struct Horizontal {
    const char* idle; // at 20 ticks of idle time
    const char* pixel;
    LineTable line; // without the vertical part
};

// Ha 256, Hb 512: a pixel is 256, 384, 1920, 1664, ...
const Horizontal Ha256 = {
    "3961 3965 3961x28",
    "3961 3705 3833 2297 2553 2425 2929 2937x4 3961",
    {"3961", "", "3961x20", "3705 3833 2297 2553 2929 2937 2936x2 3961",
     "3705 3833 2297 2553 2425 2937 3961", "3961", "3965",
     "3705 3833 3321 2553 2425 2929 2936 3961", "3961"},
};
const Horizontal Ha256Technology0 = {
    "3913 3917 3913x28",
    "3913 3657 3785 2249 2505 2377 2881 2889x4 3913",
    {"3913", "", "3913x20", "3657 3785 2249 2505 2881 2889 2888x2 3913",
     "3657 3785 2249 2505 2377 2889 3913", "3913", "3917",
     "3657 3785 3273 2505 2377 2881 2888 3913", "3913"},
};
// Ha 512, Hb 256: a pixel is 512, 640, 1920, 1408, ...
const Horizontal Ha512 = {
    "3961 3965 3961x28",
    "3961 3449 3577 2297 2809 2681 2929 2937x4 3961",
    {"3961", "", "3961x20", "3449 3577 2297 2809 2929 2937 2936x2 3961",
     "3449 3577 2297 2809 2681 2937 3961", "3961", "3965",
     "3449 3577 3321 2809 2681 2929 2936 3961", "3961"},
};
const Horizontal Ha512Technology0 = {
    "3913 3917 3913x28",
    "3913 3401 3529 2249 2761 2633 2881 2889x4 3913",
    {"3913", "", "3913x20", "3401 3529 2249 2761 2881 2889 2888x2 3913",
     "3401 3529 2249 2761 2633 2889 3913", "3913", "3917",
     "3401 3529 3273 2761 2633 2881 2888 3913", "3913"},
};

LineTable LineWith(const Horizontal& horizontal, const Vertical& vertical, const std::string& p)
{
    LineTable line = horizontal.line;
    line.repeat = vertical.repeat(p);
    return line;
}

struct Combination {
    Camera camera;
    const Vertical* vertical;
    const Horizontal* horizontal;
};

// Outputs 0 and 2 have Ha 256; CcdBackFront 0 exchanges the pair.
const Combination Combinations[] = {
    {{0, 1, 1}, &Va32, &Ha256},
    {{1, 1, 1}, &Va32, &Ha512},
    {{2, 1, 1}, &Va16, &Ha256},
    {{3, 1, 1}, &Va16, &Ha512},
    {{0, 0, 1}, &Va32, &Ha512},
    {{1, 0, 1}, &Va32, &Ha256},
    {{2, 0, 1}, &Va16, &Ha512},
    {{3, 0, 1}, &Va16, &Ha256},
    {{0, 1, 0}, &Va32Technology0, &Ha256Technology0},
    {{1, 1, 0}, &Va32Technology0, &Ha512Technology0},
    {{2, 1, 0}, &Va16Technology0, &Ha256Technology0},
    {{3, 1, 0}, &Va16Technology0, &Ha512Technology0},
    {{0, 0, 0}, &Va32Technology0, &Ha512Technology0},
    {{1, 0, 0}, &Va32Technology0, &Ha256Technology0},
    {{2, 0, 0}, &Va16Technology0, &Ha512Technology0},
    {{3, 0, 0}, &Va16Technology0, &Ha256Technology0},
};

// The words of a line with a register of R positions, W of them in the window.
uint32_t LineWords(uint32_t vbin, uint32_t P, uint32_t R, uint32_t W)
{
    return 1 + vbin * (2 + 5 * P) + 20 + 10 * W + 8 * (R - W) + 1;
}

} // namespace

TEST_F(WaveSite, SixteenCombinationsReadAsTheTables)
{
    for (const Combination& combination : Combinations) {
        const Camera& camera = combination.camera;
        SCOPED_TRACE(testing::Message() << camera.output << camera.backFront << camera.technology);
        for (const int32_t sensor : {300, 305, 310}) {
            Fit({.platform = 24, .sensor = sensor}, camera);
            // The period is a count: 5 ticks, not 10.
            ExpectCountedLines(BuildWaveSite,
                               LineWith(*combination.horizontal, *combination.vertical, "5"), 2);
            EXPECT_EQ(Row(), combination.vertical->row);
            EXPECT_EQ(Pixel(), combination.horizontal->pixel);
            EXPECT_EQ(Idle(), combination.horizontal->idle);
        }
    }
}

TEST_F(WaveSite, Output0WithBackFront0GivesHa512AndHb256)
{
    Set({0, 0, 1});
    ASSERT_EQ(Build(BuildWaveSite, {}), 0);
    EXPECT_EQ(Pixel(), Ha512.pixel);
}

TEST_F(WaveSite, AnyBackFrontAndTechnologyButZeroIsTheSameAsOne)
{
    Set({0, -1, 77});
    ASSERT_EQ(Build(BuildWaveSite, {}), 0);
    EXPECT_EQ(Pixel(), Ha256.pixel);
    EXPECT_EQ(Row(), Va32.row);
}

TEST_F(WaveSite, AnUnknownOutputKeepsTheLinesOfTheLastBuildAheadOfTheExchange)
{
    Set({3, 0, 1}); // Ha 512, exchanged to 256
    ASSERT_EQ(Build(BuildWaveSite, {}), 0);
    EXPECT_EQ(Pixel(), Ha256.pixel);
    for (const int32_t output : {4, -1, 1000}) {
        Set({output, 1, 1});
        ASSERT_EQ(Build(BuildWaveSite, {}), 0);
        EXPECT_EQ(Row(), Va16.row);
        EXPECT_EQ(Pixel(), Ha512.pixel);
        Set({output, 0, 1});
        ASSERT_EQ(Build(BuildWaveSite, {}), 0);
        EXPECT_EQ(Pixel(), Ha256.pixel);
    }
    Set({1, 1, 1});
    ASSERT_EQ(Build(BuildWaveSite, {}), 0);
    Set({9, 1, 0});
    ASSERT_EQ(Build(BuildWaveSite, {}), 0);
    EXPECT_EQ(Row(), Va32Technology0.row);
    EXPECT_EQ(Pixel(), Ha512Technology0.pixel);
}

TEST_F(WaveSite, PadsWithItsIdleLevels)
{
    ASSERT_EQ(Build(BuildWaveSite, {}), 0);
    EXPECT_EQ(Padding(path, IdleSection), "3961x226");
    EXPECT_EQ(Padding(path, PixelSection), "3961x244");
    Set({0, 1, 0});
    ASSERT_EQ(Build(BuildWaveSite, {}), 0);
    EXPECT_EQ(Padding(path, RowSection), "3913x105");
}

TEST_F(WaveSite, IdleTakes28TicksBehindTheStrobeAtAHalfMicrosecond)
{
    ASSERT_EQ(Build(BuildWaveSite, {}), 0);
    EXPECT_EQ(Idle(), "3961 3965 3961x28");
}

TEST_F(WaveSite, TruncatesItsIdleTimeAndNotItsPeriod)
{
    // 10 / 0.7 is 14.3; three ticks of period are three ticks.
    Fit({.platform = 22, .sensor = 310, .tick = 0.7, .period = 3}, {0, 1, 1});
    ExpectCountedLines(BuildWaveSite, LineWith(Ha256, Va32, "3"), 1);
    EXPECT_EQ(Idle(), "3961 3965 3961x22");
    EXPECT_EQ(Row(), Va32.row);
    // 10 / 40 is 0.
    Fit({.platform = 22, .sensor = 310, .tick = 40.0, .period = 3}, {0, 1, 1});
    ExpectCountedLines(BuildWaveSite, LineWith(Ha256, Va32, "3"), 1);
    EXPECT_EQ(Idle(), "3961 3965 3961x8");
}

TEST_F(WaveSite, Vbin55KeepsThePeriodAndVbin56TakesAThirdOfIt)
{
    Fit({.platform = 23, .sensor = 305, .period = 8}, {0, 1, 1});
    const std::string pixels = Out(Ha256.line, 2) + Bins(Ha256.line, 8, 1) + Out(Ha256.line, 2);
    ExpectLine(BuildWaveSite, LineWith(Ha256, Va32, "8"), {.vbin = 55}, pixels);
    EXPECT_EQ(LineLength(), LineWords(55, 8, 12, 8));
    // 8 / 3 is 2.
    ExpectLine(BuildWaveSite, LineWith(Ha256, Va32, "2"), {.vbin = 56}, pixels);
    EXPECT_EQ(LineLength(), LineWords(56, 2, 12, 8));
    EXPECT_EQ(Row(), Va32.row);
}

TEST_F(WaveSite, AThirdOfAPeriodBelowThreeIsNothing)
{
    Fit({.platform = 23, .sensor = 305, .period = 2}, {0, 1, 1});
    ASSERT_EQ(Build(BuildWaveSite, {.vbin = 56}), 0);
    EXPECT_EQ(LineLength(), LineWords(56, 0, 12, 8));
    EXPECT_EQ(Line().substr(0, 14), "3961x133 3705 "); // 1 + 56 x 2 + 20
}

TEST_F(WaveSite, LineIsAsLongAsItsFormula)
{
    Fit({.platform = 24, .sensor = 300, .period = 7, .dummyColumns = 16, .registerSize = 1056},
        {0, 1, 1});
    ASSERT_EQ(Build(BuildWaveSite, {.width = 1024}), 0);
    EXPECT_EQ(LineLength(), LineWords(1, 7, 1056, 1024));
    ASSERT_EQ(Build(BuildWaveSite, {.x = 100, .width = 300, .vbin = 4}), 0);
    EXPECT_EQ(LineLength(), LineWords(4, 7, 1056, 300));
    // The other three sections fill a page each: 1 + 4 x 37 + 20 + 3000 + 6048 + 1
    // is 9218, and 37 pages hold it.
    const WaveContents wave = ReadWaveFile(path);
    EXPECT_EQ(wave.wordCount, 768u + 37 * 256);
    EXPECT_EQ(wave.start[RowSection], 256);
    EXPECT_EQ(wave.start[LineSection], 512);
    EXPECT_EQ(wave.start[PixelSection], 512 + 37 * 256);
}

TEST_F(WaveSite, Hbin1ResetsSamplesAndConvertsInEachPixel)
{
    ASSERT_EQ(Build(BuildWaveSite, {}), 0);
    const WaveContents wave = ReadWaveFile(path);
    int converts = 0;
    int samples = 0;
    for (uint32_t i = 0; i <= wave.end[LineSection]; ++i) {
        const uint32_t word = wave.words[wave.start[LineSection] + i];
        if (word == 3965) ++converts;
        if (word == 2936) ++samples;
    }
    EXPECT_EQ(converts, 8);
    EXPECT_EQ(samples, 8 * 2 + 4); // 1025: two ticks inside the window, one outside
}

TEST_F(WaveSite, Hbin3WithOneBinTakes10And8And8WordsAndConvertsOnTheThird)
{
    ASSERT_EQ(Build(BuildWaveSite, {.width = 1, .hbin = 3}), 0);
    EXPECT_EQ(LineLength(), 1u + 27 + 20 + 2 * 8 + 10 + 8 + 8 + 7 * 8 + 1);
    const std::string bin = "3705 3833 2297 2553 2929 2937 2936x2 3961x2 "
                            "3705 3833 2297 2553 2425 2937 3961x2 "
                            "3705 3833 2297 2553 2425 2937 3961 3965 ";
    EXPECT_NE(Line().find("2936 3961 " + bin + "3705 3833 3321"), std::string::npos);
    EXPECT_EQ(Line().find("3965"), Line().rfind("3965"));
}

TEST_F(WaveSite, ABinThatTheRegisterCutsOffIsDroppedAndLeavesNothingToTheNextBuild)
{
    // From 2 + 1 x 7 = 9: three pixels of the first bin, no conversion.
    ASSERT_EQ(Build(BuildWaveSite, {.x = 1, .width = 2, .hbin = 7}), 0);
    EXPECT_EQ(Line().find("3965"), std::string::npos);
    ExpectCountedLines(BuildWaveSite, LineWith(Ha256, Va32, "5"), 1);
}

TEST_F(WaveSite, OverflowsAt32767Words)
{
    // 124 pages are left for the line: 1 + 6 x (2 + 5 x 1057) + 20 + 1 is 31744, which
    // fills them to the last word.
    Fit({.platform = 24, .sensor = 300, .period = 1057}, {0, 1, 1});
    ExpectWriter(BuildWaveSite, "Build Sequencer Data", 6);
    ASSERT_EQ(Build(BuildWaveSite, {.vbin = 6}), 0);
    EXPECT_EQ(ReadWaveFile(path).wordCount, 127u * 256);
    record.Ccd.HorRegSize = 1;
    EXPECT_EQ(Build(BuildWaveSite, {.vbin = 6}), 8);
}

TEST_F(WaveSite, BuildsWithoutAPeriodOrATick)
{
    Fit({.platform = 24, .sensor = 300, .period = 0}, {0, 1, 1});
    ExpectCountedLines(BuildWaveSite, LineWith(Ha256, Va32, "0"), 2);
    Fit({.platform = 24, .sensor = 300, .tick = -0.5}, {0, 1, 1});
    ExpectCountedLines(BuildWaveSite, LineWith(Ha256, Va32, "5"), 2);
    EXPECT_EQ(Idle(), "3961 3965 3961x8");
    // The idle time is longer than any pattern.
    Fit({.platform = 24, .sensor = 300, .tick = 0.0}, {0, 1, 1});
    EXPECT_EQ(Build(BuildWaveSite, {}), 8);
}
