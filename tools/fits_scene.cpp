#include "tools/fits_scene.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <map>

#include "tools/fits_header.h"
#include "tools/text.h"

namespace {

constexpr size_t CardLength = 80;
constexpr int MostBlocks = 4096; // of a header: no picture has so many keywords

using Keywords = std::map<std::string, std::string>;

// A card's keyword and value, if it has one. False: it ends the header.
bool KeepCard(const std::string& card, Keywords* keywords)
{
    const std::string key = card.substr(0, std::min(card.find(' '), size_t{8}));
    if (key == "END") return false;
    if (card.compare(8, 2, "= ") == 0) (*keywords)[key] = card.substr(10, card.find('/', 10) - 10);
    return true;
}

bool ReadKeywords(FILE* file, Keywords* keywords)
{
    char block[FitsBlock];
    for (int count = 0; count < MostBlocks; ++count) {
        if (std::fread(block, 1, sizeof block, file) != sizeof block) return false;
        for (size_t place = 0; place < sizeof block; place += CardLength) {
            if (!KeepCard(std::string(block + place, CardLength), keywords)) return true;
        }
    }
    return false;
}

// Exponents may be written with a D. Not a number where there is none.
double NumberOf(const Keywords& keywords, const char* key, double otherwise)
{
    const auto found = keywords.find(key);
    if (found == keywords.end()) return otherwise;
    std::string text = found->second;
    std::replace(text.begin(), text.end(), 'D', 'E');
    char* end = nullptr;
    const double value = std::strtod(text.c_str(), &end);
    return end == text.c_str() ? std::nan("") : value;
}

int64_t WholeOf(const Keywords& keywords, const char* key)
{
    const double value = NumberOf(keywords, key, 0.0);
    return std::abs(value) < 1e15 ? static_cast<int64_t>(value) : 0;
}

// Of pixels with the high byte first, as `BITPIX` has them: below 0 fractions.
double PixelValue(const uint8_t* bytes, int64_t bits)
{
    uint64_t word = 0;
    const int64_t count = std::abs(bits) / 8;
    for (int64_t i = 0; i < count; ++i) word = word << 8 | bytes[i];
    switch (bits) {
    case 8: return static_cast<double>(word);
    case 16: return static_cast<int16_t>(word);
    case 32: return static_cast<int32_t>(word);
    case 64: return static_cast<double>(static_cast<int64_t>(word));
    case -32: return std::bit_cast<float>(static_cast<uint32_t>(word));
    default: return std::bit_cast<double>(word);
    }
}

uint16_t Clipped(double value)
{
    if (std::isnan(value)) return 0;
    return static_cast<uint16_t>(std::clamp(std::round(value), 0.0, 65535.0));
}

bool ReadRows(FILE* file, const Keywords& keywords, Scene* scene, std::string* error)
{
    const int64_t bits = WholeOf(keywords, "BITPIX");
    const double scale = NumberOf(keywords, "BSCALE", 1.0);
    const double zero = NumberOf(keywords, "BZERO", 0.0);
    const size_t bytes = static_cast<size_t>(std::abs(bits)) / 8;
    std::vector<uint8_t> row(scene->width * bytes);
    for (uint32_t y = 0; y < scene->height; ++y) {
        if (std::fread(row.data(), 1, row.size(), file) != row.size()) {
            *error = "the file ends ahead of the picture's end";
            return false;
        }
        for (uint32_t x = 0; x < scene->width; ++x) {
            const double stored = PixelValue(row.data() + x * bytes, bits);
            scene->pixels.push_back(Clipped(zero + scale * stored));
        }
    }
    return true;
}

} // namespace

bool ReadFitsScene(FILE* file, Scene* scene, std::string* error)
{
    Keywords keywords;
    if (!ReadKeywords(file, &keywords)) {
        *error = "the header has no end";
        return false;
    }
    if (WholeOf(keywords, "NAXIS") < 2) {
        *error = "the first part of the file holds no picture";
        return false;
    }
    const int64_t bits = WholeOf(keywords, "BITPIX");
    const int64_t kinds[] = {8, 16, 32, 64, -32, -64};
    if (std::find(std::begin(kinds), std::end(kinds), bits) == std::end(kinds)) {
        *error = Text("pixels of %lld bits", static_cast<long long>(bits));
        return false;
    }
    const int64_t width = WholeOf(keywords, "NAXIS1");
    const int64_t height = WholeOf(keywords, "NAXIS2");
    if (!SceneSizeIsPossible(width, height, error)) return false;
    scene->width = static_cast<uint32_t>(width);
    scene->height = static_cast<uint32_t>(height);
    return ReadRows(file, keywords, scene, error);
}
