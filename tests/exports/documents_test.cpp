// What docs/ tells about the sources is what stands there.
#include <filesystem>
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

TEST(Documents, NameTheFunctionsThatDoNothing)
{
    EXPECT_EQ(NamesIn("docs/functions.md", "| `", "`"),
              NamesIn("core/exports.cpp", "NOT_BUILT(", ", "));
}

TEST(Documents, HeaderIsSilentAboutThem)
{
    const std::string header = SourceText("include/qvn.h");
    for (const char* phrase : {"not built", "not yet", "not implemented", "does nothing yet"}) {
        EXPECT_EQ(header.find(phrase), std::string::npos) << phrase;
    }
}

// docs/waits.md names every source of the library that sleeps or spins.
TEST(Documents, NameTheSourcesThatWait)
{
    const std::string told = SourceText("docs/waits.md");
    for (const char* folder :
         {"core", "catalogue", "sequencer", "acquisition", "devices", "links", "drivers"}) {
        const std::filesystem::path top = std::filesystem::path(QVN_SOURCE_DIR) / folder;
        if (!std::filesystem::exists(top)) continue;
        for (const auto& entry : std::filesystem::recursive_directory_iterator(top)) {
            if (entry.path().extension() != ".cpp") continue;
            const std::string path =
                std::filesystem::relative(entry.path(), QVN_SOURCE_DIR).generic_string();
            const std::string text = SourceText(path);
            for (const char* wait : {"clock.Sleep", "clock.Relax", "timer.Stop"}) {
                if (text.find(wait) == std::string::npos) continue;
                EXPECT_NE(told.find("`" + path + "`"), std::string::npos) << path;
            }
        }
    }
}

} // namespace
