// The sensor of the virtual cameras under test: 24 columns behind 12 leading cells in a
// register of 38, 16 rows in the image. A pixel holds 100 x (row + 1) + column + 1. Dummy
// lines for vertical binnings of 1 to 4: 3, 2, 1, 4.
#pragma once
#include <cstdint>
#include <string>

#include "tests/support/strobe.h"

inline constexpr int32_t ImageColumns = 24, ImageRows = 16;
// Patterns that bin by position have their bins at whole multiples: so has the image.
inline constexpr int32_t LeadingCells = 12;
inline constexpr int32_t RegisterCells = 38;
inline constexpr int32_t SensorRows = ImageRows + 4; // the image and what its dummy lines clock
inline constexpr uint16_t SmallVersion = 0x2A;
inline constexpr int32_t Dummies[] = {3, 2, 1, 4}; // above a binning of 4 there is one line

uint32_t SmallScene(uint32_t column, uint32_t row);
// Of columns and rows, the last ones excluded; nothing behind the edges of `rows` rows.
uint16_t SceneSum(int32_t column, int32_t lastColumn, int32_t row, int32_t lastRow,
                  int32_t rows = SensorRows);

// Lines of `columns` bins from `x` on.
struct SmallLines {
    Strobe strobe;
    int32_t hbin, vbin;
    int32_t x, columns;
    int32_t rows = SensorRows;
};

// Bin `k` of a line whose first row is `row`.
uint16_t StrobedBin(const SmallLines& lines, int32_t k, int32_t row);

// The definition file of one camera with this sensor.
struct SmallPlatform {
    int32_t platform, sensor;
    int32_t phase = 10; // of the rows, in microseconds
    int32_t version = SmallVersion;
    const char* clock = "0.5"; // of the pixels, in microseconds
    const char* program = "";  // further lines of the sensor on its platform
    int32_t columns = ImageColumns, rows = ImageRows;
};

std::string SmallDefinitions(const SmallPlatform& platform);
