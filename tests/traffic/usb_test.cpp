// What each operation sends down a USB pipe or through the adaptor, on every family: the
// file PLATFORM_OPERATION.txt.
#include <filesystem>
#include <fstream>
#include <set>

#include "core/record.h"
#include "emulator/emulator.h"
#include "emulator/traffic.h"
#include "emulator/usb.h"
#include "emulator/usb_camera.h"
#include "emulator/world.h"
#include "tests/support/demo_camera.h"
#include "tests/support/traffic.h"
#include "tests/support/virtual_usb.h"
#include "tests/traffic/conversation.h"

namespace {

const std::filesystem::path Folder(QVN_SOURCE_DIR "/tests/traffic");
constexpr double Exposure = 0.02;
constexpr int32_t Settling = 7;

struct Family {
    const char* name;
    const char* files;
    UsbSetup setup;
    const char* load; // what a word is behind the third; null: no pattern is loaded
};

void PrintTo(const Family& family, std::ostream* out)
{
    *out << family.name;
}

constexpr Family Families[] = {
    {"TolmE", "450", {450, 3945}, nullptr},
    {"R4Dsp", "48", {48, 255}, nullptr},
    {"Tolm", "400", {400, 3945}, nullptr},
    {"TarnU", "29", {29, 260, nullptr, Strobe::Bin, false, "0.95"}, nullptr},
    {"HeronPlus", "61", {61, 255, "BuildWaveHeronPlus"}, "usb + 8C %02X 8D %02X 93 00"},
    {"Osprey", "200", {200, 255, "BuildWaveOspreyKaf"}, "usb + 8C %02X 8D %02X 93 00 94 00"},
    {"OspreyPlus",
     "205",
     {205, 255, "BuildWaveOspreyPlusKaf"},
     "adaptor + 0C %02X 0D %02X 13 00 14 00 21 00"},
    {"TarnV", "28_usb", {28, 255, "BuildWaveTarn5"}, "adaptor + 0009 %04X 0008 0000 0012 0000"},
};

class UsbTraffic : public VirtualUsbTest {
protected:
    static void Record()
    {
        EmuResetTraffic();
        EmuRecord(true);
    }

    // Opens off the record; the shutter takes 7 ms to settle.
    void Begin(const UsbSetup& setup)
    {
        Plug(setup);
        Open(setup);
        CameraTable[0].Config.ShutterHisteresys = Settling;
        Record();
    }

    static void Frame(int32_t shutter)
    {
        std::vector<uint16_t> pixels(ImageColumns * ImageRows);
        QV_GetCCD(shutter, Exposure, pixels.data(), 0);
        EXPECT_EQ(QV_Status(0), 0);
    }

    // From a pixel on, 4 by 2.
    static void ReadWindow()
    {
        uint16_t pixels[8];
        QV_GetWinCCD(1, Exposure, 2, 3, 4, 2, pixels, 0);
        EXPECT_EQ(QV_Status(0), 0);
    }

    static void Compare(const std::string& files, const char* operation,
                        const TrafficValues& values = {})
    {
        EmuRecord(false);
        EXPECT_EQ(TrafficFileDiffers(Folder / (files + "_" + operation + ".txt"), values), "");
    }
};

class UsbTrafficOf : public UsbTraffic, public testing::WithParamInterface<Family> {
protected:
    const UsbSetup& setup = GetParam().setup;

    void Compare(const char* operation, const TrafficValues& values = {})
    {
        UsbTraffic::Compare(GetParam().files, operation, values);
    }

    bool Is(int32_t platform) const { return setup.platform == platform; }
};

std::string NameOf(const testing::TestParamInfo<Family>& info)
{
    return info.param.name;
}

std::vector<Family> FamiliesOf(const std::set<int32_t>& platforms)
{
    std::vector<Family> families;
    for (const Family& family : Families) {
        if (platforms.count(family.setup.platform) != 0) families.push_back(family);
    }
    return families;
}

INSTANTIATE_TEST_SUITE_P(Families, UsbTrafficOf,
                         testing::ValuesIn(FamiliesOf({450, 48, 400, 29, 61, 200, 205, 28})),
                         NameOf);

class UsbPatternTraffic : public UsbTrafficOf {};
class UsbTriggerTraffic : public UsbTrafficOf {};
class UsbSettingsTraffic : public UsbTrafficOf {};
class UsbWheelTraffic : public UsbTrafficOf {};

INSTANTIATE_TEST_SUITE_P(Families, UsbPatternTraffic,
                         testing::ValuesIn(FamiliesOf({61, 200, 205, 28})), NameOf);
INSTANTIATE_TEST_SUITE_P(Families, UsbTriggerTraffic,
                         testing::ValuesIn(FamiliesOf({450, 29, 61, 200, 205, 28})), NameOf);
INSTANTIATE_TEST_SUITE_P(Families, UsbSettingsTraffic,
                         testing::ValuesIn(FamiliesOf({450, 29, 61, 200, 205, 28})), NameOf);
INSTANTIATE_TEST_SUITE_P(Families, UsbWheelTraffic,
                         testing::ValuesIn(FamiliesOf({450, 48, 61, 200})), NameOf);

} // namespace

