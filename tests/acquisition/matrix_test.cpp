// The internal frame buffers.
#include <algorithm>
#include <vector>

#include "core/record.h"
#include "core/timer_service.h"
#include "emulator/emulator.h"
#include "tests/support/scripted_camera.h"

namespace {

class InternalBuffers : public ScriptedTest {
protected:
    void Open(int32_t camera, uint32_t options, int32_t sensor = SmallSensor)
    {
        OpenScripted(camera, options, sensor);
        ASSERT_EQ(QV_IsOn(camera), 1);
        ScriptedCalls.clear();
    }
};

TEST_F(InternalBuffers, ClosedRecordHasNone)
{
    for (int32_t index = 0; index < 16; ++index) EXPECT_EQ(QV_MatrixPointer(index, 0), nullptr);
    EXPECT_EQ(QV_MatrixGet(0), 0);
    EXPECT_EQ(QV_MatrixRead(0, 0, 0), 0);
    EXPECT_EQ(QV_MatrixSize(0), 0);
}

TEST_F(InternalBuffers, AllocationTakesTheFirstFreeEntryAndMakesItCurrent)
{
    Open(0, 0);
    for (int32_t index = 0; index < 4; ++index) {
        QV_Matrix(0, 0);
        EXPECT_EQ(QV_Status(0), 0);
        EXPECT_EQ(QV_MatrixGet(0), index);
        EXPECT_NE(QV_MatrixPointer(index, 0), nullptr);
    }
    QV_MatrixSet(1, 0);
    QV_Matrix(2, 0);
    EXPECT_EQ(QV_MatrixPointer(1, 0), nullptr);
    EXPECT_EQ(QV_MatrixGet(0), 1);
    QV_MatrixSet(3, 0);
    QV_Matrix(0, 0);
    EXPECT_EQ(QV_MatrixGet(0), 1) << "the gap is filled";
}

TEST_F(InternalBuffers, SeventeenthIsRefused)
{
    Open(0, 0);
    for (int32_t index = 0; index < 16; ++index) QV_Matrix(0, 0);
    EXPECT_EQ(QV_Status(0), 0);
    EXPECT_EQ(QV_MatrixGet(0), 15);
    QV_MatrixSet(4, 0);
    QV_Matrix(0, 0);
    EXPECT_EQ(QV_Status(0), 16);
    EXPECT_EQ(QV_MatrixGet(0), 4);
    EXPECT_EQ(EmuLiveBlocks(), 16u);
}

TEST_F(InternalBuffers, FailedAllocationGivesSixteenAndKeepsTheCurrentOne)
{
    Open(0, 0x8000);
    EmuFail(EmuAllocate, 1, false);
    QV_Matrix(0, 0);
    EXPECT_EQ(QV_Status(0), 16);
    EXPECT_EQ(QV_MatrixGet(0), 0);
    EXPECT_EQ(QV_MatrixPointer(1, 0), nullptr);
    EXPECT_EQ(EmuLiveBlocks(), 1u);
}

TEST_F(InternalBuffers, FreeingTwiceIsHarmless)
{
    Open(0, 0x8000);
    QV_Matrix(2, 0);
    QV_Matrix(2, 0);
    EXPECT_EQ(EmuLiveBlocks(), 0u);
    EXPECT_EQ(QV_Status(0), 0);
}

TEST_F(InternalBuffers, AnyOtherOperationDoesNothing)
{
    Open(0, 0x8000);
    uint16_t* buffer = QV_MatrixPointer(0, 0);
    for (int32_t operation : {-1, 3, 4, INT32_MAX, INT32_MIN}) {
        QV_Matrix(operation, 0);
        EXPECT_EQ(QV_MatrixPointer(0, 0), buffer);
        EXPECT_EQ(EmuLiveBlocks(), 1u);
        EXPECT_EQ(QV_Status(0), 0);
    }
}

TEST_F(InternalBuffers, IndexOutsideTheTableGivesNullAndIsNotStored)
{
    Open(0, 0x8000);
    for (int32_t index : {-1, 16, 17, INT32_MAX, INT32_MIN}) {
        EXPECT_EQ(QV_MatrixPointer(index, 0), nullptr) << index;
        QV_MatrixSet(index, 0);
        EXPECT_EQ(QV_MatrixGet(0), 0) << index;
    }
    QV_MatrixSet(15, 0);
    EXPECT_EQ(QV_MatrixGet(0), 15);
    QV_MatrixSet(0, 0);
}

struct SizeRow {
    int32_t horizontal, vertical, bytes;
};

TEST_F(InternalBuffers, SizeIsReckonedFromLeftToRight)
{
    Open(0, 0, OddSensor); // 21 by 13
    const SizeRow rows[] = {
        {1, 1, 546}, // 21 x 13 x 2
        {2, 1, 260}, // 10 x 13 x 2
        {2, 3, 86},  // 10 x 13 / 3 = 43, x 2
        {4, 4, 32},  // 5 x 13 / 4 = 16, x 2
        {22, 1, 0},
    };
    for (const SizeRow& row : rows) {
        CameraTable[0].HorBinning = row.horizontal;
        CameraTable[0].VerBinning = row.vertical;
        EXPECT_EQ(QV_MatrixSize(0), row.bytes) << row.horizontal << " by " << row.vertical;
    }
}

TEST_F(InternalBuffers, SensorWithoutASizeGivesSixteen)
{
    struct Sensor {
        int16_t columns, rows;
    };
    Open(0, 0x8000);
    // Nothing, negative, and one byte more than an answer of 32 bits can tell.
    for (const Sensor& sensor : {Sensor{0, 16}, Sensor{24, 0}, Sensor{-24, 16}, Sensor{24, -16},
                                 Sensor{INT16_MIN, INT16_MAX}, Sensor{INT16_MIN, INT16_MIN}}) {
        CameraTable[0].Ccd.Xpix = sensor.columns;
        CameraTable[0].Ccd.Ypix = sensor.rows;
        EXPECT_EQ(QV_MatrixSize(0), 0) << sensor.columns << " by " << sensor.rows;
        for (int32_t operation : {0, 1}) {
            CameraTable[0].LastError = 0;
            QV_Matrix(operation, 0);
            EXPECT_EQ(QV_Status(0), 16);
            EXPECT_EQ(EmuLiveBlocks(), 1u);
            EXPECT_EQ(QV_MatrixGet(0), 0);
        }
    }
    CameraTable[0].Ccd.Xpix = CameraTable[0].Ccd.Ypix = INT16_MAX;
    EXPECT_EQ(QV_MatrixSize(0), 2147352578) << "32767 x 32767 x 2";
}

TEST_F(InternalBuffers, CallsSelectTheHeadInArrayMode)
{
    Open(2, 0x8000);
    CameraRecord& record = CameraTable[2];
    record.ArrayMode = 1;
    record.CurrentArrayCamera = 5;
    void (*const calls[])() = {
        [] { QV_Matrix(3, 2); },
        [] { QV_MatrixPointer(0, 2); },
        [] { QV_MatrixSet(0, 2); },
        [] { QV_MatrixRead(0, 0, 2); },
    };
    for (auto call : calls) {
        record.CoolerPower = 123;
        record.SubPower[5] = 0;
        record.SubPower[2] = 456;
        call();
        EXPECT_EQ(record.SubPower[5], 123);
        EXPECT_EQ(record.CoolerPower, 456);
    }
    record.ArrayMode = 0;
}

TEST_F(InternalBuffers, ResizeFitsTheBinnedFrame)
{
    Open(0, 0x8000, OddSensor);
    EXPECT_EQ(CameraTable[0].MatrixBytes[0], 546u);
    QV_SetBinning(2, 3, 0);
    QV_Matrix(1, 0);
    EXPECT_EQ(QV_Status(0), 0);
    EXPECT_EQ(CameraTable[0].MatrixBytes[0], 86u);
    EXPECT_EQ(EmuLiveBlocks(), 1u);
    uint16_t* buffer = QV_MatrixPointer(0, 0);
    ASSERT_NE(buffer, nullptr);
    std::fill(buffer, buffer + 43, uint16_t{9});
}

TEST_F(InternalBuffers, FailedResizeGivesSixteen)
{
    Open(0, 0x8000);
    QV_SetBinning(2, 2, 0);
    const uint16_t* buffer = QV_MatrixPointer(0, 0);
    EmuFail(EmuAllocate, 1, true);
    QV_Matrix(1, 0);
    EXPECT_EQ(QV_Status(0), 16);
    EmuFail(EmuAllocate, 0, false);
    EXPECT_EQ(EmuLiveBlocks(), 1u);
    EXPECT_EQ(QV_MatrixPointer(0, 0), buffer) << "the old one stays";
    EXPECT_EQ(CameraTable[0].MatrixBytes[0], 24u * 16u * 2u);
}

TEST_F(InternalBuffers, PixelIsReadAtItsRowMajorPosition)
{
    Open(0, 0x8000);
    uint16_t* buffer = QV_MatrixPointer(0, 0);
    for (uint16_t i = 0; i < 24 * 16; ++i) buffer[i] = static_cast<uint16_t>(1000 + i);
    EXPECT_EQ(QV_MatrixRead(0, 0, 0), 1000);
    EXPECT_EQ(QV_MatrixRead(5, 2, 0), 1000 + 2 * 24 + 5);
    EXPECT_EQ(QV_MatrixRead(23, 15, 0), 1000 + 383);
    EXPECT_EQ(QV_MatrixRead(24, 0, 0), 1024) << "runs into the next row";
    EXPECT_EQ(QV_MatrixRead(-1, 1, 0), 1023);
    CameraTable[0].HorBinning = 5; // rows of 24 / 5 = 4
    EXPECT_EQ(QV_MatrixRead(1, 3, 0), 1013);
}

TEST_F(InternalBuffers, PixelOutsideTheBufferIsZero)
{
    Open(0, 0x8000);
    uint16_t* buffer = QV_MatrixPointer(0, 0);
    std::fill(buffer, buffer + 24 * 16, uint16_t{7});
    const int32_t far[] = {24 * 16, 100000, INT32_MAX, INT32_MIN, -1};
    for (int32_t x : far) EXPECT_EQ(QV_MatrixRead(x, 0, 0), 0) << x;
    for (int32_t y : {16, 100000, INT32_MAX, INT32_MIN, -1}) {
        EXPECT_EQ(QV_MatrixRead(0, y, 0), 0) << y;
    }
    EXPECT_EQ(QV_MatrixRead(INT32_MAX, INT32_MAX, 0), 0);
    EXPECT_EQ(QV_MatrixRead(INT32_MIN, INT32_MIN, 0), 0);
    EXPECT_EQ(QV_MatrixRead(23, 15, 0), 7);
    QV_SetBinning(2, 2, 0);
    QV_Matrix(1, 0); // 12 by 8
    EXPECT_EQ(QV_MatrixRead(0, 8, 0), 0);
    QV_Matrix(2, 0);
    EXPECT_EQ(QV_MatrixRead(0, 0, 0), 0) << "without a buffer";
}

// Frames.

TEST_F(InternalBuffers, FrameGoesToTheInternalBufferWithTheOption)
{
    OpenDemo(0, 0x8000);
    CameraTable[0].CurrentTemperature = -1e300;
    std::vector<uint16_t> own(24 * 16, 7);
    QV_GetCCD(1, 0.5, own.data(), 0);
    EXPECT_EQ(QV_Status(0), 0);
    EXPECT_EQ(own, std::vector<uint16_t>(24 * 16, 7)) << "the caller's pointer is ignored";
    const uint16_t* frame = QV_MatrixPointer(QV_MatrixGet(0), 0);
    for (int32_t row = 0; row < 16; ++row) {
        for (int32_t column = 0; column < 24; ++column) {
            EXPECT_EQ(frame[row * 24 + column], (DemoFilePixel(column, row) + 200) / 2);
            EXPECT_EQ(QV_MatrixRead(column, row, 0), frame[row * 24 + column]);
        }
    }
    QV_GetWinCCD(1, 0.5, 2, 1, 6, 4, own.data(), 0);
    EXPECT_EQ(own, std::vector<uint16_t>(24 * 16, 7));
    EXPECT_EQ(frame[0], (DemoFilePixel(2, 1) + 200) / 2);
}

TEST_F(InternalBuffers, NullBufferStandsForTheCurrentOne)
{
    Open(0, 0);
    QV_Matrix(0, 0);
    QV_Matrix(0, 0);
    QV_GetCCD(1, 0.0, nullptr, 0);
    EXPECT_EQ(CallsOf(12).back().buffer, QV_MatrixPointer(1, 0));
    QV_MatrixSet(0, 0);
    QV_FGetCCD(1, 0.0, nullptr, 0);
    EXPECT_EQ(CallsOf(12).back().buffer, QV_MatrixPointer(0, 0));
    QV_TGetCCD(1, 0.0, nullptr, 0);
    EXPECT_EQ(CallsOf(31).back().buffer, QV_MatrixPointer(0, 0));
    QV_GetWinCCD(1, 0.0, 0, 0, 4, 4, nullptr, 0);
    EXPECT_EQ(CallsOf(15).back().buffer, QV_MatrixPointer(0, 0));
    uint16_t own[16];
    QV_GetWinCCD(1, 0.0, 0, 0, 4, 4, own, 0);
    EXPECT_EQ(CallsOf(15).back().buffer, own);
}

TEST_F(InternalBuffers, WithoutAnyBufferNothingIsReadAndTheErrorIsSixteen)
{
    Open(0, 0);
    uint16_t own[16];
    for (uint32_t options : {0x0000u, 0x8000u}) {
        CameraTable[0].Options = options;
        uint16_t* buffer = options ? own : nullptr;
        for (auto call : {QV_GetCCD, QV_FGetCCD, QV_TGetCCD}) {
            CameraTable[0].LastError = 0;
            call(1, 0.0, buffer, 0);
            EXPECT_EQ(QV_Status(0), 16);
        }
        for (auto call : {QV_GetWinCCD, QV_FGetWinCCD}) {
            CameraTable[0].LastError = 0;
            call(1, 0.0, 0, 0, 4, 4, buffer, 0);
            EXPECT_EQ(QV_Status(0), 16);
        }
    }
    EXPECT_TRUE(CallsOf(12).empty());
    EXPECT_TRUE(CallsOf(15).empty());
    EXPECT_TRUE(CallsOf(31).empty());
    CameraTable[0].Options = 0;
}

// Reads that fill all they were told to.
int32_t FillFrame(int32_t, int32_t width, int32_t height, uint16_t* buffer, int32_t)
{
    std::fill(buffer, buffer + width * height, uint16_t{3});
    return 0;
}

int32_t FillWindow(int32_t, int32_t, int32_t, int32_t width, int32_t height, uint16_t* buffer,
                   int32_t)
{
    std::fill(buffer, buffer + width * height, uint16_t{4});
    return 0;
}

TEST_F(InternalBuffers, BufferResizedForABinningGrowsForALargerFrame)
{
    Open(0, 0x8000);
    QV_SetFunction(12, reinterpret_cast<void*>(FillFrame), 0);
    QV_SetFunction(15, reinterpret_cast<void*>(FillWindow), 0);
    QV_SetBinning(4, 4, 0);
    QV_Matrix(1, 0);
    EXPECT_EQ(CameraTable[0].MatrixBytes[0], 48u);
    QV_SetBinning(1, 1, 0);
    QV_GetCCD(1, 0.0, nullptr, 0);
    EXPECT_EQ(QV_Status(0), 0);
    EXPECT_GE(CameraTable[0].MatrixBytes[0], 24u * 16u * 2u);
    EXPECT_EQ(QV_MatrixRead(23, 15, 0), 3);
    EXPECT_EQ(EmuLiveBlocks(), 1u);

    QV_GetWinCCD(1, 0.0, 0, 0, 40, 30, nullptr, 0);
    EXPECT_EQ(QV_Status(0), 0);
    EXPECT_GE(CameraTable[0].MatrixBytes[0], 2400u);
    EXPECT_EQ(QV_MatrixPointer(0, 0)[1199], 4) << "a window larger than the sensor";
}

TEST_F(InternalBuffers, BufferThatIsLargeEnoughStaysWhereItIs)
{
    Open(0, 0x8000);
    const uint16_t* buffer = QV_MatrixPointer(0, 0);
    QV_SetBinning(2, 2, 0);
    QV_GetCCD(1, 0.0, nullptr, 0);
    EXPECT_EQ(QV_MatrixPointer(0, 0), buffer);
    EXPECT_EQ(CameraTable[0].MatrixBytes[0], 24u * 16u * 2u);
}

TEST_F(InternalBuffers, BufferThatCannotGrowGivesSixteenAndNothingIsRead)
{
    Open(0, 0x8000);
    QV_SetBinning(4, 4, 0);
    QV_Matrix(1, 0);
    QV_SetBinning(1, 1, 0);
    const uint16_t* buffer = QV_MatrixPointer(0, 0);
    ScriptedCalls.clear();
    EmuFail(EmuAllocate, 1, true);
    QV_GetCCD(1, 0.0, nullptr, 0);
    EXPECT_EQ(QV_Status(0), 16);
    EXPECT_TRUE(CallsOf(12).empty());
    EmuFail(EmuAllocate, 0, false);
    EXPECT_EQ(EmuLiveBlocks(), 1u);
    EXPECT_EQ(QV_MatrixPointer(0, 0), buffer) << "the small one stays";
    EXPECT_EQ(CameraTable[0].MatrixBytes[0], 48u);
    CameraTable[0].LastError = 0;
    QV_GetCCD(1, 0.0, nullptr, 0);
    EXPECT_EQ(QV_Status(0), 0);
    EXPECT_EQ(CallsOf(12).size(), 1u);
    EXPECT_EQ(CameraTable[0].MatrixBytes[0], 24u * 16u * 2u);
}

TEST_F(InternalBuffers, WindowTooLargeForAnyMemoryGivesSixteen)
{
    Open(0, 0x8000);
    EmuFail(EmuAllocate, 1, true);
    QV_GetWinCCD(1, 0.0, 0, 0, INT32_MAX, INT32_MAX, nullptr, 0);
    EXPECT_EQ(QV_Status(0), 16);
    EXPECT_TRUE(CallsOf(15).empty());
    EmuFail(EmuAllocate, 0, false);
}

TEST_F(InternalBuffers, CamerasKeepTheirOwn)
{
    Open(0, 0x8000);
    Open(1, 0x8000);
    QV_Matrix(0, 1);
    EXPECT_EQ(QV_MatrixGet(0), 0);
    EXPECT_EQ(QV_MatrixGet(1), 1);
    EXPECT_NE(QV_MatrixPointer(0, 0), QV_MatrixPointer(0, 1));
    EXPECT_EQ(EmuLiveBlocks(), 3u);
}

} // namespace
