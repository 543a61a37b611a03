#include "tests/support/plain_demo_frame.h"

#include <cmath>
#include <cstddef>

namespace {

// 0 to 32767.
int32_t Rand(uint32_t* state)
{
    *state = *state * 214013u + 2531011u;
    return static_cast<int32_t>(*state >> 16 & 0x7FFFu);
}

float SourcePixel(const PlainDemoInputs& in, int64_t row, int64_t column)
{
    const int64_t index = row * in.xpix + column;
    if (index < 0 || index >= static_cast<int64_t>(in.image.size())) return 0.0f;
    return static_cast<float>(in.image[static_cast<size_t>(index)]);
}

void SumLines(const PlainDemoInputs& in, int64_t r, std::vector<float>* accumulator)
{
    for (int64_t k = 0; k < in.xpix; ++k) {
        float sum = 0.0f;
        for (int64_t j = 0; j < in.verBinning; ++j) {
            sum += SourcePixel(in, in.originY + r * in.verBinning + j, in.originX + k);
        }
        (*accumulator)[static_cast<size_t>(k)] = sum;
    }
}

float Accumulated(const std::vector<float>& accumulator, int64_t column)
{
    return column < static_cast<int64_t>(accumulator.size())
               ? accumulator[static_cast<size_t>(column)]
               : 0.0f;
}

uint16_t DarkValue(double n)
{
    if (!std::isfinite(n)) return 0;
    const double whole = std::trunc(n);
    if (whole >= 2147483647.0) return 0xFFFF; // the ends of a 32-bit integer
    if (whole <= -2147483648.0) return 0;
    return static_cast<uint16_t>(static_cast<int32_t>(whole) & 0xFFFF);
}

uint16_t LightValue(float p)
{
    return std::isnan(p) ? uint16_t{0} : static_cast<uint16_t>(p);
}

} // namespace

void PlainDemoFrame(const PlainDemoInputs& in, int32_t width, int32_t height, uint16_t* buffer,
                    uint32_t* state)
{
    const double F = in.gainFactor;
    const double V = in.exposure * F / ((26.0 - in.temperature) / 6.0) * 200.0;
    std::vector<float> accumulator;
    if (in.verBinning > 1) accumulator.resize(static_cast<size_t>(in.xpix));

    for (int64_t r = 0; r < height; ++r) {
        if (in.light && in.verBinning > 1) SumLines(in, r, &accumulator);
        int64_t c = 0;
        for (int32_t column = 0; column < width; ++column) {
            const double a = std::sqrt(-2.0 * V * std::log(1.0 - Rand(state) / 32767.1));
            const double b = Rand(state) * 0.00019175345 - 3.14;
            const double n = a * std::cos(b) + 100.0;
            if (!in.light) *buffer = DarkValue(n);
            float p = 0.0f;
            for (int64_t i = 0; in.light && i < in.horBinning; ++i) {
                if (in.verBinning > 1) {
                    p = i == 0 ? Accumulated(accumulator, c + i)
                               : p + Accumulated(accumulator, c + i);
                } else {
                    p = SourcePixel(in, in.originY + r, in.originX + c + i);
                }
                ++c;
                p = static_cast<float>(p * (in.exposure * F));
                p = static_cast<float>(p + n);
                if (p < 0.0f) p = 0.0f;
                if (p > 65535.0f) p = 65535.0f;
                *buffer = LightValue(p);
            }
            ++buffer;
        }
    }
}
