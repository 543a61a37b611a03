// What takes more than one step or more than one frame, through the exported functions:
// series of windows, frames that the host starts and picks up, arrays of heads.
#include <numeric>

#include "emulator/bus_camera.h"
#include "emulator/bus_links.h"
#include "emulator/emulator.h"
#include "emulator/line_maps.h"
#include "tests/support/small_sensor.h"
#include "tests/support/virtual_camera.h"

namespace {

constexpr uint16_t Fill = 0xAAAA;
constexpr int32_t Pixels = ImageColumns * ImageRows;
const VirtualSetup ArrayOfTwo = {42, 255, 2, "BuildWaveBriar", 100, 0, 0, Strobe::Position};

class Arrays : public VirtualCameraTest {
protected:
    int32_t second = -1;

    void PlugTwoHeads();
    void OpenHeads(uint16_t mask, int32_t options)
    {
        const uint16_t config[4] = {0, mask, 0, 0};
        QV_OpenArray(config, 42, 255, 0, static_cast<uint32_t>(options), 1, nullptr, nullptr);
    }
};

constexpr uint32_t Brighter = 5000;

uint32_t BrightScene(uint32_t column, uint32_t row)
{
    return SmallScene(column, row) + Brighter;
}

void Arrays::PlugTwoHeads()
{
    Plug(ArrayOfTwo);
    EmuBusCamera camera = {};
    camera.platform = 42;
    camera.sensor = 255;
    camera.version = SmallVersion;
    camera.chip = {ImageColumns, SensorRows, LeadingCells, RegisterCells, BrightScene};
    camera.wordNs = 500;
    camera.memory[1] = 10;
    camera.unit = 3;
    ASSERT_TRUE(EmuFindLineMap("BuildWaveBriar", {42, 255, 0}, &camera.lines));
    second = EmuPlugBusCamera(camera);
    EmuAttachUnit(0, 3, second);
}

} // namespace

TEST_F(Arrays, OfTwoHeadsGivesTwoFrames)
{
    PlugTwoHeads();
    OpenHeads(0x9, 0);
    ASSERT_EQ(QV_Status(1), 0);
    EXPECT_EQ(QV_IsOn(1), 1);
    std::vector<uint16_t> first(Pixels, Fill), other(Pixels, Fill);
    uint16_t* buffers[8] = {first.data(), nullptr, nullptr, other.data()};
    const double exposures[8] = {0.01, 0, 0, 0.02};
    QV_AGetCCD(1, exposures, buffers, 1);
    std::vector<uint16_t> wanted = Expected(Full(ArrayOfTwo, ReadRule::Pixels, 1, 1), Fill);
    EXPECT_EQ(first, wanted);
    for (uint16_t& pixel : wanted)
        pixel = static_cast<uint16_t>(pixel + (pixel != 0 ? Brighter : 0));
    EXPECT_EQ(other, wanted);
    EXPECT_EQ(EmuBusExposures(bus), 1u);
    EXPECT_EQ(EmuBusExposures(second), 1u);
}

TEST_F(Arrays, ReadsNothingOfHeadsThatAreNotFitted)
{
    PlugTwoHeads();
    OpenHeads(0x1, 0);
    ASSERT_EQ(QV_Status(1), 0);
    std::vector<uint16_t> first(Pixels, Fill), other(Pixels, Fill);
    uint16_t* buffers[8] = {first.data(), nullptr, nullptr, other.data()};
    const double exposures[8] = {};
    QV_AGetCCD(0, exposures, buffers, 1);
    EXPECT_NE(first, other);
    EXPECT_EQ(other, std::vector<uint16_t>(Pixels, Fill));
}

TEST_F(Arrays, OnOtherPlatformsIsRefused)
{
    const uint16_t config[4] = {0, 1, 0, 0};
    QV_OpenArray(config, 40, 255, 0, 0, 1, nullptr, nullptr);
    EXPECT_EQ(QV_Status(1), 12);
    EXPECT_EQ(QV_IsOn(1), 0);
}
