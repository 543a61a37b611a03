// Cameras that stop to answer: the program ends and says why, or goes on when they are back.
// Times of the world's events count from its start, in virtual time.
#include <csignal>

#include "tests/tools/fixture.h"

namespace {

uint16_t Ramp(int32_t x, int32_t y)
{
    return static_cast<uint16_t>(x + y);
}

std::string World(const std::string& more)
{
    return "platform=42,sensor=255,scene=ramp,time=virtual," + more;
}

} // namespace

// The exposure takes the twenty seconds from 0 on; the readout waits in vain.
TEST_F(QvnVirtual, CameraThatFallsSilentEndsWithAClearError)
{
    const ProgramResult result =
        RunVirtual({"expose", "--seconds", "20", "--frames", "3", "--output", "f.png"},
                   World("event=10:silent"));
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_TRUE(Contains(result.err, "taking frame 1 of 3 with camera 0, BRIAR-PCI with kaf400e: "
                                     "Link failure! Please check the camera link (error 2)"))
        << result.err;
    EXPECT_TRUE(Contains(result.err, "Try: check the cable")) << result.err;
    EXPECT_EQ(FilesIn(scratch), (std::vector<std::string>{"qvn.cfg", "wave.bin"}));
}

TEST_F(QvnVirtual, PlugThatIsPulledInAnExposureEndsWithAClearError)
{
    const ProgramResult result = RunVirtual({"expose", "--seconds", "20", "--output", "f.png"},
                                            "platform=WREN,sensor=255,time=virtual,event=10:off");
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_TRUE(Contains(result.err, "taking frame 1 of 1")) << result.err;
    EXPECT_TRUE(Contains(result.err, "Try: ")) << result.err;
    EXPECT_FALSE(FileExists(scratch, "f.png"));
}

TEST_F(QvnVirtual, FrameOfACameraThatComesBackIsTakenAgain)
{
    const ProgramResult result =
        RunVirtual({"expose", "--seconds", "20", "--come-back", "60", "--output", "f.png"},
                   World("event=10:off,event=40:on"));
    EXPECT_EQ(result.exitCode, 0) << result.err;
    EXPECT_TRUE(Contains(result.err, "taking frame 1 of 1")) << result.err;
    EXPECT_TRUE(Contains(result.err, "it is waited for, up to 60 s")) << result.err;
    ExpectPicture("f.png", Ramp);
}

// The link fails in the first attempt; in the second one it is the trigger that does not come.
TEST_F(QvnVirtual, FrameThatFailsWithACameraThatIsBackIsNotTakenAgain)
{
    const ProgramResult result =
        RunVirtual({"expose", "--trigger", "--trigger-limit", "20", "--seconds", "20",
                    "--come-back", "60", "--output", "f.png"},
                   World("trigger=5,event=10:off,event=30:on"));
    EXPECT_EQ(result.exitCode, 1) << result.err;
    EXPECT_TRUE(Contains(result.err, "Try: check the signal at the camera's input")) << result.err;
    const size_t missed = result.err.find("external trigger");
    EXPECT_EQ(result.err.find("external trigger", missed + 1), std::string::npos) << result.err;
    EXPECT_FALSE(FileExists(scratch, "f.png"));
}

TEST_F(QvnVirtual, FrameInStepsOfACameraThatIsGoneIsNoFrame)
{
    const std::vector<std::string> armed = {"expose", "--armed", "--seconds", "20", "--output"};
    std::vector<std::string> alone = armed;
    alone.emplace_back("a.png");
    const ProgramResult lost = RunVirtual(alone, World("event=10:off"));
    EXPECT_EQ(lost.exitCode, 1);
    EXPECT_TRUE(Contains(lost.err, "taking frame 1 of 1")) << lost.err;
    EXPECT_FALSE(FileExists(scratch, "a.png"));
    std::vector<std::string> patient = armed;
    patient.insert(patient.end(), {"b.png", "--come-back", "60"});
    const ProgramResult back = RunVirtual(patient, World("event=10:off,event=40:on"));
    EXPECT_EQ(back.exitCode, 0) << back.err;
    ExpectPicture("b.png", Ramp);
}

