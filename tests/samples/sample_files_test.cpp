#include <algorithm>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include <sys/resource.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "emulator/star_field.h"
#include "tools/sample_files.h"

namespace fs = std::filesystem;

namespace {

std::string Contents(const fs::path& path)
{
    std::ifstream stream(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

void Put(const fs::path& path, const std::string& text)
{
    std::ofstream(path) << text;
}

std::vector<std::string> NamesIn(const fs::path& folder)
{
    std::vector<std::string> names;
    for (const fs::directory_entry& entry : fs::directory_iterator(folder)) {
        names.push_back(entry.path().filename().string());
    }
    std::sort(names.begin(), names.end());
    return names;
}

struct Outcome {
    bool done;
    std::string error;
};

Outcome Write(const fs::path& folder, bool overwrite = false)
{
    char error[512] = "";
    const bool done = WriteSampleFiles(folder.string().c_str(), overwrite, error, sizeof error);
    return {done, error};
}

bool Mentions(const Outcome& outcome, const std::string& text)
{
    return outcome.error.find(text) != std::string::npos;
}

// A folder of its own for each test, gone afterwards.
class SampleFiles : public testing::Test {
protected:
    void SetUp() override
    {
        folder = fs::path(testing::TempDir()) /
                 ("qvn_samples_" + std::to_string(getpid()) + "_" +
                  testing::UnitTest::GetInstance()->current_test_info()->name());
        fs::remove_all(folder);
        fs::create_directories(folder);
    }
    void TearDown() override { fs::remove_all(folder); }

    fs::path folder;
};

const std::vector<std::string> AllNames = {"camera.cfg", "qvn.cfg", "starfield.raw"};

} // namespace

TEST_F(SampleFiles, AreWrittenIntoAFolderThatIsMadeWithItsParents)
{
    const fs::path deep = folder / "a" / "b" / "c";
    const Outcome outcome = Write(deep);
    EXPECT_TRUE(outcome.done) << outcome.error;
    EXPECT_EQ(outcome.error, "");
    EXPECT_EQ(NamesIn(deep), AllNames);
    EXPECT_EQ(std::vector<std::string>(std::begin(SampleFileNames), std::end(SampleFileNames)),
              (std::vector<std::string>{"qvn.cfg", "camera.cfg", "starfield.raw"}));
}

TEST_F(SampleFiles, AreTheCommittedOnesByteForByte)
{
    ASSERT_TRUE(Write(folder).done);
    for (const char* name : {"qvn.cfg", "camera.cfg"}) {
        const std::string committed = Contents(fs::path(QVN_SOURCE_DIR "/share/qvn") / name);
        EXPECT_GT(committed.size(), 1000u);
        EXPECT_TRUE(Contents(folder / name) == committed) << name;
    }
}

TEST_F(SampleFiles, StarFieldIsLittleEndian)
{
    ASSERT_TRUE(Write(folder).done);
    const std::string raw = Contents(folder / "starfield.raw");
    std::vector<uint16_t> pixels(size_t{SampleFieldColumns} * SampleFieldRows);
    ASSERT_EQ(raw.size(), pixels.size() * 2);
    MakeStarField(pixels.data(), SampleFieldColumns, SampleFieldRows, 13);
    size_t differing = 0;
    for (size_t i = 0; i < pixels.size(); ++i) {
        const int low = static_cast<unsigned char>(raw[2 * i]);
        const int high = static_cast<unsigned char>(raw[2 * i + 1]);
        if (pixels[i] != low + 256 * high) ++differing;
    }
    EXPECT_EQ(differing, 0u);
}

TEST_F(SampleFiles, AnExistingFileIsKeptAndNothingIsWritten)
{
    for (const std::string& name : AllNames) {
        Put(folder / name, "mine");
        const Outcome outcome = Write(folder);
        EXPECT_FALSE(outcome.done);
        EXPECT_TRUE(Mentions(outcome, (folder / name).string())) << outcome.error;
        EXPECT_TRUE(Mentions(outcome, "exists already")) << outcome.error;
        EXPECT_EQ(Contents(folder / name), "mine");
        EXPECT_EQ(NamesIn(folder), std::vector<std::string>{name});
        fs::remove(folder / name);
    }
}

TEST_F(SampleFiles, ALinkToNowhereCountsAsAFile)
{
    fs::create_symlink(folder / "nowhere", folder / "qvn.cfg");
    EXPECT_FALSE(Write(folder).done);
    EXPECT_TRUE(fs::is_symlink(folder / "qvn.cfg"));
}

TEST_F(SampleFiles, AreReplacedOnRequest)
{
    for (const std::string& name : AllNames) Put(folder / name, "mine");
    const Outcome outcome = Write(folder, true);
    EXPECT_TRUE(outcome.done) << outcome.error;
    EXPECT_EQ(NamesIn(folder), AllNames);
    for (const std::string& name : AllNames) EXPECT_GT(fs::file_size(folder / name), 1000u);
}

TEST_F(SampleFiles, ARemainderOfABrokenRunIsReplaced)
{
    Put(folder / "qvn.cfg.part", "half");
    EXPECT_TRUE(Write(folder).done);
    EXPECT_EQ(NamesIn(folder), AllNames);
}

TEST_F(SampleFiles, AFolderInAFilesPlaceIsNamed)
{
    fs::create_directory(folder / "starfield.raw");
    const Outcome outcome = Write(folder, true);
    EXPECT_FALSE(outcome.done);
    EXPECT_TRUE(Mentions(outcome, (folder / "starfield.raw").string() + ": is a folder"))
        << outcome.error;
    EXPECT_EQ(NamesIn(folder), std::vector<std::string>{"starfield.raw"});
}

TEST_F(SampleFiles, AFileInTheFoldersPlaceIsNamed)
{
    Put(folder / "file", "mine");
    for (const fs::path& path : {folder / "file", folder / "file" / "below"}) {
        const Outcome outcome = Write(path, true);
        EXPECT_FALSE(outcome.done);
        EXPECT_TRUE(Mentions(outcome, path.string())) << outcome.error;
        EXPECT_TRUE(Mentions(outcome, "Not a directory")) << outcome.error;
    }
    EXPECT_EQ(Contents(folder / "file"), "mine");
}

TEST_F(SampleFiles, AFolderWithoutWriteAccessIsNamed)
{
    fs::permissions(folder, fs::perms::owner_read | fs::perms::owner_exec | fs::perms::others_read |
                                fs::perms::others_exec);
    const bool root = geteuid() == 0;
    if (root) {
        ASSERT_EQ(seteuid(65534), 0); // root may write everywhere
    }
    const Outcome outcome = Write(folder);
    const Outcome below = Write(folder / "below");
    if (root) {
        ASSERT_EQ(seteuid(0), 0);
    }
    fs::permissions(folder, fs::perms::owner_all);
    EXPECT_FALSE(outcome.done);
    EXPECT_TRUE(Mentions(outcome, (folder / "qvn.cfg").string())) << outcome.error;
    EXPECT_TRUE(Mentions(outcome, "Permission denied")) << outcome.error;
    EXPECT_FALSE(below.done);
    EXPECT_TRUE(Mentions(below, (folder / "below").string())) << below.error;
    EXPECT_TRUE(NamesIn(folder).empty());
}

// A limit on the size of files stands for the full disk: the star field is the
// one file that does not fit, and the two before it must not get their names.
TEST_F(SampleFiles, AFullDiskLeavesTheOldFilesAndNoParts)
{
    for (const std::string& name : AllNames) Put(folder / name, "mine");
    struct rlimit before = {};
    ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &before), 0);
    const auto handler = std::signal(SIGXFSZ, SIG_IGN);
    const struct rlimit limit = {1 << 20, before.rlim_max};
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &limit), 0);
    const Outcome outcome = Write(folder, true);
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &before), 0);
    std::signal(SIGXFSZ, handler);

    EXPECT_FALSE(outcome.done);
    EXPECT_TRUE(Mentions(outcome, (folder / "starfield.raw").string())) << outcome.error;
    EXPECT_TRUE(Mentions(outcome, "File too large")) << outcome.error;
    EXPECT_EQ(NamesIn(folder), AllNames);
    for (const std::string& name : AllNames) EXPECT_EQ(Contents(folder / name), "mine");
}

TEST_F(SampleFiles, NoFolderIsAnError)
{
    EXPECT_EQ(Write("").error, "no folder is given");
    char error[64] = "";
    EXPECT_FALSE(WriteSampleFiles(nullptr, false, error, sizeof error));
    EXPECT_STREQ(error, "no folder is given");
}

TEST_F(SampleFiles, ErrorTextIsCutToItsRoom)
{
    char error[8] = "1234567";
    EXPECT_FALSE(WriteSampleFiles("", false, error, 4));
    EXPECT_STREQ(error, "no ");
    EXPECT_EQ(error[4], '5');
    EXPECT_FALSE(WriteSampleFiles("", false, error, 0));
    EXPECT_FALSE(WriteSampleFiles("", false, nullptr, 10));
    EXPECT_STREQ(error, "no ");
}
