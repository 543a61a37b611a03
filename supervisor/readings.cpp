#include "supervisor/readings.h"

namespace {

constexpr int32_t Listed = 8;

struct ReadingList {
    int32_t platform;
    const Slot* user; // reads now
    const Slot* last; // has read last
    bool foreign;     // the list is another camera's
};
ReadingList Lists[] = {{28, nullptr, nullptr, false},
                       {61, nullptr, nullptr, false},
                       {200, nullptr, nullptr, false},
                       {205, nullptr, nullptr, false}};

ReadingList* ListOf(const Slot& slot)
{
    for (ReadingList& list : Lists) {
        if (list.platform == slot.open.Config.Platform) return &list;
    }
    return nullptr;
}

} // namespace

bool TakeReadings(Slot* slot)
{
    ReadingList* const list = ListOf(*slot);
    if (list == nullptr) return true;
    if (list->user != nullptr && list->user != slot) return false;
    list->foreign = list->last != slot;
    list->user = list->last = slot;
    return true;
}

void FillReadings(const Slot& slot)
{
    const ReadingList* const list = ListOf(slot);
    if (list == nullptr || !list->foreign) return;
    for (int32_t reading = 1; reading < Listed; ++reading)
        Library.ReadTemp(QV_CELSIUS, slot.camera);
}

void LeaveReadings(Slot* slot)
{
    ReadingList* const list = ListOf(*slot);
    if (list != nullptr && list->user == slot) list->user = nullptr;
}

void ForgetReadings(Slot* slot)
{
    LeaveReadings(slot);
    ReadingList* const list = ListOf(*slot);
    if (list != nullptr && list->last == slot) list->last = nullptr;
}
