// Filter wheel and objective on the registers of a bus camera.
#include "tests/emulator/bus_wire.h"

namespace {

using Bytes = std::vector<uint8_t>;
using Words = std::vector<uint16_t>;

constexpr uint16_t Lines = 11, Power = 12, PowerOn = 0x40;
constexpr uint16_t Drive = 0x1000, Up = 0x0400, Pulse = 0x0800;
constexpr uint16_t Mark = 0x02, Position = 0x04;

class Wheel : public BusWire {
protected:
    EmuWheel* wheel = nullptr;

    void Fit(int32_t platform, const EmuWheelSetup& what)
    {
        setup.platform = platform;
        setup.wheel = what;
        Plug();
        wheel = EmuBusWheel(camera);
    }

    void Phases(const Words& patterns)
    {
        for (const uint16_t pattern : patterns) Register(Lines, pattern);
    }

    void Step(uint16_t direction)
    {
        Register(Lines, Drive | direction);
        Register(Lines, Drive | direction | Pulse);
        Register(Lines, Drive | direction);
    }

    void Nibble(uint16_t reg, uint16_t command)
    {
        Register(reg, command);
        Register(reg, 0);
    }

    void Byte(uint16_t reg, uint16_t strobe, uint16_t byte)
    {
        Register(reg, byte);
        Register(Lines, strobe);
        Register(Lines, 0);
    }

    uint16_t Marks() { return Status(7) & (Mark | Position); }
};

} // namespace

TEST_F(Wheel, FollowsTheWindings)
{
    Fit(42, {.kind = EmuPhaseWheel, .start = 8});
    Register(Power, PowerOn);
    Phases({0x1400, 0x1C00, 0x1E00, 0x1600, 0x1400, 0x1C00});
    EXPECT_EQ(wheel->steps, 13);
    Phases({0x1400, 0x1600, 0x1E00});
    EXPECT_EQ(wheel->steps, 10);
    EXPECT_EQ(wheel->lost, 0u);
}

TEST_F(Wheel, StandsWithoutPowerAndWithoutCurrent)
{
    Fit(42, {.kind = EmuPhaseWheel, .start = 8});
    Phases({0x1400, 0x1C00, 0x1E00});
    EXPECT_EQ(wheel->steps, 8);
    Register(Lines, 0);
    Register(Power, PowerOn);
    Phases({0x0000, 0x0400, 0x1000, 0x0A00});
    EXPECT_EQ(wheel->steps, 8);
}

// Power pulls the motor to the pattern that stands there.
TEST_F(Wheel, PowerPullsByAStep)
{
    Fit(42, {.kind = EmuPhaseWheel, .start = 8});
    Phases({0x1600});
    Register(Power, PowerOn);
    EXPECT_EQ(wheel->steps, 7);
}

// A pattern two steps ahead holds the motor where it is; the next is nearer from below. A
// turn of the patterns later it is four steps behind.
TEST_F(Wheel, LosesFourStepsByAJumpOfTheWindings)
{
    Fit(42, {.kind = EmuPhaseWheel, .start = 8});
    Register(Power, PowerOn);
    Phases({0x1400, 0x1E00});
    EXPECT_EQ(wheel->steps, 8);
    EXPECT_EQ(wheel->lost, 1u);
    Phases({0x1600});
    EXPECT_EQ(wheel->steps, 7);
    Phases({0x1400, 0x1C00, 0x1E00});
    EXPECT_EQ(wheel->steps, 10); // of 14
}

TEST_F(Wheel, MakesAStepAtEachPulse)
{
    Fit(44, {.kind = EmuStepWheel, .start = 100});
    Register(Power, PowerOn);
    Step(Up);
    Step(Up);
    EXPECT_EQ(wheel->steps, 102);
    Step(0);
    EXPECT_EQ(wheel->steps, 101);
    // The direction comes with the pulse: too late.
    Register(Lines, Drive | Up | Pulse);
    EXPECT_EQ(wheel->steps, 100);
    EXPECT_EQ(wheel->lost, 0u);
}

