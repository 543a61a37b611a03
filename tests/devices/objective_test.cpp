// Accessories behind a camera's registers.
#include "devices/objective.h"

#include <climits>

#include "core/flags.h"
#include "core/record.h"
#include "core/timer_service.h"
#include "emulator/emulator.h"
#include "tests/support/fake_camera.h"

namespace {

class Objective : public FakeTest {
protected:
    // Of a call to the objective, in milliseconds.
    uint64_t Run(int32_t operation, uint16_t milliseconds)
    {
        Fake.calls.clear();
        const uint64_t start = EmuMicroseconds();
        ObjectiveControl(operation, milliseconds, 0);
        return (EmuMicroseconds() - start) / 1000;
    }
};

Texts Port(const Texts& values)
{
    Texts texts = {"WriteRegister 8 0x00FF"};
    for (const std::string& value : values) texts.push_back("WriteRegister 7 0x00" + value);
    return texts;
}

std::vector<uint32_t> Plugged;

} // namespace

TEST_F(Objective, RunsAMotorToItsEnd)
{
    OpenFake(44, 0, 0);
    const char* lines[] = {"12", "24", "21"};
    for (int32_t operation = 0; operation < 3; ++operation) {
        EXPECT_EQ(Run(operation, 7), 3000u);
        EXPECT_EQ(FakeTexts(), Port({lines[operation], "00"}));
    }
}

TEST_F(Objective, RunsAMotorForATimeAndBrakes)
{
    OpenFake(47, 0, 0);
    const char* lines[][2] = {{"12", "02"}, {"22", "02"}, {"24", "04"},
                              {"14", "04"}, {"21", "01"}, {"11", "01"}};
    for (int32_t i = 0; i < 6; ++i) {
        EXPECT_EQ(Run(3 + i, 250), 350u);
        EXPECT_EQ(FakeTexts(), Port({lines[i][0], lines[i][1], "00"}));
    }
    EXPECT_EQ(Run(3, 0), 100u);
}

TEST_F(Objective, OtherOperationsOpenThePortAndNothingElse)
{
    OpenFake(45, 0, 0);
    for (const int32_t operation : {9, -1, INT32_MAX}) {
        Run(operation, 100);
        EXPECT_EQ(FakeTexts(), Port({}));
    }
}

TEST_F(Objective, OfOtherPlatformsTouchesNoRegister)
{
    for (const int32_t platform : {43, 48, 1}) {
        OpenFake(platform, 0, 0);
        Run(0, 100);
        EXPECT_EQ(FakeTexts(), Texts{});
        EXPECT_EQ(LoadFlag(StopCount[0]), 0);
    }
}

TEST_F(Objective, HoldsTheTimerOff)
{
    OpenFake(44, 0, 0);
    Run(3, 1);
    EXPECT_EQ(Fake.calls.front().stopCount, 1);
}

TEST_F(Objective, PlugGetsFourValuesWhereThereIsOne)
{
    OpenFake(450, 0, 0);
    DriverExtras extras = {};
    extras.Plug = [](const uint32_t* values, int32_t) { Plugged.assign(values, values + 4); };
    CameraTable[0].Extras = &extras;
    const uint32_t values[] = {1, 2, 3, 4};
    Plugged.clear();
    EXPECT_EQ(Plug(0, values, 0), 0);
    EXPECT_EQ(Plugged, (std::vector<uint32_t>{1, 2, 3, 4}));
    Plugged.clear();
    EXPECT_EQ(Plug(0, nullptr, 0), 0);
    EXPECT_TRUE(Plugged.empty());
    CameraTable[0].Extras = nullptr;
    const uint64_t start = EmuMicroseconds();
    EXPECT_EQ(Plug(0, values, 0), 0);
    EXPECT_GE(EmuMicroseconds() - start, 100000u);
}
