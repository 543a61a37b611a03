#include "emulator/thermal.h"

#include <algorithm>
#include <cmath>

#include "emulator/world.h"

namespace {

constexpr double MostCooling = 60.0;
constexpr double TimeConstant = 60e6; // microseconds
constexpr double ZeroCelsius = 273.15;

} // namespace

EmuThermal EmuMakeThermal(double ambient)
{
    return {ambient, ambient, 0.0, EmuNow()};
}

void EmuSetCooling(EmuThermal* thermal, double part)
{
    thermal->temperature = EmuTemperatureNow(*thermal);
    thermal->since = EmuNow();
    thermal->cooling = part * MostCooling;
}

double EmuCoolingFor(const EmuThermal& thermal, double celsius)
{
    return std::clamp((thermal.ambient - celsius) / MostCooling, 0.0, 1.0);
}

double EmuTemperatureNow(const EmuThermal& thermal)
{
    const double goal = thermal.ambient - thermal.cooling;
    const double elapsed = static_cast<double>(EmuNow() - thermal.since);
    return goal + (thermal.temperature - goal) * std::exp(-elapsed / TimeConstant);
}

double EmuUncorrected(double celsius, uint16_t offset, uint16_t span)
{
    const auto tenths = static_cast<int16_t>(span);
    if (tenths <= 0) return celsius;
    return celsius / (tenths / 10.0) - static_cast<int16_t>(offset) / 10.0;
}

uint16_t EmuKelvinCount(double celsius, double countsPerKelvin, uint32_t most)
{
    const double count = (celsius + ZeroCelsius) * countsPerKelvin;
    return static_cast<uint16_t>(std::lround(std::fmin(std::fmax(count, 0.0), most)));
}
