// Patterns built without a camera.
#include "tests/bench/small_camera.h"

#include <cstring>
#include <filesystem>
#include <memory>

#include "core/record.h"
#include "tests/support/wave_text.h"

namespace {

class BuildWave : public SmallCameraTest {
protected:
    int32_t Code(const QvbWaveRequest& request)
    {
        return QVB_BuildWave(&request, path.c_str(), nullptr);
    }
};

} // namespace

// Phase 10 ticks. Idle 1 word; row 0, three phases and a fourth, 41; pixel section 5. Line: 32 for
// the row, 18 pixels outside and 12 inside of 4 words each, the end: 153. All within a page.
TEST_F(BuildWave, TellsWhatItBuilt)
{
    const QvbWaveRequest request = RequestOf(44);
    QvbWave wave{};
    ASSERT_EQ(QVB_BuildWave(&request, path.c_str(), &wave), 0);
    EXPECT_EQ(wave.WordCount, 1024u);
    EXPECT_EQ(wave.WordLimit, 65536u);
    EXPECT_EQ(wave.WordBits, 8u);
    EXPECT_EQ(wave.TickMicroseconds, 0.5);
    EXPECT_EQ(wave.Width, 12u);
    EXPECT_EQ(wave.Height, 8u);
    EXPECT_STREQ(wave.Builder, "R3");
    const QvbSection expected[QVB_SECTIONS] = {{0, 1}, {256, 41}, {768, 5}, {512, 153}, {0, 0}, {}};
    for (int i = 0; i < QVB_SECTIONS; ++i) {
        EXPECT_EQ(wave.Sections[i].Start, expected[i].Start) << i;
        EXPECT_EQ(wave.Sections[i].Length, expected[i].Length) << i;
    }
}

// A register of 24, and 6 cells more on this platform; the window from 4 to 15.
TEST_F(BuildWave, WritesThePatternOfTheSensorOnItsPlatform)
{
    ASSERT_EQ(Code(RequestOf(44)), 0);
    EXPECT_EQ(Steps(path, LineSection),
              Folded("32x10 64x10 32x10 0x2 " + Times(4, "16 144 0x2") + " " +
                     Times(12, "144 16 0 2") + " " + Times(14, "16 144 0x2") + " 0"));
}

// 0, 4, 0 x 28, with 8 filled in, against 0xF9; on platform 23 also against 0xFA.
TEST_F(BuildWave, KnowsThePlatformWithTheOtherPolarity)
{
    ASSERT_EQ(Code(RequestOf(22)), 0);
    EXPECT_EQ(Steps(path, IdleSection), "241 245 241x28");
    ASSERT_EQ(Code(RequestOf(23)), 0);
    EXPECT_EQ(Steps(path, IdleSection), "11 15 11x28");
}

// 12 / 5 is 2, 8 / 3 is 2; 12 / 4 is 3, which loses its lowest bit.
TEST_F(BuildWave, WholeImageIsAsWideAsBinningMakesIt)
{
    QvbWaveRequest request = RequestOf(44);
    QvbWave wave{};
    request.HorBinning = 5;
    request.VerBinning = 3;
    ASSERT_EQ(QVB_BuildWave(&request, path.c_str(), &wave), 0);
    EXPECT_EQ(wave.Width, 2u);
    EXPECT_EQ(wave.Height, 2u);
    request.HorBinning = 4;
    ASSERT_EQ(QVB_BuildWave(&request, path.c_str(), &wave), 0);
    EXPECT_EQ(wave.Width, 2u);
}

// 5 columns become 4, from 2 x 1 on: positions 6 to 9.
TEST_F(BuildWave, WindowsAreEven)
{
    QvbWaveRequest request = RequestOf(44);
    QvbWave wave{};
    request.X = 2;
    request.Y = 3;
    request.Width = 5;
    request.Height = 2;
    ASSERT_EQ(QVB_BuildWave(&request, path.c_str(), &wave), 0);
    EXPECT_EQ(wave.Width, 4u);
    EXPECT_EQ(wave.Height, 2u);
    EXPECT_EQ(Steps(path, LineSection),
              Folded("32x10 64x10 32x10 0x2 " + Times(6, "16 144 0x2") + " " +
                     Times(4, "144 16 0 2") + " " + Times(20, "16 144 0x2") + " 0"));
}

