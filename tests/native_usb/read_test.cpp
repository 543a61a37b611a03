// Time-outs, the queue, and devices that go away.
#include <atomic>
#include <chrono>
#include <thread>

#include "tests/native_usb/native_usb.h"

namespace {

using Clock = std::chrono::steady_clock;

// A device with a latency of 2 milliseconds.
uint64_t OpenQuick(uint32_t readMs)
{
    const uint64_t handle = OpenDevice(0);
    EXPECT_EQ(System.usb.SetLatencyTimer(handle, 2), Ok);
    EXPECT_EQ(System.usb.SetTimeouts(handle, readMs, 1000), Ok);
    return handle;
}

uint32_t QueuedBytes(uint64_t handle)
{
    uint32_t count = 0;
    EXPECT_EQ(System.usb.GetQueueStatus(handle, &count), Ok);
    return count;
}

// Reads more than comes until the device is pulled out; as many as came.
uint32_t ReadUntilPulledOut(uint64_t handle, uint32_t bytes)
{
    Bytes frame(bytes);
    uint32_t got = 0;
    EXPECT_EQ(System.usb.Read(handle, frame.data(), bytes, &got), IoError);
    frame.resize(got);
    EXPECT_EQ(frame, Pattern(got));
    return got;
}

} // namespace

TEST_F(NativeUsb, AReadWithoutDataEndsWithItsTime)
{
    PlugIn({});
    const uint64_t handle = OpenQuick(50);
    const Clock::time_point before = Clock::now();
    EXPECT_TRUE(ReadBytes(handle, 10).empty());
    EXPECT_GE(Clock::now() - before, std::chrono::milliseconds(49));
}

TEST_F(NativeUsb, AReadThatRunsOutGivesWhatCame)
{
    Chip* chip = PlugIn({});
    const uint64_t handle = OpenQuick(50);
    Send(chip, {1, 2, 3});
    EXPECT_EQ(ReadBytes(handle, 10), (Bytes{1, 2, 3}));
}

TEST_F(NativeUsb, AChipThatDoesNotAnswerAtAllEndsAReadAsWell)
{
    Chip* chip = PlugIn({});
    const uint64_t handle = OpenQuick(50);
    Mute(chip, true);
    EXPECT_TRUE(ReadBytes(handle, 10).empty());
    Mute(chip, false);
    Send(chip, {9});
    EXPECT_EQ(ReadBytes(handle, 1), (Bytes{9}));
}

TEST_F(NativeUsb, AWriteToAChipThatDoesNotAnswerEnds)
{
    Chip* chip = PlugIn({});
    const uint64_t handle = OpenQuick(50);
    EXPECT_EQ(System.usb.SetTimeouts(handle, 50, 50), Ok);
    Mute(chip, true);
    uint32_t put = 7;
    EXPECT_EQ(System.usb.Write(handle, "abc", 3, &put), Ok);
    EXPECT_EQ(put, 0u);
}

TEST_F(NativeUsb, AReadWithoutALimitWaitsForItsLastByte)
{
    Chip* chip = PlugIn({});
    const uint64_t handle = OpenQuick(0);
    Send(chip, {1});
    std::thread late([chip] {
        std::this_thread::sleep_for(std::chrono::milliseconds(1100));
        Send(chip, {2});
    });
    EXPECT_EQ(ReadBytes(handle, 2), (Bytes{1, 2}));
    late.join();
}

TEST_F(NativeUsb, NothingIsReadIntoNoRoom)
{
    PlugIn({});
    const uint64_t handle = OpenQuick(0);
    uint32_t count = 7;
    EXPECT_EQ(System.usb.Read(handle, nullptr, 0, &count), Ok);
    EXPECT_EQ(count, 0u);
    count = 7;
    EXPECT_EQ(System.usb.Write(handle, nullptr, 0, &count), Ok);
    EXPECT_EQ(count, 0u);
}

TEST_F(NativeUsb, TheQueueHoldsWhatCameUntilItIsRead)
{
    Chip* chip = PlugIn({});
    const uint64_t handle = OpenQuick(5000);
    EXPECT_EQ(QueuedBytes(handle), 0u);
    Send(chip, {1, 2, 3});
    EXPECT_EQ(QueuedBytes(handle), 3u);
    Send(chip, {4});
    EXPECT_EQ(QueuedBytes(handle), 4u);
    Mute(chip, true);
    EXPECT_EQ(ReadBytes(handle, 2), (Bytes{1, 2}));
    Mute(chip, false);
    EXPECT_EQ(QueuedBytes(handle), 2u);
    EXPECT_EQ(ReadBytes(handle, 2), (Bytes{3, 4}));
    EXPECT_EQ(QueuedBytes(handle), 0u);
}

