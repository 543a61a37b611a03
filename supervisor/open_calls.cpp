// The host's calls that open and close cameras.
#include "supervisor/exposure.h"
#include "supervisor/pattern.h"
#include "supervisor/queue.h"
#include "supervisor/work.h"
#include "supervisor/worker.h"

namespace {

constexpr int32_t UsualLink = -1;
constexpr int32_t UsbPlatforms[] = {29, 48, 61, 200, 205, 300, 400, 450};
constexpr double UsualRecoverEvery = 2.0, LeastRecoverEvery = 0.1;

int32_t UsualInterface(int32_t platform)
{
    if (platform == QV_PLATFORM_DEMO) return QV_INTERFACE_PRINTER_PORT;
    for (const int32_t usb : UsbPlatforms) {
        if (usb == platform) return QV_INTERFACE_USB;
    }
    return QV_INTERFACE_PCI_CARD;
}

// With the lock held: the slot as it is ahead of an open.
void PrepareSlot(Slot* slot, int32_t camera, const QvnsOpen& open)
{
    slot->camera = camera;
    slot->open = open;
    if (open.Config.InterfaceType == UsualLink) {
        slot->open.Config.InterfaceType = UsualInterface(open.Config.Platform);
    }
    const bool often = !(open.RecoverEvery >= LeastRecoverEvery); // or no number
    if (often)
        slot->open.RecoverEvery = open.RecoverEvery > 0.0 ? LeastRecoverEvery : UsualRecoverEvery;
    slot->options = static_cast<uint32_t>(open.Config.Activity);
    slot->serial = -1;
    slot->wait[0] = '\0';
    slot->overTimes = slot->recoveries = slot->failures = 0;
    slot->lastError = QV_ERROR_NONE;
    slot->frame.state = QVNS_FRAME_NONE;
    slot->state = QVNS_CAMERA_OPENING;
}

int32_t OpenSlot(int32_t camera, const QvnsOpen& open)
{
    Slot* const slot = FindSlot(camera);
    if (slot->state == QVNS_CAMERA_LOST) return QVNS_ERROR_LOST;
    if (slot->state != QVNS_CAMERA_CLOSED) return QVNS_ERROR_ALREADY_OPEN;
    slot->camera = camera;
    if (!EnsureWorker(slot)) return QVNS_ERROR_NO_THREAD;
    PrepareSlot(slot, camera, open);
    Job job = {};
    job.kind = JobOpen;
    const int32_t code = RunThroughQueue(slot, job, open.Limit);
    // Had it not begun, there is nothing to close.
    const bool late = code == QVNS_ERROR_TIME || code == QVNS_ERROR_BUSY;
    if (late && slot->state == QVNS_CAMERA_OPENING && slot->work.kind == QVNS_WORK_NONE &&
        !slot->stepping) {
        slot->state = QVNS_CAMERA_CLOSED;
    }
    return code;
}

// Attaches to a camera as it is and looks at its number; with another one closes it again.
int32_t OpenIfSerial(int32_t camera, int32_t serial, const QvnsOpen& open)
{
    QvnsOpen attached = open;
    attached.Attach = 1;
    const int32_t code = qvns_open(camera, &attached);
    if (code != QV_ERROR_NONE) return code;
    QvnsState state = {};
    qvns_state(camera, &state);
    if (state.Serial == serial && open.Attach != 0) return code;
    const int32_t closed = qvns_close(camera, open.Limit);
    if (closed != QV_ERROR_NONE) return closed;
    return state.Serial == serial ? qvns_open(camera, &open) : QVNS_ERROR_SERIAL;
}

} // namespace

void qvns_init_open(QvnsOpen* open)
{
    if (open == nullptr) return;
    *open = {};
    QV_InitCfg(&open->Config);
    open->Config.ShutterHisteresys = -1;
    open->Config.InterfaceType = UsualLink;
    open->AutoRecover = 1;
    open->RecoverEvery = UsualRecoverEvery;
}

int32_t qvns_open(int32_t camera, const QvnsOpen* open)
{
    if (open == nullptr || FindSlot(camera) == nullptr) return QVNS_ERROR_ARGUMENT;
    if (!Started) return QVNS_ERROR_NOT_STARTED;
    Seam.Lock();
    const int32_t code = OpenSlot(camera, *open);
    Seam.Unlock();
    return code;
}

int32_t qvns_open_serial(int32_t serial, const QvnsOpen* open, int32_t* camera)
{
    if (open == nullptr || camera == nullptr || serial < 0) return QVNS_ERROR_ARGUMENT;
    if (!Started) return QVNS_ERROR_NOT_STARTED;
    for (int32_t number = 0; number < QV_CAMERAS; ++number) {
        if (OpenIfSerial(number, serial, *open) != QV_ERROR_NONE) continue;
        *camera = number;
        return QV_ERROR_NONE;
    }
    return QVNS_ERROR_SERIAL;
}

int32_t qvns_close(int32_t camera, double limit)
{
    Seam.Lock();
    Slot* slot = nullptr;
    int32_t code = LookUp(camera, &slot);
    if (code == QV_ERROR_NONE) {
        BreakOff(slot);
        Job job = {};
        job.kind = JobClose;
        code = RunThroughQueue(slot, job, limit);
    }
    Seam.Unlock();
    return code;
}

int32_t qvns_set_path(const char* path)
{
    if (path == nullptr) return QVNS_ERROR_ARGUMENT;
    if (!Started) return QVNS_ERROR_NOT_STARTED;
    if (!SetFolder(path)) return QVNS_ERROR_ARGUMENT;
    Library.SetPathName(path);
    return QV_ERROR_NONE;
}
