#include "supervisor/duration.h"

#include <algorithm>

#include "supervisor/pattern.h"
#include "supervisor/work.h"

namespace {

constexpr int32_t Any = -1;

// What a link needs for a pixel, and to take a word of the pattern: microseconds.
struct LinkPace {
    int32_t interfaceType;
    int32_t platform;
    double pixelUs;
    double wordUs;
};

// The port interfaces read a pixel by five and three port accesses of 1.2 microseconds; writes
// of the bus have pauses of 10 microseconds. Without DMA the card is asked for each pixel, in
// rounds of 10 microseconds, or polls, and a few cycles. USB carries 30 bytes a microsecond at
// its best and half of one with small packets. The first row that fits counts.
constexpr LinkPace LinkPaces[] = {
    {QV_INTERFACE_PRINTER_PORT, Any, 6.0, 8.0}, {QV_INTERFACE_PORT_CARD, Any, 3.6, 8.0},
    {QV_INTERFACE_PCI_CARD, 22, 13.0, 25.0},    {QV_INTERFACE_PCI_CARD, 23, 13.0, 25.0},
    {QV_INTERFACE_PCI_CARD, 60, 8.0, 25.0},     {QV_INTERFACE_PCI_CARD, 80, 13.0, 25.0},
    {QV_INTERFACE_USB, Any, 0.1, 0.5},          {Any, Any, 0.1, 25.0},
};

constexpr double SequenceMs = 5.0; // a section is set up
constexpr double CallMs = 20.0;    // what a readout takes beside its pixels
constexpr double LoadMs = 50.0;
constexpr double DemoClearMs = 180.0;
constexpr double FirmwareClearMs = 200.0; // of a camera that clears by itself
constexpr int32_t CountedBinnings = 4;

LinkPace PaceOf(const Slot& slot)
{
    const CameraConfig& config = slot.open.Config;
    const LinkPace* row = LinkPaces;
    while ((row->interfaceType != Any && row->interfaceType != config.InterfaceType) ||
           (row->platform != Any && row->platform != config.Platform)) {
        ++row;
    }
    return *row;
}

bool IsDemo(const Slot& slot)
{
    return slot.open.Config.Platform == QV_PLATFORM_DEMO;
}

double Ms(double milliseconds)
{
    return milliseconds / 1000.0;
}

double SettlingSeconds(const Slot& slot)
{
    const CameraConfig& config = slot.open.Config;
    if (config.ShutterHisteresys >= 0) return Ms(config.ShutterHisteresys);
    return config.Platform == 60 || config.Platform == 61 ? 0.1 : 0.01;
}

// Of a section of the pattern, played once.
double SectionSeconds(const Slot& slot, PatternSection section)
{
    return slot.pattern.length[section] * slot.platform.SamplingClock[0] / 1e6;
}

int32_t DummyLines(const Slot& slot, int32_t vbin)
{
    return vbin >= 1 && vbin <= CountedBinnings ? slot.ccd.Dummy[vbin - 1] : 1;
}

double RegisterSeconds(const Slot& slot)
{
    return std::max<int32_t>(slot.ccd.HorRegSize, 0) * SectionSeconds(slot, PixelPart) +
           Ms(SequenceMs);
}

double ClearSeconds(const Slot& slot)
{
    if (IsDemo(slot)) return Ms(DemoClearMs);
    if (!slot.pattern.known) return Ms(FirmwareClearMs);
    const int32_t rows = slot.ccd.Ypix + slot.ccd.Dummy[0];
    return rows * SectionSeconds(slot, RowPart) + Ms(SequenceMs) + 2.0 * RegisterSeconds(slot);
}

// A window with another binning is loaded behind the full frame with it.
double LoadSeconds(const Slot& slot, const Geometry& geometry)
{
    if (IsDemo(slot) || !HasPattern(slot)) return 0.0;
    const bool bins = geometry.hbin != slot.built.hbin || geometry.vbin != slot.built.vbin;
    const double once = slot.pattern.words * PaceOf(slot).wordUs / 1e6 + Ms(LoadMs);
    return bins && geometry.isWindow ? 2.0 * once : once;
}

// The line that is loaded may be of another length than the one that is wanted.
double LineSeconds(const Slot& slot, const Geometry& geometry)
{
    const int32_t width = DeliveredWidth(slot, geometry);
    const double pixels = width * PaceOf(slot).pixelUs / 1e6;
    double clocked = width * slot.platform.SamplingClock[0] / 1e6;
    if (slot.pattern.known) clocked = SectionSeconds(slot, LinePart);
    return std::max(clocked, pixels);
}

double ReadoutSeconds(const Slot& slot, const Geometry& geometry)
{
    if (IsDemo(slot)) return Ms(CallMs);
    const int32_t height = DeliveredHeight(slot, geometry);
    const int32_t dummy = DummyLines(slot, geometry.vbin);
    const double line = LineSeconds(slot, geometry);
    if (!geometry.isWindow) return (height + dummy) * line + Ms(CallMs);
    const double skipped = (geometry.y * geometry.vbin + dummy) * SectionSeconds(slot, RowPart);
    return skipped + RegisterSeconds(slot) + height * line + Ms(CallMs);
}

// On Tarn short exposures are waited for once more behind the counter.
double ExposureSeconds(const Slot& slot, const QvnsExposure& exposure)
{
    constexpr double LongestShort = 0.5;
    const bool twice = AwaitsCounter(slot, exposure) && exposure.Seconds <= LongestShort;
    return exposure.Seconds * (twice ? 2.0 : 1.0) + SettlingSeconds(slot);
}

// Of definitions that are nonsense comes nonsense, or no number.
double Sensible(double seconds)
{
    constexpr double Longest = 1e5;
    return seconds >= 0.0 ? std::min(seconds, Longest) : 0.0;
}

// Platforms 300 and 450 write three behind the last one of the frame.
constexpr uint64_t PixelsBehind = 4;

} // namespace