TEST_F(BuildWave, WindowBeyondTheRegisterGoesToItsEnd)
{
    QvbWaveRequest request = RequestOf(44);
    request.X = 20;
    request.Width = 1000;
    request.Height = 1;
    ASSERT_EQ(Code(request), 0);
    EXPECT_EQ(Steps(path, LineSection), Folded("32x10 64x10 32x10 0x2 " + Times(24, "16 144 0x2") +
                                               " " + Times(6, "144 16 0 2") + " 0"));
    request.X = INT32_MAX;
    request.Width = INT32_MAX;
    EXPECT_EQ(Code(request), 0);
}

TEST_F(BuildWave, RefusesWrongArguments)
{
    const QvbWaveRequest good = RequestOf(44);
    EXPECT_EQ(QVB_BuildWave(nullptr, path.c_str(), nullptr), QVB_ERROR_ARGUMENT);
    EXPECT_EQ(QVB_BuildWave(&good, nullptr, nullptr), QVB_ERROR_ARGUMENT);
    using Field = int32_t QvbWaveRequest::*;
    struct Wrong {
        Field field;
        int32_t value;
    };
    const Wrong wrongs[] = {
        {&QvbWaveRequest::Camera, -1},    {&QvbWaveRequest::Camera, 8},
        {&QvbWaveRequest::HorBinning, 0}, {&QvbWaveRequest::HorBinning, -4},
        {&QvbWaveRequest::VerBinning, 0}, {&QvbWaveRequest::VerBinning, INT32_MIN},
        {&QvbWaveRequest::X, 1},          {&QvbWaveRequest::Y, 1}, // of the whole image
        {&QvbWaveRequest::Width, 2},      {&QvbWaveRequest::Height, 2},
    };
    for (const Wrong& wrong : wrongs) {
        QvbWaveRequest request = good;
        request.*wrong.field = wrong.value;
        EXPECT_EQ(Code(request), QVB_ERROR_ARGUMENT) << &wrong - wrongs;
    }
    QvbWaveRequest window = good;
    window.Width = window.Height = 4;
    ASSERT_EQ(Code(window), 0);
    const Wrong ofWindows[] = {
        {&QvbWaveRequest::X, -1},     {&QvbWaveRequest::Y, -1},
        {&QvbWaveRequest::Width, 1},  {&QvbWaveRequest::Width, -2},
        {&QvbWaveRequest::Height, 0}, {&QvbWaveRequest::Height, 65536},
    };
    for (const Wrong& wrong : ofWindows) {
        QvbWaveRequest request = window;
        request.*wrong.field = wrong.value;
        EXPECT_EQ(Code(request), QVB_ERROR_ARGUMENT) << &wrong - ofWindows;
    }
    QVB_InitWaveRequest(nullptr);
}

TEST_F(BuildWave, RefusesAnOpenCamera)
{
    QvbWaveRequest request = RequestOf(44);
    request.Camera = 2;
    CameraTable[2].CameraOn = 1;
    EXPECT_EQ(Code(request), QVB_ERROR_CAMERA_OPEN);
    CameraTable[2].CameraOn = 0;
    EXPECT_FALSE(std::filesystem::exists(path));
    EXPECT_EQ(Code(request), 0);
}

TEST_F(BuildWave, RefusesPairsWithoutAPattern)
{
    for (const int32_t platform : {1, 10, 29, 48, -5, 4711}) {
        EXPECT_EQ(Code(RequestOf(platform)), QVB_ERROR_NO_BUILDER) << platform;
    }
    QvbWaveRequest request = RequestOf(22);
    request.Sensor = 120;
    EXPECT_EQ(Code(request), QVB_ERROR_NO_BUILDER);
}

