// Cooling and Ctrl-C. The simulated camera starts at 21 degrees, give or take an eighth,
// and moves a tenth of a degree at each reading, twice a second.
#include <csignal>

#include "tests/tools/fixture.h"

namespace {

int32_t LineCount(const std::string& text)
{
    int32_t count = 0;
    for (const char letter : text) count += letter == '\n' ? 1 : 0;
    return count;
}

} // namespace

TEST_F(QvnWithCamera, CoolsAndWaitsBeforeTheFrame)
{
    const ProgramResult result = RunCamera({"expose", "--dark", "--seconds", "0", "--cool", "20.5",
                                            "--tolerance", "0.3", "--output", "cold.fits"});
    ASSERT_EQ(result.exitCode, 0) << result.err;
    const Picture picture = ReadFits(scratch, "cold.fits");
    EXPECT_EQ(KeywordNumber(picture, "SET-TEMP"), 20.5);
    // From the first reading inside, six more follow in three seconds: it has arrived by then.
    EXPECT_NEAR(KeywordNumber(picture, "CCD-TEMP"), 20.5, 0.01);
    EXPECT_TRUE(Contains(result.err, "cooling: ")) << result.err;
}

TEST_F(QvnWithCamera, CoolingThatTakesTooLongFails)
{
    const ProgramResult result =
        RunCamera({"expose", "--cool", "-50", "--wait-limit", "0.6", "--seconds", "0"});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_TRUE(Contains(result.err, "waiting for -50.0 C")) << result.err;
    EXPECT_TRUE(Contains(result.err, "--wait-limit")) << result.err;
    EXPECT_FALSE(FileExists(scratch, "frame.fits"));
}

TEST_F(QvnWithCamera, TemperatureIsLoggedAndPlotted)
{
    const ProgramResult result =
        RunCamera({"temperature", "--target", "20", "--seconds", "2", "--interval", "0.5", "--log",
                   "log.csv", "--plot", "plot.png"});
    EXPECT_EQ(result.exitCode, 0) << result.err;
    const std::string log = ReadText(scratch, "log.csv");
    EXPECT_EQ(log.find("seconds,temperature_celsius,target_celsius,cooler_power_percent,"
                       "cooler_status\n"),
              0U);
    // At 0, 0.5, 1, 1.5 and 2 seconds.
    EXPECT_EQ(LineCount(log), 6) << log;
    // Regulation starts with a drive of 30 percent, which moves by tenths.
    EXPECT_TRUE(Contains(log, ",20.000,30.")) << log;
    const Picture plot = ReadPng(scratch, "plot.png");
    EXPECT_EQ(plot.channels, 3);
    EXPECT_EQ(plot.bits, 8);
    EXPECT_EQ(plot.width, 1000);
}

TEST_F(QvnWithCamera, TemperaturePlotAsSvgHasLabelledAxes)
{
    ASSERT_EQ(RunCamera({"temperature", "--target", "20", "--seconds", "0.2", "--interval", "0.1",
                         "--plot", "plot.svg"})
                  .exitCode,
              0);
    const std::string plot = ReadText(scratch, "plot.svg");
    EXPECT_EQ(plot.find("<svg "), 0U);
    for (const char* label : {"Temperature [\xC2\xB0"
                              "C]",
                              "Power [%]", "Time [s]", "target", "cooler power", "</svg>"}) {
        EXPECT_TRUE(Contains(plot, label)) << label;
    }
}

TEST_F(QvnWithCamera, TemperatureRefusesAPlotWithoutAKnownEnding)
{
    const ProgramResult result =
        RunCamera({"temperature", "--target", "20", "--seconds", "1", "--plot", "plot.pdf"});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_TRUE(Contains(result.err, "--plot: plot.pdf")) << result.err;
}

TEST_F(QvnWithCamera, CtrlCBreaksTheExposure)
{
    const RunningProgram program = StartProgram(scratch, With({"expose", "--seconds", "60"}));
    // Right at the start, when the library is about to clear its own flag.
    EXPECT_TRUE(WaitForText(program, "Exposing"));
    kill(program.process, SIGINT);
    const ProgramResult result = FinishProgram(program);
    EXPECT_EQ(result.exitCode, 130);
    EXPECT_LT(result.seconds, 20.0);
    EXPECT_TRUE(Contains(result.err, "breaking off")) << result.err;
    EXPECT_TRUE(Contains(result.err, "of 60.0 s, the frame was not kept")) << result.err;
    EXPECT_TRUE(FilesIn(scratch).empty());
}

