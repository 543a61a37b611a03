// Platforms and sensors by code and by name, as the library's catalogue has them.
#pragma once
#include <cstdint>
#include <string>
#include <vector>

struct CatalogueEntry {
    int32_t code;
    std::string name;
};

// Those that the library lists, in its order, then those that it knows by name alone.
std::vector<CatalogueEntry> Platforms();

// Every sensor with a name, by code.
std::vector<CatalogueEntry> Sensors();

// Empty for a platform without a list.
std::vector<CatalogueEntry> SensorsOf(int32_t platform);

// `text` is a code or a name; case does not count. False: neither, `entry` is untouched.
// The first entry of a name that two platforms share is the one found.
bool FindEntry(const std::vector<CatalogueEntry>& entries, const std::string& text,
               CatalogueEntry* entry);

// Names that resemble `text`, for a hint; empty if none does.
std::string SimilarNames(const std::vector<CatalogueEntry>& entries, const std::string& text);
