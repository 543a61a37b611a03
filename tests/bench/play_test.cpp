// Pictures of the sensor's model under a pattern file.
#include "tests/bench/small_camera.h"

#include <filesystem>
#include <fstream>

#include "tests/support/wave_text.h"

namespace {

struct Played {
    int32_t code = 0;
    uint32_t width = 0, height = 0;
    std::vector<uint16_t> pixels;
};

class PlayWave : public SmallCameraTest {
protected:
    // No two pixels are alike and none is empty.
    static uint16_t Light(int32_t column, int32_t row)
    {
        return static_cast<uint16_t>(100 * (row + 1) + column + 1);
    }

    void SetUp() override
    {
        SmallCameraTest::SetUp();
        for (int32_t row = 0; row < SmallRows; ++row) {
            for (int32_t column = 0; column < SmallColumns; ++column) {
                light.push_back(Light(column, row));
            }
        }
    }

    int32_t Build(const QvbWaveRequest& request)
    {
        return QVB_BuildWave(&request, path.c_str(), nullptr);
    }

    Played Play(const QvbWaveRequest& request, const QvbScene& scene)
    {
        Played played;
        played.pixels.assign(1000, 7);
        QvbFrame frame{played.pixels.data(), played.pixels.size(), 0, 0};
        played.code = QVB_PlayWave(path.c_str(), &request, &scene, &frame);
        played.width = frame.Width;
        played.height = frame.Height;
        if (played.code == 0) played.pixels.resize(size_t{frame.Width} * frame.Height);
        return played;
    }

    Played BuildAndPlay(const QvbWaveRequest& request)
    {
        EXPECT_EQ(Build(request), 0);
        return Play(request, scene());
    }

    QvbScene scene() const { return {light.data(), SmallColumns, SmallRows}; }

    // The light in bins, from a column and a row on; beyond the image it is dark.
    std::vector<uint16_t> Binned(int32_t x, int32_t y, int32_t width, int32_t height, int32_t hbin,
                                 int32_t vbin) const
    {
        std::vector<uint16_t> frame;
        for (int32_t i = 0; i < width * height; ++i) {
            uint32_t sum = 0;
            for (int32_t j = 0; j < hbin * vbin; ++j) {
                const int32_t column = (x + i % width) * hbin + j % hbin;
                const int32_t row = (y + i / width) * vbin + j / hbin;
                if (column < SmallColumns && row < SmallRows) sum += Light(column, row);
            }
            frame.push_back(static_cast<uint16_t>(sum));
        }
        return frame;
    }

    std::vector<uint16_t> light;
};

} // namespace

TEST_F(PlayWave, WholeImageIsTheScene)
{
    for (const int32_t platform : {44, 61, 200, 22, 23}) {
        const Played played = BuildAndPlay(RequestOf(platform));
        EXPECT_EQ(played.code, 0) << platform;
        EXPECT_EQ(played.width, 12u);
        EXPECT_EQ(played.height, 8u);
        EXPECT_EQ(played.pixels, light) << platform;
    }
}

TEST_F(PlayWave, BinsAndWindowsAsTheCameraDoes)
{
    QvbWaveRequest request = RequestOf(44);
    request.HorBinning = 3;
    request.VerBinning = 2;
    EXPECT_EQ(BuildAndPlay(request).pixels, Binned(0, 0, 4, 4, 3, 2));
    request.X = 1;
    request.Y = 2;
    request.Width = 2;
    request.Height = 2;
    EXPECT_EQ(BuildAndPlay(request).pixels, Binned(1, 2, 2, 2, 3, 2));
}

// Positions 14 to 29 of the register: two columns of the image, then nothing.
TEST_F(PlayWave, WindowBeyondTheRegisterGivesWhatTheLinesConvert)
{
    QvbWaveRequest request = RequestOf(44);
    request.X = 10;
    request.Y = 6;
    request.Width = 1000;
    request.Height = 3;
    const Played played = BuildAndPlay(request);
    EXPECT_EQ(played.code, 0);
    EXPECT_EQ(played.width, 16u);
    EXPECT_EQ(played.height, 3u);
    EXPECT_EQ(played.pixels, Binned(10, 6, 16, 3, 1, 1));
}

