// The manual tells the commands, options and keys that there are, and no others.
#include <filesystem>
#include <gtest/gtest.h>
#include <map>
#include <regex>
#include <set>

#include "tests/support/shell.h"

namespace {

using Words = std::set<std::string>;

const std::string Manual = QVN_SOURCE_DIR "/share/man/";

// The text of a page's line: no fonts, plain hyphens.
std::string Plain(std::string text)
{
    text = std::regex_replace(text, std::regex("\\\\f[A-Z]"), "");
    return std::regex_replace(text, std::regex("\\\\-"), "-");
}

std::string Page(const std::string& name)
{
    return Plain(FileText(Manual + name));
}

// The subsections of qvn.1 by their titles, without what stands behind a command's name.
std::map<std::string, std::string> Subsections()
{
    std::map<std::string, std::string> sections;
    std::string title;
    for (const std::string& line : LinesOf(Page("qvn.1"))) {
        if (line.rfind(".SH ", 0) == 0) title.clear();
        if (line.rfind(".SS ", 0) == 0) {
            std::smatch name;
            const std::string whole = line.substr(4);
            const bool command = std::regex_search(whole, name, std::regex("^qvn( [a-z]+)*"));
            title = command ? name.str() : whole;
        } else if (!title.empty()) {
            sections[title] += line + "\n";
        }
    }
    return sections;
}

// Options that a subsection has an entry for: the line behind .TP.
Words Entries(const std::string& section)
{
    Words options;
    bool entry = false;
    for (const std::string& line : LinesOf(section)) {
        if (entry) {
            const std::regex option("--[a-z-]+");
            for (std::sregex_iterator i(line.begin(), line.end(), option), end; i != end; ++i) {
                options.insert(i->str());
            }
        }
        entry = line == ".TP";
    }
    return options;
}

Words WithShared(const std::map<std::string, std::string>& sections, const std::string& title)
{
    const std::string& text = sections.at(title);
    Words options = Entries(text);
    for (const auto& [other, shared] : sections) {
        if (other == title || text.find(other) == std::string::npos) continue;
        if (other.rfind("qvn", 0) == 0 && title.rfind(other, 0) == 0) continue;
        options.merge(other.rfind("qvn", 0) == 0 ? WithShared(sections, other) : Entries(shared));
    }
    // Told in passing, as are those of a command that takes some of a shared list.
    for (const std::string& line : LinesOf(text)) {
        const std::regex word("--[a-z-]+");
        for (std::sregex_iterator i(line.begin(), line.end(), word), end; i != end; ++i) {
            options.insert(i->str());
        }
    }
    return options;
}

struct Help {
    Words options;
    std::vector<std::string> commands;
};

Help HelpOf(const std::string& command)
{
    Help help;
    bool commands = false;
    const ShellResult shown = RunShell(QVN_BINARY_DIR "/" + command + " --help");
    EXPECT_EQ(shown.exitCode, 0) << shown.out;
    for (const std::string& line : LinesOf(shown.out)) {
        std::smatch found;
        if (!line.empty() && line[0] != ' ') commands = line == "Subcommands:";
        if (commands && std::regex_search(line, found, std::regex("^  ([a-z]+)"))) {
            help.commands.push_back(found[1]);
        }
        if (std::regex_search(line, found, std::regex("^  (?:-[a-z],)?(--[a-z-]+)"))) {
            help.options.insert(found[1]);
        }
    }
    help.options.erase("--help");
    return help;
}

// A command and all below it.
void Collect(const std::string& command, std::map<std::string, Help>* all)
{
    const Help help = HelpOf(command);
    (*all)[command] = help;
    for (const std::string& below : help.commands) Collect(command + " " + below, all);
}

const std::map<std::string, Help>& Commands()
{
    static std::map<std::string, Help> commands;
    if (commands.empty()) Collect("qvn", &commands);
    return commands;
}

TEST(Manual, HasEveryCommandAndNoOther)
{
    Words commands;
    Words told;
    for (const auto& [command, help] : Commands()) commands.insert(command);
    for (const auto& [title, text] : Subsections()) {
        if (title.rfind("qvn", 0) == 0) told.insert(title);
    }
    commands.erase("qvn");
    EXPECT_EQ(told, commands) << "subsections .SS of share/man/qvn.1 against qvn --help";
}

TEST(Manual, TellsEveryOption)
{
    const auto sections = Subsections();
    for (const auto& [command, help] : Commands()) {
        if (command != "qvn" && sections.count(command) == 0) continue;
        Words told = command == "qvn" ? Words{} : WithShared(sections, command);
        if (command == "qvn") told = WithShared(sections, "Options of the program");
        for (const std::string& option : help.options) {
            EXPECT_EQ(told.count(option), 1u)
                << "share/man/qvn.1 lacks " << option << " of " << command;
        }
    }
}

TEST(Manual, TellsNoOptionThatIsGone)
{
    const auto sections = Subsections();
    for (const auto& [command, help] : Commands()) {
        if (sections.count(command) == 0) continue;
        for (const std::string& option : Entries(sections.at(command))) {
            EXPECT_EQ(help.options.count(option), 1u) << command << " has no " << option;
        }
    }
}

// The keys of a sample file stand in bold in its page.
TEST(Manual, TellsEveryKeyOfTheSampleFiles)
{
    for (const char* name : {"camera.cfg", "qvn.cfg"}) {
        const std::string page = Page(std::string(name) + ".5");
        const std::regex key("^ *([A-Z][A-Za-z]+) = ");
        Words keys;
        for (const std::string& line :
             LinesOf(FileText(QVN_SOURCE_DIR "/share/qvn/" + std::string(name)))) {
            std::smatch found;
            if (std::regex_search(line, found, key)) keys.insert(found[1]);
        }
        EXPECT_GE(keys.size(), 22u) << name;
        for (const std::string& word : keys) {
            const std::regex bold("\n\\.BR? [^\n]*\\b" + word + "\\b");
            EXPECT_TRUE(std::regex_search(page, bold)) << name << ".5 lacks " << word;
        }
    }
}

TEST(Manual, IsSetWithoutWarnings)
{
    if (RunShell("command -v groff").exitCode != 0) GTEST_SKIP() << "no groff";
    for (const auto& entry : std::filesystem::directory_iterator(Manual)) {
        const ShellResult set = RunShell("groff -man -t -Tutf8 -ww -z " + entry.path().string());
        EXPECT_EQ(set.out, "") << entry.path();
    }
}

} // namespace
