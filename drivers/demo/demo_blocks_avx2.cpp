// The kernels of the simulated pixels for processors with AVX2.
#include "drivers/demo/demo_blocks.h"

#if defined(__x86_64__)
#include <immintrin.h>

#define VECTOR_CODE [[gnu::target("avx2,fma")]]
#define VECTOR_PIECE [[gnu::target("avx2,fma"), gnu::always_inline]] inline

namespace {

// cos(b) as a polynomial in b squared, for b from -3.1433 to 3.1433; in error by
// less than 1.1e-6 when evaluated in single precision.
constexpr float CosinePolynomial[6] = {0.9999992166444814f,    -0.4999942380333506f,
                                       0.04165979367885857f,   -0.0013858823279890038f,
                                       2.420319246865882e-05f, -2.197343357466599e-07f};

VECTOR_PIECE __m256i LoadWords(const void* from)
{
    return _mm256_loadu_si256(static_cast<const __m256i*>(from));
}

VECTOR_PIECE __m256i EightDraws(__m256i twiceState, const uint32_t* mul, const uint32_t* twiceAdd)
{
    const __m256i scaled = _mm256_mullo_epi32(twiceState, LoadWords(mul));
    return _mm256_srli_epi32(_mm256_add_epi32(scaled, LoadWords(twiceAdd)), 17);
}

VECTOR_CODE void Draw(const NoiseTables& tables, uint32_t state, float deviation, int32_t count,
                      float* noise)
{
    const __m256i twiceState = _mm256_set1_epi32(static_cast<int32_t>(state * 2));
    const __m256 c0 = _mm256_set1_ps(CosinePolynomial[0] * deviation);
    const __m256 c1 = _mm256_set1_ps(CosinePolynomial[1] * deviation);
    const __m256 c2 = _mm256_set1_ps(CosinePolynomial[2] * deviation);
    const __m256 c3 = _mm256_set1_ps(CosinePolynomial[3] * deviation);
    const __m256 c4 = _mm256_set1_ps(CosinePolynomial[4] * deviation);
    const __m256 c5 = _mm256_set1_ps(CosinePolynomial[5] * deviation);
    const __m256 step = _mm256_set1_ps(0.00019175345f), begin = _mm256_set1_ps(-3.14f);
    for (int32_t i = 0; i < count; i += 8) {
        const __m256i first = EightDraws(twiceState, Draws.firstMul + i, Draws.firstTwiceAdd + i);
        const __m256i second =
            EightDraws(twiceState, Draws.secondMul + i, Draws.secondTwiceAdd + i);
        const __m256 b = _mm256_fmadd_ps(_mm256_cvtepi32_ps(second), step, begin);
        const __m256 y = _mm256_mul_ps(b, b);
        __m256 cosine = _mm256_fmadd_ps(c5, y, c4);
        cosine = _mm256_fmadd_ps(cosine, y, c3);
        cosine = _mm256_fmadd_ps(cosine, y, c2);
        cosine = _mm256_fmadd_ps(cosine, y, c1);
        cosine = _mm256_fmadd_ps(cosine, y, c0);
        const __m256 amplitude = _mm256_i32gather_ps(tables.amplitude, first, 4);
        _mm256_storeu_ps(noise + i, _mm256_mul_ps(amplitude, cosine));
    }
}

// The low 16 bits of 16 integers, in order.
VECTOR_PIECE void StoreLowWords(uint16_t* pixels, __m256i a, __m256i b)
{
    const __m256i mask = _mm256_set1_epi32(0xFFFF);
    const __m256i packed =
        _mm256_packus_epi32(_mm256_and_si256(a, mask), _mm256_and_si256(b, mask));
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(pixels), _mm256_permute4x64_epi64(packed, 0xD8));
}

// 16 integers, in order; what is below 0 as 0.
VECTOR_PIECE void StorePixels(uint16_t* pixels, __m256i a, __m256i b)
{
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(pixels),
                        _mm256_permute4x64_epi64(_mm256_packus_epi32(a, b), 0xD8));
}

VECTOR_PIECE uint32_t AnySet(__m256i bits)
{
    return _mm256_testz_si256(bits, bits) == 0;
}

VECTOR_CODE uint32_t Dark(const float* noise, NoiseBounds bounds, int32_t count, uint16_t* pixels)
{
    const __m256 low = _mm256_set1_ps(bounds.low), high = _mm256_set1_ps(bounds.high);
    __m256i differ = _mm256_setzero_si256();
    for (int32_t i = 0; i < count; i += BlockStep) {
        const __m256 a = _mm256_loadu_ps(noise + i), b = _mm256_loadu_ps(noise + i + 8);
        const __m256i lowA = _mm256_cvttps_epi32(_mm256_add_ps(a, low));
        const __m256i lowB = _mm256_cvttps_epi32(_mm256_add_ps(b, low));
        const __m256i highA = _mm256_cvttps_epi32(_mm256_add_ps(a, high));
        const __m256i highB = _mm256_cvttps_epi32(_mm256_add_ps(b, high));
        differ = _mm256_or_si256(differ, _mm256_xor_si256(lowA, highA));
        differ = _mm256_or_si256(differ, _mm256_xor_si256(lowB, highB));
        StoreLowWords(pixels + i, lowA, lowB);
    }
    return AnySet(differ);
}

// The product of eight values with `scale`, rounded to doubles and then to floats.
VECTOR_PIECE __m256 Scale(__m256d first, __m256d second, __m256d scale)
{
    const __m128 low = _mm256_cvtpd_ps(_mm256_mul_pd(first, scale));
    const __m128 high = _mm256_cvtpd_ps(_mm256_mul_pd(second, scale));
    return _mm256_set_m128(high, low);
}

