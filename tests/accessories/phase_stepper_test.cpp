// A wheel whose motor's windings the library switches itself: platforms 40, 41, 42. A position
// is 111.11 steps, of which the whole ones are made.
#include "emulator/traffic.h"
#include "tests/accessories/accessories.h"

namespace {

constexpr int32_t Analog = 11, Control = 12;
constexpr uint16_t Windings = 0x1E00, Power = 0x0040;

class PhaseStepper : public BusAccessory {
protected:
    // The motor stands as its windings do after the open, at a multiple of four.
    void Fit(int32_t start, uint16_t markWidth = 1, int32_t platform = 42)
    {
        const int32_t link = platform == 42 ? 2 : platform - 40;
        VirtualSetup setup = {platform, 255, link, nullptr};
        setup.wheel.kind = EmuPhaseWheel;
        setup.wheel.start = start;
        setup.wheel.markWidth = markWidth;
        setup.wheelKind = 1;
        Begin(setup);
    }

    int32_t Current() const { return EmuBusRegister(bus, Analog) & Windings; }
    bool Powered() const { return (EmuBusRegister(bus, Control) & Power) != 0; }

    // Steps that a move makes, from a position that was reached without a move.
    int64_t Move(int32_t from, int32_t to)
    {
        QV_SetFilter(from, 0);
        const int64_t before = wheel->steps;
        QV_SetFilter(to, 0);
        return wheel->steps - before;
    }
};

} // namespace

TEST_F(PhaseStepper, GoesTheShortWay)
{
    Fit(1000);
    const struct {
        int32_t from, to;
        int64_t steps;
    } moves[] = {
        {1, 2, 111},  {2, 1, -111}, {1, 3, 222},  {1, 4, 333},  {1, 5, 444},
        {5, 1, -444}, // the direction of the sign
        {1, 6, -333}, {6, 1, 333},  {1, 7, -222}, {1, 8, -111}, {8, 1, 111},
        {2, 7, -333}, {7, 2, 333},  {4, 8, 444},  {8, 4, -444}, {3, 6, 333},
    };
    for (const auto& move : moves) {
        EXPECT_EQ(Move(move.from, move.to), move.steps) << move.from << " to " << move.to;
        EXPECT_EQ(QV_Status(0), 0);
    }
    EXPECT_EQ(wheel->lost, 0u);
}

TEST_F(PhaseStepper, MovesOnEachOfItsPlatforms)
{
    Fit(1000, 1, 40);
    QV_SetFilter(2, 0);
    EXPECT_EQ(wheel->steps, 1111);
    QV_Close(0);
    Fit(1000, 1, 41);
    QV_SetFilter(8, 0);
    EXPECT_EQ(wheel->steps, 889);
}

TEST_F(PhaseStepper, PresentPositionOnlyClearsTheError)
{
    Fit(1000);
    QV_SetFilter(3, 0);
    LeaveError();
    EXPECT_EQ(SleepsOf([] { QV_SetFilter(3, 0); }), (std::vector<uint32_t>{100}));
    EXPECT_EQ(wheel->steps, 1222);
    EXPECT_EQ(QV_Status(0), 0);
}

// Eight times 111 steps; a turn has 888 8/9.
TEST_F(PhaseStepper, LosesThirdsOfAStepFromPositionToPosition)
{
    Fit(1000);
    for (const int32_t position : {2, 3, 4, 5, 6, 7, 8, 1}) QV_SetFilter(position, 0);
    EXPECT_EQ(wheel->steps, 1888);
}

// From step 500 down to the upper edge of a mark of five steps.
TEST_F(PhaseStepper, FindsTheZeroMarkFromAbove)
{
    Fit(500, 5);
    LeaveError();
    QV_CalibFW(0);
    EXPECT_EQ(wheel->steps, 4);
    EXPECT_EQ(QV_Status(0), OtherError); // a success does not touch it
    EXPECT_FALSE(Powered());
    EXPECT_EQ(Current(), 0);
    QV_SetFilter(2, 0); // it stands at position 1 now
    EXPECT_EQ(wheel->steps, 115);
    EXPECT_EQ(wheel->lost, 0u);
}

// Below the mark it goes on round: 888 8/9 - 4 steps down from -4.
TEST_F(PhaseStepper, FindsTheZeroMarkOnTheOtherSide)
{
    Fit(-4);
    QV_CalibFW(0);
    EXPECT_EQ(wheel->steps, -888);
    EXPECT_EQ(QV_Status(0), 0);
}

