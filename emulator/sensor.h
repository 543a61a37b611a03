// The CCD: rows of an image, a horizontal register and an output node, moved by
// nothing but the levels of the clock lines.
#pragma once
#include <cstdint>
#include <vector>

// Bits of a pattern word, by what they do to the charge. A line acts on its rising
// edge; the reset gate also drains the node for as long as it is open.
struct EmuLineMap {
    uint32_t row;      // one row of the image enters the horizontal register
    uint32_t shift;    // one cell of the register falls on the output node
    uint32_t reset;    // the node is emptied
    uint32_t convert;  // the node is converted and sent
    uint32_t inverted; // lines that act on their falling edge, or are active low
    int32_t lead;      // cells that a line shifts ahead of its first position
};

// Charge of a pixel, of a whole exposure or of a second of light.
using EmuScene = uint32_t(uint32_t column, uint32_t row);

// What a sensor is made of. `leading` cells without image stand between the node
// and the first column.
struct EmuChip {
    uint32_t columns, rows, leading, registerSize;
    EmuScene* scene;
};

// Light that fell while the rows stood still.
struct EmuExposure {
    uint32_t row;      // that stood next to the register, as `nextRow` counts
    double millionths; // of the scene
};

struct EmuSensor {
    EmuLineMap lines;
    EmuChip chip;
    uint32_t levels;  // active lines at the last tick
    uint32_t nextRow; // rows that left since the sensor was dark: the one next to the register
    std::vector<EmuExposure> exposures; // that a row on the sensor has seen, the oldest first
    uint32_t head;                      // cell of the register next to the node
    std::vector<uint32_t> cells;
    uint32_t node;
};

// A dark sensor. The first tick after this sets the levels and moves nothing.
EmuSensor EmuMakeSensor(const EmuLineMap& lines, const EmuChip& chip);

// Fills all rows with the scene; register and node stay as they are.
void EmuExpose(EmuSensor* sensor);

// Adds so many millionths of the scene to what the rows have, wherever they stand.
void EmuShine(EmuSensor* sensor, double millionths);

// One tick with the lines at the levels of `word`. True if it sent `*pixel`, which
// stops at 65535.
bool EmuSensorTick(EmuSensor* sensor, uint32_t word, uint16_t* pixel);
