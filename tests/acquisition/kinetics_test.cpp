// Fast series: what is read into which buffer, and what is put back afterwards.
#include "acquisition/kinetics.h"

#include <cstring>

#include "core/flags.h"
#include "core/options.h"
#include "core/record.h"
#include "core/timer_service.h"
#include "emulator/emulator.h"
#include "tests/support/fake_camera.h"

namespace {

int32_t FailingFrame; // the n-th read gives 2; 0: none
int32_t Reads;
uint16_t DummyInRead;
DriverExtras Extras;

void Note(const std::string& text)
{
    Fake.calls.push_back({text, EmuMicroseconds(), LoadFlag(StopCount[0])});
}

int32_t Answer(uint16_t* buffer)
{
    DummyInRead = CameraTable[0].Ccd.Dummy[0];
    ++Reads;
    if (Reads == FailingFrame) return 2;
    *buffer = static_cast<uint16_t>(Reads);
    return 0;
}

int32_t ReadWindow(int32_t shutter, int32_t x, int32_t y, int32_t width, int32_t height,
                   uint16_t* buffer, int32_t camera)
{
    Note("ReadWindow " + std::to_string(shutter) + " " + std::to_string(x) + " " +
         std::to_string(y) + " " + std::to_string(width) + " " + std::to_string(height) + " " +
         std::to_string(CameraTable[camera].ExposureTime));
    return Answer(buffer);
}

int32_t ReadFrame(int32_t shutter, int32_t width, int32_t height, uint16_t* buffer, int32_t camera)
{
    Note("ReadFrame " + std::to_string(shutter) + " " + std::to_string(width) + " " +
         std::to_string(height) + " " + std::to_string(CameraTable[camera].ExposureTime));
    return Answer(buffer);
}

void ClearSensor(int32_t /*camera*/)
{
    Note("ClearSensor");
}

void ShiftRows(uint32_t rows, int32_t /*camera*/)
{
    Note("ShiftRows " + std::to_string(rows));
}

class Series : public FakeTest {
protected:
    CameraRecord& record = CameraTable[0];
    uint16_t pixels[4] = {};
    uint16_t* buffers[4] = {pixels, pixels + 1, pixels + 2, pixels + 3};

    void SetUp() override
    {
        FakeTest::SetUp();
        FailingFrame = 0;
        Reads = 0;
    }

    void Begin(int32_t platform, uint32_t options)
    {
        OpenFake(platform, 0, options);
        record.Ccd.Xpix = 21;
        record.Ccd.Ypix = 16;
        for (uint16_t i = 0; i < 4; ++i) record.Ccd.Dummy[i] = static_cast<uint16_t>(5 + i);
        record.WindowDimX = 20;
        record.WindowDimY = 16;
        record.Ops.ReadWindow = ReadWindow;
        record.Ops.ReadFrame = ReadFrame;
        record.Ops.ClearSensor = ClearSensor;
        Extras = {};
        Extras.ShiftRows = ShiftRows;
        record.Extras = &Extras;
    }
};

} // namespace

// The row is 16 - 3, counted from the end of the area read last.
TEST_F(Series, OfWindowsIsBuiltOnceAndClearedOnce)
{
    Begin(42, OptionKeepClean);
    Kinetics(1, 0.25, 3, 2, 3, 7, 4, buffers, 0);
    EXPECT_EQ(FakeTexts(), (Texts{"BuildWave 2 13 6 1 1", "LoadSequencer", "ClearSensor",
                                  "ReadWindow 1 2 0 6 4 0.250000", "ReadWindow 1 2 0 6 4 0.250000",
                                  "ReadWindow 1 2 0 6 4 0.250000"}));
    EXPECT_EQ(pixels[0], 1);
    EXPECT_EQ(pixels[2], 3);
    EXPECT_EQ(pixels[3], 0);
    EXPECT_EQ(DummyInRead, 0);
    EXPECT_EQ(record.Ccd.Dummy[0], 5);
    EXPECT_EQ(LoadFlag(record.Options), OptionKeepClean);
    EXPECT_EQ(record.WindowDimX, 7);
    EXPECT_EQ(record.WindowDimY, 4);
    EXPECT_EQ(record.BuiltWindowY, 3);
    EXPECT_EQ(LoadFlag(record.LastError), 0);
    EXPECT_EQ(LoadFlag(StopCount[0]), 0);
}

