// The shutter at the beginning of an exposure, for every platform.
#include <string>

#include "core/options.h"
#include "core/record.h"
#include "devices/exposure.h"
#include "emulator/emulator.h"
#include "tests/support/fake_camera.h"

namespace {

constexpr double Short = 0.25;
constexpr double Long = 0.75;
constexpr uint16_t Shadow = 0x0A5A; // of every register

// What is written to the line, and in which cases SetShutter is called:
// l light, d dark, L light and D dark with option 0x0010.
struct Row {
    int32_t platform;
    int32_t sensor;
    int32_t shutterMode;
    const char* light;
    const char* dark;
    const char* starts;
    // The same while the shutter is held; null: as above.
    const char* heldLight = nullptr;
    const char* heldShortDark = nullptr;
    const char* heldLongDark = nullptr;
    uint16_t lightShadow = Shadow; // what is left in the shadow of that register
    uint16_t darkShadow = Shadow;
};

const Row Rows[] = {
    {25, 0, 0, "6 0x085A", "6 0x0E5A", "ld", "", "", "", 0x085A, 0x0E5A},
    {25, 500, 1, "6 0x085A", "6 0x0E5A", "ld", "", "", "", 0x085A, 0x0E5A},
    {28, 0, 0, "3 0x0A5E", "3 0x0A5A", "ldLD"},
    {29, 0, 0, "", "", ""},
    {29, 506, 0, "", "", ""},
    {48, 0, 0, "", "", "ldLD"},
    {60, 0, 1, "6 0x000A", "6 0x004A", "ld", nullptr, "", nullptr, 0x000A, 0x004A},
    {60, 0, 0, "", "", "l"},
    {61, 0, 0, "6 0x0A5E", "6 0x0A5A", "ldLD"},
    {200, 0, 0, "6 0x0A5E", "6 0x0A5A", "ldLD"},
    {205, 0, 0, "6 0x0A5E", "6 0x0A5A", "ldLD"},
    {300, 0, 0, "", "", "ldLD"},
    {450, 0, 0, "", "", "ldLD"},
    {70, 0, 0, "", "", "ldLD"},
    {71, 0, 0, "", "", "ldLD"},
    {30, 500, 0, "", "", "ldLD"},
    {30, 506, 0, "", "", "ldLD"},
    {44, 500, 0, "", "", "ldLD"},
    {30, 255, 0, "", "", "l"},
    {1, 255, 0, "", "", "l"},
    {22, 0, 0, "", "", "l"},
    {23, 0, 0, "", "", "l"},
    {24, 0, 0, "", "", "l"},
    {40, 0, 0, "", "", "l"},
    {41, 0, 0, "", "", "l"},
    {42, 0, 1, "", "", "l"},
    {44, 0, 0, "", "", "l"},
    {47, 0, 0, "", "", "l"},
    {80, 0, 0, "", "", "l"},
    {400, 0, 0, "", "", "l"},
};

struct Case {
    bool isLight;
    bool isLong;
    bool isHeld;
    bool isOutside;
};

std::string LineText(const Row& row, const Case& one)
{
    const char* text = one.isLight ? row.light : row.dark;
    if (one.isHeld) {
        const char* held = one.isLight  ? row.heldLight
                           : one.isLong ? row.heldLongDark
                                        : row.heldShortDark;
        if (held != nullptr) text = held;
    }
    return text;
}

class ShutterLine : public FakeTest {
protected:
    CameraRecord& record = CameraTable[0];

    void Prepare(const Row& row, const Case& one)
    {
        FakeTest::SetUp();
        EmuSetTickCost(1000);
        OpenFake(row.platform, row.sensor, one.isOutside ? OptionExternalExposure : 0u);
        record.ShutterMode = row.shutterMode;
        record.ShutterHeld = one.isHeld ? 1 : 0;
        for (uint16_t& shadow : record.Registers) shadow = Shadow;
    }

    void Check(const Row& row, const Case& one)
    {
        Prepare(row, one);
        double exposure = one.isLong ? Long : Short;
        EXPECT_EQ(ExposureControl("Exposure", &exposure, one.isLight ? 1 : 0, 0), 0);
        Texts expected;
        const std::string line = LineText(row, one);
        if (!line.empty()) expected.push_back("WriteRegister " + line);
        const char letter = one.isOutside ? (one.isLight ? 'L' : 'D') : (one.isLight ? 'l' : 'd');
        if (std::string(row.starts).find(letter) != std::string::npos) {
            expected.push_back(one.isLong ? "SetShutter 0.75" : "SetShutter 0.25");
        }
        EXPECT_EQ(FakeTexts(), expected);
        const uint16_t wanted = line.empty()  ? Shadow
                                : one.isLight ? row.lightShadow
                                              : row.darkShadow;
        for (int32_t reg = 0; reg < RegisterCount; ++reg) {
            const bool isLine = !line.empty() && line[0] - '0' == reg;
            EXPECT_EQ(record.Registers[reg], isLine ? wanted : Shadow) << "register " << reg;
        }
        EXPECT_EQ(record.ShutterHeld, one.isHeld ? 1 : 0);
    }
};

} // namespace