TEST_F(QvnVirtual, CameraThatStaysAwayIsWaitedForNoLongerThanTold)
{
    const ProgramResult result =
        RunVirtual({"expose", "--seconds", "20", "--come-back", "15", "--output", "f.png"},
                   World("event=10:off"));
    EXPECT_EQ(result.exitCode, 1) << result.err;
    EXPECT_TRUE(Contains(result.err, "it is waited for, up to 15 s")) << result.err;
    EXPECT_FALSE(FileExists(scratch, "f.png"));
}

TEST_F(QvnVirtual, WatchEndsWithACameraThatLosesItsPowerAndKeepsItsLog)
{
    const ProgramResult result = RunVirtual(
        {"temperature", "--target", "0", "--seconds", "600", "--interval", "10", "--log", "c.csv"},
        World("event=100:off"));
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_TRUE(Contains(result.err, "camera 0, BRIAR-PCI with kaf400e: Link failure!"))
        << result.err;
    EXPECT_TRUE(Contains(result.err, "switching the cooler off: the camera does not answer"))
        << result.err;
    EXPECT_TRUE(Contains(ReadText(scratch, "c.csv"), "\n90.")) << ReadText(scratch, "c.csv");
}

TEST_F(QvnVirtual, WatchGoesOnWithACameraThatComesBack)
{
    const ProgramResult result = RunVirtual({"monitor", "--duration", "600", "--interval", "100",
                                             "--come-back", "300", "--log", "c.csv"},
                                            World("event=150:off,event=250:on"));
    EXPECT_EQ(result.exitCode, 0) << result.err;
    EXPECT_TRUE(Contains(ReadText(scratch, "c.csv"), "\n600.")) << ReadText(scratch, "c.csv");
}

// The watchdog grants a printer port's readout ten seconds; the spy keeps it for sixty.
TEST_F(QvnWithCamera, CameraWhoseCallNeverEndsIsGivenUp)
{
    scratch.spy = "hang";
    const ProgramResult result = RunCamera({"expose", "--seconds", "0", "--output", "a.raw"});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_LT(result.seconds, 45.0);
    EXPECT_TRUE(Contains(result.err, "does not return (error -107), waiting for ")) << result.err;
    EXPECT_TRUE(Contains(result.err, "Try: pull the camera's plug")) << result.err;
    EXPECT_TRUE(FilesIn(scratch).empty());
}

TEST_F(QvnWithCamera, OneCtrlCIsEnoughForACameraThatNeverAnswers)
{
    scratch.spy = "hang";
    const RunningProgram program = StartProgram(scratch, With({"expose", "--seconds", "0"}));
    EXPECT_TRUE(WaitForText(program, "Exposing"));
    kill(program.process, SIGINT);
    const ProgramResult result = FinishProgram(program);
    EXPECT_EQ(result.exitCode, 130);
    EXPECT_LT(result.seconds, 45.0);
}

// In true time: the readout hangs for longer than the card's ten seconds.
TEST_F(QvnVirtual, TraceOfACameraThatIsGivenUpIsComplete)
{
    scratch.spy = "hang";
    const ProgramResult result =
        RunVirtual({"expose", "--seconds", "0", "--output", "f.png", "--trace", "t.txt"},
                   "platform=42,sensor=255");
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_TRUE(Contains(result.err, "does not return (error -107)")) << result.err;
    const std::string trace = ReadText(scratch, "t.txt");
    ASSERT_FALSE(trace.empty());
    EXPECT_EQ(trace.back(), '\n');
    // The camera was not closed, but asked for its temperature until the readout.
    EXPECT_FALSE(Contains(trace, "card close"));
}

// At 30 seconds; the exposure of five begins then.
TEST_F(QvnVirtual, TriggerStartsTheExposure)
{
    const ProgramResult result = RunVirtual(
        {"expose", "--trigger", "--seconds", "5", "--output", "f.png"}, World("trigger=30"));
    EXPECT_EQ(result.exitCode, 0) << result.err;
    ExpectPicture("f.png", Ramp);
}

TEST_F(QvnVirtual, TriggerThatDoesNotComeIsWaitedForNoLongerThanTold)
{
    const ProgramResult result = RunVirtual(
        {"expose", "--trigger", "--trigger-limit", "20", "--output", "f.png"}, World("trigger=30"));
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_TRUE(Contains(result.err, "waiting for the external trigger")) << result.err;
    EXPECT_FALSE(FileExists(scratch, "f.png"));
    EXPECT_EQ(Run({"expose", "--trigger-limit", "20"}).exitCode, 2);
    EXPECT_EQ(Run({"expose", "--trigger", "--armed"}).exitCode, 2);
}

