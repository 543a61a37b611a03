// Opening and closing the simulated camera: counting, ambient temperature, and
// the raw file laid on the sensor.
#include <cmath>

#include "core/binding.h"
#include "core/record.h"
#include "drivers/demo/demo.h"
#include "drivers/demo/demo_pixels.h"
#include "emulator/emulator.h"
#include "tests/support/demo_camera.h"

namespace {

class DemoDriver : public DemoTest {
protected:
    void SetUp() override
    {
        DemoTest::SetUp();
        DemoOpenCount = 0;
        EmuSetWallSeconds(1);
    }

    void TearDown() override
    {
        for (int32_t camera = 0; camera < CameraCount; ++camera) {
            if (DemoImage[camera].pixels) DemoClose(camera); // of an open that failed
            CameraTable[camera].CameraOn = 0;
        }
        DemoOpenCount = 0;
        DemoTest::TearDown();
    }
};

// The draw after seed 1 is 41: 20 + ((41 - 16383) / 32767) / 4 = 19.87531663.
TEST_F(DemoDriver, AmbientIsDrawnFromTheWallClock)
{
    OpenDemo(0, 0);
    EXPECT_NEAR(DemoAmbient[0], 20.87531663, 1e-8);
    EXPECT_EQ(CameraTable[0].CurrentTemperature, DemoAmbient[0]);
    EXPECT_EQ(DemoGenerator, 2745024u); // 1 x 214013 + 2531011
}

TEST_F(DemoDriver, AmbientStaysNearTwentyPlusTheNumberOfCameras)
{
    double lowest = 100.0, highest = 0.0;
    for (int64_t seconds = 0; seconds < 300; ++seconds) {
        EmuReset();
        EmuSetWallSeconds(seconds * 123457);
        DemoOpenCount = 0;
        OpenDemo(0, 0);
        lowest = std::min(lowest, DemoAmbient[0]);
        highest = std::max(highest, DemoAmbient[0]);
        QV_Close(0);
    }
    EXPECT_GT(lowest, 20.8749);
    EXPECT_LT(lowest, 20.88);
    EXPECT_LT(highest, 21.1251);
    EXPECT_GT(highest, 21.12);
}

TEST_F(DemoDriver, OnlyTheLowWordOfTheWallClockSeeds)
{
    EmuReset();
    EmuSetWallSeconds((int64_t{1} << 32) + 1);
    OpenDemo(0, 0);
    EXPECT_EQ(DemoGenerator, 2745024u);
}

TEST_F(DemoDriver, SecondCameraStartsOneDegreeWarmer)
{
    OpenDemo(0, 0);
    OpenDemo(1, 0);
    EXPECT_NEAR(DemoAmbient[1] - DemoAmbient[0], 1.0, 1e-9);
    EXPECT_NEAR(CameraTable[1].CurrentTemperature, 21.87531663, 1e-8);
}

TEST_F(DemoDriver, OpenCountRisesAtOpenAndFallsAtClose)
{
    OpenDemo(0, 0);
    OpenDemo(3, 0);
    EXPECT_EQ(DemoOpenCount, 2);
    QV_Close(0);
    EXPECT_EQ(DemoOpenCount, 1);
    QV_Close(3);
    QV_Close(3);
    EXPECT_EQ(DemoOpenCount, 0);
}

TEST_F(DemoDriver, FailedOpenLeavesTheCountRaised)
{
    WriteDefinitions(Replaced(SampleDefinitions(), "demo.raw", "absent.raw"));
    OpenDemo(0, 0);
    EXPECT_EQ(QV_Status(0), 1);
    EXPECT_EQ(DemoOpenCount, 1);
    WriteDefinitions(SampleDefinitions());
    OpenDemo(0, 0);
    EXPECT_EQ(QV_Status(0), 0);
    EXPECT_EQ(DemoOpenCount, 2);
    EXPECT_NEAR(DemoAmbient[0], 21.87531663, 1e-8);
}

TEST_F(DemoDriver, OpenSwitchesTheCoolersOfAllCamerasOff)
{
    OpenDemo(0, 0);
    QV_Cooler(1, 0);
    EXPECT_EQ(DemoCooler[0], 1u);
    DemoCooler[7] = 1;
    OpenDemo(1, 0);
    EXPECT_EQ(DemoCooler[0], 0u);
    EXPECT_EQ(DemoCooler[7], 0u);
}

TEST_F(DemoDriver, OpenAndCloseLeaveNoMemory)
{
    OpenDemo(0, 0);
    EXPECT_EQ(EmuLiveBlocks(), 1u);
    QV_Close(0);
    EXPECT_EQ(EmuLiveBlocks(), 0u);
    EXPECT_EQ(DemoImage[0].pixels, nullptr);
}

TEST_F(DemoDriver, MissingDefinitionFileIsCameraNotFound)
{
    OpenDemo(0, 0);
    QV_Close(0);
    RemoveDefinitions();
    EXPECT_EQ(CameraTable[0].Ops.OpenCamera(0, 0, 0), 1);
    WriteDefinitions("rmk_camera_library: {");
    EXPECT_EQ(CameraTable[0].Ops.OpenCamera(0, 0, 0), 1);
    EXPECT_EQ(EmuLiveBlocks(), 0u);
}

TEST_F(DemoDriver, MissingFileKeyIsCameraNotFound)
{
    WriteDefinitions(Replaced(SampleDefinitions(), "File = \"demo.raw\";", ""));
    OpenDemo(0, 0);
    EXPECT_EQ(QV_Status(0), 1);
    EXPECT_EQ(EmuLiveBlocks(), 0u);
    WriteDefinitions(Replaced(SampleDefinitions(), "demo.raw", ""));
    OpenDemo(0, 0);
    EXPECT_EQ(QV_Status(0), 1);
}

TEST_F(DemoDriver, MissingRawFileKeepsTheMemoryUntilTheNextOpen)
{
    WriteDefinitions(Replaced(SampleDefinitions(), "demo.raw", "absent.raw"));
    OpenDemo(0, 0);
    EXPECT_EQ(QV_Status(0), 1);
    EXPECT_EQ(EmuLiveBlocks(), 1u);
    WriteDefinitions(SampleDefinitions());
    OpenDemo(0, 0);
    EXPECT_EQ(QV_Status(0), 0);
    EXPECT_EQ(EmuLiveBlocks(), 1u);
}

TEST_F(DemoDriver, FolderInPlaceOfTheRawFileIsCameraNotFound)
{
    WriteDefinitions(Replaced(SampleDefinitions(), "demo.raw", "."));
    OpenDemo(0, 0);
    EXPECT_EQ(QV_Status(0), 1);
    EXPECT_EQ(QV_IsOn(0), 0);
    EXPECT_EQ(EmuLiveBlocks(), 1u); // the image, until the next open
}

TEST_F(DemoDriver, MissingMemoryForTheImageIsCameraNotFound)
{
    EmuFail(EmuAllocate, 1, false);
    OpenDemo(0, 0);
    EXPECT_EQ(QV_Status(0), 1);
    EXPECT_EQ(QV_IsOn(0), 0);
    EXPECT_EQ(EmuLiveBlocks(), 0u);
}

// A sensor and a raw file of any size, and the image that the open makes.
class DemoSourceImage : public DemoDriver {
protected:
    int32_t OpenSensor(int32_t columns, int32_t rows)
    {
        CameraTable[0].PlatformCode = 1;
        BindOperations(1, 0, 0);
        CameraTable[0].Ccd.Xpix = static_cast<int16_t>(columns);
        CameraTable[0].Ccd.Ypix = static_cast<int16_t>(rows);
        return CameraTable[0].Ops.OpenCamera(0, 0, 0);
    }

