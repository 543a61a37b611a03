// The sample files in use: the library reads them, and the simulated camera
// looks at the star field.
#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include <unistd.h>

#include <gtest/gtest.h>

#include "emulator/emulator.h"
#include "emulator/star_field.h"
#include "include/qvn.h"
#include "tests/samples/expected.h"
#include "tools/sample_files.h"

namespace fs = std::filesystem;

namespace {

constexpr int32_t Camera = 0;
constexpr int32_t Demo = 1;

class SampleCamera : public testing::Test {
protected:
    static void SetUpTestSuite()
    {
        folder = fs::path(testing::TempDir()) / ("qvn_camera_" + std::to_string(getpid()));
        char error[512] = "";
        ASSERT_TRUE(WriteSampleFiles(folder.string().c_str(), true, error, sizeof error)) << error;
    }
    static void TearDownTestSuite() { fs::remove_all(folder); }
    void SetUp() override
    {
        EmuReset();
        EmuInstall();
        QV_SetPathName(folder.string().c_str());
    }
    void TearDown() override { QV_Close(Camera); }

    static fs::path folder;
};

fs::path SampleCamera::folder;

} // namespace

TEST_F(SampleCamera, EverySensorLoads)
{
    for (const ExpectedSensor& sensor : ExpectedSensors) {
        EXPECT_EQ(QV_LoadCCD(sensor.code, Camera), 0) << sensor.name;
        CcdDefinition definition = {};
        QV_GetCCDdata(&definition, Camera);
        EXPECT_EQ(definition.Manufacturer, sensor.family) << sensor.name;
        EXPECT_GE(definition.Xpix, 1) << sensor.name;
        EXPECT_GE(definition.Ypix, 1) << sensor.name;
        EXPECT_GT(definition.CCF, 0.0) << sensor.name;
    }
}

TEST_F(SampleCamera, EverySensorOfTheSimulatedCameraOpens)
{
    for (int code : ExpectedPlatforms.front().sensors) {
        QV_Open(Demo, code, 0, 0, 0, Camera, 0, nullptr, nullptr);
        EXPECT_EQ(QV_Status(Camera), 0) << SensorNameOf(code);
        const int columns = IntAt(SensorPath + SensorNameOf(code) + ".Xpix");
        EXPECT_EQ(QV_GetDimX(Camera), columns / 2 * 2) << SensorNameOf(code);
        EXPECT_EQ(QV_MaxNumbers(Camera), 65535) << SensorNameOf(code);
        QV_Close(Camera);
    }
}

// A kaf1600 sees the middle of the field. At one second and gain 1 a pixel is
// the field's counts, a bias of 100 and noise whose largest value is 80 counts.
TEST_F(SampleCamera, TakesAFrameOfTheMiddleOfTheStarField)
{
    constexpr size_t columns = 1536, rows = 1024;
    ASSERT_EQ(QV_OpenByFile("camera.cfg", 0, nullptr, nullptr), Camera);
    ASSERT_EQ(QV_Status(Camera), 0) << QV_ErrorMessage(QV_Status(Camera));
    ASSERT_EQ(QV_GetDimX(Camera), static_cast<int32_t>(columns));
    ASSERT_EQ(QV_GetDimY(Camera), static_cast<int32_t>(rows));
    std::vector<uint16_t> frame(columns * rows);
    QV_GetCCD(1, 1.0, frame.data(), Camera);
    ASSERT_EQ(QV_Status(Camera), 0);

    std::vector<uint16_t> field(size_t{SampleFieldColumns} * SampleFieldRows);
    MakeStarField(field.data(), SampleFieldColumns, SampleFieldRows, 13);
    int furthest = 0;
    for (size_t y = 0; y < rows; ++y) {
        for (size_t x = 0; x < columns; ++x) {
            const size_t source = (y + (SampleFieldRows - rows) / 2) * SampleFieldColumns + x +
                                  (SampleFieldColumns - columns) / 2;
            furthest = std::max(furthest, std::abs(frame[y * columns + x] - field[source] - 100));
        }
    }
    EXPECT_LE(furthest, 80);
    EXPECT_GE(furthest, 20);
    EXPECT_GT(*std::max_element(frame.begin(), frame.end()), 20000);
}
