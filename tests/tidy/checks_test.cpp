// Each check finds what it is for, and lets its neighbour pass.
#include "tests/tidy/checks.h"

#include <gtest/gtest.h>

namespace {

size_t Count(Check check, const std::string& path, const std::string& text)
{
    return check(MakeSource(path, text)).size();
}

std::string Repeated(const std::string& text, int count)
{
    std::string all;
    for (int i = 0; i < count; ++i) all += text;
    return all;
}

// So that this source does not hold the word itself.
std::string Joined(const std::string& begin, const std::string& end)
{
    return begin + end;
}

// A source that includes one header.
size_t IncludeCount(Check check, const std::string& path, const std::string& header)
{
    return Count(check, path, "// A source.\n#include " + header + "\n");
}

} // namespace

TEST(TidyChecks, IncludesOfOtherLayersAreFound)
{
    const Check check = ForbiddenIncludes;
    EXPECT_EQ(IncludeCount(check, "acquisition/single.cpp", "\"drivers/demo/demo.h\""), 1u);
    EXPECT_EQ(IncludeCount(check, "devices/gain.cpp", "\"links/usb_link.h\""), 1u);
    EXPECT_EQ(IncludeCount(check, "core/status.cpp", "\"devices/gain.h\""), 1u);
    EXPECT_EQ(IncludeCount(check, "core/open_close.h", "\"devices/gain.h\""), 1u);
    EXPECT_EQ(IncludeCount(check, "core/exports.cpp", "\"emulator/emulator.h\""), 1u);
    EXPECT_EQ(IncludeCount(check, "platform/posix.cpp", "\"core/record.h\""), 1u);
    EXPECT_EQ(IncludeCount(check, "emulator/clock.cpp", "\"core/record.h\""), 1u);
    EXPECT_EQ(IncludeCount(check, "tools/main.cpp", "\"core/record.h\""), 1u);
    EXPECT_EQ(IncludeCount(check, "examples/cooling.c", "\"core/record.h\""), 1u);
    EXPECT_EQ(IncludeCount(check, "include/qvn.h", "\"core/record.h\""), 1u);
    EXPECT_EQ(IncludeCount(check, "catalogue/catalogue.h", "\"include/qvn.h\""), 1u);
}

TEST(TidyChecks, IncludesThatTheTableAllowsPass)
{
    const Check check = ForbiddenIncludes;
    EXPECT_EQ(IncludeCount(check, "acquisition/single.cpp", "\"devices/gain.h\""), 0u);
    EXPECT_EQ(IncludeCount(check, "acquisition/single.cpp", "\"acquisition/matrix.h\""), 0u);
    EXPECT_EQ(IncludeCount(check, "core/exports.cpp", "\"drivers/demo/demo.h\""), 0u);
    EXPECT_EQ(IncludeCount(check, "drivers/heron.cpp", "\"links/usb_link.h\""), 0u);
    EXPECT_EQ(IncludeCount(check, "emulator/clock.cpp", "\"platform/system.h\""), 0u);
    EXPECT_EQ(IncludeCount(check, "examples/cooling.c", "\"qvn.h\""), 0u);
    EXPECT_EQ(IncludeCount(check, "tests/core/open_test.cpp", "\"drivers/demo/demo.h\""), 0u);
    EXPECT_EQ(Count(check, "core/status.cpp", "// #include \"devices/gain.h\"\n"), 0u);
}

TEST(TidyChecks, OutsideHeadersAreFound)
{
    const Check check = OutsideHeaders;
    EXPECT_EQ(IncludeCount(check, "core/status.cpp", "<windows.h>"), 1u);
    EXPECT_EQ(IncludeCount(check, "emulator/clock.cpp", "<unistd.h>"), 1u);
    EXPECT_EQ(IncludeCount(check, "catalogue/definition_file.cpp", "<libconfig.h>"), 1u);
    EXPECT_EQ(IncludeCount(check, "catalogue/config_tree.h", "<libconfig.h>"), 1u);
    EXPECT_EQ(IncludeCount(check, "catalogue/config_tree.cpp", "<libconfig.h>"), 0u);
    EXPECT_EQ(IncludeCount(check, "core/status.cpp", "<cstring>"), 0u);
    EXPECT_EQ(IncludeCount(check, "platform/posix.cpp", "<unistd.h>"), 0u);
    EXPECT_EQ(IncludeCount(check, "tools/fits_file.cpp", "<fitsio.h>"), 0u);
}

