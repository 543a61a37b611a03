// Every code block of docs/ and of the README is run as a reader would, or says why not.
#include <gtest/gtest.h>

#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>

#include "tests/docs/blocks.h"
#include "tests/docs/text.h"
#include "tests/support/shell.h"

namespace {

namespace fs = std::filesystem;

const std::string Environment =
    "export PATH='" QVN_BINARY_DIR "':\"$PATH\" PYTHONPATH='" QVN_SOURCE_DIR
    "/python' QVN_LIBRARY_DIR='" QVN_BINARY_DIR "' PYTHONDONTWRITEBYTECODE=1\n";
const std::string Instruments =
    std::string(QVN_SANITIZE).empty() ? "" : " -fsanitize=" QVN_SANITIZE;
const std::string Host = " -I'" QVN_SOURCE_DIR "/include' -L'" QVN_BINARY_DIR
                         "' -Wl,-rpath,'" QVN_BINARY_DIR "' -o block && ./block\n";

// How a block of each language is run, in a file of its own.
struct Runner {
    const char* file;
    std::string command;
};

const std::map<std::string, Runner> Runners = {
    {"sh", {"block.sh", "bash -e block.sh"}},
    {"c", {"block.c", QVN_C_COMPILER " -std=c99 -Wall -Wextra -Werror" + Instruments + " block.c"}},
    {"cpp",
     {"block.cpp",
      QVN_CXX_COMPILER " -std=c++17 -Wall -Wextra -Werror" + Instruments + " block.cpp"}},
    {"python", {"block.py", "/usr/bin/python3 block.py"}},
};

std::string CommandOf(const CodeBlock& block)
{
    const std::string command = Runners.at(block.language).command;
    if (block.language != "c" && block.language != "cpp") return command;
    const auto uses = [&block](const char* header) {
        return block.text.find(header) != std::string::npos;
    };
    if (uses("qvn_supervisor.h")) return command + " -lqvn_supervisor -lqvn" + Host;
    return command + (uses("qvn_bench.h") ? " -lqvn_bench" : " -lqvn") + Host;
}

ShellResult Execute(const fs::path& folder, const std::string& command)
{
    return RunShell(Environment + "cd '" + folder.string() + "' && { " + command +
                    "\n} </dev/null");
}

std::vector<std::string> Pages()
{
    std::vector<std::string> pages = {"README.md"};
    for (const auto& entry : fs::directory_iterator(QVN_SOURCE_DIR "/docs")) {
        if (entry.path().extension() == ".md") {
            pages.push_back("docs/" + entry.path().filename().string());
        }
    }
    std::sort(pages.begin() + 1, pages.end());
    return pages;
}

std::string PageName(const testing::TestParamInfo<std::string>& page)
{
    std::string name;
    for (const char letter : fs::path(page.param).stem().string()) {
        if (std::isalnum(static_cast<unsigned char>(letter)) != 0) name += letter;
    }
    return name;
}

// The blocks of a page are run in their order, in one folder.
struct CodeOf : testing::TestWithParam<std::string> {
    fs::path folder =
        fs::path(testing::TempDir()) /
        ("qvn_docs_" + fs::path(GetParam()).stem().string() + std::to_string(getpid()));

    void SetUp() override { fs::create_directories(folder); }
    void TearDown() override { fs::remove_all(folder); }

    void RunBlock(const CodeBlock& block)
    {
        std::ofstream(folder / Runners.at(block.language).file)
            << block.ahead << (block.ahead.empty() ? "" : "\n") << block.text;
        const ShellResult outcome = Execute(folder, CommandOf(block));
        EXPECT_EQ(outcome.exitCode, 0) << GetParam() << ':' << block.line << '\n'
                                       << block.text << outcome.out;
    }
};

} // namespace

TEST_P(CodeOf, RunsOrSaysWhyNot)
{
    // An interpreter that was built without a sanitizer does not load libraries with one.
    const bool python = std::string(QVN_SANITIZE).empty() &&
                        std::system("/usr/bin/python3 -c 'import numpy, astropy' 2>/dev/null") == 0;
    for (const CodeBlock& block : CodeBlocks(TreeLines(GetParam()))) {
        const std::string place = GetParam() + ':' + std::to_string(block.line);
        if (!block.why.empty()) {
            std::printf("not run: %s: %s\n", place.c_str(), block.why.c_str());
            continue;
        }
        const bool known = Runners.count(block.language) != 0;
        const bool fenced = TreeLines(GetParam())[static_cast<size_t>(block.line) - 1].find(
                                "```") != std::string::npos;
        EXPECT_TRUE(known && (fenced || block.marked))
            << place << ": neither of a language that is run nor marked";
        if (!known || !(fenced || block.marked)) continue;
        if (block.language == "python" && !python) continue;
        RunBlock(block);
    }
}

INSTANTIATE_TEST_SUITE_P(Pages, CodeOf, testing::ValuesIn(Pages()), PageName);

// The reader of pages itself.
TEST(CodeBlocks, FencesAndIndentationAreFound)
{
    const std::vector<CodeBlock> blocks = CodeBlocks({"Text",
                                                      "",
                                                      "    one",
                                                      "",
                                                      "    two",
                                                      "",
                                                      "- an item",
                                                      "",
                                                      "    its text",
                                                      "",
                                                      "Text",
                                                      "",
                                                      "<!-- not run: no camera -->",
                                                      "```c",
                                                      "int x;",
                                                      "```",
                                                      "",
                                                      "<!-- run: cd x -->",
                                                      "",
                                                      "    three"});
    ASSERT_EQ(blocks.size(), 3u);
    EXPECT_EQ(blocks[0].text, "one\n\ntwo\n");
    EXPECT_EQ(blocks[0].line, 3);
    EXPECT_FALSE(blocks[0].marked);
    EXPECT_EQ(blocks[1].language, "c");
    EXPECT_EQ(blocks[1].text, "int x;\n");
    EXPECT_EQ(blocks[1].why, "no camera");
    EXPECT_EQ(blocks[2].text, "three\n");
    EXPECT_EQ(blocks[2].ahead, "cd x");
    EXPECT_TRUE(blocks[2].marked);
    EXPECT_EQ(blocks[2].why, "");
}
