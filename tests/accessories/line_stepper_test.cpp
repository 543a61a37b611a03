// A wheel whose motor has lines for step and direction: platforms 44 and 47, with 25 steps to
// each of eight positions or 33 1/3 to each of six.
#include "tests/accessories/accessories.h"

namespace {

constexpr int32_t Analog = 11, Control = 12;
constexpr uint16_t Drive = 0x1000, Power = 0x0040;
constexpr int32_t Eight = 1, Six = 2; // kinds

class LineStepper : public BusAccessory {
protected:
    VirtualSetup setup = {44, 255, 2, nullptr};

    // Its mark shows in one of twenty readings.
    void Fit(int32_t start, int32_t kind = Eight, uint16_t markWidth = 1)
    {
        setup.wheel.kind = EmuStepWheel;
        setup.wheel.positions = kind == Six ? 6 : 8;
        setup.wheel.start = start;
        setup.wheel.markWidth = markWidth;
        setup.wheel.markReads = 20;
        setup.wheelKind = kind;
        Begin(setup);
        DropWhatIsLeft();
        wheel->steps = start;
    }

    // Parts of a step outlive the camera: only a calibration ends them.
    void DropWhatIsLeft()
    {
        wheel->steps = 0;
        QV_CalibFW(0);
        ASSERT_EQ(QV_Status(0), 0);
    }

    int64_t Move(int32_t to)
    {
        const int64_t before = wheel->steps;
        QV_SetFilter(to, 0);
        return wheel->steps - before;
    }

    bool Driven() const { return (EmuBusRegister(bus, Analog) & Drive) != 0; }
    bool Powered() const { return (EmuBusRegister(bus, Control) & Power) != 0; }
};

struct Moved {
    int32_t to;
    int64_t steps;
};

} // namespace

TEST_F(LineStepper, OfEightPositionsGoesTheShortWay)
{
    for (const int32_t platform : {44, 47}) {
        setup.platform = platform;
        Fit(0, Eight);
        const Moved moves[] = {{5, 100}, {1, -100}, {6, -75}, {1, 75}, {2, 25},
                               {8, -50}, {4, -100}, {1, -75}, {1, 0}};
        for (const Moved& move : moves) EXPECT_EQ(Move(move.to), move.steps) << move.to;
        EXPECT_EQ(wheel->lost, 0u);
        EXPECT_EQ(QV_Status(0), 0);
        Renew();
    }
}

// Up, the part of a step is taken away and carried: 33.33 - 0.33, - 0.67, - 1.00, - 1.33,
// - 1.67, - 2.00. It never is brought back below one.
TEST_F(LineStepper, OfSixPositionsCarriesWhatIsLeftUpwards)
{
    Fit(0, Six);
    const Moved moves[] = {{2, 33}, {3, 32}, {4, 32}, {5, 32}, {6, 31}, {1, 31}};
    for (const Moved& move : moves) EXPECT_EQ(Move(move.to), move.steps) << move.to;
}

// Down, it is added: 33.33 + 0.33, + 0.67, + 1.00, + 1.33, of which the whole one is taken off
// afterwards, + 0.67, + 1.00.
TEST_F(LineStepper, OfSixPositionsCarriesWhatIsLeftDownwards)
{
    Fit(0, Six);
    const Moved moves[] = {{6, -33}, {5, -33}, {4, -34}, {3, -34}, {2, -33}, {1, -34}};
    for (const Moved& move : moves) EXPECT_EQ(Move(move.to), move.steps) << move.to;
}

// 99.999999 with 0.999999 taken away, and the same added to what is left: nothing.
TEST_F(LineStepper, OfSixPositionsMakes99StepsOverThree)
{
    Fit(0, Six);
    EXPECT_EQ(Move(4), 99);
    EXPECT_EQ(Move(1), -99);
    EXPECT_EQ(Move(2), 33);
}

// Behind a position down 0.33 are left: 99.999999 + 0.33 + 1.00; of 1.33 one is taken off, and
// 0.33 - 1.00 are below 0 for the way up.
TEST_F(LineStepper, OfSixPositionsAddsWhatIsLeftOverThree)
{
    Fit(0, Six);
    EXPECT_EQ(Move(6), -33);
    EXPECT_EQ(Move(3), -101);
    EXPECT_EQ(Move(6), 99);
}

