// What the Tab key offers in bash.
#include <gtest/gtest.h>
#include <set>

#include "tests/support/shell.h"
#include "tests/support/temp_folder.h"

namespace {

using Words = std::set<std::string>;

// Offered for the last of the words, as bash splits a line.
Words Offered(const std::string& line)
{
    const ShellResult shown =
        RunShell("cd " + TempFolder() +
                 " && bash -c 'source " QVN_SOURCE_DIR
                 "/share/bash-completion/qvn; PATH=" QVN_BINARY_DIR ":$PATH; COMP_WORDS=(" +
                 line +
                 "); COMP_CWORD=$((${#COMP_WORDS[@]} - 1)); _qvn qvn; "
                 "for word in \"${COMPREPLY[@]}\"; do echo \"$word\"; done'");
    EXPECT_EQ(shown.exitCode, 0) << shown.out;
    Words words;
    for (const std::string& word : LinesOf(shown.out)) words.insert(word);
    return words;
}

TEST(Completion, OffersCommands)
{
    const Words all = Offered("qvn \"\"");
    for (const char* command : {"init", "list", "info", "expose", "temperature", "wave"}) {
        EXPECT_EQ(all.count(command), 1u) << command;
    }
    EXPECT_EQ(Offered("qvn ex"), Words{"expose"});
    EXPECT_EQ(Offered("qvn wave p"), (Words{"play", "plot"}));
}

TEST(Completion, OffersCommandsBehindOptions)
{
    EXPECT_EQ(Offered("qvn --virtual platform=44 ex"), Words{"expose"});
    EXPECT_EQ(Offered("qvn --virtual list ex"), Words{"expose"});
}

TEST(Completion, OffersOptionsOfTheCommand)
{
    EXPECT_EQ(Offered("qvn init --"), (Words{"--force", "--help"}));
    EXPECT_EQ(Offered("qvn expose --o"), (Words{"--output", "--options", "--overwrite"}));
    EXPECT_EQ(Offered("qvn wave plot --s"), (Words{"--section", "--sensor"}));
}

TEST(Completion, ValueIsNoCommand)
{
    EXPECT_EQ(Offered("qvn expose --output list --dar"), Words{"--dark"});
}

TEST(Completion, OffersPlatforms)
{
    EXPECT_EQ(Offered("qvn expose --platform BRIAR-"),
              (Words{"BRIAR-R3", "BRIAR-PCI", "BRIAR-ISA"}));
    EXPECT_EQ(Offered("qvn list --platform = HERON_"), Words{"HERON_Plus"});
}

TEST(Completion, OffersSensorsThatThePlatformCarries)
{
    EXPECT_EQ(Offered("qvn expose --platform BRIAR-R3 --sensor kaf16"), Words{"kaf1600"});
    EXPECT_EQ(Offered("qvn expose --platform = BRIAR-R3 --sensor = kaf16"), Words{"kaf1600"});
    EXPECT_EQ(Offered("qvn expose --sensor kaf16"), (Words{"kaf1600", "kaf16800", "kaf16800ce"}));
    EXPECT_EQ(Offered("qvn expose --platform nonsense --sensor \"\""), Words{});
}

TEST(Completion, OffersValuesOfAList)
{
    EXPECT_EQ(Offered("qvn expose --format \"\""), (Words{"fits", "png", "tiff", "raw"}));
    EXPECT_EQ(Offered("qvn wave show --section extra"), (Words{"extra-a", "extra-b"}));
}

TEST(Completion, OffersFilesAndFolders)
{
    const std::string made =
        "mkdir -p " + TempFolder() + "a_folder && touch " + TempFolder() + "a_file";
    ASSERT_EQ(RunShell(made).exitCode, 0);
    EXPECT_EQ(Offered("qvn wave show a_"), (Words{"a_file", "a_folder"}));
    EXPECT_EQ(Offered("qvn expose --output a_"), (Words{"a_file", "a_folder"}));
    EXPECT_EQ(Offered("qvn expose --library-path a_"), Words{"a_folder"});
}

} // namespace