TEST_F(Series, OfTheSameWindowsBuildsNothing)
{
    Begin(42, 0);
    Kinetics(1, 0.25, 1, 2, 3, 7, 4, buffers, 0);
    Fake.calls.clear();
    Kinetics(1, 0.5, 1, 2, 3, 7, 4, buffers, 0);
    EXPECT_EQ(FakeTexts(), (Texts{"ReadWindow 1 2 0 6 4 0.500000"}));
}

TEST_F(Series, EndsWithTheFirstErrorAndPutsAllBack)
{
    Begin(42, OptionKeepClean);
    FailingFrame = 3;
    Kinetics(1, 0.25, 4, 2, 3, 6, 4, buffers, 0);
    EXPECT_EQ(FakeTexts("ReadWindow").size(), 3u);
    EXPECT_EQ(pixels[1], 2);
    EXPECT_EQ(pixels[2], 0);
    EXPECT_EQ(pixels[3], 0);
    EXPECT_EQ(LoadFlag(record.LastError), 2);
    EXPECT_EQ(LoadFlag(record.Options), OptionKeepClean);
    EXPECT_EQ(record.Ccd.Dummy[0], 5);
    EXPECT_EQ(LoadFlag(StopCount[0]), 1); // the service stays off
}

TEST_F(Series, OfNoFramesReadsNothing)
{
    Begin(42, 0);
    for (const int32_t frames : {0, -1}) Kinetics(1, 0.25, frames, 0, 0, 6, 4, buffers, 0);
    EXPECT_EQ(FakeTexts("ReadWindow"), Texts{});
    EXPECT_EQ(LoadFlag(StopCount[0]), 0);
}

TEST_F(Series, WithoutABufferIsAnError)
{
    Begin(42, 0);
    buffers[1] = nullptr;
    Kinetics(1, 0.25, 3, 0, 0, 6, 4, buffers, 0);
    EXPECT_EQ(FakeTexts("ReadWindow").size(), 1u);
    EXPECT_EQ(LoadFlag(record.LastError), 16);
    Kinetics(1, 0.25, 3, 0, 0, 6, 4, nullptr, 0);
    EXPECT_EQ(LoadFlag(record.LastError), 16);
}

// With binning 5 the word is HorDummyPix, with 6 HorRegSize.
TEST_F(Series, ChangesTheWordBehindTheDummiesForHighBinnings)
{
    Begin(42, 0);
    record.VerBinning = 5;
    record.Ccd.HorDummyPix = 11;
    record.Ops.ReadWindow = [](int32_t, int32_t, int32_t, int32_t, int32_t, uint16_t*,
                               int32_t) -> int32_t {
        Note("HorDummyPix " + std::to_string(CameraTable[0].Ccd.HorDummyPix));
        return 0;
    };
    Kinetics(1, 0.0, 1, 0, 0, 6, 2, buffers, 0);
    EXPECT_EQ(FakeTexts("HorDummyPix"), (Texts{"HorDummyPix 0"}));
    EXPECT_EQ(record.Ccd.HorDummyPix, 11);
    EXPECT_EQ(record.Ccd.Dummy[3], 8);
}

TEST_F(Series, WithAbsurdBinningChangesNoWordAtAll)
{
    Begin(42, 0);
    for (const int32_t binning : {34, 0, -1}) {
        record.VerBinning = binning;
        const CcdDefinition before = record.Ccd;
        Kinetics(1, 0.0, 1, 0, 0, 6, 2, buffers, 0);
        EXPECT_EQ(memcmp(&before, &record.Ccd, sizeof before), 0) << binning;
    }
}

