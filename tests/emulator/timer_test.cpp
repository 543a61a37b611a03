// Timers and scheduled actions of the virtual clock.
#include <utility>

#include "tests/emulator/world.h"

namespace {

// What ran, and when, in microseconds.
using Log = std::vector<std::pair<int32_t, uint64_t>>;
Log Ran;
int Depth, Deepest;
uint32_t StopMe;

void Note(int32_t what)
{
    Ran.emplace_back(what, EmuMicroseconds());
}

void NoteTick(uint32_t user)
{
    Note(static_cast<int32_t>(user));
}

// Notes each entry; the outermost one lasts for 250 ms.
void LastFor250(uint32_t user)
{
    NoteTick(user);
    if (++Depth == 1) System.clock.Sleep(250);
    --Depth;
}

// Every entry lasts for 250 ms, the nested ones too.
void AlwaysLastFor250(uint32_t user)
{
    NoteTick(user);
    if (++Depth > Deepest) Deepest = Depth;
    System.clock.Sleep(250);
    --Depth;
}

void StopFromTick(uint32_t user)
{
    NoteTick(user);
    System.timer.Stop(StopMe);
}

void StopTimer(int32_t timer)
{
    System.timer.Stop(static_cast<uint32_t>(timer));
}

void SleepThenNote(int32_t what)
{
    System.clock.Sleep(5);
    Note(what);
}

class VirtualTimer : public VirtualWorld {
protected:
    void SetUp() override
    {
        VirtualWorld::SetUp();
        Ran.clear();
        Depth = Deepest = 0;
    }
};

} // namespace

