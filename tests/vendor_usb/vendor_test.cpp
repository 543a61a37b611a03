// The vendor's library in front of what the system has, with one that is made up.
// The program finds "libftd2xx.so" beside itself, in QVN_VENDOR_FOLDERS "/full".
#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <thread>
#include <vector>

#include "platform/system.h"
#include "platform/usb_vendor.h"
#include "tests/vendor_usb/vendor_library.h"

namespace {

constexpr uint32_t Ok = 0, OtherError = 18;

std::string LibraryIn(const char* folder)
{
    return std::string(QVN_VENDOR_FOLDERS "/") + folder + "/libftd2xx.so";
}

VendorState* StateIn(const char* folder)
{
    void* library = System.library.Load(LibraryIn(folder).c_str());
    void* state = System.library.Symbol(library, "VendorFakeState");
    if (state == nullptr) return nullptr;
    return reinterpret_cast<VendorStateFunction>(state)();
}

struct VendorUsb : testing::Test {
    void SetUp() override
    {
        UseNativeSystem();
        state = StateIn("full");
        ASSERT_NE(state, nullptr);
        *state = {};
        state->listedDevices = 2;
    }

    std::string Calls() const { return state->calls; }

    VendorState* state = nullptr;
};

// What the operation for the port's reset calls in the library of a folder.
std::string PortResetIn(const char* folder)
{
    UsbApi usb = {};
    EXPECT_TRUE(LoadVendorUsb(LibraryIn(folder).c_str(), &usb));
    VendorState* state = StateIn(folder);
    state->calls[0] = '\0';
    EXPECT_EQ(usb.ResetPort(VendorDevice), Ok);
    return state->calls;
}

} // namespace

TEST_F(VendorUsb, TheVendorsLibraryServesWhereItIsInstalled)
{
    uint32_t count = 0;
    EXPECT_EQ(System.usb.ListDevices(&count), Ok);
    EXPECT_EQ(count, 2u);
    uint64_t handle = 0;
    EXPECT_EQ(System.usb.Open(1, &handle), Ok);
    EXPECT_EQ(handle, VendorDevice);
    EXPECT_EQ(System.usb.Close(handle), Ok);
    EXPECT_EQ(Calls(), "list 1 80000000\nopen 1\nclose 7654321000\n");
}

TEST_F(VendorUsb, NothingIsOpenedAfterAListThatFailed)
{
    state->listStatus = 18;
    uint32_t count = 7;
    uint64_t handle = 7;
    EXPECT_EQ(System.usb.ListDevices(&count), 18u);
    EXPECT_EQ(count, 0u);
    EXPECT_EQ(System.usb.Open(0, &handle), OtherError);
    EXPECT_EQ(handle, 0u);
    EXPECT_EQ(Calls(), "list 1 80000000\n");
    state->listStatus = 0;
    EXPECT_EQ(System.usb.ListDevices(&count), Ok);
    EXPECT_EQ(System.usb.Open(0, &handle), Ok);
}

TEST_F(VendorUsb, ADeviceThatDoesNotOpenHasNoHandle)
{
    uint32_t count = 0;
    uint64_t handle = 7;
    System.usb.ListDevices(&count);
    state->openStatus = 3;
    EXPECT_EQ(System.usb.Open(0, &handle), 3u);
    EXPECT_EQ(handle, 0u);
}

TEST_F(VendorUsb, TheNullHandleDoesNotReachTheLibrary)
{
    uint32_t count = 0;
    System.usb.ListDevices(&count);
    state->calls[0] = '\0';
    EXPECT_EQ(System.usb.Close(0), OtherError);
    EXPECT_EQ(System.usb.ResetPort(0), OtherError);
    EXPECT_EQ(System.usb.Read(0, &count, 1, &count), OtherError);
    EXPECT_EQ(Calls(), "");
}

