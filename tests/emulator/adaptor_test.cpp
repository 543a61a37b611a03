// The adaptor's library, and OSPREY_Plus behind it: pairs of bytes.
#include "emulator/traffic.h"
#include "tests/emulator/adaptor_wire.h"

namespace {

class Adaptor : public AdaptorWire {
protected:
    void SetUp() override
    {
        AdaptorWire::SetUp();
        setup = SmallCamera(205, 61);
    }

    uint8_t Status(uint8_t number) const
    {
        Out<uint8_t>({0, static_cast<uint8_t>(number | 0x80)});
        return In<uint8_t>(1)[0];
    }

    Pixels Read(uint32_t pixels) const { return Joined(In<uint8_t>(2 * pixels)); }

    // Words in the order in which they are played: stored last word first.
    void LoadLine(uint8_t page) const
    {
        const Bytes& words = LineWords();
        Out<uint8_t>({16, 7});
        for (size_t i = 0; i < words.size(); ++i) {
            const auto low = static_cast<uint8_t>(words.size() - 1 - i);
            Out<uint8_t>({12, low, 13, page, 19, words[i], 20, 0, 33, 0});
        }
        Out<uint8_t>({16, 12});
    }

    void Prepare(uint8_t page, uint8_t repeat, uint8_t end) const
    {
        Out<uint8_t>({16, 140, 14, page, 12, repeat, 13, 0, 34, 0});
        Out<uint8_t>({12, end, 13, 0, 35, 0});
    }

