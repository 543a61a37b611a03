#include "platform/linux/signals.h"

void BlockSignals(sigset_t* before)
{
    sigset_t blocked;
    sigfillset(&blocked);
    constexpr int faults[] = {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGTRAP};
    for (const int fault : faults) sigdelset(&blocked, fault);
    pthread_sigmask(SIG_SETMASK, &blocked, before);
}

void RestoreSignals(const sigset_t& before)
{
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
}
