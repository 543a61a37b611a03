// Each fault of a link by name: its code, and the camera that works once it is over.
#include "tests/faults/session.h"

#include "core/record.h"
#include "emulator/bus_camera.h"
#include "emulator/traffic.h"

namespace {

constexpr uint64_t UsPerSecond = 1'000'000;

const FaultyLink Whole = {"", {42, 255, 2, "BuildWaveBriar", 200}};
const FaultyLink Lines = {"", {42, 255, 2, "BuildWaveBriar", 100}};
const FaultyLink R3 = {"", {44, 255, 2, "BuildWaveR3"}};
const FaultyLink R3Serial = {"", {44, 255, 2, "BuildWaveR3", 200, 0xAAAA2}};
const FaultyLink TarnIvSerial = {"", {24, 255, 2, "BuildWaveTarn4Kaf", 100, 0xAAAA2}};
const FaultyLink ByteCable = {"", {60, 255, 2, "BuildWaveHeron"}};
const FaultyLink PrinterPort = {"", {40, 255, 0, "BuildWaveBriar"}};
const FaultyLink PortCard = {"", {41, 255, 1, "BuildWaveBriar"}};
const FaultyLink PortLibrary = {"", {40, 255, 0, "BuildWaveBriar"}, 0x0800};

class NamedFaults : public Session {
protected:
    // An empty world with this card alone.
    static void UseCard(const EmuCard& card)
    {
        EmuReset();
        EmuInstall();
        EmuPlugCard(card, -1);
    }

    void ExpectWorksAgain()
    {
        QV_Close(0);
        Renew();
        ExpectRecovery();
    }

    // The stream stops behind a pixel: 2 within `seconds`, and the next frame comes.
    void ExpectStallEnds(const FaultyLink& which, uint32_t afterPixel, uint64_t seconds)
    {
        Use(which);
        Renew();
        ASSERT_EQ(OpenCode(), 0);
        EmuBusMute(bus, afterPixel);
        const uint64_t before = EmuMicroseconds();
        EXPECT_EQ(FrameCode(), 2);
        EXPECT_LT(EmuMicroseconds() - before, seconds * UsPerSecond);
        EmuBusMute(bus, 0xFFFFFFFF);
        std::vector<uint16_t> pixels;
        EXPECT_EQ(FrameCode(&pixels), 0);
        EXPECT_EQ(pixels, wanted);
        ExpectNothingLeft();
    }
};

} // namespace

TEST_F(NamedFaults, NoKernelDriverIs13)
{
    Use(Whole);
    Renew();
    EmuHaveCardDriver(false);
    EXPECT_EQ(OpenCode(), 13);
    EmuHaveCardDriver(true);
    ExpectRecovery();
}

TEST_F(NamedFaults, NoCardIs15)
{
    Use(Whole);
    EmuReset();
    EmuInstall();
    EXPECT_EQ(OpenCode(), 15);
    ExpectWorksAgain();
}

TEST_F(NamedFaults, CardOfAnotherIndexIs15)
{
    Use(Whole);
    EmuCard other;
    other.deviceId = 2003;
    UseCard(other);
    EXPECT_EQ(OpenCode(), 15);
    ExpectWorksAgain();
}

TEST_F(NamedFaults, CardInUseIs4)
{
    Use(Whole);
    EmuCard card;
    card.lockedElsewhere = true;
    UseCard(card);
    EXPECT_EQ(OpenCode(), 4);
    ExpectWorksAgain();
}

TEST_F(NamedFaults, NoDmaMemoryIs9)
{
    Use(Whole);
    Renew();
    EmuFail(EmuDmaLock, 1, true);
    EXPECT_EQ(OpenCode(), 9);
    EXPECT_EQ(EmuDmaLocked(), 0u);
    EmuFail(EmuDmaLock, 0, false);
    ExpectRecovery();
}

// The second way, memory of the process.
TEST_F(NamedFaults, DmaMemoryOfTheProcessWillDo)
{
    Use(Whole);
    Renew();
    EmuFail(EmuDmaLock, 1, false);
    ExpectRecovery();
}

TEST_F(NamedFaults, UnlinkedSerializerIs10AndGivesTheCardBack)
{
    Use(R3Serial);
    EmuCard card;
    card.decoder = 0xAAAA2;
    card.unlinked = true;
    UseCard(card);
    EXPECT_EQ(OpenCode(1), 10);
    EXPECT_EQ(EmuCardsOpen(), 0u);
    card.decoder = 3;
    UseCard(card);
    EXPECT_EQ(OpenCode(3), 10);
    EXPECT_EQ(EmuCardsOpen(), 0u);
    ExpectWorksAgain();
}

TEST_F(NamedFaults, OtherDecoderIs11)
{
    Use(R3Serial);
    EmuCard card;
    card.decoder = 0xAAAA1; // for Tarn_IV only
    UseCard(card);
    EXPECT_EQ(OpenCode(1), 11);
    ExpectWorksAgain();
}

TEST_F(NamedFaults, OtherSecondReplyIs11AndOnTarnIv12)
{
    EmuCard card;
    card.decoder = 0xAAAA2;
    card.secondReply = 77;
    Use(R3Serial);
    UseCard(card);
    EXPECT_EQ(OpenCode(1), 11);
    ExpectWorksAgain();
    Use(TarnIvSerial);
    UseCard(card);
    EXPECT_EQ(OpenCode(1), 12);
    ExpectWorksAgain();
}

