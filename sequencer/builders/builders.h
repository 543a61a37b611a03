// Every waveform builder but those of sequencer/firmware_geometry.h. x and width
// are in binned pixels; y and waveOption are not used.
#pragma once
#include <cstdint>

using WaveBuilder = void(const char* path, uint32_t x, uint32_t y, uint32_t width, uint32_t hbin,
                         int32_t vbin, uint32_t waveOption, uint32_t extraCount, int32_t camera);

// Each writes the pattern of a full sensor or a window to `path` and stores the
// sections' places in SequenceTable; LastError tells the result.
WaveBuilder BuildWaveBriar;
WaveBuilder BuildWaveHeron;
WaveBuilder BuildWaveHeronPlus;
WaveBuilder BuildWaveLarchCcd4240;
WaveBuilder BuildWaveLarchKaf;
WaveBuilder BuildWaveLarchKaf4300;
WaveBuilder BuildWaveOspreyCcd3011;
WaveBuilder BuildWaveOspreyCcd4710;
WaveBuilder BuildWaveOspreyKaf;
WaveBuilder BuildWaveOspreyPlusCcd3011b;
WaveBuilder BuildWaveOspreyPlusCcd4710;
WaveBuilder BuildWaveOspreyPlusCcd55;
WaveBuilder BuildWaveOspreyPlusKaf;
WaveBuilder BuildWaveR3;
WaveBuilder BuildWaveR3Plus;
WaveBuilder BuildWaveSepCcd442;
WaveBuilder BuildWaveSepCcd485;
WaveBuilder BuildWaveSite;
WaveBuilder BuildWaveTarn3Kaf;
WaveBuilder BuildWaveTarn4Ccd;
WaveBuilder BuildWaveTarn4Ccd3011b;
WaveBuilder BuildWaveTarn4Ccd4210;
WaveBuilder BuildWaveTarn4Ccd442;
WaveBuilder BuildWaveTarn4Kaf;
WaveBuilder BuildWaveTarn4pCcd4240;
WaveBuilder BuildWaveTarn4pCcd4710;
WaveBuilder BuildWaveTarn4pCcd4720;
WaveBuilder BuildWaveTarn4pKaf;
WaveBuilder BuildWaveTarn4pKaf16800;
WaveBuilder BuildWaveTarn5;
WaveBuilder BuildWaveTarn5Ccd;
WaveBuilder BuildWaveTarn5Ccd442;

// Writes no file: tells the camera the counters of the window in force, or of the
// full sensor. LastError becomes 0.
WaveBuilder BuildWaveUnod;
