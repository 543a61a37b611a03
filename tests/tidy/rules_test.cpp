// The sources of the repository keep the rules.
#include <gtest/gtest.h>

#include <algorithm>

#include "tests/tidy/checks.h"

namespace {

const std::vector<SourceFile>& Sources()
{
    static const std::vector<SourceFile> sources = AllSources();
    return sources;
}

void ExpectKept(Check check)
{
    for (const SourceFile& file : Sources()) {
        for (const std::string& complaint : check(file)) ADD_FAILURE() << complaint;
    }
}

bool IsThere(const std::string& path)
{
    return std::any_of(Sources().begin(), Sources().end(),
                       [&path](const SourceFile& file) { return file.path == path; });
}

} // namespace

TEST(Tidy, EveryKindOfSourceIsRead)
{
    for (const char* path : {"CMakeLists.txt", "README.md", "include/qvn.h", "core/open_close.cpp",
                             "drivers/demo/demo.cpp", "emulator/clock.cpp", "tools/main.cpp",
                             "tests/tidy/checks.cpp", "examples/cooling.c", "bench/builders.cpp",
                             "scripts/test", "docs/emulator.md", "cmake/library.cmake"}) {
        EXPECT_TRUE(IsThere(path)) << path;
    }
}

TEST(Tidy, FoldersIncludeOnlyWhatTheirRowAllows)
{
    ExpectKept(ForbiddenIncludes);
}

TEST(Tidy, SystemAndVendorHeadersStayInTheirPlace)
{
    ExpectKept(OutsideHeaders);
}

TEST(Tidy, LibraryFoldersArePlainCode)
{
    ExpectKept(ForbiddenLanguage);
}

TEST(Tidy, FunctionsFitOnAScreen)
{
    ExpectKept(LongFunctions);
}

TEST(Tidy, BuilderSourcesAreNamedAfterTheirBuilder)
{
    ExpectKept(MisnamedBuilders);
}

TEST(Tidy, NothingIsLeftToDo)
{
    ExpectKept(LeftoverMarkers);
}

TEST(Tidy, TheSourcesStandForThemselves)
{
    ExpectKept(OutsideReferences);
}

TEST(Tidy, DriversSayForWhichCameraTheyAre)
{
    ExpectKept(MissingHeads);
}

TEST(Tidy, HeadersCanBeIncludedTwice)
{
    ExpectKept(UnguardedHeaders);
}
