// The host's calls for exposures.
#include "supervisor/exposure.h"

#include <cstring>

#include "supervisor/duration.h"
#include "supervisor/frame.h"
#include "supervisor/place.h"
#include "supervisor/queue.h"
#include "supervisor/work.h"

namespace {

constexpr double LongestExposure = 1e6; // seconds: more than the library's clock can count
constexpr double LongerSeconds = 1.0;

bool IsSensible(const QvnsExposure& exposure)
{
    const bool timed = exposure.Seconds >= 0.0 && exposure.Seconds <= LongestExposure;
    const bool bins = exposure.HorBinning >= 1 && exposure.VerBinning >= 1;
    const bool keeps = exposure.HorBinning == 0 && exposure.VerBinning == 0;
    return timed && (bins || keeps) && exposure.TriggerLimit >= 0.0;
}

int32_t QueueFrame(Slot* slot, const QvnsExposure& exposure)
{
    Frame& frame = slot->frame;
    if (frame.step != FrameIdle || frame.readers != 0) return QVNS_ERROR_BUSY;
    if (slot->state == QVNS_CAMERA_FAULT && slot->open.AutoRecover == 0) return QVNS_ERROR_FAULT;
    if (!LiesOnSensor(*slot, exposure)) return QVNS_ERROR_ARGUMENT;
    if (WantsTrigger(*slot, exposure) && !HasTriggerInput(*slot)) return QVNS_ERROR_ARGUMENT;
    const Geometry geometry = WantedGeometry(*slot, exposure);
    if (!HasRoom(&frame, BufferPixels(*slot, geometry))) return QVNS_ERROR_NO_MEMORY;
    frame.request = exposure;
    frame.duration = ExpectedDuration(*slot, exposure);
    frame.metadata = {};
    frame.geometry = geometry;
    frame.result = QV_ERROR_NONE;
    frame.percent = 0;
    frame.breakWanted = frame.overTime = false;
    frame.startUs = Seam.NowUs();
    frame.exposeUs = frame.breakUs = 0;
    frame.order = ++slot->orders;
    frame.number = frame.number == UINT32_MAX ? 1 : frame.number + 1;
    frame.step = FrameQueued;
    frame.state = QVNS_FRAME_QUEUED;
    Seam.Signal();
    return QV_ERROR_NONE;
}

void AbortFrame(Slot* slot)
{
    Frame& frame = slot->frame;
    if (!IsUnderWay(frame)) return;
    frame.state = QVNS_FRAME_ABORTED;
    frame.result = QVNS_ERROR_ABORTED;
    if (frame.step == FrameQueued) frame.step = FrameIdle;
    const bool ahead = frame.stage == StageLoad || frame.stage == StageExpose;
    if (ahead) frame.breakWanted = CanBreak(*slot);
    if (frame.stage == StageExpose && frame.breakWanted) Library.BrkFlg(slot->camera);
}

// Finds frame `number`, 0 being the last one.
int32_t LookUpFrame(int32_t camera, uint32_t number, Slot** slot)
{
    const int32_t code = LookUp(camera, slot);
    if (code != QV_ERROR_NONE) return code;
    const Frame& frame = (*slot)->frame;
    const bool there = number == 0 || number == frame.number;
    return there && frame.state != QVNS_FRAME_NONE ? QV_ERROR_NONE : QVNS_ERROR_NO_FRAME;
}

int32_t LookUpReady(int32_t camera, uint32_t number, Slot** slot)
{
    const int32_t code = LookUpFrame(camera, number, slot);
    if (code != QV_ERROR_NONE) return code;
    return (*slot)->frame.state == QVNS_FRAME_READY ? QV_ERROR_NONE : QVNS_ERROR_NO_FRAME;
}

double UsualWait(const Slot& slot)
{
    const QvnsDuration& duration = slot.frame.duration;
    return duration.Total + duration.Patience + slot.frame.request.TriggerLimit + LongerSeconds;
}

// With the lock held, which is given up for the copy.
void CopyPixels(Frame* frame, uint16_t* pixels, uint64_t count)
{
    const uint16_t* const from = frame->pixels;
    ++frame->readers;
    Seam.Unlock();
    memcpy(pixels, from, count * sizeof(uint16_t));
    Seam.Lock();
    --frame->readers;
}

} // namespace

void BreakOff(Slot* slot)
{
    AbortFrame(slot);
    AbortJobs(slot);
    Seam.Signal();
}

bool IsIdle(const Slot& slot)
{
    return slot.frame.step == FrameIdle && slot.work.kind == QVNS_WORK_NONE;
}

void qvns_init_exposure(QvnsExposure* exposure)
{
    if (exposure == nullptr) return;
    *exposure = {};
    exposure->Light = 1;
}

int32_t qvns_expected(int32_t camera, const QvnsExposure* exposure, QvnsDuration* duration)
{
    if (exposure == nullptr || duration == nullptr || !IsSensible(*exposure)) {
        return QVNS_ERROR_ARGUMENT;
    }
    Seam.Lock();
    Slot* slot = nullptr;
    int32_t code = LookUp(camera, &slot);
    if (code == QV_ERROR_NONE && !LiesOnSensor(*slot, *exposure)) code = QVNS_ERROR_ARGUMENT;
    if (code == QV_ERROR_NONE) *duration = ExpectedDuration(*slot, *exposure);
    Seam.Unlock();
    return code;
}

