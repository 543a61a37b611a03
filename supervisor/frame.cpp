#include "supervisor/frame.h"

#include <algorithm>
#include <cstring>

#include "supervisor/callbacks.h"
#include "supervisor/duration.h"
#include "supervisor/link.h"
#include "supervisor/metadata.h"
#include "supervisor/opening.h"
#include "supervisor/pattern.h"
#include "supervisor/place.h"
#include "supervisor/settings.h"
#include "supervisor/shared.h"
#include "supervisor/work.h"

namespace {

constexpr uint64_t TriggerPollUs = UsPerMs;
constexpr int32_t TarnU = 29; // announces the download ahead of the exposure
constexpr double LongestUnbrokenMs = 500.0;

// The trigger's input cannot be read there: these start by themselves when it comes. On 28 it can
// be read on the bus.
constexpr int32_t WithoutTrigger[] = {QV_PLATFORM_DEMO, 29, 48, 61, 200, 205, 400};
constexpr int32_t Tarn5 = 28;

bool IsPatternError(int32_t code)
{
    return code == QV_ERROR_PATTERN_OVERFLOW || code == QV_ERROR_PATTERN_MEMORY ||
           code == QV_ERROR_PATTERN_FILE;
}

// One that was broken off keeps its state, whatever the camera still does for it. Nobody waits
// for anything but the end.
void MoveTo(Frame* frame, int32_t state)
{
    if (IsUnderWay(*frame)) frame->state = state;
    if (!IsUnderWay(*frame)) Seam.Signal();
}

void FinishFrame(Slot* slot, int32_t code)
{
    Frame& frame = slot->frame;
    frame.step = FrameIdle;
    frame.stage = StageNone;
    frame.breakWanted = false;
    LeaveBinning(slot);
    if (!IsUnderWay(frame)) {
        Seam.Signal();
        return;
    }
    frame.result = code;
    if (code == QV_ERROR_NONE) {
        CompleteMetadata(slot);
        frame.percent = 100;
    }
    MoveTo(&frame, code == QV_ERROR_NONE ? QVNS_FRAME_READY : QVNS_FRAME_FAILED);
}

// A frame that failed for good; the link has to be looked after unless it is innocent.
void FailFrame(Slot* slot, int32_t code)
{
    FinishFrame(slot, code);
    NoteFailure(slot, code);
    const bool innocent = IsPatternError(code) || code == QV_ERROR_IMAGE_BUFFER || code < 0;
    if (!innocent) EnterFault(slot);
}

// The status of the read alone hides a pattern that could not be built or loaded.
int32_t FrameCode(const Slot& slot, int32_t status, bool loading)
{
    if (status != QV_ERROR_NONE) return status;
    if (loading && slot.frame.loadError != QV_ERROR_NONE) return slot.frame.loadError;
    if (loading && HasPattern(slot) && !slot.patternLoaded) return QV_ERROR_PATTERN_FILE;
    return slot.frame.overTime ? QVNS_ERROR_OVER_TIME : QV_ERROR_NONE;
}

// Where a dark frame leaves the exposure counter alone. A break would start it, and open the
// shutter for as long as was exposed until then, unless the counter is said to be worked from
// outside.
constexpr int32_t CountingLight[] = {22, 23, 24, 30, 40, 41, 42, 44, 47, 60, 80, 400};
constexpr int32_t CountingAlways[] = {500, 506}; // sensors

bool LightsWhenBroken(const Slot& slot)
{
    if (slot.frame.request.Light != 0 || HasOption(slot, QV_OPTION_EXTERNAL_EXPOSURE)) return false;
    for (const int32_t sensor : CountingAlways) {
        if (sensor == slot.open.Config.CCD) return false;
    }
    for (const int32_t platform : CountingLight) {
        if (platform == slot.open.Config.Platform) return true;
    }
    return false;
}

void CallRead(const QvnsExposure& request, uint16_t* pixels, int32_t camera)
{
    if (request.Width == 0) {
        Library.FGetCCD(request.Light, request.Seconds, pixels, camera);
    } else {
        Library.FGetWinCCD(request.Light, request.Seconds, request.X, request.Y, request.Width,
                           request.Height, pixels, camera);
    }
}

// Another camera may have told the library its own binning. Without a wait: what waits for it
// does so ahead of the frame, or in its trigger step.
int32_t TakeBinning(Slot* slot)
{
    const Geometry& geometry = slot->frame.geometry;
    if (!HoldBinning(slot, geometry.hbin, geometry.vbin)) return QV_ERROR_NONE;
    return BinCamera(slot, geometry.hbin, geometry.vbin);
}

void ExposeFrame(Slot* slot)
{
    Frame& frame = slot->frame;
    frame.step = FrameInCall;
    const int32_t binned = TakeBinning(slot);
    if (slot->state == QVNS_CAMERA_LOST) return;
    if (binned != QV_ERROR_NONE) {
        FailFrame(slot, binned);
        return;
    }
    const bool loading = !IsBuilt(*slot, frame.geometry);
    if (loading && HasPattern(*slot)) TakeShared(slot);
    if (!IsUnderWay(frame)) {
        ReleaseShared(slot);
        FinishFrame(slot, QVNS_ERROR_ABORTED);
        return;
    }
    slot->patternLoaded = false;
    slot->charged = true;
    frame.loadError = QV_ERROR_NONE;
    FillMetadata(slot);
    if (loading) {
        frame.stage = StageLoad;
        MoveTo(&frame, QVNS_FRAME_LOADING);
        ChangeWork(slot, QVNS_WORK_LOAD, frame.duration.Load);
        // Without a pattern nothing tells that the exposure begins.
        if (!HasPattern(*slot)) BeginExposing(slot);
    } else {
        BeginExposing(slot);
    }
    const bool staysShut = LightsWhenBroken(*slot);
    Seam.Unlock();
    if (staysShut) Library.SetMode(QV_OPTION_EXTERNAL_EXPOSURE, 1, slot->camera);
    CallRead(frame.request, frame.pixels, slot->camera);
    if (staysShut) Library.SetMode(QV_OPTION_EXTERNAL_EXPOSURE, 0, slot->camera);
    int32_t status = Library.Status(slot->camera);
    if (status == QV_ERROR_NONE && !LinkAnswers(*slot)) status = QV_ERROR_LINK_FAILURE;
    const bool alive = EndWork(slot);
    ReleaseShared(slot);
    if (!alive) return;
    const int32_t code = FrameCode(*slot, status, loading);
    // What the camera holds after a pattern that failed is the one before, or none.
    slot->built = frame.geometry;
    slot->charged = code != QV_ERROR_NONE || frame.breakWanted || LeavesRows(*slot, frame.geometry);
    if (loading && code != QV_ERROR_NONE) slot->built.hbin = 0;
    if (code == QV_ERROR_NONE) {
        FinishFrame(slot, code);
    } else {
        FailFrame(slot, code);
    }
}

// Some readouts leave pixels untouched: they must not be those of an earlier frame.
void ClearPixels(Frame* frame)
{
    Seam.Unlock();
    memset(frame->pixels, 0, frame->room * sizeof(uint16_t));
    Seam.Lock();
}

void ClearAhead(Slot* slot)
{
    if (!NeedsClear(*slot)) return;
    MoveTo(&slot->frame, QVNS_FRAME_CLEARING);
    BeginWork(slot, QVNS_WORK_CLEAR, slot->frame.duration.Clear);
    Library.ClearCCD(slot->camera);
    EndWork(slot);
}

// A full frame behind a binned window is built for the sensor's unbinned lines, and comes out
// sheared; a binning that is set builds it right.
bool WouldShear(const Slot& slot)
{
    const bool binned = slot.hbin > 1 || slot.vbin > 1;
    return binned && slot.built.isWindow && slot.frame.request.Width == 0;
}

int32_t BinAhead(Slot* slot)
{
    const QvnsExposure& request = slot->frame.request;
    const bool keeps = request.HorBinning == 0;
    const int32_t hbin = keeps ? slot->hbin : request.HorBinning;
    const int32_t vbin = keeps ? slot->vbin : request.VerBinning;
    const bool good = slot->built.hbin != 0 && !WouldShear(*slot);
    if (good && hbin == slot->hbin && vbin == slot->vbin) return QV_ERROR_NONE;
    MoveTo(&slot->frame, QVNS_FRAME_LOADING);
    return BinCamera(slot, hbin, vbin);
}

void EndTriggerWait(Slot* slot)
{
    slot->work = {};
    ++slot->overTimes;
    NoteWait(slot, QVNS_WORK_TRIGGER);
    NoteFailure(slot, QVNS_ERROR_OVER_TIME);
    FinishFrame(slot, QVNS_ERROR_OVER_TIME);
}

// Behind the trigger cameras that read with another binning may still be waited for.
bool AskTrigger(Slot* slot, uint64_t now)
{
    Frame& frame = slot->frame;
    BeginWork(slot, QVNS_WORK_TRIGGER, UsualSeconds(QVNS_WORK_TRIGGER));
    const bool triggered = Library.Trigger(0, slot->camera) == 1;
    if (!EndWork(slot) || !IsUnderWay(frame)) return true;
    frame.pollUs = Seam.NowUs() + TriggerPollUs;
    const double limit = frame.request.TriggerLimit;
    if (triggered) {
        frame.metadata.Triggered = 1;
        frame.pollUs = 0;
    } else if (limit > 0.0 && ToSeconds(now - frame.triggerUs) >= limit) {
        EndTriggerWait(slot);
    }
    return true;
}

} // namespace

