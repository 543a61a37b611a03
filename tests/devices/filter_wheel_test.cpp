// Filter wheels on a camera whose registers write down what they get. The steppers turn a
// wheel of the test's own: it counts steps, and knows where its marks are.
#include "devices/wheel/filter_wheel.h"

#include <climits>

#include "core/flags.h"
#include "core/record.h"
#include "core/timer_service.h"
#include "emulator/emulator.h"
#include "tests/support/fake_camera.h"

namespace {

struct TestWheel {
    int32_t steps;    // from where it stood, up is positive
    int32_t up, down; // steps made
    int32_t zeroAt;   // the zero sensor sees it here
    bool second;      // the second sensor
    uint16_t motor;   // register 11
};
TestWheel Turntable;

constexpr int32_t Nowhere = 1000000;
constexpr uint16_t Phases[] = {0x1400, 0x1C00, 0x1E00, 0x1600};

int32_t PhaseOf(uint16_t motor)
{
    for (int32_t i = 0; i < 4; ++i) {
        if ((motor & 0x1E00) == Phases[i]) return i;
    }
    return -1;
}

void Turn(int32_t direction)
{
    Turntable.steps += direction;
    ++(direction > 0 ? Turntable.up : Turntable.down);
}

void WritePhases(int32_t reg, int32_t value, int32_t /*camera*/)
{
    if (reg != 11) return;
    const int32_t before = PhaseOf(Turntable.motor), now = PhaseOf(static_cast<uint16_t>(value));
    Turntable.motor = static_cast<uint16_t>(value);
    if (before < 0 || now < 0) return;
    if (now == (before + 1) % 4) Turn(1);
    if (before == (now + 1) % 4) Turn(-1);
}

void WriteLines(int32_t reg, int32_t value, int32_t /*camera*/)
{
    if (reg != 11) return;
    const uint16_t rising = static_cast<uint16_t>(value & ~Turntable.motor);
    Turntable.motor = static_cast<uint16_t>(value);
    if ((rising & 0x0800) != 0 && (value & 0x1000) != 0) Turn((value & 0x0400) != 0 ? 1 : -1);
}

uint32_t ReadSensors(int32_t selector, int32_t /*camera*/)
{
    if (selector != 7) return 0;
    return (Turntable.steps == Turntable.zeroAt ? 2u : 0u) | (Turntable.second ? 4u : 0u);
}

int32_t BusyReads, StatusReads;
uint32_t StatusAnswer;

uint32_t ReadStatus(int32_t selector, int32_t /*camera*/)
{
    ++StatusReads;
    Fake.calls.push_back({"ReadStatus " + std::to_string(selector), EmuMicroseconds(), 0});
    return BusyReads-- > 0 ? ~StatusAnswer : StatusAnswer;
}

// The mark is there at the end of the search, and three steps away again when the wheel has
// come to rest.
uint32_t ReadSlippingSensors(int32_t selector, int32_t camera)
{
    static int32_t seen = 0;
    const uint32_t sensors = ReadSensors(selector, camera);
    seen = (sensors & 2) != 0 ? seen + 1 : 0;
    if (seen == 20) Turntable.steps += 3;
    return sensors;
}

class FilterWheel : public FakeTest {
protected:
    CameraRecord& record = CameraTable[0];

