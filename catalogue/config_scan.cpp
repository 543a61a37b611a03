#include "catalogue/config_scan.h"

#include <cctype>
#include <cerrno>
#include <cstdlib>
#include <cstring>

namespace {

constexpr char ByteOrderMark[] = "\xEF\xBB\xBF";
constexpr char IncludeDirective[] = "@include";
constexpr unsigned long long LargestInteger = 0x7FFFFFFF;
constexpr unsigned long long LargestHexadecimal = 0xFFFFFFFF;

bool IsLetter(char letter)
{
    return isalpha(static_cast<unsigned char>(letter)) != 0;
}

bool IsDigit(char letter)
{
    return isdigit(static_cast<unsigned char>(letter)) != 0;
}

const char* EndOfText(const char* text)
{
    for (++text; *text != '\0' && *text != '"'; ++text) {
        if (*text == '\\' && text[1] != '\0') ++text;
    }
    return *text == '\0' ? text : text + 1;
}

const char* EndOfName(const char* text)
{
    while (IsLetter(*text) || IsDigit(*text) || *text == '-' || *text == '_' || *text == '*') {
        ++text;
    }
    return text;
}

// Behind the comment that starts here; `text` itself if there is none.
const char* EndOfComment(const char* text)
{
    if (*text == '#' || (*text == '/' && text[1] == '/')) return text + strcspn(text, "\n");
    if (*text != '/' || text[1] != '*') return text;
    const char* end = strstr(text + 2, "*/");
    return end == nullptr ? text + strlen(text) : end + 2;
}

// Behind the number that starts here with a digit; null if it does not fit.
const char* EndOfNumber(const char* text, bool negative)
{
    const bool hexadecimal = *text == '0' && (text[1] == 'x' || text[1] == 'X');
    char* end = nullptr;
    errno = 0;
    const unsigned long long value = strtoull(text, &end, hexadecimal ? 16 : 10);
    // The rest of a float is skipped: another number seems to begin in it.
    if (!hexadecimal && strspn(end, ".eE") > 0) return end + strspn(end, "0123456789.eE+-");
    const unsigned long long largest = hexadecimal ? LargestHexadecimal
                                       : negative  ? LargestInteger + 1
                                                   : LargestInteger;
    const bool fits = errno == 0 && value <= largest;
    return fits || *end == 'L' ? end : nullptr;
}

// Behind the word, text, comment, number or sign that starts here; null if it is a number
// that does not fit.
const char* EndOfPiece(const char* text, bool negative)
{
    const char* end = EndOfComment(text);
    if (end != text) return end;
    if (*text == '"') return EndOfText(text);
    if (IsLetter(*text) || *text == '*') return EndOfName(text);
    // The digits of .5 are no number of their own.
    if (*text == '.') return text + 1 + strspn(text + 1, "0123456789");
    return IsDigit(*text) ? EndOfNumber(text, negative) : text + 1;
}

// The parser would open any path it is told. It takes the directive only as the
// first word of a line.
const char* FindInclude(const char* text)
{
    for (const char* line = text; line != nullptr; line = strchr(line, '\n')) {
        line += strspn(line, "\n\r\t\f\v ");
        if (strncmp(line, IncludeDirective, sizeof IncludeDirective - 1) == 0) return line;
    }
    return nullptr;
}

ConfigScan ScanPieces(const char* text)
{
    const char* start = text;
    int32_t settings = 0;
    bool negative = false;
    while (*text != '\0') {
        if (*text == '=' || *text == ':') ++settings;
        if (settings > ConfigMaxSettings) return {ConfigSettings, text, start};
        const char* end = EndOfPiece(text, negative);
        if (end == nullptr) return {ConfigInteger, text, start};
        negative = *text == '-';
        text = end;
    }
    return {ConfigSound, nullptr, start};
}

} // namespace

ConfigScan ScanConfigText(const char* text, size_t bytes)
{
    if (bytes > ConfigMaxBytes) return {ConfigTooLong, text + ConfigMaxBytes, text};
    const size_t length = strlen(text);
    if (length != bytes + 1) return {ConfigNulByte, text + length, text};
    if (strncmp(text, ByteOrderMark, sizeof ByteOrderMark - 1) == 0) {
        text += sizeof ByteOrderMark - 1;
    }
    const char* include = FindInclude(text);
    if (include != nullptr) return {ConfigInclude, include, text};
    return ScanPieces(text);
}
