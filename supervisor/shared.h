// What all cameras share in the library. The lock is held, and given up by what waits.
#pragma once
#include "supervisor/slot.h"

// Opening, closing and new geometries need one thread at a time: there is one pattern file.
void TakeShared(Slot* slot);    // waits for it
void ReleaseShared(Slot* slot); // if the camera has it

// Platforms 48, 300, 400 and 450 share one binning, that of the last build, which their reads
// go by: those with the same binning may read together, others wait for each other.
//
// No other camera reads with another binning: HoldBinning keeps it so until LeaveBinning. True if
// the library has to be told this binning. There is no wait for it: work that needs a binning is
// not due before.
bool MayHoldBinning(const Slot& slot, int32_t hbin, int32_t vbin);
bool HoldBinning(Slot* slot, int32_t hbin, int32_t vbin);
void NoteBinning(const Slot& slot, int32_t hbin, int32_t vbin); // the library has been told
void LeaveBinning(Slot* slot);
