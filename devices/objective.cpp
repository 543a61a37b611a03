#include "devices/objective.h"

#include "core/open_close.h"
#include "core/record.h"
#include "core/status.h"
#include "core/timer_service.h"
#include "platform/system.h"

namespace {

// The objective's port: a motor, and the way it turns; a motor without a way brakes. The
// port has no shadow.
enum ObjectiveRegister : int32_t { MotorPort = 7, PortDirection = 8 };
constexpr int32_t AllOutputs = 255;

constexpr int32_t FirstPlatform = 44, LastPlatform = 47;
constexpr uint32_t AsTold = 0;
constexpr uint32_t ToTheEndMs = 3000;
constexpr uint32_t BrakeMs = 100;
constexpr uint32_t PlugSettleMs = 100;

struct MotorAction {
    uint8_t run;
    uint32_t runMs; // AsTold: by the caller
    uint8_t brake;  // 0: no brake
};

constexpr MotorAction
    Actions[] =
        {
            {0x12, ToTheEndMs, 0}, // 0 to 2: each motor to its end
            {0x24, ToTheEndMs, 0}, {0x21, ToTheEndMs, 0},
            {0x12, AsTold, 0x02}, // 3 to 8: each motor a little, one way and the other
            {0x22, AsTold, 0x02},  {0x24, AsTold, 0x04},
            {0x14, AsTold, 0x04},  {0x21, AsTold, 0x01},
            {0x11, AsTold, 0x01},
};
constexpr int32_t ActionCount = sizeof Actions / sizeof *Actions;

void Drive(uint8_t lines, uint32_t holdMs, int32_t camera)
{
    CameraTable[camera].Ops.WriteRegister(MotorPort, lines, camera);
    System.clock.Sleep(holdMs);
}

void RunMotor(const MotorAction& action, uint32_t milliseconds, int32_t camera)
{
    Drive(action.run, action.runMs == AsTold ? milliseconds : action.runMs, camera);
    if (action.brake != 0) Drive(action.brake, BrakeMs, camera);
    CameraTable[camera].Ops.WriteRegister(MotorPort, 0, camera);
}

} // namespace

void ObjectiveControl(int32_t operation, uint16_t milliseconds, int32_t camera)
{
    const CameraRecord& record = CameraTable[camera];
    StopNow(camera);
    Select(camera);
    if (record.PlatformCode >= FirstPlatform && record.PlatformCode <= LastPlatform) {
        record.Ops.WriteRegister(PortDirection, AllOutputs, camera);
        if (operation >= 0 && operation < ActionCount) {
            RunMotor(Actions[operation], milliseconds, camera);
        }
    }
    StartNow(camera);
}

int32_t Plug(int32_t /*what*/, const uint32_t* values, int32_t camera)
{
    StopNow(camera);
    Delay(PlugSettleMs);
    Select(camera);
    const DriverExtras& extras = ExtrasOf(camera);
    if (extras.Plug != nullptr && values != nullptr) {
        extras.Plug(values, camera);
    }
    StartNow(camera);
    return 0;
}
