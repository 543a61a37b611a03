// Start and end of the layer.
#include "supervisor/exposure.h"
#include "supervisor/frame.h"
#include "supervisor/queue.h"
#include "supervisor/work.h"
#include "supervisor/worker.h"

namespace {

constexpr double UsualStopSeconds = 60.0;
constexpr double LostSeconds = 1.0;

// What a layer that is started anew begins with; the memory of its frames goes.
void ResetSlots()
{
    for (int32_t camera = 0; camera < QV_CAMERAS; ++camera) {
        Slot& slot = Slots[camera];
        Seam.Release(slot.frame.pixels);
        slot = {};
        slot.camera = camera;
    }
}

// One whose call has just come back may still be closed.
void AwaitLost(const Slot& slot)
{
    const uint64_t end = UsFromNow(LostSeconds);
    while (slot.state == QVNS_CAMERA_LOST && Seam.NowUs() < end) Seam.Wait(end);
}

// Without threads, where nobody else does it. Gives each camera what is left of the time.
int32_t CloseAll(uint64_t end)
{
    int32_t result = QV_ERROR_NONE;
    for (Slot& slot : Slots) {
        AwaitLost(slot);
        if (slot.state == QVNS_CAMERA_CLOSED) continue;
        const uint64_t now = Seam.NowUs();
        int32_t code = QVNS_ERROR_LOST;
        if (IsUsable(slot) && now < end) {
            Job job = {};
            job.kind = JobClose;
            code = RunThroughQueue(&slot, job, ToSeconds(end - now));
        }
        if (code != QV_ERROR_NONE) result = QVNS_ERROR_LOST;
    }
    return result;
}

// Each worker closes its camera. One whose call does not return stays behind.
bool EndThreads(uint64_t end)
{
    Ending = true;
    Seam.Signal();
    Seam.Rouse();
    while (ThreadsRunning() > 0 && Seam.NowUs() < end) Seam.Wait(end);
    return ThreadsRunning() == 0;
}

} // namespace

void qvns_init_start(QvnsStart* start)
{
    if (start != nullptr) *start = {QVNS_THREADS, nullptr, nullptr, nullptr};
}

int32_t qvns_start(const QvnsStart* start)
{
    QvnsStart wanted;
    qvns_init_start(&wanted);
    if (start != nullptr) wanted = *start;
    if (wanted.Mode != QVNS_THREADS && wanted.Mode != QVNS_CALLER) return QVNS_ERROR_ARGUMENT;
    Seam.Lock();
    const bool left = ThreadsRunning() > 0;
    Seam.Unlock();
    // A worker that was left behind would go on with the new layer's cameras.
    if (Started || left) return QVNS_ERROR_BUSY;
    if (!FillLibrary(wanted.Find, wanted.Context)) return QVNS_ERROR_LIBRARY;
    if (wanted.Mode == QVNS_THREADS) {
        UseThreads(wanted.Seconds);
    } else {
        UseCaller(wanted.Seconds);
        SetCallerStep(StepAnyCamera);
    }
    ResetSlots();
    Ending = false;
    if (!StartWatchThread()) return QVNS_ERROR_NO_THREAD;
    Started = true;
    return QV_ERROR_NONE;
}

int32_t qvns_stop(double seconds)
{
    if (!Started) return QVNS_ERROR_NOT_STARTED;
    Seam.Lock();
    const uint64_t end = UsFromNow(seconds > 0.0 ? seconds : UsualStopSeconds);
    for (Slot& slot : Slots) {
        if (IsUsable(slot)) BreakOff(&slot);
    }
    int32_t code = Seam.threads ? QV_ERROR_NONE : CloseAll(end);
    if (!EndThreads(end)) code = QVNS_ERROR_LOST;
    if (code == QV_ERROR_NONE) ResetSlots();
    Started = false;
    Seam.Unlock();
    return code;
}

void qvns_idle(double seconds)
{
    if (!Started) return;
    Seam.Lock();
    const uint64_t end = UsFromNow(seconds);
    while (Seam.NowUs() < end) Seam.Wait(end);
    Seam.Unlock();
}

void qvns_watch(void)
{
    if (!Started) return;
    Seam.Lock();
    WatchAll();
    Seam.Unlock();
}
