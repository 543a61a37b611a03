// A small font of dots for labels in pictures: ASCII and the degree sign.
#pragma once
#include <cstdint>
#include <string>
#include <vector>

inline constexpr int32_t GlyphColumns = 5;
inline constexpr int32_t GlyphRows = 9;
inline constexpr int32_t GlyphBaseRows = 7; // the rest hangs below the base line

// Rows from the top, the leftmost dot in bit 4.
struct Glyph {
    uint8_t rows[GlyphRows];
};

// One glyph a character of UTF-8; a box for those that the font lacks.
std::vector<Glyph> GlyphsOf(const std::string& text);

bool GlyphDot(const Glyph& glyph, int32_t column, int32_t row);
