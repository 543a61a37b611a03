// Ctrl-C: a thread that takes the signals and breaks the exposure.
#include "tools/breaker.h"

#include <poll.h>
#include <pthread.h>
#include <sys/eventfd.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cmath>
#include <condition_variable>
#include <csignal>
#include <cstdio>
#include <mutex>
#include <thread>

#include "include/qvn_bench.h"
#include "tools/report.h"

namespace {

struct BreakerState {
    std::thread watcher;
    int signals = -1; // signalfd
    int ending = -1;  // eventfd
    std::atomic<int32_t> camera{-1};
    std::atomic<bool> requested{false};
    int32_t signalCount = 0;  // of the watcher
    double requestedAt = 0.0; // written before `requested`
    std::mutex mutex;
    std::condition_variable wake;
};

BreakerState Breaker;

void TakeSignal()
{
    signalfd_siginfo info;
    if (read(Breaker.signals, &info, sizeof(info)) != sizeof(info)) return;
    ++Breaker.signalCount;
    if (Breaker.signalCount > 2) {
        // Perhaps the library waits for what never comes.
        std::fprintf(stderr, "\nqvn: ended at once: the camera was not closed, and its cooler may "
                             "be on\n");
        _exit(ExitBroken);
    }
    if (Breaker.signalCount == 2) {
        std::fprintf(stderr, "\nqvn: the camera is still busy, please wait; once more ends the "
                             "program and leaves the camera as it is\n");
        return;
    }
    std::fprintf(stderr, "\nqvn: breaking off, the camera will be closed\n");
    const std::lock_guard<std::mutex> lock(Breaker.mutex);
    Breaker.requestedAt = SteadySeconds();
    Breaker.requested = true;
    Breaker.wake.notify_all();
}

void Watch()
{
    pollfd events[2] = {{Breaker.signals, POLLIN, 0}, {Breaker.ending, POLLIN, 0}};
    for (;;) {
        // An exposure clears the flag when it starts, so it is set again and again: a
        // signal that came just before the start must not be lost.
        const int32_t camera = Breaker.camera;
        if (Breaker.requested && camera >= 0) QV_BrkFlg(camera);
        poll(events, 2, Breaker.requested ? 20 : -1);
        if ((events[1].revents & POLLIN) != 0) return;
        if ((events[0].revents & POLLIN) != 0) TakeSignal();
    }
}

// Virtual time goes on within the library's calls and nowhere else.
bool DelayOrBreak(double seconds)
{
    constexpr double Longest = 1.0;
    const double end = SteadySeconds() + seconds;
    for (double left = seconds; left > 0.0 && !Breaker.requested; left = end - SteadySeconds()) {
        QV_Delay(static_cast<uint32_t>(std::ceil(std::min(left, Longest) * 1000.0)));
    }
    return Breaker.requested;
}

} // namespace

void BreakerStart()
{
    sigset_t set;
    sigemptyset(&set);
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
        struct sigaction action = {};
        sigaction(signal, nullptr, &action);
        if (action.sa_handler != SIG_IGN) sigaddset(&set, signal);
    }
    pthread_sigmask(SIG_BLOCK, &set, nullptr);
    Breaker.signals = signalfd(-1, &set, SFD_CLOEXEC);
    Breaker.ending = eventfd(0, EFD_CLOEXEC);
    Breaker.watcher = std::thread(Watch);
}

void BreakerStop()
{
    if (!Breaker.watcher.joinable()) return;
    eventfd_write(Breaker.ending, 1);
    Breaker.watcher.join();
    close(Breaker.signals);
    close(Breaker.ending);
}

void BreakerArm(int32_t camera)
{
    Breaker.camera = camera;
}

bool BreakRequested()
{
    return Breaker.requested;
}

double SteadySeconds()
{
    return QVB_Seconds();
}

double BreakSeconds()
{
    return Breaker.requested ? Breaker.requestedAt : 0.0;
}

bool WaitOrBreak(double seconds)
{
    if (QVB_TimeIsVirtual() != 0) return DelayOrBreak(seconds);
    std::unique_lock<std::mutex> lock(Breaker.mutex);
    return Breaker.wake.wait_for(lock, std::chrono::duration<double>(seconds),
                                 [] { return Breaker.requested.load(); });
}
