// Every platform on USB with every sensor that the catalogue gives it, from open to close
// through the exported functions alone.
#include <set>

#include "catalogue/catalogue.h"
#include "core/binding.h"
#include "emulator/emulator.h"
#include "emulator/usb.h"
#include "emulator/usb_camera.h"
#include "tests/support/named_builders.h"
#include "tests/support/virtual_usb.h"

namespace {

// How a platform takes its settings.
struct Kind {
    int32_t platform;
    double offset;           // of its temperature without a calibration
    int32_t regulated, half; // the drive at 30 and 50 percent; -1: it has none
    int32_t fan;             // at 50 percent; -1: it has none
    bool frontEnd;           // gain goes to words 0, 2 and 5 of a front end
    bool stores;             // camera memory can be written
    int32_t serial;
};

// Without a camera.cfg the offset of 61, 300 and 450 is one degree. 4096 x 0.3 and x 0.5,
// on 28 256; 48 takes tenths of a percent. 4095 / 2, which 300 and 450 scale a second time.
// clang-format off
constexpr Kind Kinds[] = {
    { 28, 0.0,   76,  128,  127, true,  true,  1234567},
    { 29, 0.0, 1228, 2048, 2047, false, true,  1234567},
    { 48, 0.0,  300,  500, 2047, false, true,  1234567},
    { 61, 1.0, 1228, 2048, 2047, true,  false, 12345},
    {200, 0.0, 1228, 2048, 2047, true,  false, 1234},
    {205, 0.0, 1228, 2048, 2047, true,  true,  1234567},
    {300, 1.0, 1228, 2048, 8384, false, true,  1234567},
    {400, 0.0,   -1,   -1,   -1, true,  false, 0},
    {450, 1.0, 1228, 2048, 8384, false, true,  1234567},
};
// clang-format on

const Kind& KindOf(int32_t platform)
{
    for (const Kind& kind : Kinds) {
        if (kind.platform == platform) return kind;
    }
    return Kinds[0];
}

UsbSetup SetupOf(int32_t platform, int32_t sensor)
{
    UsbSetup setup = {platform, sensor};
    const BuilderRow* row = FindBuilder(platform, sensor, UsbInterface);
    const NamedBuilder* builder = row != nullptr ? FindNamedBuilder(row->build) : nullptr;
    if (builder != nullptr) {
        setup.builder = builder->name;
        setup.strobe = builder->strobe;
    }
    return setup;
}

std::vector<UsbSetup> UsbCases()
{
    std::vector<UsbSetup> cases;
    for (const Kind& kind : Kinds) {
        int32_t sensors[128];
        const int32_t count = CCDQuery(kind.platform, sensors);
        for (int32_t i = 0; i < count; ++i) {
            // The fields of this one are 256 lines apart: it has a test of its own.
            if (sensors[i] != 5000) cases.push_back(SetupOf(kind.platform, sensors[i]));
        }
    }
    return cases;
}

std::string CaseName(const testing::TestParamInfo<UsbSetup>& info)
{
    return std::to_string(info.param.platform) + "_" + std::to_string(info.param.sensor);
}

} // namespace

class UsbSelection : public VirtualUsbTest, public testing::WithParamInterface<UsbSetup> {
protected:
    const UsbSetup& setup = GetParam();
    const Kind& kind = KindOf(GetParam().platform);

    // The rings of 28, 61, 200 and 205 filter eight readings.
    void ExpectTemperature() const
    {
        EmuUsbSetTemperature(0, -12.0);
        for (int reading = 1; reading < 16; ++reading) QV_ReadTemp(QV_CELSIUS, 0);
        const double measured = QV_ReadTemp(QV_CELSIUS, 0);
        EXPECT_EQ(QV_Status(0), 0);
        const double sensor = setup.platform == 400 ? 20.0 : EmuUsbTemperature(0);
        EXPECT_NEAR(measured, sensor + kind.offset, 0.2);
    }

    // 48 regulates by itself, once it has been told a temperature.
    void ExpectCooler() const
    {
        if (kind.half < 0) return;
        EXPECT_FALSE(EmuUsbCoolerOn(0));
        if (setup.platform == 48) {
            QV_Cooler(1, 0);
            QV_SetPower(30.0, 0);
        } else {
            QV_SetTemp(-20.0, QV_CELSIUS, 0);
        }
        EXPECT_TRUE(EmuUsbCoolerOn(0));
        EXPECT_EQ(EmuUsbCoolerPower(0), kind.regulated);
        QV_SetPower(50.0, 0);
        EXPECT_EQ(EmuUsbCoolerPower(0), kind.half);
        QV_SetFanSpeed(50.0, 0);
        EXPECT_EQ(EmuUsbFan(0), kind.fan);
        QV_Cooler(0, 0);
        EXPECT_FALSE(EmuUsbCoolerOn(0));
        EXPECT_EQ(EmuUsbFan(0), 0);
        QV_Cooler(1, 0);
        EXPECT_TRUE(EmuUsbCoolerOn(0));
        QV_Cooler(0, 0);
        EXPECT_EQ(QV_Status(0), 0);
    }

