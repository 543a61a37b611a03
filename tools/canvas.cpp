// A surface to draw a plot on: pixels for a PNG, or the text of an SVG.
#include "tools/canvas.h"

#include <algorithm>
#include <cmath>
#include <filesystem>

#include "tools/font.h"
#include "tools/image_files.h"
#include "tools/safe_file.h"
#include "tools/text.h"

namespace {

constexpr int32_t GlyphScale = 2; // pixels a dot of the font
constexpr int32_t SvgTextSize = 17;

std::string ColourText(Colour colour)
{
    return Text("#%02x%02x%02x", static_cast<unsigned>(colour.red),
                static_cast<unsigned>(colour.green), static_cast<unsigned>(colour.blue));
}

// `cover` is the part of the pixel that gets the colour.
void Blend(Canvas* canvas, int32_t x, int32_t y, Colour colour, float cover)
{
    if (x < 0 || y < 0 || x >= canvas->width || y >= canvas->height) return;
    const auto index =
        3 * (static_cast<size_t>(y) * static_cast<size_t>(canvas->width) + static_cast<size_t>(x));
    const uint8_t wanted[3] = {colour.red, colour.green, colour.blue};
    for (size_t i = 0; i < 3; ++i) {
        uint8_t& value = canvas->pixels[index + i];
        value = static_cast<uint8_t>(std::lround(static_cast<float>(value) * (1.0F - cover) +
                                                 static_cast<float>(wanted[i]) * cover));
    }
}

double DistanceToSegment(Point point, Point from, Point to)
{
    const double dx = to.x - from.x;
    const double dy = to.y - from.y;
    const double squared = dx * dx + dy * dy;
    double along = 0.0;
    if (squared > 0.0) {
        along = ((point.x - from.x) * dx + (point.y - from.y) * dy) / squared;
        along = std::clamp(along, 0.0, 1.0);
    }
    return std::hypot(point.x - from.x - along * dx, point.y - from.y - along * dy);
}

// Pixels, the last ones not included.
struct Area {
    int32_t left, top, right, bottom;
};

size_t IndexIn(const Area& area, int32_t x, int32_t y)
{
    return static_cast<size_t>(y - area.top) * static_cast<size_t>(area.right - area.left) +
           static_cast<size_t>(x - area.left);
}

// What a line between the two may touch.
Area AreaOf(const Canvas& canvas, Point low, Point high, double thickness)
{
    const double reach = thickness / 2.0 + 1.0;
    const auto inside = [](double value, int32_t size) {
        return static_cast<int32_t>(std::clamp(value, 0.0, static_cast<double>(size)));
    };
    return {inside(low.x - reach, canvas.width), inside(low.y - reach, canvas.height),
            inside(high.x + reach + 1.0, canvas.width),
            inside(high.y + reach + 1.0, canvas.height)};
}

// How much of each pixel the curve covers. The largest cover counts where segments
// meet, so that joints are not darker.
void CoverSegment(const Canvas& canvas, const Area& area, std::vector<float>* cover, Point from,
                  Point to, double thickness)
{
    const Area touched = AreaOf(canvas, {std::min(from.x, to.x), std::min(from.y, to.y)},
                                {std::max(from.x, to.x), std::max(from.y, to.y)}, thickness);
    for (int32_t y = touched.top; y < touched.bottom; ++y) {
        for (int32_t x = touched.left; x < touched.right; ++x) {
            const double distance = DistanceToSegment({x + 0.5, y + 0.5}, from, to);
            const double part = std::clamp(thickness / 2.0 + 0.5 - distance, 0.0, 1.0);
            float& kept = (*cover)[IndexIn(area, x, y)];
            kept = std::max(kept, static_cast<float>(part));
        }
    }
}

void DrawPixelCurve(Canvas* canvas, const std::vector<Point>& points, Colour colour,
                    double thickness)
{
    Point low = points[0];
    Point high = points[0];
    for (const Point& point : points) {
        low = {std::min(low.x, point.x), std::min(low.y, point.y)};
        high = {std::max(high.x, point.x), std::max(high.y, point.y)};
    }
    const Area area = AreaOf(*canvas, low, high, thickness);
    std::vector<float> cover(IndexIn(area, area.left, area.bottom), 0.0F);
    for (size_t i = 1; i < points.size(); ++i) {
        CoverSegment(*canvas, area, &cover, points[i - 1], points[i], thickness);
    }
    for (int32_t y = area.top; y < area.bottom; ++y) {
        for (int32_t x = area.left; x < area.right; ++x) {
            const float part = cover[IndexIn(area, x, y)];
            if (part > 0.0F) Blend(canvas, x, y, colour, part);
        }
    }
}

void DrawDot(Canvas* canvas, int32_t x, int32_t y, Colour colour)
{
    for (int32_t j = 0; j < GlyphScale; ++j) {
        for (int32_t i = 0; i < GlyphScale; ++i) Blend(canvas, x + i, y + j, colour, 1.0F);
    }
}

void DrawGlyph(Canvas* canvas, Point at, int32_t advance, const Glyph& glyph, Colour colour,
               bool upright)
{
    for (int32_t row = 0; row < GlyphRows; ++row) {
        for (int32_t column = 0; column < GlyphColumns; ++column) {
            if (!GlyphDot(glyph, column, row)) continue;
            const int32_t along = advance + column * GlyphScale;
            const int32_t below = (row - GlyphBaseRows) * GlyphScale;
            const auto x = static_cast<int32_t>(std::lround(at.x));
            const auto y = static_cast<int32_t>(std::lround(at.y));
            DrawDot(canvas, upright ? x + below : x + along,
                    upright ? y - along - GlyphScale : y + below, colour);
        }
    }
}

void DrawPixelText(Canvas* canvas, Point at, const std::string& text, TextAnchor anchor,
                   Colour colour, bool upright)
{
    const std::vector<Glyph> glyphs = GlyphsOf(text);
    constexpr int32_t step = (GlyphColumns + 1) * GlyphScale;
    const int32_t length = static_cast<int32_t>(glyphs.size()) * step - GlyphScale;
    int32_t advance = 0;
    if (anchor == TextAnchor::Middle) advance = -length / 2;
    if (anchor == TextAnchor::Right) advance = -length;
    for (const Glyph& glyph : glyphs) {
        DrawGlyph(canvas, at, advance, glyph, colour, upright);
        advance += step;
    }
}

std::string XmlText(const std::string& text)
{
    std::string safe;
    for (const char letter : text) {
        switch (letter) {
        case '<': safe += "&lt;"; break;
        case '>': safe += "&gt;"; break;
        case '&': safe += "&amp;"; break;
        default: safe += letter;
        }
    }
    return safe;
}

bool EndsIn(const std::string& path, const char* ending)
{
    return SameWord(std::filesystem::path(path).extension().string(), ending);
}

} // namespace

