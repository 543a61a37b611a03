// A filter wheel and an objective on the registers of a bus camera.
#include "emulator/bus_state.h"

namespace {

constexpr uint32_t Lines = 11;
constexpr uint32_t Power = 12;
constexpr uint32_t Lamp = 30; // of the zero sensor: its flicker begins anew
constexpr uint16_t PowerOn = 0x0040;
constexpr uint16_t Direction = 0x0400;
constexpr uint16_t StepPulse = 0x0800;
constexpr uint16_t Drive = 0x1000;
constexpr uint32_t Windings = 9; // the first of four bits
constexpr uint16_t Nibble = 0x000F;

constexpr uint32_t Status7 = 7;
constexpr uint16_t ZeroMark = 0x0002;
constexpr uint16_t Position = 0x0004;

constexpr uint32_t ObjectiveLines = 7, ObjectiveOutput = 8;

struct Place {
    bool isRegister; // a register that is read, or a status
    uint32_t number;
    uint16_t bit;
};

// Where the wires of a controller are.
struct Wiring {
    int32_t first, last; // platforms
    uint32_t nibble;     // register
    Place busy;
    uint32_t byte, output; // registers
    uint16_t strobe;       // of Lines
    Place ready;
};

// clang-format off
const Wiring Wirings[] = {
    // platforms  nibble  busy               byte  output  strobe  ready
    {22, 30,      11,     {false, 7, 0x02},  13,   14,     0x02,   {false, 7, 0x02}},
    {40, 47,      11,     {true,  7, 0x01},  7,    8,      0x01,   {false, 9, 0x01}},
    {60, 60,      1,      {false, 5, 0x08},  0,    0,      0,      {}},
};
// clang-format on

const Wiring* WiringOf(const EmuBusState& camera)
{
    for (const Wiring& wiring : Wirings) {
        const int32_t platform = camera.setup.platform;
        if (platform >= wiring.first && platform <= wiring.last) return &wiring;
    }
    return nullptr;
}

// A direction that comes with the pulse comes too late for it.
void StepLines(EmuBusState* camera, uint16_t before, uint16_t now)
{
    const bool moves = (camera->registers[Power] & PowerOn) != 0 && (now & Drive) != 0;
    if ((now & ~before & StepPulse) == 0) return;
    if (moves) {
        EmuWheelStep(&camera->wheel, (before & Direction) != 0);
    } else {
        ++camera->wheel.lost;
    }
}

// A controller takes the byte as its strobe goes down, from a port that is an output.
void ByteLines(EmuBusState* camera, const Wiring& wiring, uint16_t before, uint16_t now)
{
    const bool falls = (before & ~now & wiring.strobe) != 0;
    if (!falls || (camera->registers[wiring.output] & 0xFF) != 0xFF) return;
    EmuWheelByte(&camera->wheel, static_cast<uint8_t>(camera->registers[wiring.byte]));
}

void WheelLines(EmuBusState* camera, uint32_t reg, uint16_t before, uint16_t now)
{
    const Wiring* const wiring = WiringOf(*camera);
    EmuWheel* const wheel = &camera->wheel;
    if (wiring == nullptr) return;
    switch (wheel->setup.kind) {
    case EmuPhaseWheel:
        EmuWheelWindings(wheel, camera->registers[Lines] >> Windings,
                         (camera->registers[Power] & PowerOn) != 0);
        break;
    case EmuStepWheel:
        if (reg == Lines) StepLines(camera, before, now);
        if (reg == Lamp) wheel->readings = 0;
        break;
    case EmuNibbleWheel:
        if (reg == wiring->nibble) EmuWheelNibble(wheel, before & Nibble, now & Nibble);
        break;
    case EmuByteWheel:
        if (reg == Lines) ByteLines(camera, *wiring, before, now);
        break;
    default: break;
    }
}

bool Stands(const Place& place, bool isRegister, uint32_t number)
{
    return place.bit != 0 && place.isRegister == isRegister && place.number == number;
}

} // namespace

void EmuAccessoryLines(EmuBusState* camera, uint32_t reg, uint16_t before, uint16_t now)
{
    WheelLines(camera, reg, before, now);
    const bool port = reg == ObjectiveLines || reg == ObjectiveOutput;
    if (port && camera->objective.fitted) {
        EmuObjectivePort(&camera->objective,
                         static_cast<uint8_t>(camera->registers[ObjectiveOutput]),
                         static_cast<uint8_t>(camera->registers[ObjectiveLines]));
    }
}

uint16_t EmuWheelBits(EmuBusState* camera, bool isRegister, uint32_t number)
{
    const Wiring* const wiring = WiringOf(*camera);
    EmuWheel* const wheel = &camera->wheel;
    if (wiring == nullptr) return 0;
    switch (wheel->setup.kind) {
    case EmuPhaseWheel:
    case EmuStepWheel:
        if (isRegister || number != Status7) return 0;
        return static_cast<uint16_t>((EmuWheelZero(wheel) ? ZeroMark : 0) |
                                     (EmuWheelAtPosition(*wheel) ? Position : 0));
    case EmuNibbleWheel:
        return Stands(wiring->busy, isRegister, number) && EmuWheelBusy(*wheel) ? wiring->busy.bit
                                                                                : 0;
    case EmuByteWheel:
        return Stands(wiring->ready, isRegister, number) && EmuWheelReady(*wheel)
                   ? wiring->ready.bit
                   : 0;
    default: return 0;
    }
}