    void Begin(int32_t platform, int32_t kind)
    {
        OpenFake(platform, 0, 0);
        record.Config.FilterWheel = kind;
        record.FilterPosition = 1;
        record.FilterPhase = 0;
        record.FilterHold = 0;
        record.FilterZeroOffset = 0;
        StoreFlag(&record.LastError, 99);
    }
    void BeginPhases(int32_t zeroAt = Nowhere)
    {
        Begin(40, 1);
        Turntable = {0, 0, 0, zeroAt, false, Phases[0]};
        record.Ops.WriteRegister = WritePhases;
        record.Ops.ReadStatus = ReadSensors;
    }
    void BeginLines(int32_t kind, int32_t zeroAt = Nowhere)
    {
        Begin(44, kind);
        Turntable = {0, 0, 0, zeroAt, true, 0};
        record.Ops.WriteRegister = WriteLines;
        record.Ops.ReadStatus = ReadSensors;
        CalibrateAtZero(); // no remainder from earlier
    }
    void CalibrateAtZero()
    {
        const TestWheel before = Turntable;
        Turntable.zeroAt = Turntable.steps;
        CalibFW(0);
        Turntable = before;
        StoreFlag(&record.LastError, 99);
    }
    void BeginController(int32_t platform, int32_t kind, uint32_t idle)
    {
        Begin(platform, kind);
        for (uint16_t& shadow : record.Registers) shadow = 0;
        StatusAnswer = idle;
        BusyReads = 0;
        StatusReads = 0;
        record.Ops.ReadStatus = ReadStatus;
    }
    int32_t Error() { return LoadFlag(record.LastError); }

    // The values of all writes to a register, in order.
    static std::vector<std::string> WritesTo(int32_t reg)
    {
        const std::string start = "WriteRegister " + std::to_string(reg) + " 0x";
        std::vector<std::string> values;
        for (const std::string& text : FakeTexts(start))
            values.push_back(text.substr(start.size()));
        return values;
    }
};

using PhaseStepper = FilterWheel;
using LineStepper = FilterWheel;
using Nibble = FilterWheel;
using Byte = FilterWheel;

} // namespace

TEST_F(PhaseStepper, GoesTheShortWay)
{
    BeginPhases();
    SetFilter(5, 0); // four up
    EXPECT_EQ(Turntable.up, 444);
    EXPECT_EQ(record.FilterPosition, 5);
    EXPECT_EQ(Error(), 0);
    SetFilter(1, 0); // four down
    EXPECT_EQ(Turntable.down, 444);
    SetFilter(6, 0); // three down
    EXPECT_EQ(Turntable.down, 444 + 333);
    SetFilter(1, 0); // three up
    EXPECT_EQ(Turntable.up, 444 + 333);
    EXPECT_EQ(Turntable.steps, 0);
}

TEST_F(PhaseStepper, OfOnePositionIs111StepsAndOfTwo222)
{
    BeginPhases();
    SetFilter(2, 0);
    EXPECT_EQ(Turntable.up, 111);
    SetFilter(4, 0);
    EXPECT_EQ(Turntable.up, 333);
}

TEST_F(PhaseStepper, WhereItIsDoesNotMove)
{
    BeginPhases();
    const uint64_t start = EmuMicroseconds();
    SetFilter(1, 0);
    EXPECT_EQ(Turntable.up + Turntable.down, 0);
    EXPECT_EQ(Error(), 0);
    EXPECT_LT(EmuMicroseconds() - start, 101000u); // what every call waits
}

// 19 to 2 ms, then 74 steps of 2 ms, then 3 to 21 ms: 189 + 148 + 228 = 565.
TEST_F(PhaseStepper, SpeedsUpAndSlowsDown)
{
    BeginPhases();
    const uint64_t start = EmuMicroseconds();
    SetFilter(2, 0);
    const uint64_t milliseconds = (EmuMicroseconds() - start) / 1000;
    EXPECT_EQ(milliseconds, 100u + 100u + 565u + 100u);
    EXPECT_EQ(Turntable.motor & 0x1E00, 0); // without current
}

TEST_F(PhaseStepper, HoldKeepsTheCurrent)
{
    BeginPhases();
    record.FilterHold = 1;
    SetFilter(2, 0); // 111 steps up from phase 0: phase 3
    EXPECT_EQ(Turntable.motor & 0x1E00, 0x1600);
}

TEST_F(PhaseStepper, SearchThatStartsOnTheSensorMovesNothing)
{
    BeginPhases(0);
    record.FilterPosition = 4;
    CalibFW(0);
    EXPECT_EQ(Turntable.up + Turntable.down, 0);
    EXPECT_EQ(record.FilterPosition, 1);
    EXPECT_EQ(Error(), 99);
}

