// The stepping regulator, turn by turn.
#include <cmath>

#include "core/options.h"
#include "core/record.h"
#include "core/timer_service.h"
#include "devices/temperature.h"
#include "platform/system.h"
#include "tests/support/fake_camera.h"

namespace {

constexpr int32_t Celsius = 1;

class Regulator : public FakeTest {
protected:
    void SetUp() override
    {
        FakeTest::SetUp();
        OpenFake(44, 0, 0);
    }

    // Regulation toward `target`, with the calls so far forgotten.
    void Start(double target)
    {
        SetTemp(target, Celsius, 0);
        Fake.calls.clear();
    }

    // One turn with this reading; the drive after it.
    int32_t Turn(double reading)
    {
        Fake.temperatures = {reading};
        EXPECT_EQ(TemperatureHandle(0), 0);
        return record.CoolerPower;
    }

    CameraRecord& record = CameraTable[0];
};

// What cools the sensor in the long runs: it goes 1 percent of the way to its
// rest at 25 degrees less 6 for each 10 percent of drive.
double ModelTemperature;

double CoolModel(int32_t camera)
{
    const double rest = 25.0 - 0.06 * CameraTable[camera].CoolerPower;
    ModelTemperature += 0.01 * (rest - ModelTemperature);
    return ModelTemperature;
}

} // namespace

TEST_F(Regulator, TooWarmAndNotFallingDrivesUpByATenthOfAPercent)
{
    Start(-30.0);
    EXPECT_EQ(Turn(20.0), 301);
    EXPECT_EQ(Turn(20.0), 302);
    EXPECT_EQ(Turn(20.5), 303);
    EXPECT_EQ(FakeTexts(),
              (Texts{"SetCoolerPower 301", "SetCoolerPower 302", "SetCoolerPower 303"}));
}

TEST_F(Regulator, TooWarmButFallingLeavesTheDrive)
{
    Start(-30.0);
    EXPECT_EQ(Turn(20.0), 301);
    EXPECT_EQ(Turn(19.9), 301);
    EXPECT_EQ(Turn(19.8), 301);
    EXPECT_EQ(Turn(19.8), 302); // not falling any more
}

TEST_F(Regulator, TooColdAndNotRisingDrivesDown)
{
    Start(50.0);
    record.PreviousTemperature = 1.0;
    EXPECT_EQ(Turn(1.0), 299);
    EXPECT_EQ(Turn(0.5), 298);
    EXPECT_EQ(Turn(0.6), 298); // rising
    EXPECT_EQ(Turn(0.6), 297);
    EXPECT_EQ(FakeTexts().size(), 3u);
}

TEST_F(Regulator, ReadingEqualToThePreviousOneMovesTheDriveOnBothSides)
{
    Start(-30.0);
    record.PreviousTemperature = 10.0;
    EXPECT_EQ(Turn(10.0), 301); // 40 degrees to go: a step on each reading
    record.TargetTemperature = 50.0;
    EXPECT_EQ(Turn(10.0), 300);
}

TEST_F(Regulator, ComparesTenthsTruncatedTowardZero)
{
    Start(-45.0);
    EXPECT_EQ(Turn(5.19), 301);
    EXPECT_EQ(record.RoundedTemperature, 5.1);
    EXPECT_EQ(Turn(5.11), 302); // still 5.1, so not falling
    EXPECT_EQ(Turn(-4.99), 302);
    EXPECT_EQ(record.RoundedTemperature, -4.9);
    EXPECT_EQ(record.PreviousTemperature, -4.9);
}

TEST_F(Regulator, WaitsLongerTheNearerTheTarget)
{
    const struct {
        double toGo;
        int32_t readings;
    } rows[] = {{100.0, 1}, {40.0, 1}, {39.9, 2}, {20.0, 2}, {19.9, 3},
                {10.0, 3},  {9.9, 5},  {2.0, 5},  {1.9, 8},  {0.0, 8}};
    for (const auto& row : rows) {
        Start(0.0);
        record.RegulationCountdown = 1;
        Turn(row.toGo);
        EXPECT_EQ(record.RegulationCountdown, row.readings) << row.toGo;
        record.RegulationCountdown = 1;
        Turn(-row.toGo);
        EXPECT_EQ(record.RegulationCountdown, row.readings) << -row.toGo;
    }
}

