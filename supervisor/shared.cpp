#include "supervisor/shared.h"

namespace {

constexpr int32_t SharingPlatforms[] = {48, 300, 400, 450};

Slot* Owner; // of the pattern file

struct SharedBinning {
    int32_t hbin, vbin;
    bool changing; // the one camera that holds it is about to tell the library another
};
SharedBinning Binning;

bool SharesBinning(const Slot& slot)
{
    for (const int32_t platform : SharingPlatforms) {
        if (platform == slot.open.Config.Platform) return true;
    }
    return false;
}

bool IsHeldByOthers(const Slot* slot)
{
    for (const Slot& other : Slots) {
        if (&other != slot && other.holdsBinning) return true;
    }
    return false;
}

bool IsBinning(int32_t hbin, int32_t vbin)
{
    return !Binning.changing && Binning.hbin == hbin && Binning.vbin == vbin;
}

} // namespace

void TakeShared(Slot* slot)
{
    while (Owner != nullptr && Owner != slot) Seam.Wait(Seam.NowUs() + UsPerSecond);
    Owner = slot;
}

void ReleaseShared(Slot* slot)
{
    if (Owner != slot) return;
    Owner = nullptr;
    Seam.Signal();
}

bool MayHoldBinning(const Slot& slot, int32_t hbin, int32_t vbin)
{
    return !SharesBinning(slot) || !IsHeldByOthers(&slot) || IsBinning(hbin, vbin);
}

bool HoldBinning(Slot* slot, int32_t hbin, int32_t vbin)
{
    if (!SharesBinning(*slot)) return false;
    slot->holdsBinning = true;
    if (IsBinning(hbin, vbin)) return false;
    Binning.changing = true;
    return true;
}

void NoteBinning(const Slot& slot, int32_t hbin, int32_t vbin)
{
    if (!SharesBinning(slot)) return;
    Binning = {hbin, vbin, false};
    Seam.Signal();
}

void LeaveBinning(Slot* slot)
{
    if (!slot->holdsBinning) return;
    slot->holdsBinning = false;
    // It was given up on the way.
    if (Binning.changing && !IsHeldByOthers(slot)) Binning = {};
    Seam.Signal();
}