int32_t qvns_start_exposure(int32_t camera, const QvnsExposure* exposure, uint32_t* frame)
{
    if (exposure == nullptr || !IsSensible(*exposure)) return QVNS_ERROR_ARGUMENT;
    Seam.Lock();
    Slot* slot = nullptr;
    int32_t code = LookUp(camera, &slot);
    if (code == QV_ERROR_NONE) code = QueueFrame(slot, *exposure);
    if (code == QV_ERROR_NONE && frame != nullptr) *frame = slot->frame.number;
    Seam.Unlock();
    return code;
}

int32_t qvns_ready(int32_t camera, uint32_t frame)
{
    Seam.Lock();
    Slot* slot = nullptr;
    const bool there = LookUpFrame(camera, frame, &slot) == QV_ERROR_NONE;
    const bool ready = there && slot->frame.state == QVNS_FRAME_READY;
    Seam.Unlock();
    return ready ? 1 : 0;
}

int32_t qvns_wait(int32_t camera, uint32_t frame, double limit)
{
    Seam.Lock();
    Slot* slot = nullptr;
    int32_t code = LookUpFrame(camera, frame, &slot);
    if (code == QV_ERROR_NONE && frame == 0) frame = slot->frame.number;
    const uint64_t end =
        code == QV_ERROR_NONE ? UsFromNow(limit > 0.0 ? limit : UsualWait(*slot)) : 0;
    while (code == QV_ERROR_NONE && IsUnderWay(slot->frame)) {
        if (Seam.NowUs() >= end) {
            code = QVNS_ERROR_TIME;
            break;
        }
        Seam.Wait(end);
        code = LookUpFrame(camera, frame, &slot);
    }
    if (code == QV_ERROR_NONE) code = slot->frame.result;
    Seam.Unlock();
    return code;
}

int32_t qvns_finish(int32_t camera)
{
    Seam.Lock();
    Slot* slot = nullptr;
    int32_t code = LookUp(camera, &slot);
    if (code == QV_ERROR_NONE) {
        Frame& frame = slot->frame;
        const bool runs = frame.stage == StageExpose && IsUnderWay(frame);
        if (runs && CanBreak(*slot)) {
            if (!frame.breakWanted) frame.breakUs = Seam.NowUs();
            frame.breakWanted = true;
            Library.BrkFlg(camera);
        } else {
            code = QVNS_ERROR_NO_FRAME;
        }
    }
    Seam.Unlock();
    return code;
}

int32_t qvns_abort(int32_t camera, double seconds)
{
    Seam.Lock();
    Slot* slot = nullptr;
    int32_t code = LookUp(camera, &slot);
    if (code == QV_ERROR_NONE) BreakOff(slot);
    const uint64_t end = UsFromNow(seconds);
    while (code == QV_ERROR_NONE && seconds > 0.0 && !IsIdle(*slot)) {
        if (Seam.NowUs() >= end) {
            code = QVNS_ERROR_TIME;
            break;
        }
        Seam.Wait(end);
        code = LookUp(camera, &slot);
    }
    Seam.Unlock();
    return code;
}

int32_t qvns_fetch(int32_t camera, uint32_t frame, uint16_t* pixels, uint64_t room,
                   QvnsMetadata* metadata)
{
    Seam.Lock();
    Slot* slot = nullptr;
    int32_t code = LookUpReady(camera, frame, &slot);
    if (code == QV_ERROR_NONE) {
        const QvnsMetadata& about = slot->frame.metadata;
        const uint64_t count =
            static_cast<uint64_t>(about.Width) * static_cast<uint64_t>(about.Height);
        if (metadata != nullptr) *metadata = about;
        if (pixels != nullptr && room < count) code = QVNS_ERROR_ROOM;
        if (pixels != nullptr && room >= count) CopyPixels(&slot->frame, pixels, count);
    }
    Seam.Unlock();
    return code;
}

int32_t qvns_borrow(int32_t camera, uint32_t frame, const uint16_t** pixels, QvnsMetadata* metadata)
{
    if (pixels == nullptr) return QVNS_ERROR_ARGUMENT;
    Seam.Lock();
    Slot* slot = nullptr;
    const int32_t code = LookUpReady(camera, frame, &slot);
    if (code == QV_ERROR_NONE) {
        ++slot->frame.readers;
        ++slot->frame.borrowed;
        *pixels = slot->frame.pixels;
        if (metadata != nullptr) *metadata = slot->frame.metadata;
    }
    Seam.Unlock();
    return code;
}

int32_t qvns_return(int32_t camera)
{
    if (camera < 0 || camera >= QV_CAMERAS) return QVNS_ERROR_ARGUMENT;
    Seam.Lock();
    Frame& frame = FindSlot(camera)->frame;
    const bool lent = frame.borrowed > 0;
    frame.readers -= lent ? 1 : 0;
    frame.borrowed -= lent ? 1 : 0;
    Seam.Unlock();
    return lent ? QV_ERROR_NONE : QVNS_ERROR_NO_FRAME;
}
