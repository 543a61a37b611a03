// Every platform with every sensor that the table of builders gives it, on each of its
// links, from open to close through the exported functions alone.
#include <map>
#include <set>

#include "catalogue/catalogue.h"
#include "core/binding.h"
#include "emulator/bus_camera.h"
#include "emulator/bus_links.h"
#include "emulator/emulator.h"
#include "tests/cameras/read_rule.h"
#include "tests/support/named_builders.h"
#include "tests/support/virtual_camera.h"

namespace {

struct Link {
    const char* name;
    int32_t interfaceType;
    uint32_t revision = 100;
    uint32_t decoder = 0;
    int32_t interfaceLink = 0;
};

// Lines by DMA over an old card, whole frames over a newer one, where it makes a
// difference.
const Link Card = {"Card", 2, 100};
const Link NewerCard = {"NewerCard", 2, 200};
const Link SecondCard = {"SecondCard", 4, 100};
const Link Serial1 = {"Serial1", 2, 100, 0xAAAA2, 1};
const Link NewerSerial1 = {"NewerSerial1", 2, 200, 0xAAAA2, 1};
const Link OldSerial1 = {"OldSerial1", 2, 200, 0xAAAA1, 1};
const Link Serial3 = {"Serial3", 2, 100, 3, 3};
const Link NewerSerial3 = {"NewerSerial3", 2, 200, 3, 3};
const Link PortCard = {"PortCard", 1};
const Link SerialPortCard = {"SerialPortCard", 1, 0, 0, 1};
const Link PrinterPort = {"PrinterPort", 0};
const Link UnodCard = {"UnodCard", 70, 100};
const Link NewerUnodCard = {"NewerUnodCard", 70, 200};

const std::vector<Link> SerialLinks = {Card,         NewerCard, Serial1,
                                       NewerSerial1, Serial3,   NewerSerial3};

const std::map<int32_t, std::vector<Link>> LinksOf = {
    {22, {Card, PortCard, SerialPortCard}},
    {23, {Card, PortCard, SerialPortCard}},
    {24, {Card, NewerCard, Serial1, OldSerial1, Serial3}},
    {25, SerialLinks},
    {28, {Card, NewerCard}},
    {30, SerialLinks},
    {40, {PrinterPort}},
    {41, {PortCard}},
    {42, {Card, NewerCard, SecondCard}},
    {44, SerialLinks},
    {47, SerialLinks},
    {60, {PrinterPort, Card}},
    {70, {Card, UnodCard}},
    {71, {Card, NewerCard, UnodCard, NewerUnodCard}},
    {80, {Card, Serial1, Serial3}},
};

constexpr int32_t ShortPhase = 3;

struct SelectionCase {
    VirtualSetup setup;
    const char* link;
    bool isFirstLink; // of the platform: there all binnings are tried
};

// The sensors of a row: its own, or all of the platform that no other row has.
std::set<int32_t> SensorsOf(const BuilderRow& row)
{
    std::set<int32_t> sensors;
    if (row.sensors != nullptr) {
        for (const int32_t* sensor = row.sensors; *sensor != 0; ++sensor) sensors.insert(*sensor);
        return sensors;
    }
    int32_t list[128];
    const int32_t count = CCDQuery(row.platform, list);
    sensors.insert(list, list + std::max(count, 0));
    return sensors;
}

std::vector<SelectionCase> BusCases()
{
    std::vector<SelectionCase> cases;
    for (const BuilderRow* row = BuilderRows; row->platform != 0; ++row) {
        const auto links = LinksOf.find(row->platform);
        if (links == LinksOf.end() || FindPlatformBinding(row->platform) == nullptr) continue;
        const NamedBuilder* builder = FindNamedBuilder(row->build);
        const char* name = builder != nullptr ? builder->name : nullptr;
        const Strobe strobe = builder != nullptr ? builder->strobe : Strobe::Bin;
        for (const int32_t sensor : SensorsOf(*row)) {
            for (const Link& link : links->second) {
                if (FindBuilder(row->platform, sensor, link.interfaceType) != row) continue;
                cases.push_back({{row->platform, sensor, link.interfaceType, name, link.revision,
                                  link.decoder, link.interfaceLink, strobe, ShortPhase},
                                 link.name,
                                 link.name == links->second.front().name});
            }
        }
    }
    return cases;
}

std::string CaseName(const testing::TestParamInfo<SelectionCase>& info)
{
    const VirtualSetup& setup = info.param.setup;
    return std::to_string(setup.platform) + "_" + std::to_string(setup.sensor) + "_" +
           info.param.link;
}

void PrintTo(const SelectionCase& c, std::ostream* out)
{
    *out << c.setup.platform << " with " << c.setup.sensor << " on " << c.link;
}

} // namespace

class Selection : public VirtualCameraTest, public testing::WithParamInterface<SelectionCase> {
protected:
    const VirtualSetup& Setup() const { return GetParam().setup; }

    // 28 filters eight readings, and has none until there are as many.
    void ExpectTemperature() const
    {
        EmuBusSetTemperature(bus, -12.0);
        for (int reading = 1; Setup().platform == 28 && reading < 8; ++reading) {
            QV_ReadTemp(QV_CELSIUS, 0);
        }
        const double measured = QV_ReadTemp(QV_CELSIUS, 0);
        EXPECT_EQ(QV_Status(0), 0);
        EXPECT_NEAR(measured, EmuBusTemperature(bus), 0.2);
    }

