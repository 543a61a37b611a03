#include "tests/frames/frames.h"

#include <cstring>
#include <ostream>

namespace {

uint32_t Scene(uint32_t column, uint32_t row)
{
    return 100 * (row + 1) + column + 1;
}

// Bus cameras shift six cells more than the register has.
uint32_t ExtraCount(int32_t platform)
{
    for (const int32_t with : {30, 40, 41, 42, 44, 47, 60}) {
        if (platform == with) return 6;
    }
    return 0;
}

std::string BuilderName(const FrameCase& c)
{
    return FindNamedBuilder(c.build)->name;
}

} // namespace

std::vector<FrameCase> CasesWith(Strobe strobe)
{
    std::vector<FrameCase> cases;
    for (const FrameCase& c : FrameCases) {
        if (FindNamedBuilder(c.build)->strobe == strobe) cases.push_back(c);
    }
    return cases;
}

std::string CaseName(const testing::TestParamInfo<FrameCase>& info)
{
    const FrameCase& c = info.param;
    return BuilderName(c).substr(strlen("BuildWave")) + "_" + std::to_string(c.platform) + "_" +
           std::to_string(c.sensor) + (*c.variant ? "_" : "") + c.variant;
}

void PrintTo(const FrameCase& c, std::ostream* out)
{
    *out << BuilderName(c) << " on " << c.platform << " with " << c.sensor << " " << c.variant;
}

std::string Text(const FrameWindow& window)
{
    return "bins of " + std::to_string(window.hbin) + " by " + std::to_string(window.vbin) +
           ", from " + std::to_string(window.x) + ", " + std::to_string(window.y) + ", " +
           std::to_string(window.width) + " by " + std::to_string(window.height);
}

FrameWindow FullFrame(uint32_t hbin, uint32_t vbin)
{
    return {0, 0, FrameColumns / hbin, FrameRows / vbin, hbin, vbin};
}

std::vector<FrameWindow> FullFrames()
{
    std::vector<FrameWindow> frames;
    for (uint32_t hbin = 1; hbin <= 4; ++hbin) {
        for (uint32_t vbin = 1; vbin <= 4; ++vbin) frames.push_back(FullFrame(hbin, vbin));
    }
    return frames;
}

std::vector<FrameWindow> Windows()
{
    std::vector<FrameWindow> windows;
    for (const FrameWindow& full : FullFrames()) {
        FrameWindow left = full;
        --left.width;
        FrameWindow middle = full;
        middle.x = middle.y = middle.width = middle.height = 1;
        FrameWindow right = full;
        right.x = right.y = 1;
        --right.width;
        --right.height;
        windows.insert(windows.end(), {left, middle, right});
    }
    return windows;
}

uint32_t SceneSum(int64_t column, int64_t lastColumn, uint32_t row, uint32_t lastRow)
{
    uint32_t sum = 0;
    for (int64_t i = column; i < lastColumn; ++i) {
        if (i < 0 || i >= FrameColumns) continue;
        for (uint32_t j = row; j < lastRow; ++j) sum += Scene(static_cast<uint32_t>(i), j);
    }
    return sum;
}

std::vector<uint16_t> Binned(const FrameWindow& window)
{
    std::vector<uint16_t> frame;
    for (uint32_t y = window.y; y < window.y + window.height; ++y) {
        for (uint32_t x = window.x; x < window.x + window.width; ++x) {
            frame.push_back(static_cast<uint16_t>(SceneSum(
                x * window.hbin, (x + 1) * window.hbin, y * window.vbin, (y + 1) * window.vbin)));
        }
    }
    return frame;
}

void FrameTest::Load(const FrameWindow& window, double tick, uint16_t period)
{
    const FrameCase& c = GetParam();
    FitWaveSensor({.platform = c.platform,
                   .sensor = c.sensor,
                   .tick = tick,
                   .period = period,
                   .dummyColumns = FrameLeading,
                   .registerSize = FrameRegister,
                   .xpix = FrameColumns,
                   .ypix = FrameRows,
                   .alternatePolarity = c.platform == 23});
    if (c.set != nullptr) c.set(&record);
    ASSERT_EQ(Build(c.build, {window.x, window.width, window.hbin,
                              static_cast<int32_t>(window.vbin), ExtraCount(c.platform)}),
              0);
    ASSERT_STREQ(EmuLoadWave(path.c_str(), memory.get(), &pattern), nullptr);
    EmuLineMap map{};
    const EmuWiring wiring{c.platform, c.sensor, record.Config.CcdTechnology};
    ASSERT_TRUE(EmuFindLineMap(BuilderName(c).c_str(), wiring, &map));
    sensor = EmuMakeSensor(map, {FrameColumns, FrameRows, FrameLeading, FrameRegister, Scene});
    std::vector<uint16_t> pixels;
    EmuPlay(*memory, pattern.idle, 1, &sensor, &pixels);
}

void FrameTest::Clear()
{
    std::vector<uint16_t> pixels;
    for (int pass = 0; pass < 2; ++pass) {
        EmuPlay(*memory, pattern.row, FrameRows, &sensor, &pixels);
        EmuPlay(*memory, pattern.pixel, FrameRegister, &sensor, &pixels);
    }
    EXPECT_TRUE(pixels.empty());
}

std::vector<uint16_t> FrameTest::ReadFull(const FrameWindow& window)
{
    std::vector<uint16_t> pixels;
    Clear();
    EmuExpose(&sensor);
    EmuPlay(*memory, pattern.line, window.height, &sensor, &pixels);
    return pixels;
}

std::vector<uint16_t> FrameTest::ReadWindow(const FrameWindow& window)
{
    std::vector<uint16_t> pixels;
    Clear();
    EmuExpose(&sensor);
    EmuPlay(*memory, pattern.row, window.y * window.vbin, &sensor, &pixels);
    EmuPlay(*memory, pattern.pixel, FrameRegister, &sensor, &pixels);
    EmuPlay(*memory, pattern.line, window.height, &sensor, &pixels);
    return pixels;
}
