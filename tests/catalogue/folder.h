// A folder of its own for each test, as the library's folder.
#pragma once
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

#include "core/record.h"
#include "core/status.h"
#include "emulator/emulator.h"
#include "platform/system.h"

class FolderTest : public testing::Test {
protected:
    static constexpr int32_t Camera = 2;

    FolderTest()
    {
        EmuReset();
        EmuInstall();
        char name[] = "/tmp/qvn_catalogue_XXXXXX";
        folder = mkdtemp(name);
        SetPathName(folder.c_str());
        CameraTable[Camera] = CameraRecord{};
    }

    ~FolderTest() override
    {
        std::filesystem::remove_all(folder);
        LibraryPath[0] = '\0';
        EmuReset();
    }

    std::string Path(const std::string& name) const { return folder + "/" + name; }

    void Write(const std::string& name, const std::string& text) const
    {
        std::ofstream(Path(name), std::ios::binary) << text;
    }

    std::string Read(const std::string& name) const
    {
        std::ostringstream text;
        text << std::ifstream(Path(name), std::ios::binary).rdbuf();
        return text.str();
    }

    size_t FileCount() const
    {
        size_t count = 0;
        for (const auto& entry : std::filesystem::directory_iterator(folder)) {
            count += entry.exists() || entry.is_symlink();
        }
        return count;
    }

    CameraRecord& record = CameraTable[Camera];
    std::string folder;
};

// `text` with the first `from` in it replaced, which must be there.
inline std::string Replaced(std::string text, const std::string& from, const std::string& to)
{
    const size_t at = text.find(from);
    if (at == std::string::npos) {
        ADD_FAILURE() << "no \"" << from << "\"";
        return text;
    }
    return text.replace(at, from.size(), to);
}
