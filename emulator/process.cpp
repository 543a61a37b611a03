// The process's surroundings: priority, current directory, and files, which are
// those of the operating system but fail on demand.
#include <cstdio>
#include <cstring>

#include "emulator/world.h"

namespace {

constexpr uint32_t NormalClass = 32;
constexpr size_t PathRoom = 4096;

struct Surroundings {
    uint32_t processClass;
    int32_t threadPriority;
    bool hasCurrent, hasEnterable;
    char current[PathRoom];
    char enterable[PathRoom];
};
Surroundings Around;

void SetPriority(uint32_t processClass, int32_t threadPriority)
{
    EmuSpend(1);
    Around.processClass = processClass;
    Around.threadPriority = threadPriority;
}

bool CurrentDirectory(char* path, uint32_t room)
{
    EmuSpend(1);
    if (!Around.hasCurrent || strlen(Around.current) >= room) return false;
    strcpy(path, Around.current);
    return true;
}

bool CanEnterDirectory(const char* path)
{
    EmuSpend(1);
    return Around.hasEnterable && strcmp(path, Around.enterable) == 0;
}

bool BeginReplace(const char* path, FileReplacement* file)
{
    EmuSpend(1);
    return !EmuFails(EmuBeginReplace) && EmuNative().file.BeginReplace(path, file);
}

bool CommitReplace(FileReplacement* file)
{
    EmuSpend(1);
    if (!EmuFails(EmuCommitReplace)) return EmuNative().file.CommitReplace(file);
    EmuNative().file.CancelReplace(file);
    return false;
}

void CancelReplace(FileReplacement* file)
{
    EmuSpend(1);
    EmuNative().file.CancelReplace(file);
}

void SetPath(const char* path, bool* has, char* stored)
{
    *has = path != nullptr;
    snprintf(stored, PathRoom, "%s", path == nullptr ? "" : path);
}

} // namespace

ProcessApi EmuProcess()
{
    return {SetPriority, CurrentDirectory, CanEnterDirectory, '/'};
}

FileApi EmuFiles()
{
    return {BeginReplace, CommitReplace, CancelReplace};
}

void EmuResetProcess()
{
    Around = {};
    Around.processClass = NormalClass;
    EmuSetCurrentDirectory("/virtual");
}

uint32_t EmuPriorityClass()
{
    return Around.processClass;
}

int32_t EmuThreadPriority()
{
    return Around.threadPriority;
}

void EmuSetCurrentDirectory(const char* path)
{
    SetPath(path, &Around.hasCurrent, Around.current);
}

void EmuSetEnterableDirectory(const char* path)
{
    SetPath(path, &Around.hasEnterable, Around.enterable);
}
