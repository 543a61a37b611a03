// Target, drive, readings and their text.
#include "devices/temperature.h"

#include <cmath>
#include <cstring>
#include <limits>

#include "core/flags.h"
#include "core/options.h"
#include "core/record.h"
#include "core/timer_service.h"
#include "tests/support/fake_camera.h"

namespace {

constexpr int32_t Kelvin = 0;
constexpr int32_t Celsius = 1;
constexpr int32_t Fahrenheit = 2;
constexpr int32_t UnknownUnit = 3;
constexpr double NotANumber = std::numeric_limits<double>::quiet_NaN();
constexpr double Infinity = std::numeric_limits<double>::infinity();

class Temperature : public FakeTest {
protected:
    void SetUp() override
    {
        FakeTest::SetUp();
        OpenFake(44, 0, 0);
    }

    CameraRecord& record = CameraTable[0];
};

using TemperatureText = Temperature;
using CoolerDrive = Temperature;
using ArrayCooler = Temperature;

std::string TextOf(double reading, int32_t decimals)
{
    CameraTable[0].CurrentTemperature = reading;
    CameraTable[0].TemperatureDecimals = decimals;
    char text[TemperatureTextRoom] = "x";
    GetTemp(text, Celsius, 0);
    return text;
}

} // namespace

// --- units ---

TEST_F(Temperature, TargetOf293KelvinIsExactly20Degrees)
{
    SetTemp(293.0, Kelvin, 0);
    EXPECT_EQ(record.TargetTemperature, 20.0);
    SetTemp(20.0, Celsius, 0);
    EXPECT_EQ(record.TargetTemperature, 20.0);
}

TEST_F(Temperature, TargetInFahrenheitIsDividedBeforeTheOffset)
{
    SetTemp(90.0, Fahrenheit, 0); // 90 / 1.8 = 50, less 32
    EXPECT_DOUBLE_EQ(record.TargetTemperature, 18.0);
    SetTemp(0.0, Fahrenheit, 0);
    EXPECT_EQ(record.TargetTemperature, -32.0);
}

TEST_F(Temperature, TargetInAnUnknownUnitKeepsTheOldOneAndStillStartsRegulation)
{
    SetTemp(-15.0, Celsius, 0);
    Cooler(0, 0);
    for (int32_t units : {UnknownUnit, -1, INT32_MAX, INT32_MIN}) {
        SetTemp(5.0, units, 0);
        EXPECT_EQ(record.TargetTemperature, -15.0);
        EXPECT_EQ(record.RegulationOn, 1);
    }
}

TEST_F(Temperature, ReportedFahrenheitIs33Point8TimesTheCelsiusValue)
{
    record.CurrentTemperature = 0.0;
    EXPECT_EQ(GetTemp(nullptr, Fahrenheit, 0), 0.0);
    record.CurrentTemperature = 20.0;
    EXPECT_DOUBLE_EQ(GetTemp(nullptr, Fahrenheit, 0), 676.0);
}

TEST_F(Temperature, ReportedKelvinIs273AboveCelsius)
{
    record.CurrentTemperature = 20.0;
    EXPECT_EQ(GetTemp(nullptr, Kelvin, 0), 293.0);
    EXPECT_EQ(GetTemp(nullptr, Celsius, 0), 20.0);
}

TEST_F(Temperature, ReportedInAnUnknownUnitIsCelsius)
{
    record.CurrentTemperature = -7.5;
    for (int32_t units : {UnknownUnit, -1, INT32_MAX, INT32_MIN}) {
        EXPECT_EQ(GetTemp(nullptr, units, 0), -7.5);
    }
}

// --- the text ---

TEST_F(TemperatureText, HasASignAndTheDecimalsOfThePlatform)
{
    EXPECT_EQ(TextOf(20.0, 1), "+20.0");
    EXPECT_EQ(TextOf(-5.04, 1), " -5.0");
    EXPECT_EQ(TextOf(-105.26, 1), "-105.3");
    EXPECT_EQ(TextOf(20.0, 2), "+20.00");
    EXPECT_EQ(TextOf(3.14159, 2), " +3.14");
    EXPECT_EQ(TextOf(20.0, 3), "+20.000");
    EXPECT_EQ(TextOf(0.0, 3), " +0.000");
}

