// Fast series: windows one after the other, or exposures that the sensor itself keeps
// side by side until they are read as one frame. LastError tells the result.
#pragma once
#include <cstdint>

void Kinetics(int32_t shutter, double exposure, int32_t frames, int32_t x, int32_t y, int32_t width,
              int32_t height, uint16_t** buffers, int32_t camera);
void KineticsCCD(int32_t shutter, double interval, int32_t shifts, int32_t lines, uint16_t* buffer,
                 int32_t camera);
