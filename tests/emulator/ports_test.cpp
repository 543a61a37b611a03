// The printer port, the port card, io.dll and the system's permission.
#include "tests/emulator/scripted_far_end.h"

namespace {

class Ports : public ScriptedFarEnd {
protected:
    static void Out(uint16_t port, uint8_t value) { System.port.Out8(port, value); }
    static uint8_t In(uint16_t port) { return System.port.In8(port); }
};

class PrinterPort : public Ports {
protected:
    uint8_t control = 0;

    void SetUp() override
    {
        Ports::SetUp();
        EmuPlugPrinterPort(0x378, 0);
        System.port.Acquire(0x378, 3);
        SetControl((In(0x37A) & 0xD6) | 5);
    }

    void SetControl(int value)
    {
        control = static_cast<uint8_t>(value);
        Out(0x37A, control);
    }

    void Address(uint16_t word)
    {
        SetControl(control | 7);
        Out(0x378, static_cast<uint8_t>(word));
        SetControl(control & ~2);
        Out(0x378, static_cast<uint8_t>(word >> 8));
    }
};

class PortCard : public Ports {
protected:
    void Start(bool serial, int modeB)
    {
        EmuPlugPortCard(0x300, serial, 0);
        System.port.Acquire(0x300, 8);
        Out(0x304, 11);
        Out(0x306, static_cast<uint8_t>(modeB));
        Out(0x307, 2);
    }

    static void OutWord(uint16_t word) { System.port.Out16(0x300, word); }
    static uint16_t InWord() { return System.port.In16(0x300); }

    static void Address(uint16_t word)
    {
        Out(0x305, static_cast<uint8_t>((In(0x305) & 0xBF) | 0x80));
        OutWord(word);
    }

    static void Turn() { Out(0x305, static_cast<uint8_t>((In(0x305) & 0x7F) | 0x40)); }
};

} // namespace

TEST_F(PrinterPort, SendsAnAddressInTwoBytes)
{
    Address(0x800B);
    EXPECT_EQ(Cycles(), "a800B ");
}

TEST_F(PrinterPort, SendsDataWithTheAddressLineDown)
{
    SetControl((control & ~4) | 2);
    Out(0x378, 0x34);
    EXPECT_EQ(Cycles(), "") << "half a word";
    SetControl(control & ~2);
    Out(0x378, 0x12);
    SetControl(control | 4);
    EXPECT_EQ(Cycles(), "d1234 ");
}

TEST_F(PrinterPort, ReadsAWordWhenItIsTurnedRound)
{
    Address(0xFFE1);
    Address(0x8007);
    SetControl((control & 0xFA) | 0x20 | 2);
    EXPECT_EQ(Cycles(), "aFFE1 a8007 r1234 ");
    EXPECT_EQ(In(0x378), 0x34);
    SetControl(control & ~2);
    EXPECT_EQ(In(0x378), 0x12);
    SetControl((control & 0xDF) | 5);
    EXPECT_EQ(In(0x378), 0xFF) << "turned back";
    EXPECT_EQ(Cycles(), "");
}

TEST_F(PrinterPort, StreamsPixelsHighByteFirstOrLowByteFirst)
{
    Address(0xFFE2);
    Address(0x8000);
    SetControl((control & 0xFA) | 0x20);
    EXPECT_EQ(Streams, 1u);
    In(0x378); // an old word
    In(0x378);
    EXPECT_EQ(In(0x379) & 0x40, 0x40) << "no pixel";
    Pixels = 3;
    EXPECT_EQ(In(0x379) & 0x40, 0);
    EXPECT_EQ(In(0x378), 0x03);
    SetControl(control | 2);
    EXPECT_EQ(In(0x378), 0xE8) << "1000";
    EXPECT_EQ(In(0x378), 0xE9) << "1001";
    SetControl(control & ~2);
    EXPECT_EQ(In(0x378), 0x03);
    In(0x378);
    In(0x378);
    EXPECT_EQ(In(0x379) & 0x40, 0x40) << "three taken";
}

