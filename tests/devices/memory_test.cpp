// Camera memory and the serial number, by platform.
#include <map>
#include <memory>

#include "core/record.h"
#include "core/timer_service.h"
#include "emulator/emulator.h"
#include "include/qvn.h"
#include "tests/support/eeprom_chip.h"
#include "tests/support/fake_camera.h"

namespace {

constexpr int32_t Camera = 1;

// A camera with an EEPROM on its lines, or with a driver's own memory.
struct World {
    std::unique_ptr<EepromChip> chip;
    uint64_t lineWrites = 0;
    int32_t stopCount = 0; // during the last write
    std::map<int32_t, uint16_t> words;
    std::vector<std::string> calls; // of the driver
};

World Memory;

uint16_t ReadDriverWord(int32_t address, int32_t camera)
{
    EXPECT_EQ(camera, Camera);
    Memory.calls.push_back("read " + std::to_string(address));
    return Memory.words[address];
}

void WriteDriverWord(int32_t address, uint16_t value, int32_t camera)
{
    EXPECT_EQ(camera, Camera);
    Memory.calls.push_back("write " + std::to_string(address) + " " + std::to_string(value));
    Memory.words[address] = value;
}

const DriverExtras WordsExtras = {.ReadMemory = ReadDriverWord, .WriteMemory = WriteDriverWord};
const DriverExtras SerialExtras = {.ReadMemory = ReadDriverWord,
                                   .SerialNumber = [](int32_t camera) { return 1000 + camera; }};
const DriverExtras EmptyExtras = {};

class CameraWords : public FakeTest {
protected:
    void SetUp() override
    {
        FakeTest::SetUp();
        EepromWiring = 0;
        OpenPlatform(44);
    }

    void TearDown() override
    {
        Memory = World{};
        FakeTest::TearDown();
    }

    void OpenPlatform(int32_t platform) const
    {
        Memory = World{};
        Memory.chip = std::make_unique<EepromChip>(SharedChip);
        OpenFake(platform, 0, 0, Camera);
        record.InterfaceType = InterfaceCard2;
        record.Extras = nullptr;
        record.Ops.WriteRegister = [](int32_t, int32_t value, int32_t camera) {
            ++Memory.lineWrites;
            Memory.stopCount = StopCount[camera];
            Memory.chip->Write(static_cast<uint16_t>(value));
        };
        record.Ops.ReadRegister = [](int32_t, int32_t) { return Memory.chip->lines; };
        record.Ops.ReadStatus = [](int32_t, int32_t) { return Memory.chip->Output() ? 1u : 0u; };
    }

    void OpenDriver(int32_t platform, const DriverExtras* extras) const
    {
        OpenPlatform(platform);
        record.Extras = extras;
    }

    static void StoreSerial(uint16_t low, uint16_t high, uint16_t format)
    {
        Memory.chip->cells[8] = low;
        Memory.chip->cells[7] = high;
        Memory.chip->cells[10] = format;
    }

    CameraRecord& record = CameraTable[Camera];
};

} // namespace

TEST_F(CameraWords, AreThoseOfTheEepromOnTheBus)
{
    for (const int32_t platform : {22, 23, 24, 25, 30, 40, 41, 42, 44, 47, 80}) {
        OpenPlatform(platform);
        QV_WriteEP(9, 0x14321, Camera); // 16 bits of it
        EXPECT_EQ(Memory.chip->cells[9], 0x4321) << platform;
        EXPECT_EQ(QV_ReadEP(9, Camera), 0x4321) << platform;
        EXPECT_EQ(QV_ReadEP(3, Camera), 0xFFFF) << platform;
    }
}

TEST_F(CameraWords, AreReadAndWrittenWithTheTimerHeldOff)
{
    QV_ReadEP(1, Camera);
    EXPECT_EQ(Memory.stopCount, 1);
    Memory.stopCount = 0;
    QV_WriteEP(1, 2, Camera);
    EXPECT_EQ(Memory.stopCount, 1);
    EXPECT_EQ(StopCount[Camera], 0);
}

TEST_F(CameraWords, AreTheDriversOwnOnUsbAndOnTarn5)
{
    for (const int32_t platform : {28, 29, 48, 205, 300, 450}) {
        OpenDriver(platform, &WordsExtras);
        QV_WriteEP(6, 2003, Camera);
        EXPECT_EQ(QV_ReadEP(6, Camera), 2003) << platform;
        EXPECT_EQ(Memory.calls, (Texts{"write 6 2003", "read 6"})) << platform;
        EXPECT_EQ(Memory.lineWrites, 0u) << platform;
    }
}

TEST_F(CameraWords, AreNeverWrittenOnPlatforms61And200And400)
{
    for (const int32_t platform : {1, 61, 200, 400}) {
        OpenDriver(platform, &WordsExtras);
        QV_WriteEP(6, 2003, Camera);
        EXPECT_TRUE(Memory.calls.empty()) << platform;
        EXPECT_EQ(Memory.lineWrites, 0u) << platform;
        EXPECT_EQ(record.LastError, 0) << platform;
    }
}

TEST_F(CameraWords, OfPlatforms61And200ComeFromTheDriver)
{
    for (const int32_t platform : {61, 200}) {
        OpenDriver(platform, &WordsExtras);
        Memory.words[4] = 7;
        EXPECT_EQ(QV_ReadEP(4, Camera), 7) << platform;
    }
}

TEST_F(CameraWords, OfPlatform400AreZero)
{
    OpenDriver(400, &WordsExtras);
    for (const int32_t address : {0, 8, 63, -1}) EXPECT_EQ(QV_ReadEP(address, Camera), 0);
}

