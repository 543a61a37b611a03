// A made-up star field, the image that the simulated camera looks at.
#pragma once
#include <cstdint>

// Fills `pixels`, `columns` x `rows`, row after row: sky with a gradient, a
// nebula, stars, and a few hot columns. The values are counts of one second at
// gain 1, the sky at about 400, the brightest stars at about 40000. The same
// arguments give the same pixels on every machine: all arithmetic is in
// integers. A size of 0 leaves `pixels` alone; otherwise both are at most 32767.
void MakeStarField(uint16_t* pixels, uint32_t columns, uint32_t rows, uint32_t seed);
