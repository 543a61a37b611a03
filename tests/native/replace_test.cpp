// Files are replaced in one step, or not at all.
#include <gtest/gtest.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include "platform/system.h"

namespace {

namespace fs = std::filesystem;

class NativeFiles : public testing::Test {
protected:
    void SetUp() override
    {
        UseNativeSystem();
        char name[] = "/tmp/qvn_native_XXXXXX";
        folder = mkdtemp(name);
        std::ofstream(Path("a.cfg")) << "old";
    }

    void TearDown() override { fs::remove_all(folder); }

    std::string Path(const std::string& name) const { return (folder / name).string(); }

    std::string Text(const std::string& name) const
    {
        std::ostringstream text;
        text << std::ifstream(Path(name)).rdbuf();
        return text.str();
    }

    ptrdiff_t FileCount() const
    {
        return std::distance(fs::directory_iterator(folder), fs::directory_iterator());
    }

    // Replaces a.cfg, or what stands at `name`, by "new".
    bool Replace(const std::string& name)
    {
        return System.file.BeginReplace(Path(name).c_str(), &file) &&
               fputs("new", file.stream) >= 0 && System.file.CommitReplace(&file);
    }

    fs::path folder;
    FileReplacement file = {};
};

mode_t ModeOf(const std::string& path)
{
    struct stat status = {};
    return stat(path.c_str(), &status) == 0 ? status.st_mode & 07777 : 0;
}

} // namespace

TEST_F(NativeFiles, NewVersionAppearsAtCommit)
{
    ASSERT_TRUE(System.file.BeginReplace(Path("a.cfg").c_str(), &file));
    fputs("new", file.stream);
    fflush(file.stream);
    EXPECT_EQ(Text("a.cfg"), "old");
    EXPECT_EQ(FileCount(), 2) << "the new version grows in the same folder";
    EXPECT_TRUE(System.file.CommitReplace(&file));
    EXPECT_EQ(Text("a.cfg"), "new");
    EXPECT_EQ(FileCount(), 1);
}

TEST_F(NativeFiles, ModeIsKept)
{
    for (const mode_t mode : {0640u, 0600u, 0666u}) {
        ASSERT_EQ(chmod(Path("a.cfg").c_str(), mode), 0);
        EXPECT_TRUE(Replace("a.cfg"));
        EXPECT_EQ(ModeOf(Path("a.cfg")), mode);
    }
}

// In a process that may write the folder but not the file, as every one but root's.
TEST_F(NativeFiles, WriteProtectedFileIsLeftAlone)
{
    ASSERT_EQ(chmod(folder.c_str(), 0777), 0);
    ASSERT_EQ(chmod(Path("a.cfg").c_str(), 0444), 0);
    const pid_t child = fork();
    if (child == 0) {
        if (geteuid() == 0 && setuid(65534) != 0) _exit(2);
        _exit(System.file.BeginReplace(Path("a.cfg").c_str(), &file) ? 1 : 0);
    }
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_TRUE(WIFEXITED(status));
    EXPECT_EQ(WEXITSTATUS(status), 0);
    EXPECT_EQ(Text("a.cfg"), "old");
    EXPECT_EQ(FileCount(), 1);
}

TEST_F(NativeFiles, LinkStaysALinkAndItsFileIsReplaced)
{
    fs::create_directory(folder / "elsewhere");
    fs::rename(folder / "a.cfg", folder / "elsewhere" / "real.cfg");
    fs::create_symlink("elsewhere/real.cfg", folder / "a.cfg");
    EXPECT_TRUE(Replace("a.cfg"));
    EXPECT_TRUE(fs::is_symlink(folder / "a.cfg"));
    EXPECT_FALSE(fs::is_symlink(folder / "elsewhere" / "real.cfg"));
    EXPECT_EQ(Text("elsewhere/real.cfg"), "new");
    EXPECT_EQ(FileCount(), 2);
}

