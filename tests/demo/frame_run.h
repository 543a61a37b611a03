// Frames of the simulated camera through its driver, on a source image of the
// test's own.
#pragma once
#include <cstdint>
#include <vector>

#include <gtest/gtest.h>

#include "drivers/demo/demo_pixels.h"
#include "tests/support/plain_demo_frame.h"

// A camera that was bound and not opened, in the virtual world. Its option skips
// the wait of long exposures.
class FrameTest : public testing::Test {
protected:
    void SetUp() override;
    void TearDown() override;
};

struct FrameResult {
    std::vector<uint16_t> pixels;
    uint32_t state; // of the generator, afterwards
};

inline constexpr uint16_t Untouched = 0xA5C3; // the pixels before a frame

// What ReadFrame makes of the inputs.
FrameResult DriverFrame(const PlainDemoInputs& inputs, int32_t width, int32_t height,
                        uint32_t state);
FrameResult PlainFrame(const PlainDemoInputs& inputs, int32_t width, int32_t height,
                       uint32_t state);

// Fails unless every path gives the plain frame and the plain state.
void ExpectPlainFrame(const PlainDemoInputs& inputs, int32_t width, int32_t height, uint32_t state);

// Pixels from the whole range, with its ends among them.
std::vector<uint16_t> RandomImage(int32_t columns, int32_t rows);

// Inputs of a sensor so cold that it has no noise: a light pixel is 100 plus the
// source pixel times `exposure`.
PlainDemoInputs NoiselessInputs(const std::vector<uint16_t>& image, int32_t columns, int32_t rows,
                                double exposure);
