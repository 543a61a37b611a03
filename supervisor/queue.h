// The queue of a camera: work that callers wait for. The lock is held.
#pragma once
#include "supervisor/slot.h"

// Puts a job into the queue and waits for it; its result, or QVNS_ERROR_BUSY, _TIME, _LOST. A
// limit of 0 or less: the usual one.
int32_t RunThroughQueue(Slot* slot, const Job& job, double limit);

// The next that waits, or null.
Job* NextJob(Slot* slot);
void EndJob(Job* job, int32_t result);

// All that wait end with the code.
void DropJobs(Slot* slot, int32_t code);
// The same with QVNS_ERROR_ABORTED, but what closes the camera stays.
void AbortJobs(Slot* slot);

int32_t WaitingJobs(const Slot& slot);

// What kind of work it is, QVNS_WORK_....
int32_t WorkOf(JobKind kind);
