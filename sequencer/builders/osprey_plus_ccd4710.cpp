// OSPREY_Plus (platform 205) with the ccd47-10: the pattern of OSPREY with two
// longer holds.
#include "sequencer/builders/builders.h"
#include "sequencer/builders/osprey_ccd4710.h"
#include "sequencer/wave_engine.h"

void BuildWaveOspreyPlusCcd4710(const char* path, uint32_t x, uint32_t /*y*/, uint32_t width,
                                uint32_t hbin, int32_t vbin, uint32_t /*waveOption*/,
                                uint32_t extraCount, int32_t camera)
{
    WriteWave(OspreyCcd4710Program(2, camera), {path, x, width, hbin, vbin, extraCount, camera});
}