TEST_F(PhaseStepper, SearchGoesDownToTheSensorAndThenByTheOffset)
{
    BeginPhases(-500);
    OpenFW(1, 1, -7, 0);
    EXPECT_EQ(Turntable.down, 500);
    EXPECT_EQ(Turntable.up, 7);
    EXPECT_EQ(record.FilterSetting, 1);
    EXPECT_EQ(record.FilterHold, 1);
    EXPECT_EQ(Error(), 99);
    Turntable.zeroAt = Turntable.steps - 20;
    OpenFW(1, 1, 5, 0);
    EXPECT_EQ(Turntable.down, 500 + 20 + 5);
}

TEST_F(PhaseStepper, SearchGivesUpAfter1200Steps)
{
    BeginPhases();
    CalibFW(0);
    EXPECT_EQ(Turntable.down, 1200);
    EXPECT_EQ(Error(), 7);
    BeginPhases();
    OpenFW(0, 0, 0, 0);
    EXPECT_EQ(Error(), 7);
}

TEST_F(PhaseStepper, PositionThatThereIsNotTurnsNoLongerThanASensibleOne)
{
    BeginPhases();
    for (const int32_t position : {1000000, -1000000, INT32_MAX, INT32_MIN}) {
        SetFilter(position, 0);
        EXPECT_LE(Turntable.up + Turntable.down, 4 * 32767);
    }
}

// 12 positions up are 8 - 12 = -4 downward: -444 steps, so that the motor is switched on and
// off again, and the wheel counts as having arrived.
TEST_F(PhaseStepper, PositionBeyondAWholeTurnSwitchesTheMotorAndStepsNothing)
{
    BeginPhases();
    const uint64_t start = EmuMicroseconds();
    SetFilter(13, 0);
    EXPECT_EQ((EmuMicroseconds() - start) / 1000, 100u + 100u + 100u);
    EXPECT_EQ(Turntable.up + Turntable.down, 0);
    EXPECT_EQ(record.FilterPosition, 13);
}

TEST_F(PhaseStepper, PositionIsKeptForTheCamerasNumber)
{
    BeginPhases();
    record.FilterPositions[0] = 0;
    record.FilterPositions[1] = 0;
    SetFilter(1, 0); // where it is
    EXPECT_EQ(record.FilterPositions[0], 1);
    SetFilter(3, 0);
    EXPECT_EQ(record.FilterPositions[0], 3);
    EXPECT_EQ(record.FilterPositions[1], 0);
    BeginLines(1);
    SetFilter(2, 0);
    EXPECT_EQ(record.FilterPositions[0], 3); // of platforms 40 to 42 alone
}

TEST_F(LineStepper, PositionBeyondAWholeTurnSwitchesTheMotorAndStepsNothing)
{
    BeginLines(1);
    const uint64_t start = EmuMicroseconds();
    SetFilter(13, 0);
    EXPECT_EQ((EmuMicroseconds() - start) / 1000, 100u + 100u + 100u);
    EXPECT_EQ(Turntable.up + Turntable.down, 0);
    EXPECT_EQ(record.FilterPosition, 13);
}

TEST_F(LineStepper, OfEightPositionsGoes25StepsEach)
{
    BeginLines(1);
    SetFilter(4, 0);
    EXPECT_EQ(Turntable.up, 75);
    SetFilter(8, 0);
    EXPECT_EQ(Turntable.up, 175);
    SetFilter(1, 0);
    EXPECT_EQ(Turntable.up, 200); // one more up
    EXPECT_EQ(Turntable.down, 0);
}

