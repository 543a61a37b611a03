#include "tests/accessories/accessories.h"

#include <cstdio>

#include "emulator/traffic.h"

namespace {

std::vector<uint32_t> Sleeps;

// "sleep 5", or "sleep 5 x 3" for three of them.
void TakeLine(const char* line)
{
    uint32_t ms = 0, times = 1;
    if (sscanf(line, "sleep %u x %u", &ms, &times) < 1) return;
    Sleeps.insert(Sleeps.end(), times, ms);
}

} // namespace

void LeaveError(int32_t camera)
{
    const uint16_t heads[4] = {};
    QV_OpenArray(heads, 40, 255, 0, 0, camera, nullptr, nullptr);
    ASSERT_EQ(QV_Status(camera), OtherError);
}

std::vector<uint32_t> SleepsOf(void (*call)())
{
    Sleeps.clear();
    EmuRecordTo(TakeLine);
    call();
    EmuRecordTo(nullptr);
    return Sleeps;
}
