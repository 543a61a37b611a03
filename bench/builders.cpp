#include "bench/builders.h"

#include "core/binding.h"
#include "sequencer/builders/builders.h"

#define BUILDER(name, format)                                                                      \
    {                                                                                              \
        name, #name, &(format)                                                                     \
    }

// clang-format off
const BenchBuilder BenchBuilders[] = {
    BUILDER(BuildWaveBriar,              OwnBytes),
    BUILDER(BuildWaveHeron,              OwnBytes),
    BUILDER(BuildWaveHeronPlus,          SharedBytes32768),
    BUILDER(BuildWaveLarchCcd4240,       OwnWords32767),
    BUILDER(BuildWaveLarchKaf,           OwnWords),
    BUILDER(BuildWaveLarchKaf4300,       OwnWords),
    BUILDER(BuildWaveOspreyCcd3011,      OwnWords65535),
    BUILDER(BuildWaveOspreyCcd4710,      SharedWords65536),
    BUILDER(BuildWaveOspreyKaf,          SharedWords32768),
    BUILDER(BuildWaveOspreyPlusCcd3011b, SharedWords65536),
    BUILDER(BuildWaveOspreyPlusCcd4710,  SharedWords65536),
    BUILDER(BuildWaveOspreyPlusCcd55,    SharedWords65536),
    BUILDER(BuildWaveOspreyPlusKaf,      SharedWords65536),
    BUILDER(BuildWaveR3,                 OwnBytes),
    BUILDER(BuildWaveR3Plus,             OwnBytes),
    BUILDER(BuildWaveSepCcd442,          OwnWords65535),
    BUILDER(BuildWaveSepCcd485,          OwnWords65535),
    BUILDER(BuildWaveSite,               OwnWords32767),
    BUILDER(BuildWaveTarn3Kaf,           OwnBytes),
    BUILDER(BuildWaveTarn4Ccd,           OwnWords32767),
    BUILDER(BuildWaveTarn4Ccd3011b,      OwnWords32767),
    BUILDER(BuildWaveTarn4Ccd4210,       OwnWords32767),
    BUILDER(BuildWaveTarn4Ccd442,        OwnWords65535),
    BUILDER(BuildWaveTarn4Kaf,           OwnBytes),
    BUILDER(BuildWaveTarn4pCcd4240,      OwnWords65535),
    BUILDER(BuildWaveTarn4pCcd4710,      OwnWords65535),
    BUILDER(BuildWaveTarn4pCcd4720,      OwnWords65535),
    BUILDER(BuildWaveTarn4pKaf,          OwnWords),
    BUILDER(BuildWaveTarn4pKaf16800,     OwnWords),
    BUILDER(BuildWaveTarn5,              SharedWords32768),
    BUILDER(BuildWaveTarn5Ccd,           SharedWords65536),
    BUILDER(BuildWaveTarn5Ccd442,        SharedWords65536),
    {},
};
// clang-format on

const BenchBuilder* FindBenchBuilder(int32_t platform, int32_t sensor, int32_t interfaceType)
{
    const BuilderRow* row = FindBuilder(platform, sensor, interfaceType);
    if (row == nullptr) return nullptr;
    for (const BenchBuilder* builder = BenchBuilders; builder->build != nullptr; ++builder) {
        if (builder->build == row->build) return builder;
    }
    return nullptr;
}