// 99.999999 steps less 0.999999, then the same again down: the remainder is back at 0.
TEST_F(LineStepper, OfSixPositionsCarriesThePartsOfSteps)
{
    BeginLines(2);
    SetFilter(4, 0);
    EXPECT_EQ(Turntable.up, 99);
    SetFilter(1, 0);
    EXPECT_EQ(Turntable.down, 99);
    EXPECT_EQ(Turntable.steps, 0);
}

// Down: 33.333333 + 0.333333, + 0.666666, + 0.999999, + 1.333332: 33, 33, 34, 34.
TEST_F(LineStepper, OfSixPositionsMakesUpForThePartsDownward)
{
    BeginLines(2);
    const int32_t steps[] = {33, 33, 34, 34};
    const int32_t positions[] = {6, 5, 4, 3};
    for (int32_t i = 0; i < 4; ++i) {
        const int32_t before = Turntable.down;
        SetFilter(positions[i], 0);
        EXPECT_EQ(Turntable.down - before, steps[i]) << i;
    }
}

TEST_F(LineStepper, NeverReportsTheSecondSensor)
{
    BeginLines(1);
    Turntable.second = false;
    SetFilter(2, 0);
    EXPECT_EQ(Error(), 0);
}

TEST_F(LineStepper, OffsetGoesOutTwice)
{
    BeginLines(1, -30);
    record.FilterZeroOffset = -3;
    CalibFW(0); // 30 down, 3 and 3 up
    EXPECT_EQ(Turntable.down, 30);
    EXPECT_EQ(Turntable.up, 6);
    EXPECT_EQ(Error(), 99);
}

// The mark of the wheel with six positions is eight steps from the first one.
TEST_F(LineStepper, OfSixPositionsStartsEightStepsFromItsMark)
{
    BeginLines(2, -30);
    Turntable.up = Turntable.down = 0;
    record.FilterZeroOffset = 2; // ten down, and two down
    CalibFW(0);
    EXPECT_EQ(Turntable.down, 30 + 10 + 2);
    EXPECT_EQ(Turntable.up, 0);
}

TEST_F(LineStepper, SearchThatStartsOnTheSensorMovesNothingAndLeavesTheDriveOn)
{
    BeginLines(1, 0);
    CalibFW(0);
    EXPECT_EQ(Turntable.up + Turntable.down, 0);
    EXPECT_EQ(Turntable.motor & 0x1000, 0x1000);
    EXPECT_EQ(record.Registers[12] & 0x40, 0);
}

TEST_F(LineStepper, SearchGivesUpAfter1200Steps)
{
    BeginLines(1);
    CalibFW(0);
    EXPECT_EQ(Turntable.down, 1200);
    EXPECT_EQ(Error(), 7);
    EXPECT_EQ(Turntable.motor & 0x1000, 0);
}

// 30 steps of 20 ms, and three more of 10 ms, down from where it rests to the mark.
TEST_F(LineStepper, SearchGoesOnFromWhereTheWheelRests)
{
    BeginLines(1, -30);
    Turntable.up = Turntable.down = 0;
    const uint64_t start = EmuMicroseconds();
    CalibFW(0);
    const uint64_t steady = EmuMicroseconds() - start;
    EXPECT_EQ(Turntable.down, 30);
    BeginLines(1, -30);
    Turntable.up = Turntable.down = 0;
    record.Ops.ReadStatus = ReadSlippingSensors;
    const uint64_t again = EmuMicroseconds();
    CalibFW(0);
    EXPECT_EQ(Turntable.down, 33);
    EXPECT_EQ(EmuMicroseconds() - again, steady + 30000);
    EXPECT_EQ(Error(), 99);
}

TEST_F(Nibble, OfTarnStandsInRegister11UntilItIsDone)
{
    BeginController(24, 3, 0);
    record.Registers[11] = 0x0560;
    BusyReads = 3; // all ones
    SetFilter(4, 0);
    EXPECT_EQ(FakeTexts(), (Texts{"WriteRegister 11 0x0564", "ReadStatus 7", "ReadStatus 7",
                                  "ReadStatus 7", "ReadStatus 7", "WriteRegister 11 0x0560"}));
    EXPECT_EQ(record.Registers[11], 0x0560);
    EXPECT_EQ(Error(), 0);
}

