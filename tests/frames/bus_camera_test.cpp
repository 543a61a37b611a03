// The same patterns in a virtual bus camera: loaded word by word, started by its
// registers, streamed. What comes is what the controller plays.
#include "emulator/bus_camera.h"
#include "emulator/world.h"
#include "tests/frames/frames.h"

namespace {

// 28 has registers of its own, and what is on the USB has another bus.
std::vector<FrameCase> CasesOnTheBus()
{
    std::vector<FrameCase> cases;
    for (const FrameCase& c : FrameCases) {
        const bool usb = c.platform == 61 || c.platform == 200 || c.platform == 205;
        if (!usb && c.platform != 28) cases.push_back(c);
    }
    return cases;
}

class BusFrame : public FrameTest {
protected:
    int32_t camera = -1;

    void SetUp() override
    {
        FrameTest::SetUp();
        EmuReset();
    }

    void TearDown() override
    {
        EmuReset();
        FrameTest::TearDown();
    }

    void Register(uint16_t reg, uint32_t value)
    {
        EmuBusAddress(camera, static_cast<uint16_t>(0x8000 + reg));
        EmuBusData(camera, static_cast<uint16_t>(value));
    }

    void Prepare(const EmuSection& section, uint32_t repeat)
    {
        Register(0, 0x20);
        Register(0, 0);
        Register(2, section.start >> 8);
        Register(0, 0x80);
        EmuBusAddress(camera, static_cast<uint16_t>(repeat));
        Register(0, 0);
        EmuBusAddress(camera, section.end);
        Register(0, 0x100);
        Register(0, 0);
    }

    void Run(const EmuSection& section, uint32_t repeat)
    {
        Prepare(section, repeat);
        Register(0, 0x40);
    }

    void PlugAndLoad()
    {
        EmuBusCamera setup{};
        setup.platform = GetParam().platform;
        setup.sensor = GetParam().sensor;
        setup.chip = {FrameColumns, FrameRows, FrameLeading, FrameRegister, sensor.chip.scene};
        setup.lines = sensor.lines;
        EmuReset();
        camera = EmuPlugBusCamera(setup);
        EmuBusAddress(camera, 0xFFF0);
        for (uint32_t i = 0; i < pattern.wordCount; ++i) {
            if (setup.platform == 25) Register(12, i & 0x8000);
            EmuBusAddress(camera, static_cast<uint16_t>(i & 0x7FFF));
            EmuBusData(camera, memory->words[i]);
        }
        Register(12, 0);
    }

    // Whatever pair of registers the camera counts with, in whatever order.
    void Expose()
    {
        const std::pair<uint16_t, uint32_t> words[] = {{4, 99}, {6, 0}, {5, 99}, {6, 0}};
        for (const auto& [reg, value] : words) Register(reg, value);
    }

    std::vector<uint16_t> Frame(uint32_t lines)
    {
        PlugAndLoad();
        Run(pattern.idle, 1);
        for (int32_t pass = 0; pass < 2; ++pass) {
            Run(pattern.row, FrameRows);
            Run(pattern.pixel, FrameRegister);
        }
        Expose();
        Prepare(pattern.line, lines);
        EmuBusAddress(camera, 0xFFE2);
        Register(0, 0x800);
        Register(0, 0x40);
        EmuBusStream(camera);
        EmuSpend(60'000'000);
        std::vector<uint16_t> pixels;
        while (EmuBusPixelWaits(camera)) pixels.push_back(EmuBusTakePixel(camera));
        return pixels;
    }
};

} // namespace

TEST_P(BusFrame, IsWhatTheControllerPlays)
{
    for (const FrameWindow& frame : FullFrames()) {
        SCOPED_TRACE(Text(frame));
        Load(frame);
        ASSERT_LE(pattern.wordCount, 0x8000u);
        const std::vector<uint16_t> pixels = Frame(frame.height);
        EXPECT_EQ(pixels, ReadFull(frame));
        EXPECT_NE(pixels, std::vector<uint16_t>(pixels.size(), 0));
    }
}

INSTANTIATE_TEST_SUITE_P(All, BusFrame, testing::ValuesIn(CasesOnTheBus()), CaseName);
