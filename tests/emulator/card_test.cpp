// The registers of the interface card: cycles on its cable, pixels, DMA.
#include "tests/emulator/card_wire.h"

namespace {

class CardCycles : public CardWire {
protected:
    void Start(const EmuCard& card = {}, uint32_t control = 0x1504)
    {
        EmuPlugCard(card, 0);
        Open();
        Control(1);
        Control(control);
        Cycles();
    }
};

class CardDma : public CardCycles {
protected:
    Record lock;

    void Start(uint32_t bytes)
    {
        CardCycles::Start();
        lock = Lock(bytes, 1, nullptr);
        memset(Memory(lock), 0, bytes);
    }

    uint16_t Pixel(size_t index) const
    {
        uint16_t pixel;
        memcpy(&pixel, Memory(lock) + 2 * index, 2);
        return pixel;
    }
};

class Decoder : public CardWire {
protected:
    void Start(uint32_t decoder)
    {
        EmuPlugCard({.decoder = decoder}, 0);
        Open();
        Control(1);
    }

    uint32_t Ask(uint32_t data, uint32_t control) const
    {
        Data(data);
        Control(control);
        return Data();
    }

    void SetMode(uint32_t mode) const
    {
        Data(mode);
        Control(0x20660);
    }

    void Through() // the whole setup of 0xAAAA2
    {
        Ask(2, 0x20662);
        SetMode(385);
        Ask(1, 0x20662);
        Control(0x20642);
        Cycles();
    }
};

} // namespace

TEST_F(CardCycles, AnAddressCycleHasBitTwo)
{
    Start();
    Address(0x800B);
    EXPECT_EQ(Cycles(), "a800B ");
}

TEST_F(CardCycles, ADataCycleHasNeitherBit)
{
    Start();
    Address(0x800B);
    Data(0x10010);
    Data(0x0010);
    EXPECT_EQ(Cycles(), "a800B ") << "writing the operand is no cycle";
    Control(Control() & ~6u);
    EXPECT_EQ(Cycles(), "d0010 ");
}

TEST_F(CardCycles, RepeatedControlRepeatsTheKindOfCycle)
{
    Start();
    Address(0x0100);
    Data(0xAA55);
    Control(Control());
    EXPECT_EQ(Cycles(), "a0100 aAA55 ") << "bit 2 is still set";
}

TEST_F(CardCycles, AReadCycleFetchesIntoTheDataRegister)
{
    Start();
    Address(0xFFEF);
    Control((Control() & ~4u) | 2);
    EXPECT_EQ(Cycles(), "aFFEF r1234 ");
    EXPECT_EQ(Data(), 0x1234u);
    EXPECT_EQ(Data(), 0x1234u) << "reading it again starts nothing";
    EXPECT_EQ(Cycles(), "");
}

TEST_F(CardCycles, NobodyThereReadsAsOnes)
{
    Start();
    Listening = false;
    Address(0xFFEF);
    Control((Control() & ~4u) | 2);
    EXPECT_EQ(Data() & 0xFFFF, 0xFFFFu);
}

TEST_F(CardCycles, TheCycleIsDoneOnAParallelCable)
{
    Start();
    EXPECT_EQ(Control() & 0x4000, 0x4000u);
    EXPECT_EQ(Control() & 0x1FFF, 0x1504u) << "what was written reads back";
    EXPECT_EQ(Control() & 0x680000, 0u) << "no reply, nothing unlinked";
}

TEST_F(CardCycles, AnAccessTakesAMicrosecond)
{
    Start();
    EXPECT_EQ(Cost([this] { Control(); }), 1u);
    EXPECT_EQ(Cost([this] { Data(1); }), 1u);
}

TEST_F(CardCycles, StreamedPixelsComeOneARead)
{
    Start();
    Pixels = 3;
    ResetLink();
    EXPECT_EQ(Streams, 1u);
    EXPECT_EQ(Control() & 0x10000, 0u) << "a pixel is ready";
    Data(); // what the register held before
    EXPECT_EQ(Data(), 1000u);
    EXPECT_EQ(Data(), 1001u);
    EXPECT_EQ(Data(), 1002u);
    EXPECT_EQ(Control() & 0x10000, 0x10000u);
    Control(Control() & ~0x18u);
    Pixels = 4;
    EXPECT_EQ(Data(), 0x1234u) << "stream mode is over: a read cycle";
    EXPECT_EQ(Cycles(), "r1234 ");
}

