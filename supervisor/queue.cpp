#include "supervisor/queue.h"

#include "supervisor/work.h"

namespace {

constexpr int32_t WorkOfJob[JobKinds] = {
    QVNS_WORK_OPEN,    QVNS_WORK_CLOSE, QVNS_WORK_OPEN,  QVNS_WORK_SETTING, QVNS_WORK_SETTING,
    QVNS_WORK_SETTING, QVNS_WORK_CLEAR, QVNS_WORK_WHEEL, QVNS_WORK_WHEEL,   QVNS_WORK_HOST,
};

// The watchdog gives up first, so that the caller hears what has happened.
constexpr double LongerSeconds = 1.0;

double UsualLimit(const Slot& slot, const Job& job)
{
    const int32_t work = WorkOf(job.kind);
    const double expected = job.kind == JobHost ? job.value : UsualSeconds(work);
    double seconds = LongestSeconds(slot, work, expected) + LongerSeconds;
    if (slot.frame.step != FrameIdle) {
        seconds += slot.frame.duration.Total + slot.frame.duration.Patience;
    }
    return seconds;
}

Job* FindFree(Slot* slot)
{
    for (Job& job : slot->jobs) {
        if (job.state == JobFree) return &job;
    }
    return nullptr;
}

// The places of work that was dropped come free as its callers leave.
Job* TakePlace(Slot* slot, JobKind kind, uint64_t end)
{
    const bool waits = kind == JobOpen || kind == JobClose;
    Job* place = FindFree(slot);
    while (place == nullptr && waits && Seam.NowUs() < end) {
        Seam.Wait(end);
        place = FindFree(slot);
    }
    return place;
}

int32_t LeaveJob(const Slot& slot, Job* job)
{
    int32_t code = slot.state == QVNS_CAMERA_LOST ? QVNS_ERROR_LOST : QVNS_ERROR_TIME;
    if (job->state == JobDone) code = job->result;
    job->state = job->state == JobRunning ? JobLeft : JobFree;
    Seam.Signal();
    return code;
}

} // namespace

int32_t WorkOf(JobKind kind)
{
    return WorkOfJob[kind];
}

int32_t RunThroughQueue(Slot* slot, const Job& job, double limit)
{
    const bool usual = !(limit > 0.0);
    const uint64_t end = UsFromNow(usual ? UsualLimit(*slot, job) : limit);
    Job* const place = TakePlace(slot, job.kind, end);
    if (place == nullptr) return QVNS_ERROR_BUSY;
    *place = job;
    place->state = JobWaiting;
    place->order = ++slot->orders;
    Seam.Signal();
    while (place->state != JobDone && slot->state != QVNS_CAMERA_LOST) {
        // Work that runs has the watchdog for its limit.
        const bool watched = usual && place->state == JobRunning;
        const uint64_t now = Seam.NowUs();
        if (now >= end && !watched) break;
        Seam.Wait(watched ? now + UsPerSecond : end);
    }
    return LeaveJob(*slot, place);
}

Job* NextJob(Slot* slot)
{
    Job* next = nullptr;
    for (Job& job : slot->jobs) {
        if (job.state != JobWaiting) continue;
        if (next == nullptr || job.order < next->order) next = &job;
    }
    return next;
}

void EndJob(Job* job, int32_t result)
{
    job->result = result;
    job->state = job->state == JobLeft ? JobFree : JobDone;
    Seam.Signal();
}

void DropJobs(Slot* slot, int32_t code)
{
    for (Job& job : slot->jobs) {
        if (job.state == JobWaiting) EndJob(&job, code);
    }
}

void AbortJobs(Slot* slot)
{
    for (Job& job : slot->jobs) {
        if (job.state == JobWaiting && job.kind != JobClose) EndJob(&job, QVNS_ERROR_ABORTED);
    }
}

int32_t WaitingJobs(const Slot& slot)
{
    int32_t count = 0;
    for (const Job& job : slot.jobs) count += job.state == JobWaiting ? 1 : 0;
    return count;
}
