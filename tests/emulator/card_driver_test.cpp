// The kernel driver of the interface card.
#include "tests/emulator/card_wire.h"

namespace {

class CardDriver : public CardWire {};

constexpr uint32_t AllCodes[] = {0x95382443, 0x9538243B, 0x9538243F, 0x95382673,
                                 0x95382593, 0x95382407, 0x9538240B, 0x9538249F};
constexpr uint32_t AllSizes[] = {132, 2012, 816, 948, 264, 2088, 2088, 8};

} // namespace

TEST_F(CardDriver, EachCallWantsItsRecordSize)
{
    device = OpenDevice();
    ASSERT_NE(device, 0u);
    for (size_t i = 0; i < 8; ++i) {
        Record exact(AllSizes[i]), less(AllSizes[i] - 4), more(AllSizes[i] + 4);
        EXPECT_EQ(Call(AllCodes[i], &exact), 0) << std::hex << AllCodes[i];
        EXPECT_EQ(Call(AllCodes[i], &less), -1) << std::hex << AllCodes[i];
        const bool longer = AllSizes[i] == 2088; // with more pages
        EXPECT_EQ(Call(AllCodes[i], &more), longer ? 0 : -1) << std::hex << AllCodes[i];
    }
    Record sleep(8);
    EXPECT_EQ(Call(0x95382400, &sleep), -1) << "a call that there is not";
    EXPECT_EQ(System.device.Control(device, 0x95382443, nullptr, 132), -1);
}

TEST_F(CardDriver, TellsItsVersion)
{
    device = OpenDevice();
    Record version(132, 0xFF);
    ASSERT_EQ(Call(0x95382443, &version), 0);
    EXPECT_EQ(Word(version, 0), 100u);
    EXPECT_STREQ(reinterpret_cast<const char*>(version.data() + 4), "Virtual card driver 1.00");
}

TEST_F(CardDriver, IsKnownByItsNameAndMayBeAbsent)
{
    EXPECT_EQ(System.device.Open("\\\\.\\WINDRVR7"), 0u);
    EXPECT_EQ(EmuCardsOpen(), 0u);
    EmuHaveCardDriver(false);
    EXPECT_EQ(OpenDevice(), 0u);
    EmuReset();
    EXPECT_NE(OpenDevice(), 0u);
    EXPECT_EQ(EmuCardsOpen(), 1u);
}

TEST_F(CardDriver, AClosedHandleIsAnsweredNoMore)
{
    device = OpenDevice();
    System.device.Close(device);
    System.device.Close(device);
    EXPECT_EQ(EmuCardsOpen(), 0u);
    Record version(132);
    EXPECT_EQ(Call(0x95382443, &version), -1);
}

TEST_F(CardDriver, ScanFindsTheCardsOfOneDevice)
{
    EmuPlugCard({.deviceId = 2001}, 0);
    EmuPlugCard({.deviceId = 2003}, 1);
    EmuPlugCard({.deviceId = 2001}, 2);
    device = OpenDevice();
    EXPECT_EQ(Word(Scan(2001), 8), 2u);
    EXPECT_EQ(Word(Scan(2003), 8), 1u);
    EXPECT_EQ(Word(Scan(2003), 12), 0x11E3u);
    EXPECT_EQ(Word(Scan(2003), 16), 2003u);
    EXPECT_EQ(Word(Scan(2002), 8), 0u);
    Record other(2012);
    SetWord(&other, 0, 0x11E4);
    SetWord(&other, 4, 2001);
    ASSERT_EQ(Call(0x9538243B, &other), 0);
    EXPECT_EQ(Word(other, 8), 0u) << "another vendor";
}

