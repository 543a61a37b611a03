#include "supervisor/metadata.h"

#include <algorithm>
#include <limits>

#include "supervisor/duration.h"

namespace {

constexpr int32_t TableGains = 4;
constexpr double Unknown = std::numeric_limits<double>::quiet_NaN();

void FillGeometry(const Slot& slot, QvnsMetadata* metadata)
{
    const Geometry& geometry = slot.frame.geometry;
    metadata->X = geometry.x;
    metadata->Y = geometry.y;
    metadata->Width = DeliveredWidth(slot, geometry);
    metadata->Height = DeliveredHeight(slot, geometry);
    metadata->HorBinning = geometry.hbin;
    metadata->VerBinning = geometry.vbin;
}

void FillCooling(const Cooling& cooling, QvnsMetadata* metadata)
{
    const bool rules = cooling.mode != QVNS_COOLING_OFF;
    metadata->CoolerOn = rules || cooling.hostCools ? 1 : 0;
    metadata->TemperatureStart = metadata->TemperatureEnd = LastTemperature(cooling);
    metadata->SetPoint = rules ? cooling.setPoint : Unknown;
    metadata->Power = cooling.readings != 0 ? cooling.power : Unknown;
}

} // namespace

double LastTemperature(const Cooling& cooling)
{
    return cooling.readings != 0 ? cooling.measured : Unknown;
}

void FillMetadata(Slot* slot)
{
    const Frame& frame = slot->frame;
    const int32_t triggered = frame.metadata.Triggered;
    QvnsMetadata& metadata = slot->frame.metadata;
    metadata = {};
    metadata.Triggered = triggered;
    metadata.Frame = frame.number;
    metadata.Camera = slot->camera;
    metadata.Platform = slot->open.Config.Platform;
    metadata.Sensor = slot->open.Config.CCD;
    metadata.Serial = slot->serial;
    metadata.Light = frame.request.Light != 0 ? 1 : 0;
    FillGeometry(*slot, &metadata);
    metadata.Gain = slot->gain;
    const bool listed = slot->gain >= 0 && slot->gain < TableGains;
    if (listed) metadata.GainFactor = slot->platform.Gain[slot->gain];
    metadata.MaxValue = slot->maxValue;
    metadata.CcdOutput = slot->open.Config.CcdOutput;
    metadata.Seconds = frame.request.Seconds;
    FillCooling(slot->cooling, &metadata);
    metadata.Expected = frame.duration.Total;
    metadata.Options = slot->options | Library.GetMode(slot->camera);
    metadata.DefinitionHash = slot->definitionHash;
}

// The pattern may have been loaded since the start.
void CompleteMetadata(Slot* slot)
{
    const Frame& frame = slot->frame;
    QvnsMetadata& metadata = slot->frame.metadata;
    metadata.PatternHash = slot->pattern.hash;
    metadata.Exposed = frame.request.Seconds;
    if (frame.breakUs != 0) {
        metadata.Exposed = std::min(ToSeconds(frame.breakUs - frame.exposeUs), metadata.Seconds);
    }
    const uint64_t now = Seam.NowUs();
    metadata.EndUnix = metadata.StartUnix + ToSeconds(now - frame.exposeUs);
    metadata.Took = ToSeconds(now - frame.startUs);
}
