#include "tests/support/traffic.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <map>
#include <sstream>

#include "emulator/traffic.h"

namespace {

constexpr int MaxDepth = 8; // of names within names
constexpr size_t Context = 4;
const char Any[] = "any ";
const char* const Continuations[] = {"usb + ", "adaptor + "};

struct Expected {
    std::string line; // "..." for the gap
    size_t number;    // in the file
};

struct TrafficFile {
    std::map<std::string, std::string> names;
    std::vector<Expected> lines;
    std::string error;
};

std::string Trimmed(const std::string& text)
{
    const size_t from = text.find_first_not_of(" \t\r");
    if (from == std::string::npos) return "";
    return text.substr(from, text.find_last_not_of(" \t\r") - from + 1);
}

std::string WithoutComment(const std::string& line)
{
    if (!line.empty() && line[0] == '#') return "";
    return Trimmed(line.substr(0, line.find(" #")));
}

std::string WithValues(std::string line, const TrafficValues& values)
{
    for (const auto& [name, value] : values) {
        const std::string token = '$' + name;
        for (size_t at = line.find(token); at != std::string::npos; at = line.find(token, at)) {
            line.replace(at, token.size(), value);
            at += value.size();
        }
    }
    return line;
}

// "line x 12" is the line and 12.
size_t TakeCount(std::string* line)
{
    const size_t at = line->rfind(" x ");
    if (at == std::string::npos) return 1;
    const std::string digits = line->substr(at + 3);
    if (digits.empty() || digits.find_first_not_of("0123456789") != std::string::npos) return 1;
    line->resize(at);
    return static_cast<size_t>(std::atoll(digits.c_str()));
}

// True if `line` goes on with the write of `last`, which then has it.
bool Joins(const std::string& line, std::string* last)
{
    for (const std::string continuation : Continuations) {
        if (line.rfind(continuation, 0) != 0) continue;
        *last += line.substr(continuation.size() - 1);
        return true;
    }
    return false;
}

void Add(TrafficFile* file, const std::string& text, size_t number, int depth);

void AddBits(TrafficFile* file, const std::string& bits, size_t number, int depth)
{
    for (const char bit : bits) {
        if (bit != ' ') Add(file, std::string(1, bit), number, depth + 1);
    }
}

void AddOnce(TrafficFile* file, const std::string& line, size_t number, int depth)
{
    char text[64];
    unsigned reg = 0, value = 0, times = 0;
    int used = 0;
    const auto named = file->names.find(line);
    if (named != file->names.end()) {
        std::istringstream parts(named->second);
        for (std::string part; std::getline(parts, part, ';');) {
            Add(file, Trimmed(part), number, depth + 1);
        }
    } else if (line.rfind("bits ", 0) == 0) {
        AddBits(file, line.substr(5), number, depth);
    } else if (sscanf(line.c_str(), "%u times %n", &times, &used) == 1 && used != 0) {
        const std::string what = line.substr(static_cast<size_t>(used));
        for (unsigned i = 0; i < times; ++i) Add(file, what, number, depth + 1);
    } else if (sscanf(line.c_str(), "reg %u %x", &reg, &value) == 2 ||
               sscanf(line.c_str(), "byte %u %x", &reg, &value) == 2) {
        snprintf(text, sizeof text, "address %04X", line[0] == 'r' ? 0x8000 + reg : reg);
        file->lines.push_back({text, number});
        snprintf(text, sizeof text, "data %04X", value);
        file->lines.push_back({text, number});
    } else if (file->lines.empty() || !Joins(line, &file->lines.back().line)) {
        file->lines.push_back({line, number});
    }
}

void Add(TrafficFile* file, const std::string& text, size_t number, int depth)
{
    if (depth > MaxDepth) {
        file->error = "line " + std::to_string(number) + ": a name that stands for itself";
        return;
    }
    std::string line = text;
    const size_t count = TakeCount(&line);
    for (size_t i = 0; i < count; ++i) AddOnce(file, line, number, depth);
}

// "name: lines" begins with a word; the words of the record have no colon.
bool TakeName(TrafficFile* file, const std::string& line)
{
    const size_t colon = line.find(": ");
    if (colon == std::string::npos || line.find(' ') < colon) return false;
    file->names[line.substr(0, colon)] = line.substr(colon + 2);
    return true;
}

TrafficFile ReadTraffic(const std::string& text, const TrafficValues& values)
{
    TrafficFile file;
    std::istringstream lines(text);
    size_t number = 0;
    for (std::string line; std::getline(lines, line);) {
        ++number;
        line = WithValues(WithoutComment(Trimmed(line)), values);
        if (line.empty() || TakeName(&file, line)) continue;
        Add(&file, line, number, 0);
        if (!file.error.empty()) break;
    }
    return file;
}

std::vector<std::string> Unfolded(const std::string& traffic)
{
    std::vector<std::string> lines;
    std::istringstream text(traffic);
    for (std::string line; std::getline(text, line);) {
        const size_t count = TakeCount(&line);
        line = Trimmed(line);
        for (size_t i = 0; i < count; ++i) {
            if (lines.empty() || !Joins(line, &lines.back())) lines.push_back(line);
        }
    }
    return lines;
}

std::string Difference(const std::vector<std::string>& came, size_t at, const Expected& wanted)
{
    std::string text = "line " + std::to_string(wanted.number) + " of the file: expected\n  " +
                       wanted.line + "\ncame, line " + std::to_string(at + 1) + " marked\n";
    for (size_t i = at > Context ? at - Context : 0; i < at + Context; ++i) {
        text += i == at ? "> " : "  ";
        text += i < came.size() ? came[i] : "(end)";
        text += '\n';
        if (i >= came.size()) break;
    }
    return text;
}

// "read *" takes any word that is read.
bool Matches(const std::string& wanted, const std::string& line)
{
    if (wanted.empty() || wanted.back() != '*') return wanted == line;
    return line.compare(0, wanted.size() - 1, wanted, 0, wanted.size() - 1) == 0;
}

// "sleep 1 | usb queue *" takes lines of both kinds.
bool MatchesOneOf(const std::string& kinds, const std::string& line)
{
    constexpr char Or[] = " | ";
    for (size_t begin = 0; begin < kinds.size();) {
        const size_t end = std::min(kinds.find(Or, begin), kinds.size());
        if (Matches(kinds.substr(begin, end - begin), line)) return true;
        begin = end + strlen(Or);
    }
    return false;
}

// The line behind `wanted` that has to come; empty: none.
std::string Next(const TrafficFile& file, const Expected* wanted)
{
    const Expected* const end = file.lines.data() + file.lines.size();
    while (++wanted != end) {
        if (wanted->line.rfind(Any, 0) != 0) return wanted->line;
    }
    return "";
}

// Behind the lines of these kinds, but not behind the last one of them that is `next`.
size_t PassAny(const std::string& kinds, const std::string& next,
               const std::vector<std::string>& came, size_t from)
{
    size_t at = from;
    while (at < came.size() && MatchesOneOf(kinds, came[at])) ++at;
    if (next.empty() || (at < came.size() && Matches(next, came[at]))) return at;
    for (size_t back = at; back > from; --back) {
        if (Matches(next, came[back - 1])) return back - 1;
    }
    return at;
}

} // namespace

