// Arrays of heads behind one card, through the exported functions.
#include "emulator/bus_camera.h"
#include "emulator/bus_links.h"
#include "emulator/emulator.h"
#include "emulator/line_maps.h"
#include "tests/support/demo_camera.h"
#include "tests/support/guarded_pixels.h"
#include "tests/support/traffic_of.h"
#include "tests/support/virtual_camera.h"

namespace {

using Pixels = std::vector<uint16_t>;

constexpr int32_t Heads = 8, W = ImageColumns, H = ImageRows;
constexpr int32_t Array = 1; // the camera number: the only one whose heads are regulated
constexpr uint32_t Service = 0x1, Regulation = 0x2, KeepClean = 0x8;

// Head n sees 3000 n more than the small scene.
constexpr uint32_t Brighter = 3000;

template <uint32_t Head> uint32_t HeadScene(uint32_t column, uint32_t row)
{
    return SmallScene(column, row) + Head * Brighter;
}

EmuScene* const Scenes[Heads] = {HeadScene<0>, HeadScene<1>, HeadScene<2>, HeadScene<3>,
                                 HeadScene<4>, HeadScene<5>, HeadScene<6>, HeadScene<7>};

const VirtualSetup Briar = {42, 255, 2, "BuildWaveBriar", 100, 0, 0, Strobe::Position};
const VirtualSetup BriarWhole = {42, 255, 2, "BuildWaveBriar", 200, 0, 0, Strobe::Position};
const VirtualSetup R3 = {44, 255, 2, "BuildWaveR3", 200};
const VirtualSetup R3Serial = {44, 255, 2, "BuildWaveR3", 100, 0xAAAA2};

struct Frames {
    std::vector<GuardedPixels> heads{Heads, GuardedPixels(size_t{W} * H)};
    uint16_t* buffers[Heads];

    Frames()
    {
        for (size_t i = 0; i < Heads; ++i) buffers[i] = heads[i].Data();
    }
};

class ArrayTest : public VirtualCameraTest {
protected:
    int32_t heads[Heads] = {}; // cameras on the bus

    // All eight stand there; the first is the one that Plug makes.
    void PlugHeads(const VirtualSetup& setup, int32_t wrongHead = -1)
    {
        Plug(setup);
        heads[0] = bus;
        for (int32_t head = 1; head < Heads; ++head) {
            EmuBusCamera camera = {};
            camera.platform = setup.platform;
            camera.sensor = setup.sensor;
            camera.version = head == wrongHead ? SmallVersion + 1 : SmallVersion;
            camera.chip = {ImageColumns, SensorRows, LeadingCells, RegisterCells, Scenes[head]};
            camera.wordNs = 500;
            camera.memory[1] = 10;
            camera.unit = static_cast<uint8_t>(head);
            ASSERT_TRUE(EmuFindLineMap(setup.builder, {setup.platform, 255, 0}, &camera.lines));
            heads[head] = EmuPlugBusCamera(camera);
            EmuAttachUnit(0, head, heads[head]);
        }
    }
    static void OpenHeads(const VirtualSetup& setup, uint16_t mask, uint32_t options = 0,
                          int32_t camera = Array)
    {
        CameraConfig config = {};
        config.InterfaceLink = setup.decoder != 0 ? 1 : 0;
        config.ShutterHisteresys = 10;
        QV_InitOptions(&config, camera);
        const uint16_t description[4] = {0, mask, 0, 0};
        QV_OpenArray(description, setup.platform, setup.sensor, 0, options, camera, nullptr,
                     nullptr);
    }
    Pixels Wanted(const VirtualSetup& setup, uint32_t head)
    {
        Pixels pixels = Expected(Full(setup, ReadRule::Pixels, 1, 1), UntouchedPixel);
        for (uint16_t& pixel : pixels) {
            if (pixel != 0) pixel = static_cast<uint16_t>(pixel + head * Brighter);
        }
        return pixels;
    }
};

class ArrayOn : public ArrayTest, public testing::WithParamInterface<VirtualSetup> {};

std::string SetupName(const testing::TestParamInfo<VirtualSetup>& info)
{
    return std::to_string(info.param.platform) + "_" + std::to_string(info.index);
}

} // namespace

