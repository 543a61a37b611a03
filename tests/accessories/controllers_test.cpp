// Wheels with a controller of their own, on every platform that has one. The values 5, 2 and 4
// of QV_OpenFW and QV_SetFW stand for a speed, a hold and an offset; what they mean is the
// controller's business.
#include <ostream>

#include "tests/accessories/accessories.h"
#include "tests/support/demo_camera.h"

namespace {

using Bytes = std::vector<uint8_t>;

constexpr int32_t Nibbles = 3, Commands = 4; // kinds

// What a wheel is told, and what becomes of an error that was there.
struct Route {
    const char* name;
    VirtualSetup setup; // UsbInterface: on USB
    EmuWheelKind wheel;
    int32_t kind;
    Bytes go; // to position 3
    Bytes home;
    Bytes open; // with 5, 2 and 4
    Bytes set;
    int32_t homed, opened, told; // the error behind QV_CalibFW, QV_OpenFW, QV_SetFW
};

void PrintTo(const Route& route, std::ostream* out)
{
    *out << route.name;
}

const Bytes NibbleGo = {3}, NibbleHome = {7, 10};
// Twice faster than 3; 13 and twice 13; three times 11.
const Bytes NibbleOpen = {7, 10, 8, 8, 13, 13, 13, 11, 11, 11};
const Bytes HeronHome = {7};
const Bytes HeronSet = {10, 8, 8, 10, 13, 13, 13, 11, 11, 11};
const Bytes HeronOpen = {7, 10, 8, 8, 10, 13, 13, 13, 11, 11, 11};
const Bytes TarnGo = {0x9F, 0x22}, TarnHome = {0x9F, 0};
const Bytes TarnOpen = {0x9F, 0, 0x9F, 0xA5, 0x9F, 80, 0x9F, 0x64};
const Bytes BriarGo = {0x8F, 0x22}, BriarHome = {0x8F, 0};
const Bytes BriarOpen = {0x8F, 0, 0x8F, 0xA5, 0x8F, 79, 0x8F, 0x64};
const Bytes Tarn5Go = {0x22}, Tarn5Home = {0};
const Bytes Tarn5Open = {0, 0, 0xA5, 80, 0x64};

Route Nibble(const char* name, VirtualSetup setup)
{
    return {name, setup, EmuNibbleWheel, Nibbles, NibbleGo, NibbleHome, NibbleOpen, NibbleOpen, 0,
            0,    0};
}

// They come as on a Tarn; the error stays but behind a move.
Route BriarNibble(const char* name, VirtualSetup setup)
{
    Route route = Nibble(name, setup);
    route.homed = route.opened = route.told = OtherError;
    return route;
}

Route HeronNibble(const char* name, VirtualSetup setup)
{
    return {name, setup, EmuNibbleWheel, 0, NibbleGo, HeronHome, HeronOpen, HeronSet,
            0,    0,     OtherError};
}

Route TarnBytes(const char* name, VirtualSetup setup)
{
    return {name, setup, EmuByteWheel, Commands, TarnGo, TarnHome, TarnOpen, TarnOpen, 0, 0, 0};
}

Route BriarBytes(const char* name, VirtualSetup setup)
{
    return {name,      setup,     EmuByteWheel, Commands,   BriarGo,   BriarHome,
            BriarOpen, BriarOpen, OtherError,   OtherError, OtherError};
}

// The first of the zeros only makes the port an output.
Route Tarn5Bytes(const char* name, VirtualSetup setup)
{
    return {name,      setup,     EmuByteWheel, Commands,   Tarn5Go, Tarn5Home,
            Tarn5Open, Tarn5Open, OtherError,   OtherError, 0};
}

const VirtualSetup OnCard(int32_t platform, int32_t sensor = 255)
{
    return {platform, sensor, 2, nullptr};
}

const VirtualSetup OnUsb(int32_t platform, int32_t sensor = 255)
{
    return {platform, sensor, UsbInterface, nullptr};
}

std::vector<Route> Routes()
{
    VirtualSetup heronOnPort = OnCard(60);
    heronOnPort.interfaceType = 0;
    return {
        Nibble("Nibbles22", OnCard(22)),      Nibble("Nibbles23", OnCard(23)),
        Nibble("Nibbles24", OnCard(24)),      Nibble("Nibbles25", OnCard(25)),
        Nibble("Nibbles29", OnUsb(29, 260)),  Nibble("Nibbles30", OnCard(30)),
        BriarNibble("Nibbles44", OnCard(44)), BriarNibble("Nibbles47", OnCard(47)),
        HeronNibble("Nibbles60", OnCard(60)), HeronNibble("Nibbles60OnPort", heronOnPort),
        HeronNibble("Nibbles61", OnUsb(61)),  HeronNibble("Nibbles200", OnUsb(200)),
        TarnBytes("Bytes22", OnCard(22)),     TarnBytes("Bytes23", OnCard(23)),
        TarnBytes("Bytes24", OnCard(24)),     TarnBytes("Bytes25", OnCard(25)),
        TarnBytes("Bytes29", OnUsb(29, 260)), TarnBytes("Bytes30", OnCard(30)),
        Tarn5Bytes("Bytes28", OnCard(28)),    Tarn5Bytes("Bytes28OnUsb", OnUsb(28)),
        BriarBytes("Bytes44", OnCard(44)),    BriarBytes("Bytes47", OnCard(47)),
    };
}

// A wheel on a bus camera or on one on USB.
class Controller : public BusAccessory {
protected:
    void Fit(VirtualSetup setup, EmuWheelKind wheelKind, int32_t kind, uint32_t moveMs = 20)
    {
        setup.wheel.kind = wheelKind;
        setup.wheel.moveMs = moveMs;
        setup.wheelKind = kind;
        if (setup.interfaceType != UsbInterface) {
            Begin(setup);
        } else {
            FitOnUsb(setup);
        }
        // The open of 29 leaves a command on the lines.
        if (setup.platform == 29 && kind == Nibbles) QV_CalibFW(0);
        QV_Delay(10000);
        wheel->commands.clear();
        wheel->unheard = 0;
    }

