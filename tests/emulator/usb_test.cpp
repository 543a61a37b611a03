// The USB device library of the virtual world, with a scripted device on its port.
#include "emulator/usb.h"

#include "emulator/traffic.h"
#include "tests/emulator/world.h"

namespace {

using Bytes = std::vector<uint8_t>;

Bytes Heard;
int32_t Resets;

void Hear(int32_t, const uint8_t* bytes, uint32_t count)
{
    Heard.insert(Heard.end(), bytes, bytes + count);
}

void Reset(int32_t)
{
    ++Resets;
}

class Usb : public VirtualWorld {
protected:
    EmuUsbDevice device = {"A7000001", "a device", false, 0, Hear, Reset};
    int32_t port = -1;
    uint64_t handle = 0;

    void SetUp() override
    {
        VirtualWorld::SetUp();
        Heard.clear();
        Resets = 0;
    }

    void OpenOne()
    {
        port = EmuPlugUsb(device);
        ASSERT_EQ(System.usb.Open(port, &handle), 0u);
    }

    void Reply(const Bytes& bytes, uint64_t at, uint32_t byteNs = 0) const
    {
        EmuUsbReply(port, bytes.data(), static_cast<uint32_t>(bytes.size()), at, byteNs);
    }

    Bytes Read(uint32_t count) const
    {
        Bytes bytes(count, 0xEE);
        uint32_t got = 0;
        System.usb.Read(handle, bytes.data(), count, &got);
        bytes.resize(got);
        return bytes;
    }

    uint32_t Queue() const
    {
        uint32_t count = 0;
        System.usb.GetQueueStatus(handle, &count);
        return count;
    }

    uint32_t Write(const Bytes& bytes) const
    {
        uint32_t put = 0;
        return System.usb.Write(handle, bytes.data(), static_cast<uint32_t>(bytes.size()), &put);
    }
};

} // namespace

TEST_F(Usb, CountsWhatIsPluggedIn)
{
    uint32_t count = 99;
    EXPECT_EQ(System.usb.ListDevices(&count), 0u) << "no device is no error";
    EXPECT_EQ(count, 0u);
    EXPECT_EQ(EmuPlugUsb(device), 0);
    EXPECT_EQ(EmuPlugUsb(device), 1);
    EmuUnplugUsb(0);
    EXPECT_EQ(System.usb.ListDevices(&count), 0u);
    EXPECT_EQ(count, 1u);
    EXPECT_EQ(System.usb.Open(1, &handle), 0u) << "the other keeps its index";
}

TEST_F(Usb, HasEightPorts)
{
    for (int32_t i = 0; i < 8; ++i) EXPECT_EQ(EmuPlugUsb(device), i);
    EXPECT_EQ(EmuPlugUsb(device), -1);
}

TEST_F(Usb, ADeviceOpensOnce)
{
    uint64_t second = 99;
    EXPECT_NE(System.usb.Open(0, &handle), 0u) << "nothing is there";
    OpenOne();
    EXPECT_NE(System.usb.Open(port, &second), 0u);
    EXPECT_EQ(second, 0u);
    EXPECT_EQ(EmuUsbOpenHandles(), 1u);
    EXPECT_EQ(System.usb.Close(handle), 0u);
    EXPECT_NE(System.usb.Close(handle), 0u);
    EXPECT_EQ(System.usb.Open(port, &second), 0u);
    EXPECT_NE(second, handle);
}

TEST_F(Usb, WithoutItsLibraryNothingIsListedOrOpened)
{
    uint32_t count = 99;
    EmuPlugUsb(device);
    EmuHaveUsbLibrary(false);
    EXPECT_NE(System.usb.ListDevices(&count), 0u);
    EXPECT_NE(System.usb.Open(0, &handle), 0u);
    EmuReset();
    EmuPlugUsb(device);
    EXPECT_EQ(System.usb.ListDevices(&count), 0u);
}

TEST_F(Usb, TheDeviceHearsWhatIsWritten)
{
    OpenOne();
    EXPECT_EQ(Write({0x44, 1}), 0u);
    EXPECT_EQ(Write({7}), 0u);
    EXPECT_EQ(Heard, (Bytes{0x44, 1, 7}));
}

TEST_F(Usb, AReadReturnsAsItsLastByteArrives)
{
    OpenOne();
    System.usb.SetLatencyTimer(handle, 2);
    System.usb.SetTimeouts(handle, 1000, 0);
    const uint64_t now = EmuMicroseconds();
    Reply({1, 2, 3}, now + 10000, 5000000); // at 10, 15 and 20 ms; the latency ends at 12
    EXPECT_EQ(Read(2), (Bytes{1, 2}));
    EXPECT_EQ(EmuMicroseconds(), now + 15000);
    EXPECT_EQ(Read(1), (Bytes{3}));
    EXPECT_EQ(EmuMicroseconds(), now + 20000);
}

