// What a camera does to a pixel before it sends it: digital noise reduction takes
// several samples of each, decimation sends fewer bits. On platforms 25 and 47 the two
// share their bits, so that the last call wins. Both hold the timer off; a mode outside
// 0 to 4 is ignored.
#pragma once
#include <cstdint>

void SetDNR(int32_t mode, int32_t camera);
int32_t GetDNR(int32_t camera); // the last mode that was taken, on every platform
void SetBitDecimation(int32_t mode, int32_t camera);
