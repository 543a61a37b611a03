// The two waits of an exposure.
#include "devices/exposure.h"

#include <cmath>
#include <limits>

#include "core/flags.h"
#include "core/options.h"
#include "core/record.h"
#include "emulator/emulator.h"
#include "tests/support/fake_camera.h"

namespace {

constexpr double NotANumber = std::numeric_limits<double>::quiet_NaN();
constexpr double Infinity = std::numeric_limits<double>::infinity();

constexpr int32_t AllPlatforms[] = {1,  22, 23, 24, 25, 28, 29, 30,  40,  41,  42,  44, 47,
                                    48, 50, 60, 61, 70, 71, 80, 200, 205, 300, 400, 450};

class Exposure : public FakeTest {
protected:
    // Exposes for this time; the result. What was left in it is in `exposure`.
    int32_t Expose(double seconds, int32_t shutter = 1)
    {
        exposure = seconds;
        start = EmuMicroseconds();
        return ExposureControl("Exposure", &exposure, shutter, 0);
    }

    double Milliseconds() const { return static_cast<double>(EmuMicroseconds() - start) / 1000.0; }

    CameraRecord& record = CameraTable[0];
    double exposure = 0.0;
    uint64_t start = 0;
};

using LongExposure = Exposure;
using ShortExposure = Exposure;
using ArrayExposure = Exposure;

void BreakCamera(int32_t camera)
{
    StoreFlag(&CameraTable[camera].BreakFlag, int8_t{1});
}

} // namespace

// --- which form ---

TEST_F(Exposure, HalfASecondIsShortAndAMillisecondMoreIsLong)
{
    OpenFake(44, 0, 0);
    EXPECT_EQ(Expose(0.5), 0);
    EXPECT_TRUE(Fake.reports.empty());
    EXPECT_EQ(EmuSleepCount(), 2u);
    EXPECT_NEAR(Milliseconds(), 510.0, 1.0);

    EXPECT_EQ(Expose(0.501), 0);
    EXPECT_EQ(Fake.reports.size(), 1u);
    EXPECT_EQ(EmuSleepCount(), 3u); // the settling only
    EXPECT_NEAR(Milliseconds(), 511.0, 1.5);
}

TEST_F(Exposure, NegativeTimeDoesNothingAtAll)
{
    for (int32_t platform : AllPlatforms) {
        if (platform == 70 || platform == 71) continue;
        OpenFake(platform, 0, 0);
        record.BreakFlag = 1;
        EXPECT_EQ(Expose(-0.001), 0);
        EXPECT_EQ(Expose(-Infinity), 0);
        EXPECT_EQ(record.BreakFlag, 1);
    }
    EXPECT_TRUE(Fake.calls.empty());
    EXPECT_EQ(EmuSleepCount(), 0u);
}

TEST_F(Exposure, TimesBelowAMillisecondBecomeATenthOfItOnPlatforms70And71)
{
    for (int32_t platform : {70, 71}) {
        for (double seconds : {0.0005, 0.0, 0.00099, 0.00001, -1.0}) {
            OpenFake(platform, 0, 0);
            Fake.calls.clear();
            Expose(seconds);
            EXPECT_EQ(exposure, 0.0001) << seconds;
            EXPECT_EQ(FakeTexts(), (Texts{"SetShutter 0.0001"}));
        }
        Expose(0.001);
        EXPECT_EQ(exposure, 0.001);
    }
}

TEST_F(Exposure, TimesBelowAMillisecondBecomeOneOnSensor506)
{
    for (double seconds : {0.0005, 0.0, -1.0}) {
        OpenFake(30, 506, 0);
        Fake.calls.clear();
        Expose(seconds);
        EXPECT_EQ(exposure, 0.001) << seconds;
        EXPECT_EQ(FakeTexts(), (Texts{"SetShutter 0.001"}));
    }
    OpenFake(30, 500, 0);
    Expose(0.0005);
    EXPECT_EQ(exposure, 0.0005);
}

