// qvn wave vcd: a pattern as a value change dump. Each section is a scope with a wire
// for each line, and all begin at time 0. The wires have the section's name in theirs,
// since some readers drop the scopes.
#include <algorithm>
#include <cmath>
#include <map>

#include "tools/image_files.h"
#include "tools/report.h"
#include "tools/safe_file.h"
#include "tools/text.h"
#include "tools/wave.h"

namespace {

// A power of ten that a tick is a multiple of.
struct TimeScale {
    std::string text; // "100 ns"
    uint64_t tick;    // in that unit
};

// A tick in picoseconds, and the largest power of ten that divides it. A tick that is
// not known counts as a nanosecond.
TimeScale ScaleOf(double tickNs)
{
    const char* units[] = {"ps", "ns", "us", "ms"};
    constexpr int32_t decades = 3 * 4 - 1;
    uint64_t tick = tickNs > 0.0 ? static_cast<uint64_t>(std::llround(tickNs * 1000.0)) : 1000;
    tick = std::max<uint64_t>(tick, 1);
    int32_t decade = 0;
    for (; tick % 10 == 0 && decade < decades; ++decade) tick /= 10;
    const char* tens[] = {"1", "10", "100"};
    return {Text("%s %s", tens[decade % 3], units[decade / 3]), tick};
}

// Two letters: the section's and the line's.
std::string WireCode(size_t part, uint32_t line)
{
    return {static_cast<char>('A' + part), static_cast<char>('a' + line)};
}

std::string HeadOf(const WavePattern& pattern, const WaveCamera& camera, const TimeScale& scale)
{
    const std::string tick =
        camera.tickNs > 0.0 ? DurationText(camera, 1) : "not known, drawn as 1 ns";
    std::string head = Text("$version %s $end\n", CreatorText().c_str());
    if (camera.told) head += Text("$comment %s $end\n", CameraText(camera.session).c_str());
    head +=
        Text("$comment A tick is %s. $end\n$timescale %s $end\n", tick.c_str(), scale.text.c_str());
    for (size_t part = 0; part < WaveParts; ++part) {
        if (!PartIsThere(pattern, part)) continue;
        std::string scope = WavePartNames[part].name;
        std::replace(scope.begin(), scope.end(), '-', '_');
        head += Text("$scope module %s $end\n", scope.c_str());
        for (uint32_t line = 0; line < WordBits(pattern); ++line) {
            head += Text("$var wire 1 %s %s_%s $end\n", WireCode(part, line).c_str(), scope.c_str(),
                         LineWord(camera, line).c_str());
        }
        head += "$upscope $end\n";
    }
    return head + "$enddefinitions $end\n";
}

// Changes of a section by tick; behind its last one its wires have no level.
void AddChanges(const WavePattern& pattern, size_t part, std::map<uint32_t, std::string>* changes)
{
    const std::vector<uint16_t> words = PlayedWords(pattern, part);
    for (uint32_t line = 0; line < WordBits(pattern); ++line) {
        const std::string code = WireCode(part, line) + "\n";
        int32_t before = -1;
        for (uint32_t tick = 0; tick < words.size(); ++tick) {
            const int32_t level = words[tick] >> line & 1;
            if (level != before) (*changes)[tick] += (level != 0 ? "1" : "0") + code;
            before = level;
        }
        (*changes)[static_cast<uint32_t>(words.size())] += "x" + code;
    }
}

std::string DumpOf(const WavePattern& pattern, const WaveCamera& camera)
{
    const TimeScale scale = ScaleOf(camera.tickNs);
    std::map<uint32_t, std::string> changes;
    for (size_t part = 0; part < WaveParts; ++part) {
        if (PartIsThere(pattern, part)) AddChanges(pattern, part, &changes);
    }
    std::string dump = HeadOf(pattern, camera, scale);
    for (const auto& [tick, text] : changes) {
        dump += "#" + std::to_string(tick * scale.tick) + "\n";
        dump += tick == 0 ? "$dumpvars\n" + text + "$end\n" : text;
    }
    return dump;
}

} // namespace

int RunWaveVcd(const WaveVcdRequest& request)
{
    WavePattern pattern;
    WaveCamera camera;
    if (!WaveOutputIsFine(request.output, request.overwrite) ||
        !OpenPattern(request.file, &pattern) || !FindWaveCamera(request.camera, &camera)) {
        return ExitFailed;
    }
    const std::string dump = DumpOf(pattern, camera);
    std::string error;
    if (WriteWholeFile(request.output, dump.data(), dump.size(), request.overwrite, &error)) {
        return ExitDone;
    }
    Complain("writing the dump", error, "a folder with free space that you may write to");
    return ExitFailed;
}