TEST_F(LineStepper, CalibrationDropsWhatIsLeft)
{
    Fit(0, Six);
    EXPECT_EQ(Move(2), 33);
    EXPECT_EQ(Move(3), 32);
    QV_CalibFW(0);
    EXPECT_EQ(Move(2), 33);
    EXPECT_EQ(Move(3), 32);
}

// What is left belongs to the camera on the bus that the library is told of.
TEST_F(LineStepper, WhatIsLeftIsKeptForEachCameraOnTheBus)
{
    Fit(0, Six);
    QV_SubSelect(0, 1);
    DropWhatIsLeft();
    QV_SubSelect(0, 0);
    EXPECT_EQ(Move(2), 33);
    QV_SubSelect(0, 1);
    EXPECT_EQ(Move(3), 33);
    QV_SubSelect(0, 0);
    EXPECT_EQ(Move(4), 32);
}

// --- the search ---

TEST_F(LineStepper, FindsTheZeroMarkFromAbove)
{
    Fit(100, Eight, 5);
    LeaveError();
    QV_CalibFW(0);
    EXPECT_EQ(wheel->steps, 4);
    EXPECT_EQ(QV_Status(0), OtherError);
    EXPECT_FALSE(Powered());
    EXPECT_FALSE(Driven());
}

// Once at the end of the search and once behind it.
TEST_F(LineStepper, OffsetIsMadeTwice)
{
    Fit(100, Eight, 5);
    QV_OpenFW(0, 0, -7, 0);
    EXPECT_EQ(wheel->steps, 4 + 7 + 7);
    QV_OpenFW(0, 0, 7, 0);
    EXPECT_EQ(wheel->steps, 4 - 7 - 7);
    EXPECT_EQ(wheel->lost, 0u);
}

// The search is over before it comes to its own, and leaves the motor driven.
TEST_F(LineStepper, SearchThatBeginsOnTheMarkMovesNothing)
{
    Fit(3, Eight, 5);
    EXPECT_EQ(SleepsOf([] { QV_CalibFW(0); }), (std::vector<uint32_t>{100, 100}));
    EXPECT_EQ(wheel->steps, 3);
    EXPECT_TRUE(Driven());
    EXPECT_FALSE(Powered());
}

TEST_F(LineStepper, OffsetIsMadeOnceFromTheMark)
{
    Fit(3, Eight, 5);
    QV_OpenFW(0, 0, -7, 0);
    EXPECT_EQ(wheel->steps, 3 + 7);
    EXPECT_FALSE(Driven());
}

// Eight steps more with the search, by the sign of the offset alone; then the run. The mark
// is one step wide.
TEST_F(LineStepper, OfSixPositionsSearchesEightStepsFurther)
{
    const struct {
        int32_t offset;
        int64_t steps;
    } rows[] = {
        {0, 8},         // 8 up
        {-5, 3 + 5},    // 3 up, 5 up
        {4, -(12 + 4)}, // 12 down, 4 down
        {-8, 8},        // none, 8 up
        {-10, 10},      // two below none, 10 up
        {1, -(9 + 1)},  // 9 down, 1 down
    };
    for (const auto& row : rows) {
        Fit(60, Six);
        QV_OpenFW(0, 0, row.offset, 0);
        EXPECT_EQ(wheel->steps, row.steps) << row.offset;
        EXPECT_EQ(QV_Status(0), 0);
        Renew();
    }
}

TEST_F(LineStepper, OfSixPositionsSearchesOnTheMarkToo)
{
    Fit(0, Six);
    QV_CalibFW(0);
    EXPECT_EQ(wheel->steps, 8);
    EXPECT_FALSE(Driven());
}

// Twice 10 ms a step on the way down, 20 ms a step of the offset.
TEST_F(LineStepper, SearchTakesItsTime)
{
    Fit(3);
    std::vector<uint32_t> wanted = {100, 100, 10, 10, 10, 10, 10, 10, 300, 20, 20, 100};
    // The run of two: never above 20 ms, never long enough to be faster than the end allows.
    wanted.insert(wanted.end(), {100, 19, 19, 100});
    EXPECT_EQ(SleepsOf([] { QV_OpenFW(0, 0, -2, 0); }), wanted);
    EXPECT_EQ(wheel->steps, 4);
}

