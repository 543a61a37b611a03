// Sorted afresh for each answer: eight values are few, and come once in half a second.
#include "drivers/reading_ring.h"

#include <algorithm>

#include "core/flags.h"

void AddReading(ReadingRing* ring, uint16_t value)
{
    const uint32_t place = LoadFlag(ring->next) % RingReadings;
    StoreFlag(&ring->values[place], value);
    const uint32_t next = (place + 1) % RingReadings;
    StoreFlag(&ring->next, next);
    if (next == 0) StoreFlag(&ring->full, 1u);
}

uint16_t MiddleReading(const ReadingRing& ring)
{
    uint32_t sorted[RingReadings];
    for (uint32_t i = 0; i < RingReadings; ++i) sorted[i] = LoadFlag(ring.values[i]);
    std::sort(sorted, sorted + RingReadings);
    return static_cast<uint16_t>((sorted[RingReadings / 2 - 1] + sorted[RingReadings / 2]) / 2);
}