// The wait is that of the longest exposure, 0.08 s, and 10 ms for the shutters.
TEST_P(ArrayOn, ExposesEightHeadsTogetherAndReadsEach)
{
    PlugHeads(GetParam());
    OpenHeads(GetParam(), 0xFF);
    ASSERT_EQ(QV_Status(Array), 0);
    EXPECT_EQ(QV_IsOn(Array), 1);
    double exposures[Heads];
    for (int32_t head = 0; head < Heads; ++head) exposures[head] = 0.01 * (head + 1);
    for (int32_t round = 1; round <= 2; ++round) {
        Frames frames;
        QV_AGetCCD(1, exposures, frames.buffers, Array);
        for (uint32_t head = 0; head < Heads; ++head) {
            EXPECT_EQ(frames.heads[head].Pixels(), Wanted(GetParam(), head)) << head;
            frames.heads[head].ExpectGuards();
            EXPECT_EQ(EmuBusExposures(heads[head]), static_cast<uint32_t>(round)) << head;
        }
    }
    EXPECT_EQ(QV_Status(Array), 0);
}

TEST_P(ArrayOn, ReadsTheFittedHeadsAlone)
{
    PlugHeads(GetParam());
    OpenHeads(GetParam(), 0x24);
    ASSERT_EQ(QV_Status(Array), 0);
    // What is told of heads that are not fitted is not looked at.
    double exposures[Heads] = {1e6, 1e6, 0.01, 1e6, -1.0, 0.02, 1e300, 1e6};
    Frames frames;
    const uint64_t start = EmuMicroseconds();
    QV_AGetCCD(1, exposures, frames.buffers, Array);
    EXPECT_LT(EmuMicroseconds() - start, 1'000'000u);
    for (uint32_t head = 0; head < Heads; ++head) {
        const bool fitted = head == 2 || head == 5;
        EXPECT_EQ(frames.heads[head].IsUntouched(), !fitted) << head;
        EXPECT_EQ(EmuBusExposures(heads[head]), fitted ? 1u : 0u) << head;
        if (!fitted) continue;
        EXPECT_EQ(frames.heads[head].Pixels(), Wanted(GetParam(), head)) << head;
    }
}

TEST_P(ArrayOn, WithoutHeadsReadsNothing)
{
    PlugHeads(GetParam());
    OpenHeads(GetParam(), 0);
    EXPECT_EQ(QV_Status(Array), 0);
    const double exposures[Heads] = {9, 9, 9, 9, 9, 9, 9, 9};
    Frames frames;
    const uint64_t start = EmuMicroseconds();
    QV_AGetCCD(1, exposures, frames.buffers, Array);
    EXPECT_LT(EmuMicroseconds() - start, 1'000'000u);
    for (const GuardedPixels& frame : frames.heads) EXPECT_TRUE(frame.IsUntouched());
    for (const int32_t head : heads) {
        EXPECT_EQ(EmuBusExposures(head), 0u);
        EXPECT_EQ(EmuBusRegister(head, 16), 0) << "set up";
    }
}

TEST_P(ArrayOn, DarkFramesWaitAllTheSame)
{
    PlugHeads(GetParam());
    OpenHeads(GetParam(), 0x3);
    ASSERT_EQ(QV_Status(Array), 0);
    const double exposures[Heads] = {0.1, 3.0};
    Frames frames;
    const uint64_t start = EmuMicroseconds();
    QV_AGetCCD(0, exposures, frames.buffers, Array);
    EXPECT_GE(EmuMicroseconds() - start, 3'010'000u);
    for (size_t head = 0; head < 2; ++head) {
        EXPECT_EQ(EmuBusExposures(heads[head]), 0u);
        EXPECT_EQ(frames.heads[head].Pixels(), Pixels(size_t{W} * H, 0)) << head;
    }
}