TEST_F(Nibble, DeadControllerCountsAsDoneAfterASecond)
{
    BeginController(24, 3, 0xFFFF);
    const uint64_t start = EmuMicroseconds();
    SetFilter(4, 0);
    EXPECT_EQ(StatusReads, 1000);
    EXPECT_GE(EmuMicroseconds() - start, 1150000u);
    EXPECT_EQ(Error(), 0);
}

// Zero is 7, 10; setting 1 is 9 twice; hold 2 is 13 three times; offset 3 is 11 twice.
TEST_F(Nibble, OfTarnTakesItsSettings)
{
    for (const auto call : {OpenFW, SetFW}) {
        BeginController(22, 3, 0);
        call(1, 2, 3, 0);
        EXPECT_EQ(WritesTo(11),
                  (Texts{"0007", "0000", "000A", "0000", "0009", "0000", "0009", "0000", "000D",
                         "0000", "000D", "0000", "000D", "0000", "000B", "0000", "000B", "0000"}));
        EXPECT_EQ(Error(), 0);
        Fake.calls.clear();
    }
}

// Setting 5 is 10 and 8 twice; hold 0 is 10, 13; offset 1 is nothing.
TEST_F(Nibble, OfHeronHasMotorOrders)
{
    BeginController(60, 0, 0);
    OpenFW(5, 0, 1, 0);
    EXPECT_EQ(WritesTo(1), (Texts{"0007", "0000", "000A", "0000", "0008", "0000", "0008", "0000",
                                  "000A", "0000", "000D", "0000"}));
    EXPECT_EQ(Error(), 0);
    Fake.calls.clear();
    StoreFlag(&record.LastError, 99);
    SetFW(3, 0, 1, 0); // does not go home
    EXPECT_EQ(WritesTo(1), (Texts{"000A", "0000", "000A", "0000", "000D", "0000"}));
    EXPECT_EQ(Error(), 99);
}

TEST_F(Nibble, OfHeronPlusStandsInRegister7)
{
    for (const int32_t platform : {61, 200}) {
        BeginController(platform, 0, 0);
        record.Registers[7] = 0x10;
        SetFilter(3, 0);
        // Bit 7 of register 10 is clear in 0x7F.
        EXPECT_EQ(FakeTexts(),
                  (Texts{"WriteRegister 7 0x0013", "ReadRegister 10", "WriteRegister 7 0x0010"}));
        Fake.calls.clear();
    }
}

TEST_F(Nibble, OfBriarR3AsksRegister7)
{
    BeginController(44, 3, 0);
    record.Ops.ReadRegister = [](int32_t reg, int32_t) -> uint16_t {
        return reg == 7 ? 0xFFFE : 1;
    };
    SetFilter(2, 0);
    EXPECT_EQ(WritesTo(11), (Texts{"0002", "0000"}));
    EXPECT_EQ(Error(), 0);
    StoreFlag(&record.LastError, 99);
    CalibFW(0);
    EXPECT_EQ(Error(), 99);
}

TEST_F(Nibble, OfBriarTakesSettingsAndTheMotorDoesTheMoves)
{
    BeginController(40, 3, 2); // on the zero sensor
    record.Ops.ReadRegister = [](int32_t, int32_t) -> uint16_t { return 0; };
    SetFW(3, 0, 0, 0);
    EXPECT_EQ(WritesTo(11), (Texts{"0007", "0000", "000A", "0000", "000D", "0000"}));
    EXPECT_EQ(Error(), 99);
    Fake.calls.clear();
    CalibFW(0);
    EXPECT_EQ(WritesTo(11), Texts{});
}

