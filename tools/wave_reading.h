// wave.bin as the program looks at it: the table of sections and the words, read from
// the file's format alone. Nothing that the file says is trusted.
#pragma once
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

// In the order of the file's table.
enum WavePart : size_t { WaveIdle, WaveRow, WavePixel, WaveLine, WaveExtraA, WaveExtraB };
inline constexpr size_t WaveParts = 6;
inline constexpr uint32_t WavePage = 256;           // words
inline constexpr uint32_t WaveLargestWords = 65536; // section starts have 16 bits

struct WavePartName {
    const char* name;
    bool always; // the extra sections are made by one builder only
};
extern const WavePartName WavePartNames[WaveParts];

struct WaveSpan {
    uint32_t start; // address of the section's page
    uint32_t end;   // index of the last word that counts
};

struct WavePattern {
    uint32_t wordCount = 0; // padding included
    bool byteWords = false; // 8 bits a word, else 16
    WaveSpan parts[WaveParts] = {};
    std::vector<uint16_t> words; // as in the file
};

// What the file says, when its size fits its table. False with `error` and `advice`.
bool ReadPattern(const std::string& path, WavePattern* pattern, std::string* error,
                 std::string* advice);

// The same for a command: also all sections that cameras play lie inside. Complains.
bool OpenPattern(const std::string& path, WavePattern* pattern);

// Why a section cannot be played; empty if it can.
std::string PartProblem(const WavePattern& pattern, size_t part);

uint32_t PartLength(const WavePattern& pattern, size_t part);

// Whether the file holds this section. The extra sections' entries may be left from
// anything: they are there if they have pages of their own.
bool PartIsThere(const WavePattern& pattern, size_t part);

// The section of a name; complains if there is none of it.
bool FindPart(const WavePattern& pattern, const std::string& name, size_t* part);

// Two sections that lie in the same page; empty: there are none.
std::string SharedPages(const WavePattern& pattern);

// The words of a section in the order in which the camera plays them: from the end
// index down to the section's page.
std::vector<uint16_t> PlayedWords(const WavePattern& pattern, size_t part);

struct WaveStep {
    uint16_t word;
    uint32_t ticks;
};

std::vector<WaveStep> FoldWords(const std::vector<uint16_t>& words);
std::string StepText(const WaveStep& step); // "72x10", "8"

uint32_t WordBits(const WavePattern& pattern); // 8 or 16
