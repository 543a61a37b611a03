#include "supervisor/worker.h"

#include <algorithm>

#include "supervisor/cooling.h"
#include "supervisor/frame.h"
#include "supervisor/host.h"
#include "supervisor/opening.h"
#include "supervisor/queue.h"
#include "supervisor/settings.h"
#include "supervisor/shared.h"
#include "supervisor/work.h"

namespace {

int32_t Running; // threads

using JobFunction = int32_t (*)(Slot* slot, const Job& job);

constexpr JobFunction JobFunctions[JobKinds] = {
    RunOpen, RunClose, RunRecover, RunBinning,     RunGain,
    RunFan,  RunClear, RunFilter,  RunFindFilters, RunHost,
};

// What needs a binning waits in the queue while others read with another one, where its caller
// can take it back.
bool IsJobDue(const Slot& slot, const Job& job)
{
    switch (job.kind) {
    case JobOpen:
    case JobRecover: return MayHoldBinning(slot, 1, 1);
    case JobBinning: return MayHoldBinning(slot, job.first, job.second);
    case JobHost: return MayHoldBinning(slot, slot.hbin, slot.vbin);
    default: return true;
    }
}

bool MayRun(const Slot& slot, JobKind kind)
{
    if (slot.state == QVNS_CAMERA_OPEN) return true;
    if (kind == JobOpen) return slot.state == QVNS_CAMERA_OPENING;
    return slot.state == QVNS_CAMERA_FAULT && (kind == JobClose || kind == JobRecover);
}

void RunJob(Slot* slot, Job* job)
{
    if (!MayRun(*slot, job->kind)) {
        EndJob(job, slot->state == QVNS_CAMERA_FAULT ? QVNS_ERROR_FAULT : QVNS_ERROR_NOT_OPEN);
        return;
    }
    job->state = JobRunning;
    const int32_t result = JobFunctions[job->kind](slot, *job);
    EndJob(job, result);
}

// A frame that waits for the trigger fails first.
bool IsRecoveryDue(const Slot& slot)
{
    if (slot.frame.step == FrameInTrigger) return false;
    return slot.state == QVNS_CAMERA_FAULT && slot.open.AutoRecover != 0 &&
           MayHoldBinning(slot, 1, 1);
}

// A set point needs a reading to begin with.
bool IsCoolingDue(const Cooling& cooling)
{
    return cooling.changed && (cooling.mode == QVNS_COOLING_OFF || cooling.readings != 0);
}

// What falls due by the clock. False: nothing did.
bool TimedStep(Slot* slot, uint64_t* dueUs)
{
    const uint64_t now = Seam.NowUs();
    if (IsRecoveryDue(*slot)) {
        if (slot->recoverUs <= now) {
            Recover(slot);
            return true;
        }
        *dueUs = std::min(*dueUs, slot->recoverUs);
    }
    if (slot->state != QVNS_CAMERA_OPEN) return false;
    if (slot->backgroundUs <= now) {
        Background(slot);
        return true;
    }
    *dueUs = std::min(*dueUs, slot->backgroundUs);
    if (!IsCoolingDue(slot->cooling)) return false;
    UpdateCooling(slot);
    return true;
}

bool IsFrameAhead(const Frame& frame, const Job* job)
{
    return frame.step == FrameQueued && (job == nullptr || frame.order < job->order);
}

bool StepOnce(Slot* slot, uint64_t* dueUs)
{
    if (slot->state == QVNS_CAMERA_LOST) {
        CloseLost(slot);
        return true;
    }
    if (TimedStep(slot, dueUs)) return true;
    Frame& frame = slot->frame;
    if (frame.step == FrameInTrigger) return TriggerStep(slot, dueUs);
    Job* const job = NextJob(slot);
    const bool framed = IsFrameAhead(frame, job);
    if (framed && IsFrameDue(*slot)) {
        BeginFrame(slot);
        return true;
    }
    // What was asked for behind a frame must not change it.
    const bool waits = framed && slot->state == QVNS_CAMERA_OPEN;
    if (job == nullptr || waits || !IsJobDue(*slot, *job)) return false;
    RunJob(slot, job);
    return true;
}

void WorkerThread(int32_t camera)
{
    Slot* const slot = FindSlot(camera);
    const auto unlock = Seam.Unlock; // a new start may fill the seam behind ThreadEnds
    Seam.Lock();
    while (!Ending) {
        uint64_t due = Never;
        if (!Step(slot, &due)) Seam.Wait(due);
    }
    if (slot->state != QVNS_CAMERA_CLOSED) CloseLost(slot);
    slot->hasWorker = false;
    ThreadEnds();
    unlock();
}

} // namespace

bool Step(Slot* slot, uint64_t* dueUs)
{
    if (slot->stepping) return false;
    slot->stepping = true;
    const bool done = StepOnce(slot, dueUs);
    slot->stepping = false;
    if (done) Seam.Signal();
    return done;
}

bool StepAnyCamera(uint64_t* dueUs)
{
    WatchAll();
    bool done = false;
    for (Slot& slot : Slots) {
        if (slot.hasWorker) done = Step(&slot, dueUs) || done;
    }
    return done;
}

void ServeOthers(const Slot* busy)
{
    for (Slot& slot : Slots) {
        if (&slot == busy || slot.stepping || slot.state != QVNS_CAMERA_OPEN) continue;
        slot.stepping = true;
        uint64_t due = Never;
        TimedStep(&slot, &due);
        slot.stepping = false;
    }
}

bool EnsureWorker(Slot* slot)
{
    if (slot->hasWorker) return true;
    if (!Seam.StartThread(WorkerThread, slot->camera)) return false;
    slot->hasWorker = true;
    Running += Seam.threads ? 1 : 0;
    return true;
}

void ThreadEnds()
{
    --Running;
    Seam.Signal();
    Seam.Rouse();
}

bool StartWatchThread()
{
    if (!Seam.threads) return true;
    if (!Seam.StartThread(WatchThread, 0)) return false;
    ++Running;
    return true;
}

int32_t ThreadsRunning()
{
    return Running;
}