TEST_F(PrinterPort, OtherPrefixesEndTheStream)
{
    Address(0xFFE2);
    Address(0xFFEF);
    SetControl((control & 0xFA) | 0x20);
    EXPECT_EQ(Streams, 0u);
    EXPECT_EQ(Cycles(), "aFFE2 aFFEF r1234 ");
}

TEST_F(PrinterPort, HasNoWordsAndNoNeighbours)
{
    EmuRecord(true);
    System.port.Out16(0x378, 1);
    EXPECT_EQ(In(0x37B), 0xFF);
    EXPECT_EQ(EmuTraffic(), "port w> 0378 0001\n"
                            "stray port > 0378\n"
                            "port < 037B FF\n"
                            "stray port < 037B, not granted\n");
}

TEST_F(PortCard, ShowsThatItIsThere)
{
    EmuPlugPortCard(0x300, false, 0);
    System.port.Acquire(0x300, 8);
    EXPECT_EQ(In(0x307) & 0x60, 0x40);
}

TEST_F(PortCard, PassesNothingOnBeforeItsModesAreSet)
{
    EmuPlugPortCard(0x300, false, 0);
    System.port.Acquire(0x300, 8);
    Address(0xFFF0);
    EXPECT_EQ(Cycles(), "");
    Out(0x304, 11);
    Out(0x306, 9);
    Out(0x307, 2);
    Address(0xFFF0);
    EXPECT_EQ(Cycles(), "aFFF0 ");
}

TEST_F(PortCard, SerialLinksHaveAModeOfTheirOwn)
{
    Start(true, 9);
    Address(0xFFF0);
    EXPECT_EQ(Cycles(), "");
    Out(0x306, 128);
    Address(0xFFF0);
    EXPECT_EQ(Cycles(), "aFFF0 ");
}

TEST_F(PortCard, SendsWordsByTheLinkControl)
{
    Start(false, 9);
    EXPECT_EQ(In(0x307) & 4, 4) << "ready";
    Address(0x800B);
    Out(0x305, In(0x305) & 0x7F);
    OutWord(0x1234);
    EXPECT_EQ(Cycles(), "a800B d1234 ");
}

TEST_F(PortCard, ReadsAWord)
{
    Start(false, 9);
    Address(0xFFEF);
    Turn();
    EXPECT_EQ(InWord(), 0x1234);
    EXPECT_EQ(Cycles(), "aFFEF r1234 ");
}

TEST_F(PortCard, TheFirstWordAfterTurningEmptiesTheBuffer)
{
    Start(false, 9);
    Address(0xFFE2);
    Address(0x8000);
    Turn();
    Pixels = 2;
    EXPECT_EQ(In(0x307) & 0x10, 0x10);
    InWord();
    EXPECT_EQ(Streams, 1u);
    InWord(); // an old word
    EXPECT_EQ(In(0x307) & 0x10, 0) << "a pixel";
    EXPECT_EQ(InWord(), 1000);
    EXPECT_EQ(InWord(), 1001);
    EXPECT_EQ(In(0x307) & 0x10, 0x10);
}

TEST_F(PortCard, ASerialReadIsAskedForByAZeroWord)
{
    Start(true, 128);
    EXPECT_EQ(In(0x307) & 2, 2) << "ready";
    Address(0xFFEF);
    Turn();
    EXPECT_EQ(InWord(), 0xFFFF);
    EXPECT_EQ(In(0x307) & 1, 0);
    OutWord(0);
    EXPECT_EQ(In(0x307) & 1, 1);
    EXPECT_EQ(InWord(), 0x1234);
    EXPECT_EQ(In(0x307) & 1, 0);
    Listening = false;
    OutWord(0);
    EXPECT_EQ(In(0x307) & 1, 0) << "nobody replies";
}

