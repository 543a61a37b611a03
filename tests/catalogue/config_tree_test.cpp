#include "catalogue/config_tree.h"

#include <locale.h>
#include <unistd.h>

#include <cfloat>
#include <clocale>
#include <cmath>
#include <cstring>

#include "tests/catalogue/folder.h"

namespace {

FileStatus ParseInto(std::string text, ConfigTree* tree)
{
    const size_t bytes = text.size();
    text.resize(bytes + ConfigTextRoom);
    return ParseConfigTree(text.data(), bytes, tree);
}

FileStatus Parse(const std::string& text)
{
    ConfigTree tree;
    const FileStatus status = ParseInto(text, &tree);
    if (status == FileDone) CloseConfigTree(&tree);
    return status;
}

// A tree whose settings `x` and the like are asked for.
class Tree {
public:
    explicit Tree(const std::string& text) { EXPECT_EQ(ParseInto(text, &tree), FileDone); }
    ~Tree() { CloseConfigTree(&tree); }
    Tree(const Tree&) = delete;
    Tree& operator=(const Tree&) = delete;

    ConfigNode* operator[](const char* name) { return ConfigMember(ConfigRoot(&tree), name); }

    ConfigTree tree;
};

// Runs the test's thread under a locale of its own.
class ConfigTreeLocale : public FolderTest {
protected:
    ConfigTreeLocale()
        : locale(newlocale(LC_ALL_MASK, "C.UTF-8", locale_t{})), before(uselocale(locale))
    {
    }
    ~ConfigTreeLocale() override
    {
        uselocale(before);
        freelocale(locale);
    }
    locale_t locale, before;
};

// German, which writes numbers with a comma, made from its description in `folder`.
bool MakeGermanLocale(const std::string& folder)
{
    const std::string name = folder + "/de_DE.UTF-8";
    return system(("localedef -i de_DE -f UTF-8 " + name + " >/dev/null 2>&1").c_str()) == 0;
}

using ConfigTreeLocaleDeathTest = FolderTest;
using ConfigTreeFile = FolderTest;

} // namespace

TEST(ConfigTree, WhatIsMissingReadsAsNothing)
{
    Tree tree("group: { value = 1; };");
    EXPECT_EQ(tree["none"], nullptr);
    EXPECT_EQ(ConfigMember(nullptr, "value"), nullptr);
    EXPECT_EQ(ConfigElement(nullptr, 0), nullptr);
    EXPECT_EQ(ConfigInt(nullptr), 0);
    EXPECT_EQ(ConfigFloat(nullptr), 0.0);
    EXPECT_EQ(ConfigText(nullptr), nullptr);
    EXPECT_FALSE(ConfigHoldsInt(nullptr));
    EXPECT_FALSE(ConfigHoldsFloat(nullptr, 1.0));
    EXPECT_FALSE(ConfigHoldsText(nullptr));
}

TEST(ConfigTree, ElementsAreThoseOfArraysAndLists)
{
    Tree tree(
        "array = [ 5, 6 ]; list = ( 7, \"x\" ); group: { a = 8; }; scalar = 9; text = \"ab\";");
    EXPECT_EQ(ConfigInt(ConfigElement(tree["array"], 1)), 6);
    EXPECT_EQ(ConfigInt(ConfigElement(tree["list"], 0)), 7);
    EXPECT_STREQ(ConfigText(ConfigElement(tree["list"], 1)), "x");
    EXPECT_EQ(ConfigElement(tree["array"], 2), nullptr);
    EXPECT_EQ(ConfigElement(tree["array"], -1), nullptr);
    EXPECT_EQ(ConfigElement(tree["group"], 0), nullptr);
    EXPECT_EQ(ConfigElement(tree["scalar"], 0), nullptr);
    EXPECT_EQ(ConfigElement(tree["text"], 0), nullptr);
    EXPECT_EQ(ConfigMember(tree["array"], "a"), nullptr);
    EXPECT_EQ(ConfigMember(tree["list"], "a"), nullptr);
}

TEST(ConfigTree, IntegersAreNeverMadeOfFloats)
{
    Tree tree("a = 47.9; b = 0x1F; c = 2147483648L; d = -2147483648L; e = 2147483647L; "
              "f = -2147483649L;");
    EXPECT_EQ(ConfigInt(tree["a"]), 0);
    EXPECT_EQ(ConfigInt(tree["f"]), 0);
    EXPECT_EQ(ConfigInt(tree["b"]), 31);
    EXPECT_EQ(ConfigInt(tree["c"]), 0);
    EXPECT_EQ(ConfigInt(tree["d"]), INT32_MIN);
    EXPECT_EQ(ConfigInt(tree["e"]), INT32_MAX);
}

