// What single frames keep and build, on a camera behind the card.
#include "emulator/bus_camera.h"
#include "emulator/emulator.h"
#include "tests/support/guarded_pixels.h"
#include "tests/support/pattern_file.h"
#include "tests/support/virtual_camera.h"

namespace {

using Pixels = std::vector<uint16_t>;

constexpr uint32_t Service = 0x1, InternalBuffers = 0x8000;
const VirtualSetup R3 = {44, 255, 2, "BuildWaveR3", 200};

class SingleFrames : public VirtualCameraTest {
protected:
    static void ReadWindow(int32_t x, int32_t y, int32_t width, int32_t height)
    {
        GuardedPixels window(static_cast<size_t>(width) * static_cast<size_t>(height));
        QV_GetWinCCD(1, 0.01, x, y, width, height, window.Data(), 0);
        EXPECT_EQ(QV_Status(0), 0);
        window.ExpectGuards();
    }
    static void ReadFrame()
    {
        GuardedPixels frame(size_t{ImageColumns} * ImageRows);
        QV_GetCCD(1, 0.01, frame.Data(), 0);
        EXPECT_EQ(QV_Status(0), 0);
    }
};

} // namespace

TEST_F(SingleFrames, OfTheSameWindowBuildOnePattern)
{
    Plug(R3);
    Open(R3);
    EXPECT_TRUE(BuildsAPattern([] { ReadWindow(2, 3, 8, 4); }));
    EXPECT_FALSE(BuildsAPattern([] { ReadWindow(2, 3, 8, 4); }));
    EXPECT_TRUE(BuildsAPattern([] { ReadWindow(3, 3, 8, 4); }));
    EXPECT_TRUE(BuildsAPattern([] { ReadWindow(3, 4, 8, 4); }));
    EXPECT_TRUE(BuildsAPattern([] { ReadWindow(3, 4, 6, 4); }));
    EXPECT_TRUE(BuildsAPattern([] { ReadWindow(3, 4, 6, 2); }));
    QV_SetBinning(2, 1, 0);
    EXPECT_TRUE(BuildsAPattern([] { ReadWindow(3, 4, 6, 2); }));
    QV_SetBinning(2, 2, 0);
    EXPECT_TRUE(BuildsAPattern([] { ReadWindow(3, 4, 6, 2); }));
    EXPECT_FALSE(BuildsAPattern([] { ReadWindow(3, 4, 6, 2); }));
}

TEST_F(SingleFrames, BehindAWindowBuildTheFullPatternOnce)
{
    Plug(R3);
    Open(R3);
    ReadWindow(2, 3, 8, 4);
    EXPECT_TRUE(BuildsAPattern(ReadFrame));
    EXPECT_FALSE(BuildsAPattern(ReadFrame));
}

// Nine columns are kept as nine, and read as eight: the ninth pixel of a line is the next one's.
TEST_F(SingleFrames, OfOddWindowsAreReadEven)
{
    Plug(R3);
    Open(R3);
    EXPECT_TRUE(BuildsAPattern([] { ReadWindow(0, 0, 9, 4); }));
    GuardedPixels window(9 * 4);
    EXPECT_FALSE(BuildsAPattern([&] { QV_GetWinCCD(1, 0.01, 0, 0, 9, 4, window.Data(), 0); }));
    EXPECT_EQ(QV_Status(0), 0);
    const Pixels pixels = window.Pixels();
    // Half of the dummy lines is row 1; four words in.
    EXPECT_EQ(Pixels(pixels.begin(), pixels.begin() + 6), (Pixels{205, 206, 207, 208, 301, 302}));
    EXPECT_EQ(Pixels(pixels.begin() + 32, pixels.end()), Pixels(4, UntouchedPixel));
}

TEST_F(SingleFrames, GoToTheInternalBufferIfTold)
{
    Plug(R3);
    Open(R3, static_cast<int32_t>(InternalBuffers));
    GuardedPixels unused(size_t{ImageColumns} * ImageRows);
    QV_GetCCD(1, 0.01, unused.Data(), 0);
    EXPECT_EQ(QV_Status(0), 0);
    EXPECT_TRUE(unused.IsUntouched());
    const uint16_t* const pixels = QV_MatrixPointer(QV_MatrixGet(0), 0);
    ASSERT_NE(pixels, nullptr);
    EXPECT_EQ(Pixels(pixels, pixels + ImageColumns * ImageRows),
              Expected(Full(R3, ReadRule::WholeFrame, 1, 1), 0));
    QV_Matrix(2, 0);
}

// 2 s from start to start leave 1.5 s for the shutter; a stalled link takes its second more.
TEST_F(SingleFrames, WithAPeriodGiveTheSettlingTimeBack)
{
    Plug(R3);
    Open(R3);
    GuardedPixels frame(size_t{ImageColumns} * ImageRows);
    for (const bool fails : {false, true}) {
        EmuBusMute(bus, fails ? 7 : 0xFFFFFFFF);
        uint64_t start = EmuMicroseconds();
        QV_GetCCDPulsed(1, 0, 500.0, 2.0, frame.Data(), 0);
        EXPECT_EQ(QV_Status(0), fails ? 2 : 0);
        EXPECT_GE(EmuMicroseconds() - start, 2'000'000u);
        EmuBusMute(bus, 0xFFFFFFFF);
        QV_StartNow(0);
        start = EmuMicroseconds();
        QV_GetCCD(1, 0.5, frame.Data(), 0);
        EXPECT_LT(EmuMicroseconds() - start, 700'000u) << "10 ms again";
    }
}

TEST_F(SingleFrames, ThatFailLeaveTheServiceOff)
{
    Plug(R3);
    Open(R3, Service);
    EmuBusMute(bus, 7);
    GuardedPixels frame(size_t{ImageColumns} * ImageRows);
    QV_GetCCD(1, 0.01, frame.Data(), 0);
    EXPECT_EQ(QV_Status(0), 2);
    const uint32_t turns = QV_BckGnd(0);
    QV_Delay(5000);
    EXPECT_EQ(QV_BckGnd(0), turns);
    QV_StartNow(0);
    QV_Delay(5000);
    EXPECT_GE(QV_BckGnd(0), turns + 9);
}
