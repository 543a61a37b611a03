#include "supervisor/work.h"

namespace {

// Estimates are not exact: what may pass before work counts as over time.
constexpr double SlackPart = 0.5;
constexpr double SlackSeconds = 1.0;

struct UsualTime {
    int32_t work;
    double expected;
    double patience; // at least
};

constexpr double LinkPatience = 10.0;

// A stepper wheel takes up to 1200 steps of 20 ms to find its zero.
constexpr UsualTime UsualTimes[] = {
    {QVNS_WORK_OPEN, 5.0, 60.0},       {QVNS_WORK_CLOSE, 1.0, 30.0},
    {QVNS_WORK_CLEAR, 1.0, 10.0},      {QVNS_WORK_TRIGGER, 0.1, 10.0},
    {QVNS_WORK_TEMPERATURE, 1.0, 5.0}, {QVNS_WORK_SETTING, 1.0, 10.0},
    {QVNS_WORK_WHEEL, 30.0, 30.0},     {QVNS_WORK_MEMORY, 1.0, 10.0},
};

struct LinkTime {
    int32_t platform;
    double seconds;
};

// Cameras whose replies are waited for by the device library, up to its time-out; more than
// one reply may be missing in one call.
constexpr LinkTime LinkTimes[] = {
    {28, 150.0},  {29, 30.0},   {48, 30.0},  {61, 20.0},   {200, 30.0},
    {205, 150.0}, {300, 120.0}, {400, 70.0}, {450, 120.0},
};

double LinkSeconds(const Slot& slot)
{
    if (slot.open.Config.InterfaceType != QV_INTERFACE_USB) return LinkPatience;
    for (const LinkTime& row : LinkTimes) {
        if (row.platform == slot.open.Config.Platform) return row.seconds;
    }
    return LinkPatience;
}

} // namespace

double UsualSeconds(int32_t work)
{
    for (const UsualTime& row : UsualTimes) {
        if (row.work == work) return row.expected;
    }
    return 1.0;
}

double Patience(const Slot& slot, int32_t work)
{
    const double link = LinkSeconds(slot);
    for (const UsualTime& row : UsualTimes) {
        if (row.work == work && row.patience > link) return row.patience;
    }
    return link;
}

double LongestSeconds(const Slot& slot, int32_t work, double expectedSeconds)
{
    return expectedSeconds * (1.0 + SlackPart) + SlackSeconds + Patience(slot, work);
}

void ChangeWork(Slot* slot, int32_t kind, double expectedSeconds)
{
    const uint64_t slack = ToUs(expectedSeconds * SlackPart + SlackSeconds);
    slot->work = {kind, Seam.NowUs(), ToUs(expectedSeconds), slack + ToUs(Patience(*slot, kind)),
                  false};
}

void BeginWork(Slot* slot, int32_t kind, double expectedSeconds)
{
    ChangeWork(slot, kind, expectedSeconds);
    Seam.Unlock();
}

bool EndWork(Slot* slot)
{
    Seam.Lock();
    slot->work = {};
    return slot->state != QVNS_CAMERA_LOST;
}
