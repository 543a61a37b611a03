// Binning and gain.
#include <climits>

#include "core/record.h"
#include "core/timer_service.h"
#include "devices/binning.h"
#include "devices/fan.h"
#include "devices/gain.h"
#include "tests/support/fake_camera.h"

namespace {

class Binning : public FakeTest {
protected:
    void SetUp() override
    {
        FakeTest::SetUp();
        OpenFake(44, 0, 0);
        record.Ccd.Xpix = 1001;
        record.Ccd.Ypix = 601;
        record.WindowDimX = 40;
        record.WindowDimY = 30;
        record.WindowBuilt = 1;
    }

    CameraRecord& record = CameraTable[0];
};

using Gain = Binning;
using Fan = Binning;

} // namespace

TEST_F(Binning, RebuildsTheFullFrameWithAnEvenWidth)
{
    SetBinning(3, 1, 0); // 1001 / 3 = 333
    EXPECT_EQ(FakeTexts(), (Texts{"BuildWave 0 0 332 3 1", "LoadSequencer"}));
    EXPECT_EQ(record.WindowDimX, 332);
    EXPECT_EQ(record.WindowDimY, 601);
    EXPECT_EQ(record.HorBinning, 3);
    EXPECT_EQ(record.VerBinning, 1);
}

TEST_F(Binning, DividesTheRows)
{
    SetBinning(1, 4, 0);
    EXPECT_EQ(FakeTexts("BuildWave"), (Texts{"BuildWave 0 0 1000 1 4"}));
    EXPECT_EQ(record.WindowDimX, 1000);
    EXPECT_EQ(record.WindowDimY, 150);
}

TEST_F(Binning, LeavesNoWindowPattern)
{
    SetBinning(2, 2, 0);
    EXPECT_EQ(record.WindowBuilt, 0);
}

TEST_F(Binning, NegativeValuesRebuildNothingAndGoIntoTheImageSize)
{
    SetBinning(-1, 1, 0);
    EXPECT_TRUE(Fake.calls.empty());
    EXPECT_EQ(record.WindowDimX, 64534); // -1001 AND 0xFFFE: 65536 - 1002
    EXPECT_EQ(record.WindowDimY, 601);
    EXPECT_EQ(record.WindowBuilt, 0);
    EXPECT_EQ(record.HorBinning, 1);

    SetBinning(1, -2, 0);
    EXPECT_TRUE(Fake.calls.empty());
    EXPECT_EQ(record.WindowDimX, 1000);
    EXPECT_EQ(record.WindowDimY, 65236); // 65536 - 300
    SetBinning(INT_MIN, INT_MIN, 0);
    EXPECT_EQ(record.WindowDimX, 0);
    EXPECT_EQ(record.WindowDimY, 0);
}

TEST_F(Binning, OfZeroChangesNothing)
{
    SetBinning(0, 1, 0);
    SetBinning(1, 0, 0);
    SetBinning(0, 0, 0);
    SetBinning(0, -3, 0);
    EXPECT_TRUE(Fake.calls.empty());
    EXPECT_EQ(record.WindowDimX, 40);
    EXPECT_EQ(record.WindowDimY, 30);
    EXPECT_EQ(record.WindowBuilt, 1);
    EXPECT_EQ(record.HorBinning, 1);
    EXPECT_EQ(record.VerBinning, 1);
    EXPECT_EQ(StopCount[0], 0);
}

TEST_F(Binning, ThatCannotBeBuiltLeavesBinningAndImageSize)
{
    Fake.buildError = 8;
    SetBinning(1, 50, 0);
    EXPECT_EQ(record.LastError, 8);
    EXPECT_EQ(FakeTexts(), (Texts{"BuildWave 0 0 1000 1 50"}));
    EXPECT_EQ(record.WindowDimX, 40);
    EXPECT_EQ(record.WindowDimY, 30);
    EXPECT_EQ(record.WindowBuilt, 1);
    EXPECT_EQ(record.HorBinning, 1);
    EXPECT_EQ(record.VerBinning, 1);
    EXPECT_EQ(StopCount[0], 0);
}

TEST_F(Binning, IsBuiltAsAFullFrameWhateverWasBuiltBefore)
{
    static int8_t seen;
    seen = 1;
    record.Ops.BuildWave = [](const char*, uint32_t, uint32_t, uint32_t, uint32_t, int32_t,
                              uint32_t, uint32_t,
                              int32_t camera) { seen = CameraTable[camera].WindowBuilt; };
    SetBinning(2, 2, 0);
    EXPECT_EQ(seen, 0);
}

TEST_F(Binning, LargerThanTheSensorGivesAnEmptyImage)
{
    SetBinning(INT_MAX, INT_MAX, 0);
    EXPECT_EQ(record.WindowDimX, 0);
    EXPECT_EQ(record.WindowDimY, 0);
}

TEST_F(Binning, HoldsTheTimerOff)
{
    SetBinning(2, 2, 0);
    ASSERT_EQ(Fake.calls.size(), 2u);
    for (const FakeCall& call : Fake.calls) EXPECT_EQ(call.stopCount, 1);
    EXPECT_EQ(StopCount[0], 0);
}

TEST_F(Binning, IsReadBack)
{
    SetBinning(2, 3, 0);
    int32_t horizontal = 0, vertical = 0;
    GetBinning(&horizontal, &vertical, 0);
    EXPECT_EQ(horizontal, 2);
    EXPECT_EQ(vertical, 3);
}