TEST_F(BuildWave, LeavesTheRecordAsItWas)
{
    CameraRecord& record = CameraTable[4];
    record.LastError = 27;
    record.SequenceTable[8] = 0x1234;
    record.Config.CcdOutput = 3;
    const auto before = std::make_unique<CameraRecord>(record);
    for (const int32_t platform : {22, 23, 44, 61, 200, 1}) {
        QvbWaveRequest request = RequestOf(platform);
        request.Camera = 4;
        request.DnrMode = request.CameraVariant = 1;
        Code(request);
        EXPECT_EQ(memcmp(before.get(), &record, sizeof record), 0) << platform;
    }
    Define({.columns = "0"});
    QvbWaveRequest request = RequestOf(44);
    request.Camera = 4;
    EXPECT_EQ(Code(request), QVB_ERROR_DEFINITION);
    EXPECT_EQ(memcmp(before.get(), &record, sizeof record), 0);
    record.LastError = 0;
    record.SequenceTable[8] = 0;
    record.Config.CcdOutput = 0;
}

// The entries of the extra sections, which nobody builds.
TEST_F(BuildWave, DoesNotHandOnWhatTheRecordHeld)
{
    CameraTable[0].SequenceTable[8] = 0x1234;
    ASSERT_EQ(Code(RequestOf(44)), 0);
    EXPECT_EQ(ReadWaveFile(path).start[ExtraA], 0);
    CameraTable[0].SequenceTable[8] = 0;
}

// Above 99 rows a phase is 4 microseconds, 8 ticks: 25 words a row, and 121 for the register. Of
// 65536 words three sections take a page each: (65536 - 768 - 121) / 25 is 2585.9.
TEST_F(BuildWave, ReportsOverflow)
{
    QvbWaveRequest request = RequestOf(44);
    request.Width = 12;
    request.Height = 1;
    request.VerBinning = 2585;
    EXPECT_EQ(Code(request), 0);
    request.VerBinning = 2586;
    QvbWave wave{};
    wave.WordCount = 77;
    EXPECT_EQ(QVB_BuildWave(&request, path.c_str(), &wave), QV_ERROR_PATTERN_OVERFLOW);
    EXPECT_EQ(wave.WordCount, 77u);
    request.VerBinning = INT32_MAX;
    EXPECT_EQ(Code(request), QV_ERROR_PATTERN_OVERFLOW);
}

TEST_F(BuildWave, ReportsAFileThatCannotBeWritten)
{
    const QvbWaveRequest request = RequestOf(44);
    EXPECT_EQ(QVB_BuildWave(&request, (folder + "/none/wave.bin").c_str(), nullptr),
              QV_ERROR_PATTERN_FILE);
    EXPECT_EQ(QVB_BuildWave(&request, "", nullptr), QV_ERROR_PATTERN_FILE);
}

TEST_F(BuildWave, ReportsMissingDefinitions)
{
    std::filesystem::remove(folder + "/qvn.cfg");
    EXPECT_EQ(Code(RequestOf(44)), QV_ERROR_PLATFORM_DEFINITION);
    EXPECT_FALSE(std::filesystem::exists(path));
}

TEST_F(BuildWave, ReportsDefinitionsThatAreNone)
{
    const SmallDefinition none[] = {
        {.columns = "0"},      {.columns = "-12"},      {.rows = "0"},   {.rows = "-8"},
        {.registerSize = "0"}, {.registerSize = "-24"}, {.tick = "0.0"}, {.tick = "-0.5"},
    };
    for (const SmallDefinition& definition : none) {
        Define(definition);
        EXPECT_EQ(Code(RequestOf(44)), QVB_ERROR_DEFINITION) << &definition - none;
    }
    Define({});
    QvbWaveRequest request = RequestOf(44);
    request.Sensor = 987654; // any sensor on this platform, but qvn.cfg has it not
    EXPECT_EQ(Code(request), QVB_ERROR_DEFINITION);
    EXPECT_FALSE(std::filesystem::exists(path));
}

// A phase of 5 microseconds has more ticks than a pattern has words, or none.
TEST_F(BuildWave, ExtremeTicksEnd)
{
    Define({.tick = "1e-300"});
    EXPECT_EQ(Code(RequestOf(44)), QV_ERROR_PATTERN_OVERFLOW);
    Define({.tick = "1e300"});
    EXPECT_EQ(Code(RequestOf(44)), 0);
    Define({.leading = "-32768"});
    EXPECT_EQ(Code(RequestOf(44)), 0);
    Define({.leading = "-32768", .registerSize = "32767"}); // of 4 words each
    EXPECT_EQ(Code(RequestOf(44)), QV_ERROR_PATTERN_OVERFLOW);
}