TEST_F(VirtualTimer, TicksEveryPeriodOnTheCallersThread)
{
    EXPECT_NE(System.timer.Start(100, NoteTick, 7), 0u);
    System.clock.Sleep(99);
    EXPECT_EQ(Ran, Log());
    System.clock.Sleep(251);
    EXPECT_EQ(Ran, (Log{{7, 100'000}, {7, 200'000}, {7, 300'000}}));
    EXPECT_EQ(EmuMicroseconds(), 350'000u);
}

TEST_F(VirtualTimer, PhaseBringsTheFirstTickForward)
{
    EmuSetTimerPhase(30'000);
    System.timer.Start(100, NoteTick, 1);
    System.clock.Sleep(200);
    EXPECT_EQ(Ran, (Log{{1, 70'000}, {1, 170'000}}));
}

TEST_F(VirtualTimer, PhaseBeyondThePeriodCountsByItsRest)
{
    EmuSetTimerPhase(230'000);
    System.timer.Start(100, NoteTick, 1);
    System.clock.Sleep(100);
    EXPECT_EQ(Ran, (Log{{1, 70'000}}));
}

TEST_F(VirtualTimer, EventsRunInOrderOfTheirTimes)
{
    System.timer.Start(30, NoteTick, 1);
    System.timer.Start(20, NoteTick, 2);
    EmuSchedule(50'000, Note, 4);
    EmuSchedule(25'000, Note, 3);
    System.clock.Sleep(59);
    EXPECT_EQ(Ran, (Log{{2, 20'000}, {3, 25'000}, {1, 30'000}, {2, 40'000}, {4, 50'000}}));
}

TEST_F(VirtualTimer, AnEventAtTheEndOfASleepRuns)
{
    EmuSchedule(10'000, Note, 1);
    EmuSchedule(10'001, Note, 2);
    System.clock.Sleep(10);
    EXPECT_EQ(Ran, (Log{{1, 10'000}}));
}

TEST_F(VirtualTimer, AnActionRunsOnceAndWhatIsLateAtOnce)
{
    System.clock.Sleep(10);
    EmuSchedule(4'000, Note, 1);
    System.clock.Sleep(1);
    System.clock.Sleep(10);
    EXPECT_EQ(Ran, (Log{{1, 10'000}})) << "time never goes back";
}

TEST_F(VirtualTimer, AnActionMaySleep)
{
    EmuSchedule(10'000, SleepThenNote, 1);
    EmuSchedule(12'000, Note, 2);
    System.clock.Sleep(11);
    EXPECT_EQ(Ran, (Log{{2, 12'000}, {1, 15'000}}));
    EXPECT_EQ(EmuMicroseconds(), 15'000u) << "the sleep was over while the action slept";
}

TEST_F(VirtualTimer, SixtyFourActionsCanWait)
{
    for (int i = 0; i < 64; ++i) EmuSchedule(1'000, Note, i);
    EXPECT_DEATH(EmuSchedule(1'000, Note, 64), "more than 64 scheduled actions");
    System.clock.Sleep(1);
    EXPECT_EQ(Ran.size(), 64u);
    EmuSchedule(2'000, Note, 64);
    System.clock.Sleep(1);
    EXPECT_EQ(Ran.size(), 65u);
}

TEST_F(VirtualTimer, ALongCallbackIsEnteredAgainByLaterTicks)
{
    System.timer.Start(100, LastFor250, 1);
    System.clock.Sleep(420);
    // The first lasts from 100 to 350 ms; 200 and 300 ms fall into it.
    EXPECT_EQ(
        Ran,
        (Log{{1, 100'000}, {1, 200'000}, {1, 300'000}, {1, 400'000}, {1, 500'000}, {1, 600'000}}));
    EXPECT_EQ(EmuMicroseconds(), 650'000u);
}

TEST_F(VirtualTimer, NestedCallbacksGoOneDeepAndFurtherTicksAreDropped)
{
    System.timer.Start(100, AlwaysLastFor250, 1);
    System.clock.Sleep(100);
    // Entered at 100, again at 200 until 450; 300 and 400 ms are dropped.
    EXPECT_EQ(Ran, (Log{{1, 100'000}, {1, 200'000}}));
    EXPECT_EQ(Deepest, 2);
    EXPECT_EQ(EmuMicroseconds(), 450'000u);
}

TEST_F(VirtualTimer, AfterALongCallbackTheNextTickIsThatOfTheNextPeriod)
{
    System.timer.Start(100, AlwaysLastFor250, 1);
    System.clock.Sleep(100);
    ASSERT_EQ(EmuMicroseconds(), 450'000u);
    Ran.clear();
    System.clock.Sleep(49);
    EXPECT_EQ(Ran, Log());
    System.clock.Sleep(1);
    ASSERT_FALSE(Ran.empty());
    EXPECT_EQ(Ran[0], std::make_pair(1, uint64_t{500'000}));
}

TEST_F(VirtualTimer, StoppedTimerTicksNoMore)
{
    const uint32_t timer = System.timer.Start(100, NoteTick, 1);
    EXPECT_EQ(EmuTimersRunning(), 1u);
    EmuSchedule(250'000, StopTimer, static_cast<int32_t>(timer));
    System.clock.Sleep(1000);
    EXPECT_EQ(Ran.size(), 2u);
    EXPECT_EQ(EmuTimersRunning(), 0u);
}

TEST_F(VirtualTimer, OneTimerMayStopAnother)
{
    System.timer.Start(100, StopFromTick, 1);
    StopMe = System.timer.Start(100, NoteTick, 2);
    System.clock.Sleep(100);
    EXPECT_EQ(Ran, (Log{{1, 100'000}}));
}

TEST_F(VirtualTimer, EightTimersCanRun)
{
    uint32_t timers[8];
    for (uint32_t& timer : timers) timer = System.timer.Start(100, NoteTick, 1);
    for (const uint32_t timer : timers) EXPECT_NE(timer, 0u);
    EXPECT_EQ(System.timer.Start(100, NoteTick, 1), 0u);
    System.timer.Stop(timers[2]);
    EXPECT_EQ(System.timer.Start(100, NoteTick, 1), timers[2]);
    EXPECT_EQ(EmuTimersRunning(), 8u);
    EmuReset();
    EXPECT_EQ(EmuTimersRunning(), 0u);
}

TEST_F(VirtualTimer, NoPeriodIsNoTimerAndAStrangerIsLeftAlone)
{
    EXPECT_EQ(System.timer.Start(0, NoteTick, 1), 0u);
    System.timer.Start(100, NoteTick, 1);
    System.timer.Stop(0);
    System.timer.Stop(99);
    EXPECT_EQ(EmuTimersRunning(), 1u);
}

TEST_F(VirtualTimer, CallsOfTheTimerTakeNoTime)
{
    EXPECT_EQ(Cost([] {
                  System.timer.BeginPeriod(System.timer.FinestPeriod());
                  const uint32_t timer = System.timer.Start(1, NoteTick, 1);
                  System.timer.Stop(timer);
                  System.timer.EndPeriod(1);
              }),
              0u);
    EXPECT_EQ(System.timer.FinestPeriod(), 1u);
}

TEST_F(VirtualTimer, RelaxRunsTheNextTick)
{
    System.timer.Start(100, NoteTick, 1);
    System.clock.Relax();
    EXPECT_EQ(Ran, (Log{{1, 100'000}}));
    System.clock.Relax();
    EXPECT_EQ(Ran, (Log{{1, 100'000}, {1, 200'000}}));
}