TEST_F(Regulator, StepsOnEveryReadingWith40DegreesToGo)
{
    Start(-20.0);
    for (int32_t i = 1; i <= 30; ++i) EXPECT_EQ(Turn(20.0), 300 + i);
}

TEST_F(Regulator, StepsOnEveryEighthReadingWith1Point9DegreesToGo)
{
    Start(0.0);
    for (int32_t i = 0; i < 25; ++i) {
        // Steps at the first reading, the 9th, the 17th and the 25th.
        EXPECT_EQ(Turn(1.9), 301 + i / 8) << i;
    }
    EXPECT_EQ(FakeTexts().size(), 4u);
}

TEST_F(Regulator, FollowsASequenceWorkedOutByHand)
{
    Start(-10.0);
    const struct {
        double reading;
        int32_t power;
        int32_t countdown;
    } turns[] = {
        {31.0, 301, 1},                                  // 41 to go, above 0.0
        {30.0, 301, 1},                                  // 40, falling
        {12.0, 301, 2},                                  // 22, falling
        {13.0, 301, 1},                                  // no step
        {12.0, 302, 2},                                  // 22, as before
        {5.0, 302, 1},                                   // no step
        {5.0, 302, 3},                                   // 15, falling
        {5.0, 302, 2},  {5.0, 302, 1},  {5.0, 303, 3},   // 15, as before
        {-9.0, 303, 2}, {-9.0, 303, 1}, {-12.5, 302, 5}, // 2.5 too cold, and still falling
    };
    int32_t index = 0;
    for (const auto& turn : turns) {
        EXPECT_EQ(Turn(turn.reading), turn.power) << index;
        EXPECT_EQ(record.RegulationCountdown, turn.countdown) << index;
        ++index;
    }
}

TEST_F(Regulator, StatusIs3AtTheTargetAnd2Elsewhere)
{
    Start(10.0);
    EXPECT_EQ(CoolerStatus(0), 1);
    Turn(60.0);
    EXPECT_EQ(CoolerStatus(0), 2);
    EXPECT_EQ(record.AtTemperature, 0);
    Turn(10.09);
    EXPECT_EQ(CoolerStatus(0), 3);
    EXPECT_EQ(record.AtTemperature, 1);
    record.RegulationCountdown = 1;
    Turn(10.1);
    EXPECT_EQ(CoolerStatus(0), 2);
    EXPECT_EQ(record.AtTemperature, 0);
    SetTemp(10.0, Celsius, 0);
    EXPECT_EQ(CoolerStatus(0), 1);
}

TEST_F(Regulator, TargetWithTwoDecimalsIsNeverReached)
{
    Start(10.25);
    for (int i = 0; i < 40; ++i) {
        Turn(10.25);
        EXPECT_EQ(CoolerStatus(0), 2);
    }
}

TEST_F(Regulator, DriveStopsAt1000WithoutFurtherCalls)
{
    Start(-100.0);
    record.CoolerPower = 998;
    for (int i = 0; i < 10; ++i) Turn(20.0);
    EXPECT_EQ(record.CoolerPower, 1000);
    EXPECT_EQ(FakeTexts(), (Texts{"SetCoolerPower 999", "SetCoolerPower 1000"}));
}

TEST_F(Regulator, DriveStopsAt0WithoutFurtherCalls)
{
    Start(100.0);
    record.CoolerPower = 2;
    record.PreviousTemperature = 20.0;
    for (int i = 0; i < 10; ++i) Turn(20.0);
    EXPECT_EQ(record.CoolerPower, 0);
    EXPECT_EQ(FakeTexts(), (Texts{"SetCoolerPower 1", "SetCoolerPower 0"}));
}