    // What a call tells the wheel.
    template <typename Call> Bytes Told(Call call)
    {
        wheel->commands.clear();
        call();
        EXPECT_EQ(wheel->unheard, 0u);
        return wheel->commands;
    }

private:
    void FitOnUsb(const VirtualSetup& setup)
    {
        WriteDefinitions(SmallDefinitions({setup.platform, setup.sensor, 3, UsbVersion(setup)}));
        EmuUsbCamera camera = {};
        camera.platform = setup.platform;
        camera.sensor = setup.sensor;
        camera.version = static_cast<uint16_t>(UsbVersion(setup));
        camera.chip = {ImageColumns, SensorRows, LeadingCells, RegisterCells, SmallScene};
        camera.wordNs = 500;
        camera.memory[1] = 10;
        camera.wheel = setup.wheel;
        ASSERT_EQ(EmuPlugUsbCamera(camera), 0);
        Open(setup);
        wheel = EmuUsbWheel(0);
    }

    static int32_t UsbVersion(const VirtualSetup& setup)
    {
        return setup.platform == 61 || setup.platform == 200 ? 47 : SmallVersion;
    }
};

class ControllerRoute : public Controller, public testing::WithParamInterface<Route> {
protected:
    const Route& route = GetParam();

    void SetUp() override
    {
        Controller::SetUp();
        Fit(route.setup, route.wheel, route.kind);
        // 28 drives its port from here on.
        if (route.setup.platform == 28) QV_SetFW(0, 0, 0, 0);
        LeaveError();
    }
};

std::string NameOf(const testing::TestParamInfo<Route>& info)
{
    return info.param.name;
}

// Two positions of eight or six in 200 steps.
int64_t Position3(const EmuWheel& wheel)
{
    return wheel.setup.positions == 6 ? 67 : 50;
}

} // namespace