TEST_F(VendorUsb, EveryCallReachesItsFunction)
{
    uint32_t count = 0;
    uint64_t handle = 0;
    System.usb.ListDevices(&count);
    System.usb.Open(0, &handle);
    state->calls[0] = '\0';
    char bytes[4] = {};
    EXPECT_EQ(System.usb.SetBitMode(handle, 255, 64), Ok);
    EXPECT_EQ(System.usb.SetLatencyTimer(handle, 2), Ok);
    EXPECT_EQ(System.usb.SetTransferSizes(handle, 65536, 512), Ok);
    EXPECT_EQ(System.usb.SetFlowControl(handle, 256, 17, 19), Ok);
    EXPECT_EQ(System.usb.SetTimeouts(handle, 5000, 1000), Ok);
    EXPECT_EQ(System.usb.Purge(handle, 3), Ok);
    EXPECT_EQ(System.usb.Write(handle, "abc", 3, &count), Ok);
    EXPECT_EQ(count, 3u);
    EXPECT_EQ(System.usb.Read(handle, bytes, 3, &count), Ok);
    EXPECT_EQ(count, 3u) << "whatever the library says";
    EXPECT_STREQ(bytes, "rrr");
    EXPECT_EQ(System.usb.GetQueueStatus(handle, &count), 4u) << "a status is handed on";
    EXPECT_EQ(count, 11u);
    EXPECT_EQ(System.usb.ResetDevice(handle), Ok);
    EXPECT_EQ(System.usb.ResetPort(handle), Ok);
    EXPECT_EQ(Calls(), "mode 255 64\nlatency 2\nsizes 65536 512\nflow 256 17 19\n"
                       "timeouts 5000 1000\npurge 3\nwrite 7654321000 abc\nread 7654321000 3\n"
                       "queue\nreset device 7654321000\nreset port 7654321000\n");
}

TEST_F(VendorUsb, NamesAreEndedWithinTheirRoom)
{
    uint32_t count = 0;
    uint64_t handle = 0;
    System.usb.ListDevices(&count);
    System.usb.Open(0, &handle);
    char serial[UsbSerialRoom], description[UsbDescriptionRoom];
    EXPECT_EQ(System.usb.DeviceInfo(handle, serial, description), Ok);
    EXPECT_EQ(serial, std::string(UsbSerialRoom - 1, 's'));
    EXPECT_EQ(description, std::string(UsbDescriptionRoom - 1, 'd'));
    state->nameStatus = 4;
    EXPECT_EQ(System.usb.DeviceInfo(handle, serial, description), 4u);
    EXPECT_STREQ(serial, "");
    EXPECT_STREQ(description, "");
}

TEST_F(VendorUsb, ListsAndOpensOfManyThreadsDoNotMeet)
{
    std::vector<std::thread> threads;
    for (int i = 0; i < 8; ++i) {
        threads.emplace_back([i] {
            uint32_t count = 0;
            uint64_t handle = 0;
            System.usb.ListDevices(&count);
            System.usb.Open(i, &handle);
        });
    }
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(state->overlaps, 0);
}

TEST_F(VendorUsb, APortIsResetByTheFirstFunctionThatThereIs)
{
    EXPECT_EQ(PortResetIn("full"), "reset port 7654321000\n");
    EXPECT_EQ(PortResetIn("without_reset_port"), "cycle port 7654321000\n");
    EXPECT_EQ(PortResetIn("without_both"), "reset device 7654321000\n");
}

TEST_F(VendorUsb, ALibraryThatLacksAFunctionCountsAsAbsent)
{
    UsbApi usb = {};
    EXPECT_FALSE(LoadVendorUsb(LibraryIn("without_read").c_str(), &usb));
    EXPECT_EQ(usb.ListDevices, nullptr);
    EXPECT_FALSE(LoadVendorUsb("no_such_library.so", &usb));
    EXPECT_EQ(usb.ListDevices, nullptr);
}

TEST_F(VendorUsb, ARelativePathIsLoadedAsItStands)
{
    const std::filesystem::path before = std::filesystem::current_path();
    std::filesystem::current_path(QVN_VENDOR_FOLDERS);
    EXPECT_NE(System.library.Load("./full/libftd2xx.so"), nullptr);
    EXPECT_NE(System.library.Load("full/libftd2xx.so"), nullptr);
    EXPECT_EQ(System.library.Load("full/ftd2xx"), nullptr);
    EXPECT_EQ(System.library.Load("./qvn/kzbusb.so"), nullptr);
    std::filesystem::current_path(before);
}
