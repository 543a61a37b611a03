#include "supervisor/pattern.h"

#include <cstdio>
#include <cstring>

namespace {

constexpr size_t PathRoom = 1024;
constexpr char FileName[] = "wave.bin";
constexpr uint64_t HashPrime = 0x100000001B3ull;
constexpr size_t HeaderBytes = 29;
constexpr size_t LargestFile = HeaderBytes + size_t{2} * 65536;

char Folder[PathRoom];
bool IsFolderKnown;

struct Bare {
    int32_t platform;
    int32_t firstSensor, lastSensor;
};

constexpr int32_t Most = INT32_MAX;
constexpr Bare BarePlatforms[] = {
    {1, 0, Most},  {29, 0, Most},  {30, 500, 506}, {48, 0, Most},  {70, 0, Most},
    {71, 0, Most}, {300, 0, Most}, {400, 0, Most}, {450, 0, Most},
};

uint32_t Word(const uint8_t* bytes)
{
    return static_cast<uint32_t>(bytes[0] | bytes[1] << 8);
}

FILE* OpenFile(const char* folder)
{
    char path[PathRoom + sizeof FileName];
    snprintf(path, sizeof path, "%s%s", folder, FileName);
    return fopen(path, "rb");
}

// Without a folder it is where the library looks by itself.
FILE* FindFile()
{
    if (IsFolderKnown) return OpenFile(Folder);
    FILE* file = OpenFile("qvn/");
    return file != nullptr ? file : OpenFile("");
}

// Each section's second entry is the index of its last word.
void TakeHeader(const uint8_t* header, Pattern* pattern)
{
    pattern->words = Word(header) | Word(header + 2) << 16;
    for (size_t section = 0; section < PatternSections; ++section) {
        pattern->length[section] = Word(header + 7 + 4 * section) + 1;
    }
}

} // namespace

bool SetFolder(const char* path)
{
    const size_t length = strlen(path);
    if (length + 2 > PathRoom) return false;
    const bool ends = length == 0 || path[length - 1] == '/' || path[length - 1] == '\\';
    snprintf(Folder, sizeof Folder, "%s%s", path, ends ? "" : "/");
    IsFolderKnown = true;
    return true;
}

bool HasPattern(const Slot& slot)
{
    const CameraConfig& config = slot.open.Config;
    for (const Bare& row : BarePlatforms) {
        if (row.platform == config.Platform && config.CCD >= row.firstSensor &&
            config.CCD <= row.lastSensor) {
            return false;
        }
    }
    return true;
}

Pattern ReadPattern(const Slot& slot)
{
    Pattern pattern = {};
    FILE* const file = HasPattern(slot) ? FindFile() : nullptr;
    if (file == nullptr) return pattern;
    uint8_t block[4096];
    size_t total = 0;
    uint64_t hash = HashStart;
    for (size_t count = 1; count != 0 && total <= LargestFile;) {
        count = fread(block, 1, sizeof block, file);
        if (total == 0 && count >= HeaderBytes) TakeHeader(block, &pattern);
        hash = Hash(hash, block, count);
        total += count;
    }
    pattern.known = ferror(file) == 0 && total > HeaderBytes && total <= LargestFile;
    fclose(file);
    if (!pattern.known) return {};
    pattern.hash = hash;
    return pattern;
}

uint64_t Hash(uint64_t hash, const void* bytes, size_t count)
{
    const auto* byte = static_cast<const uint8_t*>(bytes);
    for (size_t i = 0; i < count; ++i) hash = (hash ^ byte[i]) * HashPrime;
    return hash;
}

// Round the gap ahead of the first double.
uint64_t HashDefinitions(const CcdDefinition& ccd, const PlatformDefinition& platform)
{
    const uint64_t sensor = Hash(HashStart, &ccd, sizeof ccd);
    const size_t words = offsetof(PlatformDefinition, AntiBloomingTimer) + sizeof(int16_t) -
                         offsetof(PlatformDefinition, ADbit);
    const size_t doubles = sizeof platform - offsetof(PlatformDefinition, TimeBase);
    return Hash(Hash(sensor, &platform.ADbit, words), &platform.TimeBase, doubles);
}