TEST_F(CardCycles, AReadAheadOfItsPixelCountsAsThatPixel)
{
    Start();
    ResetLink();
    Data(); // what the register held before
    EXPECT_EQ(Data(), 0xFFFFu);
    Pixels = 1;
    EXPECT_EQ(Control() & 0x10000, 0x10000u) << "the one that came was taken";
    Pixels = 2;
    EXPECT_EQ(Control() & 0x10000, 0u);
    EXPECT_EQ(Data(), 1001u);
}

TEST_F(CardCycles, AFifoThatIsNotEmptiedHoldsAnOldWord)
{
    Start();
    Pixels = 3;
    ResetLink();
    Control(Control() & ~0x18u);
    Control(Control() | 0x1A);
    Data(); // what the register held before
    EXPECT_EQ(Data(), 0x5A5Au);
    EXPECT_EQ(Data(), 1000u);
}

TEST_F(CardCycles, TheFirstReadOfAStreamGivesWhatTheRegisterHeld)
{
    Start();
    Address(0x1234);
    Pixels = 2;
    ResetLink();
    EXPECT_EQ(Data(), 0x1234u);
    EXPECT_EQ(Data(), 1000u);
    EXPECT_EQ(Data(), 1001u);
}

// Cards of the second form, and cameras that clock themselves, leave the pixels on.
TEST_F(CardCycles, CyclesReachTheCameraWhilePixelsComeIn)
{
    Start();
    Pixels = 2;
    ResetLink();
    Cycles();
    Address(0x8003);
    Data(7);
    Control(Control() & ~6u);
    EXPECT_EQ(Cycles(), "a8003 d0007 ");
    Control(Control());
    EXPECT_EQ(Cycles(), "") << "a word that repeats what it was";
    Address(0);
    Control((Control() & ~4u) | 2);
    EXPECT_EQ(Cycles(), "a0000 r1234 ");
    EXPECT_EQ(Data(), 0x1234u) << "what was read";
    Data();
    EXPECT_EQ(Data(), 1000u) << "and then the pixels";
    EXPECT_EQ(Streams, 1u);
}

TEST_F(CardCycles, AResetForgetsEverything)
{
    Start();
    Pixels = 3;
    ResetLink();
    Channel(0xFFFE);
    Control(1);
    EXPECT_EQ(Control(), 0x14000u) << "done and busy";
    EXPECT_EQ(System.registers.Read(base + 284), 0u);
}

TEST_F(CardCycles, UnitsAreChosenByTheirZeroBit)
{
    const int32_t card = EmuPlugCard({}, 0);
    EmuAttachUnit(card, 1, 3);
    EmuAttachUnit(card, 7, 5);
    EmuAttachUnit(card, 8, 6);
    Open();
    Control(0x1504);
    Cycles();
    Channel(0xFFFF & ~(1u << 1));
    Address(0xFFF1);
    EXPECT_EQ(Cycles(), "3aFFF1 ");
    Channel(0xFFFF & ~(1u << 7));
    Address(0xFFF7);
    EXPECT_EQ(Cycles(), "5aFFF7 ");
    Channel(0);
    Address(1);
    EXPECT_EQ(Cycles(), "a0001 3a0001 5a0001 ");
}

TEST_F(CardCycles, AByteCableSendsTheLowHalfFirst)
{
    Bytes = true;
    Start({}, 0xF24);
    Channel(0);
    Data(0x800B);
    Control((Control() & ~2u) | 4);
    EXPECT_EQ(Cycles(), "");
    Channel(1);
    Data(0x80);
    Control(Control());
    EXPECT_EQ(Cycles(), "a800B ");
    Channel(0);
    Data(0x1234);
    Control(Control() & ~6u);
    Channel(1);
    Data(0x12);
    Control(Control());
    EXPECT_EQ(Cycles(), "d1234 ");
}

TEST_F(CardCycles, AByteCableReadsByLane)
{
    Bytes = true;
    Start({}, 0xF24);
    Control((Control() & ~4u) | 2);
    Channel(0);
    EXPECT_EQ(Data(), 0x34u);
    Channel(1);
    EXPECT_EQ(Data(), 0x12u);
}