// Register 14 and 9F start each command.
TEST_F(Byte, OfTarnGoesThroughRegister13)
{
    BeginController(24, 4, 2);
    record.Registers[13] = 0x1C00;
    record.Registers[11] = 0x0504;
    SetFilter(3, 0);
    EXPECT_EQ(
        FakeTexts(),
        (Texts{"WriteRegister 14 0xFFFF", "WriteRegister 13 0x1C9F", "WriteRegister 11 0x0506",
               "WriteRegister 11 0x0004", "ReadStatus 7", "WriteRegister 13 0x1C22",
               "WriteRegister 11 0x0006", "WriteRegister 11 0x0004", "ReadStatus 7"}));
    EXPECT_EQ(record.Registers[11], 0x0004);
    EXPECT_EQ(Error(), 0);
}

TEST_F(Byte, OfTarnTakesItsSettings)
{
    BeginController(30, 4, 2);
    SetFW(5, 2, 33, 0); // 33 & 31 = 1
    EXPECT_EQ(WritesTo(13),
              (Texts{"009F", "0000", "009F", "00A5", "009F", "0050", "009F", "0061"}));
    Fake.calls.clear();
    SetFW(5, 4, 33, 0); // no such hold
    EXPECT_EQ(WritesTo(13), (Texts{"009F", "0000", "009F", "00A5", "009F", "0061"}));
}

TEST_F(Byte, OfBriarR3GoesThroughRegister7)
{
    BeginController(47, 4, 1);
    SetFilter(1, 0);
    EXPECT_EQ(FakeTexts(),
              (Texts{"WriteRegister 8 0x00FF", "WriteRegister 7 0x008F", "WriteRegister 11 0x0001",
                     "WriteRegister 11 0x0000", "ReadStatus 9", "WriteRegister 7 0x0020",
                     "WriteRegister 11 0x0001", "WriteRegister 11 0x0000", "ReadStatus 9"}));
    Fake.calls.clear();
    StoreFlag(&record.LastError, 99);
    OpenFW(0, 1, 0, 0);
    EXPECT_EQ(WritesTo(7), (Texts{"008F", "0000", "008F", "00A0", "008F", "0047", "008F", "0060"}));
    EXPECT_EQ(Error(), 99);
}

TEST_F(Byte, OfTarn5StartsOnceAheadOfItsSettings)
{
    BeginController(28, 4, 0); // register 19 reads 7F
    SetFW(1, 0, 2, 0);
    EXPECT_EQ(WritesTo(5), (Texts{"00FF"}));
    EXPECT_EQ(WritesTo(8), (Texts{"0002"}));
    EXPECT_EQ(WritesTo(6), (Texts{"0000", "0000", "00A1", "0080", "0062"}));
    EXPECT_EQ(WritesTo(9), (Texts{"0000", "0002", "0000", "0002", "0000", "0002", "0000", "0002",
                                  "0000", "0002", "0000"}));
    EXPECT_EQ(Error(), 0);
    Fake.calls.clear();
    StoreFlag(&record.LastError, 99);
    SetFilter(2, 0);
    EXPECT_EQ(WritesTo(6), (Texts{"0021"}));
    EXPECT_EQ(Error(), 99);
}

TEST_F(FilterWheel, OnUsbIsToldByNumberedOrders)
{
    static std::vector<int32_t> orders;
    orders.clear();
    DriverExtras extras = {};
    extras.OrderWheel = [](int32_t operation, int32_t value, int32_t) {
        orders.push_back(operation * 100 + value);
    };
    Begin(450, 0);
    record.Extras = &extras;
    SetFilter(3, 0);
    EXPECT_EQ(Error(), 0);
    CalibFW(0);
    OpenFW(1, 2, 3, 0);
    SetFW(4, 5, 6, 0);
    EXPECT_EQ(orders, (std::vector<int32_t>{102, 0, 0, 301, 402, 203, 304, 405, 206}));
    record.Extras = nullptr;
}

