// Memory, faults, files, directories and the empty sockets of the virtual world.
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>

#include "emulator/bus_links.h"
#include "tests/emulator/world.h"

namespace {

namespace fs = std::filesystem;

class VirtualMemory : public VirtualWorld {};
class VirtualDirectories : public VirtualWorld {};
class EmptySockets : public VirtualWorld {};

// "a.cfg" holds "old" before each test.
class VirtualFiles : public VirtualWorld {
protected:
    void SetUp() override
    {
        VirtualWorld::SetUp();
        char name[] = "/tmp/qvn_emulator_XXXXXX";
        folder = mkdtemp(name);
        path = (folder / "a.cfg").string();
        std::ofstream(path) << "old";
    }

    void TearDown() override
    {
        fs::remove_all(folder);
        VirtualWorld::TearDown();
    }

    bool Replace()
    {
        return System.file.BeginReplace(path.c_str(), &file) && fputs("new", file.stream) >= 0 &&
               System.file.CommitReplace(&file);
    }

    std::string Text() const
    {
        std::ostringstream text;
        text << std::ifstream(path).rdbuf();
        return text.str();
    }

    ptrdiff_t FileCount() const
    {
        return std::distance(fs::directory_iterator(folder), fs::directory_iterator());
    }

    fs::path folder;
    std::string path;
    FileReplacement file = {};
};

// Which of the next five allocations are given, as "1" and "0".
std::string FiveAllocations()
{
    std::string given;
    for (int i = 0; i < 5; ++i) {
        void* block = System.memory.Allocate(16);
        given += block != nullptr ? '1' : '0';
        System.memory.Release(block);
    }
    return given;
}

} // namespace

TEST_F(VirtualMemory, IsMemoryAndTakesNoTime)
{
    void* block = System.memory.Allocate(0x10000);
    ASSERT_NE(block, nullptr);
    memset(block, 1, 0x10000);
    System.memory.Release(block);
    EXPECT_EQ(EmuMicroseconds(), 0u);
}

TEST_F(VirtualMemory, AFaultStrikesOnceAtItsCall)
{
    EXPECT_EQ(FiveAllocations(), "11111");
    EmuFail(EmuAllocate, 1, false);
    EXPECT_EQ(FiveAllocations(), "01111");
    EmuFail(EmuAllocate, 3, false);
    EXPECT_EQ(FiveAllocations(), "11011");
    EXPECT_EQ(FiveAllocations(), "11111");
}

TEST_F(VirtualMemory, AFaultMayLast)
{
    EmuFail(EmuAllocate, 3, true);
    EXPECT_EQ(FiveAllocations(), "11000");
    EXPECT_EQ(FiveAllocations(), "00000");
}

TEST_F(VirtualMemory, AFaultIsTakenAway)
{
    EmuFail(EmuAllocate, 1, true);
    EmuFail(EmuAllocate, 0, true);
    EXPECT_EQ(FiveAllocations(), "11111");
    EmuFail(EmuAllocate, 2, true);
    EmuReset();
    EXPECT_EQ(FiveAllocations(), "11111");
}

TEST_F(VirtualFiles, FilesAreThoseOfTheHost)
{
    EXPECT_TRUE(Replace());
    EXPECT_EQ(Text(), "new");
    EXPECT_EQ(EmuMicroseconds(), 2u) << "a microsecond for each call";
}

TEST_F(VirtualFiles, CancelLeavesTheOldVersion)
{
    ASSERT_TRUE(System.file.BeginReplace(path.c_str(), &file));
    EXPECT_EQ(FileCount(), 2);
    System.file.CancelReplace(&file);
    EXPECT_EQ(Text(), "old");
    EXPECT_EQ(FileCount(), 1);
}

TEST_F(VirtualFiles, ABeginThatFailsLeavesNothing)
{
    EmuFail(EmuBeginReplace, 1, false);
    EXPECT_FALSE(Replace());
    EXPECT_EQ(Text(), "old");
    EXPECT_EQ(FileCount(), 1);
    EXPECT_TRUE(Replace());
}

TEST_F(VirtualFiles, ACommitThatFailsLeavesTheOldVersion)
{
    EmuFail(EmuCommitReplace, 1, false);
    EXPECT_FALSE(Replace());
    EXPECT_EQ(Text(), "old");
    EXPECT_EQ(FileCount(), 1);
    EXPECT_TRUE(Replace());
    EXPECT_EQ(Text(), "new");
}

TEST_F(VirtualFiles, FaultsOfOneKindLeaveTheOthersAlone)
{
    EmuFail(EmuAllocate, 1, true);
    EXPECT_TRUE(Replace());
    EmuFail(EmuCommitReplace, 1, true);
    EmuFail(EmuAllocate, 0, false);
    EXPECT_EQ(FiveAllocations(), "11111");
}