TEST_F(PlayWave, RowsBehindTheImageAreDark)
{
    QvbWaveRequest request = RequestOf(44);
    request.Y = INT32_MAX;
    request.VerBinning = 2;
    request.Width = 4;
    request.Height = 2;
    EXPECT_EQ(BuildAndPlay(request).pixels, std::vector<uint16_t>(8, 0));
}

// Each pixel of the scene falls on two columns and two rows.
TEST_F(PlayWave, SceneIsStretchedOverTheImage)
{
    const std::vector<uint16_t> few = {10, 20, 30, 40, 50, 60, 70, 80};
    const QvbWaveRequest request = RequestOf(44);
    ASSERT_EQ(Build(request), 0);
    const Played played = Play(request, {few.data(), 4, 2});
    ASSERT_EQ(played.code, 0);
    for (int32_t row = 0; row < SmallRows; ++row) {
        for (int32_t column = 0; column < SmallColumns; ++column) {
            const int32_t from = row / 4 * 4 + column / 3;
            EXPECT_EQ(played.pixels[static_cast<size_t>(row * SmallColumns + column)],
                      few[static_cast<size_t>(from)]);
        }
    }
}

TEST_F(PlayWave, PixelsStopAt65535)
{
    const std::vector<uint16_t> bright = {40000};
    QvbWaveRequest request = RequestOf(44);
    request.HorBinning = 2;
    ASSERT_EQ(Build(request), 0);
    EXPECT_EQ(Play(request, {bright.data(), 1, 1}).pixels, std::vector<uint16_t>(6 * 8, 65535));
}

TEST_F(PlayWave, TellsTheSizeAheadOfTheFrame)
{
    const QvbWaveRequest request = RequestOf(44);
    const QvbScene from = scene();
    ASSERT_EQ(Build(request), 0);
    QvbFrame frame{nullptr, 0, 0, 0};
    EXPECT_EQ(QVB_PlayWave(path.c_str(), &request, &from, &frame), 0);
    EXPECT_EQ(frame.Width, 12u);
    EXPECT_EQ(frame.Height, 8u);
    std::vector<uint16_t> pixels(96, 7);
    frame = {pixels.data(), 95, 0, 0};
    EXPECT_EQ(QVB_PlayWave(path.c_str(), &request, &from, &frame), QVB_ERROR_FRAME_ROOM);
    EXPECT_EQ(frame.Width, 12u);
    EXPECT_EQ(frame.Height, 8u);
    EXPECT_EQ(pixels, std::vector<uint16_t>(96, 7));
}

TEST_F(PlayWave, RefusesWrongArguments)
{
    const QvbWaveRequest request = RequestOf(44);
    const QvbScene good = scene();
    ASSERT_EQ(Build(request), 0);
    const char* file = path.c_str();
    QvbFrame frame{};
    EXPECT_EQ(QVB_PlayWave(nullptr, &request, &good, &frame), QVB_ERROR_ARGUMENT);
    EXPECT_EQ(QVB_PlayWave(file, nullptr, &good, &frame), QVB_ERROR_ARGUMENT);
    EXPECT_EQ(QVB_PlayWave(file, &request, nullptr, &frame), QVB_ERROR_ARGUMENT);
    EXPECT_EQ(QVB_PlayWave(file, &request, &good, nullptr), QVB_ERROR_ARGUMENT);
    for (const QvbScene& wrong :
         {QvbScene{nullptr, 12, 8}, QvbScene{light.data(), 0, 8}, QvbScene{light.data(), 12, 0}}) {
        EXPECT_EQ(QVB_PlayWave(file, &request, &wrong, &frame), QVB_ERROR_ARGUMENT);
    }
    QvbWaveRequest other = request;
    other.VerBinning = 0;
    EXPECT_EQ(QVB_PlayWave(file, &other, &good, &frame), QVB_ERROR_ARGUMENT);
    other = RequestOf(1);
    EXPECT_EQ(QVB_PlayWave(file, &other, &good, &frame), QVB_ERROR_NO_BUILDER);
    Define({.rows = "0"});
    EXPECT_EQ(QVB_PlayWave(file, &request, &good, &frame), QVB_ERROR_DEFINITION);
    std::filesystem::remove(folder + "/qvn.cfg");
    EXPECT_EQ(QVB_PlayWave(file, &request, &good, &frame), QV_ERROR_PLATFORM_DEFINITION);
}