TEST_P(ControllerRoute, GoesToAPosition)
{
    EXPECT_EQ(Told([] { QV_SetFilter(3, 0); }), route.go);
    EXPECT_EQ(wheel->steps, Position3(*wheel));
    // On 28 the call ends before its error would be cleared.
    EXPECT_EQ(QV_Status(0), route.setup.platform == 28 ? OtherError : 0);
}

TEST_P(ControllerRoute, GoesToZero)
{
    wheel->steps = 50;
    EXPECT_EQ(Told([] { QV_CalibFW(0); }), route.home);
    EXPECT_EQ(wheel->steps, 0);
    EXPECT_EQ(QV_Status(0), route.homed);
}

TEST_P(ControllerRoute, IsOpenedWithItsValues)
{
    EXPECT_EQ(Told([] { QV_OpenFW(5, 2, 4, 0); }), route.open);
    EXPECT_EQ(QV_Status(0), route.opened);
}

TEST_P(ControllerRoute, TakesItsValues)
{
    EXPECT_EQ(Told([] { QV_SetFW(5, 2, 4, 0); }), route.set);
    EXPECT_EQ(QV_Status(0), route.told);
}

TEST_P(ControllerRoute, KindIsThatOfTheConfiguration)
{
    EXPECT_EQ(QV_IsThereFW(0), route.kind);
}

INSTANTIATE_TEST_SUITE_P(Wheels, ControllerRoute, testing::ValuesIn(Routes()), NameOf);

// --- values ---

TEST_F(Controller, NibblesCountTheirValues)
{
    Fit(OnCard(22), EmuNibbleWheel, Nibbles);
    EXPECT_EQ(Told([] { QV_OpenFW(3, 0, 1, 0); }), (Bytes{7, 10, 13}));
    EXPECT_EQ(Told([] { QV_OpenFW(1, 1, 2, 0); }), (Bytes{7, 10, 9, 9, 13, 13, 11}));
    EXPECT_EQ(Told([] { QV_OpenFW(4, -1, -5, 0); }), (Bytes{7, 10, 8, 13}));
}

// 31 positions, five bits of a value, four values for the hold.
TEST_F(Controller, BytesHaveFiveBitsOfTheirValues)
{
    Fit(OnCard(22), EmuByteWheel, Commands);
    EXPECT_EQ(Told([] { QV_SetFilter(8, 0); }), (Bytes{0x9F, 0x27}));
    EXPECT_EQ(Told([] { QV_SetFilter(33, 0); }), (Bytes{0x9F, 0x20}));
    EXPECT_EQ(Told([] { QV_SetFilter(0, 0); }), (Bytes{0x9F, 0x3F}));
    EXPECT_EQ(Told([] { QV_OpenFW(33, 0, -1, 0); }),
              (Bytes{0x9F, 0, 0x9F, 0xA1, 0x9F, 128, 0x9F, 0x7F}));
    EXPECT_EQ(Told([] { QV_OpenFW(0, 1, 0, 0); }),
              (Bytes{0x9F, 0, 0x9F, 0xA0, 0x9F, 72, 0x9F, 0x60}));
    EXPECT_EQ(Told([] { QV_OpenFW(0, 3, 0, 0); }),
              (Bytes{0x9F, 0, 0x9F, 0xA0, 0x9F, 96, 0x9F, 0x60}));
    EXPECT_EQ(Told([] { QV_OpenFW(0, 4, 0, 0); }), (Bytes{0x9F, 0, 0x9F, 0xA0, 0x9F, 0x60}));
}

