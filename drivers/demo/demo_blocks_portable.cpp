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

uint32_t Dark(const float* __restrict noise, NoiseBounds bounds, int32_t count,
              uint16_t* __restrict pixels)
{
    int32_t differ = 0;
    for (int32_t i = 0; i < count; ++i) {
        const int32_t low = static_cast<int32_t>(noise[i] + bounds.low);
        const int32_t high = static_cast<int32_t>(noise[i] + bounds.high);
        differ |= low ^ high;
        pixels[i] = static_cast<uint16_t>(low);
    }
    return static_cast<uint32_t>(differ);
}

float AtLeastZero(float value)
{
    return value > 0.0f ? value : 0.0f;
}

float AtMostWhite(float value)
{
    return value < 65535.0f ? value : 65535.0f;
}

void Expose(const float* __restrict values, const float* __restrict noise, double scale,
            NoiseBounds bounds, int32_t count, float* __restrict low, float* __restrict high)
{
    for (int32_t i = 0; i < count; ++i) {
        const float signal = static_cast<float>(values[i] * scale);
        low[i] = AtMostWhite(signal + (noise[i] + bounds.low));
        high[i] = AtMostWhite(signal + (noise[i] + bounds.high));
    }
}

void ExposeFurther(const float* __restrict values, const float* __restrict noise, double scale,
                   NoiseBounds bounds, int32_t count, float* __restrict low, float* __restrict high)
{
    for (int32_t i = 0; i < count; ++i) {
        const float lowSignal = static_cast<float>((AtLeastZero(low[i]) + values[i]) * scale);
        const float highSignal = static_cast<float>((AtLeastZero(high[i]) + values[i]) * scale);
        low[i] = AtMostWhite(lowSignal + (noise[i] + bounds.low));
        high[i] = AtMostWhite(highSignal + (noise[i] + bounds.high));
    }
}

uint32_t Store(const float* __restrict low, const float* __restrict high, int32_t count,
               uint16_t* __restrict pixels)
{
    int32_t differ = 0;
    for (int32_t i = 0; i < count; ++i) {
        const int32_t below = static_cast<int32_t>(AtLeastZero(low[i]));
        const int32_t above = static_cast<int32_t>(AtLeastZero(high[i]));
        differ |= below ^ above;
        pixels[i] = static_cast<uint16_t>(below);
    }
    return static_cast<uint32_t>(differ);
}

uint32_t Light(const uint16_t* __restrict source, const float* __restrict noise, double scale,
               NoiseBounds bounds, int32_t count, uint16_t* __restrict pixels)
{
    int32_t differ = 0;
    for (int32_t i = 0; i < count; ++i) {
        const float signal = static_cast<float>(static_cast<double>(source[i]) * scale);
        const int32_t low = static_cast<int32_t>(signal + (noise[i] + bounds.low));
        const int32_t high = static_cast<int32_t>(signal + (noise[i] + bounds.high));
        differ |= low ^ high;
        const int32_t positive = low > 0 ? low : 0;
        pixels[i] = static_cast<uint16_t>(positive < 65535 ? positive : 65535);
    }
    return static_cast<uint32_t>(differ);
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
