// Exposure counters, and what lets light through.
#include "emulator/bus_state.h"
#include "emulator/world.h"

namespace {

constexpr int32_t Any = -1;

// How a pair of counter registers tells a time.
enum Counter : int32_t {
    Prescaled,  // 10 ms units less one, divided by a prescaler; or units of 200 ns
    TenMicro,   // 32 bits of 10 microseconds
    PixelUnits, // 32 bits of the sensor's own unit
};

struct CounterRow {
    int32_t platform, sensor;
    uint32_t low, high; // registers
    uint32_t starts;    // the one whose write starts the counter
    Counter counter;
    uint32_t shutReg; // the shutter stays shut while `shut` is set there and `held` is not
    uint16_t shut, held;
};

// clang-format off
const CounterRow Rows[] = {
    {25, Any, 4, 5, 5, TenMicro,   6, 0x0400, 0x0100},
    {44, Any, 5, 6, 6, TenMicro,   3, 0,      0},
    {47, Any, 5, 6, 6, TenMicro,   3, 0,      0},
    {30, 500, 5, 6, 6, PixelUnits, 0, 0,      0},
    {30, 506, 5, 6, 6, PixelUnits, 0, 0,      0},
    {60, Any, 5, 6, 5, Prescaled,  6, 0x0040, 0},
    {Any, Any, 5, 6, 5, Prescaled, 0, 0,      0},
};
// clang-format on

const CounterRow& RowOf(const EmuBusState& camera)
{
    const CounterRow* row = Rows;
    while ((row->platform != Any && row->platform != camera.setup.platform) ||
           (row->sensor != Any && row->sensor != camera.setup.sensor)) {
        ++row;
    }
    return *row;
}

// Microseconds. Prescaler 5 with a count that 10 ms do not exceed is the fine clock;
// so is the count below 0.
uint64_t PrescaledTime(uint16_t count, uint16_t prescaler)
{
    const uint64_t counts = count + uint64_t{1};
    const bool fine = prescaler == 5 && (counts <= 50000 || counts == 65536);
    if (fine) return counts / 5 + 1;
    return counts * 10000 * (prescaler == 0 ? 1u : prescaler);
}

uint64_t TimeOf(const EmuBusState& camera, const CounterRow& row)
{
    const uint16_t low = camera.registers[row.low];
    const uint16_t high = camera.registers[row.high];
    if (row.counter == Prescaled) return PrescaledTime(low, high & 0x0Fu);
    const uint64_t units = low | static_cast<uint32_t>(high) << 16;
    return row.counter == TenMicro ? units * 10 : units;
}

bool IsShut(const EmuBusState& camera, const CounterRow& row)
{
    const uint16_t lines = camera.registers[row.shutReg];
    return (lines & row.shut) != 0 && (lines & row.held) == 0;
}

// A time written on 47 goes to one of two timers while they are loaded: true if it
// starts nothing.
bool LoadsTimer(EmuBusState* camera, const CounterRow& row)
{
    constexpr uint16_t delayTimer = 0x1000;
    if (camera->setup.platform != 47 || !camera->timers.loads) return false;
    if ((camera->registers[3] & delayTimer) != 0) {
        camera->timers.delay = TimeOf(*camera, row) / 100; // units of 100 nanoseconds
    } else {
        camera->timers.length = TimeOf(*camera, row);
        camera->timers.loads = false;
    }
    return true;
}

} // namespace

void EmuLight(EmuBusState* camera)
{
    EmuFinishSection(camera);
    EmuExpose(&camera->sensor);
    camera->exposed = true;
    ++camera->exposures;
}

void EmuExposureWritten(EmuBusState* camera, uint32_t reg)
{
    const CounterRow& row = RowOf(*camera);
    if (reg != row.starts || LoadsTimer(camera, row)) return;
    const uint64_t time = TimeOf(*camera, row);
    if (time == 0) return;
    camera->exposureEnds = EmuNow() + time;
    // Through a shutter that is held open light falls anyway.
    if (!camera->held && !IsShut(*camera, row)) EmuLight(camera);
}

uint64_t EmuExposeArmed(EmuBusState* camera)
{
    const EmuArmedTimes& timers = camera->timers;
    camera->exposureEnds = EmuNow() + timers.length;
    if (timers.length != 0 && !camera->held) EmuLight(camera);
    return camera->exposureEnds + timers.delay;
}

// A section that was started has moved the rows by now.
void EmuHoldShutter(EmuBusState* camera, bool open)
{
    if (camera->held == open) return;
    EmuFinishSection(camera);
    EmuGatherLight(camera);
    camera->held = open;
    camera->litSince = EmuNow();
    if (open) ++camera->exposures;
}

void EmuGatherLight(EmuBusState* camera)
{
    if (!camera->held) return;
    EmuShine(&camera->sensor, static_cast<double>(EmuNow() - camera->litSince));
    camera->litSince = EmuNow();
}

bool EmuExposureRuns(const EmuBusState& camera)
{
    return EmuNow() < camera.exposureEnds;
}
