// One picture: exposure in seconds, pixels into `buffer` or, without one, into
// the current internal buffer. LastError tells the result.
#pragma once
#include <cstdint>

void GetCCD(int32_t shutter, double exposure, uint16_t* buffer, int32_t camera);
void FGetCCD(int32_t shutter, double exposure, uint16_t* buffer, int32_t camera);
void TGetCCD(int32_t shutter, double exposure, uint16_t* buffer, int32_t camera);
void GetWinCCD(int32_t shutter, double exposure, int32_t x, int32_t y, int32_t width,
               int32_t height, uint16_t* buffer, int32_t camera);
void FGetWinCCD(int32_t shutter, double exposure, int32_t x, int32_t y, int32_t width,
                int32_t height, uint16_t* buffer, int32_t camera);
void GetCCDPulsed(int32_t shutter, int32_t fast, double exposureMs, double periodSeconds,
                  uint16_t* buffer, int32_t camera);
void GetWinCCDPulsed(int32_t shutter, int32_t fast, double exposureMs, double periodSeconds,
                     int32_t x, int32_t y, int32_t width, int32_t height, uint16_t* buffer,
                     int32_t camera);