    // An offset of 300 is 44 above the middle.
    void ExpectGain() const
    {
        QV_SetGain(2, 0);
        if (kind.frontEnd) {
            EXPECT_EQ(EmuUsbGainWord(0, 2), 56u);
        }
        const bool byCommand = setup.platform == 300 || setup.platform == 450;
        if (byCommand) ExpectGainWords(56, 2, 256, 0);
        QV_SetUsrGain(77, 1, 300, 0);
        if (byCommand) ExpectGainWords(77, 4, 300, 1);
        if (kind.frontEnd) {
            EXPECT_EQ(EmuUsbGainWord(0, 2), 77u);
            EXPECT_EQ(EmuUsbGainWord(0, 5), 44u);
            EXPECT_EQ(EmuUsbGainWord(0, 0), 216u);
        }
        EXPECT_EQ(QV_Status(0), 0);
    }

    static void ExpectGainWords(uint32_t gain, uint32_t index, uint32_t offset, uint32_t high)
    {
        EXPECT_EQ(EmuUsbGainWord(0, 0), gain);
        EXPECT_EQ(EmuUsbGainWord(0, 1), index);
        EXPECT_EQ(EmuUsbGainWord(0, 2), offset);
        EXPECT_EQ(EmuUsbGainWord(0, 3), high);
    }

    // 12 x 100000 + 34567 in decimal.
    void ExpectMemory() const
    {
        EmuUsbSetMemoryWord(0, 8, 34567);
        EmuUsbSetMemoryWord(0, 7, 12);
        EmuUsbSetMemoryWord(0, 10, 1);
        EXPECT_EQ(QV_GetSerNum(0), kind.serial);
        EmuUsbSetMemoryWord(0, 20, 0x5678);
        QV_WriteEP(20, 0x1234, 0);
        EXPECT_EQ(EmuUsbMemoryWord(0, 20), kind.stores ? 0x1234 : 0x5678);
        if (kind.stores) {
            EXPECT_EQ(QV_ReadEP(20, 0), 0x1234);
        }
        EXPECT_EQ(QV_Status(0), 0);
    }

    // Manufacture and year, out of the device's description.
    void ExpectDescription() const
    {
        if (setup.platform != 61 && setup.platform != 200) return;
        const int32_t first = setup.platform == 61 ? 9 : 8;
        EXPECT_EQ(QV_ReadEP(4, 0), first);
        EXPECT_EQ(QV_ReadEP(5, 0), first + 1);
        EXPECT_EQ(QV_ReadEP(6, 0), setup.platform == 61 ? 2023 : 2010);
        EXPECT_EQ(QV_ReadEP(7, 0), 0);
    }

    // Bytes on 61, words on the others; nothing where no pattern is loaded.
    void ExpectPatternMemory() const
    {
        const int32_t word = setup.platform == 61 ? 0xA5 : 0x5AA5;
        QV_PokeW(0x123, word, 0);
        EXPECT_EQ(QV_PeekW(0x123, 0), setup.builder != nullptr ? word : 0);
    }

    void ExpectFrames()
    {
        for (int32_t hbin = 1; hbin <= 4; ++hbin) {
            for (int32_t vbin = 1; vbin <= 4 && !HasFailure(); ++vbin) {
                ExpectFrameAndWindow(setup, hbin, vbin);
            }
        }
        if (!HasFailure()) ExpectFrameAndWindow(setup, 5, 5);
        QV_SetBinning(1, 1, 0);
        QV_ClearCCD(0);
        UsbFrame dark = Full(setup, 1, 1);
        dark.shutter = 0;
        ExpectFrame(dark);
    }
};

TEST_P(UsbSelection, OpensReadsCoolsAndCloses)
{
    Plug(setup);
    Open(setup);
    if (HasFatalFailure()) return;
    ExpectTemperature();
    ExpectCooler();
    ExpectGain();
    ExpectMemory();
    ExpectDescription();
    ExpectFrames();
    ExpectPatternMemory();
    EXPECT_EQ(EmuUsbStrayBytes(0), 0u);
    QV_Close(0);
    EXPECT_EQ(QV_IsOn(0), 0);
    EXPECT_EQ(EmuUsbOpenHandles(), 0u);
    EXPECT_EQ(EmuAdaptorOpen(), 0u);
    EXPECT_EQ(EmuTimersRunning(), 0u);
}

INSTANTIATE_TEST_SUITE_P(Table, UsbSelection, testing::ValuesIn(UsbCases()), CaseName);

TEST(UsbSelectionTable, HasEveryPlatformThatClosesAUsbDevice)
{
    std::set<int32_t> walked, bound;
    for (const UsbSetup& setup : UsbCases()) walked.insert(setup.platform);
    for (const PlatformBinding* row = PlatformBindings; row->platform != 0; ++row) {
        if (row->closeUsb != nullptr) bound.insert(row->platform);
    }
    EXPECT_EQ(walked, bound);
}
