// The card itself, access by access.
#include "core/record.h"
#include "emulator/traffic.h"
#include "tests/traffic/conversation.h"

namespace {

class TrafficOfTheCard : public Conversation {};

constexpr VirtualSetup BriarPci = {42, 255, 2, "BuildWaveBriar", 200};
constexpr VirtualSetup BriarR3 = {44, 255, 2, "BuildWaveR3", 100, 0xAAAA2};
constexpr VirtualSetup Heron = {60, 255, 2, "BuildWaveHeron"};

} // namespace

TEST_F(TrafficOfTheCard, OpenAndCloseOnAParallelCable)
{
    OpenRecorded(BriarPci, false);
    EmuRecord(true);
    QV_Close(0);
    ExpectFile("42_card.txt");
}

TEST_F(TrafficOfTheCard, OpenAndCloseBehindADecoder)
{
    OpenRecorded(BriarR3, false, 1);
    ExpectFile("44_decoder.txt");
    Record(false);
    QV_Close(0);
    ExpectFile("44_close.txt");
}

TEST_F(TrafficOfTheCard, TransferOfAWholeFrame)
{
    Begin(BriarPci);
    Record(false);
    Frame(1);
    ExpectFile("42_dma.txt");
}

TEST_F(TrafficOfTheCard, RegisterOverTheByteCable)
{
    Begin(Heron);
    Record(false);
    QV_WRReg(4, 0xABCD, 0);
    EXPECT_EQ(QV_RDReg(4, 0), 0xABCD);
    ExpectFile("60_card.txt");
}
