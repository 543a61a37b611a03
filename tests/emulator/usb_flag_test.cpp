// HERON_Plus and OSPREY: flagged register numbers on a USB pipe.
#include "emulator/usb.h"
#include "tests/emulator/usb_wire.h"

namespace {

class UsbFlag : public VirtualWorld {
protected:
    EmuUsbCamera setup = SmallCamera(61, 47);
    int32_t camera = -1;
    uint64_t handle = 0;
    uint8_t latchRepeat = 17, latchEnd = 18;

    void Plug()
    {
        camera = EmuPlugUsbCamera(setup);
        ASSERT_EQ(System.usb.Open(camera, &handle), 0u);
        System.usb.SetLatencyTimer(handle, 2);
        System.usb.SetTimeouts(handle, 5000, 1000);
    }

    void PlugOsprey()
    {
        setup.platform = 200;
        latchRepeat = 34;
        latchEnd = 35;
        Plug();
    }

    void Send(const Bytes& bytes)
    {
        uint32_t put = 0;
        System.usb.Write(handle, bytes.data(), static_cast<uint32_t>(bytes.size()), &put);
        EXPECT_EQ(put, bytes.size());
    }

    Bytes Receive(uint32_t count)
    {
        Bytes bytes(count);
        uint32_t got = 0;
        System.usb.Read(handle, bytes.data(), count, &got);
        bytes.resize(got);
        return bytes;
    }

    // Pairs with the flag on each register number.
    void Put(const Bytes& pairs)
    {
        Bytes flagged = pairs;
        for (size_t i = 0; i < flagged.size(); i += 2) flagged[i] |= 0x80;
        Send(flagged);
    }

    uint8_t Get(uint8_t number)
    {
        Send({0x80, number, 0x40});
        const Bytes answer = Receive(1);
        return answer.empty() ? 0xEE : answer[0];
    }

    Pixels Read(uint32_t pixels) { return Joined(Receive(2 * pixels)); }

    // Words in the order in which they are played: stored last word first.
    void LoadLine(uint8_t page)
    {
        const Bytes& words = LineWords();
        Put({16, 7});
        for (size_t i = 0; i < words.size(); ++i) {
            const auto low = static_cast<uint8_t>(words.size() - 1 - i);
            Put({12, low, 13, page, 19, words[i]});
            if (setup.platform == 200) Put({20, 0});
        }
        Put({16, 12});
    }

    void Prepare(uint8_t page, uint16_t repeat, uint16_t end)
    {
        Put({16, 0x8C, 14, page, 12, static_cast<uint8_t>(repeat), 13,
             static_cast<uint8_t>(repeat >> 8), latchRepeat, 0});
        Put({12, static_cast<uint8_t>(end), 13, static_cast<uint8_t>(end >> 8), latchEnd, 0});
    }

