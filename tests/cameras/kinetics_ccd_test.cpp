// Series that are shifted in the sensor while its shutter is open, and read as one frame.
#include "emulator/bus_camera.h"
#include "emulator/emulator.h"
#include "tests/support/families.h"
#include "tests/support/guarded_pixels.h"
#include "tests/support/virtual_camera.h"
#include "tests/support/virtual_usb.h"

namespace {

using Pixels = std::vector<uint16_t>;

constexpr int32_t W = ImageColumns, H = ImageRows;
constexpr uint32_t KeepClean = 0x8;

// A slit over the four rows that are farthest from the register: 1 to 20 in a second.
constexpr int32_t FirstLit = 12, LitRows = 4;
uint32_t SlitScene(uint32_t column, uint32_t row)
{
    if (row < FirstLit || row >= FirstLit + LitRows) return 0;
    return (row - FirstLit) * 5 + column % 5 + 1;
}

uint16_t SlitPixel(int32_t column, int32_t row)
{
    return static_cast<uint16_t>(SlitScene(static_cast<uint32_t>(column), //
                                           static_cast<uint32_t>(FirstLit + row)));
}

// What a frame without dummy lines makes of the sensor's rows: line 0 is dropped, the last
// line does not come; a whole frame begins four words in, and its last four never came.
Pixels Delivered(const Pixels& rows, ReadRule rule)
{
    Pixels pixels(static_cast<size_t>(W * H), UntouchedPixel);
    if (rule == ReadRule::WholeFrame) {
        std::copy(rows.begin() + 4, rows.end(), pixels.begin());
        std::fill(pixels.end() - 4, pixels.end(), uint16_t{0});
        return pixels;
    }
    auto target = pixels.begin();
    for (auto row = rows.begin() + W; row != rows.end(); row += W) {
        std::copy(row, row + W, target);
        target += rule == ReadRule::Lines && row == rows.begin() + W ? W - 6 : W;
    }
    return pixels;
}

struct FormCase {
    const char* name;
    VirtualSetup setup;
    ReadRule rule;
};

void PrintTo(const FormCase& c, std::ostream* out)
{
    *out << c.name;
}

std::string FormName(const testing::TestParamInfo<FormCase>& info)
{
    return info.param.name;
}

class ShiftedSeries : public VirtualCameraTest {
protected:
    Pixels Read(int32_t shutter, double interval, int32_t shifts, int32_t lines)
    {
        GuardedPixels frame(size_t{W} * H);
        QV_KineticsCCD(shutter, interval, shifts, lines, frame.Data(), 0);
        EXPECT_EQ(QV_Status(0), 0);
        frame.ExpectGuards();
        return frame.Pixels();
    }
};

class SlitSeries : public ShiftedSeries, public testing::WithParamInterface<FormCase> {
protected:
    void OpenSlit(int32_t options = 0)
    {
        VirtualSetup setup = GetParam().setup;
        setup.scene = SlitScene;
        Plug(setup);
        Open(setup, options);
    }
};

class MovedRows : public ShiftedSeries, public testing::WithParamInterface<FormCase> {};

} // namespace

// Three exposures, each followed by a shift of four rows: the first lies next to the register
// when it is read, the last four rows have been lit for a moment only. As charge is counted
// in whole units, the milliseconds beside the interval do not show: 20 x 0.02 s is below 1.
TEST_P(SlitSeries, LiesSideBySideInOneFrame)
{
    for (const int32_t seconds : {10, 25}) {
        SCOPED_TRACE(seconds);
        OpenSlit(KeepClean);
        QV_ShutterControl(1, 0);
        const Pixels frame = Read(1, seconds, 3, LitRows);
        Pixels rows(static_cast<size_t>(W * H), 0);
        for (int32_t row = 0; row < 3 * LitRows; ++row) {
            for (int32_t column = 0; column < W; ++column) {
                rows[static_cast<size_t>(row * W + column)] =
                    static_cast<uint16_t>(seconds * SlitPixel(column, row % LitRows));
            }
        }
        EXPECT_EQ(frame, Delivered(rows, GetParam().rule));
        EXPECT_EQ(QV_GetMode(0) & KeepClean, KeepClean);
        QV_Close(0);
        EmuReset();
        EmuInstall();
    }
}

// Shifts of two rows lay an exposure's upper half over the one before.
TEST_P(SlitSeries, OverlapsWhereItIsShiftedTooLittle)
{
    OpenSlit();
    QV_ShutterControl(1, 0);
    const Pixels frame = Read(1, 10.0, 2, 2);
    Pixels rows(static_cast<size_t>(W * H), 0);
    for (int32_t column = 0; column < W; ++column) {
        for (int32_t row = 0; row < 2; ++row) {
            const auto at = [&](int32_t line) -> uint16_t& {
                return rows[static_cast<size_t>((line + row) * W + column)];
            };
            const int32_t near = SlitPixel(column, row), far = SlitPixel(column, 2 + row);
            at(8) = static_cast<uint16_t>(10 * near);
            at(10) = static_cast<uint16_t>(10 * (far + near));
            at(12) = static_cast<uint16_t>(10 * far);
        }
    }
    EXPECT_EQ(frame, Delivered(rows, GetParam().rule));
}

