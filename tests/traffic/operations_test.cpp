// What each operation sends, on a platform of each dialect: the file PLATFORM_OPERATION.txt.
#include "core/record.h"
#include "emulator/bus_camera.h"
#include "emulator/traffic.h"
#include "tests/traffic/conversation.h"

namespace {

struct Platform {
    const char* name;
    VirtualSetup setup, frames; // where frames are read on a card of another revision
};

constexpr Platform Platforms[] = {
    {"BriarPci", {42, 255, 2, "BuildWaveBriar", 200}, {42, 255, 2, "BuildWaveBriar", 200}},
    {"BriarR3", {44, 255, 2, "BuildWaveR3"}, {44, 255, 2, "BuildWaveR3"}},
    {"TarnIvPlus", {25, 255, 2, "BuildWaveTarn4pKaf"}, {25, 255, 2, "BuildWaveTarn4pKaf", 200}},
    {"Heron", {60, 255, 2, "BuildWaveHeron"}, {60, 255, 2, "BuildWaveHeron"}},
    {"UnodII", {71, 255, 70, nullptr}, {71, 255, 70, nullptr}},
};

class TrafficOf : public Conversation, public testing::WithParamInterface<Platform> {
protected:
    const VirtualSetup& setup = GetParam().setup;

    void Compare(const char* operation)
    {
        ExpectFile(std::to_string(setup.platform) + "_" + operation + ".txt");
    }
};

std::string NameOf(const testing::TestParamInfo<Platform>& info)
{
    return info.param.name;
}

INSTANTIATE_TEST_SUITE_P(Platforms, TrafficOf, testing::ValuesIn(Platforms), NameOf);

} // namespace

TEST_P(TrafficOf, Open)
{
    OpenRecorded(setup, true);
    Compare("open");
}

TEST_P(TrafficOf, Clear)
{
    Begin(setup);
    Record();
    QV_ClearCCD(0);
    Compare("clear");
}

// Light and dark, with what only 25 and only 60 heed.
TEST_P(TrafficOf, LightAndDarkFrame)
{
    Begin(GetParam().frames);
    CameraTable[0].DnrMode = 1;
    CameraTable[0].ShutterMode = 1;
    Record();
    Frame(1);
    Frame(0);
    Compare("frame");
}

TEST_P(TrafficOf, Window)
{
    Begin(GetParam().frames);
    Record();
    Window();
    Compare("window");
}

TEST_P(TrafficOf, Temperature)
{
    Begin(setup);
    Record();
    QV_ReadTemp(1, 0);
    Compare("temperature");
}

TEST_P(TrafficOf, Cooler)
{
    Begin(setup);
    Record();
    QV_Cooler(1, 0);
    QV_SetPower(30.0, 0);
    QV_Cooler(0, 0);
    Compare("cooler");
}

// Holding the shutter by hand is for 25 and 44.
TEST_P(TrafficOf, Shutter)
{
    Begin(setup);
    Record();
    QV_Shutter(0.005, 0);
    QV_Shutter(0.0, 0);
    QV_Shutter(700.0, 0);
    QV_ShutterControl(1, 0);
    QV_ShutterControl(0, 0);
    Compare("shutter");
}

TEST_P(TrafficOf, Gain)
{
    Begin(setup);
    Record();
    QV_SetGain(2, 0);
    QV_SetUsrGain(100, 1, 300, 0);
    QV_SetUsrGain(100, 0, 100, 0);
    Compare("gain");
}

TEST_P(TrafficOf, MemoryRead)
{
    Begin(setup);
    EmuBusSetMemoryWord(bus, 8, 54321);
    Record();
    EXPECT_EQ(QV_ReadEP(8, 0), 54321);
    Compare("eeprom_read");
}

TEST_P(TrafficOf, MemoryWrite)
{
    Begin(setup);
    Record();
    QV_WriteEP(3, 0x1234, 0);
    Compare("eeprom_write");
    EXPECT_EQ(EmuBusMemoryWord(bus, 3), 0x1234);
}

// A gain that is loaded is not sent again.
TEST_F(Conversation, LoadedGainStaysOnBriar)
{
    Begin(Platforms[0].setup);
    QV_SetGain(2, 0);
    Record();
    QV_SetGain(2, 0);
    EXPECT_EQ(EmuTraffic(), "");
}
