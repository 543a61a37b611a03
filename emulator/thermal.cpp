#include "emulator/thermal.h"

#include <cmath>

#include "emulator/world.h"

namespace {

constexpr double MostCooling = 60.0;
constexpr double TimeConstant = 60e6; // microseconds

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

double EmuTemperatureNow(const EmuThermal& thermal)
{
    const double goal = thermal.ambient - thermal.cooling;
    const double elapsed = static_cast<double>(EmuNow() - thermal.since);
    return goal + (thermal.temperature - goal) * std::exp(-elapsed / TimeConstant);
}