TEST_P(UsbTrafficOf, Open)
{
    Plug(setup);
    Record();
    Open(setup);
    Compare("open");
}

TEST_P(UsbTrafficOf, Close)
{
    Begin(setup);
    QV_Close(0);
    Compare("close");
}

TEST_P(UsbTrafficOf, LightAndDarkFrame)
{
    Begin(setup);
    Frame(1);
    Frame(0);
    Compare("frame");
}

// The pattern of a window is loaded once; cameras without one are told the geometry then.
TEST_P(UsbTrafficOf, Window)
{
    Begin(setup);
    if (GetParam().load != nullptr || Is(29)) ReadWindow();
    Record();
    ReadWindow();
    Compare("window");
}

TEST_P(UsbTrafficOf, Temperature)
{
    Begin(setup);
    const uint8_t stray[10] = {};
    if (Is(450)) EmuUsbReply(0, stray, sizeof stray, EmuMicroseconds(), 0);
    QV_Delay(20);
    Record();
    QV_ReadTemp(QV_CELSIUS, 0);
    Compare("temperature");
}

TEST_P(UsbTrafficOf, Cooler)
{
    Begin(setup);
    QV_Cooler(1, 0);
    QV_SetPower(30.0, 0);
    if (!Is(48)) QV_SetPower(100.0, 0);
    QV_SetFanSpeed(50.0, 0);
    if (Is(48)) QV_SetTemp(-20.0, QV_CELSIUS, 0);
    QV_Cooler(0, 0);
    Compare("cooler");
}

TEST_P(UsbTrafficOf, Shutter)
{
    Begin(setup);
    QV_Shutter(0.005, 0);
    QV_Shutter(0.0, 0);
    QV_Shutter(700.0, 0);
    QV_ShutterControl(1, 0);
    QV_ShutterControl(0, 0);
    Compare("shutter");
}

// Nothing at all on 29 and 48.
TEST_P(UsbTrafficOf, Gain)
{
    Begin(setup);
    QV_SetGain(2, 0);
    QV_SetUsrGain(100, 1, 300, 0);
    QV_SetUsrGain(100, 0, 100, 0);
    if (Is(29) || Is(48)) {
        EXPECT_EQ(EmuTraffic(), "");
    } else {
        Compare("gain");
    }
}

TEST_P(UsbTrafficOf, Memory)
{
    Begin(setup);
    QV_ReadEP(Is(61) || Is(200) ? 4 : 8, 0);
    QV_WriteEP(3, 0x1234, 0);
    QV_Poke(0x123, Is(61) ? 0x45 : 0x6745, 0);
    QV_Peek(0x123, 0);
    Compare("memory");
}

TEST_P(UsbPatternTraffic, Load)
{
    Begin(setup);
    std::string zeros;
    for (int32_t address = 3; address < 512; ++address) {
        char word[80];
        if (Is(28)) {
            snprintf(word, sizeof word, GetParam().load, address);
        } else {
            snprintf(word, sizeof word, GetParam().load, address & 0xFF, address >> 8);
        }
        zeros += address == 3 ? word : std::string(word).substr(std::string(word).find('+') + 1);
    }
    LoadWords(Is(61), 512);
    Compare("load", {{"zeros", zeros}});
}

// 48 has no order for it: its readout cleans.
TEST_P(UsbTrafficOf, Clear)
{
    Begin(setup);
    QV_ClearCCD(0);
    if (Is(48)) {
        EXPECT_EQ(EmuTraffic(), "");
    } else {
        Compare("clear");
    }
}

// Kept clean and waiting for the trigger, which comes at once. 48 and 400 have none.
TEST_P(UsbTriggerTraffic, ClearedAndTriggeredFrame)
{
    Begin(setup);
    QV_SetMode(QV_OPTION_EXTERNAL_TRIGGER | QV_OPTION_KEEP_CLEAN, 1, 0);
    EmuUsbTrigger(0, true);
    Frame(1);
    if (Is(450)) QV_Trigger(0, 0);
    Compare("trigger");
}

// What is left: decimation, registers, the converters, the plug-in device.
TEST_P(UsbSettingsTraffic, Settings)
{
    Begin(setup);
    uint32_t plug[] = {0x01020304, 0x05060708, 0x090A0B0C, 0x0D0E0F10};
    QV_SetBitDecimation(3, 0);
    if (Is(61) || Is(200)) QV_SetGain(2, 0);
    if (Is(205)) QV_GetAD(2, 0);
    if (Is(450)) {
        CameraTable[0].Ops.ModifyRegister(5, 0x181, 1, 0);
        CameraTable[0].Ops.ModifyRegister(5, 0x80, 0, 0);
    }
    QV_Plug(0, plug, 0);
    Compare("settings");
}

