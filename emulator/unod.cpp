// uNOD and uNOD_II on the bus: registers of a byte, a counter in two neighbours, and a
// sequencer of the camera's own that goes by counters instead of a pattern.
//
// A frame is read in lines of binned rows. The line ahead of the first row, and four
// words ahead of the first column of every line, come out of the pipeline before there
// is a pixel in it. The camera sends the last lines of those that it reads: all of a
// window, all but the one without a row of a full frame.
#include "emulator/bus_state.h"
#include "emulator/world.h"

namespace {

constexpr uint16_t FlatRegisters = 0x100;
constexpr uint16_t StreamPrefix = 0xFFE2;
constexpr uint16_t Selection = 0xFFF0;
constexpr uint32_t Pipeline = 4;

enum Register : uint32_t {
    ReadRows = 2,
    Binning = 4,
    ColumnsAhead = 5,
    RowsAhead = 9,
    RowsBehind = 11,
    Control = 13,
    FrontEnd = 14,
    Version = 22,
    ExposureTime = 23,
    LineWords = 27,
    SentLines = 29,
    ResetAll = 31,
    Input = 60,
    Cooler = 62,
    TemperatureLow = 64,
    TemperatureHigh = 65,
};

// Control.
constexpr uint16_t MemoryData = 0x01;
constexpr uint16_t MemoryClock = 0x02;
constexpr uint16_t MemorySelect = 0x10;
constexpr uint16_t StartExposure = 0x20;
constexpr uint16_t MemoryOut = 0x40;

constexpr uint16_t CoolerOn = 0x01;
constexpr uint16_t TriggerSeen = 0x10;

constexpr uint16_t FrontEndLatch = 0x04;
constexpr uint16_t FrontEndClock = 0x08;
constexpr uint16_t FrontEndData = 0x10;
constexpr uint32_t FrontEndBits = 11;

int64_t Counter(const EmuBusState& camera, uint32_t first)
{
    return camera.registers[first] | camera.registers[first + 1] << 8;
}

struct Geometry {
    int64_t binX, binY, firstColumn, firstRow, skippedLines;
};

// Dark rows stand ahead of the image and, as many, behind it.
Geometry GeometryOf(const EmuBusState& camera)
{
    Geometry g{};
    g.binX = camera.registers[Binning] >> 4;
    g.binY = camera.registers[Binning] & 0x0F;
    if (g.binX == 0) g.binX = 1;
    if (g.binY == 0) g.binY = 1;
    const int64_t read = Counter(camera, ReadRows);
    const int64_t ahead = Counter(camera, RowsAhead);
    const int64_t all = ahead + read - g.binY + Counter(camera, RowsBehind);
    const int64_t dark = (all - camera.setup.chip.rows) / 2;
    g.firstRow = ahead - dark;
    g.firstColumn = Counter(camera, ColumnsAhead) - camera.setup.chip.leading;
    g.skippedLines = read / g.binY - Counter(camera, SentLines);
    return g;
}

uint32_t Charge(const EmuBusState& camera, int64_t column, int64_t row)
{
    const EmuChip& chip = camera.setup.chip;
    if (column < 0 || row < 0 || column >= chip.columns || row >= chip.rows) return 0;
    return chip.scene(static_cast<uint32_t>(column), static_cast<uint32_t>(row));
}

uint16_t Binned(const EmuBusState& camera, const Geometry& g, int64_t line, int64_t word)
{
    if (!camera.exposed || line < 1 || word < Pipeline) return 0;
    uint64_t sum = 0;
    for (int64_t y = 0; y < g.binY; ++y) {
        for (int64_t x = 0; x < g.binX; ++x) {
            sum += Charge(camera, g.firstColumn + (word - Pipeline) * g.binX + x,
                          g.firstRow + (line - 1) * g.binY + y);
        }
    }
    return static_cast<uint16_t>(sum > 0xFFFF ? 0xFFFF : sum);
}

bool MakePixel(EmuBusState* camera, uint16_t* pixel)
{
    if (camera->row >= Counter(*camera, SentLines) || Counter(*camera, LineWords) == 0) {
        camera->exposed = false;
        return false;
    }
    const Geometry g = GeometryOf(*camera);
    *pixel = Binned(*camera, g, g.skippedLines + camera->row, camera->column);
    ++camera->stream.ticks;
    if (++camera->column >= Counter(*camera, LineWords)) {
        camera->column = 0;
        ++camera->row;
    }
    return true;
}

// In 100 ns, on 71 in 10 microseconds. What is left of the frame before is not sent.
void Expose(EmuBusState* camera)
{
    camera->stream.on = false;
    const int64_t low = Counter(*camera, ExposureTime);
    const int64_t units = low | Counter(*camera, ExposureTime + 2) << 16;
    if (units == 0) return;
    const int64_t time = camera->setup.platform == 71 ? units * 10 : units / 10;
    camera->exposureEnds = EmuNow() + static_cast<uint64_t>(time);
    EmuLight(camera);
}

void WriteControl(EmuBusState* camera, uint16_t before, uint16_t now)
{
    if (camera->setup.platform == 71) {
        EmuEepromLines(&camera->eeprom, (now & MemorySelect) != 0, (now & MemoryClock) != 0,
                       (now & MemoryData) != 0);
    }
    if (now & ~before & StartExposure) Expose(camera);
}

void WriteFrontEnd(EmuBusState* camera, uint16_t before, uint16_t now)
{
    if (now & ~before & FrontEndClock) EmuShiftIn(&camera->gain, (now & FrontEndData) != 0);
    if (!(now & ~before & FrontEndLatch)) return;
    if (camera->gain.count == FrontEndBits) {
        camera->gainWords[camera->gain.bits >> 8 & 7u] = camera->gain.bits & 0xFFu;
    }
    camera->gain = {};
}

void WriteCooler(EmuBusState* camera, uint16_t before, uint16_t now)
{
    EmuDriveLines(camera, before, now);
    EmuDriveCooler(camera, camera->driveCode, (now & CoolerOn) != 0);
}

void Address(EmuBusState* camera, uint16_t address)
{
    camera->address = address;
    camera->linkTakes = address == StreamPrefix;
    if (address >= Selection) camera->selected = address == Selection + camera->setup.unit;
}

void Data(EmuBusState* camera, uint16_t word)
{
    const uint32_t reg = camera->address;
    if (reg == ResetAll) {
        EmuBusReset(camera);
        return;
    }
    if (!camera->selected || reg >= FlatRegisters) return;
    const uint16_t before = camera->registers[reg];
    const uint16_t now = word & 0xFFu;
    camera->registers[reg] = now;
    switch (reg) {
    case Control: WriteControl(camera, before, now); break;
    case FrontEnd: WriteFrontEnd(camera, before, now); break;
    case Cooler: WriteCooler(camera, before, now); break;
    default: break;
    }
}

// The high byte of a temperature belongs to the low one that was read before.
uint16_t Read(EmuBusState* camera)
{
    const uint32_t reg = camera->address;
    if (reg >= FlatRegisters) return 0xFFFF;
    const uint16_t word = camera->registers[reg];
    switch (reg) {
    case Version: return camera->setup.version;
    case TemperatureLow:
        camera->conversion = EmuConvertTemperature(*camera);
        return camera->conversion & 0xFFu;
    case TemperatureHigh: return camera->conversion >> 8;
    case Input:
        return static_cast<uint16_t>((word & ~TriggerSeen) | (camera->trigger ? TriggerSeen : 0));
    case Control:
        return static_cast<uint16_t>((word & ~MemoryOut) | (camera->eeprom.out ? MemoryOut : 0));
    default: return word;
    }
}

void Stream(EmuBusState* camera)
{
    if (!camera->linkTakes) return;
    camera->linkTakes = false;
    camera->row = 0;
    camera->column = 0;
    EmuBeginStream(camera, MakePixel, 0);
}

void Trigger(EmuBusState*) {}

} // namespace

const EmuBusDialect EmuUnodBus = {Address, Data, Read, Stream, Trigger};