TEST_F(TemperatureText, IsInTheUnitsAskedFor)
{
    record.CurrentTemperature = 20.0;
    char text[TemperatureTextRoom] = "x";
    EXPECT_EQ(GetTemp(text, Kelvin, 0), 293.0);
    EXPECT_STREQ(text, "+293.0");
    GetTemp(text, Fahrenheit, 0);
    EXPECT_STREQ(text, "+676.0");
}

TEST_F(TemperatureText, OfExactly1000IsInit)
{
    EXPECT_EQ(TextOf(1000.0, 1), "INIT");
    EXPECT_EQ(TextOf(1000.1, 1), "+1000.1");
    // The sentinel is looked for before the conversion.
    record.CurrentTemperature = 1000.0;
    char text[TemperatureTextRoom] = "x";
    EXPECT_EQ(GetTemp(text, Kelvin, 0), 1273.0);
    EXPECT_STREQ(text, "INIT");
    record.CurrentTemperature = 727.0;
    EXPECT_EQ(GetTemp(text, Kelvin, 0), 1000.0);
    EXPECT_STREQ(text, "+1000.0");
}

TEST_F(TemperatureText, NullReturnsTheNumberAndTouchesNothing)
{
    record.CurrentTemperature = -12.5;
    EXPECT_EQ(GetTemp(nullptr, Celsius, 0), -12.5);
    EXPECT_TRUE(Fake.calls.empty());
    EXPECT_TRUE(Fake.readTimes.empty());
    EXPECT_EQ(record.CurrentTemperature, -12.5);
}

TEST_F(TemperatureText, BufferThatBeginsWithZeroIsLeftAlone)
{
    char text[TemperatureTextRoom];
    memset(text, 'q', sizeof text);
    text[0] = '\0';
    EXPECT_EQ(GetTemp(text, Celsius, 0), 20.0);
    EXPECT_EQ(text[0], '\0');
    for (size_t i = 1; i < sizeof text; ++i) EXPECT_EQ(text[i], 'q') << i;
}

TEST_F(TemperatureText, NeverLeavesItsRoomWhateverTheReadingAndTheDecimals)
{
    const double readings[] = {1e308, -1e308, 1e9, -999999999.987654321, Infinity, NotANumber};
    for (int32_t decimals : {INT32_MIN, -1, 0, 1, 9, 10, 1000, INT32_MAX}) {
        for (double reading : readings) {
            char text[TemperatureTextRoom + 8];
            memset(text, 'q', sizeof text);
            record.CurrentTemperature = reading;
            record.TemperatureDecimals = decimals;
            GetTemp(text, Celsius, 0);
            EXPECT_LT(strnlen(text, sizeof text), TemperatureTextRoom);
            for (size_t i = TemperatureTextRoom; i < sizeof text; ++i) ASSERT_EQ(text[i], 'q');
        }
    }
}

TEST_F(TemperatureText, OfNineDecimalsAndABillionFitsWhole)
{
    EXPECT_EQ(TextOf(-999999999.5, 9), "-999999999.500000000");
    EXPECT_EQ(TextOf(-999999999.5, 25), "-999999999.500000000");
    EXPECT_EQ(TextOf(1.5, -3), "  +2");
}

TEST_F(TemperatureText, InArrayModeIsTheHeadsButTheSentinelIsTheRecords)
{
    OpenFake(44, 0, 0, 2);
    CameraTable[2].ArrayMode = 1;
    CameraTable[2].CurrentTemperature = 20.0;
    CameraTable[2].ArrayTemperature[2] = -30.0;
    char text[TemperatureTextRoom] = "x";
    EXPECT_EQ(GetTemp(text, Celsius, 2), -30.0);
    EXPECT_STREQ(text, "-30.0");
    CameraTable[2].ArrayTemperature[2] = 1000.0;
    GetTemp(text, Celsius, 2);
    EXPECT_STREQ(text, "+1000.0");
    CameraTable[2].CurrentTemperature = 1000.0;
    CameraTable[2].ArrayTemperature[2] = -30.0;
    EXPECT_EQ(GetTemp(text, Celsius, 2), -30.0);
    EXPECT_STREQ(text, "INIT");
}

// --- a reading in the caller's thread ---

