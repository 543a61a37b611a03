// Ports through the loadable library io.
#include "links/port_loader.h"

#include "core/ops.h"
#include "core/options.h"
#include "core/port_library.h"
#include "links/port_card.h"
#include "links/printer_port.h"
#include "platform/system.h"
#include "tests/links/fake_bus.h"

namespace {

std::vector<std::string> Asked;
std::vector<std::string> PortCalls;
bool HasLibrary;
std::string Missing; // an entry that the library lacks

void CallOut(uint16_t port, uint8_t value)
{
    PortCalls.push_back("out " + std::to_string(port) + " " + std::to_string(value));
}
void CallWordOut(uint16_t port, uint16_t value)
{
    PortCalls.push_back("wout " + std::to_string(port) + " " + std::to_string(value));
}
uint8_t CallIn(uint16_t port)
{
    PortCalls.push_back("in " + std::to_string(port));
    return 0x44;
}
uint16_t CallWordIn(uint16_t port)
{
    PortCalls.push_back("win " + std::to_string(port));
    return 0x1234;
}

void* Load(const char* name)
{
    Asked.emplace_back(name);
    return HasLibrary ? &HasLibrary : nullptr;
}

void* Symbol(void* library, const char* name)
{
    EXPECT_EQ(library, &HasLibrary);
    Asked.emplace_back(name);
    if (name == Missing) return nullptr;
    const std::string wanted = name;
    if (wanted == "PortOut") return reinterpret_cast<void*>(CallOut);
    if (wanted == "PortWordOut") return reinterpret_cast<void*>(CallWordOut);
    if (wanted == "PortIn") return reinterpret_cast<void*>(CallIn);
    if (wanted == "PortWordIn") return reinterpret_cast<void*>(CallWordIn);
    return nullptr;
}

class PortLibraryTest : public LinkTest {
protected:
    void SetUp() override
    {
        LinkTest::SetUp();
        System.library.Load = Load;
        System.library.Symbol = Symbol;
        Asked.clear();
        PortCalls.clear();
        HasLibrary = true;
        Missing.clear();
        record.Options = OptionPortLibrary;
        OverlayOps(&record.Ops, LibraryPortOps);
    }
};

TEST_F(PortLibraryTest, IsLoadedOnceWithItsThirteenEntries)
{
    EXPECT_EQ(LoadPortLibrary(), 0);
    EXPECT_EQ(LoadPortLibrary(), 0);
    ASSERT_EQ(Asked.size(), 14u);
    EXPECT_EQ(Asked[0], "io");
    for (const char* name : {"PortOut", "PortWordOut", "PortDWordOut", "PortIn", "PortWordIn",
                             "PortDWordIn", "SetPortBit", "ClrPortBit", "NotPortBit", "GetPortBit",
                             "RightPortShift", "LeftPortShift", "IsDriverInstalled"}) {
        EXPECT_EQ(std::count(Asked.begin(), Asked.end(), name), 1) << name;
    }
}

TEST_F(PortLibraryTest, CarriesThePortsOfACamera)
{
    // In reads 0x44, which has the card's presence in it.
    EXPECT_EQ(OpenPortCard(0x300, false, Camera), 0);
    EXPECT_EQ(PortCalls, (std::vector<std::string>{"in 775", "out 772 11", "out 774 9", "out 775 2",
                                                   "win 768"}));
    EXPECT_EQ(Accesses(), "") << "no direct instruction";
    EXPECT_EQ(Fake.acquired, "") << "no right asked for";
}

TEST_F(PortLibraryTest, CarriesThePrinterPort)
{
    EXPECT_EQ(OpenPrinterPort(0x378, Camera), 0);
    // 44 & D6 = 44, | 5 = 45, 69 in decimal.
    EXPECT_EQ(PortCalls, (std::vector<std::string>{"in 890", "out 890 69"}));
}

TEST_F(PortLibraryTest, MissingLibraryIs19)
{
    HasLibrary = false;
    EXPECT_EQ(OpenPrinterPort(0x378, Camera), 19);
    EXPECT_EQ(OpenPortCard(0x300, false, Camera), 19);
    EXPECT_TRUE(PortCalls.empty());
    HasLibrary = true;
    EXPECT_EQ(OpenPrinterPort(0x378, Camera), 0) << "found at the next open";
}

TEST_F(PortLibraryTest, IsNotLookedForWithoutTheOption)
{
    record.Options = 0;
    OverlayOps(&record.Ops, DirectPortOps);
    HasLibrary = false;
    EXPECT_EQ(OpenPrinterPort(0x378, Camera), 0);
    EXPECT_TRUE(Asked.empty());
}

TEST_F(PortLibraryTest, CarriesWordsBothWays)
{
    ASSERT_EQ(LoadPortLibrary(), 0);
    record.Ops.PortWordOut(0x300, 0xBEEF); // 48879
    EXPECT_EQ(record.Ops.PortWordIn(0x302), 0x1234);
    EXPECT_EQ(PortCalls, (std::vector<std::string>{"wout 768 48879", "win 770"}));
}

TEST_F(PortLibraryTest, NothingIsCarriedBeforeItIsLoaded)
{
    record.Ops.PortOut(0x300, 1);
    record.Ops.PortWordOut(0x300, 1);
    EXPECT_EQ(record.Ops.PortIn(0x300), 0);
    EXPECT_EQ(record.Ops.PortWordIn(0x300), 0);
    EXPECT_TRUE(PortCalls.empty());
}

TEST_F(PortLibraryTest, EntryThatTheLibraryLacksDoesNothing)
{
    Missing = "PortIn";
    EXPECT_EQ(OpenPortCard(0x300, false, Camera), 15) << "a status of 0";
    EXPECT_TRUE(PortCalls.empty());
}

} // namespace
