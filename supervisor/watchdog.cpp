// Looks whether work takes longer than it should, breaks it where the link allows that, and
// gives cameras up whose call does not come back.
#include <algorithm>
#include <cstdio>

#include "supervisor/frame.h"
#include "supervisor/readings.h"
#include "supervisor/shared.h"
#include "supervisor/work.h"
#include "supervisor/worker.h"

namespace {

constexpr uint64_t LookEveryUs = 50 * UsPerMs;
constexpr uint64_t SlackUs = UsPerSecond;

void GiveUp(Slot* slot)
{
    slot->state = QVNS_CAMERA_LOST;
    NoteFailure(slot, QVNS_ERROR_LOST);
    if (IsUnderWay(slot->frame)) {
        slot->frame.state = QVNS_FRAME_FAILED;
        slot->frame.result = QVNS_ERROR_LOST;
    }
    slot->cooling.stableUs = 0;
    ReleaseShared(slot);
    LeaveBinning(slot);
    LeaveReadings(slot);
    Seam.Signal();
}

void NoteOverTime(Slot* slot)
{
    slot->work.overTime = true;
    ++slot->overTimes;
    NoteWait(slot, slot->work.kind);
    if (slot->work.kind != QVNS_WORK_EXPOSE) return;
    slot->frame.overTime = true;
    slot->frame.breakWanted = CanBreak(*slot);
}

// By the clock, where the camera does not tell.
bool IsExposed(const Slot& slot)
{
    if (slot.work.kind != QVNS_WORK_EXPOSE || slot.frame.stage != StageExpose) return false;
    return !TellsReadout(slot) && Seam.NowUs() >= slot.work.sinceUs + slot.work.expectedUs;
}

void Watch(Slot* slot)
{
    const Work& work = slot->work;
    if (work.kind == QVNS_WORK_NONE) return;
    if (IsExposed(*slot)) BeginReading(slot);
    const uint64_t now = Seam.NowUs();
    const uint64_t passed = now - std::min(now, work.sinceUs);
    const uint64_t late = passed - std::min(passed, work.expectedUs);
    if (slot->state == QVNS_CAMERA_LOST) {
        // What it took when it came back, and hangs in again.
        if (late > work.patienceUs) ReleaseShared(slot);
        return;
    }
    if (late > SlackUs + work.expectedUs / 2 && !work.overTime) NoteOverTime(slot);
    if (late > work.patienceUs) {
        GiveUp(slot);
        return;
    }
    // The start of an exposure forgets a break that came before it.
    if (work.kind == QVNS_WORK_EXPOSE && slot->frame.breakWanted) Library.BrkFlg(slot->camera);
}

} // namespace

void NoteWait(Slot* slot, int32_t work)
{
    snprintf(slot->wait, sizeof slot->wait, "%s", WaitName(*slot, work));
}

void WatchAll()
{
    for (Slot& slot : Slots) Watch(&slot);
}

void WatchThread(int32_t)
{
    const auto unlock = Seam.Unlock; // a new start may fill the seam behind ThreadEnds
    Seam.Lock();
    // Workers may still wait for what a call that does not return holds.
    while (!Ending || ThreadsRunning() > 1) {
        WatchAll();
        Seam.Rest(Seam.NowUs() + LookEveryUs);
    }
    ThreadEnds();
    unlock();
}