TEST_F(Temperature, ReadTempStoresTheConvertedValueBack)
{
    Fake.temperatures = {20.0};
    EXPECT_EQ(ReadTemp(Kelvin, 0), 293.0);
    EXPECT_EQ(record.CurrentTemperature, 293.0);
    // What is asked for in the gap is made from that number.
    EXPECT_EQ(GetTemp(nullptr, Celsius, 0), 293.0);
    EXPECT_EQ(GetTemp(nullptr, Kelvin, 0), 566.0);
    EXPECT_EQ(ReadTemp(Celsius, 0), 20.0);
    EXPECT_EQ(record.CurrentTemperature, 20.0);
    EXPECT_DOUBLE_EQ(ReadTemp(Fahrenheit, 0), 676.0);
    EXPECT_EQ(ReadTemp(UnknownUnit, 0), 20.0);
}

TEST_F(Temperature, ReadTempThatFailsGivesZeroAndError2)
{
    record.CurrentTemperature = -12.0;
    Fake.readingFails = true;
    EXPECT_EQ(ReadTemp(Kelvin, 0), 0.0);
    EXPECT_EQ(record.LastError, 2);
    EXPECT_EQ(record.CurrentTemperature, -12.0);
}

TEST_F(Temperature, ReadTempNeitherHoldsTheTimerNorAddsToTheHistory)
{
    Fake.temperatures = {20.0};
    ReadTemp(Celsius, 0);
    EXPECT_EQ(StopCount[0], 0);
    EXPECT_EQ(record.TemperatureHistoryCount[0], 0);
}

// --- target and cooler ---

TEST_F(Temperature, FirstTargetStartsTheDriveAt30Percent)
{
    SetTemp(-10.0, Celsius, 0);
    EXPECT_EQ(FakeTexts(), (Texts{"SetCoolerPower 300", "SetCooler 1"}));
    EXPECT_EQ(GetPower(0), 30.0);
    EXPECT_EQ(CoolerStatus(0), 1);
    EXPECT_EQ(record.RegulationOn, 1);
    EXPECT_EQ(record.RegulationActive, 1);
}

TEST_F(Temperature, SecondTargetChangesOnlyTheTarget)
{
    SetTemp(-10.0, Celsius, 0);
    record.CoolerPower = 412;
    record.RegulationCountdown = 3;
    Fake.calls.clear();
    SetTemp(-20.0, Celsius, 0);
    EXPECT_EQ(FakeTexts(), (Texts{"SetCooler 1"}));
    EXPECT_EQ(record.TargetTemperature, -20.0);
    EXPECT_EQ(record.CoolerPower, 412);
    EXPECT_EQ(record.RegulationCountdown, 3);
}

TEST_F(Temperature, SecondTargetWithARegulatorAtZeroDriveDoesNotStartAnew)
{
    SetTemp(-10.0, Celsius, 0);
    record.CoolerPower = 0;
    Fake.calls.clear();
    SetTemp(-20.0, Celsius, 0);
    EXPECT_EQ(FakeTexts(), (Texts{"SetCooler 1"}));
    EXPECT_EQ(record.CoolerPower, 0);
}

TEST_F(Temperature, TargetAfterCoolerOffRestartsFromTheDriveLeft)
{
    SetTemp(-10.0, Celsius, 0);
    record.CoolerPower = 415;
    Cooler(0, 0);
    EXPECT_EQ(record.CoolerPower, 415);
    EXPECT_EQ(record.RegulationOn, 0);
    EXPECT_EQ(record.RegulationActive, 0);
    EXPECT_EQ(CoolerStatus(0), 0);
    Fake.calls.clear();
    SetTemp(-10.0, Celsius, 0);
    EXPECT_EQ(FakeTexts(), (Texts{"SetCooler 1"}));
    EXPECT_EQ(record.CoolerPower, 415);
    EXPECT_EQ(record.RegulationOn, 1);
}

TEST_F(Temperature, TargetAfterADriveSetByHandGoesOnFromIt)
{
    SetPower(55.5, 0);
    SetTemp(-10.0, Celsius, 0);
    EXPECT_EQ(FakeTexts(), (Texts{"SetCoolerPower 555", "SetCooler 1"}));
    EXPECT_EQ(GetPower(0), 55.5);
}

