// A frame in steps, on cameras whose interface card fetches it. No step sets LastError,
// holds the timer off, or looks whether it comes after the right one.
#pragma once
#include <cstdint>

void ArmAcquisition(double exposure, int32_t camera); // seconds
void StartAcquisition(int32_t mode, int32_t camera);
void GetImage(uint16_t* buffer, int32_t camera);
void FlushAcquisition(int32_t camera);
