// qvn monitor: temperature and cooler, live.
#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <iterator>

#include "tools/commands.h"
#include "tools/text.h"

namespace {

constexpr int32_t BarWidth = 20;
constexpr size_t LabelWidth = 8; // of the chart's scale
constexpr size_t LowestChart = 4, HighestChart = 12;
constexpr double LeastRange = 0.5; // degrees
constexpr size_t LinesBeside = 6;  // of text, and the one of the cursor

struct TerminalSize {
    size_t columns = 80, rows = 24;
};

struct ChartScale {
    double low, high;
};

size_t DrawnLines = 0;

TerminalSize AskTerminal()
{
    winsize size = {};
    if (ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) != 0 || size.ws_col == 0 || size.ws_row == 0) {
        return {};
    }
    return {size.ws_col, size.ws_row};
}

std::string TimeText(double seconds)
{
    const auto whole = static_cast<int64_t>(seconds);
    return Text("%lld:%02lld:%02lld", static_cast<long long>(whole / 3600),
                static_cast<long long>(whole / 60 % 60), static_cast<long long>(whole % 60));
}

ChartScale ScaleOf(const std::vector<TemperatureReading>& readings, const WatchRequest& request)
{
    ChartScale scale = {readings.back().celsius, readings.back().celsius};
    for (const TemperatureReading& reading : readings) {
        scale.low = std::min(scale.low, reading.celsius);
        scale.high = std::max(scale.high, reading.celsius);
    }
    if (request.cools) {
        scale.low = std::min(scale.low, request.target);
        scale.high = std::max(scale.high, request.target);
    }
    const double missing = std::max(LeastRange - (scale.high - scale.low), 0.0);
    return {scale.low - missing / 2.0, scale.high + missing / 2.0};
}

size_t RowOf(double celsius, const ChartScale& scale, size_t rows)
{
    const double part = (scale.high - celsius) / (scale.high - scale.low);
    return static_cast<size_t>(std::lround(part * static_cast<double>(rows - 1)));
}

// The last readings, a column each; the target is a row of dashes. A reading may be no
// number.
void AppendChart(const std::vector<TemperatureReading>& readings, const WatchRequest& request,
                 size_t columns, size_t rows, std::vector<std::string>* lines)
{
    const size_t last = std::min(readings.size(), columns);
    std::vector<TemperatureReading> shown;
    std::copy_if(readings.end() - static_cast<ptrdiff_t>(last), readings.end(),
                 std::back_inserter(shown),
                 [](const TemperatureReading& one) { return std::isfinite(one.celsius); });
    if (shown.empty()) return;
    const ChartScale scale = ScaleOf(shown, request);
    std::vector<std::string> chart(rows, std::string(columns, ' '));
    if (request.cools) {
        chart[RowOf(request.target, scale, rows)] = std::string(columns, '-');
    }
    for (size_t i = 0; i < shown.size(); ++i) chart[RowOf(shown[i].celsius, scale, rows)][i] = '*';
    for (size_t row = 0; row < rows; ++row) {
        const bool edge = row == 0 || row + 1 == rows;
        const std::string label = Text("%+7.1f ", row == 0 ? scale.high : scale.low);
        lines->push_back((edge ? label : std::string(LabelWidth, ' ')) + "|" + chart[row]);
    }
}

std::vector<std::string> Compose(const Session& session, const WatchRequest& request,
                                 const std::vector<TemperatureReading>& readings,
                                 const TerminalSize& terminal)
{
    const TemperatureReading& reading = readings.back();
    const double power = std::clamp(reading.power, 0.0, 100.0);
    std::string bar(static_cast<size_t>(power * BarWidth / 100.0), '#');
    bar.resize(BarWidth, '.');
    std::vector<std::string> lines = {
        Text("Camera %d, %s", session.camera, CameraText(session).c_str()),
        "Time    " + TimeText(reading.seconds) +
            (std::isfinite(request.seconds) ? " of " + TimeText(request.seconds)
                                            : ", Ctrl-C ends it"),
        Text("Sensor  %+.1f C", reading.celsius) +
            (request.cools ? Text(", target %+.1f C, %+.1f to go", request.target,
                                  request.target - reading.celsius)
                           : ""),
        Text("Cooler  %s", reading.cooler),
        Text("Power   [%s] %.1f %%", bar.c_str(), reading.power),
    };
    const size_t free = terminal.rows > LinesBeside ? terminal.rows - LinesBeside : 0;
    if (free >= LowestChart && terminal.columns > LabelWidth + 2) {
        AppendChart(readings, request, terminal.columns - LabelWidth - 2,
                    std::min(free, HighestChart), &lines);
    }
    for (std::string& line : lines) line.resize(std::min(line.size(), terminal.columns - 1));
    return lines;
}

void BeginDrawing()
{
    DrawnLines = 0;
}

void Draw(const Session& session, const WatchRequest& request,
          const std::vector<TemperatureReading>& readings)
{
    const std::vector<std::string> lines = Compose(session, request, readings, AskTerminal());
    if (DrawnLines > 0) std::printf("\033[%zuA\033[J", DrawnLines);
    for (const std::string& line : lines) std::printf("%s\n", line.c_str());
    std::fflush(stdout);
    DrawnLines = lines.size();
}

const WatchView LiveView = {BeginDrawing, Draw};

} // namespace

int RunMonitor(const WatchRequest& request)
{
    return RunWatch(request, isatty(STDOUT_FILENO) == 1 ? LiveView : TableView);
}
