// What cameras are told whose firmware makes the patterns.
#include "sequencer/firmware_geometry.h"

#include <cmath>

#include "core/record.h"
#include "tests/support/fake_camera.h"

namespace {

class FirmwareGeometry : public FakeTest {
protected:
    void SetUp() override
    {
        FakeTest::SetUp();
        record.CcdCode = 3840; // 0x0F00
        record.Ccd.HorRegSize = 2100;
        record.Ccd.HorDummyPix = 24;
        record.Ccd.Ypix = 1025;
        record.Ccd.Dummy[0] = 6;
        record.Platform.VerticalPhasePeriod = 300;
        record.Platform.SamplingClock[0] = 2.8;
    }

    std::string Command(const ReadoutGeometry& geometry) const
    {
        uint8_t bytes[GeometryCommandBytes + 1] = {};
        bytes[GeometryCommandBytes] = 0x5A;
        ComposeGeometryCommand(geometry, 2, bytes);
        EXPECT_EQ(bytes[GeometryCommandBytes], 0x5A);
        std::string text;
        char digits[4];
        for (int32_t i = 0; i < GeometryCommandBytes; ++i) {
            snprintf(digits, sizeof digits, "%02X", bytes[i]);
            text += digits;
            if (i % 2 != 0 && i + 1 < GeometryCommandBytes) text += ' ';
        }
        return text;
    }

    std::string Parameters(const ReadoutGeometry& geometry) const
    {
        GeometryParameter list[GeometryParameters + 1] = {};
        const int32_t count = ListGeometryParameters(geometry, 2, list);
        EXPECT_EQ(list[GeometryParameters].number, 0);
        std::string text;
        for (int32_t i = 0; i < count; ++i) {
            text += (i == 0 ? "" : " ") + std::to_string(list[i].number) + "=" +
                    std::to_string(list[i].value);
        }
        return text;
    }

    CameraRecord& record = CameraTable[2];
};

} // namespace

// 'D' is 0x44. x 258, y 3, width 512, then 2100 = 0x834, 24, 1025 = 0x401, 6,
// binnings 4 and 2, 300 = 0x12C, 2.8 truncated.
TEST_F(FirmwareGeometry, CommandIsElevenWordsBehindItsLetterAndNumber)
{
    EXPECT_EQ(Command({258, 3, 512, 4, 2}),
              "4409 0201 0300 0002 3408 1800 0104 0600 0400 0200 2C01 0200");
}

TEST_F(FirmwareGeometry, CommandTruncatesThePixelTime)
{
    record.Platform.SamplingClock[0] = 0.95;
    EXPECT_EQ(Command({0, 0, 0, 1, 1}).substr(55), "0000");
    record.Platform.SamplingClock[0] = 258.99;
    EXPECT_EQ(Command({0, 0, 0, 1, 1}).substr(55), "0201");
}

TEST_F(FirmwareGeometry, CommandCutsWideValuesAndSurvivesOddTimes)
{
    for (const double time : {-1.0, 1e300, std::nan("")}) {
        record.Platform.SamplingClock[0] = time;
        EXPECT_EQ(Command({0x12345, 0xFFFFFFFF, 0x10000, 0x10001, -2}).substr(0, 19),
                  "4409 4523 FFFF 0000");
    }
}

// 9: 1025 / 2; 14 stands ahead of 12; the second pixel time of the list.
TEST_F(FirmwareGeometry, ParametersAreListedInOrder)
{
    EXPECT_EQ(Parameters({10, 20, 500, 3, 2}),
              "6=10 7=20 8=500 9=512 10=2100 11=24 14=6 12=3 13=2 15=3840 16=300 27=1");
}

TEST_F(FirmwareGeometry, PixelTimesAreKnownByTheirPlaceInTheList)
{
    const double times[] = {3.7, 2.8, 2.2, 1.8, 1.5, 1.3, 1.1, 0.95, 0.88, 0.8, 0.26};
    int32_t place = 0;
    for (const double time : times) {
        for (const double error : {-9e-10, 0.0, 9e-10}) {
            record.Platform.SamplingClock[0] = time + error;
            const std::string text = Parameters({0, 0, 0, 1, 1});
            EXPECT_EQ(text.substr(text.rfind(' ') + 1), "27=" + std::to_string(place)) << time;
        }
        ++place;
    }
}

TEST_F(FirmwareGeometry, UnknownPixelTimeIsNotSent)
{
    for (const double time : {2.81, 2.8 + 2e-9, 0.0, -3.7, std::nan(""), 1e300}) {
        record.Platform.SamplingClock[0] = time;
        const std::string text = Parameters({10, 20, 500, 3, 2});
        EXPECT_EQ(text.substr(text.rfind(' ') + 1), "16=300") << time;
    }
}

TEST_F(FirmwareGeometry, BinningOfNothingHasNoRows)
{
    EXPECT_NE(Parameters({0, 0, 0, 0, 0}).find(" 9=0 "), std::string::npos);
}

TEST_F(FirmwareGeometry, StoredBinningIsOnePairForAllCameras)
{
    StoreBinning("nowhere/wave.bin", 1, 2, 3, 4, 5, 6, 7, 2);
    EXPECT_EQ(FirmwareHorBinning, 4);
    EXPECT_EQ(FirmwareVerBinning, 5);
    StoreBinning(nullptr, 1, 2, 3, 2, 3, 6, 7, 0); // required: it overwrites the other's
    EXPECT_EQ(FirmwareHorBinning, 2);
    EXPECT_EQ(FirmwareVerBinning, 3);
}

TEST_F(FirmwareGeometry, StoringTheBinningLeavesTheErrorAndTheCamera)
{
    OpenFake(48, 0, 0, 2);
    record.LastError = 2;
    StoreBinning("nowhere/wave.bin", 1, 2, 3, 4, 5, 6, 7, 2);
    EXPECT_EQ(record.LastError, 2);
    EXPECT_TRUE(Fake.calls.empty());
}
