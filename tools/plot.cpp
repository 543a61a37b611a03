// The course of a cooling as a picture.
#include "tools/plot.h"

#include <algorithm>
#include <cmath>

#include "tools/axis.h"
#include "tools/canvas.h"

namespace {

constexpr int32_t PlotWidth = 1000, PlotHeight = 680;
constexpr double PlotLeft = 110.0, PlotRight = 975.0;
constexpr Colour Ink = {40, 40, 40}, Grid = {220, 220, 220};
constexpr Colour Blue = {31, 99, 180}, Red = {200, 60, 40}, Green = {40, 130, 70};

struct Axis {
    double low, high;
    double step;
};

struct Panel {
    double top, bottom;
    Axis time, value;
};

struct TimeUnit {
    double seconds;
    const char* label;
};

// From one full step to another.
Axis MakeAxis(double low, double high, int32_t count)
{
    const double step = NiceStep(high - low, count);
    return {std::floor(low / step) * step, std::ceil(high / step) * step, step};
}

TimeUnit ChooseTimeUnit(double seconds)
{
    if (seconds <= 600.0) return {1.0, "Time [s]"};
    if (seconds <= 36000.0) return {60.0, "Time [min]"};
    return {3600.0, "Time [h]"};
}

double AcrossOf(const Panel& panel, double time)
{
    const double part = (time - panel.time.low) / (panel.time.high - panel.time.low);
    return PlotLeft + part * (PlotRight - PlotLeft);
}

double DownOf(const Panel& panel, double value)
{
    const double part = (value - panel.value.low) / (panel.value.high - panel.value.low);
    return panel.bottom - part * (panel.bottom - panel.top);
}

void DrawFrame(Canvas* canvas, const Panel& panel, const std::string& label)
{
    const double half = panel.value.step / 2.0;
    for (double value = panel.value.low; value < panel.value.high + half;
         value += panel.value.step) {
        const double y = DownOf(panel, value);
        DrawLine(canvas, {PlotLeft, y}, {PlotRight, y}, Grid, 1.0);
        DrawText(canvas, {PlotLeft - 10.0, y + 6.0}, StepLabel(value, panel.value.step),
                 TextAnchor::Right, Ink);
    }
    for (double time = panel.time.low; time < panel.time.high + panel.time.step / 2.0;
         time += panel.time.step) {
        const double x = AcrossOf(panel, time);
        DrawLine(canvas, {x, panel.top}, {x, panel.bottom}, Grid, 1.0);
    }
    DrawCurve(canvas,
              {{PlotLeft, panel.top},
               {PlotLeft, panel.bottom},
               {PlotRight, panel.bottom},
               {PlotRight, panel.top},
               {PlotLeft, panel.top}},
              Ink, 1.5);
    DrawText(canvas, {30.0, (panel.top + panel.bottom) / 2.0}, label, TextAnchor::Middle, Ink,
             true);
}

void DrawTimeLabels(Canvas* canvas, const Panel& panel, const char* label)
{
    for (double time = panel.time.low; time < panel.time.high + panel.time.step / 2.0;
         time += panel.time.step) {
        DrawText(canvas, {AcrossOf(panel, time), panel.bottom + 24.0},
                 StepLabel(time, panel.time.step), TextAnchor::Middle, Ink);
    }
    DrawText(canvas, {(PlotLeft + PlotRight) / 2.0, panel.bottom + 54.0}, label, TextAnchor::Middle,
             Ink);
}

void DrawTarget(Canvas* canvas, const Panel& panel, double target)
{
    constexpr double dash = 12.0;
    const double y = DownOf(panel, target);
    for (double x = PlotLeft; x < PlotRight; x += 2.0 * dash) {
        DrawLine(canvas, {x, y}, {std::min(x + dash, PlotRight), y}, Red, 2.0);
    }
}

// Entries from the right, above the panels.
void DrawLegend(Canvas* canvas, double right, const char* text, Colour colour)
{
    constexpr double y = 50.0;
    DrawLine(canvas, {right, y - 6.0}, {right + 30.0, y - 6.0}, colour, 3.0);
    DrawText(canvas, {right + 40.0, y}, text, TextAnchor::Left, Ink);
}

Axis TemperatureAxis(const std::vector<TemperatureReading>& readings, std::optional<double> target)
{
    const double first = readings.empty() ? 0.0 : readings.front().celsius;
    double low = target.value_or(first);
    double high = low;
    for (const TemperatureReading& reading : readings) {
        low = std::min(low, reading.celsius);
        high = std::max(high, reading.celsius);
    }
    const double margin = std::max(0.05 * (high - low), 0.25);
    return MakeAxis(low - margin, high + margin, 6);
}

} // namespace

bool SavePlot(const std::vector<TemperatureReading>& readings, std::optional<double> target,
              const std::string& title, const std::string& path, bool overwrite, std::string* error)
{
    Canvas canvas = MakeCanvas(KindOfPlot(path), PlotWidth, PlotHeight);
    const double last = readings.empty() ? 0.0 : readings.back().seconds;
    const TimeUnit unit = ChooseTimeUnit(last);
    const Axis time = MakeAxis(0.0, std::max(last / unit.seconds, 1.0), 8);
    const Panel upper = {70.0, 400.0, time, TemperatureAxis(readings, target)};
    const Panel lower = {430.0, 610.0, time, {0.0, 100.0, 25.0}};

    std::vector<Point> temperature;
    std::vector<Point> power;
    for (const TemperatureReading& reading : readings) {
        const double x = AcrossOf(upper, reading.seconds / unit.seconds);
        temperature.push_back({x, DownOf(upper, reading.celsius)});
        power.push_back({x, DownOf(lower, reading.power)});
    }
    DrawText(&canvas, {PlotWidth / 2.0, 25.0}, title, TextAnchor::Middle, Ink);
    DrawLegend(&canvas, PlotLeft + 150.0, "temperature", Blue);
    if (target) DrawLegend(&canvas, PlotLeft + 380.0, "target", Red);
    DrawLegend(&canvas, PlotLeft + 550.0, "cooler power", Green);
    DrawFrame(&canvas, upper,
              "Temperature [\xC2\xB0"
              "C]");
    DrawFrame(&canvas, lower, "Power [%]");
    DrawTimeLabels(&canvas, lower, unit.label);
    if (target) DrawTarget(&canvas, upper, *target);
    DrawCurve(&canvas, temperature, Blue, 2.5);
    DrawCurve(&canvas, power, Green, 2.5);
    return SaveCanvas(canvas, path, overwrite, error);
}
