// Arrays on a camera whose slots write down what they get: heads 0 and 2 are fitted.
#include "acquisition/array.h"

#include "core/flags.h"
#include "core/open_close.h"
#include "core/options.h"
#include "core/record.h"
#include "core/timer_service.h"
#include "devices/temperature.h"
#include "emulator/emulator.h"
#include "platform/system.h"
#include "tests/support/fake_camera.h"

namespace {

DriverExtras Extras;
int32_t FailingHead;

void Note(const std::string& text, int32_t camera)
{
    Fake.calls.push_back({text, EmuMicroseconds(), LoadFlag(StopCount[camera])});
}

void SelectUnit(int32_t unit, int32_t camera)
{
    Note("SelectUnit " + std::to_string(unit), camera);
    CameraTable[camera].CurrentArrayCamera = unit;
}

int32_t ReadArray(int32_t shutter, int32_t width, int32_t height, uint16_t* buffer, int32_t camera)
{
    const int32_t head = CameraTable[camera].CurrentArrayCamera;
    Note("ReadArray " + std::to_string(shutter) + " " + std::to_string(width) + " " +
             std::to_string(height),
         camera);
    if (head == FailingHead) return 2;
    *buffer = static_cast<uint16_t>(100 + head);
    return 0;
}

class Array : public FakeTest {
protected:
    CameraRecord& record = CameraTable[1];
    double exposures[8] = {0.1, 9.0, 0.2, 9.0, 9.0, 9.0, 9.0, 9.0};
    uint16_t pixels[8] = {};
    uint16_t* buffers[8];

    void SetUp() override
    {
        FakeTest::SetUp();
        FailingHead = -1;
        for (int32_t i = 0; i < 8; ++i) buffers[i] = pixels + i;
    }

    void Begin(uint16_t mask = 0x5, uint32_t options = 0)
    {
        OpenFake(42, 0, options, 1);
        record.Ccd.Xpix = 21;
        record.Ccd.Ypix = 16;
        record.HorBinning = 3;
        record.VerBinning = 2;
        record.Ops.ReadArray = ReadArray;
        Extras = {};
        Extras.SelectUnit = SelectUnit;
        record.Extras = &Extras;
        StoreFlag(&record.ArrayMode, int8_t{1});
        record.ArrayConfig = {{0, mask, 0, 0}};
    }
};

} // namespace

// All are started first, then all are read; the wait is that of the longer one.
TEST_F(Array, ExposesAllHeadsTogetherAndReadsOneAfterTheOther)
{
    Begin();
    const uint64_t start = EmuMicroseconds();
    AGetCCD(1, exposures, buffers, 1);
    EXPECT_EQ(FakeTexts(),
              (Texts{"SelectUnit 0", "SetShutter 0.1", "SelectUnit 2", "SetShutter 0.2",
                     "SelectUnit 0", "ReadArray 1 7 8", "SelectUnit 2", "ReadArray 1 7 8"}));
    EXPECT_EQ(pixels[0], 100);
    EXPECT_EQ(pixels[1], 0);
    EXPECT_EQ(pixels[2], 102);
    const uint64_t milliseconds = (EmuMicroseconds() - start) / 1000;
    EXPECT_GE(milliseconds, 210u); // and the shutter's 10
    EXPECT_LT(milliseconds, 230u);
    EXPECT_EQ(record.HeadExposure[7], 9.0);
    EXPECT_EQ(EmuPriorityClass(), 32u);
    EXPECT_EQ(EmuThreadPriority(), 0);
    EXPECT_EQ(LoadFlag(StopCount[1]), 0);
    EXPECT_EQ(Fake.calls.front().stopCount, 1);
}

TEST_F(Array, DarkFrameOpensNoShutterAndWaitsAllTheSame)
{
    Begin();
    exposures[2] = 0.8;
    const uint64_t start = EmuMicroseconds();
    AGetCCD(0, exposures, buffers, 1);
    EXPECT_EQ(FakeTexts("SetShutter"), Texts{});
    EXPECT_GE((EmuMicroseconds() - start) / 1000, 810u);
    EXPECT_EQ(FakeTexts("ReadArray").size(), 2u);
}

TEST_F(Array, WithoutHeadsReadsNothing)
{
    Begin(0);
    AGetCCD(1, exposures, buffers, 1);
    EXPECT_EQ(FakeTexts(), Texts{});
    EXPECT_EQ(LoadFlag(StopCount[1]), 0);
}

TEST_F(Array, HeadThatFailsIsNotReportedAndStopsNoOther)
{
    Begin();
    FailingHead = 0;
    AGetCCD(1, exposures, buffers, 1);
    EXPECT_EQ(pixels[0], 0);
    EXPECT_EQ(pixels[2], 102);
    EXPECT_EQ(LoadFlag(record.LastError), 0);
}

TEST_F(Array, BringsTheFullFrameBackWithItsWidthAsItIs)
{
    Begin();
    record.WindowBuilt = 1;
    AGetCCD(1, exposures, buffers, 1);
    EXPECT_EQ(FakeTexts("BuildWave"), (Texts{"BuildWave 0 0 21 3 2"}));
    EXPECT_EQ(FakeTexts()[0], "SelectUnit 1"); // the camera's number is a head, too
    EXPECT_EQ(record.WindowBuilt, 0);
}

