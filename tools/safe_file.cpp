// Output files appear whole or not at all.
#include "tools/safe_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>

#include "tools/text.h"

namespace {

// With the process in it, so that two programs with one output do not mix.
std::string TemporaryName(const std::string& path)
{
    return Text("%s.%d.part", path.c_str(), static_cast<int>(getpid()));
}

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
    if (access(folder.c_str(), W_OK) != 0) {
        *error = Text("%s: %s", path.c_str(), std::strerror(errno));
        *advice = "a folder that you may write to";
        return false;
    }
    if (stat(path.c_str(), &status) != 0) return true;
    if (!S_ISREG(status.st_mode)) {
        *error = Text("%s is not a plain file", path.c_str());
        *advice = "the name of a new file";
        return false;
    }
    if (!overwrite) {
        *error = Text("%s exists already", path.c_str());
        *advice = "another name, or --overwrite to replace it";
        return false;
    }
    return true;
}

std::string BeginFile(const std::string& path)
{
    const std::string temporary = TemporaryName(path);
    unlink(temporary.c_str());
    return temporary;
}

bool CommitFile(const std::string& path, bool overwrite, std::string* error)
{
    std::string advice;
    if (!OutputIsPossible(path, overwrite, error, &advice)) {
        DiscardFile(path);
        return false;
    }
    const std::string temporary = TemporaryName(path);
    if (!ReachDisk(temporary) || std::rename(temporary.c_str(), path.c_str()) != 0) {
        *error = Text("%s: %s", path.c_str(), std::strerror(errno));
        DiscardFile(path);
        return false;
    }
    return true;
}

void DiscardFile(const std::string& path)
{
    unlink(TemporaryName(path).c_str());
}

bool WriteWholeFile(const std::string& path, const void* data, size_t bytes, bool overwrite,
                    std::string* error)
{
    FILE* file = std::fopen(BeginFile(path).c_str(), "wbe");
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
