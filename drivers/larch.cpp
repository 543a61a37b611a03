// Larch (platform 30): on the interface card. Sensors 500 and 506 clock themselves: no
// pattern is loaded, no row is skipped, and a frame is read pixel by pixel.
#include "drivers/larch.h"

#include <cmath>

#include "core/convert.h"
#include "core/options.h"
#include "core/record.h"
#include "drivers/bus/bus_camera.h"
#include "drivers/tarn.h"
#include "links/card_link.h"

namespace {

constexpr int32_t Sensor500 = 500;
constexpr int32_t Sensor506 = 506;
const int32_t OwnClockSensors[] = {Sensor500, Sensor506, 0};

constexpr FrontEndRange Range = {.high = 216, .low = 88};
constexpr FrontEndRange Range500 = {.high = 200, .low = 72};

constexpr int32_t ExposureCounter = 5; // and 6
constexpr int32_t VideoControl = 11;
constexpr uint16_t HighGain506 = 0x100;
constexpr double ShortestExposure500 = 0.001; // seconds
constexpr int32_t LinesPerReport = 64;

constexpr Cable LarchCable = {
    .control = 0x1504, .controlLong = 0x2364, .decoder = PlainDecoder, .badReply = 11};

void ProgramLarch(int32_t camera)
{
    ProgramBusRegisters({}, camera);
    StartFrontEnds(Range, camera);
}

// 506 has no front end.
void ProgramOwnClock(int32_t camera)
{
    ProgramBusRegisters({}, camera);
    if (CameraTable[camera].CcdCode == Sensor500) StartFrontEnds(Range500, camera);
}

const BusSetup Setup = {
    .cable = LarchCable, .program = ProgramLarch, .calibrate = CalibrateFromMemory};
const BusSetup OwnClockSetup = {
    .cable = LarchCable, .program = ProgramOwnClock, .calibrate = CalibrateFromMemory};

int32_t OpenLarch(int32_t address, int32_t attach, int32_t camera)
{
    return OpenTarnCamera(Setup, address, attach, camera);
}

int32_t OpenOwnClock(int32_t address, int32_t attach, int32_t camera)
{
    return OpenTarnCamera(OwnClockSetup, address, attach, camera);
}

int32_t SetLarchGain(int32_t camera)
{
    return SetFrontEndsGain(Range, camera);
}

int32_t SetOwnClockGain(int32_t camera)
{
    CameraRecord& record = CameraTable[camera];
    if (record.CcdCode == Sensor500) return SetFrontEndGain(Range500.high, Range500.low, camera);
    record.LoadedGain = record.GainIndex;
    ModifyBusRegister(VideoControl, HighGain506, record.GainIndex != 0 ? 1 : 0, camera);
    return 0;
}

void SetOwnClockShutter(double seconds, int32_t camera)
{
    const CameraRecord& record = CameraTable[camera];
    const double clock = record.Platform.SamplingClock[0]; // microseconds
    if (record.CcdCode == Sensor500) {
        const double exposure = seconds < ShortestExposure500 ? ShortestExposure500 : seconds;
        SetLongCounter(ToUint32(exposure * 1e6 / (72.0 * clock * 4.0)), ExposureCounter, camera);
    } else {
        SetLongCounter(ToUint32(seconds * 1e6 / (clock * 20.0)), ExposureCounter, camera);
    }
}

// The thermistor behind its divider, in ohms.
double Thermistor(double volts, int32_t sensor)
{
    if (sensor == Sensor500) return (15 - volts) / (volts / 1070);
    const double divided = (5 - volts) / (volts / 15000);
    return divided * 249000 / (249000 - divided);
}

// Steinhart and Hart's equation.
double CelsiusOf(double ohms)
{
    const double logarithm = std::log(ohms);
    const double cube = logarithm * logarithm * logarithm;
    return 1 / (0.0012891 + 0.00023561 * logarithm + 9.4272e-08 * cube) - 273.15;
}

int32_t ReadThermistor(int32_t camera)
{
    const uint32_t mean = ConvertTemperature(0xFFFF, 0x8000, camera);
    const double volts = mean * 3.814697265625e-05 + 0.3125;
    StoreTemperature(CelsiusOf(Thermistor(volts, CameraTable[camera].CcdCode)), camera);
    return 0;
}

int32_t ReadOwnClockFrame(int32_t shutter, int32_t width, int32_t height, uint16_t* buffer,
                          int32_t camera)
{
    ExposeForRead(shutter, camera);
    BusFrame frame = WindowFrame(width, height, buffer);
    frame.reportEvery = LinesPerReport;
    return FetchFrame(PixelForm, frame, camera);
}

int32_t ReadNoWindow(int32_t, int32_t, int32_t, int32_t, int32_t, uint16_t*, int32_t)
{
    return 0;
}

const CameraOps LarchOps = {
    .OpenCamera = OpenLarch,
    .SetPortBits = SetBusPortBits,
    .SetGain = SetLarchGain,
    .ReadTimed = NoReadFrame,
};

const CameraOps OwnClockOps = {
    .OpenCamera = OpenOwnClock,
    .LoadSequencer = LoadNothing,
    .ClearSensor = NoOperation,
    .ReadTemperature = ReadThermistor,
    .ReadFrame = ReadOwnClockFrame,
    .SetShutter = SetOwnClockShutter,
    .ReadWindow = ReadNoWindow,
    .ClearOnce = NoOperation,
    .SetGain = SetOwnClockGain,
};

} // namespace

const BindingRule LarchRules[] = {
    {.ops = &CommonOps},
    {.ops = &CardLinkOps},
    {.ops = &PatientReadOps},
    {.ops = &BusOps},
    {.ops = &TarnOps},
    {.ops = &VideoTemperatureOps},
    {.ops = &LarchOps},
    {.ops = &DmaFrameOps, .optionsSet = OptionCardDma},
    {.ops = &DmaLineOps, .optionsClear = OptionCardDma},
    {.ops = &OwnClockOps, .sensors = OwnClockSensors},
    {},
};

const DriverExtras LarchExtras = {
    .StartFrame = StartBusFrame,
    .FetchFrame = FetchBusFrame,
    .GiveUpFrame = GiveUpBusFrame,
};