TEST_F(Binning, NullPointersAreWrittenNothing)
{
    SetBinning(2, 3, 0);
    int32_t value = 0;
    GetBinning(nullptr, &value, 0);
    EXPECT_EQ(value, 3);
    GetBinning(&value, nullptr, 0);
    EXPECT_EQ(value, 2);
    GetBinning(nullptr, nullptr, 0);
}

TEST_F(Binning, InArrayModeIsKeptForTheCamerasNumber)
{
    OpenFake(42, 0, 0, 3);
    CameraRecord& array = CameraTable[3];
    array.ArrayMode = 1;
    array.Ccd.Xpix = 1024;
    array.Ccd.Ypix = 512;
    array.TargetTemperature = -25.0;
    SetBinning(4, 2, 3);
    EXPECT_EQ(array.ArrayHorizontalBinning[3], 4);
    EXPECT_EQ(array.ArrayVerticalBinning[3], 2);
    EXPECT_EQ(array.SubTargetTemperature[0], -25.0); // the selection has taken place
    EXPECT_EQ(FakeTexts("BuildWave"), (Texts{"BuildWave 0 0 256 4 2"}));
    array.HorBinning = 9;
    int32_t horizontal = 0, vertical = 0;
    GetBinning(&horizontal, &vertical, 3);
    EXPECT_EQ(horizontal, 4);
    EXPECT_EQ(vertical, 2);
}

TEST_F(Gain, IsProgrammedAndReadBack)
{
    Fake.gainResult = 42;
    EXPECT_EQ(SetGain(2, 0), 42);
    EXPECT_EQ(GetGain(0), 2);
    EXPECT_EQ(FakeTexts(), (Texts{"SetGain 2"}));
}

TEST_F(Gain, HoldsTheTimerOff)
{
    SetGain(1, 0);
    EXPECT_EQ(Fake.calls[0].stopCount, 1);
    EXPECT_EQ(StopCount[0], 0);
}

TEST_F(Gain, IndexIsNotTested)
{
    for (int32_t index : {-1, 5, INT_MAX, INT_MIN}) {
        SetGain(index, 0);
        EXPECT_EQ(GetGain(0), index);
    }
}

TEST_F(Gain, IsHandedToTheDriverEachTime)
{
    SetGain(1, 0);
    SetGain(1, 0);
    EXPECT_EQ(FakeTexts(), (Texts{"SetGain 1", "SetGain 1"}));
}

TEST_F(Gain, InArrayModeIsKeptForTheCamerasNumber)
{
    OpenFake(42, 0, 0, 5);
    CameraTable[5].ArrayMode = 1;
    CameraTable[5].TargetTemperature = -25.0;
    SetGain(3, 5);
    EXPECT_EQ(CameraTable[5].SubTargetTemperature[0], -25.0); // the selection has taken place
    EXPECT_EQ(CameraTable[5].ArrayGain[5], 3);
    EXPECT_EQ(CameraTable[5].GainIndex, 3);
    CameraTable[5].GainIndex = 1;
    EXPECT_EQ(GetGain(5), 3);
}

TEST_F(Gain, OfTheUserIsGainFourWithItsValuesCut)
{
    SetUsrGain(0x1FF, 0x101, 0x10203, 0);
    EXPECT_EQ(record.UserGain, 0xFF);
    EXPECT_EQ(record.UserGainHigh, 1);
    EXPECT_EQ(record.UserOffset, 0x0203);
    EXPECT_EQ(GetGain(0), 4);
    SetUsrGain(0, 0x100, -1, 0);
    EXPECT_EQ(record.UserGain, 0);
    EXPECT_EQ(record.UserGainHigh, 0);
    EXPECT_EQ(record.UserOffset, 0xFFFF);
    EXPECT_EQ(FakeTexts(), (Texts{"SetGain 4", "SetGain 4"})); // each time
}

TEST_F(Gain, OfTheUserHoldsTheTimerOffAndSelectsTheHead)
{
    OpenFake(42, 0, 0, 5);
    CameraTable[5].ArrayMode = 1;
    CameraTable[5].TargetTemperature = -25.0;
    SetUsrGain(1, 2, 3, 5);
    EXPECT_EQ(CameraTable[5].SubTargetTemperature[0], -25.0);
    EXPECT_EQ(Fake.calls[0].stopCount, 1);
    EXPECT_EQ(StopCount[5], 0);
}

TEST_F(Fan, WithoutOneCostsAStopHandshakeOnly)
{
    for (const int32_t platform : {1, 22, 42, 44, 70, 400}) {
        OpenFake(platform, 0, 0);
        record.FanLevel = 77;
        SetFanSpeed(50.0, 0);
        EXPECT_TRUE(Fake.calls.empty()) << platform;
        EXPECT_EQ(record.FanLevel, 77) << platform;
        EXPECT_EQ(StopCount[0], 0) << platform;
    }
}

TEST_F(Fan, OfADriverIsGivenThePercentsWithTheTimerHeldOff)
{
    static double given;
    static int32_t stopCount;
    given = 0.0;
    const DriverExtras extras = {.SetFan = [](double percent, int32_t camera) {
        given = percent;
        stopCount = StopCount[camera];
    }};
    record.Extras = &extras;
    SetFanSpeed(-43.75, 0);
    EXPECT_EQ(given, -43.75); // not tested
    EXPECT_EQ(stopCount, 1);
    EXPECT_EQ(StopCount[0], 0);
    const DriverExtras none = {};
    record.Extras = &none;
    SetFanSpeed(10.0, 0);
    EXPECT_EQ(given, -43.75);
    record.Extras = nullptr;
}
