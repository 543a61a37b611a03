// The filter wheel at a camera. All of these hold the timer off while the wheel moves,
// and leave their result in LastError.
#pragma once
#include <cstdint>

void SetFilter(int32_t position, int32_t camera); // from 1
void CalibFW(int32_t camera);
void OpenFW(int32_t setting, int32_t hold, int32_t zeroOffset, int32_t camera);
void SetFW(int32_t setting, int32_t hold, int32_t zeroOffset, int32_t camera);
int32_t IsThereFW(int32_t camera);

// Slot 24: zero (operation 0) or a position (1) by the wheel of the platform. 0.
int32_t MoveWheel(int32_t operation, int32_t position, int32_t camera);
// The same on platforms 70, 71 and 80, by four phases.
int32_t MovePhaseWheel(int32_t operation, int32_t position, int32_t camera);