TEST_F(PhaseStepper, SearchThatBeginsOnTheMarkMovesNothing)
{
    Fit(0, 8);
    QV_SetFW(0, 1, 0, 0);
    QV_SetFilter(2, 0);
    EXPECT_EQ(Current(), 0x1600); // 111 steps up: the last pattern of four
    wheel->steps = 3;             // by hand, as the windings hold it
    QV_SetFW(0, 0, 0, 0);
    EXPECT_EQ(SleepsOf([] { QV_CalibFW(0); }), (std::vector<uint32_t>{100}));
    EXPECT_EQ(wheel->steps, 3);
    EXPECT_EQ(Current(), 0x1600); // the windings stay as they were
    EXPECT_FALSE(Powered());
    QV_SetFilter(2, 0);
    EXPECT_EQ(wheel->steps, 114);
    EXPECT_EQ(wheel->lost, 0u);
}

TEST_F(PhaseStepper, HoldsOnlyIfItIsToldSo)
{
    Fit(1000);
    QV_SetFilter(2, 0);
    EXPECT_EQ(Current(), 0);
    QV_SetFW(0, 1, 0, 0);
    QV_SetFilter(3, 0);
    EXPECT_EQ(Current(), 0x1E00); // 222 steps: two beyond a round of four
    EXPECT_FALSE(Powered());
    QV_SetFW(0, 0, 0, 0);
    QV_SetFilter(4, 0);
    EXPECT_EQ(Current(), 0);
    EXPECT_EQ(wheel->steps, 1333);
    EXPECT_EQ(wheel->lost, 0u);
}

// A mark of one step, and from there on.
TEST_F(PhaseStepper, OffsetGoesUpWhenNegative)
{
    Fit(400);
    QV_OpenFW(0, 0, -30, 0);
    EXPECT_EQ(wheel->steps, 30);
    QV_OpenFW(0, 0, 45, 0);
    EXPECT_EQ(wheel->steps, -45);
    EXPECT_EQ(QV_Status(0), 0);
    EXPECT_EQ(wheel->lost, 0u);
}

// It stands on the mark, where the search moves nothing, so there is a run or nothing.
TEST_F(PhaseStepper, OffsetOfZeroGivesNoRun)
{
    Fit(0);
    EXPECT_EQ(SleepsOf([] { QV_OpenFW(0, 0, 0, 0); }), (std::vector<uint32_t>{100}));
    EXPECT_EQ(wheel->steps, 0);
}

TEST_F(PhaseStepper, KeepsTheOffsetForTheNextCalibration)
{
    Fit(0);
    LeaveError();
    QV_SetFW(0, 0, -12, 0);
    EXPECT_EQ(wheel->steps, 0);
    EXPECT_EQ(QV_Status(0), OtherError); // it only stores here
    QV_CalibFW(0);
    EXPECT_EQ(wheel->steps, 12);
}

// 20 ms are a millisecond less with each step up to the tenth, since the last twenty of
// thirty are a millisecond more again; in between the two meet.
TEST_F(PhaseStepper, ShortRunNeverReachesItsSpeed)
{
    Fit(0);
    std::vector<uint32_t> wanted = {100, 100};
    for (uint32_t ms = 19; ms >= 10; --ms) wanted.push_back(ms);
    wanted.insert(wanted.end(), 10, 9);
    for (uint32_t ms = 10; ms <= 19; ++ms) wanted.push_back(ms);
    wanted.push_back(100);
    EXPECT_EQ(SleepsOf([] { QV_OpenFW(0, 0, -30, 0); }), wanted);
    EXPECT_EQ(wheel->steps, 30);
}

// 18 steps down to 2 ms, 74 of 2 ms, 19 up from 3 ms.
TEST_F(PhaseStepper, RunSpeedsUpAndSlowsDown)
{
    Fit(1000);
    std::vector<uint32_t> wanted = {100, 100};
    for (uint32_t ms = 19; ms >= 2; --ms) wanted.push_back(ms);
    wanted.insert(wanted.end(), 74, 2);
    for (uint32_t ms = 3; ms <= 21; ++ms) wanted.push_back(ms);
    wanted.push_back(100);
    EXPECT_EQ(SleepsOf([] { QV_SetFilter(2, 0); }), wanted);
}

