// What the portable and the vector code of the simulated pixels share.
//
// A pixel is a small integer, so its noise sample hardly ever matters to the
// last bit. Sample and signal are computed in single precision, in error by less
// than a margin, and the pixel from both ends of that interval. Where both give
// the same integer it is the pixel, since every step from sample to pixel is
// monotonic; where they differ, which few pixels in 10,000 do, the formula itself
// decides. Frames are worked on in blocks of pixels of one row.
#pragma once
#include <cstdint>

inline constexpr int32_t BlockPixels = 128;
inline constexpr int32_t BlockStep = 16;
inline constexpr int32_t DrawValues = 32768;

// The generator `step` draws ahead: state x mul + add.
struct DrawStep {
    uint32_t mul, add;
};

constexpr DrawStep StepAhead(int32_t draws)
{
    DrawStep step = {1, 0};
    for (int32_t i = 0; i < draws; ++i) {
        step.mul *= 214013u;
        step.add = step.add * 214013u + 2531011u;
    }
    return step;
}

// The draws of each pixel of a block from the state at its start: draw =
// (2 x state x mul + 2 x add) >> 17. The doubling leaves the 15 bits in one shift.
struct BlockDraws {
    uint32_t firstMul[BlockPixels], firstTwiceAdd[BlockPixels];
    uint32_t secondMul[BlockPixels], secondTwiceAdd[BlockPixels];
    uint32_t secondAdd[BlockPixels];
};

constexpr BlockDraws MakeBlockDraws()
{
    BlockDraws draws = {};
    for (int32_t i = 0; i < BlockPixels; ++i) {
        const DrawStep first = StepAhead(2 * i + 1), second = StepAhead(2 * i + 2);
        draws.firstMul[i] = first.mul;
        draws.firstTwiceAdd[i] = first.add * 2;
        draws.secondMul[i] = second.mul;
        draws.secondTwiceAdd[i] = second.add * 2;
        draws.secondAdd[i] = second.add;
    }
    return draws;
}

inline constexpr BlockDraws Draws = MakeBlockDraws();

// Functions of a draw r.
struct NoiseTables {
    double logarithm[DrawValues]; // ln(1.0 - r / 32767.1)
    double cosine[DrawValues];    // cos(r x 0.00019175345 - 3.14)
    float amplitude[DrawValues];  // sqrt(-2 ln(...)), for a variance of 1
    float direction[DrawValues];  // the cosine, rounded
};

// The ends of the interval: the noise of sample x, without the bias, is between
// x + low and x + high, and the signal of value v between the rounded products
// v x scaleLow and v x scaleHigh.
struct BlockBounds {
    float low, high;
    float scaleLow, scaleHigh;
};

// What the kernels rely on: everything stays finite, and light pixels of one
// step fit into 32 bits before they are clamped.
inline constexpr double MaxVariance = 1e6;
inline constexpr double MaxScale = 16384.0;

// `count` is a multiple of BlockStep, at most BlockPixels. The pixels are
// those of the lower end. The result is 0 if the upper end gives the same; else
// `others` are those of the upper end.
struct BlockKernels {
    // The samples from the state at the block's start.
    void (*Draw)(const NoiseTables& tables, uint32_t state, float deviation, int32_t count,
                 float* noise);
    // Dark pixels.
    uint32_t (*Dark)(const float* noise, const BlockBounds& bounds, int32_t count, uint16_t* pixels,
                     uint16_t* others);
    // Light pixels of one step, straight from source pixels.
    uint32_t (*Light)(const uint16_t* source, const float* noise, const BlockBounds& bounds,
                      int32_t count, uint16_t* pixels, uint16_t* others);
    // One step of light pixels: both ends p of value x scale + noise, at most
    // 65535. An end below 0 stands for 0.
    void (*Expose)(const float* values, const float* noise, const BlockBounds& bounds,
                   int32_t count, float* low, float* high);
    // A further step: (p + value) x scale + noise.
    void (*ExposeFurther)(const float* values, const float* noise, const BlockBounds& bounds,
                          int32_t count, float* low, float* high);
    // Light pixels from both ends.
    uint32_t (*Store)(const float* low, const float* high, int32_t count, uint16_t* pixels,
                      uint16_t* others);
    // The sums of columns over `lines` source lines; any count.
    void (*SumLines)(const uint16_t* source, int32_t stride, int32_t lines, int32_t count,
                     float* sums);
};

extern const BlockKernels PortableKernels;

// Null unless this processor can run them.
const BlockKernels* VectorKernels();
