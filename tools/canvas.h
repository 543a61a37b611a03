// A surface to draw a plot on: pixels for a PNG, or the text of an SVG. Coordinates
// are pixels from the upper left corner.
#pragma once
#include <cstdint>
#include <string>
#include <vector>

enum class CanvasKind { Png, Svg };

struct Colour {
    uint8_t red, green, blue;
};

struct Point {
    double x, y;
};

enum class TextAnchor { Left, Middle, Right };

struct Canvas {
    CanvasKind kind = CanvasKind::Png;
    int32_t width = 0, height = 0;
    std::vector<uint8_t> pixels; // red, green, blue; of a PNG
    std::string drawing;         // of an SVG
};

// By the ending of the name, .png or .svg; false if it is neither.
bool PlotFormatIsKnown(const std::string& path);
CanvasKind KindOfPlot(const std::string& path);

// A white one.
Canvas MakeCanvas(CanvasKind kind, int32_t width, int32_t height);

// A line through all points. Curves of one point or none are not drawn.
void DrawCurve(Canvas* canvas, const std::vector<Point>& points, Colour colour, double thickness);
void DrawLine(Canvas* canvas, Point from, Point to, Colour colour, double thickness);

// `at` is on the base line of the text; `upright` text runs from bottom to top. The
// text may hold ASCII and the degree sign in UTF-8.
void DrawText(Canvas* canvas, Point at, const std::string& text, TextAnchor anchor, Colour colour,
              bool upright = false);

bool SaveCanvas(const Canvas& canvas, const std::string& path, bool overwrite, std::string* error);