TEST_F(CardCycles, AByteCableStreamsWordsHighByteFirst)
{
    Bytes = true;
    Start({}, 0xF24);
    Channel(0);
    Data(0xE2);
    Control((Control() & ~2u) | 4);
    Channel(1);
    Data(0xFF);
    Control(Control());
    for (int i = 0; i < 4; ++i) Control((Control() & ~4u) | 2);
    EXPECT_EQ(Streams, 1u);
    Data(); // an old word
    Channel(0);
    Channel(1);
    EXPECT_EQ(Data() & 0x100, 0x100u) << "busy";
    Pixels = 2;
    EXPECT_EQ(Data(), 0x03u) << "1000 is 0x03E8; polling uses nothing up";
    EXPECT_EQ(Data(), 0x03u);
    Channel(0);
    EXPECT_EQ(Data(), 0xE8u);
    Channel(1);
    EXPECT_EQ(Data(), 0x03u);
    Channel(0);
    EXPECT_EQ(Data(), 0xE9u);
    Channel(1);
    EXPECT_EQ(Data() & 0x100, 0x100u);
}

TEST_F(CardDma, TwoPixelsAreAWord)
{
    Start(64);
    Pixels = 8;
    StartDma(Word(lock, 36), 4);
    EXPECT_EQ(Count(), 4u) << "nothing moves before the stream";
    ResetLink();
    EXPECT_EQ(Count(), 0u);
    for (uint16_t i = 0; i < 8; ++i) EXPECT_EQ(Pixel(i), 1000 + i);
    EXPECT_EQ(Pixel(8), 0u);
}

TEST_F(CardDma, TheCountFallsAsPixelsCome)
{
    Start(64);
    StartDma(Word(lock, 36), 4);
    ResetLink();
    EXPECT_EQ(Count(), 4u);
    Pixels = 3;
    EXPECT_EQ(Count(), 3u);
    Pixels = 4;
    EXPECT_EQ(Count(), 2u);
    EXPECT_EQ(Pixel(3), 1003u);
}

TEST_F(CardDma, MemoryFillsWhileNobodyLooks)
{
    Start(64);
    StartDma(Word(lock, 36), 4);
    ResetLink();
    Pixels = 8;
    System.clock.Sleep(1);
    EXPECT_EQ(Pixel(7), 1007u);
}

TEST_F(CardDma, TheNextLineIsStartedWhileTheStreamRuns)
{
    Start(64);
    Pixels = 100;
    StartDma(Word(lock, 36), 2);
    ResetLink();
    EXPECT_EQ(Count(), 0u);
    StartDma(Word(lock, 36), 2);
    Control(Control());
    EXPECT_EQ(Count(), 0u);
    EXPECT_EQ(Pixel(0), 1004u);
    EXPECT_EQ(Pixel(3), 1007u);
    EXPECT_EQ(Streams, 1u);
}

TEST_F(CardDma, StopsAtTheEndOfTheLock)
{
    Start(16);
    const Record guard = Lock(16, 1, nullptr);
    Pixels = 100;
    StartDma(Word(lock, 36) + 8, 10);
    ResetLink();
    EXPECT_EQ(Count(), 8u);
    EXPECT_EQ(Pixel(7), 1003u);
    EXPECT_EQ(Memory(guard)[0], 0xA5) << "as the driver gave it";
}

TEST_F(CardDma, DoesNotStartOutsideALock)
{
    Start(16);
    Pixels = 100;
    StartDma(0, 2);
    ResetLink();
    EXPECT_EQ(Count(), 2u);
    StartDma(Word(lock, 36) + 16, 2);
    EXPECT_EQ(Count(), 2u);
}

TEST_F(CardDma, EndsWithItsLock)
{
    Start(16);
    StartDma(Word(lock, 36), 4);
    ResetLink();
    Call(0x9538240B, &lock);
    Pixels = 100;
    EXPECT_EQ(Count(), 4u);
}

TEST_F(CardDma, ACountOfZeroStopsIt)
{
    Start(16);
    StartDma(Word(lock, 36), 4);
    ResetLink();
    Count(0);
    Pixels = 100;
    EXPECT_EQ(Count(), 0u);
    EXPECT_EQ(Pixel(0), 0u);
    EXPECT_EQ(Taken, 0u);
}

TEST_F(CardDma, WritesTheCallersBuffer)
{
    CardCycles::Start();
    std::vector<uint16_t> memory(4);
    lock = Lock(8, 4, memory.data());
    Pixels = 4;
    StartDma(Word(lock, 36), 2);
    ResetLink();
    EXPECT_EQ(Count(), 0u);
    EXPECT_EQ(memory, (std::vector<uint16_t>{1000, 1001, 1002, 1003}));
}