TEST_F(FilterWheel, PositionsThatThereAreNotGoOutAsTheirLowBits)
{
    BeginController(24, 4, 2);
    SetFilter(INT_MIN, 0); // 7FFFFFFF & 31
    EXPECT_EQ(WritesTo(13), (Texts{"009F", "003F"}));
    static int32_t told;
    DriverExtras extras = {};
    extras.OrderWheel = [](int32_t, int32_t value, int32_t) { told = value; };
    Begin(300, 0);
    record.Extras = &extras;
    SetFilter(INT_MIN, 0);
    EXPECT_EQ(told, INT_MAX);
    record.Extras = nullptr;
}

TEST_F(FilterWheel, OfR4DspAnswersForItself)
{
    static int32_t hold, offset;
    DriverExtras extras = {};
    extras.TurnWheel = [](int32_t position, int32_t) -> uint16_t {
        return static_cast<uint16_t>(position + 40);
    };
    extras.ZeroWheel = [](int32_t) -> uint16_t { return 33; };
    extras.SetWheel = [](int32_t h, int32_t o, int32_t) { hold = h, offset = o; };
    Begin(48, 0);
    record.Extras = &extras;
    SetFilter(3, 0);
    EXPECT_EQ(Error(), 43);
    CalibFW(0);
    EXPECT_EQ(Error(), 33);
    SetFW(1, 2, -3, 0);
    EXPECT_EQ(hold * 100 + offset, 197);
    OpenFW(1, 4, 5, 0);
    EXPECT_EQ(hold * 100 + offset, 405);
    EXPECT_EQ(Error(), 33);
    record.Extras = nullptr;
}

TEST_F(FilterWheel, ThatThePlatformDoesNotHaveDoesNothing)
{
    const int32_t pairs[][2] = {{24, 1}, {28, 3}, {1, 4}, {205, 3}, {400, 4}, {80, 1}, {70, 1}};
    for (const auto& pair : pairs) {
        BeginController(pair[0], pair[1], 0);
        SetFilter(2, 0);
        CalibFW(0);
        OpenFW(1, 2, 3, 0);
        SetFW(1, 2, 3, 0);
        EXPECT_EQ(MoveWheel(1, 2, 0), 0);
        EXPECT_EQ(FakeTexts(), Texts{}) << pair[0];
        EXPECT_EQ(Error(), 99);
    }
}

// As after definitions of another platform, loaded while a camera is open.
TEST_F(FilterWheel, OfAPlatformWhoseDriverIsNotBoundDoesNothing)
{
    for (const int32_t platform : {48, 300, 450}) {
        Begin(platform, 0);
        SetFilter(2, 0);
        CalibFW(0);
        OpenFW(1, 2, 3, 0);
        SetFW(1, 2, 3, 0);
        EXPECT_EQ(FakeTexts(), Texts{}) << platform;
    }
}

TEST_F(FilterWheel, KindIsWhatTheConfigurationSays)
{
    Begin(24, 4);
    EXPECT_EQ(IsThereFW(0), 4);
}

TEST_F(FilterWheel, HoldsTheTimerOff)
{
    BeginController(24, 3, 0);
    SetFilter(2, 0);
    EXPECT_EQ(Fake.calls.front().stopCount, 1);
    EXPECT_EQ(LoadFlag(StopCount[0]), 0);
}

TEST_F(FilterWheel, SlotOfTheDriverZeroesAndGoes)
{
    BeginPhases(-3);
    EXPECT_EQ(MoveWheel(0, 0, 0), 0);
    EXPECT_EQ(Turntable.down, 3);
    EXPECT_EQ(MoveWheel(1, 2, 0), 0);
    EXPECT_EQ(Turntable.up, 111);
    Begin(80, 0);
    Turntable = {0, 0, 0, Nowhere, false, Phases[0]};
    record.Ops.WriteRegister = WritePhases;
    record.Ops.ReadStatus = ReadSensors;
    EXPECT_EQ(MovePhaseWheel(1, 3, 0), 0);
    EXPECT_EQ(Turntable.up, 222);
}
