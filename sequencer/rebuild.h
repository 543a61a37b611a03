// The one way of changing the pattern after open.
#pragma once
#include <cstdint>

// Builds wave.bin for a geometry in binned pixels and loads it. LastError tells
// the result; a failed build keeps the binning and the camera's old pattern.
void RebuildSequencer(int32_t x, int32_t y, int32_t width, int32_t hbin, int32_t vbin,
                      int32_t camera);
