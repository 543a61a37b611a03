// The record of a frame. The lock is held.
#pragma once
#include "supervisor/slot.h"

double LastTemperature(const Cooling& cooling); // not a number: none has been read

void FillMetadata(Slot* slot);     // at the start of its exposure
void CompleteMetadata(Slot* slot); // when the frame is there