std::string TrafficDiffers(const std::string& text, const std::string& traffic,
                           const TrafficValues& values)
{
    const TrafficFile file = ReadTraffic(text, values);
    if (!file.error.empty()) return file.error;
    const std::vector<std::string> came = Unfolded(traffic);
    size_t at = 0;
    bool skips = false;
    for (const Expected& wanted : file.lines) {
        if (wanted.line == "...") {
            skips = true;
            continue;
        }
        if (wanted.line.rfind(Any, 0) == 0) {
            at = PassAny(wanted.line.substr(strlen(Any)), Next(file, &wanted), came, at);
            continue;
        }
        const size_t from = at;
        while (skips && at < came.size() && !Matches(wanted.line, came[at])) ++at;
        if (at == came.size() || !Matches(wanted.line, came[at])) {
            return Difference(came, skips ? from : at, wanted);
        }
        ++at;
        skips = false;
    }
    if (skips || at == came.size()) return "";
    return Difference(came, at, {"the end", file.lines.empty() ? 0 : file.lines.back().number});
}

std::string TrafficFileDiffers(const std::string& path, const TrafficValues& values)
{
    std::ifstream file(path);
    if (!file) return "cannot read " + path;
    std::stringstream text;
    text << file.rdbuf();
    const std::string difference = TrafficDiffers(text.str(), EmuTraffic(), values);
    return difference.empty() ? "" : path + ", " + difference;
}
