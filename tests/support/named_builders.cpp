#include "tests/support/named_builders.h"

#define NAMED(builder, strobe)                                                                     \
    {                                                                                              \
#builder, builder, Strobe::strobe                                                          \
    }

// clang-format off
const NamedBuilder NamedBuilders[BuilderCount] = {
    NAMED(BuildWaveBriar,              Position),
    NAMED(BuildWaveHeron,              Bin),
    NAMED(BuildWaveHeronPlus,          Bin),
    NAMED(BuildWaveLarchCcd4240,       Bin),
    NAMED(BuildWaveLarchKaf,           Position),
    NAMED(BuildWaveLarchKaf4300,       Position),
    NAMED(BuildWaveOspreyCcd3011,      LastColumn),
    NAMED(BuildWaveOspreyCcd4710,      Bin),
    NAMED(BuildWaveOspreyKaf,          Bin),
    NAMED(BuildWaveOspreyPlusCcd3011b, Bin),
    NAMED(BuildWaveOspreyPlusCcd4710,  Bin),
    NAMED(BuildWaveOspreyPlusCcd55,    FirstColumn),
    NAMED(BuildWaveOspreyPlusKaf,      Bin),
    NAMED(BuildWaveR3,                 Bin),
    NAMED(BuildWaveR3Plus,             Bin),
    NAMED(BuildWaveSepCcd442,          Position),
    NAMED(BuildWaveSepCcd485,          Position),
    NAMED(BuildWaveSite,               Bin),
    NAMED(BuildWaveTarn3Kaf,           Position),
    NAMED(BuildWaveTarn4Ccd,           Bin),
    NAMED(BuildWaveTarn4Ccd3011b,      Bin),
    NAMED(BuildWaveTarn4Ccd4210,       Bin),
    NAMED(BuildWaveTarn4Ccd442,        Position),
    NAMED(BuildWaveTarn4Kaf,           Bin),
    NAMED(BuildWaveTarn4pCcd4240,      Bin),
    NAMED(BuildWaveTarn4pCcd4710,      Bin),
    NAMED(BuildWaveTarn4pCcd4720,      Bin),
    NAMED(BuildWaveTarn4pKaf,          Bin),
    NAMED(BuildWaveTarn4pKaf16800,     Bin),
    NAMED(BuildWaveTarn5,              Bin),
    NAMED(BuildWaveTarn5Ccd,           FirstColumn),
    NAMED(BuildWaveTarn5Ccd442,        FirstColumn),
};
// clang-format on

const NamedBuilder* FindNamedBuilder(WaveBuilder* build)
{
    for (const NamedBuilder& named : NamedBuilders) {
        if (named.build == build) return &named;
    }
    return nullptr;
}
