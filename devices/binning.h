// Binning, which changes the clock pattern and so rebuilds it.
#pragma once
#include <cstdint>

// Rebuilds the pattern for the full frame with this binning. Where both are at
// least 1 and the pattern can be built, the binning and the image size become
// the new ones. Values below 1 rebuild nothing; of these, 0 changes nothing and
// a negative one still goes into the image size. Holds the timer off.
void SetBinning(int32_t horizontal, int32_t vertical, int32_t camera);

// The current binning; a null pointer is passed over.
void GetBinning(int32_t* horizontal, int32_t* vertical, int32_t camera);