// Without a binning the image has no rows.
TEST_F(Series, InTheSensorOfNoRowsReadsNone)
{
    Begin(42, 0);
    record.VerBinning = 0;
    KineticsCCD(1, 0.0, 0, 4, pixels, 0);
    EXPECT_EQ(FakeTexts("ReadFrame"), (Texts{"ReadFrame 1 20 0 0.000000"}));
}

TEST_F(Series, InTheSensorByNoLinesShiftsNothing)
{
    Begin(44, 0);
    KineticsCCD(1, 0.0, 2, 0, pixels, 0);
    KineticsCCD(1, 0.0, 2, -4, pixels, 0);
    EXPECT_EQ(FakeTexts("ShiftRows"), Texts{});
    EXPECT_EQ(FakeTexts("ReadFrame").size(), 2u);
}

TEST_F(Series, InTheSensorShiftsItAndReadsOneFrame)
{
    Begin(44, OptionKeepClean);
    record.ShutterHeld = 1;
    const uint64_t start = EmuMicroseconds();
    KineticsCCD(1, 0.05, 2, 4, pixels, 0);
    EXPECT_EQ(FakeTexts(), (Texts{"ClearSensor", "ShiftRows 4", "ShiftRows 4",
                                  "WriteRegister 3 0x4000", "ReadFrame 1 20 16 0.000000"}));
    EXPECT_GE(EmuMicroseconds() - start, 110000u); // two of 50 ms, and 10 ms to settle
    EXPECT_EQ(DummyInRead, 0);
    EXPECT_EQ(record.Ccd.Dummy[0], 5);
    EXPECT_EQ(LoadFlag(record.Options), OptionKeepClean);
    EXPECT_EQ(record.ShutterHeld, 0);
    EXPECT_EQ(pixels[0], 1);
    EXPECT_EQ(LoadFlag(StopCount[0]), 0);
}

TEST_F(Series, InTheSensorBringsTheFullFrameBack)
{
    Begin(42, 0);
    record.WindowBuilt = 1;
    record.HorBinning = 2;
    record.VerBinning = 3;
    KineticsCCD(0, 0.0, 0, 4, pixels, 0);
    EXPECT_EQ(FakeTexts(),
              (Texts{"BuildWave 0 0 20 2 3", "LoadSequencer", "ReadFrame 0 10 5 0.000000"}));
}

TEST_F(Series, OnOtherCamerasOnlyTimePasses)
{
    Begin(25, 0);
    Extras.ShiftRows = nullptr;
    const uint64_t start = EmuMicroseconds();
    KineticsCCD(1, 0.1, 3, 4, pixels, 0);
    EXPECT_GE(EmuMicroseconds() - start, 310000u);
    EXPECT_EQ(FakeTexts("ShiftRows"), Texts{});
    EXPECT_EQ(FakeTexts("ReadFrame").size(), 1u);
}

TEST_F(Series, InTheSensorReportsTheFailure)
{
    Begin(42, OptionKeepClean);
    FailingFrame = 1;
    KineticsCCD(1, 0.0, 1, 4, pixels, 0);
    EXPECT_EQ(LoadFlag(record.LastError), 2);
    EXPECT_EQ(LoadFlag(record.Options), OptionKeepClean);
    EXPECT_EQ(LoadFlag(StopCount[0]), 1);
}

TEST_F(Series, InTheSensorNeedsABufferToBegin)
{
    Begin(42, OptionKeepClean);
    KineticsCCD(1, 10.0, 100, 4, nullptr, 0);
    EXPECT_EQ(LoadFlag(record.LastError), 16);
    EXPECT_EQ(FakeTexts(), Texts{});
    EXPECT_EQ(LoadFlag(StopCount[0]), 0);
}