TEST_F(Controller, BytesOfBriarHaveOtherHolds)
{
    Fit(OnCard(44), EmuByteWheel, Commands);
    const uint8_t holds[] = {128, 71, 79, 95};
    for (int32_t hold = 0; hold < 4; ++hold) {
        wheel->commands.clear();
        QV_SetFW(0, hold, 0, 0);
        EXPECT_EQ(wheel->commands, (Bytes{0x8F, 0, 0x8F, 0xA0, 0x8F, holds[hold], 0x8F, 0x60}));
    }
    EXPECT_EQ(Told([] { QV_SetFW(0, -1, 0, 0); }), (Bytes{0x8F, 0, 0x8F, 0xA0, 0x8F, 0x60}));
}

// 40 to 42 pass the values on as 44 does, and move a stepper otherwise.
TEST_F(Controller, OfBriarTakesItsValuesOnly)
{
    Fit(OnCard(42), EmuNibbleWheel, Nibbles);
    LeaveError();
    EXPECT_EQ(Told([] { QV_SetFW(5, 2, 4, 0); }), NibbleOpen);
    EXPECT_EQ(QV_Status(0), OtherError);
    EXPECT_EQ(Told([] { QV_SetFilter(3, 0); }), Bytes{});
    Renew();
    Fit(OnCard(42), EmuByteWheel, Commands);
    LeaveError();
    EXPECT_EQ(Told([] { QV_SetFW(5, 2, 4, 0); }), BriarOpen);
    EXPECT_EQ(QV_Status(0), OtherError);
    EXPECT_EQ(Told([] { QV_SetFilter(3, 0); }), Bytes{});
}

// The strobe goes down through a byte of the register's image.
TEST_F(Controller, ByteClearsTheUpperHalfOfItsLines)
{
    Fit(OnCard(22), EmuByteWheel, Commands);
    QV_WMReg(11, 0x5A30, 0);
    QV_SetFilter(2, 0);
    EXPECT_EQ(QV_RMReg(11, 0), 0x30);
    EXPECT_EQ(EmuBusRegister(bus, 11), 0x30);
}

TEST_F(Controller, NibbleLeavesTheImageOfItsLines)
{
    Fit(OnCard(22), EmuNibbleWheel, Nibbles);
    QV_WMReg(11, 0x0230, 0);
    QV_SetFilter(2, 0);
    EXPECT_EQ(QV_RMReg(11, 0), 0x0230);
    EXPECT_EQ(EmuBusRegister(bus, 11), 0x0230);
}

// --- busy, slow, dead ---

TEST_F(Controller, NibbleWaitsUntilTheWheelIsThere)
{
    Fit(OnCard(22), EmuNibbleWheel, Nibbles, 200);
    // 100 ms ahead, two positions of 200 ms.
    EXPECT_NEAR(static_cast<double>(MillisecondsOf([] { QV_SetFilter(3, 0); })), 500, 5);
}

// 100 ms ahead, 50 ms and 1000 rounds of 1 ms; on 60 another 50 ms.
TEST_F(Controller, NibbleIsGivenUpSilently)
{
    const struct {
        VirtualSetup setup;
        double ms;
    } rows[] = {{OnCard(22), 1150}, {OnCard(25), 1150}, {OnCard(44), 1150},    {OnCard(60), 1200},
                {OnUsb(61), 1150},  {OnUsb(200), 1150}, {OnUsb(29, 260), 1150}};
    for (const auto& row : rows) {
        Fit(row.setup, EmuNibbleWheel, Nibbles);
        wheel->stuck = true;
        const uint64_t ms = MillisecondsOf([] { QV_SetFilter(3, 0); });
        EXPECT_GE(static_cast<double>(ms), row.ms) << row.setup.platform;
        if (row.setup.interfaceType != UsbInterface) { // a reading there takes its time
            EXPECT_LT(static_cast<double>(ms), row.ms + 200) << row.setup.platform;
        }
        EXPECT_EQ(QV_Status(0), 0);
        EXPECT_EQ(wheel->unheard, 1u);
        Renew();
    }
}

