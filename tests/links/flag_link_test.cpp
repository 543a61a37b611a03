// What goes over the pipe of HERON_Plus and OSPREY.
#include "links/flag_link.h"

#include <array>

#include "tests/support/fake_usb.h"

namespace {

class FlagLink : public FakeUsbTest {
protected:
    void SetUp() override
    {
        FakeUsbTest::SetUp();
        PrepareFakeUsb(61, 255, 0);
    }
};

TEST_F(FlagLink, WriteFlagsTheRegisterAlone)
{
    FlagWrite(16, 7, UsbCamera);
    FlagWrite(0, 12, UsbCamera);
    FlagWrite(27, 0xFF, UsbCamera);
    EXPECT_EQ(TakeUsbLog(), "usb > 90 07; usb > 80 0C; usb > 9B FF");
}

TEST_F(FlagLink, WriteTakesTheLowByteOfTheValue)
{
    FlagWrite(6, 0x1234, UsbCamera);
    EXPECT_EQ(TakeUsbLog(), "usb > 86 34");
}

TEST_F(FlagLink, SeveralRegistersGoOutInOneWrite)
{
    const RegisterPair pairs[] = {{16, 140}, {14, 0x102}, {17, 0}};
    FlagWriteRegisters(pairs, 3, UsbCamera);
    EXPECT_EQ(TakeUsbLog(), "usb > 90 8C 8E 02 91 00");
    FlagWriteRegisters(pairs, 0, UsbCamera);
    EXPECT_EQ(TakeUsbLog(), "");
}

// A write has room for 64.
TEST_F(FlagLink, MoreThan64RegistersTakeASecondWrite)
{
    std::array<RegisterPair, 65> pairs;
    pairs.fill({28, 1});
    FlagWriteRegisters(pairs.data(), 64, UsbCamera);
    ASSERT_EQ(Usb.log.size(), 1u);
    EXPECT_EQ(Usb.log[0].size(), 5 + 128 * 3u);
    Usb.log.clear();
    FlagWriteRegisters(pairs.data(), 65, UsbCamera);
    ASSERT_EQ(Usb.log.size(), 2u);
    EXPECT_EQ(Usb.log[1], "usb > 9C 01");
}

TEST_F(FlagLink, ReadAsksThroughRegister0)
{
    AnswerUsb("80 0F 40", {47});
    EXPECT_EQ(FlagRead(15, UsbCamera), 47);
    EXPECT_EQ(TakeUsbLog(), "usb > 80 0F 40; usb < 1 of 1");
}

TEST_F(FlagLink, ReadThatGetsNothingIs0x80)
{
    EXPECT_EQ(FlagRead(15, UsbCamera), 0x80);
    AnswerUsb("80 0F 40", {47});
    Usb.failing = {"<"};
    EXPECT_EQ(FlagRead(15, UsbCamera), 0x80);
}

TEST_F(FlagLink, PixelsHaveTheirLowByteFirst)
{
    uint16_t pixels[2] = {};
    Usb.queue = {0x34, 0x12, 0x78, 0x56};
    EXPECT_TRUE(FlagReceive(pixels, 2, UsbCamera));
    EXPECT_EQ(pixels[0], 0x1234);
    EXPECT_EQ(pixels[1], 0x5678);
    EXPECT_EQ(TakeUsbLog(), "usb < 4 of 4");
}

TEST_F(FlagLink, FewerPixelsAreTold)
{
    uint16_t pixels[2] = {};
    Usb.queue = {0x34, 0x12, 0x78};
    EXPECT_FALSE(FlagReceive(pixels, 2, UsbCamera));
    EXPECT_EQ(pixels[0], 0x1234);
}

} // namespace
