// The library's folder, and what its load leaves behind.
#include <cstring>
#include <string>

#include "core/ops.h"
#include "core/record.h"
#include "core/timer_service.h"
#include "emulator/emulator.h"
#include "platform/system.h"
#include "tests/support/demo_camera.h"
#include "tests/support/scripted_camera.h"

namespace {

class LibraryFolder : public DemoTest {};

TEST_F(LibraryFolder, NameWithoutASlashGetsOne)
{
    QV_SetPathName("/data/qvn");
    EXPECT_STREQ(LibraryPath, "/data/qvn/");
    QV_SetPathName("x");
    EXPECT_STREQ(LibraryPath, "x/");
}

TEST_F(LibraryFolder, EitherSlashAtTheEndIsKept)
{
    QV_SetPathName("/data/qvn/");
    EXPECT_STREQ(LibraryPath, "/data/qvn/");
    QV_SetPathName("c:\\qvn\\");
    EXPECT_STREQ(LibraryPath, "c:\\qvn\\");
}

TEST_F(LibraryFolder, LongestPathIsTakenAlsoWhenASlashIsAppended)
{
    const std::string name(1023, 'a');
    QV_SetPathName(name.c_str());
    EXPECT_EQ(LibraryPath, name + "/");
    std::string closed(1022, 'b');
    closed += '/';
    QV_SetPathName(closed.c_str());
    EXPECT_EQ(LibraryPath, closed);
}

TEST_F(LibraryFolder, LongerPathLeavesTheOldOne)
{
    QV_SetPathName("/data/");
    for (size_t length : {1024u, 1025u, 5000u}) {
        std::string name(length - 1, 'a');
        name += '/';
        QV_SetPathName(name.c_str());
        EXPECT_STREQ(LibraryPath, "/data/") << length;
    }
}

TEST_F(LibraryFolder, LongestPathIsUsedWhole)
{
    const std::string folder(1023, 'a');
    QV_SetPathName(folder.c_str());
    char file[FileNameRoom];
    ComposeLibraryFile(file, "camera.cfg");
    EXPECT_EQ(std::string(file), folder + "/camera.cfg");
    EXPECT_EQ(QV_OpenPar(DemoPlatform, SmallSensor, 0), 1);
    EXPECT_EQ(QV_Status(0), 5);
}

class LibraryStart : public DemoTest {
protected:
    void SetUp() override
    {
        DemoTest::SetUp();
        LibraryReady = 0;
        strcpy(LibraryPath, "/before/");
    }
};

TEST_F(LibraryStart, FolderQvnBelowTheWorkingDirectoryIsUsed)
{
    EmuSetCurrentDirectory("/home/observer");
    EmuSetEnterableDirectory("/home/observer/qvn/");
    QV_LibraryInit();
    EXPECT_STREQ(LibraryPath, "/home/observer/qvn/");
}

TEST_F(LibraryStart, FolderQvnBelowTheRootHasOneSlashAheadOfIt)
{
    EmuSetCurrentDirectory("/");
    EmuSetEnterableDirectory("/qvn/");
    QV_LibraryInit();
    EXPECT_STREQ(LibraryPath, "/qvn/");
}

TEST_F(LibraryStart, WithoutThatFolderThePathIsEmpty)
{
    EmuSetCurrentDirectory("/home/observer");
    EmuSetEnterableDirectory(nullptr);
    QV_LibraryInit();
    EXPECT_STREQ(LibraryPath, "");
}

TEST_F(LibraryStart, UnknownWorkingDirectoryGivesTheEmptyPath)
{
    EmuSetCurrentDirectory(nullptr);
    QV_LibraryInit();
    EXPECT_STREQ(LibraryPath, "");
}

TEST_F(LibraryStart, WorkingDirectoryTooLongForTheFolderGivesTheEmptyPath)
{
    for (size_t length = 1010; length <= 1030; ++length) {
        std::string directory(length, 'd');
        directory[0] = '/';
        EmuSetCurrentDirectory(directory.c_str());
        EmuSetEnterableDirectory((directory + "/qvn/").c_str());
        QV_LibraryInit();
        const std::string path = LibraryPath;
        EXPECT_TRUE(path.empty() || path == directory + "/qvn/") << length;
        EXPECT_LE(path.size(), 1024u);
    }
    EXPECT_STREQ(LibraryPath, "");
}

TEST_F(LibraryStart, EveryCallReplacesThePathButOnlyTheFirstClearsTheTable)
{
    EmuSetCurrentDirectory("/home/observer");
    EmuSetEnterableDirectory("/home/observer/qvn/");
    QV_LibraryInit();
    EXPECT_EQ(LibraryReady, 1);
    QV_SetPathName("/elsewhere");
    CameraTable[2].MatrixIndex = 5;
    TimerAutoStart = 0;
    TimerUsers = 3;
    StopCount[1] = 4;
    QV_LibraryInit();
    EXPECT_STREQ(LibraryPath, "/home/observer/qvn/");
    EXPECT_EQ(CameraTable[2].MatrixIndex, 5);
    EXPECT_EQ(TimerAutoStart, 0);
    EXPECT_EQ(TimerUsers, 3);
    EXPECT_EQ(StopCount[1], 4);
}

TEST_F(LibraryStart, FirstCallClearsBuffersAndTimer)
{
    uint16_t pixel = 0;
    TimerAutoStart = 0;
    TimerRunning = 1;
    TimerUsers = 2;
    for (int32_t camera = 0; camera < 8; ++camera) {
        CameraTable[camera].MatrixIndex = 9;
        for (uint16_t*& buffer : CameraTable[camera].Matrix) buffer = &pixel;
        TimerActive[camera] = TimerDivider[camera] = TimerPaused[camera] = StopCount[camera] = 3;
    }
    QV_LibraryInit();
    EXPECT_EQ(LibraryReady, 1);
    EXPECT_EQ(TimerAutoStart, 1);
    EXPECT_EQ(TimerRunning, 0);
    EXPECT_EQ(TimerUsers, 0);
    for (int32_t camera = 0; camera < 8; ++camera) {
        EXPECT_EQ(CameraTable[camera].MatrixIndex, 0);
        for (uint16_t* buffer : CameraTable[camera].Matrix) EXPECT_EQ(buffer, nullptr);
        EXPECT_EQ(TimerActive[camera], 0);
        EXPECT_EQ(TimerDivider[camera], 0);
        EXPECT_EQ(TimerPaused[camera], 0);
        EXPECT_EQ(StopCount[camera], 0);
    }
}

TEST_F(LibraryStart, NoSlotIsNullAfterTheLoad)
{
    for (CameraRecord& record : CameraTable) record.Ops = CameraOps{};
    QV_LibraryInit();
    for (const CameraRecord& record : CameraTable) {
        OpsSlot slots[OpsSlots];
        memcpy(static_cast<void*>(slots), static_cast<const void*>(&record.Ops), sizeof slots);
        for (size_t slot = 0; slot < OpsSlots; ++slot) {
            if (slot > 33 && slot < 64) continue;
            EXPECT_NE(slots[slot], nullptr) << slot;
        }
    }
}

TEST_F(LibraryStart, UnboundOperationsFailToOpenAndElseDoNothing)
{
    const CameraOps& ops = CameraTable[6].Ops;
    uint16_t pixels[2] = {7, 7};
    EXPECT_EQ(ops.OpenCamera(0, 0, 6), 3);
    EXPECT_EQ(ops.OpenArrayCamera(6), 12);
    ops.SetCoolerPower(10, 6);
    ops.SetPortBits(1, 1, 6);
    ops.ModifyRegister(1, 1, 1, 6);
    ops.Poke(1, 1, 6);
    ops.PokeW(1, 1, 6);
    EXPECT_EQ(ops.Peek(1, 6), 0u);
    EXPECT_EQ(ops.PeekW(1, 6), 0u);
    EXPECT_EQ(ops.LoadSequencer("nothing", 6), 0);
    ops.BuildWave("nothing", 0, 0, 2, 1, 1, 0, 0, 6);
    ops.ClearSensor(6);
    EXPECT_EQ(ops.ReadTemperature(6), 0);
    EXPECT_EQ(ops.ReadFrame(1, 2, 1, pixels, 6), 0);
    ops.SetShutter(1.0, 6);
    ops.Unused14(6);
    EXPECT_EQ(ops.ReadWindow(1, 0, 0, 2, 1, pixels, 6), 0);
    ops.SetCooler(1, 6);
    EXPECT_EQ(ops.ReadRegister(0, 6), 0);
    ops.WriteRegister(0, 1, 6);
    EXPECT_EQ(ops.WaitReady(6), 0);
    ops.Unused20(6);
    EXPECT_EQ(ops.IsTriggered(6), 0);
    ops.SensorIdle();
    ops.ClearOnce(6);
    EXPECT_EQ(ops.MoveFilter(0, 0, 6), 0);
    ops.WriteData(1, 6);
    EXPECT_EQ(ops.WriteAddress(1, 6), 0u);
    ops.ResetLink(6);
    EXPECT_EQ(ops.ReadData(6), 0);
    EXPECT_EQ(ops.ReadStatus(0, 6), 0u);
    EXPECT_EQ(ops.SetGain(6), 0);
    EXPECT_EQ(ops.ReadTimed(1, 2, 1, pixels, 6), 0);
    EXPECT_EQ(ops.ReadArray(1, 2, 1, pixels, 6), 0);
    ops.ProgressCallback("x", 1, 6);
    ops.ExposureCallback("x", 6);
    EXPECT_EQ(pixels[0], 7);
    EXPECT_EQ(CameraTable[6].LastError, 0);
    for (uint16_t value : CameraTable[6].Registers) EXPECT_EQ(value, 0);
}

TEST_F(LibraryStart, PortSlotsAreTheDirectInstructions)
{
    const CameraOps& ops = CameraTable[0].Ops;
    EXPECT_EQ(ops.PortOut, DirectPortOps.PortOut);
    EXPECT_EQ(ops.PortWordOut, DirectPortOps.PortWordOut);
    EXPECT_EQ(ops.PortIn, DirectPortOps.PortIn);
    EXPECT_EQ(ops.PortWordIn, DirectPortOps.PortWordIn);
}

} // namespace
