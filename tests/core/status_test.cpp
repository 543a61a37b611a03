// The small calls that read and set a record without touching the camera.
#include <cstdio>
#include <cstring>
#include <string>

#include "core/record.h"
#include "core/status.h"
#include "emulator/bus_links.h"
#include "emulator/emulator.h"
#include "platform/system.h"
#include "tests/support/demo_camera.h"
#include "tests/support/scripted_camera.h"

namespace {

class CameraState : public DemoTest {};

TEST_F(CameraState, NeverOpenedCameraIsOffWithoutError)
{
    for (int32_t camera = 0; camera < 8; ++camera) {
        EXPECT_EQ(QV_IsOn(camera), 0);
        EXPECT_EQ(QV_Status(camera), 0);
        EXPECT_EQ(QV_GetMode(camera), 0u);
        EXPECT_EQ(QV_BckGnd(camera), 0u);
    }
}

TEST_F(CameraState, StatusReadsTheLastErrorOfItsOwnCamera)
{
    CameraTable[3].LastError = 25;
    EXPECT_EQ(QV_Status(3), 25);
    EXPECT_EQ(QV_Status(2), 0);
}

TEST_F(CameraState, VersionNumberWithoutABufferWritesNothing)
{
    EXPECT_EQ(QV_Ver(nullptr), 743);
}

TEST_F(CameraState, VersionTextHoldsBuildDateAndTime)
{
    char text[100];
    memset(text, '#', sizeof text);
    EXPECT_EQ(QV_Ver(text), 743);
    char month[4] = "";
    int day = 0, year = 0, hour = 0, minute = 0, second = 0, length = 0;
    ASSERT_EQ(sscanf(text, "7.4.3 Build: %3[A-Za-z] %2d %4d %2d:%2d:%2d%n", month, &day, &year,
                     &hour, &minute, &second, &length),
              6)
        << text;
    EXPECT_NE(strstr("JanFebMarAprMayJunJulAugSepOctNovDec", month), nullptr) << text;
    EXPECT_TRUE(day >= 1 && day <= 31 && year >= 2023) << text;
    EXPECT_TRUE(hour < 24 && minute < 60 && second < 61) << text;
    EXPECT_EQ(text[length], 0);
    EXPECT_EQ(length, 33) << "every part has its width";
}

TEST_F(CameraState, MaxNumbersReadsTheLargestPixelValue)
{
    CameraTable[5].MaxValue = 4095;
    EXPECT_EQ(QV_MaxNumbers(5), 4095);
    EXPECT_EQ(QV_MaxNumbers(4), 0);
}

TEST_F(CameraState, DelaySleepsTheCaller)
{
    const uint64_t before = EmuMicroseconds();
    QV_Delay(1234);
    EXPECT_GE(EmuMicroseconds() - before, 1234000u);
    EXPECT_LT(EmuMicroseconds() - before, 1235000u);
    EXPECT_EQ(EmuLastSleep(), 1234u);
}

TEST_F(CameraState, ModeBitsAreSetAndClearedAndTheNewWordReturned)
{
    EXPECT_EQ(QV_SetMode(0x0120, 1, 2), 0x0120u);
    EXPECT_EQ(QV_SetMode(0x8004, -7, 2), 0x8124u);
    EXPECT_EQ(QV_GetMode(2), 0x8124u);
    EXPECT_EQ(QV_SetMode(0x0130, 0, 2), 0x8004u);
    EXPECT_EQ(QV_SetMode(0xFFFFFFFFu, 1, 2), 0xFFFFFFFFu);
    EXPECT_EQ(QV_SetMode(0xFFFF0000u, 0, 2), 0x0000FFFFu);
    EXPECT_EQ(QV_GetMode(1), 0u);
}

TEST_F(CameraState, SettingServiceBitsStartsNothing)
{
    OpenDemo(0, 0);
    QV_SetMode(0x0003, 1, 0);
    EXPECT_EQ(EmuTimersRunning(), 0u);
    EXPECT_EQ(QV_SetMode(0x0003, 0, 0), 0u);
}

TEST_F(CameraState, BreakFlagIsRaisedForOneCamera)
{
    QV_BrkFlg(6);
    EXPECT_EQ(CameraTable[6].BreakFlag, 1);
    EXPECT_EQ(CameraTable[5].BreakFlag, 0);
}

TEST_F(CameraState, BackgroundFiguresComeFromTheRecord)
{
    CameraTable[1].BackgroundTicks = 41;
    CameraTable[1].TickDuration = 97;
    EXPECT_EQ(QV_BckGnd(1), 41u);
    EXPECT_EQ(QV_BckBusy(1), 97u);
}

TEST_F(CameraState, CardIdentifierFollowsTheIndex)
{
    const uint16_t wanted[] = {2001, 2002, 2003, 2004, 2005, 2006, 2007, 2000};
    for (int32_t index = 0; index < 8; ++index) {
        QV_SetKZBPCI(index, 4);
        EXPECT_EQ(CameraTable[4].CardDeviceId, wanted[index]) << index;
    }
}

TEST_F(CameraState, CardIdentifierKeepsItsValueForAnyOtherIndex)
{
    QV_SetKZBPCI(7, 4);
    for (int32_t index : {8, -1, 2001, INT32_MAX, INT32_MIN}) {
        QV_SetKZBPCI(index, 4);
        EXPECT_EQ(CameraTable[4].CardDeviceId, 2000) << index;
    }
}

TEST_F(CameraState, ConfigurationDefaultsLeaveFourFieldsAlone)
{
    CameraConfig config;
    memset(&config, 0x5A, sizeof config);
    QV_InitCfg(&config);
    EXPECT_EQ(config.AD, 0);
    EXPECT_EQ(config.Platform, 44);
    EXPECT_EQ(config.CCD, 255);
    EXPECT_EQ(config.InterfaceType, 2);
    EXPECT_EQ(config.InterfaceAddress, -1);
    EXPECT_EQ(config.CameraAddress, 0);
    EXPECT_EQ(config.InterfaceLink, 0);
    EXPECT_EQ(config.FilterWheel, 0);
    EXPECT_EQ(config.ShutterType, 0);
    EXPECT_EQ(config.ShutterHisteresys, 10);
    EXPECT_EQ(config.CcdOutput, 0);
    EXPECT_EQ(config.CcdTechnology, 1);
    EXPECT_EQ(config.CcdBackFront, 0);
    EXPECT_EQ(config.Process, 0);
    EXPECT_EQ(config.Activity, 0);
    EXPECT_EQ(config.LongCable, 0);
    EXPECT_EQ(config.PciIndex, 0x5A5A5A5A);
    EXPECT_EQ(config.FilterWheelPortAddress, 0x5A5A5A5A);
    EXPECT_EQ(config.FilterWheelPortType, 0x5A5A5A5A);
    for (char c : config.DefectiveList) EXPECT_EQ(c, 0x5A);
}

TEST_F(CameraState, InitOptionsCopiesTheWholeConfiguration)
{
    CameraConfig config;
    memset(&config, 0x3C, sizeof config);
    QV_InitOptions(&config, 7);
    EXPECT_EQ(memcmp(&CameraTable[7].Config, &config, 156), 0);
    EXPECT_EQ(CameraTable[6].Config.AD, 0);
}

// Readout priority.

TEST_F(CameraState, PriorityIsRaisedAndLoweredWithBothOptions)
{
    QV_SetMode(0x1800, 1, 0);
    SetReadoutPriority(1, 0);
    EXPECT_EQ(EmuPriorityClass(), 256u);
    EXPECT_EQ(EmuThreadPriority(), 15);
    SetReadoutPriority(0, 0);
    EXPECT_EQ(EmuPriorityClass(), 32u);
    EXPECT_EQ(EmuThreadPriority(), 0);
}

uint32_t PriorityCalls;

void CountPriority(uint32_t, int32_t)
{
    ++PriorityCalls;
}

TEST_F(CameraState, PriorityIsLeftAloneWithoutBothOptions)
{
    System.process.SetPriority = CountPriority;
    PriorityCalls = 0;
    for (uint32_t options : {0x0000u, 0x0800u, 0x1000u}) {
        CameraTable[0].Options = options;
        SetReadoutPriority(1, 0);
        SetReadoutPriority(0, 0);
    }
    EXPECT_EQ(PriorityCalls, 0u);
}

TEST_F(CameraState, ProgressIsReportedUnlessSilent)
{
    OpenDemo(2, 0);
    ReportProgress("Image downloading", 0, 2);
    ReportProgress(nullptr, 50, 2);
    QV_SetMode(0x0020, 1, 2);
    ReportProgress(nullptr, 100, 2);
    ASSERT_EQ(ProgressReports.size(), 2u);
    EXPECT_EQ(ProgressReports[0].text, "Image downloading");
    EXPECT_EQ(ProgressReports[0].percent, 0);
    EXPECT_EQ(ProgressReports[0].camera, 2);
    EXPECT_FALSE(ProgressReports[1].hasText);
    EXPECT_EQ(ProgressReports[1].percent, 50);
}

// Blocks between the record and the host.

class BlockCopies : public DemoTest {};

TEST_F(BlockCopies, DefinitionsGoOutAndIn)
{
    CameraRecord& record = CameraTable[3];
    memset(&record.Ccd, 0x11, sizeof record.Ccd);
    memset(&record.Platform, 0x22, sizeof record.Platform);

    unsigned char block[90];
    memset(block, 0xEE, sizeof block);
    QV_RWData(0, 1, block, 3);
    EXPECT_EQ(memcmp(block, &record.Ccd, 72), 0);
    EXPECT_EQ(block[72], 0xEE);

    memset(block, 0xEE, sizeof block);
    QV_RWData(1, 1, block, 3);
    EXPECT_EQ(memcmp(block, &record.Platform, 88), 0);
    EXPECT_EQ(block[88], 0xEE);

    memset(block, 0x33, sizeof block);
    QV_RWData(0, 0, block, 3);
    EXPECT_EQ(memcmp(&record.Ccd, block, 72), 0);
    EXPECT_EQ(record.Platform.ADbit, 0x2222) << "the neighbour is not touched";
    memset(block, 0x44, sizeof block);
    QV_RWData(1, 0, block, 3);
    EXPECT_EQ(memcmp(&record.Platform, block, 88), 0);
    EXPECT_EQ(record.Ccd.Manufacturer, 0x3333) << "the neighbour is not touched";
}

TEST_F(BlockCopies, OptionsAndFamilyAreFourBytes)
{
    CameraRecord& record = CameraTable[0];
    record.Options = 0x12345678;
    record.CcdFamily = 30;
    uint32_t words[2] = {0, 0xEEEEEEEE};
    QV_RWData(2, 1, words, 0);
    EXPECT_EQ(words[0], 0x12345678u);
    QV_RWData(3, -1, words, 0);
    EXPECT_EQ(words[0], 30u);
    EXPECT_EQ(words[1], 0xEEEEEEEEu);

    words[0] = 0x8001;
    QV_RWData(2, 0, words, 0);
    EXPECT_EQ(QV_GetMode(0), 0x8001u);
    words[0] = 60;
    QV_RWData(3, 0, words, 0);
    EXPECT_EQ(record.CcdFamily, 60);
}

TEST_F(BlockCopies, AnyOtherBlockDoesNothing)
{
    for (int32_t what : {-1, 4, 5, INT32_MAX, INT32_MIN}) {
        unsigned char block[90];
        memset(block, 0xEE, sizeof block);
        QV_RWData(what, 1, block, 0);
        for (unsigned char byte : block) ASSERT_EQ(byte, 0xEE) << what;
        QV_RWData(what, 0, block, 0);
        EXPECT_EQ(CameraTable[0].Options, 0u);
        EXPECT_EQ(CameraTable[0].Ccd.Xpix, 0);
    }
}

// The version of the interface card's kernel driver.

struct DriverQuery {
    std::string name;
    uint64_t device = 0;
    uint32_t code = 0;
    uint32_t bytes = 0;
    bool zeroed = true;
    uint32_t opened = 0, closed = 0;
    uint64_t closedDevice = 0;
    bool answers = true;
};
DriverQuery Query;

uint64_t OpenKernelDriver(const char* name)
{
    Query.name = name;
    ++Query.opened;
    return 77;
}

int32_t ControlKernelDriver(uint64_t device, uint32_t code, void* record, uint32_t bytes)
{
    Query.device = device;
    Query.code = code;
    Query.bytes = bytes;
    char* block = static_cast<char*>(record);
    for (uint32_t i = 0; i < bytes; ++i) Query.zeroed = Query.zeroed && block[i] == 0;
    if (!Query.answers) return -1;
    const uint32_t version = 1021;
    memcpy(block, &version, sizeof version);
    strcpy(block + 4, "Kernel driver %s v10.21");
    return 0;
}

void CloseKernelDriver(uint64_t device)
{
    Query.closedDevice = device;
    ++Query.closed;
}

class DriverVersion : public DemoTest {
protected:
    void SetUp() override
    {
        DemoTest::SetUp();
        Query = DriverQuery{};
        System.device = {OpenKernelDriver, ControlKernelDriver, CloseKernelDriver};
    }
};

TEST_F(DriverVersion, ClosedCameraOpensTheDriverForTheQuery)
{
    char text[140] = "";
    EXPECT_EQ(QV_WDVer(text, 2), 1021u);
    EXPECT_STREQ(text, "Kernel driver %s v10.21");
    EXPECT_EQ(Query.name, "\\\\.\\WINDRVR6");
    EXPECT_EQ(Query.device, 77u);
    EXPECT_EQ(Query.code, 0x95382443u);
    EXPECT_EQ(Query.bytes, 132u);
    EXPECT_TRUE(Query.zeroed);
    EXPECT_EQ(Query.closed, 1u);
    EXPECT_EQ(Query.closedDevice, 77u);
}

TEST_F(DriverVersion, OpenCameraUsesTheHandleItHas)
{
    CameraTable[2].CameraOn = 1;
    CameraTable[2].WdHandle = 5;
    EXPECT_EQ(QV_WDVer(nullptr, 2), 1021u);
    EXPECT_EQ(Query.opened, 0u);
    EXPECT_EQ(Query.closed, 0u);
    EXPECT_EQ(Query.device, 5u);
    EXPECT_EQ(CameraTable[2].WdHandle, 5u);
    CameraTable[2].CameraOn = 0;
}

TEST_F(DriverVersion, WithoutADriverTheVersionIsZeroAndTheTextEmpty)
{
    ResetLibrary();
    EmuHaveCardDriver(false);
    char text[140] = "#";
    EXPECT_EQ(QV_WDVer(text, 0), 0u);
    EXPECT_STREQ(text, "");
    EXPECT_EQ(QV_WDVer(nullptr, 0), 0u);
}

TEST_F(DriverVersion, DriverThatDoesNotAnswerGivesZeroAndAnEmptyText)
{
    Query.answers = false;
    char text[140] = "#";
    EXPECT_EQ(QV_WDVer(text, 0), 0u);
    EXPECT_STREQ(text, "");
    EXPECT_EQ(Query.closed, 1u);
}

TEST_F(DriverVersion, OverlongVersionTextStaysInsideTheBlock)
{
    System.device.Control = [](uint64_t, uint32_t, void* record, uint32_t bytes) -> int32_t {
        memset(record, 'x', bytes);
        return 0;
    };
    char text[140];
    memset(text, '#', sizeof text);
    EXPECT_EQ(QV_WDVer(text, 0), 0x78787878u);
    EXPECT_EQ(text[126], 'x');
    EXPECT_EQ(text[127], 0) << "the last of the block's 128 characters";
    EXPECT_EQ(text[128], '#') << "nothing behind them";
}

} // namespace
