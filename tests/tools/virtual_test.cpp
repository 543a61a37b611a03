// qvn with --virtual and --trace: a sensor of 24 x 16, small enough to know each pixel.
#include "tests/tools/fixture.h"

namespace {

uint16_t Ramp(int32_t x, int32_t y)
{
    return static_cast<uint16_t>(x + y);
}

TEST_F(QvnVirtual, TakesAFrameOfTheSceneWithTheInstrumentsOwnCodes)
{
    const ProgramResult result = RunVirtual({"expose", "--seconds", "30", "--output", "f.png"},
                                            "platform=42,sensor=255,scene=ramp,time=virtual");
    ASSERT_EQ(result.exitCode, 0) << result.err;
    EXPECT_LT(result.seconds, 20.0); // virtual ones pass at once
    ExpectPicture("f.png", Ramp);
}

TEST_F(QvnVirtual, OptionsMayStandAheadOfTheCommand)
{
    const ProgramResult result = Run({"--virtual", "platform=40,sensor=255,scene=ramp", "--trace",
                                      "t.txt", "expose", "--seconds", "0.1", "--output", "f.png"});
    ASSERT_EQ(result.exitCode, 0) << result.err;
    ExpectPicture("f.png", Ramp);
    EXPECT_TRUE(Contains(ReadText(scratch, "t.txt"), "port acquire 0378"));
}

// What this camera's driver drops ahead of the picture, five pixels, is missing at its end.
TEST_F(QvnVirtual, CamerasOnUsbAreOpenedByTheirKindOfLink)
{
    const ProgramResult result =
        Run({"--virtual", "platform=WREN,sensor=255,scene=ramp,time=virtual", "--trace", "t.txt",
             "expose", "--seconds", "0.1", "--output", "f.png"});
    ASSERT_EQ(result.exitCode, 0) << result.err;
    ExpectPicture("f.png", [](int32_t x, int32_t y) {
        return y == SmallRows - 1 && x >= SmallColumns - 5 ? uint16_t{0} : Ramp(x, y);
    });
    EXPECT_EQ(ReadText(scratch, "t.txt").rfind("usb list 1\nusb open 0\n", 0), 0u);
}

TEST_F(QvnVirtual, AScenesFileIsSeen)
{
    ASSERT_EQ(RunVirtual({"expose", "--seconds", "0.01", "--output", "sky.fits"},
                         "platform=42,sensor=255,scene=ramp,time=virtual")
                  .exitCode,
              0);
    const ProgramResult result = RunVirtual({"expose", "--seconds", "0.01", "--output", "f.png"},
                                            "platform=44,sensor=255,scene=sky.fits,time=virtual");
    ASSERT_EQ(result.exitCode, 0) << result.err;
    ExpectPicture("f.png", Ramp);

    const ProgramResult missing =
        RunVirtual({"info"}, "platform=44,sensor=255,scene=no.png,time=virtual");
    EXPECT_EQ(missing.exitCode, 1);
    EXPECT_TRUE(Contains(missing.err, "scene no.png: No such file")) << missing.err;
}

// Column 2 to 9 and row 3 to 6 of bins of two: the bin's first pixel is at (4 + 2x, 6 + 2y);
// rows of a window begin at that of half the dummy lines, here one row earlier. The last four
// pixels do not come.
TEST_F(QvnVirtual, WindowsAndBinsAreThoseOfTheScene)
{
    const ProgramResult result = RunVirtual({"expose", "--seconds", "0.01", "--output", "f.png",
                                             "--binning", "2,2", "--window", "2,3,8,4"},
                                            "platform=44,sensor=255,scene=ramp,time=virtual");
    ASSERT_EQ(result.exitCode, 0) << result.err;
    const Picture picture = ReadPng(scratch, "f.png");
    ASSERT_EQ(picture.width, 8);
    ASSERT_EQ(picture.height, 4);
    for (int32_t i = 0; i < 8 * 4 - 4; ++i) {
        const int32_t x = 4 + 2 * (i % 8), y = 5 + 2 * (i / 8);
        ASSERT_EQ(PixelAt(picture, i % 8, i / 8), 4 * (x + y) + 4) << i;
    }
}

TEST_F(QvnVirtual, InfoTellsTheInstrumentOfItsNumber)
{
    const char* world = "time=virtual;platform=42,sensor=255;platform=44,sensor=255,camera=5";
    const ProgramResult first = RunVirtual({"info"}, world);
    ASSERT_EQ(first.exitCode, 0) << first.err;
    EXPECT_TRUE(Contains(first.out, "42 BRIAR-PCI")) << first.out;
    const ProgramResult fifth = RunVirtual({"info", "--camera", "5"}, world);
    ASSERT_EQ(fifth.exitCode, 0) << fifth.err;
    EXPECT_TRUE(Contains(fifth.out, "44 BRIAR-R3")) << fifth.out;
    const ProgramResult none = RunVirtual({"info", "--camera", "1"}, world);
    EXPECT_EQ(none.exitCode, 1);
    EXPECT_TRUE(Contains(none.err, "--camera 1: no --virtual instrument has this number"));
}

TEST_F(QvnVirtual, ListShowsTheInstruments)
{
    const char* world = "platform=42,sensor=255;platform=40,sensor=255,camera=5";
    const ProgramResult table = RunVirtual({"list"}, world);
    ASSERT_EQ(table.exitCode, 0) << table.err;
    EXPECT_EQ(table.out, "Camera  Platform         Sensor          Link\n"
                         "     0   42 BRIAR-PCI     255 kaf400e    2\n"
                         "     5   40 BRIAR         255 kaf400e    0 at 0x378\n");
    const ProgramResult json = RunVirtual({"list", "--json"}, world);
    EXPECT_TRUE(Contains(json.out, "{\"camera\": 5, \"platform\": {\"code\": 40, \"name\": "
                                   "\"BRIAR\"}, \"sensor\": {\"code\": 255, \"name\": "
                                   "\"kaf400e\"}, \"interface\": [0, 888], \"heads\": 0}"))
        << json.out;
}

TEST_F(QvnVirtual, ListShowsHowManyHeadsAnArrayHas)
{
    const char* world = "platform=42,sensor=255,heads=4;platform=40,sensor=255,camera=5";
    const ProgramResult table = RunVirtual({"list"}, world);
    ASSERT_EQ(table.exitCode, 0) << table.err;
    EXPECT_EQ(table.out, "Camera  Platform         Sensor          Link\n"
                         "     1   42 BRIAR-PCI     255 kaf400e    2, an array of 4 heads\n"
                         "     5   40 BRIAR         255 kaf400e    0 at 0x378\n");
    const ProgramResult json = RunVirtual({"list", "--json"}, world);
    EXPECT_TRUE(Contains(json.out, "\"interface\": [2, -1], \"heads\": 4}")) << json.out;
    const ProgramResult one = RunVirtual({"list"}, "platform=42,sensor=255,heads=1");
    EXPECT_TRUE(Contains(one.out, "    2, an array of 1 head\n")) << one.out;
}

TEST_F(QvnVirtual, AFrameWaitsForTheTriggerOfTheWorld)
{
    const ProgramResult result =
        RunVirtual({"expose", "--options", "4", "--seconds", "0.01", "--output", "f.png"},
                   "platform=42,sensor=255,scene=ramp,time=virtual,trigger=3600");
    ASSERT_EQ(result.exitCode, 0) << result.err;
    ExpectPicture("f.png", Ramp);
}

TEST_F(QvnVirtual, APlugThatIsPulledInTheMiddleIsALinkFailure)
{
    const ProgramResult result = RunVirtual({"expose", "--seconds", "60", "--output", "f.png"},
                                            "platform=300,sensor=255,time=virtual,event=30:off");
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_TRUE(Contains(result.err, "(error 2)")) << result.err;
}

TEST_F(QvnVirtual, AnHourOfCoolingPassesAtOnceInVirtualTime)
{
    const ProgramResult result = RunVirtual({"temperature", "--target", "-5", "--seconds", "3600",
                                             "--interval", "1800", "--log", "c.csv"},
                                            "platform=44,sensor=255,time=virtual");
    ASSERT_EQ(result.exitCode, 0) << result.err;
    EXPECT_LT(result.seconds, 600.0);
    const std::string log = ReadText(scratch, "c.csv");
    EXPECT_TRUE(Contains(log, "\n1800.")) << log;
    EXPECT_TRUE(Contains(log, "\n3600.")) << log;
}

TEST_F(QvnVirtual, CoolingIsAwaitedInVirtualTime)
{
    const ProgramResult result =
        RunVirtual({"expose", "--cool", "15", "--seconds", "0.01", "--output", "f.png"},
                   "platform=44,sensor=255,time=virtual,scene=ramp");
    ASSERT_EQ(result.exitCode, 0) << result.err;
    ExpectPicture("f.png", Ramp);
}

TEST_F(QvnVirtual, FaultsAreToldAsThoseOfRealCameras)
{
    const ProgramResult result = RunVirtual({"info"}, "platform=44,sensor=255,fault=no-driver");
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_TRUE(Contains(result.err, "(error 13)")) << result.err;
}

TEST_F(QvnVirtual, WrongTextsAreToldAndNothingIsOpened)
{
    const ProgramResult key = RunVirtual({"info", "--trace", "t.txt"}, "platform=42,colour=red");
    EXPECT_EQ(key.exitCode, 1);
    EXPECT_TRUE(Contains(key.err, "\"colour\": no such key; there are platform")) << key.err;
    EXPECT_FALSE(FileExists(scratch, "t.txt"));
    const ProgramResult demo = RunVirtual({"info"}, "platform=1");
    EXPECT_EQ(demo.exitCode, 1);
    EXPECT_TRUE(Contains(demo.err, "no virtual instrument of 1 DEMO yet")) << demo.err;
}

TEST_F(QvnVirtual, MissingDefinitionsAreToldWithAdvice)
{
    const ProgramResult result = RunVirtual({"info"}, "platform=42,sensor=250");
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_TRUE(Contains(result.err, "42 BRIAR-PCI with sensor 250")) << result.err;
    EXPECT_TRUE(Contains(result.err, "qvn init")) << result.err;
}

TEST_F(QvnVirtual, ArgumentsThatDoNotGoTogetherAreRefused)
{
    const std::string text = "platform=42,sensor=255";
    for (const std::vector<std::string>& arguments :
         {std::vector<std::string>{"info", "--trace", "t.txt"},
          {"--virtual", text, "info", "--virtual", text},
          {"--virtual", text, "init", "sky"},
          {"--virtual", text, "wave", "show", "wave.bin"},
          {"info", "--virtual", ""}}) {
        const ProgramResult result = Run(arguments);
        EXPECT_EQ(result.exitCode, 2) << result.err;
        EXPECT_TRUE(Contains(result.err, "--virtual") || Contains(result.err, "--trace"))
            << result.err;
    }
    EXPECT_EQ(FilesIn(scratch), std::vector<std::string>{"qvn.cfg"});
}

TEST_F(QvnVirtual, ATraceIsANewFile)
{
    const std::string text = "platform=42,sensor=255,time=virtual";
    ASSERT_EQ(RunVirtual({"info", "--trace", "t.txt"}, text).exitCode, 0);
    const std::string trace = ReadText(scratch, "t.txt");
    EXPECT_EQ(trace.rfind("card open\n", 0), 0u) << trace.substr(0, 100);
    EXPECT_TRUE(Contains(trace, "card close\n"));
    const ProgramResult again = RunVirtual({"info", "--trace", "t.txt"}, text);
    EXPECT_EQ(again.exitCode, 1);
    EXPECT_TRUE(Contains(again.err, "checking --trace")) << again.err;
    EXPECT_EQ(ReadText(scratch, "t.txt"), trace);
    EXPECT_EQ(RunVirtual({"info", "--trace", "no/t.txt"}, text).exitCode, 1);
}

TEST_F(QvnVirtual, ATraceThatDoesNotFitIsTold)
{
    scratch.largestFile = 4096;
    const ProgramResult result =
        RunVirtual({"info", "--trace", "t.txt"}, "platform=42,sensor=255,time=virtual");
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_TRUE(Contains(result.err, "writing --trace: not all of it arrived")) << result.err;
}

} // namespace
