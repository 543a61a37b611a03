// The host's signals are for the host's threads.
#pragma once
#include <csignal>

// Threads that the calling thread starts from now on take no signals but their own
// faults, until RestoreSignals. `before` is filled.
void BlockSignals(sigset_t* before);
void RestoreSignals(const sigset_t& before);
