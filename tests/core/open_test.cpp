// Opening a camera: the order of the steps and what each of them leaves.
#include <cstring>
#include <string>

#include "core/record.h"
#include "core/timer_service.h"
#include "drivers/demo/demo.h"
#include "emulator/emulator.h"
#include "platform/system.h"
#include "tests/support/demo_camera.h"
#include "tests/support/scripted_camera.h"

namespace {

class OpenCamera : public ScriptedTest {};

TEST_F(OpenCamera, SimulatedCameraComesUp)
{
    OpenDemo(3, 0);
    EXPECT_EQ(QV_Status(3), 0);
    EXPECT_EQ(QV_IsOn(3), 1);
    EXPECT_EQ(QV_IsOn(0), 0);
    EXPECT_EQ(QV_MaxNumbers(3), 65535);
    EXPECT_EQ(CameraTable[3].PlatformCode, 1);
    EXPECT_EQ(CameraTable[3].CcdCode, 255);
    EXPECT_EQ(CameraTable[3].Ccd.Xpix, 24);
    EXPECT_EQ(CameraTable[3].WindowDimX, 24);
    EXPECT_EQ(CameraTable[3].WindowDimY, 16);
}

TEST_F(OpenCamera, StepsComeInOrder)
{
    CameraTable[2].Config.CameraAddress = 3;
    CameraTable[2].ArrayMode = 1;
    CameraTable[2].FirstTemperature = 0;
    CameraTable[2].ShutterHeld = 1;
    ScriptSlots(2);
    Script.duringCall = [](const ScriptedCall& call) {
        const CameraRecord& record = CameraTable[2];
        if (call.slot == 0) {
            EXPECT_EQ(record.CameraOn, 0);
            EXPECT_EQ(record.SubCamera, 3);
            EXPECT_EQ(record.CardDeviceId, 2003);
            EXPECT_EQ(record.ArrayMode, 1) << "cleared after the driver's open";
            EXPECT_EQ(record.FirstTemperature, 1);
            EXPECT_EQ(record.ShutterHeld, 0);
            EXPECT_EQ(record.Ccd.Xpix, 24);
            EXPECT_EQ(record.Platform.ADbit, 9 * 256 + 12);
            EXPECT_EQ(record.WindowDimX, 24);
        } else {
            EXPECT_EQ(record.CameraOn, 1);
            EXPECT_EQ(record.ArrayMode, 0);
            EXPECT_EQ(record.MaxValue, 4095);
        }
    };
    QV_Open(DriverlessPlatform, SmallSensor, 0x378, 0, 7, 2, 0, nullptr, nullptr);
    EXPECT_EQ(QV_Status(2), 0);
    EXPECT_EQ(QV_IsOn(2), 1);
    ASSERT_EQ(CalledSlots(), (std::vector<int32_t>{0, 9, 8}));
    EXPECT_EQ(ScriptedCalls[0].arguments, (std::vector<int64_t>{0x378, 7}));
    EXPECT_EQ(ScriptedCalls[0].camera, 2);
}

TEST_F(OpenCamera, PatternIsBuiltForTheWholeSensorAndLoaded)
{
    CameraTable[0].WaveOption = 5;
    CameraTable[0].WaveExtraCount = 6;
    Script.duringCall = [](const ScriptedCall& call) {
        if (call.slot != 0) return;
        CameraTable[0].HorBinning = 4;
        CameraTable[0].VerBinning = 3;
        CameraTable[0].Ccd.Xpix = 21;
    };
    OpenScripted(0, 0);
    const std::string path = DemoFolder() + "wave.bin";
    ASSERT_EQ(CallsOf(9).size(), 1u);
    EXPECT_EQ(CallsOf(9)[0].path, path);
    EXPECT_EQ(CallsOf(9)[0].arguments, (std::vector<int64_t>{0, 0, 21, 1, 1, 0, 0}))
        << "an odd width as it stands";
    ASSERT_EQ(CallsOf(8).size(), 1u);
    EXPECT_EQ(CallsOf(8)[0].path, path);
    EXPECT_EQ(CameraTable[0].HorBinning, 1);
    EXPECT_EQ(CameraTable[0].VerBinning, 1);
}

TEST_F(OpenCamera, FailedBuildOrLoadDoesNotStopTheOpen)
{
    for (int32_t error : {8, 22, 23}) {
        ResetLibrary();
        QV_SetPathName(DemoFolder().c_str());
        Script.buildError = error;
        Script.loadResult = 0;
        OpenScripted(1, 0);
        EXPECT_EQ(QV_IsOn(1), 1) << error;
        EXPECT_EQ(QV_Status(1), error);
        EXPECT_EQ(CallsOf(8).back().camera, 1) << "loaded all the same";
    }
}

TEST_F(OpenCamera, SecondOpenChangesNothing)
{
    OpenScripted(4, 0x0020);
    CameraTable[4].LastError = 2;
    ScriptedCalls.clear();
    const CameraRecord before = CameraTable[4];
    QV_Open(DemoPlatform, OddSensor, 1, 2, 3, 4, 0x0003, nullptr, nullptr);
    EXPECT_EQ(QV_Status(4), 2);
    EXPECT_TRUE(ScriptedCalls.empty());
    EXPECT_EQ(memcmp(&before, &CameraTable[4], sizeof before), 0);
    EXPECT_EQ(TimerUsers, 0);
}

TEST_F(OpenCamera, DriversFailureIsTheStatusAndTheCameraStaysOff)
{
    for (int32_t code : {1, 2, 4, 9, 10, 11, 13, 15, 17, 18, 19, 20, 24, 25, 26, 27, 28}) {
        Script.openResult = code;
        ScriptedCalls.clear();
        CameraTable[0].MaxValue = 77;
        CameraTable[0].HorBinning = CameraTable[0].VerBinning = 7;
        OpenScripted(0, 0x8003);
        EXPECT_EQ(QV_Status(0), code);
        EXPECT_EQ(QV_IsOn(0), 0) << code;
        EXPECT_EQ(CalledSlots(), std::vector<int32_t>{0}) << code;
        EXPECT_EQ(CameraTable[0].MaxValue, 77);
        EXPECT_EQ(CameraTable[0].HorBinning, 1);
        EXPECT_EQ(CameraTable[0].VerBinning, 1);
        EXPECT_EQ(TimerUsers, 0);
        EXPECT_EQ(QV_MatrixPointer(0, 0), nullptr);
        EXPECT_EQ(CameraTable[0].ArrayMode, 0);
    }
}

TEST_F(OpenCamera, DriversResultReplacesAnErrorThatItStoredItself)
{
    Script.duringCall = [](const ScriptedCall& call) {
        if (call.slot == 0) CameraTable[0].LastError = 25;
    };
    OpenScripted(0, 0);
    EXPECT_EQ(QV_Status(0), 0);
    EXPECT_EQ(QV_IsOn(0), 1);
}

TEST_F(OpenCamera, PlatformWithoutADriverFailsWithThree)
{
    for (int32_t platform : {10, 20, 21, 43, 50, 90, 100, 77, 0, -1, INT32_MAX, INT32_MIN}) {
        QV_Open(platform, SmallSensor, 0, 0, 0, 5, 0x8003, nullptr, nullptr);
        EXPECT_EQ(QV_Status(5), 3) << platform;
        EXPECT_EQ(QV_IsOn(5), 0);
        EXPECT_EQ(CameraTable[5].PlatformCode, platform);
        EXPECT_EQ(TimerUsers, 0);
    }
}

TEST_F(OpenCamera, MissingDefinitionFileGivesFive)
{
    RemoveDefinitions();
    CameraTable[1].ArrayMode = 1;
    CameraTable[1].Config.CameraAddress = 2;
    OpenDemo(1, 0x8003);
    EXPECT_EQ(QV_Status(1), 5);
    EXPECT_EQ(QV_IsOn(1), 0);
    EXPECT_EQ(CameraTable[1].SubCamera, 2) << "set whatever came before";
    EXPECT_EQ(CameraTable[1].CardDeviceId, 2001) << "not the camera's own yet";
    EXPECT_EQ(CameraTable[1].ArrayMode, 1) << "not reached";
    EXPECT_EQ(EmuTimersRunning(), 0u);
}

TEST_F(OpenCamera, BrokenDefinitionFileGivesFive)
{
    WriteDefinitions("rmk_camera_library: { ccd_definitions: ");
    OpenDemo(0, 0);
    EXPECT_EQ(QV_Status(0), 5);
    EXPECT_EQ(QV_IsOn(0), 0);
}

TEST_F(OpenCamera, MissingRawImageGivesOneAndLeavesTheCameraOff)
{
    WriteDefinitions(Replaced(SampleDefinitions(), "demo.raw", "absent.raw"));
    OpenDemo(0, 0);
    EXPECT_EQ(QV_Status(0), 1);
    EXPECT_STREQ(QV_ErrorMessage(QV_Status(0)), "Camera not found! Is it turned on ?");
    EXPECT_EQ(QV_IsOn(0), 0);
    DemoClose(0);
}

TEST_F(OpenCamera, FailedOpenLeavesTheSlotsBound)
{
    OpenDemo(0, 0);
    const CameraOps bound = CameraTable[0].Ops;
    RemoveDefinitions();
    OpenDemo(1, 0);
    EXPECT_EQ(QV_Status(1), 5);
    EXPECT_EQ(CameraTable[1].Ops.OpenCamera, bound.OpenCamera);
    EXPECT_EQ(CameraTable[1].Ops.ReadFrame, bound.ReadFrame);
    EXPECT_EQ(CameraTable[1].Ops.ReadTemperature, bound.ReadTemperature);
}

TEST_F(OpenCamera, FailedOpenCanBeRepeatedWithSuccess)
{
    RemoveDefinitions();
    OpenDemo(0, 0);
    WriteDefinitions(SampleDefinitions());
    OpenDemo(0, 0);
    EXPECT_EQ(QV_Status(0), 0);
    EXPECT_EQ(QV_IsOn(0), 1);
}

TEST_F(OpenCamera, SensorThatTheFileLacksOpensWithZeros)
{
    OpenDemo(0, 0, AbsentSensor);
    EXPECT_EQ(CameraTable[0].Ccd.Xpix, 0);
    EXPECT_EQ(CameraTable[0].WindowDimX, 0);
    EXPECT_EQ(CameraTable[0].Platform.TimeBase, 40.0) << "the platform's own values are there";
    EXPECT_EQ(CameraTable[0].Platform.SamplingClock[0], 0.0);
}

TEST_F(OpenCamera, ImageAreaIsTheSensorMadeEvenInColumns)
{
    OpenDemo(0, 0, OddSensor);
    EXPECT_EQ(CameraTable[0].WindowDimX, 20);
    EXPECT_EQ(CameraTable[0].WindowDimY, 13);
}

TEST_F(OpenCamera, LastCameraNumberHasTheFirstCardIdentifier)
{
    OpenDemo(7, 0);
    EXPECT_EQ(CameraTable[7].CardDeviceId, 2000);
    OpenDemo(6, 0);
    EXPECT_EQ(CameraTable[6].CardDeviceId, 2007);
}

TEST_F(OpenCamera, ShutterSettlingTimeFollowsThePlatform)
{
    for (int32_t platform : {60, 61}) {
        CameraTable[0].Config.ShutterHisteresys = 1;
        QV_Open(platform, SmallSensor, 0, 1, 0, 0, 0, nullptr, nullptr);
        EXPECT_EQ(CameraTable[0].Config.ShutterHisteresys, 100) << platform;
    }
    for (int32_t platform : {10, 59, 62}) {
        CameraTable[0].Config.ShutterHisteresys = 1;
        QV_Open(platform, SmallSensor, 0, 1, 0, 0, 0, nullptr, nullptr);
        EXPECT_EQ(CameraTable[0].Config.ShutterHisteresys, 10) << platform;
    }
    CameraTable[1].Config.ShutterHisteresys = 1;
    OpenDemo(1, 0);
    EXPECT_EQ(CameraTable[1].Config.ShutterHisteresys, 10);
}

struct BitsAndValue {
    uint16_t adBit;
    uint16_t maxValue;
};

TEST_F(OpenCamera, LargestPixelValueComesFromTheLowByteAndSaturates)
{
    const BitsAndValue rows[] = {
        {0, 0},      {1, 1},      {8, 255},     {12, 4095},  {14, 16383},    {16, 65535},
        {17, 65535}, {32, 65535}, {255, 65535}, {0x0C00, 0}, {0x100C, 4095}, {0xFF01, 1},
    };
    for (const BitsAndValue& row : rows) {
        Script.duringCall = [&row](const ScriptedCall& call) {
            if (call.slot == 0) CameraTable[0].Platform.ADbit = row.adBit;
        };
        OpenScripted(0, 0);
        EXPECT_EQ(QV_MaxNumbers(0), row.maxValue) << row.adBit;
        QV_Close(0);
    }
}

// Options.

TEST_F(OpenCamera, InternalBufferIsAllocatedOnRequest)
{
    OpenDemo(0, 0x8000);
    EXPECT_EQ(QV_Status(0), 0);
    EXPECT_NE(QV_MatrixPointer(0, 0), nullptr);
    EXPECT_EQ(QV_MatrixGet(0), 0);
    EXPECT_EQ(CameraTable[0].MatrixBytes[0], 24u * 16u * 2u);
}

TEST_F(OpenCamera, FailedInternalBufferLeavesTheCameraOnAndTheTimerOff)
{
    Script.duringCall = [](const ScriptedCall& call) {
        if (call.slot == 8) EmuFail(EmuAllocate, 1, false);
    };
    OpenScripted(0, 0x8003);
    EXPECT_EQ(QV_Status(0), 16);
    EXPECT_EQ(QV_IsOn(0), 1);
    EXPECT_EQ(TimerUsers, 0);
    EXPECT_EQ(EmuTimersRunning(), 0u);
}

TEST_F(OpenCamera, BuildErrorKeepsTheTimerOffOnlyWithInternalBuffers)
{
    Script.buildError = 8;
    OpenScripted(0, 0x8001);
    EXPECT_EQ(QV_Status(0), 8);
    EXPECT_NE(QV_MatrixPointer(0, 0), nullptr);
    EXPECT_EQ(TimerUsers, 0);
    OpenScripted(1, 0x0001);
    EXPECT_EQ(QV_Status(1), 8);
    EXPECT_EQ(TimerUsers, 1);
    QV_Close(1);
}

TEST_F(OpenCamera, BufferFollowsTheArgumentAndTheTimerTheOptionWord)
{
    Script.duringCall = [](const ScriptedCall& call) {
        if (call.slot == 0) QV_SetMode(0x8001, 1, 0);
    };
    OpenScripted(0, 0);
    EXPECT_EQ(QV_MatrixPointer(0, 0), nullptr) << "not asked for by the argument";
    EXPECT_EQ(TimerUsers, 1) << "asked for by the driver";
    QV_SetMode(0x8000, 0, 0);
    QV_Close(0);

    Script.duringCall = [](const ScriptedCall& call) {
        if (call.slot == 0) QV_SetMode(0x8001, 0, 0);
    };
    OpenScripted(0, 0x8001);
    EXPECT_NE(QV_MatrixPointer(0, 0), nullptr);
    EXPECT_EQ(TimerUsers, 0);
}

// Callbacks.

TEST_F(OpenCamera, FirstCallbackIsTheExposuresAndTheSecondTheReadouts)
{
    OpenDemo(0, 0);
    EXPECT_EQ(CameraTable[0].Ops.ExposureCallback, RecordExposure);
    EXPECT_EQ(CameraTable[0].Ops.ProgressCallback, RecordProgress);
}

TEST_F(OpenCamera, OpenWithoutCallbacksReadsNormally)
{
    _QV_Open(DemoPlatform, SmallSensor, 0, 0, 0, 0, 0);
    ASSERT_EQ(QV_IsOn(0), 1);
    ASSERT_NE(CameraTable[0].Ops.ExposureCallback, nullptr);
    ASSERT_NE(CameraTable[0].Ops.ProgressCallback, nullptr);
    std::vector<uint16_t> frame(24 * 16, 7);
    QV_GetCCD(0, 0.0, frame.data(), 0);
    EXPECT_EQ(QV_Status(0), 0);
    EXPECT_EQ(frame, std::vector<uint16_t>(24 * 16, 100));
    QV_GetCCD(0, 0.7, frame.data(), 0);
    EXPECT_EQ(QV_Status(0), 0);
}

TEST_F(OpenCamera, OpenReplacesTheCallbacksOfTheLastOne)
{
    OpenDemo(0, 0);
    QV_Close(0);
    QV_Open(DemoPlatform, SmallSensor, 0, 0, 0, 0, 0, nullptr, nullptr);
    CameraTable[0].Ops.ProgressCallback("x", 1, 0);
    CameraTable[0].Ops.ExposureCallback("x", 0);
    EXPECT_TRUE(ProgressReports.empty());
    EXPECT_TRUE(ExposureReports.empty());
}

// The definitions alone.

TEST_F(OpenCamera, DefinitionsAreReadWithoutOpening)
{
    CameraTable[0].LastError = 9;
    EXPECT_EQ(QV_OpenPar(DemoPlatform, OddSensor, 0), 0);
    EXPECT_EQ(QV_Status(0), 0);
    EXPECT_EQ(QV_IsOn(0), 0);
    EXPECT_EQ(CameraTable[0].PlatformCode, 1);
    EXPECT_EQ(CameraTable[0].CcdCode, 120);
    EXPECT_EQ(CameraTable[0].Ccd.Xpix, 21);
    EXPECT_EQ(CameraTable[0].Ccd.Ypix, 13);
    EXPECT_STREQ(CameraTable[0].PlatformShortCode, "de");
}

TEST_F(OpenCamera, DefinitionsWithoutAFileFailWithFiveAndKeepTheSensorCode)
{
    RemoveDefinitions();
    CameraTable[0].CcdCode = 999;
    EXPECT_EQ(QV_OpenPar(DemoPlatform, SmallSensor, 0), 1);
    EXPECT_EQ(QV_Status(0), 5);
    EXPECT_EQ(CameraTable[0].PlatformCode, 1);
    EXPECT_EQ(CameraTable[0].CcdCode, 999);
}

// Opening by configuration.

CameraConfig DemoConfig(int32_t camera)
{
    CameraConfig config;
    memset(&config, 0, sizeof config);
    QV_InitCfg(&config);
    config.Platform = DemoPlatform;
    config.CCD = SmallSensor;
    config.PciIndex = camera;
    config.CameraAddress = 2;
    config.InterfaceType = 0;
    config.ShutterHisteresys = 77;
    config.Activity = 0x0020;
    strcpy(config.DefectiveList, "hot.txt");
    return config;
}

TEST_F(OpenCamera, ConfigurationKeepsItsShutterSettlingTime)
{
    const CameraConfig config = DemoConfig(3);
    CameraConfig* stored = QV_OpenByConfig(&config, 0, RecordExposure, RecordProgress);
    EXPECT_EQ(stored, &CameraTable[3].Config);
    EXPECT_EQ(QV_IsOn(3), 1);
    EXPECT_EQ(memcmp(stored, &config, 156), 0);
    EXPECT_EQ(stored->ShutterHisteresys, 77);
    EXPECT_EQ(QV_GetMode(3), 0x0020u);
    EXPECT_EQ(CameraTable[3].SubCamera, 2);
    EXPECT_EQ(CameraTable[3].Ops.ExposureCallback, RecordExposure);
    EXPECT_EQ(CameraTable[3].Ops.ProgressCallback, RecordProgress);
}

TEST_F(OpenCamera, PlainOpenDoesNotKeepTheConfiguredSettlingTime)
{
    const CameraConfig config = DemoConfig(3);
    QV_InitOptions(&config, 3);
    OpenDemo(3, 0);
    EXPECT_EQ(CameraTable[3].Config.ShutterHisteresys, 10);
    EXPECT_EQ(CameraTable[3].SubCamera, 2);
    EXPECT_STREQ(CameraTable[3].Config.DefectiveList, "hot.txt");
}

TEST_F(OpenCamera, ConfigurationIsInPlaceDuringTheDriversOpen)
{
    CameraConfig config = DemoConfig(1);
    config.Platform = DriverlessPlatform;
    config.InterfaceAddress = 0x2F8;
    ScriptSlots(1);
    Script.duringCall = [](const ScriptedCall& call) {
        if (call.slot != 0) return;
        EXPECT_STREQ(CameraTable[1].Config.DefectiveList, "hot.txt");
        EXPECT_EQ(CameraTable[1].Config.ShutterHisteresys, 10) << "the open's own, for now";
    };
    QV_OpenByConfig(&config, 9, nullptr, nullptr);
    ASSERT_EQ(CallsOf(0).size(), 1u);
    EXPECT_EQ(CallsOf(0)[0].arguments, (std::vector<int64_t>{0x2F8, 9}));
    EXPECT_EQ(CallsOf(0)[0].camera, 1);
    EXPECT_EQ(CameraTable[1].Config.ShutterHisteresys, 77);
}

TEST_F(OpenCamera, ConfigurationOfAnOpenCameraIsOnlyCopied)
{
    OpenDemo(3, 0x0020);
    CameraTable[3].LastError = 2;
    CameraConfig config = DemoConfig(3);
    config.CCD = OddSensor;
    config.Activity = 0x8003;
    CameraRecord wanted = CameraTable[3];
    wanted.Config = config;
    EXPECT_EQ(QV_OpenByConfig(&config, 0, nullptr, nullptr), &CameraTable[3].Config);
    EXPECT_EQ(memcmp(&wanted, &CameraTable[3], sizeof wanted), 0);
    EXPECT_EQ(CameraTable[3].Config.ShutterHisteresys, 77);
    EXPECT_EQ(QV_Status(3), 2);
    EXPECT_EQ(TimerUsers, 0);
}

TEST_F(OpenCamera, FailedOpenByConfigurationStillStoresIt)
{
    RemoveDefinitions();
    const CameraConfig config = DemoConfig(2);
    EXPECT_EQ(QV_OpenByConfig(&config, 0, nullptr, nullptr), &CameraTable[2].Config);
    EXPECT_EQ(QV_Status(2), 5);
    EXPECT_EQ(memcmp(&CameraTable[2].Config, &config, 156), 0);
}

const char* const ConfigurationFile = R"(CameraConfig:
{
  AD = 1; Platform = 1; CCD = 120; InterfaceType = 0; InterfaceAddress = -1;
  CameraAddress = 1; PciIndex = 5; InterfaceLink = 0;
  FilterWheel = 0; FilterWheelPortAddress = 0; FilterWheelPortType = 0;
  ShutterType = 0; ShutterHisteresys = 33;
  CcdOutput = 2; CcdTechnology = 1; CcdBackFront = 0; Process = 0;
  DefectiveList = "list"; Activity = 32; LongCable = 0;
  TemperatureOffset = 0.0; TemperatureSpan = 1.0;
};
)";

