// What the sources of the filter wheel share.
#pragma once
#include "emulator/wheel.h"

double EmuWheelTurn(const EmuWheel& wheel); // steps
double EmuWheelPositionSteps(const EmuWheel& wheel);
