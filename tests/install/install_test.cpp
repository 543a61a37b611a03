// What `cmake --install` puts into a folder, and host programs that are built with that alone.
#include <cstdlib>
#include <filesystem>
#include <gtest/gtest.h>
#include <regex>
#include <set>

#include "tests/support/shell.h"
#include "tests/support/temp_folder.h"

namespace {

const std::string Client = QVN_SOURCE_DIR "/tests/install/client";

class Installed : public testing::Test {
protected:
    static void SetUpTestSuite()
    {
        Stage = TempFolder() + "stage";
        Result = RunShell(QVN_CMAKE " --install " QVN_BINARY_DIR " --prefix " + Stage);
    }

    void SetUp() override { ASSERT_EQ(Result.exitCode, 0) << Result.out; }

    static std::string Library(const std::string& name)
    {
        return Stage + "/" QVN_LIBDIR "/" + name;
    }

    // By pkg-config, and run.
    static ShellResult BuildByPkgConfig(const std::string& source, const std::string& package)
    {
        const std::string program = TempFolder() + source;
        return RunShell("export PKG_CONFIG_PATH=" + Library("pkgconfig") + "\n" QVN_CC +
                        " -std=c99 -Wall -Wextra -Werror " + Client + "/" + source + ".c -o " +
                        program + " $(pkg-config --cflags --libs " + package +
                        ") && LD_LIBRARY_PATH=" + Library("") + " " + program + " " + Stage +
                        "/share/qvn");
    }

    static inline std::string Stage;
    static inline ShellResult Result;
};

TEST_F(Installed, FilesStandWhereASystemSeeksThem)
{
    const char* files[] = {"bin/qvn",
                           "include/qvn.h",
                           "include/qvn_bench.h",
                           QVN_LIBDIR "/libqvn.so",
                           QVN_LIBDIR "/libqvn.so.7",
                           QVN_LIBDIR "/libqvn_bench.so.7",
                           QVN_LIBDIR "/pkgconfig/qvn.pc",
                           QVN_LIBDIR "/pkgconfig/qvn_bench.pc",
                           QVN_LIBDIR "/cmake/qvn/qvnConfig.cmake",
                           QVN_LIBDIR "/qvn/standin/libftd2xx.so",
                           QVN_LIBDIR "/qvn/standin/cameras.cfg",
                           "lib/udev/rules.d/70-qvn.rules",
                           "share/qvn/qvn.cfg",
                           "share/qvn/camera.cfg",
                           "share/man/man1/qvn.1",
                           "share/man/man5/qvn.cfg.5",
                           "share/man/man5/camera.cfg.5",
                           "share/man/man5/wave.bin.5",
                           "share/bash-completion/completions/qvn"};
    for (const char* file : files) {
        EXPECT_TRUE(std::filesystem::exists(Stage + "/" + file)) << file;
    }
}

// The text of a path of this machine in an installed file would be wrong on any other.
TEST_F(Installed, TextsNameNoFolderOfTheBuild)
{
    for (const auto& entry : std::filesystem::recursive_directory_iterator(Stage)) {
        const std::string ending = entry.path().extension();
        if (ending != ".pc" && ending != ".cmake") continue;
        const std::string text = FileText(entry.path());
        EXPECT_EQ(text.find(QVN_SOURCE_DIR), std::string::npos) << entry.path();
        EXPECT_EQ(text.find(Stage), std::string::npos) << entry.path();
    }
}

TEST_F(Installed, LibraryShowsTheListedFunctionsAlone)
{
    std::set<std::string> listed;
    for (const std::string& line : LinesOf(FileText(QVN_SOURCE_DIR "/tests/data/exports.txt"))) {
        std::smatch name;
        if (std::regex_search(line, name, std::regex("(_?QV_\\w+)\\("))) listed.insert(name[1]);
    }
    ASSERT_EQ(listed.size(), 123u);
    const ShellResult symbols = RunShell(QVN_NM " -D --defined-only " + Library("libqvn.so.7"));
    ASSERT_EQ(symbols.exitCode, 0) << symbols.out;
    std::set<std::string> shown;
    for (const std::string& line : LinesOf(symbols.out)) {
        shown.insert(line.substr(line.rfind(' ') + 1));
    }
    EXPECT_EQ(shown, listed);
}

TEST_F(Installed, ProgramFindsItsLibraryWhereverTheFolderIs)
{
    const ShellResult version = RunShell(Stage + "/bin/qvn --version");
    EXPECT_EQ(version.out, "qvn 7.4.3\n");
    const std::string moved = Stage + "_moved";
    std::filesystem::rename(Stage, moved);
    EXPECT_EQ(RunShell(moved + "/bin/qvn --version").out, "qvn 7.4.3\n");
    std::filesystem::rename(moved, Stage);
}

TEST_F(Installed, ClientBuildsWithPkgConfig)
{
    const ShellResult client = BuildByPkgConfig("client", "qvn");
    EXPECT_EQ(client.exitCode, 0) << client.out;
    EXPECT_NE(client.out.find("platform 1 is DEMO"), std::string::npos) << client.out;
    EXPECT_EQ(BuildByPkgConfig("workbench", "qvn_bench").out, "1 virtual camera\n");
    if (!std::filesystem::exists(Library("libqvn_supervisor.so"))) return;
    const ShellResult supervised = BuildByPkgConfig("supervised", "qvn_supervisor qvn");
    EXPECT_EQ(supervised.exitCode, 0) << supervised.out;
}

TEST_F(Installed, ClientBuildsWithCMake)
{
    const std::string build = TempFolder() + "client_build";
    const ShellResult built = RunShell(
        QVN_CMAKE " -S " + Client + " -B " + build + " -G '" QVN_GENERATOR "' -DCMAKE_C_COMPILER=" +
        QVN_CC " -DCMAKE_PREFIX_PATH=" + Stage + " && " QVN_CMAKE " --build " + build);
    ASSERT_EQ(built.exitCode, 0) << built.out;
    const ShellResult client = RunShell(build + "/client");
    EXPECT_EQ(client.exitCode, 0) << client.out;
    EXPECT_NE(client.out.find("platform 1 is DEMO"), std::string::npos) << client.out;
    EXPECT_EQ(RunShell(build + "/workbench " + Stage + "/share/qvn").out, "1 virtual camera\n");
}

TEST_F(Installed, AnotherMajorVersionIsNotFound)
{
    const std::string folder = TempFolder() + "wrong_version";
    const ShellResult made = RunShell(
        "mkdir " + folder +
        " && printf 'cmake_minimum_required(VERSION 3.25)\\nproject(c NONE)\\n" +
        "find_package(qvn 8.0 REQUIRED)\\n' >" + folder + "/CMakeLists.txt && " QVN_CMAKE " -S " +
        folder + " -B " + folder + "/build -G '" QVN_GENERATOR "' -DCMAKE_PREFIX_PATH=" + Stage);
    EXPECT_NE(made.exitCode, 0);
    EXPECT_NE(made.out.find("requested version \"8.0\""), std::string::npos) << made.out;
}

} // namespace
