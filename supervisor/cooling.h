// Temperatures, the ramp of the set point, and what is told of them; by the worker. The lock is
// held, and given up during calls of the library.
#pragma once
#include "supervisor/slot.h"

// What falls due twice a second in an idle camera: a temperature, and a clear where the option
// asks for it. Three readings in a row that fail are a fault.
void Background(Slot* slot);

// The temperature alone, if it is due; also within an exposure.
void ServeTemperature(Slot* slot);

// Moves the ramp on and sends the set point.
void UpdateCooling(Slot* slot);

// After a recovery: the drive and the set point as they were.
int32_t RestoreCooling(Slot* slot);

bool IsStable(const Cooling& cooling);
bool IsFresh(const Cooling& cooling);
