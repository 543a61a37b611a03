#include "tests/support/byte_camera.h"

#include <cstdio>

#include "tests/support/temp_folder.h"

namespace {

std::string Hex(unsigned byte)
{
    char text[8];
    snprintf(text, sizeof text, "%02X", byte & 0xFF);
    return text;
}

std::string Pair(unsigned value)
{
    return " 1C " + Hex(value);
}

} // namespace

std::string SerialPairs(const std::string& bits, unsigned lines)
{
    std::string text;
    for (const char bit : bits) {
        const unsigned data = lines | (bit == '1' ? 1u : 0u);
        text += Pair(data) + Pair(data | 2) + Pair(data);
    }
    return text.substr(1);
}

std::string DrivePairs(const std::string& bits)
{
    return "07 10 " + SerialPairs(bits, 0) + " 01 08 01 00 1C 00 07 00";
}

std::string FrontEndPairs(const std::string& bits, unsigned lines)
{
    return SerialPairs(bits, (lines & 0x70) | 4) + Pair(lines);
}

std::string Flagged(const std::string& pairs)
{
    std::string text = pairs;
    for (size_t i = 0; i < text.size(); i += 6) {
        const unsigned reg = static_cast<unsigned>(std::stoul(text.substr(i, 2), nullptr, 16));
        text.replace(i, 2, Hex(reg | 0x80));
    }
    return text;
}

std::string OnePagePattern(bool byteWords, uint16_t first)
{
    const std::string path = TempFolder() + "one_page_wave.bin";
    std::vector<char> file(29, 0);
    file[1] = 1; // 256 words
    file[4] = byteWords ? 1 : 0;
    for (int n = 0; n < 256; ++n) {
        file.push_back(static_cast<char>(first + n));
        if (!byteWords) file.push_back(static_cast<char>((first + n) >> 8));
    }
    FILE* out = fopen(path.c_str(), "wb");
    EXPECT_NE(out, nullptr);
    fwrite(file.data(), 1, file.size(), out);
    fclose(out);
    return path;
}
