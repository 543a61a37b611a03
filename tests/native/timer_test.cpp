// The native timer on the real clock. Other programs may hold up any thread for
// long, so nothing here fails for lateness; it fails for what comes too early,
// too often, or not at all.
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <thread>

#include "platform/system.h"

namespace {

using std::chrono::milliseconds;
using SteadyClock = std::chrono::steady_clock;

constexpr int MostTicks = 64;

// What the callbacks of one test saw.
struct Ticks {
    std::atomic<int> count;
    std::atomic<int64_t> at[MostTicks]; // milliseconds, of each beginning
    std::atomic<uint32_t> user;
    std::atomic<bool> onOwnThread;
    std::atomic<int> running;
};
Ticks Seen[2];
std::thread::id MainThread;

int64_t Milliseconds()
{
    return std::chrono::duration_cast<milliseconds>(SteadyClock::now().time_since_epoch()).count();
}

void Note(uint32_t userValue)
{
    Ticks& seen = Seen[userValue & 1];
    const int tick = seen.count;
    if (tick < MostTicks) seen.at[tick] = Milliseconds();
    seen.user = userValue;
    seen.onOwnThread = std::this_thread::get_id() != MainThread;
    ++seen.count;
}

void BlockFirst(uint32_t userValue)
{
    Note(userValue);
    if (Seen[userValue & 1].count == 1) std::this_thread::sleep_for(milliseconds(250));
}

void BlockEach(uint32_t userValue)
{
    ++Seen[userValue & 1].running;
    Note(userValue);
    std::this_thread::sleep_for(milliseconds(100));
    --Seen[userValue & 1].running;
}

bool Reaches(const std::atomic<int>& count, int wanted)
{
    const SteadyClock::time_point limit = SteadyClock::now() + std::chrono::seconds(20);
    while (count < wanted && SteadyClock::now() < limit) {
        std::this_thread::sleep_for(milliseconds(1));
    }
    return count >= wanted;
}

class NativeTimer : public testing::Test {
protected:
    void SetUp() override
    {
        UseNativeSystem();
        MainThread = std::this_thread::get_id();
        for (Ticks& seen : Seen) {
            seen.count = 0;
            seen.user = 0;
            seen.running = 0;
        }
        System.timer.BeginPeriod(System.timer.FinestPeriod());
    }

    void TearDown() override { System.timer.EndPeriod(System.timer.FinestPeriod()); }
};

} // namespace

TEST_F(NativeTimer, FinestPeriodIsOneMillisecond)
{
    EXPECT_EQ(System.timer.FinestPeriod(), 1u);
}

TEST_F(NativeTimer, TicksOnAThreadOfItsOwnAndNeverEarly)
{
    const int64_t start = Milliseconds();
    const uint32_t timer = System.timer.Start(10, Note, 0xABCD0000);
    ASSERT_NE(timer, 0u);
    ASSERT_TRUE(Reaches(Seen[0].count, 5));
    System.timer.Stop(timer);
    EXPECT_TRUE(Seen[0].onOwnThread);
    EXPECT_EQ(Seen[0].user, 0xABCD0000u);
    for (int tick = 0; tick < 5; ++tick) EXPECT_GE(Seen[0].at[tick], start + 10 * (tick + 1));
}

// The first callback lasts from 100 to 350 ms, so the ticks of 200 and 300 ms are
// dropped and the second is that of 400 ms.
TEST_F(NativeTimer, TicksMissedByALongCallbackAreDropped)
{
    const int64_t start = Milliseconds();
    const uint32_t timer = System.timer.Start(100, BlockFirst, 0);
    ASSERT_NE(timer, 0u);
    ASSERT_TRUE(Reaches(Seen[0].count, 4));
    System.timer.Stop(timer);
    EXPECT_GE(Seen[0].at[0], start + 100);
    EXPECT_GE(Seen[0].at[1], start + 400);
    EXPECT_GE(Seen[0].at[2], start + 500);
    EXPECT_GE(Seen[0].at[3], start + 600);
}

TEST_F(NativeTimer, StopWaitsForTheCallbackAndNoneFollows)
{
    const uint32_t timer = System.timer.Start(5, BlockEach, 0);
    ASSERT_NE(timer, 0u);
    ASSERT_TRUE(Reaches(Seen[0].count, 1));
    System.timer.Stop(timer);
    EXPECT_EQ(Seen[0].running, 0);
    const int count = Seen[0].count;
    std::this_thread::sleep_for(milliseconds(50));
    EXPECT_EQ(Seen[0].count, count);
}

TEST_F(NativeTimer, StopDoesNotWaitForTheNextTick)
{
    const int64_t start = Milliseconds();
    const uint32_t timer = System.timer.Start(60'000, Note, 0);
    ASSERT_NE(timer, 0u);
    System.timer.Stop(timer);
    EXPECT_LT(Milliseconds() - start, 20'000);
    EXPECT_EQ(Seen[0].count, 0);
}

TEST_F(NativeTimer, TwoTimersTickApart)
{
    const uint32_t first = System.timer.Start(5, Note, 0);
    const uint32_t second = System.timer.Start(7, Note, 1);
    ASSERT_NE(first, 0u);
    ASSERT_NE(second, 0u);
    EXPECT_NE(first, second);
    EXPECT_TRUE(Reaches(Seen[0].count, 3));
    EXPECT_TRUE(Reaches(Seen[1].count, 3));
    System.timer.Stop(first);
    const int stopped = Seen[0].count;
    EXPECT_TRUE(Reaches(Seen[1].count, Seen[1].count + 3));
    EXPECT_EQ(Seen[0].count, stopped);
    System.timer.Stop(second);
}

TEST_F(NativeTimer, TimersAreCountedAndUsedAgain)
{
    uint32_t timers[8];
    for (uint32_t& timer : timers) timer = System.timer.Start(60'000, Note, 0);
    for (const uint32_t timer : timers) EXPECT_NE(timer, 0u);
    EXPECT_EQ(System.timer.Start(60'000, Note, 0), 0u);
    System.timer.Stop(timers[3]);
    timers[3] = System.timer.Start(60'000, Note, 0);
    EXPECT_NE(timers[3], 0u);
    for (const uint32_t timer : timers) System.timer.Stop(timer);
}

TEST_F(NativeTimer, NoPeriodIsNoTimerAndAStrangerIsLeftAlone)
{
    EXPECT_EQ(System.timer.Start(0, Note, 0), 0u);
    const uint32_t timer = System.timer.Start(5, Note, 0);
    System.timer.Stop(0);
    System.timer.Stop(timer + 1);
    System.timer.Stop(99);
    EXPECT_TRUE(Reaches(Seen[0].count, 2));
    System.timer.Stop(timer);
    System.timer.Stop(timer);
}
