// The last eight readings of a converter. A driver has one ring for all its cameras,
// which the timer's and a caller's thread may fill at once.
#pragma once
#include <cstdint>

inline constexpr uint32_t RingReadings = 8;

struct ReadingRing {
    uint32_t values[RingReadings]; // 16 bits each
    uint32_t next;
    uint32_t full; // 1 from the first time round, for good
};

void AddReading(ReadingRing* ring, uint16_t value);

// Half the sum of the two in the middle.
uint16_t MiddleReading(const ReadingRing& ring);