TEST_F(Regulator, LimitIsPutOnTheStoredValueOnly)
{
    OpenFake(44, 0, OptionLimitCooler);
    SetTemp(-100.0, Celsius, 0);
    Fake.calls.clear();
    record.CoolerPower = 799;
    EXPECT_EQ(Turn(20.0), 800);
    EXPECT_EQ(Turn(20.0), 800);
    EXPECT_EQ(Turn(20.0), 800);
    EXPECT_EQ(FakeTexts(),
              (Texts{"SetCoolerPower 800", "SetCoolerPower 801", "SetCoolerPower 801"}));
}

TEST_F(Regulator, LimitHoldsWithoutRegulationToo)
{
    OpenFake(44, 0, OptionLimitCooler);
    SetPower(95.0, 0);
    EXPECT_EQ(record.CoolerPower, 950);
    EXPECT_EQ(Turn(20.0), 800);
    EXPECT_EQ(FakeTexts(), (Texts{"SetCoolerPower 950"}));
}

TEST_F(Regulator, RunsOnlyWithBothEnables)
{
    Start(-100.0);
    record.RegulationActive = 0;
    EXPECT_EQ(Turn(20.0), 300);
    record.RegulationActive = 1;
    record.RegulationOn = 0;
    EXPECT_EQ(Turn(20.0), 300);
    EXPECT_EQ(record.RegulationCountdown, 1);
    record.RegulationOn = 1;
    EXPECT_EQ(Turn(20.0), 301);
}

TEST_F(Regulator, FailedReadingEndsTheTurnAndStoresNothing)
{
    Start(-100.0);
    Turn(20.0);
    Fake.readingFails = true;
    EXPECT_EQ(TemperatureHandle(0), 1);
    EXPECT_EQ(record.CoolerPower, 301);
    EXPECT_EQ(record.RegulationCountdown, 1);
    EXPECT_EQ(record.TemperatureHistoryCount[0], 1);
    EXPECT_EQ(record.LastError, 0); // that is for the caller to store
}

TEST_F(Regulator, ReadingThatIsNotANumberMovesNothing)
{
    Start(-10.0);
    EXPECT_EQ(Turn(std::nan("")), 300);
    EXPECT_EQ(record.RegulationCountdown, 8);
    EXPECT_EQ(CoolerStatus(0), 2);
}

TEST_F(Regulator, KelvinLeftByAReadingIsTakenForCelsius)
{
    Start(0.0);
    record.PreviousTemperature = 20.0;
    Fake.temperatures = {-5.0};
    ReadTemp(0, 0); // 268.0 stays behind
    Fake.nextTemperature = [](int32_t camera) { return CameraTable[camera].CurrentTemperature; };
    TemperatureHandle(0);
    EXPECT_EQ(record.RoundedTemperature, 268.0);
    EXPECT_EQ(record.CoolerPower, 301);
}

TEST_F(Regulator, HoursOfCoolingRunInTheBackground)
{
    OpenFake(44, 0, OptionRegulation);
    ModelTemperature = 25.0;
    Fake.nextTemperature = CoolModel;
    TimerJoin(0);
    SetTemp(-20.0, Celsius, 0);
    System.clock.Sleep(4 * 3600 * 1000);
    // Two readings a second.
    EXPECT_NEAR(static_cast<double>(Fake.readTimes.size()), 28800.0, 5.0);
    EXPECT_NEAR(GetTemp(nullptr, Celsius, 0), -20.0, 1.0);
    EXPECT_EQ(CheckTempEquil(1, 1.0, 0), 1);
    EXPECT_NEAR(GetPower(0), 75.0, 5.0); // (25 + 20) / 0.6
    for (const FakeCall& call : Fake.calls) {
        if (call.text.rfind("SetCoolerPower ", 0) != 0) continue;
        const int32_t power = std::stoi(call.text.substr(15));
        ASSERT_GE(power, 0);
        ASSERT_LE(power, 1000);
    }
    TimerLeave(0);
}
