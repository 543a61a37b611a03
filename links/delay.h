// Delays of the bus links.
#pragma once
#include <cstdint>

// Lets at least `microseconds` pass: a sleep of the kernel driver where the card
// is open, else one of the system. Failures pass in silence.
void DelayMicroseconds(uint32_t microseconds, int32_t camera);
