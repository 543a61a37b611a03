// qvn wave plot: a timing diagram, one trace for each clock line.
#include <algorithm>
#include <cmath>

#include "tools/axis.h"
#include "tools/canvas.h"
#include "tools/report.h"
#include "tools/safe_file.h"
#include "tools/text.h"
#include "tools/wave.h"

namespace {

constexpr int32_t PlotWidth = 1200;
constexpr double PlotRight = PlotWidth - 30.0;
constexpr double PlotTop = 60.0;
constexpr double Band = 46.0;  // of one line
constexpr double Swing = 28.0; // from low to high
constexpr double LetterWidth = 12.0;
constexpr double TickLabels = 24.0, TimeLabels = 58.0, BelowLabels = 18.0;
constexpr Colour Ink = {0, 0, 0}, Grid = {215, 215, 215}, Hatch = {110, 110, 110};

// Edges nearer than this run together; so many of them are drawn as a hatched block.
constexpr double NearEdges = 4.0;
constexpr size_t BlockEdges = 4;
constexpr double HatchStep = 3.0;

struct TickRange {
    uint32_t from, to; // the last tick is not included
};

struct Diagram {
    Canvas canvas;
    double left;
    TickRange range;
};

double AcrossOf(const Diagram& diagram, double tick)
{
    const TickRange& range = diagram.range;
    return diagram.left +
           (tick - range.from) / (range.to - range.from) * (PlotRight - diagram.left);
}

bool IsHigh(uint16_t word, uint32_t line)
{
    return (word >> line & 1) != 0;
}

// Ticks at which the line changes.
std::vector<uint32_t> EdgesOf(const std::vector<uint16_t>& words, const TickRange& range,
                              uint32_t line)
{
    std::vector<uint32_t> edges;
    for (uint32_t tick = range.from + 1; tick < range.to; ++tick) {
        if (IsHigh(words[tick], line) != IsHigh(words[tick - 1], line)) edges.push_back(tick);
    }
    return edges;
}

// How many edges from `first` on follow one another so closely that they run together.
size_t RunOfEdges(const Diagram& diagram, const std::vector<uint32_t>& edges, size_t first)
{
    size_t count = 1;
    while (first + count < edges.size() &&
           AcrossOf(diagram, edges[first + count]) - AcrossOf(diagram, edges[first + count - 1]) <
               NearEdges) {
        ++count;
    }
    return count;
}

void DrawBlock(Canvas* canvas, double from, double to, double low)
{
    std::vector<Point> hatch;
    bool high = false;
    const auto strokes = static_cast<int32_t>((to - from) / HatchStep);
    for (int32_t i = 0; i <= strokes; ++i, high = !high) {
        const double x = from + i * HatchStep;
        hatch.push_back({x, high ? low - Swing : low});
        hatch.push_back({x, high ? low : low - Swing});
    }
    DrawCurve(canvas, hatch, Hatch, 1.0);
}

void DrawTrace(Diagram* diagram, const std::vector<uint16_t>& words, uint32_t line, double low)
{
    const auto level = [&](uint32_t tick) { return IsHigh(words[tick], line) ? low - Swing : low; };
    const std::vector<uint32_t> edges = EdgesOf(words, diagram->range, line);
    std::vector<Point> trace = {{diagram->left, level(diagram->range.from)}};
    for (size_t i = 0; i < edges.size();) {
        const size_t run = RunOfEdges(*diagram, edges, i);
        const size_t last = i + run - 1;
        const double x = AcrossOf(*diagram, edges[i]);
        trace.push_back({x, level(edges[i] - 1)});
        if (run < BlockEdges) {
            trace.push_back({x, level(edges[i])});
            ++i;
            continue;
        }
        const double end = AcrossOf(*diagram, edges[last]);
        DrawCurve(&diagram->canvas, trace, Ink, 2.0);
        DrawBlock(&diagram->canvas, x, end, low);
        trace = {{end, level(edges[last])}};
        i = last + 1;
    }
    trace.push_back({PlotRight, level(diagram->range.to - 1)});
    DrawCurve(&diagram->canvas, trace, Ink, 2.0);
}

// Lines with a role, and those that some word of the file has up; from the highest.
std::vector<uint32_t> DrawnLines(const WavePattern& pattern, const WaveCamera& camera)
{
    uint32_t used = 0;
    for (const uint16_t word : pattern.words) used |= word;
    std::vector<uint32_t> lines;
    for (uint32_t line = WordBits(pattern); line-- > 0;) {
        if ((used >> line & 1) != 0 || LineHasRole(camera, line)) lines.push_back(line);
    }
    if (lines.empty()) lines.push_back(0);
    return lines;
}

void DrawTickAxis(Diagram* diagram, double bottom)
{
    const TickRange& range = diagram->range;
    const double step = std::max(NiceStep(range.to - range.from, 10), 1.0);
    const auto last = static_cast<int32_t>(range.to / step);
    for (auto i = static_cast<int32_t>(std::ceil(range.from / step)); i <= last; ++i) {
        const double tick = i * step;
        const double x = AcrossOf(*diagram, tick);
        DrawLine(&diagram->canvas, {x, PlotTop}, {x, bottom}, Grid, 1.0);
        DrawText(&diagram->canvas, {x, bottom + TickLabels}, Text("%.0f", tick), TextAnchor::Middle,
                 Ink);
    }
    DrawText(&diagram->canvas, {diagram->left - 40.0, bottom + TickLabels}, "tick",
             TextAnchor::Right, Ink);
}

// Times under the ticks, from the start of the section.
void DrawTimeAxis(Diagram* diagram, const WaveCamera& camera, double bottom)
{
    const TickRange& range = diagram->range;
    const TimeUnit unit = UnitOf(camera.tickNs * (range.to - range.from));
    const double timeOfTick = camera.tickNs / unit.nanoseconds;
    const double step = NiceStep(timeOfTick * (range.to - range.from), 10);
    constexpr double near = 1e-6; // of a step
    const auto first = static_cast<int32_t>(std::ceil(range.from * timeOfTick / step - near));
    const auto last = static_cast<int32_t>(std::floor(range.to * timeOfTick / step + near));
    for (int32_t i = first; i <= last; ++i) {
        const double time = i * step;
        const double x = AcrossOf(*diagram, time / timeOfTick);
        DrawLine(&diagram->canvas, {x, bottom + TimeLabels - 27.0}, {x, bottom + TimeLabels - 20.0},
                 Ink, 1.0);
        DrawText(&diagram->canvas, {x, bottom + TimeLabels}, StepLabel(time, step),
                 TextAnchor::Middle, Ink);
    }
    DrawText(&diagram->canvas, {diagram->left - 40.0, bottom + TimeLabels}, unit.name,
             TextAnchor::Right, Ink);
}

Diagram MakeDiagram(const WavePlotRequest& request, const WaveCamera& camera,
                    const std::vector<uint32_t>& lines, const TickRange& range)
{
    size_t longest = 6;
    for (const uint32_t line : lines) longest = std::max(longest, LineName(camera, line).size());
    const double left = LetterWidth * static_cast<double>(longest) + 40.0;
    const double below = (camera.tickNs > 0.0 ? TimeLabels : TickLabels) + BelowLabels;
    const double height = PlotTop + Band * static_cast<double>(lines.size()) + below;
    return {MakeCanvas(KindOfPlot(request.output), PlotWidth, static_cast<int32_t>(height)), left,
            range};
}

std::string TitleOf(const WavePlotRequest& request, const WaveCamera& camera,
                    const TickRange& range, size_t length)
{
    const std::string whose = camera.told ? CameraText(camera.session) : request.file;
    std::string part;
    if (range.from != 0 || range.to != length) {
        part = Text(", ticks %u to %u of %zu", range.from, range.to, length);
    }
    return Text("%s, %s section%s", whose.c_str(), request.section.c_str(), part.c_str());
}

Diagram Draw(const WavePlotRequest& request, const WaveCamera& camera, const WavePattern& pattern,
             const std::vector<uint16_t>& words, const TickRange& range)
{
    const std::vector<uint32_t> lines = DrawnLines(pattern, camera);
    Diagram diagram = MakeDiagram(request, camera, lines, range);
    const double bottom = PlotTop + Band * static_cast<double>(lines.size());
    DrawText(&diagram.canvas, {PlotWidth / 2.0, 32.0},
             TitleOf(request, camera, range, words.size()), TextAnchor::Middle, Ink);
    DrawTickAxis(&diagram, bottom);
    if (camera.tickNs > 0.0) DrawTimeAxis(&diagram, camera, bottom);
    DrawCurve(&diagram.canvas,
              {{diagram.left, PlotTop},
               {diagram.left, bottom},
               {PlotRight, bottom},
               {PlotRight, PlotTop},
               {diagram.left, PlotTop}},
              Ink, 1.0);
    double low = PlotTop + (Band + Swing) / 2.0;
    for (const uint32_t line : lines) {
        DrawText(&diagram.canvas, {diagram.left - 16.0, low - 7.0}, LineName(camera, line),
                 TextAnchor::Right, Ink);
        DrawTrace(&diagram, words, line, low);
        low += Band;
    }
    return diagram;
}

bool OutputIsFine(const WavePlotRequest& request)
{
    if (PlotFormatIsKnown(request.output))
        return WaveOutputIsFine(request.output, request.overwrite);
    Complain("checking --output", Text("%s: the ending tells no format", request.output.c_str()),
             "the ending .png or .svg");
    return false;
}

bool RangeIsFine(const WavePlotRequest& request, uint32_t length, TickRange* range)
{
    range->from = static_cast<uint32_t>(request.from);
    range->to = request.to < 0 ? length : static_cast<uint32_t>(request.to);
    if (range->from < range->to && range->to <= length) return true;
    Complain("choosing the ticks",
             Text("--from %u --to %u: the section has %u ticks", range->from, range->to, length),
             Text("--from below --to, and both up to %u", length));
    return false;
}

} // namespace

int RunWavePlot(const WavePlotRequest& request)
{
    WavePattern pattern;
    WaveCamera camera;
    size_t part = 0;
    TickRange range{};
    if (!OutputIsFine(request) || !OpenPattern(request.file, &pattern) ||
        !FindWaveCamera(request.camera, &camera) || !FindPart(pattern, request.section, &part) ||
        !RangeIsFine(request, PartLength(pattern, part), &range)) {
        return ExitFailed;
    }
    const std::vector<uint16_t> words = PlayedWords(pattern, part);
    const Diagram diagram = Draw(request, camera, pattern, words, range);
    std::string error;
    if (SaveCanvas(diagram.canvas, request.output, request.overwrite, &error)) return ExitDone;
    Complain("writing the plot", error, "a folder with free space that you may write to");
    return ExitFailed;
}
