#include "emulator/objective.h"

#include <algorithm>

#include "emulator/world.h"

namespace {

constexpr size_t MostKept = 4096; // runs
constexpr uint8_t Motors = 0x07, Forth = 0x10, Back = 0x20;

void Travel(EmuObjective* objective, uint64_t us)
{
    const uint8_t lines = objective->lines;
    const bool driven = ((lines & Forth) != 0) != ((lines & Back) != 0);
    if (!driven) return;
    const int64_t way = static_cast<int64_t>(us) * ((lines & Forth) != 0 ? 1 : -1);
    for (uint32_t motor = 0; motor < 3; ++motor) {
        if ((lines >> motor & 1) == 0) continue;
        int64_t& place = objective->places[motor];
        place = std::clamp<int64_t>(place + way, 0, EmuObjectiveTravelUs);
    }
}

} // namespace

void EmuObjectivePort(EmuObjective* objective, uint8_t output, uint8_t lines)
{
    const uint64_t now = EmuNow();
    const uint64_t us = now - objective->since;
    if ((objective->lines & Motors) != 0 && objective->runs.size() < MostKept) {
        objective->runs.push_back({objective->lines, us});
    }
    Travel(objective, us);
    objective->output = output;
    objective->lines = lines & output;
    objective->since = now;
}