// The wheels: of 48 and 450 by orders, of 61 and 200 by lines of register 7.
TEST_P(UsbWheelTraffic, Wheel)
{
    Begin(setup);
    QV_SetFilter(3, 0);
    if (Is(48)) QV_SetFW(5, 1, 9, 0);
    if (Is(48) || Is(450)) QV_CalibFW(0);
    if (Is(450)) QV_OpenFW(5, 1, 9, 0);
    Compare("wheel");
}

TEST_F(UsbTraffic, TolmEKeepsItsPower)
{
    Plug(Families[0].setup);
    Record();
    Open(Families[0].setup, 0, 1);
    Compare("450", "attach");
}

TEST_F(UsbTraffic, HeronPlusWaitsForItsVersion)
{
    Plug(Families[4].setup, 10);
    Record();
    QV_Open(61, 255, 0, UsbInterface, 0, 0, 0, nullptr, nullptr);
    EXPECT_EQ(QV_Status(0), 1);
    Compare("61", "retries");
}

TEST_F(UsbTraffic, OspreysOtherKindHasLevelsOfItsOwn)
{
    const UsbSetup setup = {200, 120, "BuildWaveOspreyCcd3011", Strobe::LastColumn, true};
    Plug(setup);
    Record();
    Open(setup);
    Compare("200", "variant");
}

// What the open of a sensor differs in: time-outs of 400, levels of 61, 200, 205 and 28.
TEST_F(UsbTraffic, OpensKnowTheirSensors)
{
    const struct {
        UsbSetup setup;
        const char* lines;
    } rows[] = {
        {{400, 3946}, "usb timeouts 1500 0"},
        {{400, 3947}, "usb timeouts 2500 0"},
        {{400, 3948}, "usb timeouts 2500 0"},
        {{400, 3960}, "usb timeouts 2500 0"},
        {{400, 3962}, "usb timeouts 4500 0"},
        {{400, 3964}, "usb timeouts 4500 0"},
        {{400, 3968}, "usb timeouts 9000 0"},
        {{400, 3980}, "usb timeouts 17000 0"},
        {{400, 3985}, "usb timeouts 17000 0"},
        {{400, 3990}, "usb timeouts 32000 0"},
        {{61, 279, "BuildWaveHeronPlus"}, "usb > 95 C8"},
        {{200, 279, "BuildWaveOspreyKaf"}, "usb > 95 18"},
        {{205, 120, "BuildWaveOspreyCcd3011"},
         "adaptor > 1D 42\nadaptor > 1E B2\nadaptor > 15 18\nadaptor > 16 01"},
        {{205, 125, "BuildWaveOspreyPlusCcd4710"},
         "adaptor > 1D B4\nadaptor > 1E 84\nadaptor > 15 58"},
        {{205, 133, "BuildWaveOspreyPlusCcd3011b"},
         "adaptor > 1D B4\nadaptor > 1E 84\nadaptor > 15 58"},
        {{205, 134, "BuildWaveOspreyPlusCcd55"},
         "adaptor > 1D 42\nadaptor > 1E B2\nadaptor > 15 00\nadaptor > 16 09"},
        {{205, 135, "BuildWaveOspreyPlusCcd55"},
         "adaptor > 1D 42\nadaptor > 1E B2\nadaptor > 15 00\nadaptor > 16 01"},
        {{28, 290, "BuildWaveTarn5"}, "adaptor > 0006 12A4\nadaptor > 0007 3308"},
        {{28, 2000, "BuildWaveTarn5Ccd442"}, "adaptor > 0006 96A4\nadaptor > 0007 78F8"},
        {{28, 120, "BuildWaveTarn5Ccd"}, "adaptor > 0006 96A4\nadaptor > 0007 3FF8"},
        {{28, 125, "BuildWaveTarn5Ccd"}, "adaptor > 0006 96A4\nadaptor > 0007 3FF8"},
        {{28, 133, "BuildWaveTarn5Ccd"}, "adaptor > 0006 96A4\nadaptor > 0007 3FF8"},
    };
    for (const auto& row : rows) {
        ResetLibrary();
        QV_SetPathName(DemoFolder().c_str());
        Plug(row.setup);
        Record();
        Open(row.setup);
        EmuRecord(false);
        const std::string wanted = std::string("...\n") + row.lines + "\n...";
        EXPECT_EQ(TrafficDiffers(wanted, EmuTraffic()), "")
            << row.setup.platform << " with " << row.setup.sensor;
        QV_Close(0);
    }
}

// By the numbers of their second byte.
TEST_F(UsbTraffic, EveryCommandOfTolmEStandsInAFile)
{
    std::set<int> told;
    for (const auto& file : std::filesystem::directory_iterator(Folder)) {
        if (file.path().filename().string().rfind("450_", 0) != 0) continue;
        std::ifstream lines(file.path());
        for (std::string line; std::getline(lines, line);) {
            unsigned command = 0;
            if (sscanf(line.c_str(), "usb > 44 %x", &command) == 1) told.insert(command);
        }
    }
    EXPECT_EQ(told, (std::set<int>{1,  3,  4,  6,  7,  8,  9,  10, 11, 12, 13,
                                   14, 15, 16, 17, 18, 19, 20, 21, 22, 23}));
}