// The second of three stalls in mid-frame: nobody is told, and the others are whole.
TEST_P(ArrayOn, HeadThatFailsStopsNoOther)
{
    PlugHeads(GetParam());
    OpenHeads(GetParam(), 0x7);
    ASSERT_EQ(QV_Status(Array), 0);
    EmuBusMute(heads[1], 50);
    const double exposures[Heads] = {0.01, 0.01, 0.01};
    Frames frames;
    QV_AGetCCD(1, exposures, frames.buffers, Array);
    EXPECT_EQ(QV_Status(Array), 0);
    EXPECT_EQ(frames.heads[0].Pixels(), Wanted(GetParam(), 0));
    EXPECT_NE(frames.heads[1].Pixels(), Wanted(GetParam(), 1));
    EXPECT_EQ(frames.heads[2].Pixels(), Wanted(GetParam(), 2));
    for (const GuardedPixels& frame : frames.heads) frame.ExpectGuards();
}

// The host's number is a head, too: what it writes by itself goes to this one.
TEST_P(ArrayOn, IsSelectedByTheHostsNumber)
{
    PlugHeads(GetParam());
    OpenHeads(GetParam(), 0xF);
    ASSERT_EQ(QV_Status(Array), 0);
    QV_Select(Array);
    QV_WRReg(20, 0x1234, Array);
    for (int32_t head = 0; head < 4; ++head) {
        EXPECT_EQ(EmuBusRegister(heads[head], 20), head == Array ? 0x1234 : 0) << head;
    }
}

// A reading of head 1 is the camera's. Each tick reads all; the first stop is the end of it.
TEST_P(ArrayOn, IsReadInTheBackgroundUntilItsFirstStop)
{
    PlugHeads(GetParam());
    for (int32_t head = 0; head < Heads; ++head) EmuBusSetTemperature(heads[head], -2.0 * head);
    OpenHeads(GetParam(), 0x7, Service | Regulation);
    ASSERT_EQ(QV_Status(Array), 0);
    EXPECT_GE(QV_BckGnd(Array), 1u);
    const uint32_t turns = QV_BckGnd(Array);
    QV_Delay(5000);
    EXPECT_GT(QV_BckGnd(Array), turns);
    EXPECT_NEAR(QV_GetTemp(nullptr, QV_CELSIUS, Array), EmuBusTemperature(heads[1]), 0.2);
    const double exposures[Heads] = {0.01, 0.01, 0.01};
    Frames frames;
    QV_AGetCCD(1, exposures, frames.buffers, Array);
    EXPECT_EQ(frames.heads[2].Pixels(), Wanted(GetParam(), 2));
    const uint32_t stopped = QV_BckGnd(Array);
    QV_Delay(5000);
    EXPECT_EQ(QV_BckGnd(Array), stopped);
}

// Two heads, each by its rows and twice its register, and no temperature.
TEST_P(ArrayOn, IsClearedInTheBackgroundWhereWanted)
{
    PlugHeads(GetParam());
    OpenHeads(GetParam(), 0x5, Service | KeepClean);
    ASSERT_EQ(QV_Status(Array), 0);
    EmuRecordCycles(true);
    const std::string cycles = TrafficOf([] { QV_Delay(100); });
    EmuRecordCycles(false);
    size_t plays = 0;
    for (size_t at = 0; (at = cycles.find("play page ", at)) != std::string::npos; ++at) ++plays;
    EXPECT_EQ(plays, 6u);
    EXPECT_EQ(QV_BckGnd(Array), 2u);
}

// The array's timer outlives it, and has nothing to do with one that wants no service.
TEST_P(ArrayOn, ReopenedWithoutServiceHasNone)
{
    PlugHeads(GetParam());
    OpenHeads(GetParam(), 0x7, Service);
    ASSERT_EQ(QV_Status(Array), 0);
    QV_Close(Array);
    OpenHeads(GetParam(), 0x7);
    ASSERT_EQ(QV_Status(Array), 0);
    EXPECT_EQ(QV_BckGnd(Array), 0u);
    const std::string traffic = TrafficOf([] { QV_Delay(5000); });
    EXPECT_EQ(QV_BckGnd(Array), 0u);
    EXPECT_EQ(traffic, "sleep 5000\n");
}

// One tick, the one that the open waits for: none while the heads were set up.
TEST_P(ArrayOn, IsServedAgainOnlyWhenItHasBeenOpened)
{
    PlugHeads(GetParam());
    for (int32_t round = 0; round < 3; ++round) {
        OpenHeads(GetParam(), 0xFF, Service);
        ASSERT_EQ(QV_Status(Array), 0);
        EXPECT_EQ(QV_BckGnd(Array), 1u) << round;
        QV_Close(Array);
    }
}

