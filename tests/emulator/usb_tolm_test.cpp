// TOLM by hand: pairs of register and value.
#include "tests/emulator/usb_told_wire.h"

namespace {

constexpr uint8_t Increment = 64;

class Tolm : public ToldWire {
protected:
    void SetUp() override
    {
        ToldWire::SetUp();
        setup.platform = 400;
        setup.sensor = 3945;
    }

    struct Window {
        uint8_t firstBin, endBin, registerSize, hbin, firstLine, endLine, lines, vbin;
    };

    // The words have no upper bytes here.
    void TellWindow(const Window& window)
    {
        Send({1, window.firstBin, 2, 0, 3, window.endBin, 4, 0, 5, window.registerSize, 6, 0});
        Send({7, static_cast<uint8_t>(window.hbin - 1)});
        Send({8, window.firstLine, 9, 0, 10, window.endLine, 11, 0, 12, window.lines, 13, 0});
        Send({14, static_cast<uint8_t>(window.vbin - 1)});
    }

    void TakeWindow() { Send({15, 1, 15, 0}); }

    Words Frame(uint32_t words)
    {
        Bytes bytes = {15, 2};
        const Bytes request = Request(2 * words, 0x1F);
        bytes.insert(bytes.end(), request.begin(), request.end());
        Send(bytes);
        const Words frame = ReadWords(words);
        Send({15, 8, 15, 8, 15, 0});
        return frame;
    }

    Words FrameOf(const Window& window, uint32_t words)
    {
        TellWindow(window);
        TakeWindow();
        return Frame(words);
    }

    void FrontEnd(uint8_t high, uint8_t low)
    {
        Send({17, 4, 18, high, 17, 12, 17, 4, 18, low, 17, 12, 17, 4, 17, 0});
    }
};

} // namespace

TEST_F(Tolm, VersionIsARegister)
{
    Plug(true);
    EXPECT_EQ(Registers(1, 30), (Bytes{0x2A}));
}

TEST_F(Tolm, RegistersReadBack)
{
    Plug(true);
    Send({1, 0x55, 2, 0xAA});
    EXPECT_EQ(Registers(2, 1 | Increment), (Bytes{0x55, 0xAA}));
    EXPECT_EQ(EmuUsbRegister(camera, 2), 0xAA);
}

TEST_F(Tolm, FrontEndWordsComeInTwoBytes)
{
    Plug(true);
    FrontEnd(0x00, 0xD8);
    EXPECT_EQ(EmuUsbGainWord(camera, 0), 216u);
    FrontEnd(0x20, 0x3F);
    EXPECT_EQ(EmuUsbGainWord(camera, 2), 63u);
    FrontEnd(0x51, 0x00);
    EXPECT_EQ(EmuUsbGainWord(camera, 5), 256u);
}

TEST_F(Tolm, AClearTakesItsTime)
{
    Plug(true);
    Send({17, 0x10});
    Send({15, 68});
    EXPECT_EQ(Registers(1, 25), (Bytes{0}));
    System.clock.Sleep(10);
    EXPECT_EQ(Registers(1, 25), (Bytes{64}));
    Send({17, 0, 15, 0});
    EXPECT_EQ(Registers(1, 25), (Bytes{0}));
}

TEST_F(Tolm, AFrameHasTheWindowOfTheRegisters)
{
    Plug(true);
    EXPECT_EQ(FrameOf({2, 8, 10, 1, 1, 3, 4, 1}, 12),
              (Words{201, 202, 203, 204, 205, 206, 301, 302, 303, 304, 305, 306}));
    EXPECT_EQ(EmuUsbExposures(camera), 1u);
}

TEST_F(Tolm, BinsAreSums)
{
    Plug(true);
    EXPECT_EQ(FrameOf({2, 4, 10, 3, 0, 2, 2, 2}, 4), (Words{912, 930, 2112, 2130}));
}

TEST_F(Tolm, AnotherFirstBinShiftsThePicture)
{
    Plug(true);
    EXPECT_EQ(FrameOf({1, 7, 10, 1, 0, 1, 4, 1}, 6), (Words{0, 101, 102, 103, 104, 105}));
}

TEST_F(Tolm, BehindTheToldRegisterAndLinesThereIsNothing)
{
    Plug(true);
    EXPECT_EQ(FrameOf({2, 6, 4, 1, 0, 2, 1, 1}, 8), (Words{101, 102, 0, 0, 0, 0, 0, 0}));
}

TEST_F(Tolm, AWindowCountsFromItsPulse)
{
    Plug(true);
    EXPECT_EQ(FrameOf({2, 4, 10, 1, 0, 1, 4, 1}, 2), (Words{101, 102}));
    TellWindow({3, 5, 10, 1, 0, 1, 4, 1});
    EXPECT_EQ(Frame(2), (Words{101, 102}));
    TakeWindow();
    EXPECT_EQ(Frame(2), (Words{102, 103}));
}

TEST_F(Tolm, AnEmptyWindowBringsNothing)
{
    Plug(true);
    EXPECT_EQ(FrameOf({4, 2, 10, 1, 0, 1, 4, 1}, 2), Words());
    EXPECT_EQ(FrameOf({2, 4, 10, 1, 1, 1, 4, 1}, 2), Words());
}

TEST_F(Tolm, TheFrameComesAfterTheExposureAtThePixelsPace)
{
    setup.wordNs = 2'000'000;
    Plug(true);
    TellWindow({2, 4, 10, 1, 0, 1, 4, 1});
    TakeWindow();
    Send({20, 0xA0, 21, 0x86, 22, 0x01, 23, 0}); // 100 ms
    Send({15, 2, 0x84, 4, 0x85, 0, 0x86, 0, 0x87, 0, 0x1F});
    const uint64_t started = EmuMicroseconds();
    EXPECT_EQ(ReadWords(2), (Words{101, 102}));
    EXPECT_EQ(EmuMicroseconds(), started + 100'000 + 3'000);
}

TEST_F(Tolm, AFrameIsReadOnce)
{
    Plug(true);
    EXPECT_EQ(FrameOf({2, 4, 10, 1, 0, 1, 4, 1}, 2).size(), 2u);
    EXPECT_EQ(Registers(4, 0x1F), Bytes());
}