TEST_F(Exposure, TimeThatIsNotANumberIsTakenForNone)
{
    for (int32_t platform : AllPlatforms) {
        OpenFake(platform, 0, OptionClearWhileExposing | OptionRegulation);
        EXPECT_EQ(Expose(NotANumber), 0);
        EXPECT_LT(Milliseconds(), 12.0) << platform;
    }
    EXPECT_TRUE(Fake.reports.empty());
}

// --- the short wait ---

TEST_F(ShortExposure, OfZeroStartsTheCounterAndOnlySettles)
{
    OpenFake(44, 0, 0);
    EXPECT_EQ(Expose(0.0), 0);
    EXPECT_EQ(FakeTexts(), (Texts{"SetShutter 0"}));
    EXPECT_EQ(EmuSleepCount(), 1u);
    EXPECT_EQ(EmuLastSleep(), 10u);
}

TEST_F(ShortExposure, OfZeroSleepsNotAtAllWhereTheCameraSettlesByItself)
{
    for (int32_t platform : {28, 61, 200, 205, 300, 450}) {
        OpenFake(platform, 0, 0);
        Fake.calls.clear();
        EXPECT_EQ(Expose(0.0), 0);
        EXPECT_EQ(FakeTexts("SetShutter"), (Texts{"SetShutter 0"})) << platform;
    }
    EXPECT_EQ(EmuSleepCount(), 0u);
}

TEST_F(ShortExposure, SleepsThenSettlesOnMostPlatforms)
{
    for (int32_t platform : {1, 22, 23, 24, 25, 30, 40, 41, 42, 44, 47, 50, 60, 70, 71, 80}) {
        OpenFake(platform, 0, 0);
        record.Config.ShutterHisteresys = 37;
        const uint64_t sleeps = EmuSleepCount();
        Expose(0.25);
        EXPECT_EQ(EmuSleepCount() - sleeps, 2u) << platform;
        EXPECT_EQ(EmuLastSleep(), 37u) << platform;
        EXPECT_NEAR(Milliseconds(), 287.0, 1.0) << platform;
    }
}

TEST_F(ShortExposure, SettlesFirstOnPlatform48)
{
    OpenFake(48, 0, 0);
    record.Config.ShutterHisteresys = 37;
    Expose(0.25);
    EXPECT_EQ(EmuSleepCount(), 2u);
    EXPECT_EQ(EmuLastSleep(), 250u);
    EXPECT_NEAR(Milliseconds(), 287.0, 1.0);
}

TEST_F(ShortExposure, DoesNotSettleWhereTheCameraDoes)
{
    for (int32_t platform : {29, 28, 61, 200, 205, 300, 450}) {
        OpenFake(platform, 0, 0);
        record.Config.ShutterHisteresys = 37;
        const uint64_t sleeps = EmuSleepCount();
        Expose(0.25);
        EXPECT_EQ(EmuSleepCount() - sleeps, 1u) << platform;
        EXPECT_EQ(EmuLastSleep(), 250u) << platform;
    }
}

TEST_F(ShortExposure, ReturnsAtOnceOnPlatform400)
{
    OpenFake(400, 0, 0);
    Expose(0.5);
    EXPECT_EQ(EmuSleepCount(), 0u);
    EXPECT_LT(Milliseconds(), 1.0);
    EXPECT_EQ(FakeTexts(), (Texts{"SetShutter 0.5"}));
}

