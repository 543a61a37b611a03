// Pixels as raw files hold them.
#pragma once
#include <cstddef>
#include <cstdint>

// Two bytes a pixel, the low one first.
inline void WriteLittleEndian(const uint16_t* pixels, size_t count, uint8_t* bytes)
{
    for (size_t i = 0; i < count; ++i) {
        bytes[2 * i] = static_cast<uint8_t>(pixels[i] & 0xFF);
        bytes[2 * i + 1] = static_cast<uint8_t>(pixels[i] >> 8);
    }
}
