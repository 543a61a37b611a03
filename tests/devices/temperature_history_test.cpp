// The history of readings and the equilibrium test.
#include <atomic>
#include <climits>
#include <cmath>
#include <cstring>
#include <limits>
#include <memory>
#include <thread>
#include <vector>

#include "core/record.h"
#include "devices/temperature.h"
#include "tests/support/fake_camera.h"

namespace {

class TemperatureHistory : public FakeTest {
protected:
    void SetUp() override
    {
        FakeTest::SetUp();
        OpenFake(44, 0, 0);
    }

    void Add(double reading) { AddToTemperatureHistory(reading, 0); }

    CameraRecord& record = CameraTable[0];
};

using TemperatureEquilibrium = TemperatureHistory;

// Unlike any other, with all bits of the mantissa in use.
double Reading(int32_t index)
{
    return -40.0 + std::sqrt(static_cast<double>(index) + 0.37);
}

bool SameBits(const double* a, const double* b, size_t count)
{
    return memcmp(a, b, count * sizeof *a) == 0;
}

} // namespace

TEST_F(TemperatureHistory, KeepsReadingsInTheirOrder)
{
    Fake.temperatures = {1.5, 2.5, 3.5};
    for (int i = 0; i < 3; ++i) TemperatureHandle(0);
    std::vector<double> copy(HistoryLength, -1.0);
    EXPECT_EQ(GetTempHistory(copy.data(), 0), 3);
    EXPECT_EQ(copy[0], 1.5);
    EXPECT_EQ(copy[1], 2.5);
    EXPECT_EQ(copy[2], 3.5);
    EXPECT_EQ(copy[3], 0.0);
    EXPECT_EQ(copy[HistoryLength - 1], 0.0);
}

TEST_F(TemperatureHistory, IsWrittenToRow0WhateverTheCamera)
{
    OpenFake(44, 0, 0, 3);
    Fake.temperatures = {-7.5};
    for (int i = 0; i < 10; ++i) TemperatureHandle(3);
    EXPECT_EQ(CameraTable[3].TemperatureHistoryCount[0], 10);
    EXPECT_EQ(CameraTable[3].TemperatureHistory[0][9], -7.5);
    // Readers look at row 3, which nothing fills.
    std::vector<double> copy(HistoryLength, -1.0);
    EXPECT_EQ(GetTempHistory(copy.data(), 3), 0);
    for (double value : copy) ASSERT_EQ(value, 0.0);
    CameraTable[3].TargetTemperature = -7.5;
    EXPECT_EQ(CheckTempEquil(1, 100.0, 3), 0);
    EXPECT_EQ(CheckTempEquil(0, 100.0, 3), 1);
    // Nor does it reach another camera's record.
    EXPECT_EQ(record.TemperatureHistoryCount[0], 0);
}

TEST_F(TemperatureHistory, CountReads7199After7200ReadingsAndStaysThere)
{
    for (int32_t i = 0; i < 7199; ++i) Add(Reading(i));
    EXPECT_EQ(GetTempHistory(nullptr, 0), 7199);
    EXPECT_EQ(record.TemperatureHistoryFull[0], 0);
    Add(Reading(7199));
    EXPECT_EQ(GetTempHistory(nullptr, 0), 7199);
    EXPECT_EQ(record.TemperatureHistoryFull[0], 1);
    for (int32_t i = 7200; i < 9000; ++i) {
        Add(Reading(i));
        ASSERT_EQ(record.TemperatureHistoryCount[0], 7199);
    }
}

TEST_F(TemperatureHistory, FullRowMovesBy7199Bytes)
{
    std::vector<double> expected(HistoryLength);
    for (int32_t i = 0; i < HistoryLength; ++i) expected[static_cast<size_t>(i)] = Reading(i);
    for (int32_t i = 0; i < HistoryLength; ++i) Add(Reading(i));
    memmove(expected.data(), expected.data() + 1, 7199);
    EXPECT_TRUE(SameBits(record.TemperatureHistory[0], expected.data(), HistoryLength));
    for (int32_t i = 0; i < 2000; ++i) {
        Add(Reading(HistoryLength + i));
        expected[HistoryLength - 1] = Reading(HistoryLength + i);
        memmove(expected.data(), expected.data() + 1, 7199);
        ASSERT_TRUE(SameBits(record.TemperatureHistory[0], expected.data(), HistoryLength)) << i;
    }
    std::vector<double> copy(HistoryLength);
    GetTempHistory(copy.data(), 0);
    EXPECT_TRUE(SameBits(copy.data(), expected.data(), HistoryLength));
}