// On BRIAR-PCI no camera at the cable is an open camera that is not calibrated.
TEST_F(NamedFaults, WrongVersionIs1)
{
    for (const FaultyLink* which : {&R3, &ByteCable, &PrinterPort, &PortCard, &Whole}) {
        SCOPED_TRACE(which->setup.platform);
        Use(*which);
        Renew();
        EmuBusPower(bus, false);
        EXPECT_EQ(OpenCode(), which == &Whole ? 0 : 1);
        ExpectWorksAgain();
    }
}

// Once it is there it stays for the life of the process, so nothing opened it before.
TEST_F(NamedFaults, MissingPortLibraryIs19)
{
    link = PortLibrary;
    Renew();
    EmuHavePortLibrary(false);
    EXPECT_EQ(OpenCode(), 19);
    EmuHavePortLibrary(true);
    EXPECT_EQ(OpenCode(), 0);
    EXPECT_EQ(FrameCode(), 0);
    ExpectNothingLeft();
}

TEST_F(NamedFaults, NoPortCardIs15)
{
    Use(PortCard);
    EmuReset();
    EmuInstall();
    EXPECT_EQ(OpenCode(), 15);
    ExpectWorksAgain();
}

// A thousand rounds of a millisecond without a word.
TEST_F(NamedFaults, StalledFrameTransferIs2)
{
    ExpectStallEnds(Whole, 100, 2);
    ExpectStallEnds(Whole, 0, 2);
    ExpectStallEnds(R3Serial, 100, 2);
}

// 200000 rounds of 10 microseconds and a read.
TEST_F(NamedFaults, StalledLineTransferIs2)
{
    ExpectStallEnds(Lines, 100, 4);
    ExpectStallEnds(Lines, 0, 4);
}

// Two million polls, a million on the port card.
TEST_F(NamedFaults, PixelThatNeverComesIs2)
{
    ExpectStallEnds(ByteCable, 100, 5);
    ExpectStallEnds(PrinterPort, 100, 5);
    ExpectStallEnds(PortCard, 100, 5);
}

// 100000 rounds of 10 microseconds, a poll each: a second at least.
TEST_F(NamedFaults, PixelOverTheCardTakesASecondToFail)
{
    Use(R3);
    Renew();
    ASSERT_EQ(OpenCode(), 0);
    EmuBusMute(bus, 10);
    const uint64_t before = EmuMicroseconds();
    std::vector<uint16_t> pixels(size_t{ImageColumns} * ImageRows);
    QV_TGetCCD(1, 0.01, pixels.data(), 0);
    EXPECT_EQ(QV_Status(0), 2);
    EXPECT_GT(EmuMicroseconds() - before, UsPerSecond);
    EXPECT_LT(EmuMicroseconds() - before, 3 * UsPerSecond);
    ExpectWorksAgain();
}

// A card without a window opens; nothing is written to an address of no meaning.
TEST_F(NamedFaults, CardThatWasNeverMappedReadsAllOnes)
{
    Use(Whole);
    EmuReset();
    EmuInstall();
    EmuCard card;
    card.noMemoryItem = true;
    EmuPlugCard(card, -1);
    EmuRecord(true);
    EXPECT_EQ(OpenCode(), 0);
    EXPECT_EQ(QV_RDReg(4, 0), 0xFFFF);
    EXPECT_EQ(QV_GetStatus(7, 0), 0xFFFFFFFF);
    QV_WRReg(4, 1, 0);
    QV_Poke(16, 1, 0);
    EXPECT_EQ(QV_Peek(16, 0), 0xFFFF);
    EXPECT_EQ(QV_GetKZBPCIRevision(0, 0), 65535u);
    EXPECT_EQ(FrameCode(), 2);
    QV_Close(0);
    const std::string traffic = EmuTraffic();
    EXPECT_EQ(traffic.find("stray"), std::string::npos);
    EXPECT_EQ(traffic.find("card control"), std::string::npos);
    EXPECT_EQ(traffic.find("card data"), std::string::npos);
    ExpectWorksAgain();
}

TEST_F(NamedFaults, ClosedCameraReadsAllOnes)
{
    Use(Whole);
    EmuRecord(true);
    EXPECT_EQ(QV_RDReg(4, 0), 0xFFFF);
    QV_WRReg(4, 1, 0);
    EXPECT_EQ(EmuTraffic().find("card c"), std::string::npos);
    EXPECT_EQ(EmuTraffic().find("stray"), std::string::npos);
}

// What failed to open is given back by the next open, of any kind, and by nothing else.
TEST_F(NamedFaults, FailedOpensDoNotPileUp)
{
    Use(R3);
    for (int32_t i = 0; i < 5; ++i) {
        Renew();
        EmuBusPower(bus, false);
        EXPECT_EQ(OpenCode(), 1);
        EXPECT_EQ(OpenCode(), 1);
        EXPECT_LE(EmuCardsOpen(), 1u);
        EXPECT_LE(EmuDmaLocked(), 1u);
        EmuBusPower(bus, true);
        ExpectRecovery();
    }
}
