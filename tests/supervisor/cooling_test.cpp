// Cooling that ramps, and tells what is so.
#include <algorithm>
#include <cmath>

#include "emulator/bus_camera.h"
#include "emulator/emulator.h"
#include "supervisor/library.h"
#include "tests/supervisor/layer.h"

namespace {

class CoolingTest : public LayerTest {
protected:
    void SetUp() override
    {
        LayerTest::SetUp();
        OpenCamera();
        qvns_idle(1.0);
    }

    static QvnsCooling To(double target, double perMinute)
    {
        QvnsCooling cooling;
        qvns_init_cooling(&cooling);
        cooling.Target = target;
        cooling.DegreesPerMinute = perMinute;
        return cooling;
    }
};

} // namespace

TEST_F(CoolingTest, OffItTellsTheTemperatureAndNothingMore)
{
    const QvnsTemperature now = TemperatureOf(0);
    EXPECT_EQ(now.Mode, QVNS_COOLING_OFF);
    EXPECT_NEAR(now.Measured, 20.0, 0.5);
    EXPECT_EQ(now.Stable, 0);
    EXPECT_EQ(now.Saturated, 0);
    EXPECT_EQ(now.Fresh, 1);
    EXPECT_GE(now.Readings, 2);
    EXPECT_EQ(now.Power, 0.0);
    EXPECT_EQ(EmuBusCoolerOn(bus), false);
    EXPECT_EQ(qvns_wait_stable(0, 1.0), 0);
}

// Half a degree a minute: the set point is at 20 - 5 after ten minutes, in steps of a tenth,
// which are 12 seconds apart.
TEST_F(CoolingTest, SetPointGoesByTheRateThatWasAskedFor)
{
    const QvnsCooling cooling = To(10.0, 0.5);
    const double from = TemperatureOf(0).Measured;
    ASSERT_EQ(qvns_cool(0, &cooling), 0);
    qvns_idle(600.0);
    const QvnsTemperature later = TemperatureOf(0);
    EXPECT_EQ(later.Mode, QVNS_COOLING_RAMP);
    EXPECT_NEAR(later.SetPoint, from - 5.0, 0.1);
    EXPECT_NEAR(later.Measured, later.SetPoint, 2.0);
    EXPECT_EQ(later.Target, 10.0);
    EXPECT_EQ(later.Stable, 0);
    EXPECT_EQ(EmuBusCoolerOn(bus), true);
}

TEST_F(CoolingTest, RampBeginsWithLittlePowerAndEndsAtTheTarget)
{
    const QvnsCooling cooling = To(5.0, 2.0);
    ASSERT_EQ(qvns_cool(0, &cooling), 0);
    qvns_idle(2.0);
    EXPECT_LE(TemperatureOf(0).Power, 3.0);
    ASSERT_EQ(qvns_wait_stable(0, 7200.0), 0);
    const QvnsTemperature stable = TemperatureOf(0);
    EXPECT_EQ(stable.Mode, QVNS_COOLING_HOLD);
    EXPECT_EQ(stable.SetPoint, 5.0);
    EXPECT_NEAR(stable.Measured, 5.0, 0.5);
    EXPECT_NEAR(EmuBusTemperature(bus), 5.0, 1.0);
    EXPECT_GE(stable.StableFor, 30.0);
}

TEST_F(CoolingTest, WithoutARateTheTargetIsTheSetPointAtOnce)
{
    const QvnsCooling cooling = To(0.0, 0.0);
    ASSERT_EQ(qvns_cool(0, &cooling), 0);
    qvns_idle(1.0);
    const QvnsTemperature now = TemperatureOf(0);
    EXPECT_EQ(now.Mode, QVNS_COOLING_HOLD);
    EXPECT_EQ(now.SetPoint, 0.0);
    EXPECT_GE(now.Power, 30.0);
    EXPECT_EQ(now.Stable, 0);
}

// The sensor cools to 60 degrees below ambient at the most.
TEST_F(CoolingTest, TargetOutOfReachIsToldAndIsNeverStable)
{
    const QvnsCooling cooling = To(-90.0, 0.0);
    ASSERT_EQ(qvns_cool(0, &cooling), 0);
    EXPECT_EQ(qvns_wait_stable(0, 3600.0), QVNS_ERROR_TIME);
    const QvnsTemperature now = TemperatureOf(0);
    EXPECT_EQ(now.Saturated, 1);
    EXPECT_EQ(now.Power, 100.0);
    EXPECT_EQ(now.Stable, 0);
    EXPECT_GT(now.Measured, -60.0);
}

