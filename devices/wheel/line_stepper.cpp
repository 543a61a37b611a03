// A motor with a driver of its own: lines for enable, direction and step on register 11.
#include <cmath>
#include <cstdlib>

#include "core/convert.h"
#include "core/record.h"
#include "devices/wheel/wheel.h"
#include "platform/system.h"

namespace {

enum LineRegister : int32_t { MotorRegister = 11, PowerRegister = 12, StatusSource = 30 };
enum MotorLine : uint16_t { Direction = 0x0400, StepPulse = 0x0800, DriveEnable = 0x1000 };
constexpr uint16_t WheelPower = 0x40;
constexpr int32_t SensorStatus = 7;
constexpr uint32_t ZeroSensor = 0x2, SecondSensor = 0x4;
constexpr int32_t SensorReads = 20; // the zero mark is narrow, and its sensor flickers

constexpr int32_t SearchSteps = 1200;
constexpr int32_t SearchStepMs = 10, OffsetStepMs = 20;
constexpr uint32_t SettleMs = 100;
constexpr uint32_t ZeroSettleMs = 300;
constexpr int32_t FastestMs = 4;
constexpr int32_t SixPositionOffset = 8; // steps from its mark to its first position

struct WheelShape {
    int32_t positions;
    double stepsOfAPosition;
};
constexpr WheelShape EightPositions = {8, 25.0};
constexpr WheelShape SixPositions = {6, 33.333333};

// Of the steps that go out whole, by sub-camera: all cameras of the process share it.
double FilterStepRemainder[HeadCount];

double& RemainderOf(const CameraRecord& record)
{
    return FilterStepRemainder[record.SubCamera & (HeadCount - 1)];
}

bool HasSixPositions(const CameraRecord& record)
{
    return record.Config.FilterWheel == SixPositionStepper;
}

void SetBits(int32_t reg, uint16_t bits, bool on, int32_t camera)
{
    CameraRecord& record = CameraTable[camera];
    uint16_t& shadow = record.Registers[reg];
    shadow = static_cast<uint16_t>(on ? shadow | bits : shadow & ~bits);
    record.Ops.WriteRegister(reg, shadow, camera);
}

void SleepStep(int32_t camera)
{
    System.clock.Sleep(static_cast<uint32_t>(CameraTable[camera].FilterStepDelay));
}

void Step(int32_t direction, int32_t camera)
{
    const CameraRecord& record = CameraTable[camera];
    SetBits(MotorRegister, Direction, direction != 0, camera);
    const uint16_t shadow = record.Registers[MotorRegister];
    record.Ops.WriteRegister(MotorRegister, shadow | StepPulse, camera);
    record.Ops.WriteRegister(MotorRegister, shadow, camera);
    SleepStep(camera);
}

bool IsAtZero(int32_t camera)
{
    const CameraOps& ops = CameraTable[camera].Ops;
    ops.WriteRegister(StatusSource, 0, camera);
    uint32_t seen = 0;
    for (int32_t i = 0; i < SensorReads; ++i) seen |= ops.ReadStatus(SensorStatus, camera);
    return (seen & ZeroSensor) != 0;
}

void EndMove(int32_t camera)
{
    SetBits(PowerRegister, WheelPower, false, camera);
    if (CameraTable[camera].FilterHold != 0) return;
    System.clock.Sleep(SettleMs);
    SetBits(MotorRegister, DriveEnable, false, camera);
}

void StepOffset(int32_t camera)
{
    CameraRecord& record = CameraTable[camera];
    record.FilterStepDelay = OffsetStepMs;
    const int32_t offset = record.FilterZeroOffset;
    const int32_t steps = HasSixPositions(record) ? offset + SixPositionOffset : std::abs(offset);
    for (int32_t i = 0; i < steps; ++i) Step(offset < 1 ? 1 : 0, camera);
}

bool FindZero(int32_t camera)
{
    CameraRecord& record = CameraTable[camera];
    record.FilterStepDelay = SearchStepMs;
    SetBits(MotorRegister, DriveEnable, true, camera);
    SetBits(PowerRegister, WheelPower, true, camera);
    System.clock.Sleep(SettleMs);
    if (IsAtZero(camera) && !HasSixPositions(record)) {
        SetBits(PowerRegister, WheelPower, false, camera);
        return true;
    }
    int32_t left = SearchSteps;
    for (; !IsAtZero(camera) && left >= 1; --left) {
        SleepStep(camera);
        Step(0, camera);
    }
    System.clock.Sleep(ZeroSettleMs);
    for (; !IsAtZero(camera) && left >= 1; --left) Step(0, camera);
    StepOffset(camera);
    EndMove(camera);
    return left >= 1;
}

void Run(int32_t steps, int32_t direction, int32_t camera)
{
    if (steps == 0) return;
    SetBits(MotorRegister, DriveEnable, true, camera);
    System.clock.Sleep(SettleMs);
    SetBits(PowerRegister, WheelPower, true, camera);
    RunWheel(Step, steps, direction, FastestMs, camera);
    EndMove(camera);
}

// Carries the parts of steps that a position leaves over from move to move.
int16_t StepsOf(const WheelWay& way, double stepsOfAPosition, double* remainder)
{
    const double steps = static_cast<double>(way.positions) * stepsOfAPosition;
    const double part = steps - std::trunc(steps);
    *remainder += way.direction != 0 ? -part : part;
    const int32_t whole = ToInt32(steps + *remainder);
    if (*remainder > 1.0) *remainder -= std::trunc(*remainder);
    return static_cast<int16_t>(whole);
}

bool IsAtSecondSensor(int32_t camera)
{
    const CameraOps& ops = CameraTable[camera].Ops;
    ops.WriteRegister(StatusSource, 0, camera);
    return (ops.ReadStatus(SensorStatus, camera) & SecondSensor) != 0;
}

} // namespace

// The offset goes out twice, at the end of the search and as a run: wheels are set up
// with that in mind.
bool CalibrateLineStepper(int32_t camera)
{
    CameraRecord& record = CameraTable[camera];
    record.FilterPosition = 1;
    const bool found = FindZero(camera);
    const int32_t offset = record.FilterZeroOffset;
    Run(std::abs(offset), offset < 0 ? 1 : 0, camera);
    RemainderOf(record) = 0.0;
    return found;
}

bool MoveLineStepper(int32_t position, int32_t camera)
{
    CameraRecord& record = CameraTable[camera];
    if (position == record.FilterPosition) return true;
    const WheelShape shape = HasSixPositions(record) ? SixPositions : EightPositions;
    const WheelWay way = ShortWay(record.FilterPosition, position, shape.positions);
    Run(StepsOf(way, shape.stepsOfAPosition, &RemainderOf(record)), way.direction, camera);
    record.FilterPosition = position;
    return IsAtSecondSensor(camera);
}
