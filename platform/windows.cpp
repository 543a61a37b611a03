// The Windows filling of the seam.
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>

#define WIN32_LEAN_AND_MEAN
#include <windows.h>
// after <windows.h>, whose types it uses
#include <mmsystem.h>

#include <fcntl.h>
#include <io.h>

#include "platform/absent.h"
#include "platform/system.h"
#include "platform/usb.h"

namespace {

constexpr int64_t UsPerSecond = 1'000'000;
constexpr int64_t UsPerMs = 1'000;

// --- clock ---

// With the finest timer period a sleep wakes up to 2 milliseconds late; so much
// is spun instead.
constexpr int64_t SpinUs = 2'000;

int64_t MonotonicUs()
{
    LARGE_INTEGER frequency, count;
    QueryPerformanceFrequency(&frequency);
    QueryPerformanceCounter(&count);
    const int64_t perSecond = frequency.QuadPart;
    const int64_t seconds = count.QuadPart / perSecond;
    return seconds * UsPerSecond + count.QuadPart % perSecond * UsPerSecond / perSecond;
}

// Ends behind the deadline, since both times have lost a part of a microsecond.
void SleepUntil(int64_t deadline)
{
    const int64_t rest = deadline - MonotonicUs() - SpinUs;
    if (rest >= UsPerMs) {
        timeBeginPeriod(1);
        ::Sleep(static_cast<DWORD>(rest / UsPerMs));
        timeEndPeriod(1);
    }
    while (MonotonicUs() <= deadline) YieldProcessor();
}

uint32_t TickCount()
{
    return static_cast<uint32_t>(MonotonicUs() / UsPerMs);
}

void SleepMs(uint32_t milliseconds)
{
    if (milliseconds == 0) {
        ::Sleep(0);
        return;
    }
    SleepUntil(MonotonicUs() + milliseconds * UsPerMs);
}

void SleepUs(uint32_t microseconds)
{
    SleepUntil(MonotonicUs() + microseconds);
}

// A short sleep, so that the thread that is waited for can run on one processor.
void Relax()
{
    ::Sleep(1);
}

int64_t WallSeconds()
{
    return time(nullptr);
}

// --- timer: the multimedia timer, whose callbacks share one thread ---

struct NativeTimer {
    bool used;    // guarded by `TimersLock`
    SRWLOCK lock; // held while the callback runs; guards what follows
    MMRESULT event;
    int64_t periodUs;
    int64_t next; // when the next tick is due
    PeriodicCallback callback;
    uint32_t userValue;
};

constexpr uint32_t TimerCount = 8;
NativeTimer Timers[TimerCount];
SRWLOCK TimersLock = SRWLOCK_INIT;

// The system makes up for ticks that it missed by a burst of calls, and those
// come early: they are dropped.
bool IsDue(const NativeTimer& timer, int64_t now)
{
    return now >= timer.next - timer.periodUs / 4;
}

void CALLBACK OnTick(UINT event, UINT, DWORD_PTR index, DWORD_PTR, DWORD_PTR)
{
    NativeTimer& timer = Timers[index];
    AcquireSRWLockExclusive(&timer.lock);
    const int64_t now = MonotonicUs();
    if (timer.event == event && IsDue(timer, now)) {
        timer.callback(timer.userValue);
        const int64_t late = MonotonicUs() - now;
        timer.next = now + (late / timer.periodUs + 1) * timer.periodUs;
    }
    ReleaseSRWLockExclusive(&timer.lock);
}

uint32_t FinestPeriod()
{
    TIMECAPS range = {};
    return timeGetDevCaps(&range, sizeof range) == MMSYSERR_NOERROR ? range.wPeriodMin : 1;
}

void BeginPeriod(uint32_t milliseconds)
{
    timeBeginPeriod(milliseconds);
}

void EndPeriod(uint32_t milliseconds)
{
    timeEndPeriod(milliseconds);
}

// True if the system has started it. A tick that comes at once waits for the lock.
bool StartEvent(uint32_t index, uint32_t milliseconds, PeriodicCallback callback,
                uint32_t userValue)
{
    NativeTimer& timer = Timers[index];
    AcquireSRWLockExclusive(&timer.lock);
    timer.periodUs = milliseconds * UsPerMs;
    timer.next = MonotonicUs() + timer.periodUs;
    timer.callback = callback;
    timer.userValue = userValue;
    timer.event = timeSetEvent(milliseconds, 0, OnTick, index,
                               TIME_PERIODIC | TIME_CALLBACK_FUNCTION | TIME_KILL_SYNCHRONOUS);
    const bool started = timer.event != 0;
    ReleaseSRWLockExclusive(&timer.lock);
    return started;
}

uint32_t StartTimer(uint32_t milliseconds, PeriodicCallback callback, uint32_t userValue)
{
    uint32_t started = 0;
    AcquireSRWLockExclusive(&TimersLock);
    for (uint32_t i = 0; i < TimerCount && milliseconds != 0; ++i) {
        if (Timers[i].used) continue;
        Timers[i].used = StartEvent(i, milliseconds, callback, userValue);
        if (Timers[i].used) started = i + 1;
        break;
    }
    ReleaseSRWLockExclusive(&TimersLock);
    return started;
}

void StopTimer(uint32_t timer)
{
    if (timer == 0 || timer > TimerCount) return;
    NativeTimer& ended = Timers[timer - 1];
    AcquireSRWLockExclusive(&TimersLock);
    const bool used = ended.used;
    ReleaseSRWLockExclusive(&TimersLock);
    if (!used) return;
    // Not under the lock: the system waits here for a callback that runs.
    timeKillEvent(ended.event);
    AcquireSRWLockExclusive(&ended.lock);
    ended.event = 0;
    ReleaseSRWLockExclusive(&ended.lock);
    AcquireSRWLockExclusive(&TimersLock);
    ended.used = false;
    ReleaseSRWLockExclusive(&TimersLock);
}

// --- process ---

void SetPriority(uint32_t processClass, int32_t threadPriority)
{
    SetPriorityClass(GetCurrentProcess(), processClass);
    SetThreadPriority(GetCurrentThread(), threadPriority);
}

bool CurrentDirectory(char* path, uint32_t room)
{
    const DWORD length = GetCurrentDirectoryA(room, path);
    return length != 0 && length < room;
}

bool CanEnterDirectory(const char* path)
{
    const DWORD attributes = GetFileAttributesA(path);
    return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
}

// --- files ---

constexpr DWORD KeptAttributes =
    FILE_ATTRIBUTE_ARCHIVE | FILE_ATTRIBUTE_HIDDEN | FILE_ATTRIBUTE_SYSTEM;
constexpr uint32_t NameAttempts = 100;

// The file behind the links of `path`; false if there is none.
bool FollowLinks(const char* path, char* target, DWORD room)
{
    const HANDLE file = CreateFileA(path, FILE_READ_ATTRIBUTES,
                                    FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                                    OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (file == INVALID_HANDLE_VALUE) return false;
    const bool onDisk = GetFileType(file) == FILE_TYPE_DISK;
    const DWORD length = GetFinalPathNameByHandleA(file, target, room, FILE_NAME_NORMALIZED);
    CloseHandle(file);
    return onDisk && length != 0 && length < room && !CanEnterDirectory(target);
}

// Creates a file under a name beside the target that nobody has yet.
HANDLE CreateBeside(FileReplacement* file)
{
    for (uint32_t attempt = 0; attempt < NameAttempts; ++attempt) {
        const uint32_t mark = GetCurrentProcessId() * NameAttempts + attempt;
        const int length =
            snprintf(file->temporary, sizeof file->temporary, "%s.%08x", file->target, mark);
        if (length < 0 || static_cast<size_t>(length) >= sizeof file->temporary) break;
        const HANDLE created = CreateFileA(file->temporary, GENERIC_WRITE, 0, nullptr, CREATE_NEW,
                                           FILE_ATTRIBUTE_NORMAL, nullptr);
        if (created != INVALID_HANDLE_VALUE || GetLastError() != ERROR_FILE_EXISTS) return created;
    }
    return INVALID_HANDLE_VALUE;
}

bool BeginReplace(const char* path, FileReplacement* file)
{
    if (!FollowLinks(path, file->target, sizeof file->target)) return false;
    const HANDLE created = CreateBeside(file);
    if (created == INVALID_HANDLE_VALUE) return false;
    const int descriptor = _open_osfhandle(reinterpret_cast<intptr_t>(created), _O_BINARY);
    file->stream = descriptor < 0 ? nullptr : _fdopen(descriptor, "wb");
    if (file->stream != nullptr) return true;
    if (descriptor < 0) {
        CloseHandle(created);
    } else {
        _close(descriptor);
    }
    DeleteFileA(file->temporary);
    return false;
}

// Gives the new version the attributes of the old one and takes its place.
bool TakePlace(const FileReplacement& file)
{
    const DWORD attributes = GetFileAttributesA(file.target);
    if (attributes == INVALID_FILE_ATTRIBUTES) return false;
    const DWORD kept = attributes & KeptAttributes;
    return SetFileAttributesA(file.temporary, kept != 0 ? kept : FILE_ATTRIBUTE_NORMAL) != 0 &&
           MoveFileExA(file.temporary, file.target,
                       MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH) != 0;
}

bool CommitReplace(FileReplacement* file)
{
    bool written = fflush(file->stream) == 0 && ferror(file->stream) == 0;
    const intptr_t handle = _get_osfhandle(_fileno(file->stream));
    written = written && FlushFileBuffers(reinterpret_cast<HANDLE>(handle)) != 0;
    const bool closed = fclose(file->stream) == 0;
    file->stream = nullptr;
    if (written && closed && TakePlace(*file)) return true;
    DeleteFileA(file->temporary);
    return false;
}

void CancelReplace(FileReplacement* file)
{
    fclose(file->stream);
    file->stream = nullptr;
    DeleteFileA(file->temporary);
}

// --- libraries ---

void* OpenLibrary(const char* name)
{
    return LoadLibraryA(name);
}

void* FindSymbol(void* library, const char* name)
{
    if (library == nullptr) return nullptr;
    return reinterpret_cast<void*>(GetProcAddress(static_cast<HMODULE>(library), name));
}

void CloseLibrary(void* library)
{
    if (library != nullptr) ::FreeLibrary(static_cast<HMODULE>(library));
}

// --- the kernel driver ---

HANDLE ToHandle(uint64_t device)
{
    return reinterpret_cast<HANDLE>(static_cast<uintptr_t>(device));
}

uint64_t OpenDevice(const char* name)
{
    const HANDLE device = CreateFileA(name, GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE,
                                      nullptr, OPEN_EXISTING, FILE_FLAG_OVERLAPPED, nullptr);
    return device == INVALID_HANDLE_VALUE ? 0 : reinterpret_cast<uintptr_t>(device);
}

// The driver answers with a word of its own and rewrites the record in place.
int32_t ControlDevice(uint64_t device, uint32_t code, void* record, uint32_t bytes)
{
    int32_t result = -1;
    DWORD returned = 0;
    if (device != 0) {
        DeviceIoControl(ToHandle(device), code, record, bytes, &result, sizeof result, &returned,
                        nullptr);
    }
    return result;
}

void CloseDevice(uint64_t device)
{
    if (device != 0) CloseHandle(ToHandle(device));
}

} // namespace

void UseNativeSystem()
{
    System = {
        .clock = {TickCount, SleepMs, SleepUs, Relax, WallSeconds},
        .timer = {FinestPeriod, BeginPeriod, EndPeriod, StartTimer, StopTimer},
        .process = {SetPriority, CurrentDirectory, CanEnterDirectory, '\\'},
        .file = {BeginReplace, CommitReplace, CancelReplace},
        .library = {OpenLibrary, FindSymbol, CloseLibrary},
        .device = {OpenDevice, ControlDevice, CloseDevice},
        .registers = AbsentRegisters(),
        .port = AbsentPorts(),
        .usb = NativeUsb({"FTD2XX.dll", AbsentUsb()}),
        .memory = {malloc, free},
    };
}