bool AwaitsCounter(const Slot& slot, const QvnsExposure& exposure)
{
    const int32_t platform = slot.open.Config.Platform;
    const bool isTarn = platform == 22 || platform == 23 || platform == 24;
    return isTarn && exposure.Light != 0 && !HasOption(slot, QV_OPTION_EXTERNAL_EXPOSURE);
}

Geometry WantedGeometry(const Slot& slot, const QvnsExposure& exposure)
{
    const bool isWindow = exposure.Width != 0 || exposure.Height != 0;
    const bool bins = exposure.HorBinning != 0;
    Geometry wanted = {isWindow,
                       0,
                       0,
                       0,
                       0,
                       bins ? exposure.HorBinning : slot.hbin,
                       bins ? exposure.VerBinning : slot.vbin};
    if (!isWindow) return wanted;
    wanted.x = exposure.X;
    wanted.y = exposure.Y;
    wanted.width = exposure.Width;
    wanted.height = exposure.Height;
    return wanted;
}

bool IsBuilt(const Slot& slot, const Geometry& geometry)
{
    const Geometry& built = slot.built;
    if (built.hbin != geometry.hbin || built.vbin != geometry.vbin) return false;
    if (!geometry.isWindow || !built.isWindow) return geometry.isWindow == built.isWindow;
    return built.x == geometry.x && built.y == geometry.y && built.width == geometry.width &&
           built.height == geometry.height;
}

int32_t DeliveredWidth(const Slot& slot, const Geometry& geometry)
{
    return (geometry.isWindow ? geometry.width : slot.ccd.Xpix / geometry.hbin) & ~1;
}

int32_t DeliveredHeight(const Slot& slot, const Geometry& geometry)
{
    return geometry.isWindow ? geometry.height : slot.ccd.Ypix / geometry.vbin;
}

uint64_t BufferPixels(const Slot& slot, const Geometry& geometry)
{
    const auto width = static_cast<uint64_t>(std::max(DeliveredWidth(slot, geometry), 0));
    return width * static_cast<uint64_t>(std::max(DeliveredHeight(slot, geometry), 0)) +
           PixelsBehind;
}

bool LeavesRows(const Slot& slot, const Geometry& geometry)
{
    if (geometry.isWindow) return true;
    if (!HasPattern(slot)) return false;
    const int64_t lines =
        int64_t{DeliveredHeight(slot, geometry)} + DummyLines(slot, geometry.vbin);
    return lines * geometry.vbin < int64_t{slot.ccd.Ypix} + slot.ccd.Dummy[0];
}

QvnsDuration ExpectedDuration(const Slot& slot, const QvnsExposure& exposure)
{
    const Geometry geometry = WantedGeometry(slot, exposure);
    QvnsDuration duration = {};
    if (NeedsClear(slot)) duration.Clear = Sensible(ClearSeconds(slot));
    if (!IsBuilt(slot, geometry)) duration.Load = Sensible(LoadSeconds(slot, geometry));
    duration.Exposure = ExposureSeconds(slot, exposure);
    duration.Readout = Sensible(ReadoutSeconds(slot, geometry));
    duration.Total = duration.Clear + duration.Load + duration.Exposure + duration.Readout;
    duration.Patience = LongestSeconds(slot, QVNS_WORK_READ, duration.Total) - duration.Total;
    return duration;
}
