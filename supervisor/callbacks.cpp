// The library's reports tell how far a frame is; they are also where a worker looks after
// what must not wait for the end of an exposure.
#include "supervisor/callbacks.h"

#include <cstdlib>
#include <cstring>

#include "supervisor/cooling.h"
#include "supervisor/frame.h"
#include "supervisor/pattern.h"
#include "supervisor/shared.h"
#include "supervisor/work.h"
#include "supervisor/worker.h"

namespace {

// As long before its end the camera is left alone.
constexpr double QuietSeconds = 1.0;

enum ReportKind : int32_t { NothingNew, PatternBegins, PatternLoaded, ReadoutBegins };

// Building and loading a pattern report under captions of their own.
ReportKind KindOf(const char* text)
{
    if (text == nullptr) return NothingNew;
    if (strncmp(text, "Image", 5) == 0) return ReadoutBegins;
    return strncmp(text, "Load", 4) == 0 ? PatternLoaded : PatternBegins;
}

// With the lock held: the pattern is in the camera, and its file is free for the others.
void TakePattern(Slot* slot)
{
    Seam.Unlock();
    const Pattern pattern = ReadPattern(*slot);
    Seam.Lock();
    slot->pattern = pattern;
    ReleaseShared(slot);
}

void NoteReadout(Slot* slot)
{
    if (slot->frame.stage == StageLoad) TakePattern(slot);
    // A pattern that could not be built shows here, before the read's own result hides it.
    slot->frame.loadError = Library.Status(slot->camera);
    BeginReading(slot);
}

// With the lock held.
void NoteReport(Slot* slot, ReportKind kind, int32_t percent)
{
    // A call that did not return in time has come back: the pattern file may be another's.
    if (slot->state == QVNS_CAMERA_LOST) {
        if (kind != PatternBegins) return;
        TakeShared(slot);
        ChangeWork(slot, QVNS_WORK_LOAD, UsualSeconds(QVNS_WORK_OPEN));
        return;
    }
    if (kind == PatternLoaded) slot->patternLoaded = true;
    slot->hostExposed = slot->hostExposed || slot->runsHost;
    switch (slot->frame.stage) {
    case StageNone: return;
    case StageLoad:
        if (kind == NothingNew && percent == 100 && slot->patternLoaded) {
            TakePattern(slot);
            BeginExposing(slot);
        }
        break;
    case StageExpose: break;
    case StageRead:
        if (kind == NothingNew) NotePercent(slot, percent);
        return;
    }
    if (kind == ReadoutBegins && TellsReadout(*slot)) NoteReadout(slot);
}

} // namespace

void OnProgress(const char* text, int32_t percent, int32_t camera)
{
    Slot* const slot = FindSlot(camera);
    Seam.Lock();
    NoteReport(slot, KindOf(text), percent);
    const bool tells = slot->open.Progress != nullptr && !HasOption(*slot, QV_OPTION_SILENT) &&
                       slot->state != QVNS_CAMERA_LOST;
    Seam.Unlock();
    if (tells) slot->open.Progress(camera, text, percent, slot->open.Context);
}

void OnExposure(const char* text, int32_t camera)
{
    Slot* const slot = FindSlot(camera);
    Seam.Lock();
    if (slot->frame.stage == StageLoad) {
        TakePattern(slot);
        BeginExposing(slot);
    }
    const bool lost = slot->state == QVNS_CAMERA_LOST;
    // An exposure that the host takes by itself is known by its report alone.
    const bool isHosts = slot->runsHost && text != nullptr;
    const double left = isHosts ? strtod(text, nullptr) : ExposureLeft(*slot);
    slot->hostExposed = slot->hostExposed || slot->runsHost;
    if (slot->frame.breakWanted) {
        Library.BrkFlg(camera);
    } else if (!lost && left >= QuietSeconds) {
        ServeTemperature(slot);
    }
    if (!Seam.threads) ServeOthers(slot);
    Seam.Unlock();
    if (slot->open.Countdown != nullptr && !lost) {
        slot->open.Countdown(camera, left, slot->open.Context);
    }
}
