// The card in front of a bus camera: a frame by DMA, at the pace of its pattern.
#include "emulator/bus_camera.h"
#include "tests/emulator/bus_wire.h"
#include "tests/emulator/card_wire.h"

namespace {

// The camera is the real one; cycles run through the card's registers.
class CardFrame : public CardWire {
protected:
    int32_t camera = -1;
    Record lock;

    void SetUp() override
    {
        VirtualWorld::SetUp();
        EmuBusCamera setup{};
        setup.platform = 42;
        setup.sensor = 255;
        setup.version = 0x2A;
        setup.chip = {3, 2, 1, 4, SmallScene};
        setup.lines = {Row, Shift, Gate, Strobe, 0, 0};
        setup.wordNs = 1000;
        camera = EmuPlugBusCamera(setup);
        EmuPlugCard({}, camera);
        Open();
        Control(1);
        Control(0x1504);
        Address(0xFFF0);
        lock = Lock(64, 1, nullptr);
    }

    void Send(uint16_t address, uint16_t word) const
    {
        Address(address);
        Data(word);
        Control(Control() & ~6u);
    }

    void Register(uint16_t reg, uint16_t value) const
    {
        Send(static_cast<uint16_t>(0x8000 + reg), value);
    }

    // One row and four cells in 14 words, the last word stored first; two times.
    void StartLines() const
    {
        const uint16_t line[] = {0,      Row,  Gate,  Shift,  Strobe, Gate,  Shift,
                                 Strobe, Gate, Shift, Strobe, Gate,   Shift, Strobe};
        for (uint16_t i = 0; i < 14; ++i) Send(13 - i, line[i]);
        Register(6, 0);
        Register(5, 99); // light
        Register(2, 0);
        Register(0, 0x80);
        Address(2);
        Register(0, 0);
        Address(13);
        Register(0, 0x100);
        Register(0, 0);
        Address(0xFFE2);
        Register(0, 0x800);
        Register(0, 0x40);
    }

    std::vector<uint16_t> Pixels(size_t count) const
    {
        std::vector<uint16_t> pixels(count);
        memcpy(pixels.data(), Memory(lock), 2 * count);
        return pixels;
    }
};

} // namespace

TEST_F(CardFrame, ItsStatusIsReadThroughTheCard)
{
    Address(0xFFEF);
    Control((Control() & ~4u) | 2);
    EXPECT_EQ(Data(), 0x2Au);
}

// Four pixels a line: the empty cell first, then the three columns.
TEST_F(CardFrame, ComesIntoTheLockedBuffer)
{
    StartLines();
    StartDma(Word(lock, 36), 4);
    ResetLink();
    System.clock.Sleep(1);
    EXPECT_EQ(Count(), 0u);
    EXPECT_EQ(Pixels(8), (std::vector<uint16_t>{0, 101, 102, 103, 0, 201, 202, 203}));
}

// A word of the pattern takes a microsecond: from the first strobe of the first line to
// the last of the second there are 23.
TEST_F(CardFrame, TakesTheTimeOfItsPattern)
{
    StartLines();
    StartDma(Word(lock, 36), 4);
    ResetLink();
    const uint64_t begin = EmuMicroseconds();
    while (Count() != 0) ASSERT_LT(EmuMicroseconds(), begin + 100);
    EXPECT_NEAR(static_cast<double>(EmuMicroseconds() - begin), 23.0, 3.0);
}

TEST_F(CardFrame, AMutedCameraLeavesTheRestInTheCount)
{
    EmuBusMute(camera, 4);
    StartLines();
    StartDma(Word(lock, 36), 4);
    ResetLink();
    System.clock.Sleep(1000);
    EXPECT_EQ(Count(), 2u);
    EXPECT_EQ(Pixels(4), (std::vector<uint16_t>{0, 101, 102, 103}));
}
