// What the pages name of the tree is there, and the page on the architecture names all of it.
#include <gtest/gtest.h>

#include <filesystem>
#include <regex>
#include <set>

#include "tests/docs/text.h"

namespace {

namespace fs = std::filesystem;

const fs::path Root = QVN_SOURCE_DIR;

bool IsHidden(const std::string& name)
{
    return name[0] == '.' || name.rfind("build", 0) == 0;
}

std::set<std::string> Folders()
{
    std::set<std::string> names;
    for (const auto& entry : fs::directory_iterator(Root)) {
        const std::string name = entry.path().filename().string();
        if (entry.is_directory() && !IsHidden(name)) names.insert(name);
    }
    return names;
}

std::vector<std::string> Pages()
{
    std::vector<std::string> pages = {"README.md", "CONTRIBUTING.md"};
    for (const auto& entry : fs::directory_iterator(Root / "docs")) {
        if (entry.path().extension() == ".md") {
            pages.push_back("docs/" + entry.path().filename().string());
        }
    }
    return pages;
}

} // namespace

// `folder/file` in backticks, where the folder is one of the tree's.
TEST(Documents, FilesThatTheyNameAreThere)
{
    const std::set<std::string> folders = Folders();
    const std::regex form("`([a-z_]+)/([A-Za-z0-9_./-]*)`");
    size_t named = 0;
    for (const std::string& page : Pages()) {
        const std::string text = TreeText(page);
        for (std::sregex_iterator i(text.begin(), text.end(), form), end; i != end; ++i) {
            if (folders.count((*i)[1]) == 0) continue;
            ++named;
            EXPECT_TRUE(fs::exists(Root / ((*i)[1].str() + "/" + (*i)[2].str())))
                << page << ": " << i->str();
        }
    }
    EXPECT_GT(named, 100u);
}

TEST(Documents, LinksOfPagesToPagesLead)
{
    const std::regex form("\\]\\(([A-Za-z0-9_./-]+\\.(?:md|svg|png))\\)");
    for (const std::string& page : Pages()) {
        const std::string text = TreeText(page);
        for (std::sregex_iterator i(text.begin(), text.end(), form), end; i != end; ++i) {
            EXPECT_TRUE(fs::exists(Root / fs::path(page).parent_path() / (*i)[1].str()))
                << page << ": " << i->str();
        }
    }
}

TEST(Documents, TheArchitectureHasEveryFolder)
{
    const std::string text = TreeText("docs/architecture.md");
    for (const std::string& folder : Folders()) {
        EXPECT_NE(text.find('`' + folder + '/'), std::string::npos) << folder;
    }
}
