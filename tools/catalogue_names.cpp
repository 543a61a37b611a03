// Platforms and sensors by code and by name, as the library's catalogue has them.
#include "tools/catalogue_names.h"

#include <algorithm>
#include <cctype>

#include "include/qvn.h"
#include "tools/text.h"

namespace {

// No code of the catalogue is above these.
constexpr int32_t PlatformCodeLimit = 1000;
constexpr int32_t SensorCodeLimit = 10000;

std::string PlatformText(int32_t code)
{
    char name[256] = "";
    return QV_PTFtoNameVB(code, name, 0);
}

std::string SensorText(int32_t code)
{
    char name[256] = "";
    return QV_CCDtoNameVB(code, name, 0);
}

bool Holds(const std::vector<CatalogueEntry>& entries, int32_t code)
{
    return std::any_of(entries.begin(), entries.end(),
                       [code](const CatalogueEntry& entry) { return entry.code == code; });
}

// Lower case, letters and digits only: "Tarn IV" resembles "Tarn_IV".
std::string Core(const std::string& text)
{
    std::string core;
    for (const char letter : text) {
        const auto character = static_cast<unsigned char>(letter);
        if (std::isalnum(character)) core += static_cast<char>(std::tolower(character));
    }
    return core;
}

} // namespace

std::vector<CatalogueEntry> Platforms()
{
    std::vector<int32_t> codes(static_cast<size_t>(std::max(QV_CamQuery(nullptr), 0)));
    QV_CamQuery(codes.data());
    std::vector<CatalogueEntry> entries;
    for (const int32_t code : codes) entries.push_back({code, PlatformText(code)});
    for (int32_t code = 0; code < PlatformCodeLimit; ++code) {
        const std::string name = PlatformText(code);
        if (name != "Undefined" && !Holds(entries, code)) entries.push_back({code, name});
    }
    return entries;
}

std::vector<CatalogueEntry> Sensors()
{
    std::vector<CatalogueEntry> entries;
    for (int32_t code = 0; code < SensorCodeLimit; ++code) {
        const std::string name = SensorText(code);
        if (name.rfind("noCode", 0) != 0) entries.push_back({code, name});
    }
    return entries;
}

std::vector<CatalogueEntry> SensorsOf(int32_t platform)
{
    int32_t codes[1024];
    const int32_t count = QV_CCDQuery(platform, codes);
    std::vector<CatalogueEntry> entries;
    for (int32_t i = 0; i < count; ++i) entries.push_back({codes[i], SensorText(codes[i])});
    return entries;
}

bool FindEntry(const std::vector<CatalogueEntry>& entries, const std::string& text,
               CatalogueEntry* entry)
{
    std::vector<int32_t> code;
    const bool isCode = ParseIntegers(text, 1, &code);
    for (const CatalogueEntry& candidate : entries) {
        if (isCode ? candidate.code == code[0] : SameWord(candidate.name, text)) {
            *entry = candidate;
            return true;
        }
    }
    return false;
}

std::string SimilarNames(const std::vector<CatalogueEntry>& entries, const std::string& text)
{
    const std::string wanted = Core(text).substr(0, 3);
    std::string names;
    for (const CatalogueEntry& entry : entries) {
        if (wanted.size() < 3 || Core(entry.name).rfind(wanted, 0) != 0) continue;
        names += (names.empty() ? "" : ", ") + entry.name;
    }
    return names;
}
