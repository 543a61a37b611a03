// Settings, by the worker. The lock is held, and given up during calls of the library.
#pragma once
#include "supervisor/slot.h"

int32_t RunBinning(Slot* slot, const Job& job);
int32_t RunGain(Slot* slot, const Job& job);
int32_t RunFan(Slot* slot, const Job& job);
int32_t RunClear(Slot* slot, const Job& job);
int32_t RunFilter(Slot* slot, const Job& job);
int32_t RunFindFilters(Slot* slot, const Job& job);

// The full frame with this binning, as built and loaded anew.
int32_t BinCamera(Slot* slot, int32_t horizontal, int32_t vertical);

// After a recovery: binning, gain, fan, cooler.
int32_t RestoreSettings(Slot* slot, int32_t hbin, int32_t vbin);
