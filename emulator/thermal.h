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
double EmuTemperatureNow(const EmuThermal& thermal);
