// Where a frame comes from and where it goes. The lock is held.
#pragma once
#include "supervisor/slot.h"

// At least two pixels a line and a line.
bool MayBin(const Slot& slot, int32_t hbin, int32_t vbin);

// The window, or the full frame, with the binning that it will have.
bool LiesOnSensor(const Slot& slot, const QvnsExposure& exposure);

// Makes it, if need be; without memory for it the frame before stays.
bool HasRoom(Frame* frame, uint64_t pixels);

// Both, for the frame that is begun: binning and sensor may have changed in the queue.
int32_t PlaceFrame(Slot* slot);
