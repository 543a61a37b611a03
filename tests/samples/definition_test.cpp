#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>

#include <unistd.h>

#include <gtest/gtest.h>
#include <libconfig.h>

#include "tests/samples/expected.h"
#include "tools/sample_files.h"

namespace {

struct Geometry {
    const char* sensor;
    int columns, rows;
    double pixel; // micrometres
};

std::string FileText(const std::string& path)
{
    std::ifstream stream(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

bool HavePython()
{
    return std::system("/usr/bin/python3 -c '' 2>/dev/null") == 0;
}

void CheckSensor(const ExpectedSensor& sensor)
{
    SCOPED_TRACE(sensor.name);
    const std::string group = SensorPath + sensor.name + ".";
    const int columns = IntAt(group + "Xpix"), rows = IntAt(group + "Ypix");
    EXPECT_EQ(IntAt(group + "Manufacturer"), sensor.family);
    EXPECT_TRUE(columns >= 1 && columns <= 32767) << columns;
    EXPECT_TRUE(rows >= 1 && rows <= 32767) << rows;
    const double width = FloatAt(group + "XpixDim"), height = FloatAt(group + "YpixDim");
    EXPECT_TRUE(width >= 1.0 && width <= 1000.0) << width;
    EXPECT_TRUE(height >= 1.0 && height <= 1000.0) << height;
    EXPECT_NEAR(FloatAt(group + "Xarea"), columns * width / 1000.0, 1e-9);
    EXPECT_NEAR(FloatAt(group + "Yarea"), rows * height / 1000.0, 1e-9);

    const std::vector<int> dummy = IntsAt(group + "Dummy");
    ASSERT_EQ(dummy.size(), 4u);
    EXPECT_TRUE(std::is_sorted(dummy.rbegin(), dummy.rend()));
    EXPECT_GE(dummy[3], 0);
    EXPECT_LE(dummy[0], 64);
    const int before = IntAt(group + "HorDummyPix"), length = IntAt(group + "HorRegSize");
    EXPECT_GE(before, 0);
    EXPECT_GE(length, before + columns);
    EXPECT_LE(length, 32767);

    for (const char* flag : {"Antiblooming", "Shutter"}) {
        const int value = IntAt(group + flag);
        EXPECT_TRUE(value == 0 || value == 1) << flag << " " << value;
    }
    EXPECT_GE(IntAt(group + "MultipleOutput"), 1);
    EXPECT_GT(FloatAt(group + "FWC"), 1000.0);
    EXPECT_GT(FloatAt(group + "CCF"), 0.0);
    EXPECT_EQ(MembersOf(SensorPath + sensor.name).size(), 15u);
}

void CheckPlatform(const ExpectedPlatform& platform)
{
    SCOPED_TRACE(platform.name);
    const std::string group = PlatformPath + platform.name + ".";
    const std::vector<int> bits = IntsAt(group + "ADbit");
    ASSERT_EQ(bits.size(), 2u);
    EXPECT_TRUE(bits[0] >= 8 && bits[0] <= 16) << bits[0];
    EXPECT_EQ(bits[1], 0); // some drivers take both bytes as one exponent
    EXPECT_GT(FloatAt(group + "TimeBase"), 0.0);
    const int id = IntAt(group + "FpgaId");
    EXPECT_TRUE(id >= 1 && id <= 255) << id; // the drivers compare eight bits
    EXPECT_GT(FloatAt(group + "ADclock"), 0.0);
    const int gains = IntAt(group + "NumberOfGains");
    EXPECT_TRUE(gains >= 1 && gains <= 5) << gains;
    EXPECT_GE(IntAt(group + "AntiBloomingTimer"), 0);
}

void CheckPair(const std::string& platform, const std::string& sensor)
{
    SCOPED_TRACE(platform + " " + sensor);
    const std::string group = PlatformPath + platform + "." + sensor + ".";
    EXPECT_GE(FloatAt(group + "AmplifierDelay"), 0.0);
    const std::vector<double> clock = FloatsAt(group + "SamplingClock");
    ASSERT_EQ(clock.size(), 2u);
    EXPECT_GT(clock[1], 0.0);
    EXPECT_GE(std::trunc(clock[0] * 1000.0), 1.0); // a word in nanoseconds has 16 bits
    EXPECT_LE(clock[0] * 1000.0, 65535.0);
    const int phase = IntAt(group + "VerticalPhasePeriod");
    EXPECT_TRUE(phase >= 1 && phase <= 65535) << phase;
    const std::vector<double> gains = FloatsAt(group + "Gain");
    ASSERT_EQ(gains.size(), 4u);
    const int settings = IntAt(PlatformPath + platform + ".NumberOfGains");
    for (int i = 0; i < 4; ++i) {
        EXPECT_EQ(gains[static_cast<size_t>(i)] > 0.0, i < settings) << i;
    }
    EXPECT_EQ(MembersOf(PlatformPath + platform + "." + sensor).size(), 4u);
}

} // namespace

TEST(SampleDefinitions, ParseInLessThanASecond)
{
    const auto start = std::chrono::steady_clock::now();
    config_t config;
    config_init(&config);
    EXPECT_EQ(config_read_file(&config, QVN_SOURCE_DIR "/share/qvn/qvn.cfg"), CONFIG_TRUE);
    config_destroy(&config);
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(1));
}

TEST(SampleDefinitions, EverySensorHasEveryKey)
{
    for (const ExpectedSensor& sensor : ExpectedSensors) CheckSensor(sensor);
    EXPECT_EQ(GroupsOf("rmk_camera_library.ccd_definitions").size(), ExpectedSensors.size());
}

TEST(SampleDefinitions, EveryPlatformHasItsOwnKeys)
{
    for (const ExpectedPlatform& platform : ExpectedPlatforms) CheckPlatform(platform);
    EXPECT_EQ(GroupsOf("rmk_camera_library.camera_platforms").size(), ExpectedPlatforms.size());
}

TEST(SampleDefinitions, EveryListedPairAndNoOtherHasItsKeys)
{
    for (const ExpectedPlatform& platform : ExpectedPlatforms) {
        std::vector<std::string> names;
        for (int code : platform.sensors) {
            names.push_back(SensorNameOf(code));
            CheckPair(platform.name, names.back());
        }
        EXPECT_EQ(GroupsOf(PlatformPath + platform.name), names) << platform.name;
    }
}

TEST(SampleDefinitions, KnownSensorsHaveTheirPublishedGeometry)
{
    constexpr Geometry known[] = {
        {"ccd30-11", 1024, 256, 26.0},  {"ccd42-40", 2048, 2048, 13.5},
        {"ccd47-10", 1024, 1024, 13.0}, {"ccd55-20", 770, 1152, 22.5},
        {"kaf0260", 512, 512, 20.0},    {"kaf400e", 768, 512, 9.0},
        {"kaf1400", 1317, 1035, 6.8},   {"kaf1600", 1536, 1024, 9.0},
        {"kaf3200", 2184, 1472, 6.8},   {"kaf6303", 3072, 2048, 9.0},
        {"kaf8300", 3326, 2504, 5.4},   {"kaf16800", 4096, 4096, 9.0},
        {"kai4020", 2048, 2048, 7.4},   {"kai29050", 6576, 4384, 5.5},
        {"icx285al", 1392, 1040, 6.45}, {"ccd485", 4096, 4096, 15.0},
    };
    for (const Geometry& geometry : known) {
        const std::string group = SensorPath + geometry.sensor + ".";
        EXPECT_EQ(IntAt(group + "Xpix"), geometry.columns) << geometry.sensor;
        EXPECT_EQ(IntAt(group + "Ypix"), geometry.rows) << geometry.sensor;
        EXPECT_EQ(FloatAt(group + "XpixDim"), geometry.pixel) << geometry.sensor;
        EXPECT_EQ(FloatAt(group + "YpixDim"), geometry.pixel) << geometry.sensor;
    }
}

TEST(SampleDefinitions, SimulatedCameraLooksAtTheStarField)
{
    EXPECT_EQ(TextAt(PlatformPath + "DEMO.File"), SampleFileNames[2]);
    EXPECT_EQ(IntAt(PlatformPath + "DEMO.Xpix"), static_cast<int>(SampleFieldColumns));
    EXPECT_EQ(IntAt(PlatformPath + "DEMO.Ypix"), static_cast<int>(SampleFieldRows));
    EXPECT_EQ(IntsAt(PlatformPath + "DEMO.ADbit"), (std::vector<int>{16, 0}));
    EXPECT_EQ(IntAt(PlatformPath + "DEMO.NumberOfGains"), 5);
}

// The simulated camera steps through the file by twice the columns left of the
// sensor. With an even width that is exact for every sensor of even width.
TEST(SampleDefinitions, StarFieldHasAnEvenWidth)
{
    EXPECT_EQ(SampleFieldColumns % 2, 0u);
}

TEST(SampleDefinitions, CommittedFileIsWhatTheGeneratorMakes)
{
    if (!HavePython()) GTEST_SKIP() << "/usr/bin/python3 is missing: qvn.cfg is not made again";
    const std::string made = testing::TempDir() + "qvn_cfg_" + std::to_string(getpid());
    const std::string command =
        "/usr/bin/python3 -B '" QVN_SOURCE_DIR "/share/qvn/make_qvn_cfg.py' '" + made + "'";
    ASSERT_EQ(std::system(command.c_str()), 0);
    EXPECT_TRUE(FileText(made) == FileText(QVN_SOURCE_DIR "/share/qvn/qvn.cfg"))
        << "run share/qvn/make_qvn_cfg.py and commit qvn.cfg";
    std::remove(made.c_str());
}

TEST(SampleCameraConfig, HasEveryKeyAndNoOther)
{
    const std::vector<std::string> words = {"AD",
                                            "Platform",
                                            "CCD",
                                            "InterfaceType",
                                            "InterfaceAddress",
                                            "CameraAddress",
                                            "PciIndex",
                                            "InterfaceLink",
                                            "FilterWheel",
                                            "FilterWheelPortAddress",
                                            "FilterWheelPortType",
                                            "ShutterType",
                                            "ShutterHisteresys",
                                            "CcdOutput",
                                            "CcdTechnology",
                                            "CcdBackFront",
                                            "Process",
                                            "Activity",
                                            "LongCable"};
    EXPECT_EQ(words.size(), 19u);
    for (const std::string& word : words) IntAt("CameraConfig." + word);
    EXPECT_EQ(TextAt("CameraConfig.DefectiveList"), "");
    EXPECT_EQ(FloatAt("CameraConfig.TemperatureOffset"), 0.0);
    EXPECT_EQ(FloatAt("CameraConfig.TemperatureSpan"), 1.0);
    EXPECT_EQ(MembersOf("CameraConfig").size(), words.size() + 3);
}

TEST(SampleCameraConfig, IsTheSimulatedCamera)
{
    EXPECT_EQ(IntAt("CameraConfig.Platform"), 1);
    EXPECT_EQ(IntAt("CameraConfig.CCD"), 275);
    EXPECT_EQ(IntAt("CameraConfig.PciIndex"), 0);
    EXPECT_EQ(IntAt("CameraConfig.InterfaceType"), 0);
    EXPECT_EQ(IntAt("CameraConfig.CcdTechnology"), 1);
}