// A command that comes while it is still on its way is lost.
TEST_F(Controller, SlowWheelLosesTheNextNibble)
{
    Fit(OnCard(22), EmuNibbleWheel, Nibbles, 1000);
    QV_SetFilter(3, 0);
    QV_SetFilter(1, 0);
    EXPECT_EQ(wheel->commands, Bytes{3});
    EXPECT_EQ(wheel->unheard, 1u);
    EXPECT_EQ(wheel->steps, 67);
}

TEST_F(Controller, DeadWheelIsNotBusyWithNibbles)
{
    Fit(OnCard(22), EmuNibbleWheel, Nibbles);
    wheel->dead = true;
    EXPECT_NEAR(static_cast<double>(MillisecondsOf([] { QV_SetFilter(3, 0); })), 150, 5);
    EXPECT_EQ(QV_Status(0), 0);
    EXPECT_EQ(wheel->steps, 0);
}

// The trigger of 60 comes along the same line.
TEST_F(Controller, TriggerOfHeronLooksLikeABusyWheel)
{
    Fit(OnCard(60), EmuNibbleWheel, Nibbles);
    EmuBusTrigger(bus, true);
    EXPECT_GE(MillisecondsOf([] { QV_SetFilter(3, 0); }), 1200u);
    EXPECT_EQ(wheel->steps, 67);
}

TEST_F(Controller, ByteWaitsUntilTheWheelIsThere)
{
    for (const VirtualSetup& setup : {OnCard(22), OnCard(44)}) {
        Fit(setup, EmuByteWheel, Commands, 3000);
        EXPECT_GE(MillisecondsOf([] { QV_SetFilter(5, 0); }), 12100u);
        EXPECT_EQ(wheel->steps, 100);
        Renew();
    }
}

// Nothing but the wheel ends the wait.
TEST_F(Controller, DeadWheelHangsTheCallAsToldWithBytes)
{
    for (const VirtualSetup& setup :
         {OnCard(22), OnCard(30), OnCard(44), OnCard(28), OnUsb(28), OnUsb(29, 260)}) {
        Fit(setup, EmuByteWheel, Commands);
        wheel->dead = true;
        EmuSetTimeLimit(EmuMicroseconds() + 5 * Second);
        EXPECT_DEATH(QV_SetFilter(3, 0), HungAsTold) << setup.platform;
        Renew();
    }
    Fit(OnCard(42), EmuByteWheel, Commands);
    wheel->stuck = true;
    EmuSetTimeLimit(EmuMicroseconds() + 5 * Second);
    EXPECT_DEATH(QV_SetFW(0, 0, 0, 0), HungAsTold);
}

// --- wheels that are not there ---

TEST_F(Controller, OtherPairingsDoNothing)
{
    const struct {
        VirtualSetup setup;
        int32_t kind;
    } rows[] = {{OnCard(22), 0},       {OnCard(22), 1},     {OnCard(30), 2},      {OnCard(28), 3},
                {OnUsb(28), 0},        {OnUsb(29, 260), 1}, {OnCard(70), 1},      {OnCard(71), 3},
                {OnCard(80, 2000), 4}, {OnUsb(205), 3},     {OnUsb(400, 3945), 4}};
    for (const auto& row : rows) {
        Fit(row.setup, EmuNoWheel, row.kind);
        LeaveError();
        const std::vector<uint32_t> delay = {100};
        EXPECT_EQ(SleepsOf([] { QV_SetFilter(3, 0); }), delay) << row.setup.platform;
        EXPECT_EQ(SleepsOf([] { QV_CalibFW(0); }), delay) << row.setup.platform;
        EXPECT_EQ(SleepsOf([] { QV_OpenFW(5, 2, 4, 0); }), delay) << row.setup.platform;
        EXPECT_EQ(SleepsOf([] { QV_SetFW(5, 2, 4, 0); }), delay) << row.setup.platform;
        EXPECT_EQ(QV_Status(0), OtherError) << row.setup.platform;
        EXPECT_EQ(QV_IsThereFW(0), row.kind);
        Renew();
    }
}
