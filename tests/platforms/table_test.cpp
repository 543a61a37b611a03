// The page of functions by platform is true of the library, and every function in it is shown
// to work by tests that there are.
#include <cstdlib>
#include <fstream>
#include <gtest/gtest.h>
#include <map>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "tests/platforms/document.h"
#include "tests/platforms/probe.h"
#include "tests/platforms/proofs.h"

namespace {

using Platforms = std::set<int32_t>;

std::vector<std::string> Parts(const std::string& row)
{
    std::vector<std::string> parts;
    std::istringstream text(row.substr(row.find('|') + 1));
    for (std::string part; std::getline(text, part, '|');) {
        const size_t begin = part.find_first_not_of(' ');
        const size_t end = part.find_last_not_of(' ');
        parts.push_back(begin == std::string::npos ? "" : part.substr(begin, end - begin + 1));
    }
    return parts;
}

// The page's marks by function: those of all columns, and of a platform where one of its
// columns has it.
struct Marks {
    std::set<std::string> all;
    Platforms reached;
};

std::map<std::string, Marks> MarksOfThePage()
{
    std::map<std::string, Marks> marks;
    std::vector<std::string> labels;
    std::istringstream page(FileText(DocumentPath));
    for (std::string line; std::getline(page, line) && line != "## Tests";) {
        if (line.rfind("| Function |", 0) == 0) labels = Parts(line);
        if (line.rfind("| `", 0) != 0) continue;
        const std::vector<std::string> row = Parts(line);
        Marks& own = marks[row[0].substr(1, row[0].size() - 2)];
        for (size_t i = 1; i < row.size() && i < labels.size(); ++i) {
            own.all.insert(row[i]);
            if (row[i] == "●") own.reached.insert(std::stoi(labels[i]));
        }
    }
    return marks;
}

} // namespace

TEST(FunctionsByPlatform, PageIsWhatWasSeen)
{
    const std::string text = DocumentText(ProbeAllPlatforms());
    if (getenv("QVN_WRITE_DOCS") != nullptr) {
        std::ofstream(DocumentPath, std::ios::binary) << text;
    }
    EXPECT_EQ(FileText(DocumentPath), text) << "QVN_WRITE_DOCS=1 writes the page anew";
}

TEST(FunctionsByPlatform, EveryFunctionIsCalledOnce)
{
    std::set<std::string> listed, called;
    std::ifstream list(QVN_SOURCE_DIR "/tests/data/exports.txt");
    for (std::string line; std::getline(list, line);) {
        const size_t end = line.find('(');
        const size_t begin = line.find_last_of(" *", end) + 1;
        if (end != std::string::npos) listed.insert(line.substr(begin, end - begin));
    }
    for (const Call& call : Calls()) EXPECT_TRUE(called.insert(call.name).second) << call.name;
    EXPECT_EQ(called, listed);
    EXPECT_EQ(called.size(), 123u);
}

TEST(FunctionsByPlatform, EveryFunctionHasAnEffectSomewhere)
{
    const std::map<std::string, Marks> marks = MarksOfThePage();
    EXPECT_EQ(marks.size(), 123u);
    for (const auto& [function, own] : marks) {
        EXPECT_TRUE(own.all.count("●") != 0 || own.all.count("○") != 0) << function;
    }
}

TEST(FunctionsByPlatform, EveryFunctionIsShownByATest)
{
    for (const Call& call : Calls()) {
        size_t shown = 0;
        for (const Proof& proof : Proofs()) shown += std::string(proof.function) == call.name;
        EXPECT_GT(shown, 0u) << call.name;
    }
    for (const Proof& proof : Proofs()) {
        EXPECT_TRUE(IsShown(proof)) << proof.function << ": " << proof.folder << " " << proof.test;
    }
}

TEST(FunctionsByPlatform, MarksAreThoseOfTheHardware)
{
    std::map<std::string, Marks> marks = MarksOfThePage();
    const auto reachedBy = [&](const char* function) { return marks[function].reached; };
    EXPECT_EQ(reachedBy("QV_GetAD"), (Platforms{205}));
    EXPECT_EQ(reachedBy("QV_QuerySts"), (Platforms{44, 47}));
    EXPECT_EQ(reachedBy("QV_ObjectiveControl"), (Platforms{44, 47}));
    EXPECT_EQ(reachedBy("QV_OpenArray"), (Platforms{42, 44}));
    EXPECT_EQ(reachedBy("QV_AGetCCD"), (Platforms{42, 44}));
    EXPECT_EQ(reachedBy("QV_ArmAcquisition"), (Platforms{47}));
    EXPECT_EQ(reachedBy("QV_StartAcquisition"), (Platforms{24, 30, 42, 44, 47}));
    EXPECT_EQ(reachedBy("QV_ShutterControl"), (Platforms{25, 44, 47}));
    EXPECT_EQ(reachedBy("QV_Plug"), (Platforms{29, 300, 450}));
    EXPECT_EQ(reachedBy("QV_SetDNR"), (Platforms{25, 47}));
    EXPECT_EQ(reachedBy("QV_SetBitDecimation"), (Platforms{25, 28, 47, 61, 200, 205, 300, 450}));
    EXPECT_EQ(reachedBy("QV_SetFanSpeed"), (Platforms{28, 29, 48, 61, 200, 205, 300, 450}));
    EXPECT_EQ(reachedBy("QV_TGetCCD"), (Platforms{22, 23, 24, 25, 42, 44, 47, 71}));
    EXPECT_EQ(reachedBy("QV_SetFilter"), (Platforms{22, 23, 24, 25, 28, 29, 30, 40, 41, 42, 44, 47,
                                                    48, 60, 61, 200, 300, 450}));
}
