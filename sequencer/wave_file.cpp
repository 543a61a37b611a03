#include "sequencer/wave_file.h"

namespace {

// The last pair stands crossed in the file: the record's twelfth entry, the
// start of ExtraSectionB, comes ahead of the eleventh, its end. Required.
constexpr int FileOrder[SequenceEntries] = {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 11, 10};

constexpr int FirstEntry = 5;

} // namespace

void PackWaveHeader(const WaveHeader& header, uint8_t* bytes)
{
    for (int i = 0; i < 4; ++i) bytes[i] = static_cast<uint8_t>(header.wordCount >> (8 * i));
    bytes[4] = header.byteWords ? 1 : 0;
    for (int i = 0; i < SequenceEntries; ++i) {
        const uint16_t entry = header.entries[FileOrder[i]];
        bytes[FirstEntry + 2 * i] = static_cast<uint8_t>(entry);
        bytes[FirstEntry + 2 * i + 1] = static_cast<uint8_t>(entry >> 8);
    }
}

WaveHeader UnpackWaveHeader(const uint8_t* bytes)
{
    WaveHeader header = {};
    for (int i = 0; i < 4; ++i) header.wordCount |= static_cast<uint32_t>(bytes[i]) << (8 * i);
    header.byteWords = bytes[4] != 0;
    for (int i = 0; i < SequenceEntries; ++i) {
        header.entries[FileOrder[i]] =
            static_cast<uint16_t>(bytes[FirstEntry + 2 * i] | bytes[FirstEntry + 2 * i + 1] << 8);
    }
    return header;
}
