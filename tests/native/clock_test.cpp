// The clock, the surroundings and the gaps of the native filling.
#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <chrono>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <string>

#include <sched.h>

#include "platform/system.h"
#include "tests/native/nobody.h"

namespace {

using std::chrono::microseconds;
using std::chrono::milliseconds;
using SteadyClock = std::chrono::steady_clock;

class Native : public testing::Test {
protected:
    void SetUp() override { UseNativeSystem(); }
};

template <typename Call> microseconds Duration(Call call)
{
    const SteadyClock::time_point begin = SteadyClock::now();
    call();
    return std::chrono::duration_cast<microseconds>(SteadyClock::now() - begin);
}

// A record of nothing but function pointers.
template <typename Api> bool IsFilled(const Api& api)
{
    static_assert(sizeof(Api) % sizeof(uintptr_t) == 0);
    uintptr_t members[sizeof(Api) / sizeof(uintptr_t)];
    memcpy(members, &api, sizeof members);
    return std::find(std::begin(members), std::end(members), 0u) == std::end(members);
}

} // namespace

TEST_F(Native, NoMemberIsNull)
{
    EXPECT_TRUE(IsFilled(System.clock));
    EXPECT_TRUE(IsFilled(System.timer));
    EXPECT_NE(System.process.SetPriority, nullptr);
    EXPECT_NE(System.process.CurrentDirectory, nullptr);
    EXPECT_NE(System.process.CanEnterDirectory, nullptr);
    EXPECT_EQ(System.process.separator, '/');
    EXPECT_TRUE(IsFilled(System.file));
    EXPECT_TRUE(IsFilled(System.library));
    EXPECT_TRUE(IsFilled(System.device));
    EXPECT_TRUE(IsFilled(System.registers));
    EXPECT_TRUE(IsFilled(System.port));
    EXPECT_TRUE(IsFilled(System.usb));
    EXPECT_TRUE(IsFilled(System.memory));
}

TEST_F(Native, SleepLastsAtLeastItsTime)
{
    for (uint32_t length : {1u, 5u, 20u}) {
        const microseconds slept = Duration([length] { System.clock.Sleep(length); });
        EXPECT_GE(slept, milliseconds(length));
        EXPECT_LT(slept, milliseconds(length) + std::chrono::seconds(2));
    }
    for (uint32_t length : {1u, 100u, 400u}) {
        EXPECT_GE(Duration([length] { System.clock.SleepMicroseconds(length); }),
                  microseconds(length));
    }
}

// On an idle machine it is late by some microseconds; here one of many tries is
// enough, since others may want the processor.
TEST_F(Native, SleepEndsOnTime)
{
    microseconds best = std::chrono::hours(1);
    for (int attempt = 0; attempt < 20; ++attempt) {
        best = std::min(best, Duration([] { System.clock.Sleep(2); }));
    }
    EXPECT_LT(best, milliseconds(3));
}

TEST_F(Native, SleepOfNothingAndRelaxReturn)
{
    EXPECT_LT(Duration([] { System.clock.Sleep(0); }), std::chrono::seconds(2));
    EXPECT_LT(Duration([] { System.clock.SleepMicroseconds(0); }), std::chrono::seconds(2));
    EXPECT_LT(Duration([] { System.clock.Relax(); }), std::chrono::seconds(2));
}

TEST_F(Native, TickCountCountsMilliseconds)
{
    const SteadyClock::time_point begin = SteadyClock::now();
    const uint32_t first = System.clock.TickCount();
    System.clock.Sleep(30);
    const uint32_t passed = System.clock.TickCount() - first;
    const milliseconds most =
        std::chrono::duration_cast<milliseconds>(SteadyClock::now() - begin) + milliseconds(1);
    EXPECT_GE(passed, 30u);
    EXPECT_LE(passed, most.count());
}

TEST_F(Native, WallSecondsAreThoseOfTheHost)
{
    const int64_t before = time(nullptr);
    const int64_t told = System.clock.WallSeconds();
    EXPECT_GE(told, before);
    EXPECT_LE(told, time(nullptr));
}

