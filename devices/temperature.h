// Temperature: readings, the stepping regulator, history, equilibrium.
// Temperatures are degrees Celsius except where `units` says otherwise:
// 0 Kelvin, 1 Celsius, 2 Fahrenheit.
#pragma once
#include <cstddef>
#include <cstdint>

// What GetTemp writes fits into this many characters, the ending zero included.
inline constexpr size_t TemperatureTextRoom = 32;

// Sets the target and starts regulation. With an unknown unit the old target
// stays. Holds the timer off.
void SetTemp(double temperature, int32_t units, int32_t camera);

// The last reading; an unknown unit gives Celsius. Prints it to `text`, which
// has TemperatureTextRoom characters, if that is neither null nor empty. Any
// thread.
double GetTemp(char* text, int32_t units, int32_t camera);

// A fresh reading, in the caller's thread; 0 with LastError 2 if it failed.
// Does not hold the timer off.
double ReadTemp(int32_t units, int32_t camera);

// Cooler on or off; off ends regulation and keeps the drive.
void Cooler(int32_t on, int32_t camera);
int32_t CoolerStatus(int32_t camera);

// The drive by hand. What lies outside 0 to 100 is ignored.
void SetPower(double percent, int32_t camera);
double GetPower(int32_t camera);

void TempCalib(double offset, double span, int32_t camera);

// One reading and one turn of the regulator: 0, or 1 when the reading failed.
// Called by the timer and by the wait of a long exposure.
int32_t TemperatureHandle(int32_t camera);

// Copies HistoryLength readings and returns how many were taken. Any thread.
int32_t GetTempHistory(double* buffer, int32_t camera);

// 1 if the last `count` readings lie within `tolerance` of the target. Any thread.
int32_t CheckTempEquil(int32_t count, double tolerance, int32_t camera);

// Array mode: the regulator's fields between the record and a head's store.
void SaveHeadRegulator(int32_t head, int32_t camera);
void LoadHeadRegulator(int32_t head, int32_t camera);

// What every open does: the regulator stopped, the history of this camera empty.
void ResetTemperature(int32_t camera);
void ClearTemperatureHistory(int32_t camera);

// Adds a reading to the history. Always row 0, whatever the camera: required.
void AddToTemperatureHistory(double reading, int32_t camera);

// The set-point of a camera that regulates by itself (platform 48), in counts
// of its own sensor. A span of 0 counts as 1.
uint16_t SetPointWord(double target, double offset, double span);
