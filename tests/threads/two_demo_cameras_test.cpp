// Two simulated cameras, each driven by a thread of its own: their frames are
// what they are alone. The generator is shared and never decides a pixel here,
// since the sensors are too cold for noise.
#include <atomic>
#include <limits>
#include <thread>
#include <vector>

#include "core/record.h"
#include "emulator/emulator.h"
#include "tests/support/demo_camera.h"
#include "tests/support/plain_demo_frame.h"

namespace {

constexpr int32_t Frames = 25;
constexpr double Exposure = 0.001;

class DemoThreads : public testing::Test {
protected:
    void SetUp() override
    {
        ResetLibraryInRealTime();
        MakeDemoFolder();
        for (int32_t camera : {0, 1}) {
            OpenDemo(camera, 0x0020);
            ASSERT_EQ(QV_Status(camera), 0);
            CameraTable[camera].CurrentTemperature = -std::numeric_limits<double>::infinity();
            QV_SetGain(4, camera);
            CameraTable[camera].Config.ShutterHisteresys = 1;
        }
        QV_SetBinning(1, 2, 1);
    }

    void TearDown() override
    {
        ReleaseEverything();
        EXPECT_EQ(EmuLiveBlocks(), 0u);
        RemoveDemoFolder();
        ResetLibrary();
    }
};

std::vector<uint16_t> PlainFrameOf(int32_t camera)
{
    PlainDemoInputs inputs;
    for (int32_t row = 0; row < DemoFileRows; ++row) {
        for (int32_t column = 0; column < DemoFileColumns; ++column) {
            inputs.image.push_back(DemoFilePixel(column, row));
        }
    }
    inputs.xpix = DemoFileColumns;
    inputs.ypix = DemoFileRows;
    inputs.verBinning = camera + 1;
    inputs.exposure = Exposure;
    inputs.gainFactor = 20.0;
    inputs.temperature = -std::numeric_limits<double>::infinity();
    inputs.light = true;
    const int32_t rows = DemoFileRows / inputs.verBinning;
    std::vector<uint16_t> pixels(static_cast<size_t>(DemoFileColumns) * static_cast<size_t>(rows));
    uint32_t state = 1;
    PlainDemoFrame(inputs, DemoFileColumns, rows, pixels.data(), &state);
    return pixels;
}

void TakeFrames(int32_t camera, std::atomic<int32_t>* arrived, int32_t* wrong)
{
    const std::vector<uint16_t> plain = PlainFrameOf(camera);
    ++*arrived;
    while (*arrived < 2) std::this_thread::yield();
    for (int32_t frame = 0; frame < Frames; ++frame) {
        std::vector<uint16_t> pixels(plain.size());
        QV_GetCCD(1, Exposure, pixels.data(), camera);
        if (QV_Status(camera) != 0 || pixels != plain) ++*wrong;
    }
}

TEST_F(DemoThreads, TakeLightFramesOfTwoCamerasAtOnce)
{
    std::atomic<int32_t> arrived{0};
    int32_t wrong[2] = {};
    std::thread other(TakeFrames, 1, &arrived, &wrong[1]);
    TakeFrames(0, &arrived, &wrong[0]);
    other.join();
    EXPECT_EQ(wrong[0], 0);
    EXPECT_EQ(wrong[1], 0);
}

} // namespace
