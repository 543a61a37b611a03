// Wheels of an array: heads 1 and 3 of a camera that is opened as number 1. A call for the
// camera goes to the head of its number.
#include "emulator/bus_links.h"
#include "tests/accessories/accessories.h"

namespace {

struct ArrayWheel {
    int32_t platform;
    EmuWheelKind kind;
    int32_t position; // steps from one to the next
};

void PrintTo(const ArrayWheel& row, std::ostream* out)
{
    *out << row.platform;
}

class WheelsOfAnArray : public VirtualCameraTest, public testing::WithParamInterface<ArrayWheel> {
protected:
    EmuWheel *first = nullptr, *second = nullptr;
    int64_t base = 0; // where the first stands at position 1

    void SetUp() override
    {
        VirtualCameraTest::SetUp();
        VirtualSetup setup = {GetParam().platform, 255, 2, nullptr};
        setup.wheel.kind = GetParam().kind;
        setup.wheel.start = 1000;
        Plug(setup);
        EmuBusSetUnit(bus, 1);
        EmuBusCamera head = {};
        head.platform = setup.platform;
        head.sensor = setup.sensor;
        head.version = SmallVersion;
        head.wordNs = 500;
        head.memory[1] = 10;
        head.wheel = setup.wheel;
        const int32_t other = EmuPlugBusCamera(head);
        EmuAttachUnit(0, 0, -1);
        EmuAttachUnit(0, 1, bus);
        EmuAttachUnit(0, 3, other);
        first = EmuBusWheel(bus);
        second = EmuBusWheel(other);
        const uint16_t heads[4] = {0, 0xA, 0, 0};
        QV_OpenArray(heads, setup.platform, 255, 0, 0, 1, nullptr, nullptr);
        ASSERT_EQ(QV_Status(1), 0);
        QV_CalibFW(1); // no part of a step is left from before
        base = first->steps;
    }

    // Exposes and reads both heads; the last one stays selected.
    static void ReadFrames()
    {
        std::vector<uint16_t> pixels(2 * ImageColumns * ImageRows);
        uint16_t* const other = pixels.data() + ImageColumns * ImageRows;
        uint16_t* buffers[8] = {nullptr, pixels.data(), nullptr, other};
        const double exposures[8] = {0, 0.01, 0, 0.01};
        QV_AGetCCD(1, exposures, buffers, 1);
    }
};

} // namespace

TEST_P(WheelsOfAnArray, OnlyTheSelectedHeadsWheelMoves)
{
    QV_SetFilter(3, 1);
    EXPECT_EQ(first->steps, base + 2 * GetParam().position);
    EXPECT_EQ(second->steps, 1000);
}

// Its own position and the place of its windings come back with the head: three positions up
// from the third, and no step is lost.
TEST_P(WheelsOfAnArray, HeadKeepsItsPositionWhileAnotherIsSelected)
{
    QV_SetFilter(3, 1);
    ReadFrames();
    QV_SetFilter(6, 1);
    EXPECT_EQ(first->steps, base + 5 * GetParam().position);
    EXPECT_EQ(first->lost, 0u);
    EXPECT_EQ(second->steps, 1000);
}

INSTANTIATE_TEST_SUITE_P(Platforms, WheelsOfAnArray,
                         testing::Values(ArrayWheel{42, EmuPhaseWheel, 111},
                                         ArrayWheel{44, EmuStepWheel, 25}));