TEST_F(PortCard, ASerialStreamShowsItsPixelsInBitZero)
{
    Start(true, 128);
    Address(0xFFE2);
    Turn();
    OutWord(0);
    InWord();
    InWord(); // an old word
    EXPECT_EQ(In(0x307) & 1, 0);
    Pixels = 1;
    EXPECT_EQ(In(0x307) & 1, 1);
    EXPECT_EQ(InWord(), 1000);
    EXPECT_EQ(In(0x307) & 1, 0);
}

TEST_F(Ports, WantThePermissionOfTheSystem)
{
    EmuPlugPrinterPort(0x378, 0);
    EXPECT_EQ(In(0x37A), 0xFF) << "not asked for";
    EmuRefusePorts(true);
    EXPECT_FALSE(System.port.Acquire(0x378, 3));
    EXPECT_EQ(In(0x37A), 0xFF);
    EmuRefusePorts(false);
    EXPECT_TRUE(System.port.Acquire(0x378, 3));
    EXPECT_EQ(In(0x37A), 0xCC);
}

TEST_F(Ports, TheLibraryNeedsNoPermission)
{
    EmuPlugPrinterPort(0x378, 0);
    EmuPlugPortCard(0x300, false, 0);
    EmuRefusePorts(true);
    void* io = System.library.Load("io");
    ASSERT_NE(io, nullptr);
    const auto out =
        reinterpret_cast<void (*)(uint16_t, uint8_t)>(System.library.Symbol(io, "PortOut"));
    const auto outWord =
        reinterpret_cast<void (*)(uint16_t, uint16_t)>(System.library.Symbol(io, "PortWordOut"));
    const auto in = reinterpret_cast<uint8_t (*)(uint16_t)>(System.library.Symbol(io, "PortIn"));
    const auto inWord =
        reinterpret_cast<uint16_t (*)(uint16_t)>(System.library.Symbol(io, "PortWordIn"));
    out(0x37A, 0x05);
    EXPECT_EQ(in(0x37A), 0xC5);
    for (const auto& [port, mode] :
         {std::pair<uint16_t, uint8_t>{0x304, 11}, {0x306, 9}, {0x307, 2}}) {
        out(port, mode);
    }
    out(0x305, 0x80);
    outWord(0x300, 0xFFF0);
    EXPECT_EQ(Cycles(), "aFFF0 ");
    out(0x305, 0x40);
    EXPECT_EQ(inWord(0x300), 0x1234);
    System.library.Free(io);
}

TEST_F(Ports, TheLibraryHasThirteenEntries)
{
    void* io = System.library.Load("io");
    for (const char* name : {"PortOut", "PortWordOut", "PortDWordOut", "PortIn", "PortWordIn",
                             "PortDWordIn", "SetPortBit", "ClrPortBit", "NotPortBit", "GetPortBit",
                             "RightPortShift", "LeftPortShift", "IsDriverInstalled"}) {
        EXPECT_NE(System.library.Symbol(io, name), nullptr) << name;
    }
    EXPECT_EQ(System.library.Symbol(io, "PortInn"), nullptr);
    EmuHavePortLibrary(false);
    EXPECT_EQ(System.library.Load("io"), nullptr);
    EXPECT_EQ(System.library.Load("other"), nullptr);
}

TEST_F(Ports, FailAsThePlanSays)
{
    EmuPlugPrinterPort(0x378, 0);
    System.port.Acquire(0x378, 3);
    EmuRecord(true);
    EmuFail(EmuPortWrite, 1, false);
    Out(0x37A, 5);
    EmuFail(EmuPortRead, 1, false);
    EXPECT_EQ(In(0x37A), 0xFF);
    EXPECT_EQ(In(0x37A), 0xCC);
    EmuFail(EmuLibraryLoad, 1, false);
    EXPECT_EQ(System.library.Load("io"), nullptr);
    EXPECT_EQ(EmuTraffic(), "port > 037A 05 lost\n"
                            "port < 037A FF lost\n"
                            "port < 037A CC\n"
                            "library load io lost\n");
}
