// Output files appear whole or not at all.
#include "tools/safe_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <system_error>

#include "tools/text.h"

namespace {

constexpr char PartEnding[] = ".part";

std::string FolderOf(const std::string& path)
{
    const std::string folder = std::filesystem::path(path).parent_path().string();
    return folder.empty() ? "." : folder;
}

bool ReachDisk(const std::string& path)
{
    const int file = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (file < 0) return false;
    const bool reached = fsync(file) == 0;
    close(file);
    return reached;
}

bool NameIsPossible(const std::string& path, const std::string& folder, std::string* error,
                    std::string* advice)
{
    const std::string name = std::filesystem::path(path).filename().string();
    if (name.ends_with(PartEnding)) {
        *error = Text("%s: %s is the ending of files that still grow", path.c_str(), PartEnding);
        *advice = "another ending";
        return false;
    }
    const std::string part = PartName(path);
    const long longest = pathconf(folder.c_str(), _PC_NAME_MAX);
    const size_t room = longest > 0 ? static_cast<size_t>(longest) : NAME_MAX;
    if (part.size() < PATH_MAX && name.size() + part.size() - path.size() <= room) return true;
    *error = Text("%s: the name is too long", path.c_str());
    *advice = "a shorter name";
    return false;
}

bool TargetIsFree(const std::string& path, bool overwrite, std::string* error, std::string* advice)
{
    struct stat status;
    if (stat(path.c_str(), &status) != 0) return true;
    if (!S_ISREG(status.st_mode)) {
        *error = Text("%s is not a plain file", path.c_str());
        *advice = "the name of a new file";
        return false;
    }
    if (overwrite) return true;
    *error = Text("%s exists already", path.c_str());
    *advice = "another name, or --overwrite to replace it";
    return false;
}

bool PartIsFree(const std::string& path, bool overwrite, std::string* error, std::string* advice)
{
    struct stat status;
    const std::string part = PartName(path);
    if (overwrite || lstat(part.c_str(), &status) != 0) return true;
    *error =
        Text("%s exists already: another program writes it, or one was broken off", part.c_str());
    *advice = "have a look at it, then remove it or give --overwrite";
    return false;
}

} // namespace

bool OutputIsPossible(const std::string& path, bool overwrite, std::string* error,
                      std::string* advice)
{
    const std::string folder = FolderOf(path);
    struct stat status;
    if (stat(folder.c_str(), &status) != 0 || !S_ISDIR(status.st_mode)) {
        *error = Text("%s: the folder %s does not exist", path.c_str(), folder.c_str());
        *advice = Text("mkdir -p %s", folder.c_str());
        return false;
    }
    if (!NameIsPossible(path, folder, error, advice)) return false;
    if (access(folder.c_str(), W_OK | X_OK) != 0) {
        *error = Text("%s: %s", path.c_str(), std::strerror(errno));
        *advice = "a folder that you may write to";
        return false;
    }
    return TargetIsFree(path, overwrite, error, advice) &&
           PartIsFree(path, overwrite, error, advice);
}

std::string WholeFolder(const std::string& path)
{
    std::error_code ignored;
    return std::filesystem::weakly_canonical(FolderOf(path), ignored).string();
}

bool SameOutput(const std::string& one, const std::string& other)
{
    return std::filesystem::path(one).filename() == std::filesystem::path(other).filename() &&
           WholeFolder(one) == WholeFolder(other);
}

std::string PartName(const std::string& path)
{
    return path + PartEnding;
}

std::string BeginFile(const std::string& path, bool overwrite, std::string* error)
{
    const std::string part = PartName(path);
    if (overwrite) unlink(part.c_str());
    const int file = open(part.c_str(), O_CREAT | O_EXCL | O_WRONLY | O_CLOEXEC, 0666);
    if (file >= 0) {
        close(file);
        return part;
    }
    *error = Text("%s: %s", part.c_str(), std::strerror(errno));
    return "";
}

bool CommitFile(const std::string& path, bool overwrite, std::string* error)
{
    std::string advice;
    const std::string part = PartName(path);
    bool done = TargetIsFree(path, overwrite, error, &advice);
    if (done && (!ReachDisk(part) || std::rename(part.c_str(), path.c_str()) != 0)) {
        *error = Text("%s: %s", path.c_str(), std::strerror(errno));
        done = false;
    }
    if (!done) *error += Text("; what was written is in %s", part.c_str());
    return done;
}

void DiscardFile(const std::string& path)
{
    unlink(PartName(path).c_str());
}

bool WriteWholeFile(const std::string& path, const void* data, size_t bytes, bool overwrite,
                    std::string* error)
{
    const std::string part = BeginFile(path, overwrite, error);
    if (part.empty()) return false;
    FILE* file = std::fopen(part.c_str(), "wbe");
    bool written = file != nullptr && std::fwrite(data, 1, bytes, file) == bytes;
    int failure = errno;
    if (file != nullptr && std::fclose(file) != 0 && written) {
        failure = errno;
        written = false;
    }
    if (written) return CommitFile(path, overwrite, error);
    *error = Text("%s: %s", path.c_str(), std::strerror(failure));
    DiscardFile(path);
    return false;
}
