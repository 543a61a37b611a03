// Words that the checks look for are put together from pieces where the rule
// would otherwise find them here.
#include "tests/tidy/checks.h"

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <map>
#include <set>
#include <utility>

namespace {

constexpr int LongestFunction = 70;

using Names = std::set<std::string>;

std::string Complain(const SourceFile& file, int line, const std::string& text)
{
    return file.path + ":" + std::to_string(line) + ": " + text;
}

// Which folders the sources of a folder may include besides their own.
const std::map<std::string, Names> MayInclude = {
    {"include", {}},
    {"platform", {}},
    {"core", {"include", "platform"}},
    {"catalogue", {"core", "platform"}},
    {"links", {"core", "platform"}},
    {"sequencer", {"core", "platform", "links"}},
    {"devices", {"core", "platform", "catalogue", "sequencer"}},
    {"drivers", {"core", "platform", "catalogue", "links", "sequencer", "devices"}},
    {"acquisition", {"core", "platform", "catalogue", "sequencer", "devices"}},
    {"emulator", {"platform"}},
    {"bench", {"include", "platform", "core", "catalogue", "sequencer", "emulator"}},
    {"standin", {"include", "platform"}},
    {"supervisor", {"include"}},
    {"tools", {"include", "platform", "catalogue", "emulator", "supervisor"}},
    {"bindings", {"include"}},
    {"examples", {"include"}},
};

// They tie the library together and may include any folder of it.
const Names WiringSources = {"core/open_close.cpp", "core/binding.cpp", "core/binding_table.cpp",
                             "core/timer_service.cpp", "core/exports.cpp"};

const Names StandardHeaders = {"algorithm",   "array",
                               "atomic",      "bit",
                               "cctype",      "cerrno",
                               "cfloat",      "chrono",
                               "cinttypes",   "climits",
                               "clocale",     "cmath",
                               "compare",     "condition_variable",
                               "csetjmp",     "csignal",
                               "cstdarg",     "cstddef",
                               "cstdint",     "cstdio",
                               "cstdlib",     "cstring",
                               "ctime",       "exception",
                               "filesystem",  "fstream",
                               "functional",  "initializer_list",
                               "iomanip",     "ios",
                               "iostream",    "istream",
                               "iterator",    "limits",
                               "map",         "memory",
                               "mutex",       "new",
                               "numbers",     "numeric",
                               "optional",    "ostream",
                               "random",      "set",
                               "span",        "sstream",
                               "stdexcept",   "string",
                               "string_view", "system_error",
                               "thread",      "tuple",
                               "type_traits", "utility",
                               "variant",     "vector",
                               "ctype.h",     "errno.h",
                               "float.h",     "inttypes.h",
                               "limits.h",    "locale.h",
                               "math.h",      "setjmp.h",
                               "signal.h",    "stdarg.h",
                               "stdbool.h",   "stddef.h",
                               "stdint.h",    "stdio.h",
                               "stdlib.h",    "string.h",
                               "time.h"};

// The one place of each header that comes from elsewhere.
const std::map<std::string, std::string> OutsideHeaderPlaces = {
    {"catalogue/config_tree.cpp", "libconfig.h"},
    {"drivers/demo/demo_blocks_vector.cpp", "immintrin.h"},
    {"standin/world.cpp", "dlfcn.h"},
};

struct Include {
    int line;
    char opening; // '<' or '"'
    std::string name;
};

std::vector<Include> IncludesOf(const SourceFile& file)
{
    std::vector<Include> includes;
    const std::vector<std::string> lines = Lines(file.text);
    for (size_t i = 0; i < lines.size(); ++i) {
        const size_t hash = lines[i].find_first_not_of(" \t");
        if (hash == std::string::npos || lines[i][hash] != '#') continue;
        const size_t word = lines[i].find_first_not_of(" \t", hash + 1);
        if (word == std::string::npos || lines[i].compare(word, 7, "include") != 0) continue;
        const size_t open = lines[i].find_first_of("<\"", word);
        if (open == std::string::npos) continue;
        const char closing = lines[i][open] == '<' ? '>' : '"';
        const size_t close = lines[i].find(closing, open + 1);
        includes.push_back(
            {static_cast<int>(i) + 1, lines[i][open], lines[i].substr(open + 1, close - open - 1)});
    }
    return includes;
}

// "qvn.h" is what a host writes.
std::string IncludedFolder(const std::string& name)
{
    return name.rfind("qvn", 0) == 0 ? "include" : FolderOf(name);
}

bool MayTake(const SourceFile& file, const std::string& included)
{
    const std::string folder = FolderOf(file.path);
    const auto row = MayInclude.find(folder);
    if (row == MayInclude.end() || included == folder) return true;
    if (WiringSources.count(file.path) != 0 && IsLibraryFolder(included)) return true;
    return row->second.count(included) != 0;
}

std::string Lower(std::string text)
{
    std::transform(text.begin(), text.end(), text.begin(), [](char letter) {
        return static_cast<char>(std::tolower(static_cast<unsigned char>(letter)));
    });
    return text;
}

// Tarn4Ccd442 is at home in tarn4_ccd442.
std::string FileNameOf(const std::string& builder)
{
    std::string name;
    for (const char letter : builder) {
        const bool capital = std::isupper(static_cast<unsigned char>(letter)) != 0;
        if (capital && !name.empty()) name += '_';
        name += static_cast<char>(std::tolower(static_cast<unsigned char>(letter)));
    }
    return name;
}

bool IsDigit(const std::string& text, size_t at)
{
    return at < text.size() && std::isdigit(static_cast<unsigned char>(text[at])) != 0;
}

// A chapter by its number, as in `Part` 1.2.
bool NamesChapter(const std::string& line)
{
    for (const char* word : {"Part ", "Parts "}) {
        for (size_t at = line.find(word); at != std::string::npos; at = line.find(word, at + 1)) {
            const size_t number = at + std::string(word).size();
            if (IsDigit(line, number) && line.substr(number + 1, 1) == "." &&
                IsDigit(line, number + 2)) {
                return true;
            }
        }
    }
    return false;
}

std::vector<std::string> Joined(const std::vector<std::pair<std::string, std::string>>& pieces)
{
    std::vector<std::string> words;
    for (const auto& [begin, end] : pieces) words.push_back(begin + end);
    return words;
}

bool OpensWithComment(const SourceFile& file)
{
    return file.text.rfind("//", 0) == 0 || file.text.rfind("/*", 0) == 0;
}

} // namespace

