#include "supervisor/shared.h"

namespace {

Slot* Owner;

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
