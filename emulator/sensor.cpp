#include "emulator/sensor.h"

#include <algorithm>

namespace {

constexpr double Whole = 1e6;            // millionths
constexpr double MostCharge = 0xFF'FFFF; // of a pixel

// Each exposure shows the part of the scene at which the row stood then.
uint32_t NextCharge(const EmuSensor& sensor, uint32_t column)
{
    double charge = 0;
    for (const EmuExposure& exposure : sensor.exposures) {
        const uint32_t row = sensor.nextRow - exposure.row;
        if (row < sensor.chip.rows) charge += sensor.chip.scene(column, row) * exposure.millionths;
    }
    return static_cast<uint32_t>(std::min(charge / Whole, MostCharge));
}

void TakeRow(EmuSensor* sensor)
{
    std::vector<EmuExposure>& exposures = sensor->exposures;
    if (exposures.empty()) return;
    const EmuChip& chip = sensor->chip;
    const size_t size = sensor->cells.size();
    for (uint32_t column = 0; column < chip.columns; ++column) {
        const size_t cell = (size_t{sensor->head} + chip.leading + column) % size;
        sensor->cells[cell] += NextCharge(*sensor, column);
    }
    ++sensor->nextRow;
    const auto left = [&](const EmuExposure& exposure) {
        return sensor->nextRow - exposure.row >= chip.rows;
    };
    exposures.erase(exposures.begin(), std::find_if_not(exposures.begin(), exposures.end(), left));
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
    sensor.cells.resize(std::max<size_t>(
        {chip.registerSize, size_t{sensor.chip.leading} + chip.columns, size_t{1}}));
    return sensor;
}

void EmuExpose(EmuSensor* sensor)
{
    sensor->exposures = {{0, Whole}};
    sensor->nextRow = 0;
}

void EmuShine(EmuSensor* sensor, double millionths)
{
    std::vector<EmuExposure>& exposures = sensor->exposures;
    if (millionths <= 0) return;
    if (exposures.empty()) sensor->nextRow = 0;
    if (exposures.empty() || exposures.back().row != sensor->nextRow) {
        exposures.push_back({sensor->nextRow, 0});
    }
    exposures.back().millionths += millionths;
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