    // Settling of 100, exposure of 200, each 10 microseconds: 3 milliseconds.
    void Expose(bool light)
    {
        Put({6, static_cast<uint8_t>(light ? 4 : 0)});
        Put({23, 100, 24, 0, 25, 0, 26, 0, 2, 200, 3, 0, 4, 0, 5, 0});
    }
};

TEST_F(UsbFlag, ThreeBytesAskForAStatus)
{
    Plug();
    EXPECT_EQ(Get(15), 47);
    EXPECT_EQ(EmuUsbStrayBytes(camera), 0u);
}

TEST_F(UsbFlag, RegistersReadBack)
{
    Plug();
    Put({11, 0x5A, 21, 0xC8});
    EXPECT_EQ(Get(11), 0x5A);
    EXPECT_EQ(Get(21), 0xC8);
    EXPECT_EQ(EmuUsbRegister(camera, 21), 0xC8);
}

TEST_F(UsbFlag, AValueMayComeInALaterWrite)
{
    Plug();
    Send({0x9D});
    Send({0xFF});
    EXPECT_EQ(EmuUsbRegister(camera, 29), 0xFF);
}

TEST_F(UsbFlag, BytesWithoutAFlagAreStray)
{
    Plug();
    Send({0x11, 0x22, 0x9D, 0x33, 0x44});
    EXPECT_EQ(EmuUsbStrayBytes(camera), 3u);
    EXPECT_EQ(EmuUsbRegister(camera, 29), 0x33);
}

TEST_F(UsbFlag, FirstReadingsOfTheVersionMayBeWrong)
{
    setup.badStatus = 2;
    Plug();
    EXPECT_NE(Get(15), 47);
    System.usb.ResetDevice(handle);
    EXPECT_NE(Get(15), 47);
    System.usb.ResetDevice(handle);
    EXPECT_EQ(Get(15), 47);
}

TEST_F(UsbFlag, MemoryHoldsBytes)
{
    Plug();
    Send({144, 7, 140, 0x34, 141, 0x12, 147, 0xA5});
    Send({144, 13, 140, 0x34, 141, 0x12});
    EXPECT_EQ(Get(13), 0xA5);
    Send({0x80, 12});
    Put({16, 12});
    EXPECT_EQ(Get(13), 0x12) << "the register itself again";
}

TEST_F(UsbFlag, OspreysMemoryHoldsWords)
{
    PlugOsprey();
    Put({16, 7, 12, 0x34, 13, 0x12, 19, 0xA5, 20, 0x5C});
    Put({16, 13, 12, 0x34, 13, 0x12});
    EXPECT_EQ(Get(13), 0xA5);
    EXPECT_EQ(Get(14), 0x5C);
}

TEST_F(UsbFlag, MemoryIsShutBesidesItsMode)
{
    Plug();
    Put({16, 12, 12, 0x34, 13, 0x12, 19, 0xA5});
    uint8_t byte = 0xEE;
    ASSERT_EQ(EmuUsbPatternBytes(camera, 0x1234, 1, &byte), 1u);
    EXPECT_EQ(byte, 0);
}

TEST_F(UsbFlag, VariantIsABitOfOspreysStatus)
{
    PlugOsprey();
    EXPECT_EQ(Get(10) & 2, 0);
    setup.variant = true;
    Plug();
    EXPECT_EQ(Get(10) & 2, 2);
}

TEST_F(UsbFlag, ArmedSectionSendsRowsWhenTheCounterEnds)
{
    for (const int32_t platform : {61, 200}) {
        platform == 61 ? Plug() : PlugOsprey();
        LoadLine(2);
        Prepare(2, 2, 13);
        Put({16, 0x4C});
        const uint64_t before = EmuMicroseconds();
        Expose(true);
        EXPECT_EQ(Read(8), BothRows) << platform;
        EXPECT_GE(EmuMicroseconds() - before, 3000u);
        EXPECT_EQ(EmuUsbExposures(camera), 1u);
    }
}

TEST_F(UsbFlag, NothingComesWithoutTheCounter)
{
    Plug();
    LoadLine(2);
    Prepare(2, 2, 13);
    Put({16, 0x4C});
    EXPECT_EQ(Read(1), Pixels());
}

TEST_F(UsbFlag, ShutShutterGivesADarkFrame)
{
    Plug();
    LoadLine(2);
    Prepare(2, 1, 13);
    Put({16, 0x4C});
    Expose(false);
    EXPECT_EQ(Read(4), Pixels({0, 0, 0, 0}));
    EXPECT_EQ(EmuUsbExposures(camera), 0u);
}

TEST_F(UsbFlag, SectionByHandIsPlayedUnseen)
{
    Plug();
    LoadLine(2);
    Expose(true);
    Prepare(2, 1, 13);
    Put({16, 0xBC, 16, 0x8C}); // clocks the first row out
    EXPECT_EQ(EmuUsbWaiting(camera), 0u);
    Prepare(2, 1, 13);
    Put({16, 0xBC, 16, 0xCC});
    EXPECT_EQ(Read(4), SecondRow);
}

TEST_F(UsbFlag, PixelsComeAtThePaceOfThePattern)
{
    setup.wordNs = 100000; // a line takes 14 x 0.1 ms
    Plug();
    LoadLine(2);
    Expose(true);
    Prepare(2, 2, 13);
    Put({16, 0xBC, 16, 0xCC});
    const uint64_t before = EmuMicroseconds();
    EXPECT_EQ(Read(8), BothRows);
    // The last of 16 bytes is there behind 15 sixteenths of 2.8 ms, and the latency of
    // the second line's packet.
    EXPECT_GE(EmuMicroseconds() - before, 2625u);
    EXPECT_LE(EmuMicroseconds() - before, 4000u);
}

TEST_F(UsbFlag, ReadingBetweenLeavesTheArmedSectionAlone)
{
    Plug();
    LoadLine(2);
    Prepare(2, 2, 13);
    Put({16, 0x4C});
    Expose(true);
    Put({16, 12});
    EXPECT_EQ(Get(15), 47);
    Send({0x80, 12});
    Put({16, 0x4C});
    EXPECT_EQ(Read(8), BothRows);
}

TEST_F(UsbFlag, SectionThatIsLeftStaysUnplayed)
{
    Plug();
    LoadLine(2);
    Prepare(2, 2, 13);
    Put({16, 0x4C});
    Expose(true);
    Put({16, 12});
    EXPECT_EQ(Read(1), Pixels());
}

TEST_F(UsbFlag, CommandDropsWhatIsOnItsWay)
{
    Plug();
    LoadLine(2);
    Expose(true);
    Prepare(2, 2, 13);
    Put({16, 0xBC, 16, 0xCC});
    EXPECT_EQ(EmuUsbWaiting(camera), 16u);
    Send({0x80, 12});
    EXPECT_EQ(EmuUsbWaiting(camera), 0u);
}

TEST_F(UsbFlag, CounterThatIsStartedAnewBeginsAnew)
{
    Plug();
    LoadLine(2);
    Prepare(2, 2, 13);
    Put({16, 0x4C});
    Expose(true);
    System.clock.Sleep(2);
    const uint64_t before = EmuMicroseconds();
    Expose(true);
    EXPECT_EQ(Read(8), BothRows);
    EXPECT_GE(EmuMicroseconds() - before, 3000u);
}

TEST_F(UsbFlag, CounterWaitsForTheTrigger)
{
    Plug();
    LoadLine(2);
    Prepare(2, 2, 13);
    Put({16, 0x4C, 6, 1});
    Put({6, 5, 23, 0, 24, 0, 25, 0, 26, 0, 2, 100, 3, 0, 4, 0, 5, 0});
    EXPECT_EQ(EmuUsbExposures(camera), 0u);
    const auto pull = [](int32_t index) { EmuUsbTrigger(index, true); };
    const uint64_t at = EmuMicroseconds() + 40000;
    EmuSchedule(at, pull, camera);
    EXPECT_EQ(Read(8), BothRows);
    EXPECT_GE(EmuMicroseconds(), at + 1000);
    EXPECT_EQ(EmuUsbExposures(camera), 1u);
}

TEST_F(UsbFlag, TriggerThatIsNotAwaitedDoesNothing)
{
    Plug();
    Put({6, 5, 2, 100, 3, 0, 4, 0, 5, 0});
    Put({6, 4});
    EmuUsbTrigger(camera, true);
    EXPECT_EQ(EmuUsbExposures(camera), 0u);
}

TEST_F(UsbFlag, ThermometerIsConvertedByTwoPulses)
{
    Plug();
    Put({7, 0x10, 1, 4, 1, 0, 1, 1, 1, 0});
    // 293.15 K x 7.87 mV / 0.6103515625 mV = 3779.94
    EXPECT_EQ(Get(1) | Get(2) << 8, 3780);
    PlugOsprey();
    Put({7, 0x10, 1, 4, 1, 0, 1, 1, 1, 0});
    // 293.15 x 7.85 / 0.6103515625 = 3770.33
    EXPECT_EQ(Get(1) | Get(2) << 8, 3770);
}

TEST_F(UsbFlag, ThermometerKeepsItsReading)
{
    Plug();
    Put({7, 0x10, 1, 4, 1, 0, 1, 1, 1, 0});
    EmuUsbSetTemperature(camera, -30);
    Put({1, 1, 1, 0}); // nothing was sampled
    EXPECT_EQ(Get(1) | Get(2) << 8, 3780);
}

// A selector and twelve bits of a converter, most significant first.
Bytes ConverterWord(bool fan, uint16_t value)
{
    Bytes pairs = {7, 0x10};
    const uint16_t bits = static_cast<uint16_t>((fan ? 0x1000 : 0) | value);
    for (int32_t i = 12; i >= 0; --i) {
        const auto data = static_cast<uint8_t>(bits >> i & 1);
        pairs.insert(pairs.end(), {28, data, 28, static_cast<uint8_t>(data | 2), 28, data});
    }
    pairs.insert(pairs.end(), {1, 8, 1, 0, 28, 0, 7, 0});
    return pairs;
}

TEST_F(UsbFlag, ConverterHasCoolerAndFan)
{
    Plug();
    Put({6, 0x80});
    Put(ConverterWord(false, 0xA53));
    Put(ConverterWord(true, 0xFFF));
    EXPECT_EQ(EmuUsbCoolerPower(camera), 0xA53);
    EXPECT_TRUE(EmuUsbCoolerOn(camera));
    EXPECT_EQ(EmuUsbFan(camera), 0xFFF);
    Put({6, 0});
    EXPECT_FALSE(EmuUsbCoolerOn(camera));
    EXPECT_EQ(EmuUsbCoolerPower(camera), 0xA53);
}

TEST_F(UsbFlag, ConverterTakesThirteenBits)
{
    Plug();
    Bytes pairs = ConverterWord(false, 0xA53);
    pairs.erase(pairs.begin() + 2, pairs.begin() + 8);
    Put(pairs);
    EXPECT_EQ(EmuUsbCoolerPower(camera), 0);
}

TEST_F(UsbFlag, CoolerCoolsToSixtyDegreesBelow)
{
    Plug();
    Put({6, 0x80});
    Put(ConverterWord(false, 0xFFF));
    System.clock.Sleep(3600 * 1000);
    EXPECT_NEAR(EmuUsbTemperature(camera), -40.0, 0.001);
}

// Three bits of the address, three of nothing, nine of the value.
Bytes FrontEndWord(uint16_t bits, int32_t count)
{
    Bytes pairs;
    for (int32_t i = count - 1; i >= 0; --i) {
        const auto data = static_cast<uint8_t>(4 | (bits >> i & 1));
        pairs.insert(pairs.end(), {28, data, 28, static_cast<uint8_t>(data | 2), 28, data});
    }
    pairs.insert(pairs.end(), {28, 0x20});
    return pairs;
}

TEST_F(UsbFlag, FrontEndHasWordsOfNineBits)
{
    Plug();
    Put(FrontEndWord(5 << 12 | 256, 15));
    Put(FrontEndWord(1 << 12 | 64, 15));
    EXPECT_EQ(EmuUsbGainWord(camera, 5), 256u);
    EXPECT_EQ(EmuUsbGainWord(camera, 1), 64u);
    Put(FrontEndWord(1 << 11 | 63, 14));
    EXPECT_EQ(EmuUsbGainWord(camera, 1), 64u) << "a bit is missing";
}

TEST_F(UsbFlag, MuteCameraStopsInTheFrame)
{
    Plug();
    LoadLine(2);
    Prepare(2, 2, 13);
    Put({16, 0x4C});
    Expose(true);
    EmuUsbMute(camera, 11);
    EXPECT_EQ(Receive(16).size(), 11u);
}

TEST_F(UsbFlag, SectionRunsAroundTheEndOfTheMemory)
{
    Plug();
    LoadLine(0);
    Expose(true);
    Prepare(0xFF, 1, 0xFFFF); // the other words are 0
    Put({16, 0xBC, 16, 0xCC});
    EXPECT_EQ(Read(4), FirstRow);
    EXPECT_EQ(EmuUsbWaiting(camera), 0u);
}

} // namespace