TEST(ConfigTree, FloatsAreMadeOfIntegers)
{
    Tree tree("a = 40; b = 9007199254740993L; c = 1e400; d = .5; e = true; f = \"1.0\";");
    EXPECT_EQ(ConfigFloat(tree["a"]), 40.0);
    EXPECT_EQ(ConfigFloat(tree["b"]), 9007199254740992.0);
    EXPECT_TRUE(std::isinf(ConfigFloat(tree["c"])));
    EXPECT_EQ(ConfigFloat(tree["d"]), 0.5);
    EXPECT_EQ(ConfigFloat(tree["e"]), 0.0);
    EXPECT_EQ(ConfigFloat(tree["f"]), 0.0);
}

TEST(ConfigTree, IncludesAreRefusedWhereverTheParserWouldTakeThem)
{
    EXPECT_EQ(Parse("@include \"/dev/null\""), FileNotParsed);
    EXPECT_EQ(Parse("a = 1;\n \t@include\t\"/dev/null\"\n"), FileNotParsed);
    EXPECT_EQ(Parse("\xEF\xBB\xBF@include \"/dev/null\"\n"), FileNotParsed);
    EXPECT_EQ(Parse("a = 1;\r\n\r\n@include \"/dev/null\"\r\n"), FileNotParsed);
    EXPECT_EQ(Parse("g: {\n@include \"/dev/null\"\n};"), FileNotParsed);
    EXPECT_EQ(Parse("# comment\n@include \"/dev/null\"\n"), FileNotParsed);
}

TEST(ConfigTree, IncludesInCommentsAndTextsAreNone)
{
    EXPECT_EQ(Parse("# @include \"/dev/null\"\na = \"@include \";"), FileDone);
    EXPECT_EQ(Parse("// @include \"/dev/null\""), FileDone);
}

TEST(ConfigTree, AByteOrderMarkIsSkippedOnceAndAtTheStartOnly)
{
    EXPECT_EQ(Parse("\xEF\xBB\xBF"
                    "a = 1;"),
              FileDone);
    EXPECT_EQ(Parse("\xEF\xBB\xBF"), FileDone);
    EXPECT_EQ(Parse("\xEF\xBB\xBF\xEF\xBB\xBF"
                    "a = 1;"),
              FileNotParsed);
    EXPECT_EQ(Parse("a = 1;\xEF\xBB\xBF"), FileNotParsed);
    EXPECT_EQ(Parse("\xEF\xBB"), FileNotParsed);
}

TEST(ConfigTree, ANulByteIsRefusedInsideAndOutsideOfTexts)
{
    using std::string_literals::operator""s;
    EXPECT_EQ(Parse("a = 1;\0"s), FileNotParsed);
    EXPECT_EQ(Parse("a = \"x\0y\";"s), FileNotParsed);
    EXPECT_EQ(Parse("\0a = 1;"s), FileNotParsed);
}

TEST(ConfigTree, ALastLineNeedsNoEnd)
{
    EXPECT_EQ(Parse("a = 1 # comment"), FileDone);
    EXPECT_EQ(Parse("a = 1; // comment"), FileDone);
    EXPECT_EQ(Parse("a = 1"), FileDone);
    EXPECT_EQ(Parse("a = \"text"), FileNotParsed);
}

TEST(ConfigTree, MoreThanOneMebibyteIsRefused)
{
    std::string text = "a = 1; #";
    text.resize(1048576, '-');
    EXPECT_EQ(Parse(text), FileDone);
    text += '-';
    EXPECT_EQ(Parse(text), FileNotParsed);
}

// 200000 of them would keep the parser for minutes.
TEST(ConfigTree, MoreThan10000SettingsAreRefused)
{
    std::string text = "# =:=:=: none of these counts :=:=:=\nt = \"=:=:\"; /* =:= */\n";
    text.insert(0, std::string(30000, '=').insert(0, "#") + "\n");
    for (int32_t i = 0; i < 9999; ++i) text += "a" + std::to_string(i) + (i % 2 ? "=1;" : ":1;");
    EXPECT_EQ(Parse(text), FileDone);
    EXPECT_EQ(Parse(text + "b=1;"), FileNotParsed);
}

