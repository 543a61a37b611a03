// Small pieces of text: printf into a string, JSON, lists of numbers in arguments.
#include "tools/text.h"

#include <strings.h>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cmath>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>

std::string Text(const char* format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    va_list again;
    va_copy(again, arguments);
    const int length = std::vsnprintf(nullptr, 0, format, arguments);
    va_end(arguments);
    std::string text(length > 0 ? static_cast<size_t>(length) : 0, '\0');
    // The terminating null goes where the string keeps its own.
    std::vsnprintf(text.data(), text.size() + 1, format, again);
    va_end(again);
    return text;
}

std::string JsonText(const std::string& text)
{
    std::string quoted = "\"";
    for (const char letter : text) {
        if (letter == '"' || letter == '\\') {
            quoted += '\\';
            quoted += letter;
        } else if (static_cast<unsigned char>(letter) < 0x20) {
            quoted += Text("\\u%04x", static_cast<unsigned>(letter));
        } else {
            quoted += letter;
        }
    }
    return quoted + '"';
}

std::string JsonNumber(double value)
{
    return std::isfinite(value) ? Text("%.10g", value) : "null";
}

bool ParseIntegers(const std::string& text, size_t count, std::vector<int32_t>* values)
{
    std::vector<int32_t> found;
    const char* cursor = text.c_str();
    while (found.size() < count) {
        char* end = nullptr;
        errno = 0;
        const long value = std::strtol(cursor, &end, 0);
        if (end == cursor || errno != 0 || value < INT32_MIN || value > INT32_MAX) return false;
        found.push_back(static_cast<int32_t>(value));
        const bool last = found.size() == count;
        if (*end != (last ? '\0' : ',')) return false;
        cursor = end + 1;
    }
    *values = found;
    return true;
}

bool ParseBits(const std::string& text, uint32_t* bits)
{
    if (text.empty() || std::isdigit(static_cast<unsigned char>(text[0])) == 0) return false;
    char* end = nullptr;
    errno = 0;
    const unsigned long long value = std::strtoull(text.c_str(), &end, 0);
    if (*end != '\0' || errno != 0 || value > UINT32_MAX) return false;
    *bits = static_cast<uint32_t>(value);
    return true;
}

bool ParseNumbers(const std::string& text, int32_t highest, std::vector<int32_t>* numbers)
{
    std::vector<int32_t> found;
    for (size_t begin = 0; begin <= text.size();) {
        const size_t comma = std::min(text.find(',', begin), text.size());
        const std::string piece = text.substr(begin, comma - begin);
        const size_t dash = piece.find('-');
        uint32_t first = 0;
        uint32_t last = 0;
        if (!ParseBits(piece.substr(0, dash), &first)) return false;
        last = first;
        if (dash != std::string::npos && !ParseBits(piece.substr(dash + 1), &last)) return false;
        if (first > last || last > static_cast<uint32_t>(highest)) return false;
        for (uint32_t number = first; number <= last; ++number) {
            found.push_back(static_cast<int32_t>(number));
        }
        begin = comma + 1;
    }
    *numbers = found;
    return true;
}

bool SameWord(const std::string& one, const std::string& other)
{
    return strcasecmp(one.c_str(), other.c_str()) == 0;
}