TEST_F(Array, WaitsForTheTrigger)
{
    Begin(0x1, OptionExternalTrigger);
    Fake.untriggeredPolls = 3;
    AGetCCD(1, exposures, buffers, 1);
    EXPECT_EQ(FakeTexts("IsTriggered").size(), 4u);
}

TEST_F(Array, WithoutABufferIsAnErrorOrAHeadThatIsNotRead)
{
    Begin();
    buffers[0] = nullptr;
    AGetCCD(1, exposures, buffers, 1);
    EXPECT_EQ(FakeTexts("ReadArray").size(), 1u);
    AGetCCD(1, nullptr, buffers, 1);
    EXPECT_EQ(LoadFlag(record.LastError), 16);
    AGetCCD(1, exposures, nullptr, 1);
    EXPECT_EQ(LoadFlag(record.LastError), 16);
    EXPECT_EQ(FakeTexts("ReadArray").size(), 1u);
}

TEST_F(Array, SelectionSwitchesTheHardwareBetweenTwoRegulators)
{
    Begin();
    record.CurrentArrayCamera = 2;
    record.RegulationCountdown = 7;
    record.SubCountdown[1] = 3;
    Select(1);
    EXPECT_EQ(FakeTexts(), (Texts{"SelectUnit 1"}));
    EXPECT_EQ(record.SubCountdown[2], 7);
    EXPECT_EQ(record.RegulationCountdown, 3);
}

TEST_F(Array, OfOtherPlatformsIsRefused)
{
    const uint16_t config[4] = {0, 1, 0, 0};
    for (const int32_t platform : {40, 47, 24, 1}) {
        StoreFlag(&record.LastError, 0);
        OpenArray(config, platform, 255, 0, 1, nullptr, nullptr);
        EXPECT_EQ(LoadFlag(record.LastError), 12) << platform;
        EXPECT_EQ(LoadFlag(record.ArrayMode), 0);
        EXPECT_EQ(LoadFlag(record.CameraOn), 0);
    }
    OpenArray(nullptr, 42, 255, 0, 1, nullptr, nullptr);
    EXPECT_EQ(LoadFlag(record.LastError), 12);
}

TEST_F(Array, OfOtherPlatformsIsRefusedOnAnOpenCameraToo)
{
    const uint16_t config[4] = {0, 1, 0, 0};
    Begin();
    StoreFlag(&record.CameraOn, 1);
    OpenArray(config, 40, 255, 0, 1, nullptr, nullptr);
    EXPECT_EQ(LoadFlag(record.LastError), 12);
    EXPECT_EQ(LoadFlag(record.CameraOn), 1);
    StoreFlag(&record.LastError, 0);
    OpenArray(config, 42, 255, 0, 1, nullptr, nullptr); // changes nothing
    EXPECT_EQ(LoadFlag(record.LastError), 0);
    EXPECT_EQ(record.ArrayConfig.words[1], 0x5);
}

// A tick each 100 ms serves all heads, until the first stop has been seen.
TEST_F(Array, IsRegulatedInTheBackgroundUntilItsFirstStop)
{
    Begin(0x5, OptionRegulation);
    Fake.temperatures = {-11.0};
    ArrayTimerJoin(1);
    EXPECT_EQ(LoadFlag(record.BackgroundTicks), 1);
    EXPECT_EQ(Fake.readTimes.size(), 2u);
    EXPECT_EQ(LoadReading(record.ArrayTemperature[0]), -11.0);
    EXPECT_EQ(LoadReading(record.ArrayTemperature[2]), -11.0);
    EXPECT_EQ(record.SubCamera, 2);
    EXPECT_EQ(FakeTexts("SelectUnit"), (Texts{"SelectUnit 0", "SelectUnit 2"}));
    System.clock.Sleep(300);
    EXPECT_EQ(LoadFlag(record.BackgroundTicks), 4);
    StopNow(1);
    StartNow(1);
    System.clock.Sleep(1000);
    EXPECT_EQ(LoadFlag(record.BackgroundTicks), 4);
    EXPECT_EQ(EmuTimersRunning(), 1u); // for good
}

TEST_F(Array, LinkThatFailsInTheBackgroundShows)
{
    Begin(0x5, OptionRegulation);
    Fake.readingFails = true;
    ArrayTimerJoin(1);
    EXPECT_EQ(LoadFlag(record.LastError), 2);
    EXPECT_EQ(Fake.readTimes.size(), 1u);
    EXPECT_EQ(LoadFlag(ArrayTickRunning), 0);
}

TEST_F(Array, ClosedOneIsLeftAlone)
{
    Begin(0x5, OptionRegulation);
    ArrayTimerJoin(1);
    Close(1);
    const size_t reads = Fake.readTimes.size();
    System.clock.Sleep(1000);
    EXPECT_EQ(Fake.readTimes.size(), reads);
    EXPECT_EQ(TimerUsers, -1); // it was never counted in
}
