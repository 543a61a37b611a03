// docs/functions.md tells hosts which functions do nothing yet. It must say what
// core/exports.cpp says.
#include <gtest/gtest.h>
#include <set>
#include <sstream>

#include "tests/exports/listing.h"

namespace {

// The function named behind the first `before` of each line that begins with `start`.
std::set<std::string> NamesIn(const std::string& path, const std::string& start,
                              const std::string& before)
{
    std::set<std::string> names;
    std::istringstream lines(SourceText(path));
    for (std::string line; std::getline(lines, line);) {
        if (line.rfind(start, 0) != 0) continue;
        const size_t begin = line.find(before) + before.size();
        names.insert(line.substr(begin, line.find_first_of(",`", begin) - begin));
    }
    return names;
}

TEST(Built, DocumentNamesTheFunctionsThatDoNothing)
{
    EXPECT_EQ(NamesIn("docs/functions.md", "| `", "`"),
              NamesIn("core/exports.cpp", "NOT_BUILT(", ", "));
}

TEST(Built, HeaderIsSilentAboutIt)
{
    const std::string header = SourceText("include/qvn.h");
    for (const char* phrase : {"not built", "not yet", "not implemented", "does nothing yet"}) {
        EXPECT_EQ(header.find(phrase), std::string::npos) << phrase;
    }
}

} // namespace