TEST_F(ShortExposure, ClearsTheBreakFlagAndDoesNotTestIt)
{
    OpenFake(44, 0, 0);
    record.BreakFlag = 1;
    EmuSchedule(100'000, BreakCamera, 0);
    EXPECT_EQ(Expose(0.3), 0);
    EXPECT_NEAR(Milliseconds(), 310.0, 1.0);
    EXPECT_EQ(exposure, 0.3);
    EXPECT_EQ(record.BreakFlag, 1); // the one of 100 ms; the first was cleared
    EXPECT_EQ(FakeTexts(), (Texts{"SetShutter 0.3"}));
}

TEST_F(ShortExposure, TakesItsTimeWithAnExternalTriggerToo)
{
    OpenFake(44, 0, OptionExternalTrigger);
    Expose(0.3);
    EXPECT_NEAR(Milliseconds(), 310.0, 1.0);
}

TEST_F(ShortExposure, DoesNoTemperatureWorkAndNoClearing)
{
    OpenFake(44, 0, OptionRegulation | OptionClearWhileExposing);
    Expose(0.5);
    EXPECT_TRUE(Fake.readTimes.empty());
    EXPECT_EQ(Fake.clearOnceCount, 0u);
    EXPECT_TRUE(Fake.reports.empty());
}

TEST_F(ShortExposure, NegativeSettlingTimeIsNone)
{
    OpenFake(44, 0, 0);
    record.Config.ShutterHisteresys = -5;
    Expose(0.1);
    EXPECT_EQ(EmuSleepCount(), 1u);
    EXPECT_EQ(EmuLastSleep(), 100u);
}

// --- the long wait ---

TEST_F(LongExposure, ReportsTheTimeLeftEvery300Milliseconds)
{
    OpenFake(44, 0, 0);
    Expose(2.0);
    const char* texts[] = {"   1.7", "   1.4", "   1.1", "   0.8", "   0.5", "   0.2"};
    ASSERT_EQ(Fake.reports.size(), 6u);
    for (size_t i = 0; i < 6; ++i) {
        EXPECT_EQ(Fake.reports[i].text, texts[i]);
        EXPECT_EQ(Fake.reports[i].camera, 0);
        EXPECT_NEAR(static_cast<double>(Fake.reports[i].microseconds - start),
                    300'000.0 * static_cast<double>(i + 1), 1500.0);
    }
}

TEST_F(LongExposure, ReportsToTheHostOfItsOwnCamera)
{
    OpenFake(44, 0, 0, 6);
    double seconds = 0.6;
    EXPECT_EQ(ExposureControl("Exposure", &seconds, 1, 6), 0);
    ASSERT_GE(Fake.reports.size(), 1u);
    EXPECT_EQ(Fake.reports[0].camera, 6);
    EXPECT_EQ(Fake.reports[0].text, "   0.3");
}

TEST_F(LongExposure, EndsWithItsTimeAndTheSettling)
{
    for (int32_t platform : AllPlatforms) {
        OpenFake(platform, 0, 0);
        record.Config.ShutterHisteresys = 37;
        const uint64_t sleeps = EmuSleepCount();
        EXPECT_EQ(Expose(0.75), 0);
        EXPECT_EQ(exposure, 0.75);
        const uint64_t settled = platform == 50 ? 0 : 1;
        EXPECT_EQ(EmuSleepCount() - sleeps, settled) << platform;
        EXPECT_NEAR(Milliseconds(), 750.0 + (platform == 50 ? 0.0 : 37.0), 1.5) << platform;
    }
}

TEST_F(LongExposure, IsNotWaitedForWithAnExternalTrigger)
{
    OpenFake(44, 0, OptionExternalTrigger | OptionRegulation);
    EXPECT_EQ(Expose(30.0), 0);
    EXPECT_EQ(FakeTexts(), (Texts{"SetShutter 30"}));
    EXPECT_EQ(EmuSleepCount(), 0u);
    EXPECT_LT(Milliseconds(), 1.0);
    EXPECT_EQ(exposure, 30.0);
}

TEST_F(LongExposure, RegulatesTwiceASecondAndNotInTheLastOne)
{
    OpenFake(44, 0, OptionRegulation);
    Expose(3.0);
    ASSERT_EQ(Fake.readTimes.size(), 4u);
    for (size_t i = 0; i < 4; ++i) {
        EXPECT_NEAR(static_cast<double>(Fake.readTimes[i] - start),
                    500'000.0 * static_cast<double>(i + 1), 3000.0);
    }
    EXPECT_EQ(record.TemperatureHistoryCount[0], 4);
}

TEST_F(LongExposure, OfLessThanOneAndAHalfSecondsReadsNoTemperature)
{
    OpenFake(44, 0, OptionRegulation);
    Expose(1.4);
    EXPECT_TRUE(Fake.readTimes.empty());
}

TEST_F(LongExposure, LeavesTheTemperatureAloneWithoutTheOption)
{
    OpenFake(44, 0, OptionService);
    Expose(3.0);
    EXPECT_TRUE(Fake.readTimes.empty());
}

TEST_F(LongExposure, IgnoresAReadingThatFails)
{
    OpenFake(44, 0, OptionRegulation);
    Fake.readingFails = true;
    EXPECT_EQ(Expose(3.0), 0);
    EXPECT_EQ(Fake.readTimes.size(), 4u);
    EXPECT_EQ(record.LastError, 0);
    EXPECT_NEAR(Milliseconds(), 3010.0, 1.5);
}

TEST_F(LongExposure, ClearsTheSensorOnEveryPassWhereThePlatformCan)
{
    EmuSetTickCost(1000);
    for (int32_t platform : AllPlatforms) {
        OpenFake(platform, 0, OptionClearWhileExposing);
        Fake.clearOnceCount = 0;
        Expose(0.6);
        const bool never = platform == 50 || platform == 450 || platform == 400 || platform == 29;
        if (never) {
            EXPECT_EQ(Fake.clearOnceCount, 0u) << platform;
        } else {
            EXPECT_GE(Fake.clearOnceCount, 250u) << platform; // two looks at the clock a pass
        }
        OpenFake(platform, 0, 0);
        Fake.clearOnceCount = 0;
        Expose(0.6);
        EXPECT_EQ(Fake.clearOnceCount, 0u) << platform;
    }
}

TEST_F(LongExposure, BreakGivesTheTimeReallyExposedAndReloadsTheCounterWithIt)
{
    OpenFake(44, 0, 0);
    EmuSchedule(EmuMicroseconds() + 1'250'000, BreakCamera, 0);
    EXPECT_EQ(Expose(600.0), 1);
    EXPECT_NEAR(exposure, 1.25, 0.0015);
    ASSERT_EQ(Fake.calls.size(), 2u);
    EXPECT_EQ(Fake.calls[0].text, "SetShutter 600");
    EXPECT_NEAR(std::stod(Fake.calls[1].text.substr(11)), exposure, 1e-9);
    EXPECT_EQ(EmuSleepCount(), 1u);
    EXPECT_EQ(EmuLastSleep(), 10u);
}

TEST_F(LongExposure, BreakReloadsTheCounterOfADarkFrameToo)
{
    OpenFake(44, 0, 0);
    EmuSchedule(700'000, BreakCamera, 0);
    EXPECT_EQ(Expose(600.0, 0), 1);
    EXPECT_EQ(FakeTexts().size(), 1u);
    EXPECT_NEAR(std::stod(Fake.calls[0].text.substr(11)), 0.7, 0.0015);
}

TEST_F(LongExposure, BreakWithTheExposureOutsideLeavesTheCounter)
{
    OpenFake(61, 0, OptionExternalExposure);
    EmuSchedule(700'000, BreakCamera, 0);
    EXPECT_EQ(Expose(600.0), 1);
    EXPECT_EQ(FakeTexts("SetShutter"), (Texts{"SetShutter 600"}));
    EXPECT_NEAR(exposure, 0.7, 0.0015);
}

TEST_F(LongExposure, BreakBeforeItBeginsHasNoEffect)
{
    OpenFake(44, 0, 0);
    record.BreakFlag = 1;
    EXPECT_EQ(Expose(0.6), 0);
    EXPECT_EQ(record.BreakFlag, 0);
    EXPECT_EQ(exposure, 0.6);
}

TEST_F(LongExposure, BreakIsSeenThoughOptionsChangeOnTheWay)
{
    OpenFake(44, 0, 0);
    EmuSchedule(
        100'000, [](int32_t camera) { StoreFlag(&CameraTable[camera].Options, OptionRegulation); },
        0);
    EmuSchedule(2'100'000, BreakCamera, 0);
    EXPECT_EQ(Expose(10.0), 1);
    EXPECT_EQ(Fake.readTimes.size(), 4u);
}

TEST_F(LongExposure, PassesTheWrapOfTheClock)
{
    EmuSetFirstTickCount(0xFFFFFF00);
    OpenFake(44, 0, OptionRegulation);
    EXPECT_EQ(Expose(2.0), 0);
    EXPECT_NEAR(Milliseconds(), 2010.0, 1.5);
    ASSERT_EQ(Fake.reports.size(), 6u);
    EXPECT_EQ(Fake.reports[0].text, "   1.7");
    EXPECT_EQ(Fake.readTimes.size(), 2u);
}

TEST_F(LongExposure, OfTenMinutesIsWaitedForOnTheVirtualClock)
{
    EmuSetTickCost(1000);
    OpenFake(44, 0, OptionRegulation);
    EXPECT_EQ(Expose(600.0), 0);
    EXPECT_NEAR(Milliseconds(), 600'010.0, 20.0);
    EXPECT_NEAR(static_cast<double>(Fake.readTimes.size()), 1195.0, 20.0);
    EXPECT_NEAR(static_cast<double>(Fake.reports.size()), 1990.0, 30.0);
}

TEST_F(LongExposure, OfAnyLengthCanBeBroken)
{
    for (double seconds : {3e6, 1e300, Infinity}) {
        OpenFake(44, 0, 0);
        EmuSchedule(EmuMicroseconds() + 650'000, BreakCamera, 0);
        EXPECT_EQ(Expose(seconds), 1);
        EXPECT_NEAR(exposure, 0.65, 0.0015);
    }
}

// --- array mode ---

namespace {

std::vector<std::string> HeadStarts;

void NoteHeadStart(double seconds, int32_t camera)
{
    HeadStarts.push_back(std::to_string(CameraTable[camera].CurrentArrayCamera) + " " +
                         std::to_string(static_cast<int>(seconds * 1000.0 + 0.5)));
}

void SelectUnit(int32_t unit, int32_t camera)
{
    CameraTable[camera].CurrentArrayCamera = unit;
}

void OpenHeads(uint16_t mask, uint32_t options)
{
    static constexpr DriverExtras Extras = {.SelectUnit = SelectUnit};
    OpenFake(42, 0, options);
    CameraTable[0].Extras = &Extras;
    CameraTable[0].ArrayMode = 1;
    CameraTable[0].ArrayConfig.words[1] = mask;
    CameraTable[0].Ops.SetShutter = NoteHeadStart;
    for (double& seconds : CameraTable[0].HeadExposure) seconds = 100.0;
    HeadStarts.clear();
}

} // namespace

TEST_F(ArrayExposure, StartsEachFittedHeadAndWaitsForTheLongest)
{
    OpenHeads(0x0092, 0);
    record.HeadExposure[1] = 0.2;
    record.HeadExposure[4] = 1.0;
    record.HeadExposure[7] = 0.7;
    EXPECT_EQ(ArrayExposureControl(1, 0), 0);
    EXPECT_EQ(HeadStarts, (Texts{"1 200", "4 1000", "7 700"}));
    EXPECT_NEAR(static_cast<double>(EmuMicroseconds()), 1'010'000.0, 1500.0);
    ASSERT_EQ(Fake.reports.size(), 3u);
    EXPECT_EQ(Fake.reports[0].text, "0.70 s");
    EXPECT_EQ(Fake.reports[1].text, "0.40 s");
    EXPECT_EQ(Fake.reports[2].text, "0.10 s");
}

TEST_F(ArrayExposure, ShortOneSleepsAndSettles)
{
    OpenHeads(0x0003, OptionClearWhileExposing);
    record.HeadExposure[0] = 0.5;
    record.HeadExposure[1] = 0.1;
    EXPECT_EQ(ArrayExposureControl(1, 0), 0);
    EXPECT_EQ(HeadStarts, (Texts{"0 500", "1 100"}));
    EXPECT_EQ(EmuSleepCount(), 2u);
    EXPECT_NEAR(static_cast<double>(EmuMicroseconds()), 510'000.0, 1000.0);
    EXPECT_TRUE(Fake.reports.empty());
    EXPECT_EQ(Fake.clearOnceCount, 0u);
}

TEST_F(ArrayExposure, DarkOneStartsNoCounterAndStillWaits)
{
    for (double seconds : {0.4, 0.8}) {
        OpenHeads(0x0001, 0);
        record.HeadExposure[0] = seconds;
        const uint64_t before = EmuMicroseconds();
        EXPECT_EQ(ArrayExposureControl(0, 0), 0);
        EXPECT_TRUE(HeadStarts.empty());
        EXPECT_NEAR(static_cast<double>(EmuMicroseconds() - before), seconds * 1e6 + 10'000.0,
                    1500.0);
    }
}

TEST_F(ArrayExposure, SelectsItsHeadsInADarkShortFrameOnly)
{
    OpenHeads(0x0080, 0);
    record.HeadExposure[7] = 0.8;
    ArrayExposureControl(0, 0);
    EXPECT_EQ(record.CurrentArrayCamera, 0);
    record.HeadExposure[7] = 0.4;
    ArrayExposureControl(0, 0);
    EXPECT_EQ(record.CurrentArrayCamera, 7);
}

TEST_F(ArrayExposure, BreakEndsTheWaitWithResult0AndNothingElse)
{
    OpenHeads(0x0001, OptionRegulation);
    record.HeadExposure[0] = 100.0;
    record.BreakFlag = 1;
    EmuSchedule(2'000'000, BreakCamera, 0);
    EXPECT_EQ(ArrayExposureControl(1, 0), 0);
    EXPECT_NEAR(static_cast<double>(EmuMicroseconds()), 2'010'000.0, 1500.0);
    EXPECT_EQ(HeadStarts, (Texts{"0 100000"}));
    EXPECT_EQ(record.HeadExposure[0], 100.0);
    EXPECT_TRUE(Fake.readTimes.empty());
    EXPECT_EQ(Fake.reports[0].text, "99.70 s");
}

TEST_F(ArrayExposure, ClearsWhileItWaits)
{
    EmuSetTickCost(1000);
    OpenHeads(0x0001, OptionClearWhileExposing);
    record.HeadExposure[0] = 0.6;
    ArrayExposureControl(1, 0);
    EXPECT_GE(Fake.clearOnceCount, 500u);
}

TEST_F(ArrayExposure, WithoutHeadsOnlySettles)
{
    OpenHeads(0xFF00, 0); // no bit of a head
    EXPECT_EQ(ArrayExposureControl(1, 0), 0);
    EXPECT_TRUE(HeadStarts.empty());
    EXPECT_EQ(EmuSleepCount(), 1u);
    EXPECT_EQ(EmuLastSleep(), 10u);
}

TEST_F(ArrayExposure, BadTimesNeitherCrashNorHang)
{
    OpenHeads(0x0007, 0);
    record.HeadExposure[0] = NotANumber;
    record.HeadExposure[1] = -1e300;
    record.HeadExposure[2] = -Infinity;
    EXPECT_EQ(ArrayExposureControl(0, 0), 0);
    EXPECT_EQ(EmuSleepCount(), 1u);
}