TEST(TidyChecks, ClassesExceptionsAndContainersAreFound)
{
    const Check check = ForbiddenLanguage;
    EXPECT_EQ(Count(check, "core/a.cpp", "class Camera {};\n"), 1u);
    EXPECT_EQ(Count(check, "links/a.cpp", "void F() { throw 1; }\n"), 1u);
    EXPECT_EQ(Count(check, "links/a.cpp", "void F() { try { G(); } catch (...) {} }\n"), 2u);
    EXPECT_EQ(Count(check, "devices/a.h", "int* p = new int;\n"), 1u);
    EXPECT_EQ(Count(check, "devices/a.h", "std::string name;\n"), 1u);
    EXPECT_EQ(Count(check, "devices/a.h", "std::vector<int> list;\n"), 1u);
    EXPECT_EQ(Count(check, "core/a.h", "template <typename T> T F();\n"), 1u);
}

TEST(TidyChecks, WordsInTextsAndCommentsAreNoLanguage)
{
    const Check check = ForbiddenLanguage;
    EXPECT_EQ(Count(check, "core/a.cpp", "// Please try the new class.\n"), 0u);
    EXPECT_EQ(Count(check, "core/a.cpp", "/* try\n new */ const char* text = \"try \\\" new\";\n"),
              0u);
    EXPECT_EQ(Count(check, "core/a.cpp", "const int n = 1'000'000; // new\n"), 0u);
    EXPECT_EQ(Count(check, "core/a.cpp", "const char c = '\"'; // new\n"), 0u);
    EXPECT_EQ(Count(check, "core/a.cpp", "enum class Handshake { Own };\n"), 0u);
    EXPECT_EQ(Count(check, "core/a.cpp", "int newest, tryCount;\n"), 0u);
    EXPECT_EQ(Count(check, "emulator/a.cpp", "std::vector<int> list;\n"), 0u);
}

TEST(TidyChecks, LongFunctionsAreFound)
{
    const std::string lines = Repeated("    G();\n", 68);
    const std::string longer = Repeated("    G();\n", 69);
    EXPECT_EQ(Count(LongFunctions, "core/a.cpp", "void F()\n{\n" + lines + "\n"), 1u);
    EXPECT_EQ(Count(LongFunctions, "core/a.cpp", "void F() {\n" + lines + "}\n"), 0u);
    EXPECT_EQ(Count(LongFunctions, "core/a.cpp", "void F() {\n" + longer + "}\n"), 1u);
    EXPECT_EQ(Count(LongFunctions, "tests/a.cpp", "TEST(A, B) {\n" + longer + "}\n"), 1u);
    EXPECT_EQ(Count(LongFunctions, "tools/a.c", "static int F(int a) {\n" + longer + "}\n"), 1u);
    EXPECT_EQ(Count(LongFunctions, "docs/a.md", "void F() {\n" + longer + "}\n"), 0u);
}

TEST(TidyChecks, FunctionsInsideScopesAreFoundAndTablesAreNot)
{
    const std::string longer = Repeated("    G();\n", 69);
    EXPECT_EQ(Count(LongFunctions, "core/a.cpp", "namespace {\nvoid F() {\n" + longer + "}\n}\n"),
              1u);
    EXPECT_EQ(Count(LongFunctions, "tests/a.cpp", "struct A {\nvoid F() {\n" + longer + "}\n};\n"),
              1u);
    EXPECT_EQ(Count(LongFunctions, "core/a.cpp",
                    "#ifdef __cplusplus\nextern \"C\" {\n#endif\n"
                    "void F(int a = 1) {\n" +
                        longer + "}\n}\n"),
              1u);
    EXPECT_EQ(
        Count(LongFunctions, "core/a.cpp", Repeated("EXPORT(A, (B))\n", 90) + "void F() {}\n"), 0u);
    const std::string table = "const Row Rows[] = {\n" + Repeated("    {F(1), 2},\n", 90) + "};\n";
    EXPECT_EQ(Count(LongFunctions, "core/a.cpp", table), 0u);
    EXPECT_EQ(Count(LongFunctions, "core/a.cpp", table + "void F() {\n" + longer + "}\n"), 1u);
    EXPECT_EQ(Count(LongFunctions, "core/a.cpp",
                    "// {\nconst char a = '{';\nvoid F() {}\n" + Repeated("int n;\n", 90)),
              0u);
}

