#include "tools/fits_header.h"

#include <cmath>

#include "tools/text.h"

namespace {

constexpr size_t CardLength = 80;
constexpr size_t KeyLength = 8;
constexpr size_t ValueEnd = 30;                            // of numbers, which stand on the right
constexpr size_t LongestWord = CardLength - KeyLength - 4; // "= ", and two quotes
constexpr size_t ShortestWord = 8;

void AddCard(std::string* header, const std::string& value, const char* comment)
{
    std::string card = value;
    if (comment != nullptr) card += std::string(" / ") + comment;
    for (char& letter : card) {
        if (letter < ' ' || letter > '~') letter = '?';
    }
    card.resize(CardLength, ' ');
    *header += card;
}

void AddRight(std::string* header, const char* key, const std::string& value, const char* comment)
{
    const int room = static_cast<int>(ValueEnd - KeyLength - 2);
    AddCard(header, Text("%-8s= %*s", key, room, value.c_str()), comment);
}

} // namespace

// A quote within the word is written twice, and stays whole.
void AddFitsWord(std::string* header, const char* key, const std::string& value,
                 const char* comment)
{
    std::string word;
    for (const char letter : value) {
        const std::string written = letter == '\'' ? "''" : std::string(1, letter);
        if (word.size() + written.size() > LongestWord) break;
        word += written;
    }
    if (word.size() < ShortestWord) word.resize(ShortestWord, ' ');
    std::string text = Text("%-8s= '%s'", key, word.c_str());
    if (text.size() < ValueEnd) text.resize(ValueEnd, ' ');
    AddCard(header, text, comment);
}

void AddFitsWhole(std::string* header, const char* key, int64_t value, const char* comment)
{
    AddRight(header, key, std::to_string(value), comment);
}

void AddFitsTruth(std::string* header, const char* key, bool value, const char* comment)
{
    AddRight(header, key, value ? "T" : "F", comment);
}

void AddFitsNumber(std::string* header, const char* key, double value, const char* comment)
{
    if (!std::isfinite(value)) return;
    std::string text = Text("%.15G", value);
    if (text.find_first_of(".E") == std::string::npos) text += '.';
    AddRight(header, key, text, comment);
}

void BeginFitsHeader(std::string* header, bool extension, const std::vector<int32_t>& axes)
{
    if (extension) AddFitsWord(header, "XTENSION", "IMAGE", "a picture");
    if (!extension) AddFitsTruth(header, "SIMPLE", true, "as the FITS standard has it");
    AddFitsWhole(header, "BITPIX", axes.empty() ? 8 : 16, "bits of a pixel");
    AddFitsWhole(header, "NAXIS", static_cast<int64_t>(axes.size()), "number of axes");
    for (size_t axis = 0; axis < axes.size(); ++axis) {
        AddFitsWhole(header, Text("NAXIS%zu", axis + 1).c_str(), axes[axis], nullptr);
    }
    if (extension) AddFitsWhole(header, "PCOUNT", 0, nullptr);
    if (extension) AddFitsWhole(header, "GCOUNT", 1, nullptr);
    if (!extension) AddFitsTruth(header, "EXTEND", true, "there may be extensions");
    if (axes.empty()) return;
    AddFitsWhole(header, "BZERO", 32768, "pixels are unsigned, and stored signed");
    AddFitsWhole(header, "BSCALE", 1, nullptr);
}

void EndFitsHeader(std::string* header)
{
    AddCard(header, "END", nullptr);
    header->resize((header->size() + FitsBlock - 1) / FitsBlock * FitsBlock, ' ');
}