TEST_F(CameraWords, WithoutADriverAreZeroAndNotWritten)
{
    for (const int32_t platform : {28, 29, 48, 61, 200, 205, 300, 400, 450}) {
        for (const DriverExtras* extras :
             {static_cast<const DriverExtras*>(nullptr), &EmptyExtras}) {
            OpenDriver(platform, extras);
            EXPECT_EQ(QV_ReadEP(8, Camera), 0) << platform;
            QV_WriteEP(8, 5, Camera);
            EXPECT_EQ(Memory.lineWrites, 0u) << platform;
        }
    }
}

TEST_F(CameraWords, OfTheSimulatedCameraAreFixed)
{
    OpenPlatform(1);
    EXPECT_EQ(QV_ReadEP(4, Camera), 1);
    EXPECT_EQ(QV_ReadEP(5, Camera), 1);
    EXPECT_EQ(QV_ReadEP(6, Camera), 2001);
    EXPECT_EQ(QV_ReadEP(7, Camera), 9876);
    EXPECT_EQ(QV_ReadEP(8, Camera), 54321);
    for (const int32_t address : {0, 1, 9, 10, -1}) {
        EXPECT_EQ(QV_ReadEP(address, Camera), 65535) << address;
    }
    EXPECT_EQ(QV_GetSerNum(Camera), 987654321);
}

using SerialNumber = CameraWords;

// 2 * 65536 + 5, and 12 * 100000 + 345.
TEST_F(SerialNumber, IsPutTogetherByItsFormat)
{
    StoreSerial(5, 2, 0);
    EXPECT_EQ(QV_GetSerNum(Camera), 131077);
    StoreSerial(345, 12, 1);
    EXPECT_EQ(QV_GetSerNum(Camera), 1200345);
    StoreSerial(345, 12, 0xFFFF);
    EXPECT_EQ(QV_GetSerNum(Camera), 1200345);
    EXPECT_EQ(Memory.stopCount, 1);
    EXPECT_EQ(StopCount[Camera], 0);
}

TEST_F(SerialNumber, OfWhichEitherWordIsEmptyIsMinusOne)
{
    StoreSerial(0xFFFF, 3, 0);
    EXPECT_EQ(QV_GetSerNum(Camera), -1);
    StoreSerial(3, 0xFFFF, 1);
    EXPECT_EQ(QV_GetSerNum(Camera), -1);
    EXPECT_EQ(StopCount[Camera], 0);
}

// 65534 * 100000 + 65534 = 6,553,465,534, less 4,294,967,296: 2,258,498,238,
// which as a signed number is -2,036,469,058.
TEST_F(SerialNumber, TooLargeForItsTypeWrapsAround)
{
    StoreSerial(65534, 65534, 1);
    EXPECT_EQ(QV_GetSerNum(Camera), -2036469058);
    StoreSerial(1, 0x8000, 0);
    EXPECT_EQ(QV_GetSerNum(Camera), INT32_MIN + 1);
}

TEST_F(SerialNumber, IsReadLowWordFirst)
{
    OpenDriver(300, &WordsExtras);
    QV_GetSerNum(Camera);
    EXPECT_EQ(Memory.calls, (Texts{"read 8", "read 7", "read 10"}));
}

TEST_F(SerialNumber, OfPlatform48TakesADroppedRead)
{
    OpenDriver(48, &WordsExtras);
    QV_GetSerNum(Camera);
    EXPECT_EQ(Memory.calls, (Texts{"read 8", "read 8", "read 7", "read 10"}));
}

TEST_F(SerialNumber, ThatTheDriverKnowsIsNotLookedForInTheMemory)
{
    OpenDriver(61, &SerialExtras);
    EXPECT_EQ(QV_GetSerNum(Camera), 1000 + Camera);
    EXPECT_TRUE(Memory.calls.empty());
}

// 1234567 / 100000 = 12; 1234567 - 12 = 1234555 = 18 * 65536 + 54907.
TEST_F(SerialNumber, InDecimalFormKeepsTheNumberLessItsUpperPart)
{
    QV_SetSerNum(1234567, 1, Camera);
    EXPECT_EQ(Memory.chip->cells[7], 12);
    EXPECT_EQ(Memory.chip->cells[8], 54907);
    EXPECT_EQ(Memory.chip->cells[10], 1);
    EXPECT_EQ(QV_GetSerNum(Camera), 1254907);
    QV_SetSerNum(4321, 7, Camera);
    EXPECT_EQ(QV_GetSerNum(Camera), 4321); // a small one reads back as stored
    EXPECT_EQ(Memory.chip->cells[10], 7);
}

// 19,088,743 is 0x01234567.
TEST_F(SerialNumber, InBinaryFormIsSplitInTwo)
{
    QV_SetSerNum(19088743, 0, Camera);
    EXPECT_EQ(Memory.chip->cells[7], 0x0123);
    EXPECT_EQ(Memory.chip->cells[8], 0x4567);
    EXPECT_EQ(Memory.chip->cells[10], 0);
    EXPECT_EQ(QV_GetSerNum(Camera), 19088743);
}

TEST_F(SerialNumber, IsWrittenLowWordFirstBehindAPause)
{
    OpenDriver(300, &WordsExtras);
    QV_SetSerNum(65536 + 9, 0, Camera);
    EXPECT_EQ(Memory.calls, (Texts{"write 8 9", "write 7 1", "write 10 0"}));
    EXPECT_EQ(EmuMicroseconds(), 150000u);
    EXPECT_EQ(StopCount[Camera], 0);
}

TEST_F(SerialNumber, OfAnySizeIsSurvived)
{
    for (const int32_t serial : {INT32_MIN, -1, 0, INT32_MAX}) {
        for (const int32_t format : {INT32_MIN, -1, 0, 1, INT32_MAX}) {
            QV_SetSerNum(serial, format, Camera);
            QV_GetSerNum(Camera);
        }
    }
}
