// The host's calls that go through the queue.
#include "supervisor/place.h"
#include "supervisor/queue.h"

namespace {

constexpr int32_t LargestGain = 3;
constexpr double LongestExpected = 86400.0;

Job MakeJob(JobKind kind, int32_t first = 0, int32_t second = 0)
{
    Job job = {};
    job.kind = kind;
    job.first = first;
    job.second = second;
    return job;
}

int32_t Run(int32_t camera, const Job& job, double limit)
{
    Seam.Lock();
    Slot* slot = nullptr;
    int32_t code = LookUp(camera, &slot);
    if (code == QV_ERROR_NONE) code = RunThroughQueue(slot, job, limit);
    Seam.Unlock();
    return code;
}

// The same with a wheel there.
int32_t RunWheel(int32_t camera, const Job& job, double limit)
{
    Seam.Lock();
    Slot* slot = nullptr;
    int32_t code = LookUp(camera, &slot);
    if (code == QV_ERROR_NONE && slot->open.Config.FilterWheel == 0) code = QVNS_ERROR_ARGUMENT;
    if (code == QV_ERROR_NONE) code = RunThroughQueue(slot, job, limit);
    Seam.Unlock();
    return code;
}

} // namespace

int32_t qvns_set_binning(int32_t camera, int32_t horizontal, int32_t vertical, double limit)
{
    if (horizontal < 1 || vertical < 1) return QVNS_ERROR_ARGUMENT;
    Seam.Lock();
    Slot* slot = nullptr;
    int32_t code = LookUp(camera, &slot);
    if (code == QV_ERROR_NONE && !MayBin(*slot, horizontal, vertical)) code = QVNS_ERROR_ARGUMENT;
    if (code == QV_ERROR_NONE) {
        code = RunThroughQueue(slot, MakeJob(JobBinning, horizontal, vertical), limit);
    }
    Seam.Unlock();
    return code;
}

int32_t qvns_set_gain(int32_t camera, int32_t index, double limit)
{
    if (index < 0 || index > LargestGain) return QVNS_ERROR_ARGUMENT;
    return Run(camera, MakeJob(JobGain, index), limit);
}

int32_t qvns_set_fan(int32_t camera, double percent, double limit)
{
    if (!(percent >= 0.0 && percent <= 100.0)) return QVNS_ERROR_ARGUMENT;
    Job job = MakeJob(JobFan);
    job.value = percent;
    return Run(camera, job, limit);
}

int32_t qvns_clear(int32_t camera, double limit)
{
    return Run(camera, MakeJob(JobClear), limit);
}

int32_t qvns_set_filter(int32_t camera, int32_t position, double limit)
{
    if (position < 1) return QVNS_ERROR_ARGUMENT;
    return RunWheel(camera, MakeJob(JobFilter, position), limit);
}

int32_t qvns_find_filters(int32_t camera, double limit)
{
    return RunWheel(camera, MakeJob(JobFindFilters), limit);
}

int32_t qvns_run(int32_t camera, int32_t (*function)(int32_t camera, void* context), void* context,
                 double expected, double limit)
{
    const bool sensible = expected >= 0.0 && expected <= LongestExpected;
    if (function == nullptr || !sensible) return QVNS_ERROR_ARGUMENT;
    Job job = MakeJob(JobHost);
    job.function = function;
    job.context = context;
    job.value = expected;
    return Run(camera, job, limit);
}

int32_t qvns_recover(int32_t camera, double limit)
{
    return Run(camera, MakeJob(JobRecover), limit);
}