INSTANTIATE_TEST_SUITE_P(Platforms, ArrayOn, testing::Values(Briar, BriarWhole, R3, R3Serial),
                         SetupName);

// 2000 and 3000 units of 10 microseconds: counters are those of the heads.
TEST_F(ArrayTest, HeadsHaveExposuresOfTheirOwn)
{
    PlugHeads(R3);
    OpenHeads(R3, 0x3);
    ASSERT_EQ(QV_Status(Array), 0);
    const double exposures[Heads] = {0.02, 0.03};
    Frames frames;
    QV_AGetCCD(1, exposures, frames.buffers, Array);
    EXPECT_EQ(EmuBusRegister(heads[0], 5), 2000);
    EXPECT_EQ(EmuBusRegister(heads[1], 5), 3000);
    EXPECT_EQ(EmuBusRegister(heads[2], 5), 0);
}

// A head of another version is passed over by 42 and stops 44.
TEST_F(ArrayTest, WrongVersionOfAHeadStopsR3Alone)
{
    PlugHeads(Briar, 2);
    OpenHeads(Briar, 0x7);
    EXPECT_EQ(QV_Status(Array), 0);
    EXPECT_EQ(QV_IsOn(Array), 1);
    QV_Close(Array);
    EmuReset();
    EmuInstall();
    PlugHeads(R3, 2);
    OpenHeads(R3, 0x7);
    EXPECT_EQ(QV_Status(Array), 1);
    EXPECT_EQ(QV_IsOn(Array), 0);
    OpenHeads(R3, 0x3); // without it
    EXPECT_EQ(QV_Status(Array), 0);
    QV_Close(Array);
    EmuReset(); // the failed open keeps the kernel driver's handle
    EmuInstall();
}

TEST_F(ArrayTest, WithoutDefinitionsIsNotOpened)
{
    PlugHeads(R3);
    RemoveDefinitions();
    OpenHeads(R3, 0x3);
    EXPECT_EQ(QV_Status(Array), 5);
    EXPECT_EQ(QV_IsOn(Array), 0);
    EXPECT_EQ(EmuCardsOpen(), 0u);
}

TEST_F(ArrayTest, OtherPlatformsAreRefused)
{
    for (const int32_t platform :
         {-1, 0,  1,  22, 23, 24, 25, 28,  29,  30,  40,  41,  43,
          47, 48, 60, 61, 70, 71, 80, 200, 205, 300, 400, 450, INT32_MAX}) {
        const uint16_t description[4] = {0, 0xFF, 0, 0};
        const std::string traffic = TrafficOf(
            [&] { QV_OpenArray(description, platform, 255, 0, 0, Array, nullptr, nullptr); });
        EXPECT_EQ(QV_Status(Array), 12) << platform;
        EXPECT_EQ(QV_IsOn(Array), 0) << platform;
        EXPECT_EQ(traffic, "") << platform;
        Frames frames;
        const double exposures[Heads] = {};
        QV_AGetCCD(1, exposures, frames.buffers, Array);
        EXPECT_TRUE(frames.heads[0].IsUntouched());
    }
}

// After a refusal the number is free for a camera by itself, which is no array.
TEST_F(ArrayTest, CameraByItselfIsNoArray)
{
    VirtualSetup alone = R3;
    alone.camera = Array;
    Plug(alone);
    OpenHeads({40, 255, 2, nullptr}, 0x1);
    EXPECT_EQ(QV_Status(Array), 12);
    Open(alone);
    ExpectFrame(Full(alone, ReadRule::WholeFrame, 1, 1));
}

// Its wait for the first tick never ends: the tick serves number 1.
TEST_F(ArrayTest, UnderAnotherNumberTheServiceIsWaitedForInVain)
{
    testing::FLAGS_gtest_death_test_style = "fast";
    PlugHeads(Briar);
    EmuSetTimeLimit(EmuMicroseconds() + 20'000'000);
    EXPECT_DEATH(OpenHeads(Briar, 0x1, Service, 2), "wait without end");
}