TEST_F(Decoder, TellsItsIdentifier)
{
    Start(0xAAAA2);
    EXPECT_EQ(Control() & 0x80000, 0u);
    Data(2);
    Control(0x20662);
    EXPECT_EQ(Control() & 0x80000, 0x80000u) << "a reply waits";
    EXPECT_EQ(Data(), 0xAAAA2u);
    EXPECT_EQ(Control() & 0x80000, 0u);
}

TEST_F(Decoder, ItsSecondReplyTellsTheMode)
{
    Start(0xAAAA2);
    SetMode(385);
    EXPECT_EQ(Ask(1, 0x20662), 96u);
    SetMode(421);
    EXPECT_EQ(Ask(1, 0x20662), 105u);
    Control(1);
    EXPECT_EQ(Ask(1, 0x20662), 0u) << "no mode after a reset";
}

TEST_F(Decoder, TheOtherIdentifierWantsItsSetup)
{
    Start(0xAAAA1);
    EXPECT_EQ(Ask(2, 0x20662), 0xAAAA1u);
    SetMode(421);
    EXPECT_EQ(Ask(1, 0x20662), 0u);
    Data(152);
    Control(0x20620);
    Control(0x20660);
    SetMode(421);
    EXPECT_EQ(Ask(1, 0x20662), 105u);
}

TEST_F(Decoder, MayGiveAWrongSecondReply)
{
    EmuPlugCard({.decoder = 0xAAAA2, .secondReply = 97}, 0);
    Open();
    SetMode(385);
    EXPECT_EQ(Ask(1, 0x20662), 97u);
}

TEST_F(Decoder, AnUnlinkedSerializerAnswersNothing)
{
    EmuPlugCard({.decoder = 0xAAAA2, .unlinked = true}, 0);
    Open();
    Control(1);
    EXPECT_EQ(Control() & 0x600000, 0x600000u);
    EXPECT_EQ(Ask(2, 0x20662), 2u);
}

TEST_F(Decoder, CyclesArriveOnlyOnceItIsThrough)
{
    Start(0xAAAA2);
    Address(0xFFF0);
    EXPECT_EQ(Cycles(), "");
    Through();
    Address(0xFFF0);
    EXPECT_EQ(Cycles(), "aFFF0 ");
    EXPECT_EQ(Control() & 0x4000, 0u) << "done is a signal of the parallel cable";
    Data(0x20);
    Control(0x20662);
    Address(0xFFF0);
    EXPECT_EQ(Cycles(), "") << "the serializer was told to stop";
}

TEST_F(Decoder, TheKindWithoutIdentifierIsStartedInTwoWords)
{
    for (const uint32_t word : {385u, 405u}) {
        EmuReset();
        SetUp();
        Start(3);
        Data(word);
        Control(0x20E20);
        Control(0x20642);
        Address(0xFFF0);
        EXPECT_EQ(Cycles(), "aFFF0 ");
    }
}

TEST_F(Decoder, AReadIsAskedForAndThenFetched)
{
    Start(0xAAAA2);
    Through();
    Address(0xFFEF);
    const uint32_t read = (Control() & ~4u) | 2;
    Control(read);
    EXPECT_EQ(Control() & 0x80000, 0x80000u);
    EXPECT_NE(Data(), 0x1234u) << "still on its way";
    Control(read);
    EXPECT_EQ(Data(), 0x1234u);
}

TEST_F(Decoder, AMemoryWordComesWithItsAddress)
{
    Start(0xAAAA2);
    Through();
    Address(0xFFE0);
    Address(0x0012);
    EXPECT_EQ(Control() & 0x80000, 0x80000u);
    EXPECT_EQ(Data(), 0x1234u);
    Address(0xFFE0);
    Control((Control() & ~4u) | 2);
    Cycles();
    Address(0x0012);
    EXPECT_EQ(Cycles(), "a0012 ") << "a status was read: no prefix";
}

TEST_F(Decoder, ItsStreamIsArmedWithTheLengthOfALine)
{
    Start(0xAAAA2);
    Through();
    Pixels = 2;
    const uint32_t armed = (Control() & ~4u) | 0x12;
    Control(armed);
    Data(16 * 4 + 3);
    Control((armed & ~0x12u) | 0x28);
    EXPECT_EQ(Streams, 1u);
    EXPECT_EQ(Cycles(), "") << "no cycle is part of it";
    Control(Control());
    EXPECT_EQ(Streams, 1u);
    Data(); // what the register held before
    EXPECT_EQ(Data(), 1000u);
    Control((Control() & ~0x38u) | 2);
    EXPECT_EQ(Cycles(), "r1234 ");
    EXPECT_NE(Data(), 1001u);
}