TEST_F(QvnWithCamera, CtrlCKeepsTheFramesThatWereDone)
{
    const RunningProgram program =
        StartProgram(scratch, With({"expose", "--seconds", "0.6", "--frames", "1000", "--options",
                                    "1", "--output", "a.raw"}));
    EXPECT_TRUE(WaitForText(program, "frame 2 of 1000"));
    kill(program.process, SIGTERM);
    const ProgramResult result = FinishProgram(program);
    EXPECT_EQ(result.exitCode, 130);
    EXPECT_EQ(ReadText(scratch, "a_0001.raw").size(), 768U * 512U * 2U);
    for (const std::string& name : FilesIn(scratch)) EXPECT_FALSE(Contains(name, ".part"));
}

TEST_F(QvnWithCamera, BrokenFrameIsKeptOnRequestWithTheTimeThatItHad)
{
    const RunningProgram program =
        StartProgram(scratch, With({"expose", "--seconds", "60", "--keep-broken"}));
    EXPECT_TRUE(WaitForText(program, "Exposing"));
    usleep(300000);
    kill(program.process, SIGINT);
    const ProgramResult result = FinishProgram(program);
    EXPECT_EQ(result.exitCode, 130);
    EXPECT_TRUE(Contains(result.out, "broken off")) << result.out;
    const Picture picture = ReadFits(scratch, "frame.fits");
    EXPECT_EQ(KeywordNumber(picture, "EXPREQ"), 60.0);
    EXPECT_GT(KeywordNumber(picture, "EXPTIME"), 0.0);
    EXPECT_LT(KeywordNumber(picture, "EXPTIME"), 20.0);
}

TEST_F(QvnWithCamera, SecondCtrlCDoesNotKill)
{
    // A large sensor, 4096 x 4096, has a readout to wait for.
    const RunningProgram program = StartProgram(
        scratch, {"expose", "--library-path", "sky", "--sensor", "kaf16800", "--seconds", "60"});
    EXPECT_TRUE(WaitForText(program, "Exposing"));
    kill(program.process, SIGINT);
    EXPECT_TRUE(WaitForText(program, "breaking off"));
    kill(program.process, SIGINT);
    const ProgramResult result = FinishProgram(program);
    EXPECT_EQ(result.exitCode, 130);
    EXPECT_FALSE(Contains(result.err, "ended at once")) << result.err;
}

TEST_F(QvnWithCamera, ThirdCtrlCEndsAProgramWhoseCameraNeverAnswers)
{
    scratch.spy = "hang";
    const RunningProgram program = StartProgram(scratch, With({"expose", "--seconds", "1"}));
    EXPECT_TRUE(WaitForText(program, "Exposing"));
    for (const char* said : {"breaking off", "once more ends the program", "ended at once"}) {
        kill(program.process, SIGINT);
        EXPECT_TRUE(WaitForText(program, said)) << said;
    }
    const ProgramResult result = FinishProgram(program);
    EXPECT_EQ(result.exitCode, 130);
    EXPECT_TRUE(Contains(result.err, "the camera was not closed")) << result.err;
    EXPECT_LT(result.seconds, 30.0);
}

TEST_F(QvnWithCamera, CtrlCDuringTheOpeningLeavesTheCoolerAlone)
{
    scratch.spy = "early";
    EXPECT_EQ(RunCamera({"expose", "--cool", "0"}).exitCode, 130);
    EXPECT_EQ(RunCamera({"temperature", "--target", "0", "--seconds", "5"}).exitCode, 130);
    EXPECT_EQ(SpyNotes(scratch), "Close\nClose\n");
}

// The reader of `qvn temperature ... | head -1` goes away while the cooler is on.
TEST_F(QvnWithCamera, ReaderThatGoesAwayLeavesTheCoolerOffAndTheCameraClosed)
{
    scratch.spy = "none";
    scratch.out = OutTo::ClosedPipe;
    const ProgramResult result =
        RunCamera({"temperature", "--target", "0", "--seconds", "600", "--interval", "0.1"});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_LT(result.seconds, 60.0) << "nobody looks any more";
    EXPECT_TRUE(Contains(result.err, "stdout")) << result.err;
    EXPECT_EQ(SpyNotes(scratch), "SetTemp 0\nCooler 0\nClose\n");
}

TEST_F(QvnWithCamera, ReaderOfTheProgressThatGoesAwayLeavesTheFrames)
{
    scratch.spy = "none";
    scratch.out = OutTo::ClosedPipe;
    scratch.errToo = true;
    const ProgramResult result = RunCamera({"expose", "--dark", "--seconds", "0", "--cool", "21",
                                            "--tolerance", "5", "--output", "a.raw"});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_TRUE(Contains(SpyNotes(scratch), "Cooler 0\nClose\n")) << SpyNotes(scratch);
    EXPECT_EQ(ReadText(scratch, "a.raw").size(), 768U * 512U * 2U);
}

