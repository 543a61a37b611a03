// What the Tarn, Larch and SEP cameras share and BRIAR does otherwise.
#pragma once
#include <cstdint>

#include "core/ops.h"

extern const CameraOps TarnOps; // slots 8, 16: over BusOps

// Slot 0, where attach keeps the cooler's bits of register 12.
struct BusSetup;
int32_t OpenTarnCamera(const BusSetup& setup, int32_t address, int32_t attach, int32_t camera);

// What a mean of the 16-bit video channel measures.
double VideoCelsius(uint32_t mean);

// Slot 11: 16 bits of the video channel, behind 62.5 degrees of offset.
extern const CameraOps VideoTemperatureOps;

// Slot 11 by the pattern's idle section: what it measures, in degrees Celsius.
// False if the link failed.
bool MeasureByPattern(double* celsius, int32_t camera);

// Slot 13 where the exposure is over when the call returns.
extern const CameraOps TarnShutterOps;

// The front end's high range on a line of register 12 of its own: set while
// `isSet`. Slot 30 of Tarn_III and Tarn_IV.
int32_t SetGainLine(bool isSet, int32_t camera);

// The range of the front end: word 0 for UserGainHigh set and clear.
struct FrontEndRange {
    uint16_t high, low;
};

// The first words of the front end: 0, 1 and 5.
void StartFrontEnd(const FrontEndRange& range, int32_t camera);

// Larch and SEP: front ends behind select lines; sensor 2005 has two. The same
// words go to each.
void StartFrontEnds(const FrontEndRange& range, int32_t camera);
int32_t SetFrontEndsGain(const FrontEndRange& range, int32_t camera);