Complaints ForbiddenIncludes(const SourceFile& file)
{
    Complaints complaints;
    if (!IsCode(file.path)) return complaints;
    for (const Include& include : IncludesOf(file)) {
        if (include.opening != '"') continue;
        const std::string folder = IncludedFolder(include.name);
        if (MayTake(file, folder)) continue;
        complaints.push_back(Complain(file, include.line, "may not include " + include.name));
    }
    return complaints;
}

Complaints OutsideHeaders(const SourceFile& file)
{
    static const Names exempt = {"platform", "tools", "tests", "benchmarks"};
    Complaints complaints;
    if (!IsCode(file.path) || exempt.count(FolderOf(file.path)) != 0) return complaints;
    for (const Include& include : IncludesOf(file)) {
        if (include.opening != '<' || StandardHeaders.count(include.name) != 0) continue;
        const auto place = OutsideHeaderPlaces.find(file.path);
        if (place != OutsideHeaderPlaces.end() && place->second == include.name) continue;
        complaints.push_back(Complain(file, include.line, "outside header " + include.name));
    }
    return complaints;
}

Complaints ForbiddenLanguage(const SourceFile& file)
{
    static const std::vector<std::string> words = {"class",
                                                   "throw",
                                                   "try",
                                                   "catch",
                                                   "new",
                                                   "delete",
                                                   "template",
                                                   "typeid",
                                                   "dynamic_cast",
                                                   "std::string",
                                                   "std::vector",
                                                   "std::deque",
                                                   "std::list",
                                                   "std::forward_list",
                                                   "std::map",
                                                   "std::multimap",
                                                   "std::set",
                                                   "std::multiset",
                                                   "std::unordered_map",
                                                   "std::unordered_set",
                                                   "std::queue",
                                                   "std::stack",
                                                   "std::function",
                                                   "std::unique_ptr",
                                                   "std::shared_ptr",
                                                   "std::make_unique",
                                                   "std::make_shared",
                                                   "std::ifstream",
                                                   "std::ofstream",
                                                   "std::stringstream",
                                                   "std::ostringstream",
                                                   "std::istringstream"};
    Complaints complaints;
    if (!IsCode(file.path) || !IsLibraryFolder(FolderOf(file.path))) return complaints;
    for (const std::string& word : words) {
        for (const size_t at : FindWord(file.code, word)) {
            const std::string before = file.code.substr(0, at);
            const size_t end = before.find_last_not_of(" \n");
            const bool scoped = word == "class" && end != std::string::npos && end >= 3 &&
                                before.compare(end - 3, 4, "enum") == 0;
            if (scoped) continue;
            complaints.push_back(Complain(file, LineAt(file.code, at), "uses " + word));
        }
    }
    return complaints;
}

