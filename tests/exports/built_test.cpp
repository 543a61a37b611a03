// docs/functions.md tells hosts which functions do nothing yet. It must say what
// core/exports.cpp says.
#include <gtest/gtest.h>
#include <regex>
#include <set>

#include "tests/exports/listing.h"

namespace {

std::set<std::string> NamesIn(const std::string& text, const std::string& pattern)
{
    std::set<std::string> names;
    const std::regex expression(pattern);
    for (std::sregex_iterator i(text.begin(), text.end(), expression), end; i != end; ++i) {
        names.insert((*i)[1]);
    }
    return names;
}

TEST(Built, DocumentNamesTheFunctionsThatDoNothing)
{
    const std::set<std::string> marked =
        NamesIn(SourceText("core/exports.cpp"), R"(\nNOT_BUILT\([^,]+, (_?QV_\w+),)");
    const std::set<std::string> told =
        NamesIn(SourceText("docs/functions.md"), R"(\n\| `(_?QV_\w+)` \|)");
    EXPECT_EQ(told, marked);
}

TEST(Built, HeaderIsSilentAboutIt)
{
    const std::string header = SourceText("include/qvn.h");
    for (const char* phrase : {"not built", "not yet", "not implemented", "does nothing yet"}) {
        EXPECT_EQ(header.find(phrase), std::string::npos) << phrase;
    }
}

} // namespace
