// The fault plan: which call fails, from which occurrence on, once or for good.
#include <atomic>

#include "emulator/world.h"

namespace {

struct Fault {
    uint32_t at; // 0: never
    bool lasts;
    std::atomic<uint32_t> calls;
};
Fault Plan[EmuCallCount];

} // namespace

bool EmuFails(EmuCall call)
{
    Fault& fault = Plan[call];
    if (fault.at == 0) return false;
    const uint32_t occurrence = ++fault.calls;
    return fault.lasts ? occurrence >= fault.at : occurrence == fault.at;
}

bool EmuDeviceFails(EmuCall call)
{
    const bool any = EmuFails(EmuAnyCall);
    return EmuFails(call) || any;
}

void EmuFail(EmuCall call, uint32_t at, bool lasts)
{
    Plan[call].at = at;
    Plan[call].lasts = lasts;
    Plan[call].calls = 0;
}

uint32_t EmuCallsMet(EmuCall call)
{
    return Plan[call].calls;
}

void EmuResetFaults()
{
    for (int32_t call = 0; call < EmuCallCount; ++call) {
        EmuFail(static_cast<EmuCall>(call), 0, false);
    }
}