// The parser would cut them to 32 bits: 99999999999 reads as 1215752191.
TEST(ConfigTree, IntegersThatDoNotFitAreRefused)
{
    for (const char* value :
         {"99999999999", "2147483648", "-2147483649", "+2147483648", "0x100000000", "0X1FFFFFFFF",
          "99999999999999999999999", "[1, 99999999999]", "(1, \"x\", -99999999999)",
          "{ b = 99999999999; }", "/* */99999999999", "1 # \n b = 99999999999"}) {
        EXPECT_EQ(Parse(std::string("a = ") + value + ";"), FileNotParsed) << value;
    }
}

TEST(ConfigTree, IntegersThatFitAndOtherDigitsAreTaken)
{
    for (const char* value : {"2147483647",
                              "-2147483648",
                              "99999999999L",
                              "99999999999LL",
                              "0xFFFFFFFF",
                              "0x1FFFFFFFFL",
                              "0000000000000000001",
                              "99999999999.5",
                              "99999999999.",
                              "0.99999999999",
                              ".99999999999",
                              "-.99999999999",
                              "1.5e+99",
                              "1.99999999999e-3",
                              "\"99999999999\"",
                              "\"a\\\"99999999999\"",
                              "1 # 99999999999\n",
                              "1 // 99999999999\n",
                              "1 /* 99999999999 */",
                              "{ a99999999999 = 1; b-99999999999 = 2; *99999999999 = 3; }"}) {
        EXPECT_EQ(Parse(std::string("a = ") + value + ";"), FileDone) << value;
    }
}

TEST(ConfigTree, TheTextMayEndInTheMidstOfAnything)
{
    for (const char* text : {"a = \"", "a = \"\\", "a = \"x\\\"", "a = 1; /", "a = -", "a = 0x",
                             "a = 9999999999", "a", "*"}) {
        EXPECT_EQ(Parse(text), FileNotParsed) << text;
    }
    // A comment reaches to the end, and a point alone is 0.
    for (const char* text : {"a = 1; /*", "a = 1; /* *", "a = 1; #", "a = .", "a = 1", "a = 2."}) {
        EXPECT_EQ(Parse(text), FileDone) << text;
    }
}

TEST(ConfigTree, DeepNestingParsesOrIsRefused)
{
    for (int32_t depth : {100, 1000, 5000, 100000}) {
        std::string text;
        for (int32_t i = 0; i < depth; ++i) text += "g:{";
        for (int32_t i = 0; i < depth; ++i) text += "};";
        EXPECT_EQ(Parse(text), depth <= 1000 ? FileDone : FileNotParsed) << depth;
    }
}

TEST(ConfigTree, ADeepTreeIsCheckedToItsEnd)
{
    std::string text;
    for (int32_t i = 0; i < 1000; ++i) text += "g:{";
    text += "x = 1e400;";
    for (int32_t i = 0; i < 1000; ++i) text += "};";
    Tree tree(text);
    EXPECT_FALSE(ConfigIsWritable(&tree.tree));
    Tree fine("a = ( { b = [ 1.0, 2.0 ]; }, 3, \"x\" ); c = 1e300;");
    EXPECT_TRUE(ConfigIsWritable(&fine.tree));
}

TEST(ConfigTree, HoldsNoFloatThatIsNotFinite)
{
    Tree tree("a = 1.0; b = [ 1, 2 ];");
    for (double value : {NAN, INFINITY, -INFINITY}) {
        EXPECT_FALSE(ConfigHoldsFloat(tree["a"], value));
        EXPECT_FALSE(ConfigHoldsFloat(ConfigElement(tree["b"], 0), value));
    }
    EXPECT_TRUE(ConfigHoldsFloat(tree["a"], 1e308));
    // 1.79769313486232e+308 would read back as infinity.
    EXPECT_FALSE(ConfigHoldsFloat(tree["a"], DBL_MAX));
    EXPECT_FALSE(ConfigHoldsFloat(tree["a"], -DBL_MAX));
}

TEST(ConfigTree, IntegersHoldWholeFloatsUpToTheirEnds)
{
    Tree tree("a = 1; b = 1L;");
    EXPECT_TRUE(ConfigHoldsFloat(tree["a"], 2147483647.0));
    EXPECT_TRUE(ConfigHoldsFloat(tree["a"], -2147483648.0));
    EXPECT_FALSE(ConfigHoldsFloat(tree["a"], 2147483648.0));
    EXPECT_FALSE(ConfigHoldsFloat(tree["a"], -2147483649.0));
    EXPECT_FALSE(ConfigHoldsFloat(tree["a"], 0.5));
    EXPECT_TRUE(ConfigHoldsFloat(tree["b"], 9223372036854774784.0));
    EXPECT_TRUE(ConfigHoldsFloat(tree["b"], -9223372036854775808.0));
    EXPECT_FALSE(ConfigHoldsFloat(tree["b"], 9223372036854775808.0));
    EXPECT_FALSE(ConfigHoldsFloat(tree["b"], -9223372036854777856.0));
}

