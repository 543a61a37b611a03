#include "emulator/sensor.h"

#include <algorithm>

namespace {

void TakeRow(EmuSensor* sensor)
{
    const EmuChip& chip = sensor->chip;
    if (sensor->nextRow >= chip.rows) return;
    const size_t size = sensor->cells.size();
    for (uint32_t column = 0; column < chip.columns; ++column) {
        const size_t cell = (size_t{sensor->head} + chip.leading + column) % size;
        sensor->cells[cell] += chip.scene(column, sensor->nextRow);
    }
    ++sensor->nextRow;
}

void ShiftCell(EmuSensor* sensor)
{
    uint32_t& cell = sensor->cells[sensor->head];
    sensor->node += cell;
    cell = 0;
    sensor->head = static_cast<uint32_t>((size_t{sensor->head} + 1) % sensor->cells.size());
}

} // namespace

EmuSensor EmuMakeSensor(const EmuLineMap& lines, const EmuChip& chip)
{
    EmuSensor sensor{};
    sensor.lines = lines;
    sensor.chip = chip;
    const int64_t leading = int64_t{chip.leading} + lines.lead;
    sensor.chip.leading = static_cast<uint32_t>(std::max<int64_t>(leading, 0));
    sensor.levels = ~0u;
    sensor.nextRow = chip.rows;
    sensor.cells.resize(std::max<size_t>(
        {chip.registerSize, size_t{sensor.chip.leading} + chip.columns, size_t{1}}));
    return sensor;
}

void EmuExpose(EmuSensor* sensor)
{
    sensor->nextRow = 0;
}

bool EmuSensorTick(EmuSensor* sensor, uint32_t word, uint16_t* pixel)
{
    const EmuLineMap& lines = sensor->lines;
    const uint32_t levels = word ^ lines.inverted;
    const uint32_t rising = levels & ~sensor->levels;
    sensor->levels = levels;
    if (rising & lines.row) TakeRow(sensor);
    if (rising & lines.shift) ShiftCell(sensor);
    // What falls on the node while the gate is open is drained at once.
    if (levels & lines.reset) sensor->node = 0;
    if (!(rising & lines.convert)) return false;
    *pixel = static_cast<uint16_t>(std::min(sensor->node, 0xFFFFu));
    return true;
}
