// Temperature: readings, the stepping regulator, history, equilibrium.
#pragma once
#include <cstdint>

void SetTemp(double temperature, int32_t units, int32_t camera);
double GetTemp(char* text, int32_t units, int32_t camera);
double ReadTemp(int32_t units, int32_t camera);
void Cooler(int32_t on, int32_t camera);
int32_t CoolerStatus(int32_t camera);
void SetPower(double percent, int32_t camera);
double GetPower(int32_t camera);
void TempCalib(double offset, double span, int32_t camera);

// One reading and one turn of the regulator: 0, or 1 when the reading failed.
// Called by the timer and by the wait of a long exposure.
int32_t TemperatureHandle(int32_t camera);

int32_t GetTempHistory(double* buffer, int32_t camera); // 7200 values
int32_t CheckTempEquil(int32_t count, double tolerance, int32_t camera);

// Array mode: the regulator's fields between the record and a head's store.
void SaveHeadRegulator(int32_t head, int32_t camera);
void LoadHeadRegulator(int32_t head, int32_t camera);

// What every open does: the regulator stopped, the history of this camera empty.
void ResetTemperature(int32_t camera);
void ClearTemperatureHistory(int32_t camera);
