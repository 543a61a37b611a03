// Conversions of doubles to integers: truncation toward zero; what does not fit
// becomes the nearest end of the range, not-a-number becomes 0.
#pragma once
#include <cmath>
#include <cstdint>

inline int32_t ToInt32(double value)
{
    if (std::isnan(value)) return 0;
    if (value >= 2147483647.0) return INT32_MAX;
    if (value <= -2147483648.0) return INT32_MIN;
    return static_cast<int32_t>(value);
}

inline uint32_t ToUint32(double value)
{
    if (std::isnan(value) || value <= 0.0) return 0;
    if (value >= 4294967295.0) return UINT32_MAX;
    return static_cast<uint32_t>(value);
}

inline uint16_t ToUint16(double value)
{
    if (std::isnan(value) || value <= 0.0) return 0;
    if (value >= 65535.0) return UINT16_MAX;
    return static_cast<uint16_t>(value);
}

inline int16_t ToInt16(double value)
{
    if (std::isnan(value)) return 0;
    if (value >= 32767.0) return INT16_MAX;
    if (value <= -32768.0) return INT16_MIN;
    return static_cast<int16_t>(value);
}