bool WantsTrigger(const Slot& slot, const QvnsExposure& exposure)
{
    return exposure.Trigger != 0 || HasOption(slot, QV_OPTION_EXTERNAL_TRIGGER);
}

bool HasTriggerInput(const Slot& slot)
{
    const CameraConfig& config = slot.open.Config;
    for (const int32_t platform : WithoutTrigger) {
        if (platform == config.Platform) return false;
    }
    return config.Platform != Tarn5 || config.InterfaceType != QV_INTERFACE_USB;
}

bool IsUnderWay(const Frame& frame)
{
    return frame.state >= QVNS_FRAME_QUEUED && frame.state < QVNS_FRAME_READY;
}

// Behind a fault it waits for the recovery, where there will be one; and in the queue, where it
// can be broken off and temperatures go on, for cameras that read with another binning.
bool IsFrameDue(const Slot& slot)
{
    if (slot.state == QVNS_CAMERA_OPEN) {
        const Geometry wanted = WantedGeometry(slot, slot.frame.request);
        return MayHoldBinning(slot, wanted.hbin, wanted.vbin);
    }
    return slot.state == QVNS_CAMERA_FAULT && slot.open.AutoRecover == 0;
}

void BeginFrame(Slot* slot)
{
    Frame& frame = slot->frame;
    frame.step = FrameInCall;
    if (slot->state == QVNS_CAMERA_FAULT) {
        FailFrame(slot, QVNS_ERROR_FAULT);
        return;
    }
    const Geometry wanted = WantedGeometry(*slot, frame.request);
    HoldBinning(slot, wanted.hbin, wanted.vbin);
    frame.duration = ExpectedDuration(*slot, frame.request);
    frame.startUs = Seam.NowUs();
    ClearStatus(slot);
    int32_t code = BinAhead(slot);
    if (slot->state == QVNS_CAMERA_LOST) return;
    if (code == QV_ERROR_NONE) code = PlaceFrame(slot);
    if (code != QV_ERROR_NONE) {
        FailFrame(slot, code);
        return;
    }
    ClearPixels(&frame);
    if (IsUnderWay(frame)) ClearAhead(slot);
    if (slot->state == QVNS_CAMERA_LOST) return;
    if (!IsUnderWay(frame)) {
        FinishFrame(slot, QVNS_ERROR_ABORTED);
        return;
    }
    if (!WantsTrigger(*slot, frame.request)) {
        ExposeFrame(slot);
        return;
    }
    LeaveBinning(slot);
    frame.step = FrameInTrigger;
    frame.triggerUs = frame.pollUs = Seam.NowUs();
    MoveTo(&frame, QVNS_FRAME_TRIGGER);
}

