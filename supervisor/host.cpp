// What the host does by itself is found out afterwards, as far as the library tells.
#include "supervisor/host.h"

#include "supervisor/pattern.h"
#include "supervisor/settings.h"
#include "supervisor/shared.h"
#include "supervisor/work.h"

namespace {

struct Held {
    uint32_t options;
    int32_t gain, cooler;
    int32_t hbin, vbin;
    bool failed;
};

Held AskLibrary(int32_t camera)
{
    Held held = {};
    held.options = Library.GetMode(camera);
    held.gain = Library.GetGain(camera);
    held.cooler = Library.CoolerStatus(camera);
    held.failed = Library.Status(camera) != QV_ERROR_NONE;
    Library.GetBinning(&held.hbin, &held.vbin, camera);
    return held;
}

// A frame of the host's is the full one. Its pattern is not to be built then, at the cost of
// another camera's, and is read with the camera's own binning.
int32_t LoadFullFrame(Slot* slot)
{
    const bool tells = HoldBinning(slot, slot->hbin, slot->vbin);
    // A recovery beside a read with another binning has left it out.
    const bool leftOut = slot->built.hbin == 0;
    const bool loads = HasPattern(*slot) ? slot->built.isWindow : leftOut;
    return tells || loads ? BinCamera(slot, slot->hbin, slot->vbin) : QV_ERROR_NONE;
}

void TakeOver(Slot* slot, const Held& before, const Held& after)
{
    const uint32_t changed = (before.options ^ after.options) & ~KeptOptions;
    slot->options = (slot->options & ~changed) | (after.options & changed);
    slot->gain = after.gain;
    const bool binned = after.hbin != before.hbin || after.vbin != before.vbin;
    if (binned || slot->patternLoaded) slot->built.hbin = 0;
    const bool unseen = (after.options & QV_OPTION_SILENT) != 0;
    if (slot->hostExposed || unseen || after.failed) slot->charged = true;
    slot->cooling.hostCools = after.cooler != 0 && !slot->cooling.sent;
    slot->cooling.sendAgain = slot->cooling.sent;
}

} // namespace

// Its result is the host's own, and no failure of the camera.
int32_t RunHost(Slot* slot, const Job& job)
{
    const HostFunction function = job.function;
    void* const context = job.context;
    const double expected = job.value;
    const int32_t loaded = LoadFullFrame(slot);
    if (loaded != QV_ERROR_NONE) {
        LeaveBinning(slot);
        return loaded;
    }
    slot->patternLoaded = slot->hostExposed = false;
    slot->runsHost = true;
    BeginWork(slot, QVNS_WORK_HOST, expected);
    const Held before = AskLibrary(slot->camera);
    const int32_t code = function(slot->camera, context);
    const Held after = AskLibrary(slot->camera);
    if ((after.options & KeptOptions) != 0) Library.SetMode(KeptOptions, 0, slot->camera);
    const bool alive = EndWork(slot);
    slot->runsHost = false;
    if (!alive) return QVNS_ERROR_LOST;
    TakeOver(slot, before, after);
    LeaveBinning(slot);
    return code;
}
