// What the host asks of the cooler: target, drive, readings.
#include "devices/temperature.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

#include "core/convert.h"
#include "core/errors.h"
#include "core/flags.h"
#include "core/open_close.h"
#include "core/record.h"
#include "core/timer_service.h"

namespace {

enum TemperatureUnit : int32_t { Kelvin = 0, Celsius = 1, Fahrenheit = 2 };

constexpr int32_t StartingPower = 300;  // tenths of a percent
constexpr double NoReadingYet = 1000.0; // shown as "INIT"
constexpr int32_t MostDecimals = 9;
constexpr int32_t RegulatesByItself = 48;

// The two Fahrenheit formulas are neither the common ones nor each other's
// inverse: required, as is 273.0.
double ToCelsius(double value, int32_t units, double otherwise)
{
    switch (units) {
    case Kelvin: return value - 273.0;
    case Celsius: return value;
    case Fahrenheit: return value / 1.8 - 32.0;
    default: return otherwise;
    }
}

double FromCelsius(double value, int32_t units)
{
    switch (units) {
    case Kelvin: return value + 273.0;
    case Fahrenheit: return value * 33.8;
    default: return value;
    }
}

void StartRegulation(int32_t camera)
{
    CameraRecord& record = CameraTable[camera];
    if (record.RegulationOn == 0 && LoadFlag(record.CoolerPower) == 0) {
        StoreFlag(&record.CoolerPower, StartingPower);
        if (record.ArrayMode != 0) {
            StoreFlag(&record.ArrayPower[camera], StartingPower);
            record.SubPower[camera] = StartingPower;
        }
        record.Ops.SetCoolerPower(StartingPower, camera);
    }
    record.Ops.SetCooler(1, camera);
    record.RegulationOn = 1;
    record.RegulationActive = 1;
    StoreFlag(&record.CoolerStatus, int8_t{1});
    if (record.ArrayMode != 0) SaveHeadRegulator(camera, camera);
}

void SendTarget(int32_t camera)
{
    const CameraRecord& record = CameraTable[camera];
    const DriverExtras& extras = ExtrasOf(camera);
    if (extras.SetTarget == nullptr) return;
    extras.SetTarget(LoadReading(record.TargetTemperature), camera);
}

} // namespace

void SetTemp(double temperature, int32_t units, int32_t camera)
{
    CameraRecord& record = CameraTable[camera];
    StopNow(camera);
    Select(camera);
    StoreReading(&record.TargetTemperature,
                 ToCelsius(temperature, units, LoadReading(record.TargetTemperature)));
    if (record.PlatformCode == RegulatesByItself) {
        SendTarget(camera);
    } else {
        StartRegulation(camera);
    }
    StartNow(camera);
}

double GetTemp(char* text, int32_t units, int32_t camera)
{
    const CameraRecord& record = CameraTable[camera];
    const double reading = LoadReading(record.CurrentTemperature);
    const double shown =
        LoadFlag(record.ArrayMode) != 0 ? LoadReading(record.ArrayTemperature[camera]) : reading;
    const double value = FromCelsius(shown, units);
    if (text == nullptr || text[0] == '\0') return value;
    if (reading == NoReadingYet) {
        snprintf(text, TemperatureTextRoom, "INIT");
    } else {
        const int32_t decimals = std::clamp(LoadFlag(record.TemperatureDecimals), 0, MostDecimals);
        snprintf(text, TemperatureTextRoom, "%+*.*lf", decimals + 4, decimals, value);
    }
    return value;
}

double ReadTemp(int32_t units, int32_t camera)
{
    CameraRecord& record = CameraTable[camera];
    if (record.Ops.ReadTemperature(camera) == -1) {
        StoreFlag(&record.LastError, ErrorLinkFailure);
        return 0.0;
    }
    const double value = FromCelsius(LoadReading(record.CurrentTemperature), units);
    StoreReading(&record.CurrentTemperature, value); // in these units: required
    return value;
}

void Cooler(int32_t on, int32_t camera)
{
    CameraRecord& record = CameraTable[camera];
    StopNow(camera);
    Select(camera);
    record.Ops.SetCooler(on, camera);
    StoreFlag(&record.CoolerStatus, static_cast<int8_t>(on));
    if (on == 0) {
        record.RegulationActive = 0;
        record.RegulationOn = 0;
    }
    if (record.ArrayMode != 0) SaveHeadRegulator(camera, camera);
    StartNow(camera);
}

int32_t CoolerStatus(int32_t camera)
{
    return LoadFlag(CameraTable[camera].CoolerStatus);
}

void SetPower(double percent, int32_t camera)
{
    CameraRecord& record = CameraTable[camera];
    StopNow(camera);
    const int32_t power = ToInt16(percent * 10.0);
    // Both drop the tenths: required.
    const int32_t subPercent = record.SubPower[camera] / 10;
    const int32_t ownPercent = LoadFlag(record.CoolerPower) / 10;
    if (record.ArrayMode != 0 && percent != subPercent) {
        Select(camera);
        StoreFlag(&record.ArrayPower[camera], power);
        record.SubPower[camera] = power;
    } else if (percent >= 0.0 && percent <= 100.0 && percent != ownPercent) {
        StoreFlag(&record.CoolerPower, power);
        record.Ops.SetCoolerPower(power, camera);
    }
    StartNow(camera);
}

double GetPower(int32_t camera)
{
    const CameraRecord& record = CameraTable[camera];
    const bool isArray = LoadFlag(record.ArrayMode) != 0;
    const int32_t& power = isArray ? record.ArrayPower[camera] : record.CoolerPower;
    return LoadFlag(power) / 10.0;
}

void TempCalib(double offset, double span, int32_t camera)
{
    CameraRecord& record = CameraTable[camera];
    StoreReading(&record.TemperatureOffset[camera], offset);
    StoreReading(&record.TemperatureSpan[camera], span);
}

uint16_t SetPointWord(double target, double offset, double span)
{
    const double kelvin = (target - offset) / (span == 0.0 ? 1.0 : span) + 273.15;
    return static_cast<uint16_t>(ToInt32(std::floor(kelvin / 38.146972 * 7870.0)));
}
