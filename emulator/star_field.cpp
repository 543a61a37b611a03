#include "emulator/star_field.h"

#include <algorithm>
#include <utility>
#include <vector>

// Everything is in integers. A fraction has 16 bits: One stands for 1. Products
// of fractions are taken in 64 bits and shifted right, so they round down.
namespace {

constexpr int64_t One = 65536;

struct Field {
    uint16_t* pixels;
    int64_t columns, rows;
    uint32_t seed;
};

// What is drawn from the seed; each has numbers of its own.
enum Salt : uint32_t {
    SaltWarpX = 1,
    SaltWarpY = 2,
    SaltGas = 3,
    SaltFilaments = 4,
    SaltDust = 5,
    SaltStars = 6,
    SaltColumns = 7,
};

uint32_t Mix(uint32_t value)
{
    value ^= value >> 16;
    value *= 0x7FEB352Du;
    value ^= value >> 15;
    value *= 0x846CA68Bu;
    value ^= value >> 16;
    return value;
}

// The `index`-th number of a salt, all 32 bits of it.
uint32_t Draw(uint32_t seed, uint32_t salt, uint32_t index)
{
    return Mix(Mix(Mix(seed) + salt) + index);
}

int64_t Times(int64_t a, int64_t b)
{
    return (a * b) >> 16;
}

int64_t Lattice(uint32_t key, int64_t column, int64_t row)
{
    return Mix(Mix(key + static_cast<uint32_t>(column)) + static_cast<uint32_t>(row)) >> 16;
}

// Smooth noise from 0 to One over a lattice of cells One wide.
int64_t Noise(uint32_t key, int64_t u, int64_t v)
{
    const int64_t column = u >> 16, row = v >> 16;
    const int64_t fu = u & 0xFFFF, fv = v & 0xFFFF;
    // 6 t^5 - 15 t^4 + 10 t^3
    const int64_t su = Times(Times(Times(fu, fu), fu), Times(fu, 6 * fu - 15 * One) + 10 * One);
    const int64_t sv = Times(Times(Times(fv, fv), fv), Times(fv, 6 * fv - 15 * One) + 10 * One);
    const int64_t a = Lattice(key, column, row), b = Lattice(key, column + 1, row);
    const int64_t c = Lattice(key, column, row + 1), d = Lattice(key, column + 1, row + 1);
    const int64_t top = a + Times(b - a, su), bottom = c + Times(d - c, su);
    return top + Times(bottom - top, sv);
}

// `octaves` of noise, each with half the size and half the weight of the one before.
int64_t Octaves(uint32_t key, int64_t u, int64_t v, int octaves)
{
    int64_t sum = 0;
    for (int octave = 0; octave < octaves; ++octave) {
        sum += Noise(Mix(key + static_cast<uint32_t>(octave)), u, v) >> (octave + 1);
        u *= 2;
        v *= 2;
    }
    return sum;
}

// Counts x 16 of the nebula at a pixel.
int64_t Nebula(const Field& field, int64_t x, int64_t y)
{
    const int64_t size = std::min(field.columns, field.rows);
    // An ellipse, leaning, with the middle of the field inside.
    const int64_t dx = (2 * x - field.columns) * One / (2 * size);
    const int64_t dy = (2 * y - field.rows) * One / (2 * size);
    const int64_t along = dx + dy / 3, across = dy - dx / 3;
    const int64_t inside = One - (Times(along, along) * 4 + Times(across, across) * 8);
    if (inside <= 0) return 0;

    const int64_t u = x * 5 * One / size, v = y * 5 * One / size;
    const int64_t warpX = Octaves(Draw(field.seed, SaltWarpX, 0), u, v, 4) - One / 2;
    const int64_t warpY = Octaves(Draw(field.seed, SaltWarpY, 0), u, v, 4) - One / 2;
    const int64_t wu = u + warpX * 3 / 2, wv = v + warpY * 3 / 2;

    const int64_t gas = Octaves(Draw(field.seed, SaltGas, 0), wu, wv, 6);
    const int64_t ridge =
        Octaves(Draw(field.seed, SaltFilaments, 0), wu + warpY, wv - warpX, 5) * 2 - One;
    const int64_t edge = One - std::min(One, (ridge < 0 ? -ridge : ridge) * 3);
    const int64_t filament = Times(Times(edge, edge), edge);
    const int64_t dust = Octaves(Draw(field.seed, SaltDust, 0), wu * 3 / 2, wv * 3 / 2, 5);
    const int64_t clear = One - std::clamp<int64_t>((dust - One / 2) * 4, 0, One * 7 / 8);

    const int64_t glow =
        Times(Times(gas, gas), inside) * 1400 + Times(Times(filament, gas), inside) * 500;
    return Times(Times(glow, inside), clear) >> 12;
}

void PaintSky(const Field& field)
{
    constexpr int64_t Step = 4; // the nebula is worked out at every fourth pixel
    const int64_t width = field.columns / Step + 2;
    std::vector<int64_t> upper(static_cast<size_t>(width)), lower(upper);
    for (int64_t y = 0; y < field.rows; ++y) {
        if (y % Step == 0) {
            for (int64_t i = 0; i < width; ++i) {
                const size_t at = static_cast<size_t>(i);
                upper[at] = y == 0 ? Nebula(field, i * Step, 0) : lower[at];
                lower[at] = Nebula(field, i * Step, y + Step);
            }
        }
        for (int64_t x = 0; x < field.columns; ++x) {
            const size_t left = static_cast<size_t>(x / Step);
            const int64_t fx = x % Step, fy = y % Step;
            const int64_t top = upper[left] * (Step - fx) + upper[left + 1] * fx;
            const int64_t bottom = lower[left] * (Step - fx) + lower[left + 1] * fx;
            const int64_t nebula = (top * (Step - fy) + bottom * fy) / (16 * Step * Step);
            const int64_t sky = 360 + 60 * x / field.columns + 40 * y / field.rows;
            field.pixels[y * field.columns + x] =
                static_cast<uint16_t>(std::min<int64_t>(sky + nebula, 65535));
        }
    }
}

void Add(const Field& field, int64_t x, int64_t y, int64_t counts)
{
    if (x < 0 || y < 0 || x >= field.columns || y >= field.rows) return;
    uint16_t& pixel = field.pixels[y * field.columns + x];
    pixel = static_cast<uint16_t>(std::min<int64_t>(pixel + counts, 65535));
}

// 1 / (1 + distance / scale), both squared lengths.
int64_t Falloff(int64_t distance, int64_t scale)
{
    return One * One / (One + distance * One / scale);
}

// A Moffat profile with exponent 3, FWHM 2.6 pixels; lengths are in 1/16 pixels.
// Bright stars get a wide halo and the four spikes of a spider.
int64_t StarCounts(int64_t peak, int64_t dx, int64_t dy)
{
    const int64_t square = dx * dx + dy * dy;
    const int64_t core = Falloff(square, 1664);
    int64_t counts = Times(peak, Times(core, Times(core, core)));
    if (peak < 6000) return counts;
    const int64_t halo = Falloff(square, 50000);
    counts += Times(peak / 300, Times(halo, halo));
    // The spider stands at an angle whose cosine and sine are 12/13 and 5/13.
    const int64_t a = (12 * dx + 5 * dy) / 13, b = (12 * dy - 5 * dx) / 13;
    for (const auto& [along, across] : {std::pair{a, b}, std::pair{b, a}}) {
        const int64_t length = Falloff(along * along, 12000);
        const int64_t width = Falloff(across * across, 260);
        counts += Times(peak / 30, Times(length, Times(width, Times(width, width))));
    }
    return counts;
}

void PaintStar(const Field& field, int64_t x16, int64_t y16, int64_t peak)
{
    const int64_t reach = peak < 200 ? 5 : peak < 6000 ? 14 : 40 + peak / 350;
    for (int64_t y = y16 / 16 - reach; y <= y16 / 16 + reach; ++y) {
        for (int64_t x = x16 / 16 - reach; x <= x16 / 16 + reach; ++x) {
            Add(field, x, y, StarCounts(peak, x * 16 - x16, y * 16 - y16));
        }
    }
}

// Each time the brightness falls to a tenth there are ten times as many stars.
void PaintStars(const Field& field)
{
    const uint32_t count = static_cast<uint32_t>(field.columns * field.rows / 500);
    for (uint32_t star = 0; star < count; ++star) {
        const int64_t x16 = Draw(field.seed, SaltStars, star * 4) % (field.columns * 16);
        const int64_t y16 = Draw(field.seed, SaltStars, star * 4 + 1) % (field.rows * 16);
        const int64_t chance = (Draw(field.seed, SaltStars, star * 4 + 2) >> 8) + 1;
        int64_t peak = (int64_t{30} << 24) / chance;
        if (peak > 25000) peak = 25000 + Draw(field.seed, SaltStars, star * 4 + 3) % 13000;
        PaintStar(field, x16, y16, peak);
    }
}

// A hot column shines from its defect to the last row.
void PaintHotColumns(const Field& field)
{
    const uint32_t count = static_cast<uint32_t>(1 + field.columns / 512);
    for (uint32_t index = 0; index < count; ++index) {
        const int64_t x = Draw(field.seed, SaltColumns, index * 3) % field.columns;
        const int64_t first = Draw(field.seed, SaltColumns, index * 3 + 1) % field.rows;
        const int64_t counts = 40 + Draw(field.seed, SaltColumns, index * 3 + 2) % 200;
        for (int64_t y = first; y < field.rows; ++y) Add(field, x, y, counts);
    }
}

} // namespace

void MakeStarField(uint16_t* pixels, uint32_t columns, uint32_t rows, uint32_t seed)
{
    if (columns == 0 || rows == 0) return;
    Field field = {nullptr, columns, rows, seed};
    field.pixels = pixels;
    PaintSky(field);
    PaintStars(field);
    PaintHotColumns(field);
}
