// Ports on a machine that may or may not grant them. What granted ports do is
// shown by the guest of scripts/qemu, which has some.
#include <gtest/gtest.h>

#include "platform/system.h"
#include "tests/native/nobody.h"

namespace {

constexpr uint16_t PrinterPort = 0x378;

} // namespace

TEST(Ports, RefusedRightIsAnAnswerAndNoSignal)
{
    const int kept = AsNobody([] {
        UseNativeSystem();
        const bool granted = System.port.Acquire(PrinterPort, 3);
        System.port.Out8(PrinterPort, 0);
        System.port.Out16(PrinterPort, 0);
        const bool ones =
            System.port.In8(PrinterPort) == 0xFF && System.port.In16(PrinterPort) == 0xFFFF;
        return !granted && ones ? 0 : 1;
    });
    EXPECT_EQ(kept, 0);
}

TEST(Ports, PortThatNobodyAskedForReadsAsAllOnes)
{
    UseNativeSystem();
    System.port.Out8(0x3BC, 0);
    System.port.Out16(0x3BC, 0);
    EXPECT_EQ(System.port.In8(0x3BC), 0xFF);
    EXPECT_EQ(System.port.In16(0x3BC), 0xFFFF);
}

TEST(Ports, RangeMustHavePortsAndEndWithTheLastOne)
{
    UseNativeSystem();
    EXPECT_FALSE(System.port.Acquire(PrinterPort, 0));
    EXPECT_FALSE(System.port.Acquire(0xFFFF, 2));
}