TEST_F(NativeFiles, CancelLeavesTheOldVersionAlone)
{
    ASSERT_TRUE(System.file.BeginReplace(Path("a.cfg").c_str(), &file));
    fputs("new", file.stream);
    System.file.CancelReplace(&file);
    EXPECT_EQ(Text("a.cfg"), "old");
    EXPECT_EQ(FileCount(), 1);
}

// A file of more than 0 bytes cannot be written, as on a full disk.
TEST_F(NativeFiles, CommitThatCannotWriteLeavesTheOldVersion)
{
    ASSERT_TRUE(System.file.BeginReplace(Path("a.cfg").c_str(), &file));
    fputs("new", file.stream);
    rlimit before = {};
    ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &before), 0);
    const auto handler = signal(SIGXFSZ, SIG_IGN);
    const rlimit nothing = {0, before.rlim_max};
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &nothing), 0);
    const bool committed = System.file.CommitReplace(&file);
    setrlimit(RLIMIT_FSIZE, &before);
    signal(SIGXFSZ, handler);
    EXPECT_FALSE(committed);
    EXPECT_EQ(Text("a.cfg"), "old");
    EXPECT_EQ(FileCount(), 1);
}

TEST_F(NativeFiles, CommitThatCannotTakeThePlaceLeavesNoTemporary)
{
    ASSERT_TRUE(System.file.BeginReplace(Path("a.cfg").c_str(), &file));
    fs::remove(folder / "a.cfg");
    fs::create_directory(folder / "a.cfg");
    EXPECT_FALSE(System.file.CommitReplace(&file));
    EXPECT_TRUE(fs::is_directory(folder / "a.cfg"));
    EXPECT_EQ(FileCount(), 1);
}

TEST_F(NativeFiles, OnlyAFileThatIsThereCanBeReplaced)
{
    EXPECT_FALSE(System.file.BeginReplace(Path("missing.cfg").c_str(), &file));
    EXPECT_FALSE(System.file.BeginReplace(folder.c_str(), &file));
    EXPECT_FALSE(System.file.BeginReplace("", &file));
    EXPECT_FALSE(System.file.BeginReplace("/dev/null", &file));
    fs::create_symlink("a.cfg", folder / "b.cfg");
    fs::remove(folder / "a.cfg");
    EXPECT_FALSE(System.file.BeginReplace(Path("b.cfg").c_str(), &file)) << "a link to nothing";
    EXPECT_EQ(FileCount(), 1);
}

TEST_F(NativeFiles, FolderThatTakesNoFileIsLeftAlone)
{
    EXPECT_FALSE(System.file.BeginReplace("/proc/self/status", &file));
}

TEST_F(NativeFiles, DirectoriesCanBeEntered)
{
    fs::create_directory_symlink(folder, folder / "link");
    EXPECT_TRUE(System.process.CanEnterDirectory(folder.c_str()));
    EXPECT_TRUE(System.process.CanEnterDirectory((folder.string() + "/").c_str()));
    EXPECT_TRUE(System.process.CanEnterDirectory(Path("link").c_str()));
    EXPECT_FALSE(System.process.CanEnterDirectory(Path("a.cfg").c_str()));
    EXPECT_FALSE(System.process.CanEnterDirectory(Path("missing").c_str()));
    EXPECT_FALSE(System.process.CanEnterDirectory(""));
}

TEST_F(NativeFiles, DirectoryWithoutPermissionCannotBeEntered)
{
    ASSERT_EQ(chmod(folder.c_str(), 0600), 0);
    const pid_t child = fork();
    if (child == 0) {
        if (geteuid() == 0 && setuid(65534) != 0) _exit(2);
        _exit(System.process.CanEnterDirectory(folder.c_str()) ? 1 : 0);
    }
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_TRUE(WIFEXITED(status));
    EXPECT_EQ(WEXITSTATUS(status), 0);
    chmod(folder.c_str(), 0700);
}
