// The wheel itself: its motor, its marks.
#include "emulator/wheel.h"

#include <cmath>

#include "emulator/wheel_state.h"

double EmuWheelTurn(const EmuWheel& wheel)
{
    return wheel.setup.kind == EmuPhaseWheel ? 8000.0 / 9 : 200.0;
}

double EmuWheelPositionSteps(const EmuWheel& wheel)
{
    return EmuWheelTurn(wheel) / wheel.setup.positions;
}

EmuWheel EmuMakeWheel(const EmuWheelSetup& setup)
{
    EmuWheel wheel = {};
    wheel.setup = setup;
    if (setup.positions == 0) wheel.setup.positions = setup.kind == EmuNibbleWheel ? 6 : 8;
    wheel.steps = setup.start;
    return wheel;
}

void EmuWheelStep(EmuWheel* wheel, bool up)
{
    wheel->steps += up ? 1 : -1;
}

// One winding's current is turned round from step to step.
void EmuWheelWindings(EmuWheel* wheel, uint32_t lines, bool power)
{
    constexpr int32_t no = -1;
    const int32_t stepOf[16] = {no, no, no, no, no, no, no, no, no, no, 0, 3, no, no, 1, 2};
    const int32_t step = stepOf[lines & 15u];
    if (!power || step == no) return;
    switch ((step - wheel->steps) & 3) {
    case 1: EmuWheelStep(wheel, true); break;
    case 3: EmuWheelStep(wheel, false); break;
    case 2: ++wheel->lost; break;
    default: break;
    }
}

bool EmuWheelZero(EmuWheel* wheel)
{
    const double turn = EmuWheelTurn(*wheel);
    const auto steps = static_cast<double>(wheel->steps);
    const double place = steps - std::floor(steps / turn) * turn;
    const bool lit = ++wheel->readings % wheel->setup.markReads == 0;
    return lit && !wheel->noMark && place < wheel->setup.markWidth;
}

bool EmuWheelAtPosition(const EmuWheel& wheel)
{
    const double spacing = EmuWheelPositionSteps(wheel);
    const auto steps = static_cast<double>(wheel.steps);
    const double off = steps - std::round(steps / spacing) * spacing;
    return std::fabs(off) <= wheel.setup.positionWidth;
}
