// The motors of an objective and the plug-in device.
#include <algorithm>

#include "emulator/traffic.h"
#include "tests/accessories/accessories.h"

namespace {

class Objective : public BusAccessory {
protected:
    EmuObjective* objective = nullptr;

    void Fit(int32_t platform = 44, int32_t options = 0)
    {
        VirtualSetup setup = {platform, 255, 2, nullptr};
        setup.objective = true;
        Begin(setup, options);
        objective = EmuBusObjective(bus);
    }

    // The lines that a motor was connected with, and for how many milliseconds.
    void ExpectRuns(const std::vector<std::pair<int, double>>& wanted) const
    {
        ASSERT_EQ(objective->runs.size(), wanted.size());
        for (size_t i = 0; i < wanted.size(); ++i) {
            const EmuObjectiveRun& run = objective->runs[i];
            EXPECT_EQ(run.lines, wanted[i].first) << i;
            EXPECT_NEAR(static_cast<double>(run.us) / 1000, wanted[i].second, 1) << i;
        }
    }
};

class PlugIn : public UsbAccessory {
protected:
    void Fit(int32_t platform, int32_t sensor) { Begin({platform, sensor}); }
};

std::vector<std::string> Lines;

void TakeLine(const char* line)
{
    Lines.emplace_back(line);
}

} // namespace

TEST_F(Objective, RunsAMotorToItsEnd)
{
    for (const int32_t platform : {44, 47}) {
        for (const auto& [operation, lines] :
             std::vector<std::pair<int32_t, int>>{{0, 0x12}, {1, 0x24}, {2, 0x21}}) {
            Fit(platform);
            QV_ObjectiveControl(operation, 17, 0);
            ExpectRuns({{lines, 3000}});
            EXPECT_EQ(EmuBusRegister(bus, 7), 0);
            EXPECT_EQ(EmuBusRegister(bus, 8), 255);
            Renew();
        }
    }
}

TEST_F(Objective, MotorStandsAtItsEnd)
{
    Fit();
    QV_ObjectiveControl(0, 0, 0);
    EXPECT_EQ(objective->places[1], EmuObjectiveTravelUs);
    QV_ObjectiveControl(4, 400, 0);
    EXPECT_NEAR(static_cast<double>(objective->places[1]), 2.1e6, 1e3);
    QV_ObjectiveControl(3, 300, 0);
    EXPECT_NEAR(static_cast<double>(objective->places[1]), 2.4e6, 2e3);
    EXPECT_EQ(objective->places[0], 0);
    EXPECT_EQ(objective->places[2], 0);
}

TEST_F(Objective, JogsAMotorAndBrakes)
{
    const struct {
        int32_t operation;
        int lines, brake;
    } rows[] = {{3, 0x12, 0x02}, {4, 0x22, 0x02}, {5, 0x24, 0x04},
                {6, 0x14, 0x04}, {7, 0x21, 0x01}, {8, 0x11, 0x01}};
    for (const auto& row : rows) {
        Fit();
        QV_ObjectiveControl(row.operation, 250, 0);
        ExpectRuns({{row.lines, 250}, {row.brake, 100}});
        EXPECT_EQ(EmuBusRegister(bus, 7), 0);
        Renew();
    }
}

TEST_F(Objective, JogOfNoTimeIsAMomentAndABrake)
{
    Fit();
    QV_ObjectiveControl(6, 0, 0);
    ExpectRuns({{0x14, 0}, {0x04, 100}});
}

TEST_F(Objective, PortHasNoImageInTheLibrary)
{
    Fit();
    QV_WMReg(7, 0x55, 0);
    QV_ObjectiveControl(3, 10, 0);
    EXPECT_EQ(QV_RMReg(7, 0), 0x55);
    EXPECT_EQ(EmuBusRegister(bus, 7), 0);
}

TEST_F(Objective, LongestJogIsOver65Seconds)
{
    Fit();
    QV_ObjectiveControl(7, 65535, 0);
    ExpectRuns({{0x21, 65535}, {0x01, 100}});
}

TEST_F(Objective, OtherOperationsOnlyDriveThePort)
{
    Fit();
    Lines.clear();
    EmuRecordCycles(true);
    EmuRecordTo(TakeLine);
    QV_ObjectiveControl(9, 100, 0);
    EmuRecordTo(nullptr);
    EXPECT_EQ(EmuBusRegister(bus, 8), 255);
    EXPECT_TRUE(objective->runs.empty());
    EXPECT_EQ(Lines, (std::vector<std::string>{"address 8008", "data 00FF"}));
    QV_ObjectiveControl(-1, 100, 0);
    EXPECT_TRUE(objective->runs.empty());
}

