#include "supervisor/opening.h"

#include "supervisor/callbacks.h"
#include "supervisor/cooling.h"
#include "supervisor/link.h"
#include "supervisor/pattern.h"
#include "supervisor/queue.h"
#include "supervisor/readings.h"
#include "supervisor/settings.h"
#include "supervisor/shared.h"
#include "supervisor/work.h"

namespace {

void CallOpen(const Slot& slot)
{
    CameraConfig config = slot.open.Config;
    const int32_t attach = slot.open.Attach;
    config.PciIndex = slot.camera;
    config.Activity = static_cast<int32_t>(slot.options & ~KeptOptions);
    if (config.ShutterHisteresys >= 0) {
        Library.OpenByConfig(&config, attach, OnExposure, OnProgress);
        return;
    }
    Library.InitOptions(&config, slot.camera);
    Library.Open(config.Platform, config.CCD, config.InterfaceAddress, config.InterfaceType, attach,
                 slot.camera, static_cast<uint32_t>(config.Activity), OnExposure, OnProgress);
}

struct Definitions {
    CcdDefinition ccd;
    PlatformDefinition platform;
    int32_t maxValue;
    uint32_t mark;
    Pattern pattern;
};

void ReadDefinitions(const Slot& slot, Definitions* definitions)
{
    Library.GetCCDdata(&definitions->ccd, slot.camera);
    Library.GetHPdata(&definitions->platform, slot.camera);
    definitions->maxValue = Library.MaxNumbers(slot.camera);
    definitions->pattern = ReadPattern(slot);
    if (Library.IsOn(slot.camera) != 0) definitions->mark = ReadMark(slot);
}

void TakeDefinitions(Slot* slot, const Definitions& definitions)
{
    slot->ccd = definitions.ccd;
    slot->platform = definitions.platform;
    slot->maxValue = definitions.maxValue;
    slot->pattern = definitions.pattern;
    slot->mark = definitions.mark;
    slot->definitionHash = HashDefinitions(slot->ccd, slot->platform);
}

// Opens the library's camera and tells its code. One that is open with a pattern that could
// not be built is of no use, and is closed again.
int32_t OpenLibrary(Slot* slot)
{
    HoldBinning(slot, 1, 1);
    TakeShared(slot);
    slot->patternLoaded = false;
    BeginWork(slot, QVNS_WORK_OPEN, UsualSeconds(QVNS_WORK_OPEN));
    CallOpen(*slot);
    Definitions definitions = {};
    ReadDefinitions(*slot, &definitions);
    const bool isOn = Library.IsOn(slot->camera) != 0;
    int32_t code = Library.Status(slot->camera);
    // Not every platform looks whether there is a camera at the end of its cable.
    const bool silent = !isOn || definitions.mark == NobodyThere;
    if (silent && code == QV_ERROR_NONE) code = QV_ERROR_CAMERA_NOT_FOUND;
    if (isOn && code != QV_ERROR_NONE) Library.Close(slot->camera);
    const bool alive = EndWork(slot);
    TakeDefinitions(slot, definitions);
    if (alive && code == QV_ERROR_NONE) NoteBinning(*slot, 1, 1);
    LeaveBinning(slot);
    ReleaseShared(slot);
    return alive ? code : QVNS_ERROR_LOST;
}

int32_t CloseLibrary(Slot* slot)
{
    TakeShared(slot);
    BeginWork(slot, QVNS_WORK_CLOSE, UsualSeconds(QVNS_WORK_CLOSE));
    Library.Close(slot->camera);
    const bool alive = EndWork(slot);
    ReleaseShared(slot);
    return alive ? QV_ERROR_NONE : QVNS_ERROR_LOST;
}

int32_t AskSerial(Slot* slot, int32_t* serial)
{
    BeginWork(slot, QVNS_WORK_MEMORY, UsualSeconds(QVNS_WORK_MEMORY));
    *serial = Library.GetSerNum(slot->camera);
    return EndWork(slot) ? QV_ERROR_NONE : QVNS_ERROR_LOST;
}

void ResetGeometry(Slot* slot)
{
    slot->hbin = slot->vbin = 1;
    slot->built = {false, 0, 0, 0, 0, 1, 1};
}

void ForgetCamera(Slot* slot)
{
    if (slot->frame.readers == 0) {
        Seam.Release(slot->frame.pixels);
        slot->frame.pixels = nullptr;
        slot->frame.room = 0;
    }
    if (slot->frame.state < QVNS_FRAME_FAILED) slot->frame.state = QVNS_FRAME_NONE;
    slot->frame.step = FrameIdle;
    slot->frame.stage = StageNone;
    LeaveBinning(slot);
    ForgetReadings(slot);
    slot->state = QVNS_CAMERA_CLOSED;
    DropJobs(slot, QVNS_ERROR_NOT_OPEN);
}

// A camera that has been opened is known by its serial number.
int32_t CheckSerial(Slot* slot)
{
    int32_t serial = -1;
    const int32_t code = AskSerial(slot, &serial);
    if (code != QV_ERROR_NONE || serial == slot->serial) return code;
    return CloseLibrary(slot) == QV_ERROR_NONE ? QVNS_ERROR_SERIAL : QVNS_ERROR_LOST;
}

int32_t OpenAgain(Slot* slot)
{
    const int32_t hbin = slot->hbin, vbin = slot->vbin;
    int32_t code = OpenLibrary(slot);
    if (code == QV_ERROR_NONE) code = CheckSerial(slot);
    if (code != QV_ERROR_NONE) return code;
    ResetGeometry(slot);
    code = RestoreSettings(slot, hbin, vbin);
    // Another attempt begins with the same settings.
    slot->hbin = hbin;
    slot->vbin = vbin;
    return code;
}

} // namespace

