// Binning, which changes the clock pattern and so rebuilds it.
#pragma once
#include <cstdint>

void SetBinning(int32_t horizontal, int32_t vertical, int32_t camera);
void GetBinning(int32_t* horizontal, int32_t* vertical, int32_t camera);
