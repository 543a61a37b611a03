// A folder with small sensors, and a virtual world that ends with the test.
#pragma once
#include <filesystem>
#include <gtest/gtest.h>
#include <string>
#include <vector>

#include "include/qvn_bench.h"

constexpr int32_t Columns = 24, Rows = 16;

class VirtualWorld : public testing::Test {
protected:
    std::filesystem::path folder;
    std::string error;

    void SetUp() override;
    void TearDown() override;

    std::string Path(const std::string& name) { return (folder / name).string(); }
    int32_t Install(const std::string& text);
    void ExpectRefused(const std::string& text, const std::string& part);
    // Opens the instrument as it says that it is opened.
    void Open(int32_t index, uint32_t options = 0);
    std::vector<uint16_t> Frame(int32_t shutter, int32_t camera);
    std::string TextOf(const std::string& name);
};

// The scene "ramp" in bins of n x n from a row on: the sum of column + row. Behind the last
// row there is nothing.
std::vector<uint16_t> Ramp(int32_t n, int32_t firstRow = 0);