TEST_F(Temperature, TargetThatIsNotANumberDoesNoHarm)
{
    SetTemp(NotANumber, Celsius, 0);
    Fake.temperatures = {20.0};
    for (int i = 0; i < 20; ++i) EXPECT_EQ(TemperatureHandle(0), 0);
    EXPECT_EQ(record.CoolerPower, 300); // neither above nor below
    EXPECT_EQ(CoolerStatus(0), 2);
}

TEST_F(Temperature, CameraThatRegulatesByItselfOnlyGetsTheTarget)
{
    OpenFake(48, 0, 0);
    SetTemp(263.0, Kelvin, 0);
    EXPECT_EQ(record.TargetTemperature, -10.0);
    EXPECT_TRUE(Fake.calls.empty());
    EXPECT_EQ(record.RegulationOn, 0);
    EXPECT_EQ(CoolerStatus(0), 0);
    EXPECT_EQ(record.CoolerPower, 0);
    EXPECT_EQ(StopCount[0], 0);
}

TEST_F(Temperature, CoolerOnDoesNotRegulateAndKeepsTheDrive)
{
    Cooler(1, 0);
    EXPECT_EQ(FakeTexts(), (Texts{"SetCooler 1"}));
    EXPECT_EQ(CoolerStatus(0), 1);
    EXPECT_EQ(record.RegulationOn, 0);
    EXPECT_EQ(record.CoolerPower, 0);
}

TEST_F(Temperature, CoolerStatusIsTheLowByteOfWhatWasGiven)
{
    Cooler(7, 0);
    EXPECT_EQ(CoolerStatus(0), 7);
    Cooler(0x1FF, 0);
    EXPECT_EQ(CoolerStatus(0), -1);
    Cooler(0x180, 0);
    EXPECT_EQ(CoolerStatus(0), -128);
    // A low byte of 0 reads as off, yet the cooler was not switched off.
    SetTemp(-10.0, Celsius, 0);
    Cooler(0x100, 0);
    EXPECT_EQ(CoolerStatus(0), 0);
    EXPECT_EQ(record.RegulationOn, 1);
    EXPECT_EQ(FakeTexts("SetCooler 256").size(), 1u);
}

TEST_F(Temperature, SettersHoldTheTimerOffForTheirWholeLength)
{
    SetTemp(-10.0, Celsius, 0);
    Cooler(0, 0);
    SetPower(70.0, 0);
    ASSERT_EQ(FakeTexts(),
              (Texts{"SetCoolerPower 300", "SetCooler 1", "SetCooler 0", "SetCoolerPower 700"}));
    for (const FakeCall& call : Fake.calls) EXPECT_EQ(call.stopCount, 1) << call.text;
    EXPECT_EQ(StopCount[0], 0);
}

// --- the drive by hand ---

TEST_F(CoolerDrive, IsCutToTenthsOfAPercent)
{
    SetPower(12.39, 0);
    EXPECT_EQ(FakeTexts(), (Texts{"SetCoolerPower 123"}));
    EXPECT_EQ(GetPower(0), 12.3);
    EXPECT_EQ(record.CoolerPower, 123);
}

TEST_F(CoolerDrive, TakesZeroAndFullPower)
{
    SetPower(100.0, 0);
    SetPower(0.0, 0);
    EXPECT_EQ(FakeTexts(), (Texts{"SetCoolerPower 1000", "SetCoolerPower 0"}));
}

TEST_F(CoolerDrive, Of34PercentChangesNothingWhileItIs345)
{
    record.CoolerPower = 345;
    SetPower(34.0, 0);
    EXPECT_EQ(record.CoolerPower, 345);
    EXPECT_TRUE(Fake.calls.empty());
    SetPower(34.5, 0);
    EXPECT_EQ(FakeTexts(), (Texts{"SetCoolerPower 345"}));
    SetPower(34.1, 0);
    EXPECT_EQ(record.CoolerPower, 341);
}

TEST_F(CoolerDrive, OutOfRangeIsIgnoredWithoutAWord)
{
    record.CoolerPower = 345;
    for (double percent : {-0.1, 100.1, 1e300, -1e300, Infinity, -Infinity, NotANumber}) {
        SetPower(percent, 0);
        EXPECT_EQ(record.CoolerPower, 345) << percent;
    }
    EXPECT_TRUE(Fake.calls.empty());
    EXPECT_EQ(record.LastError, 0);
    EXPECT_EQ(StopCount[0], 0);
}

