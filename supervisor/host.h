// A function of the host's, by the worker. The lock is held, and given up while it runs.
#pragma once
#include "supervisor/slot.h"

int32_t RunHost(Slot* slot, const Job& job);
