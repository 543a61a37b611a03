// Port accesses on the virtual machine's printer port, which gives back what was
// written to its data and control registers.
#include <gtest/gtest.h>

#include <atomic>
#include <bit>
#include <initializer_list>
#include <thread>

#include "platform/system.h"
#include "tests/native/nobody.h"

namespace {

constexpr uint16_t Data = 0x378, Status = 0x379, Control = 0x37A;
constexpr uint8_t ControlOnes = 0xC0; // bits without a line

class GuestPorts : public testing::Test {
protected:
    void SetUp() override { UseNativeSystem(); }
};

std::atomic<int> SeenByTimer = -1;

} // namespace

TEST_F(GuestPorts, NobodyIsRefusedAndLives)
{
    const int kept = AsNobody([] {
        UseNativeSystem();
        const bool granted = System.port.Acquire(Data, 3);
        System.port.Out8(Data, 0x55);
        return !granted && System.port.In8(Data) == 0xFF && System.port.In16(Data) == 0xFFFF ? 0
                                                                                             : 1;
    });
    EXPECT_EQ(kept, 0);
}

TEST_F(GuestPorts, PortThatNobodyAskedForIsNotTouched)
{
    System.port.Out8(Control, 5);
    EXPECT_EQ(System.port.In8(Control), 0xFF);
    ASSERT_TRUE(System.port.Acquire(Control, 1));
    EXPECT_NE(System.port.In8(Control), ControlOnes | 5);
    EXPECT_EQ(System.port.In8(Data), 0xFF) << "its neighbours neither";
    EXPECT_EQ(System.port.In16(Control), 0xFFFF) << "the second port is not granted";
}

TEST_F(GuestPorts, BytesComeBack)
{
    ASSERT_TRUE(System.port.Acquire(Data, 3));
    for (const uint8_t value : std::initializer_list<uint8_t>{0x00, 0x55, 0xAA, 0xFF}) {
        System.port.Out8(Data, value);
        EXPECT_EQ(System.port.In8(Data), value);
    }
    System.port.Out8(Control, 0x06);
    EXPECT_EQ(System.port.In8(Control), ControlOnes | 0x06);
    System.port.Out8(Control, 0x0C);
    EXPECT_EQ(System.port.In8(Control), ControlOnes | 0x0C);
}

TEST_F(GuestPorts, WordsAreTwoNeighbouringBytes)
{
    ASSERT_TRUE(System.port.Acquire(Data, 3));
    System.port.Out16(Status, 0x0600); // the status register takes nothing
    EXPECT_EQ(System.port.In8(Control), ControlOnes | 0x06);
    System.port.Out8(Data, 0x3C);
    EXPECT_EQ(System.port.In16(Data), System.port.In8(Status) << 8 | 0x3C);
}

TEST_F(GuestPorts, HighestPortsAreGranted)
{
    EXPECT_TRUE(System.port.Acquire(0xFFFE, 2));
    EXPECT_FALSE(System.port.Acquire(0xFFFF, 2));
}

TEST_F(GuestPorts, ThreadThatIsOlderThanTheRightHasIt)
{
    std::atomic<bool> granted = false;
    std::atomic<int> seen = -1;
    std::thread older([&] {
        while (!granted) std::this_thread::yield();
        seen = System.port.In8(0x37B);
    });
    ASSERT_TRUE(System.port.Acquire(0x37B, 1));
    granted = true;
    older.join();
    EXPECT_GE(seen, 0) << "it ended without a signal";
}

TEST_F(GuestPorts, TimerThreadHasTheRight)
{
    const uint32_t timer = System.timer.Start(
        5, [](uint32_t port) { SeenByTimer = System.port.In8(static_cast<uint16_t>(port)); }, Data);
    ASSERT_NE(timer, 0u);
    ASSERT_TRUE(System.port.Acquire(Data, 3));
    System.port.Out8(Data, 0x5A);
    for (int round = 0; round < 2000 && SeenByTimer != 0x5A; ++round) System.clock.Sleep(5);
    System.timer.Stop(timer);
    EXPECT_EQ(SeenByTimer, 0x5A);
}

TEST_F(GuestPorts, ManyRequestsForTheSamePortsAreOne)
{
    for (int i = 0; i < 1000; ++i) ASSERT_TRUE(System.port.Acquire(Data, 3)) << i;
}

TEST_F(GuestPorts, PortLibraryIsFoundByItsBareName)
{
    void* library = System.library.Load("io");
    ASSERT_NE(library, nullptr);
    const auto out =
        std::bit_cast<void (*)(uint16_t, uint16_t)>(System.library.Symbol(library, "PortWordOut"));
    const auto in =
        std::bit_cast<uint16_t (*)(uint16_t)>(System.library.Symbol(library, "PortWordIn"));
    ASSERT_TRUE(out != nullptr && in != nullptr);
    out(0x300, 0xBEEF);
    EXPECT_EQ(in(0x300), 0xBEEF);
    EXPECT_NE(System.library.Symbol(library, "PortOut"), nullptr);
    EXPECT_NE(System.library.Symbol(library, "PortIn"), nullptr);
    EXPECT_EQ(System.library.Symbol(library, "PortDWordIn"), nullptr);
    System.library.Free(library);
}