Complaints LongFunctions(const SourceFile& file)
{
    Complaints complaints;
    for (const Function& function : FunctionsOf(file)) {
        const int lines = function.lastLine - function.firstLine + 1;
        if (lines <= LongestFunction) continue;
        complaints.push_back(Complain(file, function.firstLine,
                                      function.name + " has " + std::to_string(lines) + " lines"));
    }
    return complaints;
}

Complaints MisnamedBuilders(const SourceFile& file)
{
    static const std::string prefix = "BuildWave";
    const std::filesystem::path path = file.path;
    Complaints complaints;
    if (path.parent_path() != "sequencer/builders" || path.extension() != ".cpp") {
        return complaints;
    }
    int builders = 0;
    for (const Function& function : FunctionsOf(file)) {
        if (function.name.rfind(prefix, 0) != 0) continue;
        ++builders;
        const std::string name = FileNameOf(function.name.substr(prefix.size())) + ".cpp";
        if (name == path.filename().string()) continue;
        complaints.push_back(
            Complain(file, function.firstLine, function.name + " belongs into " + name));
    }
    if (builders != 1) {
        complaints.push_back(Complain(file, 1, std::to_string(builders) + " builders"));
    }
    return complaints;
}

Complaints LeftoverMarkers(const SourceFile& file)
{
    static const std::vector<std::string> markers =
        Joined({{"TO", "DO"}, {"FIX", "ME"}, {"XX", "X"}, {"HA", "CK"}, {"W", "IP"}});
    Complaints complaints;
    for (const std::string& marker : markers) {
        for (const size_t at : FindWord(file.text, marker)) {
            complaints.push_back(Complain(file, LineAt(file.text, at), marker));
        }
    }
    return complaints;
}

Complaints OutsideReferences(const SourceFile& file)
{
    static const std::vector<std::string> words = Joined({{"spec", "ification"},
                                                          {"the ", "spec"},
                                                          {"spec", ".md"},
                                                          {"design", ".md"},
                                                          {"platform", "-notes"},
                                                          {"edge cases ", "worth testing"},
                                                          {"the ", "parts tell"},
                                                          {"/wo", "rk/"},
                                                          {"/tmp", "/wt"},
                                                          {"open ", "questions"}});
    Complaints complaints;
    const std::vector<std::string> lines = Lines(file.text);
    for (size_t i = 0; i < lines.size(); ++i) {
        const std::string line = Lower(lines[i]);
        const int number = static_cast<int>(i) + 1;
        for (const std::string& word : words) {
            if (!FindWord(line, word).empty()) complaints.push_back(Complain(file, number, word));
        }
        if (NamesChapter(lines[i])) complaints.push_back(Complain(file, number, "a chapter"));
    }
    return complaints;
}

Complaints MissingHeads(const SourceFile& file)
{
    const bool builder = file.path.rfind("sequencer/builders/", 0) == 0;
    if (!IsCode(file.path) || (FolderOf(file.path) != "drivers" && !builder)) return {};
    if (OpensWithComment(file)) return {};
    return {Complain(file, 1, "does not say what it is")};
}

Complaints UnguardedHeaders(const SourceFile& file)
{
    if (!IsHeader(file.path)) return {};
    const bool once = file.text.find("#pragma once") != std::string::npos;
    const bool readByC = file.text.find("extern \"C\" {") != std::string::npos;
    const bool guard = file.text.find("#ifndef ") != std::string::npos &&
                       file.text.find("#ifndef ") < file.text.find("#include");
    if (once || (readByC && guard)) return {};
    return {Complain(file, 1, "can be included twice")};
}
