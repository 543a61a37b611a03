// The example programs, run as a user runs them: arguments in, files and texts
// out.
#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <sstream>
#include <string>
#include <unistd.h>
#include <vector>

#include "tests/support/shell.h"

namespace {

constexpr int Columns = 64;
constexpr int Rows = 48;

struct Pgm {
    int width = 0, height = 0, maximum = 0;
    std::vector<unsigned> pixels;
};

Pgm ReadPgm(const std::filesystem::path& path)
{
    Pgm image;
    std::ifstream file(path, std::ios::binary);
    std::string kind;
    file >> kind >> image.width >> image.height >> image.maximum;
    EXPECT_EQ(kind, "P5");
    file.get();
    std::ostringstream rest;
    rest << file.rdbuf();
    const std::string bytes = rest.str();
    EXPECT_EQ(bytes.size(), 2u * static_cast<size_t>(image.width * image.height));
    for (size_t i = 0; i + 1 < bytes.size(); i += 2) {
        image.pixels.push_back(static_cast<unsigned char>(bytes[i]) * 256u +
                               static_cast<unsigned char>(bytes[i + 1]));
    }
    return image;
}

// A folder with a definition file and a source image that grows by 100 from
// column to column, up to 6300.
class Examples : public testing::Test {
protected:
    void SetUp() override
    {
        Folder =
            std::filesystem::path(testing::TempDir()) / ("examples " + std::to_string(getpid()));
        std::filesystem::create_directories(Folder);
        std::ofstream(Folder / "qvn.cfg")
            << "rmk_camera_library: {\n"
               "  ccd_definitions: { kaf1600: { Xpix = 64; Ypix = 48; HorRegSize = 70; }; };\n"
               "  camera_platforms: { DEMO: {\n"
               "    ADbit = [16, 0]; File = \"ramp.raw\"; Xpix = 64; Ypix = 48;\n"
               "    kaf1600: { SamplingClock = [1.0, 1.0]; };\n"
               "  }; };\n"
               "};\n";
        std::ofstream image(Folder / "ramp.raw", std::ios::binary);
        for (int pixel = 0; pixel < Columns * Rows; ++pixel) {
            const int value = pixel % Columns * 100;
            image.put(static_cast<char>(value & 0xFF));
            image.put(static_cast<char>(value >> 8));
        }
    }

    void TearDown() override { std::filesystem::remove_all(Folder); }

    std::string Quoted(const std::string& name) const
    {
        return " '" + (Folder / name).string() + "'";
    }

    // A light frame of 0.1 seconds shows a tenth of the image over the bias of
    // 100: from 100 in the first column to 730 in the last. The noise of this
    // exposure has a deviation of about 5 at 21 degrees.
    void ExpectRamp(const std::string& program) const
    {
        const ShellResult outcome = RunShell(program + Quoted("") + Quoted("frame.pgm"));
        ASSERT_EQ(outcome.exitCode, 0) << outcome.out;
        EXPECT_NE(outcome.out.find("64 x 48 pixels"), std::string::npos) << outcome.out;
        const Pgm image = ReadPgm(Folder / "frame.pgm");
        ASSERT_EQ(image.width, Columns);
        ASSERT_EQ(image.height, Rows);
        EXPECT_EQ(image.maximum, 65535);
        double first = 0.0, last = 0.0;
        for (int row = 0; row < Rows; ++row) {
            first += image.pixels[static_cast<size_t>(row * Columns)];
            last += image.pixels[static_cast<size_t>(row * Columns + Columns - 1)];
        }
        EXPECT_NEAR(first / Rows, 100.0, 5.0);
        EXPECT_NEAR(last / Rows, 730.0, 5.0);
    }

