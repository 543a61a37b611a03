// A bus camera at the end of its virtual link, opened and read through the exported
// functions alone, and what its pixels must be.
#pragma once
#include <cstdint>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "include/qvn.h"

inline constexpr int32_t ImageColumns = 24, ImageRows = 16;

struct VirtualSetup {
    int32_t platform;
    int32_t sensor;
    int32_t interfaceType;
    const char* builder;     // of the platform and sensor; null: no pattern
    uint32_t revision = 100; // of the card; 200: whole frames
    uint32_t decoder = 0;    // of a serial cable
    int32_t windowX = 1;     // 0 where the pattern takes it for unbinned pixels
};

// How the words of the stream become pixels.
enum class ReadRule { WholeFrame, Lines, Pixels };

struct VirtualFrame {
    int32_t columns, rows; // binned
    int32_t hbin, vbin;
    int32_t x = 0;    // binned
    int32_t firstRow; // of the sensor, in the first line that is sent
    int32_t lines;    // sent
};

// The pixels of a frame whose untouched ones are `fill`.
std::vector<uint16_t> ExpectedPixels(ReadRule rule, const VirtualFrame& frame, bool isWindow,
                                     int32_t dummy, uint16_t fill);

class VirtualCameraTest : public testing::Test {
protected:
    int32_t bus = -1; // the camera at the far end

    void SetUp() override;
    void TearDown() override;

    // Plugs the camera and writes a definition file for it; memory is empty but for a
    // span of 1.0, an offset of 0.0 and the high resistor.
    void Plug(const VirtualSetup& setup);
    void Open(const VirtualSetup& setup, int32_t options = 0, int32_t attach = 0);
    // Opens, and reads frames with all binnings of 1 to 4, a dark frame, windows.
    void ReadEverything(const VirtualSetup& setup, ReadRule rule, int32_t options = 0);
    void ExpectFrame(ReadRule rule, int32_t hbin, int32_t vbin);
    void ExpectWindow(ReadRule rule, int32_t x, int32_t hbin, int32_t vbin);
};