TEST(TidyChecks, MisnamedBuildersAreFound)
{
    const Check check = MisnamedBuilders;
    const std::string builder = "void BuildWaveTarn4Ccd442(int camera)\n{\n}\n";
    EXPECT_EQ(Count(check, "sequencer/builders/tarn4_ccd442.cpp", builder), 0u);
    EXPECT_EQ(Count(check, "sequencer/builders/tarn_4_ccd442.cpp", builder), 1u);
    EXPECT_EQ(Count(check, "sequencer/builders/heron_plus.cpp", "void BuildWaveHeronPlus()\n{\n}"),
              0u);
    EXPECT_EQ(Count(check, "sequencer/builders/site.cpp", "void BuildWaveSite()\n{\n}\n" + builder),
              2u);
    EXPECT_EQ(Count(check, "sequencer/builders/site.cpp", "void Steps()\n{\n}\n"), 1u);
    EXPECT_EQ(Count(check, "sequencer/rebuild.cpp", "void Rebuild()\n{\n}\n"), 0u);
}

TEST(TidyChecks, LeftoverMarkersAreFound)
{
    const Check check = LeftoverMarkers;
    EXPECT_EQ(Count(check, "core/a.cpp", Joined("// TO", "DO: more.\n")), 1u);
    EXPECT_EQ(Count(check, "scripts/test", Joined("# FIX", "ME\n")), 1u);
    EXPECT_EQ(Count(check, "docs/a.md", Repeated("X", 3)), 1u);
    EXPECT_EQ(Count(check, "core/a.cpp", "mkstemp(\"a." + Repeated("X", 6) + "\");\n"), 0u);
}

TEST(TidyChecks, OutsideReferencesAreFound)
{
    const Check check = OutsideReferences;
    EXPECT_EQ(Count(check, "core/a.cpp", Joined("// As told in Spec", "ification A.\n")), 1u);
    EXPECT_EQ(Count(check, "core/a.cpp", Joined("// See Part", " 1.2.\n")), 1u);
    EXPECT_EQ(Count(check, "docs/a.md", Joined("in `/wo", "rk/here`\n")), 1u);
    EXPECT_EQ(Count(check, "core/a.cpp", Joined("// As THE S", "PEC says.\n")), 1u);
    EXPECT_EQ(Count(check, "core/a.cpp", "// Parts 1 and 2 of a magenta part.\n"), 0u);
}

TEST(TidyChecks, DriversWithoutAHeadAreFound)
{
    EXPECT_EQ(Count(MissingHeads, "drivers/demo/a.cpp", "#include <cstdio>\n"), 1u);
    EXPECT_EQ(Count(MissingHeads, "sequencer/builders/a.cpp", "\n// Late.\n"), 1u);
    EXPECT_EQ(Count(MissingHeads, "drivers/demo/a.h", "// A camera.\n#pragma once\n"), 0u);
    EXPECT_EQ(Count(MissingHeads, "core/a.cpp", "#include <cstdio>\n"), 0u);
}

TEST(TidyChecks, UnguardedHeadersAreFound)
{
    EXPECT_EQ(Count(UnguardedHeaders, "core/a.h", "// A.\nint F();\n"), 1u);
    EXPECT_EQ(Count(UnguardedHeaders, "core/a.h", "#ifndef A_H\n#define A_H\nint F();\n#endif\n"),
              1u);
    EXPECT_EQ(Count(UnguardedHeaders, "core/a.h", "// A.\n#pragma once\nint F();\n"), 0u);
    const std::string both = "#include <stdint.h>\n#ifdef __cplusplus\nextern \"C\" {\n#endif\n";
    EXPECT_EQ(Count(UnguardedHeaders, "include/qvn.h", both), 1u);
    EXPECT_EQ(Count(UnguardedHeaders, "include/qvn.h", "#ifndef QVN_H\n#define QVN_H\n" + both),
              0u);
}