    std::filesystem::path Folder;
};

TEST_F(Examples, CProgramSavesAFrame)
{
    ExpectRamp(QVN_FIRST_FRAME_C);
}

TEST_F(Examples, CppProgramSavesAFrame)
{
    ExpectRamp(QVN_FIRST_FRAME_CPP);
}

TEST_F(Examples, MissingDefinitionsFailWithTheLibrarysTextAndAHint)
{
    for (const char* program : {QVN_FIRST_FRAME_C, QVN_FIRST_FRAME_CPP, QVN_COOLING}) {
        const bool frame = std::string(program) != QVN_COOLING;
        const ShellResult outcome =
            RunShell(program + Quoted("nowhere") + (frame ? Quoted("frame.pgm") : ""));
        EXPECT_EQ(outcome.exitCode, 1) << program;
        EXPECT_NE(outcome.out.find("Platform definition not found! Check qvn library path"),
                  std::string::npos)
            << outcome.out;
        EXPECT_NE(outcome.out.find("hint: the first argument"), std::string::npos) << outcome.out;
        EXPECT_FALSE(std::filesystem::exists(Folder / "frame.pgm"));
    }
}

TEST_F(Examples, MissingSourceImageFailsWithTheLibrarysTextAndAHint)
{
    std::filesystem::remove(Folder / "ramp.raw");
    for (const char* program : {QVN_FIRST_FRAME_C, QVN_FIRST_FRAME_CPP}) {
        const ShellResult outcome = RunShell(program + Quoted("") + Quoted("frame.pgm"));
        EXPECT_EQ(outcome.exitCode, 1) << program;
        EXPECT_NE(outcome.out.find("Camera not found! Is it turned on ?"), std::string::npos)
            << outcome.out;
        EXPECT_NE(outcome.out.find("hint: the simulated camera needs"), std::string::npos)
            << outcome.out;
    }
}

TEST_F(Examples, UnwritablePictureFails)
{
    for (const char* program : {QVN_FIRST_FRAME_C, QVN_FIRST_FRAME_CPP}) {
        const ShellResult outcome = RunShell(program + Quoted("") + Quoted("no/such/folder.pgm"));
        EXPECT_EQ(outcome.exitCode, 1) << program;
        EXPECT_NE(outcome.out.find("could not be written"), std::string::npos) << outcome.out;
    }
}

TEST_F(Examples, MissingArgumentsPrintTheUsage)
{
    for (const char* program : {QVN_FIRST_FRAME_C, QVN_FIRST_FRAME_CPP, QVN_COOLING}) {
        const ShellResult outcome = RunShell(program);
        EXPECT_EQ(outcome.exitCode, 1) << program;
        EXPECT_NE(outcome.out.find("usage:"), std::string::npos) << outcome.out;
    }
}

// Two seconds on the native clock: two readings a second, 0.1 degrees each, from
// about 21 degrees down.
TEST_F(Examples, CoolingPrintsAFallingTemperature)
{
    const ShellResult outcome = RunShell(QVN_COOLING + Quoted("") + " 2");
    ASSERT_EQ(outcome.exitCode, 0) << outcome.out;
    int firstSecond = -1, secondSecond = -1;
    double first = 0.0, second = 0.0, power = 0.0;
    std::istringstream lines(outcome.out);
    std::string line;
    ASSERT_TRUE(std::getline(lines, line)) << outcome.out;
    ASSERT_EQ(sscanf(line.c_str(), "%d s %lf C cooler %lf", &firstSecond, &first, &power), 3)
        << line;
    EXPECT_EQ(firstSecond, 0);
    EXPECT_DOUBLE_EQ(power, 30.0);
    EXPECT_NEAR(first, 21.0, 0.3);
    ASSERT_TRUE(std::getline(lines, line)) << outcome.out;
    ASSERT_EQ(sscanf(line.c_str(), "%d s %lf C", &secondSecond, &second), 2) << line;
    EXPECT_EQ(secondSecond, 1);
    EXPECT_LT(second, first);
    EXPECT_NE(outcome.out.find("not yet at the target"), std::string::npos) << outcome.out;
}

// The middle of 64 x 48 lies in the third of four fields across and the second of two down:
// 6000. The sensor begins at the 20 degrees around it.
TEST_F(Examples, VirtualCameraCoolsAndSeesTheHostsScene)
{
    std::ofstream(Folder / "qvn.cfg")
        << "rmk_camera_library: {\n"
           "  ccd_definitions: { kaf400e: { Xpix = 64; Ypix = 48; Dummy = [4, 2, 2, 1];\n"
           "    HorDummyPix = 4; HorRegSize = 80; }; };\n"
           "  camera_platforms: { BRIAR-R3: { ADbit = [16, 0]; TimeBase = 40.0; FpgaId = 42;\n"
           "    kaf400e: { SamplingClock = [0.5, 0.5]; VerticalPhasePeriod = 5; }; }; };\n"
           "};\n";
    const ShellResult outcome = RunShell(QVN_VIRTUAL_CAMERA + Quoted(""));
    ASSERT_EQ(outcome.exitCode, 0) << outcome.out;
    double before = 0.0, seconds = 0.0, after = 0.0;
    int width = 0, height = 0, middle = 0;
    ASSERT_EQ(sscanf(outcome.out.c_str(), "before %lf C after %lf s %lf C frame %d x %d, %d",
                     &before, &seconds, &after, &width, &height, &middle),
              6)
        << outcome.out;
    EXPECT_NEAR(before, 20.0, 0.5);
    EXPECT_GE(seconds, 600.0);
    EXPECT_LT(after, before);
    EXPECT_EQ(width, 64);
    EXPECT_EQ(height, 48);
    EXPECT_EQ(middle, 6000);
}

TEST_F(Examples, VirtualCameraWithoutDefinitionsSaysSo)
{
    const ShellResult outcome = RunShell(QVN_VIRTUAL_CAMERA + Quoted("nowhere"));
    EXPECT_EQ(outcome.exitCode, 1);
    EXPECT_NE(outcome.out.find("installing failed: platform: 44 BRIAR-R3 with sensor 255"),
              std::string::npos)
        << outcome.out;
}

} // namespace
