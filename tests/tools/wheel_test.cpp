// qvn wheel. The wheel of WREN takes orders of four bytes, 44 0D, what, value, all of which
// the trace shows; its positions count from 0.
#include "tests/tools/fixture.h"

namespace {

constexpr char Wren[] = "platform=WREN,sensor=255,time=virtual";
constexpr char R3[] = "platform=44,sensor=255,time=virtual";

struct QvnWheel : QvnVirtual {
    ProgramResult RunWheel(std::vector<std::string> arguments, const std::string& text)
    {
        arguments.insert(arguments.begin(), "wheel");
        return RunVirtual(arguments, text);
    }

    // The wheel's orders of the run, with blanks between.
    std::string Orders()
    {
        const std::string trace = ReadText(scratch, "t.txt");
        const std::string begin = "usb > 44 0D ";
        std::string orders;
        for (size_t at = trace.find(begin); at != std::string::npos; at = trace.find(begin, at)) {
            at += begin.size();
            orders += (orders.empty() ? "" : ", ") + trace.substr(at, trace.find('\n', at) - at);
        }
        return orders;
    }
};

} // namespace

TEST_F(QvnWheel, GoesToAPosition)
{
    const ProgramResult result =
        RunWheel({"--kind", "3", "--position", "3", "--trace", "t.txt"}, Wren);
    ASSERT_EQ(result.exitCode, 0) << result.err;
    EXPECT_EQ(Orders(), "01 02");
    EXPECT_TRUE(Contains(result.out, "Turned to position 3 in ")) << result.out;
    EXPECT_TRUE(Contains(result.err, "Filter wheel: going to position 3\n")) << result.err;
}

TEST_F(QvnWheel, FindsTheZeroPosition)
{
    const ProgramResult result = RunWheel({"--kind", "3", "--calibrate", "--trace", "t.txt"}, Wren);
    ASSERT_EQ(result.exitCode, 0) << result.err;
    EXPECT_EQ(Orders(), "00 00");
    EXPECT_TRUE(Contains(result.out, "Zero position found")) << result.out;
}

TEST_F(QvnWheel, HandsSettingsOver)
{
    const std::vector<std::string> settings = {
        "--kind", "3", "--setting", "2", "--hold", "1", "--zero-offset", "5", "--trace", "t.txt"};
    const ProgramResult result = RunWheel(settings, Wren);
    ASSERT_EQ(result.exitCode, 0) << result.err;
    EXPECT_EQ(Orders(), "03 02, 04 01, 02 05");
    EXPECT_TRUE(Contains(result.out, "Setting 2, hold 1 and zero offset 5 handed over"));
}

TEST_F(QvnWheel, CalibratesWithItsSettingsAndThenTurns)
{
    const ProgramResult result = RunWheel(
        {"--kind", "3", "--zero-offset", "5", "--calibrate", "--position", "2", "--trace", "t.txt"},
        Wren);
    ASSERT_EQ(result.exitCode, 0) << result.err;
    EXPECT_EQ(Orders(), "00 00, 03 00, 04 00, 02 05, 01 01");
}

TEST_F(QvnWheel, ShowsWhatIsFittedAndMovesNothing)
{
    const ProgramResult fitted = RunWheel({"--kind", "2", "--trace", "t.txt"}, R3);
    ASSERT_EQ(fitted.exitCode, 0) << fitted.err;
    EXPECT_TRUE(Contains(fitted.out, "Filter wheel  kind 2: stepper, 6 positions\n")) << fitted.out;
    EXPECT_TRUE(Contains(fitted.out, "counted from the zero position\n")) << fitted.out;
    const ProgramResult none = RunWheel({}, "platform=WREN,sensor=255,time=virtual");
    EXPECT_EQ(none.exitCode, 0) << none.err;
    EXPECT_TRUE(Contains(none.out, "Filter wheel  none is set up\n")) << none.out;
}

