// The regulator: no gain and no integral, one step of a tenth of a percent at a
// time, at a rate that grows with the distance to the target.
#include <cmath>
#include <cstdlib>

#include "core/convert.h"
#include "core/flags.h"
#include "core/options.h"
#include "core/record.h"
#include "devices/temperature.h"

namespace {

constexpr int32_t FullPower = 1000;
constexpr int32_t LimitedPower = 800;

enum RegulatorStatus : int8_t { Regulating = 2, AtTarget = 3 };

// Readings until the next control step, by the whole degrees to go.
int32_t StepInterval(int32_t degrees)
{
    if (degrees >= 40) return 1;
    if (degrees >= 20) return 2;
    if (degrees >= 10) return 3;
    if (degrees >= 2) return 5;
    return 8;
}

void Drive(int32_t power, int32_t camera)
{
    CameraRecord& record = CameraTable[camera];
    StoreFlag(&record.CoolerPower, power);
    record.Ops.SetCoolerPower(power, camera);
}

void ControlStep(int32_t camera)
{
    CameraRecord& record = CameraTable[camera];
    const double target = LoadReading(record.TargetTemperature);
    const double current = LoadReading(record.CurrentTemperature);
    const double previous = record.PreviousTemperature;
    const int32_t power = LoadFlag(record.CoolerPower);
    const double rounded = std::trunc(current * 10.0) / 10.0;

    record.RegulationCountdown = StepInterval(ToInt32(std::fabs(target - current)));
    record.RoundedTemperature = rounded;
    if (rounded > target && rounded >= previous && power < FullPower) Drive(power + 1, camera);
    if (target > rounded && previous >= rounded && power > 0) Drive(power - 1, camera);
    // Exact equality: a target with two decimals is never reached. Required.
    const bool reached = target == rounded;
    record.AtTemperature = reached ? 1 : 0;
    StoreFlag(&record.CoolerStatus, int8_t{reached ? AtTarget : Regulating});
    record.PreviousTemperature = rounded;
}

} // namespace

int32_t TemperatureHandle(int32_t camera)
{
    CameraRecord& record = CameraTable[camera];
    if (record.Ops.ReadTemperature(camera) == -1) return 1;
    AddToTemperatureHistory(LoadReading(record.CurrentTemperature), camera);
    if (record.RegulationOn != 0 && record.RegulationActive != 0) {
        --record.RegulationCountdown;
        if (record.RegulationCountdown == 0) ControlStep(camera);
    }
    // Only the stored value, so the cooler is driven with up to 801: required.
    if ((LoadFlag(record.Options) & OptionLimitCooler) != 0 &&
        LoadFlag(record.CoolerPower) > LimitedPower) {
        StoreFlag(&record.CoolerPower, LimitedPower);
    }
    return 0;
}

void SaveHeadRegulator(int32_t head, int32_t camera)
{
    CameraRecord& record = CameraTable[camera];
    record.SubRoundedTemperature[head] = record.RoundedTemperature;
    record.SubPower[head] = LoadFlag(record.CoolerPower);
    record.SubPreviousTemperature[head] = record.PreviousTemperature;
    record.SubTargetTemperature[head] = LoadReading(record.TargetTemperature);
    record.SubCountdown[head] = record.RegulationCountdown;
    record.SubRegulationOn[head] = record.RegulationOn;
    record.SubRegulationActive[head] = record.RegulationActive;
}

void LoadHeadRegulator(int32_t head, int32_t camera)
{
    CameraRecord& record = CameraTable[camera];
    record.RoundedTemperature = record.SubRoundedTemperature[head];
    StoreFlag(&record.CoolerPower, record.SubPower[head]);
    record.PreviousTemperature = record.SubPreviousTemperature[head];
    StoreReading(&record.TargetTemperature, record.SubTargetTemperature[head]);
    record.RegulationCountdown = record.SubCountdown[head];
    record.RegulationOn = record.SubRegulationOn[head];
    record.RegulationActive = record.SubRegulationActive[head];
}

// RoundedTemperature and PreviousTemperature keep their last values.
void ResetTemperature(int32_t camera)
{
    CameraRecord& record = CameraTable[camera];
    StoreReading(&record.CurrentTemperature, 20.0);
    StoreReading(&record.TargetTemperature, 0.0);
    record.RegulationCountdown = 1;
    StoreFlag(&record.CoolerPower, 0);
    StoreFlag(&record.CoolerStatus, int8_t{0});
    record.AtTemperature = 0;
    record.RegulationOn = 0;
    record.RegulationActive = 0;
}