TEST_F(NativeUsb, AFullQueueLosesNothing)
{
    Chip* chip = PlugIn({});
    const uint64_t handle = OpenQuick(5000);
    Send(chip, Pattern(1 << 20));
    uint32_t queued = 0;
    for (int i = 0; i < 10; ++i) queued = QueuedBytes(handle);
    // The vendor's driver keeps 64 kB.
    EXPECT_GE(queued, 1u << 16);
    EXPECT_LT(queued, 1u << 20);
    EXPECT_EQ(ReadBytes(handle, 1 << 20), Pattern(1 << 20));
}

TEST_F(NativeUsb, APurgeThrowsAwayWhatWasQueued)
{
    Chip* chip = PlugIn({});
    const uint64_t handle = OpenQuick(50);
    Send(chip, {1, 2, 3});
    EXPECT_EQ(QueuedBytes(handle), 3u);
    Send(chip, {4});
    EXPECT_EQ(System.usb.Purge(handle, 3), Ok);
    EXPECT_EQ(QueuedBytes(handle), 0u);
    Send(chip, {5});
    EXPECT_EQ(ReadBytes(handle, 1), (Bytes{5}));
}

TEST_F(NativeUsb, APurgeOfWritesKeepsWhatWasQueued)
{
    Chip* chip = PlugIn({});
    const uint64_t handle = OpenQuick(50);
    Send(chip, {1, 2, 3});
    EXPECT_EQ(QueuedBytes(handle), 3u);
    EXPECT_EQ(System.usb.Purge(handle, 2), Ok);
    EXPECT_EQ(ReadBytes(handle, 3), (Bytes{1, 2, 3}));
}

TEST_F(NativeUsb, UnpluggingEndsAReadInTheMiddle)
{
    Chip* chip = PlugIn({});
    const uint64_t handle = OpenQuick(0);
    Send(chip, Pattern(1 << 20));
    PullOutBehind(chip, 100000);
    EXPECT_EQ(ReadUntilPulledOut(handle, 1 << 20), 100000u);
    uint32_t count = 7;
    EXPECT_EQ(System.usb.Read(handle, &count, 1, &count), IoError);
    EXPECT_EQ(System.usb.Write(handle, "a", 1, &count), IoError);
    EXPECT_EQ(System.usb.GetQueueStatus(handle, &count), IoError);
    EXPECT_EQ(System.usb.ResetPort(handle), IoError);
    EXPECT_EQ(System.usb.Close(handle), Ok);
}

TEST_F(NativeUsb, UnpluggingEndsAReadThatWaitsForEver)
{
    Chip* chip = PlugIn({});
    const uint64_t handle = OpenQuick(0);
    Mute(chip, true);
    std::thread later([chip] {
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
        PullOut(chip);
    });
    EXPECT_EQ(ReadUntilPulledOut(handle, 10), 0u);
    later.join();
}

TEST_F(NativeUsb, ADevicePluggedInAgainOpensInTheSameProcess)
{
    Chip* chip = PlugIn({});
    const uint64_t handle = OpenQuick(0);
    Send(chip, Pattern(1000));
    PullOutBehind(chip, 600);
    EXPECT_EQ(ReadUntilPulledOut(handle, 1000), 600u);
    PullOut(chip);
    EXPECT_EQ(ListedDevices(), 0u);
    EXPECT_EQ(System.usb.Close(handle), Ok);
    ChipSetup again;
    again.address = 3; // the kernel counts on
    Chip* second = PlugIn(again);
    const uint64_t reopened = OpenQuick(5000);
    Send(second, {7});
    EXPECT_EQ(ReadBytes(reopened, 1), (Bytes{7}));
}

TEST_F(NativeUsb, EightThreadsHaveADeviceEach)
{
    for (int address = 2; address < 10; ++address) {
        ChipSetup setup;
        setup.address = address;
        setup.interfaces = 1;
        setup.version = 0x0900;
        setup.answer = [](const Bytes& written) { return written; };
        PlugIn(setup);
    }
    std::atomic<int> right = 0;
    std::vector<std::thread> threads;
    for (int32_t i = 0; i < 8; ++i) {
        threads.emplace_back([i, &right] {
            uint32_t count = 0;
            uint64_t handle = 0;
            System.usb.ListDevices(&count);
            if (System.usb.Open(i, &handle) != Ok) return;
            const Bytes sent(5000, static_cast<uint8_t>(i));
            Bytes back(5000);
            System.usb.Write(handle, sent.data(), 5000, &count);
            System.usb.Read(handle, back.data(), 5000, &count);
            System.usb.Close(handle);
            right += back == sent;
        });
    }
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(right, 8);
}