TEST_F(Native, PriorityThatIsRefusedIsPassedOverInSilence)
{
    const int policy = AsNobody([] {
        UseNativeSystem();
        System.process.SetPriority(256, 15);
        return sched_getscheduler(0);
    });
    EXPECT_EQ(policy, SCHED_OTHER);
}

TEST_F(Native, NormalPriorityIsTakenBack)
{
    System.process.SetPriority(256, 15);
    System.process.SetPriority(32, 0);
    EXPECT_EQ(sched_getscheduler(0), SCHED_OTHER);
}

TEST_F(Native, CurrentDirectoryMustFit)
{
    const std::string current = std::filesystem::current_path().string();
    char path[4096];
    ASSERT_TRUE(System.process.CurrentDirectory(path, sizeof path));
    EXPECT_EQ(path, current);
    const uint32_t length = static_cast<uint32_t>(current.size());
    EXPECT_TRUE(System.process.CurrentDirectory(path, length + 1));
    EXPECT_FALSE(System.process.CurrentDirectory(path, length));
}

TEST_F(Native, LibrariesAreLoadedByName)
{
    void* library = System.library.Load("libm.so.6");
    ASSERT_NE(library, nullptr);
    const auto root = std::bit_cast<double (*)(double)>(System.library.Symbol(library, "sqrt"));
    ASSERT_NE(root, nullptr);
    EXPECT_EQ(root(16.0), 4.0);
    EXPECT_EQ(System.library.Symbol(library, "no_such_function"), nullptr);
    System.library.Free(library);
}

TEST_F(Native, BareLibraryNameIsCompleted)
{
    void* library = System.library.Load("config");
    ASSERT_NE(library, nullptr) << "libconfig.so";
    EXPECT_NE(System.library.Symbol(library, "config_init"), nullptr);
    System.library.Free(library);
}

TEST_F(Native, MissingLibraryIsNull)
{
    EXPECT_EQ(System.library.Load("no_such_library"), nullptr);
    EXPECT_EQ(System.library.Load(std::string(300, 'a').c_str()), nullptr);
    EXPECT_EQ(System.library.Load(""), nullptr);
    EXPECT_EQ(System.library.Load("no_such_library.so"), nullptr);
    EXPECT_EQ(System.library.Symbol(nullptr, "sqrt"), nullptr);
    System.library.Free(nullptr);
}

TEST_F(Native, UsbCallsWithoutADeviceFailAndClearTheirResults)
{
    constexpr uint32_t otherError = 18;
    uint32_t count = 7;
    char serial[16] = "old", description[64] = "old";
    EXPECT_EQ(System.usb.Read(0, serial, 1, &count), otherError);
    EXPECT_EQ(count, 0u);
    count = 7;
    EXPECT_EQ(System.usb.Write(0, "a", 1, &count), otherError);
    EXPECT_EQ(count, 0u);
    count = 7;
    EXPECT_EQ(System.usb.GetQueueStatus(0, &count), otherError);
    EXPECT_EQ(count, 0u);
    EXPECT_EQ(System.usb.DeviceInfo(0, serial, description), otherError);
    EXPECT_STREQ(serial, "");
    EXPECT_STREQ(description, "");
    for (const auto call : {System.usb.Close, System.usb.ResetDevice, System.usb.ResetPort}) {
        EXPECT_EQ(call(0), otherError);
    }
    EXPECT_EQ(System.usb.SetFlowControl(0, 0, 0, 0), otherError);
    EXPECT_EQ(System.usb.Purge(0, 3), otherError);
    EXPECT_EQ(System.usb.SetTimeouts(0, 1, 1), otherError);
    EXPECT_EQ(System.usb.SetLatencyTimer(0, 2), otherError);
    EXPECT_EQ(System.usb.SetBitMode(0, 0, 0), otherError);
    EXPECT_EQ(System.usb.SetTransferSizes(0, 1, 1), otherError);
}

TEST_F(Native, MemoryIsGivenAndTakenBack)
{
    void* block = System.memory.Allocate(1 << 20);
    ASSERT_NE(block, nullptr);
    memset(block, 1, 1 << 20);
    System.memory.Release(block);
    System.memory.Release(nullptr);
}