TEST_F(OpenCamera, FileOpensTheCameraThatItNames)
{
    WriteDemoFile("camera.cfg", ConfigurationFile);
    EXPECT_EQ(QV_OpenByFile("camera.cfg", 0, RecordExposure, RecordProgress), 5);
    EXPECT_EQ(QV_IsOn(5), 1);
    EXPECT_EQ(CameraTable[5].CcdCode, 120);
    EXPECT_EQ(CameraTable[5].Config.ShutterHisteresys, 33);
    EXPECT_EQ(CameraTable[5].Config.CcdOutput, 2);
    EXPECT_EQ(CameraTable[5].SubCamera, 1);
    EXPECT_EQ(QV_GetMode(5), 32u);
    EXPECT_EQ(CameraTable[5].Ops.ProgressCallback, RecordProgress);
}

TEST_F(OpenCamera, FileWithoutCallbacks)
{
    WriteDemoFile("site.cfg", ConfigurationFile);
    EXPECT_EQ(_QV_OpenByFile((DemoFolder() + "site.cfg").c_str(), 0), 5);
    EXPECT_EQ(QV_IsOn(5), 1);
    ASSERT_NE(CameraTable[5].Ops.ProgressCallback, nullptr);
    CameraTable[5].Ops.ProgressCallback(nullptr, 100, 5);
}

TEST_F(OpenCamera, UnreadableFileOpensFromAZeroedRecord)
{
    CameraTable[0].Config.CcdOutput = 3;
    EXPECT_EQ(QV_OpenByFile("absent.cfg", 0, nullptr, nullptr), 0);
    EXPECT_EQ(QV_IsOn(0), 0);
    EXPECT_EQ(QV_Status(0), 3);
    EXPECT_EQ(CameraTable[0].PlatformCode, 0);
    EXPECT_EQ(CameraTable[0].Config.CcdOutput, 0);
    WriteDemoFile("broken.cfg", "CameraConfig: { PciIndex = 3; Platform = 1; CCD = ");
    EXPECT_EQ(QV_OpenByFile("broken.cfg", 0, nullptr, nullptr), 0);
    EXPECT_EQ(QV_IsOn(3), 0);
}

} // namespace
