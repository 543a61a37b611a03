// The geometry of a read, and the pattern that the camera holds for it.
#pragma once
#include <cstdint>

struct CameraRecord;

struct Window {
    int32_t x, y, width, height; // binned pixels
};

// All widths that reach the hardware are even.
int32_t EvenWidth(int32_t width);
// Pixels of `size` in bins; 0 for a binning below 1.
int32_t BinnedSize(int32_t size, int32_t binning);

// Whether the camera holds the pattern of this window with the binning in force.
bool IsWindowBuilt(const Window& window, const CameraRecord& record);
// Builds and loads the window's pattern, beginning at `row`; a window is known again by its
// own y.
void BuildWindow(const Window& window, int32_t row, int32_t camera);
// Brings the full frame's pattern back if a window's is loaded.
void RestoreFullFrame(int32_t camera);
