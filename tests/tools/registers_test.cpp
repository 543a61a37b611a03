// qvn registers on virtual cameras: each run meets a camera as it was made.
#include "tests/tools/fixture.h"

namespace {

constexpr char R3[] = "platform=44,sensor=255,serial=1001,time=virtual";

struct QvnRegisters : QvnVirtual {
    ProgramResult RunRegisters(std::vector<std::string> arguments, const std::string& text = R3)
    {
        arguments.insert(arguments.begin(), "registers");
        return RunVirtual(arguments, text);
    }
};

} // namespace

// 1001 is 0x03E9; the span of 1.0 is stored in tenths.
TEST_F(QvnRegisters, WithoutArgumentsAnOverviewIsShown)
{
    const ProgramResult result = RunRegisters({});
    ASSERT_EQ(result.exitCode, 0) << result.err;
    for (const char* line :
         {"Camera         0, BRIAR-R3 with kaf400e\n", "Serial number  1001\n",
          "   1  0x000A      10  temperature span, tenths\n",
          "   8  0x03E9    1001  serial number, lower part\n", "\n      31  0x"}) {
        EXPECT_TRUE(Contains(result.out, line)) << line << result.out;
    }
}

// The hardware version, 42 in the definitions, is status 15.
TEST_F(QvnRegisters, ListsChooseWhatIsRead)
{
    const ProgramResult result =
        RunRegisters({"--status", "15", "--memory", "7-8", "--read", "3,0-1"});
    ASSERT_EQ(result.exitCode, 0) << result.err;
    EXPECT_TRUE(Contains(result.out, "Status   Value\n    15  0x002A\n")) << result.out;
    EXPECT_TRUE(Contains(result.out, "\n   7  0x0000       0  serial number, upper part\n   8  "))
        << result.out;
    const size_t three = result.out.find("\n       3  0x");
    const size_t zero = result.out.find("\n       0  0x");
    EXPECT_LT(three, zero) << result.out;
    EXPECT_FALSE(Contains(result.out, "\n       2  ")) << result.out;
    EXPECT_FALSE(Contains(result.out, "Serial")) << result.out;
}

TEST_F(QvnRegisters, ARegisterIsWrittenWithItsOldAndNewValue)
{
    const ProgramResult result =
        RunRegisters({"--write", "5=0x1234", "--allow-writing", "--read", "5"});
    ASSERT_EQ(result.exitCode, 0) << result.err;
    EXPECT_TRUE(Contains(result.out, "Register 5: image 0x0000, read 0x0000; written 0x1234, reads "
                                     "0x1234\n"))
        << result.out;
    EXPECT_TRUE(Contains(result.out, "       5  0x1234  0x1234\n")) << result.out;
}

TEST_F(QvnRegisters, MemoryIsWrittenWithItsOldAndNewValue)
{
    const ProgramResult result = RunRegisters({"--write-memory", "0=-15", "--write-memory",
                                               "8=1001", "--allow-writing", "--memory", "0"});
    ASSERT_EQ(result.exitCode, 0) << result.err;
    EXPECT_TRUE(Contains(result.out, "Word 0: 0x0000 before, 0xFFF1 now\n")) << result.out;
    EXPECT_TRUE(Contains(result.out, "Word 8: 0x03E9 already, not written\n")) << result.out;
    EXPECT_TRUE(Contains(result.out, "   0  0xFFF1     -15  temperature offset")) << result.out;
}

TEST_F(QvnRegisters, ASerialNumberIsWritten)
{
    const ProgramResult binary =
        RunRegisters({"--serial", "1234567", "--allow-writing", "--memory", "7-8,10"});
    ASSERT_EQ(binary.exitCode, 0) << binary.err;
    EXPECT_TRUE(Contains(binary.out, "Serial number: 1001 before, 1234567 now\n")) << binary.out;
    // 1234567 is 18 x 65536 + 54919.
    EXPECT_TRUE(Contains(binary.out, "   7  0x0012 ")) << binary.out;
    EXPECT_TRUE(Contains(binary.out, "   8  0xD687 ")) << binary.out;
    const ProgramResult decimal = RunRegisters(
        {"--serial", "2024", "--serial-format", "decimal", "--allow-writing", "--memory", "10"});
    ASSERT_EQ(decimal.exitCode, 0) << decimal.err;
    EXPECT_TRUE(Contains(decimal.out, "1001 before, 2024 now")) << decimal.out;
    EXPECT_TRUE(Contains(decimal.out, "  10  0x0001 ")) << decimal.out;
}

TEST_F(QvnRegisters, SerialNumbersThatReadBackDifferentlyAreRefused)
{
    for (const std::vector<std::string>& number :
         {std::vector<std::string>{"65535", "--serial-format", "decimal"},
          {"1234567", "--serial-format", "decimal"},
          {"65535"},
          {"0xFFFF0001"}}) {
        std::vector<std::string> arguments = {"--allow-writing", "--serial"};
        arguments.insert(arguments.end(), number.begin(), number.end());
        const ProgramResult result = RunRegisters(arguments);
        EXPECT_EQ(result.exitCode, 1) << number[0];
        EXPECT_TRUE(Contains(result.err, "writing the serial number")) << result.err;
        EXPECT_EQ(result.out, "");
    }
}

TEST_F(QvnRegisters, NothingIsWrittenWithoutTheFlag)
{
    for (const std::vector<std::string>& arguments : {std::vector<std::string>{"--write", "5=1"},
                                                      {"--write-memory", "5=1"},
                                                      {"--serial", "7"}}) {
        const ProgramResult result = RunRegisters(arguments);
        EXPECT_EQ(result.exitCode, 1);
        EXPECT_TRUE(Contains(result.err, "--allow-writing")) << result.err;
        EXPECT_FALSE(Contains(result.err, "camera:")) << "opened: " << result.err;
    }
}

TEST_F(QvnRegisters, MemoryThatCannotBeWrittenIsTold)
{
    ASSERT_TRUE(CopySampleFiles(scratch, "sky"));
    for (const std::vector<std::string>& arguments :
         {std::vector<std::string>{"--write-memory", "5=1"}, {"--serial", "7"}}) {
        std::vector<std::string> all = {"registers", "--allow-writing", "--library-path", "sky"};
        all.insert(all.end(), arguments.begin(), arguments.end());
        const ProgramResult result = Run(all);
        EXPECT_EQ(result.exitCode, 1);
        EXPECT_TRUE(Contains(result.err, "the memory of DEMO cannot be written")) << result.err;
    }
}

TEST_F(QvnRegisters, ListsAndPairsThatMakeNoSenseAreRefused)
{
    for (const std::vector<std::string>& arguments : {std::vector<std::string>{"--read", "256"},
                                                      {"--read", "3-1"},
                                                      {"--read", "1,,2"},
                                                      {"--read", "1-"},
                                                      {"--read", ""},
                                                      {"--status", "16"},
                                                      {"--memory", "64"},
                                                      {"--write", "5"},
                                                      {"--write", "5=65536"},
                                                      {"--write", "5=1,2"},
                                                      {"--write", "256=1"},
                                                      {"--write-memory", "-1=1"},
                                                      {"--serial-format", "binary"},
                                                      {"--serial", "-1"}}) {
        const ProgramResult result = RunRegisters(arguments);
        EXPECT_EQ(result.exitCode, 2) << arguments[1] << result.out;
        EXPECT_TRUE(Contains(result.err, arguments[0])) << result.err;
    }
}
