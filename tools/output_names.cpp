// The names of the files of a series of frames.
#include "tools/output_names.h"

#include <filesystem>

#include "tools/text.h"

namespace {

struct CounterPlace {
    size_t begin = std::string::npos;
    size_t length = 0;
    int32_t digits = 0;
    bool zeros = false;
};

size_t FileNameBegin(const std::string& path)
{
    const size_t slash = path.rfind('/');
    return slash == std::string::npos ? 0 : slash + 1;
}

CounterPlace FindCounter(const std::string& pattern)
{
    CounterPlace place;
    const size_t begin = pattern.find('%', FileNameBegin(pattern));
    if (begin == std::string::npos) return place;
    size_t at = begin + 1;
    place.zeros = at < pattern.size() && pattern[at] == '0';
    if (at < pattern.size() && pattern[at] >= '0' && pattern[at] <= '9') {
        // One digit behind a zero, or one alone: no counter needs more places.
        if (place.zeros) ++at;
        if (at < pattern.size() && pattern[at] >= '1' && pattern[at] <= '9') {
            place.digits = pattern[at++] - '0';
        }
    }
    if (at >= pattern.size() || pattern[at] != 'd') return place;
    place.begin = begin;
    place.length = at + 1 - begin;
    return place;
}

} // namespace

bool PatternIsPlain(const std::string& pattern)
{
    if (pattern.find('%', FileNameBegin(pattern)) == std::string::npos) return true;
    const CounterPlace place = FindCounter(pattern);
    return place.begin != std::string::npos &&
           pattern.find('%', place.begin + place.length) == std::string::npos;
}

std::string OutputName(const std::string& pattern, int32_t number, size_t count)
{
    const CounterPlace place = FindCounter(pattern);
    if (place.begin != std::string::npos) {
        const std::string counter =
            place.zeros ? Text("%0*d", place.digits, number) : Text("%*d", place.digits, number);
        return std::string(pattern).replace(place.begin, place.length, counter);
    }
    if (count == 1) return pattern;
    const std::filesystem::path path = pattern;
    const std::string name = path.stem().string() + Text("_%04d", number);
    return (path.parent_path() / (name + path.extension().string())).string();
}