TEST_F(Usb, AShortPacketWaitsForTheLatency)
{
    OpenOne();
    System.usb.SetTimeouts(handle, 1000, 0);
    uint64_t now = EmuMicroseconds();
    Reply({1}, now + 1000);
    EXPECT_EQ(Read(1), (Bytes{1}));
    EXPECT_EQ(EmuMicroseconds(), now + 17000) << "16 ms unless it is set";
    System.usb.SetLatencyTimer(handle, 2);
    now = EmuMicroseconds();
    Reply({1}, now + 1000);
    EXPECT_EQ(Read(1), (Bytes{1}));
    EXPECT_EQ(EmuMicroseconds(), now + 3000);
}

TEST_F(Usb, AFullPacketComesAtOnce)
{
    OpenOne();
    System.usb.SetTimeouts(handle, 1000, 0);
    const uint64_t now = EmuMicroseconds();
    Reply(Bytes(511, 7), now + 1000);
    System.clock.Sleep(1);
    EXPECT_EQ(Queue(), 510u);
    System.clock.Sleep(16);
    EXPECT_EQ(Queue(), 511u);
}

TEST_F(Usb, ATimeoutHandsOverWhatHasCome)
{
    OpenOne();
    System.usb.SetLatencyTimer(handle, 2);
    System.usb.SetTimeouts(handle, 50, 0);
    const uint64_t now = EmuMicroseconds();
    Reply({1, 2}, now);
    Reply({3}, now + 100000);
    EXPECT_EQ(Read(3), (Bytes{1, 2}));
    EXPECT_EQ(EmuMicroseconds(), now + 125 + 50000);
    System.clock.Sleep(100);
    EXPECT_EQ(Read(1), (Bytes{3})) << "what was late is still there";
}

TEST_F(Usb, TheQueueShowsWhatCanBeRead)
{
    OpenOne();
    System.usb.SetLatencyTimer(handle, 2);
    Reply({1, 2}, EmuMicroseconds() + 1000);
    EXPECT_EQ(Queue(), 0u);
    EXPECT_EQ(EmuUsbWaiting(port), 2u);
    System.clock.Sleep(4);
    EXPECT_EQ(Queue(), 2u);
    EXPECT_EQ(Read(1), (Bytes{1}));
    EXPECT_EQ(Queue(), 1u);
}

TEST_F(Usb, APurgeDropsWhatHasCome)
{
    OpenOne();
    Reply({1, 2}, EmuMicroseconds());
    Reply({3}, EmuMicroseconds() + 50000);
    System.usb.Purge(handle, 2);
    EXPECT_EQ(EmuUsbWaiting(port), 3u) << "the other direction";
    System.usb.Purge(handle, 3);
    EXPECT_EQ(EmuUsbWaiting(port), 1u);
    EXPECT_EQ(Read(1), (Bytes{3}));
}

TEST_F(Usb, APortResetDropsWhatHasCome)
{
    OpenOne();
    Reply({1, 2}, EmuMicroseconds());
    EXPECT_EQ(System.usb.ResetPort(handle), 0u);
    EXPECT_EQ(EmuUsbWaiting(port), 0u);
    EXPECT_EQ(EmuUsbPortResets(port), 1u);
}

TEST_F(Usb, ADeviceResetReachesTheDevice)
{
    OpenOne();
    EXPECT_EQ(System.usb.ResetDevice(handle), 0u);
    EXPECT_EQ(Resets, 1);
}

TEST_F(Usb, ASynchronousDeviceNeedsItsMode)
{
    device.synchronous = true;
    OpenOne();
    EXPECT_EQ(Write({1}), 0u);
    System.usb.SetBitMode(handle, 255, 64);
    EXPECT_EQ(Write({2}), 0u);
    Reply({9}, 0);
    EXPECT_EQ(EmuUsbWaiting(port), 0u);
    System.usb.SetBitMode(handle, 255, 0);
    EXPECT_EQ(Write({3}), 0u);
    System.usb.SetBitMode(handle, 255, 64);
    EXPECT_EQ(Write({4}), 0u);
    Reply({9}, 0);
    EXPECT_EQ(EmuUsbWaiting(port), 1u);
    EXPECT_EQ(Heard, (Bytes{4}));
}

TEST_F(Usb, AnotherDeviceHearsNothingInThatMode)
{
    OpenOne();
    System.usb.SetBitMode(handle, 255, 0);
    System.usb.SetBitMode(handle, 255, 64);
    EXPECT_EQ(Write({1}), 0u);
    EXPECT_EQ(Heard, Bytes());
}

TEST_F(Usb, OnAPulledDeviceCallsFail)
{
    OpenOne();
    EmuUnplugUsb(port);
    uint32_t got = 99;
    uint8_t byte = 0;
    const uint64_t before = EmuMicroseconds();
    EXPECT_NE(System.usb.Read(handle, &byte, 1, &got), 0u);
    EXPECT_EQ(EmuMicroseconds(), before + 125);
    EXPECT_EQ(got, 0u);
    EXPECT_NE(Write({1}), 0u);
    EXPECT_NE(System.usb.SetTimeouts(handle, 1, 1), 0u);
    EXPECT_NE(System.usb.Open(port, &handle), 0u);
}