TEST_F(QvnWithCamera, TriggerThatCannotBePolledIsRefused)
{
    const ProgramResult result = RunCamera({"expose", "--trigger", "--output", "f.png"});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_TRUE(Contains(result.err, "Try: without --trigger")) << result.err;
}

TEST_F(QvnVirtual, CameraIsFoundByItsSerialNumber)
{
    const std::string two = "time=virtual;platform=42,sensor=255,serial=7,scene=dark;"
                            "platform=42,sensor=255,camera=1,serial=8,scene=ramp";
    const ProgramResult found =
        RunVirtual({"expose", "--seconds", "1", "--serial", "8", "--output", "f.fits"}, two);
    ASSERT_EQ(found.exitCode, 0) << found.err;
    const Picture picture = ReadFits(scratch, "f.fits");
    EXPECT_EQ(KeywordNumber(picture, "SERIALNO"), 8.0);
    EXPECT_EQ(PixelAt(picture, 3, 4), 7);
    EXPECT_TRUE(Contains(RunVirtual({"info", "--serial", "8"}, two).out, "Serial number 8\n"));
    const ProgramResult none = RunVirtual({"info", "--serial", "9"}, two);
    EXPECT_EQ(none.exitCode, 1);
    EXPECT_TRUE(Contains(none.err, "No camera with this serial number")) << none.err;
}

TEST_F(QvnVirtual, HeaderTellsTheEndAndTheHashesOfAFrame)
{
    ASSERT_EQ(
        RunVirtual({"expose", "--seconds", "100", "--output", "f.fits"}, World("seed=1")).exitCode,
        0);
    Picture picture = ReadFits(scratch, "f.fits");
    // Nothing cools: ambient is 20 degrees.
    EXPECT_NEAR(KeywordNumber(picture, "CCD-TEMP"), 20.0, 0.2);
    EXPECT_NEAR(KeywordNumber(picture, "TEMPEND"), 20.0, 0.2);
    EXPECT_EQ(picture.keywords.count("COOLPOWR"), 0U);
    EXPECT_EQ(KeywordNumber(picture, "SERIALNO"), 1001.0);
    EXPECT_EQ(picture.keywords["DATE-END"].size(), 23U);
    uint64_t hash = 0xCBF29CE484222325;
    for (const char letter : ReadText(scratch, "wave.bin")) {
        hash = (hash ^ static_cast<uint8_t>(letter)) * 0x100000001B3;
    }
    char text[17];
    snprintf(text, sizeof text, "%016llx", static_cast<unsigned long long>(hash));
    EXPECT_EQ(picture.keywords["PATHASH"], text);
    EXPECT_EQ(picture.keywords["DEFHASH"].size(), 16U);
}

// From 20 to 18 degrees at two degrees a minute: one minute at least.
TEST_F(QvnVirtual, RampTakesItsTime)
{
    const ProgramResult result =
        RunVirtual({"temperature", "--target", "18", "--ramp", "2", "--seconds", "60", "--interval",
                    "30", "--log", "c.csv"},
                   World("seed=1"));
    ASSERT_EQ(result.exitCode, 0) << result.err;
    EXPECT_TRUE(Contains(ReadText(scratch, "c.csv"), ",ramp\n")) << ReadText(scratch, "c.csv");
}

TEST_F(QvnVirtual, SensorWarmsUpAheadOfTheEnd)
{
    const ProgramResult result =
        RunVirtual({"expose", "--cool", "15", "--stable", "10", "--warm-up", "5", "--seconds", "1",
                    "--output", "f.png"},
                   World("seed=1"));
    ASSERT_EQ(result.exitCode, 0) << result.err;
    EXPECT_TRUE(Contains(result.err, "warming up: ")) << result.err;
    const ProgramResult cut = RunVirtual(
        {"temperature", "--target", "0", "--seconds", "100", "--interval", "50", "--warm-up", "1"},
        World("event=150:off"));
    EXPECT_EQ(cut.exitCode, 1);
    EXPECT_TRUE(Contains(cut.err, "qvn: warming up: ")) << cut.err;
    EXPECT_EQ(Run({"expose", "--cool", "0", "--warm-up", "5", "--keep-cooling"}).exitCode, 2);
    EXPECT_EQ(Run({"expose", "--warm-up", "5"}).exitCode, 2);
}
