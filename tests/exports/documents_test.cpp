// What docs/ tells about the sources is what stands there.
#include <filesystem>
#include <gtest/gtest.h>
#include <set>
#include <sstream>

#include "tests/exports/listing.h"

namespace {

TEST(Documents, HeaderPromisesNothing)
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