TEST_F(ShutterLine, IsSetThenTheCounterStartedAsEachPlatformWants)
{
    for (const Row& row : Rows) {
        for (int32_t bits = 0; bits < 16; ++bits) {
            const Case one = {(bits & 1) != 0, (bits & 2) != 0, (bits & 4) != 0, (bits & 8) != 0};
            SCOPED_TRACE(testing::Message()
                         << "platform " << row.platform << " sensor " << row.sensor << " light "
                         << one.isLight << " long " << one.isLong << " held " << one.isHeld
                         << " outside " << one.isOutside);
            Check(row, one);
        }
    }
}

TEST_F(ShutterLine, OptionOutsideDoesNotReachPlatform61ButPlatform25)
{
    double exposure = Short;
    OpenFake(61, 0, OptionExternalExposure);
    ExposureControl("Exposure", &exposure, 1, 0);
    EXPECT_EQ(FakeTexts("SetShutter").size(), 1u);
    Fake.calls.clear();
    OpenFake(25, 0, OptionExternalExposure);
    ExposureControl("Exposure", &exposure, 1, 0);
    EXPECT_TRUE(FakeTexts("SetShutter").empty());
}

TEST_F(ShutterLine, Platform29TouchesNoShutterAndMerelyWaits)
{
    OpenFake(29, 0, 0);
    for (int32_t shutter : {0, 1}) {
        for (double seconds : {0.0, Short, Long}) {
            double exposure = seconds;
            const uint64_t start = EmuMicroseconds();
            EXPECT_EQ(ExposureControl("Exposure", &exposure, shutter, 0), 0);
            EXPECT_GE(EmuMicroseconds() - start + 1000, static_cast<uint64_t>(seconds * 1e6));
        }
    }
    EXPECT_TRUE(Fake.calls.empty());
}

TEST_F(ShutterLine, AnyOtherNonzeroShutterIsALightFrame)
{
    for (int32_t shutter : {-1, 2, 256}) {
        OpenFake(44, 0, 0);
        Fake.calls.clear();
        double exposure = Short;
        ExposureControl("Exposure", &exposure, shutter, 0);
        EXPECT_EQ(FakeTexts(), (Texts{"SetShutter 0.25"}));
    }
}

TEST_F(ShutterLine, Platform50SetsItsFanAndIdlesTheSensorFirst)
{
    OpenFake(50, 0, OptionFanAtExposure | OptionExternalExposure);
    record.Registers[1] = Shadow;
    double exposure = Short;
    ExposureControl("Exposure", &exposure, 0, 0);
    // 255 - 80; 0x5A AND 0xCF is 0x4A, with 0x10 it is 0x5A.
    EXPECT_EQ(FakeTexts(), (Texts{"WriteRegister 7 0x00AF", "WriteRegister 1 0x005A", "SensorIdle",
                                  "SetShutter 0.25"}));
    EXPECT_EQ(record.Registers[1], 0x005A);
    EXPECT_EQ(record.Registers[7], 0);
}

TEST_F(ShutterLine, Platform50WithoutTheFanOptionClearsItsBits)
{
    OpenFake(50, 0, 0);
    record.Registers[1] = 0xFFFF;
    double exposure = Long;
    ExposureControl("Exposure", &exposure, 1, 0);
    EXPECT_EQ(record.Registers[1], 0x00CF);
    // On a long exposure the sensor idles once, inside the wait.
    EXPECT_EQ(FakeTexts(),
              (Texts{"WriteRegister 1 0x00CF", "SetShutter 0.75", "SensorIdle", "ReadRegister 2"}));
}

TEST_F(ShutterLine, Platform50WaitsUntilTheShutterHasClosed)
{
    OpenFake(50, 0, 0);
    Fake.busyReads = 3;
    double exposure = Long;
    ExposureControl("Exposure", &exposure, 1, 0);
    EXPECT_EQ(FakeTexts("ReadRegister 2").size(), 4u);
    EXPECT_EQ(EmuSleepCount(), 0u);
}
