// The timer's thread is not one of those that the host's signals are meant for.
#include <gtest/gtest.h>

#include <atomic>

#include <signal.h>

#include "platform/system.h"

namespace {

std::atomic<int32_t> Ticks;
std::atomic<bool> TakesSignals;

void LookAtSignals(uint32_t)
{
    sigset_t blocked;
    pthread_sigmask(SIG_SETMASK, nullptr, &blocked);
    TakesSignals = sigismember(&blocked, SIGINT) == 0 || sigismember(&blocked, SIGTERM) == 0;
    ++Ticks;
}

} // namespace

TEST(TimerSignals, AreLeftToTheThreadsOfTheHost)
{
    UseNativeSystem();
    const uint32_t timer = System.timer.Start(2, LookAtSignals, 0);
    ASSERT_NE(timer, 0u);
    for (int32_t round = 0; round < 5000 && Ticks == 0; ++round) System.clock.Sleep(1);
    System.timer.Stop(timer);
    ASSERT_GT(Ticks, 0);
    EXPECT_FALSE(TakesSignals);
    sigset_t blocked;
    pthread_sigmask(SIG_SETMASK, nullptr, &blocked);
    EXPECT_EQ(sigismember(&blocked, SIGINT), 0) << "the caller's own signals are as they were";
}