    // The raw file's pixels are 1, 2, 3 and so on.
    std::vector<uint16_t> Image(int32_t columns, int32_t rows, int32_t fileColumns,
                                int32_t fileRows, int32_t filePixels = -1)
    {
        std::string bytes;
        const int32_t count = filePixels < 0 ? fileColumns * fileRows : filePixels;
        for (int32_t pixel = 1; pixel <= count; ++pixel) {
            bytes += static_cast<char>(pixel & 0xFF);
            bytes += static_cast<char>(pixel >> 8);
        }
        WriteDemoFile("demo.raw", bytes);
        WriteSize(std::to_string(fileColumns), std::to_string(fileRows));
        EXPECT_EQ(OpenSensor(columns, rows), 0);
        const uint16_t* pixels = DemoImage[0].pixels;
        if (!pixels) return {};
        return std::vector<uint16_t>(pixels, pixels + columns * rows);
    }

    void WriteSize(const std::string& columns, const std::string& rows)
    {
        WriteDefinitions(
            Replaced(SampleDefinitions(), "File = \"demo.raw\"; Xpix = 24; Ypix = 16;",
                     "File = \"demo.raw\"; Xpix = " + columns + "; Ypix = " + rows + ";"));
    }
};

using Pixels = std::vector<uint16_t>;

TEST_F(DemoSourceImage, FileOfTheSensorsSizeIsTakenAsItIs)
{
    EXPECT_EQ(Image(3, 2, 3, 2), Pixels({1, 2, 3, 4, 5, 6}));
    EXPECT_EQ(DemoFileWidth, 3);
    EXPECT_EQ(DemoFileHeight, 2);
}

TEST_F(DemoSourceImage, PixelsAreLittleEndian)
{
    WriteDemoFile("demo.raw", std::string("\x34\x12\xFE\xFF", 4));
    WriteSize("2", "1");
    ASSERT_EQ(OpenSensor(2, 1), 0);
    EXPECT_EQ(DemoImage[0].pixels[0], 0x1234);
    EXPECT_EQ(DemoImage[0].pixels[1], 0xFFFE);
}

TEST_F(DemoSourceImage, LowerFileSitsInTheMiddleWithZerosAroundIt)
{
    EXPECT_EQ(Image(2, 5, 2, 2), Pixels({0, 0, 1, 2, 3, 4, 0, 0, 0, 0}));
}

// Rows of the sensor's width are read from a narrower file, so its rows run on.
TEST_F(DemoSourceImage, NarrowerFileIsReadByRowsOfTheSensor)
{
    EXPECT_EQ(Image(5, 4, 3, 2), Pixels({0, 0, 0, 0, 0, //
                                         0, 1, 2, 3, 4, //
                                         5, 6, 0, 0, 0, //
                                         0, 0, 0, 0, 0}));
}

TEST_F(DemoSourceImage, NothingIsStoredBehindTheImage)
{
    // The fourth row would end one pixel behind the image.
    EXPECT_EQ(Image(4, 3, 2, 100, 200).size(), 12u);
    EXPECT_EQ(Image(4, 4, 2, 3, 40), Pixels({0, 1, 2, 3,   //
                                             4, 5, 6, 7,   //
                                             8, 9, 10, 11, //
                                             12, 13, 14, 15}));
    EXPECT_EQ(Image(2, 4, 2, 1, 40), Pixels({0, 0, 1, 2, 3, 4, 5, 6}));
}

TEST_F(DemoSourceImage, LargerFileIsCroppedAroundItsCentre)
{
    EXPECT_EQ(Image(2, 2, 4, 4), Pixels({6, 7, 10, 11}));
    EXPECT_EQ(Image(2, 1, 4, 4), Pixels({6, 7}));
}

// After each row twice the columns left out are skipped. With an odd difference
// that is one too few, and each row starts one pixel earlier than the last.
TEST_F(DemoSourceImage, OddDifferenceOfWidthsShiftsEveryRow)
{
    EXPECT_EQ(Image(2, 3, 5, 3), Pixels({2, 3, 6, 7, 10, 11}));
}

TEST_F(DemoSourceImage, HigherAndNarrowerFile)
{
    // Source row 1, target column 1: the file from pixel 3 on.
    EXPECT_EQ(Image(4, 2, 2, 4), Pixels({0, 3, 4, 5, 6, 7, 8, 0}));
}

TEST_F(DemoSourceImage, ShortFileLeavesZeros)
{
    EXPECT_EQ(Image(3, 3, 3, 3, 4), Pixels({1, 2, 3, 4, 0, 0, 0, 0, 0}));
    EXPECT_EQ(Image(3, 3, 3, 3, 0), Pixels(9, 0));
    EXPECT_EQ(Image(2, 2, 4, 4, 7), Pixels({6, 7, 0, 0}));
}

TEST_F(DemoSourceImage, HalfAPixelAtTheEndIsStored)
{
    WriteDemoFile("demo.raw", std::string("\x01\x02\x03", 3));
    WriteSize("2", "1");
    ASSERT_EQ(OpenSensor(2, 1), 0);
    EXPECT_EQ(DemoImage[0].pixels[0], 0x0201);
    EXPECT_EQ(DemoImage[0].pixels[1], 0x0003);
}

TEST_F(DemoSourceImage, AnySizeInTheDefinitionsIsSurvived)
{
    const char* const sizes[] = {"0", "-1", "-2147483648", "2147483647", "65536"};
    for (const char* columns : sizes) {
        for (const char* rows : sizes) {
            WriteSize(columns, rows);
            EXPECT_EQ(OpenSensor(7, 5), 0) << columns << " by " << rows;
        }
    }
}

TEST_F(DemoSourceImage, SensorsWithoutPixelsHaveNoImage)
{
    for (int32_t columns : {INT16_MIN, -1, 0, 5}) {
        for (int32_t rows : {INT16_MIN, -1, 0}) {
            EXPECT_EQ(OpenSensor(columns, rows), 0);
            EXPECT_EQ(OpenSensor(rows, columns), 0);
        }
    }
    EXPECT_EQ(DemoImage[0].pixels, nullptr);
    EXPECT_EQ(EmuLiveBlocks(), 0u);
}

TEST_F(DemoSourceImage, NameIsTakenBehindTheLibraryPath)
{
    WriteDemoFile("other name.img", std::string("\x2A\x00", 2));
    WriteDefinitions(Replaced(SampleDefinitions(), "demo.raw\"; Xpix = 24; Ypix = 16;",
                              "other name.img\"; Xpix = 1; Ypix = 1;"));
    ASSERT_EQ(OpenSensor(1, 1), 0);
    EXPECT_EQ(DemoImage[0].pixels[0], 42);
}

} // namespace
