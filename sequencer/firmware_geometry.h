// The geometry of a readout for cameras whose firmware makes the clock patterns
// itself, so that BuildWave has no file to write.
#pragma once
#include <cstdint>

#include "sequencer/builders/builders.h"

// What BuildWave is given; x, y and width are in binned pixels.
struct ReadoutGeometry {
    uint32_t x, y, width, hbin;
    int32_t vbin;
};

// The binning of the last build. There is one pair for all cameras of this kind:
// a build for one overwrites that of another, as their drivers always had it.
extern int32_t FirmwareHorBinning;
extern int32_t FirmwareVerBinning;
void KeepFirmwareBinning(uint32_t hbin, int32_t vbin);

// BuildWave of platforms 48 and 400: keeps the binning, and touches neither the
// camera nor LastError.
WaveBuilder StoreBinning;

// Platforms 300 and 450: the command that BuildWave sends.
inline constexpr int32_t GeometryCommandBytes = 24;
void ComposeGeometryCommand(const ReadoutGeometry& geometry, int32_t camera, uint8_t* command);

// Platform 29: the parameters that BuildWave writes, in order. The pixel rate is
// the last of them, and left out if the camera has no such rate. Returns how many.
struct GeometryParameter {
    int32_t number;
    uint16_t value;
};
inline constexpr int32_t GeometryParameters = 12;
int32_t ListGeometryParameters(const ReadoutGeometry& geometry, int32_t camera,
                               GeometryParameter* parameters);
