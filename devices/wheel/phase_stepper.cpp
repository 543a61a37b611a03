// A bare motor of four phases, which stand in a field of register 11. The sensor of the
// zero position is a bit of status 7.
#include <cmath>
#include <cstdlib>

#include "core/convert.h"
#include "core/record.h"
#include "devices/wheel/wheel.h"
#include "platform/system.h"

namespace {

enum PhaseRegister : int32_t { MotorRegister = 11, PowerRegister = 12 };
constexpr uint16_t PhaseField = 0x1E00;
constexpr uint16_t Phases[] = {0x1400, 0x1C00, 0x1E00, 0x1600};
constexpr int32_t LastPhase = 3;
constexpr uint16_t WheelPower = 0x40;
constexpr int32_t SensorStatus = 7;
constexpr uint32_t ZeroSensor = 0x2;

constexpr int32_t SearchSteps = 1200;
constexpr int32_t SearchStepMs = 5;
constexpr uint32_t SettleMs = 100;
constexpr int32_t FastestMs = 2;
constexpr int32_t Positions = 8;
constexpr double StepsOfAPosition = 111.111111;

void WritePhases(uint16_t phases, int32_t camera)
{
    CameraRecord& record = CameraTable[camera];
    uint16_t& shadow = record.Registers[MotorRegister];
    shadow = static_cast<uint16_t>((shadow & ~PhaseField) | phases);
    record.Ops.WriteRegister(MotorRegister, shadow, camera);
}

void Step(int32_t direction, int32_t camera)
{
    CameraRecord& record = CameraTable[camera];
    int32_t& phase = record.FilterPhase;
    phase = (phase + (direction != 0 ? 1 : LastPhase)) & LastPhase;
    WritePhases(Phases[phase], camera);
    System.clock.Sleep(static_cast<uint32_t>(record.FilterStepDelay));
}

bool IsAtZero(int32_t camera)
{
    return (CameraTable[camera].Ops.ReadStatus(SensorStatus, camera) & ZeroSensor) != 0;
}

// The shadow stays without the power.
void SwitchPower(bool on, int32_t camera)
{
    const CameraRecord& record = CameraTable[camera];
    const uint16_t shadow = record.Registers[PowerRegister];
    record.Ops.WriteRegister(PowerRegister, on ? shadow | WheelPower : shadow, camera);
}

void EndMove(int32_t camera)
{
    SwitchPower(false, camera);
    if (CameraTable[camera].FilterHold != 0) return;
    System.clock.Sleep(SettleMs);
    WritePhases(0, camera);
}

bool FindZero(int32_t camera)
{
    CameraTable[camera].FilterStepDelay = SearchStepMs;
    SwitchPower(true, camera);
    if (IsAtZero(camera)) {
        SwitchPower(false, camera); // the phases stay as they are
        return true;
    }
    int32_t left = SearchSteps;
    for (; left > 0 && !IsAtZero(camera); --left) Step(0, camera);
    EndMove(camera);
    return left > 0;
}

void Run(int32_t steps, int32_t direction, int32_t camera)
{
    if (steps == 0) return;
    SwitchPower(true, camera);
    WritePhases(Phases[CameraTable[camera].FilterPhase & LastPhase], camera);
    System.clock.Sleep(SettleMs);
    RunWheel(Step, steps, direction, FastestMs, camera);
    EndMove(camera);
}

} // namespace

bool CalibratePhaseStepper(int32_t camera)
{
    CameraRecord& record = CameraTable[camera];
    record.FilterPosition = 1;
    const bool found = FindZero(camera);
    const int32_t offset = record.FilterZeroOffset;
    Run(std::abs(offset), offset < 0 ? 1 : 0, camera);
    return found;
}

// A position is a whole number of steps; what is left of the last one is lost.
void MovePhaseStepper(int32_t position, int32_t camera)
{
    CameraRecord& record = CameraTable[camera];
    if (position == record.FilterPosition) return;
    const WheelWay way = ShortWay(record.FilterPosition, position, Positions);
    const double steps = static_cast<double>(way.positions) * StepsOfAPosition;
    Run(static_cast<int16_t>(ToInt32(steps)), way.direction, camera);
    record.FilterPosition = position;
}
