// The kernels of the simulated pixels for processors with AVX2.
#include "drivers/demo/demo_blocks.h"

#if defined(__x86_64__)
#include <immintrin.h>

#define VECTOR_CODE [[gnu::target("avx2,fma")]]
#define VECTOR_PIECE [[gnu::target("avx2,fma"), gnu::always_inline]] inline

namespace {

// The cosine of a draw r is taken of a turn z = 1 + r / 32768 - CosineTop, from
// -0.5003 to 0.5003, where 1 + r / 32768 is a float whose fraction begins with the
// 15 bits of r. The polynomial is one in z squared, evaluated in single precision
// in error by less than 1.4e-6.
constexpr float CosineTop = 1.49973130f;
constexpr float CosinePolynomial[6] = {0.999999217f, -19.7401862f, 64.9366112f,
                                       -85.2874796f, 58.8056537f,  -21.0783381f};

VECTOR_PIECE __m256i LoadWords(const void* from)
{
    return _mm256_loadu_si256(static_cast<const __m256i*>(from));
}

// The doubled states of eight draws: the draw is in the upper 15 bits.
VECTOR_PIECE __m256i EightStates(__m256i twiceState, const uint32_t* mul, const uint32_t* twiceAdd)
{
    return _mm256_add_epi32(_mm256_mullo_epi32(twiceState, LoadWords(mul)), LoadWords(twiceAdd));
}

VECTOR_CODE void Draw(const NoiseTables& tables, uint32_t state, float deviation, int32_t count,
                      float* noise)
{
    const __m256i twiceState = _mm256_set1_epi32(static_cast<int32_t>(state * 2));
    const __m256i fraction = _mm256_set1_epi32(0x007FFF00), one = _mm256_set1_epi32(0x3F800000);
    const __m256 top = _mm256_set1_ps(CosineTop);
    const __m256 c0 = _mm256_set1_ps(CosinePolynomial[0] * deviation);
    const __m256 c1 = _mm256_set1_ps(CosinePolynomial[1] * deviation);
    const __m256 c2 = _mm256_set1_ps(CosinePolynomial[2] * deviation);
    const __m256 c3 = _mm256_set1_ps(CosinePolynomial[3] * deviation);
    const __m256 c4 = _mm256_set1_ps(CosinePolynomial[4] * deviation);
    const __m256 c5 = _mm256_set1_ps(CosinePolynomial[5] * deviation);
    for (int32_t i = 0; i < count; i += 8) {
        const __m256i first = EightStates(twiceState, Draws.firstMul + i, Draws.firstTwiceAdd + i);
        const __m256i second =
            EightStates(twiceState, Draws.secondMul + i, Draws.secondTwiceAdd + i);
        const __m256i bits =
            _mm256_or_si256(_mm256_and_si256(_mm256_srli_epi32(second, 9), fraction), one);
        const __m256 z = _mm256_sub_ps(_mm256_castsi256_ps(bits), top);
        const __m256 y = _mm256_mul_ps(z, z);
        __m256 cosine = _mm256_fmadd_ps(c5, y, c4);
        cosine = _mm256_fmadd_ps(cosine, y, c3);
        cosine = _mm256_fmadd_ps(cosine, y, c2);
        cosine = _mm256_fmadd_ps(cosine, y, c1);
        cosine = _mm256_fmadd_ps(cosine, y, c0);
        const __m256 amplitude =
            _mm256_i32gather_ps(tables.amplitude, _mm256_srli_epi32(first, 17), 4);
        _mm256_storeu_ps(noise + i, _mm256_mul_ps(amplitude, cosine));
    }
}

// Packing goes by halves of a register: the pixels are still to be put in order.
VECTOR_PIECE void StoreInOrder(uint16_t* pixels, __m256i packed)
{
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(pixels), _mm256_permute4x64_epi64(packed, 0xD8));
}

VECTOR_PIECE uint32_t AnySet(__m256i bits)
{
    return _mm256_testz_si256(bits, bits) == 0;
}

VECTOR_PIECE __m256i Truncated(__m256 sample, __m256 bound)
{
    return _mm256_cvttps_epi32(_mm256_add_ps(sample, bound));
}

// The low 16 bits of 16 integers.
VECTOR_PIECE __m256i PackLowWords(__m256i a, __m256i b)
{
    const __m256i mask = _mm256_set1_epi32(0xFFFF);
    return _mm256_packus_epi32(_mm256_and_si256(a, mask), _mm256_and_si256(b, mask));
}

VECTOR_CODE uint32_t Dark(const float* noise, const BlockBounds& bounds, int32_t count,
                          uint16_t* pixels, uint16_t* others)
{
    const __m256 low = _mm256_set1_ps(bounds.low), high = _mm256_set1_ps(bounds.high);
    __m256i differ = _mm256_setzero_si256();
    for (int32_t i = 0; i < count; i += BlockStep) {
        const __m256 a = _mm256_loadu_ps(noise + i), b = _mm256_loadu_ps(noise + i + 8);
        const __m256i below = PackLowWords(Truncated(a, low), Truncated(b, low));
        const __m256i above = PackLowWords(Truncated(a, high), Truncated(b, high));
        differ = _mm256_or_si256(differ, _mm256_xor_si256(below, above));
        StoreInOrder(pixels + i, below);
        StoreInOrder(others + i, above);
    }
    return AnySet(differ);
}

// Eight pixels of light: value x scale + (sample + bound), as integers.
VECTOR_PIECE __m256i Exposed(__m256 values, __m256 scale, __m256 sample, __m256 bound)
{
    return _mm256_cvttps_epi32(_mm256_fmadd_ps(values, scale, _mm256_add_ps(sample, bound)));
}

