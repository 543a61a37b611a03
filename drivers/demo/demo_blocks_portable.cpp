// The kernels of the simulated pixels for every processor. The loops are simple
// enough for a compiler to use what vector instructions there are.
#include "drivers/demo/demo_blocks.h"

namespace {

constexpr int32_t Chains = 4; // so that no multiplication waits for the one before
constexpr DrawStep NextDraw = StepAhead(1), NextPixel = StepAhead(2),
                   NextRound = StepAhead(2 * Chains);

void Draw(const NoiseTables& tables, uint32_t state, float deviation, int32_t count, float* noise)
{
    uint32_t chain[Chains]; // doubled, as the addends below
    chain[0] = state * 2 * NextDraw.mul + NextDraw.add * 2;
    for (int32_t k = 1; k < Chains; ++k) {
        chain[k] = chain[k - 1] * NextPixel.mul + NextPixel.add * 2;
    }
    for (int32_t i = 0; i < count; i += Chains) {
        for (int32_t k = 0; k < Chains; ++k) {
            const uint32_t second = chain[k] * NextDraw.mul + NextDraw.add * 2;
            noise[i + k] = tables.amplitude[chain[k] >> 17] * tables.direction[second >> 17];
            chain[k] = chain[k] * NextRound.mul + NextRound.add * 2;
        }
    }
    for (int32_t i = 0; i < count; ++i) noise[i] *= deviation;
}

uint32_t Dark(const float* __restrict noise, const BlockBounds& bounds, int32_t count,
              uint16_t* __restrict pixels, uint16_t* __restrict others)
{
    const float lowBound = bounds.low, highBound = bounds.high;
    int32_t differ = 0;
    for (int32_t i = 0; i < count; ++i) {
        const int32_t low = static_cast<int32_t>(noise[i] + lowBound);
        const int32_t high = static_cast<int32_t>(noise[i] + highBound);
        differ |= low ^ high;
        pixels[i] = static_cast<uint16_t>(low);
    }
    if (differ == 0) return 0;
    for (int32_t i = 0; i < count; ++i) {
        others[i] = static_cast<uint16_t>(static_cast<int32_t>(noise[i] + highBound));
    }
    return 1;
}

uint16_t ClampPixel(int32_t value)
{
    const int32_t positive = value > 0 ? value : 0;
    return static_cast<uint16_t>(positive < 65535 ? positive : 65535);
}

// One end of a light pixel.
int32_t Exposed(uint16_t value, float scale, float noise, float bound)
{
    return static_cast<int32_t>(static_cast<float>(value) * scale + (noise + bound));
}

uint32_t Light(const uint16_t* __restrict source, const float* __restrict noise,
               const BlockBounds& bounds, int32_t count, uint16_t* __restrict pixels,
               uint16_t* __restrict others)
{
    const BlockBounds ends = bounds;
    int32_t differ = 0;
    for (int32_t i = 0; i < count; ++i) {
        const int32_t low = Exposed(source[i], ends.scaleLow, noise[i], ends.low);
        differ |= low ^ Exposed(source[i], ends.scaleHigh, noise[i], ends.high);
        pixels[i] = ClampPixel(low);
    }
    if (differ == 0) return 0;
    for (int32_t i = 0; i < count; ++i) {
        others[i] = ClampPixel(Exposed(source[i], ends.scaleHigh, noise[i], ends.high));
    }
    return 1;
}

float AtLeastZero(float value)
{
    return value > 0.0f ? value : 0.0f;
}

float AtMostWhite(float value)
{
    return value < 65535.0f ? value : 65535.0f;
}

void Expose(const float* __restrict values, const float* __restrict noise,
            const BlockBounds& bounds, int32_t count, float* __restrict low, float* __restrict high)
{
    const BlockBounds ends = bounds;
    for (int32_t i = 0; i < count; ++i) {
        low[i] = AtMostWhite(values[i] * ends.scaleLow + (noise[i] + ends.low));
        high[i] = AtMostWhite(values[i] * ends.scaleHigh + (noise[i] + ends.high));
    }
}

void ExposeFurther(const float* __restrict values, const float* __restrict noise,
                   const BlockBounds& bounds, int32_t count, float* __restrict low,
                   float* __restrict high)
{
    const BlockBounds ends = bounds;
    for (int32_t i = 0; i < count; ++i) {
        const float lowSum = AtLeastZero(low[i]) + values[i];
        const float highSum = AtLeastZero(high[i]) + values[i];
        low[i] = AtMostWhite(lowSum * ends.scaleLow + (noise[i] + ends.low));
        high[i] = AtMostWhite(highSum * ends.scaleHigh + (noise[i] + ends.high));
    }
}

uint32_t Store(const float* __restrict low, const float* __restrict high, int32_t count,
               uint16_t* __restrict pixels, uint16_t* __restrict others)
{
    int32_t differ = 0;
    for (int32_t i = 0; i < count; ++i) {
        const int32_t below = static_cast<int32_t>(AtLeastZero(low[i]));
        differ |= below ^ static_cast<int32_t>(AtLeastZero(high[i]));
        pixels[i] = static_cast<uint16_t>(below);
    }
    if (differ == 0) return 0;
    for (int32_t i = 0; i < count; ++i) {
        others[i] = static_cast<uint16_t>(static_cast<int32_t>(AtLeastZero(high[i])));
    }
    return 1;
}

void SumLines(const uint16_t* __restrict source, int32_t stride, int32_t lines, int32_t count,
              float* __restrict sums)
{
    for (int32_t i = 0; i < count; ++i) sums[i] = static_cast<float>(source[i]);
    for (int64_t line = 1; line < lines; ++line) {
        const uint16_t* from = source + line * stride;
        for (int32_t i = 0; i < count; ++i) sums[i] += static_cast<float>(from[i]);
    }
}

} // namespace

const BlockKernels PortableKernels = {Draw, Dark, Light, Expose, ExposeFurther, Store, SumLines};