TEST_F(CardDriver, TheWindowIsMappedByRegistering)
{
    EmuPlugCard({}, 0);
    device = OpenDevice();
    const Record info = Info(Scan(2001), 0);
    const Record card = Register(info);
    EXPECT_NE(Word(card, 808), 0u);
    EXPECT_NE(Window(card), 0u);
    base = Window(card);
    EXPECT_EQ(System.registers.Read(base + 280), 100u) << "the revision";
    System.device.Close(device);
    EXPECT_EQ(System.registers.Read(base + 280), 0xFFFFFFFFu);
}

TEST_F(CardDriver, ACardWithoutMemoryHasItemsButNoWindow)
{
    EmuPlugCard({.noMemoryItem = true}, 0);
    device = OpenDevice();
    const Record card = Register(Info(Scan(2001), 0));
    EXPECT_NE(Word(card, 808), 0u);
    EXPECT_GT(Word(card, 0), 0u);
    EXPECT_EQ(Window(card), 0u);
}

TEST_F(CardDriver, ACardBelongsToOneHandle)
{
    EmuPlugCard({}, 0);
    Open();
    const uint64_t first = device;
    device = OpenDevice();
    EXPECT_EQ(Word(Register(Info(Scan(2001), 0)), 808), 0u);
    System.device.Close(first);
    EXPECT_NE(Word(Register(Info(Scan(2001), 0)), 808), 0u);
}

TEST_F(CardDriver, ACardMayBeLockedElsewhere)
{
    EmuPlugCard({.lockedElsewhere = true}, 0);
    device = OpenDevice();
    EXPECT_EQ(Word(Register(Info(Scan(2001), 0)), 808), 0u);
}

TEST_F(CardDriver, AnEmptyCardRecordRegistersNothing)
{
    EmuPlugCard({}, 0);
    device = OpenDevice();
    EXPECT_EQ(Word(Register(Record(816)), 808), 0u);
}

TEST_F(CardDriver, ItsOwnBufferIsOneBlock)
{
    device = OpenDevice();
    const Record lock = Lock(1'000'000, 1, nullptr);
    EXPECT_NE(Word(lock, 0), 0u);
    ASSERT_NE(Memory(lock), nullptr);
    memset(Memory(lock), 1, 1'000'000);
    EXPECT_EQ(Word(lock, 28), 1u);
    EXPECT_EQ(Word(lock, 40), 1'000'000u);
    EXPECT_EQ(EmuDmaLocked(), 1u);
}

TEST_F(CardDriver, ACallersBufferHasAnEntryAPage)
{
    device = OpenDevice();
    std::vector<uint8_t> memory(3 * 4096 + 512);
    const Record lock = Lock(3 * 4096 + 512, 4, memory.data());
    EXPECT_NE(Word(lock, 0), 0u);
    EXPECT_EQ(Memory(lock), memory.data());
    EXPECT_EQ(Word(lock, 28), 4u);
    EXPECT_EQ(Word(lock, 36 + 24), Word(lock, 36) + 3 * 4096) << "without a gap";
    EXPECT_EQ(Word(lock, 36 + 28), 512u);
}

TEST_F(CardDriver, MorePagesThanTheRecordHasRoomForAreNotLocked)
{
    device = OpenDevice();
    std::vector<uint8_t> memory(257 * 4096);
    EXPECT_EQ(Word(Lock(257 * 4096, 4, memory.data()), 0), 0u);
    EXPECT_NE(Word(Lock(257 * 4096, 4, memory.data(), 257), 0), 0u);
    Record small(2088);
    SetWord(&small, 28, 257);
    EXPECT_EQ(Call(0x95382407, &small), -1) << "257 pages need 2096 bytes";
}

TEST_F(CardDriver, LocksAreCountedUntilTheyAreUnlocked)
{
    device = OpenDevice();
    Record first = Lock(512, 1, nullptr), second = Lock(512, 1, nullptr);
    EXPECT_NE(Word(first, 36), Word(second, 36));
    EXPECT_EQ(EmuDmaLocked(), 2u);
    EXPECT_EQ(Call(0x9538240B, &first), 0);
    EXPECT_EQ(Call(0x9538240B, &first), 0) << "twice does no harm";
    EXPECT_EQ(EmuDmaLocked(), 1u);
    System.device.Close(device);
    EXPECT_EQ(EmuDmaLocked(), 1u) << "a leak is seen";
}