TEST_F(PhaseStepper, SearchMakesAStepEachFiveMilliseconds)
{
    Fit(8);
    const std::vector<uint32_t> wanted = {100, 5, 5, 5, 5, 5, 5, 5, 5, 100};
    EXPECT_EQ(SleepsOf([] { QV_CalibFW(0); }), wanted);
    EXPECT_EQ(wheel->steps, 0);
}

TEST_F(PhaseStepper, MarkThatIsNeverFoundIsAnError)
{
    Fit(1000);
    wheel->noMark = true;
    QV_CalibFW(0);
    EXPECT_EQ(QV_Status(0), 7);
    EXPECT_EQ(wheel->steps, -200);
    EXPECT_FALSE(Powered());
    QV_SetFilter(2, 0); // from position 1 on, and clears it
    EXPECT_EQ(wheel->steps, -89);
    EXPECT_EQ(QV_Status(0), 0);
}

// The offset's run is made all the same, and makes no success of it.
TEST_F(PhaseStepper, OpenOfAWheelWithoutItsMarkIsAnError)
{
    Fit(1000);
    wheel->noMark = true;
    QV_OpenFW(0, 0, -20, 0);
    EXPECT_EQ(QV_Status(0), 7);
    EXPECT_EQ(wheel->steps, -180);
}

// Where it stands is believed: a camera that is opened anew believes position 1. 444 steps
// are a whole number of rounds of the windings, so none is lost.
TEST_F(PhaseStepper, IsBelievedAtPosition1AfterAnOpen)
{
    Fit(1000);
    QV_SetFilter(5, 0);
    QV_Close(0);
    Open({42, 255, 2, nullptr});
    QV_SetFilter(5, 0);
    EXPECT_EQ(wheel->steps, 1888);
    EXPECT_EQ(wheel->lost, 0u);
}

// A wheel that someone turned by two steps is two steps off, and so it stays. Windings two
// steps away pull it nowhere and the next ones back: four in all.
TEST_F(PhaseStepper, WheelThatWasTurnedByHandIsOff)
{
    Fit(1000);
    wheel->steps = 1002;
    QV_SetFilter(2, 0);
    EXPECT_EQ(wheel->lost, 1u);
    EXPECT_EQ(wheel->steps, 1111);
}

// From 1 a distance of 8 is none the other way round. Far beyond it the way round is below
// 0, and so are its steps.
TEST_F(PhaseStepper, PositionsThatAreNotThereHarmNothing)
{
    Fit(1000);
    QV_SetFilter(9, 0);
    EXPECT_EQ(wheel->steps, 1000);
    QV_SetFilter(1, 0);
    EXPECT_EQ(wheel->steps, 1000);
    for (const int32_t position : {INT32_MAX, INT32_MIN, 0, -1}) QV_SetFilter(position, 0);
    EXPECT_LT(std::abs(wheel->steps - 1000), 4 * 32768);
    EXPECT_EQ(QV_Status(0), 0);
}

// 0xFFEE starts a conversion; a search of 800 steps takes four seconds.
TEST_F(PhaseStepper, NoTemperatureIsReadWhileItMoves)
{
    VirtualSetup setup = {42, 255, 2, nullptr};
    setup.wheel.kind = EmuPhaseWheel;
    setup.wheel.start = 800;
    Begin(setup, 0x1);
    QV_Delay(3000);
    QV_StopNow(0); // the timer has come to rest
    EmuRecordCycles(true);
    EmuRecord(true);
    EXPECT_GE(MillisecondsOf([] { QV_CalibFW(0); }), 4000u);
    EmuRecord(false);
    QV_StartNow(0);
    EXPECT_EQ(wheel->steps, 0);
    EXPECT_EQ(EmuTraffic().find("address FFEE"), std::string::npos);
    EXPECT_NE(EmuTraffic().find("sleep 5\n"), std::string::npos);
}

TEST_F(PhaseStepper, IsDrivenWhateverKindTheHostSays)
{
    for (const int32_t kind : {0, 2, 3, 4, 77}) {
        VirtualSetup setup = {42, 255, 2, nullptr};
        setup.wheel.kind = EmuPhaseWheel;
        setup.wheel.start = 400;
        setup.wheelKind = kind;
        Begin(setup);
        EXPECT_EQ(QV_IsThereFW(0), kind);
        QV_SetFilter(2, 0);
        EXPECT_EQ(wheel->steps, 511) << kind;
        QV_CalibFW(0);
        EXPECT_EQ(wheel->steps, 0) << kind;
        Renew();
    }
}
