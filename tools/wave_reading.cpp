// wave.bin as the program looks at it.
#include "tools/wave_reading.h"

#include <cerrno>
#include <cstdio>
#include <cstring>

#include "tools/report.h"
#include "tools/text.h"

const WavePartName WavePartNames[WaveParts] = {
    {"idle", true}, {"row", true},      {"pixel", true},
    {"line", true}, {"extra-a", false}, {"extra-b", false},
};

namespace {

constexpr size_t TableBytes = 29; // word count, width, six pairs of start and end
constexpr size_t WidthByte = 4;
constexpr size_t FirstPair = 5;
constexpr size_t LargestFile = TableBytes + 2 * size_t{WaveLargestWords};

constexpr char BuildAgain[] = "build it again; a build that ends with error 8 leaves such a file";

uint32_t Word16(const std::vector<uint8_t>& bytes, size_t at)
{
    return static_cast<uint32_t>(bytes[at] | bytes[at + 1] << 8);
}

// At most one byte more than any pattern has.
bool ReadBytes(const std::string& path, std::vector<uint8_t>* bytes, std::string* error)
{
    FILE* file = std::fopen(path.c_str(), "rbe");
    if (file == nullptr) {
        *error = Text("%s: %s", path.c_str(), std::strerror(errno));
        return false;
    }
    bytes->resize(LargestFile + 1);
    bytes->resize(std::fread(bytes->data(), 1, bytes->size(), file));
    const bool failed = std::ferror(file) != 0;
    if (failed) *error = Text("%s: %s", path.c_str(), std::strerror(errno));
    std::fclose(file);
    return !failed;
}

void ReadTable(const std::vector<uint8_t>& bytes, WavePattern* pattern)
{
    pattern->wordCount = Word16(bytes, 0) | Word16(bytes, 2) << 16;
    pattern->byteWords = bytes[WidthByte] == 1;
    for (size_t part = 0; part < WaveParts; ++part) {
        const size_t at = FirstPair + 4 * part;
        pattern->parts[part] = {Word16(bytes, at), Word16(bytes, at + 2)};
    }
}

// What is wrong with the bytes as a whole; empty: nothing.
std::string ShapeProblem(const std::vector<uint8_t>& bytes, const WavePattern& pattern)
{
    const unsigned count = pattern.wordCount;
    if (bytes[WidthByte] > 1) {
        return Text("byte 4 is %u, where a pattern has 1 for words of 8 bits and 0 for 16",
                    static_cast<unsigned>(bytes[WidthByte]));
    }
    if (count == 0) return "its table has no words";
    if (count > WaveLargestWords || count % WavePage != 0) {
        return Text("its table has %u words, where a pattern has whole pages of %u, at most %u",
                    count, WavePage, WaveLargestWords);
    }
    const size_t wanted = TableBytes + size_t{count} * (pattern.byteWords ? 1 : 2);
    if (bytes.size() == wanted) return "";
    return Text("it has %s%zu bytes, where %u words of %u bits take %zu",
                bytes.size() > LargestFile ? "more than " : "",
                bytes.size() > LargestFile ? LargestFile : bytes.size(), count, WordBits(pattern),
                wanted);
}

uint32_t PagesOf(const WaveSpan& span)
{
    return span.end / WavePage + 1;
}

bool ShareAPage(const WaveSpan& one, const WaveSpan& other)
{
    const uint32_t first = one.start / WavePage;
    const uint32_t second = other.start / WavePage;
    return first < second + PagesOf(other) && second < first + PagesOf(one);
}

} // namespace