bool TriggerStep(Slot* slot, uint64_t* dueUs)
{
    Frame& frame = slot->frame;
    if (!IsUnderWay(frame)) {
        FinishFrame(slot, QVNS_ERROR_ABORTED);
        return true;
    }
    if (slot->state != QVNS_CAMERA_OPEN) {
        FailFrame(slot, QVNS_ERROR_FAULT);
        return true;
    }
    const uint64_t now = Seam.NowUs();
    if (now < frame.pollUs) {
        *dueUs = std::min(*dueUs, frame.pollUs);
        return false;
    }
    frame.pollUs = now + TriggerPollUs;
    if (frame.metadata.Triggered == 0) return AskTrigger(slot, now);
    if (!MayHoldBinning(*slot, frame.geometry.hbin, frame.geometry.vbin)) return false;
    ExposeFrame(slot);
    return true;
}

void BeginExposing(Slot* slot)
{
    Frame& frame = slot->frame;
    frame.stage = StageExpose;
    frame.exposeUs = Seam.NowUs();
    frame.metadata.StartUnix = Seam.UnixSeconds();
    MoveTo(&frame, QVNS_FRAME_EXPOSING);
    ChangeWork(slot, QVNS_WORK_EXPOSE, frame.duration.Exposure);
}

bool TellsReadout(const Slot& slot)
{
    return slot.open.Config.Platform != TarnU;
}

void BeginReading(Slot* slot)
{
    Frame& frame = slot->frame;
    frame.stage = StageRead;
    frame.metadata.TemperatureEnd = LastTemperature(slot->cooling);
    MoveTo(&frame, QVNS_FRAME_READING);
    ChangeWork(slot, QVNS_WORK_READ, frame.duration.Readout);
}

void NotePercent(Slot* slot, int32_t percent)
{
    Frame& frame = slot->frame;
    frame.percent = std::clamp(percent, frame.percent, 100);
    if (percent > 0) MoveTo(&frame, QVNS_FRAME_DOWNLOADING);
}

// Whole milliseconds count.
bool CanBreak(const Slot& slot)
{
    const QvnsExposure& request = slot.frame.request;
    return request.Seconds * 1000.0 >= LongestUnbrokenMs + 1.0 && !AwaitsCounter(slot, request);
}

double ExposureElapsed(const Slot& slot)
{
    const Frame& frame = slot.frame;
    if (frame.stage == StageNone || frame.stage == StageLoad) return 0.0;
    const uint64_t end = frame.breakUs != 0 ? frame.breakUs : Seam.NowUs();
    const double passed = ToSeconds(end - std::min(end, frame.exposeUs));
    return std::min(passed, frame.request.Seconds);
}

double ExposureLeft(const Slot& slot)
{
    return slot.frame.request.Seconds - ExposureElapsed(slot);
}
