// Exposures that return at once: their states in order, their frames and what is told of them.
#include "emulator/emulator.h"
#include "tests/supervisor/layer.h"
#include "tests/support/demo_camera.h"

namespace {

constexpr size_t Pixels = size_t{ImageColumns} * ImageRows;
using States = std::vector<int32_t>;

class Exposures : public LayerTest {
protected:
    std::vector<uint16_t> pixels = std::vector<uint16_t>(Pixels);
    QvnsMetadata about = {};

    int32_t Fetch(uint32_t frame)
    {
        return qvns_fetch(0, frame, pixels.data(), pixels.size(), &about);
    }
};

} // namespace

TEST_F(Exposures, StartReturnsAtOnceAndTheFrameComes)
{
    OpenCamera();
    const QvnsExposure exposure = Light(2.0);
    uint32_t frame = 0;
    const double start = Now();
    ASSERT_EQ(qvns_start_exposure(0, &exposure, &frame), 0);
    EXPECT_EQ(Now(), start);
    EXPECT_EQ(frame, 1u);
    EXPECT_EQ(qvns_ready(0, frame), 0);
    EXPECT_EQ(Fetch(frame), QVNS_ERROR_NO_FRAME);
    EXPECT_EQ(qvns_start_exposure(0, &exposure, nullptr), QVNS_ERROR_BUSY);
    ASSERT_EQ(qvns_wait(0, frame, 60.0), 0);
    EXPECT_GE(Now() - start, 2.0);
    EXPECT_EQ(qvns_ready(0, frame), 1);
    ASSERT_EQ(Fetch(frame), 0);
    VirtualFrame wanted = Full(BriarCamera, ReadRule::Lines, 1, 1);
    EXPECT_EQ(pixels, Expected(wanted, 0));
}
