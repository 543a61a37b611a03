// qvn wave diff: the sections and words in which two patterns differ.
#include <algorithm>
#include <cstdio>

#include "tools/report.h"
#include "tools/text.h"
#include "tools/wave.h"

namespace {

constexpr size_t ShownPlaces = 10; // of a section
constexpr size_t ShownSteps = 8;   // of a place

using Words = std::vector<uint16_t>;

// Ticks that differ, the last one not included; `shift` is what the second has more.
struct Place {
    size_t from, to;
    ptrdiff_t shift;
};

std::string SomeSteps(const Words& words, size_t from, size_t to)
{
    if (from == to) return "nothing";
    const auto first = words.begin();
    const std::vector<WaveStep> steps =
        FoldWords({first + static_cast<ptrdiff_t>(from), first + static_cast<ptrdiff_t>(to)});
    std::string text;
    for (size_t i = 0; i < std::min(steps.size(), ShownSteps); ++i) {
        text += (i == 0 ? "" : " ") + StepText(steps[i]);
    }
    return steps.size() > ShownSteps ? text + " ..." : text;
}

// Sections of one length are compared tick by tick; else what stands between the
// words that are alike at both ends is one place.
std::vector<Place> PlacesOf(const Words& one, const Words& other)
{
    std::vector<Place> places;
    if (one.size() != other.size()) {
        const size_t shorter = std::min(one.size(), other.size());
        size_t ahead = 0;
        while (ahead < shorter && one[ahead] == other[ahead]) ++ahead;
        size_t behind = 0;
        while (behind < shorter - ahead &&
               one[one.size() - 1 - behind] == other[other.size() - 1 - behind]) {
            ++behind;
        }
        return {{ahead, one.size() - behind,
                 static_cast<ptrdiff_t>(other.size()) - static_cast<ptrdiff_t>(one.size())}};
    }
    for (size_t tick = 0; tick < one.size(); ++tick) {
        if (one[tick] == other[tick]) continue;
        if (places.empty() || places.back().to != tick) places.push_back({tick, tick, 0});
        ++places.back().to;
    }
    return places;
}

void PrintPlaces(const Words& one, const Words& other)
{
    const std::vector<Place> places = PlacesOf(one, other);
    for (size_t i = 0; i < std::min(places.size(), ShownPlaces); ++i) {
        const Place& place = places[i];
        const size_t end = static_cast<size_t>(static_cast<ptrdiff_t>(place.to) + place.shift);
        std::printf("  from tick %zu\n    < %s\n    > %s\n", place.from,
                    SomeSteps(one, place.from, place.to).c_str(),
                    SomeSteps(other, place.from, end).c_str());
    }
    if (places.size() > ShownPlaces) {
        std::printf("  and %zu more places\n", places.size() - ShownPlaces);
    }
}

// Whether they are alike.
bool ComparePart(const WavePattern& first, const WavePattern& second, size_t part)
{
    const char* name = WavePartNames[part].name;
    const bool inFirst = PartIsThere(first, part);
    const bool inSecond = PartIsThere(second, part);
    if (!inFirst && !inSecond) return true;
    if (inFirst != inSecond) {
        std::printf("%s: only the %s has it\n", name, inFirst ? "first" : "second");
        return false;
    }
    const Words one = PlayedWords(first, part);
    const Words other = PlayedWords(second, part);
    const bool moved = first.parts[part].start != second.parts[part].start;
    if (!moved && one == other) return true;
    std::printf(
        "%s:%s%s\n", name,
        one.size() == other.size()
            ? Text(" %zu word%s", one.size(), one.size() == 1 ? "" : "s").c_str()
            : Text(" %zu and %zu words", one.size(), other.size()).c_str(),
        moved ? Text(", starts at %u and %u", first.parts[part].start, second.parts[part].start)
                    .c_str()
              : "");
    PrintPlaces(one, other);
    return false;
}

} // namespace

int RunWaveDiff(const WaveDiffRequest& request)
{
    WavePattern first;
    WavePattern second;
    if (!OpenPattern(request.first, &first) || !OpenPattern(request.second, &second)) {
        return ExitFailed;
    }
    bool alike = true;
    if (first.byteWords != second.byteWords) {
        std::printf("words of %u and %u bits\n", WordBits(first), WordBits(second));
        alike = false;
    }
    for (size_t part = 0; part < WaveParts; ++part) {
        if (!ComparePart(first, second, part)) alike = false;
    }
    return alike ? ExitDone : ExitFailed;
}
