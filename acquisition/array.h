// One exposure of all heads of an array.
#pragma once
#include <cstdint>

// `exposures` (seconds) and `buffers` by head, eight each. A head without a buffer is not
// read; one that fails is not reported.
void AGetCCD(int32_t shutter, const double* exposures, uint16_t** buffers, int32_t camera);