TEST_F(Usb, APulledDeviceCanBeClosed)
{
    OpenOne();
    EmuUnplugUsb(port);
    EXPECT_EQ(System.usb.Close(handle), 0u);
    EXPECT_EQ(EmuUsbOpenHandles(), 0u);
}

TEST_F(Usb, AHandleFromBeforeStaysDead)
{
    OpenOne();
    System.usb.SetBitMode(handle, 255, 0);
    System.usb.SetBitMode(handle, 255, 64);
    Reply({1}, 0);
    EmuUnplugUsb(port);
    EmuReplugUsb(port);
    EXPECT_EQ(Resets, 1);
    EXPECT_NE(Write({1}), 0u);
    EXPECT_EQ(EmuUsbWaiting(port), 0u);
    ASSERT_EQ(System.usb.Open(port, &handle), 0u);
    EXPECT_EQ(Write({2}), 0u);
    EXPECT_EQ(Heard, (Bytes{2})) << "the mode is that of power-up";
}

TEST_F(Usb, PullingADeviceEndsTheReadOnIt)
{
    OpenOne();
    System.usb.SetTimeouts(handle, 50000, 0);
    const uint64_t now = EmuMicroseconds();
    EmuSchedule(now + 30000, EmuUnplugUsb, port);
    EXPECT_EQ(Read(1), Bytes());
    EXPECT_EQ(EmuMicroseconds(), now + 30000);
}

TEST_F(Usb, TheStringsAreThoseOfTheDevice)
{
    OpenOne();
    char serial[64], description[256];
    EXPECT_EQ(System.usb.DeviceInfo(handle, serial, description), 0u);
    EXPECT_STREQ(serial, "A7000001");
    EXPECT_STREQ(description, "a device");
    EXPECT_NE(System.usb.DeviceInfo(0, serial, description), 0u);
    EXPECT_STREQ(serial, "");
}

TEST_F(Usb, ReadsWithoutATimeoutEndWithTheWorld)
{
    OpenOne();
    EmuSetTimeLimit(60'000'000);
    EXPECT_DEATH(Read(1), "virtual time limit");
}

TEST_F(Usb, FaultsByCall)
{
    uint32_t count = 0;
    OpenOne();
    EmuFail(EmuUsbList, 1, false);
    EXPECT_NE(System.usb.ListDevices(&count), 0u);
    EXPECT_EQ(System.usb.ListDevices(&count), 0u);
    EmuFail(EmuUsbWrite, 1, false);
    Write({1});
    Write({2});
    EXPECT_EQ(Heard, (Bytes{2}));
    EmuFail(EmuUsbSetting, 1, false);
    EXPECT_NE(System.usb.ResetDevice(handle), 0u);
    EXPECT_EQ(Resets, 0);
    Reply({1, 2, 3, 4, 5}, 0);
    EmuFail(EmuUsbRead, 1, false);
    EXPECT_EQ(Read(5), (Bytes{1, 2}));
    EXPECT_EQ(EmuUsbWaiting(port), 0u);
    EmuFail(EmuUsbSetting, 1, false);
    EXPECT_NE(System.usb.Close(handle), 0u);
    EXPECT_EQ(EmuUsbOpenHandles(), 0u);
    EmuFail(EmuAnyCall, 1, false);
    EXPECT_NE(System.usb.Open(port, &handle), 0u);
}

TEST_F(Usb, TrafficLines)
{
    device.synchronous = true;
    EmuRecord(true);
    uint32_t count = 0;
    char serial[64], description[256];
    port = EmuPlugUsb(device);
    System.usb.ListDevices(&count);
    System.usb.Open(5, &handle);
    System.usb.Open(port, &handle);
    System.usb.SetBitMode(handle, 255, 0);
    System.usb.SetBitMode(handle, 255, 64);
    System.usb.SetLatencyTimer(handle, 2);
    System.usb.SetTransferSizes(handle, 65536, 512);
    System.usb.SetFlowControl(handle, 256, 0, 0);
    System.usb.SetTimeouts(handle, 8000, 0);
    System.usb.Purge(handle, 3);
    System.usb.DeviceInfo(handle, serial, description);
    Write(Bytes(34, 0xA5));
    Reply({1, 2}, 0);
    System.clock.Sleep(5);
    EXPECT_EQ(Queue(), 2u);
    EXPECT_EQ(Read(3).size(), 2u);
    System.usb.ResetDevice(handle);
    System.usb.ResetPort(handle);
    System.usb.Close(handle);
    System.usb.Close(handle);
    std::string line;
    for (int32_t i = 0; i < 32; ++i) line += " A5";
    EXPECT_EQ(EmuTraffic(), "usb list 1\nusb open 5 fails\nusb open 0\nusb mode 255 0\n"
                            "usb mode 255 64\nusb latency 2\nusb sizes 65536 512\nusb flow 256\n"
                            "usb timeouts 8000 0\nusb purge 3\nusb info\nusb >" +
                                line +
                                "\nusb + A5 A5\nsleep 5\nusb queue 2\nusb < 2 of 3\nusb reset\n"
                                "usb port reset\nusb close\nusb close fails\n");
}