TEST_F(QvnWheel, KindComesFromTheConfiguration)
{
    ASSERT_TRUE(CopySampleFiles(scratch, "sky"));
    std::string config = ReadText(scratch, "sky/camera.cfg");
    const size_t at = config.find("FilterWheel =");
    ASSERT_NE(at, std::string::npos) << config;
    config.replace(at, config.find(';', at) - at, "FilterWheel = 4");
    WriteText(scratch, "wheel.cfg", config);
    const ProgramResult result = Run({"wheel", "--config", "./wheel.cfg", "--library-path", "sky"});
    EXPECT_TRUE(Contains(result.out, "Filter wheel  kind 4")) << result.out << result.err;
}

// No wheel stands at this camera's plug: its zero sensor never says a thing.
TEST_F(QvnWheel, AStepperThatFindsNoZeroPositionIsNotTurned)
{
    const ProgramResult result = RunWheel({"--kind", "1", "--position", "3"}, R3);
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_TRUE(Contains(result.err, "zero position not found! (error 7)")) << result.err;
    EXPECT_TRUE(Contains(result.err, "Try: check that the wheel is plugged in")) << result.err;
    EXPECT_EQ(result.out, "");
}

// The kind is that of the instrument, unless the command line says another.
TEST_F(QvnWheel, VirtualWheelIsFoundAndTurned)
{
    const std::string fitted = std::string(R3) + ",wheel=6";
    const ProgramResult result = RunWheel({"--position", "3"}, fitted);
    EXPECT_EQ(result.exitCode, 0) << result.err;
    EXPECT_TRUE(Contains(result.out, "Zero position found in ")) << result.out;
    EXPECT_TRUE(Contains(result.out, "Turned to position 3 in ")) << result.out;
    EXPECT_TRUE(Contains(RunWheel({}, fitted).out, "kind 2: stepper, 6 positions"));
    EXPECT_TRUE(Contains(RunWheel({"--kind", "1"}, fitted).out, "kind 1: stepper, 8 positions"));
}

TEST_F(QvnWheel, AStepperAtOneIsTurnedAtOnce)
{
    const ProgramResult result = RunWheel({"--kind", "1", "--position", "3", "--stands-at-1"}, R3);
    EXPECT_EQ(result.exitCode, 0) << result.err;
    EXPECT_FALSE(Contains(result.out, "Zero")) << result.out;
    EXPECT_TRUE(Contains(result.out, "Turned to position 3")) << result.out;
}

TEST_F(QvnWheel, WhatTheCameraDoesNotDriveIsRefused)
{
    const ProgramResult none = RunWheel({"--position", "3"}, R3);
    EXPECT_EQ(none.exitCode, 1);
    EXPECT_TRUE(Contains(none.err, "no wheel is set up")) << none.err;
    EXPECT_TRUE(Contains(none.err, "Try: --kind or FilterWheel in camera.cfg: 1 (stepper"))
        << none.err;
    const ProgramResult other =
        RunWheel({"--kind", "1", "--position", "3"}, "platform=25,sensor=255,time=virtual");
    EXPECT_EQ(other.exitCode, 1);
    EXPECT_TRUE(Contains(other.err, "Tarn_IV_PLUS does not drive wheels of kind 1")) << other.err;
}

// 7 would be the order to find the zero position.
TEST_F(QvnWheel, PositionsEndWhereTheWheelEnds)
{
    for (const auto& [kind, position] :
         {std::pair("3", "7"), {"2", "7"}, {"1", "9"}, {"4", "33"}}) {
        const ProgramResult result = RunWheel({"--kind", kind, "--position", position}, R3);
        EXPECT_EQ(result.exitCode, 1);
        EXPECT_TRUE(Contains(result.err, std::string("--position ") + position)) << result.err;
    }
    for (const std::vector<std::string>& arguments :
         {std::vector<std::string>{"--position", "0"}, {"--kind", "5"}, {"--hold", "x"}}) {
        EXPECT_EQ(RunWheel(arguments, R3).exitCode, 2);
    }
}

TEST_F(QvnWheel, SettingsOfAStepperNeedAMove)
{
    const ProgramResult result = RunWheel({"--kind", "1", "--zero-offset", "4"}, R3);
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_TRUE(Contains(result.err, "--calibrate or --position beside them")) << result.err;
}