bool PlotFormatIsKnown(const std::string& path)
{
    return EndsIn(path, ".png") || EndsIn(path, ".svg");
}

CanvasKind KindOfPlot(const std::string& path)
{
    return EndsIn(path, ".svg") ? CanvasKind::Svg : CanvasKind::Png;
}

Canvas MakeCanvas(CanvasKind kind, int32_t width, int32_t height)
{
    Canvas canvas;
    canvas.kind = kind;
    canvas.width = width;
    canvas.height = height;
    if (kind == CanvasKind::Png) {
        canvas.pixels.assign(3 * static_cast<size_t>(width) * static_cast<size_t>(height), 255);
    } else {
        canvas.drawing = Text("<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"%d\" "
                              "height=\"%d\" viewBox=\"0 0 %d %d\" font-family=\"sans-serif\" "
                              "font-size=\"%d\">\n<rect width=\"%d\" height=\"%d\" "
                              "fill=\"#ffffff\"/>\n",
                              width, height, width, height, SvgTextSize, width, height);
    }
    return canvas;
}

void DrawCurve(Canvas* canvas, const std::vector<Point>& points, Colour colour, double thickness)
{
    if (points.size() < 2) return;
    if (canvas->kind == CanvasKind::Png) {
        DrawPixelCurve(canvas, points, colour, thickness);
        return;
    }
    std::string list;
    for (const Point& point : points) list += Text("%.1f,%.1f ", point.x, point.y);
    list.pop_back();
    canvas->drawing += Text("<polyline points=\"%s\" fill=\"none\" stroke=\"%s\" "
                            "stroke-width=\"%g\"/>\n",
                            list.c_str(), ColourText(colour).c_str(), thickness);
}

void DrawLine(Canvas* canvas, Point from, Point to, Colour colour, double thickness)
{
    DrawCurve(canvas, {from, to}, colour, thickness);
}

void DrawText(Canvas* canvas, Point at, const std::string& text, TextAnchor anchor, Colour colour,
              bool upright)
{
    if (canvas->kind == CanvasKind::Png) {
        DrawPixelText(canvas, at, text, anchor, colour, upright);
        return;
    }
    const char* anchors[] = {"start", "middle", "end"};
    const std::string turn =
        upright ? Text(" transform=\"rotate(-90 %.1f %.1f)\"", at.x, at.y) : "";
    canvas->drawing += Text("<text x=\"%.1f\" y=\"%.1f\" text-anchor=\"%s\" fill=\"%s\"%s>"
                            "%s</text>\n",
                            at.x, at.y, anchors[static_cast<size_t>(anchor)],
                            ColourText(colour).c_str(), turn.c_str(), XmlText(text).c_str());
}

bool SaveCanvas(const Canvas& canvas, const std::string& path, bool overwrite, std::string* error)
{
    if (canvas.kind == CanvasKind::Svg) {
        const std::string text = canvas.drawing + "</svg>\n";
        return WriteWholeFile(path, text.data(), text.size(), overwrite, error);
    }
    const PngPicture png = {canvas.width, canvas.height, 3, 8, canvas.pixels.data(), ""};
    const std::string part = BeginFile(path, overwrite, error);
    if (part.empty()) return false;
    if (WritePng(png, part, error)) return CommitFile(path, overwrite, error);
    *error = path + ": " + *error;
    DiscardFile(path);
    return false;
}
