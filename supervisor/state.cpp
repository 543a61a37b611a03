// What a camera does, told at any time.
#include <algorithm>
#include <cstdio>

#include "supervisor/exposure.h"
#include "supervisor/frame.h"
#include "supervisor/queue.h"
#include "supervisor/work.h"

namespace {

// The parts of a frame that are still ahead, the one that runs with what is left of it.
double FrameLeft(const Slot& slot)
{
    const Frame& frame = slot.frame;
    if (!IsUnderWay(frame)) return 0.0;
    const QvnsDuration& duration = frame.duration;
    const uint64_t now = Seam.NowUs();
    const double passed = ToSeconds(now - std::min(now, slot.work.sinceUs));
    switch (frame.stage) {
    case StageLoad:
        return std::max(duration.Load - passed, 0.0) + duration.Exposure + duration.Readout;
    case StageExpose:
        if (frame.breakUs != 0) return duration.Readout;
        return std::max(duration.Exposure - passed, 0.0) + duration.Readout;
    case StageRead: return std::max(duration.Readout - passed, 0.0);
    default: return duration.Total;
    }
}

void TellWork(const Slot& slot, QvnsState* state)
{
    const uint64_t now = Seam.NowUs();
    state->Work = slot.work.kind;
    uint64_t since = slot.work.sinceUs;
    uint64_t expected = slot.work.expectedUs;
    if (slot.frame.step == FrameInTrigger && slot.state == QVNS_CAMERA_OPEN) {
        state->Work = QVNS_WORK_TRIGGER;
        since = slot.frame.triggerUs;
        expected = ToUs(slot.frame.request.TriggerLimit);
    }
    if (state->Work == QVNS_WORK_NONE) return;
    state->WorkSeconds = ToSeconds(now - std::min(now, since));
    state->WorkExpected = expected == Never ? 0.0 : ToSeconds(expected);
    state->OverTime = slot.work.overTime ? 1 : 0;
}

void TellFrame(const Slot& slot, QvnsState* state)
{
    const Frame& frame = slot.frame;
    state->Frame = frame.state;
    state->FrameNumber = frame.state != QVNS_FRAME_NONE ? frame.number : 0;
    state->Ready = frame.state == QVNS_FRAME_READY ? 1 : 0;
    state->FrameResult = frame.state >= QVNS_FRAME_READY ? frame.result : QV_ERROR_NONE;
    state->Percent = frame.percent;
    state->Elapsed = ExposureElapsed(slot);
    state->Left = FrameLeft(slot);
    state->Expected = frame.duration.Total;
}

} // namespace

int32_t qvns_state(int32_t camera, QvnsState* state)
{
    const Slot* const slot = FindSlot(camera);
    if (slot == nullptr || state == nullptr) return QVNS_ERROR_ARGUMENT;
    if (!Started) return QVNS_ERROR_NOT_STARTED;
    Seam.Lock();
    *state = {};
    state->Camera = slot->state;
    TellFrame(*slot, state);
    TellWork(*slot, state);
    state->OverTimes = slot->overTimes;
    state->Queued = WaitingJobs(*slot) + (slot->frame.step == FrameQueued ? 1 : 0);
    state->Recoveries = slot->recoveries;
    state->Failures = slot->failures;
    state->LastError = slot->lastError;
    state->Serial = slot->serial;
    snprintf(state->Wait, sizeof state->Wait, "%s", slot->wait);
    Seam.Unlock();
    return QV_ERROR_NONE;
}