// Without a shift the intervals add up where they are.
TEST_P(SlitSeries, OfNoLinesIsOneLongExposure)
{
    OpenSlit();
    QV_ShutterControl(1, 0);
    const Pixels frame = Read(1, 5.0, 4, 0);
    Pixels rows(static_cast<size_t>(W * H), 0);
    for (int32_t row = 0; row < LitRows; ++row) {
        for (int32_t column = 0; column < W; ++column) {
            rows[static_cast<size_t>((FirstLit + row) * W + column)] =
                static_cast<uint16_t>(20 * SlitPixel(column, row));
        }
    }
    EXPECT_EQ(frame, Delivered(rows, GetParam().rule));
}

// What falls behind the call falls on a shut shutter, also if the read failed.
TEST_P(SlitSeries, ShutsTheShutter)
{
    OpenSlit();
    for (const bool fails : {false, true}) {
        QV_ShutterControl(1, 0);
        GuardedPixels frame(size_t{W} * H);
        if (fails) EmuBusMute(bus, 7);
        QV_KineticsCCD(1, 1.0, 3, LitRows, frame.Data(), 0);
        EXPECT_EQ(QV_Status(0), fails ? 2 : 0);
        EXPECT_EQ(EmuBusRegister(bus, 3) & 0x0800, 0);
        EmuBusMute(bus, 0xFFFFFFFF);
        QV_ClearCCD(0);
        QV_Delay(100000);
        QV_GetCCD(0, 0.0, frame.Data(), 0);
        const Pixels dark = frame.Pixels();
        EXPECT_EQ(*std::max_element(dark.begin(), dark.end() - 6), 0);
    }
}

// Two rows a line: a shift of four rows is two lines of the frame.
TEST_P(SlitSeries, ShiftsRowsOfTheSensorWhateverTheBinning)
{
    OpenSlit();
    QV_SetBinning(1, 2, 0);
    QV_ShutterControl(1, 0);
    const Pixels frame = Read(1, 10.0, 3, LitRows);
    const size_t first = GetParam().rule == ReadRule::WholeFrame ? 4 : W; // words dropped
    for (int32_t line = 0; line < 6; ++line) {
        const size_t word = static_cast<size_t>(line * W) + W - 4;
        if (word < first || GetParam().rule == ReadRule::Lines) continue;
        const int32_t sum = SlitPixel(W - 4, line % 2 * 2) + SlitPixel(W - 4, line % 2 * 2 + 1);
        EXPECT_EQ(frame[word - first], 10 * sum) << line;
    }
}

// clang-format off
INSTANTIATE_TEST_SUITE_P(
    Forms, SlitSeries,
    testing::Values(
        FormCase{"R3AsAWhole",     OnBus({44, 2, 200}),          ReadRule::WholeFrame},
        FormCase{"R3ByLines",      OnBus({44}),                  ReadRule::Lines},
        FormCase{"R3Serial",       OnBus({44, 2, 200, 0xAAAA2}), ReadRule::WholeFrame},
        FormCase{"R3PlusAsAWhole", OnBus({47, 2, 200}),          ReadRule::WholeFrame},
        FormCase{"R3PlusByLines",  OnBus({47}),                  ReadRule::Lines}),
    FormName);
// clang-format on

// These have no shutter that can be held. A counter has filled the rows; twice three of them
// leave, and a dark frame shows the rest.
TEST_P(MovedRows, LeaveByTheRegister)
{
    Plug(GetParam().setup);
    Open(GetParam().setup);
    QV_Shutter(0.01, 0);
    const Pixels frame = Read(0, 0.1, 2, 3);
    Pixels rows;
    for (int32_t row = 6; row < 6 + H; ++row) {
        for (int32_t column = 0; column < W; ++column) {
            const uint32_t charge =
                SmallScene(static_cast<uint32_t>(column), static_cast<uint32_t>(row));
            rows.push_back(static_cast<uint16_t>(row < SensorRows ? charge : 0));
        }
    }
    // The six rows that left are in the register, ahead of line 0 of the frame.
    const auto line0 = [&](int32_t column) {
        int32_t sum = 0;
        for (int32_t row = 0; row < 7; ++row) sum += 100 * (row + 1) + column + 1;
        return static_cast<uint16_t>(sum);
    };
    for (int32_t column = 0; column < W; ++column) {
        rows[static_cast<size_t>(column)] = line0(column);
    }
    EXPECT_EQ(frame, Delivered(rows, GetParam().rule));
}

// clang-format off
INSTANTIATE_TEST_SUITE_P(
    Forms, MovedRows,
    testing::Values(
        FormCase{"PrinterPort",  OnBus({40, 0}),      ReadRule::Pixels},
        FormCase{"PortCard",     OnBus({41, 1}),      ReadRule::Pixels},
        FormCase{"CardByLines",  OnBus({42}),         ReadRule::Lines},
        FormCase{"CardAsAWhole", OnBus({42, 2, 200}), ReadRule::WholeFrame}),
    FormName);
// clang-format on
