// A folder with a qvn.cfg of one small sensor, 255, on a few platforms: 12 columns behind 4
// leading cells in a register of 24, and 8 rows. The tick of 0.5 microseconds makes the phase
// of 5 microseconds 10 ticks and the idle time 20.
#pragma once
#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "include/qvn_bench.h"

inline constexpr int32_t SmallColumns = 12;
inline constexpr int32_t SmallRows = 8;

struct SmallDefinition {
    std::string columns = "12", rows = "8", leading = "4", registerSize = "24", tick = "0.5";
};

class SmallCameraTest : public testing::Test {
protected:
    void SetUp() override;
    void TearDown() override;

    void Define(const SmallDefinition& definition);

    std::string folder;
    std::string path; // wave.bin in the folder
};

// The whole image of sensor 255, binned 1 by 1.
QvbWaveRequest RequestOf(int32_t platform);
