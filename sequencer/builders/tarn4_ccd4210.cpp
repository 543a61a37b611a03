// Tarn_IV (platform 24) with the ccd42-10: a shorter horizontal part.
#include "sequencer/builders/builders.h"
#include "sequencer/builders/tarn4_ccd.h"
#include "sequencer/wave_engine.h"

void BuildWaveTarn4Ccd4210(const char* path, uint32_t x, uint32_t /*y*/, uint32_t width,
                           uint32_t hbin, int32_t vbin, uint32_t /*waveOption*/,
                           uint32_t extraCount, int32_t camera)
{
    WaveProgram program = Tarn4CcdFrame(8, 16, camera);
    SetShortPixels(8, 16, 4, 3, 2, &program);
    WriteWave(program, {path, x, width, hbin, vbin, extraCount, camera});
}
