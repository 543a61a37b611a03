// What BRIAR-R3 and R3-PLUS tell of their power and of the card's transfer.
#include "core/record.h"
#include "include/qvn.h"
#include "tests/support/fake_bus.h"

namespace {

using QueryStatus = FakeBusTest;

int32_t Reading;       // number of the next reading of the power status
int32_t FaultyReading; // the one that is not 0

uint32_t PowerStatus(int32_t selector, int32_t)
{
    Bus.log.push_back("status " + std::to_string(selector));
    return Reading++ == FaultyReading ? 0x100 : 0;
}

int32_t AskPower(int32_t faultyReading)
{
    Reading = 1;
    FaultyReading = faultyReading;
    CameraTable[0].Ops.ReadStatus = PowerStatus;
    return QV_QuerySts(1, 0);
}

} // namespace

TEST_F(QueryStatus, PowerIsLookedAtTwice)
{
    for (const int32_t platform : {44, 47}) {
        OpenFakeBus(platform, 255, 0, 2);
        EXPECT_EQ(AskPower(0), 0) << platform;
        EXPECT_EQ(TakeBusLog(), "status 9; sleep 20; status 9") << platform;
        EXPECT_EQ(AskPower(1), 1) << platform;
        EXPECT_EQ(AskPower(2), 1) << platform;
        TakeBusLog();
    }
}

TEST_F(QueryStatus, TransferIsOnWhileTheCardCounts)
{
    OpenFakeBus(44, 255, 0, 2);
    PlugFakeCard(8);
    Bus.dmaStep = 0;
    Bus.dmaLeft = 1;
    EXPECT_EQ(QV_QuerySts(2, 0), 1);
    Bus.dmaLeft = 0;
    EXPECT_EQ(QV_QuerySts(2, 0), 0);
}

TEST_F(QueryStatus, CardThatIsNotOpenCountsAsTransferring)
{
    OpenFakeBus(47, 255, 0, 2);
    EXPECT_EQ(QV_QuerySts(2, 0), 1);
}

TEST_F(QueryStatus, OtherQuestionsAndPlatformsGiveNothing)
{
    OpenFakeBus(44, 255, 0, 2);
    for (const int32_t which : {0, 3, -1}) EXPECT_EQ(QV_QuerySts(which, 0), 0);
    OpenFakeBus(42, 255, 0, 2);
    EXPECT_EQ(AskPower(1), 0);
    EXPECT_EQ(QV_QuerySts(2, 0), 0);
    EXPECT_EQ(TakeBusLog(), "");
}
