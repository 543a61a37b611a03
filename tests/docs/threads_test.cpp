// docs/threads.md has a row for each exported function, and says what the header says.
#include <gtest/gtest.h>

#include <map>
#include <regex>
#include <set>

#include "tests/docs/text.h"

namespace {

struct Row {
    std::string rule, holds;
};

// By function. A second row of one is a failure.
std::map<std::string, Row> Rows()
{
    std::map<std::string, Row> rows;
    const std::regex form("\\| `(_?QV_\\w+)` \\| ([a-z, ]+) \\| ([^|]+) \\|.*");
    for (const std::string& line : TreeLines("docs/threads.md")) {
        std::smatch found;
        if (!std::regex_match(line, found, form)) continue;
        EXPECT_EQ(rows.count(found[1]), 0u) << found[1];
        rows[found[1]] = {found[2], found[3]};
    }
    return rows;
}

std::set<std::string> Exports()
{
    std::set<std::string> names;
    const std::regex form("(_?QV_\\w+)\\(");
    for (const std::string& line : TreeLines("tests/data/exports.txt")) {
        std::smatch found;
        if (std::regex_search(line, found, form)) names.insert(found[1]);
    }
    return names;
}

// What the header's part on threads names ahead of the exceptions.
std::set<std::string> CallableAnytime()
{
    const std::string header = TreeText("include/qvn.h");
    const size_t begin = header.find("One thread at a time for one camera.");
    const size_t end = header.find("Two cameras may be driven by two threads");
    std::set<std::string> names;
    if (begin == std::string::npos || end == std::string::npos) return names;
    const std::string part = header.substr(begin, end - begin);
    const std::regex word("QV_\\w+");
    for (std::sregex_iterator i(part.begin(), part.end(), word), last; i != last; ++i) {
        names.insert(i->str());
    }
    return names;
}

} // namespace

TEST(ThreadRules, EveryExportHasOneRow)
{
    const std::set<std::string> exports = Exports();
    const std::map<std::string, Row> rows = Rows();
    EXPECT_EQ(exports.size(), 123u);
    EXPECT_EQ(rows.size(), 123u);
    for (const std::string& name : exports) EXPECT_EQ(rows.count(name), 1u) << name;
}

TEST(ThreadRules, RulesAreThoseThatThePageExplains)
{
    const std::set<std::string> rules = {"any", "free", "camera", "camera, all", "all"};
    for (const auto& [name, row] : Rows()) {
        EXPECT_EQ(rules.count(row.rule), 1u) << name << ": " << row.rule;
    }
}

TEST(ThreadRules, AnyIsSaidOfTheFunctionsThatTheHeaderNames)
{
    std::set<std::string> told;
    for (const auto& [name, row] : Rows()) {
        if (row.rule == "any") told.insert(name);
    }
    EXPECT_EQ(told.size(), 12u);
    EXPECT_EQ(told, CallableAnytime());
}

// What may run beside another call of the same camera cannot hold the timer off.
TEST(ThreadRules, NothingThatMayRunAnytimeHoldsTheService)
{
    for (const auto& [name, row] : Rows()) {
        if (row.rule != "any" && row.rule != "free") continue;
        EXPECT_EQ(row.holds, "no") << name;
    }
}