int32_t RunOpen(Slot* slot, const Job& job)
{
    int32_t code = OpenLibrary(slot);
    if (code == QV_ERROR_NONE) code = AskSerial(slot, &slot->serial);
    if (code == QVNS_ERROR_LOST) return code;
    // Nobody waits for the camera any more.
    if (code == QV_ERROR_NONE && job.state == JobLeft) {
        CloseLibrary(slot);
        code = QVNS_ERROR_TIME;
    }
    if (code != QV_ERROR_NONE) {
        if (slot->state != QVNS_CAMERA_LOST) ForgetCamera(slot);
        return code;
    }
    ResetGeometry(slot);
    slot->gain = 0;
    slot->fan = -1.0;
    slot->cooling = {};
    qvns_init_cooling(&slot->cooling.wanted);
    slot->backgroundUs = Seam.NowUs();
    slot->state = QVNS_CAMERA_OPEN;
    return QV_ERROR_NONE;
}

int32_t RunClose(Slot* slot, const Job&)
{
    const int32_t code = CloseLibrary(slot);
    if (code == QV_ERROR_NONE) ForgetCamera(slot);
    return code;
}

int32_t RunRecover(Slot* slot, const Job&)
{
    return Recover(slot);
}

int32_t Recover(Slot* slot)
{
    slot->state = QVNS_CAMERA_RECOVERING;
    HoldBinning(slot, 1, 1);
    Seam.Signal();
    int32_t code = CloseLibrary(slot);
    if (code == QV_ERROR_NONE) code = OpenAgain(slot);
    if (slot->state == QVNS_CAMERA_LOST) return QVNS_ERROR_LOST;
    const uint64_t now = Seam.NowUs();
    if (code == QV_ERROR_NONE) {
        ++slot->recoveries;
        slot->cooling.failuresInARow = 0;
        slot->backgroundUs = now;
        slot->state = QVNS_CAMERA_OPEN;
        return code;
    }
    slot->lastError = code;
    slot->recoverUs = UsFromNow(slot->open.RecoverEvery);
    slot->state = QVNS_CAMERA_FAULT;
    return code;
}

void CloseLost(Slot* slot)
{
    TakeShared(slot);
    BeginWork(slot, QVNS_WORK_CLOSE, UsualSeconds(QVNS_WORK_CLOSE));
    Library.Close(slot->camera);
    EndWork(slot);
    ReleaseShared(slot);
    ForgetCamera(slot);
}

// Loading the definitions anew clears it and changes nothing else.
void ClearStatus(Slot* slot)
{
    if (Library.Status(slot->camera) == QV_ERROR_NONE) return;
    TakeShared(slot);
    BeginWork(slot, QVNS_WORK_SETTING, UsualSeconds(QVNS_WORK_SETTING));
    Library.OpenPar(slot->open.Config.Platform, slot->open.Config.CCD, slot->camera);
    EndWork(slot);
    ReleaseShared(slot);
}
