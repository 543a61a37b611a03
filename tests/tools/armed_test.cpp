// qvn expose --armed: frames that are fetched in steps, by cards with memory for a frame.
#include "tests/tools/fixture.h"

namespace {

uint16_t Ramp(int32_t x, int32_t y)
{
    return static_cast<uint16_t>(x + y);
}

std::string World(const std::string& platform, const std::string& more = "")
{
    return "platform=" + platform + ",sensor=255,scene=ramp,time=virtual" + more;
}

} // namespace

TEST_F(QvnVirtual, ArmedFramesAreTheWholeSensor)
{
    for (const char* platform : {"42", "44"}) {
        SCOPED_TRACE(platform);
        const std::string name = std::string(platform) + ".png";
        const ProgramResult result = RunVirtual(
            {"expose", "--armed", "--seconds", "1.5", "--output", name}, World(platform));
        ASSERT_EQ(result.exitCode, 0) << result.err;
        ExpectPicture(name, Ramp);
    }
}

// Half of the lines have come by then: pixels are missing, and no host could tell.
TEST_F(QvnVirtual, ArmedFrameThatIsPickedUpAtOnceHasNotArrived)
{
    const ProgramResult result =
        RunVirtual({"expose", "--armed", "--pickup", "0", "--seconds", "0.1", "--output", "f.png"},
                   World("42"));
    ASSERT_EQ(result.exitCode, 0) << result.err;
    const Picture picture = ReadPng(scratch, "f.png");
    EXPECT_EQ(PixelAt(picture, SmallColumns - 1, SmallRows - 1), 0);
}

TEST_F(QvnVirtual, ArmedFramesAreRefusedWhereTheyCannotBe)
{
    const struct {
        std::vector<std::string> arguments;
        std::string world, says;
    } cases[] = {
        {{}, World("40"), "takes no frames in steps"},
        {{}, World("42", ",revision=100"), "holds a line, not a frame"},
        {{"--binning", "2,2"}, World("42"), "the whole sensor, unbinned"},
        {{"--window", "0,0,4,4"}, World("42"), "the whole sensor, unbinned"},
    };
    for (const auto& test : cases) {
        std::vector<std::string> arguments = {"expose", "--armed", "--output", "f.fits"};
        arguments.insert(arguments.end(), test.arguments.begin(), test.arguments.end());
        const ProgramResult result = RunVirtual(arguments, test.world);
        EXPECT_EQ(result.exitCode, 1);
        EXPECT_TRUE(Contains(result.err, test.says)) << result.err;
        EXPECT_FALSE(FileExists(scratch, "f.fits"));
    }
    EXPECT_EQ(Run({"expose", "--armed", "--dark"}).exitCode, 2);
    EXPECT_EQ(Run({"expose", "--external-start"}).exitCode, 2);
    EXPECT_EQ(Run({"expose", "--pickup", "1"}).exitCode, 2);
}
