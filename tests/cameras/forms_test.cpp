// One scene by each of the three forms of readout, with the cameras that have all
// three: whole frames by DMA over a newer card, lines by DMA over an older one, pixels
// one by one with QV_TGetCCD over either.
#include "tests/support/families.h"
#include "tests/support/virtual_camera.h"

namespace {

using Pixels = std::vector<uint16_t>;

constexpr uint16_t Untouched = 0xAAAA;

class ReadoutForms : public VirtualCameraTest, public testing::WithParamInterface<VirtualSetup> {
protected:
    VirtualSetup older, newer;

    void OpenBoth()
    {
        older = newer = GetParam();
        newer.revision = 200;
        newer.camera = 1;
        for (const VirtualSetup& setup : {older, newer}) {
            Plug(setup);
            Open(setup);
        }
    }

    static void SetBinning(int32_t hbin, int32_t vbin)
    {
        QV_SetBinning(hbin, vbin, 0);
        QV_SetBinning(hbin, vbin, 1);
    }

    static Pixels Frame(void (*read)(int32_t, double, uint16_t*, int32_t), size_t count,
                        int32_t camera)
    {
        Pixels pixels(count, Untouched);
        read(1, 0.01, pixels.data(), camera);
        EXPECT_EQ(QV_Status(camera), 0);
        return pixels;
    }

    static Pixels Part(const Pixels& pixels, size_t from, size_t to)
    {
        return {pixels.begin() + static_cast<std::ptrdiff_t>(from),
                pixels.begin() + static_cast<std::ptrdiff_t>(to)};
    }
};

std::string CaseName(const testing::TestParamInfo<VirtualSetup>& info)
{
    return std::to_string(info.param.platform);
}

} // namespace

// By pixels a frame begins behind half of the dummy lines and one more; dummy lines are
// three: with row 2. The last pixel of the first row is column 23.
TEST_P(ReadoutForms, ByPixelsRowsAreWhole)
{
    OpenBoth();
    for (const int32_t camera : {0, 1}) {
        const Pixels pixels = Frame(QV_TGetCCD, 24 * 16, camera);
        for (size_t row = 0; row < 16; ++row) {
            EXPECT_EQ(pixels[row * 24], 100 * (row + 3) + 1) << row;
            EXPECT_EQ(pixels[row * 24 + 23], 100 * (row + 3) + 24) << row;
        }
    }
}

// By lines the first row is covered from its last six pixels on, and all that follows
// is six pixels early: the last six of the buffer are left.
TEST_P(ReadoutForms, ByLinesTheFirstRowLosesItsLastSixPixels)
{
    OpenBoth();
    for (const auto& [hbin, vbin, width] :
         {std::tuple<int32_t, int32_t, size_t>{1, 1, 24}, {2, 1, 12}, {1, 2, 24}, {2, 4, 12}}) {
        SetBinning(hbin, vbin);
        const size_t count = width * 16 / static_cast<size_t>(vbin);
        const Pixels pixels = Frame(QV_TGetCCD, count, 0);
        const Pixels lines = Frame(QV_GetCCD, count, 0);
        EXPECT_EQ(Part(lines, 0, width - 6), Part(pixels, 0, width - 6));
        EXPECT_EQ(Part(lines, width - 6, count - 6), Part(pixels, width, count));
        EXPECT_EQ(Part(lines, count - 6, count), Pixels(6, Untouched));
    }
}

// A whole frame begins four words behind half of the dummy lines: a line earlier than
// the other forms, less four pixels.
TEST_P(ReadoutForms, AsAWholeItBeginsALineEarlierAndFourPixelsIn)
{
    OpenBoth();
    for (const auto& [hbin, vbin, width] :
         {std::tuple<int32_t, int32_t, size_t>{1, 1, 24}, {2, 1, 12}, {1, 2, 24}, {2, 4, 12}}) {
        SetBinning(hbin, vbin);
        const size_t count = width * 16 / static_cast<size_t>(vbin);
        const Pixels pixels = Frame(QV_TGetCCD, count, 1);
        const Pixels whole = Frame(QV_GetCCD, count, 1);
        EXPECT_EQ(Part(whole, width - 4, count), Part(pixels, 0, count - width + 4));
    }
    SetBinning(1, 1);
    EXPECT_EQ(Frame(QV_GetCCD, 24 * 16, 1)[0], 205) << "column 4 of row 1";
}

// Half of the three dummy lines lie ahead of a window by DMA.
TEST_P(ReadoutForms, WindowsByDmaAreTheSameRows)
{
    OpenBoth();
    for (const int32_t camera : {0, 1}) {
        Pixels window(24 * 2, Untouched);
        QV_GetWinCCD(1, 0.01, 0, 1, 24, 2, window.data(), camera);
        EXPECT_EQ(QV_Status(camera), 0);
        // Row 1 and one dummy line; as a whole, four pixels in.
        EXPECT_EQ(window[0], camera == 0 ? 301 : 305);
        EXPECT_EQ(window[20], camera == 0 ? 403 : 401);
    }
}

INSTANTIATE_TEST_SUITE_P(Platforms, ReadoutForms,
                         testing::ValuesIn(OnTheirLinks({24, 25, 42, 44, 47})), CaseName);

TEST_F(VirtualCameraTest, AWindowByPixelsSkipsAllDummyLines)
{
    const VirtualSetup port = {41, 255, 1, "BuildWaveBriar", 100, 0, 0, Strobe::Position};
    Plug(port);
    Open(port);
    Pixels window(24 * 2, Untouched);
    QV_GetWinCCD(1, 0.01, 0, 1, 24, 2, window.data(), 0);
    EXPECT_EQ(QV_Status(0), 0);
    EXPECT_EQ(window[0], 501) << "row 1 and three dummy lines";
    EXPECT_EQ(window[24], 601);
}

// A frame behind a window is built for as many bins as the sensor has columns: 16 bins of
// two fit behind the leading cells into a register of 38 and six further shifts, and go
// into lines of 12. Row 2 begins with the last bins of line 1: required.
TEST_F(VirtualCameraTest, ABinnedFrameBehindAWindowIsSheared)
{
    const VirtualSetup r3 = {44, 255, 2, "BuildWaveR3"};
    Plug(r3);
    Open(r3);
    QV_SetBinning(2, 1, 0);
    Pixels pixels(12 * 16, Untouched);
    QV_GetWinCCD(1, 0.01, 1, 1, 4, 2, pixels.data(), 0);
    QV_TGetCCD(1, 0.01, pixels.data(), 0);
    EXPECT_EQ(QV_Status(0), 0);
    // The first kept word is the 24th: the 8th bin of line 1, columns 16 and 17 of row 1.
    EXPECT_EQ(Pixels(pixels.begin(), pixels.begin() + 12),
              (Pixels{217 + 218, 219 + 220, 221 + 222, 223 + 224, 0, 0, 0, 0, 301 + 302, 303 + 304,
                      305 + 306, 307 + 308}));
    QV_SetBinning(2, 1, 0);
    QV_TGetCCD(1, 0.01, pixels.data(), 0);
    EXPECT_EQ(pixels[0], 301 + 302) << "a new pattern puts it right";
}
