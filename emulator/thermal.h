// The sensor's temperature: it goes toward what ambient and cooler make of it, by the
// clock.
#pragma once
#include <cstdint>

struct EmuThermal {
    double ambient;
    double temperature; // at `since`
    double cooling;     // degrees below ambient that it goes to
    uint64_t since;     // microseconds
};

EmuThermal EmuMakeThermal(double ambient);
void EmuSetCooling(EmuThermal* thermal, double part); // of full cooling, 0 to 1
// The part of full cooling that holds the sensor there.
double EmuCoolingFor(const EmuThermal& thermal, double celsius);
double EmuTemperatureNow(const EmuThermal& thermal);

// What the circuit shows of a temperature: camera memory has the correction that leads
// from there to the truth, (shown + offset) * span, both in tenths.
double EmuUncorrected(double celsius, uint16_t offset, uint16_t span);
// What a converter makes of it: counts in proportion to Kelvin, 0 to `most`.
uint16_t EmuKelvinCount(double celsius, double countsPerKelvin, uint32_t most);
