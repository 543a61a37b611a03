// The device calls by the names that a host links: every argument arrives where
// it belongs, at the camera that was meant.
#include "core/record.h"
#include "core/timer_service.h"
#include "include/qvn.h"
#include "tests/support/fake_camera.h"

namespace {

constexpr int32_t Camera = 3;

class ExportedCalls : public FakeTest {
protected:
    void SetUp() override
    {
        FakeTest::SetUp();
        OpenFake(25, 0, 0, Camera);
        record.Ops.SetCoolerPower = [](int32_t power, int32_t camera) {
            Power = power;
            GivenCamera = camera;
        };
        record.Ops.SetShutter = [](double seconds, int32_t camera) {
            Seconds = seconds;
            GivenCamera = camera;
        };
        record.Ops.WriteRegister = [](int32_t reg, int32_t value, int32_t camera) {
            Register = reg;
            Value = value;
            GivenCamera = camera;
        };
        record.Ops.IsTriggered = [](int32_t camera) {
            GivenCamera = camera;
            return --UntriggeredPolls < 0 ? 1 : 0;
        };
        GivenCamera = -1;
        UntriggeredPolls = 0;
    }

    static inline int32_t GivenCamera, Power, Register, Value, UntriggeredPolls;
    static inline double Seconds;
    CameraRecord& record = CameraTable[Camera];
};

TEST_F(ExportedCalls, SetPowerHandsOnThePercents)
{
    QV_SetPower(43.7, Camera);
    EXPECT_EQ(Power, 437);
    EXPECT_EQ(GivenCamera, Camera);
    EXPECT_EQ(record.CoolerPower, 437);
    EXPECT_EQ(QV_GetPower(Camera), 43.7);
    EXPECT_EQ(StopCount[Camera], 0);
}

TEST_F(ExportedCalls, TempCalibHandsOnOffsetAndSpan)
{
    QV_TempCalib(-1.5, 1.25, Camera);
    EXPECT_EQ(record.TemperatureOffset[Camera], -1.5);
    EXPECT_EQ(record.TemperatureSpan[Camera], 1.25);
    EXPECT_EQ(CameraTable[0].TemperatureOffset[0], 0.0);
}

TEST_F(ExportedCalls, ShutterHandsOnTheSeconds)
{
    QV_Shutter(2.75, Camera);
    EXPECT_EQ(Seconds, 2.75);
    EXPECT_EQ(GivenCamera, Camera);
}

TEST_F(ExportedCalls, ShutterControlHandsOnWhetherItIsHeld)
{
    QV_ShutterControl(5, Camera);
    EXPECT_EQ(record.ShutterHeld, 1);
    EXPECT_EQ(Register, 6);
    EXPECT_EQ(Value, 0x0300);
    EXPECT_EQ(GivenCamera, Camera);
    QV_ShutterControl(0, Camera);
    EXPECT_EQ(record.ShutterHeld, 0);
    EXPECT_EQ(Value, 0x0200);
}

TEST_F(ExportedCalls, TriggerHandsOnWhetherItWaits)
{
    UntriggeredPolls = 4;
    EXPECT_EQ(QV_Trigger(0, Camera), 0);
    EXPECT_EQ(UntriggeredPolls, 3); // looked once
    EXPECT_EQ(QV_Trigger(7, Camera), 7);
    EXPECT_EQ(UntriggeredPolls, -1); // looked until it came
    EXPECT_EQ(QV_Trigger(0, Camera), 1);
    EXPECT_EQ(GivenCamera, Camera);
}

} // namespace
