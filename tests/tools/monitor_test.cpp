// qvn monitor.
#include <csignal>

#include "tests/tools/fixture.h"

namespace {

constexpr char R3[] = "platform=44,sensor=255,ambient=20,time=virtual";

int32_t CountOf(const std::string& text, const std::string& part)
{
    int32_t count = 0;
    for (size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1))
        ++count;
    return count;
}

} // namespace

TEST_F(QvnVirtual, MonitorWritesPlainLinesWhereThereIsNoTerminal)
{
    const ProgramResult result =
        RunVirtual({"monitor", "--duration", "60", "--interval", "20"}, R3);
    ASSERT_EQ(result.exitCode, 0) << result.err;
    // At 0, 20, 40 and 60 seconds; nothing is regulated, so there is no target.
    EXPECT_EQ(CountOf(result.out, "\n"), 5) << result.out;
    EXPECT_EQ(CountOf(result.out, "+20.0         -        0.0  off\n"), 4) << result.out;
    EXPECT_EQ(result.out.find('\033'), std::string::npos);
}

TEST_F(QvnVirtual, MonitorDrawsOverItselfOnATerminal)
{
    const std::string shown =
        RunOnTerminal(scratch, {"monitor", "--duration", "2", "--target", "0", "--virtual", R3});
    EXPECT_EQ(CountOf(shown, "Camera 0, BRIAR-R3 with kaf400e"), 3) << shown;
    EXPECT_EQ(CountOf(shown, "\033[J"), 2) << shown;
    EXPECT_TRUE(Contains(shown, "Time    0:00:02 of 0:00:02")) << shown;
    EXPECT_TRUE(Contains(shown, "Sensor  +20.0 C, target +0.0 C, -20.0 to go")) << shown;
    EXPECT_TRUE(Contains(shown, "Power   [######..............] 30.")) << shown;
    EXPECT_TRUE(Contains(shown, "  +20.0 |*")) << shown;
    EXPECT_TRUE(Contains(shown, "   +0.0 |-----")) << shown;
}

TEST_F(QvnVirtual, MonitorLogsAndPlotsLikeTemperature)
{
    const ProgramResult result = RunVirtual({"monitor", "--duration", "120", "--interval", "60",
                                             "--target", "5", "--log", "c.csv", "--plot", "c.svg"},
                                            R3);
    ASSERT_EQ(result.exitCode, 0) << result.err;
    EXPECT_EQ(CountOf(ReadText(scratch, "c.csv"), ",5.000,"), 3);
    EXPECT_TRUE(Contains(ReadText(scratch, "c.svg"), ">target<"));
    const ProgramResult plain =
        RunVirtual({"monitor", "--duration", "60", "--log", "p.csv", "--plot", "p.svg"}, R3);
    ASSERT_EQ(plain.exitCode, 0) << plain.err;
    EXPECT_TRUE(Contains(ReadText(scratch, "p.csv"), ",,0.0,off\n"));
    EXPECT_FALSE(Contains(ReadText(scratch, "p.svg"), "target"));
}

// It has no other end.
TEST_F(QvnWithCamera, CtrlCIsTheProperEndOfAMonitorWithoutDuration)
{
    const RunningProgram program =
        StartProgram(scratch, With({"monitor", "--interval", "0.1", "--plot", "p.png"}));
    EXPECT_TRUE(WaitForText(program, "off"));
    kill(program.process, SIGINT);
    const ProgramResult result = FinishProgram(program);
    EXPECT_EQ(result.exitCode, 0) << result.err;
    EXPECT_EQ(ReadPng(scratch, "p.png").width, 1000);
}

TEST_F(QvnWithCamera, CtrlCBreaksAMonitorWithADuration)
{
    scratch.spy = "none";
    const RunningProgram program = StartProgram(
        scratch, With({"monitor", "--duration", "600", "--interval", "0.1", "--target", "0"}));
    EXPECT_TRUE(WaitForText(program, "regulating"));
    kill(program.process, SIGINT);
    EXPECT_EQ(FinishProgram(program).exitCode, 130);
    EXPECT_EQ(SpyNotes(scratch), "SetTemp 0\nCooler 0\nClose\n");
}

TEST_F(QvnWithCamera, MonitorWithoutTargetLeavesTheCoolerAlone)
{
    scratch.spy = "none";
    ASSERT_EQ(RunCamera({"monitor", "--duration", "0"}).exitCode, 0);
    EXPECT_EQ(SpyNotes(scratch), "Close\n");
}

TEST_F(QvnWithCamera, MonitorRefusesWhatMakesNoSense)
{
    EXPECT_EQ(RunCamera({"monitor", "--keep-cooling", "--duration", "0"}).exitCode, 2);
    EXPECT_EQ(RunCamera({"monitor", "--duration", "-1"}).exitCode, 2);
    EXPECT_EQ(RunCamera({"monitor", "--plot", "p.pdf"}).exitCode, 1);
    WriteText(scratch, "p.png", "mine");
    const ProgramResult there = RunCamera({"monitor", "--plot", "p.png"});
    EXPECT_EQ(there.exitCode, 1);
    EXPECT_TRUE(Contains(there.err, "p.png exists already")) << there.err;
    EXPECT_EQ(ReadText(scratch, "p.png"), "mine");
}
