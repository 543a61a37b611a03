// The header of a FITS picture: cards of 80 characters, in blocks of 2880 bytes.
#pragma once
#include <cstdint>
#include <string>
#include <vector>

constexpr size_t FitsBlock = 2880;

// Words are cut where a card ends, and comments too; null: none. Characters that a header cannot
// hold become question marks.
void AddFitsWord(std::string* header, const char* key, const std::string& value,
                 const char* comment);
void AddFitsWhole(std::string* header, const char* key, int64_t value, const char* comment);
void AddFitsTruth(std::string* header, const char* key, bool value, const char* comment);

// Fifteen digits at most, none of them for show. A header holds finite numbers only: others
// are left out.
void AddFitsNumber(std::string* header, const char* key, double value, const char* comment);

// The first cards of a file, or of an extension, with unsigned pixels of 16 bits. No axes: no
// pixels.
void BeginFitsHeader(std::string* header, bool extension, const std::vector<int32_t>& axes);

// The last card, and blanks up to the end of the block.
void EndFitsHeader(std::string* header);