TEST_F(QvnWithCamera, ExceptionLeavesTheCoolerOffAndTheCameraClosed)
{
    scratch.spy = "throw";
    const std::vector<std::vector<std::string>> lines = {
        {"expose", "--cool", "0"}, {"temperature", "--target", "0", "--seconds", "600"}};
    for (const std::vector<std::string>& line : lines) {
        const ProgramResult result = RunCamera(line);
        EXPECT_EQ(result.exitCode, 1);
        EXPECT_TRUE(Contains(result.err, "thrown by the spy")) << result.err;
    }
    EXPECT_EQ(SpyNotes(scratch), "SetTemp 0\nCooler 0\nClose\nSetTemp 0\nCooler 0\nClose\n");
}

TEST_F(QvnWithCamera, WaitForTheColdEndsAlsoWhenNoReadingComes)
{
    scratch.spy = "stalled";
    const ProgramResult result = RunCamera({"expose", "--cool", "0", "--wait-limit", "0.5"});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_TRUE(Contains(result.err, "waiting for +0.0 C")) << result.err;
}

TEST_F(QvnWithCamera, LogThatCannotGrowIsKeptAndTheCoolingGoesOn)
{
    scratch.largestFile = 200;
    scratch.out = OutTo::Nowhere;
    const ProgramResult result = RunCamera({"temperature", "--target", "0", "--seconds", "2",
                                            "--interval", "0.1", "--log", "log.csv"});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_GE(result.seconds, 2.0);
    EXPECT_EQ(FilesIn(scratch), std::vector<std::string>{"log.csv.part"});
    EXPECT_EQ(ReadText(scratch, "log.csv.part").size(), 200U);
}

TEST_F(QvnWithCamera, LogThatCannotGrowIsNamed)
{
    // The head alone has 84 characters.
    scratch.largestFile = 150;
    scratch.out = OutTo::Nowhere;
    const ProgramResult result = RunCamera(
        {"temperature", "--target", "0", "--seconds", "0.4", "--interval", "0.1", "--log", "l"});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_TRUE(Contains(result.err, "l: File too large; what was written is in l.part"))
        << result.err;
}

TEST_F(QvnWithCamera, LogReachesTheDiskWithItsFirstReading)
{
    scratch.spy = "none";
    const RunningProgram program = StartProgram(
        scratch, With({"temperature", "--target", "0", "--seconds", "600", "--log", "log.csv"}));
    EXPECT_TRUE(WaitForText(program, "regulating") || WaitForText(program, "on"));
    for (int32_t i = 0; i < 500 && !Contains(SpyNotes(scratch), "fsync"); ++i) usleep(10000);
    EXPECT_TRUE(Contains(SpyNotes(scratch), "fsync\n"));
    kill(program.process, SIGINT);
    EXPECT_EQ(FinishProgram(program).exitCode, 130);
}

TEST_F(QvnWithCamera, LogWhoseNameWasTakenMeanwhileIsKept)
{
    const RunningProgram program =
        StartProgram(scratch, With({"temperature", "--target", "0", "--seconds", "600",
                                    "--interval", "0.1", "--log", "log.csv"}));
    EXPECT_TRUE(WaitForText(program, "regulating"));
    WriteText(scratch, "log.csv", "mine");
    kill(program.process, SIGINT);
    const ProgramResult result = FinishProgram(program);
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_TRUE(Contains(result.err, "log.csv exists already; what was written is in log.csv.part"))
        << result.err;
    EXPECT_EQ(ReadText(scratch, "log.csv"), "mine");
    EXPECT_EQ(ReadText(scratch, "log.csv.part").find("seconds,"), 0U);
}

TEST_F(QvnWithCamera, LogAndPlotOfOneNameAreRefused)
{
    const ProgramResult result =
        RunCamera({"temperature", "--target", "0", "--seconds", "0", "--log", "sky/../a.png",
                   "--plot", "a.png", "--overwrite"});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_TRUE(Contains(result.err, "--plot: a.png is the file of --log too")) << result.err;
    EXPECT_TRUE(FilesIn(scratch).empty());
}

TEST_F(QvnWithCamera, CtrlCEndsTheWaitForTheCold)
{
    const RunningProgram program =
        StartProgram(scratch, With({"expose", "--cool", "-50", "--seconds", "1"}));
    EXPECT_TRUE(WaitForText(program, "cooling: "));
    kill(program.process, SIGINT);
    const ProgramResult result = FinishProgram(program);
    EXPECT_EQ(result.exitCode, 130);
    EXPECT_FALSE(FileExists(scratch, "frame.fits"));
}

TEST_F(QvnWithCamera, CtrlCLeavesACompleteLog)
{
    const RunningProgram program =
        StartProgram(scratch, With({"temperature", "--target", "0", "--seconds", "600",
                                    "--interval", "0.1", "--log", "log.csv"}));
    EXPECT_TRUE(WaitForText(program, "regulating"));
    kill(program.process, SIGINT);
    const ProgramResult result = FinishProgram(program);
    EXPECT_EQ(result.exitCode, 130);
    EXPECT_EQ(ReadText(scratch, "log.csv").find("seconds,"), 0U) << result.err;
}
