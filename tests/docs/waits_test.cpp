// docs/waits.md names each function of the library that waits.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <regex>
#include <set>

#include "tests/docs/text.h"

namespace {

namespace fs = std::filesystem;

// A function and its source.
using Place = std::pair<std::string, std::string>;

// What the sources of the library have that a host can wait for. `platform/` fills the calls.
const char* const Folders[] = {"acquisition", "catalogue", "core",     "devices",
                               "drivers",     "links",     "sequencer"};

std::vector<std::string> Sources()
{
    const fs::path root = QVN_SOURCE_DIR;
    std::vector<std::string> paths;
    for (const char* folder : Folders) {
        for (const auto& entry : fs::recursive_directory_iterator(root / folder)) {
            if (entry.path().extension() == ".cpp") {
                paths.push_back(fs::relative(entry.path(), root).string());
            }
        }
    }
    return paths;
}

struct Function {
    std::string name, body;
};

// Of a line that begins one in the first column; "" for others.
std::string NameIn(const std::string& line)
{
    const size_t open = line.find('(');
    const bool begins = !line.empty() && isalpha(static_cast<unsigned char>(line[0])) != 0;
    if (!begins || open == std::string::npos || line.find_first_of("=;") < open) return "";
    const size_t space = line.find_last_of(" *&", open);
    return space == std::string::npos ? "" : line.substr(space + 1, open - space - 1);
}

// A body is what stands between braces in the first column.
std::vector<Function> FunctionsOf(const std::string& path)
{
    std::vector<Function> functions;
    std::string name;
    bool inside = false;
    for (const std::string& line : TreeLines(path)) {
        if (inside) {
            inside = line != "}";
            functions.back().body += line + "\n";
        } else if (line == "{") {
            inside = true;
            functions.push_back({name, ""});
        } else if (const std::string begun = NameIn(line); !begun.empty()) {
            name = begun;
        }
    }
    return functions;
}

bool Has(const std::string& body, const std::string& word)
{
    size_t at = body.find(word);
    while (at != std::string::npos && at != 0 &&
           isalnum(static_cast<unsigned char>(body[at - 1]))) {
        at = body.find(word, at + 1);
    }
    return at != std::string::npos;
}

template <typename Words> bool HasAny(const std::string& body, const Words& words)
{
    return std::any_of(std::begin(words), std::end(words),
                       [&](const char* word) { return Has(body, word); });
}

// A pause of microseconds by itself is the row of DelayMicroseconds.
bool Waits(const std::string& body)
{
    const char* const waits[] = {"clock.Relax(", "clock.Sleep(",  "clock.SleepMicroseconds(",
                                 "usb.Read(",    "usb.Write(",    "Delay(",
                                 "SleepMs(",     "AwaitSection(", "SleepStep(",
                                 "for (;;)",     "while (true)"};
    const char* const rounds[] = {"for (", "while (", "do {"};
    if (HasAny(body, waits) || body.find("Polls") != std::string::npos) return true;
    return Has(body, "DelayMicroseconds(") && HasAny(body, rounds);
}

// Of the first column; the names ahead of a source are in it.
std::set<Place> Named()
{
    std::set<Place> places;
    const std::regex word("`(\\w+)`|`(\\w+/[\\w/]+\\.cpp)`");
    for (const std::string& line : TreeLines("docs/waits.md")) {
        if (line.rfind("| ", 0) != 0) continue;
        const std::string column = line.substr(0, line.find(" | "));
        std::vector<std::string> names;
        for (std::sregex_iterator i(column.begin(), column.end(), word), end; i != end; ++i) {
            if ((*i)[1].matched) names.push_back((*i)[1]);
            if (!(*i)[2].matched) continue;
            for (const std::string& name : names) places.insert({(*i)[2], name});
            names.clear();
        }
    }
    return places;
}

} // namespace

TEST(Waits, EachFunctionThatWaitsHasARow)
{
    const std::set<Place> named = Named();
    size_t waits = 0;
    for (const std::string& path : Sources()) {
        for (const Function& function : FunctionsOf(path)) {
            if (!Waits(function.body)) continue;
            ++waits;
            EXPECT_EQ(named.count({path, function.name}), 1u)
                << path << ": " << function.name << " waits: for what, and how long at most?";
        }
    }
    EXPECT_GT(waits, 80u);
}

TEST(Waits, EachFunctionOfARowIsThere)
{
    for (const auto& [path, name] : Named()) {
        const std::vector<Function> functions = FunctionsOf(path);
        EXPECT_TRUE(std::any_of(functions.begin(), functions.end(),
                                [&](const Function& each) { return each.name == name; }))
            << path << ": " << name;
    }
}