TEST_F(TemperatureHistory, OnlyTheFirst899ReadingsMoveWholeAndTheNextIsTorn)
{
    for (int32_t i = 0; i < HistoryLength; ++i) Add(Reading(i));
    const double* row = record.TemperatureHistory[0];
    EXPECT_EQ(row[0], Reading(1));
    EXPECT_EQ(row[898], Reading(899));
    EXPECT_EQ(row[900], Reading(900));
    EXPECT_EQ(row[7198], Reading(7198));
    EXPECT_EQ(row[7199], Reading(7199));
    // Seven bytes of the next reading under the highest byte of its own.
    uint8_t torn[8], own[8], next[8];
    const double ownReading = Reading(899);
    const double nextReading = Reading(900);
    memcpy(torn, &row[899], 8);
    memcpy(own, &ownReading, 8);
    memcpy(next, &nextReading, 8);
    EXPECT_EQ(memcmp(torn, next, 7), 0);
    EXPECT_EQ(torn[7], own[7]);
}

TEST_F(TemperatureHistory, TornReadingTakesItsSignFromTheOldOne)
{
    // 1.0 is 3FF0..., -2.0 is C000...: 3F from the old, 00 and zeros from the new.
    for (int32_t i = 0; i < HistoryLength; ++i) Add(i == 900 ? -2.0 : 1.0);
    uint64_t bits;
    memcpy(&bits, &record.TemperatureHistory[0][899], 8);
    EXPECT_EQ(bits, 0x3F00'0000'0000'0000u);
}

TEST_F(TemperatureHistory, OtherRowsStayUntouched)
{
    for (int32_t i = 0; i < HistoryLength + 50; ++i) Add(99.0);
    for (int32_t row = 1; row < HeadCount; ++row) {
        for (double value : record.TemperatureHistory[row]) ASSERT_EQ(value, 0.0);
        EXPECT_EQ(record.TemperatureHistoryCount[row], 0);
        EXPECT_EQ(record.TemperatureHistoryFull[row], 0);
    }
}

TEST_F(TemperatureHistory, OpenClearsTheElementOfTheCamerasOwnNumber)
{
    OpenFake(44, 0, 0, 3);
    CameraRecord& other = CameraTable[3];
    for (int32_t row = 0; row < HeadCount; ++row) {
        other.TemperatureHistoryCount[row] = 10 + row;
        other.TemperatureHistoryFull[row] = 1;
    }
    ClearTemperatureHistory(3);
    for (int32_t row = 0; row < HeadCount; ++row) {
        EXPECT_EQ(other.TemperatureHistoryCount[row], row == 3 ? 0 : 10 + row);
        EXPECT_EQ(other.TemperatureHistoryFull[row], row == 3 ? 0 : 1);
    }
}

TEST_F(TemperatureHistory, NullBufferOnlyGivesTheCount)
{
    Add(1.0);
    Add(2.0);
    EXPECT_EQ(GetTempHistory(nullptr, 0), 2);
}

TEST_F(TemperatureHistory, MayBeReadWhileTheTimerWrites)
{
    for (int32_t i = 0; i < HistoryLength; ++i) Add(20.0);
    std::atomic<bool> ended{false};
    std::thread writer([&] {
        for (int32_t i = 0; i < 300; ++i) Add(20.0);
        ended = true;
    });
    std::vector<double> copy(HistoryLength);
    record.TargetTemperature = 20.0;
    do {
        EXPECT_EQ(GetTempHistory(copy.data(), 0), 7199);
        EXPECT_EQ(CheckTempEquil(7200, 0.0, 0), 1);
    } while (!ended);
    writer.join();
    for (double value : copy) ASSERT_EQ(value, 20.0);
}

// --- equilibrium ---

TEST_F(TemperatureEquilibrium, BothLimitsCountAsInside)
{
    record.TargetTemperature = -10.0;
    Add(-10.5);
    Add(-9.5);
    EXPECT_EQ(CheckTempEquil(2, 0.5, 0), 1);
    EXPECT_EQ(CheckTempEquil(2, 0.49, 0), 0);
    Add(-10.51);
    EXPECT_EQ(CheckTempEquil(1, 0.5, 0), 0);
    Add(-9.49);
    EXPECT_EQ(CheckTempEquil(1, 0.5, 0), 0);
}

TEST_F(TemperatureEquilibrium, LooksAtTheLastReadingsOnly)
{
    record.TargetTemperature = 0.0;
    Add(50.0);
    Add(0.1);
    Add(-0.1);
    EXPECT_EQ(CheckTempEquil(2, 0.2, 0), 1);
    EXPECT_EQ(CheckTempEquil(3, 0.2, 0), 0);
}

TEST_F(TemperatureEquilibrium, FewerReadingsThanAskedForIsNot)
{
    record.TargetTemperature = 0.0;
    Add(0.0);
    Add(0.0);
    EXPECT_EQ(CheckTempEquil(2, 1.0, 0), 1);
    EXPECT_EQ(CheckTempEquil(3, 1.0, 0), 0);
    EXPECT_EQ(CheckTempEquil(INT_MAX, 1.0, 0), 0);
}

TEST_F(TemperatureEquilibrium, CountOfZeroOrLessIs)
{
    EXPECT_EQ(CheckTempEquil(0, 0.0, 0), 1);
    EXPECT_EQ(CheckTempEquil(-1, 0.0, 0), 1);
    EXPECT_EQ(CheckTempEquil(INT_MIN, 0.0, 0), 1);
    for (int32_t i = 0; i < HistoryLength; ++i) Add(50.0);
    EXPECT_EQ(CheckTempEquil(0, 0.0, 0), 1);
    EXPECT_EQ(CheckTempEquil(INT_MIN, 0.0, 0), 1);
}

TEST_F(TemperatureEquilibrium, FullRowIsLookedAtFromItsLastElement)
{
    record.TargetTemperature = 0.0;
    for (int32_t i = 0; i < HistoryLength; ++i) Add(0.0);
    record.TemperatureHistory[0][7199] = 5.0;
    EXPECT_EQ(CheckTempEquil(1, 1.0, 0), 0);
    record.TemperatureHistory[0][7199] = 0.0;
    record.TemperatureHistory[0][7190] = 5.0;
    EXPECT_EQ(CheckTempEquil(9, 1.0, 0), 1);
    EXPECT_EQ(CheckTempEquil(10, 1.0, 0), 0);
}

TEST_F(TemperatureEquilibrium, CountAboveTheRowPassesForWhatLiesOutside)
{
    for (int32_t camera : {0, 7}) {
        OpenFake(44, 0, 0, camera);
        CameraRecord& other = CameraTable[camera];
        other.TemperatureHistoryFull[camera] = 1;
        other.TemperatureHistoryCount[camera] = 7199;
        for (int32_t count : {7200, 7201, 60000, INT_MAX}) {
            EXPECT_EQ(CheckTempEquil(count, 1.0, camera), 1) << count;
        }
        other.TemperatureHistory[camera][0] = 5.0;
        EXPECT_EQ(CheckTempEquil(7199, 1.0, camera), 1);
        for (int32_t count : {7200, 7201, INT_MAX}) {
            EXPECT_EQ(CheckTempEquil(count, 1.0, camera), 0) << count;
        }
    }
}

TEST_F(TemperatureEquilibrium, WhatIsNotANumberIsNotOutside)
{
    Add(std::numeric_limits<double>::quiet_NaN());
    EXPECT_EQ(CheckTempEquil(1, 1.0, 0), 1);
    Add(0.0);
    EXPECT_EQ(CheckTempEquil(1, std::numeric_limits<double>::quiet_NaN(), 0), 1);
    EXPECT_EQ(CheckTempEquil(1, -1.0, 0), 0);
}
