#include "supervisor/slot.h"

Slot Slots[QV_CAMERAS];
bool Started;
bool Ending;

Slot* FindSlot(int32_t camera)
{
    return camera >= 0 && camera < QV_CAMERAS ? &Slots[camera] : nullptr;
}

int32_t LookUp(int32_t camera, Slot** slot)
{
    *slot = FindSlot(camera);
    if (*slot == nullptr) return QVNS_ERROR_ARGUMENT;
    if (!Started) return QVNS_ERROR_NOT_STARTED;
    if ((*slot)->state == QVNS_CAMERA_LOST) return QVNS_ERROR_LOST;
    return IsUsable(**slot) ? QV_ERROR_NONE : QVNS_ERROR_NOT_OPEN;
}

bool IsUsable(const Slot& slot)
{
    return slot.state == QVNS_CAMERA_OPEN || slot.state == QVNS_CAMERA_FAULT ||
           slot.state == QVNS_CAMERA_RECOVERING;
}

bool HasOption(const Slot& slot, uint32_t bits)
{
    return (slot.options & bits) != 0;
}

bool NeedsClear(const Slot& slot)
{
    return slot.charged || HasOption(slot, QV_OPTION_KEEP_CLEAN);
}

void NoteFailure(Slot* slot, int32_t code)
{
    ++slot->failures;
    slot->lastError = code;
}

void EnterFault(Slot* slot)
{
    slot->state = QVNS_CAMERA_FAULT;
    slot->recoverUs = Seam.NowUs();
    slot->cooling.stableUs = 0;
}
