#include "tests/threads/reader.h"

#include <chrono>
#include <gtest/gtest.h>

namespace {

using Clock = std::chrono::steady_clock;

constexpr int32_t LeastFrames = 5;

} // namespace

void ReadFrames(const std::vector<uint16_t>& wanted, int32_t camera)
{
    const Clock::time_point end = Clock::now() + std::chrono::milliseconds(1500);
    int32_t frames = 0;
    while (frames < LeastFrames || Clock::now() < end) {
        std::vector<uint16_t> pixels(wanted.size(), 0xAAAA);
        QV_GetCCD(1, 0.002, pixels.data(), camera);
        EXPECT_EQ(QV_Status(camera), 0);
        ASSERT_EQ(pixels, wanted) << "frame " << frames << " of camera " << camera;
        ++frames;
    }
}
