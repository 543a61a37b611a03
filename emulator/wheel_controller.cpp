// Wheels with a controller of their own.
#include <cmath>

#include "emulator/wheel_state.h"
#include "emulator/world.h"

namespace {

constexpr size_t MostKept = 4096; // commands
constexpr uint32_t NibblePositions = 6;
constexpr uint32_t NibbleHome = 7;
constexpr uint8_t ByteHome = 0, ByteGo = 0x20, ByteOperation = 0xE0;
constexpr uint64_t UsPerMs = 1000;

// To a place in the turn, the short way, as long as that takes.
void MoveTo(EmuWheel* wheel, double place)
{
    const double turn = EmuWheelTurn(*wheel);
    const auto steps = static_cast<double>(wheel->steps);
    const double way = std::remainder(place - steps, turn);
    const double ms = std::fabs(way) / EmuWheelPositionSteps(*wheel) * wheel->setup.moveMs;
    wheel->steps = std::llround(steps + way);
    wheel->busyUntil = EmuNow() + static_cast<uint64_t>(std::llround(ms)) * UsPerMs;
}

// Whether the controller hears a command.
bool Hears(EmuWheel* wheel, uint8_t command)
{
    if (!EmuWheelReady(*wheel) || wheel->commands.size() == MostKept) {
        ++wheel->unheard;
        return false;
    }
    wheel->commands.push_back(command);
    return true;
}

} // namespace

void EmuWheelGo(EmuWheel* wheel, uint32_t position)
{
    const bool exists = position >= 1 && position <= wheel->setup.positions;
    if (exists) MoveTo(wheel, (position - 1) * EmuWheelPositionSteps(*wheel));
}

void EmuWheelHome(EmuWheel* wheel)
{
    if (!wheel->noMark) MoveTo(wheel, 0.0);
}

void EmuWheelNibble(EmuWheel* wheel, uint32_t before, uint32_t now)
{
    if (now == before || now == 0 || !Hears(wheel, static_cast<uint8_t>(now))) return;
    if (now <= NibblePositions) EmuWheelGo(wheel, now);
    if (now == NibbleHome) EmuWheelHome(wheel);
}

void EmuWheelByte(EmuWheel* wheel, uint8_t byte)
{
    if (!Hears(wheel, byte)) return;
    if (byte == ByteHome) EmuWheelHome(wheel);
    if ((byte & ByteOperation) == ByteGo) EmuWheelGo(wheel, (byte & ~ByteOperation & 0xFFu) + 1u);
}

bool EmuWheelBusy(const EmuWheel& wheel)
{
    return !wheel.dead && (wheel.stuck || EmuNow() < wheel.busyUntil);
}

bool EmuWheelReady(const EmuWheel& wheel)
{
    return !wheel.dead && !EmuWheelBusy(wheel);
}