TEST_F(Wheel, LosesPulsesWithoutPowerOrDrive)
{
    Fit(47, {.kind = EmuStepWheel, .start = 100});
    Step(Up);
    Register(Power, PowerOn);
    Register(Lines, Up);
    Register(Lines, Up | Pulse);
    EXPECT_EQ(wheel->steps, 100);
    EXPECT_EQ(wheel->lost, 2u);
}

// 3 steps wide: 0, 1 and 2, and the same a turn of 200 steps further.
TEST_F(Wheel, ZeroMarkHasItsWidth)
{
    Fit(44, {.kind = EmuStepWheel, .markWidth = 3});
    const int64_t on[] = {0, 2, 200, 202, -200, -198, 400};
    const int64_t off[] = {3, 199, 203, -1, -197};
    for (const int64_t steps : on) {
        wheel->steps = steps;
        EXPECT_EQ(Marks() & Mark, Mark) << steps;
    }
    for (const int64_t steps : off) {
        wheel->steps = steps;
        EXPECT_EQ(Marks() & Mark, 0) << steps;
    }
    wheel->steps = 0;
    wheel->noMark = true;
    EXPECT_EQ(Marks() & Mark, 0);
}

// A turn of the other motor has 888 8/9 steps.
TEST_F(Wheel, TurnOfTheWindingsIsLonger)
{
    Fit(42, {.kind = EmuPhaseWheel});
    wheel->steps = 888;
    EXPECT_EQ(Marks() & Mark, 0);
    wheel->steps = 889;
    EXPECT_EQ(Marks() & Mark, Mark);
    wheel->steps = -888;
    EXPECT_EQ(Marks() & Mark, Mark);
}

TEST_F(Wheel, NarrowMarkShowsInOneOfManyReadings)
{
    Fit(44, {.kind = EmuStepWheel, .markReads = 20});
    uint16_t seen = 0;
    for (int reading = 1; reading < 20; ++reading) seen |= Marks();
    EXPECT_EQ(seen & Mark, 0);
    EXPECT_EQ(Marks() & Mark, Mark);
    for (int reading = 1; reading < 20; ++reading) Marks();
    Register(30, 0); // begins the flicker anew
    EXPECT_EQ(Marks() & Mark, 0);
}

// 25 steps apart, one of tolerance; with six of them 33 1/3, so that 99 to 101 are the fourth.
TEST_F(Wheel, SecondSensorSeesThePositions)
{
    Fit(44, {.kind = EmuStepWheel});
    const std::vector<std::pair<int64_t, uint16_t>> places = {
        {0, Position}, {24, Position}, {26, Position}, {27, 0}, {12, 0}, {175, Position}};
    for (const auto& [steps, expected] : places) {
        wheel->steps = steps;
        EXPECT_EQ(Marks() & Position, expected) << steps;
    }
    wheel->setup.positions = 6;
    wheel->steps = 99;
    EXPECT_EQ(Marks() & Position, Position);
    wheel->steps = 98;
    EXPECT_EQ(Marks() & Position, 0);
}

// Three positions, 50 ms each; the other way round it would be three too.
TEST_F(Wheel, NibblesGoToPositions)
{
    Fit(22, {.kind = EmuNibbleWheel, .moveMs = 50});
    Nibble(Lines, 3);
    EXPECT_EQ(wheel->steps, 67); // 2 x 33 1/3
    EXPECT_EQ(Status(7), Mark | 1);
    System.clock.Sleep(99);
    EXPECT_EQ(Status(7) & Mark, Mark);
    System.clock.Sleep(2);
    EXPECT_EQ(Status(7) & Mark, 0);
    Nibble(Lines, 7);
    EXPECT_EQ(wheel->steps, 0);
    Nibble(Lines, 9);
    EXPECT_EQ(wheel->commands, (Bytes{3, 7}));
    EXPECT_EQ(wheel->unheard, 1u);
}

TEST_F(Wheel, ControllerGoesTheShortWay)
{
    Fit(22, {.kind = EmuNibbleWheel, .start = 33});
    Nibble(Lines, 6);
    EXPECT_EQ(wheel->steps, -33);
}

