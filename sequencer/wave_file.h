// The 29 bytes ahead of the words of wave.bin, little-endian.
#pragma once
#include <cstdint>

inline constexpr uint32_t WaveHeaderBytes = 29;
inline constexpr int SequenceEntries = 12;

struct WaveHeader {
    uint32_t wordCount;                // padding included
    bool byteWords;                    // 8-bit words, else 16-bit
    uint16_t entries[SequenceEntries]; // in the record's order
};

void PackWaveHeader(const WaveHeader& header, uint8_t* bytes);
WaveHeader UnpackWaveHeader(const uint8_t* bytes);