TEST_F(CoolingTest, CameraThatIsGoneIsNoLongerSaturated)
{
    const QvnsCooling cooling = To(-200.0, 0.0);
    ASSERT_EQ(qvns_cool(0, &cooling), 0);
    qvns_idle(3600.0);
    EXPECT_EQ(TemperatureOf(0).Saturated, 1);
    EmuBusPower(bus, false);
    qvns_idle(30.0);
    EXPECT_EQ(TemperatureOf(0).Fresh, 0);
    EXPECT_EQ(TemperatureOf(0).Saturated, 0);
}

TEST_F(CoolingTest, RampDoesNotRunAheadOfTheSensor)
{
    const QvnsCooling cooling = To(-90.0, 60.0);
    ASSERT_EQ(qvns_cool(0, &cooling), 0);
    for (int32_t second = 0; second < 300; ++second) {
        qvns_idle(1.0);
        const QvnsTemperature now = TemperatureOf(0);
        EXPECT_GE(now.SetPoint, now.Measured - 5.5) << second;
    }
}

// 110 degrees below the sensor, then a ramp: it begins 5 degrees below it at the most.
TEST_F(CoolingTest, RampBehindATargetSetAtOnceComesBackToTheSensor)
{
    const QvnsCooling once = To(-90.0, 0.0);
    ASSERT_EQ(qvns_cool(0, &once), 0);
    qvns_idle(2.0);
    EXPECT_EQ(TemperatureOf(0).SetPoint, -90.0);
    const QvnsCooling ramp = To(-80.0, 1.0);
    ASSERT_EQ(qvns_cool(0, &ramp), 0);
    for (int32_t second = 0; second < 60; ++second) {
        qvns_idle(1.0);
        const QvnsTemperature now = TemperatureOf(0);
        EXPECT_EQ(now.Mode, QVNS_COOLING_RAMP);
        EXPECT_NEAR(now.SetPoint, now.Measured, 5.1) << second;
    }
}

TEST_F(CoolingTest, RampUpwardDoesNotRunAheadEither)
{
    const QvnsCooling cold = To(-20.0, 0.0);
    ASSERT_EQ(qvns_cool(0, &cold), 0);
    ASSERT_EQ(qvns_wait_stable(0, 7200.0), 0);
    const QvnsCooling once = To(15.0, 0.0);
    ASSERT_EQ(qvns_cool(0, &once), 0);
    qvns_idle(2.0);
    ASSERT_EQ(qvns_warm_up(0, 18.0, 1.0), 0);
    qvns_idle(1.0);
    const QvnsTemperature now = TemperatureOf(0);
    EXPECT_LT(now.Measured, -10.0);
    EXPECT_NEAR(now.SetPoint, now.Measured + 5.0, 0.1);
}

// The sensor warms up while its camera is away: what a ramp has reached is reached by one again.
TEST_F(CoolingTest, TargetOfARampIsReachedByARampBehindAFault)
{
    const QvnsCooling ramp = To(-10.0, 5.0);
    ASSERT_EQ(qvns_cool(0, &ramp), 0);
    ASSERT_EQ(qvns_wait_stable(0, 7200.0), 0);
    EmuBusPower(bus, false);
    qvns_idle(7200.0);
    EmuBusPower(bus, true);
    qvns_idle(5.0);
    ASSERT_EQ(StateOf(0).Recoveries, 1);
    const QvnsTemperature now = TemperatureOf(0);
    EXPECT_GT(now.Measured, 10.0);
    EXPECT_EQ(now.Mode, QVNS_COOLING_RAMP);
    EXPECT_GE(now.SetPoint, now.Measured - 5.1);
    ASSERT_EQ(qvns_wait_stable(0, 7200.0), 0);
    EXPECT_NEAR(TemperatureOf(0).Measured, -10.0, 0.5);
}

TEST_F(CoolingTest, SwitchedOffInAFaultItStaysOffBehindIt)
{
    const QvnsCooling cooling = To(0.0, 0.0);
    ASSERT_EQ(qvns_cool(0, &cooling), 0);
    qvns_idle(5.0);
    EmuBusPower(bus, false);
    qvns_idle(5.0);
    ASSERT_EQ(qvns_cooler_off(0), 0);
    Library.SetTemp = [](double, int32_t, int32_t) { ADD_FAILURE() << "a target is sent"; };
    EmuBusPower(bus, true);
    ASSERT_EQ(qvns_wait_stable(0, 30.0), 0);
    EXPECT_EQ(EmuBusCoolerOn(bus), false);
}