    // Settling of 100, exposure of 200, each 10 microseconds.
    void Expose() const
    {
        Out<uint8_t>({6, 4, 23, 100, 24, 0, 25, 0, 26, 0, 2, 200, 3, 0, 4, 0, 5, 0});
    }
};

TEST_F(Adaptor, LibraryHasTwoNames)
{
    EXPECT_NE(System.library.Load("./qvn/kzbusb.so"), nullptr);
    EXPECT_NE(System.library.Load("./qvn/kzbusb.dll"), nullptr);
    EXPECT_EQ(System.library.Load("kzbusb.so"), nullptr);
    EXPECT_NE(System.library.Load("io"), nullptr) << "others are there as before";
}

TEST_F(Adaptor, LibraryMayBeMissing)
{
    EmuHaveAdaptorLibrary(false);
    EXPECT_EQ(System.library.Load("./qvn/kzbusb.so"), nullptr);
    EmuHaveAdaptorLibrary(true);
    EmuFail(EmuLibraryLoad, 1, false);
    EXPECT_EQ(System.library.Load("./qvn/kzbusb.so"), nullptr);
    EXPECT_NE(System.library.Load("./qvn/kzbusb.so"), nullptr);
}

TEST_F(Adaptor, AnEntryMayBeMissing)
{
    Load();
    EXPECT_NE(Entry("UsbInit"), nullptr);
    EXPECT_NE(Entry("UsbSpiTransfer"), nullptr);
    EXPECT_EQ(Entry("UsbNothing"), nullptr);
    EmuHideAdaptorEntry("UsbInit");
    EXPECT_EQ(Entry("UsbInit"), nullptr);
    EXPECT_NE(Entry("UsbOpen"), nullptr);
}

TEST_F(Adaptor, EntriesWithoutAUseReturnNothing)
{
    Load();
    EXPECT_EQ(Call("UsbGetVersion"), 0u);
}

TEST_F(Adaptor, DeviceIsTheCamera)
{
    Load();
    device = 0;
    EXPECT_EQ(Call("UsbInit"), 0u) << "nothing is there";
    camera = EmuPlugUsbCamera(setup);
    EXPECT_EQ(Call("UsbInit"), 1u);
    device = 4'000'000'000;
    EXPECT_EQ(Call("UsbInit"), 0u);
    EXPECT_EQ(Call("UsbClose"), 0u);
}

TEST_F(Adaptor, NothingGoesThroughBeforeItIsOpenAndSetUp)
{
    Load();
    camera = EmuPlugUsbCamera(setup);
    EXPECT_EQ(Call("UsbOpen"), 0u) << "not initialized";
    EXPECT_EQ(Call("UsbInit"), 1u);
    EXPECT_EQ(Call("UsbParInit", 8), 0u) << "not open";
    EXPECT_EQ(Call("UsbOpen"), 1u);
    EXPECT_EQ(Out<uint8_t>({21, 88}), 0u) << "no mode";
    EXPECT_EQ(Call("UsbParInit", 9), 1u);
    EXPECT_EQ(Out<uint8_t>({21, 88}), 0u) << "the other camera's mode";
    EXPECT_EQ(Call("UsbParInit", 8), 1u);
    EXPECT_EQ(Out<uint8_t>({21, 88}), 1u);
    EXPECT_EQ(EmuUsbRegister(camera, 21), 88);
    EXPECT_EQ(EmuAdaptorOpen(), 1u);
    EXPECT_EQ(Call("UsbClose"), 1u);
    EXPECT_EQ(EmuAdaptorOpen(), 0u);
    EXPECT_EQ(Out<uint8_t>({21, 89}), 0u);
}

TEST_F(Adaptor, MemoryChipHasAnAddress)
{
    setup.memory[3] = 0x1234;
    Plug(8);
    uint8_t byte = 0xEE;
    EXPECT_EQ(ReadChip(6, &byte), 0u) << "whose byte?";
    EXPECT_EQ(Call("UsbEEpSetAddr", 81), 1u);
    EXPECT_EQ(ReadChip(6, &byte), 1u);
    EXPECT_EQ(byte, 0x34);
    EXPECT_EQ(ReadChip(7, &byte), 1u);
    EXPECT_EQ(byte, 0x12);
    EXPECT_EQ(WriteChip(7, 0xAB), 1u);
    EXPECT_EQ(EmuUsbMemoryWord(camera, 3), 0xAB34);
}

TEST_F(Adaptor, MemoryChipEnds)
{
    Plug(8);
    Call("UsbEEpSetAddr", 81);
    uint8_t byte = 0;
    EXPECT_EQ(ReadChip(128, &byte), 1u);
    EXPECT_EQ(byte, 0xFF);
    EXPECT_EQ(ReadChip(0xFFFFFFFF, &byte), 1u);
    EXPECT_EQ(byte, 0xFF);
    EXPECT_EQ(WriteChip(128, 1), 0u);
}

TEST_F(Adaptor, ReadingEndsWithTheTimeOut)
{
    Plug(8);
    Call("UsbSetTimeout", 250);
    Out<uint8_t>({0, 0xBF});
    const uint64_t before = EmuMicroseconds();
    EXPECT_EQ(In<uint8_t>(3), Bytes({61, 0xEE, 0xEE}));
    EXPECT_NEAR(static_cast<double>(EmuMicroseconds() - before), 250e3, 1e3);
}

TEST_F(Adaptor, ReadingEndsWhenTheCameraIsPulledOut)
{
    Plug(8);
    EmuSchedule(EmuMicroseconds() + 5000, EmuUnplugUsbCamera, camera);
    const uint64_t before = EmuMicroseconds();
    EXPECT_EQ(In<uint8_t>(1), Bytes({0xEE}));
    EXPECT_NEAR(static_cast<double>(EmuMicroseconds() - before), 5e3, 1e3);
    EXPECT_EQ(Out<uint8_t>({21, 88}), 0u);
    EXPECT_EQ(Call("UsbClose"), 1u);
    EXPECT_EQ(EmuAdaptorOpen(), 0u);
}

TEST_F(Adaptor, CameraThatIsPluggedInAgainHasToBeOpened)
{
    Plug(8);
    EmuUnplugUsbCamera(camera);
    EmuReplugUsbCamera(camera);
    EXPECT_EQ(Out<uint8_t>({21, 88}), 0u);
    EXPECT_EQ(Call("UsbClose"), 1u);
    EXPECT_EQ(Call("UsbInit"), 1u);
    EXPECT_EQ(Call("UsbOpen"), 1u);
    EXPECT_EQ(Call("UsbParInit", 8), 1u);
    EXPECT_EQ(Out<uint8_t>({21, 88}), 1u);
}

TEST_F(Adaptor, FaultTakesACallAway)
{
    Plug(8);
    EmuFail(EmuAdaptorCall, 1, false);
    EXPECT_EQ(Out<uint8_t>({21, 88}), 0u);
    EXPECT_EQ(EmuUsbRegister(camera, 21), 0);
    EXPECT_EQ(Out<uint8_t>({21, 88}), 1u);
    EmuFail(EmuAnyCall, 1, false);
    EXPECT_EQ(Call("UsbEEpSetAddr", 81), 0u);
    EmuFail(EmuAdaptorCall, 1, false);
    EXPECT_EQ(Call("UsbClose"), 0u);
    EXPECT_EQ(EmuAdaptorOpen(), 0u) << "closed all the same";
}

TEST_F(Adaptor, CallsAreRecorded)
{
    EmuRecord(true);
    Plug(8);
    Call("UsbEEpSetAddr", 81);
    uint8_t byte = 0;
    ReadChip(2, &byte);
    WriteChip(2, 0x0A);
    Out<uint8_t>({0, 0xBF});
    In<uint8_t>(1);
    Bytes many(33, 7);
    Out(many);
    Call("UsbClose");
    Call("UsbClose");
    System.library.Free(library);
    std::string line;
    for (int32_t i = 0; i < 32; ++i) line += " 07";
    EXPECT_EQ(EmuTraffic(), "adaptor load\nadaptor init\nadaptor open\nadaptor mode 8\n"
                            "adaptor timeout 65535\nadaptor eeprom at 81\nadaptor eeprom 2 ?\n"
                            "adaptor eeprom 2 = 0A\nadaptor > 00 BF\nadaptor < 1\nadaptor >" +
                                line +
                                "\nadaptor + 07\nadaptor close\nadaptor close fails\n"
                                "adaptor free\n");
}

TEST_F(Adaptor, OspreyPlusHasItsVersionInStatus63)
{
    Plug(8);
    EXPECT_EQ(Status(63), 61);
}

TEST_F(Adaptor, StatusStandsOnThePortOnce)
{
    Plug(8);
    Out<uint8_t>({0, 0xBF});
    Out<uint8_t>({21, 88, 0, 0x80 | 21});
    EXPECT_EQ(In<uint8_t>(1)[0], 88) << "the one selected last";
}

TEST_F(Adaptor, RegisterNumbersAbove127AreStray)
{
    Plug(8);
    Out<uint8_t>({0x90, 1});
    EXPECT_EQ(EmuUsbStrayBytes(camera), 1u);
}

TEST_F(Adaptor, OspreyPlusHasAMemoryOfWords)
{
    Plug(8);
    Out<uint8_t>({16, 7, 12, 0x34, 13, 0x12, 19, 0xA5, 20, 0x5C, 33, 0, 16, 12});
    Out<uint8_t>({16, 13, 12, 0x34, 13, 0x12});
    EXPECT_EQ(Status(13), 0xA5);
    EXPECT_EQ(Status(14), 0x5C);
    uint8_t bytes[2] = {};
    EXPECT_EQ(EmuUsbPatternBytes(camera, 2 * 0x1234, 2, bytes), 2u);
    EXPECT_EQ(bytes[1], 0x5C);
}

TEST_F(Adaptor, OspreyPlusSendsAFrameBehindItsExposure)
{
    Plug(8);
    LoadLine(3);
    Out<uint8_t>({0, 38});
    Prepare(3, 2, 13);
    Out<uint8_t>({16, 76});
    const uint64_t before = EmuMicroseconds();
    Expose();
    EXPECT_EQ(Read(8), BothRows);
    EXPECT_GE(EmuMicroseconds() - before, 3000u);
}

TEST_F(Adaptor, OspreyPlusLeavesAStreamByCommand38)
{
    Plug(8);
    LoadLine(3);
    Expose();
    Prepare(3, 2, 13);
    Out<uint8_t>({16, 188, 16, 204});
    Out<uint8_t>({0, 38});
    Call("UsbSetTimeout", 100);
    EXPECT_EQ(In<uint8_t>(1), Bytes({0xEE}));
}

TEST_F(Adaptor, OspreyPlusConvertsEightChannels)
{
    Plug(8);
    Out<uint8_t>({27, 3 * 4, 1, 4, 1, 0, 1, 1, 1, 0});
    EXPECT_EQ(Status(36) | Status(37) << 8, 1536); // three eighths of 4096
}

TEST_F(Adaptor, OspreyPlusShowsAnUncorrectedTemperature)
{
    setup.memory[0] = 5; // 0.5 degrees are to be added
    setup.memory[1] = 10;
    Plug(8);
    Out<uint8_t>({7, 0x10, 1, 4, 1, 0, 1, 1, 1, 0});
    // 292.65 K x 7.85 mV / 0.6103515625 mV = 3763.90
    EXPECT_EQ(Status(1) | Status(2) << 8, 3764);
}

} // namespace