// The timer is held off and let go again: it lets the call wait for its tick, and regulates
// on afterwards.
TEST_F(Objective, OfOtherPlatformsIsNotTouched)
{
    Fit(42, 0x1);
    QV_Delay(1000);
    Lines.clear();
    EmuRecordCycles(true);
    const uint64_t ms = MillisecondsOf([] {
        EmuRecordTo(TakeLine);
        QV_ObjectiveControl(0, 100, 0);
        EmuRecordTo(nullptr);
    });
    const auto cycle = std::find_if(Lines.begin(), Lines.end(), [](const std::string& line) {
        return line.rfind("address 8007", 0) == 0 || line.rfind("address 8008", 0) == 0;
    });
    EXPECT_EQ(cycle, Lines.end());
    EXPECT_GE(ms, 5u);
    EXPECT_LT(ms, 700u);
    EmuBusSetTemperature(bus, -5.0);
    QV_Delay(5000);
    EXPECT_LT(QV_ReadTemp(QV_CELSIUS, 0), 10.0);
}

// 0xFFEE starts a conversion of the temperature.
TEST_F(Objective, NoTemperatureIsReadWhileAMotorRuns)
{
    Fit(44, 0x1);
    QV_Delay(3000);
    QV_StopNow(0); // the timer has come to rest
    Lines.clear();
    EmuRecordCycles(true);
    EmuRecordTo(TakeLine);
    QV_ObjectiveControl(1, 0, 0);
    EmuRecordTo(nullptr);
    QV_StartNow(0);
    EXPECT_EQ(std::count(Lines.begin(), Lines.end(), "address FFEE"), 0);
    EXPECT_EQ(std::count(Lines.begin(), Lines.end(), "sleep 3000"), 1);
}

// --- the plug-in device ---

TEST_F(PlugIn, TakesFourNumbersLessTwoBytes)
{
    for (const int32_t platform : {300, 450}) {
        Fit(platform, platform == 300 ? 255 : 3945);
        uint32_t values[] = {0x11223344, 0x55667788, 0x99AABBCC, 0xDDEEFF01};
        EXPECT_EQ(QV_Plug(3, values, 0), 0);
        const uint16_t words[] = {0x3344, 0x1122, 0x7788, 0x5566, 0xBBCC, 0x99AA, 0xFF01};
        for (int32_t i = 0; i < 7; ++i) EXPECT_EQ(EmuUsbGeometry(0, 16 + i), words[i]) << i;
        EXPECT_EQ(EmuUsbCommands(0, 23), 1u);
        EXPECT_EQ(EmuUsbStrayBytes(0), 0u);
        EXPECT_EQ(QV_Status(0), 0);
        Renew();
    }
}

// Half of the reply is enough.
TEST_F(PlugIn, DeviceThatSaysNothingIsAnError)
{
    Fit(450, 3945);
    uint32_t values[4] = {};
    EmuUsbMute(0, 1);
    EXPECT_EQ(QV_Plug(0, values, 0), 0);
    EXPECT_EQ(QV_Status(0), 0);
    EmuUsbMute(0, 0);
    EXPECT_EQ(QV_Plug(0, values, 0), 0);
    EXPECT_EQ(QV_Status(0), 25);
}

// A word, and the command that takes it.
TEST_F(PlugIn, OfTarnUTakesACommandAndAWord)
{
    Fit(29, 260);
    uint32_t values[] = {0xABCD1228, 0x56789ABC, 1, 2};
    EXPECT_EQ(QV_Plug(0, values, 0), 0);
    EXPECT_EQ(EmuUsbCommands(0, 0x28), 1u);
    EXPECT_EQ(EmuUsbRegister(0, 0x28), 0x9ABC);
    EXPECT_EQ(QV_Status(0), 0);
}

TEST_F(PlugIn, OfTarnUWaitsForItsProcessor)
{
    Fit(29, 260);
    uint32_t values[] = {0x28, 7, 0, 0};
    EmuUsbHang(0);
    EmuSetTimeLimit(EmuMicroseconds() + 5 * Second);
    EXPECT_DEATH(QV_Plug(0, values, 0), HungAsTold);
}

TEST_F(Objective, PlugOfOtherPlatformsOnlyWaits)
{
    for (const VirtualSetup& setup :
         {VirtualSetup{40, 255, 0, nullptr}, VirtualSetup{44, 255, 2, nullptr}}) {
        Begin(setup);
        LeaveError();
        EXPECT_EQ(SleepsOf([] {
                      uint32_t values[4] = {};
                      EXPECT_EQ(QV_Plug(0, values, 0), 0);
                  }),
                  (std::vector<uint32_t>{100}));
        EXPECT_EQ(QV_Status(0), OtherError);
        Renew();
    }
}