TEST_F(ConfigTreeFile, AFileThatCannotBeReadIsNotOpened)
{
    ConfigTree tree;
    EXPECT_EQ(OpenConfigTree(Path("none").c_str(), &tree), FileNotOpened);
    EXPECT_EQ(OpenConfigTree(folder.c_str(), &tree), FileNotOpened);
    EXPECT_EQ(OpenConfigTree("", &tree), FileNotOpened);
}

TEST_F(ConfigTreeFile, AnEndlessFileIsRefused)
{
    ConfigTree tree;
    EXPECT_EQ(OpenConfigTree("/dev/zero", &tree), FileNotParsed);
}

TEST_F(ConfigTreeFile, NumbersOfUpTo15DigitsComeBackExactly)
{
    const double values[] = {0.1,  38.14697265625,    1e-7, 1e300, 5e-324,
                             -0.0, 123456789012345.0, 1.0};
    for (double value : values) {
        Write("a.cfg", "a = 2.5;");
        ConfigTree tree;
        ASSERT_EQ(OpenConfigTree(Path("a.cfg").c_str(), &tree), FileDone);
        SetConfigFloat(ConfigMember(ConfigRoot(&tree), "a"), value);
        WriteConfigTree(Path("a.cfg").c_str(), &tree);
        CloseConfigTree(&tree);
        ASSERT_EQ(OpenConfigTree(Path("a.cfg").c_str(), &tree), FileDone);
        const double back = ConfigFloat(ConfigMember(ConfigRoot(&tree), "a"));
        CloseConfigTree(&tree);
        EXPECT_EQ(back, value);
        EXPECT_EQ(std::signbit(back), std::signbit(value));
    }
}

TEST_F(ConfigTreeLocale, TheLocaleOfTheThreadSurvivesALoadASaveAndAFailure)
{
    ASSERT_NE(locale, locale_t{});
    Write("a.cfg", "a = 38.25;");
    ConfigTree tree;
    ASSERT_EQ(OpenConfigTree(Path("a.cfg").c_str(), &tree), FileDone);
    EXPECT_EQ(uselocale(locale_t{}), locale);
    WriteConfigTree(Path("a.cfg").c_str(), &tree);
    CloseConfigTree(&tree);
    EXPECT_EQ(uselocale(locale_t{}), locale);
    EXPECT_EQ(Parse("a = "), FileNotParsed);
    EXPECT_EQ(uselocale(locale_t{}), locale);
}

// In a process of its own: what the C library reads from LOCPATH it keeps.
TEST_F(ConfigTreeLocaleDeathTest, NumbersHaveAPointWhereTheHostWritesAComma)
{
    if (!MakeGermanLocale(folder)) GTEST_SKIP() << "no description of the locale de_DE";
    Write("a.cfg", "a = 38.25; b = 1.5;");
    const auto loadAndSave = [this] {
        setenv("LOCPATH", folder.c_str(), 1);
        uselocale(newlocale(LC_ALL_MASK, "de_DE.UTF-8", locale_t{}));
        ConfigTree tree;
        const std::string path = Path("a.cfg");
        if (OpenConfigTree(path.c_str(), &tree) != FileDone) _exit(1);
        ConfigNode* node = ConfigMember(ConfigRoot(&tree), "a");
        if (ConfigFloat(node) != 38.25) _exit(2);
        SetConfigFloat(node, 0.125);
        WriteConfigTree(path.c_str(), &tree);
        char text[8];
        snprintf(text, sizeof text, "%.1f", 1.5);
        _exit(strcmp(text, "1,5") == 0 ? 0 : 3);
    };
    EXPECT_EXIT(loadAndSave(), testing::ExitedWithCode(0), "");
    EXPECT_EQ(Read("a.cfg"), "a = 0.125;\nb = 1.5;\n");
}

TEST_F(ConfigTreeFile, TheGlobalLocaleSurvives)
{
    ASSERT_NE(setlocale(LC_ALL, "C.UTF-8"), nullptr);
    const std::string before = setlocale(LC_ALL, nullptr);
    EXPECT_EQ(Parse("a = 1.5;"), FileDone);
    EXPECT_EQ(setlocale(LC_ALL, nullptr), before);
    EXPECT_EQ(uselocale(locale_t{}), LC_GLOBAL_LOCALE);
    setlocale(LC_ALL, "C");
}
