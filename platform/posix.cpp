// The Linux filling of the seam.
#include <climits>
#include <cstdlib>
#include <cstring>

#include <dlfcn.h>
#include <fcntl.h>
#include <pthread.h>
#include <sched.h>
#include <sys/stat.h>
#include <time.h>
#include <unistd.h>

#include "platform/linux/card.h"
#include "platform/linux/ports.h"
#include "platform/linux/signals.h"
#include "platform/linux/usb_ftdi.h"
#include "platform/readout_priority.h"
#include "platform/system.h"
#include "platform/usb.h"

namespace {

constexpr int64_t NsPerSecond = 1'000'000'000;
constexpr int64_t NsPerMs = 1'000'000;
constexpr int64_t NsPerUs = 1'000;

// --- clock ---

// A sleep wakes up to 90 microseconds late; so much is spun instead.
constexpr int64_t SpinNs = 150'000;

int64_t MonotonicNs()
{
    timespec now;
    clock_gettime(CLOCK_MONOTONIC, &now);
    return now.tv_sec * NsPerSecond + now.tv_nsec;
}

timespec ToTimespec(int64_t ns)
{
    return {ns / NsPerSecond, ns % NsPerSecond};
}

void PauseProcessor()
{
#if defined(__x86_64__) || defined(__i386__)
    __builtin_ia32_pause();
#endif
}

void SleepUntil(int64_t deadline)
{
    const timespec early = ToTimespec(deadline - SpinNs);
    if (deadline - MonotonicNs() > SpinNs) {
        while (clock_nanosleep(CLOCK_MONOTONIC, TIMER_ABSTIME, &early, nullptr) != 0) {
        }
    }
    while (MonotonicNs() < deadline) PauseProcessor();
}

uint32_t TickCount()
{
    return static_cast<uint32_t>(MonotonicNs() / NsPerMs);
}

void SleepMs(uint32_t milliseconds)
{
    if (milliseconds == 0) {
        sched_yield();
        return;
    }
    SleepUntil(MonotonicNs() + milliseconds * NsPerMs);
}

void SleepUs(uint32_t microseconds)
{
    SleepUntil(MonotonicNs() + microseconds * NsPerUs);
}

// A short sleep, so that the thread that is waited for can run on one processor.
void Relax()
{
    const timespec pause = {0, 200 * NsPerUs};
    nanosleep(&pause, nullptr);
}

int64_t WallSeconds()
{
    return time(nullptr);
}

// --- timer: a thread on absolute deadlines ---

struct NativeTimer {
    bool used;
    bool stopping; // guarded by `lock`
    pthread_t thread;
    pthread_mutex_t lock;
    pthread_cond_t wake;
    int64_t periodNs;
    PeriodicCallback callback;
    uint32_t userValue;
};

constexpr uint32_t TimerCount = 8;
NativeTimer Timers[TimerCount];
pthread_mutex_t TimersLock = PTHREAD_MUTEX_INITIALIZER;

// True when the timer is to end, false at the deadline.
bool AwaitDeadline(NativeTimer* timer, int64_t deadline)
{
    const timespec until = ToTimespec(deadline);
    pthread_mutex_lock(&timer->lock);
    int result = 0;
    while (!timer->stopping && result == 0) {
        result = pthread_cond_timedwait(&timer->wake, &timer->lock, &until);
    }
    const bool stopping = timer->stopping;
    pthread_mutex_unlock(&timer->lock);
    return stopping;
}

void* TimerThread(void* argument)
{
    NativeTimer* timer = static_cast<NativeTimer*>(argument);
    int64_t deadline = MonotonicNs() + timer->periodNs;
    while (!AwaitDeadline(timer, deadline)) {
        timer->callback(timer->userValue);
        // Ticks that fell due meanwhile are dropped.
        const int64_t late = MonotonicNs() - deadline;
        deadline += (late / timer->periodNs + 1) * timer->periodNs;
    }
    return nullptr;
}

uint32_t FinestPeriod()
{
    return 1;
}

void NoPeriod(uint32_t) {}

bool CreateThread(NativeTimer* timer)
{
    sigset_t before;
    BlockSignals(&before);
    const bool created = pthread_create(&timer->thread, nullptr, TimerThread, timer) == 0;
    RestoreSignals(before);
    return created;
}

bool StartThread(NativeTimer* timer)
{
    pthread_condattr_t attributes;
    pthread_condattr_init(&attributes);
    pthread_condattr_setclock(&attributes, CLOCK_MONOTONIC);
    pthread_cond_init(&timer->wake, &attributes);
    pthread_condattr_destroy(&attributes);
    pthread_mutex_init(&timer->lock, nullptr);
    timer->stopping = false;
    timer->used = CreateThread(timer);
    return timer->used;
}

uint32_t StartTimer(uint32_t milliseconds, PeriodicCallback callback, uint32_t userValue)
{
    uint32_t started = 0;
    pthread_mutex_lock(&TimersLock);
    for (uint32_t i = 0; i < TimerCount && milliseconds != 0; ++i) {
        if (Timers[i].used) continue;
        Timers[i].periodNs = milliseconds * NsPerMs;
        Timers[i].callback = callback;
        Timers[i].userValue = userValue;
        if (StartThread(&Timers[i])) started = i + 1;
        break;
    }
    pthread_mutex_unlock(&TimersLock);
    return started;
}

void StopTimer(uint32_t timer)
{
    if (timer == 0 || timer > TimerCount) return;
    NativeTimer& ended = Timers[timer - 1];
    pthread_mutex_lock(&TimersLock);
    const bool used = ended.used;
    pthread_mutex_unlock(&TimersLock);
    if (!used) return;
    pthread_mutex_lock(&ended.lock);
    ended.stopping = true;
    pthread_cond_signal(&ended.wake);
    pthread_mutex_unlock(&ended.lock);
    pthread_join(ended.thread, nullptr);
    pthread_cond_destroy(&ended.wake);
    pthread_mutex_destroy(&ended.lock);
    pthread_mutex_lock(&TimersLock);
    ended.used = false;
    pthread_mutex_unlock(&TimersLock);
}

// --- process ---

constexpr uint32_t RealTimeClass = 256;

// Granted to privileged users only; a refusal is no matter.
void SetPriority(uint32_t processClass, int32_t)
{
    sched_param parameter = {};
    const bool realTime = processClass == RealTimeClass;
    parameter.sched_priority = realTime ? ReadoutPriority : 0;
    pthread_setschedparam(pthread_self(), realTime ? SCHED_FIFO : SCHED_OTHER, &parameter);
}

bool CurrentDirectory(char* path, uint32_t room)
{
    return getcwd(path, room) != nullptr;
}

bool CanEnterDirectory(const char* path)
{
    struct stat status;
    return stat(path, &status) == 0 && S_ISDIR(status.st_mode) && access(path, X_OK) == 0;
}

// --- files ---

bool BeginReplace(const char* path, FileReplacement* file)
{
    static_assert(sizeof file->target >= PATH_MAX);
    struct stat status;
    if (realpath(path, file->target) == nullptr || stat(file->target, &status) != 0) return false;
    if (!S_ISREG(status.st_mode)) return false;
    // The folder's rights alone would let a write-protected file be replaced.
    if (access(file->target, W_OK) != 0) return false;
    snprintf(file->temporary, sizeof file->temporary, "%s.XXXXXX", file->target);
    const int descriptor = mkstemp(file->temporary);
    if (descriptor < 0) return false;
    // Only a privileged process can keep another owner; the rest lose nothing.
    [[maybe_unused]] const int kept = fchown(descriptor, status.st_uid, status.st_gid);
    const bool moded = fchmod(descriptor, status.st_mode & 07777) == 0;
    file->stream = moded ? fdopen(descriptor, "wb") : nullptr;
    if (file->stream != nullptr) return true;
    close(descriptor);
    unlink(file->temporary);
    return false;
}

// Makes the new directory entry last.
void SyncFolder(const char* path)
{
    char folder[PATH_MAX];
    const char* slash = strrchr(path, '/');
    const size_t length = slash == nullptr ? 0 : static_cast<size_t>(slash - path);
    if (length >= sizeof folder) return;
    memcpy(folder, path, length);
    strcpy(folder + length, length == 0 ? "/" : "");
    const int descriptor = open(folder, O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (descriptor < 0) return;
    fsync(descriptor);
    close(descriptor);
}

bool CommitReplace(FileReplacement* file)
{
    const bool written =
        fflush(file->stream) == 0 && ferror(file->stream) == 0 && fsync(fileno(file->stream)) == 0;
    const bool closed = fclose(file->stream) == 0;
    file->stream = nullptr;
    if (!written || !closed || rename(file->temporary, file->target) != 0) {
        unlink(file->temporary);
        return false;
    }
    SyncFolder(file->target);
    return true;
}

void CancelReplace(FileReplacement* file)
{
    fclose(file->stream);
    file->stream = nullptr;
    unlink(file->temporary);
}

// --- libraries ---

// A bare name is one for every system: "io" is libio.so here.
void* LoadLibrary(const char* name)
{
    char file[NAME_MAX + 1];
    const bool bare = strpbrk(name, "./") == nullptr;
    const int length = snprintf(file, sizeof file, "lib%s.so", name);
    if (bare && (length < 0 || static_cast<size_t>(length) >= sizeof file)) return nullptr;
    return dlopen(bare ? file : name, RTLD_NOW | RTLD_LOCAL);
}

void* FindSymbol(void* library, const char* name)
{
    return library == nullptr ? nullptr : dlsym(library, name);
}

void FreeLibrary(void* library)
{
    if (library != nullptr) dlclose(library);
}

} // namespace

void UseNativeSystem()
{
    System = {
        .clock = {TickCount, SleepMs, SleepUs, Relax, WallSeconds},
        .timer = {FinestPeriod, NoPeriod, NoPeriod, StartTimer, StopTimer},
        .process = {SetPriority, CurrentDirectory, CanEnterDirectory, '/'},
        .file = {BeginReplace, CommitReplace, CancelReplace},
        .library = {LoadLibrary, FindSymbol, FreeLibrary},
        .device = LinuxCard(),
        .registers = LinuxCardRegisters(),
        .port = LinuxPorts(),
        .usb = NativeUsb({"libftd2xx.so", FtdiUsb()}),
        .memory = {malloc, free},
    };
}
