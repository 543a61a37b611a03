// The interface card: opening, its buffer, closing, and what a host may ask of it.
#include <algorithm>

#include "core/errors.h"
#include "emulator/emulator.h"
#include "include/qvn.h"
#include "links/delay.h"
#include "platform/system.h"
#include "tests/links/fake_bus.h"

namespace {

// A card that nobody has opened yet.
class CardTest : public LinkTest {
protected:
    void SetUp() override
    {
        LinkTest::SetUp();
        record.WdHandle = 0;
        record.CardMapped = 0;
        record.CardWindow = 0;
        Fake.openHandles = 0;
    }

    void OpenIt()
    {
        ASSERT_EQ(OpenCard(Camera), 0);
        Accesses();
    }

    // As a camera that QV_Open has opened.
    void TurnOn(int32_t interfaceType)
    {
        OpenIt();
        record.CameraOn = 1;
        record.InterfaceType = interfaceType;
    }
};

WD_ITEM Item(uint32_t type, uint32_t window, uint32_t address)
{
    WD_ITEM item = {};
    item.item = type;
    item.dwUserDirectAddr = window;
    item.dwCpuPhysicalAddr = address;
    return item;
}

TEST_F(CardTest, OpensInTheDriversOrder)
{
    EXPECT_EQ(OpenCard(Camera), 0);
    // Four lines: handle, number of items, the item, its addresses. 2001 is 0x7D1.
    EXPECT_EQ(Accesses(), "open version scan=11E3.7D1 info=1.2.3 register debug debug debug debug");
    EXPECT_EQ(record.CardMapped, 1);
    EXPECT_EQ(record.CardWindow, Window);
    EXPECT_EQ(QV_GetKZBPCIAddress(Camera), 0xFEB01234u);
}

TEST_F(CardTest, LooksForTheChosenCard)
{
    QV_SetKZBPCI(7, Camera);
    QV_SetKZBPCI(8, Camera); // leaves 2000, 0x7D0
    EXPECT_EQ(OpenCard(Camera), 0);
    EXPECT_EQ(Fake.counts["scan=11E3.7D0"], 1u);
}

TEST_F(CardTest, TellsTheDriversLogAboutTheCard)
{
    OpenIt();
    ASSERT_EQ(Fake.debugLines.size(), 4u);
    for (const WD_DEBUG_ADD& line : Fake.debugLines) {
        EXPECT_EQ(line.dwLevel, 2u);
        EXPECT_EQ(line.dwSection, 256u);
    }
    EXPECT_NE(std::string(Fake.debugLines[0].text).find("00000009"), std::string::npos);
    const std::string memory = Fake.debugLines[3].text;
    for (const char* number : {"FEB00000", "00001000", "D0000000", "E0000000", "FEB01234"}) {
        EXPECT_NE(memory.find(number), std::string::npos) << number;
    }
}

TEST_F(CardTest, NoDriverIs13)
{
    Fake.driverOpens = false;
    EXPECT_EQ(OpenCard(Camera), 13);
    EXPECT_EQ(Accesses(), "open");
}

TEST_F(CardTest, NoCardIs15)
{
    for (uint32_t cards : {0u, 0x80000000u, 0xFFFFFFFFu}) {
        Fake.cards = cards;
        EXPECT_EQ(OpenCard(Camera), 15);
        EXPECT_EQ(record.CardMapped, 0);
    }
}

TEST_F(CardTest, DriverThatDoesNotAnswerIs15)
{
    Fake.driverAnswers = false;
    EXPECT_EQ(OpenCard(Camera), 15);
}

TEST_F(CardTest, CardInUseElsewhereIs4)
{
    Fake.cardHandle = 0;
    EXPECT_EQ(OpenCard(Camera), 4);
    // The log is written before the answer is looked at.
    EXPECT_EQ(Accesses(), "open version scan=11E3.7D1 info=1.2.3 register debug debug debug debug");
    EXPECT_EQ(record.CardMapped, 0);
}

TEST_F(CardTest, DriverStaysOpenAfterAnErrorAndTheNextOpenBeginsAfresh)
{
    Fake.cards = 0;
    EXPECT_EQ(OpenCard(Camera), 15);
    EXPECT_EQ(Fake.openHandles, 1u);
    Fake.cards = 1;
    EXPECT_EQ(OpenCard(Camera), 0);
    EXPECT_EQ(Fake.openHandles, 1u);
}

TEST_F(CardTest, FirstMemoryItemIsTheWindow)
{
    Fake.items = {Item(1, 0x111, 0x222), Item(2, 0xE0000000, 0x333), Item(2, 0x444, 0x555)};
    OpenIt();
    EXPECT_EQ(record.CardWindow, Window);
    EXPECT_EQ(record.CardAddress, 0x333u);
}

TEST_F(CardTest, WithoutAMemoryItemWritesAreDroppedAndReadsAreAllOnes)
{
    Fake.items = {Item(1, 0x111, 0x222), Item(3, 0x333, 0x444)};
    OpenIt();
    WriteCard(CardControlReg, 1, Camera);
    EXPECT_EQ(ReadCard(CardControlReg, Camera), 0xFFFFFFFFu);
    EXPECT_EQ(Accesses(), "");
    EXPECT_EQ(QV_GetKZBPCIRevision(0, Camera), 65535u);
    EXPECT_EQ(QV_GetKZBPCIAddress(Camera), 0u);
}

TEST_F(CardTest, WithoutAnyItemItOpensTheSame)
{
    Fake.items.clear();
    OpenIt();
    EXPECT_EQ(record.CardMapped, 1);
    EXPECT_EQ(record.CardWindow, 0u);
}

TEST_F(CardTest, MoreItemsThanTheRecordHasAreNotLookedAt)
{
    Fake.items.assign(40, Item(1, 0x111, 0x222));
    OpenIt();
    EXPECT_EQ(record.CardWindow, 0u);
    EXPECT_EQ(Fake.counts["debug"], 22u) << "handle, number, and the 20 that there are";
}

TEST_F(CardTest, NeverMappedDropsWritesAndReadsAllOnes)
{
    WriteCard(CardDataReg, 5, Camera);
    EXPECT_EQ(ReadCard(CardDataReg, Camera), 0xFFFFFFFFu);
    EXPECT_EQ(Accesses(), "");
}

TEST_F(CardTest, RegistersStandAtTheirOffsets)
{
    OpenIt();
    for (CardRegister reg : {CardDmaCountReg, CardDmaAddressReg, CardDmaAuxReg, CardDmaControlReg,
                             CardDataReg, CardControlReg, CardRevisionReg, CardChannelReg}) {
        WriteCard(reg, 1, Camera);
    }
    EXPECT_EQ(Accesses(), "count=1 address=1 aux=1 start=1 data=1 control=1 revision=1 channel=1");
}

// --- the buffer ---

TEST_F(CardTest, BufferIsTheDriversOwnMemoryAndZeroed)
{
    OpenIt();
    EXPECT_EQ(AllocateDma(100, Camera), 0);
    EXPECT_EQ(Accesses(), "lock=1.712"); // 100 * 2 + 512
    EXPECT_EQ(Fake.lastLock.pUserAddr, 0u);
    EXPECT_EQ(record.DmaBuffer, Fake.kernelBuffer.data());
    EXPECT_EQ(record.DmaBytes, 712u);
    EXPECT_EQ(record.DmaAddress, 0x400000u);
    EXPECT_EQ(std::count(Fake.kernelBuffer.begin(), Fake.kernelBuffer.end(), 0), 356);
}

TEST_F(CardTest, BufferIsTheLibrarysOwnWhereTheDriverHasNone)
{
    OpenIt();
    Fake.lockable = 2;
    EXPECT_EQ(AllocateDma(100, Camera), 0);
    EXPECT_EQ(Accesses(), "lock=1.712 lock=4.712");
    EXPECT_NE(record.DmaMemory, nullptr);
    EXPECT_EQ(Fake.lastLock.pUserAddr, reinterpret_cast<uintptr_t>(record.DmaMemory));
    EXPECT_EQ(record.DmaBuffer, record.DmaMemory);
    EXPECT_EQ(EmuLiveBlocks(), 2u) << "the block and the lock record";
    EXPECT_EQ(record.DmaBuffer[355], 0);
}

TEST_F(CardTest, NoBufferIsOneAndNothingStays)
{
    OpenIt();
    Fake.lockable = 0;
    EXPECT_EQ(AllocateDma(100, Camera), 1);
    EXPECT_EQ(Accesses(), "lock=1.712 lock=4.712");
    EXPECT_EQ(EmuLiveBlocks(), 0u);
    EXPECT_EQ(record.DmaBuffer, nullptr);
    EXPECT_EQ(record.DmaBytes, 0u);
}

TEST_F(CardTest, NoMemoryForTheBufferIsOne)
{
    OpenIt();
    Fake.lockable = 2;
    EmuFail(EmuAllocate, 1, false); // the lock record
    EXPECT_EQ(AllocateDma(100, Camera), 1);
    EXPECT_EQ(Accesses(), "");
    EmuFail(EmuAllocate, 2, false); // the block
    EXPECT_EQ(AllocateDma(100, Camera), 1);
    EXPECT_EQ(Accesses(), "lock=1.712");
    EXPECT_EQ(EmuLiveBlocks(), 0u);
}

TEST_F(CardTest, PagesThatLieApartAreNoBuffer)
{
    OpenIt();
    Fake.pages = {{0x400000, 4096}, {0x402000, 4096}};
    EXPECT_EQ(AllocateDma(2000, Camera), 1);
    EXPECT_EQ(Accesses(), "lock=1.4512 unlock=1 lock=4.4512 unlock=1");
    Fake.pages = {{0x400000, 4096}, {0x401000, 4096}};
    EXPECT_EQ(AllocateDma(2000, Camera), 0);
}

// What stands behind the pages that were asked for is not looked at, and one without bytes
// is none.
TEST_F(CardTest, MorePagesThanTheRecordHoldsAreNotLookedAt)
{
    OpenIt();
    Fake.pagesTold = 0xFFFFFFFF;
    EXPECT_EQ(AllocateDma(100, Camera), 0);
    Fake.pages = {{0x400000, 4096}, {0x401000, 4096}, {0x900000, 4096}}; // two were asked for
    EXPECT_EQ(AllocateDma(100, Camera), 0);
    EXPECT_EQ(record.DmaAddress, 0x400000u);
}

TEST_F(CardTest, DriversMemoryWithoutAnAddressIsUnlocked)
{
    OpenIt();
    Fake.hasAddress = false;
    EXPECT_EQ(AllocateDma(100, Camera), 0);
    EXPECT_EQ(Accesses(), "lock=1.712 unlock=1 lock=4.712");
    EXPECT_EQ(record.DmaBuffer, record.DmaMemory);
}

TEST_F(CardTest, TooManyPixelsForTheRecordsSizeFieldAreRefused)
{
    OpenIt();
    EXPECT_EQ(AllocateDma(0xFFFFFFFF, Camera), 1);
    EXPECT_EQ(Accesses(), "");
}

TEST_F(CardTest, LockRecordHasRoomForEveryPage)
{
    OpenIt();
    ASSERT_EQ(AllocateDma(100, Camera), 0);
    EXPECT_EQ(Fake.lastLockBytes, 2088u);
    EXPECT_EQ(Fake.lastLock.dwPages, 2u) << "one of 4096, and one more";
    // 2000512 bytes: 488.4 pages of 4096, so 489, and one more; 234 above 256.
    ASSERT_EQ(AllocateDma(1000000, Camera), 0);
    EXPECT_EQ(Fake.lastUnlockBytes, 2088u);
    EXPECT_EQ(Fake.lastLockBytes, 2088u + 234 * 8);
    EXPECT_EQ(Fake.lastLock.dwPages, 490u);
    ReleaseCard(Camera);
    EXPECT_EQ(Fake.lastUnlockBytes, 2088u + 234 * 8);
}

TEST_F(CardTest, NewBufferTakesThePlaceOfTheOld)
{
    OpenIt();
    ASSERT_EQ(AllocateDma(100, Camera), 0);
    ASSERT_EQ(AllocateDma(200, Camera), 0);
    EXPECT_EQ(Accesses(), "lock=1.712 unlock=1 lock=1.912");
    EXPECT_EQ(EmuLiveBlocks(), 1u);
}

// --- closing ---

TEST_F(CardTest, CloseQuietsTheCardUnlocksAndClosesOnEachCardType)
{
    for (int32_t type : {2, 4, 70}) {
        TurnOn(type);
        ASSERT_EQ(AllocateDma(100, Camera), 0);
        Accesses();
        QV_Close(Camera);
        EXPECT_EQ(Accesses(), "channel=0 data=0 unlock=1 close");
        EXPECT_EQ(record.DmaRecord, nullptr);
        EXPECT_EQ(EmuLiveBlocks(), 0u);
    }
}

TEST_F(CardTest, CloseStopsARemoteSerializer)
{
    TurnOn(2);
    record.SerialLink = 1;
    QV_Close(Camera);
    EXPECT_EQ(Accesses(), "data=20 control=20662 close");
}

TEST_F(CardTest, CloseOfACameraWhoseCardWasNeverOpenedDoesNothing)
{
    record.CameraOn = 1;
    record.InterfaceType = 2;
    QV_Close(Camera);
    EXPECT_EQ(Accesses(), "");
    EXPECT_EQ(QV_IsOn(Camera), 0);
}

TEST_F(CardTest, OtherInterfacesLeaveTheCardAlone)
{
    for (int32_t type : {0, 1, 6}) {
        TurnOn(type);
        QV_Close(Camera);
        EXPECT_EQ(Accesses(), "") << type;
    }
}

TEST_F(CardTest, ClosedCardReadsAllOnes)
{
    TurnOn(2);
    QV_Close(Camera);
    Accesses();
    EXPECT_EQ(ReadCard(CardDataReg, Camera), 0xFFFFFFFFu);
    EXPECT_EQ(QV_GetKZBPCIRevision(0, Camera), 65535u);
    EXPECT_EQ(Accesses(), "");
}

// --- what a host may ask ---

TEST_F(CardTest, RevisionIsTheLow16Bits)
{
    OpenIt();
    Fake.values[CardRevisionReg] = 0x123400C8;
    EXPECT_EQ(QV_GetKZBPCIRevision(0, Camera), 200u);
    EXPECT_EQ(Accesses(), "revision?");
}

TEST_F(CardTest, RevisionSelectsTheHeadOfAnOpenCardOnly)
{
    CameraTable[5].ArrayMode = 1;
    CameraTable[5].SubRoundedTemperature[5] = -20.0;
    EXPECT_EQ(QV_GetKZBPCIRevision(5, Camera), 65535u);
    EXPECT_EQ(CameraTable[5].RoundedTemperature, 0.0);
    OpenIt();
    QV_GetKZBPCIRevision(5, Camera);
    EXPECT_EQ(CameraTable[5].RoundedTemperature, -20.0) << "head 5 is the current one";
}

TEST_F(CardTest, RevisionIsToldWhateverTheHeadNumber)
{
    OpenIt();
    Fake.values[CardRevisionReg] = 7;
    for (int32_t selected : {-1, 8, INT32_MAX, INT32_MIN}) {
        EXPECT_EQ(QV_GetKZBPCIRevision(selected, Camera), 7u);
    }
}

TEST_F(CardTest, AddressIsZeroBeforeTheCardOpens)
{
    EXPECT_EQ(QV_GetKZBPCIAddress(Camera), 0u);
}

TEST_F(CardTest, AskingForTheVersionLeavesAnOpenDriverAlone)
{
    Fake.cards = 0;
    EXPECT_EQ(OpenCard(Camera), 15); // the driver stays open
    QV_WDVer(nullptr, Camera);
    EXPECT_EQ(Fake.openHandles, 1u);
    EXPECT_NE(record.WdHandle, 0u);
}

// --- delays ---

TEST_F(CardTest, DelayIsTheDriversSleepWhereItIsOpen)
{
    OpenIt();
    DelayMicroseconds(25, Camera);
    EXPECT_EQ(Accesses(), "us=25");
}

TEST_F(CardTest, DelayIsTheSystemsWithoutADriverThatSleeps)
{
    DelayMicroseconds(25, Camera);
    EXPECT_EQ(Accesses(), "pause=25");
    OpenIt();
    Fake.driverSleeps = false;
    DelayMicroseconds(30, Camera);
    EXPECT_EQ(Accesses(), "pause=30");
}

} // namespace
