// Virtual time: what calls cost, and what wall and tick count show.
#include <ctime>

#include "emulator/world.h"
#include "tests/emulator/world.h"

namespace {

class VirtualClock : public VirtualWorld {};

void Nothing(int32_t) {}

} // namespace

TEST_F(VirtualClock, StartsAtZeroAndStandsStill)
{
    EXPECT_EQ(EmuMicroseconds(), 0u);
    EXPECT_EQ(EmuMicroseconds(), 0u);
}

TEST_F(VirtualClock, SleepsTakeTheirLength)
{
    EXPECT_EQ(Cost([] { System.clock.Sleep(1); }), 1000u);
    EXPECT_EQ(Cost([] { System.clock.Sleep(600'000); }), 600'000'000u);
    EXPECT_EQ(Cost([] { System.clock.Sleep(0); }), 1u);
    EXPECT_EQ(Cost([] { System.clock.SleepMicroseconds(7); }), 7u);
    EXPECT_EQ(Cost([] { System.clock.SleepMicroseconds(0); }), 1u);
}

TEST_F(VirtualClock, ATickCountTakesTenMicroseconds)
{
    EXPECT_EQ(Cost([] { System.clock.TickCount(); }), 10u);
    EmuSetTickCost(250);
    EXPECT_EQ(Cost([] { System.clock.TickCount(); }), 250u);
    EmuReset();
    EXPECT_EQ(Cost([] { System.clock.TickCount(); }), 10u);
}

TEST_F(VirtualClock, ALoopThatPollsTheClockEnds)
{
    const uint32_t start = System.clock.TickCount();
    int rounds = 1;
    while (System.clock.TickCount() - start < 5) ++rounds;
    EXPECT_EQ(rounds, 499) << "the first count is read at 10 microseconds, the last at 5000";
}

TEST_F(VirtualClock, TickCountStartsWhereItIsToldAndWraps)
{
    EmuSetFirstTickCount(0xFFFFFFFE);
    EXPECT_EQ(System.clock.TickCount(), 0xFFFFFFFEu);
    System.clock.Sleep(1);
    EXPECT_EQ(System.clock.TickCount(), 0xFFFFFFFFu);
    System.clock.Sleep(1);
    EXPECT_EQ(System.clock.TickCount(), 0u);
    System.clock.Sleep(1);
    EXPECT_EQ(System.clock.TickCount(), 1u);
}

TEST_F(VirtualClock, WallSecondsGoOnWithTheClock)
{
    EmuSetWallSeconds(1'700'000'000);
    EXPECT_EQ(System.clock.WallSeconds(), 1'700'000'000);
    System.clock.Sleep(999);
    EXPECT_EQ(System.clock.WallSeconds(), 1'700'000'000);
    System.clock.Sleep(1);
    EXPECT_EQ(System.clock.WallSeconds(), 1'700'000'001);
    EXPECT_EQ(Cost([] { System.clock.WallSeconds(); }), 0u);
}

TEST_F(VirtualClock, RelaxTakesAMillisecondIfNothingIsDue)
{
    EXPECT_EQ(Cost([] { System.clock.Relax(); }), 1000u);
}

// A device that is polled may answer long before.
TEST_F(VirtualClock, RelaxGoesToWhatIsDueNextBeforeAMillisecondIsOver)
{
    EmuSchedule(1'456, Nothing, 0);
    System.clock.Relax();
    EXPECT_EQ(EmuMicroseconds(), 1'000u);
    System.clock.Relax();
    EXPECT_EQ(EmuMicroseconds(), 1'456u);
    System.clock.Relax();
    EXPECT_EQ(EmuMicroseconds(), 2'456u);
}

TEST_F(VirtualClock, WhatIsScheduledFromNowOnHasRoomForSixtyFour)
{
    System.clock.Sleep(5);
    for (int32_t i = 0; i < 64; ++i) EXPECT_TRUE(EmuScheduleIn(1'000, Nothing, 0));
    EXPECT_FALSE(EmuScheduleIn(1'000, Nothing, 0));
    EXPECT_EQ(EmuNextEvent(), 6'000u);
    System.clock.Sleep(1);
    EXPECT_EQ(EmuNextEvent(), UINT64_MAX);
    EXPECT_TRUE(EmuScheduleIn(1'000, Nothing, 0));
}

TEST_F(VirtualClock, SleepsAreCounted)
{
    EXPECT_EQ(EmuSleepCount(), 0u);
    System.clock.Sleep(20);
    System.clock.Sleep(5);
    System.clock.SleepMicroseconds(9000);
    EXPECT_EQ(EmuSleepCount(), 2u);
    EXPECT_EQ(EmuLastSleep(), 5u);
    EmuReset();
    EXPECT_EQ(EmuSleepCount(), 0u);
}

TEST_F(VirtualClock, RunIsTheSameEachTime)
{
    uint64_t ends[2];
    for (uint64_t& end : ends) {
        EmuReset();
        while (System.clock.TickCount() < 40) System.clock.SleepMicroseconds(333);
        end = EmuMicroseconds();
    }
    EXPECT_EQ(ends[0], ends[1]);
}

TEST_F(VirtualClock, WaitWithoutEndIsTold)
{
    EmuSetTimeLimit(1'000'000);
    System.clock.Sleep(1000);
    EXPECT_EQ(EmuMicroseconds(), 1'000'000u);
    EXPECT_DEATH(System.clock.Sleep(1), "virtual time limit of 1 s passed");
}

TEST_F(VirtualClock, LimitIsThirtyDays)
{
    constexpr uint32_t dayMs = 24 * 3600 * 1000;
    System.clock.Sleep(30 * dayMs);
    EXPECT_DEATH(System.clock.Sleep(1), "a wait without end");
}

TEST_F(VirtualClock, InRealTimeTheVirtualClockStandsStill)
{
    EmuInstallRealTime();
    const int64_t wall = System.clock.WallSeconds();
    EXPECT_GE(wall, time(nullptr) - 5) << "the clock is the host's";
    System.clock.Sleep(2);
    EXPECT_NE(System.library.Load("io"), nullptr) << "the world is the virtual one";
    EXPECT_EQ(EmuMicroseconds(), 0u);
    EmuInstall();
    EXPECT_EQ(Cost([] { System.clock.Sleep(2); }), 2000u);
}