TEST_F(CoolerDrive, ByHandDoesNotStopTheRegulator)
{
    SetTemp(-10.0, Celsius, 0);
    SetPower(60.0, 0);
    Fake.temperatures = {20.0};
    EXPECT_EQ(TemperatureHandle(0), 0);
    EXPECT_EQ(record.CoolerPower, 601);
}

// --- array mode ---

TEST_F(ArrayCooler, DifferentDriveIsOnlyNotedForTheHead)
{
    OpenFake(42, 0, 0, 3);
    CameraRecord& array = CameraTable[3];
    array.ArrayMode = 1;
    SetPower(12.5, 3);
    EXPECT_EQ(array.ArrayPower[3], 125);
    EXPECT_EQ(array.SubPower[3], 125);
    EXPECT_EQ(GetPower(3), 12.5);
    EXPECT_EQ(array.CoolerPower, 0);
    EXPECT_TRUE(Fake.calls.empty());
    EXPECT_EQ(StopCount[3], 0);
}

TEST_F(ArrayCooler, DriveHasNoRangeAndEndsAt16Bits)
{
    record.ArrayMode = 1;
    SetPower(3276.6, 0);
    EXPECT_EQ(record.ArrayPower[0], 32766);
    SetPower(5000.0, 0);
    EXPECT_EQ(record.ArrayPower[0], 32767);
    EXPECT_EQ(record.SubPower[0], 32767);
    SetPower(-1.0, 0);
    EXPECT_EQ(record.ArrayPower[0], -10);
    SetPower(1e300, 0);
    EXPECT_EQ(record.ArrayPower[0], 32767);
    SetPower(-Infinity, 0);
    EXPECT_EQ(record.ArrayPower[0], -32768);
    SetPower(50.0, 0);
    SetPower(NotANumber, 0);
    EXPECT_EQ(record.ArrayPower[0], 0);
}

TEST_F(ArrayCooler, SameWholePercentGoesOnToTheDriver)
{
    record.ArrayMode = 1;
    record.SubPower[0] = 345;
    record.CoolerPower = 200;
    SetPower(34.0, 0);
    EXPECT_EQ(FakeTexts(), (Texts{"SetCoolerPower 340"}));
    EXPECT_EQ(record.CoolerPower, 340);
    EXPECT_EQ(record.SubPower[0], 345);
}

TEST_F(ArrayCooler, TargetGoesToTheHeadOfTheCamerasNumber)
{
    OpenFake(42, 0, 0, 2);
    CameraRecord& array = CameraTable[2];
    array.ArrayMode = 1;
    array.CurrentArrayCamera = 5;
    array.TargetTemperature = -33.0;
    array.CoolerPower = 444;
    array.RegulationOn = 1;
    array.SubCountdown[2] = 6;
    SetTemp(-10.0, Celsius, 2);

    // What the record held went to the head selected before.
    EXPECT_EQ(array.SubTargetTemperature[5], -33.0);
    EXPECT_EQ(array.SubPower[5], 444);
    EXPECT_EQ(array.SubRegulationOn[5], 1);
    // Head 2 was off, so its drive starts at 30 percent.
    EXPECT_EQ(FakeTexts(), (Texts{"SetCoolerPower 300", "SetCooler 1"}));
    EXPECT_EQ(array.ArrayPower[2], 300);
    EXPECT_EQ(array.SubPower[2], 300);
    EXPECT_EQ(array.SubTargetTemperature[2], -10.0);
    EXPECT_EQ(array.SubCountdown[2], 6);
    EXPECT_EQ(array.SubRegulationOn[2], 1);
    EXPECT_EQ(array.SubRegulationActive[2], 1);
}

TEST_F(ArrayCooler, CoolerOffIsKeptForTheHead)
{
    record.ArrayMode = 1;
    SetTemp(-10.0, Celsius, 0);
    Cooler(0, 0);
    EXPECT_EQ(record.SubRegulationOn[0], 0);
    EXPECT_EQ(record.SubRegulationActive[0], 0);
    EXPECT_EQ(record.SubPower[0], 300);
}