bool ReadPattern(const std::string& path, WavePattern* pattern, std::string* error,
                 std::string* advice)
{
    std::vector<uint8_t> bytes;
    *advice = "a wave.bin, as `qvn wave build` or an opened camera leaves it";
    if (!ReadBytes(path, &bytes, error)) return false;
    if (bytes.size() < TableBytes) {
        *error = Text("%s: it has %zu bytes, the table alone has %zu", path.c_str(), bytes.size(),
                      TableBytes);
        return false;
    }
    ReadTable(bytes, pattern);
    const std::string problem = ShapeProblem(bytes, *pattern);
    if (!problem.empty()) {
        *error = path + ": " + problem;
        if (bytes[WidthByte] <= 1) *advice = BuildAgain;
        return false;
    }
    pattern->words.clear();
    for (size_t i = 0; i < pattern->wordCount; ++i) {
        const uint32_t word = pattern->byteWords ? uint32_t{bytes[TableBytes + i]}
                                                 : Word16(bytes, TableBytes + 2 * i);
        pattern->words.push_back(static_cast<uint16_t>(word));
    }
    return true;
}

bool OpenPattern(const std::string& path, WavePattern* pattern)
{
    std::string error;
    std::string advice;
    bool fine = ReadPattern(path, pattern, &error, &advice);
    for (size_t part = 0; fine && part < WaveParts; ++part) {
        const std::string problem = WavePartNames[part].always ? PartProblem(*pattern, part) : "";
        if (problem.empty()) continue;
        error =
            Text("%s: the %s section %s", path.c_str(), WavePartNames[part].name, problem.c_str());
        advice = Text("`qvn wave lint %s` tells what else is wrong", path.c_str());
        fine = false;
    }
    if (!fine) Complain("reading the pattern", error, advice);
    return fine;
}

std::string PartProblem(const WavePattern& pattern, size_t part)
{
    const WaveSpan& span = pattern.parts[part];
    if (span.start % WavePage != 0) {
        return Text("starts at word %u, which begins no page", span.start);
    }
    if (span.start + span.end < pattern.wordCount) return "";
    return Text("ends at word %u, and the file has %u", span.start + span.end, pattern.wordCount);
}

uint32_t PartLength(const WavePattern& pattern, size_t part)
{
    return pattern.parts[part].end + 1;
}

bool PartIsThere(const WavePattern& pattern, size_t part)
{
    if (WavePartNames[part].always) return true;
    if (!PartProblem(pattern, part).empty()) return false;
    for (size_t other = 0; other < WaveParts; ++other) {
        if (WavePartNames[other].always && ShareAPage(pattern.parts[part], pattern.parts[other])) {
            return false;
        }
    }
    return true;
}

bool FindPart(const WavePattern& pattern, const std::string& name, size_t* part)
{
    std::string there;
    for (size_t candidate = 0; candidate < WaveParts; ++candidate) {
        if (!PartIsThere(pattern, candidate)) continue;
        if (name == WavePartNames[candidate].name) {
            *part = candidate;
            return true;
        }
        there += (there.empty() ? "" : ", ") + std::string(WavePartNames[candidate].name);
    }
    Complain("choosing the section", Text("--section %s: the file has none", name.c_str()), there);
    return false;
}

std::string SharedPages(const WavePattern& pattern)
{
    for (size_t one = 0; one < WaveParts; ++one) {
        for (size_t other = one + 1; other < WaveParts; ++other) {
            if (PartIsThere(pattern, one) && PartIsThere(pattern, other) &&
                ShareAPage(pattern.parts[one], pattern.parts[other])) {
                return Text("%s and %s", WavePartNames[one].name, WavePartNames[other].name);
            }
        }
    }
    return "";
}

std::vector<uint16_t> PlayedWords(const WavePattern& pattern, size_t part)
{
    const WaveSpan& span = pattern.parts[part];
    const auto first = pattern.words.rend() - (span.start + span.end + 1);
    return {first, first + (span.end + 1)};
}

std::vector<WaveStep> FoldWords(const std::vector<uint16_t>& words)
{
    std::vector<WaveStep> steps;
    for (const uint16_t word : words) {
        if (!steps.empty() && steps.back().word == word) {
            ++steps.back().ticks;
        } else {
            steps.push_back({word, 1});
        }
    }
    return steps;
}

std::string StepText(const WaveStep& step)
{
    const auto word = static_cast<unsigned>(step.word);
    return step.ticks == 1 ? Text("%u", word) : Text("%ux%u", word, step.ticks);
}

uint32_t WordBits(const WavePattern& pattern)
{
    return pattern.byteWords ? 8 : 16;
}