TEST_F(PlayWave, RefusesFilesThatAreNoPatternOfTheCamera)
{
    const QvbWaveRequest request = RequestOf(44);
    EXPECT_EQ(Play(request, scene()).code, QVB_ERROR_WAVE_FILE); // there is none
    ASSERT_EQ(Build(RequestOf(200)), 0);                         // words of 16 bits
    EXPECT_EQ(Play(request, scene()).code, QVB_ERROR_WAVE_FILE);
    ASSERT_EQ(Build(request), 0);
    EXPECT_EQ(Play(RequestOf(200), scene()).code, QVB_ERROR_WAVE_FILE);
    std::filesystem::resize_file(path, 500);
    EXPECT_EQ(Play(request, scene()).code, QVB_ERROR_WAVE_FILE);
    for (const char* file : {folder.c_str(), "/dev/zero", "/dev/null", ""}) {
        const QvbScene from = scene();
        QvbFrame frame{};
        EXPECT_EQ(QVB_PlayWave(file, &request, &from, &frame), QVB_ERROR_WAVE_FILE) << file;
    }
}

// The end of the row section, bytes 11 and 12, and its start, 9 and 10; the file has 1024 words.
TEST_F(PlayWave, RefusesSectionsThatLeaveThePattern)
{
    struct Change {
        size_t at;
        uint8_t low, high;
    };
    const QvbWaveRequest request = RequestOf(44);
    ASSERT_EQ(Build(request), 0);
    const std::vector<uint8_t> good = FileBytes(path);
    for (const Change& change :
         {Change{11, 0x00, 0x03}, Change{9, 0x00, 0x04}, Change{9, 0x01, 1}}) {
        std::vector<uint8_t> bytes = good;
        bytes[change.at] = change.low;
        bytes[change.at + 1] = change.high;
        std::ofstream(path, std::ios::binary)
            .write(reinterpret_cast<const char*>(bytes.data()),
                   static_cast<std::streamsize>(bytes.size()));
        EXPECT_EQ(Play(request, scene()).code, QVB_ERROR_WAVE_FILE) << change.at;
    }
}

TEST_F(PlayWave, RefusesTheFileOfAPatternThatDidNotFit)
{
    QvbWaveRequest request = RequestOf(44);
    request.Width = 12;
    request.Height = 1;
    request.VerBinning = 60000;
    ASSERT_EQ(Build(request), QV_ERROR_PATTERN_OVERFLOW);
    EXPECT_EQ(Play(request, scene()).code, QVB_ERROR_WAVE_FILE);
}

// An image that is longer than its register wraps in the model; it must not crash.
TEST_F(PlayWave, OddDefinitionsStayInBounds)
{
    Define({.columns = "20", .leading = "10"});
    EXPECT_EQ(BuildAndPlay(RequestOf(44)).code, 0);
    Define({.leading = "-4"});
    EXPECT_EQ(BuildAndPlay(RequestOf(44)).code, 0);
    Define({.columns = "1", .rows = "1", .registerSize = "1"});
    const Played played = BuildAndPlay(RequestOf(44));
    EXPECT_EQ(played.code, 0);
    EXPECT_EQ(played.width, 0u);
}
