#include "tests/wave_views/pattern_files.h"

#include <sstream>

namespace {

constexpr size_t Page = 256;
constexpr uint32_t PaddingWord = 99;

using Words = std::vector<uint32_t>;

Words WordsOf(const std::string& steps)
{
    Words words;
    std::istringstream parts(steps);
    for (std::string part; parts >> part;) {
        const size_t cross = part.find('x');
        const size_t ticks = cross == std::string::npos ? 1 : std::stoul(part.substr(cross + 1));
        words.insert(words.end(), ticks, static_cast<uint32_t>(std::stoul(part.substr(0, cross))));
    }
    return words;
}

void Append16(std::string* bytes, size_t value)
{
    *bytes += static_cast<char>(value & 0xFF);
    *bytes += static_cast<char>(value >> 8 & 0xFF);
}

} // namespace

PatternText SmallPattern()
{
    PatternText text;
    text.idle = "0";
    text.row = "8 72x2 136x2 72x2 8x2";
    text.line = "0 8 72x2 136x2 72x2 "
                "32 0 8 8  32 1 8 14  32 1 8 14  32 1 8 14  32 1 8 14  32 0 8 8  8";
    text.pixel = "32 8 8 32";
    return text;
}

std::string PatternBytes(const PatternText& text)
{
    struct Entry {
        size_t at; // of its pair in the table
        const std::string* steps;
    };
    const Entry order[] = {{5, &text.idle},    {9, &text.row},     {17, &text.line},
                           {21, &text.extraA}, {25, &text.extraB}, {13, &text.pixel}};
    std::string table(29, '\0');
    std::string data;
    size_t total = 0;
    for (const Entry& entry : order) {
        const Words words = WordsOf(*entry.steps);
        if (words.empty()) continue;
        Put16(&table, entry.at, static_cast<uint32_t>(total));
        Put16(&table, entry.at + 2, static_cast<uint32_t>(words.size() - 1));
        const size_t padded = (words.size() + Page - 1) / Page * Page;
        for (size_t i = 0; i < padded; ++i) {
            const uint32_t word = i < words.size() ? words[words.size() - 1 - i] : PaddingWord;
            if (text.byteWords) {
                data += static_cast<char>(word);
            } else {
                Append16(&data, word);
            }
        }
        total += padded;
    }
    Put16(&table, 0, static_cast<uint32_t>(total & 0xFFFF));
    Put16(&table, 2, static_cast<uint32_t>(total >> 16));
    table[4] = text.byteWords ? 1 : 0;
    return table + data;
}

void Put16(std::string* bytes, size_t at, uint32_t value)
{
    (*bytes)[at] = static_cast<char>(value & 0xFF);
    (*bytes)[at + 1] = static_cast<char>(value >> 8 & 0xFF);
}

void WaveViews::WriteDefinitions()
{
    WriteText(scratch, "qvn.cfg",
              "rmk_camera_library: {\n"
              "  ccd_definitions: { kaf400e: {\n"
              "    Xpix = 4; Ypix = 3; HorDummyPix = 1; HorRegSize = 6; Dummy = [ 2, 1, 0, 0 ];\n"
              "  }; };\n"
              "  camera_platforms: { HERON_Plus: { kaf400e: {\n"
              "    SamplingClock = [ 0.5, 0.5 ]; VerticalPhasePeriod = 1;\n"
              "  }; }; };\n"
              "};\n");
}

ProgramResult WaveViews::RunWave(const std::vector<std::string>& arguments)
{
    std::vector<std::string> all = {"wave"};
    all.insert(all.end(), arguments.begin(), arguments.end());
    return Run(all);
}

ProgramResult WaveViews::RunFor(const std::vector<std::string>& arguments)
{
    std::vector<std::string> all = arguments;
    all.insert(all.end(),
               {"--library-path", ".", "--platform", "HERON_Plus", "--sensor", "kaf400e"});
    return RunWave(all);
}
