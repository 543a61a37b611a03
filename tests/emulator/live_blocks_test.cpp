// The count of live blocks across a reset of the world, and the least cost of a sleep.
#include <gtest/gtest.h>

#include "emulator/emulator.h"
#include "platform/system.h"

namespace {

struct EmptyWorld : testing::Test {
    void SetUp() override
    {
        EmuReset();
        EmuInstall();
    }
    void TearDown() override { UseNativeSystem(); }
};
using LiveBlocks = EmptyWorld;
using LeastCost = EmptyWorld;

} // namespace

TEST_F(LiveBlocks, RiseWithAllocateAndFallWithRelease)
{
    void* first = System.memory.Allocate(8);
    void* second = System.memory.Allocate(8);
    EXPECT_EQ(EmuLiveBlocks(), 2u);
    System.memory.Release(first);
    EXPECT_EQ(EmuLiveBlocks(), 1u);
    System.memory.Release(second);
    System.memory.Release(nullptr);
    EXPECT_EQ(EmuLiveBlocks(), 0u);
}

TEST_F(LiveBlocks, ABlockFromBeforeTheResetIsReleasedUncounted)
{
    void* old = System.memory.Allocate(8);
    EmuReset();
    EXPECT_EQ(EmuLiveBlocks(), 0u);
    void* fresh = System.memory.Allocate(8);
    System.memory.Release(old);
    EXPECT_EQ(EmuLiveBlocks(), 1u);
    System.memory.Release(fresh);
    EXPECT_EQ(EmuLiveBlocks(), 0u);
}

TEST_F(LiveBlocks, AnAllocationThatFailsLeavesNone)
{
    EmuFail(EmuAllocate, 1, false);
    EXPECT_EQ(System.memory.Allocate(8), nullptr);
    EXPECT_EQ(EmuLiveBlocks(), 0u);
}

// A loop that polls with it would otherwise never come to its time limit.
TEST_F(LeastCost, ASleepOfNoMicrosecondsCostsOne)
{
    System.clock.SleepMicroseconds(0);
    EXPECT_EQ(EmuMicroseconds(), 1u);
}