TEST_F(ArrayCooler, HeadsKeepTheirRegulatorsApart)
{
    record.RoundedTemperature = 1.5;
    record.CoolerPower = 111;
    record.PreviousTemperature = 2.5;
    record.TargetTemperature = 3.5;
    record.RegulationCountdown = 4;
    record.RegulationOn = 5;
    record.RegulationActive = 6;
    SaveHeadRegulator(7, 0);
    ResetTemperature(0);
    record.RoundedTemperature = 0.0;
    record.PreviousTemperature = 0.0;
    SaveHeadRegulator(0, 0);
    LoadHeadRegulator(7, 0);
    EXPECT_EQ(record.RoundedTemperature, 1.5);
    EXPECT_EQ(record.CoolerPower, 111);
    EXPECT_EQ(record.PreviousTemperature, 2.5);
    EXPECT_EQ(record.TargetTemperature, 3.5);
    EXPECT_EQ(record.RegulationCountdown, 4);
    EXPECT_EQ(record.RegulationOn, 5);
    EXPECT_EQ(record.RegulationActive, 6);
    LoadHeadRegulator(0, 0);
    EXPECT_EQ(record.CoolerPower, 0);
    EXPECT_EQ(record.RegulationCountdown, 1);
    EXPECT_EQ(record.RegulationOn, 0);
}

// --- calibration, reset, set-point ---

TEST_F(Temperature, CalibrationIsThatOfTheCamerasOwnNumber)
{
    OpenFake(44, 0, 0, 5);
    TempCalib(-1.5, 1.02, 5);
    EXPECT_EQ(CameraTable[5].TemperatureOffset[5], -1.5);
    EXPECT_EQ(CameraTable[5].TemperatureSpan[5], 1.02);
    EXPECT_EQ(CameraTable[5].TemperatureOffset[0], 0.0);
    EXPECT_EQ(CameraTable[5].TemperatureSpan[0], 0.0);
}

TEST_F(Temperature, ResetStopsTheRegulatorAndKeepsTheLastRounding)
{
    SetTemp(-40.0, Celsius, 0);
    Fake.temperatures = {-12.3};
    TemperatureHandle(0);
    ResetTemperature(0);
    EXPECT_EQ(record.CurrentTemperature, 20.0);
    EXPECT_EQ(record.TargetTemperature, 0.0);
    EXPECT_EQ(record.RegulationCountdown, 1);
    EXPECT_EQ(record.CoolerPower, 0);
    EXPECT_EQ(CoolerStatus(0), 0);
    EXPECT_EQ(record.AtTemperature, 0);
    EXPECT_EQ(record.RegulationOn, 0);
    EXPECT_EQ(record.RegulationActive, 0);
    EXPECT_EQ(record.RoundedTemperature, -12.3);
    EXPECT_EQ(record.PreviousTemperature, -12.3);
}

TEST(SetPoint, IsTheTargetInCountsOfTheSensor)
{
    // 293.15 x 7870 / 38.146972 = 60478.99, 173.15 x 7870 / 38.146972 = 35722.11
    EXPECT_EQ(SetPointWord(20.0, 0.0, 1.0), 60478);
    EXPECT_EQ(SetPointWord(-100.0, 0.0, 1.0), 35722);
    EXPECT_EQ(SetPointWord(22.0, 2.0, 1.0), 60478);
    EXPECT_EQ(SetPointWord(42.0, 2.0, 2.0), 60478);
}

TEST(SetPoint, KeepsTheLow16Bits)
{
    // 318.15 x 7870 / 38.146972 = 65636.7 = 65536 + 100.7
    EXPECT_EQ(SetPointWord(45.0, 0.0, 1.0), 100);
}

TEST(SetPoint, TakesASpanOfZeroForOne)
{
    EXPECT_EQ(SetPointWord(20.0, 0.0, 0.0), 60478);
    EXPECT_EQ(SetPointWord(20.0, 0.0, -0.0), 60478);
}

TEST(SetPoint, SaturatesBeforeTheCut)
{
    EXPECT_EQ(SetPointWord(1e300, 0.0, 1.0), 0xFFFF);
    EXPECT_EQ(SetPointWord(-1e300, 0.0, 1.0), 0);
    EXPECT_EQ(SetPointWord(Infinity, 0.0, 1.0), 0xFFFF);
    EXPECT_EQ(SetPointWord(NotANumber, 0.0, 1.0), 0);
    EXPECT_EQ(SetPointWord(1.0, 0.0, 1e-320), 0xFFFF);
}