TEST_F(Wheel, NibblesHangWherePlatformsHaveThem)
{
    Fit(60, {.kind = EmuNibbleWheel});
    Nibble(1, 2);
    EXPECT_EQ(wheel->commands, (Bytes{2}));
    EXPECT_EQ(Status(5) & 8, 8);
    Fit(44, {.kind = EmuNibbleWheel});
    Nibble(Lines, 2);
    EXPECT_EQ(wheel->commands, (Bytes{2}));
    EXPECT_EQ(ReadRegister(7) & 1, 1);
    EXPECT_EQ(Status(7) & (Mark | Position), 0);
}

TEST_F(Wheel, BytesGoToPositions)
{
    Fit(30, {.kind = EmuByteWheel});
    Register(14, 0xFFFF);
    Byte(13, 2, 0x9F);
    EXPECT_EQ(Status(7) & Mark, Mark);
    Byte(13, 2, 0x22);
    EXPECT_EQ(Status(7) & Mark, 0);
    EXPECT_EQ(wheel->steps, 50);
    System.clock.Sleep(101);
    EXPECT_EQ(Status(7) & Mark, Mark);
    Byte(13, 2, 0x20 | 8); // there is no ninth
    Byte(13, 2, 0);
    EXPECT_EQ(wheel->steps, 0);
    EXPECT_EQ(wheel->commands, (Bytes{0x9F, 0x22, 0x28, 0}));
}

TEST_F(Wheel, BytesNeedAnOutput)
{
    Fit(44, {.kind = EmuByteWheel});
    EXPECT_EQ(Status(9), 1);
    Byte(7, 1, 0x21);
    EXPECT_TRUE(wheel->commands.empty());
    Register(8, 255);
    Byte(7, 1, 0x21);
    EXPECT_EQ(wheel->commands, (Bytes{0x21}));
    EXPECT_EQ(Status(9), 0);
}

TEST_F(Wheel, DeadControllerIsNeitherBusyNorReady)
{
    Fit(44, {.kind = EmuByteWheel});
    Register(8, 255);
    wheel->dead = true;
    Byte(7, 1, 0x21);
    EXPECT_EQ(Status(9), 0);
    EXPECT_EQ(wheel->unheard, 1u);
    Fit(44, {.kind = EmuNibbleWheel});
    wheel->stuck = true;
    EXPECT_EQ(ReadRegister(7) & 1, 1);
    wheel->dead = true;
    EXPECT_EQ(ReadRegister(7) & 1, 0);
}

TEST_F(Wheel, PowerOfTheCameraShowsWhereNoWheelIs)
{
    Fit(44, {});
    EXPECT_EQ(Status(9), 1);
    EXPECT_EQ(Marks(), 0);
}

// 700 ms up and 300 ms down again. Behind its end a motor stands.
TEST_F(Wheel, MotorsOfAnObjectiveTravel)
{
    setup.objective = true;
    Fit(44, {});
    EmuObjective* const objective = EmuBusObjective(camera);
    Register(7, 0x12);
    System.clock.Sleep(100);
    Register(8, 255);
    System.clock.Sleep(700);
    Register(7, 0x22);
    System.clock.Sleep(300);
    Register(7, 0x02);
    System.clock.Sleep(100);
    Register(7, 0);
    EXPECT_NEAR(static_cast<double>(objective->places[1]), 400e3, 100);
    ASSERT_EQ(objective->runs.size(), 3u);
    EXPECT_EQ(objective->runs[0].lines, 0x12);
    EXPECT_EQ(objective->runs[1].lines, 0x22);
    EXPECT_EQ(objective->runs[2].lines, 0x02);
    Register(7, 0x14);
    System.clock.Sleep(3000);
    Register(7, 0x35); // both ways
    System.clock.Sleep(3000);
    Register(7, 0);
    EXPECT_EQ(objective->places[2], EmuObjectiveTravelUs);
    EXPECT_EQ(objective->places[0], 0);
}