TEST_F(LineStepper, MarkThatIsNeverFoundIsAnError)
{
    Fit(1300);
    wheel->noMark = true;
    QV_CalibFW(0);
    EXPECT_EQ(QV_Status(0), 7);
    EXPECT_EQ(wheel->steps, 100);
    EXPECT_FALSE(Powered());
    EXPECT_EQ(Move(2), 25); // from position 1 on
    EXPECT_EQ(QV_Status(0), 0);
    wheel->steps = 1300;
    QV_OpenFW(0, 0, -5, 0); // the offsets are made all the same
    EXPECT_EQ(QV_Status(0), 7);
    EXPECT_EQ(wheel->steps, 110);
}

// --- the run ---

TEST_F(LineStepper, HoldsOnlyIfItIsToldSo)
{
    Fit(50);
    EXPECT_EQ(Move(2), 25);
    EXPECT_FALSE(Driven());
    QV_SetFW(0, 1, 0, 0);
    EXPECT_EQ(Move(3), 25);
    EXPECT_TRUE(Driven());
    EXPECT_FALSE(Powered());
}

// 16 steps down to 4 ms, 65 of 4 ms, 19 up from 5 ms.
TEST_F(LineStepper, RunSpeedsUpAndSlowsDown)
{
    Fit(50);
    std::vector<uint32_t> wanted = {100, 100};
    for (uint32_t ms = 19; ms >= 4; --ms) wanted.push_back(ms);
    wanted.insert(wanted.end(), 65, 4);
    for (uint32_t ms = 5; ms <= 23; ++ms) wanted.push_back(ms);
    wanted.push_back(100);
    EXPECT_EQ(SleepsOf([] { QV_SetFilter(5, 0); }), wanted);
    EXPECT_EQ(wheel->steps, 150);
}

// The second sensor sees nothing at ten steps off, and nobody is told.
TEST_F(LineStepper, MoveThatMissesItsPositionIsNotTold)
{
    Fit(10);
    LeaveError();
    EXPECT_EQ(Move(2), 25);
    EXPECT_EQ(QV_Status(0), 0);
    EXPECT_EQ(Move(1), -25);
}

TEST_F(LineStepper, PositionsThatAreNotThereHarmNothing)
{
    Fit(0);
    for (const int32_t position : {9, 1, INT32_MAX, INT32_MIN, 0, -1}) QV_SetFilter(position, 0);
    EXPECT_LT(std::abs(wheel->steps), 4 * 32768);
}

TEST_F(LineStepper, AnyOtherKindHasEightPositions)
{
    for (const int32_t kind : {0, 5, -1}) {
        Fit(0, kind);
        EXPECT_EQ(QV_IsThereFW(0), kind);
        EXPECT_EQ(Move(2), 25) << kind;
        Renew();
    }
}

// Only controllers take the values at once.
TEST_F(LineStepper, ValuesAreKeptForTheNextCalibration)
{
    Fit(0);
    LeaveError();
    EXPECT_EQ(SleepsOf([] { QV_SetFW(1, 0, -3, 0); }), (std::vector<uint32_t>{100}));
    EXPECT_EQ(QV_Status(0), OtherError);
    QV_CalibFW(0);
    EXPECT_EQ(wheel->steps, 3);
}

// Numbers of cameras on the bus come from a file unchecked: eight are kept.
TEST_F(LineStepper, AnyNumberOfACameraOnTheBusHarmsNothing)
{
    setup.wheel.kind = EmuStepWheel;
    Plug(setup);
    for (const int32_t number : {9, -1, INT32_MAX, INT32_MIN}) {
        CameraConfig config = {};
        config.FilterWheel = Six;
        config.CameraAddress = number;
        QV_InitOptions(&config, 0);
        QV_Open(44, 255, 0, 2, 0, 0, 0, nullptr, nullptr);
        ASSERT_EQ(QV_Status(0), 0);
        wheel = EmuBusWheel(bus);
        QV_CalibFW(0);
        EXPECT_EQ(Move(2), 33) << number;
        QV_Close(0);
    }
}
