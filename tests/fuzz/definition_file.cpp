// Any bytes as qvn.cfg: loaded, saved, and loaded again.
#include "catalogue/definition_file.h"

#include <cmath>
#include <cstring>

#include "core/record.h"
#include "tests/fuzz/one_file.h"

namespace {

constexpr int32_t Camera = 0;
constexpr int32_t Platform = 44;
constexpr int32_t Sensor = 275;

// Floats are saved with 15 digits.
bool Near(double a, double b)
{
    return std::fabs(a - b) <= std::fabs(a) * 1e-14 || std::fabs(a - b) < 1e-300;
}

bool SameSensor(const CcdDefinition& a, const CcdDefinition& b)
{
    return memcmp(&a, &b, offsetof(CcdDefinition, XpixDim)) == 0 && Near(a.XpixDim, b.XpixDim) &&
           Near(a.YpixDim, b.YpixDim) && Near(a.Xarea, b.Xarea) && Near(a.Yarea, b.Yarea) &&
           Near(a.FWC, b.FWC) && Near(a.CCF, b.CCF);
}

bool SamePlatform(const PlatformDefinition& a, const PlatformDefinition& b)
{
    for (int32_t i = 0; i < 4; ++i) {
        if (!Near(a.Gain[i], b.Gain[i])) return false;
    }
    return a.ADbit == b.ADbit && a.FpgaId == b.FpgaId && a.NumberOfGains == b.NumberOfGains &&
           a.VerticalPhasePeriod == b.VerticalPhasePeriod &&
           a.AntiBloomingTimer == b.AntiBloomingTimer && Near(a.TimeBase, b.TimeBase) &&
           Near(a.AmplifierDelay, b.AmplifierDelay) && Near(a.ADclock, b.ADclock) &&
           Near(a.SamplingClock[0], b.SamplingClock[0]) &&
           Near(a.SamplingClock[1], b.SamplingClock[1]);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t bytes)
{
    CameraRecord& record = CameraTable[Camera];
    WriteOneFile("qvn.cfg", data, bytes);
    const int64_t status = LoadCCD(Sensor, Camera);
    Require(status == 0 || status == 2);
    Require(LoadPlatform(Platform, Sensor, Camera) == status);

    char name[64];
    int32_t xpix, ypix;
    const int32_t demo = ReadDemoDefinition(name, sizeof name, &xpix, &ypix);
    Require(demo == 0 || demo == 2);
    if (status != 0) return 0;

    // Values that whole numbers cannot hold, so that arrays of integers change.
    record.Platform.Gain[1] = 2.5;
    record.Platform.SamplingClock[0] = 0.125;
    const CcdDefinition ccd = record.Ccd;
    const PlatformDefinition platform = record.Platform;
    const int64_t savedCcd = SaveCCD(Sensor, Camera);
    const int64_t savedPlatform = SavePlatform(Platform, Sensor, Camera);
    Require(savedCcd == 0 || savedCcd == 2);
    Require(savedPlatform == 0 || savedPlatform == 2);
    Require(LoadCCD(Sensor, Camera) == 0);
    Require(LoadPlatform(Platform, Sensor, Camera) == 0);
    Require(savedCcd != 0 || SameSensor(record.Ccd, ccd));
    Require(savedPlatform != 0 || SamePlatform(record.Platform, platform));
    return 0;
}