TEST_F(CardDriver, TheMachineMayHaveLittleToLock)
{
    EmuPlugCard({.dmaLimit = 4096}, 0);
    Open();
    EXPECT_NE(Word(Lock(4096, 1, nullptr), 0), 0u);
    EXPECT_EQ(Word(Lock(4097, 1, nullptr), 0), 0u);
    EXPECT_EQ(Word(Lock(0xFFFFFFFF, 1, nullptr), 0), 0u);
}

TEST_F(CardDriver, ItsSleepIsADelay)
{
    device = OpenDevice();
    Record sleep(8);
    SetWord(&sleep, 0, 250);
    EXPECT_EQ(Cost([&] { Call(0x9538249F, &sleep); }), 250u);
}

TEST_F(CardDriver, CallsFailAsThePlanSays)
{
    EmuPlugCard({}, 0);
    EmuFail(EmuDeviceOpen, 1, false);
    EXPECT_EQ(OpenDevice(), 0u);
    Open();
    EmuFail(EmuDeviceControl, 2, false);
    Record version(132);
    EXPECT_EQ(Call(0x95382443, &version), 0);
    version.assign(132, 0);
    EXPECT_EQ(Call(0x95382443, &version), -1);
    EXPECT_EQ(Word(version, 0), 0u);
    EmuFail(EmuDmaLock, 1, false);
    EXPECT_EQ(Word(Lock(512, 1, nullptr), 0), 0u);
    EXPECT_NE(Word(Lock(512, 1, nullptr), 0), 0u);
    EmuFail(EmuRegisterRead, 1, false);
    EXPECT_EQ(System.registers.Read(base + 280), 0xFFFFFFFFu);
    EXPECT_EQ(System.registers.Read(base + 280), 100u);
    EmuFail(EmuRegisterWrite, 1, false);
    Channel(5);
    EXPECT_EQ(System.registers.Read(base + 284), 0u);
}

TEST_F(CardDriver, AnyCallCountsThemAll)
{
    EmuPlugCard({}, 0);
    EmuFail(EmuAnyCall, 6, false);
    Open(); // open, scan, info, register
    EXPECT_EQ(System.registers.Read(base + 280), 100u);
    EXPECT_EQ(System.library.Load("io"), nullptr) << "the sixth";
    EXPECT_NE(System.library.Load("io"), nullptr);
}

TEST_F(CardDriver, TrafficReadsAsWritten)
{
    EmuPlugCard({}, -1);
    EmuRecord(true);
    Open();
    Record debug(264);
    strcpy(reinterpret_cast<char*>(debug.data()), "card handle 1\n");
    Call(0x95382593, &debug);
    Control(0x1504);
    for (int i = 0; i < 3; ++i) Data();
    Record sleep(8);
    SetWord(&sleep, 0, 10);
    Call(0x9538249F, &sleep);
    System.clock.Sleep(2);
    Record lock = Lock(512, 1, nullptr);
    Call(0x9538240B, &lock);
    EmuFail(EmuRegisterWrite, 1, false);
    Channel(0);
    System.device.Close(device);
    System.registers.Write(base + 276, 1);
    EXPECT_EQ(EmuTraffic(), "card open\n"
                            "card scan 2001\n"
                            "card info\n"
                            "card register\n"
                            "card debug card handle 1\n"
                            "card control > 00001504\n"
                            "card data < 00000000 x 3\n"
                            "card delay 10\n"
                            "sleep 2\n"
                            "card lock 512 1\n"
                            "card unlock\n"
                            "card channel > 00000000 lost\n"
                            "card close\n"
                            "stray register > 0000000050000114 00000001\n");
}
