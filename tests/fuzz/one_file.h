// A library folder that holds one file, made anew for each input.
#pragma once
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>

#include "core/status.h"
#include "platform/system.h"

// Memory if the system has a folder there, since every input is a file.
struct FuzzFolder {
    FuzzFolder()
    {
        UseNativeSystem();
        char inMemory[] = "/dev/shm/qvn_fuzz_XXXXXX";
        char onDisk[] = "/tmp/qvn_fuzz_XXXXXX";
        const char* made = mkdtemp(inMemory);
        if (made == nullptr) made = mkdtemp(onDisk);
        if (made == nullptr) abort();
        path = made;
        SetPathName(made);
    }
    ~FuzzFolder() { std::filesystem::remove_all(path); }

    std::string path;
};

inline void WriteOneFile(const char* name, const uint8_t* data, size_t bytes)
{
    static const FuzzFolder folder;
    FILE* file = fopen((folder.path + "/" + name).c_str(), "wb");
    if (file == nullptr || fwrite(data, 1, bytes, file) != bytes) abort();
    fclose(file);
}

inline void Require(bool holds)
{
    if (!holds) abort();
}