    // An offset of 2.5 degrees, a span of 1.1, and on BRIAR the low resistor.
    void FillMemory() const
    {
        EmuBusSetMemoryWord(bus, 0, 25);
        EmuBusSetMemoryWord(bus, 1, 11);
        EmuBusSetMemoryWord(bus, 9, 1);
    }

    // 30 percent as regulation begins, then 50 by hand: 4096 times 0.3 and 0.5. The
    // converter of 28 has eight bits.
    void ExpectCooler() const
    {
        const bool small = Setup().platform == 28;
        EXPECT_FALSE(EmuBusCoolerOn(bus));
        QV_SetTemp(-20.0, QV_CELSIUS, 0);
        EXPECT_TRUE(EmuBusCoolerOn(bus));
        EXPECT_EQ(EmuBusCoolerPower(bus), small ? 76 : 1228);
        QV_SetPower(50.0, 0);
        EXPECT_EQ(EmuBusCoolerPower(bus), small ? 128 : 2048);
        QV_Cooler(0, 0);
        EXPECT_FALSE(EmuBusCoolerOn(bus));
        QV_Cooler(1, 0);
        EXPECT_TRUE(EmuBusCoolerOn(bus));
        QV_Cooler(0, 0);
    }

    // Seven bits of a byte: 145, and 77 + 77 + 1.
    void ExpectBriarGain() const
    {
        QV_SetGain(2, 0);
        EXPECT_EQ(EmuBusGainWord(bus, 0), 145u >> 1);
        QV_SetUsrGain(77, 1, 300, 0);
        EXPECT_EQ(EmuBusGainWord(bus, 0), 155u >> 1);
    }

    void ExpectGainLine(int32_t reg, bool setWithZero) const
    {
        for (const int32_t index : {2, 0, 1}) {
            QV_SetGain(index, 0);
            const bool isSet = (EmuBusRegister(bus, reg) & 0x100) != 0;
            EXPECT_EQ(isSet, (index == 0) == setWithZero) << index;
        }
    }

    // An offset of 300 is 44 above the middle.
    void ExpectFrontEndGain(int32_t unit, uint32_t highRange) const
    {
        QV_SetGain(2, 0);
        EXPECT_EQ(EmuBusGainWord(bus, unit + 2), 56u);
        QV_SetUsrGain(77, 1, 300, 0);
        EXPECT_EQ(EmuBusGainWord(bus, unit + 2), 77u);
        EXPECT_EQ(EmuBusGainWord(bus, unit + 5), 44u);
        EXPECT_EQ(EmuBusGainWord(bus, unit), highRange);
    }

    // (300 - 256) / 4 + 192.
    void ExpectUnodGain() const
    {
        QV_SetGain(2, 0);
        EXPECT_EQ(EmuBusGainWord(bus, 2), 27u);
        EXPECT_EQ(EmuBusGainWord(bus, 0), 8u);
        QV_SetUsrGain(77, 1, 300, 0);
        EXPECT_EQ(EmuBusGainWord(bus, 2), 77u);
        EXPECT_EQ(EmuBusGainWord(bus, 1), 203u);
        EXPECT_EQ(EmuBusGainWord(bus, 0), 10u);
    }

    void ExpectGain() const
    {
        switch (Setup().platform) {
        case 22:
        case 23: ExpectGainLine(12, true); break;
        case 24: ExpectGainLine(12, false); break;
        case 28: ExpectFrontEndGain(0, 216); break;
        case 40:
        case 41:
        case 42: ExpectBriarGain(); break;
        case 70:
        case 71: ExpectUnodGain(); break;
        default:
            if (Setup().sensor == 506) {
                ExpectGainLine(11, false);
            } else {
                ExpectFrontEndGain(0, Setup().sensor == 500 ? 200 : 216);
                if (Setup().sensor == 2005) ExpectFrontEndGain(8, 216);
            }
        }
        EXPECT_EQ(QV_Status(0), 0);
    }

    void ExpectFrames()
    {
        const ReadRule rule = RuleOf(Setup());
        if (GetParam().isFirstLink) {
            ExpectAllFrames(Setup(), rule);
            ExpectFrameAndWindow(Setup(), rule, 5, 5);
            return;
        }
        ExpectFrameAndWindow(Setup(), rule, 1, 1);
        ExpectFrameAndWindow(Setup(), rule, 3, 2);
        ExpectDarkFrame(Setup(), rule);
    }
};

TEST_P(Selection, OpensReadsCoolsAndCloses)
{
    Plug(Setup());
    FillMemory();
    Open(Setup());
    if (HasFatalFailure()) return;
    ExpectTemperature();
    ExpectCooler();
    ExpectGain();
    ExpectFrames();
    QV_Close(0);
    EXPECT_EQ(QV_IsOn(0), 0);
    EXPECT_EQ(EmuCardsOpen(), 0u);
    EXPECT_EQ(EmuDmaLocked(), 0u);
    EXPECT_EQ(EmuTimersRunning(), 0u);
}

INSTANTIATE_TEST_SUITE_P(Table, Selection, testing::ValuesIn(BusCases()), CaseName);

TEST(SelectionTable, HasEveryBusPlatformThatHasADriver)
{
    std::set<int32_t> walked;
    for (const SelectionCase& c : BusCases()) walked.insert(c.setup.platform);
    for (const PlatformBinding* row = PlatformBindings; row->platform != 0; ++row) {
        const bool onTheBus = LinksOf.count(row->platform) != 0;
        EXPECT_EQ(walked.count(row->platform) != 0, onTheBus) << row->platform;
    }
}
