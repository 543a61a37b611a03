#include "supervisor/settings.h"

#include "supervisor/cooling.h"
#include "supervisor/opening.h"
#include "supervisor/pattern.h"
#include "supervisor/shared.h"
#include "supervisor/work.h"

namespace {

void BeginSetting(Slot* slot, int32_t work = QVNS_WORK_SETTING)
{
    BeginWork(slot, work, UsualSeconds(work));
}

int32_t EndSetting(Slot* slot, int32_t code)
{
    if (!EndWork(slot)) return QVNS_ERROR_LOST;
    if (code != QV_ERROR_NONE) NoteFailure(slot, code);
    return code;
}

// Most settings store no status.
int32_t SetGain(Slot* slot, int32_t index)
{
    ClearStatus(slot);
    BeginSetting(slot);
    Library.SetGain(index, slot->camera);
    const int32_t code = EndSetting(slot, Library.Status(slot->camera));
    if (code == QV_ERROR_NONE) slot->gain = index;
    return code;
}

int32_t SetFan(Slot* slot, double percent)
{
    BeginSetting(slot);
    Library.SetFanSpeed(percent, slot->camera);
    const int32_t code = EndSetting(slot, QV_ERROR_NONE);
    if (code == QV_ERROR_NONE) slot->fan = percent;
    return code;
}

} // namespace

int32_t BinCamera(Slot* slot, int32_t horizontal, int32_t vertical)
{
    const bool held = slot->holdsBinning;
    HoldBinning(slot, horizontal, vertical);
    ClearStatus(slot);
    TakeShared(slot);
    slot->patternLoaded = false;
    BeginWork(slot, QVNS_WORK_LOAD, UsualSeconds(QVNS_WORK_OPEN));
    Library.SetBinning(horizontal, vertical, slot->camera);
    int32_t code = Library.Status(slot->camera);
    const Pattern pattern = ReadPattern(*slot);
    const bool alive = EndWork(slot);
    if (alive && code == QV_ERROR_NONE) NoteBinning(*slot, horizontal, vertical);
    if (!held) LeaveBinning(slot);
    ReleaseShared(slot);
    if (!alive) return QVNS_ERROR_LOST;
    if (code == QV_ERROR_NONE && HasPattern(*slot) && !slot->patternLoaded) {
        code = QV_ERROR_PATTERN_FILE;
    }
    if (code != QV_ERROR_NONE) {
        slot->built.hbin = 0; // of unknown state: the next frame builds anew
        return code;
    }
    slot->pattern = pattern;
    slot->hbin = horizontal;
    slot->vbin = vertical;
    slot->built = {false, 0, 0, 0, 0, horizontal, vertical};
    return code;
}

int32_t RunBinning(Slot* slot, const Job& job)
{
    const int32_t code = BinCamera(slot, job.first, job.second);
    if (code != QV_ERROR_NONE && code != QVNS_ERROR_LOST) NoteFailure(slot, code);
    return code;
}

int32_t RunGain(Slot* slot, const Job& job)
{
    return SetGain(slot, job.first);
}

int32_t RunFan(Slot* slot, const Job& job)
{
    return SetFan(slot, job.value);
}

int32_t RunClear(Slot* slot, const Job&)
{
    BeginSetting(slot, QVNS_WORK_CLEAR);
    Library.ClearCCD(slot->camera);
    return EndSetting(slot, QV_ERROR_NONE);
}

int32_t RunFilter(Slot* slot, const Job& job)
{
    ClearStatus(slot);
    BeginSetting(slot, QVNS_WORK_WHEEL);
    Library.SetFilter(job.first, slot->camera);
    return EndSetting(slot, Library.Status(slot->camera));
}

int32_t RunFindFilters(Slot* slot, const Job&)
{
    ClearStatus(slot);
    BeginSetting(slot, QVNS_WORK_WHEEL);
    Library.CalibFW(slot->camera);
    return EndSetting(slot, Library.Status(slot->camera));
}

int32_t RestoreSettings(Slot* slot, int32_t hbin, int32_t vbin)
{
    int32_t code = QV_ERROR_NONE;
    if (!MayHoldBinning(*slot, hbin, vbin)) {
        slot->built.hbin = 0; // the next frame does it
    } else if (hbin != 1 || vbin != 1) {
        code = BinCamera(slot, hbin, vbin);
    }
    if (code == QV_ERROR_NONE && slot->gain != 0) code = SetGain(slot, slot->gain);
    if (code == QV_ERROR_NONE && slot->fan >= 0.0) code = SetFan(slot, slot->fan);
    return code == QV_ERROR_NONE ? RestoreCooling(slot) : code;
}