VECTOR_PIECE __m256 ScaleFloats(__m256 values, __m256d scale)
{
    return Scale(_mm256_cvtps_pd(_mm256_castps256_ps128(values)),
                 _mm256_cvtps_pd(_mm256_extractf128_ps(values, 1)), scale);
}

VECTOR_PIECE __m256 ScalePixels(const uint16_t* source, __m256d scale)
{
    const __m128i words = _mm_loadu_si128(reinterpret_cast<const __m128i*>(source));
    const __m128i zero = _mm_setzero_si128();
    return Scale(_mm256_cvtepi32_pd(_mm_unpacklo_epi16(words, zero)),
                 _mm256_cvtepi32_pd(_mm_unpackhi_epi16(words, zero)), scale);
}

VECTOR_CODE uint32_t Light(const uint16_t* source, const float* noise, double scale,
                           NoiseBounds bounds, int32_t count, uint16_t* pixels)
{
    const __m256 low = _mm256_set1_ps(bounds.low), high = _mm256_set1_ps(bounds.high);
    const __m256d factor = _mm256_set1_pd(scale);
    __m256i differ = _mm256_setzero_si256();
    for (int32_t i = 0; i < count; i += BlockStep) {
        const __m256 signalA = ScalePixels(source + i, factor);
        const __m256 signalB = ScalePixels(source + i + 8, factor);
        const __m256 a = _mm256_loadu_ps(noise + i), b = _mm256_loadu_ps(noise + i + 8);
        const __m256i lowA = _mm256_cvttps_epi32(_mm256_add_ps(signalA, _mm256_add_ps(a, low)));
        const __m256i lowB = _mm256_cvttps_epi32(_mm256_add_ps(signalB, _mm256_add_ps(b, low)));
        const __m256i highA = _mm256_cvttps_epi32(_mm256_add_ps(signalA, _mm256_add_ps(a, high)));
        const __m256i highB = _mm256_cvttps_epi32(_mm256_add_ps(signalB, _mm256_add_ps(b, high)));
        differ = _mm256_or_si256(differ, _mm256_xor_si256(lowA, highA));
        differ = _mm256_or_si256(differ, _mm256_xor_si256(lowB, highB));
        StorePixels(pixels + i, lowA, lowB);
    }
    return AnySet(differ);
}

// Signal and noise of eight pixels, at most 65535.
VECTOR_PIECE __m256 AddNoise(__m256 signal, __m256 noise, float bound)
{
    const __m256 sum = _mm256_add_ps(signal, _mm256_add_ps(noise, _mm256_set1_ps(bound)));
    return _mm256_min_ps(sum, _mm256_set1_ps(65535.0f));
}

VECTOR_CODE void Expose(const float* values, const float* noise, double scale, NoiseBounds bounds,
                        int32_t count, float* low, float* high)
{
    const __m256d factor = _mm256_set1_pd(scale);
    for (int32_t i = 0; i < count; i += 8) {
        const __m256 signal = ScaleFloats(_mm256_loadu_ps(values + i), factor);
        const __m256 sample = _mm256_loadu_ps(noise + i);
        _mm256_storeu_ps(low + i, AddNoise(signal, sample, bounds.low));
        _mm256_storeu_ps(high + i, AddNoise(signal, sample, bounds.high));
    }
}

VECTOR_CODE void ExposeFurther(const float* values, const float* noise, double scale,
                               NoiseBounds bounds, int32_t count, float* low, float* high)
{
    const __m256 zero = _mm256_setzero_ps();
    const __m256d factor = _mm256_set1_pd(scale);
    for (int32_t i = 0; i < count; i += 8) {
        const __m256 value = _mm256_loadu_ps(values + i), sample = _mm256_loadu_ps(noise + i);
        const __m256 below = _mm256_max_ps(_mm256_loadu_ps(low + i), zero);
        const __m256 above = _mm256_max_ps(_mm256_loadu_ps(high + i), zero);
        const __m256 lowSignal = ScaleFloats(_mm256_add_ps(below, value), factor);
        const __m256 highSignal = ScaleFloats(_mm256_add_ps(above, value), factor);
        _mm256_storeu_ps(low + i, AddNoise(lowSignal, sample, bounds.low));
        _mm256_storeu_ps(high + i, AddNoise(highSignal, sample, bounds.high));
    }
}

VECTOR_CODE uint32_t Store(const float* low, const float* high, int32_t count, uint16_t* pixels)
{
    __m256i differ = _mm256_setzero_si256();
    for (int32_t i = 0; i < count; i += BlockStep) {
        const __m256i lowA = _mm256_cvttps_epi32(_mm256_loadu_ps(low + i));
        const __m256i lowB = _mm256_cvttps_epi32(_mm256_loadu_ps(low + i + 8));
        const __m256i highA = _mm256_cvttps_epi32(_mm256_loadu_ps(high + i));
        const __m256i highB = _mm256_cvttps_epi32(_mm256_loadu_ps(high + i + 8));
        differ = _mm256_or_si256(differ, _mm256_xor_si256(lowA, highA));
        differ = _mm256_or_si256(differ, _mm256_xor_si256(lowB, highB));
        StorePixels(pixels + i, lowA, lowB);
    }
    return AnySet(differ);
}

VECTOR_PIECE __m256 EightPixels(const uint16_t* source)
{
    const __m128i words = _mm_loadu_si128(reinterpret_cast<const __m128i*>(source));
    return _mm256_cvtepi32_ps(_mm256_cvtepu16_epi32(words));
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
