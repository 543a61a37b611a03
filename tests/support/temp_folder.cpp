#include "tests/support/temp_folder.h"

#include <cstdlib>
#include <filesystem>

#include <gtest/gtest.h>
#include <unistd.h>

namespace {

std::string Folder;
pid_t Owner;

// A process that was split off leaves the folder alone.
void RemoveFolder()
{
    std::error_code ignored;
    if (getpid() == Owner) std::filesystem::remove_all(Folder, ignored);
}

} // namespace

const std::string& TempFolder()
{
    if (Folder.empty()) {
        std::string name = testing::TempDir() + "qvn_XXXXXX";
        if (mkdtemp(name.data()) == nullptr) abort();
        Folder = name + '/';
        Owner = getpid();
        atexit(RemoveFolder);
    }
    return Folder;
}
