// Wheels that the firmware of a camera drives: platforms 48, 300 and 450.
#include "tests/accessories/accessories.h"

namespace {

// --- 48: letters to the processor ---

enum Letter : int32_t { HomeLetter = 105, GoLetter = 106, PeriodLetter = 112, OffsetLetter = 113 };

class R4Wheel : public UsbAccessory {
protected:
    void Fit(uint16_t firmware = 100)
    {
        UsbSetup setup = {48, 255};
        setup.wheel.kind = EmuOwnWheel;
        setup.firmware = firmware;
        Begin(setup);
        LeaveError();
    }
};

// --- 300, 450: command 13 ---

constexpr int32_t WheelCommand = 13;
enum Selector : int32_t { Home, Go, Offset, Speed, Hold };

class TolmWheel : public UsbAccessory {
protected:
    void Fit(int32_t platform)
    {
        UsbSetup setup = {platform, platform == 300 ? 255 : 3945};
        setup.wheel.kind = EmuOwnWheel;
        Begin(setup);
        LeaveError();
    }

    static uint16_t Value(int32_t selector) { return EmuUsbRegister(0, EmuTolmEWheel + selector); }
    static uint32_t Told() { return EmuUsbCommands(0, WheelCommand); }
};

} // namespace

TEST_F(R4Wheel, GoesToAPositionAndAnswers)
{
    Fit();
    QV_SetFilter(3, 0);
    EXPECT_EQ(EmuUsbRegister(0, GoLetter), 2);
    EXPECT_EQ(wheel->steps, 50);
    EXPECT_EQ(QV_Status(0), 0);
    wheel->answer = 0x1234;
    QV_SetFilter(1, 0);
    EXPECT_EQ(wheel->steps, 0);
    EXPECT_EQ(QV_Status(0), 0x1234);
}

// Newer firmware takes the offset behind the zero: below 0 as its size and a sign.
TEST_F(R4Wheel, ZeroComesWithTheStoredOffset)
{
    Fit(100);
    wheel->steps = 75;
    QV_SetFW(0, 0, 9, 0);
    EXPECT_EQ(EmuUsbCommands(0, OffsetLetter), 0u);
    EXPECT_EQ(wheel->steps, 75); // it is only stored
    QV_CalibFW(0);
    EXPECT_EQ(wheel->steps, 0);
    EXPECT_EQ(EmuUsbRegister(0, OffsetLetter), 9);
    QV_OpenFW(0, 0, -9, 0);
    EXPECT_EQ(EmuUsbCommands(0, HomeLetter), 1u);
    QV_CalibFW(0);
    EXPECT_EQ(EmuUsbRegister(0, OffsetLetter), 128 + 9);
    EXPECT_EQ(EmuUsbCommands(0, OffsetLetter), 2u);
    EXPECT_EQ(QV_Status(0), 0);
    wheel->answer = 7;
    QV_CalibFW(0);
    EXPECT_EQ(QV_Status(0), 7);
}

TEST_F(R4Wheel, OlderFirmwareTakesNoOffset)
{
    Fit(99);
    QV_SetFW(0, 0, 9, 0);
    QV_CalibFW(0);
    EXPECT_EQ(EmuUsbCommands(0, HomeLetter), 1u);
    EXPECT_EQ(EmuUsbCommands(0, OffsetLetter), 0u);
}

TEST_F(R4Wheel, HoldChoosesAPeriod)
{
    Fit();
    const uint16_t periods[] = {20, 15, 13, 12, 11, 10};
    const uint32_t before = EmuUsbCommands(0, PeriodLetter);
    for (int32_t hold = 0; hold < 6; ++hold) {
        QV_SetFW(0, hold, 0, 0);
        EXPECT_EQ(EmuUsbRegister(0, PeriodLetter), periods[hold]);
    }
    QV_OpenFW(0, 2, 0, 0);
    EXPECT_EQ(EmuUsbRegister(0, PeriodLetter), 13);
    for (const int32_t hold : {-1, 6, 32767}) QV_SetFW(0, hold, 0, 0);
    EXPECT_EQ(EmuUsbCommands(0, PeriodLetter), before + 7);
}

TEST_F(TolmWheel, GoesToAPosition)
{
    for (const int32_t platform : {300, 450}) {
        Fit(platform);
        QV_SetFilter(3, 0);
        EXPECT_EQ(Value(Go), 2);
        EXPECT_EQ(wheel->steps, 50);
        EXPECT_EQ(QV_Status(0), 0);
        Renew();
    }
}

TEST_F(TolmWheel, GoesToZero)
{
    Fit(450);
    wheel->steps = 75;
    QV_CalibFW(0);
    EXPECT_EQ(wheel->steps, 0);
    EXPECT_EQ(Told(), 1u);
    EXPECT_EQ(QV_Status(0), 0);
}

TEST_F(TolmWheel, IsOpenedWithItsValues)
{
    Fit(450);
    wheel->steps = 75;
    QV_OpenFW(5, 2, 4, 0);
    EXPECT_EQ(Told(), 4u);
    EXPECT_EQ(wheel->steps, 0);
    EXPECT_EQ(Value(Speed), 5);
    EXPECT_EQ(Value(Hold), 2);
    EXPECT_EQ(Value(Offset), 4);
    EXPECT_EQ(QV_Status(0), 0);
}

TEST_F(TolmWheel, TakesItsValuesWithoutAMove)
{
    Fit(300);
    wheel->steps = 75;
    QV_SetFW(6, 1, -3, 0);
    EXPECT_EQ(Told(), 3u);
    EXPECT_EQ(wheel->steps, 75);
    EXPECT_EQ(Value(Speed), 6);
    EXPECT_EQ(Value(Hold), 1);
    EXPECT_EQ(Value(Offset), 0xFD); // a byte
    EXPECT_EQ(QV_Status(0), OtherError);
}

// What the values are answered with stays; behind the others the error is cleared.
TEST_F(TolmWheel, WheelThatSaysNothingIsTold)
{
    Fit(450);
    wheel->dead = true;
    QV_SetFW(5, 2, 4, 0);
    EXPECT_EQ(QV_Status(0), 25);
    QV_SetFilter(3, 0);
    EXPECT_EQ(QV_Status(0), 0);
    QV_SetFW(5, 2, 4, 0);
    QV_CalibFW(0);
    EXPECT_EQ(QV_Status(0), 0);
    QV_SetFW(5, 2, 4, 0);
    QV_OpenFW(5, 2, 4, 0);
    EXPECT_EQ(QV_Status(0), 0);
}
