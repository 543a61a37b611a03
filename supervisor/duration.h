// How long a frame should take.
#pragma once
#include "supervisor/slot.h"

QvnsDuration ExpectedDuration(const Slot& slot, const QvnsExposure& exposure);

// A light exposure whose counter the library waits for without looking at breaks; a break that
// comes meanwhile would start the counter once more.
bool AwaitsCounter(const Slot& slot, const QvnsExposure& exposure);

// The binning of an exposure, and the geometry that it needs.
Geometry WantedGeometry(const Slot& slot, const QvnsExposure& exposure);
bool IsBuilt(const Slot& slot, const Geometry& geometry);

// Pixels of a line and lines, as they are delivered.
int32_t DeliveredWidth(const Slot& slot, const Geometry& geometry);
int32_t DeliveredHeight(const Slot& slot, const Geometry& geometry);
// Pixels of the buffer.
uint64_t BufferPixels(const Slot& slot, const Geometry& geometry);

// Rows of the sensor stay behind in a readout: those beside a window, and where lines of a binning
// do not go up in the rows.
bool LeavesRows(const Slot& slot, const Geometry& geometry);
