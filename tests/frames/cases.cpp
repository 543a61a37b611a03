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
    {"R3",                 BuildWaveR3,                 44,  250,  Strobe::Bin},
    {"R3",                 BuildWaveR3,                 44,  255,  Strobe::Bin},
    {"R3",                 BuildWaveR3,                 44,  279,  Strobe::Bin},
    {"R3Plus",             BuildWaveR3Plus,             47,  250,  Strobe::Bin},
    {"R3Plus",             BuildWaveR3Plus,             47,  255,  Strobe::Bin, "Dnr", SetDnr},
    {"R3Plus",             BuildWaveR3Plus,             47,  279,  Strobe::Bin},
    {"Heron",              BuildWaveHeron,              60,  250,  Strobe::Bin},
    {"Heron",              BuildWaveHeron,              60,  255,  Strobe::Bin},
    {"HeronPlus",          BuildWaveHeronPlus,          61,  250,  Strobe::Bin},
    {"HeronPlus",          BuildWaveHeronPlus,          61,  255,  Strobe::Bin},
    {"Tarn4Kaf",           BuildWaveTarn4Kaf,           24,  250,  Strobe::Bin},
    {"Tarn4Kaf",           BuildWaveTarn4Kaf,           24,  255,  Strobe::Bin},
    {"Tarn4Kaf",           BuildWaveTarn4Kaf,           24,  260,  Strobe::Bin},
    {"Tarn4Kaf",           BuildWaveTarn4Kaf,           24,  270,  Strobe::Bin},
    {"Tarn4Kaf",           BuildWaveTarn4Kaf,           24,  275,  Strobe::Bin},
    {"Tarn4pKaf",          BuildWaveTarn4pKaf,          25,  250,  Strobe::Bin},
    {"Tarn4pKaf",          BuildWaveTarn4pKaf,          25,  255,  Strobe::Bin},
    {"Tarn4pKaf",          BuildWaveTarn4pKaf,          25,  260,  Strobe::Bin},
    {"Tarn4pKaf",          BuildWaveTarn4pKaf,          25,  270,  Strobe::Bin},
    {"Tarn4pKaf",          BuildWaveTarn4pKaf,          25,  275,  Strobe::Bin},
    {"Tarn4pKaf",          BuildWaveTarn4pKaf,          25,  279,  Strobe::Bin},
    {"Tarn4pKaf",          BuildWaveTarn4pKaf,          25,  285,  Strobe::Bin},
    {"Tarn4pKaf16800",     BuildWaveTarn4pKaf16800,     25,  290,  Strobe::Bin},
    {"OspreyKaf",          BuildWaveOspreyKaf,          200, 250,  Strobe::Bin},
    {"OspreyKaf",          BuildWaveOspreyKaf,          200, 255,  Strobe::Bin},
    {"OspreyKaf",          BuildWaveOspreyKaf,          200, 255,  Strobe::Bin, "Variant", SetVariant},
    {"OspreyKaf",          BuildWaveOspreyKaf,          200, 260,  Strobe::Bin},
    {"OspreyKaf",          BuildWaveOspreyKaf,          200, 260,  Strobe::Bin, "Variant", SetVariant},
    {"OspreyPlusKaf",      BuildWaveOspreyPlusKaf,      205, 250,  Strobe::Bin},
    {"OspreyPlusKaf",      BuildWaveOspreyPlusKaf,      205, 255,  Strobe::Bin},
    {"OspreyPlusKaf",      BuildWaveOspreyPlusKaf,      205, 260,  Strobe::Bin},
    {"OspreyPlusKaf",      BuildWaveOspreyPlusKaf,      205, 270,  Strobe::Bin},
    {"OspreyPlusKaf",      BuildWaveOspreyPlusKaf,      205, 275,  Strobe::Bin},
    {"OspreyPlusKaf",      BuildWaveOspreyPlusKaf,      205, 279,  Strobe::Bin},
    {"OspreyPlusKaf",      BuildWaveOspreyPlusKaf,      205, 281,  Strobe::Bin},
    {"OspreyPlusKaf",      BuildWaveOspreyPlusKaf,      205, 286,  Strobe::Bin},
    {"OspreyPlusKaf",      BuildWaveOspreyPlusKaf,      205, 287,  Strobe::Bin},
    {"OspreyPlusKaf",      BuildWaveOspreyPlusKaf,      205, 290,  Strobe::Bin},
    {"Tarn5",              BuildWaveTarn5,              28,  255,  Strobe::Bin},
    {"Tarn5",              BuildWaveTarn5,              28,  290,  Strobe::Bin},
    {"OspreyCcd4710",      BuildWaveOspreyCcd4710,      200, 125,  Strobe::Bin},
    {"OspreyPlusCcd4710",  BuildWaveOspreyPlusCcd4710,  205, 125,  Strobe::Bin},
    {"OspreyPlusCcd3011b", BuildWaveOspreyPlusCcd3011b, 205, 133,  Strobe::Bin},
    {"Tarn4Ccd",           BuildWaveTarn4Ccd,           24,  120,  Strobe::Bin},
    {"Tarn4Ccd",           BuildWaveTarn4Ccd,           24,  121,  Strobe::Bin},
    {"Tarn4Ccd",           BuildWaveTarn4Ccd,           24,  125,  Strobe::Bin},
    {"Tarn4Ccd",           BuildWaveTarn4Ccd,           24,  128,  Strobe::Bin},
    {"Tarn4Ccd",           BuildWaveTarn4Ccd,           24,  133,  Strobe::Bin},
    {"Tarn4Ccd3011b",      BuildWaveTarn4Ccd3011b,      24,  133,  Strobe::Bin},
    {"Tarn4Ccd4210",       BuildWaveTarn4Ccd4210,       24,  122,  Strobe::Bin},
    {"Tarn4pCcd4240",      BuildWaveTarn4pCcd4240,      25,  123,  Strobe::Bin},
    {"Tarn4pCcd4710",      BuildWaveTarn4pCcd4710,      25,  125,  Strobe::Bin},
    {"Tarn4pCcd4720",      BuildWaveTarn4pCcd4720,      25,  128,  Strobe::Bin},
    {"LarchCcd4240",       BuildWaveLarchCcd4240,       30,  123,  Strobe::Bin},
    {"Site",               BuildWaveSite,               22,  300,  Strobe::Bin, "Output0", SetCcd<0, 1, 1>},
    {"Site",               BuildWaveSite,               23,  305,  Strobe::Bin, "Output1", SetCcd<1, 1, 0>},
    {"Site",               BuildWaveSite,               24,  310,  Strobe::Bin, "Output2", SetCcd<2, 0, 1>},
    {"Site",               BuildWaveSite,               24,  300,  Strobe::Bin, "Output3", SetCcd<3, 0, 0>},
    {"Tarn5Ccd",           BuildWaveTarn5Ccd,           28,  120,  Strobe::FirstColumn},
    {"Tarn5Ccd",           BuildWaveTarn5Ccd,           28,  125,  Strobe::FirstColumn},
    {"Tarn5Ccd",           BuildWaveTarn5Ccd,           28,  133,  Strobe::FirstColumn},
    {"Tarn5Ccd442",        BuildWaveTarn5Ccd442,        28,  2000, Strobe::FirstColumn},
    {"OspreyPlusCcd55",    BuildWaveOspreyPlusCcd55,    205, 134,  Strobe::FirstColumn},
    {"OspreyPlusCcd55",    BuildWaveOspreyPlusCcd55,    205, 135,  Strobe::FirstColumn},
    {"OspreyCcd3011",      BuildWaveOspreyCcd3011,      200, 120,  Strobe::LastColumn},
    {"OspreyCcd3011",      BuildWaveOspreyCcd3011,      205, 120,  Strobe::LastColumn},
    {"Briar",              BuildWaveBriar,              40,  250,  Strobe::Position},
    {"Briar",              BuildWaveBriar,              41,  255,  Strobe::Position},
    {"Briar",              BuildWaveBriar,              42,  260,  Strobe::Position},
    {"Tarn3Kaf",           BuildWaveTarn3Kaf,           22,  250,  Strobe::Position},
    {"Tarn3Kaf",           BuildWaveTarn3Kaf,           22,  255,  Strobe::Position},
    {"Tarn3Kaf",           BuildWaveTarn3Kaf,           22,  260,  Strobe::Position},
    {"Tarn3Kaf",           BuildWaveTarn3Kaf,           22,  270,  Strobe::Position},
    {"Tarn3Kaf",           BuildWaveTarn3Kaf,           22,  275,  Strobe::Position},
    {"Tarn3Kaf",           BuildWaveTarn3Kaf,           23,  250,  Strobe::Position},
    {"Tarn3Kaf",           BuildWaveTarn3Kaf,           23,  255,  Strobe::Position},
    {"Tarn3Kaf",           BuildWaveTarn3Kaf,           23,  260,  Strobe::Position},
    {"Tarn3Kaf",           BuildWaveTarn3Kaf,           23,  270,  Strobe::Position},
    {"Tarn3Kaf",           BuildWaveTarn3Kaf,           23,  275,  Strobe::Position},
    {"LarchKaf",           BuildWaveLarchKaf,           30,  250,  Strobe::Position},
    {"LarchKaf",           BuildWaveLarchKaf,           30,  255,  Strobe::Position},
    {"LarchKaf",           BuildWaveLarchKaf,           30,  260,  Strobe::Position},
    {"LarchKaf",           BuildWaveLarchKaf,           30,  270,  Strobe::Position},
    {"LarchKaf",           BuildWaveLarchKaf,           30,  275,  Strobe::Position},
    {"LarchKaf4300",       BuildWaveLarchKaf4300,       30,  281,  Strobe::Position},
    {"Tarn4Ccd442",        BuildWaveTarn4Ccd442,        24,  2000, Strobe::Position},
    {"SepCcd442",          BuildWaveSepCcd442,          80,  2000, Strobe::Position},
    {"SepCcd442",          BuildWaveSepCcd442,          80,  2001, Strobe::Position},
    {"SepCcd485",          BuildWaveSepCcd485,          80,  2005, Strobe::Position},
};
// clang-format on