TEST_F(VirtualDirectories, CurrentDirectoryIsWhatTheTestSays)
{
    char path[64] = "";
    ASSERT_TRUE(System.process.CurrentDirectory(path, sizeof path));
    EXPECT_STREQ(path, "/virtual");
    EmuSetCurrentDirectory("/home/observer");
    ASSERT_TRUE(System.process.CurrentDirectory(path, sizeof path));
    EXPECT_STREQ(path, "/home/observer");
    EXPECT_EQ(System.process.separator, '/');
}

TEST_F(VirtualDirectories, CurrentDirectoryMustFitWithItsEnd)
{
    EmuSetCurrentDirectory("/home");
    char path[8] = "old";
    EXPECT_FALSE(System.process.CurrentDirectory(path, 5));
    EXPECT_STREQ(path, "old");
    EXPECT_TRUE(System.process.CurrentDirectory(path, 6));
    EXPECT_STREQ(path, "/home");
}

TEST_F(VirtualDirectories, CurrentDirectoryMayBeUnknown)
{
    EmuSetCurrentDirectory(nullptr);
    char path[64] = "old";
    EXPECT_FALSE(System.process.CurrentDirectory(path, sizeof path));
    EXPECT_STREQ(path, "old");
}

TEST_F(VirtualDirectories, OneDirectoryCanBeEntered)
{
    EXPECT_FALSE(System.process.CanEnterDirectory("/virtual/qvn/"));
    EmuSetEnterableDirectory("/virtual/qvn/");
    EXPECT_TRUE(System.process.CanEnterDirectory("/virtual/qvn/"));
    EXPECT_FALSE(System.process.CanEnterDirectory("/virtual/qvn"));
    EXPECT_FALSE(System.process.CanEnterDirectory("/tmp"));
    EmuSetEnterableDirectory(nullptr);
    EXPECT_FALSE(System.process.CanEnterDirectory("/virtual/qvn/"));
    EXPECT_FALSE(System.process.CanEnterDirectory(""));
}

TEST_F(VirtualDirectories, PriorityIsRemembered)
{
    EXPECT_EQ(EmuPriorityClass(), 32u);
    EXPECT_EQ(EmuThreadPriority(), 0);
    System.process.SetPriority(256, 15);
    EXPECT_EQ(EmuPriorityClass(), 256u);
    EXPECT_EQ(EmuThreadPriority(), 15);
    EmuReset();
    EXPECT_EQ(EmuPriorityClass(), 32u);
}

TEST_F(VirtualDirectories, CallsTakeAMicrosecondEach)
{
    char path[64];
    EXPECT_EQ(Cost([&path] { System.process.CurrentDirectory(path, sizeof path); }), 1u);
    EXPECT_EQ(Cost([] { System.process.CanEnterDirectory("/"); }), 1u);
    EXPECT_EQ(Cost([] { System.process.SetPriority(32, 0); }), 1u);
}

TEST_F(EmptySockets, NoLibraryNoDriverNoPort)
{
    EmuHavePortLibrary(false);
    EmuHaveCardDriver(false);
    EmuRefusePorts(true);
    EXPECT_EQ(System.library.Load("io"), nullptr);
    EXPECT_EQ(System.library.Symbol(nullptr, "PortOut"), nullptr);
    System.library.Free(nullptr);
    EXPECT_EQ(System.device.Open("\\\\.\\WINDRVR6"), 0u);
    EXPECT_EQ(System.device.Control(0, 1, nullptr, 0), -1);
    System.device.Close(0);
    EXPECT_EQ(System.registers.Read(0), 0xFFFFFFFFu);
    System.registers.Write(0, 1);
    EXPECT_FALSE(System.port.Acquire(0x378, 3));
    EXPECT_EQ(System.port.In8(0x378), 0xFF);
    EXPECT_EQ(System.port.In16(0x378), 0xFFFF);
    System.port.Out8(0x378, 1);
    System.port.Out16(0x378, 1);
    EXPECT_EQ(EmuMicroseconds(), 13u) << "a microsecond for each call";
}

TEST_F(EmptySockets, UsbListsNothingAndFindsNothing)
{
    constexpr uint32_t invalidHandle = 1, noDevice = 2;
    uint32_t count = 7;
    uint64_t handle = 7;
    char serial[16] = "old", description[64] = "old";
    EXPECT_EQ(System.usb.ListDevices(&count), 0u);
    EXPECT_EQ(count, 0u);
    EXPECT_EQ(System.usb.Open(0, &handle), noDevice);
    EXPECT_EQ(handle, 0u);
    count = 7;
    EXPECT_EQ(System.usb.Read(0, serial, 1, &count), invalidHandle);
    EXPECT_EQ(count, 0u);
    count = 7;
    EXPECT_EQ(System.usb.Write(0, "a", 1, &count), invalidHandle);
    EXPECT_EQ(count, 0u);
    EXPECT_EQ(System.usb.DeviceInfo(0, serial, description), invalidHandle);
    EXPECT_STREQ(serial, "");
    EXPECT_STREQ(description, "");
    EXPECT_EQ(EmuMicroseconds(), 5u * 125) << "a microframe for each call";
}
