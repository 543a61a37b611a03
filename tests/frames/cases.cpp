// Every builder with the platforms and sensors whose patterns differ.
#include "tests/frames/frames.h"

namespace {

void SetDnr(CameraRecord* record)
{
    record->DnrMode = 1;
}

void SetVariant(CameraRecord* record)
{
    record->CameraVariant = 1;
}

template <int32_t Output, int32_t Technology, int32_t BackFront> void SetCcd(CameraRecord* record)
{
    record->Config.CcdOutput = Output;
    record->Config.CcdTechnology = Technology;
    record->Config.CcdBackFront = BackFront;
}

} // namespace

// clang-format off
const std::vector<FrameCase> FrameCases = {
    {BuildWaveR3,                 44,  250},
    {BuildWaveR3,                 44,  255},
    {BuildWaveR3,                 44,  279},
    {BuildWaveR3Plus,             47,  250},
    {BuildWaveR3Plus,             47,  255, "Dnr", SetDnr},
    {BuildWaveR3Plus,             47,  279},
    {BuildWaveHeron,              60,  250},
    {BuildWaveHeron,              60,  255},
    {BuildWaveHeronPlus,          61,  250},
    {BuildWaveHeronPlus,          61,  255},
    {BuildWaveTarn4Kaf,           24,  250},
    {BuildWaveTarn4Kaf,           24,  255},
    {BuildWaveTarn4Kaf,           24,  260},
    {BuildWaveTarn4Kaf,           24,  270},
    {BuildWaveTarn4Kaf,           24,  275},
    {BuildWaveTarn4pKaf,          25,  250},
    {BuildWaveTarn4pKaf,          25,  255},
    {BuildWaveTarn4pKaf,          25,  260},
    {BuildWaveTarn4pKaf,          25,  270},
    {BuildWaveTarn4pKaf,          25,  275},
    {BuildWaveTarn4pKaf,          25,  279},
    {BuildWaveTarn4pKaf,          25,  285},
    {BuildWaveTarn4pKaf16800,     25,  290},
    {BuildWaveOspreyKaf,          200, 250},
    {BuildWaveOspreyKaf,          200, 255},
    {BuildWaveOspreyKaf,          200, 255, "Variant", SetVariant},
    {BuildWaveOspreyKaf,          200, 260},
    {BuildWaveOspreyKaf,          200, 260, "Variant", SetVariant},
    {BuildWaveOspreyPlusKaf,      205, 250},
    {BuildWaveOspreyPlusKaf,      205, 255},
    {BuildWaveOspreyPlusKaf,      205, 260},
    {BuildWaveOspreyPlusKaf,      205, 270},
    {BuildWaveOspreyPlusKaf,      205, 275},
    {BuildWaveOspreyPlusKaf,      205, 279},
    {BuildWaveOspreyPlusKaf,      205, 281},
    {BuildWaveOspreyPlusKaf,      205, 286},
    {BuildWaveOspreyPlusKaf,      205, 287},
    {BuildWaveOspreyPlusKaf,      205, 290},
    {BuildWaveTarn5,              28,  255},
    {BuildWaveTarn5,              28,  290},
    {BuildWaveOspreyCcd4710,      200, 125},
    {BuildWaveOspreyPlusCcd4710,  205, 125},
    {BuildWaveOspreyPlusCcd3011b, 205, 133},
    {BuildWaveTarn4Ccd,           24,  120},
    {BuildWaveTarn4Ccd,           24,  121},
    {BuildWaveTarn4Ccd,           24,  125},
    {BuildWaveTarn4Ccd,           24,  128},
    {BuildWaveTarn4Ccd,           24,  133},
    {BuildWaveTarn4Ccd3011b,      24,  133},
    {BuildWaveTarn4Ccd4210,       24,  122},
    {BuildWaveTarn4pCcd4240,      25,  123},
    {BuildWaveTarn4pCcd4710,      25,  125},
    {BuildWaveTarn4pCcd4720,      25,  128},
    {BuildWaveLarchCcd4240,       30,  123},
    {BuildWaveSite,               22,  300, "Output0", SetCcd<0, 1, 1>},
    {BuildWaveSite,               23,  305, "Output1", SetCcd<1, 1, 0>},
    {BuildWaveSite,               24,  310, "Output2", SetCcd<2, 0, 1>},
    {BuildWaveSite,               24,  300, "Output3", SetCcd<3, 0, 0>},
    {BuildWaveTarn5Ccd,           28,  120},
    {BuildWaveTarn5Ccd,           28,  125},
    {BuildWaveTarn5Ccd,           28,  133},
    {BuildWaveTarn5Ccd442,        28,  2000},
    {BuildWaveOspreyPlusCcd55,    205, 134},
    {BuildWaveOspreyPlusCcd55,    205, 135},
    {BuildWaveOspreyCcd3011,      200, 120},
    {BuildWaveOspreyCcd3011,      205, 120},
    {BuildWaveBriar,              40,  250},
    {BuildWaveBriar,              41,  255},
    {BuildWaveBriar,              42,  260},
    {BuildWaveTarn3Kaf,           22,  250},
    {BuildWaveTarn3Kaf,           22,  255},
    {BuildWaveTarn3Kaf,           22,  260},
    {BuildWaveTarn3Kaf,           22,  270},
    {BuildWaveTarn3Kaf,           22,  275},
    {BuildWaveTarn3Kaf,           23,  250},
    {BuildWaveTarn3Kaf,           23,  255},
    {BuildWaveTarn3Kaf,           23,  260},
    {BuildWaveTarn3Kaf,           23,  270},
    {BuildWaveTarn3Kaf,           23,  275},
    {BuildWaveLarchKaf,           30,  250},
    {BuildWaveLarchKaf,           30,  255},
    {BuildWaveLarchKaf,           30,  260},
    {BuildWaveLarchKaf,           30,  270},
    {BuildWaveLarchKaf,           30,  275},
    {BuildWaveLarchKaf4300,       30,  281},
    {BuildWaveTarn4Ccd442,        24,  2000},
    {BuildWaveSepCcd442,          80,  2000},
    {BuildWaveSepCcd442,          80,  2001},
    {BuildWaveSepCcd485,          80,  2005},
};
// clang-format on