// A process before this one has left it cooling.
TEST_F(CoolingTest, CoolerOfAnAttachedCameraIsSwitchedOff)
{
    QV_SetTemp(-20.0, QV_CELSIUS, 0);
    ASSERT_EQ(qvns_close(0, 0.0), 0);
    QvnsOpen open = Request(BriarCamera);
    open.Attach = 1;
    ASSERT_EQ(qvns_open(0, &open), 0);
    qvns_idle(2.0);
    ASSERT_EQ(EmuBusCoolerOn(bus), true);
    ASSERT_EQ(qvns_cooler_off(0), 0);
    ASSERT_EQ(qvns_wait_stable(0, 10.0), 0);
    EXPECT_EQ(EmuBusCoolerOn(bus), false);
}

TEST_F(CoolingTest, RampGoesOnInALongExposure)
{
    const QvnsCooling cooling = To(0.0, 1.0);
    const double from = TemperatureOf(0).Measured;
    ASSERT_EQ(qvns_cool(0, &cooling), 0);
    const QvnsExposure exposure = Light(600.0);
    ASSERT_EQ(qvns_start_exposure(0, &exposure, nullptr), 0);
    ASSERT_EQ(qvns_wait(0, 0, 700.0), 0);
    QvnsMetadata about = {};
    ASSERT_EQ(qvns_fetch(0, 0, nullptr, 0, &about), 0);
    EXPECT_NEAR(TemperatureOf(0).SetPoint, from - 10.0, 0.3);
    EXPECT_NEAR(about.TemperatureStart, from, 0.5);
    EXPECT_NEAR(about.TemperatureEnd, from - 10.0, 5.0);
    EXPECT_EQ(about.CoolerOn, 1);
}

TEST_F(CoolingTest, WarmUpRampsAndThenSwitchesOff)
{
    const QvnsCooling cooling = To(0.0, 0.0);
    ASSERT_EQ(qvns_cool(0, &cooling), 0);
    ASSERT_EQ(qvns_wait_stable(0, 7200.0), 0);
    ASSERT_EQ(qvns_warm_up(0, 18.0, 2.0), 0);
    qvns_idle(120.0);
    EXPECT_EQ(TemperatureOf(0).Mode, QVNS_COOLING_WARM);
    EXPECT_NEAR(TemperatureOf(0).SetPoint, 4.0, 0.3);
    EXPECT_EQ(EmuBusCoolerOn(bus), true);
    ASSERT_EQ(qvns_wait_stable(0, 7200.0), 0);
    EXPECT_EQ(TemperatureOf(0).Mode, QVNS_COOLING_OFF);
    EXPECT_EQ(EmuBusCoolerOn(bus), false);
    EXPECT_GE(TemperatureOf(0).Measured, 17.0);
}

TEST_F(CoolingTest, OffIsOffAtOnce)
{
    const QvnsCooling cooling = To(0.0, 0.0);
    ASSERT_EQ(qvns_cool(0, &cooling), 0);
    qvns_idle(5.0);
    EXPECT_EQ(EmuBusCoolerOn(bus), true);
    ASSERT_EQ(qvns_cooler_off(0), 0);
    qvns_idle(1.0);
    EXPECT_EQ(EmuBusCoolerOn(bus), false);
    EXPECT_EQ(TemperatureOf(0).Mode, QVNS_COOLING_OFF);
    EXPECT_EQ(qvns_warm_up(0, 20.0, 1.0), 0);
    EXPECT_EQ(TemperatureOf(0).Mode, QVNS_COOLING_OFF);
}

TEST_F(CoolingTest, NonsenseIsRefused)
{
    for (const double target : {-274.0, 101.0, std::nan("")}) {
        const QvnsCooling cooling = To(target, 1.0);
        EXPECT_EQ(qvns_cool(0, &cooling), QVNS_ERROR_ARGUMENT) << target;
        EXPECT_EQ(qvns_warm_up(0, target, 1.0), QVNS_ERROR_ARGUMENT) << target;
    }
    for (const double rate : {-1.0, std::nan(""), HUGE_VAL}) {
        const QvnsCooling cooling = To(0.0, rate);
        EXPECT_EQ(qvns_cool(0, &cooling), QVNS_ERROR_ARGUMENT) << rate;
        EXPECT_EQ(qvns_warm_up(0, 20.0, rate), QVNS_ERROR_ARGUMENT) << rate;
    }
    QvnsCooling cooling = To(0.0, 1.0);
    cooling.Tolerance = 0.0;
    EXPECT_EQ(qvns_cool(0, &cooling), QVNS_ERROR_ARGUMENT);
    EXPECT_EQ(qvns_cool(0, nullptr), QVNS_ERROR_ARGUMENT);
    EXPECT_EQ(qvns_temperature(0, nullptr), QVNS_ERROR_ARGUMENT);
    EXPECT_EQ(qvns_warm_up(0, 20.0, 0.0), QVNS_ERROR_ARGUMENT);
}