VECTOR_PIECE __m256 EightPixels(const uint16_t* source)
{
    const __m128i words = _mm_loadu_si128(reinterpret_cast<const __m128i*>(source));
    return _mm256_cvtepi32_ps(_mm256_cvtepu16_epi32(words));
}

VECTOR_CODE uint32_t Light(const uint16_t* source, const float* noise, const BlockBounds& bounds,
                           int32_t count, uint16_t* pixels, uint16_t* others)
{
    const __m256 low = _mm256_set1_ps(bounds.low), high = _mm256_set1_ps(bounds.high);
    const __m256 scaleLow = _mm256_set1_ps(bounds.scaleLow);
    const __m256 scaleHigh = _mm256_set1_ps(bounds.scaleHigh);
    __m256i differ = _mm256_setzero_si256();
    for (int32_t i = 0; i < count; i += BlockStep) {
        const __m256 a = _mm256_loadu_ps(noise + i), b = _mm256_loadu_ps(noise + i + 8);
        const __m256 valuesA = EightPixels(source + i), valuesB = EightPixels(source + i + 8);
        const __m256i below = _mm256_packus_epi32(Exposed(valuesA, scaleLow, a, low),
                                                  Exposed(valuesB, scaleLow, b, low));
        const __m256i above = _mm256_packus_epi32(Exposed(valuesA, scaleHigh, a, high),
                                                  Exposed(valuesB, scaleHigh, b, high));
        differ = _mm256_or_si256(differ, _mm256_xor_si256(below, above));
        StoreInOrder(pixels + i, below);
        StoreInOrder(others + i, above);
    }
    return AnySet(differ);
}

// One end of eight pixels, at most 65535.
VECTOR_PIECE void ExposeEnd(float* end, __m256 values, float scale, __m256 sample, float bound)
{
    const __m256 noise = _mm256_add_ps(sample, _mm256_set1_ps(bound));
    const __m256 sum = _mm256_fmadd_ps(values, _mm256_set1_ps(scale), noise);
    _mm256_storeu_ps(end, _mm256_min_ps(sum, _mm256_set1_ps(65535.0f)));
}

VECTOR_CODE void Expose(const float* values, const float* noise, const BlockBounds& bounds,
                        int32_t count, float* low, float* high)
{
    for (int32_t i = 0; i < count; i += 8) {
        const __m256 sample = _mm256_loadu_ps(noise + i), value = _mm256_loadu_ps(values + i);
        ExposeEnd(low + i, value, bounds.scaleLow, sample, bounds.low);
        ExposeEnd(high + i, value, bounds.scaleHigh, sample, bounds.high);
    }
}

VECTOR_PIECE __m256 AddTo(const float* end, __m256 value)
{
    return _mm256_add_ps(_mm256_max_ps(_mm256_loadu_ps(end), _mm256_setzero_ps()), value);
}

VECTOR_CODE void ExposeFurther(const float* values, const float* noise, const BlockBounds& bounds,
                               int32_t count, float* low, float* high)
{
    for (int32_t i = 0; i < count; i += 8) {
        const __m256 sample = _mm256_loadu_ps(noise + i), value = _mm256_loadu_ps(values + i);
        ExposeEnd(low + i, AddTo(low + i, value), bounds.scaleLow, sample, bounds.low);
        ExposeEnd(high + i, AddTo(high + i, value), bounds.scaleHigh, sample, bounds.high);
    }
}

VECTOR_PIECE __m256i PackEnds(const float* ends)
{
    return _mm256_packus_epi32(_mm256_cvttps_epi32(_mm256_loadu_ps(ends)),
                               _mm256_cvttps_epi32(_mm256_loadu_ps(ends + 8)));
}

VECTOR_CODE uint32_t Store(const float* low, const float* high, int32_t count, uint16_t* pixels,
                           uint16_t* others)
{
    __m256i differ = _mm256_setzero_si256();
    for (int32_t i = 0; i < count; i += BlockStep) {
        const __m256i below = PackEnds(low + i), above = PackEnds(high + i);
        differ = _mm256_or_si256(differ, _mm256_xor_si256(below, above));
        StoreInOrder(pixels + i, below);
        StoreInOrder(others + i, above);
    }
    return AnySet(differ);
}

VECTOR_CODE void SumLines(const uint16_t* source, int32_t stride, int32_t lines, int32_t count,
                          float* sums)
{
    int32_t i = 0;
    for (; i <= count - 16; i += 16) {
        __m256 a = EightPixels(source + i), b = EightPixels(source + i + 8);
        for (int64_t line = 1; line < lines; ++line) {
            const uint16_t* from = source + line * stride + i;
            a = _mm256_add_ps(a, EightPixels(from));
            b = _mm256_add_ps(b, EightPixels(from + 8));
        }
        _mm256_storeu_ps(sums + i, a);
        _mm256_storeu_ps(sums + i + 8, b);
    }
    for (; i < count; ++i) {
        sums[i] = 0.0f;
        for (int64_t line = 0; line < lines; ++line) {
            sums[i] += static_cast<float>(source[line * stride + i]);
        }
    }
}

constexpr BlockKernels Avx2Kernels = {Draw, Dark, Light, Expose, ExposeFurther, Store, SumLines};

} // namespace

const BlockKernels* VectorKernels()
{
    return __builtin_cpu_supports("avx2") && __builtin_cpu_supports("fma") ? &Avx2Kernels : nullptr;
}

#else

const BlockKernels* VectorKernels()
{
    return nullptr;
}

#endif
